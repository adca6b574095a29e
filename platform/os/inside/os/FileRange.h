// Bytes of an open file: all that it had when it was opened, or some of them. Functions answer 0 or an errno.
#pragma once

#include "os/Descriptor.h"

#include <cstddef>
#include <cstdint>

namespace toolbox::os {

// One thread at a time, but for reading.
class FileRange {
  public:
    // The whole of an open file. EINVAL when it is none; nothing is held on failure.
    [[nodiscard]] int Adopt(Descriptor inFile);
    // Looks at the open file again: the whole of it, as it is now.
    [[nodiscard]] int Refresh();
    // From now on these bytes only, which must be inside.
    void Narrow(UInt64 inOffsetBytes, UInt64 inSizeBytes);

    bool IsOpen() const { return mFile.IsOpen(); }
    UInt64 SizeBytes() const { return mSizeBytes; }
    // The file's, for what is asked of it or done to it as a whole.
    int DescriptorNumber() const { return mFile.Number(); }
    // Of the whole file on its volume, when it was looked at last.
    UInt64 AllocatedBytes() const { return mAllocatedBytes; }
    // Exactly inByteCount bytes; ENODATA when the range, or by now the file, ends before. Bytes after a
    // failure are unspecified.
    [[nodiscard]] int Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const;
    // Whether the file was written or cut since it was opened, as far as its times tell. False while they
    // cannot be had.
    bool HasChanged() const;

  private:
    Descriptor mFile;
    UInt64 mOffsetBytes = 0;  // in the file
    UInt64 mSizeBytes = 0;
    UInt64 mAllocatedBytes = 0;
    std::int64_t mChangeNanos = 0;
};

}  // namespace toolbox::os

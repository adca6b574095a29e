// The bytes of a file's two forks. The data fork is the file; the resource fork is an entry of its companion
// (Companions.h). Functions may throw std::bad_alloc, with nothing left open.
#pragma once

#include "os/FileRange.h"
#include "os/Replace.h"

#include <toolbox/Files.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace toolbox::files {

enum class Fork { kData, kResource };

// Bytes of an open file, as many as there were when it was opened. One thread at a time.
class OpenFork {
  public:
    OpenFork() = default;
    explicit OpenFork(os::FileRange inBytes) : mBytes(std::move(inBytes)) {}
    // The whole of an open file. errFSForkNotFound when it is none; nothing is open on failure.
    [[nodiscard]] OSStatus Adopt(os::Descriptor inFile);

    bool IsOpen() const { return mBytes.IsOpen(); }
    UInt64 SizeBytes() const { return mBytes.SizeBytes(); }
    // Exactly inByteCount bytes; eofErr when the fork ends before. Bytes after a failure are unspecified.
    [[nodiscard]] OSStatus Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const;
    // Whether the file was written or cut since it was opened, as far as its times tell. False while
    // they cannot be had.
    bool HasChanged() const { return mBytes.HasChanged(); }
    // For the readers of formats.
    const os::FileRange& Bytes() const { return mBytes; }

  private:
    os::FileRange mBytes;
};

// errFSForkNotFound when there is no resource fork, as a link has none, ioErr when the companion is no
// AppleDouble file. outFork stays as it is on failure.
[[nodiscard]] OSStatus Open(const FSRef& inFile, Fork inFork, OpenFork& outFork);

// Makes inBytes the fork. A data fork is overwritten (Replace.h); a companion is replaced, with all else that
// it holds, or made. notAFileErr and errFSForkNotFound as for OpenForReading; fLckdErr for a locked file,
// fBsyErr when the fork is open to write; ioErr when there is a companion that is no AppleDouble file, which
// stays as it is.
[[nodiscard]] OSStatus WriteFork(const FSRef& inFile, Fork inFork, const std::vector<UInt8>& inBytes,
                                 const os::MovableHead& inHead = {});

}  // namespace toolbox::files

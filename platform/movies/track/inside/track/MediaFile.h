// An open media file: random reads by position, shared by the movie and every reader of its packets.
// Reading is safe on several threads at once. The file's end is where it was at opening: a file that grows
// meanwhile keeps its first length, one that is cut short ends earlier.
#pragma once

#include "os/Descriptor.h"
#include "track/StopCheck.h"

#include <toolbox/Files.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace toolbox::movies {

class MediaFile {
  public:
    // outFile is null on failure: a status as files::OpenForReading answers, or memFullErr. Never throws.
    [[nodiscard]] static OSStatus Open(const FSRef& inItem, std::shared_ptr<const MediaFile>& outFile);

    // Takes over inDescriptor, which it closes.
    MediaFile(int inDescriptor, std::int64_t inSizeBytes, std::string inPath) noexcept;

    std::int64_t SizeBytes() const { return mSizeBytes; }
    // While an importer has the file to itself, reading asks inCheck before each call to the system, and
    // answers userCanceledErr when it is to stop. Borrowed; null ends this, and must come before any other
    // thread reads. What stops the reading is no part of the file, so a const one has it too.
    void SetStopCheck(StopCheck* inCheck) const { mStopCheck = inCheck; }
    // For work between two reads.
    bool MustStop() const { return mStopCheck != nullptr && mStopCheck->Ask(); }
    // Where the file was at opening, for messages.
    const std::string& Path() const { return mPath; }

    // Reads up to inByteCount bytes at inOffset. *outRead tells how many there were, also on failure: fewer
    // with noErr only at the end of the file. ioErr when the device fails, paramErr (nothing read) for a
    // negative offset.
    [[nodiscard]] OSStatus ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                                  std::size_t* outRead) const;

  private:
    os::Descriptor mFile;
    std::int64_t mSizeBytes;
    std::string mPath;
    mutable StopCheck* mStopCheck = nullptr;
};

}  // namespace toolbox::movies

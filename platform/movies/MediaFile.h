// An open media file: random reads by position, shared by the movie and every reader of its packets.
// Reading is safe on several threads at once.
#pragma once

#include <toolbox/Files.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace toolbox::movies {

class MediaFile {
  public:
    // Takes the item's open file; see files/FileAccess.h. A status of the File Manager on failure.
    static OSStatus Open(const FSRef& inItem, std::shared_ptr<const MediaFile>& outFile);

    MediaFile(int inDescriptor, std::int64_t inSizeBytes, std::string inPath);
    ~MediaFile();
    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;

    std::int64_t SizeBytes() const { return mSizeBytes; }
    const std::string& Path() const { return mPath; }

    // Reads up to inByteCount bytes at inOffset. *outRead tells how many there were: fewer only at the end of the
    // file. ioErr when the device fails.
    OSStatus ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount, std::size_t* outRead) const;

  private:
    int mDescriptor;
    std::int64_t mSizeBytes;
    std::string mPath;
};

}  // namespace toolbox::movies

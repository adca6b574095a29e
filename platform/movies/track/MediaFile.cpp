#include "track/MediaFile.h"

#include "catalogue/FileAccess.h"
#include "os/ItemStatus.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <new>
#include <utility>

namespace toolbox::movies {

namespace {

OSStatus OpenItem(const FSRef& inItem, std::shared_ptr<const MediaFile>& outFile) {
    os::Descriptor file;
    std::string path;
    const OSStatus status = files::OpenForReading(inItem, file, path);
    if (status != noErr) return status;
    os::ItemStatus opened;
    const int error = os::GetDescriptorStatus(file.Number(), opened);
    if (error != 0) return StatusOfErrno(error);
    outFile = std::make_shared<MediaFile>(file.Number(), opened.sizeBytes, std::move(path));
    file.Release();
    return noErr;
}

}  // namespace

OSStatus MediaFile::Open(const FSRef& inItem, std::shared_ptr<const MediaFile>& outFile) {
    outFile = nullptr;
    try {
        return OpenItem(inItem, outFile);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

MediaFile::MediaFile(int inDescriptor, std::int64_t inSizeBytes, std::string inPath) noexcept
    : mFile(inDescriptor), mSizeBytes(inSizeBytes), mPath(std::move(inPath)) {}

OSStatus MediaFile::ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                           std::size_t* outRead) const {
    *outRead = 0;
    if (inOffset < 0) return paramErr;
    if (inOffset >= mSizeBytes) return noErr;
    const std::size_t wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(inByteCount, static_cast<std::uint64_t>(mSizeBytes - inOffset)));
    const auto mustStop = [](const void* inThis) {
        return static_cast<const MediaFile*>(inThis)->MustStop();
    };
    return StatusOfErrno(os::ReadAt(mFile.Number(), outBytes, wanted, static_cast<UInt64>(inOffset), *outRead,
                                    {mustStop, this}));
}

}  // namespace toolbox::movies

#include "track/MediaFile.h"

#include "catalogue/FileAccess.h"
#include "os/FileCalls.h"
#include "os/ItemStatus.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

namespace toolbox::movies {

namespace {

// Linux moves no more than this in one call.
constexpr std::size_t kMaxReadBytes = 0x7FFFF000;

struct OpenDescriptor {
    int number = -1;
    ~OpenDescriptor() {
        if (number >= 0) os::Calls().closeFile(number);
    }
};

OSStatus OpenItem(const FSRef& inItem, std::shared_ptr<const MediaFile>& outFile) {
    OpenDescriptor descriptor;
    std::string path;
    const OSStatus status = files::OpenForReading(inItem, descriptor.number, path);
    if (status != noErr) return status;
    os::ItemStatus opened;
    const int error = os::GetDescriptorStatus(descriptor.number, opened);
    if (error != 0) return os::StatusOfErrno(error);
    outFile = std::make_shared<MediaFile>(descriptor.number, opened.sizeBytes, std::move(path));
    descriptor.number = -1;  // the file's now
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
    : mDescriptor(inDescriptor), mSizeBytes(inSizeBytes), mPath(std::move(inPath)) {}

MediaFile::~MediaFile() {
    os::Calls().closeFile(mDescriptor);
}

OSStatus MediaFile::ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                           std::size_t* outRead) const {
    *outRead = 0;
    if (inOffset < 0) return paramErr;
    if (inOffset >= mSizeBytes) return noErr;
    const std::size_t wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(inByteCount, static_cast<std::uint64_t>(mSizeBytes - inOffset)));
    while (*outRead < wanted) {
        if (MustStop()) return userCanceledErr;
        const std::size_t length = std::min(wanted - *outRead, kMaxReadBytes);
        const ssize_t got =
            os::Calls().readAt(mDescriptor, static_cast<std::uint8_t*>(outBytes) + *outRead, length,
                                  inOffset + static_cast<std::int64_t>(*outRead));
        if (got == 0) break;
        if (got > 0) {
            *outRead += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            return os::StatusOfErrno(errno);
        }
    }
    return noErr;
}

}  // namespace toolbox::movies

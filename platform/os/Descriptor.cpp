#include "os/Descriptor.h"

#include "os/ShortPath.h"
#include "os/SystemCalls.h"

#include <algorithm>
#include <cerrno>

namespace toolbox::os {

namespace {

// Linux moves no more than this in one call.
constexpr std::size_t kMaxBytesPerCall = 0x7FFFF000;
constexpr std::size_t kBlockBytes = 65536;

// Makes calls that move the bytes from a count on, until all are moved or a call moves none. 0 or an errno.
template <typename Call>
int MoveAll(Call inCall, std::size_t inByteCount, std::size_t& outCount,
            const StopQuestion& inQuestion = {}) {
    for (outCount = 0; outCount < inByteCount;) {
        if (inQuestion.mustStop != nullptr && inQuestion.mustStop(inQuestion.context)) return ECANCELED;
        const ssize_t moved = inCall(outCount, std::min(inByteCount - outCount, kMaxBytesPerCall));
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) return errno;
        if (moved == 0) return 0;
        outCount += static_cast<std::size_t>(moved);
    }
    return 0;
}

}  // namespace

int Descriptor::Close() noexcept {
    if (mNumber < 0) return 0;
    return Calls().close(Release()) == 0 ? 0 : errno;
}

int OpenFile(int inFolder, const char* inPath, int inFlags, Descriptor& outFile, mode_t inMode) {
    ShortPath path;
    int error = path.Set(inFolder, inPath);
    int number = -1;
    if (error == 0) {
        number = Calls().openat(path.Folder(), path.Path(), inFlags | O_CLOEXEC, inMode);
        error = number < 0 ? errno : 0;
    }
    outFile = Descriptor(number);
    return error;
}

int ReadAt(int inDescriptor, void* outBytes, std::size_t inByteCount, UInt64 inOffsetBytes,
           std::size_t& outCount, const StopQuestion& inQuestion) {
    const auto read = [&](std::size_t inDone, std::size_t inCount) {
        return Calls().pread(inDescriptor, static_cast<UInt8*>(outBytes) + inDone, inCount,
                             static_cast<off_t>(inOffsetBytes + inDone));
    };
    return MoveAll(read, inByteCount, outCount, inQuestion);
}

int ReadFromStart(int inDescriptor, std::size_t inMaxBytes, std::string& outContents) {
    outContents.clear();
    for (std::size_t done = 0; done < inMaxBytes;) {
        const std::size_t blockBytes = std::min(kBlockBytes, inMaxBytes - done);
        std::size_t count = 0;
        outContents.resize(done + blockBytes);
        const int error = ReadAt(inDescriptor, outContents.data() + done, blockBytes, done, count);
        done += count;
        outContents.resize(done);
        if (error != 0 || count < blockBytes) return error;
    }
    return 0;
}

int WriteAt(int inDescriptor, std::span<const UInt8> inBytes, UInt64 inOffsetBytes) {
    std::size_t count = 0;
    return WriteAt(inDescriptor, inBytes, inOffsetBytes, count);
}

int WriteAt(int inDescriptor, std::span<const UInt8> inBytes, UInt64 inOffsetBytes, std::size_t& outCount) {
    const auto write = [&](std::size_t inDone, std::size_t inCount) {
        return Calls().pwrite(inDescriptor, inBytes.data() + inDone, inCount,
                              static_cast<off_t>(inOffsetBytes + inDone));
    };
    const int error = MoveAll(write, inBytes.size(), outCount);
    return error == 0 && outCount < inBytes.size() ? EIO : error;
}

int Sync(int inDescriptor) {
    int result = 0;
    do
        result = Calls().fsync(inDescriptor);
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int SetLength(int inDescriptor, UInt64 inByteCount) {
    int result = 0;
    do
        result = Calls().ftruncate(inDescriptor, static_cast<off_t>(inByteCount));
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int Reserve(int inDescriptor, UInt64 inOffsetBytes, UInt64 inByteCount) {
    int result = 0;
    do
        result = Calls().fallocate(inDescriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(inOffsetBytes),
                                   static_cast<off_t>(inByteCount));
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int ReadSome(int inDescriptor, void* outBytes, std::size_t inByteCount, std::size_t& outCount) {
    ssize_t count = 0;
    do
        count = Calls().read(inDescriptor, outBytes, inByteCount);
    while (count < 0 && errno == EINTR);
    outCount = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count < 0 ? errno : 0;
}

int WriteAll(int inDescriptor, const void* inBytes, std::size_t inByteCount) {
    std::size_t count = 0;
    const auto write = [&](std::size_t inDone, std::size_t inCount) {
        return Calls().write(inDescriptor, static_cast<const UInt8*>(inBytes) + inDone, inCount);
    };
    const int error = MoveAll(write, inByteCount, count);
    return error == 0 && count < inByteCount ? EIO : error;
}

}  // namespace toolbox::os

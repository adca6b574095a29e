#include "os/Replace.h"

#include "os/FileCalls.h"
#include "os/ItemStatus.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <limits>
#include <span>

namespace toolbox::os {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kPermissions = 07777;
// How many names are tried for the new file until one is free.
constexpr int kNames = 100;

std::atomic<unsigned> sNextNumber = 0;

// The name has the companions' prefix, so that listings leave it out.
std::string NewName(const std::string& inFolder) {
    return inFolder + "._.new-" + std::to_string(getpid()) + "-" + std::to_string(sNextNumber++);
}

// 0 or an errno.
int WriteAll(int inDescriptor, std::span<const UInt8> inBytes, UInt64 inOffsetBytes = 0) {
    for (std::size_t done = 0; done < inBytes.size();) {
        const ssize_t count = Calls().writeAt(inDescriptor, inBytes.data() + done, inBytes.size() - done,
                                              static_cast<off_t>(inOffsetBytes + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count < 0 ? errno : EIO;
        done += static_cast<std::size_t>(count);
    }
    return 0;
}

// Takes over owner and permissions of the file at inPath, if there is one. 0 or an errno. Only a privileged
// process can give files away; others have what they make.
int KeepAccess(const std::string& inPath, int inDescriptor) {
    struct statx old = {};
    if (Calls().statAt(AT_FDCWD, inPath.c_str(), 0, STATX_MODE | STATX_UID | STATX_GID, &old) != 0)
        return errno == ENOENT ? 0 : errno;
    if (Calls().setOwner(inDescriptor, old.stx_uid, old.stx_gid) != 0 && errno != EPERM) return errno;
    return Calls().setMode(inDescriptor, old.stx_mode & kPermissions) == 0 ? 0 : errno;
}

// Makes the head tell of the other bytes that far behind their places. Nothing has changed on failure. 0 or
// an errno.
int WriteMoved(int inDescriptor, const std::vector<UInt8>& inBytes, const MovableHead& inHead,
               UInt32 inDistanceBytes) {
    const std::span<const UInt8> rest = std::span(inBytes).subspan(inHead.byteCount);
    std::array<UInt8, MovableHead::kMostBytes> head;
    std::copy_n(inBytes.begin(), inHead.byteCount, head.begin());
    inHead.move(head.data(), inDistanceBytes);
    const int error = WriteAll(inDescriptor, rest, UInt64{inHead.byteCount} + inDistanceBytes);
    if (error != 0) return error;
    if (Calls().syncFile(inDescriptor) != 0) return errno;
    const ssize_t count = Calls().writeAt(inDescriptor, head.data(), inHead.byteCount, 0);
    if (count != static_cast<ssize_t>(inHead.byteCount)) return count < 0 ? errno : EIO;
    // Written it is; what cannot be synced now the system writes later, the rest being there before.
    (void)Calls().syncFile(inDescriptor);
    return 0;
}

// The head last, so that it never tells of bytes that are not there. 0 or an errno.
int WriteInPlace(int inDescriptor, const std::vector<UInt8>& inBytes, std::size_t inHeadBytes) {
    const std::size_t headBytes = std::min(inHeadBytes, inBytes.size());
    int error = WriteAll(inDescriptor, std::span(inBytes).subspan(headBytes), headBytes);
    if (error == 0 && headBytes > 0 && Calls().syncFile(inDescriptor) != 0) error = errno;
    if (error == 0) error = WriteAll(inDescriptor, std::span(inBytes).first(headBytes));
    if (error == 0 && Calls().setLength(inDescriptor, static_cast<off_t>(inBytes.size())) != 0) error = errno;
    if (error == 0 && Calls().syncFile(inDescriptor) != 0) error = errno;
    return error;
}

int CreateNew(const std::string& inFolder, std::string& outPath) {
    int descriptor = -1;
    errno = EEXIST;
    for (int i = 0; i < kNames && descriptor < 0 && errno == EEXIST; ++i) {
        outPath = NewName(inFolder);
        descriptor =
            Calls().createFile(outPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
    }
    return descriptor;
}

}  // namespace

OSStatus ReplaceFile(const std::string& inPath, const std::vector<UInt8>& inBytes) {
    std::string newPath;
    const int descriptor = CreateNew(inPath.substr(0, inPath.rfind('/') + 1), newPath);
    if (descriptor < 0) return StatusOfErrno(errno);
    int error = KeepAccess(inPath, descriptor);
    if (error == 0) error = WriteAll(descriptor, inBytes);
    if (error == 0 && Calls().syncFile(descriptor) != 0) error = errno;
    // Some file systems tell only now that there was no room.
    if (Calls().closeFile(descriptor) != 0 && error == 0) error = errno;
    if (error == 0 && Calls().renameItem(newPath.c_str(), inPath.c_str()) != 0) error = errno;
    if (error != 0) Calls().removeFile(newPath.c_str());
    return StatusOfErrno(error);
}

OSStatus OverwriteFile(int inDescriptor, const std::vector<UInt8>& inBytes, const MovableHead& inHead) {
    // Held until the descriptor is closed. Where locks are unknown, nobody holds any.
    if (Calls().lockFile(inDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return fBsyErr;
    ItemStatus old;
    int error = GetDescriptorStatus(inDescriptor, old);
    if (error != 0) return StatusOfErrno(error);
    const auto oldSize = static_cast<UInt64>(old.sizeBytes);
    // Behind the old contents and the new.
    const UInt64 distance = std::max<UInt64>(oldSize, inBytes.size());
    const bool isMoved = oldSize > 0 && inHead.byteCount > 0 && inHead.byteCount <= inBytes.size() &&
                         distance + inBytes.size() <= std::numeric_limits<UInt32>::max();
    error = Calls().reserve(
        inDescriptor, 0, static_cast<off_t>(std::max<UInt64>(1, inBytes.size() + (isMoved ? distance : 0))));
    if (error == 0 && isMoved)
        error = WriteMoved(inDescriptor, inBytes, inHead, static_cast<UInt32>(distance));
    if (error != 0) {
        // That the room cannot be given back harms less than a wrong status.
        (void)Calls().setLength(inDescriptor, old.sizeBytes);
        return StatusOfErrno(error);
    }
    error = WriteInPlace(inDescriptor, inBytes, inHead.byteCount);
    return isMoved ? noErr : StatusOfErrno(error);
}

}  // namespace toolbox::os

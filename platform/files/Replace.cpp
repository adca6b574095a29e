#include "Replace.h"

#include "FileCalls.h"
#include "ItemStatus.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace toolbox::files {

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
int WriteAll(int inDescriptor, const std::vector<UInt8>& inBytes) {
    for (std::size_t done = 0; done < inBytes.size();) {
        const ssize_t count = Calls().writeAt(inDescriptor, inBytes.data() + done, inBytes.size() - done,
                                              static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count < 0 ? errno : EIO;
        done += static_cast<std::size_t>(count);
    }
    return 0;
}

// 0 or an errno.
int KeepPermissions(const std::string& inPath, int inDescriptor) {
    struct statx old = {};
    if (Calls().statAt(AT_FDCWD, inPath.c_str(), 0, STATX_MODE, &old) != 0)
        return errno == ENOENT ? 0 : errno;
    return Calls().setMode(inDescriptor, old.stx_mode & kPermissions) == 0 ? 0 : errno;
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
    int error = WriteAll(descriptor, inBytes);
    if (error == 0) error = KeepPermissions(inPath, descriptor);
    if (error == 0 && Calls().syncFile(descriptor) != 0) error = errno;
    // Some file systems tell only now that there was no room.
    if (Calls().closeFile(descriptor) != 0 && error == 0) error = errno;
    if (error == 0 && Calls().renameItem(newPath.c_str(), inPath.c_str()) != 0) error = errno;
    if (error != 0) Calls().removeFile(newPath.c_str());
    return StatusOfErrno(error);
}

OSStatus OverwriteFile(int inDescriptor, const std::vector<UInt8>& inBytes) {
    ItemStatus old;
    int error = GetDescriptorStatus(inDescriptor, old);
    if (error != 0) return StatusOfErrno(error);
    const auto newSize = static_cast<std::int64_t>(inBytes.size());
    if (newSize > old.sizeBytes) {
        error = Calls().reserve(inDescriptor, old.sizeBytes, newSize - old.sizeBytes);
        if (error != 0) {
            // What was reserved before the room ended; that it cannot be given back harms less than a wrong
            // status.
            (void)Calls().setLength(inDescriptor, old.sizeBytes);
            return StatusOfErrno(error);
        }
    }
    error = WriteAll(inDescriptor, inBytes);
    if (error == 0 && newSize < old.sizeBytes && Calls().setLength(inDescriptor, newSize) != 0) error = errno;
    if (error == 0 && Calls().syncFile(inDescriptor) != 0) error = errno;
    return StatusOfErrno(error);
}

}  // namespace toolbox::files

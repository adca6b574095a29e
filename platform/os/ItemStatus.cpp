#include "os/ItemStatus.h"

#include "os/SystemCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

namespace toolbox::os {

namespace {

constexpr std::int64_t kNanosPerSecond = 1'000'000'000;

ItemKind KindOfMode(unsigned inMode) {
    if (S_ISREG(inMode)) return ItemKind::kFile;
    if (S_ISDIR(inMode)) return ItemKind::kFolder;
    if (S_ISLNK(inMode)) return ItemKind::kLink;
    return ItemKind::kOther;
}

// Wraps for times centuries from now: only equality matters.
std::int64_t NanosOf(const struct statx_timestamp& inTime) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(inTime.tv_sec) * kNanosPerSecond +
                                     inTime.tv_nsec);
}

int GetStatus(int inFolder, const char* inPath, int inFlags, ItemStatus& outStatus) {
    struct statx status = {};
    if (Calls().statx(inFolder, inPath, inFlags, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) return errno;
    outStatus.identity.device = makedev(status.stx_dev_major, status.stx_dev_minor);
    outStatus.identity.inode = status.stx_ino;
    outStatus.identity.birthNanos = 0;
    if ((status.stx_mask & STATX_BTIME) != 0) outStatus.identity.birthNanos = NanosOf(status.stx_btime);
    outStatus.changeNanos = NanosOf(status.stx_mtime);
    outStatus.kind = KindOfMode(status.stx_mode);
    outStatus.sizeBytes = static_cast<std::int64_t>(status.stx_size);
    return 0;
}

}  // namespace

int GetPathStatus(const char* inPath, ItemStatus& outStatus) {
    return GetStatus(AT_FDCWD, inPath, AT_SYMLINK_NOFOLLOW, outStatus);
}

int GetTargetStatus(const char* inPath, ItemStatus& outStatus) {
    return GetStatus(AT_FDCWD, inPath, 0, outStatus);
}

int GetDescriptorStatus(int inDescriptor, ItemStatus& outStatus) {
    return GetStatus(inDescriptor, "", AT_EMPTY_PATH, outStatus);
}

}  // namespace toolbox::os

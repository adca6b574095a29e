#include "os/ItemStatus.h"

#include "os/Descriptor.h"
#include "os/ShortPath.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

namespace toolbox::os {

namespace {

constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
constexpr std::uint64_t kBytesPerBlock = 512;  // of what the system counts as blocks
constexpr unsigned kFields = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;

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

Moment MomentOf(const struct statx_timestamp& inTime) {
    return {inTime.tv_sec, inTime.tv_nsec};
}

ItemIdentity IdentityOf(const struct statx& inStatus) {
    const bool hasBirth = (inStatus.stx_mask & STATX_BTIME) != 0;
    return {makedev(inStatus.stx_dev_major, inStatus.stx_dev_minor), inStatus.stx_ino,
            hasBirth ? NanosOf(inStatus.stx_btime) : 0};
}

timespec TimeOf(const Moment* inMoment) {
    if (inMoment == nullptr) return {0, UTIME_OMIT};
    return {static_cast<time_t>(inMoment->seconds), static_cast<long>(inMoment->nanos)};
}

// Before Linux 5.8 only this tells on which mount something is; 0 where nothing does.
std::uint64_t MountOfDescriptor(int inDescriptor) {
    char path[64] = "/proc/self/fdinfo/";
    char* const number = path + std::strlen(path);
    *std::to_chars(number, std::end(path) - 1, inDescriptor).ptr = 0;
    Descriptor facts;
    char text[256];
    std::size_t length = 0;
    if (OpenFile(path, O_RDONLY, facts) != 0 || ReadAt(facts.Number(), text, sizeof text, 0, length) != 0)
        return 0;
    constexpr std::string_view kLabel = "mnt_id:\t";
    const std::string_view all(text, length);
    const std::size_t at = all.find(kLabel);
    std::uint64_t mount = 0;
    if (at != std::string_view::npos) (void)std::from_chars(text + at + kLabel.size(), text + length, mount);
    return mount;
}

// Of a folder: two mounts of one device differ in nothing else.
void FindMount(const ShortPath& inPath, int inFlags, struct statx& ioStatus) {
    Descriptor opened;
    int folder = inPath.Folder();
    if ((inFlags & AT_EMPTY_PATH) == 0) {
        const int link = (inFlags & AT_SYMLINK_NOFOLLOW) != 0 ? O_NOFOLLOW : 0;
        struct statx status = {};
        if (OpenFile(folder, inPath.Path(), O_PATH | O_DIRECTORY | link, opened) != 0) return;
        folder = opened.Number();
        if (Calls().statx(folder, "", AT_EMPTY_PATH, kFields, &status) != 0) return;
        ioStatus = status;
    }
    ioStatus.stx_mnt_id = MountOfDescriptor(folder);
    if (ioStatus.stx_mnt_id != 0) ioStatus.stx_mask |= STATX_MNT_ID;
}

int GetStatus(int inFolder, const char* inPath, int inFlags, ItemStatus& outStatus) {
    ShortPath path;
    const int error = path.Set(inFolder, inPath);
    if (error != 0) return error;
    struct statx status;  // the system sets all of it
    if (Calls().statx(path.Folder(), path.Path(), inFlags, kFields, &status) != 0) return errno;
    if ((status.stx_mask & STATX_MNT_ID) == 0 && S_ISDIR(status.stx_mode)) FindMount(path, inFlags, status);
    outStatus.identity = IdentityOf(status);
    outStatus.kind = KindOfMode(status.stx_mode);
    outStatus.isMountRoot = (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    outStatus.isImmutable = (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
    outStatus.mode = status.stx_mode;
    outStatus.linkCount = status.stx_nlink;
    outStatus.owner = status.stx_uid;
    outStatus.group = status.stx_gid;
    outStatus.mount = (status.stx_mask & STATX_MNT_ID) != 0 ? status.stx_mnt_id : 0;
    outStatus.sizeBytes = static_cast<std::int64_t>(status.stx_size);
    outStatus.allocatedBytes = status.stx_blocks * kBytesPerBlock;
    outStatus.changeNanos = NanosOf(status.stx_mtime);
    outStatus.contentDate = MomentOf(status.stx_mtime);
    outStatus.attributeDate = MomentOf(status.stx_ctime);
    outStatus.accessDate = MomentOf(status.stx_atime);
    outStatus.birthDate = MomentOf(status.stx_btime);
    return 0;
}

}  // namespace

int GetStatusAt(int inFolder, const char* inName, ItemStatus& outStatus) {
    return GetStatus(inFolder, inName, AT_SYMLINK_NOFOLLOW, outStatus);
}

int GetPathStatus(const char* inPath, ItemStatus& outStatus) {
    return GetStatusAt(AT_FDCWD, inPath, outStatus);
}

int GetKnownStatus(const char* inPath, ItemStatus& outStatus) {
    return GetStatus(AT_FDCWD, inPath, AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, outStatus);
}

int GetTargetStatus(const char* inPath, ItemStatus& outStatus) {
    return GetStatus(AT_FDCWD, inPath, 0, outStatus);
}

int GetDescriptorStatus(int inDescriptor, ItemStatus& outStatus) {
    return GetStatus(inDescriptor, "", AT_EMPTY_PATH, outStatus);
}

int SetDatesAt(int inFolder, const char* inName, LastLink inLink, const Moment* inAccess,
               const Moment* inContent) {
    const timespec times[] = {TimeOf(inAccess), TimeOf(inContent)};
    const int flags = inLink == LastLink::kItself ? AT_SYMLINK_NOFOLLOW : 0;
    return Calls().utimensat(inFolder, inName, times, flags) == 0 ? 0 : errno;
}

}  // namespace toolbox::os

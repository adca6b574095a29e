// What the system tells of an item: who it is, where it is mounted, of what kind, how long, whose and when
// changed.
#pragma once

#include <toolbox/MacTypes.h>

#include <cstdint>

namespace toolbox::os {

// Tells an item from every other that is on the machine now. A file system gives the inode of a deleted item
// to the next one made; the moment of birth tells the two apart where the file system keeps it.
struct ItemIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t birthNanos = 0;  // since 1970; 0 when not known

    // An unknown birth agrees with any.
    bool IsSameItem(const ItemIdentity& inOther) const {
        return device == inOther.device && inode == inOther.inode &&
               (birthNanos == inOther.birthNanos || birthNanos == 0 || inOther.birthNanos == 0);
    }
};

// Tells a mounted file system from every other that is mounted now: the kernel's number of the mount, 0 where
// it tells none, and the device, because some file systems have parts that are devices of their own.
struct VolumeKey {
    std::uint64_t mount = 0;
    std::uint64_t device = 0;
    bool operator==(const VolumeKey&) const = default;
};

enum class ItemKind : std::uint16_t {
    kFile = 1,
    kFolder = 2,
    kLink = 3,
    kOther = 4
};  // kept in alias records

// Since 1970; the fraction counts forward also before.
struct Moment {
    std::int64_t seconds = 0;
    std::uint32_t nanos = 0;
};

struct ItemStatus {
    ItemIdentity identity;
    ItemKind kind = ItemKind::kOther;
    bool isMountRoot = false;  // something is mounted where it lies, and it is that; false where nobody tells
    bool isImmutable = false;  // nobody may change it before this is taken back; false where nobody tells
    std::uint16_t mode = 0;    // POSIX: permissions, and the bits of the kind
    std::uint32_t linkCount = 0;  // names that it has, as far as the file system counts them
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
    std::uint64_t mount = 0;  // as in VolumeKey; before Linux 5.8 of folders alone
    std::int64_t sizeBytes = 0;
    std::uint64_t allocatedBytes = 0;  // on the volume
    std::int64_t changeNanos = 0;      // contentDate as one number, to compare
    Moment contentDate;                // when each was last changed, or read
    Moment attributeDate;
    Moment accessDate;
    Moment birthDate;  // as in the identity; without meaning where that is not known

    // The volume of a folder, and of what lies in it, unless that is a folder of another one.
    VolumeKey Volume() const { return {mount, identity.device}; }
};

// All answer 0 or an errno, of paths of any length. Only GetTargetStatus follows a link at the end of the
// path.
[[nodiscard]] int GetPathStatus(const char* inPath, ItemStatus& outStatus);
// As the first; what a server tells may be as it was some time ago, so that it need not be asked again.
[[nodiscard]] int GetKnownStatus(const char* inPath, ItemStatus& outStatus);
[[nodiscard]] int GetTargetStatus(const char* inPath, ItemStatus& outStatus);
[[nodiscard]] int GetDescriptorStatus(int inDescriptor, ItemStatus& outStatus);
// Of what has the name in an open folder; a link is told of itself.
[[nodiscard]] int GetStatusAt(int inFolder, const char* inName, ItemStatus& outStatus);

// Sets when an item was last read and when it was last changed; null leaves one as it is. Of what has the
// name in an open folder, which may be AT_FDCWD: a link is dated itself, unless it is to be followed. 0 or an
// errno. The file system keeps what it can of a moment.
enum class LastLink { kItself, kFollowed };
[[nodiscard]] int SetDatesAt(int inFolder, const char* inName, LastLink inLink, const Moment* inAccess,
                             const Moment* inContent);

}  // namespace toolbox::os

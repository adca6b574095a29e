// What the system tells of an item: who it is, of what kind and how long.
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

enum class ItemKind : std::uint16_t {
    kFile = 1,
    kFolder = 2,
    kLink = 3,
    kOther = 4
};  // kept in alias records

struct ItemStatus {
    ItemIdentity identity;
    ItemKind kind = ItemKind::kOther;
    std::int64_t sizeBytes = 0;
    std::int64_t changeNanos = 0;  // when contents were last changed, since 1970
};

// All answer 0 or an errno. Only the second follows a link at the end of the path.
[[nodiscard]] int GetPathStatus(const char* inPath, ItemStatus& outStatus);
[[nodiscard]] int GetTargetStatus(const char* inPath, ItemStatus& outStatus);
[[nodiscard]] int GetDescriptorStatus(int inDescriptor, ItemStatus& outStatus);

}  // namespace toolbox::os

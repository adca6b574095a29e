// What the tables of nodes look for an item by.
#pragma once

#include "os/ItemStatus.h"

namespace toolbox::files {

// Where an item is kept on its device. One that is made after it was deleted may have the same.
struct NodeKey {
    std::uint64_t device;
    std::uint64_t inode;

    bool operator==(const NodeKey&) const = default;
    std::uint64_t Hash() const {
        std::uint64_t hash = inode * 0x9E3779B97F4A7C15u + device;
        hash ^= hash >> 32;
        return hash * 0xD6E8FEB86659FD93u;
    }
};

inline NodeKey KeyOf(const os::ItemIdentity& inItem) {
    return {inItem.device, inItem.inode};
}

}  // namespace toolbox::files

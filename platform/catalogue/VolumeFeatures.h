// What volumes can do, by the types of their file systems.
//
// Safe on any thread.
#pragma once

#include "os/ItemStatus.h"

#include <cstdint>
#include <string_view>

namespace toolbox::files {

struct VolumeFeatures {
    bool hasExchange = false;  // the kernel exchanges two names in one step
    bool hasOwners = true;     // items have an owner, a group and permissions
    bool hasLinks = true;      // symbolic ones
    bool hasLongFiles = true;  // of more than 2 TB
    bool hasJournal = false;   // by default
    bool isOfServer = false;
    // Inotify tells of every name that comes: none comes but by this machine's kernel.
    bool tellsNewNames = false;
};
// By a type of the mount table. What is not known there is as a new one.
VolumeFeatures FeaturesOf(std::string_view inType);
// What tells one type from others, as the kernel numbers them (linux/magic.h), its lower 16 bits; 0 for what
// is not known. A driver of users' own may have that of another.
std::uint16_t FileSystemIDOf(std::string_view inType);

// After the kernel refused to exchange two names on a volume: it is not told to do so any more.
void ForbidExchange(const os::VolumeKey& inVolume) noexcept;
bool IsExchangeForbidden(const os::VolumeKey& inVolume);

}  // namespace toolbox::files

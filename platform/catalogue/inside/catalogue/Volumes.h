// Volumes: mounted file systems, by the numbers that programs name them with.
//
// A volume is a device, and has its number from the first time that the process meets it until the process's
// end. One that is mounted at several folders is one volume, at the folder by which it was met last. Safe on
// any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <cstdint>
#include <string>

namespace toolbox::files {

// The volume of the root folder "/". Others count down from it as they are met.
constexpr SInt16 kBootVolume = -1;

struct Volume {
    std::uint64_t device = 0;
    std::string rootPath;  // absolute, of its topmost folder
};

// The number of the volume on which an item is, which was just found. nsvErr when there are no numbers left.
[[nodiscard]] OSStatus GetVolumeNumber(const FoundItem& inItem, SInt16& outNumber);

// The volume with a number. nsvErr when there is none, or it is not mounted there any more.
[[nodiscard]] OSStatus GetVolume(SInt16 inNumber, Volume& outVolume);

}  // namespace toolbox::files

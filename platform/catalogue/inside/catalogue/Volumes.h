// Volumes: mounted file systems, by the numbers that programs name them with.
//
// A volume is a mount: a file system that is mounted at two folders is two volumes. Where the kernel tells no
// mounts, it is a device, at the folder by which it was met last. What is a device of its own within a mount,
// such as a subvolume of btrfs, is a volume, too. An item is on its folder's volume unless it is the topmost
// folder of another; a file that is mounted alone is not. Numbers hold from the first time that the process
// meets a volume until the process's end. Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <string>

namespace toolbox::files {

// The volume of the root folder "/". Others count down from it as they are met.
constexpr SInt16 kBootVolume = -1;

struct Volume {
    os::VolumeKey key;
    std::string rootPath;  // absolute, of its topmost folder
};

// What tells the volume of an item, which was just found, from others.
[[nodiscard]] OSStatus GetVolumeKey(const FoundItem& inItem, os::VolumeKey& outKey);

// The number of the volume on which an item is, which was just found. nsvErr when there are no numbers left.
[[nodiscard]] OSStatus GetVolumeNumber(const FoundItem& inItem, SInt16& outNumber);

// The number of one that is mounted there as the kernel tells it; it is not looked at. nsvErr the same.
[[nodiscard]] OSStatus NumberOfMount(const Volume& inVolume, SInt16& outNumber);

// The volume with a number. nsvErr when there is none, or it is not mounted there any more.
[[nodiscard]] OSStatus GetVolume(SInt16 inNumber, Volume& outVolume);

// What answers who could not change something on an item's volume: of one that may only be read (EROFS)
// wPrErr where its device can only be read, else vLckdErr; of anything else what StatusOfErrno does.
[[nodiscard]] OSStatus StatusOfChange(int inErrno, const FoundItem& inItem);

}  // namespace toolbox::files

// The volumes that are mounted now, and what the system tells of each.
//
// Only GetVolumeSizes asks a file system for what a server may have to tell. A list looks at no volume of a
// server, by its type: the kernel's table tells where each is. Safe on any thread. Functions may throw
// std::bad_alloc.
#pragma once

#include "MountTable.h"

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace toolbox::files {

// Whether a file system is one that holds items of its own, and is not made up by the kernel, by its type.
bool HoldsData(const MountEntry& inMount);

// Their numbers: the one of the root folder first, others in the order in which they were mounted. Those that
// cannot be reached are left out; of a server's volume it is only known that nothing is mounted over it.
[[nodiscard]] OSStatus ListVolumes(std::vector<SInt16>& outVolumes);

// The number of the volume that a program means: of an index from 1 on, else by number, where 0 stands for
// the root folder's. nsvErr behind the last index; whether there is one of the number is not looked at.
[[nodiscard]] OSStatus ChooseVolume(SInt16 inNumber, std::size_t inIndex, SInt16& outNumber);

constexpr UInt16 kVolumeSignature = 0x4244;  // 'BD', of every volume

struct VolumeSizes {
    std::uint64_t blockBytes = 0;
    std::uint64_t blockCount = 0;
    std::uint64_t freeBlockCount = 0;  // that the user may fill
    std::uint64_t itemCount = 0;       // files, folders and the rest; 0 where nobody counts them
};
[[nodiscard]] OSStatus GetVolumeSizes(const Volume& inVolume, VolumeSizes& outSizes);

// The same in no more blocks than that, each as large as it needs, up to 2 GiB.
VolumeSizes SizesInBlocks(const VolumeSizes& inSizes, std::uint64_t inMaxBlocks);

// Its name as it is in specifications, of at most 27 bytes.
void GetVolumeName(const Volume& inVolume, Str255 outName);

struct VolumeLocks {
    bool isReadOnly = false;        // as it is mounted
    bool isDeviceReadOnly = false;  // the device beneath
};
[[nodiscard]] OSStatus GetVolumeLocks(const Volume& inVolume, VolumeLocks& outLocks);

// Whether a medium can be taken out of a device; false also where nobody tells.
bool IsDeviceRemovable(std::uint64_t inDevice);

}  // namespace toolbox::files

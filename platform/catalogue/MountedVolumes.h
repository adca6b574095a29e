// The volumes that are mounted now, and what the system tells of each.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include <toolbox/MacTypes.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

// Their numbers: the one of the root folder first, others in the order in which they were mounted. Those that
// cannot be reached are left out.
[[nodiscard]] OSStatus ListVolumes(std::vector<SInt16>& outVolumes);

struct VolumeFacts {
    std::uint64_t blockBytes = 0;
    std::uint64_t blockCount = 0;
    std::uint64_t freeBlockCount = 0;  // that the user may fill
    std::uint64_t itemCount = 0;
    bool isReadOnly = false;        // as it is mounted
    bool isDeviceReadOnly = false;  // the device beneath
};
// nsvErr when there is no such volume any more. 0 stands for the root folder's.
[[nodiscard]] OSStatus GetVolumeFacts(SInt16 inVolume, VolumeFacts& outFacts);

// The folders of a mount table in the kernel's form, /proc/self/mountinfo.
std::vector<std::string> MountFolders(std::string_view inTable);

}  // namespace toolbox::files

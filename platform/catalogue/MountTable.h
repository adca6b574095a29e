// What is mounted, as the kernel tells it of this process: no file system is asked.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Volumes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

// One mount. Texts are as the kernel has them, without its escapes.
struct MountEntry {
    std::uint64_t mount = 0;   // as in os::VolumeKey
    std::uint64_t device = 0;  // of the file system; its subvolumes may be other ones
    std::string rootInside;    // the folder of the file system that is mounted: "/" for the whole of it
    std::string folder;        // where it is mounted
    std::string options;       // of the mount: "rw,relatime"
    std::string type;          // of the file system: "ext4"
    std::string source;        // "/dev/sda1", "server:/folder"
    std::string superOptions;  // of the file system, wherever it is mounted
};

// The mounts of a table in the kernel's form, /proc/self/mountinfo, in the order in which they were made.
// Lines that make no sense are left out.
std::vector<MountEntry> MountsIn(std::string_view inTable);

// Of the table as it is now.
[[nodiscard]] OSStatus ReadMounts(std::vector<MountEntry>& outMounts);

// The mount of a volume that is there. nsvErr when the table tells of none, as it does of what lies above the
// process's root.
[[nodiscard]] OSStatus FindMount(const Volume& inVolume, MountEntry& outMount);

// The whole of a file in which the kernel tells about itself, but for what is beyond 4 MB. 0 or an errno.
[[nodiscard]] int ReadKernelFile(const char* inPath, std::string& outContents);

// Whether a list of options has that one, which has no value.
bool HasOption(std::string_view inOptions, std::string_view inOption);

}  // namespace toolbox::files

// The paths under which the system shows what a process has open: /proc/<process>/fd/<number>. They are how
// an item is named that has no name of its own, or none any more.
#pragma once

#include <string>

namespace toolbox::files {

// That of what this process has open.
std::string PathOfDescriptor(int inDescriptor);

// Whether a path whose folder is canonical is one.
bool IsDescriptorPath(const std::string& inPath);

// inPath with its folder made canonical, when that is a descriptor's path at which a file is open; empty when
// not. outFolder is the folder without a slash at the end.
std::string CanonicalDescriptorPath(const std::string& inPath, std::string& outFolder);

}  // namespace toolbox::files

// Where our own code lies. Functions answer 0 or an errno, and may throw std::bad_alloc; paths are absolute.
#pragma once

#include <string>

namespace toolbox::os {

// The program that runs.
[[nodiscard]] int GetExecutablePath(std::string& outPath);

// Where the program's resource fork lies as the contents of a file, for a program that has no fork: beside
// it.
std::string ResourceFileBeside(const std::string& inExecutablePath);

// What holds this code: the toolbox's library, or a program that carries it inside itself.
[[nodiscard]] int GetLibraryPath(std::string& outPath);

}  // namespace toolbox::os

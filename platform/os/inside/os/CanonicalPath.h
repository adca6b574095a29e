#pragma once

#include <string>

namespace toolbox::os {

// The absolute path of what inPath leads to, in which nothing is a link. 0 or an errno;
// ENAMETOOLONG also for one that the system would not take. May throw std::bad_alloc.
[[nodiscard]] int GetCanonicalPath(const char* inPath, std::string& outPath);

}  // namespace toolbox::os

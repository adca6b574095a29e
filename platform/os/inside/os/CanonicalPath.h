#pragma once

#include <string>

namespace toolbox::os {

// The absolute path of what inPath leads to, in which nothing is a link. 0 or an errno; may throw
// std::bad_alloc.
[[nodiscard]] int GetCanonicalPath(const char* inPath, std::string& outPath);

}  // namespace toolbox::os

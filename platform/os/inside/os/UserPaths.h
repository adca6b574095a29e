// Where the user's folders are, as environment and user database tell. Paths are absolute, without a slash at
// their end, and need not exist; what answers a number answers 0 or an errno. Safe on any thread that does
// not run while the environment is changed. May throw std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::os {

// The variable's value if that is an absolute path; else empty.
std::string PathInVariable(const char* inVariable);

// $HOME if that is an absolute path, else what the user database tells; empty when nobody tells. An error is
// that of a database which could not be asked.
[[nodiscard]] int GetHomePath(std::string& outPath);

// A base folder of the XDG specification: the variable's value if that is an absolute path, else this path in
// the home folder. Empty when the home folder is not known.
[[nodiscard]] int GetBaseFolderPath(const char* inVariable, std::string_view inPathInHome,
                                    std::string& outPath);

}  // namespace toolbox::os

// The user's folders as the XDG specifications place them. Paths are absolute and need not exist.
// Safe on any thread that does not run while the environment is changed. Functions may throw std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::files {

// A user directory, for example "DESKTOP": what user-dirs.dirs tells of it, else the folder of that name in
// the home folder. Empty when the home folder is not known. Answers 0, or the errno of a user database that
// could not be asked.
[[nodiscard]] int GetUserFolderPath(std::string_view inKind, std::string_view inNameInHome,
                                    std::string& outPath);

// What the contents of a user-dirs.dirs tell of a kind; empty when nothing that makes sense.
std::string FindUserFolder(std::string_view inContents, std::string_view inKind, std::string_view inHomePath);

}  // namespace toolbox::files

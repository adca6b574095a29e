// The languages that the user wants to read. Safe on any thread that does not run while the environment is
// changed. Functions may throw std::bad_alloc.
#pragma once

#include <string>
#include <vector>

namespace toolbox::launch {

// As in "ca_ES@valencia"; country and modifier may be empty.
struct Language {
    std::string language;
    std::string country;
    std::string modifier;
};

// The best first, and none behind English, in which what has no translation is taken to be: of LANGUAGE, else
// that of the locale. None in the locales C and POSIX.
std::vector<Language> UserLanguages();

}  // namespace toolbox::launch

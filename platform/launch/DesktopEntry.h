// Entries of menus and desktops (.desktop files). Functions may throw std::bad_alloc.
#pragma once

#include "Languages.h"

#include <string>
#include <string_view>
#include <vector>

namespace toolbox::launch {

// What the contents call the entry, in the best of the languages for which they have a name, else in none;
// bytes. Empty when they are no entry or have no name.
std::string NameInDesktopEntry(std::string_view inContents, const std::vector<Language>& inLanguages);

}  // namespace toolbox::launch

// Translations in resources of bundles (.strings files). Functions may throw std::bad_alloc.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace toolbox::launch {

// More bytes are no such file.
constexpr std::size_t kMaxStringsFileBytes = std::size_t{256} * 1024;

// The string under a key (ASCII), as UTF-8; empty when there is none. The contents are a property list, or
// text in UTF-8 or, with a byte order mark, UTF-16: "key" = "value"; with C's comments. What follows a
// mistake is not read.
std::string StringInFile(std::string_view inContents, std::string_view inKey);

}  // namespace toolbox::launch

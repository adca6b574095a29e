// Java's modified UTF-8, in which paths may arrive.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::files {

// inText with each pair of surrogates that is written as two sequences of three bytes joined into the four
// bytes of UTF-8. Everything else stays as it is, also lone surrogates and the two bytes for NUL, which no
// name can hold.
std::string JoinSurrogatePairs(std::string_view inText);

}  // namespace toolbox::files

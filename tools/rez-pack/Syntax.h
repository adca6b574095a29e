// Where a text stops being JSON, and why, for the person who wrote it.
#pragma once

#include <string>

namespace rez_pack {

// Of lists and objects within each other: more than anything that means something has.
inline constexpr int kMaxDepth = 100;

// For a text that is no JSON, or is nested deeper than kMaxDepth: "line 3, column 7: a comma or ] is due, not
// "x"". Columns are characters of UTF-8.
std::string SyntaxFault(const std::string& inText);

}  // namespace rez_pack

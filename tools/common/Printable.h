// Text for people: of unknown origin, made harmless for a terminal; and counts.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

// One line: '?' stands for every control character (also those of C1), line and paragraph separators, the
// marks that change the direction of text, and every byte that is not UTF-8.
std::string Printable(const std::string& inText);

// A string of JSON, with its quotes, of that value: the same characters are escaped, and U+FFFD stands for
// every byte that is not UTF-8.
std::string QuotedJSON(const std::string& inText);

// "1 packet", "2 packets".
std::string CountOf(std::uint64_t inCount, const char* inUnit);

// Well-formed from the first byte to the last.
bool IsUTF8(const std::string& inText);

}  // namespace tool

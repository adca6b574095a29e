// URLs as text: their parts, percent escapes and relative references (RFC 3986).
// Functions may throw std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::corefoundation {

struct URLParts {
    std::string_view scheme;     // without its colon; empty when the text is a relative reference
    std::string_view authority;  // without its slashes
    std::string_view path;
    std::string_view query;     // with its question mark, or empty
    std::string_view fragment;  // with its number sign, or empty
    bool hasAuthority = false;  // also an empty one, as in file:///path
};

// Views into inText.
URLParts SplitURL(std::string_view inText);
std::string JoinURL(const URLParts& inParts);

// Whether a text has only characters that may stand in a URL, and its percent signs begin escapes.
bool IsURLText(std::string_view inText);
// The text with an escape for each byte that keeps it from being one.
[[nodiscard]] std::string MakeURLText(std::string_view inText);

// What inReference means in a document at inBase, which has a scheme. Dots as segments are followed.
std::string ResolveReference(std::string_view inBase, std::string_view inReference);

bool CanStandInURL(unsigned char inCharacter);  // but for the percent sign
void AppendEscape(unsigned char inByte, std::string& ioText);
// Any path as it stands in a URL; slashes stay.
std::string EscapePath(std::string_view inPath);

// The byte that an escape stands for, or -1 when there is no escape at this place.
int ReadEscape(std::string_view inText, std::size_t inIndex);
// False when an escape is cut short.
bool Unescape(std::string_view inText, std::string& outBytes);

}  // namespace toolbox::corefoundation

// What the doubles of Core Foundation share: strings that are counted, and may change.
#pragma once

#include <toolbox/CFString.h>

#include <optional>
#include <string>
#include <string_view>

namespace fakes {

// Begins as a constant string does, so that both are read alike.
struct CountedString {
    CFConstantString image;
    std::u16string characters;
};

std::u16string_view Characters(CFStringRef inString);
// A live string of one count; null of nothing.
CFStringRef MakeString(const std::optional<std::u16string>& inCharacters);
// Changes a string that MakeString made.
void SetCharacters(CFMutableStringRef ioString, const std::u16string& inCharacters);

std::optional<std::string> Encode(std::u16string_view inCharacters, CFStringEncoding inEncoding);
std::optional<std::u16string> Decode(std::string_view inBytes, CFStringEncoding inEncoding);

// Small letters of ASCII for capitals.
char16_t Folded(char16_t inCharacter);

}  // namespace fakes

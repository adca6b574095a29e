// The utilities with an algorithm worth the name once more, on std::string and in the plainest words.
#pragma once

#include <optional>
#include <string>

namespace naive {

inline std::string PlugParams(const std::string& inText, const std::optional<std::string> (&inParams)[4]) {
    std::string result;
    std::string rest = inText;
    while (!rest.empty()) {
        const bool isPair = rest[0] == '^' && rest.size() > 1;
        const std::string token = rest.substr(0, isPair ? 2 : 1);
        rest.erase(0, token.size());
        if (isPair && token[1] >= '0' && token[1] <= '3')
            result += inParams[token[1] - '0'].value_or("");
        else
            result += token;
    }
    return result.substr(0, 255);
}

// 1 for the first byte, as positions in Pascal strings are; 0 for none.
inline std::size_t LastDot(const std::string& inText) {
    std::size_t found = 0;
    for (std::size_t position = 1; position <= inText.size(); ++position)
        if (inText[position - 1] == '.') found = position;
    return found + 5 >= inText.size() ? found : 0;
}

// inBehind is the byte behind the text.
inline std::string RemoveSuffix(const std::string& inText, char inBehind) {
    if (inBehind == '.' && inText.size() < 255) return inText;
    const std::size_t dot = LastDot(inText);
    return dot == 0 ? inText : inText.substr(0, dot - 1);
}

inline std::string Suffix(const std::string& inText) {
    const std::size_t dot = LastDot(inText);
    return dot == 0 ? "" : inText.substr(dot - 1);
}

inline std::string ASCIIUpper(std::string inText) {
    for (char& character : inText)
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 32);
    return inText;
}

// As far as both are ASCII.
inline bool HasSuffix(const std::string& inText, const std::string& inSuffix) {
    const std::string own = Suffix(inText);
    return !own.empty() && ASCIIUpper(own) == ASCIIUpper(inSuffix);
}

inline std::string StripLeadingBlanks(std::string inText) {
    while (inText.size() > 1 && inText[0] == ' ')
        inText.erase(0, 1);
    return inText;
}

// The copy cut at inMaxLength bytes in text of one script, whose first bytes of double-byte characters
// inIsFirst tells. inBytes is what is in memory: the text and the byte behind it.
template <typename IsFirst>
std::size_t CutLength(const std::string& inBytes, std::size_t inLength, int inMaxLength, IsFirst inIsFirst) {
    if (inMaxLength < 0) inMaxLength = 0;
    const auto maxLength = static_cast<std::size_t>(inMaxLength);
    if (inLength < maxLength) return inLength;
    std::size_t start = 0;
    while (start < maxLength)
        start += inIsFirst(static_cast<unsigned char>(inBytes[start])) ? 2 : 1;
    return start > maxLength ? maxLength - 1 : maxLength;
}

}  // namespace naive

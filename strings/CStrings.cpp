#include "CharacterBytes.h"

#include <strings/CStrings.h>
#include <toolbox/Script.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

short CStrLength(const char* inText) {
    if (inText == nullptr) return 0;
    constexpr std::size_t kMax = std::numeric_limits<short>::max();
    return static_cast<short>(std::min(std::strlen(inText), kMax));
}

void CStrNCopy(const char* inSource, char* outDestination, short inMaxLength) {
    if (inMaxLength <= 0) return;
    const std::size_t maxLength = static_cast<std::size_t>(inMaxLength);
    std::size_t length = std::min(std::strlen(inSource), maxLength);
    if (length == maxLength && IsSecondByte(inSource, inMaxLength, smCurrentScript)) --length;
    if (inSource != outDestination) std::memmove(outDestination, inSource, length);
    outDestination[length] = '\0';
}

char* PStrToCStr(unsigned char* ioText) {
    if (ioText == nullptr) return nullptr;
    const std::size_t length = ioText[0];
    std::memmove(ioText, ioText + 1, length);
    ioText[length] = '\0';
    return reinterpret_cast<char*>(ioText);
}

unsigned char* CStrToPStr(char* ioText) {
    if (ioText == nullptr) return nullptr;
    const auto length = static_cast<unsigned char>(std::min<short>(CStrLength(ioText), 255));
    std::memmove(ioText + 1, ioText, length);
    auto* const text = reinterpret_cast<unsigned char*>(ioText);
    text[0] = length;
    return text;
}

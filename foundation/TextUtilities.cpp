#include <foundation/TextUtilities.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr bool IsIn(UniChar inUnit, UniChar inFirst, UniChar inLast) {
    return inUnit >= inFirst && inUnit <= inLast;
}

bool IsJapaneseUnit(UniChar inUnit) {
    return IsIn(inUnit, 0x3000, 0x9FFF) || IsIn(inUnit, 0xFF00, 0xFFEF);
}

// Bytes that follow a lead byte; less than 0 for a byte that leads nothing known here.
int FollowingCount(unsigned char inLead) {
    if (inLead >= 0xC0 && inLead <= 0xDF) return 1;
    if (inLead >= 0xE0 && inLead <= 0xEF) return 2;
    return -1;
}

}  // namespace

char* CStrEscape(char* outText, const char* inText) {
    if (outText == nullptr) return nullptr;
    char* end = outText;
    for (; inText != nullptr && *inText != '\0'; ++inText) {
        if (*inText == '"') *end++ = '\\';
        *end++ = *inText;
    }
    *end = '\0';
    return outText;
}

TextEncoding GuessTextEncoding(const UniChar* inText, unsigned long inCount) {
    return std::any_of(inText, inText + inCount, IsJapaneseUnit) ? kCFStringEncodingMacJapanese
                                                                 : kCFStringEncodingMacRoman;
}

OSStatus ConvertUTF8toUnicode(const unsigned char* inText, unsigned long inCapacityBytes, UniChar* outText,
                              UInt16* outCount) {
    *outCount = 0;
    unsigned long count = 0;
    while (*inText != 0) {
        const unsigned char lead = *inText++;
        if (lead < 0x80) {
            outText[count++] = lead == ':' ? '/' : lead;
            continue;
        }
        const int following = FollowingCount(lead);
        if (following < 0) return paramErr;
        unsigned value = following == 1 ? lead & 0x1F : lead & 0x0F;
        for (int i = 0; i < following; ++i) {
            // The terminator continues nothing either, so nothing behind it is read.
            if ((*inText & 0xC0) != 0x80) return paramErr;
            value = value << 6 | (*inText++ & 0x3F);
        }
        if (count * sizeof(UniChar) >= inCapacityBytes) return memFullErr;
        outText[count++] = static_cast<UniChar>(value);
    }
    *outCount = static_cast<UInt16>(count);
    return noErr;
}

char* strnstr_(const char* inHaystack, const char* inNeedle, unsigned long inMaxLength) {
    char* at = const_cast<char*>(inHaystack);  // as the C library's functions of this kind do
    if (*inNeedle == '\0') return at;
    const char* const rest = inNeedle + 1;
    const std::size_t restLength = std::strlen(rest);
    for (; inMaxLength > 0 && *at != '\0'; ++at) {
        --inMaxLength;
        if (*at != *inNeedle) continue;
        if (restLength > inMaxLength) return nullptr;
        if (std::strncmp(at + 1, rest, restLength) == 0) return at;
    }
    return nullptr;
}

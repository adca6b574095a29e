// Percent escapes in any text.
#include "URLText.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/CFURL.h>

#include <vector>

namespace toolbox::corefoundation {

namespace {

bool IsListed(UniChar inCharacter, CFStringRef inList) {
    if (inList == nullptr) return false;
    const CFIndex count = CFStringGetLength(inList);
    for (CFIndex i = 0; i < count; ++i)
        if (CFStringGetCharacterAtIndex(inList, i) == inCharacter) return true;
    return false;
}

bool IsHighSurrogate(UniChar inUnit) {
    return (inUnit & 0xFC00) == 0xD800;
}

// The escaped bytes of the character at a place, which has inLength units. False when the encoding cannot
// hold it.
bool AppendEscaped(CFStringRef inText, CFIndex inIndex, CFIndex inLength, CFStringEncoding inEncoding,
                   std::string& ioResult) {
    UInt8 bytes[16];
    CFIndex byteCount = 0;
    const CFRange range = CFRangeMake(inIndex, inLength);
    if (CFStringGetBytes(inText, range, inEncoding, 0, false, bytes, sizeof(bytes), &byteCount) != inLength)
        return false;
    for (CFIndex i = 0; i < byteCount; ++i)
        AppendEscape(bytes[i], ioResult);
    return true;
}

Owned<CFStringRef> AddEscapes(CFStringRef inText, CFStringRef inToLeave, CFStringRef inToEscape,
                              CFStringEncoding inEncoding) {
    std::string result;
    const CFIndex length = CFStringGetLength(inText);
    for (CFIndex i = 0; i < length;) {
        const UniChar unit = CFStringGetCharacterAtIndex(inText, i);
        const bool isPlain = unit < 0x80 && CanStandInURL(static_cast<unsigned char>(unit));
        const bool stays =
            unit < 0x80 && (IsListed(unit, inToLeave) || (isPlain && !IsListed(unit, inToEscape)));
        if (stays) {
            result += static_cast<char>(unit);
            ++i;
            continue;
        }
        const CFIndex unitCount = IsHighSurrogate(unit) && i + 1 < length ? 2 : 1;
        if (!AppendEscaped(inText, i, unitCount, inEncoding, result)) return {};
        i += unitCount;
    }
    return StringOf(result);
}

Owned<CFStringRef> ReplaceEscapes(CFStringRef inText, CFStringRef inToLeave) {
    std::string text;
    std::string result;
    if (!GetUTF8(inText, text)) return {};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const int byte = ReadEscape(text, i);
        if (byte < 0) return {};
        if (byte < 0x80 && IsListed(static_cast<UniChar>(byte), inToLeave))
            result.append(text, i, 3);
        else
            result += static_cast<char>(byte);
        i += 2;
    }
    return StringOf(result);
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef, CFStringRef inText,
                                                    CFStringRef inCharactersToLeaveUnescaped,
                                                    CFStringRef inLegalCharactersToBeEscaped,
                                                    CFStringEncoding inEncoding) {
    if (inText == nullptr) return nullptr;
    return UnlessMemoryIsShort([&] {
        return AddEscapes(inText, inCharactersToLeaveUnescaped, inLegalCharactersToBeEscaped, inEncoding)
            .Release();
    });
}

CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef, CFStringRef inText,
                                                       CFStringRef inCharactersToLeaveEscaped) {
    if (inText == nullptr) return nullptr;
    if (inCharactersToLeaveEscaped == nullptr) return CFStringCreateCopy(kCFAllocatorDefault, inText);
    return UnlessMemoryIsShort([&] { return ReplaceEscapes(inText, inCharactersToLeaveEscaped).Release(); });
}

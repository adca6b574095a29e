#include "Text.h"

namespace rez_pack {

std::optional<std::string> Recoded(std::string_view inText, CFStringEncoding inFrom, CFStringEncoding inTo) {
    CFStringRef string =
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inText.data()),
                                static_cast<CFIndex>(inText.size()), inFrom, false);
    if (string == nullptr) return std::nullopt;
    const CFRange whole = CFRangeMake(0, CFStringGetLength(string));
    CFIndex byteCount = 0;
    std::optional<std::string> text;
    if (CFStringGetBytes(string, whole, inTo, 0, false, nullptr, 0, &byteCount) == whole.length) {
        text.emplace(static_cast<std::size_t>(byteCount), '\0');
        CFStringGetBytes(string, whole, inTo, 0, false, reinterpret_cast<UInt8*>(text->data()), byteCount,
                         &byteCount);
    }
    CFRelease(string);
    return text;
}

std::optional<ResType> TypeOfText(const std::string& inText) {
    const auto bytes = Recoded(inText, kCFStringEncodingUTF8, kCFStringEncodingMacRoman);
    if (!bytes || bytes->size() != 4) return std::nullopt;
    ResType type = 0;
    for (const char byte : *bytes)
        type = type << 8 | static_cast<UInt8>(byte);
    return type;
}

std::string TextOfType(ResType inType) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(inType >> shift);
    // Mac Roman has a character for every byte.
    return Recoded(bytes, kCFStringEncodingMacRoman, kCFStringEncodingUTF8).value_or(bytes);
}

}  // namespace rez_pack

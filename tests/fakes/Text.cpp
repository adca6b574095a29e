#include "Text.h"

#include "Calls.h"
#include "CountedString.h"
#include "Frameworks.h"
#include "System.h"

#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <cstring>
#include <set>

extern "C" const char kCFStringTypeMarker = 0;

namespace fakes {

namespace {

constexpr SInt64 kConstantCount = -1;

struct Script {
    BestFit bestFit = BestFit::kMacRoman;
    TextEncoding applicationEncoding = kCFStringEncodingUTF8;
    std::set<CFStringEncoding> refusedCStrings;
    std::set<CFStringEncoding> refusedPascalStrings;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

std::set<const void*>& Strings() {
    static auto& sStrings = *new std::set<const void*>;
    return sStrings;
}

int& AskedCount() {
    static int sAskedCount = 0;
    return sAskedCount;
}

const CFConstantString& Image(CFTypeRef inString) {
    const auto& image = *static_cast<const CFConstantString*>(inString);
    if (image.typeMarker != &kCFStringTypeMarker) ReportMisuse("an object that is no string");
    return image;
}

struct RomanCharacter {
    unsigned char byte;
    char16_t character;
};
constexpr RomanCharacter kRoman[] = {
    {0x80, 0x00C4}, {0x8E, 0x00E9}, {0x9F, 0x00FC}, {0xA9, 0x00A9}, {0xDB, 0x20AC}};

std::optional<char16_t> RomanToUnicode(unsigned char inByte) {
    for (const RomanCharacter& known : kRoman)
        if (known.byte == inByte) return known.character;
    return std::nullopt;
}

std::optional<char> UnicodeToRoman(char16_t inCharacter) {
    for (const RomanCharacter& known : kRoman)
        if (known.character == inCharacter) return static_cast<char>(known.byte);
    return std::nullopt;
}

// Strict for text of up to three bytes a character; longer sequences are not known here.
std::optional<std::u16string> DecodeUTF8(std::string_view inBytes) {
    std::u16string characters;
    for (std::size_t i = 0; i < inBytes.size();) {
        const auto first = static_cast<unsigned char>(inBytes[i++]);
        const int following = first < 0x80 ? 0 : (first & 0xE0) == 0xC0 ? 1 : (first & 0xF0) == 0xE0 ? 2 : -1;
        if (following < 0 || inBytes.size() - i < static_cast<std::size_t>(following)) return std::nullopt;
        char32_t value = following == 0 ? first : following == 1 ? first & 0x1F : first & 0x0F;
        for (int k = 0; k < following; ++k, ++i) {
            if ((inBytes[i] & 0xC0) != 0x80) return std::nullopt;
            value = value << 6 | (inBytes[i] & 0x3F);
        }
        characters += static_cast<char16_t>(value);
    }
    return characters;
}

std::optional<std::string> EncodeUTF8(std::u16string_view inCharacters) {
    std::string bytes;
    for (const char16_t c : inCharacters) {
        if (c >= 0xD800 && c < 0xE000) return std::nullopt;
        if (c < 0x80)
            bytes += static_cast<char>(c);
        else if (c < 0x800)
            (bytes += static_cast<char>(0xC0 | c >> 6)) += static_cast<char>(0x80 | (c & 0x3F));
        else
            ((bytes += static_cast<char>(0xE0 | c >> 12)) += static_cast<char>(0x80 | (c >> 6 & 0x3F))) +=
                static_cast<char>(0x80 | (c & 0x3F));
    }
    return bytes;
}

}  // namespace

std::optional<std::string> Encode(std::u16string_view inCharacters, CFStringEncoding inEncoding) {
    if (inEncoding == kCFStringEncodingUTF8) return EncodeUTF8(inCharacters);
    std::string bytes;
    for (const char16_t c : inCharacters) {
        std::optional<char> byte;
        if (c < 0x80)
            byte = static_cast<char>(c);
        else if (inEncoding == kCFStringEncodingMacRoman)
            byte = UnicodeToRoman(c);
        if (!byte) return std::nullopt;
        bytes += *byte;
    }
    return bytes;
}

std::u16string_view Characters(CFStringRef inString) {
    const CFConstantString& image = Image(inString);
    return {image.characters, static_cast<std::size_t>(image.length)};
}

CFStringRef MakeString(const std::optional<std::u16string>& inCharacters) {
    if (!inCharacters) return nullptr;
    auto* const string = new CountedString{{}, *inCharacters};
    string->image = {&kCFStringTypeMarker, 1, static_cast<CFIndex>(string->characters.size()),
                     string->characters.data()};
    Strings().insert(string);
    return reinterpret_cast<CFStringRef>(string);
}

void SetCharacters(CFMutableStringRef ioString, const std::u16string& inCharacters) {
    void* const object = const_cast<struct OpaqueCFString*>(ioString);
    if (Strings().count(object) == 0) return ReportMisuse("a change of a string that is not live");
    auto& string = *static_cast<CountedString*>(object);
    string.characters = inCharacters;
    string.image.length = static_cast<CFIndex>(inCharacters.size());
    string.image.characters = string.characters.data();
}

std::optional<std::u16string> Decode(std::string_view inBytes, CFStringEncoding inEncoding) {
    if (inEncoding == kCFStringEncodingUTF8) return DecodeUTF8(inBytes);
    std::u16string characters;
    for (const char byte : inBytes) {
        const auto value = static_cast<unsigned char>(byte);
        std::optional<char16_t> character;
        if (value < 0x80)
            character = value;
        else if (inEncoding == kCFStringEncodingMacRoman)
            character = RomanToUnicode(value);
        if (!character) return std::nullopt;
        characters += *character;
    }
    return characters;
}

char16_t Folded(char16_t inCharacter) {
    return inCharacter >= 'A' && inCharacter <= 'Z' ? static_cast<char16_t>(inCharacter + 32) : inCharacter;
}

int LiveStrings() {
    return static_cast<int>(Strings().size());
}

int ApplicationEncodingAskedCount() {
    return AskedCount();
}

void SetBestFit(BestFit inBestFit) {
    TheScript().bestFit = inBestFit;
}

void SetApplicationEncoding(TextEncoding inEncoding) {
    TheScript().applicationEncoding = inEncoding;
}

void RefuseCStringsIn(CFStringEncoding inEncoding) {
    TheScript().refusedCStrings.insert(inEncoding);
}

void RefusePascalStringsIn(CFStringEncoding inEncoding) {
    TheScript().refusedPascalStrings.insert(inEncoding);
}

void ForgetTextScript() {
    TheScript() = Script();
}

std::string TextOf(CFStringRef inString) {
    return EncodeUTF8(Characters(inString)).value_or("?");
}

}  // namespace fakes

using namespace fakes;

CFTypeRef CFRetain(CFTypeRef inObject) {
    if (Image(inObject).retainCount != kConstantCount)
        ++reinterpret_cast<CountedString*>(const_cast<void*>(inObject))->image.retainCount;
    return inObject;
}

void CFRelease(CFTypeRef inObject) {
    if (ReleaseFrameworkObject(inObject) || ReleaseIdentifier(inObject)) return;
    if (Image(inObject).retainCount == kConstantCount) return;
    if (Strings().count(inObject) == 0) return ReportMisuse("CFRelease of a string that is not live");
    auto* const string = static_cast<CountedString*>(const_cast<void*>(inObject));
    if (--string->image.retainCount > 0) return;
    Strings().erase(inObject);
    delete string;
}

CFIndex CFGetRetainCount(CFTypeRef inObject) {
    return static_cast<CFIndex>(Image(inObject).retainCount);
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* inText, CFStringEncoding inEncoding) {
    if (LogAndFail("CFStringCreateWithCString()") || inText == nullptr) return nullptr;
    return MakeString(Decode(inText, inEncoding));
}

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef, ConstStr255Param inText,
                                           CFStringEncoding inEncoding) {
    if (LogAndFail("CFStringCreateWithPascalString()") || inText == nullptr) return nullptr;
    return MakeString(Decode({reinterpret_cast<const char*>(inText + 1), inText[0]}, inEncoding));
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* inCharacters, CFIndex inLength) {
    if (LogAndFail("CFStringCreateWithCharacters()")) return nullptr;
    return MakeString(std::u16string(inCharacters, inCharacters + inLength));
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef inString, CFRange inRange) {
    if (LogAndFail(CallText("CFStringCreateWithSubstring", inRange.location, inRange.length))) return nullptr;
    return MakeString(std::u16string(Characters(inString).substr(static_cast<std::size_t>(inRange.location),
                                                                 static_cast<std::size_t>(inRange.length))));
}

CFIndex CFStringGetLength(CFStringRef inString) {
    return Image(inString).length;
}

UniChar CFStringGetCharacterAtIndex(CFStringRef inString, CFIndex inIndex) {
    return Characters(inString)[static_cast<std::size_t>(inIndex)];
}

Boolean CFStringGetCString(CFStringRef inString, char* outBuffer, CFIndex inBufferSize,
                           CFStringEncoding inEncoding) {
    Log(CallText("CFStringGetCString", inBufferSize, inEncoding));
    const auto bytes = Encode(Characters(inString), inEncoding);
    if (TheScript().refusedCStrings.count(inEncoding) != 0 || !bytes ||
        inBufferSize <= static_cast<CFIndex>(bytes->size())) {
        // A buffer after a failure is unspecified: spoil what there is of it, but leave it a string.
        if (inBufferSize < 1) return 0;
        const auto last = static_cast<std::size_t>(inBufferSize - 1);
        std::memset(outBuffer, '?', last);
        outBuffer[last] = '\0';
        return 0;
    }
    std::memcpy(outBuffer, bytes->c_str(), bytes->size() + 1);
    return 1;
}

Boolean CFStringGetPascalString(CFStringRef inString, StringPtr outBuffer, CFIndex inBufferSize,
                                CFStringEncoding inEncoding) {
    Log(CallText("CFStringGetPascalString", inBufferSize, inEncoding));
    const auto bytes = Encode(Characters(inString), inEncoding);
    if (TheScript().refusedPascalStrings.count(inEncoding) != 0 || !bytes || bytes->size() > 255 ||
        inBufferSize <= static_cast<CFIndex>(bytes->size())) {
        if (inBufferSize > 0) std::memset(outBuffer, '?', static_cast<std::size_t>(inBufferSize));
        return 0;
    }
    outBuffer[0] = static_cast<unsigned char>(bytes->size());
    std::copy(bytes->begin(), bytes->end(), outBuffer + 1);
    return 1;
}

CFComparisonResult CFStringCompare(CFStringRef inString1, CFStringRef inString2,
                                   CFStringCompareFlags inFlags) {
    Log("CFStringCompare()");
    std::u16string left(Characters(inString1));
    std::u16string right(Characters(inString2));
    if ((inFlags & kCFCompareCaseInsensitive) != 0) {
        std::transform(left.begin(), left.end(), left.begin(), Folded);
        std::transform(right.begin(), right.end(), right.begin(), Folded);
    }
    const int order = left.compare(right);
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

CFStringEncoding CFStringGetSystemEncoding(void) {
    return kCFStringEncodingMacRoman;
}

TextEncoding GetApplicationTextEncoding(void) {
    ++AskedCount();
    return TheScript().applicationEncoding;
}

OSStatus GetTextAndEncodingFromCFString(CFStringRef inString, UInt8* outText, ByteCount inTextMaxLength,
                                        ByteCount* outTextLength, TextEncoding* outEncoding) {
    Log(CallText("GetTextAndEncodingFromCFString", inTextMaxLength));
    const auto bytes = Encode(Characters(inString), kCFStringEncodingMacRoman);
    const BestFit bestFit = TheScript().bestFit;
    if (bestFit == BestFit::kFails ||
        (bestFit == BestFit::kMacRoman && (!bytes || bytes->size() > inTextMaxLength)))
        return -50;
    *outEncoding = kCFStringEncodingMacRoman;
    *outTextLength = bestFit == BestFit::kEmpty ? 0 : bytes->size();
    if (bestFit == BestFit::kMacRoman) std::copy(bytes->begin(), bytes->end(), outText);
    return 0;
}

void c2pstrcpy(StringPtr outPascal, const char* inText) {
    Log("c2pstrcpy()");
    const std::size_t length = std::min<std::size_t>(std::strlen(inText), 255);
    std::memmove(outPascal + 1, inText, length);
    outPascal[0] = static_cast<unsigned char>(length);
}

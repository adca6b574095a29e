#include "Calls.h"
#include "CountedString.h"

#include <toolbox/CFDateFormatter.h>

#include <algorithm>
#include <cstdarg>

namespace fakes {

namespace {

std::u16string Text(CFStringRef inString) {
    return std::u16string(Characters(inString));
}

std::u16string Comparable(std::u16string inText, CFStringCompareFlags inFlags) {
    if ((inFlags & kCFCompareCaseInsensitive) != 0)
        std::transform(inText.begin(), inText.end(), inText.begin(), Folded);
    return inText;
}

std::u16string Part(CFStringRef inString, CFRange inRange) {
    if (inRange.location < 0 || inRange.length < 0 ||
        inRange.length > CFStringGetLength(inString) - inRange.location) {
        ReportMisuse("a range outside the string");
        return {};
    }
    return Text(inString).substr(static_cast<std::size_t>(inRange.location),
                                 static_cast<std::size_t>(inRange.length));
}

std::u16string Widened(const std::string& inText) {
    return {inText.begin(), inText.end()};
}

// Every occurrence, none overlapping one before it.
std::u16string ReplacedAll(const std::u16string& inText, const std::u16string& inFind,
                           const std::u16string& inWith, CFStringCompareFlags inFlags, CFIndex& outCount) {
    outCount = 0;
    const std::u16string find = Comparable(inFind, inFlags);
    std::u16string result;
    for (std::size_t i = 0; i < inText.size();) {
        if (!find.empty() && Comparable(inText.substr(i, find.size()), inFlags) == find) {
            result += inWith;
            i += find.size();
            ++outCount;
        } else {
            result += inText[i++];
        }
    }
    return result;
}

template <typename Map>
void MapUnits(CFMutableStringRef ioString, Map inMap) {
    std::u16string text = Text(ioString);
    bool isFirst = true;
    for (char16_t& unit : text) {
        unit = inMap(unit, isFirst);
        isFirst = unit == ' ';
    }
    SetCharacters(ioString, text);
}

char16_t Raised(char16_t inUnit) {
    return inUnit >= 'a' && inUnit <= 'z' ? static_cast<char16_t>(inUnit - 32) : inUnit;
}

// Directives "%@" and "%lu", and characters that stand for themselves.
std::u16string Formatted(std::u16string_view inFormat, std::va_list inArguments) {
    std::u16string text;
    for (std::size_t i = 0; i < inFormat.size(); ++i) {
        if (inFormat.substr(i, 2) == u"%@") {
            text += Characters(va_arg(inArguments, CFStringRef));
            i += 1;
        } else if (inFormat.substr(i, 3) == u"%lu") {
            text += Widened(std::to_string(va_arg(inArguments, unsigned long)));
            i += 2;
        } else {
            text += inFormat[i];
        }
    }
    return text;
}

}  // namespace

}  // namespace fakes

using namespace fakes;

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* inBytes, CFIndex inByteCount,
                                    CFStringEncoding inEncoding, Boolean inIsExternalRepresentation) {
    if (LogAndFail(CallText("CFStringCreateWithBytes", inByteCount, inEncoding, inIsExternalRepresentation)))
        return nullptr;
    std::string_view bytes(reinterpret_cast<const char*>(inBytes), static_cast<std::size_t>(inByteCount));
    if (inIsExternalRepresentation && bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    return MakeString(Decode(bytes, inEncoding));
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef inString) {
    if (LogAndFail("CFStringCreateMutableCopy()")) return nullptr;
    return const_cast<CFMutableStringRef>(MakeString(Text(inString)));
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef, CFStringRef inFormat,
                                                 va_list inArguments) {
    if (LogAndFail("CFStringCreateWithFormatAndArguments()")) return nullptr;
    return MakeString(Formatted(Characters(inFormat), inArguments));
}

void CFStringGetCharacters(CFStringRef inString, CFRange inRange, UniChar* outCharacters) {
    const std::u16string part = Part(inString, inRange);
    std::copy(part.begin(), part.end(), outCharacters);
}

CFComparisonResult CFStringCompareWithOptions(CFStringRef inString1, CFStringRef inString2, CFRange inRange,
                                              CFStringCompareFlags inFlags) {
    Log(CallText("CFStringCompareWithOptions", inRange.location, inRange.length, inFlags));
    const int order =
        Comparable(Part(inString1, inRange), inFlags).compare(Comparable(Text(inString2), inFlags));
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

Boolean CFStringFindWithOptions(CFStringRef inString, CFStringRef inFind, CFRange inRange,
                                CFStringCompareFlags inFlags, CFRange* outFound) {
    Log(CallText("CFStringFindWithOptions", inRange.location, inRange.length, inFlags));
    const std::u16string text = Comparable(Part(inString, inRange), inFlags);
    const std::u16string find = Comparable(Text(inFind), inFlags);
    if (find.empty() || find.size() > text.size()) return 0;
    const bool isBackwards = (inFlags & kCFCompareBackwards) != 0;
    const std::size_t anchor = isBackwards ? text.size() - find.size() : 0;
    const std::size_t at = isBackwards ? text.rfind(find) : text.find(find);
    if (at == std::u16string::npos || ((inFlags & kCFCompareAnchored) != 0 && at != anchor)) return 0;
    if (outFound != nullptr)
        *outFound = CFRangeMake(inRange.location + static_cast<CFIndex>(at), CFStringGetLength(inFind));
    return 1;
}

CFRange CFStringFind(CFStringRef inString, CFStringRef inFind, CFStringCompareFlags inFlags) {
    CFRange found = CFRangeMake(kCFNotFound, 0);
    CFStringFindWithOptions(inString, inFind, CFRangeMake(0, CFStringGetLength(inString)), inFlags, &found);
    return found;
}

void CFStringReplace(CFMutableStringRef ioString, CFRange inRange, CFStringRef inWith) {
    Log(CallText("CFStringReplace", inRange.location, inRange.length));
    Part(ioString, inRange);
    std::u16string text = Text(ioString);
    text.replace(static_cast<std::size_t>(inRange.location), static_cast<std::size_t>(inRange.length),
                 Characters(inWith));
    SetCharacters(ioString, text);
}

CFIndex CFStringFindAndReplace(CFMutableStringRef ioString, CFStringRef inFind, CFStringRef inWith,
                               CFRange inRange, CFStringCompareFlags inFlags) {
    Log(CallText("CFStringFindAndReplace", inRange.location, inRange.length, inFlags));
    CFIndex count = 0;
    const std::u16string part =
        ReplacedAll(Part(ioString, inRange), Text(inFind), Text(inWith), inFlags, count);
    std::u16string text = Text(ioString);
    text.replace(static_cast<std::size_t>(inRange.location), static_cast<std::size_t>(inRange.length), part);
    SetCharacters(ioString, text);
    return count;
}

void CFStringUppercase(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    Log(CallText("CFStringUppercase", inLocale == nullptr ? 0 : 1));
    MapUnits(ioString, [](char16_t inUnit, bool) { return Raised(inUnit); });
}

void CFStringLowercase(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    Log(CallText("CFStringLowercase", inLocale == nullptr ? 0 : 1));
    MapUnits(ioString, [](char16_t inUnit, bool) { return Folded(inUnit); });
}

void CFStringCapitalize(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    Log(CallText("CFStringCapitalize", inLocale == nullptr ? 0 : 1));
    MapUnits(ioString,
             [](char16_t inUnit, bool inIsFirst) { return inIsFirst ? Raised(inUnit) : Folded(inUnit); });
}

// Knows e acute only.
void CFStringNormalize(CFMutableStringRef ioString, CFStringNormalizationForm inForm) {
    Log(CallText("CFStringNormalize", inForm));
    const bool composes = inForm == kCFStringNormalizationFormC || inForm == kCFStringNormalizationFormKC;
    const std::u16string composed = u"\u00E9", decomposed = u"e\u0301";
    CFIndex ignored = 0;
    SetCharacters(ioString, ReplacedAll(Text(ioString), composes ? decomposed : composed,
                                        composes ? composed : decomposed, 0, ignored));
}

// Locales and formatters are strings here, too, so that they count as live.

CFLocaleRef CFLocaleCopyCurrent(void) {
    if (LogAndFail("CFLocaleCopyCurrent()")) return nullptr;
    return reinterpret_cast<CFLocaleRef>(MakeString(u"locale"));
}

CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef, CFLocaleRef inLocale,
                                         CFDateFormatterStyle inDateStyle, CFDateFormatterStyle inTimeStyle) {
    if (LogAndFail(CallText("CFDateFormatterCreate", inDateStyle, inTimeStyle))) return nullptr;
    if (inLocale == nullptr || Characters(reinterpret_cast<CFStringRef>(inLocale)) != u"locale")
        ReportMisuse("CFDateFormatterCreate of no locale");
    const std::string styles = std::to_string(inDateStyle) + "/" + std::to_string(inTimeStyle);
    const auto* const formatter = MakeString(Widened(styles));
    return reinterpret_cast<CFDateFormatterRef>(const_cast<CFMutableStringRef>(formatter));
}

// The styles and the time in whole seconds.
CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef, CFDateFormatterRef inFormatter,
                                                        CFAbsoluteTime inTime) {
    if (LogAndFail("CFDateFormatterCreateStringWithAbsoluteTime()")) return nullptr;
    const std::u16string styles = Text(reinterpret_cast<CFStringRef>(inFormatter));
    return MakeString(styles + Widened(" " + std::to_string(static_cast<long>(inTime))));
}

#include "MutableString.h"

#include "SystemArray.h"
#include "os/SystemCalls.h"

#include <toolbox/CFMutableString.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace toolbox::corefoundation {

namespace {

constexpr CFIndex kLeastCapacity = 16;
constexpr UniChar kNoUnits[1] = {};  // ICU asks for an address even of nothing

UniChar* UnitsOf(MutableStringObject& inString) {
    return const_cast<UniChar*>(inString.string.characters);
}

// Room for a string that is likely to grow on, once it does.
CFIndex CapacityFor(const MutableStringObject& inString, CFIndex inLength) {
    if (inLength <= inString.capacity) return inString.capacity;
    const CFIndex grown = inString.capacity + inString.capacity / 2;
    return std::min(std::max({inLength, grown, kLeastCapacity}), inString.maxLength);
}

bool IsOwnText(const MutableStringObject& inString, const UniChar* inUnits) {
    const UniChar* own = inString.string.characters;
    return !std::less<>()(inUnits, own) && std::less<>()(inUnits, own + inString.capacity);
}

// The units before the range, the new ones and those behind it, in a new block.
bool ReplaceInNewBlock(MutableStringObject& ioString, CFRange inRange, const UniChar* inUnits,
                       CFIndex inCount, CFIndex inNewLength) {
    const CFIndex capacity = CapacityFor(ioString, inNewLength);
    auto* units =
        static_cast<UniChar*>(os::Calls().malloc(static_cast<std::size_t>(capacity) * sizeof(UniChar)));
    if (units == nullptr) return false;
    UniChar* old = UnitsOf(ioString);
    const CFIndex tail = inRange.location + inRange.length;
    UniChar* end = std::copy_n(old, inRange.location, units);
    end = std::copy_n(inUnits, inCount, end);
    std::copy_n(old + tail, ioString.string.length - tail, end);
    if (ioString.capacity > 0) os::Calls().free(old);
    ioString.string.characters = units;
    ioString.string.length = inNewLength;
    ioString.capacity = capacity;
    return true;
}

// Units of the bytes of an encoding, appended.
void AppendDecoded(CFMutableStringRef ioString, CFStringRef inDecoded) {
    if (inDecoded == nullptr) return;
    CFStringAppend(ioString, inDecoded);
    CFRelease(inDecoded);
}

bool HasAt(const StringObject& inString, CFIndex inIndex, const StringObject& inPart) {
    return std::equal(inPart.characters, inPart.characters + inPart.length, inString.characters + inIndex);
}

// What stays of a string between inStart and inEnd.
void KeepOnly(MutableStringObject& ioString, CFIndex inStart, CFIndex inEnd) {
    ReplaceUnits(ioString, CFRangeMake(inEnd, ioString.string.length - inEnd), nullptr, 0);
    ReplaceUnits(ioString, CFRangeMake(0, inStart), nullptr, 0);
}

}  // namespace

void ReleaseUnitsOfMutable(Object* inString) {
    auto* string = reinterpret_cast<MutableStringObject*>(inString);
    if (string->capacity > 0) os::Calls().free(UnitsOf(*string));
}

bool ReplaceUnits(MutableStringObject& ioString, CFRange inRange, const UniChar* inUnits, CFIndex inCount) {
    StringObject& string = ioString.string;
    if (!IsInside(string, inRange)) return false;
    const CFIndex kept = string.length - inRange.length;
    if (inCount > ioString.maxLength - kept) return false;
    const CFIndex length = kept + inCount;
    if (length > ioString.capacity || (inCount > 0 && IsOwnText(ioString, inUnits)))
        return ReplaceInNewBlock(ioString, inRange, inUnits, inCount, length);
    if (ioString.capacity == 0) return true;  // nothing to nothing
    UniChar* hole = UnitsOf(ioString) + inRange.location;
    const UniChar* tail = hole + inRange.length;
    const CFIndex tailCount = string.length - inRange.location - inRange.length;
    if (inCount <= inRange.length)
        std::copy(tail, tail + tailCount, hole + inCount);
    else
        std::copy_backward(tail, tail + tailCount, hole + inCount + tailCount);
    std::copy_n(inUnits, inCount, hole);
    string.length = length;
    return true;
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef, CFIndex inMaxLength) {
    if (inMaxLength < 0) return nullptr;
    auto* string =
        static_cast<MutableStringObject*>(NewObject(kMutableStringType, sizeof(MutableStringObject)));
    if (string == nullptr) return nullptr;
    string->string.length = 0;
    string->string.characters = kNoUnits;
    string->capacity = 0;
    string->maxLength = inMaxLength == 0 ? kMaxStringLength : std::min(inMaxLength, kMaxStringLength);
    return reinterpret_cast<CFMutableStringRef>(string);
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef inAllocator, CFIndex inMaxLength,
                                             CFStringRef inString) {
    if (inString == nullptr) return nullptr;
    CFMutableStringRef copy = CFStringCreateMutable(inAllocator, inMaxLength);
    if (copy == nullptr) return nullptr;
    const StringObject& string = ObjectOf(inString);
    if (ReplaceUnits(*MutableOf(copy), CFRangeMake(0, 0), string.characters, string.length)) return copy;
    CFRelease(copy);
    return nullptr;
}

void CFStringAppend(CFMutableStringRef ioString, CFStringRef inAppended) {
    if (ioString != nullptr) CFStringInsert(ioString, CFStringGetLength(ioString), inAppended);
}

void CFStringAppendCharacters(CFMutableStringRef ioString, const UniChar* inCharacters, CFIndex inLength) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || inCharacters == nullptr || inLength < 0) return;
    ReplaceUnits(*string, CFRangeMake(string->string.length, 0), inCharacters, inLength);
}

void CFStringAppendPascalString(CFMutableStringRef ioString, ConstStr255Param inText,
                                CFStringEncoding inEncoding) {
    AppendDecoded(ioString, CFStringCreateWithPascalString(nullptr, inText, inEncoding));
}

void CFStringAppendCString(CFMutableStringRef ioString, const char* inText, CFStringEncoding inEncoding) {
    AppendDecoded(ioString, CFStringCreateWithCString(nullptr, inText, inEncoding));
}

void CFStringInsert(CFMutableStringRef ioString, CFIndex inIndex, CFStringRef inInserted) {
    CFStringReplace(ioString, CFRangeMake(inIndex, 0), inInserted);
}

void CFStringDelete(CFMutableStringRef ioString, CFRange inRange) {
    CFStringReplace(ioString, inRange, CFSTR(""));
}

void CFStringReplace(CFMutableStringRef ioString, CFRange inRange, CFStringRef inReplacement) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || inReplacement == nullptr) return;
    const StringObject& replacement = ObjectOf(inReplacement);
    ReplaceUnits(*string, inRange, replacement.characters, replacement.length);
}

void CFStringReplaceAll(CFMutableStringRef ioString, CFStringRef inReplacement) {
    if (ioString != nullptr)
        CFStringReplace(ioString, CFRangeMake(0, CFStringGetLength(ioString)), inReplacement);
}

void CFStringPad(CFMutableStringRef ioString, CFStringRef inPadding, CFIndex inLength,
                 CFIndex inStartInPadding) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || inLength < 0) return;
    const CFIndex length = string->string.length;
    if (inLength <= length) {
        ReplaceUnits(*string, CFRangeMake(inLength, length - inLength), nullptr, 0);
        return;
    }
    if (inPadding == nullptr || inLength > string->maxLength) return;
    const StringObject& padding = ObjectOf(inPadding);
    if (inStartInPadding < 0 || inStartInPadding >= padding.length) return;
    const CFIndex missing = inLength - length;
    UnitArray units;
    if (!units.Reserve(missing)) return;
    for (CFIndex i = 0, from = inStartInPadding; i < missing; ++i) {
        units[i] = padding.characters[from];
        if (++from == padding.length) from = 0;
    }
    ReplaceUnits(*string, CFRangeMake(length, 0), units.Data(), missing);
}

void CFStringTrim(CFMutableStringRef ioString, CFStringRef inTrimmed) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || inTrimmed == nullptr) return;
    const StringObject& trimmed = ObjectOf(inTrimmed);
    if (trimmed.length == 0) return;
    CFIndex start = 0;
    CFIndex end = string->string.length;
    while (end - start >= trimmed.length && HasAt(string->string, start, trimmed))
        start += trimmed.length;
    while (end - start >= trimmed.length && HasAt(string->string, end - trimmed.length, trimmed))
        end -= trimmed.length;
    KeepOnly(*string, start, end);
}

void CFStringTrimWhitespace(CFMutableStringRef ioString) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr) return;
    // No white space lies outside the basic plane.
    const UniChar* units = string->string.characters;
    CFIndex start = 0;
    CFIndex end = string->string.length;
    while (start < end && u_isUWhiteSpace(units[start]))
        ++start;
    while (start < end && u_isUWhiteSpace(units[end - 1]))
        --end;
    KeepOnly(*string, start, end);
}

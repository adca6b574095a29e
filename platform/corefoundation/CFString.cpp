#include "MutableString.h"
#include "StringObject.h"
#include "corefoundation/Encodings.h"

#include <toolbox/CFString.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <string_view>

const char kCFStringTypeMarker = 0;

namespace toolbox::corefoundation {

namespace {

CFStringRef NewStringOf(const Coder* inCoder, const UInt8* inBytes, CFIndex inByteCount) {
    if (inCoder == nullptr) return nullptr;
    const CFIndex asciiCount = inCoder->HoldsASCII() ? CountLeadingASCII(inBytes, inByteCount) : 0;
    const UInt8* rest = inBytes + asciiCount;
    const CFIndex restCount = inByteCount - asciiCount;
    const CFIndex restLength = restCount == 0 ? 0 : inCoder->CountUnits(rest, restCount);
    if (restLength == kCFNotFound) return nullptr;
    UniChar* characters = nullptr;
    StringObject* string = NewString(asciiCount + restLength, &characters);
    if (string == nullptr) return nullptr;
    std::copy_n(inBytes, asciiCount, characters);
    if (restCount == 0 || inCoder->Decode(rest, restCount, characters + asciiCount, restLength))
        return RefOf(string);
    CFRelease(RefOf(string));
    return nullptr;
}

bool HoldsSameUnits(CFTypeRef inOne, CFTypeRef inOther) {
    return CFStringCompare(static_cast<CFStringRef>(inOne), static_cast<CFStringRef>(inOther), 0) ==
           kCFCompareEqualTo;
}

CFHashCode HashUnits(CFTypeRef inString) {
    const StringObject& string = ObjectOf(static_cast<CFStringRef>(inString));
    return std::hash<std::u16string_view>()(
        {reinterpret_cast<const char16_t*>(string.characters), static_cast<std::size_t>(string.length)});
}

CFStringRef CopyText(CFTypeRef inString) {
    return CFStringCreateCopy(nullptr, static_cast<CFStringRef>(inString));
}

// The coder of an encoding that C and Pascal strings can be in: one of 8-bit units.
const Coder* FindByteCoder(CFStringEncoding inEncoding) {
    const Coder* coder = FindCoder(inEncoding);
    return coder != nullptr && coder->HasByteUnits() ? coder : nullptr;
}

// The whole string into outBytes, or kCFNotFound.
CFIndex EncodeWhole(CFStringRef inString, CFStringEncoding inEncoding, UInt8* outBytes, CFIndex inCapacity) {
    const Coder* coder = FindByteCoder(inEncoding);
    if (coder == nullptr) return kCFNotFound;
    const StringObject& string = ObjectOf(inString);
    const Encoded encoded = Encode(*coder, string.characters, string.length, 0, outBytes, inCapacity);
    return encoded.unitCount == string.length ? encoded.byteCount : CFIndex{kCFNotFound};
}

}  // namespace

const TypeInfo kStringType = {kStringTypeID, nullptr, "CFString", HoldsSameUnits, HashUnits, CopyText};
const TypeInfo kMutableStringType = {
    kStringTypeID, ReleaseUnitsOfMutable, "CFString", HoldsSameUnits, HashUnits, CopyText};

StringObject* NewString(CFIndex inLength, UniChar** outCharacters) {
    if (inLength > kMaxStringLength) return nullptr;
    const std::size_t byteCount = sizeof(StringObject) + static_cast<std::size_t>(inLength) * sizeof(UniChar);
    auto* string = static_cast<StringObject*>(NewObject(kStringType, byteCount));
    if (string == nullptr) return nullptr;
    *outCharacters = reinterpret_cast<UniChar*>(string + 1);
    string->length = inLength;
    string->characters = *outCharacters;
    return string;
}

CFStringRef NewStringOf(const UniChar* inCharacters, CFIndex inLength) {
    UniChar* characters = nullptr;
    StringObject* string = NewString(inLength, &characters);
    if (string == nullptr) return nullptr;
    std::memcpy(characters, inCharacters, static_cast<std::size_t>(inLength) * sizeof(UniChar));
    return RefOf(string);
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFStringGetTypeID() {
    return kStringTypeID;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* inText, CFStringEncoding inEncoding) {
    if (inText == nullptr) return nullptr;
    return NewStringOf(FindByteCoder(inEncoding), reinterpret_cast<const UInt8*>(inText),
                       static_cast<CFIndex>(std::strlen(inText)));
}

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef, ConstStr255Param inText,
                                           CFStringEncoding inEncoding) {
    if (inText == nullptr) return nullptr;
    return NewStringOf(FindByteCoder(inEncoding), inText + 1, inText[0]);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* inBytes, CFIndex inByteCount,
                                    CFStringEncoding inEncoding, Boolean inIsExternalRepresentation) {
    if (inBytes == nullptr || inByteCount < 0) return nullptr;
    CFIndex markByteCount = 0;
    if (inIsExternalRepresentation)
        inEncoding = ReadByteOrderMark(inEncoding, inBytes, inByteCount, &markByteCount);
    return NewStringOf(FindCoder(inEncoding), inBytes + markByteCount, inByteCount - markByteCount);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* inCharacters, CFIndex inLength) {
    if (inCharacters == nullptr || inLength < 0) return nullptr;
    return NewStringOf(inCharacters, inLength);
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef inString, CFRange inRange) {
    if (inString == nullptr) return nullptr;
    const StringObject& string = ObjectOf(inString);
    if (!IsInside(string, inRange)) return nullptr;
    if (inRange.length == string.length) return CFStringCreateCopy(nullptr, inString);
    return NewStringOf(string.characters + inRange.location, inRange.length);
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef inString) {
    if (inString == nullptr) return nullptr;
    if (!IsMutable(inString)) return static_cast<CFStringRef>(CFRetain(inString));
    return NewStringOf(ObjectOf(inString).characters, ObjectOf(inString).length);
}

CFIndex CFStringGetLength(CFStringRef inString) {
    return ObjectOf(inString).length;
}

UniChar CFStringGetCharacterAtIndex(CFStringRef inString, CFIndex inIndex) {
    const StringObject& string = ObjectOf(inString);
    return inIndex >= 0 && inIndex < string.length ? string.characters[inIndex] : UniChar{0};
}

void CFStringGetCharacters(CFStringRef inString, CFRange inRange, UniChar* outCharacters) {
    const StringObject& string = ObjectOf(inString);
    if (inRange.location < 0 || inRange.location > string.length) return;
    const CFIndex count = std::min(inRange.length, string.length - inRange.location);
    std::copy_n(string.characters + inRange.location, std::max<CFIndex>(count, 0), outCharacters);
}

CFIndex CFStringGetBytes(CFStringRef inString, CFRange inRange, CFStringEncoding inEncoding, UInt8 inLossByte,
                         Boolean inIsExternalRepresentation, UInt8* outBuffer, CFIndex inBufferSize,
                         CFIndex* outUsedByteCount) {
    if (outUsedByteCount != nullptr) *outUsedByteCount = 0;
    const StringObject& string = ObjectOf(inString);
    const Coder* coder = FindCoder(inEncoding);
    if (coder == nullptr || !IsInside(string, inRange)) return 0;
    CFIndex capacity = outBuffer == nullptr ? std::numeric_limits<CFIndex>::max() : inBufferSize;
    CFIndex markByteCount = 0;
    if (inIsExternalRepresentation) {
        markByteCount = WriteByteOrderMark(inEncoding, outBuffer, capacity);
        if (markByteCount == kCFNotFound) return 0;
    }
    if (outBuffer != nullptr) outBuffer += markByteCount;
    capacity -= markByteCount;
    const Encoded encoded =
        Encode(*coder, string.characters + inRange.location, inRange.length, inLossByte, outBuffer, capacity);
    if (outUsedByteCount != nullptr) *outUsedByteCount = markByteCount + encoded.byteCount;
    return encoded.unitCount;
}

Boolean CFStringGetCString(CFStringRef inString, char* outBuffer, CFIndex inBufferSize,
                           CFStringEncoding inEncoding) {
    if (outBuffer == nullptr || inBufferSize < 1) return false;
    const CFIndex byteCount =
        EncodeWhole(inString, inEncoding, reinterpret_cast<UInt8*>(outBuffer), inBufferSize - 1);
    outBuffer[byteCount == kCFNotFound ? 0 : byteCount] = 0;
    return byteCount != kCFNotFound;
}

Boolean CFStringGetPascalString(CFStringRef inString, StringPtr outBuffer, CFIndex inBufferSize,
                                CFStringEncoding inEncoding) {
    if (outBuffer == nullptr || inBufferSize < 1) return false;
    const CFIndex capacity = std::min<CFIndex>(inBufferSize - 1, 255);
    const CFIndex byteCount = EncodeWhole(inString, inEncoding, outBuffer + 1, capacity);
    outBuffer[0] = static_cast<UInt8>(byteCount == kCFNotFound ? 0 : byteCount);
    return byteCount != kCFNotFound;
}

CFStringEncoding CFStringGetSystemEncoding() {
    return kCFStringEncodingMacRoman;
}

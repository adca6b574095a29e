#include "StringObject.h"
#include "os/SystemCalls.h"

#include <toolbox/CFUUID.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string_view>

namespace toolbox::corefoundation {

namespace {

constexpr int kByteCount = 16;
constexpr int kTextLength = 36;

struct UUIDObject {
    Object base;
    UInt8 bytes[kByteCount];
};
static_assert(sizeof(CFUUIDBytes) == kByteCount);

const UInt8* BytesOf(CFTypeRef inUUID) {
    return static_cast<const UUIDObject*>(inUUID)->bytes;
}

bool HasSameBytes(CFTypeRef inOne, CFTypeRef inOther) {
    return std::memcmp(BytesOf(inOne), BytesOf(inOther), kByteCount) == 0;
}

CFHashCode HashBytes(CFTypeRef inUUID) {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(BytesOf(inUUID)), kByteCount});
}

constexpr TypeInfo kUUIDType = {kUUIDTypeID, nullptr, "CFUUID", HasSameBytes, HashBytes, nullptr};

CFUUIDRef NewUUID(const UInt8* inBytes) {
    auto* uuid = static_cast<UUIDObject*>(NewObject(kUUIDType, sizeof(UUIDObject)));
    if (uuid == nullptr) return nullptr;
    std::memcpy(uuid->bytes, inBytes, kByteCount);
    return reinterpret_cast<CFUUIDRef>(uuid);
}

bool FillWithRandom(UInt8* outBytes) {
    for (int filled = 0; filled < kByteCount;) {
        const long count =
            os::Calls().getrandom(outBytes + filled, static_cast<std::size_t>(kByteCount - filled), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        filled += static_cast<int>(count);
    }
    return true;
}

// Whether the text has a hyphen at this place.
bool IsHyphenPlace(int inIndex) {
    return inIndex == 8 || inIndex == 13 || inIndex == 18 || inIndex == 23;
}

int HexValue(UniChar inUnit) {
    if (inUnit >= '0' && inUnit <= '9') return inUnit - '0';
    if (inUnit >= 'A' && inUnit <= 'F') return inUnit - 'A' + 10;
    return inUnit >= 'a' && inUnit <= 'f' ? inUnit - 'a' + 10 : -1;
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFUUIDGetTypeID() {
    return kUUIDTypeID;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef) {
    UInt8 bytes[kByteCount];
    if (!FillWithRandom(bytes)) return nullptr;
    // Version 4, of the variant of RFC 4122.
    bytes[6] = static_cast<UInt8>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<UInt8>((bytes[8] & 0x3F) | 0x80);
    return NewUUID(bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes inBytes) {
    return NewUUID(reinterpret_cast<const UInt8*>(&inBytes));
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef inText) {
    if (inText == nullptr || CFStringGetLength(inText) != kTextLength) return nullptr;
    const UniChar* units = ObjectOf(inText).characters;
    UInt8 bytes[kByteCount];
    int digitCount = 0;
    for (int i = 0; i < kTextLength; ++i) {
        if (IsHyphenPlace(i)) {
            if (units[i] != '-') return nullptr;
            continue;
        }
        const int value = HexValue(units[i]);
        if (value < 0) return nullptr;
        UInt8& byte = bytes[digitCount / 2];
        byte = static_cast<UInt8>(digitCount % 2 == 0 ? value << 4 : byte | value);
        ++digitCount;
    }
    return NewUUID(bytes);
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef inUUID) {
    UniChar units[kTextLength];
    int digitCount = 0;
    for (int i = 0; i < kTextLength; ++i) {
        if (IsHyphenPlace(i)) {
            units[i] = '-';
            continue;
        }
        const UInt8 byte = BytesOf(inUUID)[digitCount / 2];
        units[i] = static_cast<UniChar>("0123456789ABCDEF"[digitCount % 2 == 0 ? byte >> 4 : byte & 0x0F]);
        ++digitCount;
    }
    return NewStringOf(units, kTextLength);
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef inUUID) {
    CFUUIDBytes bytes;
    std::memcpy(&bytes, BytesOf(inUUID), sizeof bytes);
    return bytes;
}

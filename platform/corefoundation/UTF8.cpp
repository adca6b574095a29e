#include "UTF8.h"

#include <unicode/utf16.h>

#include <algorithm>
#include <cstring>

namespace toolbox::corefoundation {

namespace {

constexpr CFIndex kBlock = 8;  // characters that are looked at together
constexpr UInt64 kLowBits = 0x0101010101010101U;
constexpr UInt64 kHighBits = 0x8080808080808080U;

template <typename Value>
UInt64 Load(const Value* inValues) {
    UInt64 word;
    std::memcpy(&word, inValues, sizeof word);
    return word;
}

// Makes each of a block's values a wider or narrower one, by way of copies: the compiler need not think that
// one half of them lies in the other.
template <typename From, typename To>
void WriteBlock(const From* inFrom, To* outTo) {
    From from[kBlock];
    To to[kBlock];
    std::memcpy(from, inFrom, sizeof from);
    for (CFIndex i = 0; i < kBlock; ++i)
        to[i] = static_cast<To>(from[i]);
    std::memcpy(outTo, to, sizeof to);
}

// For each byte of a word the units that a character beginning with it has: continuation bytes none.
UInt64 UnitsOfBytes(UInt64 inWord) {
    const UInt64 isContinuation = (inWord >> 7) & ~(inWord >> 6) & kLowBits;
    const UInt64 isLeadOfFour = (inWord >> 7) & (inWord >> 6) & (inWord >> 5) & (inWord >> 4) & kLowBits;
    return kLowBits - isContinuation + isLeadOfFour;
}

CFIndex SumOfBytes(UInt64 inWord) {
    constexpr UInt64 kEveryOther = 0x00FF00FF00FF00FFU;
    const UInt64 pairs = (inWord & kEveryOther) + ((inWord >> 8) & kEveryOther);
    return static_cast<CFIndex>((pairs * 0x0001000100010001U) >> 48);
}

bool IsContinuation(UInt8 inByte) {
    return (inByte & 0xC0) == 0x80;
}

bool IsASCIIBlock(const UniChar* inUnits) {
    constexpr UInt64 kNotASCII = 0xFF80FF80FF80FF80U;
    return ((Load(inUnits) | Load(inUnits + kBlock / 2)) & kNotASCII) == 0;
}

bool IsPair(const UniChar* inUnits, const UniChar* inEnd) {
    return U16_IS_LEAD(inUnits[0]) && inEnd - inUnits >= 2 && U16_IS_TRAIL(inUnits[1]);
}

// As EncodeUTF8 without a place to write to.
Encoded CountUTF8Bytes(const UniChar* inUnits, CFIndex inUnitCount, CFIndex inCapacity) {
    Encoded done{0, 0};
    while (done.unitCount < inUnitCount) {
        const UniChar* units = inUnits + done.unitCount;
        const bool isSurrogate = U16_IS_SURROGATE(*units);
        if (isSurrogate && !IsPair(units, inUnits + inUnitCount)) break;
        const CFIndex byteCount = isSurrogate ? 4 : *units < 0x80 ? 1 : *units < 0x800 ? 2 : 3;
        if (inCapacity - done.byteCount < byteCount) break;
        done = {done.unitCount + (isSurrogate ? 2 : 1), done.byteCount + byteCount};
    }
    return done;
}

}  // namespace

CFIndex CountUTF8Units(const UInt8* inBytes, CFIndex inByteCount) {
    // Each byte of a sum grows by two at most.
    constexpr CFIndex kMaxWordsOfASum = 127;
    CFIndex unitCount = 0;
    CFIndex i = 0;
    while (inByteCount - i >= CFIndex{sizeof(UInt64)}) {
        const CFIndex wordCount = std::min((inByteCount - i) / CFIndex{sizeof(UInt64)}, kMaxWordsOfASum);
        UInt64 sum = 0;
        for (CFIndex word = 0; word < wordCount; ++word)
            sum += UnitsOfBytes(Load(inBytes + i + word * CFIndex{sizeof(UInt64)}));
        unitCount += SumOfBytes(sum);
        i += wordCount * CFIndex{sizeof(UInt64)};
    }
    for (; i < inByteCount; ++i)
        unitCount += (inBytes[i] & 0xC0) == 0x80 ? 0 : inBytes[i] >= 0xF0 ? 2 : 1;
    return unitCount;
}

bool DecodeUTF8(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits, CFIndex inUnitCount) {
    UniChar* units = outUnits;
    const UniChar* const end = outUnits + inUnitCount;
    const UInt8* bytes = inBytes;
    const UInt8* const bytesEnd = inBytes + inByteCount;
    while (bytes < bytesEnd) {
        const UInt8 lead = *bytes;
        if (lead < 0x80) {
            if (bytesEnd - bytes >= kBlock && end - units >= kBlock && (Load(bytes) & kHighBits) == 0) {
                WriteBlock(bytes, units);
                bytes += kBlock;
                units += kBlock;
                continue;
            }
            do {
                *units++ = *bytes++;
            } while (bytes < bytesEnd && *bytes < 0x80);
            continue;
        }
        if (lead >= 0xC2 && lead < 0xE0) {
            if (bytesEnd - bytes < 2 || !IsContinuation(bytes[1])) return false;
            *units++ = static_cast<UniChar>((lead & 0x1F) << 6 | (bytes[1] & 0x3F));
            bytes += 2;
        } else if ((lead & 0xF0) == 0xE0) {
            if (bytesEnd - bytes < 3 || !IsContinuation(bytes[1]) || !IsContinuation(bytes[2])) return false;
            const auto unit =
                static_cast<UniChar>((lead & 0x0F) << 12 | (bytes[1] & 0x3F) << 6 | (bytes[2] & 0x3F));
            if (unit < 0x800 || U16_IS_SURROGATE(unit)) return false;
            *units++ = unit;
            bytes += 3;
        } else if ((lead & 0xF8) == 0xF0) {
            if (bytesEnd - bytes < 4 || !IsContinuation(bytes[1]) || !IsContinuation(bytes[2]) ||
                !IsContinuation(bytes[3]))
                return false;
            const UInt32 codePoint = static_cast<UInt32>((lead & 0x07) << 18 | (bytes[1] & 0x3F) << 12 |
                                                         (bytes[2] & 0x3F) << 6 | (bytes[3] & 0x3F));
            if (codePoint < 0x10000 || codePoint > 0x10FFFF) return false;
            *units++ = U16_LEAD(codePoint);
            *units++ = U16_TRAIL(codePoint);
            bytes += 4;
        } else {
            return false;
        }
    }
    return true;
}

Encoded EncodeUTF8(const UniChar* inUnits, CFIndex inUnitCount, UInt8* outBytes, CFIndex inCapacity) {
    if (outBytes == nullptr) return CountUTF8Bytes(inUnits, inUnitCount, inCapacity);
    const UniChar* units = inUnits;
    const UniChar* const unitsEnd = inUnits + inUnitCount;
    UInt8* bytes = outBytes;
    UInt8* const end = outBytes + inCapacity;
    while (units < unitsEnd) {
        const UInt32 unit = *units;
        if (unit < 0x80) {
            if (unitsEnd - units >= kBlock && end - bytes >= kBlock && IsASCIIBlock(units)) {
                WriteBlock(units, bytes);
                units += kBlock;
                bytes += kBlock;
                continue;
            }
            if (bytes == end) break;
            *bytes++ = static_cast<UInt8>(unit);
            ++units;
        } else if (unit < 0x800) {
            if (end - bytes < 2) break;
            *bytes++ = static_cast<UInt8>(0xC0 | unit >> 6);
            *bytes++ = static_cast<UInt8>(0x80 | (unit & 0x3F));
            ++units;
        } else if (!U16_IS_SURROGATE(unit)) {
            if (end - bytes < 3) break;
            *bytes++ = static_cast<UInt8>(0xE0 | unit >> 12);
            *bytes++ = static_cast<UInt8>(0x80 | (unit >> 6 & 0x3F));
            *bytes++ = static_cast<UInt8>(0x80 | (unit & 0x3F));
            ++units;
        } else {
            if (!IsPair(units, unitsEnd) || end - bytes < 4) break;
            const auto codePoint = static_cast<UInt32>(U16_GET_SUPPLEMENTARY(units[0], units[1]));
            *bytes++ = static_cast<UInt8>(0xF0 | codePoint >> 18);
            *bytes++ = static_cast<UInt8>(0x80 | (codePoint >> 12 & 0x3F));
            *bytes++ = static_cast<UInt8>(0x80 | (codePoint >> 6 & 0x3F));
            *bytes++ = static_cast<UInt8>(0x80 | (codePoint & 0x3F));
            units += 2;
        }
    }
    return {units - inUnits, bytes - outBytes};
}

}  // namespace toolbox::corefoundation

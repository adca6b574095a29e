#include "corefoundation/Encodings.h"

#include "UTF8.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace toolbox::corefoundation {

namespace {

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;
constexpr UInt32 kByteOrderMark = 0xFEFF;

class ASCIICoder final : public Coder {
  public:
    constexpr ASCIICoder() : Coder(Form::kASCIIAndMore) {}
    int MaxBytesPerUnit() const override { return 1; }
    // Leading ASCII has been dealt with: whatever is left is not.
    CFIndex CountUnits(const UInt8*, CFIndex) const override { return kCFNotFound; }
    bool Decode(const UInt8*, CFIndex, UniChar*, CFIndex) const override { return false; }
    int EncodeCodePoint(UInt32, UInt8*) const override { return 0; }
};

class UTF8Coder final : public Coder {
  public:
    constexpr UTF8Coder() : Coder(Form::kASCIIAndMore) {}
    int MaxBytesPerUnit() const override { return 3; }

    CFIndex CountUnits(const UInt8* inBytes, CFIndex inByteCount) const override {
        return CountUTF8Units(inBytes, inByteCount);
    }

    bool Decode(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits,
                CFIndex inUnitCount) const override {
        return DecodeUTF8(inBytes, inByteCount, outUnits, inUnitCount);
    }

    Encoded EncodeRun(const UniChar* inUnits, CFIndex inUnitCount, UInt8* outBytes,
                      CFIndex inCapacity) const override {
        return EncodeUTF8(inUnits, inUnitCount, outBytes, inCapacity);
    }

    int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const override {
        if (U_IS_SURROGATE(inCodePoint)) return 0;
        int byteCount = 0;
        U8_APPEND_UNSAFE(outBytes, byteCount, inCodePoint);
        return byteCount;
    }
};

template <bool kIsBigEndian>
UInt32 LoadUnit(const UInt8* inBytes, int inByteCount) {
    UInt32 value = 0;
    for (int i = 0; i < inByteCount; ++i) {
        const int shift = 8 * (kIsBigEndian ? inByteCount - 1 - i : i);
        value |= static_cast<UInt32>(inBytes[i]) << shift;
    }
    return value;
}

template <bool kIsBigEndian>
void StoreUnit(UInt32 inValue, int inByteCount, UInt8* outBytes) {
    for (int i = 0; i < inByteCount; ++i) {
        const int shift = 8 * (kIsBigEndian ? inByteCount - 1 - i : i);
        outBytes[i] = static_cast<UInt8>(inValue >> shift);
    }
}

// Units pass as they are: a string may hold surrogates without partners, and so may its UTF-16.
template <bool kIsBigEndian>
class UTF16Coder final : public Coder {
  public:
    constexpr UTF16Coder() : Coder(Form::kWideUnits) {}
    int MaxBytesPerUnit() const override { return 2; }

    CFIndex CountUnits(const UInt8*, CFIndex inByteCount) const override {
        return inByteCount % 2 == 0 ? inByteCount / 2 : CFIndex{kCFNotFound};
    }

    bool Decode(const UInt8* inBytes, CFIndex, UniChar* outUnits, CFIndex inUnitCount) const override {
        for (CFIndex i = 0; i < inUnitCount; ++i)
            outUnits[i] = static_cast<UniChar>(LoadUnit<kIsBigEndian>(inBytes + 2 * i, 2));
        return true;
    }

    int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const override {
        UniChar units[2];
        int unitCount = 0;
        U16_APPEND_UNSAFE(units, unitCount, inCodePoint);
        for (int i = 0; i < unitCount; ++i)
            StoreUnit<kIsBigEndian>(units[i], 2, outBytes + 2 * i);
        return 2 * unitCount;
    }
};

template <bool kIsBigEndian>
class UTF32Coder final : public Coder {
  public:
    constexpr UTF32Coder() : Coder(Form::kWideUnits) {}
    int MaxBytesPerUnit() const override { return 4; }

    CFIndex CountUnits(const UInt8* inBytes, CFIndex inByteCount) const override {
        if (inByteCount % 4 != 0) return kCFNotFound;
        CFIndex unitCount = 0;
        for (CFIndex i = 0; i < inByteCount; i += 4) {
            const UInt32 codePoint = LoadUnit<kIsBigEndian>(inBytes + i, 4);
            if (codePoint > 0x10FFFF || U_IS_SURROGATE(codePoint)) return kCFNotFound;
            unitCount += U16_LENGTH(codePoint);
        }
        return unitCount;
    }

    bool Decode(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits, CFIndex) const override {
        CFIndex unitCount = 0;
        for (CFIndex i = 0; i < inByteCount; i += 4) {
            const UInt32 codePoint = LoadUnit<kIsBigEndian>(inBytes + i, 4);
            U16_APPEND_UNSAFE(outUnits, unitCount, codePoint);
        }
        return true;
    }

    int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const override {
        if (U_IS_SURROGATE(inCodePoint)) return 0;
        StoreUnit<kIsBigEndian>(inCodePoint, 4, outBytes);
        return 4;
    }
};

constexpr ASCIICoder kASCII;
constexpr UTF8Coder kUTF8;
constexpr UTF16Coder<true> kUTF16BE;
constexpr UTF16Coder<false> kUTF16LE;
constexpr UTF32Coder<true> kUTF32BE;
constexpr UTF32Coder<false> kUTF32LE;

CFIndex EncodeLeadingASCII(const UniChar* inUnits, CFIndex inMaxCount, UInt8* outBytes) {
    CFIndex count = 0;
    for (; count < inMaxCount && inUnits[count] < 0x80; ++count) {
        if (outBytes != nullptr) outBytes[count] = static_cast<UInt8>(inUnits[count]);
    }
    return count;
}

// The character at ioAt, which moves behind it; returns the bytes written, 0 when it cannot be held.
int EncodeNext(const Coder& inCoder, const UniChar* inUnits, CFIndex inUnitCount, CFIndex& ioAt,
               UInt8* outBytes) {
    if (inUnits[ioAt] < 0x80 && inCoder.HoldsASCII()) {
        outBytes[0] = static_cast<UInt8>(inUnits[ioAt++]);
        return 1;
    }
    if (!inCoder.HoldsASCII() && inCoder.HasByteUnits()) {
        int byteCount = 0;
        const CFIndex taken = inCoder.EncodeSequence(inUnits + ioAt, inUnitCount - ioAt, outBytes, byteCount);
        ioAt += taken;
        if (taken != 0) return byteCount;
    }
    UInt32 codePoint;
    U16_NEXT(inUnits, ioAt, inUnitCount, codePoint);
    return inCoder.EncodeCodePoint(codePoint, outBytes);
}

int UnitByteCount(CFStringEncoding inEncoding) {
    if (inEncoding == kCFStringEncodingUnicode) return 2;
    return inEncoding == kCFStringEncodingUTF32 ? 4 : 0;
}

}  // namespace

const Coder* FindCoder(CFStringEncoding inEncoding) {
    switch (inEncoding) {
        case kCFStringEncodingUTF8:
            return &kUTF8;
        case kCFStringEncodingASCII:
            return &kASCII;
        case kCFStringEncodingUTF16BE:
            return &kUTF16BE;
        case kCFStringEncodingUTF16LE:
            return &kUTF16LE;
        case kCFStringEncodingUTF32BE:
            return &kUTF32BE;
        case kCFStringEncodingUTF32LE:
            return &kUTF32LE;
        case kCFStringEncodingUnicode:
            return FindCoder(kHostIsBigEndian ? kCFStringEncodingUTF16BE : kCFStringEncodingUTF16LE);
        case kCFStringEncodingUTF32:
            return FindCoder(kHostIsBigEndian ? kCFStringEncodingUTF32BE : kCFStringEncodingUTF32LE);
        default:
            break;
    }
    const Coder* const coder = FindSingleByteCoder(inEncoding);
    return coder != nullptr ? coder : FindDoubleByteCoder(inEncoding);
}

CFIndex CountLeadingASCII(const UInt8* inBytes, CFIndex inByteCount) {
    constexpr UInt64 kHighBits = 0x8080808080808080U;
    CFIndex i = 0;
    for (; inByteCount - i >= CFIndex{sizeof(UInt64)}; i += CFIndex{sizeof(UInt64)}) {
        UInt64 word;
        std::memcpy(&word, inBytes + i, sizeof word);
        if ((word & kHighBits) != 0) break;
    }
    while (i < inByteCount && inBytes[i] < 0x80)
        ++i;
    return i;
}

Encoded Encode(const Coder& inCoder, const UniChar* inUnits, CFIndex inUnitCount, UInt8 inLossByte,
               UInt8* outBytes, CFIndex inCapacity) {
    const bool holdsASCII = inCoder.HoldsASCII();
    const CFIndex asciiCount =
        holdsASCII ? EncodeLeadingASCII(inUnits, std::min(inUnitCount, inCapacity), outBytes) : 0;
    Encoded done{asciiCount, asciiCount};
    while (done.unitCount < inUnitCount) {
        const Encoded run = inCoder.EncodeRun(inUnits + done.unitCount, inUnitCount - done.unitCount,
                                              outBytes == nullptr ? nullptr : outBytes + done.byteCount,
                                              inCapacity - done.byteCount);
        done = {done.unitCount + run.unitCount, done.byteCount + run.byteCount};
        if (done.unitCount == inUnitCount) break;
        UInt8 bytes[Coder::kMaxBytesPerCodePoint];
        CFIndex next = done.unitCount;
        int byteCount = EncodeNext(inCoder, inUnits, inUnitCount, next, bytes);
        if (byteCount == 0) {
            if (inLossByte == 0) break;
            bytes[0] = inLossByte;
            byteCount = 1;
        }
        if (inCapacity - done.byteCount < byteCount) break;
        if (outBytes != nullptr)
            std::memcpy(outBytes + done.byteCount, bytes, static_cast<std::size_t>(byteCount));
        done = {next, done.byteCount + byteCount};
    }
    return done;
}

CFStringEncoding ReadByteOrderMark(CFStringEncoding inEncoding, const UInt8* inBytes, CFIndex inByteCount,
                                   CFIndex* outMarkByteCount) {
    *outMarkByteCount = 0;
    if (inEncoding == kCFStringEncodingUTF8) {
        const bool isMarked = inByteCount >= 3 && std::memcmp(inBytes, "\xEF\xBB\xBF", 3) == 0;
        if (isMarked) *outMarkByteCount = 3;
        return inEncoding;
    }
    const int unitByteCount = UnitByteCount(inEncoding);
    if (unitByteCount == 0) return inEncoding;
    const bool is16 = unitByteCount == 2;
    const bool isMarkable = inByteCount >= unitByteCount;
    const bool isLittle = isMarkable && LoadUnit<false>(inBytes, unitByteCount) == kByteOrderMark;
    if (isLittle || (isMarkable && LoadUnit<true>(inBytes, unitByteCount) == kByteOrderMark))
        *outMarkByteCount = unitByteCount;
    if (isLittle) return is16 ? kCFStringEncodingUTF16LE : kCFStringEncodingUTF32LE;
    return is16 ? kCFStringEncodingUTF16BE : kCFStringEncodingUTF32BE;
}

CFIndex WriteByteOrderMark(CFStringEncoding inEncoding, UInt8* outBytes, CFIndex inCapacity) {
    const int unitByteCount = UnitByteCount(inEncoding);
    if (inCapacity < unitByteCount) return kCFNotFound;
    if (outBytes != nullptr) StoreUnit<kHostIsBigEndian>(kByteOrderMark, unitByteCount, outBytes);
    return unitByteCount;
}

}  // namespace toolbox::corefoundation

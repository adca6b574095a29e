// Encodings of one byte for each character, ASCII below 0x80. Their tables are read from ICU's converters
// once, which then are out of the way: no converter to open, share or lock.
#include "ICUCalls.h"
#include "corefoundation/Encodings.h"
#include "corefoundation/Object.h"
#include "os/Mutex.h"

#include <toolbox/CFStringEncodings.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <span>

namespace toolbox::corefoundation {

namespace {

constexpr UniChar kUnassigned = 0xFFFF;
constexpr int kUpperCount = 128;

// ICU has no converter for it.
constexpr UniChar kNextStepUpper[kUpperCount] = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5,      0x00C7,     0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2,      0x00D3,     0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7,      0x00F7,     0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C,      0x00AB,     0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6,      0x2022,     0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4,      0x02C6,     0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB,      0x02C7,     0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5,      0x00E7,     0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0,      0x00F1,     0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9,      0x00FA,     0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, kUnassigned, kUnassigned};

// How the encodings that ICU does not know differ from Mac Roman, by their published mappings.
struct Change {
    UInt8 byte;
    UniChar unit;
};
constexpr Change kCroatianChanges[] = {
    {0xA9, 0x0160}, {0xAE, 0x017D}, {0xB4, 0x2206}, {0xB9, 0x0161}, {0xBE, 0x017E}, {0xC6, 0x0106},
    {0xC8, 0x010C}, {0xD0, 0x0110}, {0xD1, 0x2014}, {0xD8, 0xF8FF}, {0xD9, 0x00A9}, {0xDE, 0x00C6},
    {0xDF, 0x00BB}, {0xE0, 0x2013}, {0xE6, 0x0107}, {0xE8, 0x010D}, {0xF0, 0x0111}, {0xF9, 0x03C0},
    {0xFA, 0x00CB}, {0xFD, 0x00CA}, {0xFE, 0x00E6}};
constexpr Change kIcelandicChanges[] = {{0xA0, 0x00DD}, {0xDC, 0x00D0}, {0xDD, 0x00F0},
                                        {0xDE, 0x00DE}, {0xDF, 0x00FE}, {0xE0, 0x00FD}};
constexpr Change kRomanianChanges[] = {{0xAE, 0x0102}, {0xAF, 0x0218}, {0xBE, 0x0103},
                                       {0xBF, 0x0219}, {0xDE, 0x021A}, {0xDF, 0x021B}};

// The characters of the bytes from 0x80 on. False when ICU cannot tell now.
bool ReadUpperHalf(const char* inConverterName, UniChar* outUpper) {
    auto status = static_cast<UErrorCode>(sICUCalls.startStatus());
    UConverter* converter = ucnv_open(inConverterName, &status);
    // By itself a converter writes U+FFFD for what it cannot convert. (It is null when the status is a
    // failure, with which this does nothing.)
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    for (int i = 0; U_SUCCESS(status) && i < kUpperCount; ++i) {
        const char byte = static_cast<char>(0x80 + i);
        UChar units[4];
        UErrorCode byteStatus = U_ZERO_ERROR;
        const bool isOne = ucnv_toUChars(converter, units, 4, &byte, 1, &byteStatus) == 1;
        outUpper[i] = isOne && U_SUCCESS(byteStatus) ? static_cast<UniChar>(units[0]) : kUnassigned;
    }
    ucnv_close(converter);
    return U_SUCCESS(status);
}

class SingleByteCoder final : public Coder {
  public:
    constexpr SingleByteCoder(CFStringEncoding inEncoding, const char* inConverterName,
                              std::span<const Change> inChanges = {})
        : Coder(Form::kASCIIAndMore),
          mEncoding(inEncoding),
          mConverterName(inConverterName),
          mChanges(inChanges) {}
    constexpr SingleByteCoder(CFStringEncoding inEncoding, const UniChar (&inUpper)[kUpperCount])
        : Coder(Form::kASCIIAndMore), mEncoding(inEncoding), mKnownUpper(inUpper) {}

    CFStringEncoding Encoding() const { return mEncoding; }
    int MaxBytesPerUnit() const override { return 1; }

    // Makes the tables unless they are there. Tried again after a failure.
    bool Prepare() {
        if (mIsReady.load(std::memory_order_acquire)) return true;
        const os::MutexLock lock(mMutex);
        if (mIsReady.load(std::memory_order_relaxed)) return true;
        if (mKnownUpper != nullptr)
            std::copy_n(mKnownUpper, kUpperCount, mTables.upper);
        else if (!ReadUpperHalf(mConverterName, mTables.upper))
            return false;
        for (const Change& change : mChanges)
            mTables.upper[change.byte - 0x80] = change.unit;
        mTables.SortByUnit();
        mIsReady.store(true, std::memory_order_release);
        return true;
    }

    CFIndex CountUnits(const UInt8* inBytes, CFIndex inByteCount) const override {
        const bool isText = std::none_of(inBytes, inBytes + inByteCount,
                                         [this](UInt8 inByte) { return UnitOf(inByte) == kUnassigned; });
        return isText ? inByteCount : CFIndex{kCFNotFound};
    }

    bool Decode(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits, CFIndex) const override {
        std::transform(inBytes, inBytes + inByteCount, outUnits,
                       [this](UInt8 inByte) { return UnitOf(inByte); });
        return true;
    }

    int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const override {
        const Tables& tables = ReadyTables();
        const Pair* end = tables.byUnit + tables.assignedCount;
        const Pair* found =
            std::lower_bound(tables.byUnit, end, inCodePoint,
                             [](const Pair& inPair, UInt32 inUnit) { return inPair.unit < inUnit; });
        if (found == end || found->unit != inCodePoint) return 0;
        outBytes[0] = found->byte;
        return 1;
    }

  private:
    struct Pair {
        UniChar unit;
        UInt8 byte;
    };

    struct Tables {
        UniChar upper[kUpperCount];
        Pair byUnit[kUpperCount];
        int assignedCount;

        void SortByUnit() {
            assignedCount = 0;
            for (int i = 0; i < kUpperCount; ++i)
                if (upper[i] != kUnassigned)
                    byUnit[assignedCount++] = {upper[i], static_cast<UInt8>(0x80 + i)};
            std::sort(byUnit, byUnit + assignedCount,
                      [](const Pair& inLeft, const Pair& inRight) { return inLeft.unit < inRight.unit; });
        }
    };

    // Constant once they are ready: nobody gets a coder before that.
    const Tables& ReadyTables() const NO_LOCK_ANALYSIS {
        assert(mIsReady.load(std::memory_order_acquire));
        return mTables;
    }

    UniChar UnitOf(UInt8 inByte) const {
        return inByte < 0x80 ? UniChar{inByte} : ReadyTables().upper[inByte - 0x80];
    }

    CFStringEncoding mEncoding;
    const char* mConverterName = nullptr;
    const UniChar* mKnownUpper = nullptr;
    std::span<const Change> mChanges;
    os::Mutex mMutex;
    std::atomic<bool> mIsReady{false};
    Tables mTables GUARDED_BY(mMutex){};
};

// Those most asked for come first.
constinit SingleByteCoder sCoders[] = {
    {kCFStringEncodingMacRoman, "macintosh"},
    {kCFStringEncodingISOLatin1, "ISO-8859-1"},
    {kCFStringEncodingWindowsLatin1, "windows-1252"},
    {kCFStringEncodingMacGreek, "x-mac-greek"},
    {kCFStringEncodingMacCyrillic, "x-mac-cyrillic"},
    {kCFStringEncodingMacUkrainian, "x-mac-cyrillic"},
    {kCFStringEncodingMacCentralEurRoman, "x-mac-ce"},
    {kCFStringEncodingMacTurkish, "x-mac-turkish"},
    {kCFStringEncodingMacCroatian, "macintosh", kCroatianChanges},
    {kCFStringEncodingMacIcelandic, "macintosh", kIcelandicChanges},
    {kCFStringEncodingMacRomanian, "macintosh", kRomanianChanges},
    {kCFStringEncodingISOLatin2, "ISO-8859-2"},
    {kCFStringEncodingISOLatin3, "ISO-8859-3"},
    {kCFStringEncodingISOLatin4, "ISO-8859-4"},
    {kCFStringEncodingISOLatinCyrillic, "ISO-8859-5"},
    {kCFStringEncodingISOLatinArabic, "ISO-8859-6"},
    {kCFStringEncodingISOLatinGreek, "ISO-8859-7"},
    {kCFStringEncodingISOLatinHebrew, "ISO-8859-8"},
    {kCFStringEncodingISOLatin5, "ISO-8859-9"},
    {kCFStringEncodingISOLatin6, "ISO-8859-10"},
    {kCFStringEncodingISOLatinThai, "ISO-8859-11"},
    {kCFStringEncodingISOLatin7, "ISO-8859-13"},
    {kCFStringEncodingISOLatin8, "ISO-8859-14"},
    {kCFStringEncodingISOLatin9, "ISO-8859-15"},
    {kCFStringEncodingWindowsLatin2, "windows-1250"},
    {kCFStringEncodingWindowsCyrillic, "windows-1251"},
    {kCFStringEncodingWindowsGreek, "windows-1253"},
    {kCFStringEncodingWindowsLatin5, "windows-1254"},
    {kCFStringEncodingWindowsHebrew, "windows-1255"},
    {kCFStringEncodingWindowsArabic, "windows-1256"},
    {kCFStringEncodingWindowsBalticRim, "windows-1257"},
    {kCFStringEncodingWindowsVietnamese, "windows-1258"},
    {kCFStringEncodingDOSThai, "windows-874-2000"},
    {kCFStringEncodingNextStepLatin, kNextStepUpper},
};

}  // namespace

const Coder* FindSingleByteCoder(CFStringEncoding inEncoding) {
    for (SingleByteCoder& coder : sCoders) {
        if (coder.Encoding() == inEncoding) return coder.Prepare() ? &coder : nullptr;
    }
    return nullptr;
}

}  // namespace toolbox::corefoundation

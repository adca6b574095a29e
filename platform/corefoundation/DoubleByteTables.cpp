#include "DoubleByteTables.h"

#include "ICUCalls.h"
#include "corefoundation/Object.h"
#include "os/SystemCalls.h"

#include <unicode/ucnv.h>

#include <algorithm>

namespace toolbox::corefoundation {

namespace {

constexpr CodeRange kAllBeyondASCII[] = {{0x80, 0xFFFF}};

bool IsIn(std::span<const CodeRange> inRanges, UInt16 inCode) {
    return std::any_of(inRanges.begin(), inRanges.end(), [inCode](CodeRange inRange) {
        return inCode >= inRange.first && inCode <= inRange.last;
    });
}

int StoreCode(UInt16 inCode, char* outBytes) {
    if (inCode < 0x100) {
        outBytes[0] = static_cast<char>(inCode);
        return 1;
    }
    outBytes[0] = static_cast<char>(inCode >> 8);
    outBytes[1] = static_cast<char>(inCode);
    return 2;
}

// A converter of ICU that stops at whatever has no exact counterpart.
class StrictConverter {
  public:
    StrictConverter(const char* inName, UErrorCode& ioStatus) : mConverter(ucnv_open(inName, &ioStatus)) {
        ucnv_setToUCallBack(mConverter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &ioStatus);
        ucnv_setFromUCallBack(mConverter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &ioStatus);
        // From Unicode only: towards it a converter uses its one-way mappings whatever it is told, so who
        // wants a mapping of both ways asks in both. The one call here that takes no status.
        if (U_SUCCESS(ioStatus)) ucnv_setFallback(mConverter, false);
    }
    ~StrictConverter() { ucnv_close(mConverter); }
    StrictConverter(const StrictConverter&) = delete;
    StrictConverter& operator=(const StrictConverter&) = delete;

    // The one unit that the code stands for, or kUnassigned.
    UniChar UnitOf(UInt16 inCode) {
        char bytes[2];
        const int byteCount = StoreCode(inCode, bytes);
        UChar units[4];
        UErrorCode status = U_ZERO_ERROR;
        const bool isOne = ucnv_toUChars(mConverter, units, 4, bytes, byteCount, &status) == 1;
        return isOne && U_SUCCESS(status) ? static_cast<UniChar>(units[0]) : DoubleByteTables::kUnassigned;
    }

    bool IsCodeOf(UInt16 inCode, UniChar inUnit) {
        char bytes[2];
        const int byteCount = StoreCode(inCode, bytes);
        const auto unit = static_cast<UChar>(inUnit);
        char encoded[8];
        UErrorCode status = U_ZERO_ERROR;
        const int32_t count = ucnv_fromUChars(mConverter, encoded, 8, &unit, 1, &status);
        return U_SUCCESS(status) && count == byteCount && std::equal(bytes, bytes + byteCount, encoded);
    }

  private:
    UConverter* mConverter;
};

}  // namespace

void DoubleByteTables::Deleter::operator()(DoubleByteTables* inTables) const {
    os::Calls().free(inTables);
}

DoubleByteTables::Owned DoubleByteTables::Make(const char* inConverterName,
                                               const DoubleByteChanges* inChanges) {
    void* const memory = os::Calls().malloc(sizeof(DoubleByteTables));
    if (memory == nullptr) return nullptr;
    Owned tables(new (memory) DoubleByteTables);
    std::fill_n(tables->mBytes, 256, kUnassigned);
    std::fill_n(&tables->mPairs[0][0], sizeof tables->mPairs / sizeof(UniChar), kUnassigned);
    std::fill_n(tables->mCodes, 0x10000, UInt16{0});
    for (UInt16 code = 0; code < 0x80; ++code)
        tables->SetRoundTrip(code, code);
    const std::span<const CodeRange> taken = inChanges != nullptr ? inChanges->taken : kAllBeyondASCII;
    if (!tables->ReadConverter(inConverterName, taken)) return nullptr;
    if (inChanges != nullptr) tables->Apply(*inChanges);
    return tables;
}

bool DoubleByteTables::ReadConverter(const char* inConverterName, std::span<const CodeRange> inTaken) {
    auto status = static_cast<UErrorCode>(sICUCalls.startStatus());
    StrictConverter converter(inConverterName, status);
    if (U_FAILURE(status)) return false;
    const auto take = [&](UInt16 inCode) {
        const UniChar unit = IsIn(inTaken, inCode) ? converter.UnitOf(inCode) : kUnassigned;
        if (unit == kUnassigned) return;
        SetUnit(inCode, unit);
        if (converter.IsCodeOf(inCode, unit)) mCodes[unit] = inCode;
    };
    for (int first = 0x80; first < 0x100; ++first) {
        take(static_cast<UInt16>(first));
        if (mBytes[first] != kUnassigned) continue;
        for (int second = 0; second < 0x100; ++second)
            take(static_cast<UInt16>(first << 8 | second));
    }
    return true;
}

void DoubleByteTables::SetUnit(UInt16 inCode, UniChar inUnit) {
    (inCode < 0x100 ? mBytes[inCode] : mPairs[(inCode >> 8) - 0x80][inCode & 0xFF]) = inUnit;
}

void DoubleByteTables::SetRoundTrip(UInt16 inCode, UniChar inUnit) {
    SetUnit(inCode, inUnit);
    mCodes[inUnit] = inCode;
}

void DoubleByteTables::Apply(const DoubleByteChanges& inChanges) {
    // All that the codes stood for is forgotten before any is set: a character may move from one to another.
    for (const CodeRun& run : inChanges.runs) {
        for (UInt16 i = 0; i < run.count; ++i) {
            const auto code = static_cast<UInt16>(run.firstCode + i);
            const UniChar former = code < 0x100
                                       ? UnitOfByte(static_cast<UInt8>(code))
                                       : UnitOfPair(static_cast<UInt8>(code >> 8), static_cast<UInt8>(code));
            if (former != kUnassigned) mCodes[former] = 0;
        }
    }
    for (const CodeRun& run : inChanges.runs) {
        for (UInt16 i = 0; i < run.count; ++i)
            SetRoundTrip(static_cast<UInt16>(run.firstCode + i), static_cast<UniChar>(run.firstUnit + i));
    }
    for (const CodeSequence& sequence : inChanges.sequences)
        SetUnit(sequence.code, kSequence);
}

}  // namespace toolbox::corefoundation

// Encodings of one or two bytes for each character. Their tables are read from ICU's converters once, as
// those of one byte are.
#include "DoubleByteTables.h"
#include "MacJapanese.h"
#include "corefoundation/Encodings.h"
#include "os/Mutex.h"

#include <toolbox/CFStringEncodings.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <span>

namespace toolbox::corefoundation {

namespace {

class DoubleByteCoder final : public Coder {
  public:
    constexpr DoubleByteCoder(CFStringEncoding inEncoding, const char* inConverterName)
        : Coder(Form::kASCIIAndMore), mEncoding(inEncoding), mConverterName(inConverterName) {}
    constexpr DoubleByteCoder(CFStringEncoding inEncoding, const char* inConverterName,
                              const DoubleByteChanges& (*inChanges)())
        : Coder(Form::kBytes),
          mEncoding(inEncoding),
          mConverterName(inConverterName),
          mGetChanges(inChanges) {}

    CFStringEncoding Encoding() const { return mEncoding; }
    int MaxBytesPerUnit() const override { return 2; }

    // Makes the tables unless they are there; they stay. Tried again after a failure.
    bool Prepare() {
        if (mTables.load(std::memory_order_acquire) != nullptr) return true;
        const os::MutexLock lock(mMutex);
        if (mTables.load(std::memory_order_relaxed) != nullptr) return true;
        DoubleByteTables::Owned tables =
            DoubleByteTables::Make(mConverterName, mGetChanges != nullptr ? &mGetChanges() : nullptr);
        if (tables == nullptr) return false;
        if (mGetChanges != nullptr) mSequences = mGetChanges().sequences;
        mTables.store(tables.release(), std::memory_order_release);
        return true;
    }

    CFIndex CountUnits(const UInt8* inBytes, CFIndex inByteCount) const override {
        CFIndex unitCount = 0;
        for (CFIndex at = 0; at < inByteCount;) {
            const UInt16 code = NextCode(inBytes, inByteCount, at);
            const UniChar unit = UnitOf(code);
            if (unit == DoubleByteTables::kUnassigned) return kCFNotFound;
            unitCount +=
                unit == DoubleByteTables::kSequence ? static_cast<CFIndex>(SequenceOf(code).units.size()) : 1;
        }
        return unitCount;
    }

    bool Decode(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits, CFIndex) const override {
        for (CFIndex at = 0; at < inByteCount;) {
            const UInt16 code = NextCode(inBytes, inByteCount, at);
            const UniChar unit = UnitOf(code);
            if (unit == DoubleByteTables::kSequence) {
                const std::u16string_view units = SequenceOf(code).units;
                outUnits = std::copy(units.begin(), units.end(), outUnits);
            } else {
                *outUnits++ = unit;
            }
        }
        return true;
    }

    int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const override {
        if (inCodePoint > 0xFFFF) return 0;
        const UInt16 code = Tables().CodeOf(static_cast<UniChar>(inCodePoint));
        return code == 0 && inCodePoint != 0 ? 0 : StoreCode(code, outBytes);
    }

    CFIndex EncodeSequence(const UniChar* inUnits, CFIndex inUnitCount, UInt8* outBytes,
                           int& outByteCount) const override {
        if (!IsHint(inUnits[0]) && (inUnitCount < 2 || !IsHint(inUnits[1]))) return 0;
        const std::u16string_view rest(reinterpret_cast<const char16_t*>(inUnits),
                                       static_cast<std::size_t>(inUnitCount));
        for (const CodeSequence& sequence : Sequences()) {
            if (!rest.starts_with(sequence.units)) continue;
            outByteCount = StoreCode(sequence.code, outBytes);
            return static_cast<CFIndex>(sequence.units.size());
        }
        return 0;
    }

  private:
    const DoubleByteTables& Tables() const { return *mTables.load(std::memory_order_acquire); }

    // Constant once there are tables: nobody gets a coder before that.
    std::span<const CodeSequence> Sequences() const NO_LOCK_ANALYSIS {
        assert(mTables.load(std::memory_order_acquire) != nullptr);
        return mSequences;
    }

    // A byte that is no character by itself is the first of two; cut off, it stays alone.
    UInt16 NextCode(const UInt8* inBytes, CFIndex inByteCount, CFIndex& ioAt) const {
        const UInt8 first = inBytes[ioAt++];
        if (Tables().UnitOfByte(first) != DoubleByteTables::kUnassigned || ioAt == inByteCount) return first;
        return static_cast<UInt16>(first << 8 | inBytes[ioAt++]);
    }

    UniChar UnitOf(UInt16 inCode) const {
        const auto second = static_cast<UInt8>(inCode);
        return inCode < 0x100 ? Tables().UnitOfByte(second)
                              : Tables().UnitOfPair(static_cast<UInt8>(inCode >> 8), second);
    }

    const CodeSequence& SequenceOf(UInt16 inCode) const {
        const std::span<const CodeSequence> sequences = Sequences();
        return *std::lower_bound(
            sequences.begin(), sequences.end(), inCode,
            [](const CodeSequence& inSequence, UInt16 inWanted) { return inSequence.code < inWanted; });
    }

    // Every sequence has a transcoding hint or an enclosing circle as its first or second unit.
    static bool IsHint(UniChar inUnit) { return (inUnit >= 0xF860 && inUnit <= 0xF87F) || inUnit == 0x20DD; }

    static int StoreCode(UInt16 inCode, UInt8* outBytes) {
        if (inCode < 0x100) {
            outBytes[0] = static_cast<UInt8>(inCode);
            return 1;
        }
        outBytes[0] = static_cast<UInt8>(inCode >> 8);
        outBytes[1] = static_cast<UInt8>(inCode);
        return 2;
    }

    CFStringEncoding mEncoding;
    const char* mConverterName;
    const DoubleByteChanges& (*mGetChanges)() = nullptr;
    os::Mutex mMutex;
    std::atomic<const DoubleByteTables*> mTables{nullptr};
    std::span<const CodeSequence> mSequences GUARDED_BY(mMutex);
};

constinit DoubleByteCoder sCoders[] = {
    {kCFStringEncodingMacJapanese, "ibm-943_P15A-2003", MacJapaneseChanges},
    {kCFStringEncodingDOSJapanese, "ibm-943_P15A-2003"},
    {kCFStringEncodingDOSChineseSimplif, "windows-936-2000"},
    {kCFStringEncodingDOSKorean, "windows-949-2000"},
    {kCFStringEncodingDOSChineseTrad, "windows-950-2000"},
};

}  // namespace

const Coder* FindDoubleByteCoder(CFStringEncoding inEncoding) {
    for (DoubleByteCoder& coder : sCoders) {
        if (coder.Encoding() == inEncoding) return coder.Prepare() ? &coder : nullptr;
    }
    return nullptr;
}

}  // namespace toolbox::corefoundation

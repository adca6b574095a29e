// The mapping of an encoding of one or two bytes a character, as tables made once. A code is a byte, or two
// with the first the more significant; only bytes from 0x80 on begin a pair.
#pragma once

#include <toolbox/CFString.h>

#include <memory>
#include <span>
#include <string_view>

namespace toolbox::corefoundation {

struct CodeRange {
    UInt16 first;
    UInt16 last;
};

// Consecutive codes of consecutive characters.
struct CodeRun {
    UInt16 firstCode;
    UInt16 count;
    UniChar firstUnit;
};

// A code for more than one UTF-16 unit.
struct CodeSequence {
    UInt16 code;
    std::u16string_view units;
};

// How an encoding differs from the one that ICU knows.
struct DoubleByteChanges {
    std::span<const CodeRange> taken;  // codes beyond ASCII that are the same there, but for those below
    std::span<const CodeRun> runs;
    std::span<const CodeSequence> sequences;  // in the order of their codes
};

class DoubleByteTables {
  public:
    // What a code has instead of one UTF-16 unit.
    static constexpr UniChar kUnassigned = 0xFFFF;
    static constexpr UniChar kSequence = 0xFFFE;

    struct Deleter {
        void operator()(DoubleByteTables* inTables) const;
    };
    using Owned = std::unique_ptr<DoubleByteTables, Deleter>;

    // inChanges may be null. Null when memory is short or ICU cannot tell now.
    [[nodiscard]] static Owned Make(const char* inConverterName, const DoubleByteChanges* inChanges);

    UniChar UnitOfByte(UInt8 inByte) const { return mBytes[inByte]; }
    UniChar UnitOfPair(UInt8 inFirst, UInt8 inSecond) const {
        return inFirst < 0x80 ? kUnassigned : mPairs[inFirst - 0x80][inSecond];
    }
    // 0 when there is none; so has U+0000, whose code is 0.
    UInt16 CodeOf(UniChar inUnit) const { return mCodes[inUnit]; }

  private:
    bool ReadConverter(const char* inConverterName, std::span<const CodeRange> inTaken);
    void SetUnit(UInt16 inCode, UniChar inUnit);
    void SetRoundTrip(UInt16 inCode, UniChar inUnit);
    void Apply(const DoubleByteChanges& inChanges);

    UniChar mBytes[256];
    UniChar mPairs[128][256];
    UInt16 mCodes[0x10000];
};

}  // namespace toolbox::corefoundation

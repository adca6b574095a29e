// Blocks in the order of their bytes. The C library's memcmp tells which of two blocks is the greater, but
// not the difference of the first bytes that differ, so the comparing is done here. Blocks of up to 64 bytes
// have one way through for each length that looks at both ends, which overlap in the middle, and for most
// blocks that are equal takes no jump.
#include "BlockDifference.h"
#include "LongBlocks.h"

#include <foundation/Blocks.h>

#include <algorithm>
#include <cstring>

namespace {

// What follows when blocks differ is kept out of the way through, which else would have registers to save.
[[gnu::noinline]] long DifferenceOfBytes(Bytes inLeft, Bytes inRight) {
    return DifferenceAt(inLeft, inRight, 0);
}

template <typename Word>
[[gnu::noinline]] long DifferenceOfWords(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    const unsigned long last = inByteCount - sizeof(Word);
    if (const Word changed = ChangedBits<Word>(inLeft, inRight); changed != 0)
        return DifferenceAt(inLeft, inRight, FirstByteOf(changed));
    return DifferenceAt(inLeft, inRight,
                        last + FirstByteOf(ChangedBits<Word>(inLeft + last, inRight + last)));
}

// Blocks of at least a Word, and at most two.
template <typename Word>
long CompareWords(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    const unsigned long last = inByteCount - sizeof(Word);
    if ((ChangedBits<Word>(inLeft, inRight) | ChangedBits<Word>(inLeft + last, inRight + last)) == 0)
        [[likely]]
        return 0;
    return DifferenceOfWords<Word>(inLeft, inRight, inByteCount);
}

template <unsigned kPieces>
[[gnu::noinline]] long DifferenceOfPieces(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    constexpr unsigned long kEndBytes = kPieces * 16UL;
    for (const unsigned long end : {0UL, inByteCount - kEndBytes}) {
        for (unsigned long at = end; at < end + kEndBytes; at += 16) {
            const unsigned place = FirstDifferent(Compare16(inLeft + at, inRight + at));
            if (place < 16) return DifferenceAt(inLeft, inRight, at + place);
        }
    }
    return 0;
}

// Blocks of at least kPieces of 16 bytes, and at most twice as many.
template <unsigned kPieces>
long ComparePieces(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    const unsigned long last = inByteCount - kPieces * 16UL;
    if (AreEqual(Join(Compare16s<kPieces>(inLeft, inRight),
                      Compare16s<kPieces>(inLeft + last, inRight + last)))) [[likely]]
        return 0;
    return DifferenceOfPieces<kPieces>(inLeft, inRight, inByteCount);
}

// Goes past stretches that are equal; what is left begins with the one that is not, if there is any.
void SkipEqual(Bytes& ioLeft, Bytes& ioRight, unsigned long& ioByteCount, unsigned long inStretchBytes) {
    while (ioByteCount > 0) {
        const unsigned long count = std::min(ioByteCount, inStretchBytes);
        if (std::memcmp(ioLeft, ioRight, count) != 0) return;
        ioLeft += count;
        ioRight += count;
        ioByteCount -= count;
    }
}

}  // namespace

// Most blocks that differ do so at once. For the others memcmp finds the place: in stretches long enough to
// make up for the calls, then in shorter ones.
long CompareStretches(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    if (const unsigned place = FirstDifferent(Compare16(inLeft, inRight)); place < 16)
        return DifferenceAt(inLeft, inRight, place);
    SkipEqual(inLeft, inRight, inByteCount, 4096);
    SkipEqual(inLeft, inRight, inByteCount, 256);
    for (; inByteCount >= 16; inByteCount -= 16, inLeft += 16, inRight += 16)
        if (const unsigned place = FirstDifferent(Compare16(inLeft, inRight)); place < 16)
            return DifferenceAt(inLeft, inRight, place);
    return BlockCompare(inLeft, inRight, inByteCount);
}

bool BlocksAreEqual(const void* inLeft, const void* inRight, unsigned long inByteCount) {
    return inByteCount == 0 || std::memcmp(inLeft, inRight, inByteCount) == 0;
}

long BlockCompare(const void* inLeft, const void* inRight, unsigned long inByteCount) {
    const auto left = static_cast<Bytes>(inLeft);
    const auto right = static_cast<Bytes>(inRight);
    if (inByteCount <= 16) [[likely]] {
        if (inByteCount >= 8) [[likely]]
            return CompareWords<UInt64>(left, right, inByteCount);
        if (inByteCount >= 4) [[likely]]
            return CompareWords<UInt32>(left, right, inByteCount);
        if (inByteCount >= 2) return CompareWords<UInt16>(left, right, inByteCount);
        return inByteCount == 0 ? 0 : DifferenceOfBytes(left, right);
    }
    if (inByteCount <= 32) [[likely]]
        return ComparePieces<1>(left, right, inByteCount);
    if (inByteCount <= 64) [[likely]]
        return ComparePieces<2>(left, right, inByteCount);
    return CompareLong(left, right, inByteCount);
}

long BlockCompare(const void* inLeft, const void* inRight, unsigned long inLeftByteCount,
                  unsigned long inRightByteCount) {
    const long order = BlockCompare(inLeft, inRight, std::min(inLeftByteCount, inRightByteCount));
    return order != 0 ? order : static_cast<long>(inLeftByteCount - inRightByteCount);
}

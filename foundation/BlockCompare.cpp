// Blocks compared as fast as the C library compares them. Its memcmp tells only which of two blocks is the
// greater, not the difference of the first bytes that differ; so it serves for long blocks alone, to find out
// whether and about where they differ. Short ones are compared here: each length has one way through that
// looks at both ends of the blocks, which overlap in the middle, and for most blocks that are equal takes no
// jump.
#include <foundation/Blocks.h>
#include <toolbox/MacTypes.h>

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

using Bytes = unsigned char const*;

// Up to here comparing is faster than a call of memcmp.
constexpr unsigned long kShortBytes = 128;
// The stretches that memcmp is asked for: long enough to make up for the calls; and shorter ones, that narrow
// the stretch down that differs.
constexpr unsigned long kLongStretchBytes = 4096;
constexpr unsigned long kStretchBytes = 256;

template <typename Word>
Word Load(Bytes inBytes) {
    Word word;
    std::memcpy(&word, inBytes, sizeof word);
    return word;
}

template <typename Word>
Word DifferentBits(Bytes inLeft, Bytes inRight) {
    return Load<Word>(inLeft) ^ Load<Word>(inRight);
}

// How 16 bytes of each block compare, in the form that takes the fewest instructions to make and to join.
#ifdef __SSE2__
using Comparison = __m128i;

Comparison Compare16(Bytes inLeft, Bytes inRight) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(inLeft)),
                          _mm_loadu_si128(reinterpret_cast<__m128i const*>(inRight)));
}

Comparison Join(Comparison inOne, Comparison inOther) {
    return _mm_and_si128(inOne, inOther);
}

bool AreEqual(Comparison inComparison) {
    return _mm_movemask_epi8(inComparison) == 0xFFFF;
}
#else
using Comparison = UInt64;

Comparison Compare16(Bytes inLeft, Bytes inRight) {
    return DifferentBits<UInt64>(inLeft, inRight) | DifferentBits<UInt64>(inLeft + 8, inRight + 8);
}

Comparison Join(Comparison inOne, Comparison inOther) {
    return inOne | inOther;
}

bool AreEqual(Comparison inComparison) {
    return inComparison == 0;
}
#endif

Comparison Compare32(Bytes inLeft, Bytes inRight) {
    return Join(Compare16(inLeft, inRight), Compare16(inLeft + 16, inRight + 16));
}

Comparison Compare64(Bytes inLeft, Bytes inRight) {
    return Join(Compare32(inLeft, inRight), Compare32(inLeft + 32, inRight + 32));
}

// The difference of the first bytes in memory that differ in two words that do.
long DifferenceOf(UInt64 inLeft, UInt64 inRight) {
    UInt64 const changed = inLeft ^ inRight;
    int const shift = std::endian::native == std::endian::little ? std::countr_zero(changed) & ~7
                                                                 : 56 - (std::countl_zero(changed) & ~7);
    return static_cast<long>(inLeft >> shift & 0xFF) - static_cast<long>(inRight >> shift & 0xFF);
}

// Of blocks that differ, and soon. Out of the way of those that do not.
[[gnu::noinline, gnu::cold]] long FindDifference(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    unsigned long at = 0;
    for (; inByteCount - at >= sizeof(UInt64); at += sizeof(UInt64)) {
        auto const left = Load<UInt64>(inLeft + at);
        auto const right = Load<UInt64>(inRight + at);
        if (left != right) return DifferenceOf(left, right);
    }
    for (; at < inByteCount; ++at)
        if (inLeft[at] != inRight[at]) return long{inLeft[at]} - long{inRight[at]};
    return 0;
}

// Goes past stretches that are equal; what is left begins with the one that is not, if there is any.
void SkipEqual(Bytes& ioLeft, Bytes& ioRight, unsigned long& ioByteCount, unsigned long inStretchBytes) {
    while (ioByteCount > 0) {
        unsigned long const count = std::min(ioByteCount, inStretchBytes);
        if (std::memcmp(ioLeft, ioRight, count) != 0) return;
        ioLeft += count;
        ioRight += count;
        ioByteCount -= count;
    }
}

[[gnu::noinline]] long CompareStretches(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    SkipEqual(inLeft, inRight, inByteCount, kLongStretchBytes);
    SkipEqual(inLeft, inRight, inByteCount, kStretchBytes);
    return FindDifference(inLeft, inRight, inByteCount);
}

[[gnu::noinline]] long CompareLong(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    if (inByteCount <= kLongStretchBytes && std::memcmp(inLeft, inRight, inByteCount) == 0) [[likely]]
        return 0;
    return CompareStretches(inLeft, inRight, inByteCount);
}

// Blocks of at least a Word, and at most two.
template <typename Word>
long CompareEnds(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    unsigned long const last = inByteCount - sizeof(Word);
    if ((DifferentBits<Word>(inLeft, inRight) | DifferentBits<Word>(inLeft + last, inRight + last)) == 0)
        [[likely]]
        return 0;
    return FindDifference(inLeft, inRight, inByteCount);
}

// The same, in multiples of 16 bytes.
template <Comparison Compare(Bytes, Bytes), unsigned long kByteCount>
long CompareEnds(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    unsigned long const last = inByteCount - kByteCount;
    if (AreEqual(Join(Compare(inLeft, inRight), Compare(inLeft + last, inRight + last)))) [[likely]]
        return 0;
    return FindDifference(inLeft, inRight, inByteCount);
}

}  // namespace

bool BlocksAreEqual(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    return inByteCount == 0 || std::memcmp(inLeft, inRight, inByteCount) == 0;
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    auto const left = static_cast<Bytes>(inLeft);
    auto const right = static_cast<Bytes>(inRight);
    if (inByteCount <= 16) [[likely]] {
        if (inByteCount >= 8) [[likely]]
            return CompareEnds<UInt64>(left, right, inByteCount);
        if (inByteCount >= 4) [[likely]]
            return CompareEnds<UInt32>(left, right, inByteCount);
        if (inByteCount >= 2) return CompareEnds<UInt16>(left, right, inByteCount);
        return inByteCount == 0 ? 0 : long{*left} - long{*right};
    }
    if (inByteCount <= 32) [[likely]]
        return CompareEnds<Compare16, 16>(left, right, inByteCount);
    if (inByteCount <= 64) [[likely]]
        return CompareEnds<Compare32, 32>(left, right, inByteCount);
    if (inByteCount <= kShortBytes) [[likely]]
        return CompareEnds<Compare64, 64>(left, right, inByteCount);
    return CompareLong(left, right, inByteCount);
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inLeftByteCount,
                  unsigned long inRightByteCount) {
    long const order = BlockCompare(inLeft, inRight, std::min(inLeftByteCount, inRightByteCount));
    return order != 0 ? order : static_cast<long>(inLeftByteCount - inRightByteCount);
}

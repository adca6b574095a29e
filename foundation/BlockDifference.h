// Where two blocks of a few bytes differ, and by how much: what comparing them is made of.
#pragma once

#include <toolbox/MacTypes.h>

#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

using Bytes = const unsigned char*;

inline long DifferenceAt(Bytes inLeft, Bytes inRight, unsigned long inPlace) {
    return long{inLeft[inPlace]} - long{inRight[inPlace]};
}

template <typename Word>
Word ChangedBits(Bytes inLeft, Bytes inRight) {
    Word left, right;
    std::memcpy(&left, inLeft, sizeof left);
    std::memcpy(&right, inRight, sizeof right);
    return static_cast<Word>(left ^ right);
}

// The place in memory of the first byte of a word that is not 0.
template <typename Word>
unsigned FirstByteOf(Word inWord) {
    const int bits =
        std::endian::native == std::endian::little ? std::countr_zero(inWord) : std::countl_zero(inWord);
    return static_cast<unsigned>(bits) / 8;
}

// How 16 bytes of each block compare, in the form that takes the fewest instructions to make and to join.
#ifdef __SSE2__
using Comparison = __m128i;

inline Comparison Compare16(Bytes inLeft, Bytes inRight) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(inLeft)),
                          _mm_loadu_si128(reinterpret_cast<const __m128i*>(inRight)));
}

inline Comparison Join(Comparison inOne, Comparison inOther) {
    return _mm_and_si128(inOne, inOther);
}

inline bool AreEqual(Comparison inComparison) {
    return _mm_movemask_epi8(inComparison) == 0xFFFF;
}

// 16 when none differs.
inline unsigned FirstDifferent(Comparison inComparison) {
    return static_cast<unsigned>(std::countr_one(static_cast<UInt32>(_mm_movemask_epi8(inComparison))));
}
#else
struct Comparison {
    UInt64 changed[2];
};

inline Comparison Compare16(Bytes inLeft, Bytes inRight) {
    return {{ChangedBits<UInt64>(inLeft, inRight), ChangedBits<UInt64>(inLeft + 8, inRight + 8)}};
}

inline Comparison Join(Comparison inOne, Comparison inOther) {
    return {{inOne.changed[0] | inOther.changed[0], inOne.changed[1] | inOther.changed[1]}};
}

inline bool AreEqual(Comparison inComparison) {
    return (inComparison.changed[0] | inComparison.changed[1]) == 0;
}

// 16 when none differs.
inline unsigned FirstDifferent(Comparison inComparison) {
    return inComparison.changed[0] != 0 ? FirstByteOf(inComparison.changed[0])
                                        : 8 + FirstByteOf(inComparison.changed[1]);
}
#endif

template <unsigned kPieces>
Comparison Compare16s(Bytes inLeft, Bytes inRight) {
    if constexpr (kPieces == 1)
        return Compare16(inLeft, inRight);
    else
        return Join(Compare16(inLeft, inRight), Compare16s<kPieces - 1>(inLeft + 16, inRight + 16));
}

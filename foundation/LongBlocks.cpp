#include "LongBlocks.h"

#ifdef __x86_64__
#include <immintrin.h>

#define MIRTAL_AVX2 [[gnu::target("avx2")]]

namespace {

struct Comparison64 {
    __m256i halves[2];
};

MIRTAL_AVX2 inline __m256i WideCompare32(Bytes inLeft, Bytes inRight) {
    return _mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(inLeft)),
                             _mm256_loadu_si256(reinterpret_cast<const __m256i*>(inRight)));
}

MIRTAL_AVX2 inline Comparison64 WideCompare64(Bytes inLeft, Bytes inRight) {
    return {{WideCompare32(inLeft, inRight), WideCompare32(inLeft + 32, inRight + 32)}};
}

MIRTAL_AVX2 inline bool AreBothEqual(const Comparison64& inOne, const Comparison64& inOther) {
    const __m256i equal = _mm256_and_si256(_mm256_and_si256(inOne.halves[0], inOne.halves[1]),
                                           _mm256_and_si256(inOther.halves[0], inOther.halves[1]));
    return _mm256_movemask_epi8(equal) == -1;
}

// 64 when none differs.
MIRTAL_AVX2 inline unsigned FirstDifferent64(const Comparison64& inComparison) {
    const UInt64 low = static_cast<UInt32>(_mm256_movemask_epi8(inComparison.halves[0]));
    const UInt64 high = static_cast<UInt32>(_mm256_movemask_epi8(inComparison.halves[1]));
    return static_cast<unsigned>(std::countr_one(low | high << 32));
}

// Blocks of 64 bytes, and those at inLast, which may overlap them.
MIRTAL_AVX2 inline long CompareEnds(Bytes inLeft, Bytes inRight, unsigned long inLast) {
    const Comparison64 first = WideCompare64(inLeft, inRight);
    const Comparison64 last = WideCompare64(inLeft + inLast, inRight + inLast);
    if (AreBothEqual(first, last)) [[likely]]
        return 0;
    const unsigned place = FirstDifferent64(first);
    return DifferenceAt(inLeft, inRight, place < 64 ? place : inLast + FirstDifferent64(last));
}

}  // namespace

MIRTAL_AVX2 long CompareVectors(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
    if (inByteCount <= 128) return CompareEnds(inLeft, inRight, inByteCount - 64);
    const Bytes lastLeft = inLeft + (inByteCount - 128);
    const Bytes lastRight = inRight + (inByteCount - 128);
#pragma GCC unroll 2
    do {
        if (const long difference = CompareEnds(inLeft, inRight, 64); difference != 0) [[unlikely]]
            return difference;
        inLeft += 128;
        inRight += 128;
    } while (inLeft < lastLeft);
    return CompareEnds(lastLeft, lastRight, 64);
}
#endif

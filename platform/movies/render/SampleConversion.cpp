#include "render/SampleConversion.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace toolbox::movies {

namespace {

// A frame's four bytes as a number whose memory image they are.
std::uint32_t StoredFrame(std::int16_t inLeft, std::int16_t inRight) {
    const std::uint32_t left = static_cast<std::uint16_t>(inLeft);
    const std::uint32_t right = static_cast<std::uint16_t>(inRight);
    if constexpr (std::endian::native == std::endian::big) return left << 16 | right;
    return left >> 8 | (left & 0xFF) << 8 | (right >> 8) << 16 | (right & 0xFF) << 24;
}

// Adding 1.5 * 2^23 leaves no bits for a fraction: the addition itself rounds, halves to even, and the
// integer is in the low bits. Unlike lrintf this is arithmetic that compilers turn into vector code.
std::int16_t RoundSample(float inSample) {
    constexpr float kRounder = 12582912.0F;
    float scaled = inSample * 32768.0F;
    scaled = scaled >= -32768.0F ? scaled : -32768.0F;  // also what is not a number
    scaled = scaled < 32767.0F ? scaled : 32767.0F;
    const auto bits = std::bit_cast<std::int32_t>(scaled + kRounder);
    return static_cast<std::int16_t>(bits - std::bit_cast<std::int32_t>(kRounder));
}

#if defined(__SSE2__)
// Eight samples, rounded and clipped. Only the upper clip is needed beforehand: too small a value, and what
// is not a number, converts to the most negative integer, which packing saturates.
__m128i RoundEight(const float* inSamples) {
    const __m128 scale = _mm_set1_ps(32768.0F);
    const __m128 largest = _mm_set1_ps(32767.0F);
    const __m128 low = _mm_min_ps(largest, _mm_mul_ps(_mm_loadu_ps(inSamples), scale));
    const __m128 high = _mm_min_ps(largest, _mm_mul_ps(_mm_loadu_ps(inSamples + 4), scale));
    return _mm_packs_epi32(_mm_cvtps_epi32(low), _mm_cvtps_epi32(high));
}

__m128i SwapBytes(__m128i inShorts) {
    return _mm_or_si128(_mm_slli_epi16(inShorts, 8), _mm_srli_epi16(inShorts, 8));
}

void StoreEight(__m128i inLeft, __m128i inRight, std::uint8_t* outBytes) {
    auto* vectors = reinterpret_cast<__m128i*>(outBytes);
    _mm_storeu_si128(vectors, _mm_unpacklo_epi16(inLeft, inRight));
    _mm_storeu_si128(vectors + 1, _mm_unpackhi_epi16(inLeft, inRight));
}

// Each returns how many frames it stored: all but the last few.

std::size_t StoreByEights(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                          std::uint8_t* outBytes) {
    const std::size_t frameCount = inFrameCount - inFrameCount % 8;
    if (inLeft == inRight) {
        for (std::size_t frame = 0; frame < frameCount; frame += 8) {
            const __m128i both = SwapBytes(RoundEight(inLeft + frame));
            StoreEight(both, both, outBytes + frame * kBytesPerStoredFrame);
        }
        return frameCount;
    }
    for (std::size_t frame = 0; frame < frameCount; frame += 8) {
        StoreEight(SwapBytes(RoundEight(inLeft + frame)), SwapBytes(RoundEight(inRight + frame)),
                   outBytes + frame * kBytesPerStoredFrame);
    }
    return frameCount;
}

// The order that packing leaves is undone by interleaving: both work within halves of a register.
__attribute__((target("avx2"))) inline __m256i RoundSixteen(const float* inSamples) {
    const __m256 scale = _mm256_set1_ps(32768.0F);
    const __m256 largest = _mm256_set1_ps(32767.0F);
    const __m256 low = _mm256_min_ps(largest, _mm256_mul_ps(_mm256_loadu_ps(inSamples), scale));
    const __m256 high = _mm256_min_ps(largest, _mm256_mul_ps(_mm256_loadu_ps(inSamples + 8), scale));
    return _mm256_packs_epi32(_mm256_cvtps_epi32(low), _mm256_cvtps_epi32(high));
}

__attribute__((target("avx2"))) std::size_t StoreBySixteens(const float* inLeft, const float* inRight,
                                                            std::size_t inFrameCount,
                                                            std::uint8_t* outBytes) {
    const __m256i swap = _mm256_set_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1, 14, 15, 12, 13,
                                         10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    const std::size_t frameCount = inFrameCount - inFrameCount % 16;
    for (std::size_t frame = 0; frame < frameCount; frame += 16) {
        const __m256i left = RoundSixteen(inLeft + frame);
        const __m256i right = inLeft == inRight ? left : RoundSixteen(inRight + frame);
        auto* vectors = reinterpret_cast<__m256i*>(outBytes + frame * kBytesPerStoredFrame);
        _mm256_storeu_si256(vectors, _mm256_shuffle_epi8(_mm256_unpacklo_epi16(left, right), swap));
        _mm256_storeu_si256(vectors + 1, _mm256_shuffle_epi8(_mm256_unpackhi_epi16(left, right), swap));
    }
    return frameCount;
}

bool HasSixteens() {
    return __builtin_cpu_supports("avx2") != 0;
}
#else
std::size_t StoreByEights(const float*, const float*, std::size_t, std::uint8_t*) {
    return 0;
}

std::size_t StoreBySixteens(const float*, const float*, std::size_t, std::uint8_t*) {
    return 0;
}

bool HasSixteens() {
    return false;
}
#endif

}  // namespace

void StoreFloatFramesPortably(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                              std::uint8_t* outBytes) {
    for (std::size_t frame = 0; frame < inFrameCount; ++frame) {
        const std::uint32_t stored = StoredFrame(RoundSample(inLeft[frame]), RoundSample(inRight[frame]));
        std::memcpy(outBytes + frame * kBytesPerStoredFrame, &stored, sizeof stored);
    }
}

void StoreFloatFramesAnywhere(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                              std::uint8_t* outBytes) {
    const std::size_t stored = StoreByEights(inLeft, inRight, inFrameCount, outBytes);
    StoreFloatFramesPortably(inLeft + stored, inRight + stored, inFrameCount - stored,
                             outBytes + stored * kBytesPerStoredFrame);
}

void StoreFloatFrames(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                      std::uint8_t* outBytes) {
    const std::size_t stored = HasSixteens() ? StoreBySixteens(inLeft, inRight, inFrameCount, outBytes) : 0;
    StoreFloatFramesAnywhere(inLeft + stored, inRight + stored, inFrameCount - stored,
                             outBytes + stored * kBytesPerStoredFrame);
}

void StoreShortFrames(const std::int16_t* inLeft, const std::int16_t* inRight, std::size_t inFrameCount,
                      std::uint8_t* outBytes) {
    for (std::size_t frame = 0; frame < inFrameCount; ++frame) {
        const std::uint32_t stored = StoredFrame(inLeft[frame], inRight[frame]);
        std::memcpy(outBytes + frame * kBytesPerStoredFrame, &stored, sizeof stored);
    }
}

}  // namespace toolbox::movies

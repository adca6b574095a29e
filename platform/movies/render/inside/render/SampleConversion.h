// Samples as a sound resource stores them: signed 16-bit, big-endian, left and right alternating, four bytes
// a frame.
#pragma once

#include <cstddef>
#include <cstdint>

namespace toolbox::movies {

constexpr std::size_t kBytesPerStoredFrame = 4;

// Stores frames of full scale -1..1. A sample is scaled by 32768, rounded to the nearest integer (halves to
// even) and clipped; what is not a number becomes -32768, as the vector instructions have it. Both planes may
// be the same one.
void StoreFloatFrames(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                      std::uint8_t* outBytes);

void StoreShortFrames(const std::int16_t* inLeft, const std::int16_t* inRight, std::size_t inFrameCount,
                      std::uint8_t* outBytes);

// What StoreFloatFrames does on every processor of this architecture, and where no vector instructions are
// known; the same bits.
void StoreFloatFramesAnywhere(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                              std::uint8_t* outBytes);
void StoreFloatFramesPortably(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                              std::uint8_t* outBytes);

}  // namespace toolbox::movies

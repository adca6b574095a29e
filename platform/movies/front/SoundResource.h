// The head of a sound resource of format 1 that holds one sampled sound.
#pragma once

#include <cstddef>
#include <cstdint>

namespace toolbox::movies {

constexpr std::size_t kSoundResourceHeadBytes = 84;  // the samples follow

// Writes the head for inFrameCount frames of 16-bit big-endian stereo at inRateHz.
//
// The resource names one data format (sampled sound) and one command: play the buffer at offset 20. There a
// sound header of the compressed form follows, for it alone names its samples' format ("twos") and has its
// sample size in the last two bytes. The sample pointer is 0: the samples follow the header. No loop, base
// note middle C.
void PutSoundResourceHead(std::uint32_t inRateHz, std::uint32_t inFrameCount, std::uint8_t* outHead);

}  // namespace toolbox::movies

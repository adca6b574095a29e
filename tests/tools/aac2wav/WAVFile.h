// What a test wants to know of a WAV stream.
#pragma once

#include <cstdint>
#include <string>

namespace tools_test {

struct WAVFile {
    bool isWellFormed = false;  // header as it must be, sizes right, whole frames to the end
    bool isRF64 = false;
    std::uint32_t sampleRateHz = 0;
    std::int64_t frameCount = 0;
    std::string sound;  // interleaved 16-bit little-endian stereo

    std::int16_t Sample(std::int64_t inFrame, int inChannel) const;
    // Of full scale, over frames [inFirst, inEnd).
    double RMS(std::int64_t inFirst, std::int64_t inEnd, int inChannel) const;
    // Upward passages through zero per second.
    double FrequencyHz(int inChannel) const;
};

WAVFile ParseWAV(const std::string& inBytes);

}  // namespace tools_test

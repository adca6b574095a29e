#include "SoundResource.h"

#include "os/BigEndian.h"

#include <toolbox/MacTypes.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace toolbox::movies {

namespace {

// A whole number > 0 as an 80-bit extended: exponent with a bias of 16383, then 64 bits with the leading one
// in sight.
void PutExtended(std::uint8_t* outBytes, std::uint32_t inValue) {
    const int shift = std::countl_zero(inValue);
    os::Store16(outBytes, static_cast<std::uint16_t>(16383 + 31 - shift));
    os::Store32(outBytes + 2, inValue << shift);
}

}  // namespace

void PutSoundResourceHead(std::uint32_t inRateHz, std::uint32_t inFrameCount, std::uint8_t* outHead) {
    constexpr std::uint16_t kSampledSynth = 5;
    constexpr std::uint32_t kInitStereo = 0x00C0;
    constexpr std::uint16_t kBufferCommandWithOffset = 0x8051;
    constexpr std::uint32_t kHeaderOffset = 20;
    constexpr std::uint8_t kCompressedHeader = 0xFE;
    constexpr std::uint8_t kMiddleC = 60;
    constexpr std::uint16_t kFormatTellsCompression = 0xFFFF;

    std::memset(outHead, 0, kSoundResourceHeadBytes);
    os::Store16(outHead, 1);      // format
    os::Store16(outHead + 2, 1);  // data formats
    os::Store16(outHead + 4, kSampledSynth);
    os::Store32(outHead + 6, kInitStereo);
    os::Store16(outHead + 10, 1);  // commands
    os::Store16(outHead + 12, kBufferCommandWithOffset);
    os::Store32(outHead + 16, kHeaderOffset);
    os::Store32(outHead + 24, 2);  // channels
    os::Store32(outHead + 28, std::min<std::uint32_t>(inRateHz, UINT16_MAX) << 16);
    outHead[40] = kCompressedHeader;
    outHead[41] = kMiddleC;
    os::Store32(outHead + 42, inFrameCount);
    PutExtended(outHead + 46, inRateHz);
    os::Store32(outHead + 60, FourChars("twos"));
    os::Store16(outHead + 76, kFormatTellsCompression);
    os::Store16(outHead + 82, 16);  // bits per sample
}

}  // namespace toolbox::movies

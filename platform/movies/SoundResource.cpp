#include "SoundResource.h"

#include "BigEndian.h"

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
    PutBig16(outBytes, 0, static_cast<std::uint16_t>(16383 + 31 - shift));
    PutBig32(outBytes, 2, inValue << shift);
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
    PutBig16(outHead, 0, 1);  // format
    PutBig16(outHead, 2, 1);  // data formats
    PutBig16(outHead, 4, kSampledSynth);
    PutBig32(outHead, 6, kInitStereo);
    PutBig16(outHead, 10, 1);  // commands
    PutBig16(outHead, 12, kBufferCommandWithOffset);
    PutBig32(outHead, 16, kHeaderOffset);
    PutBig32(outHead, 24, 2);  // channels
    PutBig32(outHead, 28, std::min<std::uint32_t>(inRateHz, UINT16_MAX) << 16);
    outHead[40] = kCompressedHeader;
    outHead[41] = kMiddleC;
    PutBig32(outHead, 42, inFrameCount);
    PutExtended(outHead + 46, inRateHz);
    PutBig32(outHead, 60, FourChars("twos"));
    PutBig16(outHead, 76, kFormatTellsCompression);
    PutBig16(outHead, 82, 16);  // bits per sample
}

}  // namespace toolbox::movies

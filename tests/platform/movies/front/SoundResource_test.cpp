#include <gtest/gtest.h>
#include <movies/front/SoundResource.h>

#include <cstdint>
#include <vector>

namespace {

using toolbox::movies::kSoundResourceHeadBytes;
using toolbox::movies::PutSoundResourceHead;

std::vector<std::uint8_t> Head(std::uint32_t inRateHz, std::uint32_t inFrameCount) {
    std::vector<std::uint8_t> bytes(kSoundResourceHeadBytes + 2, 0xEE);
    PutSoundResourceHead(inRateHz, inFrameCount, bytes.data());
    EXPECT_EQ(0xEE, bytes[84]);
    EXPECT_EQ(0xEE, bytes[85]);
    bytes.resize(kSoundResourceHeadBytes);
    return bytes;
}

TEST(SoundResource, EveryByteOfTheHead) {
    const std::vector<std::uint8_t> expected = {
        0, 1, 0, 1, 0, 5, 0, 0, 0, 0xC0,      // format 1, one data format: sampled sound,
                                              // stereo
        0, 1, 0x80, 0x51, 0, 0, 0, 0, 0, 20,  // one command: buffer at offset 20
        0, 0, 0, 0, 0, 0, 0, 2, 0xAC, 0x44, 0,
        0,                                         // no pointer, 2 channels, 44100.0
        0, 0, 0, 0, 0, 0, 0, 0, 0xFE, 60,          // no loop, compressed header, middle C
        0, 1, 0, 2,                                // 65538 frames
        0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0,  // 44100 as an extended
        0, 0, 0, 0, 't', 'w', 'o', 's', 0, 0, 0,
        0,  // no markers, format
        0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0,
        0,             // no state, the format tells the compression
        0, 0, 0, 16};  // no synthesiser, 16 bits
    EXPECT_EQ(expected, Head(44100, 65538));
}

TEST(SoundResource, ExtendedRates) {
    const auto rate = [](std::uint32_t inRateHz) {
        const std::vector<std::uint8_t> head = Head(inRateHz, 0);
        return std::vector<std::uint8_t>(head.begin() + 46, head.begin() + 56);
    };
    EXPECT_EQ((std::vector<std::uint8_t>{0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}), rate(1));
    EXPECT_EQ((std::vector<std::uint8_t>{0x40, 0x0B, 0xFA, 0, 0, 0, 0, 0, 0, 0}), rate(8000));
    EXPECT_EQ((std::vector<std::uint8_t>{0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}), rate(48000));
    EXPECT_EQ((std::vector<std::uint8_t>{0x40, 0x0E, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0}), rate(65535));
}

}  // namespace

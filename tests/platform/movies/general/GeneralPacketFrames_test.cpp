#include "movies/general/PacketFrames.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace toolbox::movies::general {
namespace {

// The frames that one packet of a codec tells.
std::int64_t FramesOf(AVCodecID inCodec, std::initializer_list<int> inBytes,
                      std::uint32_t inDecodedFrames = 0) {
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = inCodec;
    av_channel_layout_default(&parameters->ch_layout, 2);
    const auto frames = PacketFrames::New(*parameters, inDecodedFrames);
    avcodec_parameters_free(&parameters);
    if (frames == nullptr) return -2;
    const std::vector<std::uint8_t> bytes(inBytes.begin(), inBytes.end());
    return frames->Next(bytes.data(), bytes.size());
}

TEST(PacketFrames, LinearSamples) {
    EXPECT_EQ(0, FramesOf(AV_CODEC_ID_PCM_S16LE, {}));
    EXPECT_EQ(2, FramesOf(AV_CODEC_ID_PCM_S16LE, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(1, FramesOf(AV_CODEC_ID_PCM_S24BE, {1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(3, FramesOf(AV_CODEC_ID_PCM_U8, {1, 2, 3, 4, 5, 6}));
}

TEST(PacketFrames, Layers) {
    EXPECT_EQ(1152, FramesOf(AV_CODEC_ID_MP3, {0xFF, 0xFB, 0x90, 0x00}));
    EXPECT_EQ(576, FramesOf(AV_CODEC_ID_MP3, {0xFF, 0xF3, 0x90, 0x00}));
    EXPECT_EQ(576, FramesOf(AV_CODEC_ID_MP3, {0xFF, 0xE3, 0x90, 0x00}));
    EXPECT_EQ(1152, FramesOf(AV_CODEC_ID_MP2, {0xFF, 0xFD, 0x90, 0x00}));
    EXPECT_EQ(1152, FramesOf(AV_CODEC_ID_MP2, {0xFF, 0xF5, 0x90, 0x00}));
    EXPECT_EQ(384, FramesOf(AV_CODEC_ID_MP1, {0xFF, 0xFF, 0x90, 0x00}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_MP3, {0xFF, 0xF9, 0x90, 0x00}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_MP3, {0xFE, 0xFB, 0x90, 0x00}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_MP3, {0xFF, 0xFB, 0x90}));
}

TEST(PacketFrames, Opus) {
    EXPECT_EQ(480, FramesOf(AV_CODEC_ID_OPUS, {0 << 3}));
    EXPECT_EQ(2880, FramesOf(AV_CODEC_ID_OPUS, {3 << 3}));
    EXPECT_EQ(960, FramesOf(AV_CODEC_ID_OPUS, {13 << 3}));
    EXPECT_EQ(120, FramesOf(AV_CODEC_ID_OPUS, {28 << 3}));
    EXPECT_EQ(1920, FramesOf(AV_CODEC_ID_OPUS, {31 << 3 | 1}));
    EXPECT_EQ(1920, FramesOf(AV_CODEC_ID_OPUS, {31 << 3 | 2}));
    EXPECT_EQ(5 * 960, FramesOf(AV_CODEC_ID_OPUS, {31 << 3 | 3, 0xC5}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_OPUS, {31 << 3 | 3}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_OPUS, {}));
}

TEST(PacketFrames, FLAC) {
    EXPECT_EQ(192, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x10, 0, 0, 0}));
    EXPECT_EQ(4608, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x50, 0, 0, 0}));
    EXPECT_EQ(32768, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF9, 0xF0, 0, 0, 0}));
    EXPECT_EQ(1, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x60, 0, 0x7F, 0}));
    EXPECT_EQ(0x35, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x60, 0, 0xC2, 0x80, 0x34}));
    EXPECT_EQ(0x1235, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x70, 0, 0xE0, 0x80, 0x80, 0x12, 0x34}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x70, 0, 0, 0x12}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF8, 0x00, 0, 0, 0}));
    EXPECT_EQ(-1, FramesOf(AV_CODEC_ID_FLAC, {0xFF, 0xF0, 0x10, 0, 0, 0}));
}

TEST(PacketFrames, AACAsItDecodes) {
    EXPECT_EQ(2048, FramesOf(AV_CODEC_ID_AAC, {0x21, 0x10}, 2048));
    EXPECT_EQ(2048, FramesOf(AV_CODEC_ID_AAC, {0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFD}, 1024));
    EXPECT_EQ(-2, FramesOf(AV_CODEC_ID_AAC, {0x21, 0x10}, 0));
}

TEST(PacketFrames, CodecsThatDoNotTell) {
    EXPECT_EQ(-2, FramesOf(AV_CODEC_ID_WMAV2, {1, 2, 3}, 2048));
    EXPECT_EQ(-2, FramesOf(AV_CODEC_ID_VORBIS, {1, 2, 3}, 1024));  // without its headers
    EXPECT_EQ(-2, FramesOf(AV_CODEC_ID_ALAC, {1, 2, 3}, 4096));
}

}  // namespace
}  // namespace toolbox::movies::general

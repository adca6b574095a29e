#include "movies/render/FrameConverter.h"

#include "Rendering.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace {

using mirtal::fakes::NewSound;
using mirtal::fakes::Packets;
using test_rendering::Rendering;
using test_rendering::Samples;
using toolbox::movies::DecoderMemory;
using toolbox::movies::FrameConverter;
using toolbox::movies::SampleForm;
using toolbox::movies::SoundFormat;

constexpr std::uint32_t kRateHz = 48000;

struct FreeFrame {
    void operator()(AVFrame* inFrame) const { av_frame_free(&inFrame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

// A frame whose channels hold one number each.
Frame NewFrame(const AVChannelLayout& inLayout, const std::vector<float>& inLevels) {
    constexpr int kFrameCount = 64;
    Frame frame(av_frame_alloc());
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->sample_rate = static_cast<int>(kRateHz);
    frame->nb_samples = kFrameCount;
    EXPECT_LE(0, av_channel_layout_copy(&frame->ch_layout, &inLayout));
    EXPECT_LE(0, av_frame_get_buffer(frame.get(), 0));
    for (int channel = 0; channel < inLayout.nb_channels; ++channel) {
        auto* const plane = reinterpret_cast<float*>(frame->extended_data[channel]);
        std::fill(plane, plane + kFrameCount, inLevels[static_cast<std::size_t>(channel)]);
    }
    return frame;
}

struct Level {
    OSStatus status;
    double left = 0;
    double right = 0;
};

Level Mixed(const AVFrame& inFrame, SampleForm inForm) {
    FrameConverter converter(kRateHz, inForm);
    Level level{converter.Push(inFrame)};
    if (level.status != noErr) return level;
    EXPECT_EQ(static_cast<std::size_t>(inFrame.nb_samples), converter.Available());
    if (inForm == SampleForm::kFloats) {
        level.left = static_cast<const float*>(converter.Left())[32];
        level.right = static_cast<const float*>(converter.Right())[32];
    } else {
        level.left = static_cast<const std::int16_t*>(converter.Left())[32] / 32768.0;
        level.right = static_cast<const std::int16_t*>(converter.Right())[32] / 32768.0;
    }
    return level;
}

std::string NameOf(const AVChannelLayout& inLayout) {
    char name[64] = {};
    av_channel_layout_describe(&inLayout, name, sizeof name);
    return name;
}

constexpr double kStep = 1.0 / 32768;

// Floats go to the resampler, shorts into the stream: the mix is the same.
TEST(FrameConverter, EveryLayoutHasOneLevelInEitherForm) {
    void* position = nullptr;
    int mixedCount = 0;
    while (const AVChannelLayout* const layout = av_channel_layout_standard(&position)) {
        const auto count = static_cast<std::size_t>(layout->nb_channels);
        for (std::size_t loud = 0; loud <= count; ++loud) {  // each channel alone, then all
            std::vector<float> levels(count, loud == count ? 0.6F : 0.0F);
            if (loud < count) levels[loud] = 0.6F;
            const Frame frame = NewFrame(*layout, levels);
            const Level shorts = Mixed(*frame, SampleForm::kShorts);
            const Level floats = Mixed(*frame, SampleForm::kFloats);
            ASSERT_EQ(shorts.status, floats.status) << NameOf(*layout);
            EXPECT_NEAR(shorts.left, floats.left, kStep) << NameOf(*layout) << " channel " << loud;
            EXPECT_NEAR(shorts.right, floats.right, kStep) << NameOf(*layout) << " channel " << loud;
            EXPECT_GE(0.6 + kStep, std::max(floats.left, floats.right)) << NameOf(*layout);
            mixedCount += floats.status == noErr ? 1 : 0;
        }
    }
    EXPECT_LT(100, mixedCount);
}

// Front left 1, centre and surround left half the power each, in proportion so that all together are 1.
TEST(FrameConverter, FiveChannelsAreMixedByKnownShares) {
    AVChannelLayout layout = AV_CHANNEL_LAYOUT_5POINT1_BACK;
    const double whole = 1 + std::sqrt(0.5) + std::sqrt(0.5);
    const Level front = Mixed(*NewFrame(layout, {0.5F, 0, 0, 0, 0, 0}), SampleForm::kFloats);
    EXPECT_NEAR(0.5 / whole, front.left, 1e-6);
    EXPECT_EQ(0, front.right);
    const Level centre = Mixed(*NewFrame(layout, {0, 0, 0.5F, 0, 0, 0}), SampleForm::kFloats);
    EXPECT_NEAR(0.5 * std::sqrt(0.5) / whole, centre.left, 1e-6);
    EXPECT_NEAR(0.5 * std::sqrt(0.5) / whole, centre.right, 1e-6);
    const Level lowFrequency = Mixed(*NewFrame(layout, {0, 0, 0, 0.5F, 0, 0}), SampleForm::kFloats);
    EXPECT_EQ(0, lowFrequency.left);
}

// A 997 Hz tone at 0.6 of full scale, the same in all channels, as 16-bit PCM.
double LoudnessOf(std::uint32_t inRateHz, std::uint16_t inChannelCount, std::uint32_t inRenderedRateHz) {
    constexpr std::uint32_t kPacketFrames = 4096;
    SoundFormat format;
    format.codecID = AV_CODEC_ID_PCM_S16LE;
    format.sampleRateHz = inRateHz;
    format.channelCount = inChannelCount;
    format.blockAlign = static_cast<std::uint16_t>(2 * inChannelCount);
    format.memory = DecoderMemory::kNone;
    Packets packets(4);
    std::uint32_t frame = 0;
    for (auto& packet : packets) {
        for (std::uint32_t i = 0; i < kPacketFrames; ++i, ++frame) {
            const double phase = 2 * std::acos(-1.0) * 997 * frame / inRateHz;
            const auto sample = static_cast<std::uint16_t>(std::lround(0.6 * 32768 * std::sin(phase)));
            for (int channel = 0; channel < inChannelCount; ++channel) {
                packet.push_back(static_cast<std::uint8_t>(sample));
                packet.push_back(static_cast<std::uint8_t>(sample >> 8));
            }
        }
    }
    Rendering rendering(NewSound(format, packets, kPacketFrames), inRenderedRateHz);
    const Samples samples = rendering.Whole();
    EXPECT_EQ(0U, rendering.Damage().PacketCount());
    double energy = 0;
    const std::size_t edge = 200;  // the resampler's own beginning and end
    for (std::size_t sample = edge; sample < samples.size() - edge; ++sample)
        energy += static_cast<double>(samples[sample]) * samples[sample];
    return std::sqrt(energy / static_cast<double>(samples.size() - 2 * edge));
}

TEST(SoundRenderer, OneSoundHasOneLevelAtEveryRateAndChannelCount) {
    const double expected = 0.6 * 32768 / std::sqrt(2.0);
    for (const std::uint16_t channelCount : {1, 2, 3, 4, 5, 6, 7, 8}) {
        for (const std::uint32_t rateHz : {8000U, 22050U, 44100U, 48000U, 64000U}) {
            EXPECT_NEAR(expected, LoudnessOf(rateHz, channelCount, rateHz), expected / 50)
                << channelCount << " channels at " << rateHz;
        }
        for (const std::uint32_t rateHz : {88200U, 96000U, 176400U, 192000U}) {
            const std::uint32_t halvedHz = rateHz > 131070 ? rateHz / 4 : rateHz / 2;
            EXPECT_NEAR(expected, LoudnessOf(rateHz, channelCount, halvedHz), expected / 50)
                << channelCount << " channels at " << rateHz;
        }
    }
}

}  // namespace

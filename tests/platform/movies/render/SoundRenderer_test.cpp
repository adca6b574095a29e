#include "Rendering.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace {

using mirtal::fakes::CanEncode;
using mirtal::fakes::CodedSound;
using mirtal::fakes::DecodeBarely;
using mirtal::fakes::EncodeWith;
using mirtal::fakes::NewSound;
using mirtal::fakes::Packets;
using mirtal::fakes::SetEdits;
using test_rendering::Cut;
using test_rendering::Encoded;
using test_rendering::EncodedSound;
using test_rendering::ExpectPurity;
using test_rendering::FiveSeconds;
using test_rendering::IsSilent;
using test_rendering::MemorySound;
using test_rendering::Rendering;
using test_rendering::Samples;
using test_rendering::SoundToEncode;
using toolbox::movies::DecoderMemory;
using toolbox::movies::DurationRun;
using toolbox::movies::Edit;
using toolbox::movies::PacketSpan;

TEST(SoundRenderer, IsTheDecodersSoundBitForBit) {
    for (const std::uint16_t channelCount : {1, 2}) {
        const EncodedSound encoded = Encoded(FiveSeconds(channelCount));
        Rendering rendering(NewSound(encoded));
        const Samples bare = DecodeBarely(NewSound(encoded).track->formats[0], encoded.packets);
        ASSERT_EQ(static_cast<std::int64_t>(encoded.DecodedFrameCount()), rendering.FrameCount());
        EXPECT_EQ(bare, rendering.Whole()) << channelCount;
        EXPECT_EQ(0U, rendering.Damage().PacketCount());
    }
}

TEST(SoundRenderer, MoreThanTwoChannelsAreMixed) {
    for (const std::uint16_t channelCount : {3, 6}) {
        SoundToEncode description = FiveSeconds(channelCount);
        description.frameCount = 50000;
        const EncodedSound encoded = Encoded(description);
        Rendering rendering(NewSound(encoded));
        EXPECT_EQ(DecodeBarely(NewSound(encoded).track->formats[0], encoded.packets), rendering.Whole());
        EXPECT_FALSE(IsSilent(rendering.Whole()));
    }
}

TEST(SoundRenderer, WindowsEqualTheWhole) {
    Rendering rendering(NewSound(Encoded(FiveSeconds())));
    ExpectPurity(rendering);
}

TEST(SoundRenderer, WindowsEqualTheWholeWithPerceptualNoise) {
    SoundToEncode description = FiveSeconds(1);
    description.allowsPerceptualNoise = true;
    description.bitsPerSecond = 24000;
    Rendering rendering(NewSound(Encoded(description)));
    ExpectPurity(rendering);
}

TEST(SoundRenderer, WindowsEqualTheWholeForLongMemories) {
    MemorySound sound = NewSound(Encoded(FiveSeconds()));
    sound.track->formats[0].memory = DecoderMemory::kUnbounded;
    Rendering rendering(std::move(sound));
    ExpectPurity(rendering, 20);
}

TEST(SoundRenderer, WindowsEqualTheWholeOverDamage) {
    MemorySound sound = NewSound(Encoded(FiveSeconds()));
    std::mt19937 random(11);
    for (std::vector<std::uint8_t>& packet : sound.store->packets) {
        if (random() % 5 == 0)
            packet[random() % packet.size()] ^= static_cast<std::uint8_t>(1 << random() % 8);
        if (random() % 11 == 0) packet.resize(packet.size() / 2);
    }
    sound.store->missing = {0, 43, 44, 100};
    Rendering rendering(std::move(sound));
    ExpectPurity(rendering);
    EXPECT_LE(4U, rendering.Damage().PacketCount());
}

TEST(SoundRenderer, AWindowCostsAtMostOneCell) {
    Rendering rendering(NewSound(Encoded(FiveSeconds())));
    rendering.Render(180000, 10);
    // A second is 44 packets, one more is the pre-roll.
    EXPECT_LE(rendering.Store().readCount, 45U);
    EXPECT_LE(2U, rendering.Store().readCount);
}

TEST(SoundRenderer, ReadingOnDecodesEachPacketOnce) {
    Rendering rendering(NewSound(Encoded(FiveSeconds())));
    const std::int64_t frameCount = rendering.FrameCount();
    for (std::int64_t first = 0; first < frameCount; first += 4410)
        rendering.Render(first, std::min<std::int64_t>(4410, frameCount - first));
    const std::uint64_t preRolls = (rendering.Store().PacketCount() - 1) / 44;
    EXPECT_EQ(rendering.Store().PacketCount() + preRolls, rendering.Store().readCount);
}

TEST(SoundRenderer, NoFramesAreNoWork) {
    Rendering rendering(NewSound(Encoded(FiveSeconds())));
    EXPECT_TRUE(rendering.Render(0, 0).empty());
    EXPECT_TRUE(rendering.Render(rendering.FrameCount(), 0).empty());
}

TEST(SoundRenderer, EditsSelectSilenceAndRepeat) {
    const EncodedSound encoded = Encoded(FiveSeconds());
    MemorySound sound = NewSound(encoded);
    SetEdits(*sound.track, {Edit{1000, Edit::kEmpty}, Edit{50000, 1024}, Edit{0, 5}, Edit{700, Edit::kEmpty},
                            Edit{3000, 500}, Edit{1, 100000}});
    Rendering rendering(std::move(sound));
    const Samples bare = DecodeBarely(NewSound(encoded).track->formats[0], encoded.packets);
    ASSERT_EQ(54701, rendering.FrameCount());
    const Samples whole = rendering.Whole();
    EXPECT_TRUE(IsSilent(Cut(whole, 0, 1000)));
    EXPECT_EQ(Cut(bare, 1024, 50000), Cut(whole, 1000, 50000));
    EXPECT_TRUE(IsSilent(Cut(whole, 51000, 700)));
    EXPECT_EQ(Cut(bare, 500, 3000), Cut(whole, 51700, 3000));
    EXPECT_EQ(Cut(bare, 100000, 1), Cut(whole, 54700, 1));
    ExpectPurity(rendering);
}

TEST(SoundRenderer, AnEditPastTheMediaIsSilentThere) {
    const EncodedSound encoded = Encoded(FiveSeconds());
    MemorySound sound = NewSound(encoded);
    const std::int64_t mediaFrames = sound.track->spans[0].frameCount;
    SetEdits(*sound.track, {Edit{3000, mediaFrames - 1000}, Edit{10, mediaFrames + 5}});
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    const Samples bare = DecodeBarely(NewSound(encoded).track->formats[0], encoded.packets);
    EXPECT_EQ(Cut(bare, mediaFrames - 1000, 1000), Cut(whole, 0, 1000));
    EXPECT_TRUE(IsSilent(Cut(whole, 1000, 2010)));
}

TEST(SoundRenderer, GapsBetweenSpansAreSilent) {
    const EncodedSound encoded = Encoded(FiveSeconds());
    MemorySound sound = NewSound(encoded);
    PacketSpan late = sound.track->spans[0];
    sound.track->spans[0].packetCount = 20;
    sound.track->spans[0].frameCount = 20 * 1024;
    late.firstPacket = 20;
    late.packetCount -= 20;
    late.firstFrame = 20 * 1024 + 3000;
    late.frameCount -= 20 * 1024;
    late.durations = {DurationRun{20, 1024, 0}};
    sound.track->spans.push_back(late);
    SetEdits(*sound.track, {Edit{late.firstFrame + late.frameCount, 0}});
    const auto format = sound.track->formats[0];
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    const Packets early(encoded.packets.begin(), encoded.packets.begin() + 20);
    const Packets rest(encoded.packets.begin() + 20, encoded.packets.end());
    EXPECT_EQ(DecodeBarely(format, early), Cut(whole, 0, 20 * 1024));
    EXPECT_TRUE(IsSilent(Cut(whole, 20 * 1024, 3000)));
    // A span is one decoder's work: nothing of the sound before the gap shows behind it.
    const Samples bareRest = DecodeBarely(format, rest);
    EXPECT_EQ(Cut(bareRest, 0, 20000), Cut(whole, 20 * 1024 + 3000, 20000));
    ExpectPurity(rendering);
}

TEST(SoundRenderer, APacketOfSeveralBlocksGivesAllTheirFrames) {
    const EncodedSound encoded = Encoded(FiveSeconds());
    const auto format = NewSound(encoded).track->formats[0];
    Packets pairs;
    for (std::size_t i = 0; i + 1 < encoded.packets.size(); i += 2) {
        pairs.push_back(encoded.packets[i]);
        pairs.back().insert(pairs.back().end(), encoded.packets[i + 1].begin(), encoded.packets[i + 1].end());
    }
    Rendering rendering(NewSound(format, pairs, 2048));
    const Samples bare = DecodeBarely(format, encoded.packets);
    EXPECT_EQ(Cut(bare, 0, rendering.FrameCount()), rendering.Whole());
    EXPECT_EQ(0U, rendering.Damage().PacketCount());
    ExpectPurity(rendering, 20);
}
// Other codecs.

class OtherCodec : public testing::TestWithParam<int> {};

TEST_P(OtherCodec, IsTheDecodersSoundBitForBit) {
    ASSERT_TRUE(CanEncode(GetParam())) << "this libavcodec lacks the encoder";
    for (const std::uint16_t channelCount : {1, 2}) {
        SoundToEncode description = FiveSeconds(channelCount);
        description.sampleRateHz = 48000;
        description.frameCount = 2 * 48000;
        const CodedSound coded = EncodeWith(GetParam(), description);
        const Samples bare = DecodeBarely(coded.format, coded.packets);
        MemorySound sound = NewSound(coded.format, coded.packets, coded.framesPerPacket);
        // The last packet may be short.
        SetEdits(*sound.track, {Edit{static_cast<std::int64_t>(bare.size() / 2), 0}});
        Rendering rendering(std::move(sound));
        EXPECT_EQ(bare, rendering.Whole()) << channelCount;
        EXPECT_EQ(0U, rendering.Damage().PacketCount());
        EXPECT_FALSE(IsSilent(bare));
        ExpectPurity(rendering, 20);
    }
}

INSTANTIATE_TEST_SUITE_P(All, OtherCodec,
                         testing::Values(AV_CODEC_ID_ALAC, AV_CODEC_ID_FLAC, AV_CODEC_ID_PCM_S16LE,
                                         AV_CODEC_ID_PCM_S24LE, AV_CODEC_ID_PCM_U8, AV_CODEC_ID_PCM_F32LE,
                                         AV_CODEC_ID_PCM_F64LE, AV_CODEC_ID_AC3, AV_CODEC_ID_MP2,
                                         AV_CODEC_ID_MP3, AV_CODEC_ID_OPUS));

TEST(SoundRenderer, PacketsThatStandAloneAreFoundAtOnce) {
    const CodedSound coded = EncodeWith(AV_CODEC_ID_PCM_S16LE, FiveSeconds());
    MemorySound sound = NewSound(coded.format, coded.packets, coded.framesPerPacket);
    sound.track->formats[0].memory = DecoderMemory::kNone;
    Rendering rendering(std::move(sound));
    rendering.Render(200500, 100);
    EXPECT_EQ(1U, rendering.Store().readCount);
    rendering.Render(100500, 100);
    EXPECT_EQ(2U, rendering.Store().readCount);
    ExpectPurity(rendering);
}

}  // namespace

#include "Rendering.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using mirtal::fakes::DecodeBarely;
using mirtal::fakes::NewSound;
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
using toolbox::movies::DurationRun;
using toolbox::movies::Edit;
using toolbox::movies::PacketSpan;

// Damage: everything else stays where it is.

class Damage : public testing::Test {
  protected:
    Damage()
        : mEncoded(Encoded(FiveSeconds())),
          mBare(DecodeBarely(NewSound(mEncoded).track->formats[0], mEncoded.packets)) {}

    // Packet inPacket is silent, those two packets away from it are as if nothing had happened.
    void ExpectOneSilent(Rendering& ioRendering, std::int64_t inPacket) {
        const Samples whole = ioRendering.Whole();
        ASSERT_EQ(mBare.size(), whole.size());
        EXPECT_TRUE(IsSilent(Cut(whole, inPacket * 1024, 1024)));
        EXPECT_EQ(Cut(mBare, 0, inPacket * 1024), Cut(whole, 0, inPacket * 1024));
        const std::int64_t after = (inPacket + 2) * 1024;
        const std::int64_t count = ioRendering.FrameCount() - after;
        EXPECT_EQ(Cut(mBare, after, count), Cut(whole, after, count));
        EXPECT_EQ(1U, ioRendering.Damage().PacketCount());
        EXPECT_EQ(1024, ioRendering.Damage().SilencedFrameCount());
        ioRendering.Begin();
        ioRendering.Whole();
        EXPECT_EQ(1U, ioRendering.Damage().PacketCount());
    }

    EncodedSound mEncoded;
    Samples mBare;
};

TEST_F(Damage, AMissingPacketIsSilentForItsLength) {
    MemorySound sound = NewSound(mEncoded);
    sound.store->missing = {30};
    Rendering rendering(std::move(sound));
    ExpectOneSilent(rendering, 30);
}

TEST_F(Damage, AnUnreadablePacketIsSilentForItsLength) {
    MemorySound sound = NewSound(mEncoded);
    sound.store->broken = {31};
    Rendering rendering(std::move(sound));
    ExpectOneSilent(rendering, 31);
}

TEST_F(Damage, AnEmptyPacketIsSilentForItsLength) {
    MemorySound sound = NewSound(mEncoded);
    sound.store->packets[32].clear();
    Rendering rendering(std::move(sound));
    ExpectOneSilent(rendering, 32);
}

TEST_F(Damage, ATruncatedPacketIsSilentForItsLength) {
    MemorySound sound = NewSound(mEncoded);
    sound.store->packets[33].resize(sound.store->packets[33].size() / 3);
    Rendering rendering(std::move(sound));
    ExpectOneSilent(rendering, 33);
}

TEST_F(Damage, TheFirstPacketOfACellAndThePreRoll) {
    for (const std::uint32_t packet : {43U, 44U}) {
        MemorySound sound = NewSound(mEncoded);
        sound.store->missing = {packet};
        Rendering rendering(std::move(sound));
        ExpectOneSilent(rendering, packet);
    }
}

TEST_F(Damage, TheFirstAndTheLastPacket) {
    MemorySound sound = NewSound(mEncoded);
    const std::uint32_t last = sound.store->PacketCount() - 1;
    sound.store->missing = {0, last};
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    ASSERT_EQ(mBare.size(), whole.size());
    EXPECT_TRUE(IsSilent(Cut(whole, 0, 1024)));
    EXPECT_TRUE(IsSilent(Cut(whole, std::int64_t{last} * 1024, 1024)));
    EXPECT_EQ(Cut(mBare, 2048, 50000), Cut(whole, 2048, 50000));
    EXPECT_EQ(2U, rendering.Damage().PacketCount());
}

TEST_F(Damage, EveryPacketMissing) {
    MemorySound sound = NewSound(mEncoded);
    for (std::uint32_t packet = 0; packet < sound.store->PacketCount(); ++packet)
        sound.store->missing.insert(packet);
    Rendering rendering(std::move(sound));
    EXPECT_TRUE(IsSilent(rendering.Whole()));
    EXPECT_EQ(rendering.Store().PacketCount(), rendering.Damage().PacketCount());
    EXPECT_EQ(rendering.FrameCount(), rendering.Damage().SilencedFrameCount());
}

TEST_F(Damage, PacketsThatSayLessAreCutAndThoseThatSayMoreEndSilent) {
    MemorySound sound = NewSound(mEncoded);
    PacketSpan& span = sound.track->spans[0];
    // 10 packets of 1000 frames, 10 of 1100, the rest whole.
    span.durations = {{0, 1000, 0}, {10, 1100, 10000}, {20, 1024, 21000}};
    span.frameCount = 21000 + (std::int64_t{span.packetCount} - 20) * 1024;
    SetEdits(*sound.track, {Edit{span.frameCount, 0}});
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    for (std::int64_t packet = 0; packet < 10; ++packet) {
        EXPECT_EQ(Cut(mBare, packet * 1024, 1000), Cut(whole, packet * 1000, 1000)) << packet;
        EXPECT_EQ(Cut(mBare, (10 + packet) * 1024, 1024), Cut(whole, 10000 + packet * 1100, 1024)) << packet;
        EXPECT_TRUE(IsSilent(Cut(whole, 10000 + packet * 1100 + 1024, 76))) << packet;
    }
    EXPECT_EQ(Cut(mBare, 20 * 1024, 20000), Cut(whole, 21000, 20000));
    EXPECT_EQ(0U, rendering.Damage().PacketCount());
    ExpectPurity(rendering);
}

TEST_F(Damage, SoundThatCannotBeDecodedFailsTheExport) {
    MemorySound encrypted = NewSound(mEncoded);
    encrypted.track->formats[0].decodable = badFormat;
    EXPECT_EQ(badFormat, Rendering(std::move(encrypted)).Status(0, 100));
    MemorySound unknown = NewSound(mEncoded);
    unknown.track->formats[0].codecID = 0;
    EXPECT_EQ(noCodecErr, Rendering(std::move(unknown)).Status(0, 100));
    MemorySound malformed = NewSound(mEncoded);
    malformed.track->formats[0].decoderConfig = {0xFF};
    EXPECT_EQ(noCodecErr, Rendering(std::move(malformed)).Status(0, 100));
}

TEST_F(Damage, ALaterFormatThatCannotBeDecodedIsSilent) {
    MemorySound sound = NewSound(mEncoded);
    PacketSpan second = sound.track->spans[0];
    sound.track->spans[0].packetCount = 50;
    sound.track->spans[0].frameCount = 50 * 1024;
    second.firstPacket = 50;
    second.packetCount -= 50;
    second.firstFrame = 50 * 1024;
    second.frameCount -= 50 * 1024;
    second.durations = {DurationRun{50, 1024, 0}};
    second.format = 1;
    sound.track->formats.push_back(sound.track->formats[0]);
    sound.track->formats[1].decodable = badFormat;
    sound.track->spans.push_back(second);
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    EXPECT_EQ(Cut(mBare, 0, 50 * 1024), Cut(whole, 0, 50 * 1024));
    EXPECT_TRUE(IsSilent(Cut(whole, 50 * 1024, second.frameCount)));
    EXPECT_EQ(second.packetCount, rendering.Damage().PacketCount());
    EXPECT_EQ(second.frameCount, rendering.Damage().SilencedFrameCount());
}

}  // namespace

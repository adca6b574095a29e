#include "fakes/AACEncoder.h"
#include "platform/movies/mpeg4/MPEG4Import.h"

#include <aac/AACProbe.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

SoundFormat FormatOf(const FileBytes& inConfig) {
    SoundFormat format;
    EXPECT_TRUE(DescribeAAC(inConfig, format));
    return format;
}

// A reader of packets in memory. An empty packet cannot be read.
class Packets final : public PacketReader {
  public:
    explicit Packets(std::vector<FileBytes> inPackets, OSStatus inStatus = eofErr)
        : mPackets(std::move(inPackets)), mStatus(inStatus) {
        for (FileBytes& packet : mPackets) {
            mSizes.push_back(packet.size());
            packet.resize(packet.size() + 64);
        }
    }
    OSStatus Read(std::uint32_t inPacket, PacketBytes& outBytes) override {
        ++reads;
        if (mSizes[inPacket] == 0) return mStatus;
        outBytes = {mPackets[inPacket].data(), mSizes[inPacket], nullptr};
        return noErr;
    }
    int reads = 0;

  private:
    std::vector<FileBytes> mPackets;
    std::vector<std::size_t> mSizes;
    OSStatus mStatus;
};

EncodedSound LowRateTone() {
    return EncodeAAC({.sampleRateHz = 16000, .channelCount = 1, .frameCount = 8000});
}

const FileBytes kUnsignalled16k = {0x14, 0x08};

TEST(AACProbe, IsNeededForLowRatesWithoutAWord) {
    EXPECT_TRUE(NeedsImplicitSBRProbe(FormatOf(kUnsignalled16k)));
    EXPECT_TRUE(NeedsImplicitSBRProbe(FormatOf(MakeAudioSpecificConfig(kAACLC, AACRateIndex(24000), 2))));
    EXPECT_FALSE(NeedsImplicitSBRProbe(FormatOf(MakeAudioSpecificConfig(kAACLC, AACRateIndex(32000), 2))));
    EXPECT_FALSE(NeedsImplicitSBRProbe(FormatOf(WithoutBandReplication(kUnsignalled16k))));
    EXPECT_FALSE(NeedsImplicitSBRProbe(SoundFormat()));
}

TEST(AACProbe, PlainPacketKeepsTheRate) {
    const EncodedSound tone = LowRateTone();
    FileBytes packet = tone.packets[2];
    const std::size_t size = packet.size();
    packet.resize(size + 64);
    ProbedSound sound;
    ASSERT_TRUE(ProbeImplicitSBR(FormatOf(kUnsignalled16k), {packet.data(), size, nullptr}, sound));
    EXPECT_EQ(16000u, sound.sampleRateHz);
    EXPECT_EQ(1, sound.channelCount);
    EXPECT_EQ(1024u, sound.frameCount);
}

TEST(AACProbe, GarbageIsNotDecoded) {
    const FileBytes garbage(200, 0xff);
    ProbedSound sound = {1, 2, 3};
    EXPECT_FALSE(ProbeImplicitSBR(FormatOf(kUnsignalled16k), {garbage.data(), 100, nullptr}, sound));
    EXPECT_EQ(1u, sound.sampleRateHz);
}

TEST(AACProbe, SettledFormatsSayNo) {
    SoundFormat format = FormatOf(kUnsignalled16k);
    Packets reader(LowRateTone().packets);
    ASSERT_EQ(noErr, SettleImplicitSBR(reader, 0, 3, format));
    EXPECT_EQ(1, reader.reads);
    EXPECT_EQ(WithoutBandReplication(kUnsignalled16k), format.decoderConfig);
    EXPECT_EQ(16000u, format.sampleRateHz);
    EXPECT_EQ(DecoderMemory::kOnePacket, format.memory);
}

TEST(AACProbe, LaterPacketsAreTriedWhenTheFirstIsDamaged) {
    SoundFormat format = FormatOf(kUnsignalled16k);
    const EncodedSound tone = LowRateTone();
    Packets reader({{}, FileBytes(100, 0xff), tone.packets[2]});
    ASSERT_EQ(noErr, SettleImplicitSBR(reader, 0, 3, format));
    EXPECT_EQ(3, reader.reads);
    EXPECT_EQ(16000u, format.sampleRateHz);
}

TEST(AACProbe, NotMoreThanAFewPacketsAreTried) {
    SoundFormat format = FormatOf(kUnsignalled16k);
    Packets reader(std::vector<FileBytes>(100));
    ASSERT_EQ(noErr, SettleImplicitSBR(reader, 0, 100, format));
    EXPECT_EQ(4, reader.reads);
    EXPECT_EQ(WithoutBandReplication(kUnsignalled16k), format.decoderConfig);
}

TEST(AACProbe, NoPackets) {
    SoundFormat format = FormatOf(kUnsignalled16k);
    Packets reader({});
    EXPECT_EQ(noErr, SettleImplicitSBR(reader, 0, 0, format));
}

TEST(AACProbe, DeviceFailureIsTold) {
    SoundFormat format = FormatOf(kUnsignalled16k);
    Packets reader(std::vector<FileBytes>(3), ioErr);
    EXPECT_EQ(ioErr, SettleImplicitSBR(reader, 0, 3, format));
}

TEST(AACProbe, HighRatesAreSettledWithoutReading) {
    SoundFormat format = FormatOf({0x12, 0x10});
    Packets reader({});
    EXPECT_EQ(noErr, SettleImplicitSBR(reader, 0, 5, format));
    EXPECT_EQ(WithoutBandReplication({0x12, 0x10}), format.decoderConfig);
}

TEST(AACProbe, OtherCodecsStay) {
    SoundFormat format;
    format.codecID = 1;
    format.decoderConfig = {0x14, 0x08};
    Packets reader({});
    EXPECT_EQ(noErr, SettleImplicitSBR(reader, 0, 5, format));
    EXPECT_EQ((FileBytes{0x14, 0x08}), format.decoderConfig);
}

}  // namespace
}  // namespace toolbox::movies

#include <movies/SoundRenderer.h>

#include "fakes/AnyEncoder.h"
#include "fakes/MemorySound.h"

#include <toolbox/MacErrors.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace {

using mirtal::fakes::CanEncode;
using mirtal::fakes::CodedSound;
using mirtal::fakes::DecodeBarely;
using mirtal::fakes::EncodeAAC;
using mirtal::fakes::EncodedSound;
using mirtal::fakes::EncodeWith;
using mirtal::fakes::FromBigEndian;
using mirtal::fakes::MemorySound;
using mirtal::fakes::NewSound;
using mirtal::fakes::Packets;
using mirtal::fakes::SetEdits;
using mirtal::fakes::Sound;
using mirtal::fakes::SoundToEncode;
using mirtal::fakes::Trimming;
using toolbox::movies::DamageLog;
using toolbox::movies::DecoderMemory;
using toolbox::movies::DurationRun;
using toolbox::movies::Edit;
using toolbox::movies::PacketSpan;
using toolbox::movies::SoundRenderer;
using toolbox::movies::SoundTrack;

using Samples = std::vector<std::int16_t>;  // left and right alternating

SoundToEncode FiveSeconds(std::uint16_t inChannelCount = 2) {
    SoundToEncode sound;
    sound.kind = Sound::kNoise;
    sound.channelCount = inChannelCount;
    sound.frameCount = 5 * 44100;
    return sound;
}

// Encoding takes longer than all else here: each sound is encoded once.
const EncodedSound& Encoded(const SoundToEncode& inSound) {
    using Key = std::tuple<Sound, std::uint32_t, std::uint16_t, std::uint32_t, std::uint32_t, bool>;
    static std::map<Key, EncodedSound> sEncoded;
    const Key key(inSound.kind, inSound.sampleRateHz, inSound.channelCount, inSound.frameCount,
                  inSound.bitsPerSecond, inSound.allowsPerceptualNoise);
    const auto found = sEncoded.find(key);
    return found != sEncoded.end() ? found->second : sEncoded.emplace(key, EncodeAAC(inSound)).first->second;
}

// A track with a renderer of its own, cells of a second.
class Rendering {
  public:
    explicit Rendering(MemorySound inSound, std::uint32_t inRateHz = 0)
        : mStore(inSound.store),
          mTrack(std::move(inSound.track)),
          mRateHz(inRateHz == 0 ? mTrack->SampleRateHz() : inRateHz) {
        Begin();
    }

    void Begin() { mRenderer = std::make_unique<SoundRenderer>(mTrack, mDamage, mRateHz, 1); }
    std::int64_t FrameCount() const { return mRenderer->FrameCount(); }
    mirtal::fakes::MemoryPackets& Store() { return *mStore; }
    const DamageLog& Damage() const { return *mDamage; }
    OSStatus Status(std::int64_t inFirst, std::int64_t inCount) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inCount) * 4);
        return mRenderer->Render(inFirst, inCount, bytes.data());
    }

    Samples Render(std::int64_t inFirst, std::int64_t inCount) {
        // The bytes beyond, and those never written, would show.
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inCount) * 4 + 1, 0xA5);
        EXPECT_EQ(noErr, mRenderer->Render(inFirst, inCount, bytes.data()));
        EXPECT_EQ(0xA5, bytes.back());
        return FromBigEndian(bytes.data(), static_cast<std::size_t>(inCount) * 2);
    }
    Samples Whole() { return Render(0, FrameCount()); }

  private:
    std::shared_ptr<mirtal::fakes::MemoryPackets> mStore;
    std::shared_ptr<const SoundTrack> mTrack;
    std::uint32_t mRateHz;
    std::shared_ptr<DamageLog> mDamage = std::make_shared<DamageLog>();
    std::unique_ptr<SoundRenderer> mRenderer;
};

Samples Cut(const Samples& inSamples, std::int64_t inFirst, std::int64_t inCount) {
    return Samples(inSamples.begin() + inFirst * 2, inSamples.begin() + (inFirst + inCount) * 2);
}

bool IsSilent(const Samples& inSamples) {
    return std::all_of(inSamples.begin(), inSamples.end(),
                       [](std::int16_t inSample) { return inSample == 0; });
}

// Any window, after any other, equals the same frames of the whole; and so do consecutive ones of any length.
void ExpectPurity(Rendering& ioRendering, int inWindowCount = 60) {
    const Samples whole = ioRendering.Whole();
    const std::int64_t frameCount = ioRendering.FrameCount();
    std::mt19937 random(5);
    for (int i = 0; i < inWindowCount; ++i) {
        const auto first = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(frameCount));
        const std::int64_t longest = std::min<std::int64_t>(frameCount - first, i % 3 == 0 ? 60000 : 1500);
        const auto count = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(longest + 1));
        if (i % 7 == 0) ioRendering.Begin();
        ASSERT_EQ(Cut(whole, first, count), ioRendering.Render(first, count)) << first << " +" << count;
    }
    Samples pieces;
    for (std::int64_t first = 0; first < frameCount;) {
        const std::int64_t count =
            std::min<std::int64_t>(frameCount - first, 1 + static_cast<std::int64_t>(random() % 5000));
        const Samples piece = ioRendering.Render(first, count);
        pieces.insert(pieces.end(), piece.begin(), piece.end());
        first += count;
    }
    ASSERT_EQ(whole, pieces);
}

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
    for (std::int64_t first = 0; first < frameCount; first += 4410) {
        rendering.Render(first, std::min<std::int64_t>(4410, frameCount - first));
    }
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

TEST(SoundRenderer, APacketOfSeveralBlocksGivesAllTheirFrames) {
    const EncodedSound& encoded = Encoded(FiveSeconds());
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

// Bits, the most significant of each byte first.
class BitWriter {
  public:
    void Put(unsigned inValue, int inWidth) {
        for (int bit = inWidth - 1; bit >= 0; --bit) {
            if (mBitCount % 8 == 0) mBytes.push_back(0);
            mBytes.back() |= static_cast<std::uint8_t>((inValue >> bit & 1) << (7 - mBitCount % 8));
            ++mBitCount;
        }
    }
    const std::vector<std::uint8_t>& Bytes() const { return mBytes; }

  private:
    std::vector<std::uint8_t> mBytes;
    int mBitCount = 0;
};

// A fill element of 14 bytes with an encoder's signature, before the packet's own elements.
std::vector<std::uint8_t> WithSignature(const std::vector<std::uint8_t>& inPacket) {
    BitWriter writer;
    writer.Put(6, 3);
    writer.Put(14, 4);
    writer.Put(0, 4 + 13);
    for (const char character : std::string("libfaac 1.2"))
        writer.Put(static_cast<unsigned char>(character), 8);
    writer.Put(0, 14 * 8 - 4 - 13 - 11 * 8);
    for (const std::uint8_t byte : inPacket)
        writer.Put(byte, 8);
    return writer.Bytes();
}

// Left alone, the decoder drops 1024 frames when it meets this signature: the sound came out that much short.
TEST(SoundRenderer, AnEncodersSignatureTrimsNothing) {
    EncodedSound encoded = Encoded(FiveSeconds(1));
    const auto format = NewSound(encoded).track->formats[0];
    Rendering plain(NewSound(encoded));
    encoded.packets[0] = WithSignature(encoded.packets[0]);
    EXPECT_EQ(encoded.DecodedFrameCount() - 1024,
              DecodeBarely(format, encoded.packets, Trimming::kDecoders).size() / 2);
    Rendering signedOne(NewSound(encoded));
    EXPECT_EQ(plain.Whole(), signedOne.Whole());
    EXPECT_EQ(0U, signedOne.Damage().PacketCount());
}

// Other rates.

TEST(SoundRenderer, ResampledLengthsAreExact) {
    for (const std::uint32_t rateHz : {1U, 8000U, 22050U, 44099U, 48000U, 65535U}) {
        Rendering rendering(NewSound(Encoded(FiveSeconds())), rateHz);
        const std::int64_t frames = NewSound(Encoded(FiveSeconds())).track->FrameCount();
        EXPECT_EQ((frames * rateHz + 22050) / 44100, rendering.FrameCount()) << rateHz;
        EXPECT_EQ(static_cast<std::size_t>(rendering.FrameCount()) * 2, rendering.Whole().size());
    }
}

TEST(SoundRenderer, HalfTheRateIsTheSameSound) {
    SoundToEncode description;
    description.sampleRateHz = 96000;
    description.frameCount = 96000;
    description.frequencyHz = 1000;
    Rendering rendering(NewSound(Encoded(description)), 48000);
    const Samples whole = rendering.Whole();
    Rendering original(NewSound(Encoded(description)));
    const Samples full = original.Whole();
    // Away from the edges every second frame agrees, up to what lies above 24 kHz and rounding.
    for (std::size_t frame = 5000; frame < 40000; ++frame) {
        ASSERT_NEAR(full[frame * 4], whole[frame * 2], 60) << frame;
    }
}

TEST(SoundRenderer, ResampledWindowsEqualTheWhole) {
    Rendering rendering(NewSound(Encoded(FiveSeconds())), 32000);
    ExpectPurity(rendering, 20);
}

TEST(SoundRenderer, ASpanOfAnotherRateIsResampled) {
    SoundToEncode description = FiveSeconds();
    const EncodedSound first = Encoded(description);
    description.sampleRateHz = 22050;
    description.frameCount = 22050;
    const EncodedSound second = Encoded(description);
    MemorySound sound = NewSound(first);
    const MemorySound other = NewSound(second);
    PacketSpan span = other.track->spans[0];
    span.firstPacket = sound.store->PacketCount();
    span.durations = {DurationRun{span.firstPacket, 1024, 0}};
    span.firstFrame = sound.track->spans[0].frameCount;
    span.format = 1;
    span.frameCount *= 2;
    sound.track->formats.push_back(other.track->formats[0]);
    sound.track->spans.push_back(span);
    sound.store->packets.insert(sound.store->packets.end(), second.packets.begin(), second.packets.end());
    SetEdits(*sound.track, {Edit{span.firstFrame + span.frameCount, 0}});
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    EXPECT_EQ(DecodeBarely(NewSound(first).track->formats[0], first.packets), Cut(whole, 0, span.firstFrame));
    const Samples bare = DecodeBarely(other.track->formats[0], second.packets);
    // Where the slow sound has its frames the fast one passes near them; noise keeps nothing in between.
    double difference = 0;
    double energy = 0;
    for (std::int64_t frame = 4000; frame < 20000; ++frame) {
        const double expected = bare[static_cast<std::size_t>(frame * 2)];
        const double found = whole[static_cast<std::size_t>((span.firstFrame + frame * 2) * 2)];
        difference += (expected - found) * (expected - found);
        energy += expected * expected;
    }
    EXPECT_LT(difference, energy / 100);
    ExpectPurity(rendering, 20);
}

// The decoder's own rate changes where the format says nothing of it.
TEST(SoundRenderer, AChangeOfRateWithinASpanKeepsTheClock) {
    SoundToEncode description;
    description.sampleRateHz = 44100;
    description.channelCount = 1;
    description.frameCount = 3 * 44100;
    const EncodedSound encoded = Encoded(description);
    MemorySound sound = NewSound(encoded);
    // Described as twice as fast: each packet is presented twice as long.
    sound.track->formats[0].sampleRateHz = 88200;
    PacketSpan& span = sound.track->spans[0];
    span.durations[0].framesPerPacket = 2048;
    span.frameCount *= 2;
    SetEdits(*sound.track, {Edit{span.frameCount, 0}});
    Rendering rendering(std::move(sound));
    const Samples whole = rendering.Whole();
    const Samples bare = DecodeBarely(NewSound(encoded).track->formats[0], encoded.packets);
    double difference = 0;
    double energy = 0;
    for (std::size_t frame = 3000; frame < 120000; ++frame) {
        difference += std::pow(bare[frame * 2] - whole[frame * 4], 2);
        energy += std::pow(bare[frame * 2], 2);
    }
    EXPECT_LT(difference, energy / 1000);
    EXPECT_EQ(0U, rendering.Damage().PacketCount());
    ExpectPurity(rendering, 20);
}

// Other codecs.

class OtherCodec : public testing::TestWithParam<int> {};

TEST_P(OtherCodec, IsTheDecodersSoundBitForBit) {
    if (!CanEncode(GetParam())) GTEST_SKIP() << "this libavcodec lacks the encoder";
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

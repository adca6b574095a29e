#include "decoder/SoundDecoder.h"
#include "fakes/AACEncoder.h"
#include "fakes/ADTSWriter.h"
#include "fakes/MemoryFile.h"
#include "track/MovieImporter.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

namespace toolbox::movies {
namespace {

using mirtal::fakes::ADTSFrameToWrite;
using mirtal::fakes::ADTSWriter;
using mirtal::fakes::EncodeAAC;
using mirtal::fakes::EncodedSound;
using mirtal::fakes::NewMemoryFile;
using mirtal::fakes::SoundToEncode;

struct Imported {
    OSStatus status = noErr;
    ImportedMovie movie;
    std::string problem = "untouched";
    const SoundTrack& Sound() const { return *movie.tracks.at(0).sound; }
};

Imported Import(const ADTSWriter& inWriter) {
    Imported result;
    result.status = ImportADTS(NewMemoryFile(inWriter.Result()), result.movie, result.problem);
    return result;
}

// What a span's packets decode to, packet after packet with one decoder: frames of each, -1 where one is
// damaged.
std::vector<int> DecodeSpan(const SoundTrack& inTrack, std::size_t inSpan) {
    const PacketSpan& span = inTrack.spans.at(inSpan);
    const auto reader = inTrack.packets->NewReader();
    SoundDecoder decoder;
    EXPECT_EQ(noErr, decoder.Open(inTrack.formats.at(span.format)));
    std::vector<int> frames;
    for (std::uint32_t packet = 0; packet < span.packetCount; ++packet) {
        PacketBytes bytes;
        if (reader->Read(span.firstPacket + packet, bytes) != noErr ||
            decoder.Send(bytes) != SoundDecoder::Outcome::kNothing) {
            frames.push_back(-1);
            continue;
        }
        int count = 0;
        while (decoder.Receive() == SoundDecoder::Outcome::kSound) {
            EXPECT_EQ(inTrack.formats.at(span.format).sampleRateHz,
                      static_cast<std::uint32_t>(decoder.Frame().sample_rate));
            count += decoder.Frame().nb_samples;
        }
        frames.push_back(count);
    }
    return frames;
}

EncodedSound Encode(std::uint32_t inRateHz, std::uint16_t inChannelCount, std::uint32_t inFrameCount) {
    SoundToEncode sound;
    sound.sampleRateHz = inRateHz;
    sound.channelCount = inChannelCount;
    sound.frameCount = inFrameCount;
    return EncodeAAC(sound);
}

ADTSFrameToWrite FrameOf(std::vector<std::uint8_t> inBlock, std::uint8_t inRateIndex,
                         std::uint8_t inChannelConfig) {
    ADTSFrameToWrite frame;
    frame.blocks = {std::move(inBlock)};
    frame.rateIndex = inRateIndex;
    frame.channelConfig = inChannelConfig;
    return frame;
}

TEST(ADTSImporter, TheOnlySoundTrack) {
    ADTSWriter writer;
    writer.Dummies(5, 20);
    for (const std::uint32_t wanted : {0u, 1u}) {
        ImportedMovie movie;
        std::string problem;
        ASSERT_EQ(noErr, ImportADTS(NewMemoryFile(writer.Result()), movie, problem, {wanted}));
        ASSERT_EQ(1u, movie.soundTracks.size());
        EXPECT_EQ(1u, movie.takenSoundTrack);
        EXPECT_EQ("AAC LC", movie.soundTracks[0].name);
        EXPECT_TRUE(movie.soundTracks[0].isAAC && movie.soundTracks[0].isEnabled);
        EXPECT_EQ(movie.tracks[0].sound->SampleRateHz(), movie.soundTracks[0].sampleRateHz);
    }
    ImportedMovie movie;
    std::string problem;
    EXPECT_EQ(trackNotInMovie, ImportADTS(NewMemoryFile(writer.Result()), movie, problem, {2}));
    EXPECT_EQ("there is no sound track 2, the file has 1", problem);
    // Whose file it is not, does not count its tracks.
    EXPECT_EQ(cantFindHandler, ImportADTS(NewMemoryFile("no sound"), movie, problem, {2}));
}

TEST(ADTSImporter, DeclinesWithoutAWord) {
    const Imported imported = Import(ADTSWriter().Bytes("RIFF....WAVE"));
    EXPECT_EQ(cantFindHandler, imported.status);
    EXPECT_EQ("untouched", imported.problem);
}

TEST(ADTSImporter, OrdinaryFile) {
    const EncodedSound sound = Encode(44100, 2, 44100);
    ADTSWriter writer;
    for (const auto& packet : sound.packets)
        writer.Frame(FrameOf(packet, 4, 2));
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ("ADTS", imported.movie.containerName);
    EXPECT_EQ(44100, imported.movie.timeScale);
    ASSERT_EQ(1u, imported.movie.tracks.size());
    EXPECT_EQ(FourChars("soun"), imported.movie.tracks[0].mediaType);
    const SoundTrack& track = imported.Sound();
    ASSERT_EQ(1u, track.formats.size());
    EXPECT_EQ("AAC LC", track.formats[0].name);
    EXPECT_EQ(FourChars("mp4a"), track.formats[0].dataFormat);
    EXPECT_EQ(44100u, track.SampleRateHz());
    EXPECT_EQ(2, track.formats[0].channelCount);
    EXPECT_EQ(1024u, track.formats[0].nominalPacketFrames);
    EXPECT_EQ(DecoderMemory::kOnePacket, track.formats[0].memory);
    const auto frameCount = static_cast<std::int64_t>(sound.DecodedFrameCount());
    EXPECT_EQ(frameCount, track.FrameCount());
    EXPECT_EQ(frameCount, imported.movie.tracks[0].duration.units);
    EXPECT_EQ(44100, imported.movie.tracks[0].duration.unitsPerSecond);
    ASSERT_EQ(1u, track.spans.size());
    ASSERT_EQ(1u, track.spans[0].durations.size());
    EXPECT_EQ(std::vector<int>(sound.packets.size(), 1024), DecodeSpan(track, 0));
}

TEST(ADTSImporter, EveryRateAndChannelConfiguration) {
    constexpr std::uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                        22050, 16000, 12000, 11025, 8000,  7350};
    for (std::uint8_t index = 0; index < 13; ++index) {
        for (const std::uint8_t channels : {1, 2, 6}) {
            const EncodedSound sound = Encode(kRates[index], channels, 5000);
            ADTSWriter writer;
            for (const auto& packet : sound.packets)
                writer.Frame(FrameOf(packet, index, channels));
            const Imported imported = Import(writer);
            ASSERT_EQ(noErr, imported.status);
            const SoundTrack& track = imported.Sound();
            EXPECT_EQ(kRates[index], track.SampleRateHz());
            EXPECT_EQ(channels, track.formats[0].channelCount);
            EXPECT_EQ(static_cast<std::int64_t>(sound.DecodedFrameCount()), track.FrameCount());
            EXPECT_EQ(std::vector<int>(sound.packets.size(), 1024), DecodeSpan(track, 0)) << kRates[index];
        }
    }
}

TEST(ADTSImporter, TwoBlocksInAFrameDecodeToBoth) {
    const EncodedSound sound = Encode(44100, 1, 20 * 1024);
    ADTSWriter writer;
    std::vector<int> expected;
    for (std::size_t packet = 0; packet + 1 < sound.packets.size(); packet += 2) {
        ADTSFrameToWrite frame = FrameOf(sound.packets[packet], 4, 1);
        frame.blocks.push_back(sound.packets[packet + 1]);
        writer.Frame(frame);
        expected.push_back(2048);
    }
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    const SoundTrack& track = imported.Sound();
    EXPECT_EQ(static_cast<std::int64_t>(expected.size() * 2048), track.FrameCount());
    ASSERT_EQ(1u, track.spans[0].durations.size());
    EXPECT_EQ(2048u, track.spans[0].durations[0].framesPerPacket);
    EXPECT_EQ(1024u, track.formats[0].nominalPacketFrames);
    EXPECT_EQ(expected, DecodeSpan(track, 0));
}

TEST(ADTSImporter, BlocksBetweenSingleFramesMakeRuns) {
    const EncodedSound sound = Encode(44100, 1, 6 * 1024);
    ADTSWriter writer;
    writer.Frame(FrameOf(sound.packets[0], 4, 1)).Frame(FrameOf(sound.packets[1], 4, 1));
    ADTSFrameToWrite pair = FrameOf(sound.packets[2], 4, 1);
    pair.blocks.push_back(sound.packets[3]);
    writer.Frame(pair).Frame(FrameOf(sound.packets[4], 4, 1));
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    const SoundTrack& track = imported.Sound();
    ASSERT_EQ(1u, track.spans.size());
    ASSERT_EQ(3u, track.spans[0].durations.size());
    EXPECT_EQ(2u, track.spans[0].durations[1].firstPacket);
    EXPECT_EQ(2048, track.spans[0].durations[1].firstFrame);
    EXPECT_EQ(2048u, track.spans[0].durations[1].framesPerPacket);
    EXPECT_EQ(3u, track.spans[0].durations[2].firstPacket);
    EXPECT_EQ(4096, track.spans[0].durations[2].firstFrame);
    EXPECT_EQ(5 * 1024, track.FrameCount());
    EXPECT_EQ((std::vector<int>{1024, 1024, 2048, 1024}), DecodeSpan(track, 0));
}

TEST(ADTSImporter, BlocksWithChecksumsDecode) {
    const EncodedSound sound = Encode(48000, 2, 8 * 1024);
    ADTSWriter writer;
    for (std::size_t packet = 0; packet + 1 < sound.packets.size(); packet += 2) {
        ADTSFrameToWrite frame = FrameOf(sound.packets[packet], 3, 2);
        frame.blocks.push_back(sound.packets[packet + 1]);
        frame.hasChecksum = true;
        writer.Frame(frame);
    }
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    const std::size_t packetCount = sound.packets.size() / 2 * 2;
    EXPECT_EQ(std::vector<int>(packetCount, 1024), DecodeSpan(imported.Sound(), 0));
}

TEST(ADTSImporter, ScalableRateBitsOverPlainSound) {
    const EncodedSound sound = Encode(44100, 2, 5000);
    ADTSWriter writer;
    for (const auto& packet : sound.packets) {
        ADTSFrameToWrite frame = FrameOf(packet, 4, 2);
        frame.profile = 2;
        writer.Frame(frame);
    }
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ("AAC LC", imported.Sound().formats[0].name);
    EXPECT_EQ(DecoderMemory::kOnePacket, imported.Sound().formats[0].memory);
    EXPECT_EQ(std::vector<int>(sound.packets.size(), 1024), DecodeSpan(imported.Sound(), 0));
}

TEST(ADTSImporter, OtherProfilesRememberMore) {
    for (const std::uint8_t profile : {0, 3}) {
        ADTSFrameToWrite frame;
        frame.profile = profile;
        const Imported imported = Import(ADTSWriter().Dummies(3, 20, frame));
        ASSERT_EQ(noErr, imported.status);
        EXPECT_EQ(profile == 0 ? "AAC Main" : "AAC LTP", imported.Sound().formats[0].name);
        EXPECT_EQ(DecoderMemory::kUnbounded, imported.Sound().formats[0].memory);
    }
}

// Puts a program config element that says "one front channel" before the first element of a mono packet.
std::vector<std::uint8_t> WithChannelsTold(const std::vector<std::uint8_t>& inPacket,
                                           std::uint32_t inRateIndex) {
    std::vector<bool> bits;
    const auto append = [&bits](std::uint32_t inValue, int inCount) {
        for (int bit = inCount - 1; bit >= 0; --bit)
            bits.push_back((inValue >> bit & 1) != 0);
    };
    append(5, 3);  // program config element
    append(0, 4);
    append(1, 2);  // LC
    append(inRateIndex, 4);
    append(1, 4);   // front elements
    append(0, 15);  // side, back, low frequency, data, coupling: 4 + 4 + 2 + 3 + 4 bits, of which two follow
    append(0, 2);
    append(0, 3);  // no mixdowns
    append(0, 1);  // the front element is one channel
    append(0, 4);
    while (bits.size() % 8 != 0)
        bits.push_back(false);
    append(0, 8);  // no comment
    for (const std::uint8_t byte : inPacket)
        append(byte, 8);
    std::vector<std::uint8_t> result(bits.size() / 8);
    for (std::size_t bit = 0; bit < bits.size(); ++bit)
        result[bit / 8] = static_cast<std::uint8_t>(result[bit / 8] << 1 | (bits[bit] ? 1 : 0));
    return result;
}

TEST(ADTSImporter, ChannelsToldByAnElement) {
    const EncodedSound sound = Encode(44100, 1, 5000);
    ADTSWriter writer;
    for (const auto& packet : sound.packets)
        writer.Frame(FrameOf(WithChannelsTold(packet, 4), 4, 0));
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    const SoundTrack& track = imported.Sound();
    EXPECT_EQ(1, track.formats[0].channelCount);
    EXPECT_EQ(44100u, track.SampleRateHz());
    EXPECT_EQ(static_cast<std::int64_t>(sound.DecodedFrameCount()), track.FrameCount());
    EXPECT_EQ(std::vector<int>(sound.packets.size(), 1024), DecodeSpan(track, 0));
}

TEST(ADTSImporter, ChannelsToldNowhereAreUnknown) {
    ADTSFrameToWrite frame;
    frame.channelConfig = 0;
    const Imported imported = Import(ADTSWriter().Dummies(3, 20, frame));
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ(0, imported.Sound().formats[0].channelCount);
    EXPECT_EQ(3 * 1024, imported.Sound().FrameCount());
}

TEST(ADTSImporter, LastFrameCutCountsAndCannotBeRead) {
    const Imported imported = Import(ADTSWriter().Dummies(3, 20).Cut(5));
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ(3 * 1024, imported.Sound().FrameCount());
    const auto reader = imported.Sound().packets->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(noErr, reader->Read(1, bytes));
    EXPECT_EQ(eofErr, reader->Read(2, bytes));
}

TEST(ADTSImporter, SkippedBytesAreTold) {
    const Imported imported = Import(ADTSWriter().Dummies(3, 20).Zeros(11).Dummies(2, 20).Zeros(4));
    EXPECT_EQ(15u, imported.Sound().skippedByteCount);
    EXPECT_EQ(5 * 1024, imported.Sound().FrameCount());
}

TEST(ADTSImporter, ChangingFormatsKeepExactTime) {
    // 44100 Hz, then 48000 and 32000 over and over: the places are rounded from exact time, never from each
    // other.
    ADTSWriter writer;
    constexpr std::uint8_t kIndices[] = {4, 3, 5};
    constexpr std::int64_t kRates[] = {44100, 48000, 32000};
    constexpr int kSpans = 300;
    for (int span = 0; span < kSpans; ++span) {
        ADTSFrameToWrite frame;
        frame.rateIndex = kIndices[span % 3];
        writer.Dummies(2 + span % 2, 20, frame);
    }
    const Imported imported = Import(writer);
    ASSERT_EQ(noErr, imported.status);
    const SoundTrack& track = imported.Sound();
    EXPECT_EQ(3u, track.formats.size());
    ASSERT_EQ(static_cast<std::size_t>(kSpans), track.spans.size());
    // The common multiple of the three rates is 14112000.
    std::int64_t ticks = 0;
    for (int index = 0; index < kSpans; ++index) {
        const PacketSpan& span = track.spans[static_cast<std::size_t>(index)];
        EXPECT_EQ(static_cast<std::uint32_t>(index % 3), span.format);
        EXPECT_EQ((ticks + 160) / 320, span.firstFrame) << index;
        ticks += std::int64_t{1024} * (2 + index % 2) * (14112000 / kRates[index % 3]);
        EXPECT_EQ((ticks + 160) / 320, span.firstFrame + span.frameCount) << index;
        ASSERT_EQ(1u, span.durations.size());
        EXPECT_EQ(0, span.durations[0].firstFrame);
    }
    EXPECT_EQ((ticks + 160) / 320, track.FrameCount());
}

TEST(ADTSImporter, VersionBitMakesNoOtherFormat) {
    ADTSFrameToWrite other;
    other.isMPEG2 = true;
    const Imported imported = Import(ADTSWriter().Dummies(3, 20).Dummies(3, 20, other));
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ(1u, imported.Sound().formats.size());
    EXPECT_EQ(1u, imported.Sound().spans.size());
    EXPECT_EQ(6 * 1024, imported.Sound().FrameCount());
}

TEST(ADTSImporter, TooManyChangesAreExplained) {
    ADTSWriter writer;
    for (int change = 0; change <= 1 << 18; ++change) {
        ADTSFrameToWrite frame;
        frame.rateIndex = change % 2 == 0 ? 3 : 4;
        writer.Dummies(2, 1, frame);
    }
    const Imported imported = Import(writer);
    EXPECT_EQ(invalidMovie, imported.status);
    EXPECT_EQ("the AAC stream changes its format too often", imported.problem);
}

TEST(ADTSImporter, TwiceGivesTheSame) {
    ADTSWriter writer;
    writer.Dummies(3, 20);
    const auto file = NewMemoryFile(writer.Result());
    ImportedMovie movie;
    std::string problem;
    ASSERT_EQ(noErr, ImportADTS(file, movie, problem));
    ASSERT_EQ(noErr, ImportADTS(file, movie, problem));
    ASSERT_EQ(1u, movie.tracks.size());
    EXPECT_EQ(3 * 1024, movie.tracks[0].sound->FrameCount());
}

}  // namespace
}  // namespace toolbox::movies

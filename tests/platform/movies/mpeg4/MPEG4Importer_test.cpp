#include "MPEG4Import.h"
#include "fakes/AACEncoder.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>
#include <unistd.h>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

constexpr OSType kSound = 0x736f756e;

TEST(MPEG4Importer, PlainFile) {
    const ImportResult result = Import(PlainMovie(10));
    ASSERT_EQ(noErr, result.status);
    ExpectConsistent(result.movie);
    EXPECT_EQ("MPEG-4", result.movie.containerName);
    EXPECT_EQ(1000, result.movie.timeScale);
    ASSERT_EQ(1u, result.movie.tracks.size());
    EXPECT_EQ(kSound, result.movie.tracks[0].mediaType);
    EXPECT_EQ(10240, result.movie.tracks[0].duration.units);
    EXPECT_EQ(44100, result.movie.tracks[0].duration.unitsPerSecond);
    const SoundTrack& sound = *result.Sound();
    EXPECT_EQ(10240, sound.FrameCount());
    EXPECT_EQ(44100u, sound.SampleRateHz());
    EXPECT_EQ(2, sound.formats[0].channelCount);
    EXPECT_EQ("AAC LC", sound.formats[0].name);
    EXPECT_EQ(noErr, sound.formats[0].decodable);
    EXPECT_EQ(DecoderMemory::kOnePacket, sound.formats[0].memory);
    EXPECT_EQ(std::uint32_t{kSoundTrimNone}, sound.trimSource);
    ASSERT_EQ(1u, sound.spans.size());
    EXPECT_EQ(1u, sound.spans[0].durations.size());
    ExpectNumbered(sound, 10);
}

// A decoder that starts anywhere must not find replication that the stream's start has not.
TEST(MPEG4Importer, UnsignalledReplicationIsDenied) {
    EXPECT_EQ((FileBytes{0x12, 0x10, 0x56, 0xe5, 0x00}),
              Import(PlainMovie(1)).Sound()->formats[0].decoderConfig);
}

TEST(MPEG4Importer, AnyOrderOfBoxes) {
    const std::vector<std::vector<std::string>> orders = {{"ftyp", "mdat", "moov"},
                                                          {"moov", "mdat"},
                                                          {"mdat", "moov"},
                                                          {"wide", "mdat", "moov"},
                                                          {"free", "moov", "mdat"},
                                                          {"skip", "ftyp", "moov", "mdat"},
                                                          {"ftyp", "free", "mdat", "moov", "uuid"},
                                                          {"ftyp", "mdat64", "moov"},
                                                          {"ftyp", "moov", "mdat64"},
                                                          {"ftyp", "moov", "mdat0"},
                                                          {"pnot", "mdat", "moov"},
                                                          {"ftyp", "moov", "junk", "mdat"}};
    for (const auto& order : orders) {
        MP4File file = PlainMovie(10);
        file.order = order;
        const ImportResult result = Import(file);
        ASSERT_EQ(noErr, result.status) << order[0] << order[1];
        EXPECT_EQ(10240, result.Sound()->FrameCount());
        EXPECT_EQ(order[0] == "ftyp" ? "MPEG-4" : "QuickTime", result.movie.containerName);
        ExpectNumbered(*result.Sound(), 10);
    }
}

TEST(MPEG4Importer, BrandTellsQuickTime) {
    MP4File file = PlainMovie(1);
    file.brand = "qt  ";
    EXPECT_EQ("QuickTime", Import(file).movie.containerName);
}

TEST(MPEG4Importer, OtherFilesAreDeclinedWithoutAWord) {
    for (const FileBytes& other :
         {FileBytes(), FileBytes{0}, Zeros(100), Text("RIFF....WAVEfmt and so on and so on"),
          FileBytes(100, 0xff), Text("ID3 and then some more bytes of it"),
          mirtal::fakes::Box("free", Zeros(10)), Text("1234free")}) {
        ImportResult result = Import(other);
        EXPECT_EQ(cantFindHandler, result.status);
        EXPECT_EQ("", result.problem);
    }
}

TEST(MPEG4Importer, MovieHeaderMissing) {
    MP4File file = PlainMovie(1);
    file.order = {"ftyp", "mdat"};
    const ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the movie header is missing", result.problem);
}

TEST(MPEG4Importer, MovieHeaderCutShort) {
    MP4File file = PlainMovie(100);
    file.order = {"ftyp", "mdat", "moov"};
    const FileBytes whole = WriteMP4(file);
    const std::size_t headerStart = whole.size() - 1000;
    for (std::size_t size = headerStart; size < whole.size(); size += 37) {
        const ImportResult result = Import(FileBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        ASSERT_EQ(invalidMovie, result.status);
        ASSERT_TRUE(result.problem == "the movie header is cut short" ||
                    result.problem == "the movie header is missing")
            << result.problem;
    }
}

TEST(MPEG4Importer, MediaCutShortKeepsItsLength) {
    const FileBytes whole = WriteMP4(PlainMovie(10));
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 550));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    const auto reader = result.Sound()->packets->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(noErr, reader->Read(3, bytes));
    for (std::uint32_t packet = 4; packet < 10; ++packet)
        EXPECT_EQ(eofErr, reader->Read(packet, bytes));
}

TEST(MPEG4Importer, NothingOfTheMediaThere) {
    const FileBytes whole = WriteMP4(PlainMovie(10));
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 950));
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("none of the sound that the movie header describes is in the file", result.problem);
}

TEST(MPEG4Importer, TheFirstGoodMovieCounts) {
    MP4File file = PlainMovie(10);
    const FileBytes good = WriteMP4(file);
    file.tracks[0].timeScale = 3523727305u;
    file.order = {"ftyp", "moov"};
    const FileBytes damaged = WriteMP4(file);
    // Offsets of the good one are counted from its own start: behind the damaged one its packets are
    // elsewhere.
    const ImportResult result = Import(Join({damaged, good}));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    const ImportResult alone = Import(damaged);
    EXPECT_EQ(invalidMovie, alone.status);
    EXPECT_EQ("the time scale of the sound is damaged", alone.problem);
}

TEST(MPEG4Importer, DeviceFails) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    ImportedMovie movie;
    std::string problem;
    EXPECT_EQ(ioErr, ImportMPEG4(std::make_shared<const MediaFile>(ends[1], 1000, "broken"), movie, problem));
}

TEST(MPEG4Importer, MovieWithoutTracks) {
    MP4File file;
    const ImportResult result = Import(file);
    EXPECT_EQ(noErr, result.status);
    EXPECT_TRUE(result.movie.tracks.empty());
}

TEST(MPEG4Importer, MovieWithoutATimeScale) {
    MP4File file = PlainMovie(1);
    file.movieTimeScale = 0;
    EXPECT_EQ(invalidMovie, Import(file).status);
    file = PlainMovie(1);
    file.replaced["mvhd"] = {};
    EXPECT_EQ(invalidMovie, Import(file).status);
}

TEST(MPEG4Importer, LargeTimes) {
    MP4File file = PlainMovie(10);
    file.hasLargeTimes = true;
    file.tracks[0].hasLargeTimes = true;
    EXPECT_EQ(10240, FramesOf(file));
}

// Any file with one byte changed gives a movie that holds together, or a status.
TEST(MPEG4Importer, EveryByteOfTheHeaderMayBeWrong) {
    MP4File file = PlainMovie(20);
    file.tracks[0].packetsPerChunk = 5;
    file.tracks[0].edits = {{100, -1}, {300, 1024}};
    file.moreInMovie = GaplessTagBox("0 840 2F4 1CCC");
    FileBytes bytes = WriteMP4(file);
    const std::size_t headerEnd = bytes.size() - 2000;
    for (std::size_t i = 0; i < headerEnd; ++i) {
        const std::uint8_t right = bytes[i];
        for (const int wrong : {0, 1, 0x7f, 0x80, 0xff, right ^ 1}) {
            bytes[i] = static_cast<std::uint8_t>(wrong);
            const ImportResult result = Import(bytes);
            if (result.status == noErr) {
                ASSERT_NO_FATAL_FAILURE(ExpectConsistent(result.movie)) << i << ' ' << wrong;
            } else {
                ASSERT_TRUE(result.status == invalidMovie || result.status == cantFindHandler);
                ASSERT_EQ(result.status == invalidMovie, !result.problem.empty());
            }
        }
        bytes[i] = right;
    }
}

// What is decoded with the imported configuration is what was announced.
TEST(MPEG4Importer, EncodedTone) {
    const EncodedSound tone = EncodeAAC({.sampleRateHz = 48000, .channelCount = 2, .frameCount = 48000});
    MP4File file;
    file.movieTimeScale = 48000;
    file.tracks = {AACTrack(tone.config, 48000, 2, tone.packets)};
    file.tracks[0].edits = {{48000, tone.delayFrameCount}};
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(48000, result.Sound()->FrameCount());
    EXPECT_EQ(tone.packets.size(), result.Sound()->packets->PacketCount());
    const auto reader = result.Sound()->packets->NewReader();
    for (std::uint32_t i = 0; i < tone.packets.size(); ++i) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(i, bytes));
        ASSERT_EQ(tone.packets[i], FileBytes(bytes.data, bytes.data + bytes.sizeBytes));
    }
}

}  // namespace
}  // namespace toolbox::movies

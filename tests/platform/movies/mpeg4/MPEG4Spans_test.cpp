#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

// Bytes of an LC configuration with band replication, 22050 Hz to 44100 Hz, mono.
const FileBytes kReplicated = {0x13, 0x88, 0x56, 0xe5, 0xa0};

TEST(MPEG4Spans, LastPacketShorterAndLonger) {
    MP4File file = PlainMovie(10);
    file.tracks[0].durations = {{9, 1024}, {1, 100}};
    EXPECT_EQ(9316, FramesOf(file));
    file.tracks[0].durations = {{9, 1024}, {1, 5000}};
    EXPECT_EQ(14216, FramesOf(file));
    file.tracks[0].durations = {{1, 1245}, {9, 1024}};
    EXPECT_EQ(10461, FramesOf(file));
    file.tracks[0].durations = {{1, 0}, {9, 1024}};
    EXPECT_EQ(9216, FramesOf(file));
}

TEST(MPEG4Spans, CoarseTimeScale) {
    MP4File file = PlainMovie(10);
    // 1024 frames are 13.93 ticks of 1/600 s, 23.22 of 1/1000 s, 2089.8 of 1/90000 s.
    file.tracks[0].timeScale = 600;
    file.tracks[0].durations = {{10, 14}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].durations = {{5, 14}, {5, 13}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{8, 23}, {2, 24}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].timeScale = 90000;
    file.tracks[0].durations = {{8, 2090}, {2, 2089}};
    EXPECT_EQ(10240, FramesOf(file));
    // Two ticks off means what it says.
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{9, 23}, {1, 10}};
    EXPECT_EQ(9216 + 441, FramesOf(file));
}

TEST(MPEG4Spans, UnevenDurationsAddUpExactly) {
    MP4File file = PlainMovie(1000);
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{1000, 11}};  // 485.1 frames each
    EXPECT_EQ(485100, FramesOf(file));
    file.tracks[0].durations.clear();
    for (std::uint32_t i = 0; i < 500; ++i) {
        file.tracks[0].durations.emplace_back(1, 11);
        file.tracks[0].durations.emplace_back(1, 12);
    }
    EXPECT_EQ(507150, FramesOf(file));
}

TEST(MPEG4Spans, FinerTimeScale) {
    MP4File file = PlainMovie(10);
    file.tracks[0].timeScale = 88200;
    file.tracks[0].durations = {{9, 2048}, {1, 1001}};
    EXPECT_EQ(9216 + 501, FramesOf(file));
}

// A packet is one packet, whichever of the two rates the writer counted its durations in.
TEST(MPEG4Spans, ReplicationDoublesTheFrames) {
    MP4File file = PlainMovie(10);
    file.tracks[0].descriptions = {AACEntry(kReplicated, 44100, 1)};
    for (const auto& [scale, delta] :
         {std::pair{22050u, 1024u}, {44100u, 2048u}, {22050u, 2048u}, {44100u, 1024u}}) {
        file.tracks[0].timeScale = scale;
        file.tracks[0].durations = {{10, delta}};
        EXPECT_EQ(20480, FramesOf(file)) << scale << ' ' << delta;
        file.tracks[0].durations = {{9, delta}, {1, delta / 4}};
        EXPECT_EQ(9 * 2048 + 512, FramesOf(file)) << scale << ' ' << delta;
    }
    const ImportResult result = Import(file);
    EXPECT_EQ(44100u, result.Sound()->SampleRateHz());
    EXPECT_EQ("HE-AAC", result.Sound()->formats[0].name);
    EXPECT_EQ(DecoderMemory::kUnbounded, result.Sound()->formats[0].memory);
}

TEST(MPEG4Spans, EditsOfReplicatedSound) {
    MP4File file = PlainMovie(10);
    file.movieTimeScale = 44100;
    file.tracks[0].descriptions = {AACEntry(kReplicated, 44100, 1)};
    file.tracks[0].timeScale = 22050;
    file.tracks[0].edits = {{10000, 1056}};
    const ImportResult result = Import(file);
    EXPECT_EQ(10000, result.Sound()->FrameCount());
    EXPECT_EQ(2112, result.Sound()->framesTrimmedAtStart);
    EXPECT_EQ(20480 - 12112, result.Sound()->framesTrimmedAtEnd);
}

TEST(MPEG4Spans, EditLists) {
    MP4File file = PlainMovie(100);
    file.movieTimeScale = 44100;
    file.tracks[0].edits = {{100000, 2112}};
    const ImportResult result = Import(file);
    EXPECT_EQ(100000, result.Sound()->FrameCount());
    EXPECT_EQ(std::uint32_t{kSoundTrimEditList}, result.Sound()->trimSource);
    EXPECT_EQ(2112, result.Sound()->framesTrimmedAtStart);
    EXPECT_EQ(102400 - 102112, result.Sound()->framesTrimmedAtEnd);
    file.tracks[0].hasLargeEdits = true;
    EXPECT_EQ(100000, FramesOf(file));
    file.tracks[0].edits = {{500, -1}, {1000, 5000}, {700, 0, 0x20000}, {300, -1}, {200, 99000, 0}};
    EXPECT_EQ(2700, FramesOf(file));
    file.tracks[0].edits = {{200000, 2112}};
    EXPECT_EQ(200000, FramesOf(file));
}

TEST(MPEG4Spans, IdentityEditIsNoTrim) {
    MP4File file = PlainMovie(10);
    file.tracks[0].edits = {{232, 0}};  // 10231 frames: a tick of 44.1 short
    const ImportResult result = Import(file);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    EXPECT_EQ(std::uint32_t{kSoundTrimNone}, result.Sound()->trimSource);
}

TEST(MPEG4Spans, HostileLengths) {
    MP4File file = PlainMovie(10);
    file.tracks[0].timeScale = 1;
    file.tracks[0].durations = {
        {10, UINT32_MAX}};  // 22 hours a packet, at 44.1 kHz more than 32 bits of frames
    EXPECT_EQ(invalidMovie, Import(file).status);
    file = PlainMovie(10);
    file.movieTimeScale = 1;
    file.tracks[0].hasLargeEdits = true;
    file.tracks[0].edits = {{UINT64_MAX, 0}};
    const ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the movie header claims a length beyond reason", result.problem);
}

TEST(MPEG4Spans, ChangeOfDescription) {
    MP4File file = PlainMovie(12);
    file.tracks[0].packetsPerChunk = 4;
    file.tracks[0].descriptions.push_back(AACEntry({0x11, 0x90}, 48000, 2));
    file.tracks[0].chunkDescriptions = {1, 2, 7};  // the last is none: it counts as the last there is
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    ExpectConsistent(result.movie);
    const SoundTrack& sound = *result.Sound();
    ASSERT_EQ(2u, sound.formats.size());
    EXPECT_EQ(48000u, sound.formats[1].sampleRateHz);
    ASSERT_EQ(3u, sound.spans.size());
    EXPECT_EQ(0u, sound.spans[0].format);
    EXPECT_EQ(1u, sound.spans[1].format);
    EXPECT_EQ(1u, sound.spans[2].format);
    EXPECT_EQ(4096, sound.spans[0].frameCount);
    // The media counts 44.1 kHz: 1024 ticks are 1114.6 frames at 48 kHz, near enough to a packet to be cut
    // from none.
    EXPECT_EQ(4096, sound.spans[1].firstFrame);
}

}  // namespace
}  // namespace toolbox::movies

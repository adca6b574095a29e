// Files of many writers, beside the checkout where there is room for them. What each declares about its own
// length is the measure; where a coarse movie time scale rounded it, the reason for the difference is written
// down.
#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace toolbox::movies {
namespace {

std::string ReadFile(const std::string& inName) {
    const char* const folder = std::getenv("MIRTAL_CORPUS");
    EXPECT_NE(nullptr, folder) << "MIRTAL_CORPUS names the folder";
    std::ifstream stream(std::string(folder == nullptr ? "" : folder) + "/" + inName, std::ios::binary);
    EXPECT_TRUE(stream.good()) << inName;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

ImportResult ImportNamed(const std::string& inName) {
    const std::string bytes = ReadFile(inName);
    return Import(mirtal::fakes::Bytes(bytes.begin(), bytes.end()));
}

struct Declared {
    const char* name;
    std::int64_t frameCount;
    std::uint32_t sampleRateHz;
    const char* format;
    std::uint32_t trimSource;
};

void PrintTo(const Declared& inDeclared, std::ostream* ioStream) {
    *ioStream << inDeclared.name;
}

class MPEG4Corpus : public testing::TestWithParam<Declared> {};

TEST_P(MPEG4Corpus, LengthIsAsDeclared) {
    const Declared& declared = GetParam();
    const ImportResult result = ImportNamed(declared.name);
    ASSERT_EQ(noErr, result.status) << result.problem;
    ASSERT_NE(nullptr, result.Sound());
    EXPECT_EQ(declared.frameCount, result.Sound()->FrameCount());
    EXPECT_EQ(declared.sampleRateHz, result.Sound()->SampleRateHz());
    EXPECT_EQ(declared.format, result.Sound()->formats[0].name);
    EXPECT_EQ(declared.trimSource, result.Sound()->trimSource);
}

INSTANTIATE_TEST_SUITE_P(
    Files, MPEG4Corpus,
    testing::Values(
        // Edit lists in exact scales, and gapless tags: to the frame.
        Declared{"aac-44k-mono-afconvert-elst.mp4", 22050, 44100, "AAC LC", kSoundTrimEditList},
        Declared{"alac-20bit-44k-mono-elst.mp4", 45056, 44100, "ALAC", kSoundTrimEditList},
        Declared{"xheaac-44k-mono.mp4", 132300, 44100, "USAC", kSoundTrimNone},
        Declared{"aac-44k-st-itunes-smpb.m4a", 132300, 44100, "AAC LC", kSoundTrimGaplessTag},
        Declared{"aac-8k-mono-smpb.m4a", 24000, 8000, "AAC LC", kSoundTrimGaplessTag},
        // Edit lists in milliseconds that agree with the media to the frame.
        Declared{"aac-16k-mono-lavf.mp4", 16000, 16000, "AAC LC", kSoundTrimEditList},
        Declared{"opus-48k-st.m4a", 48000, 48000, "Opus", kSoundTrimEditList},
        Declared{"ac3-first-aac-second.mp4", 13824, 48000, "AC-3", kSoundTrimNone},
        // Milliseconds within one of the media's end: 1428 ms are 68544 frames, the media leaves 68546; 1636
        // ms are 36074, 36067 are left; 2021 ms are 89126, and 89088 frames are all there is; 43 ms of
        // silence are 1896 frames and 1045 ms are 46084, of which the media has 46080; 441 ms are 19448, and
        // 19456 are left.
        Declared{"aac-48k-st-lavf-elst.m4a", 68546, 48000, "AAC LC", kSoundTrimEditList},
        Declared{"aac-22k-mono-lavf-elst.m4a", 36067, 22050, "AAC LC", kSoundTrimEditList},
        Declared{"aac-44k-st-chapters.m4b", 89088, 44100, "AAC LC", kSoundTrimNone},
        Declared{"aac-44k-mono-empty-edit.mp4", 1896 + 46080, 44100, "AAC LC", kSoundTrimEditList},
        Declared{"h264-aac-44k-mono.mp4", 1896 + 46080, 44100, "AAC LC", kSoundTrimEditList},
        Declared{"fuzz-double-moov-bad-mdhd.mp4", 19456, 44100, "AAC LC", kSoundTrimEditList},
        // A scale of 30000 in the second edit ends long before the media.
        Declared{"h264-aac-44k-mono-empty-edit.mov", 1940 + 43011, 44100, "AAC LC", kSoundTrimEditList},
        // An edit that ends 812 frames before the media, of which only the first packets are in the file.
        Declared{"trunc-64bit-atoms.mp4", 13524, 44100, "AAC LC", kSoundTrimEditList},
        // To the end of 240 packets, from 2048 on.
        Declared{"aac-51-cenc-encrypted.mp4", 240 * 1024 - 2048, 48000, "AAC LC", kSoundTrimEditList},
        // No edits and no tag: the sum of the packets' durations, the last often shorter, the first once
        // longer.
        Declared{"aac-44k-mono-faac.m4a", 442024, 44100, "AAC LC", kSoundTrimNone},
        Declared{"aac-48k-mono-voicememo.m4a", 49152, 48000, "AAC LC", kSoundTrimNone},
        Declared{"aac-32k-mono-4tracks.m4a", 51200, 32000, "AAC LC", kSoundTrimNone},
        Declared{"aac-44k-51.m4a", 133330, 44100, "AAC LC", kSoundTrimNone},
        Declared{"aac-48k-71-nero-chapters.mp4", 674543, 48000, "AAC LC", kSoundTrimNone},
        Declared{"aac-44k-st-covers-junk.m4a", 163520, 44100, "AAC LC", kSoundTrimNone},
        Declared{"h264-aac-12k-st.mp4", 25821, 12000, "AAC LC", kSoundTrimNone},
        Declared{"alac-44k-st.m4a", 163392, 44100, "ALAC", kSoundTrimNone},
        Declared{"heaac-v1-44k-mono-mdat-size0.m4a", 49152, 44100, "HE-AAC", kSoundTrimNone},
        Declared{"aac-48k-st-frag-sidx.mp4", 240640, 48000, "AAC LC", kSoundTrimNone},
        // Four fragments with gaps between them; the last starts at 35935 and has 17 packets.
        Declared{"h264-aac-44k-st-frag.mp4", 35935 + 17 * 1024, 44100, "AAC LC", kSoundTrimNone}));

TEST(MPEG4CorpusFiles, ProtectedSoundWithoutPackets) {
    const ImportResult result = ImportNamed("drms-protected-no-samples.m4a");
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(badFormat, result.Sound()->formats[0].decodable);
    EXPECT_EQ(0, result.Sound()->FrameCount());
}

TEST(MPEG4CorpusFiles, EncryptedAndUnknownSoundIsNotDecodable) {
    EXPECT_EQ(badFormat, ImportNamed("aac-51-cenc-encrypted.mp4").Sound()->formats[0].decodable);
    EXPECT_EQ(noCodecErr, ImportNamed("xheaac-44k-mono.mp4").Sound()->formats[0].decodable);
}

TEST(MPEG4CorpusFiles, PictureOnly) {
    const ImportResult result = ImportNamed("video-only-h264.mp4");
    ASSERT_EQ(noErr, result.status);
    ASSERT_EQ(1u, result.movie.tracks.size());
    EXPECT_EQ(nullptr, result.Sound());
    EXPECT_EQ(1000, result.movie.tracks[0].duration.units);
    EXPECT_EQ(1000, result.movie.tracks[0].duration.unitsPerSecond);
}

TEST(MPEG4CorpusFiles, SecondSoundTrack) {
    const ImportResult result = ImportNamed("ac3-first-aac-second.mp4");
    ASSERT_EQ(2u, result.movie.tracks.size());
    EXPECT_EQ(6, result.movie.tracks[0].sound->formats[0].channelCount);
    EXPECT_EQ(14304, result.movie.tracks[1].sound->FrameCount());
}

TEST(MPEG4CorpusFiles, DamagedFilesSayWhy) {
    for (const auto& [name, problem] :
         {std::pair{"fuzz-bad-stsz-moov-only.m4a",
                    "none of the sound that the movie header describes is in the file"},
          {"fuzz-cve-2015-3827.mp4", "the movie header is cut short"},
          {"no-tracks.m4a", "the movie header has no time scale"}}) {
        const ImportResult result = ImportNamed(name);
        EXPECT_EQ(invalidMovie, result.status) << name;
        EXPECT_EQ(problem, result.problem) << name;
    }
}

TEST(MPEG4CorpusFiles, OtherFormatsAreDeclined) {
    for (const char* name :
         {"MANIFEST.tsv", "adts-44k-mono.aac", "adts-48k-st-id3.aac", "aifc-sowt-44k-st.aif",
          "caf-pcm8-11k-st.caf", "empty-0-bytes.m4a", "mp3-48k-st-vbr-xing.mp3", "wav-24bit-44k-mono.wav"})
        EXPECT_EQ(cantFindHandler, ImportNamed(name).status) << name;
}

// The packets of a raw stream whose headers tell of the core only, in a movie that does not tell more.
TEST(MPEG4CorpusFiles, ReplicationThatNothingSignalsIsFound) {
    const std::string stream = ReadFile("heaac-v2-48k-st.aac");
    std::vector<mirtal::fakes::Bytes> packets;
    for (std::size_t at = 0; at + 7 <= stream.size();) {
        const auto byte = [&stream, at](std::size_t inIndex) {
            return static_cast<std::uint8_t>(stream[at + inIndex]);
        };
        const std::size_t size = (byte(3) & 3U) << 11 | byte(4) << 3 | byte(5) >> 5;
        ASSERT_LE(size, stream.size() - at);
        ASSERT_GT(size, 7u);
        packets.emplace_back(stream.begin() + static_cast<long>(at) + 7,
                             stream.begin() + static_cast<long>(at + size));
        at += size;
    }
    ASSERT_EQ(117u, packets.size());
    mirtal::fakes::MP4File file;
    file.tracks = {mirtal::fakes::AACTrack({0x13, 0x08}, 24000, 1, packets)};
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    const SoundFormat& format = result.Sound()->formats[0];
    EXPECT_EQ("HE-AAC", format.name);
    EXPECT_EQ(48000u, format.sampleRateHz);
    EXPECT_EQ(2, format.channelCount);
    EXPECT_EQ(2048u, format.nominalPacketFrames);
    EXPECT_EQ(DecoderMemory::kUnbounded, format.memory);
    EXPECT_EQ(117 * 2048, result.Sound()->FrameCount());
}

}  // namespace
}  // namespace toolbox::movies

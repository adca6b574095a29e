// Lengths of files from many encoders and recorders, counted in their packets beforehand. The folder with
// them is not part of the tree; where it lies beside the checkout this test is built.
#include "fakes/MemoryFile.h"
#include "track/MovieImporter.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <fstream>
#include <sstream>

namespace toolbox::movies {
namespace {

struct Sample {
    const char* file;
    ImportFunction import;
    std::uint32_t sampleRateHz;
    std::uint16_t channelCount;
    std::int64_t frameCount;
    std::uint64_t skippedByteCount;
};

// For messages of failed tests.
void PrintTo(const Sample& inSample, std::ostream* outStream) {
    *outStream << inSample.file;
}

class ImporterCorpus : public testing::TestWithParam<Sample> {};

TEST_P(ImporterCorpus, RateChannelsAndLength) {
    const Sample& sample = GetParam();
    std::ifstream file(std::string(MIRTAL_CORPUS) + "/" + sample.file, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    ASSERT_FALSE(bytes.str().empty());
    ImportedMovie movie;
    std::string problem;
    ASSERT_EQ(noErr, sample.import(mirtal::fakes::NewMemoryFile(bytes.str()), movie, problem, {})) << problem;
    ASSERT_EQ(1u, movie.tracks.size());
    const SoundTrack& track = *movie.tracks[0].sound;
    EXPECT_EQ(sample.sampleRateHz, track.SampleRateHz());
    EXPECT_EQ(sample.channelCount, track.formats[0].channelCount);
    EXPECT_EQ(sample.frameCount, track.FrameCount());
    EXPECT_EQ(sample.skippedByteCount, track.skippedByteCount);
}

const Sample kSamples[] = {
    {"adts-44k-mono.aac", ImportADTS, 44100, 1, 432 * 1024, 0},
    {"adts-8k-mono-ssr-bits.aac", ImportADTS, 8000, 1, 25 * 1024, 0},
    {"adts-48k-st-id3.aac", ImportADTS, 48000, 2, 47 * 1024, 0},
    {"adts-11k-mono-147-bytes.aac", ImportADTS, 11025, 1, 12 * 1024, 0},
    // The last of 144 packets is cut: it counts, though it cannot be decoded.
    {"adts-44k-mono-trunc.adts", ImportADTS, 44100, 1, 144 * 1024, 0},
    {"heaac-v2-48k-st.aac", ImportADTS, 48000, 2, 117 * 2048, 0},
    // 117 packets, less what the tag in the first frame says: a delay of 576 and the decoder's own 529, and
    // the padding of 576 less those 529.
    {"mp3-48k-st-vbr-xing.mp3", ImportGeneral, 48000, 2, 117 * 1152 - 1105 - 47, 0},
    {"wav-24bit-44k-mono.wav", ImportGeneral, 44100, 1, 44100, 0},
    {"aifc-sowt-44k-st.aif", ImportGeneral, 44100, 2, 4064, 0},
    {"caf-pcm8-11k-st.caf", ImportGeneral, 11025, 2, 35662, 0},
};

INSTANTIATE_TEST_SUITE_P(All, ImporterCorpus, testing::ValuesIn(kSamples), [](const auto& inInfo) {
    std::string name = inInfo.param.file;
    for (char& character : name) {
        if (!isalnum(static_cast<unsigned char>(character))) character = '_';
    }
    return name;
});

}  // namespace
}  // namespace toolbox::movies

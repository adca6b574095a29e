// Where the sound lies that the general importer presents: what codecs and muxers add before and behind it is
// left out, in every release of the libraries beneath.
#include "../render/Rendering.h"
#include "GeneralImports.h"
#include "fakes/MatroskaWriter.h"

#include <gtest/gtest.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cmath>

namespace {

using general_imports::Import;
using general_imports::Imported;
using general_imports::MakeFile;
using mirtal::fakes::EncodeAAC;
using mirtal::fakes::EncodedSound;
using mirtal::fakes::MatroskaTrims;
using mirtal::fakes::MemorySound;
using mirtal::fakes::SoundToEncode;
using mirtal::fakes::WriteMatroska;
using test_rendering::Rendering;
using test_rendering::Samples;

Samples Rendered(Imported inImported) {
    return Rendering(MemorySound{nullptr, std::move(inImported.movie.tracks.at(0).sound)}).Whole();
}

double Energy(const Samples& inSamples) {
    double energy = 0;
    for (const std::int16_t sample : inSamples)
        energy += static_cast<double>(sample) * sample;
    return energy;
}

// What coding changed, as a share of the sound: a hundredth or so where they lie over each other; a tone that
// is moved by some frames differs by about as much as it is loud.
double Distance(const Samples& inCoded, const Samples& inOriginal) {
    EXPECT_EQ(inOriginal.size(), inCoded.size());
    Samples difference;
    for (std::size_t index = 0; index < std::min(inCoded.size(), inOriginal.size()); ++index)
        difference.push_back(static_cast<std::int16_t>(inCoded[index] - inOriginal[index]));
    return std::sqrt(Energy(difference) / Energy(inOriginal));
}
constexpr double kFarthest = 0.1;

// As long as a whole number of packets holds it together with the encoder's delay, less 720 frames.
SoundToEncode Tone() {
    SoundToEncode tone;
    tone.channelCount = 2;
    tone.frameCount = 30 * 1024 - 720;
    return tone;
}

Samples Original(const SoundToEncode& inSound) {
    Samples samples;
    const auto planes = mirtal::fakes::MakeSound(inSound);
    for (std::size_t frame = 0; frame < inSound.frameCount; ++frame) {
        for (const std::vector<float>& plane : planes)
            samples.push_back(static_cast<std::int16_t>(std::lrint(plane[frame] * 32767)));
    }
    return samples;
}

TEST(GeneralTrimming, MatroskaThatTellsDelayAndPadding) {
    const EncodedSound encoded = EncodeAAC(Tone());
    ASSERT_EQ(31u, encoded.packets.size());
    Imported imported = Import(WriteMatroska(encoded, {1024, 720}));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    EXPECT_EQ(Tone().frameCount, imported.Sound().FrameCount());
    EXPECT_EQ(kSoundTrimCodecHeader, imported.Sound().trimSource);
    EXPECT_EQ(1024, imported.Sound().framesTrimmedAtStart);
    EXPECT_EQ(720, imported.Sound().framesTrimmedAtEnd);
    EXPECT_LT(Distance(Rendered(std::move(imported)), Original(Tone())), kFarthest);
}

TEST(GeneralTrimming, MatroskaThatTellsNothing) {
    Imported imported = Import(WriteMatroska(EncodeAAC(Tone()), {}));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    EXPECT_EQ(31 * 1024, imported.Sound().FrameCount());
    EXPECT_EQ(kSoundTrimNone, imported.Sound().trimSource);
    const Samples whole = Rendered(std::move(imported));
    const Samples sound = test_rendering::Cut(whole, 1024, Tone().frameCount);
    EXPECT_LT(Distance(sound, Original(Tone())), kFarthest);
}

struct Container {
    const char* name;
    const char* options;
    const char* extension;
};

void PrintTo(const Container& inContainer, std::ostream* outStream) {
    *outStream << inContainer.name;
}

class GeneralTrimmingVorbis : public testing::TestWithParam<Container> {};

// The first packet only prepares the second. Where a decoder hands out half of its block, nothing may move.
TEST_P(GeneralTrimmingVorbis, BeginsWithTheSound) {
    constexpr std::uint32_t kFrameCount = 44100;
    const std::string options = GetParam().options;
    const Samples original = Rendered(Import(MakeFile(44100, kFrameCount, options, "wav")));
    Imported imported =
        Import(MakeFile(44100, kFrameCount, options + " -c:a libvorbis", GetParam().extension));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    Samples coded = Rendered(std::move(imported));
    ASSERT_GE(coded.size(), original.size());
    coded.resize(original.size());  // Matroska does not always tell where the last block ends
    EXPECT_LT(Distance(coded, original), kFarthest);
}

INSTANTIATE_TEST_SUITE_P(All, GeneralTrimmingVorbis,
                         testing::Values(Container{"OggMono", "", "ogg"},
                                         Container{"OggStereo", "-ac 2", "ogg"},
                                         Container{"OggSurround", "-ac 6", "ogg"},
                                         Container{"MatroskaStereo", "-ac 2", "mka"},
                                         Container{"MatroskaSurround", "-ac 6", "mka"}),
                         [](const auto& inInfo) { return std::string(inInfo.param.name); });

}  // namespace

#include "Rendering.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstdint>
#include <utility>
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
using test_rendering::MemorySound;
using test_rendering::Rendering;
using test_rendering::Samples;
using test_rendering::SoundToEncode;
using toolbox::movies::DurationRun;
using toolbox::movies::Edit;
using toolbox::movies::PacketSpan;

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

}  // namespace

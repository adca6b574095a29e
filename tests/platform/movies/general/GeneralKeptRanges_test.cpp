#include "movies/general/KeptRanges.h"

#include <gtest/gtest.h>
#include <toolbox/SoundReport.h>

namespace toolbox::movies::general {
namespace {

using Edits = std::vector<std::pair<std::int64_t, std::int64_t>>;  // media start, frames

Edits EditsOf(const SoundTrack& inTrack) {
    Edits edits;
    for (const Edit& edit : inTrack.edits)
        edits.emplace_back(edit.mediaStart, edit.frameCount);
    return edits;
}

TEST(KeptRanges, NothingFed) {
    SoundTrack track;
    KeptRanges().Describe(track);
    EXPECT_EQ((Edits{{0, 0}}), EditsOf(track));
    EXPECT_EQ(kSoundTrimNone, track.trimSource);
}

TEST(KeptRanges, NothingTrimmed) {
    KeptRanges ranges;
    ranges.Add(100, 0, 0);
    ranges.Add(0, 0, 0);
    ranges.Add(50, -3, -4);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ((Edits{{0, 150}}), EditsOf(track));
    EXPECT_EQ(kSoundTrimNone, track.trimSource);
}

TEST(KeptRanges, DelayAndPadding) {
    KeptRanges ranges;
    ranges.Add(100, 30, 0);
    ranges.Add(100, 0, 0);
    ranges.Add(100, 0, 99);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ((Edits{{30, 171}}), EditsOf(track));
    EXPECT_EQ(kSoundTrimCodecHeader, track.trimSource);
    EXPECT_EQ(30, track.framesTrimmedAtStart);
    EXPECT_EQ(99, track.framesTrimmedAtEnd);
}

TEST(KeptRanges, DelayLongerThanAPacket) {
    KeptRanges ranges;
    ranges.Add(100, 250, 0);
    ranges.Add(100, 0, 0);
    ranges.Add(100, 0, 0);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ((Edits{{250, 50}}), EditsOf(track));
}

TEST(KeptRanges, TrimInTheMiddleMakesTwoEdits) {
    KeptRanges ranges;
    ranges.Add(100, 0, 40);
    ranges.Add(100, 10, 0);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ((Edits{{0, 60}, {110, 90}}), EditsOf(track));
    EXPECT_EQ(kSoundTrimCodecHeader, track.trimSource);
    EXPECT_EQ(0, track.framesTrimmedAtStart);
    EXPECT_EQ(0, track.framesTrimmedAtEnd);
}

TEST(KeptRanges, AllTrimmed) {
    KeptRanges ranges;
    ranges.Add(100, 60, 60);
    ranges.Add(100, 0, 1000);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ((Edits{{0, 0}}), EditsOf(track));
    EXPECT_EQ(200, track.framesTrimmedAtStart);
}

TEST(KeptRanges, ThousandsOfTrimsAreNotFollowed) {
    KeptRanges ranges;
    for (int packet = 0; packet < 10000; ++packet)
        ranges.Add(10, 1, 1);
    SoundTrack track;
    ranges.Describe(track);
    EXPECT_EQ(4096u, track.edits.size());
    EXPECT_EQ(99999, track.edits.back().mediaStart + track.edits.back().frameCount);
}

}  // namespace
}  // namespace toolbox::movies::general

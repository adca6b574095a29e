#include <gtest/gtest.h>
#include <track/SoundTrack.h>

#include <cstdint>

namespace {

using toolbox::movies::Edit;
using toolbox::movies::SoundTrack;

TEST(SoundTrackLength, SumsTheEdits) {
    SoundTrack track;
    EXPECT_EQ(0, track.FrameCount());
    track.edits = {Edit{10, 0}, Edit{5, Edit::kEmpty}, Edit{0, 3}, Edit{7, 2}};
    EXPECT_EQ(22, track.FrameCount());
}

TEST(SoundTrackLength, DoesNotWrap) {
    SoundTrack track;
    track.edits = {Edit{INT64_MAX, Edit::kEmpty}, Edit{INT64_MAX, Edit::kEmpty}};
    EXPECT_EQ(INT64_MAX, track.FrameCount());
}

}  // namespace

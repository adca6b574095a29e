#include "Progress.h"

#include <gtest/gtest.h>

namespace {

using tool::ProgressText;

TEST(ProgressText, TellsPercentSpeedAndTimeLeft) {
    // 30 of 60 seconds of sound in half a second.
    EXPECT_EQ(" 50%  60x  0:01 left", ProgressText(30 * 44100, 60 * 44100, 44100, 0.5));
    // A tenth of an hour in 100 seconds: 15 minutes to go.
    EXPECT_EQ(" 10%  4x  15:00 left", ProgressText(360, 3600, 1, 100));
}

TEST(ProgressText, BeginningAndEndTellNoTimeLeft) {
    EXPECT_EQ("  0%  0x", ProgressText(0, 100, 1, 1));
    EXPECT_EQ("100%  100x", ProgressText(100, 100, 1, 1));
    EXPECT_EQ("100%  200x", ProgressText(200, 100, 1, 1));
}

TEST(ProgressText, NothingToDoIsDone) {
    EXPECT_EQ("100%  0x", ProgressText(0, 0, 0, 1));
    EXPECT_EQ("100%  0x", ProgressText(0, -5, 1, 1));
}

TEST(ProgressText, FitsBeyond32Bits) {
    EXPECT_EQ(" 50%  8589934592x  0:01 left",
              ProgressText(std::int64_t{1} << 33, std::int64_t{1} << 34, 1, 1));
}

}  // namespace

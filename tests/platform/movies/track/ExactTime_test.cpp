#include <gtest/gtest.h>
#include <track/ExactTime.h>

#include <cstdint>

namespace {

using toolbox::movies::ScaleRounded;

TEST(ExactTime, RoundsToNearestHalvesUp) {
    EXPECT_EQ(0, ScaleRounded(0, 44100, 600));
    EXPECT_EQ(2, ScaleRounded(3, 1, 2));
    EXPECT_EQ(1, ScaleRounded(1, 1, 2));
    EXPECT_EQ(0, ScaleRounded(1, 1, 3));
    EXPECT_EQ(1, ScaleRounded(2, 1, 3));
    EXPECT_EQ(44100, ScaleRounded(600, 44100, 600));
}

TEST(ExactTime, ProductsPast64BitsAreExact) {
    EXPECT_EQ(INT64_MAX, ScaleRounded(INT64_MAX, 96000, 96000));
    EXPECT_EQ(INT64_MAX / 2 + 1, ScaleRounded(INT64_MAX, 48000, 96000));
}

TEST(ExactTime, PinsWhatDoesNotFit) {
    EXPECT_EQ(INT64_MAX, ScaleRounded(INT64_MAX, 2, 1));
}

TEST(ExactTime, TouchingStretchesStayTouching) {
    std::int64_t previousEnd = 0;
    for (std::int64_t unit = 0; unit < 10000; ++unit) {
        EXPECT_EQ(previousEnd, ScaleRounded(unit, 44100, 601));
        previousEnd = ScaleRounded(unit + 1, 44100, 601);
    }
}

}  // namespace

#include "TimeText.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using tool::ReadTime;

std::int64_t Frames(const char* inText, std::int32_t inRateHz = 44100) {
    const auto time = ReadTime(inText);
    return time ? time->Frames(inRateHz) : -1;
}

TEST(TimeText, SecondsMinutesAndHours) {
    EXPECT_EQ(0, Frames("0"));
    EXPECT_EQ(90 * 44100, Frames("90"));
    EXPECT_EQ(90 * 44100, Frames("1:30"));
    EXPECT_EQ(90 * 44100, Frames("01:30"));
    EXPECT_EQ(5400 * 44100, Frames("90:00"));
    EXPECT_EQ((3600 + 120 + 3) * 44100, Frames("1:02:03"));
    EXPECT_EQ(std::int64_t{100 * 3600} * 44100, Frames("100:00:00"));
}

TEST(TimeText, FractionsToTheNearestFrame) {
    EXPECT_EQ(22050, Frames("0.5"));
    EXPECT_EQ(90 * 44100 + 11025, Frames("1:30.25"));
    // A third of a second is 2666 2/3 frames; halves go upward.
    EXPECT_EQ(2667, Frames("0.333333333333333333", 8000));
    EXPECT_EQ(1, Frames("0.5", 1));
    EXPECT_EQ(0, Frames("0.499999999999999999", 1));
    EXPECT_EQ(1, Frames("0.0625", 8));
    EXPECT_EQ(0, Frames("0.0624", 8));
    EXPECT_EQ(1, Frames("0.999999999999999999", 1));
}

TEST(TimeText, Frames) {
    EXPECT_EQ(44100, Frames("44100f", 8000));
    EXPECT_EQ(0, Frames("0f"));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), Frames("9223372036854775807f"));
}

TEST(TimeText, FarBeyondAnyFileStaysExact) {
    EXPECT_EQ(std::int64_t{9007199254740992} * 1000, Frames("9007199254740992", 1000));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), Frames("9007199254740992", 192000));
}

TEST(TimeText, NothingElseIsATime) {
    for (const char* text : {"",
                             "-1",
                             "+1",
                             " 1",
                             "1 ",
                             "x",
                             "1s",
                             ":",
                             "1:",
                             ":1",
                             "1:60",
                             "1:2:60",
                             "1:60:00",
                             "1:2:3:4",
                             "1.",
                             ".5",
                             "1.-5",
                             "1..5",
                             "1.5:30",
                             "f",
                             "-1f",
                             "1.5f",
                             "1:30f",
                             "1e3",
                             "0x10",
                             "1,5",
                             "1.0000000000000000001",
                             "9007199254740993",
                             "150119987579017:00",
                             "9007199254740992:00",
                             "9007199254740992:00:00",
                             "5000000000000000:00:00",
                             "9223372036854775808f",
                             "99999999999999999999"}) {
        EXPECT_FALSE(ReadTime(text)) << text;
    }
}

}  // namespace

#include "Progress.h"

#include <gtest/gtest.h>

namespace {

using tool::ProgressLine;
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

TEST(ProgressText, WithoutATotalTellsWhatIsRead) {
    constexpr std::int64_t kUnknown = tool::Progress::kUnknown;
    EXPECT_EQ("0.0 MB read", ProgressText(0, kUnknown, 1, 1));
    EXPECT_EQ("17.2 MB read", ProgressText(17200000, kUnknown, 1, 1));
    EXPECT_EQ("4398046.5 MB read", ProgressText(std::int64_t{1} << 42, kUnknown, 1, 1));
}

TEST(ProgressText, FitsBeyond32Bits) {
    EXPECT_EQ(" 50%  8589934592x  0:01 left",
              ProgressText(std::int64_t{1} << 33, std::int64_t{1} << 34, 1, 1));
}

TEST(ProgressLine, IsWholeWhereItFits) {
    EXPECT_EQ("song.m4a   50%", ProgressLine("song.m4a", " 50%", 0));
    EXPECT_EQ("song.m4a   50%", ProgressLine("song.m4a", " 50%", 80));
    EXPECT_EQ("song.m4a   50%", ProgressLine("song.m4a", " 50%", 15));
}

TEST(ProgressLine, ShortensTheNameSoThatTheLastColumnStaysFree) {
    EXPECT_EQ("song....   50%", ProgressLine("song.m4ab", " 50%", 15));
    EXPECT_EQ("song....   50%", ProgressLine(std::string(5000, 'x').replace(0, 5, "song."), " 50%", 15));
    EXPECT_EQ("s...   50%", ProgressLine("song.m4a", " 50%", 11));
}

TEST(ProgressLine, LeavesOutTheNameWhereNothingOfItWouldRemain) {
    EXPECT_EQ(" 50%", ProgressLine("song.m4a", " 50%", 10));
    EXPECT_EQ(" 50%", ProgressLine("song.m4a", " 50%", 5));
    EXPECT_EQ(" 5", ProgressLine("song.m4a", " 50%", 3));
    EXPECT_EQ("", ProgressLine("song.m4a", " 50%", 1));
}

TEST(ProgressLine, CutsNoCharacterInTwo) {
    // Two bytes and one column each; then three bytes and two columns.
    EXPECT_EQ("\u00FC\u00FC...  x", ProgressLine("\u00FC\u00FC\u00FC\u00FC\u00FC\u00FC", "x", 9));
    EXPECT_EQ("\u97F3...  x", ProgressLine("\u97F3\u697D\u697D\u697D", "x", 10));
    EXPECT_EQ("\u97F3\u697D...  x", ProgressLine("\u97F3\u697D\u697D\u697D", "x", 11));
    // No UTF-8: a column for each byte.
    EXPECT_EQ("\xFC\xE4...  x", ProgressLine("\xFC\xE4\xF6\xFC\xE4\xF6", "x", 9));
    EXPECT_EQ("ab\xE4  x", ProgressLine("ab\xE4", "x", 9));
}

}  // namespace

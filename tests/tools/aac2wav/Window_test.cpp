// --start and --duration, byte by byte.
#include "Command.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <cstddef>
#include <string>

namespace {

using namespace tools_test;

constexpr char kTone[] = "tone-44100-stereo.m4a";

// A window that is announced with the whole of what it covers: the same bytes as that slice of the stream.
TEST(Window, IsASliceOfTheWhole) {
    const std::string whole = RunTool({Fixture("odd-44100-stereo.m4a"), "-"}).out;
    ASSERT_EQ(54321u * 4 + 44, whole.size());
    for (const std::size_t start :
         {std::size_t{0}, std::size_t{1}, std::size_t{10}, std::size_t{43}, std::size_t{44}, std::size_t{48},
          std::size_t{4096}, std::size_t{176444}, std::size_t{217324}}) {
        const Outcome outcome =
            RunTool({"--start", std::to_string(start), Fixture("odd-44100-stereo.m4a"), "-"});
        EXPECT_EQ(EX_OK, outcome.exitCode);
        EXPECT_EQ(whole.substr(start), outcome.out) << start;
    }
}

// The way that the documentation shows to cut bytes out: start on the frame before, drop what is before them.
TEST(Window, OnTheFrameBeforeCutsAnyBytesOut) {
    const std::string whole = RunTool({Fixture("odd-44100-stereo.m4a"), "-"}).out;
    for (const std::size_t first : {0, 43, 45, 46, 47, 48, 1001, 217323}) {
        const std::size_t start = first <= 44 ? first : first - first % 4;
        const std::string cut =
            RunTool({"--start", std::to_string(start), Fixture("odd-44100-stereo.m4a"), "-"}).out;
        ASSERT_GT(cut.size(), first - start);
        EXPECT_EQ(whole.substr(first), cut.substr(first - start)) << first;
    }
}

TEST(Window, ArithmeticIsLiteral) {
    const std::string whole = RunTool({Fixture(kTone), "-"}).out;
    // 20 less 11 are 9 frames: a stream of 80 bytes. Header bytes 10..19, the 9 frames, silence up to
    // byte 80.
    const Outcome small = RunTool({"--start", "10", "--duration", "20", Fixture(kTone), "-"});
    ASSERT_EQ(70u, small.out.size());
    EXPECT_EQ(whole.substr(10, 10), small.out.substr(0, 10));
    EXPECT_EQ(whole.substr(44, 36), small.out.substr(10, 36));
    EXPECT_EQ(std::string(24, '\0'), small.out.substr(46));
    // Up to 11, no frames at all: the part of the header, then zeros to byte 44.
    EXPECT_EQ(44u, RunTool({"--duration", "11", Fixture(kTone), "-"}).out.size());
    EXPECT_EQ(44u, RunTool({"--duration", "1", Fixture(kTone), "-"}).out.size());
    // Zero and less: to the end.
    EXPECT_EQ(whole, RunTool({"--duration", "0", Fixture(kTone), "-"}).out);
    EXPECT_EQ(whole, RunTool({"--duration", "-7", Fixture(kTone), "-"}).out);
    EXPECT_EQ(whole, RunTool({"--start", "0", Fixture(kTone), "-"}).out);
    // Longer than the whole is the whole, however long.
    for (const char* duration : {"44111", "44112", "176444", "2147483658", "2147483659", "4294967307",
                                 "4294967400", "9223372036854775807"}) {
        EXPECT_TRUE(whole == RunTool({"--duration", duration, Fixture(kTone), "-"}).out) << duration;
        EXPECT_TRUE(whole.substr(1000) ==
                    RunTool({"--start", "1000", "--duration", duration, Fixture(kTone), "-"}).out)
            << duration;
    }
    // Byte 46 lies in frame 0: its first bytes are handed over, and the count stays that of byte 46.
    const Outcome rounded = RunTool({"--start", "46", Fixture(kTone), "-"});
    EXPECT_EQ(whole.size() - 46, rounded.out.size());
    EXPECT_EQ(whole.substr(44, 1000), rounded.out.substr(0, 1000));
    // At the end and beyond, nothing.
    EXPECT_EQ("", RunTool({"--start", "176444", Fixture(kTone), "-"}).out);
    EXPECT_EQ("", RunTool({"--start", "5000000000", Fixture(kTone), "-"}).out);
    EXPECT_EQ(EX_OK, RunTool({"--start", "5000000000", Fixture(kTone), "-"}).exitCode);
}

}  // namespace

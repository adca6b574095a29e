// Streams at the limits of what a header can tell, and beyond.
#include "Command.h"
#include "WAVFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

#include <csignal>
#include <filesystem>

namespace {

using namespace tools_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kTone[] = "tone-44100-stereo.m4a";

TEST(RF64, SmallStreamsAreWellFormed) {
    const Outcome outcome = RunTool({"--rf64", Fixture(kTone), "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    const WAVFile wav = ParseWAV(outcome.out);
    EXPECT_TRUE(wav.isRF64);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(176480u, outcome.out.size());
    EXPECT_EQ(ParseWAV(RunTool({Fixture(kTone), "-"}).out).sound, wav.sound);
}

TEST(RF64, BeyondFourGigabytesRIFFIsRefused) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({Fixture("huge-8000-mono.aac"), folder / "out.wav"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: " + Fixture("huge-8000-mono.aac") +
                  ": the stream has 4362076204 bytes, a WAV header counts to 4 GiB; --rf64 goes beyond\n",
              outcome.err);
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EQ("4362076204\n", RunTool({"--length", Fixture("huge-8000-mono.aac")}).out);
    EXPECT_EQ("4362076240\n", RunTool({"--length", "--rf64", Fixture("huge-8000-mono.aac")}).out);
    // A window that a header can tell is no problem.
    EXPECT_EQ(44u + 989 * 4, RunTool({"--duration", "1000", Fixture("huge-8000-mono.aac"), "-"}).out.size());
}

// The first bytes of a stream that is too long to wait for.
std::string BeginningOf(const std::vector<std::string>& inArguments, int inByteCount) {
    Command command(inArguments);
    command.out = Command::Stream::kUnread;
    command.Start();
    while (command.WaitingByteCount() < inByteCount && command.IsRunning()) {
    }
    command.Signal(SIGTERM);
    const Outcome outcome = command.Wait();
    EXPECT_EQ(SIGTERM, outcome.signal) << outcome.err;
    EXPECT_GE(outcome.out.size(), static_cast<std::size_t>(inByteCount));
    return outcome.out.substr(0, static_cast<std::size_t>(inByteCount));
}

TEST(RF64, BeyondFourGigabytesTheHeaderIsExact) {
    const std::string header = BeginningOf({"--rf64", Fixture("huge-8000-mono.aac"), "-"}, 80);
    ASSERT_EQ(80u, header.size());
    EXPECT_THAT(header, StartsWith("RF64\xFF\xFF\xFF\xFFWAVEds64"));
    // 0x104000048 bytes after the first 8, 0x104000000 of sound, 0x41000000 frames.
    EXPECT_EQ(std::string("\x48\0\0\x04\x01\0\0\0\0\0\0\x04\x01\0\0\0\0\0\0\x41\0\0\0\0", 24),
              header.substr(20, 24));
    EXPECT_EQ(std::string("data\xFF\xFF\xFF\xFF", 8), header.substr(72, 8));
}

// The size field behind "RIFF" has 32 bits and does not count the first 8 bytes.
TEST(RF64, ARIFFHeaderTellsEverythingThatItsSizeFieldHolds) {
    constexpr int kMaxFrames = 1073741814;  // 4,294,967,300 bytes; one frame more are 4,294,967,304
    const TemporaryFolder folder;
    const std::string input = folder / "bytes.wav";
    // 8 bits, one channel: a byte for each frame.
    WriteFile(input, std::string("RIFF\xFF\xFF\xFF\x7FWAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1F\0\0\x40\x1F\0\0"
                                 "\x01\0\x08\0data\xFF\xFF\xFF\x7F",
                                 44));
    const auto expectTold = [](const std::vector<std::string>& inArguments) {
        const std::string header = BeginningOf(inArguments, 44);
        EXPECT_THAT(header, StartsWith("RIFF\xFC\xFF\xFF\xFFWAVEfmt "));
        EXPECT_THAT(header, EndsWith("data\xD8\xFF\xFF\xFF"));
    };
    std::filesystem::resize_file(input, 44 + kMaxFrames);
    EXPECT_EQ("4294967300\n", RunTool({"--length", input}).out);
    expectTold({input, "-"});
    const std::string huge = Fixture("huge-8000-mono.aac");
    expectTold({"--for", std::to_string(kMaxFrames) + 'f', huge, "-"});

    std::filesystem::resize_file(input, 44 + kMaxFrames + 1);
    for (const auto& arguments :
         {std::vector<std::string>{input, "-"}, {"--for", std::to_string(kMaxFrames + 1) + 'f', huge, "-"}}) {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(EX_DATAERR, outcome.exitCode);
        EXPECT_EQ("", outcome.out);
        EXPECT_THAT(outcome.err, HasSubstr("the stream has 4294967304 bytes"));
    }
}

// Its sizes are counted with 32 bits on the way: they would wrap.
TEST(RF64, AWindowOfBytesHasALowerLimit) {
    const std::string huge = Fixture("huge-8000-mono.aac");
    const std::string header = BeginningOf({"--duration", "1073741823", huge, "-"}, 44);
    EXPECT_THAT(header, StartsWith("RIFF\xF4\xFF\xFF\xFFWAVEfmt "));
    const Outcome outcome = RunTool({"--duration", "1073741824", huge, "-"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("the stream has 4294967296 bytes"));
}

}  // namespace

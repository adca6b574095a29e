// Files that were cut off, as the command tells of them.
#include "Command.h"
#include "WAVFile.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <string>

namespace {

using namespace tools_test;

// A container that only counts its bytes gives no length to what is missing.
TEST(CutFiles, OneOfAnotherKindKeepsWhatIsThereAndIsDamaged) {
    const Outcome outcome = RunTool({Fixture("truncated.wav"), "-"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: " + Fixture("truncated.wav") +
                  ": warning: the file is cut off: it promises more sound than it holds\n",
              outcome.err);
    const WAVFile wav = ParseWAV(outcome.out);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(22050, wav.frameCount);
    EXPECT_EQ(EX_DATAERR, RunTool({"--probe", Fixture("truncated.wav")}).exitCode);
    EXPECT_EQ(EX_OK, RunTool({"--keep-going", Fixture("truncated.wav"), "-"}).exitCode);
    EXPECT_EQ(EX_OK, RunTool({Fixture("tone-16.wav"), "-"}).exitCode);
}

// Whatever the container: in frames of time, in bytes, and as --probe has it.
TEST(CutFiles, APartBeforeTheCutIsWhole) {
    const std::string mp3 = ReadFile(Fixture("tone.mp3"));
    const TemporaryFolder folder;
    WriteFile(folder / "cut.mp3", mp3.substr(0, mp3.size() / 2));
    for (const std::string& cut : {Fixture("truncated.wav"), Fixture("truncated.m4a"), folder / "cut.mp3"}) {
        for (const std::vector<std::string>& part :
             {std::vector<std::string>{"--to", "0.25"}, {"--start", "1000", "--duration", "5000"}}) {
            std::vector<std::string> arguments = part;
            arguments.insert(arguments.end(), {cut, "-"});
            const Outcome outcome = RunTool(arguments);
            EXPECT_EQ(EX_OK, outcome.exitCode) << testing::PrintToString(arguments);
            EXPECT_EQ("", outcome.err);
        }
        EXPECT_EQ(EX_OK, RunTool({"--probe", "--to", "0.25", cut}).exitCode) << cut;
        EXPECT_EQ(EX_DATAERR, RunTool({"--from", "0.25", cut, "-"}).exitCode) << cut;
        EXPECT_EQ(EX_DATAERR, RunTool({"--start", "44", cut, "-"}).exitCode) << cut;
        EXPECT_EQ(EX_DATAERR, RunTool({"--probe", "--from", "0.25", cut}).exitCode) << cut;
    }
}

TEST(CutFiles, RawAACCutWithinAHeaderIsDamaged) {
    const TemporaryFolder folder;
    const std::string whole = ReadFile(Fixture("tone-44100-stereo.aac"));
    const std::size_t last = whole.rfind(whole.substr(0, 3));
    for (const std::size_t leftBytes : {1u, 3u, 6u}) {
        WriteFile(folder / "cut.aac", whole.substr(0, last + leftBytes));
        EXPECT_EQ(EX_DATAERR, RunTool({folder / "cut.aac", "-"}).exitCode) << leftBytes;
    }
    WriteFile(folder / "cut.aac", whole.substr(0, last));
    EXPECT_EQ(EX_OK, RunTool({folder / "cut.aac", "-"}).exitCode);
}

}  // namespace

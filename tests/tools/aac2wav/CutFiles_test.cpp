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

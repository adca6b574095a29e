// Folders as inputs.
#include "Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

#include <filesystem>

namespace {

using namespace tools_test;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::size_t kToneBytes = 32044;

class Recursive : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(Path("music/b/c"));
        for (const char* name : {"music/one.m4a", "music/b/two.m4a", "music/b/c/three.m4a"})
            std::filesystem::copy(Fixture("tone-8000-mono.m4a"), Path(name));
        WriteFile(Path("music/words.m4a"), "words");
        WriteFile(Path("music/notes.txt"), "notes");
    }
    std::string Path(const std::string& inName) const { return mFolder / inName; }
    bool Exists(const std::string& inName) const { return std::filesystem::exists(Path(inName)); }

    TemporaryFolder mFolder;
};

TEST_F(Recursive, KeepsTheTreeAndGoesOn) {
    std::filesystem::create_directory(Path("out"));
    const Outcome outcome = RunTool({"--recursive", Path("music"), Path("out")});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ("", outcome.out);
    EXPECT_THAT(outcome.err, HasSubstr("aac2wav: " + Path("music/words.m4a") + ": "));
    EXPECT_THAT(outcome.err, EndsWith("aac2wav: 4 files: 3 done, 1 failed\n"));
    for (const char* name : {"out/one.wav", "out/b/two.wav", "out/b/c/three.wav"}) {
        EXPECT_EQ(kToneBytes, ReadFile(Path(name)).size()) << name;
    }
    EXPECT_FALSE(Exists("out/words.wav"));
}

TEST_F(Recursive, BesideTheInputs) {
    std::filesystem::remove(Path("music/words.m4a"));
    const Outcome outcome = RunTool({"-r", Path("music")});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("aac2wav: 3 files: 3 done\n", outcome.err);
    EXPECT_TRUE(Exists("music/b/c/three.wav"));
    // Again: nothing is made of what was made, and nothing is replaced.
    const Outcome again = RunTool({"-r", Path("music")});
    EXPECT_EQ(EX_CANTCREAT, again.exitCode);
    EXPECT_THAT(again.err, EndsWith("3 files: 0 done, 3 failed\n"));
    const Outcome skipped = RunTool({"-r", "--no-clobber", Path("music")});
    EXPECT_EQ(EX_OK, skipped.exitCode);
    EXPECT_THAT(skipped.err, EndsWith("3 files: 0 done, 3 skipped\n"));
    EXPECT_EQ("", RunTool({"-r", "-q", "--no-clobber", Path("music")}).err);
}

TEST_F(Recursive, AFolderIsMadeOnlyForWhatIsConverted) {
    std::filesystem::create_directories(Path("bad/deep"));
    WriteFile(Path("bad/deep/words.m4a"), "words");
    std::filesystem::create_directory(Path("out"));
    EXPECT_EQ(EX_DATAERR, RunTool({"-r", Path("bad"), Path("out")}).exitCode);
    EXPECT_FALSE(Exists("out/deep"));
    // Nor does one stay when the disk is full.
    Command full({"-r", Path("music/b"), Path("out")});
    full.fileSizeLimitBytes = 1000;
    EXPECT_EQ(EX_IOERR, full.Run().exitCode);
    EXPECT_TRUE(std::filesystem::is_empty(Path("out")));
}

TEST_F(Recursive, CollidingStemsMakeNothing) {
    std::filesystem::copy(Fixture("tone.mp3"), Path("music/one.mp3"));
    std::filesystem::remove(Path("music/words.m4a"));
    const Outcome outcome = RunTool({"-r", Path("music")});
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_FALSE(Exists("music/one.wav"));
    EXPECT_TRUE(Exists("music/b/two.wav"));
    EXPECT_THAT(outcome.err, EndsWith("4 files: 2 done, 2 failed\n"));
}

TEST_F(Recursive, AFolderThatCannotBeReadIsTold) {
    std::filesystem::remove(Path("music/words.m4a"));
    std::filesystem::permissions(Path("music/b/c"), std::filesystem::perms::none);
    Command command({"-r", Path("music")});
    command.obeysPermissions = true;
    const Outcome outcome = command.Run();
    std::filesystem::permissions(Path("music/b/c"), std::filesystem::perms::all);
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(Path("music/b/c/") + ": Permission denied"));
    EXPECT_TRUE(Exists("music/b/two.wav"));
}

// Such a folder tells its names, and nothing about them: they were taken for gone.
TEST_F(Recursive, NamesThatCannotBeLookedAtAreTold) {
    std::filesystem::remove(Path("music/words.m4a"));
    std::filesystem::permissions(Path("music/b/c"), std::filesystem::perms(0444));
    Command command({"-r", Path("music")});
    command.obeysPermissions = true;
    const Outcome outcome = command.Run();
    std::filesystem::permissions(Path("music/b/c"), std::filesystem::perms::all);
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(Path("music/b/c/three.m4a") + ": Permission denied"));
    EXPECT_THAT(outcome.err, EndsWith("aac2wav: 3 files: 2 done, 1 failed\n"));
    EXPECT_TRUE(Exists("music/b/two.wav"));
}

TEST_F(Recursive, ProbesACollection) {
    const Outcome outcome = RunTool({"--probe", "--json", "-r", Path("music")});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ(4, std::count(outcome.out.begin(), outcome.out.end(), '\n'));
}

TEST_F(Recursive, AFolderIsNoInputUnlessAskedFor) {
    const Outcome outcome = RunTool({Path("music"), Path("out.wav")});
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("--recursive"));
}

TEST_F(Recursive, NothingToDoIsDone) {
    std::filesystem::create_directory(Path("empty"));
    const Outcome outcome = RunTool({"-r", Path("empty")});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("aac2wav: 0 files: 0 done\n", outcome.err);
}

TEST_F(Recursive, ProgressCountsTheFiles) {
    std::filesystem::create_symlink(Fixture("long.m4a"), Path("music/b/long.m4a"));
    std::filesystem::create_directory(Path("out"));
    Command command({"-r", Path("music/b"), Path("out")});
    command.err = Command::Stream::kTerminal;
    EXPECT_THAT(command.Run().err, HasSubstr("\r\033[K1 of 3  long.m4a  "));
}

}  // namespace

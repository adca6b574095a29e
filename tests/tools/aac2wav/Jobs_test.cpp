#include "Jobs.h"

#include "Command.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

using tool::Failure;
using tool::Job;
using tools_test::TemporaryFolder;
using tools_test::WriteFile;

std::vector<Job> Plan(const std::vector<std::string>& inArguments) {
    std::vector<const char*> pointers{"aac2wav"};
    for (const std::string& argument : inArguments)
        pointers.push_back(argument.c_str());
    tool::Options options;
    EXPECT_TRUE(ReadOptions(static_cast<int>(pointers.size()), pointers.data(), options));
    return tool::PlanJobs(options);
}

int Refusal(const std::vector<std::string>& inArguments) {
    try {
        Plan(inArguments);
    } catch (const Failure& failure) {
        EXPECT_STRNE("", failure.what());
        return failure.ExitCode();
    }
    return EX_OK;
}

// The codes of each job's own refusal.
std::vector<int> Refusals(const std::vector<std::string>& inArguments) {
    std::vector<int> codes;
    for (const Job& job : Plan(inArguments))
        codes.push_back(job.refusal ? job.refusal->ExitCode() : EX_OK);
    return codes;
}

std::vector<std::pair<std::string, std::string>> Names(const std::vector<std::string>& inArguments) {
    std::vector<std::pair<std::string, std::string>> names;
    for (const Job& job : Plan(inArguments)) {
        EXPECT_FALSE(job.refusal) << job.refusal->what();
        names.emplace_back(job.input, job.output);
    }
    return names;
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(PlanJobs, OutputIsBesideTheInputWhenLeftOut) {
    EXPECT_EQ((Pairs{{"/music/song.m4a", "/music/song.wav"}}), Names({"/music/song.m4a"}));
    EXPECT_EQ((Pairs{{"song.m4a", "song.wav"}}), Names({"song.m4a"}));
    EXPECT_EQ((Pairs{{"song.m4a", "song.raw"}}), Names({"--raw", "song.m4a"}));
    EXPECT_TRUE(Plan({"song.m4a"})[0].isDerived);
    EXPECT_FALSE(Plan({"song.m4a", "song.wav"})[0].isDerived);
}

TEST(PlanJobs, StandardInputGoesToStandardOutput) {
    EXPECT_EQ((Pairs{{"-", "-"}}), Names({"-"}));
    EXPECT_EQ((Pairs{{"-", "-"}}), Names({"-", "-"}));
    EXPECT_EQ((Pairs{{"-", "out.wav"}}), Names({"-", "out.wav"}));
    EXPECT_EQ((Pairs{{"-", "out.wav"}}), Names({"-o", "out.wav", "-"}));
    EXPECT_EQ((Pairs{{"song.m4a", "-"}}), Names({"song.m4a", "/dev/stdout"}));
}

TEST(PlanJobs, StandardInputHasSeveralNames) {
    for (const char* name : {"/dev/stdin", "/dev/fd/0", "/proc/self/fd/0"}) {
        EXPECT_EQ((Pairs{{"-", "-"}}), Names({name}));
        EXPECT_EQ((Pairs{{"-", "out.wav"}}), Names({name, "out.wav"}));
        EXPECT_EQ((Pairs{{"-", "out.wav"}}), Names({"-o", "out.wav", name}));
        EXPECT_EQ((Pairs{{"-", ""}}), Names({"--length", name}));
        EXPECT_EQ(EX_USAGE, Refusal({"--probe", "-", name}));
    }
}

TEST(PlanJobs, StandardInputHasNoNameToDeriveFrom) {
    const TemporaryFolder folder;
    EXPECT_EQ((std::vector<int>{EX_USAGE, EX_OK}), Refusals({"-", "song.m4a", folder.Path()}));
    EXPECT_EQ(EX_USAGE, Refusal({"-", "-", folder.Path()}));
    EXPECT_EQ(EX_USAGE, Refusal({"--probe", "-", "-"}));
}

TEST(PlanJobs, FolderTakesEachUnderItsName) {
    const TemporaryFolder folder;
    EXPECT_EQ((Pairs{{"a/x.m4a", folder / "x.wav"}}), Names({"a/x.m4a", folder.Path()}));
    const Pairs both = {{"a/x.m4a", folder / "x.wav"}, {"y.m4a", folder / "y.wav"}};
    EXPECT_EQ(both, Names({"a/x.m4a", "y.m4a", folder / ""}));
    EXPECT_EQ(both, Names({"-o", folder / "", "a/x.m4a", "y.m4a"}));
    for (const Job& job : Plan({"a/x.m4a", "y.m4a", folder.Path()})) {
        EXPECT_TRUE(job.isDerived);
    }
}

TEST(PlanJobs, EveryNameIsAnInputWithAnOutputOption) {
    const TemporaryFolder folder;
    WriteFile(folder / "b.m4a", "x");
    EXPECT_EQ((Pairs{{"a.m4a", "out.wav"}}), Names({"-o", "out.wav", "a.m4a"}));
    EXPECT_EQ(EX_CANTCREAT, Refusal({"-o", "out.wav", "a.m4a", "b.m4a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"-o", folder / "b.m4a", "a.m4a", "c.m4a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"-o", "-", "a.m4a", "b.m4a"}));
}

TEST(PlanJobs, SeveralInputsNeedAFolder) {
    const TemporaryFolder folder;
    WriteFile(folder / "file", "");
    EXPECT_EQ(EX_USAGE, Refusal({"a", "b", folder / "file"}));
    EXPECT_EQ(EX_USAGE, Refusal({"a", "b", "-"}));
    EXPECT_EQ(EX_CANTCREAT, Refusal({"a", "b", folder / "missing"}));
}

TEST(PlanJobs, NoOutputIsAnInput) {
    const TemporaryFolder folder;
    const std::string song = folder / "song.wav";
    WriteFile(song, "x");
    WriteFile(folder / "other.m4a", "x");
    std::filesystem::create_symlink(song, folder / "link");
    std::filesystem::create_hard_link(song, folder / "twin");
    using Codes = std::vector<int>;
    EXPECT_EQ(Codes{EX_USAGE}, Refusals({song}));
    EXPECT_EQ(Codes{EX_USAGE}, Refusals({"--force", song, song}));
    EXPECT_EQ(Codes{EX_USAGE}, Refusals({song, folder / "link"}));
    EXPECT_EQ(Codes{EX_USAGE}, Refusals({song, folder / "twin"}));
    EXPECT_EQ(Codes{EX_USAGE}, Refusals({song, folder.Path()}));
    // That one alone: the others go on.
    EXPECT_EQ((Codes{EX_USAGE, EX_OK}), Refusals({song, folder / "other.m4a", folder.Path()}));
    EXPECT_EQ(Codes{EX_OK}, Refusals({"elsewhere/song.m4a", folder.Path()}));
}

TEST(PlanJobs, InputsOfOneNameMakeNothing) {
    const TemporaryFolder folder;
    using Codes = std::vector<int>;
    EXPECT_EQ((Codes{EX_CANTCREAT, EX_OK, EX_CANTCREAT}),
              Refusals({"a/song.m4a", "c/other.m4a", "b/song.m4a", folder.Path()}));
    EXPECT_EQ((Codes{EX_CANTCREAT, EX_CANTCREAT}),
              Refusals({"--force", "song.m4a", "song.aac", folder.Path()}));
}

// Nothing is made of what is there, and so nobody collides.
TEST(PlanJobs, WhatIsSkippedCollidesWithNothing) {
    const TemporaryFolder folder;
    using Codes = std::vector<int>;
    const std::vector<std::string> both = {"--no-clobber", "b.m4a", "b.aac", folder.Path()};
    EXPECT_EQ((Codes{EX_CANTCREAT, EX_CANTCREAT}), Refusals(both));
    WriteFile(folder / "b.wav", "x");
    EXPECT_EQ((Codes{EX_OK, EX_OK}), Refusals(both));
    EXPECT_EQ((Codes{EX_CANTCREAT, EX_CANTCREAT}), Refusals({"b.m4a", "b.aac", folder.Path()}));
}

// Spelled in two ways, one output looked like two, and the second took the first one's place.
TEST(PlanJobs, OneOutputInTwoSpellingsIsMadeOfNeither) {
    const TemporaryFolder folder;
    const std::string music = folder / "music";
    std::filesystem::create_directory(music);
    std::filesystem::create_directory_symlink("music", folder / "linked");
    WriteFile(music + "/x.m4a", "x");
    WriteFile(folder / "x.mp3", "x");
    using Codes = std::vector<int>;
    const Codes neither = {EX_CANTCREAT, EX_CANTCREAT};
    for (const char* const spelling : {"music", "./music", "music/", "music/../music", "linked"}) {
        EXPECT_EQ(neither, Refusals({"-r", folder / "x.mp3", folder / spelling, music})) << spelling;
        EXPECT_EQ(neither, Refusals({"-r", "--force", folder / "x.mp3", folder / spelling, music}));
        EXPECT_EQ((Codes{EX_OK, EX_OK}), Refusals({"-r", folder / "y.mp3", folder / spelling, music}));
    }
    // Two names of one file, when they are followed.
    std::filesystem::create_symlink("x.wav", music + "/y.wav");
    EXPECT_EQ(neither, Refusals({"--force", folder / "x.mp3", folder / "y.mp3", music}));
    std::filesystem::create_symlink("/dev/null", music + "/v.wav");
    std::filesystem::create_symlink("/dev/null", music + "/w.wav");
    EXPECT_EQ((Codes{EX_OK, EX_OK}), Refusals({"--force", folder / "v.mp3", folder / "w.mp3", music}));
}

TEST(PlanJobs, OneInputNamedTwiceIsConvertedOnce) {
    const TemporaryFolder folder;
    const std::string music = folder / "music";
    std::filesystem::create_directories(music + "/sub");
    std::filesystem::create_directory(folder / "out");
    const std::string input = music + "/sub/x.m4a";
    WriteFile(input, "x");
    EXPECT_EQ((Pairs{{input, music + "/sub/x.wav"}}),
              Names({"-r", music, folder / "music/./sub/../", "-o", music}));
    EXPECT_EQ((Pairs{{input, folder / "out/x.wav"}}),
              Names({input, input, folder / "music//sub/x.m4a", folder / "out"}));
    // In the tree it has two places.
    EXPECT_EQ((Pairs{{input, folder / "out/sub/x.wav"}, {input, folder / "out/x.wav"}}),
              Names({"-r", music, music + "/sub", folder / "out"}));
}

TEST(PlanJobs, ASlipOfTheShellIsNoOutput) {
    const TemporaryFolder folder;
    const std::string second = folder / "b.wav";
    EXPECT_EQ(EX_OK, Refusal({"a.wav", second}));  // nothing there yet
    WriteFile(second, "");
    EXPECT_EQ(EX_USAGE, Refusal({"a.wav", second}));
    EXPECT_EQ(EX_USAGE, Refusal({"a.WAV", second}));
    EXPECT_EQ(EX_OK, Refusal({"a.m4a", second}));
    EXPECT_EQ(EX_OK, Refusal({"--force", "a.wav", second}));
    EXPECT_EQ(EX_OK, Refusal({"-o", second, "a.wav"}));
    std::filesystem::remove(second);
    std::filesystem::create_symlink("nothing", second);
    EXPECT_EQ(EX_USAGE, Refusal({"a.wav", second}));
}

TEST(PlanJobs, NearlyOneExtensionIsASlipToo) {
    const TemporaryFolder folder;
    WriteFile(folder / "b.wave", "");
    WriteFile(folder / "b.WAV", "");
    WriteFile(folder / "rec2", "");
    EXPECT_EQ(EX_USAGE, Refusal({"a.wav", folder / "b.wave"}));
    EXPECT_EQ(EX_USAGE, Refusal({"a.wave", folder / "b.WAV"}));
    EXPECT_EQ(EX_USAGE, Refusal({"rec1", folder / "rec2"}));
    EXPECT_EQ(EX_OK, Refusal({"rec1", folder / "rec3"}));
    EXPECT_EQ(EX_OK, Refusal({"-o", folder / "rec2", "rec1"}));
    EXPECT_EQ(EX_OK, Refusal({"--force", "rec1", folder / "rec2"}));
    // What the shell finds by a pattern are files.
    ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
    EXPECT_EQ(EX_OK, Refusal({"-", folder / "rec2"}));
    EXPECT_EQ(EX_OK, Refusal({folder / "pipe", folder / "rec2"}));
    for (const std::string& output :
         {std::string("/dev/null"), std::string("/dev/stdout"), folder / "pipe"}) {
        EXPECT_EQ(EX_OK, Refusal({"rec1", output})) << output;
    }
}

std::string Reason(const std::vector<std::string>& inArguments) {
    try {
        Plan(inArguments);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

// No hint leads to a song's end.
TEST(PlanJobs, WhoNamesTwoInputsIsToldHowToConvertBoth) {
    const TemporaryFolder folder;
    for (const char* name : {"b.m4a", "b.mp3", "b.wav"})
        WriteFile(folder / name, "a song");
    const std::string both = "exists, and may be an input: to convert both, name a folder behind them";
    EXPECT_EQ(both, Reason({"a.m4a", folder / "b.m4a"}));
    EXPECT_EQ(both, Reason({"a.m4a", folder / "b.mp3"}));
    EXPECT_EQ(both, Reason({"--no-clobber", "a.m4a", folder / "b.m4a"}));
    EXPECT_EQ(both + "; -o takes it as the output", Reason({"a.wav", folder / "b.wav"}));
    EXPECT_EQ("would be no m4a file: name it b.wav", Reason({"-o", folder / "b.m4a", "a.m4b"}));
    EXPECT_EQ("would be no m4a file: name it c.wav, or --force it", Reason({"a.m4b", "c.m4a"}));
}

TEST(PlanJobs, OutputsOfOtherFormatsAreRefused) {
    const TemporaryFolder folder;
    for (const char* name : {"out.flac", "out.mp3", "out.M4A", "out.aiff", "out.voc"}) {
        EXPECT_EQ(EX_USAGE, Refusal({"a.m4b", name})) << name;
        EXPECT_EQ(EX_USAGE, Refusal({"-o", name, "a.m4b"})) << name;
        EXPECT_EQ(EX_OK, Refusal({"--force", "a.m4b", name})) << name;
    }
    for (const char* name : {"out.wav", "out.WAV", "out.wave", "out", "out.raw", "out.bin", "mp3"}) {
        EXPECT_EQ(EX_OK, Refusal({"a.m4b", name})) << name;
    }
    ASSERT_EQ(0, mkfifo((folder / "pipe.mp3").c_str(), 0600));
    EXPECT_EQ(EX_OK, Refusal({"a.m4b", folder / "pipe.mp3"}));
    std::filesystem::create_directory(folder / "folder.mp3");
    EXPECT_EQ((Pairs{{"a.m4b", folder / "folder.mp3/a.wav"}}), Names({"a.m4b", folder / "folder.mp3"}));
}

TEST(PlanJobs, APartNeedsANamedOutput) {
    const TemporaryFolder folder;
    for (const char* option : {"--start", "--duration", "--from", "--to", "--for"}) {
        EXPECT_EQ(EX_USAGE, Refusal({option, "5", "song.m4a"})) << option;
        EXPECT_EQ(EX_USAGE, Refusal({option, "5", "song.m4a", folder.Path()})) << option;
        EXPECT_EQ(EX_OK, Refusal({option, "5", "song.m4a", "part.wav"})) << option;
        EXPECT_EQ(EX_OK, Refusal({option, "5", "-o", "-", "song.m4a"})) << option;
        EXPECT_EQ(EX_OK, Refusal({option, "5", "-"})) << option;
    }
}

TEST(PlanJobs, JSONAndSoundDoNotShareStandardOutput) {
    EXPECT_EQ(EX_USAGE, Refusal({"--json", "song.m4a", "-"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--json", "-"}));
    EXPECT_EQ(EX_OK, Refusal({"--json", "song.m4a", "out.wav"}));
}

// A folder with every kind of thing in it, and what is an input of those.
class PlanFolderTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* folder : {"music/b", "music/.hidden", "music/out", "elsewhere"})
            std::filesystem::create_directories(mFolder / folder);
        for (const char* file : {"music/z.m4a", "music/a.MP3", "music/notes.txt", "music/.secret.m4a",
                                 "music/m4a", "music/b/c.aac", "music/.hidden/d.m4a", "music/out/e.m4a",
                                 "elsewhere/f.m4a", "music/.aac2wav-123456"})
            WriteFile(mFolder / file, "x");
        std::filesystem::create_symlink("../elsewhere", mFolder / "music/link");
        std::filesystem::create_symlink("../elsewhere/f.m4a", mFolder / "music/linked.m4a");
        ASSERT_EQ(0, mkfifo((mFolder / "music/pipe.m4a").c_str(), 0600));
    }
    std::string Path(const std::string& inName) const { return mFolder / inName; }

    TemporaryFolder mFolder;
};

TEST_F(PlanFolderTest, IntoAFolderKeepsTheTree) {
    EXPECT_EQ((Pairs{{Path("music/a.MP3"), Path("music/out/a.wav")},
                     {Path("music/linked.m4a"), Path("music/out/linked.wav")},
                     {Path("music/z.m4a"), Path("music/out/z.wav")},
                     {Path("music/b/c.aac"), Path("music/out/b/c.wav")}}),
              Names({"--recursive", Path("music"), Path("music/out")}));
}

TEST_F(PlanFolderTest, BesideTheInputs) {
    const Pairs beside = {{Path("music/a.MP3"), Path("music/a.wav")},
                          {Path("music/linked.m4a"), Path("music/linked.wav")},
                          {Path("music/z.m4a"), Path("music/z.wav")},
                          {Path("music/b/c.aac"), Path("music/b/c.wav")},
                          {Path("music/out/e.m4a"), Path("music/out/e.wav")}};
    EXPECT_EQ(beside, Names({"-r", Path("music")}));
    EXPECT_EQ(beside, Names({"-r", Path("music"), Path("music")}));
}

TEST_F(PlanFolderTest, IsNoInputUnlessAskedFor) {
    EXPECT_EQ((Pairs{{Path("music"), Path("music.wav")}}), Names({Path("music")}));
}

TEST_F(PlanFolderTest, ProbesWhatIsInIt) {
    EXPECT_EQ(5u, Plan({"--probe", "-r", Path("music")}).size());
}

TEST_F(PlanFolderTest, WhatWasDerivedBeforeIsNoInput) {
    const std::string wav = tools_test::RunTool({tools_test::Fixture("tone-8000-mono.m4a"), "-"}).out;
    WriteFile(Path("elsewhere/f.wav"), wav);
    WriteFile(Path("elsewhere/master.wav"), wav);
    EXPECT_EQ((Pairs{{Path("elsewhere/f.m4a"), Path("elsewhere/f.wav")}}), Names({"-r", Path("elsewhere")}));
    EXPECT_EQ((Pairs{{Path("elsewhere/f.m4a"), Path("music/out/f.wav")},
                     {Path("elsewhere/master.wav"), Path("music/out/master.wav")}}),
              Names({"-r", Path("elsewhere"), Path("music/out")}));
}

TEST_F(PlanFolderTest, AMasterOfTheSameNameCollides) {
    WriteFile(Path("elsewhere/f.wav"), tools_test::ReadFile(tools_test::Fixture("tone-24.wav")));
    EXPECT_EQ((std::vector<int>{EX_CANTCREAT, EX_CANTCREAT}),
              Refusals({"-r", Path("elsewhere"), Path("music/out")}));
}

TEST_F(PlanFolderTest, AFolderIsNeededForOne) {
    EXPECT_EQ(EX_CANTCREAT, Refusal({"-r", Path("music"), Path("missing")}));
    EXPECT_EQ(EX_USAGE, Refusal({"-r", Path("music"), Path("elsewhere/f.m4a")}));
}

}  // namespace

#include "Options.h"

#include "Command.h"
#include "Failure.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using tool::Failure;
using tool::Options;
using tool::ReadOptions;
using tool::Task;
using tool::WAVName;
using tools_test::TemporaryFolder;
using tools_test::WriteFile;

Options Read(std::vector<std::string> inArguments) {
    std::vector<const char*> pointers{"aac2wav"};
    for (const std::string& argument : inArguments) {
        pointers.push_back(argument.c_str());
    }
    Options options;
    EXPECT_TRUE(ReadOptions(static_cast<int>(pointers.size()), pointers.data(), options));
    return options;
}

int Refusal(std::vector<std::string> inArguments) {
    try {
        Read(std::move(inArguments));
    } catch (const Failure& failure) {
        EXPECT_STRNE("", failure.what());
        return failure.ExitCode();
    }
    return EX_OK;
}

TEST(WAVName, ReplacesTheExtension) {
    EXPECT_EQ("song.wav", WAVName("song.m4a", ""));
    EXPECT_EQ("song.wav", WAVName("/music/song.AAC", ""));
    EXPECT_EQ("out/song.one.wav", WAVName("a/song.one.mp4", "out/"));
    EXPECT_EQ("song.wav", WAVName("song.12345", ""));
}

TEST(WAVName, KeepsWhatIsNoExtension) {
    EXPECT_EQ("song.wav", WAVName("song", ""));
    EXPECT_EQ("song..wav", WAVName("song.", ""));
    EXPECT_EQ(".hidden.wav", WAVName(".hidden", ""));
    EXPECT_EQ("Mr. Blue.wav", WAVName("Mr. Blue", ""));
    EXPECT_EQ("song.123456.wav", WAVName("song.123456", ""));
    EXPECT_EQ("song.\xC3\xA4.wav", WAVName("song.\xC3\xA4", ""));
    EXPECT_EQ("song.wav", WAVName("folder.d/song", ""));
}

TEST(ReadOptions, Defaults) {
    const Options options = Read({"song.m4a", "-"});
    EXPECT_EQ(Task::kConvert, options.task);
    EXPECT_FALSE(options.hasWindow);
    EXPECT_FALSE(options.isRF64);
    EXPECT_FALSE(options.isJSON);
    EXPECT_FALSE(options.isQuiet);
    EXPECT_FALSE(options.keepsGoing);
    EXPECT_FALSE(options.replacesAnything);
    ASSERT_EQ(1u, options.jobs.size());
    EXPECT_EQ("song.m4a", options.jobs[0].input);
    EXPECT_EQ("-", options.jobs[0].output);
}

TEST(ReadOptions, EveryFlag) {
    EXPECT_TRUE(Read({"--rf64", "a", "b"}).isRF64);
    EXPECT_TRUE(Read({"--keep-going", "a", "b"}).keepsGoing);
    EXPECT_TRUE(Read({"--force", "a", "b"}).replacesAnything);
    EXPECT_TRUE(Read({"--quiet", "a", "b"}).isQuiet);
    EXPECT_TRUE(Read({"-q", "a", "b"}).isQuiet);
    EXPECT_EQ(Task::kLength, Read({"--length", "a"}).task);
    EXPECT_EQ(Task::kProbe, Read({"--probe", "a"}).task);
    EXPECT_TRUE(Read({"--probe", "--json", "a"}).isJSON);
}

TEST(ReadOptions, WindowIs64Bit) {
    const Options options = Read({"--start", "5000000000", "--duration", "9223372036854775807", "a", "b"});
    EXPECT_TRUE(options.hasWindow);
    EXPECT_EQ(5000000000, options.startBytes);
    EXPECT_EQ(9223372036854775807, options.durationBytes);
    EXPECT_TRUE(Read({"--start", "0", "a", "b"}).hasWindow);
    EXPECT_EQ(-1, Read({"--duration", "-1", "a", "b"}).durationBytes);
    EXPECT_EQ(-1, Read({"--duration=-1", "a", "b"}).durationBytes);
}

TEST(ReadOptions, RefusesWindowsThatAreNone) {
    EXPECT_EQ(EX_USAGE, Refusal({"--start", "-1", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--start", "x", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--start", "1.5", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--duration", "9223372036854775808", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--duration", "", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"a", "b", "--start"}));
}

TEST(ReadOptions, RefusesWhatMakesNoSense) {
    EXPECT_EQ(EX_USAGE, Refusal({}));
    EXPECT_EQ(EX_USAGE, Refusal({"--nonsense", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"-x", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"a", ""}));
    EXPECT_EQ(EX_USAGE, Refusal({"--length", "a", "b"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--length", "--probe", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--json", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--json", "--length", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--length", "--start", "1", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--probe", "--duration", "1", "a"}));
    EXPECT_EQ(EX_USAGE, Refusal({"--rf64", "--start", "1", "a", "b"}));
}

TEST(ReadOptions, OutputIsBesideTheInputWhenLeftOut) {
    EXPECT_EQ("/music/song.wav", Read({"/music/song.m4a"}).jobs[0].output);
    EXPECT_EQ("song.wav", Read({"song.m4a"}).jobs[0].output);
}

TEST(ReadOptions, LeadingDashIsANameAfterTwoDashes) {
    const Options options = Read({"--", "-q", "--length"});
    EXPECT_EQ("-q", options.jobs[0].input);
    EXPECT_EQ("--length", options.jobs[0].output);
}

TEST(ReadOptions, FolderTakesEachUnderItsName) {
    const TemporaryFolder folder;
    const Options one = Read({"a/x.m4a", folder.Path()});
    EXPECT_EQ(folder.Path("x.wav"), one.jobs.at(0).output);
    const Options two = Read({"a/x.m4a", "y.m4a", folder.Path() + "/"});
    ASSERT_EQ(2u, two.jobs.size());
    EXPECT_EQ("y.m4a", two.jobs[1].input);
    EXPECT_EQ("y.wav", std::filesystem::path(two.jobs[1].output).filename());
}

TEST(ReadOptions, SeveralInputsNeedAFolder) {
    const TemporaryFolder folder;
    WriteFile(folder.Path("file"), "");
    EXPECT_EQ(EX_USAGE, Refusal({"a", "b", folder.Path("file")}));
    EXPECT_EQ(EX_USAGE, Refusal({"a", "b", "-"}));
    EXPECT_EQ(EX_CANTCREAT, Refusal({"a", "b", folder.Path("missing")}));
}

TEST(ReadOptions, NoOutputIsAnInput) {
    const TemporaryFolder folder;
    const std::string song = folder.Path("song.wav");
    WriteFile(song, "x");
    std::filesystem::create_symlink(song, folder.Path("link"));
    std::filesystem::create_hard_link(song, folder.Path("twin.wav"));
    EXPECT_EQ(EX_USAGE, Refusal({song}));
    EXPECT_EQ(EX_USAGE, Refusal({song, song}));
    EXPECT_EQ(EX_USAGE, Refusal({song, folder.Path("link")}));
    EXPECT_EQ(EX_USAGE, Refusal({song, folder.Path("twin.wav")}));
    EXPECT_EQ(EX_USAGE, Refusal({song, folder.Path()}));
    // The second would be made of the first, which is itself an input.
    EXPECT_EQ(EX_USAGE, Refusal({"elsewhere/song.m4a", song, folder.Path()}));
    EXPECT_EQ("song.wav",
              std::filesystem::path(Read({"elsewhere/song.m4a", folder.Path()}).jobs[0].output).filename());
}

TEST(ReadOptions, NoTwoInputsMakeOneOutput) {
    const TemporaryFolder folder;
    EXPECT_EQ(EX_USAGE, Refusal({"a/song.m4a", "b/song.m4a", folder.Path()}));
    EXPECT_EQ(EX_USAGE, Refusal({"song.m4a", "song.aac", folder.Path()}));
}

// The name of a file that begins with a dash is what an unknown option often is.
TEST(Options, TellsWhichArgumentIsNoOption) {
    const auto subject = [](std::vector<std::string> inArguments) {
        try {
            Read(std::move(inArguments));
        } catch (const Failure& failure) {
            EXPECT_EQ("no such option (a file of that name: ./" + failure.Subject() + ")", failure.what());
            return failure.Subject();
        }
        return std::string("nothing refused");
    };
    EXPECT_EQ("-x.m4a", subject({"-x.m4a"}));
    EXPECT_EQ("-x.m4a", subject({"a.m4a", "-x.m4a", "b"}));
    EXPECT_EQ("-qx.m4a", subject({"-qx.m4a", "b"}));
    EXPECT_EQ("-quiet song.m4a", subject({"-quiet song.m4a"}));
    EXPECT_EQ("--nonsense", subject({"--nonsense", "a"}));
    EXPECT_EQ("--nonsense=3", subject({"--nonsense=3", "a"}));
}

}  // namespace

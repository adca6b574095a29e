#include "Options.h"

#include "Failure.h"

#include <gtest/gtest.h>

namespace {

using tool::Failure;
using tool::Options;
using tool::ReadOptions;
using tool::Task;

Options Read(const std::vector<std::string>& inArguments) {
    std::vector<const char*> pointers{"aac2wav"};
    for (const std::string& argument : inArguments)
        pointers.push_back(argument.c_str());
    Options options;
    EXPECT_TRUE(ReadOptions(static_cast<int>(pointers.size()), pointers.data(), options));
    return options;
}

int Refusal(const std::vector<std::string>& inArguments) {
    try {
        Read(inArguments);
    } catch (const Failure& failure) {
        EXPECT_STRNE("", failure.what());
        return failure.ExitCode();
    }
    return EX_OK;
}

std::string RefusalText(const std::vector<std::string>& inArguments) {
    try {
        Read(inArguments);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(ReadOptions, Defaults) {
    const Options options = Read({"song.m4a", "-"});
    EXPECT_EQ(Task::kConvert, options.task);
    EXPECT_FALSE(options.output);
    EXPECT_FALSE(options.hasWindow);
    EXPECT_FALSE(options.HasCut());
    EXPECT_FALSE(options.IsHeaderless());
    EXPECT_FALSE(options.isRF64);
    EXPECT_FALSE(options.isRaw);
    EXPECT_FALSE(options.isJSON);
    EXPECT_FALSE(options.isQuiet);
    EXPECT_FALSE(options.keepsGoing);
    EXPECT_FALSE(options.replacesAnything);
    EXPECT_FALSE(options.skipsExisting);
    EXPECT_FALSE(options.isRecursive);
    EXPECT_FALSE(options.keepsTime);
    EXPECT_FALSE(options.isSynced);
    EXPECT_EQ(std::int64_t{4} << 30, options.spoolLimitBytes);
    EXPECT_EQ((std::vector<std::string>{"song.m4a", "-"}), options.names);
}

TEST(ReadOptions, EveryFlag) {
    EXPECT_TRUE(Read({"--rf64", "a", "b"}).isRF64);
    EXPECT_TRUE(Read({"--raw", "a", "b"}).isRaw);
    EXPECT_TRUE(Read({"--tags", "a", "b"}).hasTags);
    EXPECT_TRUE(Read({"--keep-going", "a", "b"}).keepsGoing);
    EXPECT_TRUE(Read({"--force", "a", "b"}).replacesAnything);
    EXPECT_TRUE(Read({"--no-clobber", "a", "b"}).skipsExisting);
    EXPECT_TRUE(Read({"--recursive", "a", "b"}).isRecursive);
    EXPECT_TRUE(Read({"-r", "a", "b"}).isRecursive);
    EXPECT_TRUE(Read({"--preserve", "a", "b"}).keepsTime);
    EXPECT_TRUE(Read({"--sync", "a", "b"}).isSynced);
    EXPECT_TRUE(Read({"--quiet", "a", "b"}).isQuiet);
    EXPECT_TRUE(Read({"-q", "a", "b"}).isQuiet);
    EXPECT_EQ(Task::kLength, Read({"--length", "a"}).task);
    EXPECT_EQ(Task::kProbe, Read({"--probe", "a"}).task);
    EXPECT_TRUE(Read({"--probe", "--json", "a"}).isJSON);
    EXPECT_TRUE(Read({"--json", "a"}).isJSON);
    EXPECT_EQ("b", Read({"-o", "b", "a"}).output);
    EXPECT_EQ("b", Read({"a", "--output=b"}).output);
}

TEST(ReadOptions, WindowIs64Bit) {
    const Options options = Read({"--start", "5000000000", "--duration", "9223372036854775807", "a", "b"});
    EXPECT_TRUE(options.hasWindow);
    EXPECT_EQ(5000000000, options.startBytes);
    EXPECT_EQ(9223372036854775807, options.durationBytes);
    EXPECT_TRUE(options.IsHeaderless());
    EXPECT_TRUE(Read({"--start", "0", "a", "b"}).hasWindow);
    EXPECT_FALSE(Read({"--start", "0", "a", "b"}).IsHeaderless());
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

TEST(ReadOptions, TimesAreRead) {
    const Options options = Read({"--from", "1:30", "--to", "44100f", "a", "b"});
    EXPECT_TRUE(options.HasCut());
    EXPECT_EQ(90 * 8000, options.from->Frames(8000));
    EXPECT_EQ(44100, options.to->Frames(8000));
    EXPECT_EQ(4000, Read({"--for", "0.5", "a", "b"}).cutLength->Frames(8000));
    for (const char* option : {"--from", "--to", "--for"}) {
        EXPECT_EQ(EX_USAGE, Refusal({option, "soon", "a", "b"})) << option;
        EXPECT_EQ(EX_USAGE, Refusal({option, "-1", "a", "b"})) << option;
    }
}

TEST(ReadOptions, SpoolLimitTakesUnits) {
    EXPECT_EQ(0, Read({"--spool-limit", "0", "a", "b"}).spoolLimitBytes);
    EXPECT_EQ(1000, Read({"--spool-limit", "1000", "a", "b"}).spoolLimitBytes);
    EXPECT_EQ(3 << 10, Read({"--spool-limit", "3K", "a", "b"}).spoolLimitBytes);
    EXPECT_EQ(3 << 20, Read({"--spool-limit", "3M", "a", "b"}).spoolLimitBytes);
    EXPECT_EQ(std::int64_t{3} << 30, Read({"--spool-limit", "3G", "a", "b"}).spoolLimitBytes);
    EXPECT_EQ(std::int64_t{8388607} << 40, Read({"--spool-limit", "8388607T", "a", "b"}).spoolLimitBytes);
    for (const char* text : {"", "-1", "G", "1.5G", "3KB", "8388608T", "9223372036854775808"}) {
        EXPECT_EQ(EX_USAGE, Refusal({"--spool-limit", text, "a", "b"})) << text;
    }
}

TEST(ReadOptions, RefusesWhatMakesNoSense) {
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"--nonsense", "a"},
        {"-x", "a"},
        {"", "b"},
        {"a", ""},
        {"-o", "", "a"},
        {"--length", "a", "b"},
        {"--length", "--recursive", "a"},
        {"--length", "--probe", "a"},
        {"--json", "--length", "a"},
        {"--length", "--start", "1", "a"},
        {"--probe", "--duration", "1", "a"},
        {"--rf64", "--start", "1", "a", "b"},
        {"--raw", "--start", "1", "a", "b"},
        {"--raw", "--rf64", "a", "b"},
        {"--tags", "--raw", "a", "b"},
        {"--tags", "--start", "1", "a", "b"},
        {"--tags", "--duration", "1", "a", "b"},
        {"--from", "1", "--start", "1", "a", "b"},
        {"--to", "1", "--duration", "1", "a", "b"},
        {"--to", "1", "--for", "1", "a", "b"},
        {"--force", "--no-clobber", "a", "b"},
        {"-o", "b", "--length", "a"},
        {"-o", "b", "--probe", "a"},
        {"-o", "b", "-o", "c", "a"},
        {"--start", "1", "--start", "2", "a", "b"},
        {"--json=3", "a", "b"},
    };
    for (const std::vector<std::string>& line : lines) {
        EXPECT_EQ(EX_USAGE, Refusal(line)) << testing::PrintToString(line);
    }
}

TEST(ReadOptions, TellsInWordsWhatIsWrong) {
    tool::SetCommandName("aac2wav");
    EXPECT_EQ("--start is given twice (see aac2wav --help)",
              RefusalText({"--start", "1", "--start", "2", "a", "b"}));
    EXPECT_EQ("--json takes no value (see aac2wav --help)", RefusalText({"--json=3", "a"}));
    EXPECT_EQ("--start needs BYTES (see aac2wav --help)", RefusalText({"a", "--start"}));
    EXPECT_EQ("name a file to convert (see aac2wav --help)", RefusalText({"-o", "b"}));
}

TEST(ReadOptions, LeadingDashIsANameAfterTwoDashes) {
    EXPECT_EQ((std::vector<std::string>{"-q", "--length"}), Read({"--", "-q", "--length"}).names);
}

// The name of a file that begins with a dash is what an unknown option often is.
TEST(Options, TellsWhichArgumentIsNoOption) {
    const auto subject = [](const std::vector<std::string>& inArguments) {
        try {
            Read(inArguments);
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

#include "Arguments.h"

#include "Failure.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

struct Read {
    bool isQuiet = false;
    bool isHelp = false;
    std::optional<std::string> start;
    Names names;
    std::string refusal;
    std::string subject;
};

std::vector<tool::ArgumentOption> TableOf(Read& outRead) {
    return {{'q', "quiet", nullptr, "Say less", &outRead.isQuiet},
            {'s', "start", "BYTES", "Begin there", &outRead.start},
            {0, "help", nullptr, "Print this", &outRead.isHelp, true}};
}

Read ReadAll(const Names& inArguments) {
    std::vector<const char*> pointers{"command"};
    for (const std::string& argument : inArguments)
        pointers.push_back(argument.c_str());
    Read read;
    try {
        tool::ReadArguments(static_cast<int>(pointers.size()), pointers.data(), TableOf(read), read.names);
    } catch (const tool::Failure& failure) {
        EXPECT_EQ(EX_USAGE, failure.ExitCode());
        read.refusal = failure.what();
        read.subject = failure.Subject();
    }
    return read;
}

TEST(Arguments, OptionsAndNamesInAnyOrder) {
    const Read read = ReadAll({"a", "--quiet", "b", "--start", "7", "-"});
    EXPECT_TRUE(read.isQuiet);
    EXPECT_EQ("7", read.start);
    EXPECT_EQ((Names{"a", "b", "-"}), read.names);
}

TEST(Arguments, EveryFormOfAValue) {
    EXPECT_EQ("7", ReadAll({"--start=7"}).start);
    EXPECT_EQ("", ReadAll({"--start="}).start);
    EXPECT_EQ("a=b", ReadAll({"--start=a=b"}).start);
    EXPECT_EQ("7", ReadAll({"-s", "7"}).start);
    EXPECT_EQ("7", ReadAll({"-s7"}).start);
    EXPECT_EQ("-7", ReadAll({"--start", "-7"}).start);
    EXPECT_EQ("--quiet", ReadAll({"--start", "--quiet"}).start);
    const Read together = ReadAll({"-qs", "7", "a"});
    EXPECT_TRUE(together.isQuiet);
    EXPECT_EQ("7", together.start);
    EXPECT_EQ(Names{"a"}, together.names);
}

TEST(Arguments, BehindTwoDashesAreNamesOnly) {
    const Read read = ReadAll({"-q", "--", "-q", "--", "--start"});
    EXPECT_EQ((Names{"-q", "--", "--start"}), read.names);
    EXPECT_EQ("", read.refusal);
}

TEST(Arguments, NothingAtAll) {
    Read read;
    tool::ReadArguments(0, nullptr, TableOf(read), read.names);
    EXPECT_TRUE(read.names.empty());
    EXPECT_TRUE(ReadAll({}).names.empty());
}

TEST(Arguments, HelpEndsTheReading) {
    const Read read = ReadAll({"--help", "--nonsense"});
    EXPECT_TRUE(read.isHelp);
    EXPECT_EQ("", read.refusal);
}

TEST(Arguments, RefusalsTellWhatIsWrong) {
    tool::SetCommandName("aac2wav");
    EXPECT_EQ("--start needs BYTES (see aac2wav --help)", ReadAll({"--start"}).refusal);
    EXPECT_EQ("--start needs BYTES (see aac2wav --help)", ReadAll({"-s"}).refusal);
    EXPECT_EQ("--start is given twice (see aac2wav --help)", ReadAll({"-s7", "--start=7"}).refusal);
    EXPECT_EQ("--quiet takes no value (see aac2wav --help)", ReadAll({"--quiet=1"}).refusal);
    for (const char* argument : {"-x", "-qx", "--quie", "--Quiet", "--quiets", "-xq"}) {
        const Read read = ReadAll({argument});
        EXPECT_EQ(argument, read.subject);
        EXPECT_EQ("no such option (a file of that name: ./" + read.subject + ")", read.refusal);
    }
}

TEST(Arguments, HelpHasALineForEach) {
    Read read;
    EXPECT_EQ(
        "  -q, --quiet               Say less\n"
        "  -s, --start BYTES         Begin there\n"
        "      --help                Print this\n",
        tool::OptionsHelp(TableOf(read)));
}

}  // namespace

// The command's own texts: help, version, manual page and completions tell of the same options.
#include "Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

#include <cstdlib>
#include <regex>
#include <set>

namespace {

using namespace tools_test;
using testing::HasSubstr;

std::string Help() {
    const Outcome outcome = RunTool({"--help"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.err);
    return outcome.out;
}

std::set<std::string> Matches(const std::string& inText, const char* inPattern) {
    const std::regex pattern(inPattern);
    std::set<std::string> found;
    for (std::sregex_iterator match(inText.begin(), inText.end(), pattern), end; match != end; ++match)
        found.insert((*match)[1]);
    return found;
}

std::set<std::string> OptionsInHelp() {
    return Matches(Help(), "--([a-z][a-z0-9-]*)");
}

std::string Source(const std::string& inName) {
    return ReadFile(std::string(AAC2WAV_SOURCES) + '/' + inName);
}

// Of paragraphs that begin "\fB\-q\fR, \fB\-\-quiet\fR".
std::set<std::string> OptionsInManual(const std::string& inName) {
    std::set<std::string> options;
    for (const std::string& escaped :
         Matches(Source(inName), R"(\n\.TP\n(?:\\fB\\-\S\\fR, )?\\fB\\-\\-([a-z0-9\\-]+)\\fR)"))
        options.insert(std::regex_replace(escaped, std::regex(R"(\\-)"), "-"));
    return options;
}

TEST(Documents, VersionIsOneLine) {
    const Outcome outcome = RunTool({"--version"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("aac2wav " MIRTAL_VERSION "\n", outcome.out);
    EXPECT_EQ(outcome.out, RunTool({"-V"}).out);
}

TEST(Documents, HelpGoesToStandardOutput) {
    EXPECT_THAT(Help(), HasSubstr("aac2wav"));
    EXPECT_EQ(Help(), RunTool({"-h"}).out);
    Command full({"--help"});
    full.outPath = "/dev/full";
    EXPECT_EQ(EX_IOERR, full.Run().exitCode);
}

TEST(Documents, UsageErrorsAreOneLine) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"--nonsense", "a"},
                                                      {"--start", "x", "a"},
                                                      {"--json", "--length", "a"}}) {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(EX_USAGE, outcome.exitCode);
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ(0u, outcome.err.find("aac2wav: "));
        EXPECT_EQ(outcome.err.size() - 1, outcome.err.find('\n')) << outcome.err;
    }
}

TEST(Documents, ManualPageHasEveryOption) {
    const std::set<std::string> options = OptionsInHelp();
    EXPECT_LT(20u, options.size());
    EXPECT_EQ(options, OptionsInManual("aac2wav.1"));
}

TEST(Documents, ManualPageHasEveryExitCode) {
    EXPECT_EQ((std::set<std::string>{"0", "64", "65", "66", "71", "73", "74"}),
              Matches(Source("aac2wav.1"), R"(\n\.TP\n(\d+)\n)"));
}

TEST(Documents, ManualPageIsWellFormed) {
    for (const char* page : {"aac2wav.1", "../rez-pack/rez-pack.1"}) {
        const std::string command = std::string("mandoc -T lint -W style '" AAC2WAV_SOURCES "/") + page + "'";
        EXPECT_EQ(0, std::system(command.c_str())) << page;
    }
}

// Formatters put the name of a system there unless a page says what stands there.
TEST(Documents, ManualPagesNameNoSystem) {
    for (const char* name : {"aac2wav", "rez-pack"}) {
        const std::string page = std::string(name) == "aac2wav" ? "aac2wav.1" : "../rez-pack/rez-pack.1";
        const std::regex title(R"re(\.TH [A-Z0-9-]+ 1 \d{4}-\d\d-\d\d "([^"]+)" "User Commands"\n)re");
        const std::string source = Source(page);
        std::smatch match;
        ASSERT_TRUE(std::regex_search(source, match, title)) << page;
        EXPECT_EQ(std::string(name) + " " MIRTAL_VERSION, match[1]);
        for (const char* section :
             {"NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "FILES", "EXAMPLES", "SEE ALSO"}) {
            EXPECT_THAT(source, HasSubstr(std::string("\n.SH ") + section + '\n')) << page;
        }
    }
    EXPECT_THAT(Source("aac2wav.1"), HasSubstr("\n.SH ENVIRONMENT\n"));
}

TEST(Documents, CompletionsHaveEveryOption) {
    const std::set<std::string> options = OptionsInHelp();
    EXPECT_EQ(options, Matches(Source("completions/_aac2wav"), R"([\n )',{]*--([a-z0-9-]+)[\[\}])"));
    EXPECT_EQ(options, Matches(Source("completions/aac2wav.fish"), R"( -l ([a-z0-9-]+))"));
    std::set<std::string> bash = Matches(Source("completions/aac2wav.bash"), R"(--([a-z][a-z0-9-]+))");
    EXPECT_EQ(options, bash);
}

TEST(Documents, BashCompletes) {
    const auto complete = [](const std::string& inWord) {
        const std::string script = ". '" AAC2WAV_SOURCES "/completions/aac2wav.bash'; COMP_WORDS=(aac2wav '" +
                                   inWord + "'); COMP_CWORD=1; _aac2wav; printf '%s ' \"${COMPREPLY[@]}\"";
        FILE* const pipe =
            popen(("bash -c '" + std::regex_replace(script, std::regex("'"), "'\\''") + "'").c_str(), "r");
        char text[1024] = {};
        const std::size_t count = fread(text, 1, sizeof text - 1, pipe);
        EXPECT_EQ(0, pclose(pipe));
        return std::string(text, count);
    };
    EXPECT_EQ("--probe ", complete("--pro"));
    EXPECT_EQ("--start ", complete("--st"));
    EXPECT_EQ("--no-clobber ", complete("--no"));
    const TemporaryFolder folder;
    WriteFile(folder / "song one.m4a", "");
    EXPECT_EQ(folder / "song one.m4a" + ' ', complete(folder / "so"));
}

}  // namespace

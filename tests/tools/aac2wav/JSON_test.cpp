// --json for conversions: one object a line, on standard output.
#include "Command.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sysexits.h>

#include <filesystem>
#include <sstream>

namespace {

using namespace tools_test;
using nlohmann::json;

std::vector<json> Lines(const std::string& inText) {
    std::vector<json> objects;
    std::istringstream lines(inText);
    for (std::string line; std::getline(lines, line);)
        objects.push_back(json::parse(line));
    return objects;
}

class ConversionsAsJSON : public testing::Test {
  protected:
    std::string Path(const std::string& inName) const { return mFolder / inName; }

    TemporaryFolder mFolder;
    const std::string mTone = Fixture("tone-8000-mono.m4a");
};

TEST_F(ConversionsAsJSON, TellsWhatWasMade) {
    const Outcome outcome = RunTool({"--json", mTone, Path("out.wav")});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.err);
    const std::vector<json> lines = Lines(outcome.out);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(mTone, lines[0]["file"].get<std::string>());
    EXPECT_EQ(Path("out.wav"), lines[0]["output"].get<std::string>());
    EXPECT_EQ("AAC LC", lines[0]["sound"]["format"]);
    EXPECT_EQ(32044, lines[0]["stream"]["bytes"]);
    EXPECT_EQ(8000, lines[0]["stream"]["frames"]);
    EXPECT_EQ(0, lines[0]["damage"]["packets"]);
    EXPECT_FALSE(lines[0].contains("error"));
    EXPECT_FALSE(lines[0].contains("skipped"));
}

TEST_F(ConversionsAsJSON, OneObjectForEachFile) {
    WriteFile(Path("truncated.wav"), "");
    const Outcome outcome = RunTool({"--json", "--no-clobber", mTone, Path("none.m4a"), Fixture("words.m4a"),
                                     Fixture("damaged.m4a"), Fixture("truncated.m4a"), Path("")});
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    const std::vector<json> lines = Lines(outcome.out);
    ASSERT_EQ(5u, lines.size());
    EXPECT_EQ(32044, lines[0]["stream"]["bytes"]);
    EXPECT_EQ("No such file or directory", lines[1]["error"]);
    EXPECT_EQ(Path("none.m4a"), lines[1]["file"].get<std::string>());
    EXPECT_TRUE(lines[2].contains("error"));
    EXPECT_EQ(1, lines[3]["damage"]["packets"]);
    EXPECT_EQ(true, lines[4]["skipped"]);
    EXPECT_EQ(Path("truncated.wav"), lines[4]["output"].get<std::string>());
}

TEST_F(ConversionsAsJSON, TellsWhatIsWrongWithTheOutput) {
    WriteFile(Path("tone-8000-mono.wav"), "");
    const Outcome outcome = RunTool({"--json", mTone, Path("")});
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_EQ(Path("tone-8000-mono.wav") + ": exists; --force replaces it, --no-clobber skips it",
              Lines(outcome.out).at(0)["error"].get<std::string>());
}

TEST_F(ConversionsAsJSON, NamesThatAreNotUTF8AreDistinct) {
    for (const char* name : {"a\xFF.m4a", "a\xFE.m4a"})
        std::filesystem::copy(mTone, Path(name));
    const Outcome outcome = RunTool({"--json", Path("a\xFF.m4a"), Path("a\xFE.m4a"), Path("")});
    EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
    const std::vector<json> lines = Lines(outcome.out);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(lines[0]["file"], lines[1]["file"]);
    EXPECT_EQ(Path("a%FF.m4a"), lines[0]["fileBytes"].get<std::string>());
    EXPECT_EQ(Path("a%FE.m4a"), lines[1]["fileBytes"].get<std::string>());
    EXPECT_EQ(Path("a%FF.wav"), lines[0]["outputBytes"].get<std::string>());
    EXPECT_FALSE(Lines(RunTool({"--probe", "--json", mTone}).out).at(0).contains("fileBytes"));
    const json probed = Lines(RunTool({"--probe", "--json", Path("a\xFF.m4a")}).out).at(0);
    EXPECT_EQ(Path("a%FF.m4a"), probed["fileBytes"].get<std::string>());
}

TEST_F(ConversionsAsJSON, EachByteOfANameThatIsNoTextIsShown) {
    // Two that begin nothing; then three of four of one character.
    const std::string path = Path("\xFF\xFE-\xF0\x9F\x98-");
    const json probed = Lines(RunTool({"--probe", "--json", path}).out).at(0);
    EXPECT_EQ(Path("\uFFFD\uFFFD-\uFFFD\uFFFD\uFFFD-"), probed["file"].get<std::string>());
    EXPECT_EQ(Path("%FF%FE-%F0%9F%98-"), probed["fileBytes"].get<std::string>());
}

TEST_F(ConversionsAsJSON, NamesDoNotReachATerminalAsTheyAre) {
    const std::string name = "a\xE2\x80\xAE\xC2\x9B.m4a";
    std::filesystem::copy(mTone, Path(name));
    const Outcome outcome = RunTool({"--probe", "--json", Path(name)});
    EXPECT_EQ(Path(name), Lines(outcome.out).at(0)["file"].get<std::string>());
    EXPECT_EQ(std::string::npos, outcome.out.find('\xC2'));
    EXPECT_NE(std::string::npos, outcome.out.find("\\u202e\\u009b"));
    const std::string text = RunTool({"--probe", Path(name)}).out;
    EXPECT_EQ(Path("a??.m4a"), text.substr(0, text.find('\n')));
}

TEST_F(ConversionsAsJSON, NeedsStandardOutputForItself) {
    EXPECT_EQ(EX_USAGE, RunTool({"--json", mTone, "-"}).exitCode);
    EXPECT_EQ(EX_USAGE, RunTool({"--json", "--length", mTone}).exitCode);
    Command full({"--json", mTone, Path("out.wav")});
    full.outPath = "/dev/full";
    const Outcome outcome = full.Run();
    EXPECT_EQ(EX_IOERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: standard output: No space left on device\n", outcome.err);
    EXPECT_EQ(32044u, std::filesystem::file_size(Path("out.wav")));
}

}  // namespace

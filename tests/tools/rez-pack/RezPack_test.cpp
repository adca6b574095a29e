// The resource packer: descriptions and bytes, and the command as its users run it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <toolbox/Resources.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "Files.h"
#include "Forms.h"
#include "Records.h"
#include "platform/files/TemporaryFolder.h"

namespace {

using namespace rez_pack;
using test_files::TemporaryFolder;
using namespace std::string_literals;

constexpr char kAlertDescription[] = R"({"resources": [
    {"type": "STR ", "id": 128, "name": "greeting", "attributes": ["purgeable", "preload"], "string": "Grüße"},
    {"type": "STR#", "id": -5, "strings": ["one", "", "three"]},
    {"type": "ALRT", "id": 251, "bounds": [40, -40, 200, 400], "items": 251,
     "stages": [{"default": 1, "shown": true, "sound": 0}, {"default": 2, "shown": false, "sound": 3},
                {"default": 1, "shown": true, "sound": 1}, {"default": 2, "shown": true, "sound": 2}]},
    {"type": "DITL", "id": 251, "items": [
        {"kind": "button", "bounds": [120, 10, 140, 70], "text": "Quit"},
        {"kind": "staticText", "bounds": [0, 0, 20, 300], "enabled": false, "text": "^0 ^1"},
        {"kind": "icon", "bounds": [10, 10, 42, 42], "resource": -1}]},
    {"type": "tést", "id": 1, "data": "00FF7A"}]})";

std::string TextOf(const Bytes& inBytes) {
    return {inBytes.begin(), inBytes.end()};
}

std::vector<Record> Parsed(const std::string& inText, CFStringEncoding inEncoding = kCFStringEncodingUTF8) {
    return RecordsOf(JSON::parse(inText), inEncoding);
}

TEST(RezPackRecords, DescriptionAsBytes) {
    const std::vector<Record> records = Parsed(kAlertDescription);
    ASSERT_EQ(5U, records.size());
    EXPECT_EQ(FourChars("STR "), records[0].type);
    EXPECT_EQ(128, records[0].id);
    EXPECT_EQ("greeting", records[0].name);
    EXPECT_EQ(resPurgeable | resPreload, records[0].attributes);
    EXPECT_EQ(
        "\7Gr\xC3\xBC\xC3\x9F"
        "e",
        TextOf(records[0].data));
    EXPECT_EQ(-5, records[1].id);
    EXPECT_EQ("\0\3\3one\0\5three"s, TextOf(records[1].data));
    EXPECT_EQ("\0\x28\xFF\xD8\0\xC8\1\x90\0\xFB\xE5\xB4"s, TextOf(records[2].data));
    EXPECT_EQ(
        "\0\2"
        "\0\0\0\0\0\x78\0\x0A\0\x8C\0\x46\4\4Quit"
        "\0\0\0\0\0\0\0\0\0\x14\1\x2C\x88\5^0 ^1\0"
        "\0\0\0\0\0\x0A\0\x0A\0\x2A\0\x2A\x20\2\xFF\xFF"s,
        TextOf(records[3].data));
    EXPECT_EQ(0x748E7374U, records[4].type) << "types are Mac Roman";
    EXPECT_EQ("\0\xFF\x7A"s, TextOf(records[4].data));
}

TEST(RezPackRecords, ComesBackAsDescribed) {
    EXPECT_EQ(JSON::parse(kAlertDescription),
              DescriptionOf(Parsed(kAlertDescription), kCFStringEncodingUTF8));
}

TEST(RezPackRecords, MacRoman) {
    const std::vector<Record> records =
        Parsed(R"({"resources": [{"type": "STR ", "id": 1, "name": "é", "string": "ü"}]})",
               kCFStringEncodingMacRoman);
    EXPECT_EQ("\1\x9F", TextOf(records[0].data));
    EXPECT_EQ("\x8E", records[0].name);
    const JSON shown = DescriptionOf(records, kCFStringEncodingMacRoman);
    EXPECT_EQ("ü", shown["resources"][0]["string"]);
    EXPECT_EQ("é", shown["resources"][0]["name"]);
}

// Whatever the bytes are, what is shown makes the same bytes again.
TEST(RezPackRecords, AnyBytesComeBack) {
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        Record record;
        const ResType types[] = {FourChars("STR "), FourChars("STR#"), FourChars("ALRT"), FourChars("DITL"),
                                 static_cast<ResType>(random())};
        record.type = types[random() % 5];
        record.id = static_cast<SInt16>(random());
        record.data.resize(random() % 40);
        for (UInt8& byte : record.data)
            byte = static_cast<UInt8>(random() % 4 == 0 ? random() : random() % 6);
        const JSON shown = JSON::parse(DescriptionOf({record}, kCFStringEncodingUTF8).dump());
        const std::vector<Record> again = RecordsOf(shown, kCFStringEncodingUTF8);
        ASSERT_EQ(1U, again.size());
        EXPECT_EQ(record.type, again[0].type) << shown;
        EXPECT_EQ(record.id, again[0].id);
        EXPECT_EQ(record.data, again[0].data) << shown;
    }
}

TEST(RezPackRecords, WhatIsNotOfTheFormIsShownAsData) {
    struct Case {
        ResType type;
        std::string data;
    };
    for (const Case& one :
         {Case{FourChars("STR "), ""}, Case{FourChars("STR "), "\3ab"}, Case{FourChars("STR "), "\1ab"},
          Case{FourChars("STR "), "\1\xFF"}, Case{FourChars("STR#"), "\0\2\1a"s},
          Case{FourChars("ALRT"), std::string(11, '\0')}, Case{FourChars("DITL"), "\0"s},
          Case{FourChars("DITL"), "\0\0\0\0\0\1\0\0\0\0\0\0\0\0\4\0"s}}) {
        Record record;
        record.type = one.type;
        record.data.assign(one.data.begin(), one.data.end());
        EXPECT_TRUE(DescriptionOf({record}, kCFStringEncodingUTF8)["resources"][0].contains("data"))
            << one.data;
    }
}

TEST(RezPackRecords, DescriptionsThatCannotBeFollowed) {
    const std::string longText(256, 'x');
    for (const std::string& resource :
         {R"({"id": 1, "data": ""})"s,
          R"({"type": "abc", "id": 1, "data": ""})"s,
          R"({"type": "abcde", "id": 1, "data": ""})"s,
          R"({"type": "ab本d", "id": 1, "data": ""})"s,
          R"({"type": "abcd", "data": ""})"s,
          R"({"type": "abcd", "id": 32768, "data": ""})"s,
          R"({"type": "abcd", "id": "1", "data": ""})"s,
          R"({"type": "abcd", "id": 1.5, "data": ""})"s,
          R"({"type": "abcd", "id": 1})"s,
          R"({"type": "abcd", "id": 1, "data": "0"})"s,
          R"({"type": "abcd", "id": 1, "data": "0G"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "attributes": ["changed"]})"s,
          R"({"type": "STR ", "id": 1})"s,
          R"({"type": "STR ", "id": 1, "string": 5})"s,
          R"({"type": "STR ", "id": 1, "string": ")" + longText + "\"}",
          R"({"type": "STR#", "id": 1, "strings": "x"})"s,
          R"({"type": "STR#", "id": 1, "strings": [1]})"s,
          R"({"type": "ALRT", "id": 1, "bounds": [1,2,3], "items": 1, "stages": []})"s,
          R"({"type": "ALRT", "id": 1, "bounds": [1,2,3,4], "items": 1, "stages": []})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "knob", "bounds": [0,0,0,0]}]})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "icon", "bounds": [0,0,0,0]}]})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "button", "bounds": [0,0,0,99999]}]})"s,
          "7"s,
          "[]"s}) {
        EXPECT_THROW(Parsed(R"({"resources": [)" + resource + "]}"), DescriptionError) << resource;
    }
    for (const char* whole : {"7", "[]", "{}", R"({"resources": 5})"})
        EXPECT_THROW(Parsed(whole), DescriptionError) << whole;
    EXPECT_THROW(
        Parsed(R"({"resources": [{"type": "STR ", "id": 1, "string": "本"}]})", kCFStringEncodingMacRoman),
        DescriptionError);
}

class RezPackTest : public testing::Test {
  protected:
    struct Outcome {
        int exitCode;
        std::string text;  // both streams
    };
    static Outcome Run(const std::string& inArguments) {
        FILE* pipe = popen((REZ_PACK_COMMAND " 2>&1 "s + inArguments).c_str(), "r");
        std::string text;
        char bytes[4096];
        for (std::size_t count; (count = fread(bytes, 1, sizeof bytes, pipe)) > 0;)
            text.append(bytes, count);
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }
    static std::string Contents(const std::string& inPath) {
        std::ifstream file(inPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder mFolder;
    std::string mDescription = mFolder.MakeFile("in.json", kAlertDescription);
    std::string mOut = mFolder / "out.rsrc";
};

TEST_F(RezPackTest, MakesAndShows) {
    EXPECT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const Outcome shown = Run("show " + mOut);
    EXPECT_EQ(0, shown.exitCode);
    EXPECT_EQ(JSON::parse(kAlertDescription), JSON::parse(shown.text));
}

TEST_F(RezPackTest, ReplacesWhatTheFileHolds) {
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const std::string other = mFolder.MakeFile(
        "other.json",
        R"({"resources": [{"type": "abcd", "id": 1, "attributes": ["protected"], "data": "01"}]})");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(0, Run("make " + other + " " + mOut).exitCode) << "a protected one too";
        EXPECT_EQ(JSON::parse(Contents(other)), JSON::parse(Run("show " + mOut).text));
    }
}

TEST_F(RezPackTest, ResourceFork) {
    const std::string file = mFolder.MakeFile("program", "its data");
    EXPECT_EQ(0, Run("make --fork " + mDescription + " " + file).exitCode);
    EXPECT_EQ("its data", Contents(file));
    EXPECT_EQ(JSON::parse(kAlertDescription), JSON::parse(Run("show --fork " + file).text));
    EXPECT_NE(0, Run("show " + file).exitCode);
    EXPECT_NE(0, Run("make --fork " + mDescription + " " + mOut).exitCode) << "of no file";
    EXPECT_FALSE(std::filesystem::exists(mOut));
}

TEST_F(RezPackTest, Encoding) {
    ASSERT_EQ(0, Run("make --encoding mac-roman " + mDescription + " " + mOut).exitCode);
    EXPECT_NE(std::string::npos, Contents(mOut).find("\5Gr\x9F\xA7"
                                                     "e"));
    EXPECT_EQ(JSON::parse(kAlertDescription), JSON::parse(Run("show --encoding mac-roman " + mOut).text));
}

TEST_F(RezPackTest, LeavesOtherFilesAlone) {
    const std::string file = mFolder.MakeFile("text", "no resource file at all");
    const Outcome outcome = Run("make " + mDescription + " " + file);
    EXPECT_EQ(65, outcome.exitCode);
    EXPECT_EQ("rez-pack: " + file + ": is no resource file\n", outcome.text);
    EXPECT_EQ("no resource file at all", Contents(file));
}

TEST_F(RezPackTest, TellsWhatIsWrongWithADescription) {
    for (const auto& [text, reason] : {
             std::pair(R"({"resources": [{"type": "STR ", "id": 1, "string": 5}]})"s,
                       "resource 1: a text is needed, not 5"s),
             std::pair(R"({"resources": [{"type": "STR ", "id": 1}]})"s,
                       "resource 1: key 'string' not found"s),
             std::pair("7"s, "the description is not an object with a list \"resources\""s),
             std::pair("{"s,
                       "parse error at line 1, column 2: syntax error while parsing object key - unexpected "
                       "end of input; expected string literal"s),
         }) {
        const std::string file = mFolder.MakeFile("bad.json", text);
        const Outcome outcome = Run("make " + file + " " + mOut);
        EXPECT_EQ(65, outcome.exitCode);
        EXPECT_EQ("rez-pack: " + file + ": " + reason + "\n", outcome.text);
    }
    EXPECT_FALSE(std::filesystem::exists(mOut));
}

TEST_F(RezPackTest, TellsWhatIsWrongWithAFile) {
    const std::string none = mFolder / "none", folder = mFolder.MakeFolder("folder"),
                      empty = mFolder.MakeFile("empty", "");
    struct {
        std::string arguments;
        int exitCode;
        std::string message;
    } const cases[] = {
        {"make " + none + " " + mOut, 66, none + ": No such file or directory"},
        {"make " + folder + " " + mOut, 66, folder + ": Is a directory"},
        {"make " + mDescription + " " + none + "/out", 73, none + "/out: No such file or directory"},
        {"make " + mDescription + " " + folder, 66, folder + ": is a folder"},
        {"make --fork " + mDescription + " " + none, 66, none + ": No such file or directory"},
        {"show " + none, 66, none + ": No such file or directory"},
        {"show " + folder, 66, folder + ": is a folder"},
        {"show " + empty, 65, empty + ": is no resource file"},
        {"show " + mDescription, 65, mDescription + ": is no resource file"},
    };
    for (const auto& [arguments, exitCode, message] : cases) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(exitCode, outcome.exitCode) << arguments;
        EXPECT_EQ("rez-pack: " + message + "\n", outcome.text) << arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(mOut));
}

TEST_F(RezPackTest, TellsOfAFullDevice) {
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const Outcome outcome = Run("show " + mOut + " >/dev/full");
    EXPECT_EQ(74, outcome.exitCode);
    EXPECT_EQ("rez-pack: standard output: No space left on device\n", outcome.text);
}

TEST_F(RezPackTest, Arguments) {
    for (const char* arguments : {"", "make", "show", "show --encoding klingon x", "pack a b"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(64, outcome.exitCode) << arguments;
        EXPECT_TRUE(outcome.text.starts_with("rez-pack: ")) << outcome.text;
        EXPECT_TRUE(outcome.text.ends_with(" (see rez-pack --help)\n")) << outcome.text;
    }
    EXPECT_TRUE(Run("--version").text.starts_with("rez-pack 1."));
    for (const char* arguments : {"--help", "make --help", "show --help"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(0, outcome.exitCode) << arguments;
        EXPECT_NE(std::string::npos, outcome.text.find("Usage: rez-pack")) << outcome.text;
    }
}

TEST_F(RezPackTest, ExampleOfTheManual) {
    const std::string manual = Contents(REZ_PACK_SOURCES "/rez-pack.1");
    const std::size_t begin = manual.find(".nf\n") + 4;
    const std::string example = manual.substr(begin, manual.find(".fi\n") - begin);
    ASSERT_EQ(0, Run("make " + mFolder.MakeFile("alerts.json", example) + " " + mOut).exitCode) << example;
    EXPECT_EQ(2U, ReadResources(mOut, Where::kDataFork).size());
}

TEST_F(RezPackTest, LosesNothingThatCannotBeReplaced) {
    std::string names = R"({"resources": [)";
    for (int i = 0; i < 300; ++i)
        names += (i == 0 ? "" : ",") + R"({"type": "abcd", "id": )"s + std::to_string(i) +
                 R"(, "data": "", "name": ")" + std::string(255, 'n') + "\"}";
    const std::string longOnes = mFolder.MakeFile("long.json", names + "]}");
    const Outcome outcome = Run("make " + longOnes + " " + mOut);
    EXPECT_EQ(74, outcome.exitCode);
    EXPECT_EQ("rez-pack: " + mOut + ": no space left, on the volume or among what a resource file can hold\n",
              outcome.text);
    EXPECT_FALSE(std::filesystem::exists(mOut));
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const std::string before = Contents(mOut);
    EXPECT_EQ(74, Run("make " + longOnes + " " + mOut).exitCode);
    EXPECT_EQ(before, Contents(mOut)) << "what was there stays";
}

}  // namespace

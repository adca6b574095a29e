// The resource packer: descriptions and bytes, and the command as its users run it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <toolbox/Resources.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "Failure.h"
#include "Files.h"
#include "Forms.h"
#include "Records.h"
#include "platform/files/FailingNew.h"
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

std::vector<Record> RecordsIn(const std::string& inText,
                              CFStringEncoding inEncoding = kCFStringEncodingUTF8) {
    return RecordsOf(Parsed(inText), inEncoding);
}

TEST(RezPackRecords, DescriptionAsBytes) {
    const std::vector<Record> records = RecordsIn(kAlertDescription);
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
              DescriptionOf(RecordsIn(kAlertDescription), kCFStringEncodingUTF8));
}

TEST(RezPackRecords, MacRoman) {
    const std::vector<Record> records =
        RecordsIn(R"({"resources": [{"type": "STR ", "id": 1, "name": "é", "string": "ü"}]})",
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
          R"({"type": "abcd", "id": -32769, "data": ""})"s,
          R"({"type": "abcd", "id": 9223372036854775808, "data": ""})"s,
          R"({"type": "abcd", "id": 18446744073709551615, "data": ""})"s,
          R"({"type": "abcd", "id": 1, "data": "", "name": "a", "nameData": "41"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "nameData": "4"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "nameData": ")" + longText + longText + "\"}",
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 4})"s,
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 2})"s,
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 256})"s,
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
          R"({"type": "DITL", "id": 1, "items": [
              {"kind": "button", "bounds": [0,0,0,18446744073709551615]}]})"s,
          "7"s,
          "[]"s}) {
        EXPECT_THROW(RecordsIn(R"({"resources": [)" + resource + "]}"), DescriptionError) << resource;
    }
    for (const char* whole : {"7", "[]", "{}", R"({"resources": 5})"})
        EXPECT_THROW(RecordsIn(whole), DescriptionError) << whole;
    EXPECT_THROW(
        RecordsIn(R"({"resources": [{"type": "STR ", "id": 1, "string": "本"}]})", kCFStringEncodingMacRoman),
        DescriptionError);
}

TEST(RezPackRecords, NamesAndAttributesComeBackWhateverTheyAre) {
    for (const std::string& name : {""s, "text"s, "\xFF\x80"s, "\x8E"s, std::string(255, '\xC2'), "a\0b"s}) {
        for (const CFStringEncoding encoding : {kCFStringEncodingUTF8, kCFStringEncodingMacRoman}) {
            for (int attributes = 0; attributes < 256; ++attributes) {
                Record record;
                record.type = FourChars("abcd");
                record.name = name;
                record.attributes = static_cast<UInt8>(attributes & ~resChanged);
                const std::string shown = DescriptionOf({record}, encoding).dump();
                const std::vector<Record> again = RecordsIn(shown, encoding);
                ASSERT_EQ(1U, again.size());
                ASSERT_EQ(record.name, again[0].name) << shown;
                ASSERT_EQ(record.attributes, again[0].attributes) << shown;
            }
        }
    }
}

std::string MessageOf(const std::string& inText) {
    try {
        RecordsIn(inText);
    } catch (const DescriptionError& error) {
        return error.what();
    } catch (const JSON::exception& error) {
        return ReasonOf(error);
    }
    return "none";
}

TEST(RezPackRecords, MembersThatNobodyReads) {
    const auto messageOf = [](const std::string& inResource) {
        return MessageOf(R"({"resources": [)" + inResource + "]}");
    };
    EXPECT_EQ("resource 1: there is no member \"nam\" of such a resource",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "nam": "b"})"));
    EXPECT_EQ("resource 1: there is no member \"attribute\" beside data",
              messageOf(R"({"type": "abcd", "id": 1, "data": "", "attribute": []})"));
    EXPECT_EQ("resource 1: there is no member \"string\" beside data",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "data": "0161"})"));
    EXPECT_EQ("resource 1: there is no member \"strings\" of such a resource",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "strings": []})"));
    const std::string stage = R"({"default": 1, "shown": true, "sound": 0, "sounds": 1})";
    EXPECT_EQ("resource 1: there is no member \"sounds\" of a stage",
              messageOf(R"({"type": "ALRT", "id": 1, "bounds": [0,0,0,0], "items": 1, "stages": [)" + stage +
                        "," + stage + "," + stage + "," + stage + "]}"));
    for (const auto& [kind, member] :
         {std::pair("button", R"("resource": 1)"), std::pair("icon", R"("text": "")"),
          std::pair("button", R"("enable": true)")}) {
        const std::string message = messageOf(R"({"type": "DITL", "id": 1, "items": [{"kind": ")"s + kind +
                                              R"(", "bounds": [0,0,0,0], )" + member + "}]}");
        const std::string name(member, std::string_view(member).find(':'));
        EXPECT_EQ("resource 1: there is no member " + name + " of such an item", message);
    }
}

TEST(RezPackRecords, TwoOfOneTypeAndID) {
    const std::string one = R"({"type": "STR ", "id": 7, "string": "a"})",
                      other = R"({"type": "STR#", "id": 7, "strings": []})";
    EXPECT_EQ("none", MessageOf(R"({"resources": [)" + one + "," + other + "]}"));
    EXPECT_EQ("resources 1 and 3 are both of type \"STR \" and id 7",
              MessageOf(R"({"resources": [)" + one + "," + other + "," + one + "]}"));
}

TEST(RezPackRecords, NestedDeeply) {
    const auto nested = [](std::size_t inDepth) {
        return R"({"resources": [{"type": "STR ", "id": 1, "string": )" + std::string(inDepth, '[') +
               std::string(inDepth, ']') + "}]}";
    };
    EXPECT_TRUE(MessageOf(nested(20)).starts_with("resource 1: a text is needed, not [[["));
    for (const std::size_t depth : {98U, 200000U})
        EXPECT_EQ("nested too deeply", MessageOf(nested(depth)));
    EXPECT_TRUE(MessageOf(nested(97)).starts_with("resource 1: a text is needed")) << "and three around it";
    EXPECT_EQ("nested too deeply", MessageOf(std::string(101, '['))) << "before it is found unfinished";
}

TEST(RezPackRecords, LongValuesAreCutOffInMessages) {
    const std::string value = R"({"type": "STR ", "id": 1, "string": [")";
    EXPECT_EQ("resource 1: a text is needed, not [\"" + std::string(58, 'x') + "...",
              MessageOf(R"({"resources": [)" + value + std::string(100000, 'x') + "\"]}]}"));
    std::string wide;
    for (int i = 0; i < 1000; ++i)
        wide += "本";
    const std::string message = MessageOf(R"({"resources": [)" + value + wide + "\"]}]}");
    EXPECT_EQ("resource 1: a text is needed, not [\"" + wide.substr(0, 57) + "...", message)
        << "after a whole character";
    EXPECT_GT(300U, MessageOf("\"" + std::string(100000, 'x')).size()) << "the parser's own";
}

class RezPackTest : public testing::Test {
  protected:
    struct Outcome {
        int exitCode;
        std::string text;  // both streams
    };
    // inBefore: commands of the shell that the command is run by.
    static Outcome Run(const std::string& inArguments, const std::string& inBefore = {}) {
        FILE* pipe = popen((inBefore + " " REZ_PACK_COMMAND " 2>&1 " + inArguments).c_str(), "r");
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
                      empty = mFolder.MakeFile("empty", ""), pipe = mFolder / "pipe", loop = mFolder / "loop";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0666));
    std::filesystem::create_symlink("loop", loop);
    const std::string loopReason = ": its path is too long, or links go in circles";
    struct {
        std::string arguments;
        int exitCode;
        std::string message;
    } const cases[] = {
        {"make " + none + " " + mOut, 66, none + ": No such file or directory"},
        {"make " + folder + " " + mOut, 66, folder + ": Is a directory"},
        {"make " + mDescription + " " + none + "/out", 73, none + "/out: No such file or directory"},
        {"make " + mDescription + " " + folder, 73, folder + ": is a folder"},
        {"make --fork " + mDescription + " " + none, 73, none + ": No such file or directory"},
        {"make --fork " + mDescription + " " + folder, 73, folder + ": is a folder"},
        {"make " + mDescription + " " + pipe, 73, pipe + ": is no regular file"},
        {"make --fork " + mDescription + " " + pipe, 73, pipe + ": is no regular file"},
        {"make " + mDescription + " /dev/full", 73, "/dev/full: is no regular file"},
        {"make " + mDescription + " " + loop, 73, loop + loopReason},
        {"show " + loop, 66, loop + loopReason},
        {"show " + pipe, 65, pipe + ": is no resource file"},
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

TEST_F(RezPackTest, AFileThatMayOnlyBeRead) {
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const std::string before = Contents(mOut);
    const std::vector<Record> records = RecordsIn(kAlertDescription);
    ASSERT_EQ(0, chmod(mFolder.Path().c_str(), 0755));
    ASSERT_EQ(0, chmod(mOut.c_str(), 0444));
    const uid_t user = geteuid();
    constexpr uid_t kNobody = 65534;
    // Nothing is forbidden to the superuser.
    ASSERT_EQ(0, user == 0 ? seteuid(kNobody) : 0);
    std::vector<std::string> reasons;
    std::vector<int> exitCodes;
    try {
        WriteResources(mOut, Where::kDataFork, records);
    } catch (const tool::Failure& failure) {
        reasons.emplace_back(failure.what());
        exitCodes.push_back(failure.ExitCode());
    }
    ASSERT_EQ(0, user == 0 ? seteuid(user) : 0);
    EXPECT_EQ(std::vector<std::string>{"Permission denied"}, reasons);
    EXPECT_EQ(std::vector<int>{73}, exitCodes);
    EXPECT_EQ(before, Contents(mOut));
}

TEST_F(RezPackTest, ReplacesWhatCannotBeRead) {
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    std::fstream file(mOut, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(256).write("\x7F\xFF\xFF\xFF", 4);  // the length of the first data
    file.close();
    ASSERT_EQ(65, Run("show " + mOut).exitCode);
    EXPECT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    EXPECT_EQ(JSON::parse(kAlertDescription), JSON::parse(Run("show " + mOut).text));
}

// Whatever allocation fails, a file has the new resources or what it had.
TEST_F(RezPackTest, MemoryThatIsShort) {
    const std::vector<Record> oldOnes =
        RecordsIn(R"({"resources": [{"type": "abcd", "id": 1, "data": "01"}]})");
    const std::vector<Record> records = RecordsIn(kAlertDescription);
    const std::string empty = mFolder.MakeFile("empty", ""), whole = mFolder / "whole",
                      program = mFolder.MakeFile("program", ""), companion = mFolder / "._program";
    WriteResources(whole, Where::kDataFork, records);
    const std::string wanted = Contents(whole);
    WriteResources(mOut, Where::kDataFork, oldOnes);
    const std::string before = Contents(mOut);
    // Whether it was written.
    const auto write = [&](const std::string& inPath, Where inWhere, int inFailing, bool& ioIsShort) {
        const test_files::FailingNew failing(inFailing);
        bool isWritten = false;
        try {
            WriteResources(inPath, inWhere, records);
            isWritten = true;
        } catch (const tool::Failure&) {
        } catch (const std::bad_alloc&) {
        }
        ioIsShort = ioIsShort || failing.Delivered();
        return isWritten;
    };
    const std::string made = mFolder / "made";
    int failureCount = 0;
    bool isShort = true;
    for (int failing = 1; isShort; ++failing) {
        isShort = false;
        const bool isReplaced = write(mOut, Where::kDataFork, failing, isShort);
        ASSERT_EQ(isReplaced ? records.size() : oldOnes.size(), ReadResources(mOut, Where::kDataFork).size())
            << failing;
        ASSERT_EQ(isReplaced, before != Contents(mOut)) << failing;
        const bool isMade = write(made, Where::kDataFork, failing, isShort);
        ASSERT_EQ(isMade, std::filesystem::exists(made)) << failing;
        if (isMade) {
            ASSERT_EQ(wanted.size(), Contents(made).size()) << failing;
        }
        const bool isFilled = write(empty, Where::kDataFork, failing, isShort);
        ASSERT_EQ(isFilled, !Contents(empty).empty()) << failing;
        const bool hasFork = write(program, Where::kResourceFork, failing, isShort);
        ASSERT_EQ(hasFork, std::filesystem::exists(companion)) << failing;
        failureCount += !isReplaced + !isMade + !isFilled + !hasFork;
        if (isReplaced) WriteResources(mOut, Where::kDataFork, oldOnes);
        for (const std::string& path : {made, companion})
            std::filesystem::remove(path);
        std::filesystem::resize_file(empty, 0);
    }
    EXPECT_LT(100, failureCount);
}

TEST_F(RezPackTest, ALimitOnTheSizeOfFiles) {
    const std::string big =
        mFolder.MakeFile("big.json", R"({"resources": [{"type": "abcd", "id": 1, "data": ")" +
                                         std::string(200000, '0') + "\"}]}");
    const std::string program = mFolder.MakeFile("program", "its data");
    const std::string empty = mFolder.MakeFile("empty", "");
    const std::string reason = ": reading or writing failed, or it would be longer than files may be\n";
    ASSERT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode);
    const std::string before = Contents(mOut), made = mFolder / "made";
    for (const auto& [arguments, path] : {std::pair(" ", mOut), std::pair(" ", made), std::pair(" ", empty),
                                          std::pair(" --fork ", program)}) {
        const Outcome outcome = Run("make" + (arguments + big) + " " + path, "ulimit -f 16;");
        EXPECT_EQ(74, outcome.exitCode) << path;
        EXPECT_EQ("rez-pack: " + path + reason, outcome.text);
    }
    EXPECT_EQ(before, Contents(mOut));
    EXPECT_FALSE(std::filesystem::exists(made));
    EXPECT_EQ("", Contents(empty));
    EXPECT_FALSE(std::filesystem::exists(mFolder / "._program"));
}

// The moment of each signal is another one, and most are while the file is being written.
TEST_F(RezPackTest, SignalsInTheMiddleOfWriting) {
    std::vector<Record> sets[2];
    for (int i = 0; i < 2; ++i) {
        for (SInt16 id = 1; id <= 64; ++id) {
            Record record;
            record.type = FourChars("abcd");
            record.id = id;
            record.data.assign(40000, static_cast<UInt8>(i + 1));
            sets[i].push_back(record);
        }
    }
    const std::string made = mFolder / "made";
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (int round = 0; round < 8; ++round) {
            int ready[2] = {};
            ASSERT_EQ(0, pipe(ready));
            WriteResources(mOut, Where::kDataFork, sets[0]);
            const pid_t child = fork();
            if (child == 0) {
                for (int i = 1;; ++i) {
                    WriteResources(mOut, Where::kDataFork, sets[i % 2]);
                    unlink(made.c_str());
                    WriteResources(made, Where::kDataFork, sets[i % 2]);
                    if (i == 1 && write(ready[1], "", 1) != 1) _exit(1);
                }
            }
            char byte = 0;
            ASSERT_EQ(1, read(ready[0], &byte, 1));
            usleep(static_cast<useconds_t>(round * 1700));
            ASSERT_EQ(0, kill(child, signal));
            int status = 0;
            ASSERT_EQ(child, waitpid(child, &status, 0));
            EXPECT_EQ(signal, WIFSIGNALED(status) ? WTERMSIG(status) : -1);
            close(ready[0]);
            close(ready[1]);
            for (const std::string& path : {mOut, made}) {
                if (path == made && !std::filesystem::exists(made)) continue;
                const std::vector<Record> records = ReadResources(path, Where::kDataFork);
                ASSERT_EQ(64U, records.size()) << path;
                for (const Record& record : records)
                    ASSERT_EQ(records[0].data, record.data) << path;
            }
        }
    }
}

TEST_F(RezPackTest, AsManyOfATypeAsCanBeCounted) {
    JSON resources = JSON::array();
    for (int id = 0; id < 32767; ++id)
        resources.push_back({{"type", "abcd"}, {"id", id}, {"data", ""}});
    const std::string most = mFolder.MakeFile("most.json", JSON{{"resources", resources}}.dump());
    EXPECT_EQ(0, Run("make " + most + " " + mOut).exitCode);
    const Outcome shown = Run("show " + mOut, "timeout 300");
    ASSERT_EQ(0, shown.exitCode);
    EXPECT_EQ(resources, JSON::parse(shown.text)["resources"]);
    EXPECT_EQ(0, Run("make " + mDescription + " " + mOut).exitCode) << "all of them go";
    EXPECT_EQ(JSON::parse(kAlertDescription), JSON::parse(Run("show " + mOut).text));
    resources.push_back({{"type", "abcd"}, {"id", -1}, {"data", ""}});
    EXPECT_EQ("there are more than 32767 resources of type \"abcd\"",
              MessageOf(JSON{{"resources", resources}}.dump()));
}

TEST_F(RezPackTest, NothingInAMessageCommandsTheTerminal) {
    const Outcome outcome =
        Run("show '" + (mFolder / "a\x1B[2J\xC2\x9B\x7F\xC2\x80\xC2\x9F\xC2\xA0é\n") + "'");
    EXPECT_EQ("rez-pack: " + (mFolder / "a?[2J????\xC2\xA0é?") + ": No such file or directory\n",
              outcome.text);
}

}  // namespace

// The resource packer: the files that it writes, and the command as its users run it.
#include "Descriptions.h"
#include "Failure.h"
#include "Files.h"
#include "Records.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

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
#include <regex>
#include <set>

namespace {

using namespace rez_pack;
using namespace test_rez_pack;
using test_files::FailingNew;
using test_files::TemporaryFolder;
using namespace std::string_literals;

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
                       "resource 1: string: a text is needed, not 5"s),
             std::pair(R"({"resources": [{"type": "STR ", "id": 1}]})"s, "resource 1: string is missing"s),
             std::pair("7"s, "the description is not an object with a list \"resources\""s),
             std::pair("{"s, "line 1, column 2: the text ends where a name in quotes or } is due"s),
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
        {"make --fork " + mDescription + " " + none, 73, none + ": no such file or folder"},
        {"make --fork " + mDescription + " " + folder, 73, folder + ": is a folder"},
        {"make " + mDescription + " " + pipe, 73, pipe + ": is no regular file"},
        {"make --fork " + mDescription + " " + pipe, 73, pipe + ": is no regular file"},
        {"make " + mDescription + " /dev/full", 73, "/dev/full: is no regular file"},
        {"make " + mDescription + " " + loop, 73, loop + loopReason},
        {"show " + loop, 66, loop + loopReason},
        {"show " + pipe, 65, pipe + ": is no resource file"},
        {"show " + none, 66, none + ": no such file or folder"},
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

std::set<std::string> OptionsIn(const std::string& inText, const char* inPattern) {
    const std::regex pattern(inPattern);
    std::set<std::string> options;
    for (std::sregex_iterator match(inText.begin(), inText.end(), pattern), end; match != end; ++match)
        options.insert((*match)[1]);
    return options;
}

TEST_F(RezPackTest, CompletionsHaveEveryOption) {
    const std::set<std::string> options = OptionsIn(Run("--help").text, "--([a-z]+)");
    EXPECT_EQ((std::set<std::string>{"fork", "encoding", "version", "help"}), options);
    const std::string folder = REZ_PACK_SOURCES "/completions/";
    EXPECT_EQ(options, OptionsIn(Contents(folder + "_rez-pack"), R"(--([a-z]+)[\[\}])"));
    EXPECT_EQ(options, OptionsIn(Contents(folder + "rez-pack.fish"), " -l ([a-z]+)"));
    EXPECT_EQ(options, OptionsIn(Contents(folder + "rez-pack.bash"), "--([a-z]+)"));
}

TEST_F(RezPackTest, ExampleOfTheDocumentation) {
    const std::string page = Contents(REZ_PACK_SOURCES "/../../docs/rez-pack.md");
    const std::size_t begin = page.find("```json\n") + 8;
    const std::string example = page.substr(begin, page.find("```\n", begin) - begin);
    const Outcome outcome = Run("make " + mFolder.MakeFile("example.json", example) + " " + mOut);
    ASSERT_EQ(0, outcome.exitCode) << outcome.text;
    EXPECT_EQ(3U, ReadResources(mOut, Where::kDataFork).size());
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
    EXPECT_EQ("rez-pack: " + mOut + ": no space left, on the volume or among what such a file can hold\n",
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
    EXPECT_EQ(std::vector<std::string>{"permission denied"}, reasons);
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
    const auto write = [&](const std::string& inPath, Where inWhere, int inFailing,
                           FailingNew::Extent inExtent, bool& ioIsShort) {
        const FailingNew failing(inFailing, inExtent);
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
    for (const auto extent : {FailingNew::kOnce, FailingNew::kForever}) {
        bool isShort = true;
        for (int failing = 1; isShort; ++failing) {
            isShort = false;
            const bool isReplaced = write(mOut, Where::kDataFork, failing, extent, isShort);
            ASSERT_EQ(isReplaced ? records.size() : oldOnes.size(),
                      ReadResources(mOut, Where::kDataFork).size())
                << failing;
            ASSERT_EQ(isReplaced, before != Contents(mOut)) << failing;
            const bool isMade = write(made, Where::kDataFork, failing, extent, isShort);
            ASSERT_EQ(isMade, std::filesystem::exists(made)) << failing;
            if (isMade) {
                ASSERT_EQ(wanted.size(), Contents(made).size()) << failing;
            }
            const bool isFilled = write(empty, Where::kDataFork, failing, extent, isShort);
            ASSERT_EQ(isFilled, !Contents(empty).empty()) << failing;
            const bool hasFork = write(program, Where::kResourceFork, failing, extent, isShort);
            ASSERT_EQ(hasFork, std::filesystem::exists(companion)) << failing;
            failureCount += !isReplaced + !isMade + !isFilled + !hasFork;
            if (isReplaced) WriteResources(mOut, Where::kDataFork, oldOnes);
            for (const std::string& path : {made, companion})
                std::filesystem::remove(path);
            std::filesystem::resize_file(empty, 0);
        }
    }
    EXPECT_LT(100, failureCount);
}

TEST_F(RezPackTest, ALimitOnTheSizeOfFiles) {
    const std::string big =
        mFolder.MakeFile("big.json", R"({"resources": [{"type": "abcd", "id": 1, "data": ")" +
                                         std::string(200000, '0') + "\"}]}");
    const std::string program = mFolder.MakeFile("program", "its data");
    const std::string empty = mFolder.MakeFile("empty", "");
    const std::string reason =
        ": reading or writing failed, or it would be longer than files may be: File too large\n";
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
    EXPECT_EQ("rez-pack: " + (mFolder / "a?[2J????\xC2\xA0é?") + ": no such file or folder\n", outcome.text);
}

}  // namespace

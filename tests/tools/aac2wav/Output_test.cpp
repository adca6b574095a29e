#include "Output.h"

#include "Command.h"
#include "Failure.h"
#include "Signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <utility>

namespace {

using tool::Failure;
using tool::Output;
using tools_test::ReadFile;
using tools_test::TemporaryFolder;
using tools_test::WriteFile;

#ifdef SYS_link
constexpr int kLinkCall = SYS_link;
#else
constexpr int kLinkCall = SYS_linkat;
#endif
constexpr char kWAV[] = "RIFF\0\0\0\0WAVEfmt ";

std::vector<std::string> sSynced;

int Refusal(const std::string& inPath, Output::Replace inReplace = Output::Replace::kSoundOnly) {
    try {
        const Output output(inPath, {inReplace});
    } catch (const Failure& failure) {
        EXPECT_EQ(inPath, failure.Subject());
        return failure.ExitCode();
    }
    return EX_OK;
}

std::string RefusalText(const std::string& inPath, Output::Replace inReplace) {
    try {
        const Output output(inPath, {inReplace});
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_CANTCREAT, failure.ExitCode());
        EXPECT_EQ(inPath, failure.Subject());
        return failure.what();
    }
    return "";
}

std::string CommitRefusal(Output& ioOutput) {
    try {
        ioOutput.Commit();
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_CANTCREAT, failure.ExitCode());
        return failure.what();
    }
    return "";
}

mode_t ModeOf(const std::string& inPath) {
    struct stat item {};
    EXPECT_EQ(0, stat(inPath.c_str(), &item));
    return item.st_mode & 0777;
}

TEST(Output, AppearsOnlyWhenCommitted) {
    const TemporaryFolder folder;
    const std::string path = folder / "out.wav";
    {
        Output output(path, {Output::Replace::kSoundOnly});
        output.Write("abc", 3);
        output.Write("", 0);
        output.Write("de", 2);
        EXPECT_EQ(5, output.ByteCount());
        EXPECT_FALSE(std::filesystem::exists(path));
        output.Commit();
        EXPECT_EQ("abcde", ReadFile(path));
    }
    EXPECT_EQ(std::vector<std::string>{"out.wav"}, folder.Names());
}

TEST(Output, LeavesNothingWithoutCommit) {
    const TemporaryFolder folder;
    {
        Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
        output.Write("abc", 3);
        EXPECT_EQ(1u, folder.Names().size());
    }
    EXPECT_TRUE(folder.Names().empty());
}

TEST(Output, OldFileStaysWithoutCommit) {
    const TemporaryFolder folder;
    const std::string old(kWAV, sizeof kWAV);
    WriteFile(folder / "out.wav", old);
    {
        Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
        output.Write("abc", 3);
    }
    EXPECT_EQ(old, ReadFile(folder / "out.wav"));
    EXPECT_EQ(1u, folder.Names().size());
}

TEST(Output, ReplacesAWAVFileAndKeepsItsPermissions) {
    const TemporaryFolder folder;
    const std::string path = folder / "out.wav";
    WriteFile(path, std::string(kWAV, sizeof kWAV));
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    Output output(path, {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    output.Commit();
    EXPECT_EQ("abc", ReadFile(path));
    EXPECT_EQ(mode_t{0640}, ModeOf(path));
}

TEST(Output, ReplacesAnRF64AndAnEmptyFile) {
    const TemporaryFolder folder;
    std::string old(kWAV, sizeof kWAV);
    old.replace(0, 4, "RF64");
    WriteFile(folder / "a", old);
    WriteFile(folder / "b", "");
    EXPECT_EQ(EX_OK, Refusal(folder / "a"));
    EXPECT_EQ(EX_OK, Refusal(folder / "b"));
}

TEST(Output, RefusesToReplaceAnythingElse) {
    const TemporaryFolder folder;
    const std::string path = folder / "thesis.txt";
    for (const std::string& content :
         {std::string("x"), std::string("RIFF\0\0\0\0WAV", 11), std::string("RIFF\0\0\0\0AVI LIST", 16),
          std::string("some words in it")}) {
        WriteFile(path, content);
        EXPECT_EQ(EX_CANTCREAT, Refusal(path)) << content;
        EXPECT_EQ(content, ReadFile(path));
    }
    EXPECT_EQ(EX_OK, Refusal(path, Output::Replace::kAnything));
    EXPECT_EQ(EX_CANTCREAT, Refusal(folder.Path(), Output::Replace::kAnything));
}

TEST(Output, NewFileHasThePermissionsOfTheUmask) {
    const TemporaryFolder folder;
    const mode_t old = umask(027);
    Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
    output.Commit();
    umask(old);
    EXPECT_EQ(mode_t{0640}, ModeOf(folder / "out.wav"));
}

TEST(Output, FollowsALink) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "there");
    WriteFile(folder / "there/old.wav", "");
    std::filesystem::create_symlink("there/old.wav", folder / "link.wav");
    Output output(folder / "link.wav", {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    output.Commit();
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.wav"));
    EXPECT_EQ("abc", ReadFile(folder / "there/old.wav"));
}

TEST(Output, FollowsALinkToWhereNothingIsYet) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "there");
    std::filesystem::create_symlink("there/next.wav", folder / "link.wav");
    std::filesystem::create_symlink(folder / "there/new.wav", folder / "there/next.wav");
    Output output(folder / "link.wav", {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    output.Commit();
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.wav"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "there/next.wav"));
    EXPECT_EQ("abc", ReadFile(folder / "there/new.wav"));
    EXPECT_EQ((std::vector<std::string>{"link.wav", "there"}), folder.Names());
}

TEST(Output, RefusesALinkThatLeadsNowhere) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("b", folder / "a");
    std::filesystem::create_symlink("a", folder / "b");
    std::filesystem::create_symlink("missing/out.wav", folder / "c");
    for (const auto replace : {Output::Replace::kSoundOnly, Output::Replace::kAnything}) {
        EXPECT_EQ("Too many levels of symbolic links", RefusalText(folder / "a", replace));
        EXPECT_EQ("No such file or directory", RefusalText(folder / "c", replace));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "a"));
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), folder.Names());
}

TEST(Output, TellsWhyItCannotLookAtAnOldFile) {
    const TemporaryFolder folder;
    const std::string path = folder / "out.wav";
    WriteFile(path, std::string(kWAV, sizeof kWAV));
    rlimit old{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &old));
    const rlimit none{0, old.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    const std::string reason = RefusalText(path, Output::Replace::kSoundOnly);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &old));
    EXPECT_EQ("Too many open files", reason);
    EXPECT_EQ("File name too long",
              RefusalText(folder / (std::string(256, 'n')), Output::Replace::kAnything));
}

void ExpectAppearedFileStays() {
    const TemporaryFolder folder;
    const std::string path = folder / "out.wav";
    Output output(path, {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    WriteFile(path, "another's");
    EXPECT_EQ("appeared meanwhile; --force replaces it", CommitRefusal(output));
    EXPECT_EQ("another's", ReadFile(path));
}

void ExpectNewFileIsMade() {
    const TemporaryFolder folder;
    Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    output.Commit();
    EXPECT_EQ("abc", ReadFile(folder / "out.wav"));
    EXPECT_EQ(1u, folder.Names().size());
}

TEST(Output, DoesNotReplaceWhatAppearedMeanwhile) {
    ExpectAppearedFileStays();
}

TEST(Output, ReplacesWhatAppearedMeanwhileWhenToldTo) {
    const TemporaryFolder folder;
    const std::string path = folder / "out.wav";
    Output output(path, {Output::Replace::kAnything});
    output.Write("abc", 3);
    WriteFile(path, "another's");
    output.Commit();
    EXPECT_EQ("abc", ReadFile(path));
}

// From here on, this is done about the calls of this process.
void Filter(const std::vector<std::pair<int, unsigned>>& inCallsAndActions) {
    std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto& [call, action] : inCallsAndActions) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, action));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    ASSERT_EQ(0, prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
    ASSERT_EQ(0, prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter)) << std::strerror(errno);
}

// They fail with these errors.
void Refuse(std::initializer_list<std::pair<int, unsigned>> inCallsAndErrors) {
    std::vector<std::pair<int, unsigned>> actions(inCallsAndErrors);
    for (auto& [call, action] : actions)
        action |= SECCOMP_RET_ERRNO;
    Filter(actions);
}

// A file system that knows no move on condition; then one that makes no links either.
TEST(Output, GetsItsNameOnAnyFileSystem) {
    const auto byLink = [] {
        Refuse({{SYS_renameat2, EINVAL}});
        ExpectNewFileIsMade();
        ExpectAppearedFileStays();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    const auto byPlainMove = [] {
        Refuse({{SYS_renameat2, EINVAL}, {kLinkCall, EPERM}});
        ExpectNewFileIsMade();
        ExpectAppearedFileStays();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(byLink(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(byPlainMove(), testing::ExitedWithCode(0), "");
}

// Only --sync asks the disk, and then a disk that fails leaves no file.
TEST(Output, WaitsForTheDiskWhenItIsTo) {
    const auto failingDisk = [] {
        const TemporaryFolder folder;
        Refuse({{SYS_fsync, EIO}});
        Output::Manner manner;
        {
            Output output(folder / "out.wav", manner);
            output.Commit();
        }
        manner.isSynced = true;
        int exitCode = EX_OK;
        try {
            Output output(folder / "synced.wav", manner);
            output.Commit();
        } catch (const Failure& failure) {
            exitCode = failure.ExitCode();
        }
        EXPECT_EQ(EX_IOERR, exitCode);
        EXPECT_EQ(std::vector<std::string>{"out.wav"}, folder.Names());
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(failingDisk(), testing::ExitedWithCode(0), "");
}

// What was kept is what the disk is to have: somebody may remove the input next.
TEST(Output, WaitsForTheDiskThatHasTheKeptFile) {
    const TemporaryFolder folder;
    const std::string path = folder / "part";
    WriteFile(path, "abc");
    Output::Manner manner;
    manner.isHeaderless = true;
    manner.isSynced = true;
    Output output(path, manner);
    output.Write("abc", 3);
    sSynced.clear();
    output.Commit();
    EXPECT_EQ((std::vector<std::string>{path, folder.Path()}), sSynced);
}

// Whatever was there at first is all that may be replaced.
TEST(Output, DoesNotReplaceWhatChangedMeanwhile) {
    for (const auto replace : {Output::Replace::kSoundOnly, Output::Replace::kThisFile}) {
        const TemporaryFolder folder;
        const std::string path = folder / "out.wav";
        WriteFile(path, std::string(kWAV, sizeof kWAV));
        Output output(path, {replace});
        output.Write("abc", 3);
        WriteFile(path, "another's words");
        EXPECT_EQ("was changed meanwhile; --force replaces it", CommitRefusal(output));
        EXPECT_EQ("another's words", ReadFile(path));
    }
    const TemporaryFolder folder;
    WriteFile(folder / "out.wav", "words");
    Output output(folder / "out.wav", {Output::Replace::kAnything});
    output.Write("abc", 3);
    WriteFile(folder / "out.wav", "other words");
    output.Commit();
    EXPECT_EQ("abc", ReadFile(folder / "out.wav"));
}

TEST(Output, TakesItsNameWhenTheOldFileIsGone) {
    const TemporaryFolder folder;
    WriteFile(folder / "out.wav", "");
    Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
    output.Write("abc", 3);
    std::filesystem::remove(folder / "out.wav");
    output.Commit();
    EXPECT_EQ("abc", ReadFile(folder / "out.wav"));
}

TEST(Output, ANameThatNobodyTypedIsTakenFromNothing) {
    const TemporaryFolder folder;
    WriteFile(folder / "empty.wav", "");
    std::filesystem::create_symlink("nothing", folder / "link.wav");
    for (const char* name : {"empty.wav", "link.wav"}) {
        EXPECT_EQ(EX_CANTCREAT, Refusal(folder / name, Output::Replace::kNothing)) << name;
    }
    Output output(folder / "out.wav", {Output::Replace::kNothing});
    output.Write("abc", 3);
    WriteFile(folder / "out.wav", "");
    EXPECT_EQ("appeared meanwhile; --force replaces it", CommitRefusal(output));
    EXPECT_EQ("", ReadFile(folder / "out.wav"));
}

TEST(Output, TheSameBytesWithoutAHeaderAreNoLoss) {
    const TemporaryFolder folder;
    const std::string path = folder / "part";
    WriteFile(path, "abc");
    std::filesystem::permissions(path, std::filesystem::perms(0604));
    for (const std::string& bytes :
         {std::string("abc"), std::string("abd"), std::string("ab"), std::string("abcd")}) {
        Output output(path, {Output::Replace::kSoundOnly, true});
        output.Write(bytes.data(), bytes.size());
        EXPECT_EQ(bytes == "abc"
                      ? ""
                      : "exists and has other bytes, and these are no WAV file; --force replaces it",
                  CommitRefusal(output));
        EXPECT_EQ("abc", ReadFile(path));
    }
    EXPECT_EQ(mode_t{0604}, ModeOf(path));
    EXPECT_EQ(std::vector<std::string>{"part"}, folder.Names());
}

TEST(Output, MakesTheFoldersOnTheWayAndTakesThemBack) {
    const TemporaryFolder folder;
    const std::string path = folder / "a/b/out.wav";
    Output::Manner manner;
    EXPECT_EQ(EX_CANTCREAT, Refusal(path));
    manner.makesFolders = true;
    {
        const Output output(path, manner);
        EXPECT_TRUE(std::filesystem::exists(folder / "a/b"));
    }
    EXPECT_TRUE(folder.Names().empty());
    {
        const Output output(path, manner);
        WriteFile(folder / "a/note", "");
    }
    EXPECT_EQ(std::vector<std::string>{"a"}, folder.Names());
    EXPECT_FALSE(std::filesystem::exists(folder / "a/b"));
    manner.isSynced = true;
    Output output(path, manner);
    output.Commit();
    EXPECT_TRUE(std::filesystem::exists(path));
    WriteFile(folder / "file", "");
    EXPECT_THROW(Output(folder / "file/b/out.wav", manner), Failure);
}

TEST(Output, KnowsAWholeWAVFile) {
    const TemporaryFolder folder;
    const std::string whole = tools_test::ReadFile(tools_test::Fixture("tone-16.wav"));
    WriteFile(folder / "whole.wav", whole);
    WriteFile(folder / "half.wav", whole.substr(0, whole.size() / 2));
    EXPECT_TRUE(Output(folder / "whole.wav", {Output::Replace::kSoundOnly}).ReplacesWholeWAV());
    EXPECT_TRUE(Output(folder / "whole.wav", {Output::Replace::kAnything}).ReplacesWholeWAV());
    EXPECT_FALSE(Output(folder / "half.wav", {Output::Replace::kSoundOnly}).ReplacesWholeWAV());
    EXPECT_FALSE(Output(folder / "new.wav", {Output::Replace::kSoundOnly}).ReplacesWholeWAV());
}

TEST(Output, CheckChangesNothing) {
    const TemporaryFolder folder;
    Output::Check(folder / "out.wav", {Output::Replace::kSoundOnly});
    Output::Check("-", {Output::Replace::kSoundOnly});
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_THROW(Output::Check(folder / "missing/out.wav", {Output::Replace::kSoundOnly}), Failure);
    EXPECT_THROW(Output::Check(folder.Path(), {Output::Replace::kAnything}), Failure);
}

// Between the look and the writing a pipe may be read for hours.
TEST(Output, KnowsWhatCheckSaw) {
    const TemporaryFolder folder;
    const std::string old(kWAV, sizeof kWAV);
    const auto refusalAfter = [&](Output::Replace inReplace, const std::string& inName,
                                  const auto& inChange) {
        Output::Manner manner;
        manner.replace = inReplace;
        manner.seen = Output::Check(folder / inName, manner);
        inChange(folder / inName);
        try {
            Output output(folder / inName, manner);
            output.Commit();
        } catch (const Failure& failure) {
            return std::string(failure.what());
        }
        return std::string();
    };
    const auto leave = [](const std::string&) {};
    const auto make = [&](const std::string& inPath) { WriteFile(inPath, old + "more"); };
    const auto remove = [](const std::string& inPath) { std::filesystem::remove(inPath); };
    const auto lead = [](const std::string& inPath) { std::filesystem::create_symlink("/dev/null", inPath); };
    const std::string appeared = "appeared meanwhile; --force replaces it";
    const std::string changed = "was changed meanwhile; --force replaces it";
    int count = 0;
    for (const auto replace : {Output::Replace::kSoundOnly, Output::Replace::kThisFile}) {
        const std::string number = std::to_string(++count);
        EXPECT_EQ(appeared, refusalAfter(replace, "new" + number, make));
        EXPECT_EQ(old + "more", ReadFile(folder / ("new" + number)));
        for (const char* const name : {"old", "same", "gone"})
            WriteFile(folder / (name + number), old);
        EXPECT_EQ(changed, refusalAfter(replace, "old" + number, make));
        EXPECT_EQ(old + "more", ReadFile(folder / ("old" + number)));
        EXPECT_EQ("", refusalAfter(replace, "same" + number, leave));
        EXPECT_EQ("", refusalAfter(replace, "gone" + number, remove));
        EXPECT_EQ("", refusalAfter(replace, "device" + number, lead)) << "has nothing to lose";
    }
    EXPECT_EQ("", refusalAfter(Output::Replace::kAnything, "forced", make));
    EXPECT_EQ("", ReadFile(folder / "forced"));
}

TEST(Output, ADeviceIsWrittenDirectly) {
    Output null("/dev/null", {Output::Replace::kSoundOnly});
    null.Write("abc", 3);
    null.Commit();
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));

    Output full("/dev/full", {Output::Replace::kSoundOnly});
    try {
        full.Write("abc", 3);
        ADD_FAILURE() << "a full device took bytes";
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_IOERR, failure.ExitCode());
        EXPECT_EQ("/dev/full", failure.Subject());
    }
}

TEST(Output, RefusesAFolderAndAMissingFolder) {
    const TemporaryFolder folder;
    WriteFile(folder / "file", "");
    EXPECT_EQ(EX_CANTCREAT, Refusal(folder.Path()));
    EXPECT_EQ(EX_CANTCREAT, Refusal(folder / "missing/out.wav"));
    EXPECT_EQ(EX_CANTCREAT, Refusal(folder / "missing/"));
    EXPECT_EQ(EX_CANTCREAT, Refusal(folder / "file/out.wav"));
    EXPECT_EQ(std::vector<std::string>{"file"}, folder.Names());
}

TEST(Output, TakesTheLongestName) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    Output output(folder / name, {Output::Replace::kSoundOnly});
    output.Commit();
    EXPECT_EQ(std::vector<std::string>{name}, folder.Names());
}

// The first signal is only noted; when the work is too busy to look, a second one ends it, and the file goes
// as well.
TEST(Output, ASecondSignalRemovesTheUnfinishedFile) {
    const TemporaryFolder folder;
    const auto stop = [&folder](int inSignalCount) {
        tool::WatchSignals();
        Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
        output.Write("abc", 3);
        for (int count = 0; count < inSignalCount; ++count)
            std::raise(SIGTERM);
        _exit(7);
    };
    EXPECT_EXIT(stop(2), testing::KilledBySignal(SIGTERM), "");
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EXIT(stop(1), testing::ExitedWithCode(7), "");
    EXPECT_EQ(1u, folder.Names().size());
}

// The thread sanitizer gives a program its signals when it sees fit, also those that a refused call raises.
#if defined(__SANITIZE_THREAD__)
#define HOLDS_SIGNALS_BACK
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define HOLDS_SIGNALS_BACK
#endif
#endif
#ifndef HOLDS_SIGNALS_BACK
#ifdef SYS_unlink
constexpr int kUnlinkCall = SYS_unlink;
#else
constexpr int kUnlinkCall = SYS_unlinkat;
#endif
const char* sSecondRemoval = nullptr;

// Stands in for every removal of a file: the first one meets two signals, the second leaves a mark.
void MeetSignals(int) {
    static int sCount = 0;
    if (++sCount == 1) {
        std::raise(SIGTERM);
        std::raise(SIGTERM);
    } else {
        ::close(::open(sSecondRemoval, O_WRONLY | O_CREAT, 0600));
    }
}

// Signals that come right before the file is removed end the process, which must then remove it.
TEST(Output, SignalsAtTheEndRemoveTheUnfinishedFile) {
    const TemporaryFolder folder;
    const std::string mark = folder / "removed";
    const auto stop = [&] {
        sSecondRemoval = mark.c_str();
        tool::WatchSignals();
        struct sigaction action {};
        action.sa_handler = MeetSignals;
        action.sa_flags = SA_NODEFER;
        sigaction(SIGSYS, &action, nullptr);
        {
            const Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
            Filter({{kUnlinkCall, SECCOMP_RET_TRAP}});
        }
        _exit(7);
    };
    EXPECT_EXIT(stop(), testing::KilledBySignal(SIGTERM), "");
    EXPECT_TRUE(std::filesystem::exists(mark));
}

#endif  // HOLDS_SIGNALS_BACK

TEST(Output, TellsAFailedRename) {
    const TemporaryFolder folder;
    Output output(folder / "out.wav", {Output::Replace::kSoundOnly});
    std::filesystem::create_directory(folder / "out.wav");
    try {
        output.Commit();
        ADD_FAILURE() << "a folder was replaced";
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_CANTCREAT, failure.ExitCode());
    }
}

}  // namespace

// In place of the system's, which it calls: takes note of what is waited for.
extern "C" int fsync(int inDescriptor) {
    sSynced.push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(inDescriptor)));
    return static_cast<int>(syscall(SYS_fsync, inDescriptor));
}

// Being stopped in the middle: at once, by the signal, and with nothing left behind.
#include "Command.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

namespace {

using namespace tools_test;
using namespace std::chrono_literals;

// The command sleeps in write() once its pipe is full; how full that is depends on the sizes of its writes.
void WaitUntilBlocked(Command& ioCommand) {
    while (ioCommand.IsRunning() && (ioCommand.WaitingByteCount() <= 32768 || !ioCommand.IsAsleep()))
        std::this_thread::sleep_for(1ms);
    ASSERT_TRUE(ioCommand.IsRunning());
}

// Some of the stream is written under the temporary name.
void WaitUntilWriting(Command& ioCommand, const TemporaryFolder& inFolder) {
    while (ioCommand.IsRunning()) {
        for (const std::string& name : inFolder.Names()) {
            std::error_code isGone;
            if (name.rfind(".aac2wav-", 0) == 0 &&
                std::filesystem::file_size(inFolder / name, isGone) > 100000 && !isGone)
                return;
        }
    }
    FAIL() << "it ended before it could be stopped";
}

class Stopping : public testing::TestWithParam<int> {};

TEST_P(Stopping, LeavesNoFileBehind) {
    const TemporaryFolder folder;
    Command command({Fixture("long.m4a"), folder / "out.wav"});
    command.Start();
    WaitUntilWriting(command, folder);
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
    command.Signal(GetParam());
    const Outcome outcome = command.Wait();
    EXPECT_EQ(GetParam(), outcome.signal);
    EXPECT_EQ("", outcome.err);
    EXPECT_TRUE(folder.Names().empty());
}

TEST_P(Stopping, KeepsTheOldFile) {
    const TemporaryFolder folder;
    ASSERT_EQ(EX_OK, RunTool({Fixture("tone-8000-mono.m4a"), folder / "out.wav"}).exitCode);
    const std::string before = ReadFile(folder / "out.wav");
    Command command({Fixture("long.m4a"), folder / "out.wav"});
    command.Start();
    WaitUntilWriting(command, folder);
    command.Signal(GetParam());
    EXPECT_EQ(GetParam(), command.Wait().signal);
    EXPECT_EQ(before, ReadFile(folder / "out.wav"));
    EXPECT_EQ(1u, folder.Names().size());
}

TEST_P(Stopping, EndsAWriteThatWaitsForItsReader) {
    Command command({Fixture("long.m4a"), "-"});
    command.out = Command::Stream::kUnread;
    command.Start();
    WaitUntilBlocked(command);
    command.Signal(GetParam());
    EXPECT_TRUE(command.EndsUnread());
    EXPECT_EQ(GetParam(), command.Wait().signal);
}

TEST_P(Stopping, DoesNotGoOnWithTheNextInput) {
    const TemporaryFolder folder;
    Command command({Fixture("long.m4a"), Fixture("tone-44100-stereo.m4a"), folder.Path()});
    command.Start();
    WaitUntilWriting(command, folder);
    command.Signal(GetParam());
    EXPECT_EQ(GetParam(), command.Wait().signal);
    EXPECT_TRUE(folder.Names().empty());
}

std::string NameOf(const testing::TestParamInfo<int>& inInfo) {
    return sigabbrev_np(inInfo.param);
}

INSTANTIATE_TEST_SUITE_P(Signals, Stopping,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU, SIGUSR1, SIGUSR2,
                                         SIGPOLL, SIGVTALRM, SIGPROF, SIGPWR, SIGSTKFLT),
                         NameOf);

TEST(Signals, ASignalIgnoredAtTheStartStaysIgnored) {
    // The last seconds of half an hour: more than a pipe holds.
    Command command({"--start", "343000000", Fixture("long.m4a"), "-"});
    command.out = Command::Stream::kUnread;
    command.ignoredSignals = {SIGHUP, SIGINT};
    command.Start();
    WaitUntilBlocked(command);
    command.Signal(SIGHUP);
    command.Signal(SIGINT);
    const Outcome outcome = command.Wait();
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ(86130688u * 4 + 44 - 343000000, outcome.out.size());
}

TEST(Signals, OpeningAPipeWithoutReaderCanBeStopped) {
    const TemporaryFolder folder;
    ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
    Command command({Fixture("tone-44100-stereo.m4a"), folder / "pipe"});
    command.Start();
    while (command.IsRunning() && !command.IsAsleep())
        std::this_thread::sleep_for(1ms);
    ASSERT_TRUE(command.IsRunning());
    command.Signal(SIGTERM);
    EXPECT_EQ(SIGTERM, command.Wait().signal);
    EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
}

TEST(Signals, ProbingCanBeStopped) {
    Command command({"--probe", Fixture("huge-8000-mono.aac")});
    command.Start();
    while (command.IsRunning() && !command.HasOpen(Fixture("huge-8000-mono.aac")))
        std::this_thread::sleep_for(1ms);
    ASSERT_TRUE(command.IsRunning());
    command.Signal(SIGINT);
    const Outcome outcome = command.Wait();
    EXPECT_EQ(SIGINT, outcome.signal);
    EXPECT_EQ("", outcome.out);
}

// Behind the sound are 60 MB of nothing, in which an opening looks for more of it, a block at a time.
TEST(Signals, OpeningAForeignFileCanBeStopped) {
    const TemporaryFolder folder;
    const std::string file = folder / "song.wav";
    std::filesystem::copy(Fixture("tone-16.wav"), file);
    std::filesystem::resize_file(file, 60 << 20);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{file, folder / "out.wav"}, {"--length", file}, {"--probe", file}}) {
        Command command(arguments);
        command.isTraced = true;
        command.Start();
        constexpr int kReadings = 30;
        EXPECT_GE(3, command.ReadingsAfter(SIGINT, kReadings, file)) << "of some 1400";
        const Outcome outcome = command.Wait();
        EXPECT_EQ(SIGINT, outcome.signal);
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("", outcome.err);
    }
    EXPECT_EQ(std::vector<std::string>{"song.wav"}, folder.Names());
}

TEST(BrokenPipe, EndsSilentlyBySIGPIPE) {
    Command command({Fixture("tone-44100-stereo.m4a"), "-"});
    command.out = Command::Stream::kClosedPipe;
    const Outcome outcome = command.Run();
    EXPECT_EQ(SIGPIPE, outcome.signal);
    EXPECT_EQ("", outcome.err);
}

TEST(BrokenPipe, IsAnErrorWhereSIGPIPEIsIgnored) {
    Command command({Fixture("tone-44100-stereo.m4a"), "-"});
    command.out = Command::Stream::kClosedPipe;
    command.ignoredSignals = {SIGPIPE};
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_IOERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: standard output: Broken pipe\n", outcome.err);
}

TEST(BrokenPipe, OfMessagesDoesNotSpoilTheFile) {
    const TemporaryFolder folder;
    Command command({Fixture("truncated.m4a"), folder / "out.wav"});
    command.err = Command::Stream::kClosedPipe;
    EXPECT_EQ(EX_DATAERR, command.Run().exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "out.wav"));
    EXPECT_EQ(1u, folder.Names().size());
}

}  // namespace

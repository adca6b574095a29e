// Input that comes by a pipe or by standard input.
#include "Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace tools_test;
using testing::HasSubstr;

constexpr char kTone[] = "tone-44100-stereo.m4a";

class Piped : public testing::Test {
  protected:
    Outcome Run(const std::vector<std::string>& inArguments, const std::string& inBytes) const {
        Command command(inArguments);
        command.environment = {"TMPDIR=" + mFolder / ""};
        command.inText = inBytes;
        const Outcome outcome = command.Run();
        EXPECT_TRUE(mFolder.Names().empty());
        return outcome;
    }

    TemporaryFolder mFolder;
    TemporaryFolder mOut;
    const std::string mSound = ReadFile(Fixture(kTone));
    const std::string mWAV = RunTool({Fixture(kTone), "-"}).out;
};

TEST_F(Piped, ConvertsToStandardOutput) {
    const Outcome outcome = Run({"-"}, mSound);
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.err);
    EXPECT_TRUE(mWAV == outcome.out);
    EXPECT_TRUE(mWAV == Run({"-", "-"}, mSound).out);
}

TEST_F(Piped, IsTheSameUnderItsOtherNames) {
    for (const char* name : {"/dev/stdin", "/dev/fd/0"}) {
        EXPECT_TRUE(mWAV == Run({name}, mSound).out) << name;
        EXPECT_EQ("176444\n", Run({"--length", name}, mSound).out);
        EXPECT_EQ("aac2wav: standard input: is a folder\n", [&] {
            Command command({name});
            command.inPath = mOut / "";
            return command.Run().err;
        }());
    }
}

TEST_F(Piped, ConvertsToAFile) {
    EXPECT_EQ(EX_OK, Run({"-", mOut / "out.wav"}, mSound).exitCode);
    EXPECT_TRUE(mWAV == ReadFile(mOut / "out.wav"));
    EXPECT_EQ(EX_OK, Run({"-o", mOut / "more.wav", "-"}, mSound).exitCode);
    EXPECT_TRUE(mWAV == ReadFile(mOut / "more.wav"));
}

TEST_F(Piped, IsMeasuredAndProbed) {
    EXPECT_EQ("176444\n", Run({"--length", "-"}, mSound).out);
    EXPECT_THAT(Run({"--probe", "-"}, mSound).out, HasSubstr("stream     176444 bytes"));
    EXPECT_THAT(Run({"--probe", "--json", "-"}, mSound).out, HasSubstr("{\"file\":\"-\","));
}

TEST_F(Piped, IsReadWhateverItsLength) {
    // More than a pipe holds, and no multiple of anything.
    const std::string wav = ReadFile(Fixture("tone-16-5_1.wav"));
    ASSERT_GT(wav.size(), 500000u);
    EXPECT_TRUE(RunTool({Fixture("tone-16-5_1.wav"), "-"}).out == Run({"-"}, wav).out);
}

TEST_F(Piped, WhatIsNoSoundIsRefused) {
    for (const std::string& bytes : {std::string(), std::string("words")}) {
        const Outcome outcome = Run({"-"}, bytes);
        EXPECT_EQ(EX_DATAERR, outcome.exitCode);
        EXPECT_EQ("", outcome.out);
        EXPECT_THAT(outcome.err, testing::StartsWith("aac2wav: standard input: "));
    }
}

TEST_F(Piped, HasALimit) {
    const std::string size = std::to_string(mSound.size());
    EXPECT_EQ(EX_OK, Run({"--spool-limit", size, "-"}, mSound).exitCode);
    const Outcome outcome = Run({"--spool-limit", std::to_string(mSound.size() - 1), "-"}, mSound);
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: standard input: has more than " + std::to_string(mSound.size() - 1) +
                  " bytes; --spool-limit allows for more\n",
              outcome.err);
}

TEST_F(Piped, AFullDiskIsTold) {
    Command command({"-"});
    command.environment = {"TMPDIR=" + mFolder / ""};
    command.inText = mSound;
    command.fileSizeLimitBytes = 1000;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_IOERR, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(mFolder / ""));
    EXPECT_TRUE(mFolder.Names().empty());
}

TEST_F(Piped, AFolderThatIsNotThereIsTold) {
    Command command({"-"});
    command.environment = {"TMPDIR=" + mFolder / "missing"};
    command.inText = mSound;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(mFolder / "missing"));
}

TEST_F(Piped, WithoutAFolderOfItsOwnItGoesToTheUsualPlace) {
    Command command({"-"});
    command.environment = {"TMPDIR="};
    command.inText = mSound;
    EXPECT_TRUE(mWAV == command.Run().out);
}

TEST_F(Piped, IsSpooledAsAnUnnamedFile) {
    Command command({"-"});
    command.environment = {"TMPDIR=" + mFolder / ""};
    command.inText = ReadFile(Fixture("long.m4a"));
    command.out = Command::Stream::kUnread;
    command.Start();
    while (command.IsRunning() && command.WaitingByteCount() == 0) {
    }
    EXPECT_TRUE(mFolder.Names().empty());
    command.Signal(SIGKILL);
    EXPECT_EQ(SIGKILL, command.Wait().signal);
    EXPECT_TRUE(mFolder.Names().empty());
}

TEST_F(Piped, CanBeStoppedWhileItWaits) {
    ASSERT_EQ(0, mkfifo((mOut / "pipe").c_str(), 0600));
    Command command({mOut / "pipe", mOut / "out.wav"});
    command.environment = {"TMPDIR=" + mFolder / ""};
    command.Start();
    // Opening waits for us, so this is not before the command is there.
    std::ofstream writer(mOut / "pipe", std::ios::binary);
    writer << mSound.substr(0, 1000) << std::flush;
    command.Signal(SIGTERM);
    EXPECT_EQ(SIGTERM, command.Wait().signal);
    EXPECT_TRUE(mFolder.Names().empty());
    EXPECT_EQ(std::vector<std::string>{"pipe"}, mOut.Names());
}

// Nothing would be left in it for a second try.
TEST_F(Piped, NothingIsTakenForATerminal) {
    const std::string pipe = mOut / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int ends = open(pipe.c_str(), O_RDWR | O_CLOEXEC);  // never closed while the command runs
    ASSERT_EQ(5, write(ends, "words", 5));
    Command command({"-"});
    command.inPath = pipe;
    command.out = Command::Stream::kTerminal;
    const Outcome outcome = command.Run();
    int count = 0;
    EXPECT_EQ(0, ioctl(ends, FIONREAD, &count));
    close(ends);
    EXPECT_EQ(EX_USAGE, outcome.exitCode);
    EXPECT_EQ("aac2wav: standard output is a terminal; send it to a file or a pipe\n", outcome.err);
    EXPECT_EQ(5, count);
}

// A pipe can take hours, and what is a WAV file then is somebody's.
TEST_F(Piped, WhatComesWhileItIsReadStays) {
    const std::string pipe = mOut / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    Command command({pipe, mOut / "out.wav"});
    command.environment = {"TMPDIR=" + mFolder / ""};
    command.Start();
    // Opening waits for us, so this is not before the command has looked.
    std::ofstream writer(pipe, std::ios::binary);
    const std::string another = ReadFile(Fixture("tone-24.wav"));
    WriteFile(mOut / "out.wav", another);
    writer << mSound << std::flush;
    writer.close();
    const Outcome outcome = command.Wait();
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_EQ("aac2wav: " + mOut / "out.wav" + ": appeared meanwhile; --force replaces it\n", outcome.err);
    EXPECT_TRUE(another == ReadFile(mOut / "out.wav"));
    EXPECT_EQ((std::vector<std::string>{"out.wav", "pipe"}), mOut.Names());
}

TEST_F(Piped, ANamedPipeIsTheSame) {
    ASSERT_EQ(0, mkfifo((mOut / "pipe").c_str(), 0600));
    std::thread writer([this] { WriteFile(mOut / "pipe", mSound); });
    const Outcome outcome = RunTool({mOut / "pipe", "-"});
    writer.join();
    EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
    EXPECT_TRUE(mWAV == outcome.out);
}

TEST_F(Piped, TellsHowMuchOfItIsRead) {
    ASSERT_EQ(0, mkfifo((mOut / "pipe").c_str(), 0600));
    Command command({mOut / "pipe", "-"});
    command.err = Command::Stream::kTerminal;
    command.out = Command::Stream::kUnread;
    command.Start();
    {
        std::ofstream writer(mOut / "pipe", std::ios::binary);
        std::size_t written = 0;
        // A few bytes at a time, until there is a line about them.
        while (command.IsRunning() && command.WaitingErrorByteCount() == 0 && written < mSound.size() - 1) {
            writer << mSound[written++] << std::flush;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        EXPECT_LT(written, mSound.size() - 1);
        writer << mSound.substr(written);
    }
    const Outcome outcome = command.Wait();
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_TRUE(mWAV == outcome.out);
    EXPECT_THAT(outcome.err, testing::StartsWith("\r\033[Kpipe  0.0 MB read"));
    EXPECT_THAT(outcome.err, testing::EndsWith("\r\033[K"));
}

class Redirected : public Piped {
  protected:
    Outcome RunOn(const std::string& inPath, off_t inOffset = 0) const {
        Command command({"-"});
        // Nothing may be kept there.
        command.environment = {"TMPDIR=" + mFolder / "missing"};
        command.inPath = inPath;
        command.inOffset = inOffset;
        return command.Run();
    }
};

TEST_F(Redirected, AFileIsReadAsItIs) {
    const Outcome outcome = RunOn(Fixture(kTone));
    EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
    EXPECT_TRUE(mWAV == outcome.out);
}

TEST_F(Redirected, AFileFromTheMiddleOnIsWhatIsLeftOfIt) {
    WriteFile(mOut / "both", "some words before " + mSound);
    EXPECT_EQ(EX_CANTCREAT, RunOn(mOut / "both", 18).exitCode);  // it has to be kept, and cannot be
    Command command({"-"});
    command.inPath = mOut / "both";
    command.inOffset = 18;
    EXPECT_TRUE(mWAV == command.Run().out);
}

TEST_F(Redirected, AFileThatOthersMayNotOpenIsRead) {
    std::filesystem::copy(Fixture(kTone), mOut / "closed");
    Command command({"-"});
    command.inDescriptor = open((mOut / "closed").c_str(), O_RDONLY | O_CLOEXEC);
    command.obeysPermissions = true;
    std::filesystem::permissions(mOut / "closed", std::filesystem::perms::none);
    EXPECT_TRUE(mWAV == command.Run().out);
    close(command.inDescriptor);
}

TEST_F(Redirected, WhatIsNoFileIsTold) {
    const Outcome folder = RunOn(mOut / "");
    EXPECT_EQ(EX_NOINPUT, folder.exitCode);
    EXPECT_EQ("aac2wav: standard input: is a folder\n", folder.err);
    Command terminal({"-"});
    terminal.err = Command::Stream::kTerminal;
    terminal.typed = "";
    const Outcome refused = terminal.Run();
    EXPECT_EQ(EX_USAGE, refused.exitCode);
    EXPECT_THAT(refused.err, HasSubstr("standard input: is a terminal"));
}

TEST_F(Redirected, AFileInAFolderThatOthersMayNotSearchIsRead) {
    std::filesystem::create_directory(mOut / "closed");
    std::filesystem::copy(Fixture(kTone), mOut / "closed/song.m4a");
    Command command({"-"});
    command.environment = {"TMPDIR=" + mFolder / "missing"};
    command.inDescriptor = open((mOut / "closed/song.m4a").c_str(), O_RDONLY | O_CLOEXEC);
    command.obeysPermissions = true;
    std::filesystem::permissions(mOut / "closed", std::filesystem::perms::none);
    const Outcome outcome = command.Run();
    EXPECT_EQ("", outcome.err);
    EXPECT_TRUE(mWAV == outcome.out);
    close(command.inDescriptor);
    std::filesystem::permissions(mOut / "closed", std::filesystem::perms::owner_all);
}

TEST_F(Redirected, SoundDoesNotGoToATerminal) {
    Command command({"-"});
    command.inPath = Fixture(kTone);
    command.out = Command::Stream::kTerminal;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_USAGE, outcome.exitCode);
    EXPECT_EQ("", outcome.out);
}

}  // namespace

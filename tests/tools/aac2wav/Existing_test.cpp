// Outputs that exist already: what is replaced, what is kept, and who is asked.
#include "Command.h"
#include "WAVFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <filesystem>

namespace {

using namespace tools_test;
using testing::EndsWith;
using testing::HasSubstr;

constexpr char kTone[] = "tone-8000-mono.m4a";
constexpr std::size_t kToneBytes = 32044;

class Existing : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::copy(Fixture(kTone), Path("song.m4a"));
        WriteFile(Path("song.wav"), mMaster);
    }
    std::string Path(const std::string& inName) const { return mFolder / inName; }
    std::string Song() const { return ReadFile(Path("song.wav")); }
    void ExpectKept(const std::vector<std::string>& inArguments, int inExitCode) const {
        const std::vector<std::string> before = mFolder.Names();
        const Outcome outcome = RunTool(inArguments);
        EXPECT_EQ(inExitCode, outcome.exitCode) << testing::PrintToString(inArguments) << outcome.err;
        EXPECT_EQ(mMaster, Song());
        EXPECT_EQ(before, mFolder.Names());
    }

    TemporaryFolder mFolder;
    const std::string mMaster = ReadFile(Fixture("tone-24.wav"));
};

TEST_F(Existing, ADerivedNameIsNeverTaken) {
    ExpectKept({Path("song.m4a")}, EX_CANTCREAT);
    ExpectKept({Path("song.m4a"), Path("")}, EX_CANTCREAT);
    ExpectKept({"-o", Path(""), Path("song.m4a")}, EX_CANTCREAT);
    ExpectKept({"--keep-going", "--quiet", Path("song.m4a")}, EX_CANTCREAT);
    EXPECT_EQ("aac2wav: " + Path("song.wav") + ": exists; --force replaces it, --no-clobber skips it\n",
              RunTool({Path("song.m4a")}).err);
}

TEST_F(Existing, NotEvenWhenItIsEmptyOrOurs) {
    WriteFile(Path("song.wav"), "");
    EXPECT_EQ(EX_CANTCREAT, RunTool({Path("song.m4a")}).exitCode);
    EXPECT_EQ("", Song());
    std::filesystem::remove(Path("song.wav"));
    EXPECT_EQ(EX_OK, RunTool({Path("song.m4a")}).exitCode);
    EXPECT_EQ(EX_CANTCREAT, RunTool({Path("song.m4a")}).exitCode);
    EXPECT_EQ(kToneBytes, Song().size());
}

TEST_F(Existing, ALinkToNothingExists) {
    std::filesystem::remove(Path("song.wav"));
    std::filesystem::create_symlink("nothing", Path("song.wav"));
    EXPECT_EQ(EX_CANTCREAT, RunTool({Path("song.m4a")}).exitCode);
    EXPECT_EQ(EX_OK, RunTool({"--no-clobber", Path("song.m4a")}).exitCode);
    EXPECT_EQ((std::vector<std::string>{"song.m4a", "song.wav"}), mFolder.Names());
}

TEST_F(Existing, OneInputAfterTheOther) {
    std::filesystem::create_directory(Path("out"));
    std::filesystem::copy(Fixture("tone-44100-stereo.m4a"), Path("song.mp4"));
    EXPECT_EQ(EX_OK, RunTool({Path("song.m4a"), Path("out")}).exitCode);
    EXPECT_EQ(EX_CANTCREAT, RunTool({Path("song.mp4"), Path("out")}).exitCode);
    EXPECT_EQ(kToneBytes, std::filesystem::file_size(Path("out/song.wav")));
}

TEST_F(Existing, ForceReplacesIt) {
    EXPECT_EQ(EX_OK, RunTool({"--force", Path("song.m4a")}).exitCode);
    EXPECT_EQ(kToneBytes, Song().size());
}

TEST_F(Existing, NoClobberSkipsIt) {
    ExpectKept({"--no-clobber", Path("song.m4a")}, EX_OK);
    ExpectKept({"--no-clobber", Path("song.m4a"), Path("song.wav")}, EX_OK);
    EXPECT_EQ("aac2wav: " + Path("song.wav") + ": note: exists, skipped\n",
              RunTool({"--no-clobber", Path("song.m4a")}).err);
    EXPECT_EQ("", RunTool({"--quiet", "--no-clobber", Path("song.m4a")}).err);
    // An input that is not there is told all the same.
    EXPECT_EQ(EX_NOINPUT, RunTool({"--no-clobber", Path("none.m4a"), Path("song.wav")}).exitCode);
    std::filesystem::remove(Path("song.wav"));
    EXPECT_EQ(EX_OK, RunTool({"--no-clobber", Path("song.m4a")}).exitCode);
    EXPECT_EQ(kToneBytes, Song().size());
}

TEST_F(Existing, NoClobberSkipsBeforeInputsCollide) {
    std::filesystem::copy(Fixture(kTone), Path("song.mp4"));
    ExpectKept({"--no-clobber", Path("song.m4a"), Path("song.mp4"), Path("")}, EX_OK);
    std::filesystem::remove(Path("song.wav"));
    const Outcome outcome = RunTool({"--no-clobber", Path("song.m4a"), Path("song.mp4"), Path("")});
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("made of neither"));
}

// Two songs make no sense as input and output, and a second one is no output that exists.
TEST_F(Existing, NoClobberDoesNotHideASlip) {
    std::filesystem::copy(Fixture(kTone), Path("other.m4a"));
    ExpectKept({"--no-clobber", Path("song.m4a"), Path("other.m4a")}, EX_USAGE);
    EXPECT_EQ(ReadFile(Fixture(kTone)), ReadFile(Path("other.m4a")));
    std::filesystem::copy(Fixture("tone-16.wav"), Path("another.wav"));
    ExpectKept({"--no-clobber", Path("another.wav"), Path("song.wav")}, EX_USAGE);
    ExpectKept({"--no-clobber", Path("another.wav"), "-o", Path("song.wav")}, EX_OK);
}

TEST_F(Existing, ASlipOfTheShellReplacesNothing) {
    std::filesystem::copy(Fixture("tone-16.wav"), Path("another.wav"));
    ExpectKept({Path("another.wav"), Path("song.wav")}, EX_USAGE);
    std::filesystem::copy(Fixture("tone-16.wav"), Path("another.wave"));
    ExpectKept({Path("another.wave"), Path("song.wav")}, EX_USAGE);
    std::filesystem::copy(Fixture("tone-16.wav"), Path("rec1"));
    WriteFile(Path("rec2"), mMaster);
    ExpectKept({Path("rec1"), Path("rec2")}, EX_USAGE);
    EXPECT_EQ(mMaster, ReadFile(Path("rec2")));
    EXPECT_EQ(EX_OK, RunTool({Path("another.wav"), "-o", Path("song.wav")}).exitCode);
    EXPECT_EQ(ReadFile(Fixture("tone-16.wav")), Song());
}

TEST_F(Existing, APartNeedsAName) {
    for (const char* option : {"--start", "--duration", "--from", "--to", "--for"}) {
        ExpectKept({option, "0.5", Path("song.m4a")}, EX_USAGE);
        ExpectKept({option, "100", Path("song.m4a")}, EX_USAGE);
        ExpectKept({"--force", option, "100", Path("song.m4a"), Path("")}, EX_USAGE);
    }
}

TEST_F(Existing, ARepeatedCommandGivesTheSame) {
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--start", "1000"}, {"--raw"}}) {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(), {Path("song.m4a"), Path("part")});
        ASSERT_EQ(EX_OK, RunTool(arguments).exitCode);
        const std::string part = ReadFile(Path("part"));
        EXPECT_EQ(EX_OK, RunTool(arguments).exitCode);
        EXPECT_EQ(part, ReadFile(Path("part")));
        // Other bytes take its place only by force.
        EXPECT_EQ(EX_CANTCREAT, RunTool({"--start", "2000", Path("song.m4a"), Path("part")}).exitCode);
        EXPECT_EQ(part, ReadFile(Path("part")));
        EXPECT_EQ((std::vector<std::string>{"part", "song.m4a", "song.wav"}), mFolder.Names());
        std::filesystem::remove(Path("part"));
    }
}

TEST_F(Existing, BytesWithoutAHeaderReplaceNoWAV) {
    for (const std::string& old : {mMaster, mMaster.substr(0, 1000)}) {
        for (const std::vector<std::string>& options :
             {std::vector<std::string>{"--start", "1000"}, {"--start", "44"}, {"--raw"}}) {
            std::vector<std::string> arguments = options;
            arguments.insert(arguments.end(), {Path("song.m4a"), Path("song.wav")});
            WriteFile(Path("song.wav"), old);
            const Outcome refused = RunTool(arguments);
            EXPECT_EQ(EX_CANTCREAT, refused.exitCode) << testing::PrintToString(arguments);
            EXPECT_THAT(refused.err, EndsWith("song.wav: exists and has other bytes, and these are no WAV "
                                              "file; --force replaces it\n"));
            EXPECT_TRUE(old == Song());
            arguments.push_back("--force");
            EXPECT_EQ(EX_OK, RunTool(arguments).exitCode);
            const std::string part = Song();
            EXPECT_FALSE(old == part);
            arguments.pop_back();
            EXPECT_EQ(EX_OK, RunTool(arguments).exitCode);
            EXPECT_TRUE(part == Song());
        }
    }
    WriteFile(Path("song.wav"), "");
    EXPECT_EQ(EX_OK, RunTool({"--start", "1000", Path("song.m4a"), Path("song.wav")}).exitCode);
    EXPECT_EQ(kToneBytes - 1000, Song().size());
    // A window from the stream's beginning on is a WAV file.
    WriteFile(Path("song.wav"), mMaster);
    EXPECT_EQ(EX_OK, RunTool({"--duration", "1011", Path("song.m4a"), Path("song.wav")}).exitCode);
    EXPECT_EQ(4044u, Song().size());
}

TEST_F(Existing, ADamagedInputKeepsAWholeWAV) {
    const std::string damaged = Fixture("truncated.m4a");
    ExpectKept({damaged, Path("song.wav")}, EX_DATAERR);
    ExpectKept({"--force", damaged, Path("song.wav")}, EX_DATAERR);
    const Outcome outcome = RunTool({damaged, Path("song.wav")});
    EXPECT_THAT(outcome.err, HasSubstr("20 damaged packets"));
    EXPECT_THAT(outcome.err, EndsWith("is a whole WAV file and stays: the input is damaged (--keep-going "
                                      "replaces it)\n"));
    EXPECT_EQ(EX_OK, RunTool({"--keep-going", damaged, Path("song.wav")}).exitCode);
    EXPECT_EQ(176444u, Song().size());
}

TEST_F(Existing, ADamagedInputReplacesWhatIsNotWhole) {
    for (const std::string& old : {std::string(), mMaster.substr(0, 1000)}) {
        WriteFile(Path("song.wav"), old);
        EXPECT_EQ(EX_DATAERR, RunTool({Fixture("truncated.m4a"), Path("song.wav")}).exitCode);
        EXPECT_EQ(176444u, Song().size());
    }
}

TEST_F(Existing, StandardOutputThatIsTheInput) {
    const std::string before = ReadFile(Path("song.m4a"));
    for (const int flags : {O_WRONLY | O_APPEND, O_RDWR}) {
        Command command({Path("song.m4a"), "-"});
        command.outPath = Path("song.m4a");
        command.outFlags = flags;
        const Outcome outcome = command.Run();
        EXPECT_EQ(EX_USAGE, outcome.exitCode);
        EXPECT_EQ("aac2wav: standard output: is an input and cannot be the output as well\n", outcome.err);
        Command piped({"-"});
        piped.inPath = Path("song.m4a");
        piped.outPath = Path("song.m4a");
        piped.outFlags = flags;
        EXPECT_EQ(EX_USAGE, piped.Run().exitCode);
        EXPECT_EQ(before, ReadFile(Path("song.m4a")));
    }
    Command other({Path("song.m4a"), "-"});
    other.outPath = Path("other");
    EXPECT_EQ(EX_OK, other.Run().exitCode);
    Command device({"/dev/null", "-"});
    device.outPath = "/dev/null";
    EXPECT_EQ(EX_NOINPUT, device.Run().exitCode);
}

TEST_F(Existing, NothingIsPrintedIntoAnInput) {
    const std::string before = ReadFile(Path("song.m4a"));
    const std::string song = Path("song.m4a");
    const std::vector<std::string> commands[] = {{"--json", song, Path("out.wav")},
                                                 {"--json", "-", Path("out.wav")},
                                                 {"--json", "-r", Path(""), Path("out")},
                                                 {"--json", "--no-clobber", song},
                                                 {"--length", song},
                                                 {"--length", "-"},
                                                 {"--probe", song},
                                                 {"--probe", "--json", "-r", Path("")}};
    std::filesystem::create_directory(Path("out"));
    for (const std::vector<std::string>& arguments : commands) {
        for (const int flags : {O_WRONLY | O_APPEND, O_RDWR}) {
            Command command(arguments);
            command.inPath = song;
            command.outPath = song;
            command.outFlags = flags;
            const Outcome outcome = command.Run();
            EXPECT_EQ(EX_USAGE, outcome.exitCode) << testing::PrintToString(arguments);
            EXPECT_EQ("aac2wav: standard output: is an input and cannot be the output as well\n",
                      outcome.err);
            ASSERT_TRUE(before == ReadFile(song)) << testing::PrintToString(arguments);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(Path("out.wav")));
    EXPECT_TRUE(std::filesystem::is_empty(Path("out")));
    // Where nothing is printed, nothing is lost.
    Command silent({song, Path("out.wav")});
    silent.outPath = song;
    silent.outFlags = O_WRONLY | O_APPEND;
    EXPECT_EQ(EX_OK, silent.Run().exitCode);
    EXPECT_EQ(before, ReadFile(song));
}

// Nobody can be told: a message would stand in the file.
TEST_F(Existing, NothingIsSaidIntoAnInput) {
    const std::string before = ReadFile(Path("song.m4a"));
    const std::string song = Path("song.m4a");
    const std::vector<std::string> commands[] = {
        {song, Path("out.wav")},    {"--json", song, Path("out.wav")},
        {song, Path("no/out.wav")}, {"--probe", "-r", Path("")},
        {"--length", "-"},          {"--bogus", song},
        {"--length", song, song}};
    for (const std::vector<std::string>& arguments : commands) {
        Command command(arguments);
        command.inPath = song;
        command.errPath = song;
        const Outcome outcome = command.Run();
        EXPECT_EQ(EX_USAGE, outcome.exitCode) << testing::PrintToString(arguments);
        EXPECT_EQ("", outcome.out);
        ASSERT_TRUE(before == ReadFile(song)) << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(Path("out.wav")));
    WriteFile(Path("log"), "before\n");
    Command logged({Path("none.m4a"), Path("out.wav")});
    logged.errPath = Path("log");
    EXPECT_EQ(EX_NOINPUT, logged.Run().exitCode);
    EXPECT_THAT(ReadFile(Path("log")), testing::StartsWith("before\naac2wav: "));
}

TEST_F(Existing, NoOutputHasAnotherFormatsName) {
    for (const char* name : {"out.flac", "out.mp3", "out.m4b"}) {
        const Outcome outcome = RunTool({Path("song.m4a"), Path(name)});
        EXPECT_EQ(EX_USAGE, outcome.exitCode) << name;
        EXPECT_THAT(outcome.err, HasSubstr("name it out.wav"));
        EXPECT_FALSE(std::filesystem::exists(Path(name)));
    }
    EXPECT_EQ(EX_OK, RunTool({"--force", Path("song.m4a"), Path("out.flac")}).exitCode);
}

TEST_F(Existing, OneBadNameStopsThatFileOnly) {
    std::filesystem::create_directory(Path("out"));
    std::filesystem::copy(Fixture(kTone), Path("out/third.wav"));
    std::filesystem::create_directory(Path("b"));
    std::filesystem::copy(Fixture(kTone), Path("b/song.m4a"));
    std::filesystem::copy(Fixture(kTone), Path("second.m4a"));
    const Outcome outcome = RunTool(
        {Path("song.m4a"), Path("b/song.m4a"), Path("second.m4a"), Path("out/third.wav"), Path("out")});
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_TRUE(std::filesystem::exists(Path("out/second.wav")));
    EXPECT_FALSE(std::filesystem::exists(Path("out/song.wav")));
    EXPECT_EQ(ReadFile(Fixture(kTone)), ReadFile(Path("out/third.wav")));
    EXPECT_THAT(outcome.err, HasSubstr("made of neither"));
    EXPECT_THAT(outcome.err, HasSubstr("third.wav: is an input"));
}

TEST_F(Existing, PreserveKeepsTheTimeOfTheInput) {
    const timespec times[2] = {{1000000000, 0}, {1234567890, 123456789}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, Path("song.m4a").c_str(), times, 0));
    ASSERT_EQ(EX_OK, RunTool({"--preserve", Path("song.m4a"), Path("kept.wav")}).exitCode);
    struct stat item {};
    ASSERT_EQ(0, stat(Path("kept.wav").c_str(), &item));
    EXPECT_EQ(1234567890, item.st_mtim.tv_sec);
    EXPECT_EQ(123456789, item.st_mtim.tv_nsec);
    ASSERT_EQ(EX_OK, RunTool({Path("song.m4a"), Path("new.wav")}).exitCode);
    ASSERT_EQ(0, stat(Path("new.wav").c_str(), &item));
    EXPECT_NE(1234567890, item.st_mtim.tv_sec);
    EXPECT_EQ(EX_OK, RunTool({"--preserve", Path("song.m4a"), "/dev/null"}).exitCode);
}

TEST_F(Existing, SyncedOutputsAreTheSame) {
    EXPECT_EQ(EX_OK, RunTool({"--sync", Path("song.m4a"), Path("synced.wav")}).exitCode);
    EXPECT_EQ(kToneBytes, ReadFile(Path("synced.wav")).size());
    // What has no disk to wait for.
    EXPECT_EQ(kToneBytes, RunTool({"--sync", Path("song.m4a"), "-"}).out.size());
    EXPECT_EQ(EX_OK, RunTool({"--sync", Path("song.m4a"), "/dev/null"}).exitCode);
}

class Asking : public Existing {
  protected:
    Outcome Answer(const std::string& inTyped, const std::vector<std::string>& inArguments) const {
        Command command(inArguments);
        command.err = Command::Stream::kTerminal;
        command.typed = inTyped;
        return command.Run();
    }
};

TEST_F(Asking, YesReplaces) {
    for (const char* answer : {"y\n", "yes\n", "all\n"}) {
        WriteFile(Path("song.wav"), mMaster);
        const Outcome outcome = Answer(answer, {Path("song.m4a")});
        EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(Path("song.wav") + " exists; replace it? [y/N/all/quit] "));
        EXPECT_EQ(kToneBytes, Song().size());
    }
}

TEST_F(Asking, EverythingElseKeeps) {
    for (const char* answer : {"n\n", "\n", "never\n", "quit\n", "q\n", "\x04"}) {
        const Outcome outcome = Answer(answer, {Path("song.m4a")});
        EXPECT_EQ(EX_CANTCREAT, outcome.exitCode) << answer << outcome.err;
        EXPECT_EQ(mMaster, Song());
    }
}

TEST_F(Asking, AllAndQuitAnswerForTheRest) {
    std::filesystem::copy(Fixture(kTone), Path("other.m4a"));
    const std::vector<std::string> both = {Path("song.m4a"), Path("other.m4a"), Path("")};
    WriteFile(Path("other.wav"), mMaster);
    EXPECT_EQ(EX_CANTCREAT, Answer("quit\n", both).exitCode);
    EXPECT_EQ(mMaster, ReadFile(Path("other.wav")));
    EXPECT_EQ(EX_CANTCREAT, Answer("n\ny\n", both).exitCode);
    EXPECT_EQ(mMaster, Song());
    EXPECT_EQ(kToneBytes, ReadFile(Path("other.wav")).size());
    EXPECT_EQ(EX_OK, Answer("all\n", both).exitCode);
    EXPECT_EQ(kToneBytes, Song().size());
}

TEST_F(Asking, NobodyIsAskedWhoMayNotAnswer) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--quiet"}, std::vector<std::string>{"--json"}}) {
        std::vector<std::string> arguments = options;
        arguments.push_back(Path("song.m4a"));
        const Outcome outcome = Answer("y\n", arguments);
        EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
        EXPECT_EQ(std::string::npos, outcome.err.find("replace it?"));
        EXPECT_EQ(mMaster, Song());
    }
    Command command({Path("song.m4a")});
    command.err = Command::Stream::kTerminal;
    command.inText = "y\n";
    EXPECT_EQ(EX_CANTCREAT, command.Run().exitCode);
    EXPECT_EQ(mMaster, Song());
}

TEST_F(Asking, TheOptionsAnswer) {
    EXPECT_EQ(EX_OK, Answer("", {"--no-clobber", Path("song.m4a")}).exitCode);
    EXPECT_EQ(mMaster, Song());
    EXPECT_EQ(EX_OK, Answer("", {"--force", Path("song.m4a")}).exitCode);
    EXPECT_EQ(kToneBytes, Song().size());
}

// Somebody may think for an hour, and another program work meanwhile.
TEST_F(Asking, TheAnswerIsAboutTheFileThatWasThere) {
    Command command({Path("song.m4a")});
    command.err = Command::Stream::kTerminal;
    command.typed = "";
    command.Start();
    while (command.IsRunning() && command.WaitingErrorByteCount() == 0) {
    }
    WriteFile(Path("song.wav"), "another's");
    command.Type("y\n");
    const Outcome outcome = command.Wait();
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(Path("song.wav") + ": was changed meanwhile"));
    EXPECT_EQ("another's", Song());
    EXPECT_EQ((std::vector<std::string>{"song.m4a", "song.wav"}), mFolder.Names());
}

TEST_F(Asking, CanBeStopped) {
    Command command({Path("song.m4a")});
    command.err = Command::Stream::kTerminal;
    command.typed = "";
    command.Start();
    while (command.IsRunning() && command.WaitingErrorByteCount() == 0) {
    }
    command.Signal(SIGINT);
    EXPECT_EQ(SIGINT, command.Wait().signal);
    EXPECT_EQ(mMaster, Song());
}

}  // namespace

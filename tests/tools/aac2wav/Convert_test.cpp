// Whole conversions by the command, end to end: what comes out, under which name, with which exit code and
// words.
#include "Command.h"
#include "WAVFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csignal>
#include <filesystem>

namespace {

using namespace tools_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kTone[] = "tone-44100-stereo.m4a";

// One line, in the form of all messages, about this subject.
testing::AssertionResult IsOneMessage(const std::string& inErr, const std::string& inSubject) {
    const std::string start = "aac2wav: " + (inSubject.empty() ? "" : inSubject + ": ");
    if (inErr.rfind(start, 0) != 0 || std::count(inErr.begin(), inErr.end(), '\n') != 1 ||
        inErr.back() != '\n' || inErr.size() <= start.size() + 1)
        return testing::AssertionFailure() << "not one message about " << inSubject << ": " << inErr;
    return testing::AssertionSuccess();
}

TEST(Convert, OneSecondIs176444Bytes) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({Fixture(kTone), folder / "out.wav"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.out);
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ(std::vector<std::string>{"out.wav"}, folder.Names());
    const std::string bytes = ReadFile(folder / "out.wav");
    EXPECT_EQ(176444u, bytes.size());
    const WAVFile wav = ParseWAV(bytes);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(44100u, wav.sampleRateHz);
    EXPECT_NEAR(440, wav.FrequencyHz(0), 2);
    EXPECT_NEAR(660, wav.FrequencyHz(1), 2);
    EXPECT_NEAR(0.4 / std::sqrt(2.0), wav.RMS(2000, 42000, 0), 0.01);
    EXPECT_NEAR(0.3 / std::sqrt(2.0), wav.RMS(2000, 42000, 1), 0.01);
}

TEST(Convert, StandardOutputHasTheSameBytes) {
    const TemporaryFolder folder;
    EXPECT_EQ(EX_OK, RunTool({Fixture(kTone), folder / "out.wav"}).exitCode);
    const Outcome outcome = RunTool({Fixture(kTone), "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ(ReadFile(folder / "out.wav"), outcome.out);
}

TEST(Convert, MonoGoesToBothChannelsAtFullLevel) {
    const WAVFile wav = ParseWAV(RunTool({Fixture("tone-44100-mono.m4a"), "-"}).out);
    ASSERT_TRUE(wav.isWellFormed);
    for (std::int64_t frame = 0; frame < wav.frameCount; ++frame) {
        ASSERT_EQ(wav.Sample(frame, 0), wav.Sample(frame, 1)) << frame;
    }
    EXPECT_NEAR(0.4 / std::sqrt(2.0), wav.RMS(2000, 42000, 0), 0.01);
}

TEST(Convert, OutputIsBesideTheInputWhenLeftOut) {
    const TemporaryFolder folder;
    std::filesystem::copy(Fixture(kTone), folder / "song.m4a");
    EXPECT_EQ(EX_OK, RunTool({folder / "song.m4a"}).exitCode);
    EXPECT_EQ((std::vector<std::string>{"song.m4a", "song.wav"}), folder.Names());
    EXPECT_TRUE(ParseWAV(ReadFile(folder / "song.wav")).isWellFormed);
}

TEST(Convert, RelativePaths) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "in/deep");
    std::filesystem::copy(Fixture(kTone), folder / "in/deep/song.m4a");
    Command command({"../deep/song.m4a", "../../out.wav"});
    command.folder = folder / "in/deep";
    EXPECT_EQ(EX_OK, command.Run().exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "out.wav"));
    Command plain({"song.m4a"});
    plain.folder = folder / "in/deep";
    EXPECT_EQ(EX_OK, plain.Run().exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "in/deep/song.wav"));
}

TEST(Convert, AFolderTakesSeveral) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({Fixture(kTone), Fixture("tone-8000-mono.m4a"), folder.Path()});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ((std::vector<std::string>{"tone-44100-stereo.wav", "tone-8000-mono.wav"}), folder.Names());
    EXPECT_EQ(32044u, std::filesystem::file_size(folder / "tone-8000-mono.wav"));
}

TEST(Convert, OneFailureDoesNotStopTheOthersAndTheWorstCodeIsReturned) {
    const TemporaryFolder folder;
    const Outcome outcome =
        RunTool({Fixture("words.m4a"), folder / "none.m4a", Fixture(kTone), folder.Path()});
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    EXPECT_EQ(2, std::count(outcome.err.begin(), outcome.err.end(), '\n'));
    EXPECT_EQ(std::vector<std::string>{"tone-44100-stereo.wav"}, folder.Names());
}

TEST(Convert, NamesOfEveryKind) {
    const TemporaryFolder folder;
    const std::vector<std::string> names = {"with space",
                                            " leading and trailing ",
                                            "-dash",
                                            "--help",
                                            "\xF0\x9F\x8E\xB5 emoji",
                                            "\xC3\xA4 composed",
                                            "a\xCC\x88 decomposed",
                                            "\xC3\xA4",
                                            "a\xCC\x88",
                                            "colon:and\\backslash",
                                            "quote'\"$HOME`",
                                            "line\nend",
                                            "\xFF\xFE no UTF-8",
                                            std::string(240, 'n')};
    for (const std::string& name : names)
        std::filesystem::copy(Fixture("tone-8000-mono.m4a"), folder / (name + ".m4a"));
    for (const std::string& name : names) {
        Command command({"--", name + ".m4a"});
        command.folder = folder.Path();
        const Outcome outcome = command.Run();
        EXPECT_EQ(EX_OK, outcome.exitCode) << name << outcome.err;
        EXPECT_EQ(32044u, ReadFile(folder / (name + ".wav")).size()) << name;
    }
    EXPECT_EQ(2 * names.size(), folder.Names().size());
}

TEST(Convert, NamesDoNotDependOnTheLocale) {
    const TemporaryFolder folder;
    std::filesystem::copy(Fixture("tone-8000-mono.m4a"), folder / "\xE6\x97\xA5\xE6\x9C\xAC \xC3\xA4.m4a");
    for (const char* locale : {"LC_ALL=C", "LC_ALL=POSIX", "LC_ALL=C.UTF-8", "LC_ALL=xx_YY"}) {
        Command command({folder / "\xE6\x97\xA5\xE6\x9C\xAC \xC3\xA4.m4a", folder / "\xC3\xB6.wav"});
        command.environment = {locale};
        EXPECT_EQ(EX_OK, command.Run().exitCode) << locale;
        EXPECT_EQ(32044u, std::filesystem::file_size(folder / "\xC3\xB6.wav"));
        std::filesystem::remove(folder / "\xC3\xB6.wav");
    }
}

TEST(Convert, MessagesAreOneLineWhateverTheName) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({folder / "a\nb\033[31m.m4a", "-"});
    EXPECT_EQ(EX_NOINPUT, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, folder / "a?b?[31m.m4a"));
}

TEST(Convert, MissingAndUnreadableInputs) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("loop", folder / "loop");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    WriteFile(folder / "file", "x");
    for (const char* name : {"none.m4a", "none/none.m4a", "loop", "dangling", "file/in", "."}) {
        const Outcome outcome = RunTool({folder / name, folder / "out.wav"});
        EXPECT_EQ(EX_NOINPUT, outcome.exitCode) << name;
        EXPECT_TRUE(IsOneMessage(outcome.err, folder / name));
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
    EXPECT_THAT(RunTool({folder / ".", "-"}).err, HasSubstr("is a folder"));
    EXPECT_THAT(RunTool({folder / "none", "-"}).err, HasSubstr("No such file"));
    const Outcome device = RunTool({"/dev/null", "-"});
    EXPECT_EQ(EX_NOINPUT, device.exitCode);
    EXPECT_TRUE(IsOneMessage(device.err, "/dev/null"));
}

TEST(Convert, PermissionsAreTold) {
    const TemporaryFolder folder;
    std::filesystem::copy(Fixture(kTone), folder / "song.m4a");
    std::filesystem::permissions(folder / "song.m4a", std::filesystem::perms::none);
    std::filesystem::create_directory(folder / "closed");
    std::filesystem::permissions(folder / "closed", std::filesystem::perms(0555));

    Command read({folder / "song.m4a", folder / "out.wav"});
    read.obeysPermissions = true;
    const Outcome unread = read.Run();
    EXPECT_EQ(EX_NOINPUT, unread.exitCode);
    EXPECT_TRUE(IsOneMessage(unread.err, folder / "song.m4a"));

    Command write({Fixture(kTone), folder / "closed/out.wav"});
    write.obeysPermissions = true;
    const Outcome unwritten = write.Run();
    EXPECT_EQ(EX_CANTCREAT, unwritten.exitCode);
    EXPECT_TRUE(IsOneMessage(unwritten.err, folder / "closed/out.wav"));
    EXPECT_EQ((std::vector<std::string>{"closed", "song.m4a"}), folder.Names());
}

TEST(Convert, WhatIsNoSoundIsRefusedBeforeAnythingIsWritten) {
    const TemporaryFolder folder;
    for (const char* name : {"words.m4a", "empty.m4a", "no-tables.m4a"}) {
        const Outcome outcome = RunTool({Fixture(name), folder / "out.wav"});
        EXPECT_EQ(EX_DATAERR, outcome.exitCode) << name;
        EXPECT_TRUE(IsOneMessage(outcome.err, Fixture(name)));
        EXPECT_EQ("", RunTool({Fixture(name), "-"}).out);
    }
    EXPECT_TRUE(folder.Names().empty());
}

// Whatever the libraries beneath have to say of it.
TEST(Convert, MessagesAreInOurWords) {
    const TemporaryFolder folder;
    WriteFile(folder / "cut.mkv", ReadFile(Fixture("tone.mkv")).substr(0, 300));
    // A description of a sound at no rate, and nothing behind it.
    const std::string head("caff\0\1\0\0desc\0\0\0\0\0\0\0\x20", 20);
    WriteFile(folder / "bad.caf", head + std::string(32, '\0'));
    WriteFile(folder / "cut.ogg", ReadFile(Fixture("tone.ogg")).substr(0, 10));
    const std::pair<const char*, const char*> expected[] = {
        {"cut.mkv", "the file ends before its sound begins"},
        {"bad.caf", "the file is damaged, or not what it looks like"},
        {"cut.ogg", "the file ends before its sound begins"}};
    for (const auto& [name, words] : expected) {
        const Outcome outcome = RunTool({folder / name, "-"});
        EXPECT_EQ(EX_DATAERR, outcome.exitCode);
        EXPECT_EQ("aac2wav: " + folder / name + ": " + words + '\n', outcome.err);
    }
}

TEST(Convert, AMessageNamesTheFileOnceAndAsItWasGiven) {
    const TemporaryFolder folder;
    WriteFile(folder / "words.m4a", "words");
    std::filesystem::create_symlink("words.m4a", folder / "link.m4a");
    for (const char* name : {"words.m4a", "./words.m4a", "link.m4a"}) {
        Command command({name, "-"});
        command.folder = folder.Path();
        const std::string err = command.Run().err;
        EXPECT_TRUE(IsOneMessage(err, name));
        EXPECT_THAT(err, Not(HasSubstr(folder.Path())));
        EXPECT_EQ(err.find(".m4a"), err.rfind(".m4a")) << err;
    }
}

TEST(Convert, EncryptedSoundIsRefusedBeforeAnythingIsWritten) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({Fixture("encrypted.mp4"), folder / "out.wav"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, Fixture("encrypted.mp4")));
    EXPECT_THAT(outcome.err, HasSubstr("encrypted"));
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EQ(EX_DATAERR, RunTool({"--length", Fixture("encrypted.mp4")}).exitCode);
}

TEST(Convert, PictureOnlyBecomesSilenceWithANote) {
    const Outcome outcome = RunTool({Fixture("video-only.mp4"), "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, Fixture("video-only.mp4")));
    EXPECT_THAT(outcome.err, HasSubstr("note: "));
    const WAVFile wav = ParseWAV(outcome.out);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(44100u, wav.sampleRateHz);
    EXPECT_EQ(44100, wav.frameCount);
    EXPECT_EQ(std::string(176400, '\0'), wav.sound);
    EXPECT_EQ("", RunTool({"--quiet", Fixture("video-only.mp4"), "-"}).err);
}

TEST(Convert, DamageBecomesSilenceOfTheSameLengthAndAWarning) {
    const TemporaryFolder folder;
    const Outcome outcome = RunTool({Fixture("truncated.m4a"), folder / "out.wav"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, Fixture("truncated.m4a")));
    EXPECT_THAT(outcome.err, HasSubstr("20 damaged packets, 442 ms"));
    const WAVFile wav = ParseWAV(ReadFile(folder / "out.wav"));
    EXPECT_TRUE(wav.isWellFormed);
    ASSERT_EQ(44100, wav.frameCount);
    const WAVFile whole = ParseWAV(RunTool({Fixture("faststart.m4a"), "-"}).out);
    EXPECT_TRUE(whole.sound.substr(0, 24576 * 4) == wav.sound.substr(0, 24576 * 4));
    EXPECT_EQ(std::string(19524 * 4, '\0'), wav.sound.substr(24576 * 4));
}

TEST(Convert, OneDamagedPacketLeavesTheRestInPlace) {
    const Outcome outcome = RunTool({Fixture("damaged.m4a"), "-"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("1 damaged packet, 23 ms"));
    const WAVFile wav = ParseWAV(outcome.out);
    const WAVFile whole = ParseWAV(RunTool({Fixture(kTone), "-"}).out);
    ASSERT_EQ(whole.sound.size(), wav.sound.size());
    EXPECT_TRUE(whole.sound.substr(0, 19456 * 4) == wav.sound.substr(0, 19456 * 4));
    EXPECT_EQ(std::string(1024 * 4, '\0'), wav.sound.substr(19456 * 4, 1024 * 4));
    // The packet after it overlaps with it; from the next one on, all is as it was.
    EXPECT_TRUE(whole.sound.substr(21504 * 4) == wav.sound.substr(21504 * 4));
}

TEST(Convert, KeepGoingTakesDamageAsSuccess) {
    const Outcome outcome = RunTool({"--keep-going", Fixture("truncated.m4a"), "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("warning: "));
    EXPECT_EQ(176444u, outcome.out.size());
    const Outcome quiet = RunTool({"--quiet", Fixture("truncated.m4a"), "-"});
    EXPECT_EQ(EX_DATAERR, quiet.exitCode);
    EXPECT_EQ("aac2wav: " + Fixture("truncated.m4a") +
                  ": 20 damaged packets, 442 ms of sound replaced by silence\n",
              quiet.err);
    EXPECT_EQ("", RunTool({"--quiet", "--keep-going", Fixture("truncated.m4a"), "-"}).err);
}

TEST(Convert, InputIsNeverTheOutput) {
    const TemporaryFolder folder;
    std::filesystem::copy(Fixture("tone-16.wav"), folder / "song.wav");
    const std::string before = ReadFile(folder / "song.wav");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{folder / "song.wav"},
                                                      {folder / "song.wav", folder / "song.wav"},
                                                      {"--force", folder / "song.wav", folder.Path()}}) {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(EX_USAGE, outcome.exitCode);
        EXPECT_EQ(before, ReadFile(folder / "song.wav"));
    }
    EXPECT_EQ(1u, folder.Names().size());
}

TEST(Convert, ReplacesAWAVFileButNothingElse) {
    const TemporaryFolder folder;
    EXPECT_EQ(EX_OK, RunTool({Fixture("tone-8000-mono.m4a"), folder / "out.wav"}).exitCode);
    EXPECT_EQ(EX_OK, RunTool({Fixture(kTone), folder / "out.wav"}).exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "out.wav"));

    WriteFile(folder / "thesis", "words");
    const Outcome outcome = RunTool({Fixture(kTone), folder / "thesis"});
    EXPECT_EQ(EX_CANTCREAT, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, folder / "thesis"));
    EXPECT_EQ("words", ReadFile(folder / "thesis"));
    EXPECT_EQ(EX_OK, RunTool({"--force", Fixture(kTone), folder / "thesis"}).exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "thesis"));
}

TEST(Convert, OutputsThatCannotBe) {
    const TemporaryFolder folder;
    const Outcome missing = RunTool({Fixture(kTone), folder / "missing/out.wav"});
    EXPECT_EQ(EX_CANTCREAT, missing.exitCode);
    EXPECT_TRUE(IsOneMessage(missing.err, folder / "missing/out.wav"));
    EXPECT_EQ(EX_CANTCREAT, RunTool({Fixture(kTone), folder / "missing/"}).exitCode);
    EXPECT_EQ(EX_CANTCREAT, RunTool({Fixture(kTone), Fixture(kTone), folder / "missing"}).exitCode);
    // A folder where the file would be.
    std::filesystem::create_directory(folder / "tone-44100-stereo.wav");
    EXPECT_EQ(EX_CANTCREAT, RunTool({Fixture(kTone), folder.Path()}).exitCode);
}

TEST(Convert, AFullDiskLeavesNothingBehind) {
    const TemporaryFolder folder;
    Command limited({Fixture(kTone), folder / "out.wav"});
    limited.fileSizeLimitBytes = 65536;
    const Outcome outcome = limited.Run();
    EXPECT_EQ(EX_IOERR, outcome.exitCode);
    EXPECT_TRUE(IsOneMessage(outcome.err, folder / "out.wav"));
    EXPECT_TRUE(folder.Names().empty());

    const Outcome device = RunTool({Fixture(kTone), "/dev/full"});
    EXPECT_EQ(EX_IOERR, device.exitCode);
    EXPECT_THAT(device.err, HasSubstr("No space left"));
    Command out({Fixture(kTone), "-"});
    out.outPath = "/dev/full";
    const Outcome full = out.Run();
    EXPECT_EQ(EX_IOERR, full.exitCode);
    EXPECT_TRUE(IsOneMessage(full.err, "standard output"));
}

TEST(Convert, AFullDiskKeepsTheOldFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(EX_OK, RunTool({Fixture("tone-8000-mono.m4a"), folder / "out.wav"}).exitCode);
    const std::string before = ReadFile(folder / "out.wav");
    Command limited({Fixture(kTone), folder / "out.wav"});
    limited.fileSizeLimitBytes = 65536;
    EXPECT_EQ(EX_IOERR, limited.Run().exitCode);
    EXPECT_EQ(before, ReadFile(folder / "out.wav"));
    EXPECT_EQ(1u, folder.Names().size());
}

TEST(Convert, StandardOutputMustNotBeATerminal) {
    Command command({Fixture(kTone), "-"});
    command.out = Command::Stream::kTerminal;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_USAGE, outcome.exitCode);
    EXPECT_EQ("", outcome.out);
    EXPECT_TRUE(IsOneMessage(outcome.err, ""));
}

TEST(Convert, AClosedStandardOutputIsNoFile) {
    const TemporaryFolder folder;
    std::filesystem::copy(Fixture(kTone), folder / "song.m4a");
    Command command({folder / "song.m4a", "-"});
    command.out = Command::Stream::kClosed;
    EXPECT_EQ(EX_IOERR, command.Run().exitCode);
    EXPECT_EQ(ReadFile(Fixture(kTone)), ReadFile(folder / "song.m4a"));
    Command toFile({folder / "song.m4a", folder / "out.wav"});
    toFile.out = Command::Stream::kClosed;
    toFile.err = Command::Stream::kClosed;
    EXPECT_EQ(EX_OK, toFile.Run().exitCode);
    EXPECT_EQ(176444u, std::filesystem::file_size(folder / "out.wav"));
}

TEST(Convert, ProgressIsForTerminalsOnly) {
    const TemporaryFolder folder;
    Command command({Fixture("long.m4a"), folder / "out.wav"});
    command.err = Command::Stream::kTerminal;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("\r\033[Klong.m4a  "));
    EXPECT_THAT(outcome.err, HasSubstr("%  "));
    EXPECT_THAT(outcome.err, HasSubstr(" left"));
    EXPECT_THAT(outcome.err, EndsWith("\r\033[K"));
    EXPECT_EQ(86130688u * 4 + 44, std::filesystem::file_size(folder / "out.wav"));

    Command quiet({"--quiet", Fixture("long.m4a"), "/dev/null"});
    quiet.err = Command::Stream::kTerminal;
    EXPECT_EQ("", quiet.Run().err);
    EXPECT_EQ("", RunTool({Fixture("long.m4a"), "/dev/null"}).err);
}

TEST(Convert, ProgressStaysOnOneLine) {
    const TemporaryFolder folder;
    const std::string name(200, 'n');
    std::filesystem::create_symlink(Fixture("long.m4a"), folder / name);
    Command command({folder / name, "/dev/null"});
    command.err = Command::Stream::kTerminal;
    command.terminalColumnCount = 60;
    const Outcome outcome = command.Run();
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("\r\033[Knnnn"));
    EXPECT_THAT(outcome.err, HasSubstr("nnn...  "));
    constexpr std::size_t kWipeByteCount = 4;
    for (std::size_t at = 0; at < outcome.err.size();) {
        const std::size_t end = std::min(outcome.err.find("\r\033[K", at + 1), outcome.err.size());
        EXPECT_LT(end - at - kWipeByteCount, 60u);
        at = end;
    }
}

TEST(Length, PrintsTheNumberAndNothingElse) {
    const Outcome outcome = RunTool({"--length", Fixture(kTone)});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("176444\n", outcome.out);
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ("176480\n", RunTool({"--length", "--rf64", Fixture(kTone)}).out);
    EXPECT_EQ("217328\n", RunTool({"--length", Fixture("odd-44100-stereo.m4a")}).out);
}

TEST(Length, TellsWhyThereIsNone) {
    for (const char* name : {"words.m4a", "empty.m4a"}) {
        const Outcome outcome = RunTool({"--length", Fixture(name)});
        EXPECT_EQ(EX_DATAERR, outcome.exitCode);
        EXPECT_EQ("", outcome.out);
        EXPECT_TRUE(IsOneMessage(outcome.err, Fixture(name)));
    }
    EXPECT_EQ(EX_NOINPUT, RunTool({"--length", Fixture("none")}).exitCode);
    Command full({"--length", Fixture(kTone)});
    full.outPath = "/dev/full";
    EXPECT_EQ(EX_IOERR, full.Run().exitCode);
}

struct Expected {
    const char* name;
    std::uint32_t rateHz;
    std::int64_t frameCount;
};

class EveryFixture : public testing::TestWithParam<Expected> {};

TEST_P(EveryFixture, HasItsExactLength) {
    const Expected& expected = GetParam();
    const Outcome length = RunTool({"--length", Fixture(expected.name)});
    EXPECT_EQ(std::to_string(expected.frameCount * 4 + 44) + '\n', length.out) << length.err;
    const Outcome outcome = RunTool({Fixture(expected.name), "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
    EXPECT_EQ("", outcome.err);
    const WAVFile wav = ParseWAV(outcome.out);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(expected.rateHz, wav.sampleRateHz);
    EXPECT_EQ(expected.frameCount, wav.frameCount);
}

std::string NameOf(const testing::TestParamInfo<Expected>& inInfo) {
    std::string name = inInfo.param.name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char byte) { return !std::isalnum(byte); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(
    MPEG4, EveryFixture,
    testing::Values(
        Expected{"tone-7350-stereo.m4a", 7350, 7350}, Expected{"tone-8000-stereo.m4a", 8000, 8000},
        Expected{"tone-11025-stereo.m4a", 11025, 11025}, Expected{"tone-12000-stereo.m4a", 12000, 12000},
        Expected{"tone-16000-stereo.m4a", 16000, 16000}, Expected{"tone-22050-stereo.m4a", 22050, 22050},
        Expected{"tone-24000-stereo.m4a", 24000, 24000}, Expected{"tone-32000-stereo.m4a", 32000, 32000},
        Expected{"tone-44100-stereo.m4a", 44100, 44100}, Expected{"tone-48000-stereo.m4a", 48000, 48000},
        Expected{"tone-64000-stereo.m4a", 64000, 64000}, Expected{"tone-88200-stereo.m4a", 44100, 44100},
        Expected{"tone-96000-stereo.m4a", 48000, 48000}, Expected{"tone-7350-mono.m4a", 7350, 7350},
        Expected{"tone-22050-mono.m4a", 22050, 22050}, Expected{"tone-96000-mono.m4a", 48000, 48000},
        Expected{"sweep-44100-stereo.m4a", 44100, 132300}, Expected{"noise-44100-stereo.m4a", 44100, 88200},
        Expected{"noise-pns-44100-stereo.m4a", 44100, 88200},
        Expected{"silence-44100-stereo.m4a", 44100, 44100}, Expected{"odd-44100-stereo.m4a", 44100, 54321},
        Expected{"one-packet-44100-stereo.m4a", 44100, 1024},
        Expected{"one-frame-44100-stereo.m4a", 44100, 1}, Expected{"main-44100-stereo.m4a", 44100, 44100},
        Expected{"ltp-44100-stereo.m4a", 44100, 44100}, Expected{"tone-48000-3_0.m4a", 48000, 48000},
        Expected{"tone-48000-4_0.m4a", 48000, 48000}, Expected{"tone-48000-5_0.m4a", 48000, 48000},
        Expected{"tone-48000-5_1.m4a", 48000, 48000}, Expected{"tone-48000-7_1.m4a", 48000, 48000},
        Expected{"faststart.m4a", 44100, 44100}, Expected{"tone.mp4", 44100, 44100},
        Expected{"tone.m4b", 44100, 44100}, Expected{"tone.mov", 44100, 44100},
        Expected{"tone.3gp", 44100, 44100}, Expected{"fragmented.mp4", 44100, 45124},
        Expected{"fragmented-delay-moov.mp4", 44100, 44100}, Expected{"no-edit-list.m4a", 44100, 45124},
        Expected{"with-video.mp4", 44100, 44100}, Expected{"with-video.mov", 44100, 44100},
        Expected{"chapters.m4b", 44100, 44100}, Expected{"cover.m4a", 44100, 44100},
        Expected{"two-sounds.m4a", 44100, 44100}, Expected{"alac-44100-stereo.m4a", 44100, 44100},
        Expected{"alac-24-48000-mono.m4a", 48000, 48000}, Expected{"flac.mp4", 44100, 44100},
        Expected{"opus.mp4", 48000, 48000}, Expected{"mp3.mp4", 44100, 44100}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    ADTS, EveryFixture,
    testing::Values(
        Expected{"tone-7350-stereo.aac", 7350, 9216}, Expected{"tone-8000-stereo.aac", 8000, 9216},
        Expected{"tone-11025-stereo.aac", 11025, 12288}, Expected{"tone-12000-stereo.aac", 12000, 13312},
        Expected{"tone-16000-stereo.aac", 16000, 17408}, Expected{"tone-22050-stereo.aac", 22050, 23552},
        Expected{"tone-24000-stereo.aac", 24000, 25600}, Expected{"tone-32000-stereo.aac", 32000, 33792},
        Expected{"tone-44100-stereo.aac", 44100, 46080}, Expected{"tone-48000-stereo.aac", 48000, 49152},
        Expected{"tone-64000-stereo.aac", 64000, 65536}, Expected{"tone-88200-stereo.aac", 44100, 45056},
        Expected{"tone-96000-stereo.aac", 48000, 48640}, Expected{"tone-48000-5_1.aac", 48000, 49152},
        Expected{"quiet-8000-mono.aac", 8000, 65536}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    General, EveryFixture,
    testing::Values(Expected{"tone.mkv", 44100, 46080}, Expected{"tone.ts", 44100, 46080},
                    Expected{"tone.latm", 44100, 46080}, Expected{"tone.mp3", 44100, 44100},
                    Expected{"tone-vbr.mp3", 44100, 44100}, Expected{"tone.mp2", 44100, 44928},
                    Expected{"tone.ac3", 48000, 49152}, Expected{"tone-8.wav", 44100, 44100},
                    Expected{"tone-16.wav", 44100, 44100}, Expected{"tone-24.wav", 44100, 44100},
                    Expected{"tone-32.wav", 44100, 44100}, Expected{"tone-float.wav", 44100, 44100},
                    Expected{"tone-16-mono.wav", 44100, 44100}, Expected{"tone-16-5_1.wav", 48000, 48000},
                    Expected{"tone.aiff", 44100, 44100}, Expected{"tone-sowt.aiff", 44100, 44100},
                    Expected{"tone-16.caf", 44100, 44100}, Expected{"tone-alac.caf", 44100, 44100},
                    Expected{"tone.flac", 44100, 44100}, Expected{"tone.mka", 44100, 44100},
                    Expected{"tone.ogg", 44100, 44100}, Expected{"tone.opus", 48000, 48000}),
    NameOf);

TEST(Convert, PCMComesBackAsItWas) {
    const std::string original = ReadFile(Fixture("tone-16.wav"));
    EXPECT_EQ(original, RunTool({Fixture("tone-16.wav"), "-"}).out);
    for (const char* name : {"tone.aiff", "tone-sowt.aiff", "tone-16.caf", "tone.flac", "tone-alac.caf",
                             "tone.mka", "alac-44100-stereo.m4a", "flac.mp4"}) {
        EXPECT_TRUE(original == RunTool({Fixture(name), "-"}).out) << name;
    }
}

}  // namespace

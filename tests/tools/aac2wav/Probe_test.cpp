#include "Command.h"
#include "Description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sysexits.h>

#include <algorithm>
#include <cstring>

namespace {

using namespace tools_test;
using nlohmann::json;
using testing::HasSubstr;
using tool::Description;

constexpr char kTone[] = "tone-44100-stereo.m4a";

Description MakeDescription() {
    Description description{};
    description.path = "song.m4a";
    description.report.format = FourChars("mp4a");
    std::strcpy(description.report.formatName, "AAC LC");
    std::strcpy(description.report.containerName, "MPEG-4");
    description.report.sampleRateHz = 96000;
    description.report.channelCount = 6;
    description.report.frameCount = 5000000000;
    description.report.trimSource = kSoundTrimGaplessTag;
    description.report.framesTrimmedAtStart = 2112;
    description.report.framesTrimmedAtEnd = 756;
    description.report.packetCount = 4882816;
    description.report.damagedPacketCount = 3;
    description.report.silencedFrameCount = 3072;
    description.report.skippedByteCount = 17;
    description.streamRateHz = 48000;
    description.streamFrameCount = 2500000000;
    description.streamByteCount = 10000000044;
    return description;
}

TEST(DescriptionText, HoldsEveryFact) {
    EXPECT_EQ(
        "song.m4a\n"
        "  format     AAC LC\n"
        "  container  MPEG-4\n"
        "  rate       96000 Hz\n"
        "  channels   6\n"
        "  frames     5000000000\n"
        "  length     52083.333333 s\n"
        "  trimmed    2112 frames at the start, 756 at the end, by gapless tag\n"
        "  packets    4882816\n"
        "  stream     10000000044 bytes, 2500000000 frames at 48000 Hz\n"
        "  damage     3 packets, 3072 frames silenced, 17 bytes skipped\n",
        tool::DescriptionText(MakeDescription()));
}

TEST(DescriptionText, WithoutSound) {
    Description description{};
    description.path = "film.mp4";
    std::strcpy(description.report.containerName, "MPEG-4");
    description.streamRateHz = 44100;
    description.streamFrameCount = 44100;
    description.streamByteCount = 176444;
    EXPECT_EQ(
        "film.mp4\n"
        "  format     no sound\n"
        "  container  MPEG-4\n"
        "  stream     176444 bytes, 44100 frames at 44100 Hz\n"
        "  damage     0 packets, 0 frames silenced, 0 bytes skipped\n",
        tool::DescriptionText(description));
}

TEST(DescriptionJSON, HoldsEveryFactOnOneLine) {
    const std::string line = tool::DescriptionJSON(MakeDescription());
    EXPECT_EQ(1, std::count(line.begin(), line.end(), '\n'));
    EXPECT_EQ('\n', line.back());
    EXPECT_EQ(json::parse(R"({
        "file": "song.m4a", "container": "MPEG-4",
        "sound": {"format": "AAC LC", "type": "mp4a", "sampleRateHz": 96000, "channels": 6, "frames": 5000000000,
                  "seconds": 52083.333333333336, "packets": 4882816},
        "trim": {"source": "gapless tag", "startFrames": 2112, "endFrames": 756},
        "stream": {"bytes": 10000000044, "frames": 2500000000, "sampleRateHz": 48000},
        "damage": {"packets": 3, "silencedFrames": 3072, "skippedBytes": 17}})"),
              json::parse(line));
}

TEST(DescriptionText, OneIsNoPlural) {
    Description description = MakeDescription();
    description.report.damagedPacketCount = 1;
    description.report.silencedFrameCount = 1;
    description.report.skippedByteCount = 1;
    EXPECT_THAT(tool::DescriptionText(description),
                HasSubstr("  damage     1 packet, 1 frame silenced, 1 byte skipped\n"));
}

TEST(DescriptionJSON, NamesEveryTrimSource) {
    Description description = MakeDescription();
    const std::pair<UInt32, const char*> sources[] = {{kSoundTrimNone, "none"},
                                                      {kSoundTrimEditList, "edit list"},
                                                      {kSoundTrimGaplessTag, "gapless tag"},
                                                      {kSoundTrimCodecHeader, "codec header"}};
    for (const auto& [source, name] : sources) {
        description.report.trimSource = source;
        EXPECT_EQ(name, json::parse(tool::DescriptionJSON(description))["trim"]["source"]);
    }
}

TEST(DescriptionJSON, IsValidWhateverTheName) {
    Description description = MakeDescription();
    description.path = "a\"\\\n\xFF\xC3\xA4";
    const json object = json::parse(tool::DescriptionJSON(description));
    EXPECT_EQ("a\"\\\n\xEF\xBF\xBD\xC3\xA4", object["file"]);
    EXPECT_EQ("words", json::parse(tool::FailureJSON("\xFF", "words"))["error"]);
}

TEST(DescriptionJSON, WithoutSoundIsNull) {
    Description description{};
    const json object = json::parse(tool::DescriptionJSON(description));
    EXPECT_TRUE(object["sound"].is_null());
    EXPECT_FALSE(object.contains("trim"));
}

json ProbeJSON(const std::string& inName, int inExitCode = EX_OK) {
    const Outcome outcome = RunTool({"--probe", "--json", Fixture(inName)});
    EXPECT_EQ(inExitCode, outcome.exitCode) << outcome.err;
    return json::parse(outcome.out);
}

TEST(Probe, DescribesASong) {
    const Outcome outcome = RunTool({"--probe", Fixture(kTone)});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_EQ("", outcome.err);
    EXPECT_THAT(outcome.out, HasSubstr("\n  rate       44100 Hz\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\n  stream     176444 bytes, 44100 frames at 44100 Hz\n"));
    EXPECT_THAT(outcome.out, HasSubstr("1024 frames at the start, "));
    EXPECT_THAT(outcome.out, HasSubstr(" by edit list\n"));
}

TEST(Probe, DescribesASongAsJSON) {
    const json object = ProbeJSON(kTone);
    EXPECT_EQ(Fixture(kTone), object["file"].get<std::string>());
    EXPECT_EQ("mp4a", object["sound"]["type"]);
    EXPECT_EQ(44100, object["sound"]["sampleRateHz"]);
    EXPECT_EQ(2, object["sound"]["channels"]);
    EXPECT_EQ(44100, object["sound"]["frames"]);
    EXPECT_EQ(1.0, object["sound"]["seconds"]);
    EXPECT_EQ(45, object["sound"]["packets"]);
    EXPECT_EQ("edit list", object["trim"]["source"]);
    EXPECT_EQ(1024, object["trim"]["startFrames"]);
    EXPECT_EQ(176444, object["stream"]["bytes"]);
    EXPECT_EQ(0, object["damage"]["packets"]);
    EXPECT_EQ("none", ProbeJSON("no-edit-list.m4a")["trim"]["source"]);
    EXPECT_EQ("codec header", ProbeJSON("tone.mp3")["trim"]["source"]);
}

TEST(Probe, TellsTheRateOfTheSoundAndThatOfTheStream) {
    const json object = ProbeJSON("tone-96000-stereo.m4a");
    EXPECT_EQ(96000, object["sound"]["sampleRateHz"]);
    EXPECT_EQ(96000, object["sound"]["frames"]);
    EXPECT_EQ(48000, object["stream"]["sampleRateHz"]);
    EXPECT_EQ(48000, object["stream"]["frames"]);
    EXPECT_EQ(6, ProbeJSON("tone-48000-5_1.m4a")["sound"]["channels"]);
}

TEST(Probe, DecodesEverythingToKnowTheDamage) {
    const json object = ProbeJSON("damaged.m4a", EX_DATAERR);
    EXPECT_EQ(1, object["damage"]["packets"]);
    EXPECT_EQ(1024, object["damage"]["silencedFrames"]);
    EXPECT_EQ(20, ProbeJSON("truncated.m4a", EX_DATAERR)["damage"]["packets"]);
    EXPECT_EQ(EX_OK, RunTool({"--probe", "--keep-going", Fixture("damaged.m4a")}).exitCode);
}

// The file's packets are presented for almost a day each: six weeks of silence, which no one renders.
TEST(Probe, SilenceIsCountedAndNotRendered) {
    std::string bytes = ReadFile(Fixture("no-edit-list.m4a"));
    const std::size_t table = bytes.find("stts");
    ASSERT_NE(std::string::npos, table);
    const auto setDuration = [&](std::uint32_t inUnits) {
        for (int i = 0; i < 4; ++i)
            bytes[table + 16 + static_cast<std::size_t>(i)] = static_cast<char>(inUnits >> (24 - 8 * i));
    };
    TemporaryFolder folder;
    setDuration(80000U * 44100);
    WriteFile(folder / "weeks.m4a", bytes);
    const Outcome weeks = RunTool({"--probe", "--json", folder / "weeks.m4a"});
    EXPECT_EQ(EX_OK, weeks.exitCode) << weeks.err;
    const json object = json::parse(weeks.out);
    EXPECT_LT(40LL * 80000 * 44100, object["sound"]["frames"].get<std::int64_t>());
    EXPECT_EQ(0, object["damage"]["packets"]);
    EXPECT_EQ(0, object["damage"]["silencedFrames"]);
    setDuration(0xFFFFFFFF);
    WriteFile(folder / "months.m4a", bytes);
    const Outcome months = RunTool({"--probe", folder / "months.m4a"});
    EXPECT_EQ(EX_DATAERR, months.exitCode);
    EXPECT_THAT(months.err, HasSubstr("a gap in its sound that is beyond reason"));
    EXPECT_EQ(EX_DATAERR, RunTool({"--length", folder / "months.m4a"}).exitCode);
}

TEST(Probe, PictureOnly) {
    EXPECT_TRUE(ProbeJSON("video-only.mp4")["sound"].is_null());
    EXPECT_THAT(RunTool({"--probe", Fixture("video-only.mp4")}).out, HasSubstr("no sound"));
}

TEST(Probe, FailuresAreOnBothStreams) {
    for (const char* name : {"words.m4a", "empty.m4a", "encrypted.mp4"}) {
        const Outcome outcome = RunTool({"--probe", "--json", Fixture(name)});
        EXPECT_EQ(EX_DATAERR, outcome.exitCode);
        const json object = json::parse(outcome.out);
        EXPECT_EQ(Fixture(name), object["file"].get<std::string>());
        EXPECT_NE("", object["error"]);
        EXPECT_EQ("aac2wav: " + Fixture(name) + ": " + std::string(object["error"]) + "\n", outcome.err);
    }
    const Outcome plain = RunTool({"--probe", Fixture("words.m4a")});
    EXPECT_EQ("", plain.out);
    EXPECT_EQ(EX_NOINPUT, RunTool({"--probe", "--json", Fixture("none")}).exitCode);
}

TEST(Probe, SeveralFilesAreALineEach) {
    const Outcome outcome =
        RunTool({"--probe", "--json", Fixture(kTone), Fixture("words.m4a"), Fixture("tone.mp4")});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    std::istringstream lines(outcome.out);
    std::vector<json> objects;
    for (std::string line; std::getline(lines, line);)
        objects.push_back(json::parse(line));
    ASSERT_EQ(3u, objects.size());
    EXPECT_TRUE(objects[0].contains("sound"));
    EXPECT_TRUE(objects[1].contains("error"));
    EXPECT_EQ(Fixture("tone.mp4"), objects[2]["file"].get<std::string>());
}

TEST(Probe, WritesNoFile) {
    const TemporaryFolder folder;
    Command command({"--probe", Fixture(kTone)});
    command.folder = folder.Path();
    EXPECT_EQ(EX_OK, command.Run().exitCode);
    EXPECT_TRUE(folder.Names().empty());
    Command full({"--probe", Fixture(kTone)});
    full.outPath = "/dev/full";
    EXPECT_EQ(EX_IOERR, full.Run().exitCode);
}

}  // namespace

// Parts by time, samples without a header, and sound tracks of one's choice.
#include "Command.h"
#include "WAVFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sysexits.h>

#include <cstdlib>

namespace {

using namespace tools_test;
using nlohmann::json;
using testing::HasSubstr;

class Cut : public testing::Test {
  protected:
    // The frames [inFirst, inEnd) as a WAV file of their own.
    void ExpectFrames(std::int64_t inFirst, std::int64_t inEnd, std::vector<std::string> inOptions) const {
        inOptions.insert(inOptions.end(), {mSong, "-"});
        const Outcome outcome = RunTool(inOptions);
        EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
        const WAVFile wav = ParseWAV(outcome.out);
        EXPECT_TRUE(wav.isWellFormed);
        EXPECT_EQ(inEnd - inFirst, wav.frameCount) << testing::PrintToString(inOptions);
        const auto first = static_cast<std::size_t>(inFirst) * 4;
        const auto count = static_cast<std::size_t>(inEnd - inFirst) * 4;
        EXPECT_TRUE(mWhole.substr(first, count) == wav.sound) << testing::PrintToString(inOptions);
    }
    std::string Refusal(std::vector<std::string> inOptions) const {
        inOptions.insert(inOptions.end(), {mSong, "-"});
        const Outcome outcome = RunTool(inOptions);
        EXPECT_EQ(EX_USAGE, outcome.exitCode) << testing::PrintToString(inOptions);
        EXPECT_EQ("", outcome.out);
        return outcome.err;
    }

    // Three seconds at 44100 Hz.
    const std::string mSong = Fixture("sweep-44100-stereo.m4a");
    const std::string mWhole = ParseWAV(RunTool({mSong, "-"}).out).sound;
};

TEST_F(Cut, IsExactToTheFrame) {
    ExpectFrames(44100, 88200, {"--from", "1", "--to", "2"});
    ExpectFrames(44100, 88200, {"--from", "0:01", "--for", "0:00:01"});
    ExpectFrames(12345, 54321, {"--from", "12345f", "--to", "54321f"});
    ExpectFrames(12345, 12346, {"--from", "12345f", "--for", "1f"});
    ExpectFrames(0, 22050, {"--to", "0.5"});
    ExpectFrames(0, 22050, {"--for", "0.5"});
    ExpectFrames(110250, 132300, {"--from", "2.5"});
    // 0.00001 s are 0.441 frames, 0.00002 s are 0.882.
    ExpectFrames(0, 132300, {"--from", "0.00001"});
    ExpectFrames(1, 132300, {"--from", "0.00002"});
}

TEST_F(Cut, TheEndIsClipped) {
    ExpectFrames(88200, 132300, {"--from", "2", "--to", "1:00:00"});
    ExpectFrames(88200, 132300, {"--from", "2", "--for", "9223372036854775807f"});
    ExpectFrames(132299, 132300, {"--from", "132299f", "--to", "3"});
}

TEST_F(Cut, NothingIsNoPart) {
    EXPECT_THAT(Refusal({"--from", "3"}), HasSubstr("the stream has 132300 frames"));
    Refusal({"--from", "100"});
    EXPECT_THAT(Refusal({"--from", "132300f"}), HasSubstr("--from is at its end or past it"));
    Refusal({"--from", "2", "--to", "2"});
    Refusal({"--from", "2", "--to", "1"});
    Refusal({"--to", "0"});
    Refusal({"--for", "0"});
}

TEST_F(Cut, IsHonouredByTheOtherTasks) {
    EXPECT_EQ("176444\n", RunTool({"--length", "--from", "1", "--to", "2", mSong}).out);
    EXPECT_EQ("176480\n", RunTool({"--length", "--rf64", "--from", "1", "--to", "2", mSong}).out);
    EXPECT_EQ("176400\n", RunTool({"--length", "--raw", "--from", "1", "--to", "2", mSong}).out);
    const json object = json::parse(RunTool({"--probe", "--json", "--for", "1", mSong}).out);
    EXPECT_EQ(44100, object["stream"]["frames"]);
    EXPECT_EQ(132300, object["sound"]["frames"]);
    ExpectFrames(44100, 88200, {"--rf64", "--from", "1", "--to", "2"});
    EXPECT_TRUE(mWhole.substr(44100 * 4, 400) ==
                RunTool({"--raw", "--from", "1", "--for", "100f", mSong, "-"}).out);
}

TEST_F(Cut, CountsInTheStreamsRate) {
    const Outcome outcome = RunTool({"--to", "0.5", Fixture("tone-96000-stereo.m4a"), "-"});
    EXPECT_EQ(24000, ParseWAV(outcome.out).frameCount);
}

// Damage elsewhere is none of this part.
TEST_F(Cut, OnlyWhatIsInItIsDecoded) {
    EXPECT_EQ(EX_OK, RunTool({"--to", "0.1", Fixture("damaged.m4a"), "-"}).exitCode);
    EXPECT_EQ(EX_DATAERR, RunTool({"--from", "0.1", Fixture("damaged.m4a"), "-"}).exitCode);
}

TEST_F(Cut, ALongStreamHasPartsThatAHeaderCanTell) {
    const std::string huge = Fixture("huge-8000-mono.aac");
    EXPECT_EQ(44u + 4000, RunTool({"--from", "30:00:00", "--for", "1000f", huge, "-"}).out.size());
    const Outcome outcome = RunTool({"--from", "1f", huge, "-"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("--rf64 goes beyond"));
    // No option of a window of bytes goes beyond.
    EXPECT_EQ(std::string::npos, RunTool({"--start", "0", huge, "-"}).err.find("--rf64"));
}

TEST_F(Cut, RawIsTheSamplesAlone) {
    EXPECT_TRUE(mWhole == RunTool({"--raw", mSong, "-"}).out);
    EXPECT_EQ("529200\n", RunTool({"--raw", "--length", mSong}).out);
    EXPECT_EQ(529200, json::parse(RunTool({"--raw", "--probe", "--json", mSong}).out)["stream"]["bytes"]);
    EXPECT_EQ(529280, json::parse(RunTool({"--rf64", "--probe", "--json", mSong}).out)["stream"]["bytes"]);
    const TemporaryFolder folder;
    EXPECT_EQ(EX_OK, RunTool({"--raw", mSong, folder / ""}).exitCode);
    EXPECT_EQ(std::vector<std::string>{"sweep-44100-stereo.raw"}, folder.Names());
}

class Track : public testing::Test {
  protected:
    // Half a second of AC-3, then a second of AAC in a track that is not enabled.
    void SetUp() override {
        const std::string command =
            "ffmpeg -v error -nostdin -f lavfi -i sine=r=48000:d=0.5 -f lavfi -i sine=r=44100:d=1 -map 0 "
            "-map 1 "
            "-c:a:0 ac3 -c:a:1 aac -metadata:s:a:1 language=deu -disposition:a:0 default -disposition:a:1 0 "
            "'" +
            mFilm + "'";
        ASSERT_EQ(0, std::system(command.c_str()));
    }

    TemporaryFolder mFolder;
    const std::string mFilm = mFolder / "film.mp4";
};

TEST_F(Track, IsChosenByItsNumber) {
    EXPECT_EQ(48000u, ParseWAV(RunTool({"--track", "1", mFilm, "-"}).out).sampleRateHz);
    const Outcome second = RunTool({"--track", "2", mFilm, "-"});
    EXPECT_EQ("", second.err);
    const WAVFile wav = ParseWAV(second.out);
    EXPECT_TRUE(wav.isWellFormed);
    EXPECT_EQ(44100u, wav.sampleRateHz);
    EXPECT_EQ(44100, wav.frameCount);
    EXPECT_EQ("176444\n", RunTool({"--length", "--track", "2", mFilm}).out);
    const std::string half = RunTool({"--track", "2", "--to", "0.25", mFilm, "-"}).out;
    EXPECT_EQ(11025, ParseWAV(half).frameCount);
}

TEST_F(Track, BeyondTheLastIsNoData) {
    const Outcome outcome = RunTool({"--track", "3", mFilm, "-"});
    EXPECT_EQ(EX_DATAERR, outcome.exitCode);
    EXPECT_EQ("aac2wav: " + mFilm + ": there is no sound track 3, the file has 2\n", outcome.err);
    EXPECT_EQ(EX_DATAERR, RunTool({"--track", "2", Fixture("tone-8000-mono.m4a"), "-"}).exitCode);
    EXPECT_EQ(EX_DATAERR, RunTool({"--track", "2", Fixture("tone-44100-stereo.aac"), "-"}).exitCode);
    EXPECT_EQ(EX_DATAERR, RunTool({"--track", "2", Fixture("tone.mp3"), "-"}).exitCode);
    for (const char* number : {"0", "-1", "x", "", "1.5", "2147483648"}) {
        EXPECT_EQ(EX_USAGE, RunTool({"--track", number, mFilm, "-"}).exitCode) << number;
    }
}

TEST_F(Track, ANoteSaysWhichIsTakenWhereTheFirstIsNoAAC) {
    const Outcome outcome = RunTool({mFilm, "-"});
    EXPECT_EQ(EX_OK, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr(": note: of its 2 sound tracks, number 1"));
    EXPECT_THAT(outcome.err, HasSubstr("is taken; --track takes another\n"));
    EXPECT_EQ("", RunTool({"--quiet", mFilm, "-"}).err);
    EXPECT_EQ("", RunTool({Fixture("two-sounds.m4a"), "-"}).err);
}

TEST_F(Track, ProbeTellsOfAll) {
    const Outcome text = RunTool({"--probe", mFilm});
    EXPECT_THAT(text.out, HasSubstr("\n  track 1    "));
    EXPECT_THAT(text.out, HasSubstr("\n  track 2    AAC LC, 44100 Hz, 1 channel, deu, disabled\n"));
    const json tracks = json::parse(RunTool({"--probe", "--json", mFilm}).out)["tracks"];
    ASSERT_EQ(2u, tracks.size());
    EXPECT_EQ(1, tracks[0]["track"]);
    EXPECT_EQ(true, tracks[0]["taken"]);
    EXPECT_EQ(48000, tracks[0]["sampleRateHz"]);
    EXPECT_EQ("mp4a", tracks[1]["type"]);
    EXPECT_EQ("AAC LC", tracks[1]["format"]);
    EXPECT_EQ("deu", tracks[1]["language"]);
    EXPECT_EQ(false, tracks[1]["enabled"]);
    EXPECT_EQ(false, tracks[1]["taken"]);
    const json other = json::parse(RunTool({"--probe", "--json", "--track", "2", mFilm}).out);
    EXPECT_EQ(true, other["tracks"][1]["taken"]);
    EXPECT_EQ("AAC LC", other["sound"]["format"]);
}

}  // namespace

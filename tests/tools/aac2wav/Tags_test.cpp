// --tags: texts of the input behind the samples.
#include "Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

#include <cstdlib>

namespace {

using namespace tools_test;

constexpr char kTexts[] =
    "-metadata title='T\xC3\xA4st' -metadata artist=Somebody -metadata album=Some -metadata date=1999 "
    "-metadata genre=Polka -metadata track=3/12 -metadata comment=odd -metadata copyright=ours "
    "-metadata composer=Else ";

class Tags : public testing::Test {
  protected:
    std::string Make(const std::string& inName, const std::string& inOptions) const {
        const std::string path = mFolder / inName;
        const std::string command = "ffmpeg -v error -nostdin -f lavfi -i sine=r=8000:d=0.5 " + inOptions +
                                    " -fflags +bitexact -flags:a +bitexact '" + path + "'";
        EXPECT_EQ(0, std::system(command.c_str())) << command;
        return path;
    }

    TemporaryFolder mFolder;
};

std::string Number(std::size_t inNumber) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(inNumber >> shift & 0xFF);
    return bytes;
}

// A text's chunk, its NUL counted and its padding not.
std::string Chunk(const char* inName, std::string inText) {
    inText += '\0';
    const std::string size = Number(inText.size());
    if (inText.size() % 2 != 0) inText += '\0';
    return inName + size + inText;
}

std::string ExpectedList() {
    const std::string list = "INFO" + Chunk("INAM", "T\xC3\xA4st") + Chunk("IART", "Somebody") +
                             Chunk("IPRD", "Some") + Chunk("ICRD", "1999") + Chunk("IGNR", "Polka") +
                             Chunk("ITRK", "3/12") + Chunk("ICMT", "odd") + Chunk("ICOP", "ours") +
                             Chunk("IMUS", "Else");
    return "LIST" + Number(list.size()) + list;
}

TEST_F(Tags, StandBehindTheSamples) {
    for (const char* name : {"song.m4a", "song.flac", "song.mka", "song.aac"}) {
        const bool isRaw = std::string(name) == "song.aac";
        const std::string song = Make(name, kTexts + std::string(isRaw ? "-write_id3v2 1" : ""));
        const std::string plain = RunTool({song, "-"}).out;
        const Outcome outcome = RunTool({"--tags", song, "-"});
        EXPECT_EQ(EX_OK, outcome.exitCode) << outcome.err;
        const std::string tagged = outcome.out;
        ASSERT_LT(plain.size(), tagged.size()) << name;
        EXPECT_TRUE(plain.substr(44) == tagged.substr(44, plain.size() - 44)) << name;
        std::string list = tagged.substr(plain.size());
        // Some writers tell their own name as well.
        const std::size_t encoder = list.find("ISFT");
        if (encoder != std::string::npos) list.replace(4, 4, Number(encoder - 8)).resize(encoder);
        EXPECT_EQ(ExpectedList(), list) << name;
        // The size of the whole counts them, that of the samples does not.
        EXPECT_EQ("RIFF" + Number(tagged.size() - 8), tagged.substr(0, 8));
        EXPECT_EQ(plain.substr(8, 36), tagged.substr(8, 36));
        EXPECT_EQ(std::to_string(tagged.size()) + '\n', RunTool({"--length", "--tags", song}).out);
    }
}

TEST_F(Tags, CountInAnRF64HeaderToo) {
    const std::string song = Make("song.m4a", kTexts);
    const std::string tagged = RunTool({"--tags", "--rf64", song, "-"}).out;
    EXPECT_EQ(Number(tagged.size() - 8) + Number(0), tagged.substr(20, 8));
    EXPECT_EQ(std::to_string(tagged.size()) + '\n', RunTool({"--length", "--rf64", "--tags", song}).out);
}

TEST_F(Tags, APartHasThemToo) {
    const std::string song = Make("song.m4a", kTexts);
    const std::string part = RunTool({"--tags", "--to", "100f", song, "-"}).out;
    EXPECT_EQ("LIST", part.substr(444, 4));
    EXPECT_EQ("RIFF" + Number(part.size() - 8), part.substr(0, 8));
}

TEST_F(Tags, OthersReadThem) {
    const std::string song = Make("song.m4a", kTexts);
    ASSERT_EQ(EX_OK, RunTool({"--tags", song, mFolder / "out.wav"}).exitCode);
    const std::string command = "[ \"$(ffprobe -v error -show_entries format_tags=title -of csv=p=0 '" +
                                mFolder / "out.wav" + "')\" = 'T\xC3\xA4st' ]";
    EXPECT_EQ(0, std::system(command.c_str()));
}

TEST_F(Tags, AreOnlyThereWhenAskedForAndKnown) {
    const std::string bare = Make("bare.wav", "-map_metadata -1");
    EXPECT_EQ(RunTool({bare, "-"}).out, RunTool({"--tags", bare, "-"}).out);
}

}  // namespace

#include "Names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace {

using tool::DerivedName;

std::string WAVName(const std::string& inInput, const std::string& inFolder) {
    return DerivedName(inInput, inFolder, ".wav");
}

TEST(DerivedName, ReplacesTheExtension) {
    EXPECT_EQ("song.wav", WAVName("song.m4a", ""));
    EXPECT_EQ("song.wav", WAVName("/music/song.AAC", ""));
    EXPECT_EQ("out/song.one.wav", WAVName("a/song.one.mp4", "out/"));
    EXPECT_EQ("song.wav", WAVName("song.12345", ""));
}

TEST(DerivedName, KeepsWhatIsNoExtension) {
    EXPECT_EQ("song.wav", WAVName("song", ""));
    EXPECT_EQ("song..wav", WAVName("song.", ""));
    EXPECT_EQ(".hidden.wav", WAVName(".hidden", ""));
    EXPECT_EQ("Mr. Blue.wav", WAVName("Mr. Blue", ""));
    EXPECT_EQ("song.123456.wav", WAVName("song.123456", ""));
    EXPECT_EQ("song.\xC3\xA4.wav", WAVName("song.\xC3\xA4", ""));
    EXPECT_EQ("song.wav", WAVName("folder.d/song", ""));
}

TEST(DerivedName, TakesAnyExtension) {
    EXPECT_EQ("song.raw", DerivedName("song.m4a", "", ".raw"));
}

TEST(ExtensionOf, IsInSmallLetters) {
    EXPECT_EQ("m4a", tool::ExtensionOf("a.b/song.M4A"));
    EXPECT_EQ("gz", tool::ExtensionOf("song.tar.gz"));
    for (const char* name : {"song", ".m4a", "a.m4a/song", "song.", "song.m 4", "song.123456"}) {
        EXPECT_EQ("", tool::ExtensionOf(name)) << name;
    }
}

TEST(IsSoundExtension, KnowsWhatHoldsSound) {
    for (const char* extension : {"m4a", "aac", "mp3", "flac", "wav", "ogg", "mkv", "3gp", "ts", "asf", "rm",
                                  "sox", "voc", "qcp", "8svx", "dsf", "mpc", "oma", "shn"}) {
        EXPECT_TRUE(tool::IsSoundExtension(extension)) << extension;
    }
    for (const char* extension : {"", "txt", "raw", "pcm", "jpg", "m4", "M4A"}) {
        EXPECT_FALSE(tool::IsSoundExtension(extension)) << extension;
    }
}

// In small letters, one word each, as the documentation lists them for each format.
TEST(IsSoundExtension, KnowsTheDocumentedOnesAndNoOthers) {
    std::ifstream file(MIRTAL_DOCS "/formats.md");
    std::set<std::string> documented;
    bool isInTable = false;
    for (std::string line; std::getline(file, line);) {
        isInTable = line.rfind(isInTable ? "|" : "| format | extensions |", 0) == 0;
        const std::size_t column = line.find('|', 1);
        if (!isInTable || column == std::string::npos) continue;
        const std::string cell = line.substr(column);
        const std::regex word("`([a-z0-9]+)`");
        for (std::sregex_iterator match(cell.begin(), cell.end(), word), end; match != end; ++match) {
            const std::string extension = (*match)[1];
            EXPECT_TRUE(documented.insert(extension).second) << extension << " stands there twice";
            EXPECT_EQ(extension, tool::ExtensionOf("song." + extension));
        }
    }
    const auto known = tool::SoundExtensions();
    EXPECT_EQ(documented, std::set<std::string>(known.begin(), known.end()));
    EXPECT_LT(60u, documented.size());
}

TEST(FolderOf, IsUpToTheLastSlash) {
    EXPECT_EQ("", tool::FolderOf("a"));
    EXPECT_EQ("/", tool::FolderOf("/a"));
    EXPECT_EQ("a/b/", tool::FolderOf("a/b/c"));
    EXPECT_EQ("a/", tool::AsFolder("a"));
    EXPECT_EQ("a/", tool::AsFolder("a/"));
}

}  // namespace

#include "Names.h"

#include <gtest/gtest.h>

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
    for (const char* extension : {"m4a", "aac", "mp3", "flac", "wav", "ogg", "mkv", "3gp", "ts"}) {
        EXPECT_TRUE(tool::IsSoundExtension(extension)) << extension;
    }
    for (const char* extension : {"", "txt", "raw", "pcm", "jpg", "m4", "M4A"}) {
        EXPECT_FALSE(tool::IsSoundExtension(extension)) << extension;
    }
}

TEST(FolderOf, IsUpToTheLastSlash) {
    EXPECT_EQ("", tool::FolderOf("a"));
    EXPECT_EQ("/", tool::FolderOf("/a"));
    EXPECT_EQ("a/b/", tool::FolderOf("a/b/c"));
    EXPECT_EQ("a/", tool::AsFolder("a"));
    EXPECT_EQ("a/", tool::AsFolder("a/"));
}

}  // namespace

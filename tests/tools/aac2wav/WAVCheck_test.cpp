#include "WAVCheck.h"

#include "Command.h"
#include "Failure.h"

#include <gtest/gtest.h>

namespace {

using tools_test::Fixture;
using tools_test::ReadFile;
using tools_test::RunTool;
using tools_test::TemporaryFolder;
using tools_test::WriteFile;

class WAVCheckTest : public testing::Test {
  protected:
    tool::WAVCheck Check(const std::string& inBytes) const {
        WriteFile(mFolder / "file", inBytes);
        return tool::CheckWAV(mFolder / "file", "file");
    }
    bool IsWhole(const std::string& inBytes) const { return Check(inBytes).isWhole; }

    TemporaryFolder mFolder;
    const std::string mOurs = RunTool({Fixture("tone-8000-mono.m4a"), "-"}).out;
    const std::string mLong = RunTool({"--rf64", Fixture("tone-8000-mono.m4a"), "-"}).out;
};

TEST_F(WAVCheckTest, OurOwnFiles) {
    for (const std::string& bytes : {mOurs, mLong}) {
        const tool::WAVCheck check = Check(bytes);
        EXPECT_FALSE(check.isEmpty);
        EXPECT_TRUE(check.isWAV);
        EXPECT_TRUE(check.isWhole);
        EXPECT_TRUE(check.isOurs);
    }
}

TEST_F(WAVCheckTest, OthersFiles) {
    for (const char* name : {"tone-24.wav", "tone-float.wav", "tone-16-mono.wav", "tone-8.wav"}) {
        const tool::WAVCheck check = Check(ReadFile(Fixture(name)));
        EXPECT_TRUE(check.isWhole) << name;
        EXPECT_FALSE(check.isOurs) << name;
    }
}

TEST_F(WAVCheckTest, EmptyAndOtherFiles) {
    EXPECT_TRUE(Check("").isEmpty);
    EXPECT_FALSE(Check("").isWAV);
    for (const std::string& bytes : {std::string("x"), mOurs.substr(0, 11), ReadFile(Fixture("tone.aiff")),
                                     ReadFile(Fixture("tone-8000-mono.m4a"))}) {
        EXPECT_FALSE(Check(bytes).isWAV);
        EXPECT_FALSE(Check(bytes).isWhole);
    }
}

TEST_F(WAVCheckTest, OneByteShortIsNotWhole) {
    for (const std::string& bytes : {mOurs, mLong}) {
        for (const std::size_t byteCount : {std::size_t{12}, std::size_t{36}, std::size_t{44},
                                            std::size_t{79}, bytes.size() / 2, bytes.size() - 1}) {
            EXPECT_TRUE(Check(bytes.substr(0, byteCount)).isWAV) << byteCount;
            EXPECT_FALSE(IsWhole(bytes.substr(0, byteCount))) << byteCount;
        }
        EXPECT_TRUE(IsWhole(bytes + "what stands behind the end"));
    }
}

TEST_F(WAVCheckTest, SizesOfWritersIntoPipesAreNotWhole) {
    for (const char* size : {"\0\0\0\0", "\xFF\xFF\xFF\xFF"}) {
        std::string bytes = mOurs;
        bytes.replace(4, 4, size, 4);
        EXPECT_FALSE(IsWhole(bytes));
        bytes = mOurs;
        bytes.replace(40, 4, "\xFF\xFF\xFF\xFF", 4);
        EXPECT_FALSE(IsWhole(bytes));
    }
    std::string bytes = mLong;
    bytes.replace(20, 8, std::string(8, '\xFF'));
    EXPECT_FALSE(IsWhole(bytes));
    bytes = mLong;
    bytes.replace(28, 8, std::string(8, '\xFF'));
    EXPECT_FALSE(IsWhole(bytes));
}

TEST_F(WAVCheckTest, SoundWithoutAFormatIsNotWhole) {
    std::string bytes = mOurs;
    bytes.replace(12, 4, "fm  ");
    EXPECT_FALSE(IsWhole(bytes));
}

TEST_F(WAVCheckTest, OtherChunksAreWalkedOver) {
    std::string bytes = mOurs;
    bytes.insert(36, std::string("LIST\5\0\0\0hello\0", 14));
    bytes[4] = static_cast<char>(bytes[4] + 14);
    EXPECT_TRUE(IsWhole(bytes));
    EXPECT_FALSE(Check(bytes).isOurs);
}

TEST_F(WAVCheckTest, WhatCannotBeReadIsTold) {
    try {
        tool::CheckWAV(mFolder / "none", "a name");
        ADD_FAILURE() << "nothing was read";
    } catch (const tool::Failure& failure) {
        EXPECT_EQ(EX_CANTCREAT, failure.ExitCode());
        EXPECT_EQ("a name", failure.Subject());
    }
}

}  // namespace

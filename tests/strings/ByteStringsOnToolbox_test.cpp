// What byte strings say of scripts and of resources, over the real toolbox.
#include "PascalBuffer.h"
#include "platform/resources/ResourcesTest.h"
#include "support/CommaLocale.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <strings/ByteBlocks.h>
#include <strings/CStrings.h>
#include <strings/CharacterBytes.h>
#include <strings/PascalStrings.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using P = PascalBuffer;

class ByteStringsOnToolboxTest : public ::testing::Test {
  protected:
    ~ByteStringsOnToolboxTest() override { SetScript(smCurrentScript); }

    static void SetScript(ScriptCode inScript) {
        ASSERT_TRUE(SetCurrentScript(inScript));
        InterruptSafeCharacterByteType("a", 0, smUninterp);
    }
};

TEST_F(ByteStringsOnToolboxTest, ByteTypesAsTheToolboxHasThem) {
    for (int script = smCurrentScript; script <= smUninterp; ++script)
        for (int first = 0; first < 256; ++first)
            for (int second : {0x20, 0x41, 0x82, 0xA0, 0xC3, 0xE3, 0xFE}) {
                const char text[] = {static_cast<char>(first), static_cast<char>(second), 'a'};
                for (short offset = 0; offset < 3; ++offset)
                    ASSERT_EQ(CharacterByteType(text, offset, static_cast<ScriptCode>(script)),
                              InterruptSafeCharacterByteType(text, offset, static_cast<ScriptCode>(script)))
                        << script << ' ' << first << ' ' << second << ' ' << offset;
            }
}

TEST_F(ByteStringsOnToolboxTest, CutCopiesInADoubleByteScript) {
    SetScript(smJapanese);
    P copy;
    PStrNCopy(P("abc\x82\xA0zzzzz"), copy, 4);
    EXPECT_EQ("abc", copy.Text());
    char text[16];
    CStrNCopy("abc\x82\xA0zzzzz", text, 4);
    EXPECT_STREQ("abc", text);
}

TEST_F(ByteStringsOnToolboxTest, CutCopiesOfTheApplicationsText) {
    SetScript(smCurrentScript);
    P copy;
    PStrNCopy(P("caf\xC3\xA9s"), copy, 4);
    EXPECT_EQ("caf", copy.Text());
    PStrNCopy(P("caf\xC3\xA9s"), copy, 5);
    EXPECT_EQ("caf\xC3\xA9", copy.Text());
}

TEST_F(ByteStringsOnToolboxTest, CaseOfTheApplicationsText) {
    P text("caf\xC3\xA9");
    PStrUppercase(text);
    EXPECT_EQ("CAF\xC3\x89", text.Text());
    PLowerString(text);
    EXPECT_EQ("caf\xC3\x89", text.Text());
    EXPECT_EQ(1, PStrHasSuffix(P("a.\xC3\xA9t\xC3\xA9"), P(".\xC3\x89T\xC3\x89")));
}

// The table is filled by whoever comes first; with one code asked for, all get right answers.
TEST_F(ByteStringsOnToolboxTest, ThreadsOnOneScript) {
    for (int round = 0, rounds = support::Rounds(50); round < rounds; ++round) {
        SetScript(smJapanese);
        std::atomic<int> wrongCount = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&wrongCount] {
                P copy;
                PStrNCopy(P("abc\x82\xA0zzzzz"), copy, 4);
                if (copy.Text() != "abc") ++wrongCount;
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(0, wrongCount);
    }
}

TEST_F(ByteStringsOnToolboxTest, Numbers) {
    P text;
    PAddNum(text, -2147483647L - 1);
    EXPECT_EQ("-2147483648", text.Text());
}

TEST_F(ByteStringsOnToolboxTest, NumbersAreReadAsTheProcesssLocaleHasThem) {
    EXPECT_EQ(2.5, PStr2Double(P("2.5")));
    EXPECT_EQ(2.0, PStr2Double(P("2,5")));
    const support::CommaLocale locale;
    EXPECT_EQ(2.5, PStr2Double(P("2,5")));
    EXPECT_EQ(2.0, PStr2Double(P("2.5")));
}

class ListsOnToolboxTest : public test_resources::ResourcesTest {};

TEST_F(ListsOnToolboxTest, StringsAreAppended) {
    using test_resources::ImageOf;
    std::string many = {'\1', '\1'};
    for (int i = 0; i < 256; ++i)
        many += "\1x";
    const SInt16 file =
        Open(MakeFile("lists", {ImageOf(FourChars("STR#"), 128, std::string("\0\2\5first\6second", 15)),
                                ImageOf(FourChars("STR#"), 129, many + "\4last\6behind")}));
    P text("the ");
    PAddIndString(text, 128, 2);
    PAddIndString(text, 128, 1);
    EXPECT_EQ("the secondfirst", text.Text());
    PAddIndString(text, 129, 257);
    EXPECT_EQ("the secondfirstlast", text.Text());
    for (const short index : {short{0}, short{3}, short{-1}})
        PAddIndString(text, 128, index);
    PAddIndString(text, 129, 258);
    PAddIndString(text, 130, 1);
    EXPECT_EQ("the secondfirstlast", text.Text()) << "none of those is there";
    P almost(Filler(252));
    PAddIndString(almost, 128, 2);
    EXPECT_EQ(Filler(252) + "sec", almost.Text());
    CloseResFile(file);
    PAddIndString(almost, 128, 1);
    EXPECT_EQ(Filler(252) + "sec", almost.Text());
}

// Both libraries have them; linked into one program, either serves.
TEST_F(ByteStringsOnToolboxTest, BlocksMoveAndClear) {
    char block[] = "abcdef";
    BlockMoveData(block, block + 1, 4);
    EXPECT_STREQ("aabcdf", block);
    BlockZero(block + 1, 2);
    EXPECT_EQ(std::string("a\0\0cdf", 6), std::string(block, 6));
}

}  // namespace

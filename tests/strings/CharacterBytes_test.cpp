#include "fakes/Calls.h"
#include "fakes/Script.h"

#include <gtest/gtest.h>
#include <strings/CharacterBytes.h>

#include <string>

namespace {

class CharacterBytesTest : public ::testing::Test {
  protected:
    CharacterBytesTest() {
        // Another code than any test asks for first, so that each fills its table.
        InterruptSafeCharacterByteType("a", 0, smHebrew);
        fakes::StartScenario();
    }

    static std::size_t FillCount() { return fakes::CallsOf({"FillParseTable"}).size(); }
};

std::string TypesOf(const std::string& inText, ScriptCode inScript) {
    std::string types;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const short type = InterruptSafeCharacterByteType(inText.data(), static_cast<short>(i), inScript);
        types += type == -1 ? '(' : type == 1 ? ')' : type == 0 ? '.' : '?';
    }
    return types;
}

TEST_F(CharacterBytesTest, FirstAndSecondBytes) {
    EXPECT_EQ("", TypesOf("", smJapanese));
    EXPECT_EQ("...", TypesOf("abc", smJapanese));
    EXPECT_EQ(".().", TypesOf("a\x82\xA0z", smJapanese));
    EXPECT_EQ("()()", TypesOf("\x82\xA0\x82\xA2", smJapanese));
    EXPECT_EQ("().", TypesOf("\x83\x5C.", smJapanese)) << "an ASCII second byte";
    EXPECT_EQ("......", TypesOf("\xB1\xB2\xFD\xFE\xFF\x80", smJapanese));
    EXPECT_EQ("....", TypesOf("a\x82\xA0z", smRoman));
}

TEST_F(CharacterBytesTest, FirstBytesInARowPairUp) {
    EXPECT_EQ("()", TypesOf("\x81\x81", smJapanese));
    EXPECT_EQ("()(", TypesOf("\x81\x81\x81", smJapanese));
    EXPECT_EQ(".()().", TypesOf("a\x81\x81\x81\x81z", smJapanese));
    EXPECT_EQ(".()()()", TypesOf("a\x81\x81\x81\x81\x81z", smJapanese));
}

// Against the definition, from the left, on all texts of up to six bytes of three kinds.
TEST_F(CharacterBytesTest, AsCountedFromTheLeft) {
    for (int length = 1; length <= 6; ++length)
        for (int pattern = 0; pattern < 729; ++pattern) {
            std::string text, expected;
            for (int i = 0, rest = pattern; i < length; ++i, rest /= 3)
                text += "a\x82\xFF"[rest % 3];
            for (const char character : text) {
                const bool isSecond = !expected.empty() && expected.back() == '(';
                expected += isSecond ? ')' : character == '\x82' ? '(' : '.';
            }
            ASSERT_EQ(expected, TypesOf(text, smJapanese));
        }
}

TEST_F(CharacterBytesTest, BytesBehindAreNotLookedAt) {
    const std::string longest(32767, '\x81');
    EXPECT_EQ(smFirstByte, InterruptSafeCharacterByteType(longest.data(), 32766, smJapanese));
    EXPECT_EQ(smLastByte, InterruptSafeCharacterByteType(longest.data(), 32765, smJapanese));
}

TEST_F(CharacterBytesTest, TheTableIsFilledForAnotherScriptOnly) {
    TypesOf("abc", smJapanese);
    TypesOf("def", smJapanese);
    EXPECT_EQ(1u, FillCount());
    TypesOf("abc", smRoman);
    EXPECT_EQ(2u, FillCount());
    TypesOf("abc", smJapanese);
    TypesOf("abc", smCurrentScript);
    TypesOf("abc", smCurrentScript);
    EXPECT_EQ(4u, FillCount());
    EXPECT_EQ((std::vector<std::string>{"FillParseTable(1)", "FillParseTable(0)", "FillParseTable(1)",
                                        "FillParseTable(-2)"}),
              fakes::CallLog());
}

// The table remembers the code that it was filled for, not what the code meant.
TEST_F(CharacterBytesTest, AnotherCurrentScriptShowsWhenTheTableIsFilledAgain) {
    fakes::SetCurrentScript(smJapanese);
    EXPECT_EQ("().", TypesOf("\x82\xA0z", smCurrentScript));
    fakes::SetCurrentScript(smRoman);
    EXPECT_EQ("().", TypesOf("\x82\xA0z", smCurrentScript));
    TypesOf("a", smGreek);
    EXPECT_EQ("...", TypesOf("\x82\xA0z", smCurrentScript));
}

}  // namespace

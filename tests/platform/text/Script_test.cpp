#include <gtest/gtest.h>
#include <toolbox/Script.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {

// Back to the application's script when the test is over.
class ScriptTest : public ::testing::Test {
  protected:
    ~ScriptTest() override { SetCurrentScript(smCurrentScript); }
};

int CountFirstBytes(const CharByteTable inTable) {
    int count = 0;
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_TRUE(inTable[byte] == 0 || inTable[byte] == 1) << byte;
        count += inTable[byte];
    }
    return count;
}

std::string TypesOf(const std::string& inText, ScriptCode inScript) {
    std::string types;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const SInt16 type = CharacterByteType(inText.data(), static_cast<SInt16>(i), inScript);
        types += type == smFirstByte ? '(' : type == smLastByte ? ')' : type == smSingleByte ? '.' : '?';
    }
    return types;
}

}  // namespace

TEST_F(ScriptTest, CodesAsPublished) {
    EXPECT_EQ(-1, smFirstByte);
    EXPECT_EQ(0, smSingleByte);
    EXPECT_EQ(1, smLastByte);
    EXPECT_EQ(-1, smSystemScript);
    EXPECT_EQ(-2, smCurrentScript);
}

TEST_F(ScriptTest, FirstBytesOfEachScript) {
    for (int script = 0; script <= smUninterp; ++script) {
        const bool isDoubleByte =
            script == smJapanese || script == smTradChinese || script == smKorean || script == smSimpChinese;
        CharByteTable table;
        std::memset(table, 77, sizeof table);
        EXPECT_TRUE(FillParseTable(table, static_cast<ScriptCode>(script)));
        EXPECT_EQ(isDoubleByte, CountFirstBytes(table) != 0) << script;
    }
}

// Shift-JIS has exactly these first bytes; the others are extended by the Mac's encodings at the ends.
TEST_F(ScriptTest, FirstBytesAsInTheStandards) {
    const struct {
        ScriptCode script;
        const char* converter;
        int first, last;
    } cases[] = {{smJapanese, "Shift_JIS", 0x81, 0xFC},
                 {smTradChinese, "Big5", 0xA1, 0xFC},
                 {smSimpChinese, "GB2312", 0xA1, 0xFC},
                 {smKorean, "EUC-KR", 0xA1, 0xFD}};
    for (const auto& each : cases) {
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(each.converter, &status),
                                                                           ucnv_close);
        UBool starters[256];
        ucnv_getStarters(converter.get(), starters, &status);
        ASSERT_TRUE(U_SUCCESS(status)) << each.converter;
        CharByteTable table;
        FillParseTable(table, each.script);
        for (int byte = 0; byte < 256; ++byte) {
            const bool isInRange = byte >= each.first && byte <= each.last;
            const bool isKatakana = each.script == smJapanese && byte >= 0xA0 && byte <= 0xDF;
            EXPECT_EQ(isInRange && !isKatakana, table[byte] == 1) << each.converter << ' ' << byte;
            if (starters[byte] != 0 && isInRange) {
                EXPECT_EQ(1, table[byte]) << each.converter << ' ' << byte;
            }
            if (each.script == smJapanese) {
                EXPECT_EQ(starters[byte] != 0, table[byte] == 1) << byte;
            }
        }
    }
}

TEST_F(ScriptTest, NoScript) {
    for (const int code : {-3, -32768, 33, 32767}) {
        CharByteTable table;
        std::memset(table, 77, sizeof table);
        EXPECT_FALSE(FillParseTable(table, static_cast<ScriptCode>(code)));
        EXPECT_EQ(0, CountFirstBytes(table));
        EXPECT_EQ("...", TypesOf("\x82\xA0z", static_cast<ScriptCode>(code)));
        EXPECT_FALSE(SetCurrentScript(static_cast<ScriptCode>(code)));
    }
    EXPECT_FALSE(SetCurrentScript(smSystemScript));
}

TEST_F(ScriptTest, ByteTypesOfText) {
    const struct {
        ScriptCode script;
        const char* text;
        const char* types;
    } cases[] = {{smJapanese, "", ""},
                 {smJapanese, "abc", "..."},
                 {smJapanese, "a\x82\xA0z", ".()."},
                 {smJapanese, "\x82\xA0\x82\xA2", "()()"},
                 {smJapanese, "\xB1\xB2\xFD\xFE\xFF\x80", "......"},
                 // The second byte may be ASCII, and may look like a first one.
                 {smJapanese, "\x83\x5C.", "()."},
                 {smJapanese, "\x81\x81\x81", "()("},
                 {smJapanese, "a\x81\x81\x81\x81z", ".()()."},
                 {smRoman, "a\x82\xA0z", "...."},
                 {smCyrillic, "\x82\xA0", ".."},
                 {smTradChinese, "\xA4\x40q", "()."},
                 {smTradChinese, "\x81\x82\xA0", "..."},
                 {smKorean, "\xB0\xA1\xFE\xFF", "().."},
                 {smSimpChinese, "\x80\xB0\xA1\xFD", ".()."}};
    for (const auto& each : cases)
        EXPECT_EQ(each.types, TypesOf(each.text, each.script)) << each.script << ' ' << each.text;
}

TEST_F(ScriptTest, AFirstByteAtTheEndOfTheLongestText) {
    std::string text(std::numeric_limits<SInt16>::max(), '\x81');
    EXPECT_EQ(smFirstByte, CharacterByteType(text.data(), 32766, smJapanese));
    text += 'a';
    EXPECT_EQ(smLastByte, CharacterByteType(text.data(), 32767, smJapanese));
    text[0] = 'a';
    EXPECT_EQ(smSingleByte, CharacterByteType(text.data(), 32767, smJapanese));
}

TEST_F(ScriptTest, TheApplicationsTextIsUTF8) {
    CharByteTable table;
    EXPECT_TRUE(FillParseTable(table, smCurrentScript));
    EXPECT_EQ(0xDF - 0xC2 + 1, CountFirstBytes(table));
    for (const ScriptCode script : {smCurrentScript, smSystemScript}) {
        EXPECT_EQ(".()().", TypesOf("a\xC3\xA9\xDF\xBFz", script));
        EXPECT_EQ("...", TypesOf("\xE3\x81\x82", script));
        EXPECT_EQ("....", TypesOf("\xF0\x9F\x98\x80", script));
    }
}

TEST_F(ScriptTest, CurrentScriptAsSet) {
    EXPECT_TRUE(SetCurrentScript(smJapanese));
    EXPECT_EQ("().", TypesOf("\x82\xA0z", smCurrentScript));
    EXPECT_EQ("...", TypesOf("\x82\xA0z", smSystemScript));
    CharByteTable table, japanese;
    EXPECT_TRUE(FillParseTable(table, smCurrentScript));
    EXPECT_TRUE(FillParseTable(japanese, smJapanese));
    EXPECT_EQ(0, std::memcmp(japanese, table, sizeof table));
    EXPECT_FALSE(SetCurrentScript(99));
    EXPECT_EQ("().", TypesOf("\x82\xA0z", smCurrentScript));
    EXPECT_TRUE(SetCurrentScript(smCurrentScript));
    EXPECT_EQ("...", TypesOf("\x82\xA0z", smCurrentScript));
}

#include <gtest/gtest.h>
#include <toolbox/TextUtils.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {

std::string Upper(std::string inText, ScriptCode inScript) {
    UppercaseText(inText.data(), static_cast<SInt16>(inText.size()), inScript);
    return inText;
}

std::string Decimal(SInt32 inNumber) {
    Str255 text;
    std::memset(text, '-', sizeof text);
    NumToString(inNumber, text);
    return {reinterpret_cast<char*>(text) + 1, text[0]};
}

// An encoding as ICU knows it.
class Encoding {
  public:
    explicit Encoding(const char* inName) : mConverter(ucnv_open(inName, &mStatus), ucnv_close) {
        EXPECT_TRUE(U_SUCCESS(mStatus)) << inName;
        ucnv_setFromUCallBack(mConverter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &mStatus);
        ucnv_setToUCallBack(mConverter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &mStatus);
    }

    // The character of the bytes, or -1.
    UChar32 Decode(const std::string& inBytes) const {
        UErrorCode status = U_ZERO_ERROR;
        UChar units[4];
        const int count = ucnv_toUChars(mConverter.get(), units, 4, inBytes.data(),
                                        static_cast<int>(inBytes.size()), &status);
        return U_SUCCESS(status) && count == 1 ? units[0] : -1;
    }

    std::string Encode(UChar32 inCodePoint) const {
        UErrorCode status = U_ZERO_ERROR;
        const UChar unit = static_cast<UChar>(inCodePoint);
        char bytes[8];
        const int count = ucnv_fromUChars(mConverter.get(), bytes, 8, &unit, 1, &status);
        return U_SUCCESS(status) ? std::string(bytes, static_cast<std::size_t>(count)) : std::string();
    }

    // The bytes of the capital letter when there is one of as many bytes, else the same.
    std::string Capital(const std::string& inBytes) const {
        const UChar32 small = Decode(inBytes);
        const bool isSmall = small >= 0 && u_charType(small) == U_LOWERCASE_LETTER;
        const std::string capital = isSmall ? Encode(u_toupper(small)) : inBytes;
        return capital.size() == inBytes.size() ? capital : inBytes;
    }

  private:
    UErrorCode mStatus = U_ZERO_ERROR;
    std::unique_ptr<UConverter, decltype(&ucnv_close)> mConverter;
};

}  // namespace

TEST(UppercaseText, EveryByteOfTheScriptsWithLetters) {
    const struct {
        ScriptCode script;
        const char* encoding;
    } cases[] = {{smRoman, "macos-0_2-10.2"},
                 {smGreek, "macos-6_2-10.4"},
                 {smCyrillic, "macos-7_3-10.2"},
                 {smCentralEuroRoman, "macos-29-10.2"}};
    for (const auto& each : cases) {
        const Encoding encoding(each.encoding);
        int changedCount = 0;
        for (int byte = 0; byte < 256; ++byte) {
            const std::string text(1, static_cast<char>(byte));
            EXPECT_EQ(encoding.Capital(text), Upper(text, each.script)) << each.encoding << ' ' << byte;
            changedCount += Upper(text, each.script) != text;
        }
        EXPECT_LT(50, changedCount) << each.encoding;
    }
}

TEST(UppercaseText, EveryDoubleByteCharacter) {
    const struct {
        ScriptCode script;
        const char* encoding;
    } cases[] = {
        {smJapanese, "Shift_JIS"}, {smTradChinese, "Big5"}, {smSimpChinese, "GB2312"}, {smKorean, "EUC-KR"}};
    for (const auto& each : cases) {
        const Encoding encoding(each.encoding);
        CharByteTable table;
        FillParseTable(table, each.script);
        int changedCount = 0;
        for (int code = 0x8000; code < 0x10000; ++code) {
            if (table[code >> 8] == 0) continue;
            const std::string text{static_cast<char>(code >> 8), static_cast<char>(code)};
            if (encoding.Decode(text) < 0) continue;
            EXPECT_EQ(encoding.Capital(text), Upper(text, each.script))
                << each.encoding << ' ' << std::hex << code;
            changedCount += Upper(text, each.script) != text;
        }
        EXPECT_LE(26 + 24, changedCount) << each.encoding;
    }
}

TEST(UppercaseText, TheSecondByteIsNoLetterOfItsOwn) {
    EXPECT_EQ(
        "\x83\x61"
        "A",
        Upper("\x83\x61"
              "a",
              smJapanese));
    EXPECT_EQ("\x82\x60\x82\x79", Upper("\x82\x81\x82\x9A", smJapanese));
    EXPECT_EQ("Q\x82", Upper("q\x82", smJapanese));
}

TEST(UppercaseText, OtherScriptsHaveASCIIAndItsLikes) {
    EXPECT_EQ("AZ\x80\x82\xC1", Upper("az\x8A\x8D\xC1", smArabic));
    EXPECT_EQ("AZ\x83\x84\x85\x86", Upper("az\x8E\x96\x9A\x9F", smHebrew));
    EXPECT_EQ("@AZ[`{\x8E", Upper("@az[`{\x8E", smUninterp));
    EXPECT_EQ("az", Upper("az", 33)) << "no script";
    EXPECT_EQ("az", Upper("az", -3)) << "no script";
}

TEST(UppercaseText, TheApplicationsTextIsUTF8) {
    for (const ScriptCode script : {smCurrentScript, smSystemScript}) {
        EXPECT_EQ("AZ09", Upper("az09", script));
        EXPECT_EQ("CAF\xC3\x89 \xCE\xA9 \xD0\x96", Upper("caf\xC3\xA9 \xCF\x89 \xD0\xB6", script));
        EXPECT_EQ("\xF0\x90\x90\x80", Upper("\xF0\x90\x90\xA8", script)) << "a letter beyond 16 bits";
        // Capitals of one byte, of three, and of two characters.
        EXPECT_EQ("\xC4\xB1\xC9\x90\xC3\x9F", Upper("\xC4\xB1\xC9\x90\xC3\x9F", script));
        EXPECT_EQ("CAF\x83", Upper("caf\x8E", script)) << "Roman";
    }
}

TEST(UppercaseText, BytesThatAreNotUTF8AreRoman) {
    // Continuation bytes alone, a character cut off, a surrogate, too long a form: e acute becomes its
    // capital.
    for (const char* text :
         {"\x8E", "\xC3\xA9\x8E", "\x8E\xC3", "\x8E\xED\xA0\x80", "\x8E\xC1\x81", "\x8E\xFF"}) {
        std::string expected = text;
        expected.replace(expected.find('\x8E'), 1, "\x83");
        EXPECT_EQ(expected, Upper(text, smSystemScript));
    }
}

TEST(UppercaseText, TheCurrentScriptAsSet) {
    ASSERT_TRUE(SetCurrentScript(smGreek));
    EXPECT_EQ("\xB0", Upper("\xE1", smCurrentScript));
    EXPECT_EQ("\xE1", Upper("\xE1", smSystemScript));
    EXPECT_EQ("\xC3\xA9", Upper("\xC3\xA9", smCurrentScript)) << "not UTF-8 now";
    ASSERT_TRUE(SetCurrentScript(smCurrentScript));
}

TEST(UppercaseText, OnlyTheBytesOfTheText) {
    char text[] = "abcd";
    UppercaseText(text, 2, smRoman);
    EXPECT_STREQ("ABcd", text);
    UppercaseText(text, 0, smRoman);
    UppercaseText(text + 2, -1, smRoman);
    UppercaseText(nullptr, 0, smCurrentScript);
    EXPECT_STREQ("ABcd", text);
    std::string longest(32767, 'x');
    EXPECT_EQ(std::string(32767, 'X'), Upper(longest, smRoman));
}

TEST(NumToString, Numbers) {
    EXPECT_EQ("0", Decimal(0));
    EXPECT_EQ("7", Decimal(7));
    EXPECT_EQ("-1", Decimal(-1));
    EXPECT_EQ("1000000", Decimal(1000000));
    EXPECT_EQ("2147483647", Decimal(std::numeric_limits<SInt32>::max()));
    EXPECT_EQ("-2147483648", Decimal(std::numeric_limits<SInt32>::min()));
}

TEST(NumToString, NothingBehindTheText) {
    Str255 text;
    std::memset(text, '#', sizeof text);
    NumToString(-42, text);
    EXPECT_EQ(3, text[0]);
    EXPECT_EQ('#', text[4]);
}

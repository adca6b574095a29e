// Conversions, formats and the application's strings over the real toolbox.
#include "StringTest.h"
#include "platform/resources/ResourcesTest.h"

#include <foundation/LException.h>

#include <cstdlib>

namespace {

using namespace test_resources;

constexpr unsigned kUTF8 = kCFStringEncodingUTF8;

TEST(ConversionsOnToolboxTest, BytesThereAndBack) {
    const std::u16string text = u"a\u00E9\u20AC\U0001D11E";
    std::string bytes;
    ASSERT_TRUE(Units(text).StdStringWithEncoding(bytes, kUTF8));
    EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", bytes);
    const auto* const start = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto count = static_cast<long>(bytes.size());
    EXPECT_EQ(text, UnitsOf(TCFString::WithBytes(start, count, kUTF8, false)));
    EXPECT_EQ(10, Units(text).UTF8Length());
    char buffer[11];
    EXPECT_STREQ(bytes.c_str(), Units(text).UTF8(10, buffer));
    EXPECT_STREQ("", Units(text).UTF8(9, buffer)) << "all or nothing";
}

TEST(ConversionsOnToolboxTest, WhatIsMadeOfNothingIsTheEmptyString) {
    const unsigned char mark[] = {0xFE, 0xFF};
    EXPECT_TRUE(IsTheEmptyString(TCFString::WithBytes(mark, 2, kCFStringEncodingUnicode, true)));
    EXPECT_TRUE(IsTheEmptyString(TCFString(0.0, kCFDateFormatterNoStyle, kCFDateFormatterNoStyle)));
    EXPECT_TRUE(IsTheEmptyString(TCFString("", kUTF8)));
    EXPECT_TRUE(IsTheEmptyString(TCFString("a", kUTF8).Replace(CFRangeMake(0, 1), TCFString::Empty)));
}

TEST(ConversionsOnToolboxTest, NamedEncodings) {
    char bytes[8] = "#######";
    EXPECT_TRUE(Units(u"caf\u00E9").CStringWithEncoding(7, bytes, kCFStringEncodingMacRoman));
    EXPECT_STREQ("caf\x8E", bytes);
    EXPECT_TRUE(Units(u"caf\u00E9").CStringWithEncoding(4, bytes, kCFStringEncodingISOLatin1));
    EXPECT_STREQ("caf\xE9", bytes);
    EXPECT_FALSE(Units(u"abcdef").CStringWithEncoding(3, bytes, kCFStringEncodingASCII));
    EXPECT_STREQ("", bytes);
    unsigned char pascal[256] = {'#'};
    EXPECT_TRUE(Units(u"caf\u00E9").PStringWithEncoding(pascal, 4, kCFStringEncodingMacRoman));
    EXPECT_EQ("caf\x8E", TextOf(pascal));
    EXPECT_FALSE(Units(u"\u0416").PStringWithEncoding(pascal, 255, kCFStringEncodingMacRoman));
    EXPECT_EQ(0, pascal[0]);
}

TEST(ConversionsOnToolboxTest, WhatHasNoUTF8Form) {
    std::string text = "before";
    EXPECT_FALSE(Unencodable().StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ("before", text);
    EXPECT_EQ(0, Unencodable().UTF8Length());
    char buffer[16] = "#";
    EXPECT_STREQ("", Unencodable().UTF8(15, buffer));
}

TEST(ConversionsOnToolboxTest, ByteOrderMarks) {
    const unsigned char marked[] = {0xFE, 0xFF, 0x00, 'a', 0x20, 0xAC};
    EXPECT_EQ(u"a\u20AC", UnitsOf(TCFString::WithBytes(marked, 6, kCFStringEncodingUnicode, true)));
    EXPECT_EQ(u"a\u20AC", UnitsOf(TCFString::WithBytes(marked + 2, 4, kCFStringEncodingUTF16BE, false)));
    EXPECT_TRUE(TCFString::WithBytes(marked, -1, kUTF8, false).IsEmpty());
    EXPECT_TRUE(TCFString::WithBytes(marked, 6, kUTF8, false).IsEmpty()) << "no UTF-8";
}

TEST(ConversionsOnToolboxTest, NoMemoryForTheScratch) {
    const TCFString string = Units(std::u16string(1000, u'a'));
    std::string text = "before";
    SetMemoryLimit(GetMemoryInUse() + 100);
    EXPECT_FALSE(string.StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ(0, string.UTF8Length());
    SetMemoryLimit(0);
    EXPECT_EQ("before", text);
    EXPECT_EQ(1000, string.UTF8Length());
}

TEST(ConversionsOnToolboxTest, Units255) {
    HFSUniStr255 name;
    Units(std::u16string(300, u'\u20AC')).HFSUniStr(name);
    EXPECT_EQ(255, name.length);
    EXPECT_EQ(0x20AC, name.unicode[254]);
}

TEST(ConversionsOnToolboxTest, Formats) {
    EXPECT_EQ(u"4294967295", UnitsOf(TCFString::Int(4294967295)));
    EXPECT_EQ(u"0", UnitsOf(TCFString::Int(0)));
    const TCFString name = Units(u"\u20AC");
    EXPECT_EQ(u"[\u20AC] -7 2a", UnitsOf(TCFString::CFPrintf(CFSTR("[%@] %d %x"), name.StringRef(), -7, 42)));
    EXPECT_EQ(u"b a", UnitsOf(TCFString::CFPrintf(CFSTR("%2$@ %1$@"), CFSTR("a"), CFSTR("b"))));
    EXPECT_TRUE(TCFString::CFPrintf(nullptr).IsEmpty());
}

TEST(ConversionsOnToolboxTest, MomentsInEveryStyle) {
    const CFDateFormatterStyle kNone = kCFDateFormatterNoStyle;
    EXPECT_TRUE(TCFString(0.0, kNone, kNone).IsEmpty());
    for (CFDateFormatterStyle style = kCFDateFormatterShortStyle; style <= kCFDateFormatterFullStyle;
         ++style) {
        const TCFString date(86400.0 * 200, style, kNone), time(86400.0 * 200, kNone, style);
        EXPECT_GT(date.Length(), 0) << style;
        EXPECT_GT(time.Length(), 0) << style;
        EXPECT_TRUE(date != time) << style;
        EXPECT_NE(-1, TCFString(86400.0 * 200, style, style).Find(date, 0).location) << style;
    }
    EXPECT_TRUE(TCFString(std::strtod("nan", nullptr), kCFDateFormatterFullStyle, kNone).IsEmpty());
    EXPECT_TRUE(TCFString(0.0, 77, kNone).IsEmpty());
}

// What Res has read stays read in this process, so every test has resource ids of its own.
class ResOnToolboxTest : public ResourcesTest {
  protected:
    static std::string ListOf(const std::vector<std::string>& inEntries) {
        std::string data = {'\0', static_cast<char>(inEntries.size())};
        for (const std::string& entry : inEntries)
            (data += static_cast<char>(entry.size())) += entry;
        return data;
    }
    SInt16 OpenWith(std::vector<Image> inImages) { return Open(MakeFile("res", std::move(inImages))); }
    static short NextID() {
        static short sNextID = 128;
        return sNextID++;
    }
};

TEST_F(ResOnToolboxTest, StringsOfAList) {
    const short id = NextID();
    const SInt16 file = OpenWith({ImageOf(FourChars("STR#"), id, ListOf({"one", "", "caf\xC3\xA9"})),
                                  ImageOf(FourChars("STR "), id, "\6single")});
    EXPECT_EQ(u"one", UnitsOf(TCFString::Res(id, 1)));
    EXPECT_TRUE(TCFString::Res(id, 2).IsEmpty());
    EXPECT_EQ(u"caf\u00E9", UnitsOf(TCFString::Res(id, 3)));
    EXPECT_TRUE(TCFString::Res(id, 4).IsEmpty());
    EXPECT_EQ(u"single", UnitsOf(TCFString::Res(id, -1)));
    CloseResFile(file);
    EXPECT_EQ(u"caf\u00E9", UnitsOf(TCFString::Res(id, 3))) << "kept";
    EXPECT_EQ(u"single", UnitsOf(TCFString::Res(id, -1))) << "kept";
    EXPECT_TRUE(TCFString::Res(id, 2).IsEmpty());
}

TEST_F(ResOnToolboxTest, WhatIsMissing) {
    const short id = NextID();
    EXPECT_TRUE(TCFString::Res(id, 1).IsEmpty());
    try {
        static_cast<void>(TCFString::Res(id, -1));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const LException& exception) {
        EXPECT_EQ(0x6E696C50, exception.GetErrorCode());
    }
    const SInt16 file = OpenWith({ImageOf(FourChars("STR#"), id, ListOf({"one"}))});
    EXPECT_EQ(u"one", UnitsOf(TCFString::Res(id, 1))) << "read again";
    CloseResFile(file);
}

TEST_F(ResOnToolboxTest, ResourcesThatAreCutOff) {
    const short id = NextID(), empty = NextID();
    const SInt16 file =
        OpenWith({ImageOf(FourChars("STR "), id, "\377abc"), ImageOf(FourChars("STR "), empty, ""),
                  ImageOf(FourChars("STR#"), id, std::string("\0\2\1", 3))});
    EXPECT_EQ(u"abc", UnitsOf(TCFString::Res(id, -1)));
    EXPECT_TRUE(TCFString::Res(empty, -1).IsEmpty());
    EXPECT_TRUE(TCFString::Res(id, 1).IsEmpty());
    EXPECT_TRUE(TCFString::Res(id, 2).IsEmpty());
    CloseResFile(file);
}

TEST_F(ResOnToolboxTest, AResourceThatIsNotLoadedIsEmpty) {
    const short id = NextID();
    const SInt16 file = OpenWith({ImageOf(FourChars("STR "), id, "\3one")});
    SetResLoad(false);
    EXPECT_TRUE(TCFString::Res(id, -1).IsEmpty());
    SetResLoad(true);
    EXPECT_EQ(u"one", UnitsOf(TCFString::Res(id, -1)));
    CloseResFile(file);
}

}  // namespace

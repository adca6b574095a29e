#include "OnDoubles.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <vector>

namespace {

constexpr unsigned kUTF8 = kCFStringEncodingUTF8;
constexpr unsigned kASCII = kCFStringEncodingASCII;
constexpr unsigned kRoman = kCFStringEncodingMacRoman;

class TCFStringBytesTest : public OnDoubles {};

TEST_F(TCFStringBytesTest, CStringWithEncoding) {
    char bytes[] = "#######";
    EXPECT_TRUE(Units(u"abcdef").CStringWithEncoding(6, bytes, kASCII));
    EXPECT_STREQ("abcdef", bytes);
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetCString", 7, kASCII)));
    EXPECT_TRUE(Units(u"caf\u00E9").CStringWithEncoding(6, bytes, kRoman));
    EXPECT_STREQ("caf\x8E", bytes);
}

TEST_F(TCFStringBytesTest, CStringWithEncodingNeitherCutsNorFallsBack) {
    char bytes[] = "#######";
    EXPECT_FALSE(Units(u"abcdef").CStringWithEncoding(3, bytes, kASCII));
    EXPECT_STREQ("", bytes);
    bytes[0] = '#';
    EXPECT_FALSE(Units(u"caf\u00E9").CStringWithEncoding(6, bytes, kASCII));
    EXPECT_STREQ("", bytes);
    EXPECT_EQ(2u, fakes::CallsOf({"CFStringGetCString"}).size());
}

TEST_F(TCFStringBytesTest, CStringWithEncodingOfEmpty) {
    char byte = '#';
    EXPECT_TRUE(TCFString::Empty.CStringWithEncoding(0, &byte, kASCII));
    EXPECT_EQ('\0', byte);
    byte = '#';
    EXPECT_FALSE(Units(u"a").CStringWithEncoding(0, &byte, kASCII));
    EXPECT_EQ('\0', byte);
}

TEST_F(TCFStringBytesTest, PStringWithEncoding) {
    unsigned char bytes[8] = {'#'};
    EXPECT_TRUE(Units(u"caf\u00E9").PStringWithEncoding(bytes, 4, kRoman));
    EXPECT_EQ(std::string("\4caf\x8E"), std::string(bytes, bytes + 5));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetPascalString", 5, kRoman)));
}

TEST_F(TCFStringBytesTest, PStringWithEncodingNeitherCutsNorFallsBack) {
    unsigned char bytes[256] = {'#'};
    EXPECT_FALSE(Units(u"caf\u00E9").PStringWithEncoding(bytes, 3, kRoman));
    EXPECT_EQ(0, bytes[0]);
    bytes[0] = '#';
    EXPECT_FALSE(Units(u"caf\u00E9").PStringWithEncoding(bytes, 255, kASCII));
    EXPECT_EQ(0, bytes[0]);
    EXPECT_EQ(2u, fakes::CallsOf({"CFStringGetPascalString"}).size());
}

TEST_F(TCFStringBytesTest, PStringWithEncodingAtItsEnds) {
    unsigned char bytes[256] = {'#'};
    EXPECT_TRUE(TCFString::Empty.PStringWithEncoding(bytes, 0, kASCII));
    EXPECT_EQ(0, bytes[0]);
    EXPECT_TRUE(Units(std::u16string(255, u'z')).PStringWithEncoding(bytes, 255, kASCII));
    EXPECT_EQ(255, bytes[0]);
    EXPECT_EQ('z', bytes[255]);
    EXPECT_FALSE(Units(std::u16string(256, u'z')).PStringWithEncoding(bytes, 255, kASCII));
    EXPECT_EQ(0, bytes[0]);
}

TEST_F(TCFStringBytesTest, StdString) {
    std::string text = "before";
    EXPECT_TRUE(Units(u"caf\u00E9").StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ("caf\xC3\xA9", text);
    EXPECT_TRUE(Units(u"caf\u00E9").StdStringWithEncoding(text, kRoman));
    EXPECT_EQ("caf\x8E", text);
    EXPECT_TRUE(Units(std::u16string(5000, u'\u20AC')).StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ(15000u, text.size());
    EXPECT_TRUE(TCFString::Empty.StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ("", text);
}

TEST_F(TCFStringBytesTest, StdStringLeavesItsArgumentOnFailure) {
    std::string text = "before";
    EXPECT_FALSE(Units(u"caf\u00E9").StdStringWithEncoding(text, kASCII));
    EXPECT_EQ("before", text);
    EXPECT_FALSE(Unencodable().StdStringWithEncoding(text, kUTF8));
    EXPECT_EQ("before", text);
}

TEST_F(TCFStringBytesTest, StdStringWithoutMemory) {
    std::string text = "before";
    const TCFString string = Units(u"abc");
    fakes::FailCall(1);
    EXPECT_FALSE(string.StdStringWithEncoding(text, kUTF8));
    EXPECT_TRUE(fakes::FailureDelivered());
    EXPECT_EQ("before", text);
}

TEST_F(TCFStringBytesTest, ScratchOfTheLongestFormThereIs) {
    const TCFString string = Units(u"abc");
    std::string text;
    EXPECT_TRUE(string.StdStringWithEncoding(text, kUTF8));
    EXPECT_TRUE(WasCalled(fakes::CallText("NewPtr", 19)));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetCString", 19, kUTF8)));
    fakes::StartScenario();
    EXPECT_EQ(3, string.UTF8Length());
    EXPECT_TRUE(WasCalled(fakes::CallText("NewPtrClear", 19)));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetCString", 19, kUTF8)));
}

TEST_F(TCFStringBytesTest, UTF8) {
    char bytes[] = "########";
    EXPECT_EQ(bytes, Units(u"caf\u00E9").UTF8(5, bytes));
    EXPECT_STREQ("caf\xC3\xA9", bytes);
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetCString", 6, kUTF8)));
    EXPECT_EQ(bytes, TCFString::Empty.UTF8(0, bytes));
    EXPECT_STREQ("", bytes);
}

TEST_F(TCFStringBytesTest, UTF8LeavesWhatTheToolboxLeaves) {
    char bytes[] = "########";
    EXPECT_EQ(bytes, Units(u"abcdef").UTF8(3, bytes));
    EXPECT_STREQ("???", bytes);
    EXPECT_EQ(1u, fakes::CallsOf({"CFStringGetCString"}).size());
}

TEST_F(TCFStringBytesTest, UTF8Length) {
    EXPECT_EQ(0, TCFString::Empty.UTF8Length());
    EXPECT_EQ(1, Units(u"a").UTF8Length());
    EXPECT_EQ(5, Units(u"caf\u00E9").UTF8Length());
    EXPECT_EQ(3, Units(u"\u20AC").UTF8Length());
    EXPECT_EQ(30000, Units(std::u16string(10000, u'\u20AC')).UTF8Length());
    EXPECT_EQ(1, Units({u"a\0b", 3}).UTF8Length()) << "up to the NUL";
}

TEST_F(TCFStringBytesTest, UTF8LengthWithoutMemory) {
    const TCFString string = Units(u"abc");
    fakes::FailCall(1);
    EXPECT_EQ(0, string.UTF8Length());
    EXPECT_TRUE(fakes::FailureDelivered());
}

TEST_F(TCFStringBytesTest, Unicode) {
    UniChar units[] = {'#', '#', '#', '#'};
    EXPECT_EQ(units, Units(u"a\u20ACc").Unicode(2, units));
    EXPECT_EQ('a', units[0]);
    EXPECT_EQ(0x20AC, units[1]);
    EXPECT_EQ('#', units[2]) << "no terminator";
    EXPECT_EQ(units, Units(u"abc").Unicode(0, units));
    EXPECT_EQ('a', units[0]);
}

TEST_F(TCFStringBytesTest, HFSUniStr) {
    HFSUniStr255 name;
    EXPECT_EQ(&name, &Units(u"ab").HFSUniStr(name));
    EXPECT_EQ(2, name.length);
    EXPECT_EQ('b', name.unicode[1]);
    TCFString::Empty.HFSUniStr(name);
    EXPECT_EQ(0, name.length);
    for (const std::size_t length : {254u, 255u, 256u, 300u}) {
        std::u16string units(length, u'x');
        units[std::min<std::size_t>(length, 255) - 1] = u'y';
        Units(units).HFSUniStr(name);
        EXPECT_EQ(std::min<std::size_t>(length, 255), name.length);
        EXPECT_EQ('x', name.unicode[0]);
        EXPECT_EQ('y', name.unicode[name.length - 1]);
    }
}

TEST_F(TCFStringBytesTest, HFSUniStrThereAndBack) {
    HFSUniStr255 name;
    const TCFString string = Units(u"caf\u00E9");
    EXPECT_TRUE(TCFString(string.HFSUniStr(name)) == string);
}

TEST_F(TCFStringBytesTest, WithBytes) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(
        "\xEF\xBB\xBF"
        "abc");
    EXPECT_EQ(u"abc", UnitsOf(TCFString::WithBytes(bytes, 6, kUTF8, true)));
    EXPECT_EQ(u"\uFEFFabc", UnitsOf(TCFString::WithBytes(bytes, 6, kUTF8, false)));
    EXPECT_EQ(u"ab", UnitsOf(TCFString::WithBytes(bytes + 3, 2, kASCII, false)));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringCreateWithBytes", 6, kUTF8, 1)));
    EXPECT_EQ(1, CFGetRetainCount(TCFString::WithBytes(bytes + 3, 2, kASCII, false).StringRef()));
}

TEST_F(TCFStringBytesTest, WithBytesThatAreNoText) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>("a\xFF");
    EXPECT_TRUE(IsTheEmptyString(TCFString::WithBytes(bytes, 2, kASCII, false)));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(TCFString::WithBytes(bytes, 1, kASCII, false)));
    EXPECT_TRUE(fakes::FailureDelivered());
}

}  // namespace

// CString and PString: text as bytes, and every step of falling back from one encoding to the next.
#include "fakes/Calls.h"
#include "fakes/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <strings/TCFString.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using fakes::BestFit;
using ::testing::ElementsAre;

constexpr unsigned kUTF8 = kCFStringEncodingUTF8;
constexpr unsigned kRoman = kCFStringEncodingMacRoman;

// No encoding at hand holds half of a surrogate pair.
TCFString Unencodable() {
    HFSUniStr255 name;
    name.length = 2;
    name.unicode[0] = 'x';
    name.unicode[1] = 0xD800;
    return TCFString(name);
}

TCFString UTF8(const std::string& inText) {
    return TCFString(inText.c_str(), kCFStringEncodingUTF8);
}

std::vector<std::string> Conversions() {
    std::vector<std::string> calls;
    for (const std::string& call : fakes::CallLog())
        if (call.find("CFStringCreate") != 0) calls.push_back(call);
    return calls;
}

std::string Get(unsigned inSize, unsigned inEncoding) {
    return fakes::CallText("CFStringGetCString", inSize, inEncoding);
}
std::string GetPascal(unsigned inSize, unsigned inEncoding) {
    return fakes::CallText("CFStringGetPascalString", inSize, inEncoding);
}
std::string BestFitInto(unsigned inSize) {
    return fakes::CallText("GetTextAndEncodingFromCFString", inSize);
}

class ExportTest : public ::testing::Test {
  protected:
    ExportTest() { fakes::StartScenario(); }
    ~ExportTest() override {
        EXPECT_EQ(mLiveStrings, fakes::LiveStrings());
        EXPECT_TRUE(fakes::Misuses().empty());
    }

    // Into a buffer with room for exactly inMaxLength bytes and one more, as the contract says.
    static std::string AsCString(const TCFString& inString, long inMaxLength) {
        std::vector<char> buffer(static_cast<std::size_t>(inMaxLength) + 1, '#');
        EXPECT_EQ(buffer.data(), inString.CString(inMaxLength, buffer.data()));
        EXPECT_NE(buffer.end(), std::find(buffer.begin(), buffer.end(), '\0'));
        return buffer.data();
    }
    static std::string AsPString(const TCFString& inString, long inMaxLength) {
        std::vector<unsigned char> buffer(static_cast<std::size_t>(inMaxLength) + 1, '#');
        EXPECT_EQ(buffer.data(), inString.PString(buffer.data(), inMaxLength));
        EXPECT_LE(buffer[0], inMaxLength);
        return std::string(reinterpret_cast<const char*>(buffer.data() + 1),
                           std::min<long>(buffer[0], inMaxLength));
    }

  private:
    int mLiveStrings = fakes::LiveStrings();
};

class CStringTest : public ExportTest {};

TEST_F(CStringTest, EmptyConvertsNothing) {
    EXPECT_EQ("", AsCString(TCFString::Empty, 10));
    EXPECT_EQ("", AsCString(TCFString::Empty, 0));
    EXPECT_TRUE(Conversions().empty());
}

TEST_F(CStringTest, DefaultEncodingFirst) {
    const TCFString string = UTF8("caf\xC3\xA9");
    EXPECT_EQ("caf\xC3\xA9", AsCString(string, 5)) << "exactly as much as fits";
    EXPECT_THAT(Conversions(), ElementsAre(Get(6, kUTF8)));
}

TEST_F(CStringTest, SystemEncodingSecond) {
    const TCFString string = UTF8("caf\xC3\xA9");
    fakes::RefuseCStringsIn(kUTF8);
    EXPECT_EQ("caf\x8E", AsCString(string, 10));
    EXPECT_THAT(Conversions(), ElementsAre(Get(11, kUTF8), Get(11, kRoman)));
}

TEST_F(CStringTest, TooLongForTheDefaultEncodingMayFitTheSystems) {
    EXPECT_EQ("caf\x8E", AsCString(UTF8("caf\xC3\xA9"), 4));
}

TEST_F(CStringTest, TooLongIsCut) {
    EXPECT_EQ("0123", AsCString(UTF8("0123456789"), 4));
    EXPECT_THAT(Conversions(), ElementsAre(Get(5, kUTF8), Get(5, kRoman), Get(1024, kUTF8)));
    EXPECT_EQ("abcde", AsCString(UTF8("abcdefgh"), 5));
}

TEST_F(CStringTest, TooLongIsCutInTheSystemEncodingWhenTheDefaultFails) {
    const TCFString string = UTF8("\xC3\xA9\xC3\xA9\xC3\xA9");
    fakes::RefuseCStringsIn(kUTF8);
    EXPECT_EQ("\x8E\x8E", AsCString(string, 2));
    EXPECT_THAT(Conversions(),
                ElementsAre(Get(3, kUTF8), Get(3, kRoman), Get(1024, kUTF8), Get(1024, kRoman)));
}

TEST_F(CStringTest, TheCutIsInBytesNotCharacters) {
    fakes::RefuseCStringsIn(kRoman);
    EXPECT_EQ("a\xC3", AsCString(UTF8("a\xC3\xA9"), 2));
}

TEST_F(CStringTest, WhatNoEncodingHolds) {
    EXPECT_EQ("<CANNOT DISPLAY>", AsCString(Unencodable(), 20));
    EXPECT_EQ("<CANNOT DISPLAY>", AsCString(Unencodable(), 16));
    EXPECT_EQ("<CANN", AsCString(Unencodable(), 5));
    EXPECT_EQ("<CANNOT DISPLAY>", AsCString(Unencodable(), 40000)) << "a limit that 16 bits do not hold";
}

TEST_F(CStringTest, TheScratchHolds1023Bytes) {
    EXPECT_EQ("zzzz", AsCString(UTF8(std::string(1023, 'z')), 4));
    EXPECT_EQ("<CAN", AsCString(UTF8(std::string(1024, 'z')), 4));
}

TEST_F(CStringTest, LongTextThatFitsNeedsNoScratch) {
    const std::string text(5000, 'z');
    EXPECT_EQ(text, AsCString(UTF8(text), 5000));
}

TEST_F(CStringTest, NoRoomForAnyTextEndsSilently) {
    char bytes[] = {'#', '#'};
    UTF8("abc").CString(-1, bytes);
    EXPECT_EQ('\0', bytes[0]);
    EXPECT_EQ('#', bytes[1]);
}

class PStringTest : public ExportTest {};

TEST_F(PStringTest, EmptyConvertsNothing) {
    EXPECT_EQ("", AsPString(TCFString::Empty, 255));
    EXPECT_TRUE(Conversions().empty());
}

TEST_F(PStringTest, BestFitFirst) {
    EXPECT_EQ("caf\x8E", AsPString(UTF8("caf\xC3\xA9"), 4));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(4)));
}

TEST_F(PStringTest, BestFitMayReportNoBytes) {
    fakes::SetBestFit(BestFit::kEmpty);
    EXPECT_EQ("", AsPString(UTF8("abc"), 10));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(10)));
}

TEST_F(PStringTest, SystemEncodingSecond) {
    fakes::SetBestFit(BestFit::kFails);
    EXPECT_EQ("caf\x8E", AsPString(UTF8("caf\xC3\xA9"), 4));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(4), GetPascal(5, kRoman)));
}

TEST_F(PStringTest, TooLongIsCutInTheSystemEncoding) {
    EXPECT_EQ("caf\x8E", AsPString(UTF8("caf\xC3\xA9s and more"), 4));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(4), GetPascal(5, kRoman), GetPascal(256, kRoman)));
}

TEST_F(PStringTest, TheWholeScratchCounts) {
    const std::string text(255, 'z');
    EXPECT_EQ(text.substr(0, 254), AsPString(UTF8(text), 254));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(254), GetPascal(255, kRoman), GetPascal(256, kRoman)));
}

TEST_F(PStringTest, ThroughTheCFormWhenTheScratchIsTooSmall) {
    const std::string text(300, 'z');
    EXPECT_EQ(text.substr(0, 100), AsPString(UTF8(text), 100));
    EXPECT_THAT(Conversions(),
                ElementsAre(BestFitInto(100), GetPascal(101, kRoman), GetPascal(256, kRoman), Get(101, kUTF8),
                            Get(101, kRoman), Get(1024, kUTF8), "c2pstrcpy()"));
}

TEST_F(PStringTest, NoScratchAtTheFullLength) {
    const std::string text(300, 'z');
    EXPECT_EQ(text.substr(0, 255), AsPString(UTF8(text), 255));
    EXPECT_THAT(Conversions(), ElementsAre(BestFitInto(255), GetPascal(256, kRoman), Get(256, kUTF8),
                                           Get(256, kRoman), Get(1024, kUTF8), "c2pstrcpy()"));
}

TEST_F(PStringTest, ThroughTheCFormInTheDefaultEncoding) {
    EXPECT_EQ("\xD0\x96", AsPString(UTF8("\xD0\x96"), 10)) << "Mac Roman does not hold it, UTF-8 does";
}

TEST_F(PStringTest, EveryPascalConversionRefused) {
    fakes::SetBestFit(BestFit::kFails);
    fakes::RefusePascalStringsIn(kRoman);
    EXPECT_EQ("abc", AsPString(UTF8("abc"), 10));
    EXPECT_EQ("ab", AsPString(UTF8("abc"), 2));
}

TEST_F(PStringTest, WhatNoEncodingHolds) {
    EXPECT_EQ("<CANNOT DISPLAY>", AsPString(Unencodable(), 255));
    EXPECT_EQ("<CANNOT DISPLAY>", AsPString(Unencodable(), 16));
    EXPECT_EQ("<CAN", AsPString(Unencodable(), 4));
}

TEST_F(PStringTest, BeyondTheScratchNothingIsShown) {
    EXPECT_EQ("<CANNOT DISPLAY>", AsPString(UTF8(std::string(1024, 'z')), 255));
    EXPECT_EQ(std::string(255, 'z'), AsPString(UTF8(std::string(1023, 'z')), 255));
}

TEST_F(PStringTest, NoRoom) {
    EXPECT_EQ("", AsPString(UTF8("abc"), 0));
    unsigned char bytes[] = {'#', '#'};
    UTF8("abc").PString(bytes, -1);
    EXPECT_EQ(0, bytes[0]) << "less than nothing is nothing";
    EXPECT_EQ('#', bytes[1]);
}

TEST_F(PStringTest, MoreRoomThanALengthByteTells) {
    std::vector<unsigned char> buffer(1001, '#');
    UTF8(std::string(300, 'z')).PString(buffer.data(), 1000);
    EXPECT_EQ(255, buffer[0]);
    EXPECT_EQ('z', buffer[255]);
    EXPECT_EQ('#', buffer[256]);
}

}  // namespace

#include <gtest/gtest.h>
#include <toolbox/CFStringEncodings.h>
#include <toolbox/UnicodeConverter.h>

#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr ByteCount kUnset = 77;

// "status -8739" for instance, else the text in UTF-16.
std::u16string Decoded(TextEncoding inEncoding, std::string_view inBytes, ByteCount inCapacity = 512) {
    TextToUnicodeInfo info = nullptr;
    EXPECT_EQ(noErr, CreateTextToUnicodeInfoByEncoding(inEncoding, &info));
    const std::string pascal = static_cast<char>(inBytes.size()) + std::string(inBytes);
    UniChar text[300];
    ByteCount byteCount = kUnset;
    const OSStatus status = ConvertFromPStringToUnicode(
        info, reinterpret_cast<const unsigned char*>(pascal.data()), inCapacity, &byteCount, text);
    EXPECT_EQ(noErr, DisposeTextToUnicodeInfo(&info));
    EXPECT_EQ(nullptr, info);
    if (status == noErr) return {reinterpret_cast<char16_t*>(text), byteCount / 2};
    EXPECT_EQ(kUnset, byteCount);
    const std::string failure = "status " + std::to_string(status);
    return {failure.begin(), failure.end()};
}

std::string Encoded(TextEncoding inEncoding, std::u16string_view inText) {
    UnicodeToTextInfo info = nullptr;
    EXPECT_EQ(noErr, CreateUnicodeToTextInfoByEncoding(inEncoding, &info));
    unsigned char pascal[257];
    std::memset(pascal, '-', sizeof pascal);
    const OSStatus status = ConvertFromUnicodeToPString(
        info, inText.size() * 2, reinterpret_cast<const UniChar*>(inText.data()), pascal);
    EXPECT_EQ(noErr, DisposeUnicodeToTextInfo(&info));
    EXPECT_EQ(nullptr, info);
    if (status == noErr) return {reinterpret_cast<char*>(pascal) + 1, pascal[0]};
    EXPECT_EQ(std::string(sizeof pascal, '-'), std::string(reinterpret_cast<char*>(pascal), sizeof pascal));
    return "status " + std::to_string(status);
}

}  // namespace

TEST(UnicodeConverter, ToUnicode) {
    EXPECT_EQ(u"", Decoded(kCFStringEncodingMacRoman, ""));
    EXPECT_EQ(u"caf\u00E9", Decoded(kCFStringEncodingMacRoman, "caf\x8E"));
    EXPECT_EQ(u"caf\u00E9", Decoded(kCFStringEncodingUTF8, "caf\xC3\xA9"));
    EXPECT_EQ(u"e\u0301", Decoded(kCFStringEncodingUTF8, "e\xCC\x81")) << "as it is composed";
    EXPECT_EQ(u"\u65E5\u672C", Decoded(kCFStringEncodingMacJapanese, "\x93\xFA\x96\x7B"));
    EXPECT_EQ(u"\u0434", Decoded(kCFStringEncodingMacCyrillic, "\xE4"));
    EXPECT_EQ(std::u16string(255, u'x'), Decoded(kCFStringEncodingMacRoman, std::string(255, 'x')));
}

TEST(UnicodeConverter, ToUnicodeOfWhatIsNoText) {
    EXPECT_EQ(u"status -8739", Decoded(kCFStringEncodingUTF8, "caf\x8E"));
    EXPECT_EQ(u"status -8739", Decoded(kCFStringEncodingMacJapanese, "\x93"));
}

TEST(UnicodeConverter, ToUnicodeWithoutRoom) {
    EXPECT_EQ(u"abc", Decoded(kCFStringEncodingMacRoman, "abc", 6));
    EXPECT_EQ(u"status -8785", Decoded(kCFStringEncodingMacRoman, "abc", 5));
    EXPECT_EQ(u"status -8785", Decoded(kCFStringEncodingMacRoman, "a", 0));
    EXPECT_EQ(u"", Decoded(kCFStringEncodingMacRoman, "", 0));
}

TEST(UnicodeConverter, ToPascal) {
    EXPECT_EQ("", Encoded(kCFStringEncodingMacRoman, u""));
    EXPECT_EQ("caf\x8E", Encoded(kCFStringEncodingMacRoman, u"caf\u00E9"));
    EXPECT_EQ("\xF0\x9D\x84\x9E", Encoded(kCFStringEncodingUTF8, u"\U0001D11E"));
    EXPECT_EQ("\x93\xFA\x96\x7B", Encoded(kCFStringEncodingMacJapanese, u"\u65E5\u672C"));
    EXPECT_EQ(std::string(255, 'x'), Encoded(kCFStringEncodingMacRoman, std::u16string(255, u'x')));
    EXPECT_EQ(std::string(85 * 3, '\xE3').size(),
              Encoded(kCFStringEncodingUTF8, std::u16string(85, u'\u3042')).size());
}

TEST(UnicodeConverter, ToPascalOfWhatTheEncodingLacks) {
    EXPECT_EQ("status -8754", Encoded(kCFStringEncodingMacRoman, u"\u0434"));
    EXPECT_EQ("status -8754", Encoded(kCFStringEncodingMacRoman, u"abc\u0434"));
    EXPECT_EQ("status -8754", Encoded(kCFStringEncodingUTF8, u"a\xD800"));
    EXPECT_EQ("status -8754", Encoded(kCFStringEncodingMacRoman, std::u16string(300, u'x') + u'\u0434'))
        << "what is lacking says more than what is long";
}

TEST(UnicodeConverter, ToPascalOfMoreThanFits) {
    EXPECT_EQ("status -8785", Encoded(kCFStringEncodingMacRoman, std::u16string(256, u'x')));
    EXPECT_EQ("status -8785", Encoded(kCFStringEncodingUTF8, std::u16string(86, u'\u3042')));
}

TEST(UnicodeConverter, EncodingsThatAreNotThere) {
    auto toUnicode = reinterpret_cast<TextToUnicodeInfo>(1);
    auto toText = reinterpret_cast<UnicodeToTextInfo>(1);
    EXPECT_EQ(kTextUnsupportedEncodingErr, CreateTextToUnicodeInfoByEncoding(0x0BAD, &toUnicode));
    EXPECT_EQ(kTextUnsupportedEncodingErr, CreateUnicodeToTextInfoByEncoding(0x0BAD, &toText));
    EXPECT_EQ(nullptr, toUnicode);
    EXPECT_EQ(nullptr, toText);
}

TEST(UnicodeConverter, NullArguments) {
    TextToUnicodeInfo toUnicode = nullptr;
    UnicodeToTextInfo toText = nullptr;
    EXPECT_EQ(paramErr, CreateTextToUnicodeInfoByEncoding(0, nullptr));
    EXPECT_EQ(paramErr, CreateUnicodeToTextInfoByEncoding(0, nullptr));
    EXPECT_EQ(paramErr, DisposeTextToUnicodeInfo(nullptr));
    EXPECT_EQ(paramErr, DisposeUnicodeToTextInfo(nullptr));
    EXPECT_EQ(paramErr, DisposeTextToUnicodeInfo(&toUnicode));
    EXPECT_EQ(paramErr, DisposeUnicodeToTextInfo(&toText));
    UniChar text[4] = {};
    unsigned char pascal[256] = {1, 'a'};
    ByteCount byteCount = kUnset;
    EXPECT_EQ(paramErr, ConvertFromPStringToUnicode(nullptr, pascal, 8, &byteCount, text));
    EXPECT_EQ(paramErr, ConvertFromUnicodeToPString(nullptr, 2, text, pascal));
    ASSERT_EQ(noErr, CreateTextToUnicodeInfoByEncoding(0, &toUnicode));
    ASSERT_EQ(noErr, CreateUnicodeToTextInfoByEncoding(0, &toText));
    EXPECT_EQ(paramErr, ConvertFromPStringToUnicode(toUnicode, nullptr, 8, &byteCount, text));
    EXPECT_EQ(paramErr, ConvertFromPStringToUnicode(toUnicode, pascal, 8, nullptr, text));
    EXPECT_EQ(paramErr, ConvertFromPStringToUnicode(toUnicode, pascal, 8, &byteCount, nullptr));
    EXPECT_EQ(paramErr, ConvertFromUnicodeToPString(toText, 2, nullptr, pascal));
    EXPECT_EQ(paramErr, ConvertFromUnicodeToPString(toText, 2, text, nullptr));
    EXPECT_EQ(paramErr, ConvertFromUnicodeToPString(toText, 3, text, pascal)) << "an odd number of bytes";
    EXPECT_EQ(1, pascal[0]);
    EXPECT_EQ(noErr, ConvertFromUnicodeToPString(toText, 0, nullptr, pascal));
    EXPECT_EQ(0, pascal[0]);
    EXPECT_EQ(kUnset, byteCount);
    EXPECT_EQ(noErr, DisposeTextToUnicodeInfo(&toUnicode));
    EXPECT_EQ(noErr, DisposeUnicodeToTextInfo(&toText));
}

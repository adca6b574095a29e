#include <gtest/gtest.h>
#include <toolbox/CFStringEncodings.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

struct Fitted {
    OSStatus status;
    std::string text;
    TextEncoding encoding;
    bool operator==(const Fitted&) const = default;
};

std::ostream& operator<<(std::ostream& ioStream, const Fitted& inFitted) {
    return ioStream << inFitted.status << " \"" << inFitted.text << "\" " << inFitted.encoding;
}

constexpr ByteCount kUnsetLength = 77;
constexpr TextEncoding kUnsetEncoding = 99;

Fitted Fit(CFStringRef inString, ByteCount inMaxLength) {
    UInt8 buffer[64];
    std::memset(buffer, '-', sizeof buffer);
    ByteCount length = kUnsetLength;
    TextEncoding encoding = kUnsetEncoding;
    const OSStatus status = GetTextAndEncodingFromCFString(inString, buffer, inMaxLength, &length, &encoding);
    for (std::size_t i = inMaxLength; i < sizeof buffer; ++i)
        EXPECT_EQ('-', buffer[i]) << "byte " << i;
    if (status == noErr) return {status, std::string(reinterpret_cast<char*>(buffer), length), encoding};
    EXPECT_EQ(kUnsetLength, length);
    EXPECT_EQ(kUnsetEncoding, encoding);
    return {status, "", 0};
}

std::string PascalOf(const char* inText) {
    unsigned char pascal[257];
    std::memset(pascal, '-', sizeof pascal);
    c2pstrcpy(pascal, inText);
    EXPECT_EQ('-', pascal[pascal[0] + 1]) << "a byte behind the text";
    return {reinterpret_cast<char*>(pascal + 1), pascal[0]};
}

}  // namespace

TEST(TextEncoding, ApplicationUsesUTF8) {
    EXPECT_EQ(0x08000100U, GetApplicationTextEncoding());
}

TEST(TextEncoding, ApplicationEncodingFirst) {
    EXPECT_EQ((Fitted{noErr, "", kCFStringEncodingUTF8}), Fit(CFSTR(""), 0));
    EXPECT_EQ((Fitted{noErr, "abc", kCFStringEncodingUTF8}), Fit(CFSTR("abc"), 20));
    EXPECT_EQ((Fitted{noErr, "abc", kCFStringEncodingUTF8}), Fit(CFSTR("abc"), 3));
    EXPECT_EQ((Fitted{noErr, "caf\xC3\xA9", kCFStringEncodingUTF8}), Fit(CFSTR("caf\u00E9"), 5));
    EXPECT_EQ((Fitted{noErr, "\xF0\x9D\x84\x9E", kCFStringEncodingUTF8}), Fit(CFSTR("\U0001D11E"), 4));
}

TEST(TextEncoding, MacEncodingWhenItFitsBetter) {
    EXPECT_EQ((Fitted{noErr, "caf\x8E", kCFStringEncodingMacRoman}), Fit(CFSTR("caf\u00E9"), 4));
}

TEST(TextEncoding, FirstMacEncodingThatHoldsIt) {
    const struct {
        CFStringRef text;
        const char* bytes;
        TextEncoding encoding;
    } rows[] = {
        {CFSTR("\u010De\u0159"),
         "\x8B"
         "e\xDE",
         kCFStringEncodingMacCentralEurRoman},
        {CFSTR("\u03B1\u03C9"), "\xE1\xF6", kCFStringEncodingMacGreek},
        {CFSTR("\u0434\u0430"), "\xE4\xE0", kCFStringEncodingMacCyrillic},
        {CFSTR("\u011F\u0131"), "\xDB\xDD", kCFStringEncodingMacTurkish},
        {CFSTR("\u0111\u0107"), "\xF0\xE6", kCFStringEncodingMacCroatian},
        {CFSTR("\u00FE\u00F0"), "\xDF\xDD", kCFStringEncodingMacIcelandic},
        {CFSTR("\u0219i"), "\xBFi", kCFStringEncodingMacRomanian},
        {CFSTR("\u65E5\u672C"), "\x93\xFA\x96\x7B", kCFStringEncodingMacJapanese},
        {CFSTR("\u03B1\u3042"), "\x83\xBF\x82\xA0", kCFStringEncodingMacJapanese},
    };
    for (const auto& row : rows) {
        const std::string bytes = row.bytes;
        EXPECT_EQ((Fitted{noErr, bytes, row.encoding}), Fit(row.text, bytes.size()));
    }
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("\u65E5\u672C"), 3));
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("\uAC00"), 2))
        << "no Mac encoding holds it";
}

TEST(TextEncoding, TooLong) {
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("abc"), 2));
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("caf\u00E9"), 3));
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("a"), 0));
    EXPECT_EQ((Fitted{kTECOutputBufferFullStatus, "", 0}), Fit(CFSTR("\U0001D11E"), 3))
        << "UTF-8 alone holds it";
}

TEST(TextEncoding, NoEncodingHoldsIt) {
    const UniChar surrogate = 0xD800;
    CFStringRef string = CFStringCreateWithCharacters(kCFAllocatorDefault, &surrogate, 1);
    EXPECT_EQ((Fitted{kTECUnmappableElementErr, "", 0}), Fit(string, 20));
    CFRelease(string);
}

TEST(TextEncoding, NullArguments) {
    UInt8 buffer[8];
    ByteCount length = kUnsetLength;
    TextEncoding encoding = kUnsetEncoding;
    EXPECT_EQ(paramErr, GetTextAndEncodingFromCFString(nullptr, buffer, 8, &length, &encoding));
    EXPECT_EQ(paramErr, GetTextAndEncodingFromCFString(CFSTR("a"), nullptr, 8, &length, &encoding));
    EXPECT_EQ(paramErr, GetTextAndEncodingFromCFString(CFSTR("a"), buffer, 8, nullptr, &encoding));
    EXPECT_EQ(kUnsetLength, length);
    EXPECT_EQ(kUnsetEncoding, encoding);
    EXPECT_EQ(noErr, GetTextAndEncodingFromCFString(CFSTR("a"), buffer, 8, &length, nullptr));
    EXPECT_EQ(1U, length);
}

TEST(TextEncoding, AnyAmountOfRoom) {
    UInt8 buffer[8];
    ByteCount length = kUnsetLength;
    EXPECT_EQ(noErr, GetTextAndEncodingFromCFString(CFSTR("a"), buffer, std::numeric_limits<ByteCount>::max(),
                                                    &length, nullptr));
    EXPECT_EQ(1U, length);
}

TEST(c2pstrcpy, Copies) {
    EXPECT_EQ("", PascalOf(""));
    EXPECT_EQ("a", PascalOf("a"));
    EXPECT_EQ("", PascalOf(nullptr));
    EXPECT_EQ(std::string(254, 'x'), PascalOf(std::string(254, 'x').c_str()));
    EXPECT_EQ(std::string(255, 'x'), PascalOf(std::string(255, 'x').c_str()));
}

TEST(c2pstrcpy, CutsAt255) {
    EXPECT_EQ(std::string(255, 'x'), PascalOf((std::string(255, 'x') + "yz").c_str()));
    EXPECT_EQ(std::string(255, 'x'), PascalOf((std::string(255, 'x') + std::string(1000, 'y')).c_str()));
}

TEST(c2pstrcpy, InPlace) {
    char bytes[300] = "hello";
    c2pstrcpy(reinterpret_cast<unsigned char*>(bytes), bytes);
    EXPECT_EQ(0, std::memcmp(bytes, "\x05hello", 6));
    std::memset(bytes, 'x', 299);
    bytes[299] = 0;
    c2pstrcpy(reinterpret_cast<unsigned char*>(bytes), bytes);
    EXPECT_EQ(std::string("\xFF") + std::string(255, 'x'), std::string(bytes, 256));
}

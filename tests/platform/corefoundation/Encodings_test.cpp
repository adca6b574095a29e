// Bytes to text and back in every encoding that is known.
#include "CFSupport.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <toolbox/CFString.h>

#include <bit>
#include <limits>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

// What GetBytes gave: the units it took, and the bytes.
struct Converted {
    CFIndex unitCount;
    std::string bytes;
    bool operator==(const Converted&) const = default;
};

std::ostream& operator<<(std::ostream& ioStream, const Converted& inConverted) {
    ioStream << inConverted.unitCount << " units:";
    for (const char byte : inConverted.bytes)
        ioStream << ' ' << std::hex << int{static_cast<unsigned char>(byte)};
    return ioStream;
}

Converted Convert(CFStringRef inString, CFStringEncoding inEncoding, UInt8 inLossByte = 0,
                  bool inIsExternal = false, CFIndex inCapacity = 1000) {
    // Of exactly that size, so that a byte too many is noticed.
    std::vector<UInt8> buffer(static_cast<std::size_t>(inCapacity));
    CFIndex used = -1;
    const CFRange whole = CFRangeMake(0, CFStringGetLength(inString));
    UInt8 none = 0;
    const CFIndex unitCount = CFStringGetBytes(inString, whole, inEncoding, inLossByte, inIsExternal,
                                               buffer.empty() ? &none : buffer.data(), inCapacity, &used);
    EXPECT_LE(used, inCapacity);
    if (inCapacity == 1000) {
        CFIndex counted = -1;
        EXPECT_EQ(unitCount, CFStringGetBytes(inString, whole, inEncoding, inLossByte, inIsExternal, nullptr,
                                              0, &counted));
        EXPECT_EQ(used, counted);
    }
    return {unitCount,
            std::string(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(used))};
}

Converted Convert(std::u16string_view inText, CFStringEncoding inEncoding) {
    return Convert(StringOf(inText).get(), inEncoding);
}

constexpr char16_t kNone = 0xFFFF;

// The published mappings of bytes 0x80 to 0xFF.
constexpr char16_t kMacRoman[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

// Of Windows Latin 1 only these differ from ISO Latin 1.
constexpr char16_t kWindowsLatin1[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                         0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t MacRoman(int inByte) {
    return kMacRoman[inByte - 0x80];
}
char16_t ISOLatin1(int inByte) {
    return static_cast<char16_t>(inByte);
}
char16_t WindowsLatin1(int inByte) {
    return inByte < 0xA0 ? kWindowsLatin1[inByte - 0x80] : ISOLatin1(inByte);
}
char16_t ASCII(int) {
    return kNone;
}

// Each byte decodes as the table says and back; every other UTF-16 unit is refused.
void CheckSingleByteEncoding(CFStringEncoding inEncoding, char16_t (*inUpperHalf)(int)) {
    std::vector<int> byteOf(0x10000, -1);
    for (int byte = 0; byte < 0x100; ++byte) {
        const std::string bytes(1, static_cast<char>(byte));
        const char16_t expected = byte < 0x80 ? static_cast<char16_t>(byte) : inUpperHalf(byte);
        const OwnedString string = StringOf(bytes, inEncoding);
        if (expected == kNone) {
            EXPECT_EQ(nullptr, string) << "byte " << byte;
            continue;
        }
        ASSERT_NE(nullptr, string) << "byte " << byte;
        EXPECT_EQ(std::u16string(1, expected), TextOf(string)) << "byte " << byte;
        byteOf[expected] = byte;
    }
    for (int unit = 0; unit < 0x10000; ++unit) {
        const auto text = std::u16string(1, static_cast<char16_t>(unit));
        const int byte = byteOf[static_cast<std::size_t>(unit)];
        const Converted expected =
            byte < 0 ? Converted{0, ""} : Converted{1, std::string(1, static_cast<char>(byte))};
        ASSERT_EQ(expected, Convert(text, inEncoding)) << "U+" << std::hex << unit;
    }
    EXPECT_EQ((Converted{0, ""}), Convert(u"\U0001D11E", inEncoding));
}

}  // namespace

TEST(Encodings, MacRoman) {
    CheckSingleByteEncoding(kCFStringEncodingMacRoman, MacRoman);
}
TEST(Encodings, ISOLatin1) {
    CheckSingleByteEncoding(kCFStringEncodingISOLatin1, ISOLatin1);
}
TEST(Encodings, WindowsLatin1) {
    CheckSingleByteEncoding(kCFStringEncodingWindowsLatin1, WindowsLatin1);
}
TEST(Encodings, ASCII) {
    CheckSingleByteEncoding(kCFStringEncodingASCII, ASCII);
}

TEST(Encodings, NextStepLatin) {
    EXPECT_EQ(u"A\u00C4\u00E6\u0142\uFB01\u2019\u00FF",
              TextOf(StringOf("A\x85\xF1\xF8\xAE\xA9\xFD", kCFStringEncodingNextStepLatin)));
    EXPECT_EQ(nullptr, StringOf("\xFE", kCFStringEncodingNextStepLatin));
    EXPECT_EQ(nullptr, StringOf("\xFF", kCFStringEncodingNextStepLatin));
    // No two bytes share a character, and each comes back.
    for (int byte = 0; byte < 0xFE; ++byte) {
        const std::string bytes(1, static_cast<char>(byte));
        const OwnedString string = StringOf(bytes, kCFStringEncodingNextStepLatin);
        ASSERT_NE(nullptr, string) << byte;
        EXPECT_EQ((Converted{1, bytes}), Convert(string.get(), kCFStringEncodingNextStepLatin));
    }
}

TEST(Encodings, UTF8) {
    struct Row {
        const char* bytes;
        std::u16string text;
    };
    const Row rows[] = {
        {"\x01", u"\x01"},
        {"\x7F", u"\x7F"},
        {"\xC2\x80", u"\u0080"},
        {"\xDF\xBF", u"\u07FF"},
        {"\xE0\xA0\x80", u"\u0800"},
        {"\xED\x9F\xBF", u"\uD7FF"},
        {"\xEE\x80\x80", u"\uE000"},
        {"\xEF\xBB\xBF", u"\uFEFF"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\xF0\x90\x80\x80", u"\U00010000"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"f\xC3\xBCr \xF0\x9D\x84\x9E!", u"f\u00FCr \U0001D11E!"},
    };
    for (const Row& row : rows) {
        const OwnedString string = StringOf(row.bytes, kCFStringEncodingUTF8);
        ASSERT_NE(nullptr, string) << row.bytes;
        EXPECT_EQ(row.text, TextOf(string));
        EXPECT_EQ((Converted{static_cast<CFIndex>(row.text.size()), row.bytes}),
                  Convert(string.get(), kCFStringEncodingUTF8));
    }
}

TEST(Encodings, UTF8OfEveryCodePoint) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; codePoint += codePoint < 0x3000 ? 1 : 61) {
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;
        std::u16string text;
        if (codePoint < 0x10000) {
            text += static_cast<char16_t>(codePoint);
        } else {
            text += static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
            text += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
        }
        for (const CFStringEncoding encoding :
             {CFStringEncoding{kCFStringEncodingUTF8}, CFStringEncoding{kCFStringEncodingUTF16BE},
              CFStringEncoding{kCFStringEncodingUTF32LE}}) {
            const Converted converted = Convert(text, encoding);
            ASSERT_EQ(static_cast<CFIndex>(text.size()), converted.unitCount) << std::hex << +codePoint;
            const OwnedString back = StringOf(converted.bytes, encoding);
            ASSERT_NE(nullptr, back) << std::hex << +codePoint;
            ASSERT_EQ(text, TextOf(back));
        }
    }
}

TEST(Encodings, BytesThatAreNotUTF8) {
    const std::string rows[] = {
        "\x80",  // a trail byte alone
        "\xBF",
        "\xC3",  // cut off
        "\xC3(",
        "\xE2\x82",
        "\xE2(\xA1",
        "\xF0\x9D\x84",
        "\xC0\x80",  // longer than needed
        "\xC1\xBF",
        "\xE0\x9F\xBF",
        "\xF0\x8F\xBF\xBF",
        "\xED\xA0\x80",  // surrogates
        "\xED\xBF\xBF",
        "\xED\xA0\xB4\xED\xB4\x9E",  // a pair of them
        "\xF4\x90\x80\x80",          // beyond U+10FFFF
        "\xF8\x88\x80\x80\x80",
        "\xFE",
        "\xFF",
    };
    for (const std::string& row : rows) {
        for (const std::string& before : {""s, "abc"s, "abcdefgh"s, "\xC3\xBC"s}) {
            EXPECT_EQ(nullptr, StringOf(before + row, kCFStringEncodingUTF8)) << before + row;
            EXPECT_EQ(nullptr, StringOf(before + row + "abcdefghi", kCFStringEncodingUTF8)) << before + row;
        }
    }
}

TEST(Encodings, SurrogatesWithoutPartners) {
    for (const std::u16string& text : {u"\xD800"s, u"\xDC00"s, u"\xDC00\xD800"s}) {
        EXPECT_EQ((Converted{0, ""}), Convert(text, kCFStringEncodingUTF8));
        EXPECT_EQ((Converted{0, ""}), Convert(text, kCFStringEncodingUTF32));
        EXPECT_EQ((Converted{0, ""}), Convert(text, kCFStringEncodingMacRoman));
    }
    EXPECT_EQ((Converted{2, "ab"}), Convert(u"ab\xD800"s, kCFStringEncodingUTF8));
    EXPECT_EQ((Converted{2, "\xD8\x00\x00x"s}), Convert(u"\xD800x"s, kCFStringEncodingUTF16BE));
    EXPECT_EQ(u"\xD800x"s, TextOf(StringOf("\xD8\x00\x00x"s, kCFStringEncodingUTF16BE)));
}

TEST(Encodings, UTF16) {
    const std::u16string text = u"a\u20AC\U0001D11E";
    const std::string big = "\0a\x20\xAC\xD8\x34\xDD\x1E"s;
    const std::string little = "a\0\xAC\x20\x34\xD8\x1E\xDD"s;
    EXPECT_EQ(text, TextOf(StringOf(big, kCFStringEncodingUTF16BE)));
    EXPECT_EQ(text, TextOf(StringOf(little, kCFStringEncodingUTF16LE)));
    EXPECT_EQ(text, TextOf(StringOf(kHostIsBigEndian ? big : little, kCFStringEncodingUnicode)));
    EXPECT_EQ((Converted{4, big}), Convert(text, kCFStringEncodingUTF16BE));
    EXPECT_EQ((Converted{4, little}), Convert(text, kCFStringEncodingUTF16LE));
    EXPECT_EQ((Converted{4, kHostIsBigEndian ? big : little}), Convert(text, kCFStringEncodingUnicode));
    for (const CFStringEncoding encoding :
         {CFStringEncoding{kCFStringEncodingUnicode}, CFStringEncoding{kCFStringEncodingUTF16BE},
          CFStringEncoding{kCFStringEncodingUTF16LE}}) {
        EXPECT_EQ(nullptr, StringOf("abc", encoding)) << "half a unit";
        EXPECT_EQ(nullptr, StringOf("a", encoding, true));
    }
}

TEST(Encodings, UTF32) {
    const std::u16string text = u"a\U0001D11E";
    const std::string big = "\0\0\0a\0\x01\xD1\x1E"s;
    const std::string little = "a\0\0\0\x1E\xD1\x01\0"s;
    EXPECT_EQ(text, TextOf(StringOf(big, kCFStringEncodingUTF32BE)));
    EXPECT_EQ(text, TextOf(StringOf(little, kCFStringEncodingUTF32LE)));
    EXPECT_EQ(text, TextOf(StringOf(kHostIsBigEndian ? big : little, kCFStringEncodingUTF32)));
    EXPECT_EQ((Converted{3, big}), Convert(text, kCFStringEncodingUTF32BE));
    EXPECT_EQ((Converted{3, little}), Convert(text, kCFStringEncodingUTF32LE));
    EXPECT_EQ((Converted{3, kHostIsBigEndian ? big : little}), Convert(text, kCFStringEncodingUTF32));
    EXPECT_EQ(nullptr, StringOf("\0\0\0"s, kCFStringEncodingUTF32BE)) << "cut off";
    EXPECT_EQ(nullptr, StringOf("\0\x11\0\0"s, kCFStringEncodingUTF32BE)) << "beyond U+10FFFF";
    EXPECT_EQ(nullptr, StringOf("\xFF\xFF\xFF\xFF", kCFStringEncodingUTF32LE));
    EXPECT_EQ(nullptr, StringOf("\0\0\xD8\0"s, kCFStringEncodingUTF32BE)) << "a surrogate";
}

TEST(Encodings, ByteOrderMarksAreRead) {
    struct Row {
        std::string bytes;
        CFStringEncoding encoding;
        std::u16string external;
        std::u16string internal;
    };
    const std::u16string mark = u"\uFEFF";
    const Row rows[] = {
        {"\xEF\xBB\xBFx", kCFStringEncodingUTF8, u"x", mark + u"x"},
        {"\xEF\xBB\xBF", kCFStringEncodingUTF8, u"", mark},
        {"\xFE\xFF\0x"s, kCFStringEncodingUTF16BE, mark + u"x", mark + u"x"},
        {"\xFF\xFEx\0"s, kCFStringEncodingUTF16LE, mark + u"x", mark + u"x"},
        {"\xFE\xFF\0x"s, kCFStringEncodingUnicode, u"x", kHostIsBigEndian ? mark + u"x" : u"\uFFFE\u7800"},
        {"\xFF\xFEx\0"s, kCFStringEncodingUnicode, u"x", kHostIsBigEndian ? u"\uFFFE\u7800" : mark + u"x"},
        {"\xFE\xFF", kCFStringEncodingUnicode, u"", kHostIsBigEndian ? mark : u"\uFFFE"},
        {"\0x"s, kCFStringEncodingUnicode, u"x", kHostIsBigEndian ? u"x" : u"\u7800"},
        {"", kCFStringEncodingUnicode, u"", u""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.external, TextOf(StringOf(row.bytes, row.encoding, true))) << row.encoding;
        EXPECT_EQ(row.internal, TextOf(StringOf(row.bytes, row.encoding, false))) << row.encoding;
    }
    EXPECT_EQ(u"x", TextOf(StringOf("\0\0\xFE\xFF\0\0\0x"s, kCFStringEncodingUTF32, true)));
    EXPECT_EQ(u"x", TextOf(StringOf("\xFF\xFE\0\0x\0\0\0"s, kCFStringEncodingUTF32, true)));
    EXPECT_EQ(u"x", TextOf(StringOf("\0\0\0x"s, kCFStringEncodingUTF32, true)));
    EXPECT_EQ(nullptr, StringOf("\xFE\xFF"s, kCFStringEncodingUTF32, true));
    EXPECT_EQ(nullptr, StringOf("\xEF\xBB", kCFStringEncodingUTF8, true));
}

TEST(Encodings, ByteOrderMarksAreWritten) {
    const CFStringRef x = CFSTR("x");
    const std::string unicode = kHostIsBigEndian ? "\xFE\xFF\0x"s : "\xFF\xFEx\0"s;
    const std::string utf32 = kHostIsBigEndian ? "\0\0\xFE\xFF\0\0\0x"s : "\xFF\xFE\0\0x\0\0\0"s;
    EXPECT_EQ((Converted{1, unicode}), Convert(x, kCFStringEncodingUnicode, 0, true));
    EXPECT_EQ((Converted{1, utf32}), Convert(x, kCFStringEncodingUTF32, 0, true));
    EXPECT_EQ((Converted{1, "\0x"s}), Convert(x, kCFStringEncodingUTF16BE, 0, true));
    EXPECT_EQ((Converted{1, "x"}), Convert(x, kCFStringEncodingUTF8, 0, true));
    EXPECT_EQ((Converted{0, unicode.substr(0, 2)}), Convert(x, kCFStringEncodingUnicode, 0, true, 3));
    EXPECT_EQ((Converted{0, ""}), Convert(x, kCFStringEncodingUnicode, 0, true, 1)) << "no room for the mark";
    EXPECT_EQ((Converted{0, unicode.substr(0, 2)}), Convert(CFSTR(""), kCFStringEncodingUnicode, 0, true));
}

TEST(Encodings, LossByteStandsInForWhatCannotBeHeld) {
    const CFStringRef text = CFSTR("a\u20ACb\U0001D11Ec");
    EXPECT_EQ((Converted{6, "a?b?c"}), Convert(text, kCFStringEncodingASCII, '?'));
    EXPECT_EQ((Converted{6,
                         "a\xDB"
                         "b?c"}),
              Convert(text, kCFStringEncodingMacRoman, '?'));
    EXPECT_EQ((Converted{1, "a"}), Convert(text, kCFStringEncodingASCII, 0)) << "stops there";
    EXPECT_EQ((Converted{3, "x?y"}), Convert(StringOf(u"x\xD800y"s).get(), kCFStringEncodingUTF8, '?'));
}

TEST(Encodings, OnlyWholeCharactersFit) {
    const CFStringRef text = CFSTR("a\u20AC\U0001D11E");
    const std::string utf8 = "a\xE2\x82\xAC\xF0\x9D\x84\x9E";
    constexpr CFIndex kUnits[] = {0, 1, 1, 1, 2, 2, 2, 2, 4, 4};
    constexpr std::size_t kBytes[] = {0, 1, 1, 1, 4, 4, 4, 4, 8, 8};
    for (CFIndex capacity = 0; capacity <= 9; ++capacity) {
        EXPECT_EQ((Converted{kUnits[capacity], utf8.substr(0, kBytes[capacity])}),
                  Convert(text, kCFStringEncodingUTF8, 0, false, capacity));
    }
}

TEST(Encodings, BytesOfRanges) {
    const CFStringRef text = CFSTR("abcdef");
    UInt8 buffer[8] = {};
    CFIndex used = -1;
    EXPECT_EQ(2,
              CFStringGetBytes(text, CFRangeMake(2, 2), kCFStringEncodingASCII, 0, false, buffer, 8, &used));
    EXPECT_EQ(2, used);
    EXPECT_EQ('c', buffer[0]);
    EXPECT_EQ(
        0, CFStringGetBytes(text, CFRangeMake(6, 0), kCFStringEncodingASCII, 0, false, buffer, 8, nullptr));
    for (const CFRange range :
         {CFRangeMake(-1, 1), CFRangeMake(7, 0), CFRangeMake(5, 2), CFRangeMake(0, -1)}) {
        used = -1;
        EXPECT_EQ(0, CFStringGetBytes(text, range, kCFStringEncodingASCII, 0, false, buffer, 8, &used));
        EXPECT_EQ(0, used);
    }
    used = -1;
    EXPECT_EQ(
        0, CFStringGetBytes(text, CFRangeMake(0, 6), kCFStringEncodingInvalidId, 0, false, buffer, 8, &used));
    EXPECT_EQ(0, used);
    EXPECT_EQ(0,
              CFStringGetBytes(text, CFRangeMake(0, 6), kCFStringEncodingASCII, 0, false, buffer, -1, &used));
    EXPECT_EQ(0, used);
}

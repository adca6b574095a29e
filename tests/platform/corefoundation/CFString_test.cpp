#include "CFSupport.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/CFString.h>

#include <cstring>
#include <limits>
#include <string>

using namespace std::string_literals;

namespace {

constexpr CFIndex kMaxIndex = std::numeric_limits<CFIndex>::max();
constexpr CFIndex kMinIndex = std::numeric_limits<CFIndex>::min();

OwnedString FromCString(const char* inText, CFStringEncoding inEncoding = kCFStringEncodingUTF8) {
    return OwnedString(CFStringCreateWithCString(kCFAllocatorDefault, inText, inEncoding));
}

OwnedString FromPascal(const std::string& inText, CFStringEncoding inEncoding) {
    unsigned char pascal[256] = {static_cast<unsigned char>(inText.size())};
    std::memcpy(pascal + 1, inText.data(), inText.size());
    return OwnedString(CFStringCreateWithPascalString(kCFAllocatorDefault, pascal, inEncoding));
}

OwnedString Substring(CFStringRef inString, CFIndex inLocation, CFIndex inLength) {
    return OwnedString(
        CFStringCreateWithSubstring(kCFAllocatorDefault, inString, CFRangeMake(inLocation, inLength)));
}

}  // namespace

TEST(CFString, ConstantStrings) {
    EXPECT_EQ(u"", TextOf(CFSTR("")));
    EXPECT_EQ(0, CFStringGetLength(CFSTR("")));
    EXPECT_EQ(u"f\u00FCr \U0001D11E", TextOf(CFSTR("f\u00FCr \U0001D11E")));
    const auto same = [] { return CFSTR("one place, one object"); };
    EXPECT_EQ(same(), same());
}

TEST(CFString, FromCString) {
    EXPECT_EQ(u"", TextOf(FromCString("")));
    EXPECT_EQ(u"a", TextOf(FromCString("a")));
    EXPECT_EQ(u"f\u00FCr", TextOf(FromCString("f\xC3\xBCr")));
    EXPECT_EQ(u"f\u00FCr", TextOf(FromCString("f\xFCr", kCFStringEncodingISOLatin1)));
    EXPECT_EQ(u"f\u00FCr", TextOf(FromCString("f\x9Fr", kCFStringEncodingMacRoman)));
    EXPECT_EQ(nullptr, FromCString(nullptr));
    EXPECT_EQ(nullptr, FromCString("\xFF", kCFStringEncodingASCII));
    EXPECT_EQ(nullptr, FromCString("abc\x80", kCFStringEncodingASCII));
    EXPECT_EQ(u"\u007F", TextOf(FromCString("\x7F", kCFStringEncodingASCII)));
    EXPECT_EQ(nullptr, FromCString("abc", kCFStringEncodingInvalidId));
    EXPECT_EQ(nullptr, FromCString("abc", kCFStringEncodingInvalidId)) << "no tables for it";
    for (const CFStringEncoding wide :
         {CFStringEncoding{kCFStringEncodingUnicode}, CFStringEncoding{kCFStringEncodingUTF16BE},
          CFStringEncoding{kCFStringEncodingUTF32}}) {
        EXPECT_EQ(nullptr, FromCString("abcd", wide)) << std::hex << wide;
    }
}

// Lengths around the eight bytes that are looked at together, with one byte that is not ASCII at every place.
TEST(CFString, FromCStringOfEveryLength) {
    for (std::size_t length = 0; length <= 40; ++length) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i)
            text += static_cast<char>('a' + i % 26);
        EXPECT_EQ(std::u16string(text.begin(), text.end()), TextOf(FromCString(text.c_str())));
        EXPECT_EQ(std::u16string(text.begin(), text.end()),
                  TextOf(FromCString(text.c_str(), kCFStringEncodingASCII)));
        for (std::size_t i = 0; i < length; ++i) {
            std::string bytes = text;
            std::u16string expected(text.begin(), text.end());
            bytes[i] = '\xC9';
            expected[i] = u'\u00C9';
            EXPECT_EQ(expected, TextOf(FromCString(bytes.c_str(), kCFStringEncodingISOLatin1)));
            EXPECT_EQ(nullptr, FromCString(bytes.c_str(), kCFStringEncodingASCII));
            EXPECT_EQ(nullptr, FromCString(bytes.c_str())) << "a lead byte alone";
            bytes.replace(i, 1, "\xC3\x89");
            EXPECT_EQ(expected, TextOf(FromCString(bytes.c_str())));
        }
    }
}

TEST(CFString, FromPascalString) {
    EXPECT_EQ(u"", TextOf(FromPascal("", kCFStringEncodingMacRoman)));
    EXPECT_EQ(u"caf\u00E9", TextOf(FromPascal("caf\x8E", kCFStringEncodingMacRoman)));
    EXPECT_EQ(u"a\0b"s, TextOf(FromPascal("a\0b"s, kCFStringEncodingASCII)));
    EXPECT_EQ(std::u16string(255, u'x'), TextOf(FromPascal(std::string(255, 'x'), kCFStringEncodingUTF8)));
    EXPECT_EQ(nullptr, FromPascal("\xC3", kCFStringEncodingUTF8));
    EXPECT_EQ(nullptr, FromPascal("abcd", kCFStringEncodingUTF16BE));
    EXPECT_EQ(nullptr, CFStringCreateWithPascalString(kCFAllocatorDefault, nullptr, kCFStringEncodingUTF8));
}

TEST(CFString, FromCharacters) {
    EXPECT_EQ(u"", TextOf(StringOf(u"")));
    EXPECT_EQ(u"\xD800 \xDC00\0\uFFFF"s, TextOf(StringOf(u"\xD800 \xDC00\0\uFFFF"s))) << "any units";
    const UniChar unit = 'a';
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, nullptr, 1));
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, nullptr, 0));
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, &unit, -1));
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, &unit, kMinIndex));
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, &unit, kMaxIndex));
    EXPECT_EQ(nullptr, CFStringCreateWithCharacters(kCFAllocatorDefault, &unit, kMaxIndex / 2));
}

TEST(CFString, FromBytesOfNothing) {
    EXPECT_EQ(u"", TextOf(StringOf("", kCFStringEncodingUTF8)));
    EXPECT_EQ(u"", TextOf(StringOf("", kCFStringEncodingUTF16BE, true)));
    EXPECT_EQ(nullptr, StringOf("", kCFStringEncodingInvalidId));
    const UInt8 byte = 'a';
    EXPECT_EQ(nullptr,
              CFStringCreateWithBytes(kCFAllocatorDefault, nullptr, 0, kCFStringEncodingUTF8, false));
    EXPECT_EQ(nullptr, CFStringCreateWithBytes(kCFAllocatorDefault, nullptr, 1, kCFStringEncodingUTF8, true));
    EXPECT_EQ(nullptr, CFStringCreateWithBytes(kCFAllocatorDefault, &byte, -1, kCFStringEncodingUTF8, true));
}

TEST(CFString, Substring) {
    const OwnedString string = StringOf(u"abcdef");
    EXPECT_EQ(u"cd", TextOf(Substring(string.get(), 2, 2)));
    EXPECT_EQ(u"", TextOf(Substring(string.get(), 0, 0)));
    EXPECT_EQ(u"", TextOf(Substring(string.get(), 6, 0)));
    EXPECT_EQ(u"f", TextOf(Substring(string.get(), 5, 1)));
    const OwnedString whole = Substring(string.get(), 0, 6);
    EXPECT_EQ(string.get(), whole.get());
    EXPECT_EQ(2, CFGetRetainCount(string.get()));
}

TEST(CFString, SubstringOutsideTheString) {
    const OwnedString string = StringOf(u"abcdef");
    const CFRange ranges[] = {{-1, 1},        {-1, 3},
                              {7, 0},         {6, 1},
                              {0, 7},         {5, 2},
                              {0, -1},        {3, kMaxIndex},
                              {kMaxIndex, 1}, {kMaxIndex, kMaxIndex},
                              {kMinIndex, 1}, {0, kMinIndex},
                              {1, kMinIndex}, {kMinIndex, kMinIndex}};
    for (const CFRange& range : ranges) {
        EXPECT_EQ(nullptr, Substring(string.get(), range.location, range.length))
            << range.location << " " << range.length;
    }
    EXPECT_EQ(nullptr, Substring(nullptr, 0, 0));
}

TEST(CFString, CopyIsTheSameObject) {
    const OwnedString string = StringOf(u"abc");
    const OwnedString copy(CFStringCreateCopy(kCFAllocatorDefault, string.get()));
    EXPECT_EQ(string.get(), copy.get());
    EXPECT_EQ(2, CFGetRetainCount(string.get()));
    EXPECT_EQ(nullptr, CFStringCreateCopy(kCFAllocatorDefault, nullptr));
    CFStringRef constant = CFSTR("abc");
    EXPECT_EQ(constant, CFStringCreateCopy(kCFAllocatorDefault, constant));
}

TEST(CFString, CharacterAtIndex) {
    const OwnedString string = StringOf(u"a\U0001D11E");
    EXPECT_EQ(u'a', CFStringGetCharacterAtIndex(string.get(), 0));
    EXPECT_EQ(0xD834, CFStringGetCharacterAtIndex(string.get(), 1));
    EXPECT_EQ(0xDD1E, CFStringGetCharacterAtIndex(string.get(), 2));
    for (const CFIndex outside : {CFIndex{3}, CFIndex{-1}, kMaxIndex, kMinIndex}) {
        EXPECT_EQ(0, CFStringGetCharacterAtIndex(string.get(), outside));
    }
}

TEST(CFString, GetCharacters) {
    const OwnedString string = StringOf(u"abcdef");
    const auto get = [&string](CFIndex inLocation, CFIndex inLength) {
        std::u16string buffer(8, u'-');
        CFStringGetCharacters(string.get(), CFRangeMake(inLocation, inLength),
                              reinterpret_cast<UniChar*>(buffer.data()));
        return buffer;
    };
    EXPECT_EQ(u"abcdef--", get(0, 6));
    EXPECT_EQ(u"cd------", get(2, 2));
    EXPECT_EQ(u"--------", get(6, 0));
    EXPECT_EQ(u"ef------", get(4, 100)) << "only what there is";
    EXPECT_EQ(u"ef------", get(4, kMaxIndex));
    for (const CFIndex outside : {CFIndex{7}, CFIndex{-1}, kMaxIndex, kMinIndex})
        EXPECT_EQ(u"--------", get(outside, 2));
    EXPECT_EQ(u"--------", get(2, -1));
    EXPECT_EQ(u"--------", get(2, kMinIndex));
}

TEST(CFString, GetCString) {
    const OwnedString string = StringOf(u"caf\u00E9");
    char buffer[8];
    const auto get = [&](CFIndex inSize, CFStringEncoding inEncoding) {
        std::memset(buffer, '-', sizeof buffer);
        const bool done = CFStringGetCString(string.get(), buffer, inSize, inEncoding);
        // Nothing behind the room that was given.
        for (auto i = static_cast<std::size_t>(std::max<CFIndex>(inSize, 0)); i < sizeof buffer; ++i) {
            EXPECT_EQ('-', buffer[i]) << "size " << inSize << ", byte " << i;
        }
        return done;
    };
    EXPECT_TRUE(get(8, kCFStringEncodingUTF8));
    EXPECT_STREQ("caf\xC3\xA9", buffer);
    EXPECT_TRUE(get(6, kCFStringEncodingUTF8)) << "just fits";
    EXPECT_STREQ("caf\xC3\xA9", buffer);
    for (CFIndex size = 1; size <= 5; ++size) {
        EXPECT_FALSE(get(size, kCFStringEncodingUTF8)) << size;
        EXPECT_STREQ("", buffer);
    }
    EXPECT_TRUE(get(5, kCFStringEncodingMacRoman));
    EXPECT_STREQ("caf\x8E", buffer);
    EXPECT_FALSE(get(8, kCFStringEncodingASCII));
    EXPECT_STREQ("", buffer);
    EXPECT_FALSE(get(8, kCFStringEncodingInvalidId));
    EXPECT_STREQ("", buffer);
    EXPECT_FALSE(get(8, kCFStringEncodingUTF16BE)) << "not of 8-bit units";
    for (const CFIndex size : {CFIndex{0}, CFIndex{-1}, kMinIndex})
        EXPECT_FALSE(get(size, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(string.get(), nullptr, 8, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(CFSTR(""), buffer, 1, kCFStringEncodingASCII));
    EXPECT_STREQ("", buffer);
}

TEST(CFString, GetPascalString) {
    const OwnedString string = StringOf(u"caf\u00E9");
    unsigned char buffer[300];
    EXPECT_TRUE(CFStringGetPascalString(string.get(), buffer, 5, kCFStringEncodingMacRoman));
    EXPECT_EQ(0, std::memcmp(buffer,
                             "\x04"
                             "caf\x8E",
                             5));
    EXPECT_FALSE(CFStringGetPascalString(string.get(), buffer, 4, kCFStringEncodingMacRoman));
    EXPECT_EQ(0, buffer[0]);
    EXPECT_FALSE(CFStringGetPascalString(string.get(), buffer, 0, kCFStringEncodingMacRoman));
    EXPECT_FALSE(CFStringGetPascalString(string.get(), buffer, -1, kCFStringEncodingMacRoman));
    EXPECT_FALSE(CFStringGetPascalString(string.get(), nullptr, 5, kCFStringEncodingMacRoman));
    EXPECT_FALSE(CFStringGetPascalString(string.get(), buffer, 300, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetPascalString(string.get(), buffer, 300, kCFStringEncodingUTF16LE));
    EXPECT_TRUE(CFStringGetPascalString(StringOf(std::u16string(255, u'x')).get(), buffer, 300,
                                        kCFStringEncodingASCII));
    EXPECT_EQ(255, buffer[0]);
    EXPECT_EQ('x', buffer[255]);
    EXPECT_FALSE(CFStringGetPascalString(StringOf(std::u16string(256, u'x')).get(), buffer, 300,
                                         kCFStringEncodingASCII))
        << "a Pascal string has 255 bytes, however large the buffer is";
    EXPECT_EQ(0, buffer[0]);
    EXPECT_TRUE(CFStringGetPascalString(CFSTR(""), buffer, 1, kCFStringEncodingASCII));
    EXPECT_EQ(0, buffer[0]);
}

TEST(CFString, SystemEncodingIsMacRoman) {
    EXPECT_EQ(0U, CFStringGetSystemEncoding());
}

// Every way of making a string gives null when memory is short, and leaves nothing behind.
TEST(CFString, NoMemory) {
    using toolbox::corefoundation::LiveObjectsForTesting;
    auto& calls = toolbox::os::CallsForTesting();
    const OwnedString source = StringOf(u"abcdef");
    const SInt64 before = LiveObjectsForTesting();
    const auto saved = calls;
    calls.malloc = [](std::size_t) -> void* { return nullptr; };
    EXPECT_EQ(nullptr, FromCString("abc"));
    EXPECT_EQ(nullptr, FromCString("f\xC3\xBCr"));
    EXPECT_EQ(nullptr, FromPascal("abc", kCFStringEncodingMacRoman));
    EXPECT_EQ(nullptr, StringOf(u"abc"));
    EXPECT_EQ(nullptr, StringOf("abc", kCFStringEncodingUTF8));
    EXPECT_EQ(nullptr, Substring(source.get(), 1, 2));
    calls = saved;
    EXPECT_EQ(before, LiveObjectsForTesting());
    EXPECT_EQ(u"bc", TextOf(Substring(source.get(), 1, 2)));
}

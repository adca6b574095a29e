#include "CFSupport.h"
#include "Faults.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <toolbox/CFMutableString.h>

#include <limits>
#include <random>
#include <string>

namespace {

constexpr CFIndex kMaxIndex = std::numeric_limits<CFIndex>::max();
constexpr CFIndex kMinIndex = std::numeric_limits<CFIndex>::min();

OwnedMutable NewMutable(CFIndex inMaxLength = 0) {
    return OwnedMutable(CFStringCreateMutable(kCFAllocatorDefault, inMaxLength));
}

std::u16string Padded(std::u16string_view inText, std::u16string_view inPadding, CFIndex inLength,
                      CFIndex inStart = 0) {
    const OwnedMutable string = MutableOf(inText);
    CFStringPad(string.get(), StringOf(inPadding).get(), inLength, inStart);
    return TextOf(string);
}

std::u16string Trimmed(std::u16string_view inText, std::u16string_view inTrimmed) {
    const OwnedMutable string = MutableOf(inText);
    CFStringTrim(string.get(), StringOf(inTrimmed).get());
    return TextOf(string);
}

std::u16string TrimmedOfSpace(std::u16string_view inText) {
    const OwnedMutable string = MutableOf(inText);
    CFStringTrimWhitespace(string.get());
    return TextOf(string);
}

std::u16string Replaced(std::u16string_view inText, CFIndex inLocation, CFIndex inLength,
                        std::u16string_view inReplacement) {
    const OwnedMutable string = MutableOf(inText);
    CFStringReplace(string.get(), CFRangeMake(inLocation, inLength), StringOf(inReplacement).get());
    return TextOf(string);
}

}  // namespace

TEST(MutableString, BeginsEmpty) {
    const OwnedMutable string = NewMutable();
    EXPECT_EQ(0, CFStringGetLength(string.get()));
    EXPECT_EQ(u"", TextOf(string));
    EXPECT_EQ(0, CFStringGetCharacterAtIndex(string.get(), 0));
    EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(string.get()));
    for (const CFStringCompareFlags flags : {0, 1, 16, 17, 32, 64, 128, 256})
        EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(string.get(), CFSTR(""), flags)) << flags;
    char buffer[4] = "xyz";
    EXPECT_TRUE(CFStringGetCString(string.get(), buffer, 4, kCFStringEncodingUTF8));
    EXPECT_STREQ("", buffer);
    CFStringAppend(string.get(), CFSTR(""));
    CFStringDelete(string.get(), CFRangeMake(0, 0));
    CFStringUppercase(string.get(), nullptr);
    CFStringTrimWhitespace(string.get());
    EXPECT_EQ(u"", TextOf(string));
}

TEST(MutableString, CreationThatFails) {
    EXPECT_EQ(nullptr, NewMutable(-1));
    EXPECT_EQ(nullptr, NewMutable(kMinIndex));
    EXPECT_NE(nullptr, NewMutable(kMaxIndex));
    EXPECT_EQ(nullptr, CFStringCreateMutableCopy(kCFAllocatorDefault, 0, nullptr));
    EXPECT_EQ(nullptr, CFStringCreateMutableCopy(kCFAllocatorDefault, 2, CFSTR("abc")));
    EXPECT_EQ(nullptr, CFStringCreateMutableCopy(kCFAllocatorDefault, -1, CFSTR("abc")));
    EXPECT_EQ(u"abc", TextOf(MutableOf(u"abc", 3)));
}

TEST(MutableString, CopyOfItDoesNotChangeWithIt) {
    const OwnedMutable string = MutableOf(u"abc");
    const OwnedString copy(CFStringCreateCopy(kCFAllocatorDefault, string.get()));
    const OwnedString whole(
        CFStringCreateWithSubstring(kCFAllocatorDefault, string.get(), CFRangeMake(0, 3)));
    const OwnedMutable other(CFStringCreateMutableCopy(kCFAllocatorDefault, 0, string.get()));
    CFStringAppend(string.get(), CFSTR("d"));
    EXPECT_EQ(u"abcd", TextOf(string));
    EXPECT_EQ(u"abc", TextOf(copy));
    EXPECT_EQ(u"abc", TextOf(whole));
    EXPECT_EQ(u"abc", TextOf(other));
    const OwnedString again(CFStringCreateCopy(kCFAllocatorDefault, copy.get()));
    EXPECT_EQ(copy.get(), again.get()) << "the copy does not change, so it is one object";
}

TEST(MutableString, Append) {
    const OwnedMutable string = NewMutable();
    CFStringAppend(string.get(), CFSTR("a"));
    CFStringAppendCString(string.get(), "b\xC3\xBC", kCFStringEncodingUTF8);
    CFStringAppendPascalString(string.get(),
                               reinterpret_cast<const unsigned char*>("\x02"
                                                                      "c\x8E"),
                               kCFStringEncodingMacRoman);
    const UniChar units[] = {'d', 0, 0xD800};
    CFStringAppendCharacters(string.get(), units, 3);
    EXPECT_EQ(std::u16string(u"ab\u00FCc\u00E9d\0\xD800", 8), TextOf(string));
}

TEST(MutableString, AppendOfWhatIsNoText) {
    const OwnedMutable string = MutableOf(u"abc");
    const UniChar unit = 'x';
    CFStringAppend(string.get(), nullptr);
    CFStringAppendCString(string.get(), nullptr, kCFStringEncodingUTF8);
    CFStringAppendCString(string.get(), "\xFF", kCFStringEncodingUTF8);
    CFStringAppendCString(string.get(), "x", kCFStringEncodingInvalidId);
    CFStringAppendPascalString(string.get(), nullptr, kCFStringEncodingUTF8);
    CFStringAppendCharacters(string.get(), nullptr, 1);
    CFStringAppendCharacters(string.get(), &unit, -1);
    CFStringAppendCharacters(string.get(), &unit, 0);
    EXPECT_EQ(u"abc", TextOf(string));
}

TEST(MutableString, InsertAndDelete) {
    const OwnedMutable string = MutableOf(u"abc");
    CFStringInsert(string.get(), 0, CFSTR("0"));
    CFStringInsert(string.get(), 4, CFSTR("4"));
    CFStringInsert(string.get(), 2, CFSTR("--"));
    EXPECT_EQ(u"0a--bc4", TextOf(string));
    for (const CFIndex outside : {CFIndex{-1}, CFIndex{8}, kMaxIndex, kMinIndex})
        CFStringInsert(string.get(), outside, CFSTR("x"));
    EXPECT_EQ(u"0a--bc4", TextOf(string));
    CFStringDelete(string.get(), CFRangeMake(2, 2));
    EXPECT_EQ(u"0abc4", TextOf(string));
    CFStringDelete(string.get(), CFRangeMake(5, 0));
    for (const CFRange outside : {CFRange{5, 1}, CFRange{-1, 1}, CFRange{0, 6}, CFRange{0, -1},
                                  CFRange{1, kMaxIndex}, CFRange{kMaxIndex, 1}})
        CFStringDelete(string.get(), outside);
    EXPECT_EQ(u"0abc4", TextOf(string));
    CFStringDelete(string.get(), CFRangeMake(0, 5));
    EXPECT_EQ(u"", TextOf(string));
}

TEST(MutableString, Replace) {
    EXPECT_EQ(u"abXf", Replaced(u"abcdef", 2, 3, u"X"));
    EXPECT_EQ(u"abXYZ12f", Replaced(u"abcdef", 2, 3, u"XYZ12"));
    EXPECT_EQ(u"abXYZf", Replaced(u"abcdef", 2, 3, u"XYZ"));
    EXPECT_EQ(u"X", Replaced(u"abcdef", 0, 6, u"X"));
    EXPECT_EQ(u"abcdefX", Replaced(u"abcdef", 6, 0, u"X"));
    EXPECT_EQ(u"abcdef", Replaced(u"abcdef", 6, 1, u"X"));
    const OwnedMutable string = MutableOf(u"abc");
    CFStringReplaceAll(string.get(), CFSTR("new text"));
    EXPECT_EQ(u"new text", TextOf(string));
    CFStringReplaceAll(string.get(), nullptr);
    CFStringReplace(string.get(), CFRangeMake(0, 1), nullptr);
    EXPECT_EQ(u"new text", TextOf(string));
    CFStringReplaceAll(string.get(), CFSTR(""));
    EXPECT_EQ(u"", TextOf(string));
}

TEST(MutableString, OfItself) {
    const OwnedMutable string = MutableOf(u"abc");
    CFStringAppend(string.get(), string.get());
    EXPECT_EQ(u"abcabc", TextOf(string));
    CFStringInsert(string.get(), 3, string.get());
    EXPECT_EQ(u"abcabcabcabc", TextOf(string));
    CFStringReplace(string.get(), CFRangeMake(1, 10), string.get());
    EXPECT_EQ(u"aabcabcabcabcc", TextOf(string));
    CFStringReplaceAll(string.get(), string.get());
    EXPECT_EQ(u"aabcabcabcabcc", TextOf(string));
    CFStringPad(string.get(), string.get(), 17, 1);
    EXPECT_EQ(u"aabcabcabcabccabc", TextOf(string));
    CFStringTrim(string.get(), string.get());
    EXPECT_EQ(u"", TextOf(string));
}

TEST(MutableString, LimitIsKept) {
    const OwnedMutable string = MutableOf(u"abc", 5);
    CFStringAppend(string.get(), CFSTR("def"));
    EXPECT_EQ(u"abc", TextOf(string)) << "all or nothing";
    CFStringAppend(string.get(), CFSTR("de"));
    EXPECT_EQ(u"abcde", TextOf(string));
    CFStringInsert(string.get(), 0, CFSTR("x"));
    CFStringReplace(string.get(), CFRangeMake(0, 2), CFSTR("xyz"));
    CFStringPad(string.get(), CFSTR("."), 6, 0);
    CFStringPad(string.get(), CFSTR("."), kMaxIndex, 0);
    EXPECT_EQ(u"abcde", TextOf(string));
    CFStringReplace(string.get(), CFRangeMake(0, 2), CFSTR("xy"));
    EXPECT_EQ(u"xycde", TextOf(string));
    const OwnedMutable sharp = MutableOf(u"\u00DF", 1);
    CFStringUppercase(sharp.get(), nullptr);
    EXPECT_EQ(u"\u00DF", TextOf(sharp)) << "two capitals do not fit";
}

TEST(MutableString, StringsThatDoNotChange) {
    const OwnedString string = StringOf(u" abc ");
    const SInt64 count = CFGetRetainCount(string.get());
    for (CFStringRef one : {string.get(), CFSTR(" abc ")}) {
        auto changed = const_cast<CFMutableStringRef>(one);
        CFStringAppend(changed, CFSTR("x"));
        CFStringInsert(changed, 0, CFSTR("x"));
        CFStringDelete(changed, CFRangeMake(0, 1));
        CFStringReplaceAll(changed, CFSTR("x"));
        CFStringPad(changed, nullptr, 1, 0);
        CFStringTrim(changed, CFSTR(" "));
        CFStringTrimWhitespace(changed);
        CFStringUppercase(changed, nullptr);
        CFStringNormalize(changed, kCFStringNormalizationFormD);
        EXPECT_EQ(0, CFStringFindAndReplace(changed, CFSTR("a"), CFSTR("x"), CFRangeMake(0, 5), 0));
        EXPECT_EQ(u" abc ", TextOf(one));
    }
    EXPECT_EQ(count, CFGetRetainCount(string.get()));
    CFStringAppend(nullptr, CFSTR("x"));
    CFStringReplaceAll(nullptr, CFSTR("x"));
}

TEST(MutableString, Pad) {
    EXPECT_EQ(u"abc.....", Padded(u"abc", u".", 8));
    EXPECT_EQ(u"abc1234123", Padded(u"abc", u"1234", 10));
    EXPECT_EQ(u"abc3412341", Padded(u"abc", u"1234", 10, 2));
    EXPECT_EQ(u"abc", Padded(u"abc", u"1234", 3));
    EXPECT_EQ(u"ab", Padded(u"abc", u"1234", 2));
    EXPECT_EQ(u"", Padded(u"abc", u"1234", 0));
    EXPECT_EQ(u"xx", Padded(u"", u"x", 2));
    EXPECT_EQ(u"abc", Padded(u"abc", u"", 8)) << "nothing to fill up with";
    EXPECT_EQ(u"abc", Padded(u"abc", u"1234", 8, 4)) << "no such unit";
    EXPECT_EQ(u"abc", Padded(u"abc", u"1234", 8, -1));
    EXPECT_EQ(u"abc", Padded(u"abc", u"1234", -1));
    EXPECT_EQ(u"ab", Padded(u"abc", u"1234", 2, 99)) << "not looked at when the string is cut";
    const OwnedMutable string = MutableOf(u"abc");
    CFStringPad(string.get(), nullptr, 5, 0);
    EXPECT_EQ(u"abc", TextOf(string));
    CFStringPad(string.get(), nullptr, 1, 0);
    EXPECT_EQ(u"a", TextOf(string));
}

TEST(MutableString, Trim) {
    EXPECT_EQ(u"X", Trimmed(u"abcX", u"abc"));
    EXPECT_EQ(u"X", Trimmed(u"Xabc", u"abc"));
    EXPECT_EQ(u"X", Trimmed(u"abcabcXabcabc", u"abc"));
    EXPECT_EQ(u"abX", Trimmed(u"abX", u"abc"));
    EXPECT_EQ(u"", Trimmed(u"aaaa", u"aa"));
    EXPECT_EQ(u"a", Trimmed(u"aaaaa", u"aa"));
    EXPECT_EQ(u"aba", Trimmed(u"aba", u""));
    EXPECT_EQ(u"", Trimmed(u"", u"a"));
    EXPECT_EQ(u"XaX", Trimmed(u"aXaXa", u"a"));
    const OwnedMutable string = MutableOf(u"abc");
    CFStringTrim(string.get(), nullptr);
    EXPECT_EQ(u"abc", TextOf(string));
}

TEST(MutableString, TrimWhitespace) {
    EXPECT_EQ(u"a b", TrimmedOfSpace(u" \t\r\n\v\fa b\u00A0\u3000\u2028\u2029\u0085\u1680\u2009"));
    EXPECT_EQ(u"", TrimmedOfSpace(u" \u2003 "));
    EXPECT_EQ(u"", TrimmedOfSpace(u""));
    EXPECT_EQ(u"a", TrimmedOfSpace(u"a"));
    EXPECT_EQ(u"\u200B", TrimmedOfSpace(u"\u200B ")) << "of no width, and no space";
    EXPECT_EQ(u"\U00010020", TrimmedOfSpace(u" \U00010020 ")) << "no half of a pair is a space";
}

// Random changes beside the same changes of a std::u16string.
TEST(MutableString, AsTheStandardStringDoes) {
    std::mt19937 random(7);
    const auto below = [&random](CFIndex inLimit) {
        return std::uniform_int_distribution<CFIndex>(0, inLimit - 1)(random);
    };
    const OwnedMutable string = NewMutable();
    std::u16string model;
    for (int round = 0, rounds = support::Rounds(20'000); round < rounds; ++round) {
        const auto length = static_cast<CFIndex>(model.size());
        const CFIndex location = below(length + 1);
        const CFIndex count = length - location == 0 ? 0 : below(length - location + 1);
        const std::u16string text(static_cast<std::size_t>(below(length > 3000 ? 2 : 40)),
                                  static_cast<char16_t>('a' + below(26)));
        if (below(10) == 0 && length < 2000) {
            CFStringReplace(string.get(), CFRangeMake(location, count), string.get());
            model.replace(static_cast<std::size_t>(location), static_cast<std::size_t>(count),
                          std::u16string(model));
        } else {
            CFStringReplace(string.get(), CFRangeMake(location, count), StringOf(text).get());
            model.replace(static_cast<std::size_t>(location), static_cast<std::size_t>(count), text);
        }
        ASSERT_EQ(model, TextOf(string)) << round;
    }
}

TEST(MutableString, ChangesThatFindNoMemory) {
    EXPECT_EQ(2, faults::FailEachCall([] {
                  return OwnedMutable(CFStringCreateMutableCopy(nullptr, 0, CFSTR("a"))) != nullptr;
              }));
    EXPECT_EQ(4, faults::FailEachCall([] {
                  const OwnedMutable string(CFStringCreateMutable(nullptr, 0));
                  if (string == nullptr) return false;
                  CFStringAppendCharacters(string.get(), reinterpret_cast<const UniChar*>(u"ab"), 2);
                  const std::u16string before = TextOf(string);
                  CFStringPad(string.get(), CFSTR("xyz"), 300, 0);
                  const std::u16string after = TextOf(string);
                  EXPECT_TRUE(after == before || after.size() == 300U);
                  return before == u"ab" && after.size() == 300U;
              }));
}

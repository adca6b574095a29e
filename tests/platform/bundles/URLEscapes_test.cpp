#include "BundleMaker.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <toolbox/CFURL.h>

using namespace test_bundles;
using toolbox::corefoundation::LiveObjectsForTesting;

namespace {

std::string Added(CFStringRef inText, CFStringRef inToLeave = nullptr, CFStringRef inToEscape = nullptr,
                  CFStringEncoding inEncoding = kCFStringEncodingUTF8) {
    return TakeUTF8(CFURLCreateStringByAddingPercentEscapes(kCFAllocatorDefault, inText, inToLeave,
                                                            inToEscape, inEncoding));
}
std::string Replaced(CFStringRef inText, CFStringRef inToLeave) {
    return TakeUTF8(CFURLCreateStringByReplacingPercentEscapes(kCFAllocatorDefault, inText, inToLeave));
}

}  // namespace

TEST(URLEscapes, Adds) {
    EXPECT_EQ("", Added(CFSTR("")));
    EXPECT_EQ("a%20b%25%22", Added(CFSTR("a b%\"")));
    EXPECT_EQ("%C3%A9%F0%9F%8E%B5", Added(CFSTR("\u00E9\U0001F3B5")));
    EXPECT_EQ("%8E", Added(CFSTR("\u00E9"), nullptr, nullptr, kCFStringEncodingMacRoman));
    EXPECT_EQ("a b%25", Added(CFSTR("a b%"), CFSTR(" ")));
    EXPECT_EQ("a%20b%", Added(CFSTR("a b%"), CFSTR("%")));
    EXPECT_EQ("a%2Fb%3F", Added(CFSTR("a/b?"), nullptr, CFSTR("/?")));
    EXPECT_EQ("a/b", Added(CFSTR("a/b"), CFSTR("/"), CFSTR("/"))) << "leaving goes before escaping";
}

TEST(URLEscapes, RefusesTextThatTheEncodingCannotHold) {
    const SInt64 before = LiveObjectsForTesting();
    EXPECT_EQ("(null)", Added(CFSTR("\U0001F3B5"), nullptr, nullptr, kCFStringEncodingMacRoman));
    EXPECT_EQ("(null)", Added(CFSTR("a b"), nullptr, nullptr, 0x7777));
    EXPECT_EQ("(null)", Added(StringOf(u"a\xD800").get()));
    EXPECT_EQ("(null)", Added(StringOf(u"\xD800"
                                       u"a")
                                  .get()));
    EXPECT_EQ("(null)", Added(nullptr));
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(URLEscapes, Replaces) {
    EXPECT_EQ("a b\xC3\xA9", Replaced(CFSTR("a%20b%C3%a9"), CFSTR("")));
    EXPECT_EQ("a%20b%41", Replaced(CFSTR("a%20b%41"), nullptr));
    EXPECT_EQ("a%2Fb c%2f", Replaced(CFSTR("a%2Fb%20c%2f"), CFSTR("/")));
    EXPECT_EQ("\xC3\xA9", Replaced(CFSTR("\u00E9"), CFSTR("")));
    EXPECT_EQ("", Replaced(CFSTR(""), CFSTR("")));
}

TEST(URLEscapes, RefusesEscapesThatAreNone) {
    const SInt64 before = LiveObjectsForTesting();
    for (CFStringRef text :
         {CFSTR("%"), CFSTR("%4"), CFSTR("a%zz"), CFSTR("%FF"), CFSTR("%C3"), CFSTR("%ED%A0%80")})
        EXPECT_EQ("(null)", Replaced(text, CFSTR(""))) << UTF8Of(text);
    EXPECT_EQ("(null)", Replaced(nullptr, CFSTR("")));
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(URLEscapes, BothWays) {
    const OwnedString text = StringOf(u"any %41 text / with ?#[] \u00E9 and \U0001F3B5");
    const OwnedRef<CFStringRef> escaped = CFURLCreateStringByAddingPercentEscapes(
        kCFAllocatorDefault, text.get(), nullptr, nullptr, kCFStringEncodingUTF8);
    const OwnedRef<CFStringRef> back =
        CFURLCreateStringByReplacingPercentEscapes(kCFAllocatorDefault, escaped, CFSTR(""));
    EXPECT_EQ(UTF8Of(text.get()), UTF8Of(back));
}

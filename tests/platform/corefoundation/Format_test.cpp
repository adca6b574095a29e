#include "CFSupport.h"
#include "Faults.h"
#include "os/CLocale_test_access.h"
#include "support/CommaLocale.h"
#include "support/FailingCalls.h"

#include <gtest/gtest.h>
#include <toolbox/CFDate.h>
#include <toolbox/CFStringFormat.h>
#include <toolbox/CFUUID.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace {

template <typename... Arguments>
std::u16string Formatted(CFStringRef inFormat, Arguments... inArguments) {
    const OwnedString string(CFStringCreateWithFormat(nullptr, nullptr, inFormat, inArguments...));
    return string == nullptr ? u"<none>" : TextOf(string);
}

template <typename... Arguments>
std::u16string Formatted(const char* inFormat, Arguments... inArguments) {
    return Formatted(StringOf(inFormat, kCFStringEncodingUTF8).get(), inArguments...);
}

// What the C library makes of the same.
template <typename... Arguments>
std::u16string Printed(const char* inFormat, Arguments... inArguments) {
    char bytes[1024];
    const int count = std::snprintf(bytes, sizeof bytes, inFormat, inArguments...);
    return {bytes, bytes + count};
}

}  // namespace

TEST(Format, WithoutDirectives) {
    EXPECT_EQ(u"", Formatted(""));
    EXPECT_EQ(u"text", Formatted("text"));
    EXPECT_EQ(u"\u00E9 \U0001D11E", Formatted("\u00E9 \U0001D11E"));
    EXPECT_EQ(u"100 %", Formatted("100 %%"));
    EXPECT_EQ(u"%%", Formatted("%%%%"));
    EXPECT_EQ(u"<none>", Formatted(CFStringRef{nullptr}));
}

TEST(Format, Objects) {
    EXPECT_EQ(u"ab", Formatted("%@%@", CFSTR("a"), CFSTR("b")));
    EXPECT_EQ(u"[]", Formatted("[%@]", CFSTR("")));
    EXPECT_EQ(u"\u65E5\u672C", Formatted("%@", CFSTR("\u65E5\u672C")));
    EXPECT_EQ(u"(null)", Formatted("%@", CFStringRef{nullptr}));
    const OwnedMutable changing = MutableOf(u"abc");
    EXPECT_EQ(u"<abc>", Formatted("<%@>", changing.get()));
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(nullptr));
    const OwnedString description(CFCopyDescription(uuid.get()));
    EXPECT_EQ(TextOf(description), Formatted("%@", uuid.get()));
    EXPECT_EQ(u"<CFUUID 0x", TextOf(description).substr(0, 10));
}

TEST(Format, WidthAndPrecisionOfText) {
    EXPECT_EQ(u"   ab|", Formatted("%5@|", CFSTR("ab")));
    EXPECT_EQ(u"ab   |", Formatted("%-5@|", CFSTR("ab")));
    EXPECT_EQ(u"abcdef|", Formatted("%5@|", CFSTR("abcdef")));
    EXPECT_EQ(u"abc|", Formatted("%.3@|", CFSTR("abcdef")));
    EXPECT_EQ(u"|", Formatted("%.0@|", CFSTR("abcdef")));
    EXPECT_EQ(u"|", Formatted("%.@|", CFSTR("abcdef")));
    EXPECT_EQ(u"  abc|", Formatted("%5.3@|", CFSTR("abcdef")));
    EXPECT_EQ(u"   ab|", Formatted("%05@|", CFSTR("ab"))) << "zeros are for numbers";
    EXPECT_EQ(u"a|", Formatted("%.2@|", CFSTR("a\U0001D11E"))) << "no half of a pair";
    EXPECT_EQ(u"a\U0001D11E|", Formatted("%.3@|", CFSTR("a\U0001D11E")));
    EXPECT_EQ(u"(nu|", Formatted("%.3@|", CFStringRef{nullptr}));
    EXPECT_EQ(u"   ab|", Formatted("%*@|", 5, CFSTR("ab")));
    EXPECT_EQ(u"ab   |", Formatted("%*@|", -5, CFSTR("ab"))) << "to the left";
    EXPECT_EQ(u"a|", Formatted("%.*@|", 1, CFSTR("ab")));
    EXPECT_EQ(u"ab|", Formatted("%.*@|", -1, CFSTR("ab"))) << "none";
    EXPECT_EQ(u"    a|", Formatted("%*.*@|", 5, 1, CFSTR("ab")));
}

TEST(Format, Integers) {
    EXPECT_EQ(u"0 -1 2147483647 -2147483648", Formatted("%d %d %d %d", 0, -1, INT_MAX, INT_MIN));
    EXPECT_EQ(u"-5 -6 -7", Formatted("%d %i %D", -5, -6, -7));
    EXPECT_EQ(u"4294967295 4294967295", Formatted("%u %U", -1, -1));
    EXPECT_EQ(u"777 777", Formatted("%o %O", 0777, 0777));
    EXPECT_EQ(u"beef BEEF 0xbeef", Formatted("%x %X %#x", 0xBEEF, 0xBEEF, 0xBEEF));
    EXPECT_EQ(u"4294967295", Formatted("%lu", 4294967295UL));
    EXPECT_EQ(u"18446744073709551615", Formatted("%lu", ULONG_MAX));
    EXPECT_EQ(u"-9223372036854775808 9223372036854775807",
              Formatted("%ld %lld", LONG_MIN, std::numeric_limits<long long>::max()));
    EXPECT_EQ(u"-1 -2 -3 -4 ffffffffffffffff", Formatted("%qd %jd %zd %td %lx", -1LL, std::intmax_t{-2},
                                                         ssize_t{-3}, std::ptrdiff_t{-4}, -1L));
    EXPECT_EQ(u"-5000000000 2.500000", Formatted("%Ld %lf", -5000000000LL, 2.5)) << "as in C";
    EXPECT_EQ(u"-1 255 -1 65535", Formatted("%hhd %hhu %hd %hu", 0x1FF, 0x1FF, 0x1FFFF, 0x1FFFF));
    EXPECT_EQ(u"377 ffff 44", Formatted("%hho %hx %hhd", -1, -1, 300));
}

// With every set of flags, widths and precisions as the C library has them.
TEST(Format, NumbersAsInC) {
    constexpr const char* kFlags[] = {"", "-", "+", " ", "#", "0", "-+", "+0", " 0", "-#", "#0", "-0", "+ "};
    constexpr const char* kWidths[] = {"", "1", "7", "30"};
    constexpr const char* kPrecisions[] = {"", ".", ".0", ".1", ".12"};
    for (const char* flags : kFlags) {
        for (const char* width : kWidths) {
            for (const char* precision : kPrecisions) {
                const std::string start = std::string("%") + flags + width + precision;
                for (const char conversion : std::string("diuoxX")) {
                    const std::string format = start + conversion;
                    for (const int value : {0, 1, -1, 42, -1234567, INT_MAX, INT_MIN})
                        ASSERT_EQ(Printed(format.c_str(), value), Formatted(format.c_str(), value)) << format;
                    const std::string longFormat = start + "l" + conversion;
                    for (const long value : {0L, -1L, LONG_MAX, LONG_MIN})
                        ASSERT_EQ(Printed(longFormat.c_str(), value), Formatted(longFormat.c_str(), value))
                            << longFormat;
                }
                for (const char conversion : std::string("fFeEgGaA")) {
                    const std::string format = start + conversion;
                    for (const double value : {0.0, -0.0, 1.5, -2.75, 1e300, 1e-300, 0.1, 123456789.0,
                                               std::numeric_limits<double>::infinity(),
                                               std::numeric_limits<double>::quiet_NaN()}) {
                        ASSERT_EQ(Printed(format.c_str(), value), Formatted(format.c_str(), value)) << format;
                    }
                    const std::string longFormat = start + "L" + conversion;
                    ASSERT_EQ(Printed(longFormat.c_str(), 1.0L / 3), Formatted(longFormat.c_str(), 1.0L / 3))
                        << longFormat;
                }
            }
        }
    }
}

TEST(Format, NumbersHaveAPointInEveryLocale) {
    const support::CommaLocale locale;
    EXPECT_EQ(u"1,5 1.234.567", Printed("%.1f %'d", 1.5, 1234567));
    EXPECT_EQ(u"1.5 1234567", Formatted("%.1f %'d", 1.5, 1234567));
    EXPECT_EQ(u"1,5", Printed("%.1f", 1.5)) << "the program's locale is as before";
}

TEST(Format, NoNumberIsWrittenInAnotherLocale) {
    const support::CommaLocale locale;
    for (const bool isMade : {false, true}) {
        if (!isMade) toolbox::os::ForgetCLocaleForTesting();
        const test_files::FailingCalls fault(1, ENOMEM);
        EXPECT_EQ(u"<none>", Formatted("%.1f", 1.5)) << isMade;
        EXPECT_TRUE(fault.Delivered());
    }
    EXPECT_EQ(u"1.5", Formatted("%.1f", 1.5));
    EXPECT_EQ(u"1,5", Printed("%.1f", 1.5)) << "the program's locale is as before";
}

TEST(Format, Characters) {
    EXPECT_EQ(u"a\u00E9", Formatted("%c%c", 'a', 0x8E)) << "in Mac Roman";
    EXPECT_EQ(u"\u65E5\u00E9", Formatted("%C%lc", 0x65E5, 0xE9));
    EXPECT_EQ(u"    x|y    |", Formatted("%5c|%-5C|", 'x', 'y'));
    EXPECT_EQ(u"x|", Formatted("%.0c|", 'x')) << "no precision";
    EXPECT_EQ(std::u16string(1, u'\0'), Formatted("%c", 0));
    EXPECT_EQ(u"A", Formatted("%c", 0x141)) << "one byte of it";
    EXPECT_EQ(u"\U0001D11E", Formatted("%C%C", 0xD834, 0xDD1E));
}

TEST(Format, CStrings) {
    EXPECT_EQ(u"caf\u00E9", Formatted("%s", "caf\x8E")) << "in Mac Roman";
    EXPECT_EQ(u"", Formatted("%s", ""));
    EXPECT_EQ(u"(null)", Formatted("%s", static_cast<const char*>(nullptr)));
    EXPECT_EQ(u"  ab|ab  |a|", Formatted("%4s|%-4s|%.1s|", "ab", "ab", "ab"));
    const char unterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(u"abc", Formatted("%.3s", unterminated)) << "nothing behind the precision is read";
    EXPECT_EQ(u"abc", Formatted("%.*s", 3, unterminated));
}

TEST(Format, UnitStrings) {
    EXPECT_EQ(u"\u65E5\u672C", Formatted("%S", u"\u65E5\u672C"));
    EXPECT_EQ(u"ab", Formatted("%ls", u"ab"));
    EXPECT_EQ(u"(null)", Formatted("%S", static_cast<const char16_t*>(nullptr)));
    EXPECT_EQ(u"   ab|a|", Formatted("%5S|%.1S|", u"ab", u"ab"));
    const char16_t unterminated[] = {u'a', u'b'};
    EXPECT_EQ(u"ab", Formatted("%.2S", unterminated));
}

TEST(Format, PascalStrings) {
    EXPECT_EQ(u"caf\u00E9", Formatted("%P",
                                      "\x04"
                                      "caf\x8E"));
    EXPECT_EQ(std::u16string(u"a\0b", 3), Formatted("%P",
                                                    "\x03"
                                                    "a\0b"));
    EXPECT_EQ(u"", Formatted("%P", "\0"));
    EXPECT_EQ(u"(null)", Formatted("%P", static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(u"   ca|ca|", Formatted("%5.2P|%.2P|",
                                      "\x03"
                                      "caf",
                                      "\x03"
                                      "caf"));
    EXPECT_EQ(std::u16string(255, u'x'), Formatted("%P", ("\xFF" + std::string(255, 'x')).c_str()));
}

TEST(Format, Pointers) {
    EXPECT_EQ(u"0x0", Formatted("%p", static_cast<void*>(nullptr)));
    EXPECT_EQ(u"0xdeadbeefcafe", Formatted("%p", reinterpret_cast<void*>(std::uintptr_t{0xDEADBEEFCAFE})));
    EXPECT_EQ(u"     0x1f|", Formatted("%9p|", reinterpret_cast<void*>(std::uintptr_t{0x1F})));
    EXPECT_EQ(u"0x1f     |", Formatted("%-9.1p|", reinterpret_cast<void*>(std::uintptr_t{0x1F})));
}

TEST(Format, NumberedArguments) {
    EXPECT_EQ(u"b a", Formatted("%2$@ %1$@", CFSTR("a"), CFSTR("b")));
    EXPECT_EQ(u"a a", Formatted("%1$@ %1$@", CFSTR("a")));
    EXPECT_EQ(u"1.5 x 7", Formatted("%3$g %1$s %2$ld", "x", 7L, 1.5));
    EXPECT_EQ(u"   ab|", Formatted("%2$*1$@|", 5, CFSTR("ab")));
    EXPECT_EQ(u"    a|", Formatted("%3$*1$.*2$@|", 5, 1, CFSTR("ab")));
    EXPECT_EQ(u"  12|    12", Formatted("%1$4d|%1$*2$d", 12, 6)) << "an argument twice, once as a width";
    EXPECT_EQ(u"a b a", Formatted("%@ %@ %1$@", CFSTR("a"), CFSTR("b"))) << "in order beside by number";
    EXPECT_EQ(u"12 c", Formatted("%1$x %2$x", 0x12, 0xC));
}

TEST(Format, NumberedArgumentsThatCannotBe) {
    EXPECT_EQ(u"<none>", Formatted("%2$@", CFSTR("a"), CFSTR("b"))) << "nobody tells the first one's size";
    EXPECT_EQ(u"<none>", Formatted("%1$d %3$d", 1, 2, 3));
    EXPECT_EQ(u"<none>", Formatted("%1$d %1$@", 1));
    EXPECT_EQ(u"<none>", Formatted("%1$d %1$ld", 1L)) << "of two sizes";
    EXPECT_EQ(u"<none>", Formatted("%1$g %1$Lg", 1.0));
    EXPECT_EQ(u"<none>", Formatted("%1000000000$d", 1));
    EXPECT_EQ(u"<none>", Formatted("%2147483647$d", 1));
    EXPECT_EQ(u"<none>", Formatted("%1$*2147483647$d", 1));
}

TEST(Format, WhatIsNoDirective) {
    EXPECT_EQ(u"%", Formatted("%"));
    EXPECT_EQ(u"a%", Formatted("a%"));
    EXPECT_EQ(u"%5", Formatted("%5"));
    EXPECT_EQ(u"%y 7", Formatted("%y %d", 7)) << "and takes no argument";
    EXPECT_EQ(u"%n 7", Formatted("%n %d", 7));
    EXPECT_EQ(u"%*y 7", Formatted("%*y %d", 7));
    EXPECT_EQ(u"%0$d 7", Formatted("%0$d %d", 7)) << "they count from 1";
    EXPECT_EQ(u"%99999999999d 7", Formatted("%99999999999d %d", 7));
    EXPECT_EQ(u"%.99999999999d 7", Formatted("%.99999999999d %d", 7));
    EXPECT_EQ(u"%99999999999$d 7", Formatted("%99999999999$d %d", 7));
    EXPECT_EQ(u"%\u00E9 7", Formatted("%\u00E9 %d", 7));
    EXPECT_EQ(u"%l", Formatted("%l"));
    EXPECT_EQ(u"%-", Formatted("%-"));
    EXPECT_EQ(u"%", Formatted("%5%")) << "a per cent sign has no width";
}

TEST(Format, ManyArguments) {
    std::string format;
    std::u16string expected;
    for (int i = 0; i < 20; ++i) {
        format += "%d %g %@ ";
        expected += u"1 2.5 x ";
    }
    const auto x = CFSTR("x");
    const auto some = [&](auto... inArguments) { return Formatted(format.c_str(), inArguments...); };
    const auto times20 = some(1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1,
                              2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1,
                              2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x, 1, 2.5, x);
    EXPECT_EQ(expected, times20);
}

TEST(Format, LongResults) {
    EXPECT_EQ(Printed("%0600d", 7), Formatted("%0600d", 7));
    EXPECT_EQ(Printed("%.600f", 0.1), Formatted("%.600f", 0.1));
    const std::u16string text(5000, u'x');
    EXPECT_EQ(text + text, Formatted("%@%@", StringOf(text).get(), StringOf(text).get()));
    EXPECT_EQ(std::u16string(4999, u' ') + u"x", Formatted("%5000@", CFSTR("x")));
}

TEST(Format, AppendFormat) {
    const OwnedMutable string = MutableOf(u"a");
    CFStringAppendFormat(string.get(), nullptr, CFSTR("%d%@"), 1, string.get());
    EXPECT_EQ(u"a1a", TextOf(string)) << "the string itself may be an argument";
    CFStringAppendFormat(string.get(), nullptr, CFSTR("%2$d"), 1, 2);
    CFStringAppendFormat(string.get(), nullptr, nullptr);
    EXPECT_EQ(u"a1a", TextOf(string));
    CFStringAppendFormat(string.get(), nullptr, string.get());
    EXPECT_EQ(u"a1aa1a", TextOf(string)) << "and the format";
}

TEST(Format, Description) {
    const OwnedString string = StringOf(u"text");
    EXPECT_EQ(u"text", TextOf(OwnedString(CFCopyDescription(string.get()))));
    EXPECT_EQ(nullptr, CFCopyDescription(nullptr));
}

TEST(Format, WithoutMemory) {
    const OwnedString format = StringOf(std::u16string(200, u'x') + u"%@ %s %d %.500f %p %P");
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(nullptr));
    const int faultCount = faults::FailEachCall([&] {
        const OwnedString string(CFStringCreateWithFormat(nullptr, nullptr, format.get(), uuid.get(), "abc",
                                                          1, 0.1, nullptr,
                                                          "\x01"
                                                          "x"));
        return string != nullptr;
    });
    // The object's description, two strings of bytes, room for a long number, and the text as it grows.
    EXPECT_GE(faultCount, 6);
    const int ofMany = faults::FailEachCall([] {
        const OwnedString string(CFStringCreateWithFormat(
            nullptr, nullptr, CFSTR("%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%*.*d%*.*d%*.*d%*.*d%*.*d"), 1,
            1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
            1));
        return string != nullptr && CFStringGetLength(string.get()) == 25;
    });
    // Directives, types and arguments beyond those that lie inside, and the string.
    EXPECT_GE(ofMany, 4);
}

#include "CFSupport.h"
#include "Faults.h"

#include <gtest/gtest.h>
#include <toolbox/CFDateFormatter.h>
#include <toolbox/CFLocale.h>
#include <toolbox/CFMutableString.h>
#include <unicode/uloc.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

Owned<CFLocaleRef> LocaleOf(std::u16string_view inIdentifier) {
    return Owned<CFLocaleRef>(CFLocaleCreate(nullptr, StringOf(inIdentifier).get()));
}

std::u16string Identifier(std::u16string_view inIdentifier) {
    const Owned<CFLocaleRef> locale = LocaleOf(inIdentifier);
    return locale == nullptr ? u"<none>" : TextOf(CFLocaleGetIdentifier(locale.get()));
}

}  // namespace

TEST(Locale, Identifiers) {
    EXPECT_EQ(u"de", Identifier(u"de"));
    EXPECT_EQ(u"de_CH", Identifier(u"de_CH"));
    EXPECT_EQ(u"de_CH", Identifier(u"de-CH"));
    EXPECT_EQ(u"zh_Hant_TW", Identifier(u"zh-hant-tw"));
    EXPECT_EQ(u"", Identifier(u""));
    EXPECT_EQ(u"xx_YY", Identifier(u"xx_YY")) << "well-formed";
    EXPECT_EQ(u"<none>", Identifier(u"d\u00E9"));
    EXPECT_EQ(u"<none>", Identifier(std::u16string(200, u'x')));
    EXPECT_EQ(nullptr, CFLocaleCreate(nullptr, nullptr));
}

TEST(Locale, OfTheSystem) {
    CFLocaleRef locale = CFLocaleGetSystem();
    ASSERT_NE(nullptr, locale);
    EXPECT_EQ(locale, CFLocaleGetSystem());
    EXPECT_EQ(u"", TextOf(CFLocaleGetIdentifier(locale)));
    EXPECT_EQ(CFLocaleGetTypeID(), CFGetTypeID(locale));
    EXPECT_TRUE(CFEqual(locale, LocaleOf(u"").get()));
    CFRelease(CFRetain(locale));
}

TEST(Locale, OfTheHostsChoice) {
    const std::string before = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("de_CH", &status);
    const Owned<CFLocaleRef> locale(CFLocaleCopyCurrent());
    uloc_setDefault(before.c_str(), &status);
    EXPECT_TRUE(U_SUCCESS(status));
    ASSERT_NE(nullptr, locale);
    EXPECT_EQ(u"de_CH", TextOf(CFLocaleGetIdentifier(locale.get())));
}

// ICU looks at the environment once in a process, so each row is one of its own.
class CurrentLocale : public testing::Test {
  protected:
    CurrentLocale() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    static void Set(const char* inVariable, const char* inValue) {
        if (inValue == nullptr)
            unsetenv(inVariable);
        else
            setenv(inVariable, inValue, 1);
    }
    // The locale's identifier, its order of z and a with two dots, and its way to write 31 December 2001.
    [[noreturn]] static void Tell(const char* inAll, const char* inMessages, const char* inLanguage) {
        Set("LC_ALL", inAll);
        Set("LC_MESSAGES", inMessages);
        Set("LANG", inLanguage);
        const Owned<CFLocaleRef> locale(CFLocaleCopyCurrent());
        const Owned<CFDateFormatterRef> formatter(
            CFDateFormatterCreate(nullptr, nullptr, kCFDateFormatterShortStyle, kCFDateFormatterNoStyle));
        const OwnedString date(
            CFDateFormatterCreateStringWithAbsoluteTime(nullptr, formatter.get(), 364 * 86400.0 + 43200));
        const auto order = CFStringCompare(CFSTR("z"), CFSTR("\u00E4"), kCFCompareLocalized);
        const OwnedString text(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%@ %d %@>"),
                                                        CFLocaleGetIdentifier(locale.get()),
                                                        static_cast<int>(order), date.get()));
        char bytes[256] = {};
        CFStringGetCString(text.get(), bytes, sizeof bytes, kCFStringEncodingUTF8);
        std::fputs(bytes, stderr);
        std::exit(0);
    }
};

TEST_F(CurrentLocale, IsOfTheFirstVariableThatIsNotEmpty) {
    struct Row {
        const char* all;
        const char* messages;
        const char* language;
        const char* expected;
    };
    constexpr const char* kGerman = "<de_DE 1 31.12.01>";
    constexpr const char* kSwedish = "<sv_SE -1 2001-12-31>";
    constexpr const char* kPlain = "<en_US_POSIX 1 12/31/01>";
    constexpr Row kRows[] = {
        {nullptr, nullptr, "de_DE.UTF-8", kGerman},
        {nullptr, "sv_SE", "de_DE", kSwedish},
        {"de_DE", "sv_SE", "it_IT", kGerman},
        {"", nullptr, "de_DE.UTF-8", kGerman},
        {nullptr, "", "sv_SE.ISO-8859-1", kSwedish},
        {"", "", "sv_SE", kSwedish},
        {"", "de_DE.UTF-8", "sv_SE", kGerman},
        {"", nullptr, "de_DE@euro", "<de_DE_EURO 1 31.12.01>"},
        {"", "", "", kPlain},
        {"", nullptr, nullptr, kPlain},
        {"", nullptr, "C.UTF-8", kPlain},
        {"", nullptr, "POSIX", kPlain},
        {nullptr, nullptr, nullptr, kPlain},
    };
    for (const Row& row : kRows) {
        EXPECT_EXIT(Tell(row.all, row.messages, row.language), testing::ExitedWithCode(0), row.expected)
            << row.expected;
    }
}

TEST_F(CurrentLocale, NameThatIsTooLongForAny) {
    for (const std::string& name :
         {std::string(12, 'x'), std::string(300, 'x'), "de_DE@" + std::string(200, 'x')}) {
        EXPECT_EXIT(Tell(name.c_str(), nullptr, nullptr), testing::ExitedWithCode(0), "< 1 2001-12-31>");
        EXPECT_EXIT(Tell("", nullptr, name.c_str()), testing::ExitedWithCode(0), "< 1 2001-12-31>");
    }
}

// It is not left for ICU to find, whose releases do not all live through that.
TEST_F(CurrentLocale, NameThatIsTooLongForAnyIsNoDefault) {
    const auto tell = [](const char* inName) {
        Set("LC_ALL", inName);
        const Owned<CFLocaleRef> locale(CFLocaleCopyCurrent());
        std::fprintf(stderr, "<%s>", uloc_getDefault());
        std::exit(0);
    };
    EXPECT_EXIT(tell("xxxxxxxxxxxx"), testing::ExitedWithCode(0), "<>");
    EXPECT_EXIT(tell(("de_DE@" + std::string(151, 'x')).c_str()), testing::ExitedWithCode(0), "<>");
    EXPECT_EXIT(tell(("de_DE@" + std::string(150, 'x')).c_str()), testing::ExitedWithCode(0), "<de_DE");
}

// Another locale than the process's is not kept from it by that.
TEST_F(CurrentLocale, NameThatIsTooLongForAnyBesideAnother) {
    const auto tell = [] {
        Set("LC_ALL", "xxxxxxxxxxxx");
        const Owned<CFDateFormatterRef> formatter(CFDateFormatterCreate(
            nullptr, LocaleOf(u"de_DE").get(), kCFDateFormatterShortStyle, kCFDateFormatterNoStyle));
        const OwnedString date(
            CFDateFormatterCreateStringWithAbsoluteTime(nullptr, formatter.get(), 364 * 86400.0 + 43200));
        char bytes[64] = {};
        CFStringGetCString(date.get(), bytes, sizeof bytes, kCFStringEncodingUTF8);
        std::fputs(bytes, stderr);
        std::exit(0);
    };
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0), "31.12.01");
}

// Words are told apart by data that ICU opens.
TEST_F(CurrentLocale, NameThatIsTooLongForAnyBesideTitles) {
    const auto tell = [] {
        Set("LC_ALL", "xxxxxxxxxxxx");
        const Owned<CFMutableStringRef> text(CFStringCreateMutableCopy(nullptr, 0, CFSTR("hello world")));
        CFStringCapitalize(text.get(), nullptr);
        char bytes[64] = {};
        CFStringGetCString(text.get(), bytes, sizeof bytes, kCFStringEncodingUTF8);
        std::fputs(bytes, stderr);
        std::exit(0);
    };
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0), "Hello World");
}

TEST(Locale, CopiesAndEquality) {
    const Owned<CFLocaleRef> locale = LocaleOf(u"de_CH");
    const Owned<CFLocaleRef> copy(CFLocaleCreateCopy(nullptr, locale.get()));
    EXPECT_EQ(locale.get(), copy.get());
    EXPECT_EQ(nullptr, CFLocaleCreateCopy(nullptr, nullptr));
    const Owned<CFLocaleRef> same = LocaleOf(u"de-CH");
    EXPECT_TRUE(CFEqual(locale.get(), same.get()));
    EXPECT_EQ(CFHash(locale.get()), CFHash(same.get()));
    EXPECT_FALSE(CFEqual(locale.get(), LocaleOf(u"de").get()));
    EXPECT_FALSE(CFEqual(locale.get(), CFSTR("de_CH")));
}

TEST(Locale, WithoutMemory) {
    EXPECT_EQ(3, faults::FailEachCall(
                     [] { return Owned<CFLocaleRef>(CFLocaleCreate(nullptr, CFSTR("de_CH"))) != nullptr; }))
        << "ICU, the identifier, the locale";
    EXPECT_EQ(2, faults::FailEachCall([] { return Owned<CFLocaleRef>(CFLocaleCopyCurrent()) != nullptr; }));
}

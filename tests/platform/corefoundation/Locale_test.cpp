#include <toolbox/CFLocale.h>

#include "CFSupport.h"
#include "Faults.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

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

TEST(Locale, OfTheProcess) {
    const Owned<CFLocaleRef> locale(CFLocaleCopyCurrent());
    ASSERT_NE(nullptr, locale);
    const std::string expected = uloc_getDefault();
    EXPECT_EQ(std::u16string(expected.begin(), expected.end()), TextOf(CFLocaleGetIdentifier(locale.get())));
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

#include "CFSupport.h"
#include "Faults.h"

#include <gtest/gtest.h>
#include <toolbox/CFLocale.h>
#include <toolbox/CFMutableString.h>
#include <unicode/uloc.h>

#include <string>

namespace {

using Map = void (*)(CFMutableStringRef, CFLocaleRef);

std::u16string Mapped(Map inMap, std::u16string_view inText, CFStringRef inLocale = nullptr) {
    const OwnedMutable string = MutableOf(inText);
    const Owned<CFLocaleRef> locale(inLocale == nullptr ? nullptr : CFLocaleCreate(nullptr, inLocale));
    inMap(string.get(), locale.get());
    return TextOf(string);
}

std::u16string Normalized(std::u16string_view inText, CFStringNormalizationForm inForm) {
    const OwnedMutable string = MutableOf(inText);
    CFStringNormalize(string.get(), inForm);
    return TextOf(string);
}

}  // namespace

TEST(Mapping, Uppercase) {
    EXPECT_EQ(u"", Mapped(CFStringUppercase, u""));
    EXPECT_EQ(u"ABC 1", Mapped(CFStringUppercase, u"aBc 1"));
    EXPECT_EQ(u"STRASSE", Mapped(CFStringUppercase, u"stra\u00DFe")) << "longer";
    EXPECT_EQ(u"\u00C9\u0416\u03A3\u03A3", Mapped(CFStringUppercase, u"\u00E9\u0436\u03C3\u03C2"));
    EXPECT_EQ(u"\U00010400", Mapped(CFStringUppercase, u"\U00010428")) << "outside the basic plane";
    EXPECT_EQ(u"FFI", Mapped(CFStringUppercase, u"\uFB03"));
    EXPECT_EQ(u"\xD800X", Mapped(CFStringUppercase, u"\xD800x")) << "half a pair stays";
    EXPECT_EQ(u"I", Mapped(CFStringUppercase, u"i"));
    EXPECT_EQ(u"\u0130", Mapped(CFStringUppercase, u"i", CFSTR("tr")));
    EXPECT_EQ(std::u16string(1000, u'S'), Mapped(CFStringUppercase, std::u16string(500, u'\u00DF')));
}

TEST(Mapping, Lowercase) {
    EXPECT_EQ(u"abc 1", Mapped(CFStringLowercase, u"AbC 1"));
    EXPECT_EQ(u"\u03BF\u03B4\u03BF\u03C2", Mapped(CFStringLowercase, u"\u039F\u0394\u039F\u03A3"))
        << "the last sigma of a word";
    EXPECT_EQ(u"i\u0307", Mapped(CFStringLowercase, u"\u0130"));
    EXPECT_EQ(u"i", Mapped(CFStringLowercase, u"\u0130", CFSTR("tr_TR")));
    EXPECT_EQ(u"\u0131", Mapped(CFStringLowercase, u"I", CFSTR("az")));
    EXPECT_EQ(u"i", Mapped(CFStringLowercase, u"I", CFSTR("en")));
}

TEST(Mapping, Capitalize) {
    EXPECT_EQ(u"Hello World", Mapped(CFStringCapitalize, u"hello wORLD"));
    EXPECT_EQ(u"Don't O'neil", Mapped(CFStringCapitalize, u"don't o'neil"));
    EXPECT_EQ(u"Well-Known", Mapped(CFStringCapitalize, u"well-known"));
    EXPECT_EQ(u"3rd Street", Mapped(CFStringCapitalize, u"3rd street"));
    EXPECT_EQ(u"\u01C5ungla", Mapped(CFStringCapitalize, u"\u01C6ungla")) << "a title letter of its own";
    EXPECT_EQ(u"Ijssel", Mapped(CFStringCapitalize, u"ijssel"));
    EXPECT_EQ(u"IJssel", Mapped(CFStringCapitalize, u"ijssel", CFSTR("nl")));
    EXPECT_EQ(u"", Mapped(CFStringCapitalize, u""));
}

// A program's tables of names must not depend on who runs it.
TEST(Mapping, NoLocaleIsNoLanguageWhateverTheProcessHas) {
    const std::string before = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr_TR", &status);
    EXPECT_EQ(u"I", Mapped(CFStringUppercase, u"i"));
    EXPECT_EQ(u"i", Mapped(CFStringLowercase, u"I"));
    EXPECT_EQ(u"In", Mapped(CFStringCapitalize, u"iN"));
    uloc_setDefault(before.c_str(), &status);
    EXPECT_TRUE(U_SUCCESS(status));
}

TEST(Mapping, NormalForms) {
    constexpr std::u16string_view kText = u"\u00E9e\u0301\uFB01\uAC00\u2126";
    EXPECT_EQ(u"e\u0301e\u0301\uFB01\u1100\u1161\u03A9", Normalized(kText, kCFStringNormalizationFormD));
    EXPECT_EQ(u"e\u0301e\u0301fi\u1100\u1161\u03A9", Normalized(kText, kCFStringNormalizationFormKD));
    EXPECT_EQ(u"\u00E9\u00E9\uFB01\uAC00\u03A9", Normalized(kText, kCFStringNormalizationFormC));
    EXPECT_EQ(u"\u00E9\u00E9fi\uAC00\u03A9", Normalized(kText, kCFStringNormalizationFormKC));
    EXPECT_EQ(kText, Normalized(kText, -1));
    EXPECT_EQ(kText, Normalized(kText, 4));
    EXPECT_EQ(u"a\u0323\u0307", Normalized(u"a\u0307\u0323", kCFStringNormalizationFormD)) << "in order";
    EXPECT_EQ(u"\u1EA1\u0307", Normalized(u"a\u0307\u0323", kCFStringNormalizationFormC));
    EXPECT_EQ(u"", Normalized(u"", kCFStringNormalizationFormC));
}

TEST(Mapping, WithoutMemory) {
    const auto map = [](Map inMap) {
        return faults::FailEachCall([inMap] {
            const OwnedMutable string(CFStringCreateMutable(nullptr, 0));
            if (string == nullptr) return false;
            const std::u16string text(300, u'\u00DF');
            CFStringAppendCharacters(string.get(), reinterpret_cast<const UniChar*>(text.data()), 300);
            const std::u16string before = TextOf(string);
            inMap(string.get(), nullptr);
            const std::u16string after = TextOf(string);
            EXPECT_TRUE(after == before || after.size() == 600U);
            return after.size() == 600U;
        });
    };
    // The string, its units, the statuses of two tries, what is mapped, and room for it.
    EXPECT_EQ(6, map(CFStringUppercase));
}

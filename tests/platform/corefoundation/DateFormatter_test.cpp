#include "CFSupport.h"
#include "Faults.h"

#include <gtest/gtest.h>
#include <toolbox/CFDateFormatter.h>
#include <unicode/ucal.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

// 31 December 2001, 22:59:58 UTC, an hour later in Berlin.
constexpr CFAbsoluteTime kTime = 364 * 86400.0 + 22 * 3600 + 59 * 60 + 58;
constexpr CFDateFormatterStyle kNone = kCFDateFormatterNoStyle;
constexpr CFDateFormatterStyle kShort = kCFDateFormatterShortStyle;
constexpr CFDateFormatterStyle kMedium = kCFDateFormatterMediumStyle;
constexpr CFDateFormatterStyle kLong = kCFDateFormatterLongStyle;
constexpr CFDateFormatterStyle kFull = kCFDateFormatterFullStyle;

class DateFormatter : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        UErrorCode status = U_ZERO_ERROR;
        ucal_setDefaultTimeZone(u"Europe/Berlin", &status);
        ASSERT_TRUE(U_SUCCESS(status));
    }

    static Owned<CFDateFormatterRef> New(CFStringRef inLocale, CFDateFormatterStyle inDate,
                                         CFDateFormatterStyle inTime) {
        const Owned<CFLocaleRef> locale(inLocale == nullptr ? nullptr : CFLocaleCreate(nullptr, inLocale));
        return Owned<CFDateFormatterRef>(CFDateFormatterCreate(nullptr, locale.get(), inDate, inTime));
    }

    static std::u16string Written(CFDateFormatterRef inFormatter, CFAbsoluteTime inTime = kTime) {
        const OwnedString text(CFDateFormatterCreateStringWithAbsoluteTime(nullptr, inFormatter, inTime));
        return text == nullptr ? u"<none>" : TextOf(text);
    }

    static std::u16string German(CFDateFormatterStyle inDate, CFDateFormatterStyle inTime) {
        return Written(New(CFSTR("de_DE"), inDate, inTime).get());
    }
};

}  // namespace

TEST_F(DateFormatter, StylesOfDates) {
    EXPECT_EQ(u"31.12.01", German(kShort, kNone));
    EXPECT_EQ(u"31.12.2001", German(kMedium, kNone));
    EXPECT_EQ(u"31. Dezember 2001", German(kLong, kNone));
    EXPECT_EQ(u"Montag, 31. Dezember 2001", German(kFull, kNone));
}

TEST_F(DateFormatter, StylesOfTimes) {
    EXPECT_EQ(u"23:59", German(kNone, kShort));
    EXPECT_EQ(u"23:59:58", German(kNone, kMedium));
    EXPECT_EQ(u"23:59:58 MEZ", German(kNone, kLong));
    EXPECT_EQ(u"23:59:58 Mitteleurop\u00E4ische Normalzeit", German(kNone, kFull));
}

TEST_F(DateFormatter, EveryPairOfStyles) {
    const std::u16string dates[] = {u"", u"31.12.01", u"31.12.2001", u"31. Dezember 2001",
                                    u"Montag, 31. Dezember 2001"};
    const std::u16string times[] = {u"", u"23:59", u"23:59:58", u"23:59:58 MEZ",
                                    u"23:59:58 Mitteleurop\u00E4ische Normalzeit"};
    for (CFDateFormatterStyle date = kNone; date <= kFull; ++date) {
        for (CFDateFormatterStyle time = kNone; time <= kFull; ++time) {
            const auto formatter = New(CFSTR("de_DE"), date, time);
            const std::u16string text = Written(formatter.get());
            // What joins both is the locale's affair, and has changed.
            EXPECT_TRUE(text.starts_with(dates[date]) && text.ends_with(times[time])) << date << " " << time;
            const std::size_t least = dates[date].size() + times[time].size();
            EXPECT_TRUE(date == kNone || time == kNone ? text.size() == least : text.size() > least);
            EXPECT_EQ(date, CFDateFormatterGetDateStyle(formatter.get()));
            EXPECT_EQ(time, CFDateFormatterGetTimeStyle(formatter.get()));
        }
    }
    EXPECT_EQ(u"", German(kNone, kNone));
}

TEST_F(DateFormatter, OtherLocales) {
    EXPECT_EQ(u"31/12/2001", Written(New(CFSTR("fr_FR"), kShort, kNone).get()));
    EXPECT_EQ(u"12/31/01", Written(New(CFSTR("en_US"), kShort, kNone).get()));
    EXPECT_EQ(u"2001\u5E7412\u670831\u65E5\u6708\u66DC\u65E5",
              Written(New(CFSTR("ja_JP"), kFull, kNone).get()));
    const Owned<CFDateFormatterRef> ofSystem(
        CFDateFormatterCreate(nullptr, CFLocaleGetSystem(), kShort, kNone));
    EXPECT_EQ(u"2001-12-31", Written(ofSystem.get()));
    EXPECT_EQ(CFLocaleGetSystem(), CFDateFormatterGetLocale(ofSystem.get()));
    const Owned<CFLocaleRef> current(CFLocaleCopyCurrent());
    const Owned<CFDateFormatterRef> ofProcess(CFDateFormatterCreate(nullptr, nullptr, kShort, kShort));
    ASSERT_NE(nullptr, ofProcess);
    EXPECT_TRUE(CFEqual(current.get(), CFDateFormatterGetLocale(ofProcess.get())));
}

TEST_F(DateFormatter, TimesFarAndNear) {
    const auto formatter = New(CFSTR("de_DE"), kMedium, kNone);
    EXPECT_EQ(u"01.01.2001", Written(formatter.get(), 0));
    EXPECT_EQ(u"31.12.2000", Written(formatter.get(), -3600.5));
    EXPECT_EQ(u"01.01.1970", Written(formatter.get(), -kCFAbsoluteTimeIntervalSince1970));
    EXPECT_EQ(u"01.01.1904", Written(formatter.get(), -kCFAbsoluteTimeIntervalSince1904));
    EXPECT_EQ(u"29.02.2000", Written(formatter.get(), -307 * 86400.0));
    for (const double time :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_EQ(u"<none>", Written(formatter.get(), time));
    }
    for (const double time : {1e15, -1e15, 1e300, -1e300})
        EXPECT_NE(u"", Written(formatter.get(), time)) << "some date, or none, but no crash";
}

TEST_F(DateFormatter, SummerTime) {
    // 1 July 2001, noon UTC.
    EXPECT_EQ(u"14:00", Written(New(CFSTR("de_DE"), kNone, kShort).get(), 181 * 86400.0 + 43200));
}

TEST_F(DateFormatter, OfADate) {
    const auto formatter = New(CFSTR("de_DE"), kShort, kShort);
    const Owned<CFDateRef> date(CFDateCreate(nullptr, kTime));
    EXPECT_EQ(Written(formatter.get()),
              TextOf(OwnedString(CFDateFormatterCreateStringWithDate(nullptr, formatter.get(), date.get()))));
    EXPECT_EQ(nullptr, CFDateFormatterCreateStringWithDate(nullptr, formatter.get(), nullptr));
}

TEST_F(DateFormatter, Patterns) {
    const auto formatter = New(CFSTR("de_DE"), kShort, kNone);
    EXPECT_EQ(u"dd.MM.yy", TextOf(CFDateFormatterGetFormat(formatter.get())));
    CFDateFormatterSetFormat(formatter.get(), CFSTR("yyyy-MM-dd'T'HH:mm:ss"));
    EXPECT_EQ(u"2001-12-31T23:59:58", Written(formatter.get()));
    EXPECT_EQ(u"yyyy-MM-dd'T'HH:mm:ss", TextOf(CFDateFormatterGetFormat(formatter.get())));
    CFDateFormatterSetFormat(formatter.get(), nullptr);
    EXPECT_EQ(u"2001-12-31T23:59:58", Written(formatter.get()));
    CFDateFormatterSetFormat(formatter.get(), StringOf(u"'" + std::u16string(300, u'x') + u"'").get());
    EXPECT_EQ(std::u16string(300, u'x'), Written(formatter.get()));
    const auto none = New(CFSTR("de_DE"), kNone, kNone);
    EXPECT_EQ(u"", TextOf(CFDateFormatterGetFormat(none.get())));
    CFDateFormatterSetFormat(none.get(), CFSTR("EEEE"));
    EXPECT_EQ(u"Montag", Written(none.get()));
}

TEST_F(DateFormatter, CreationThatFails) {
    for (const CFDateFormatterStyle style : {CFDateFormatterStyle{-1}, CFDateFormatterStyle{5}}) {
        EXPECT_EQ(nullptr, New(CFSTR("de_DE"), style, kNone));
        EXPECT_EQ(nullptr, New(CFSTR("de_DE"), kNone, style));
    }
    const auto formatter = New(CFSTR("de_DE"), kShort, kNone);
    EXPECT_EQ(CFDateFormatterGetTypeID(), CFGetTypeID(formatter.get()));
}

TEST_F(DateFormatter, WithoutMemory) {
    const int faultCount = faults::FailEachCall([] {
        const Owned<CFDateFormatterRef> formatter(CFDateFormatterCreate(nullptr, nullptr, kFull, kFull));
        if (formatter == nullptr) return false;
        const OwnedString text(CFDateFormatterCreateStringWithAbsoluteTime(nullptr, formatter.get(), kTime));
        return text != nullptr;
    });
    // The formatter, the locale and its identifier, ICU's, the pattern's status and string, the text's.
    EXPECT_EQ(8, faultCount);
    const auto formatter = New(CFSTR("de_DE"), kShort, kNone);
    const OwnedMutable pattern = MutableOf(u"EEEE");
    {
        const faults::Scope scope(1);
        CFDateFormatterSetFormat(formatter.get(), pattern.get());
    }
    {
        const faults::Scope scope(2);
        CFDateFormatterSetFormat(formatter.get(), pattern.get());
    }
    EXPECT_EQ(u"31.12.01", Written(formatter.get())) << "the old pattern stays";
}

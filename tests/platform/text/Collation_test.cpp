#include "support/Countdown.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <text/Text_test_access.h>
#include <toolbox/MacErrors.h>
#include <toolbox/UnicodeUtilities.h>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Name = std::u16string;

// As the library compares names, without and with regard to case.
constexpr UCCollateOptions kFinder = 0x3800E;
constexpr UCCollateOptions kFinderWithCase = 0x38006;

struct Outcome {
    SInt32 order;
    bool isEquivalent;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& ioStream, const Outcome& inOutcome) {
    return ioStream << inOutcome.order << (inOutcome.isEquivalent ? ", equivalent" : "");
}

std::string Shown(std::u16string_view inText) {
    std::string shown;
    char unit[16];
    for (const char16_t each : inText) {
        std::snprintf(unit, sizeof unit, each < 0x7F && each > 0x1F ? "%c" : "<%04X>", each);
        shown += unit;
    }
    return "\"" + shown + "\"";
}

const UniChar* UnitsOf(std::u16string_view inText) {
    return reinterpret_cast<const UniChar*>(inText.data());
}

OSStatus StatusOf(std::u16string_view inLeft, std::u16string_view inRight, UCCollateOptions inOptions,
                  Outcome& outOutcome) {
    Boolean isEquivalent = 77;
    SInt32 order = 77;
    const OSStatus status = UCCompareTextDefault(inOptions, UnitsOf(inLeft), inLeft.size(), UnitsOf(inRight),
                                                 inRight.size(), &isEquivalent, &order);
    outOutcome = {order, isEquivalent != 0};
    return status;
}

Outcome Compare(std::u16string_view inLeft, std::u16string_view inRight,
                UCCollateOptions inOptions = kFinder) {
    Outcome outcome{};
    EXPECT_EQ(noErr, StatusOf(inLeft, inRight, inOptions, outcome));
    return outcome;
}

int Sign(SInt32 inOrder) {
    return (inOrder > 0) - (inOrder < 0);
}

struct Pair {
    Name left;
    Name right;
    Outcome outcome;
};

void Check(const std::vector<Pair>& inPairs, UCCollateOptions inOptions) {
    for (const Pair& pair : inPairs) {
        const std::string shown = Shown(pair.left) + " and " + Shown(pair.right);
        EXPECT_EQ(pair.outcome, Compare(pair.left, pair.right, inOptions)) << shown;
        const Outcome mirrored = {-pair.outcome.order, pair.outcome.isEquivalent};
        EXPECT_EQ(mirrored, Compare(pair.right, pair.left, inOptions)) << shown << " the other way round";
    }
}

// Names over few pieces that collation treats in different ways, so that many are nearly the same.
class RandomNames {
  public:
    Name Next() {
        static constexpr std::u16string_view kPieces[] = {u"a",
                                                          u"A",
                                                          u"\uFF41",
                                                          u"\u00E9",
                                                          u"e\u0301",
                                                          u"e",
                                                          u"E",
                                                          u"\u00DF",
                                                          u"ss",
                                                          u"0",
                                                          u"1",
                                                          u"01",
                                                          u"10",
                                                          u"\uFF11",
                                                          u"\u2460",
                                                          u"-",
                                                          u" ",
                                                          u"_",
                                                          u".",
                                                          u"\u3042",
                                                          u"\u30A2",
                                                          u"\uFF71",
                                                          u"\u30AB\u3099",
                                                          u"\u30AC",
                                                          u"\uFF76\uFF9E",
                                                          u"\u200D",
                                                          u"\u0001",
                                                          u"\u0345",
                                                          u"\u03B1",
                                                          u"\u03B9",
                                                          u"\u1FB3",
                                                          u"\U0001F600",
                                                          u"\xD800",
                                                          u"\u4E2D",
                                                          u"I",
                                                          u"\u0130",
                                                          u"i",
                                                          u"\u0131",
                                                          u"\u00F8",
                                                          u"o\u0338"};
        Name name;
        const auto count = mCount(mEngine);
        for (int i = 0; i < count; ++i)
            name += kPieces[mPiece(mEngine)];
        return name;
    }

  private:
    std::mt19937 mEngine{20261120};
    std::uniform_int_distribution<int> mCount{0, 4};
    std::uniform_int_distribution<std::size_t> mPiece{0, 39};
};

// While it lives, every call of ICU whose status the manager starts begins with the failure.
class ICUFailure {
  public:
    explicit ICUFailure(int inFailingCall, int inStatus) {
        sCountdown = support::Countdown(inFailingCall, support::Countdown::kForever);
        sFailure = inStatus;
        toolbox::text::TextCallsForTesting().startStatus = [] { return sCountdown.IsDue() ? sFailure : 0; };
    }
    ~ICUFailure() { toolbox::text::TextCallsForTesting() = mSaved; }
    static bool Delivered() { return sCountdown.Delivered(); }

  private:
    static inline support::Countdown sCountdown;
    static inline int sFailure;
    toolbox::text::TextCalls mSaved = toolbox::text::TextCallsForTesting();
};

constexpr int kMissingResource = 2;  // ICU's U_MISSING_RESOURCE_ERROR
constexpr int kNoMemory = 7;         // ICU's U_MEMORY_ALLOCATION_ERROR

}  // namespace

// The first test of the program: the collators are made by the first comparison of each kind.
TEST(Collation, ACollatorThatCannotBeHadIsTriedAgain) {
    Outcome outcome{};
    {
        const ICUFailure failure(1, kMissingResource);
        EXPECT_EQ(kCollateMissingUnicodeTableErr, StatusOf(u"a", u"b", kFinder, outcome));
        EXPECT_EQ((Outcome{77, true}), outcome) << "left alone";
    }
    {
        const ICUFailure failure(1, kNoMemory);
        EXPECT_EQ(memFullErr, StatusOf(u"a", u"b", kFinder, outcome));
    }
    EXPECT_EQ((Outcome{-4, false}), Compare(u"a", u"b"));
}

TEST(Collation, FirstUseOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            // Down to the last level of each set of collators.
            for (const UCCollateOptions options :
                 {UCCollateOptions{0}, kFinder, kFinderWithCase, UCCollateOptions{0x30000}})
                EXPECT_EQ(1, std::abs(Compare(u"\u3042", u"\u30A2", options).order));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Collation, Same) {
    for (const UCCollateOptions options : {UCCollateOptions{0}, kFinder, kFinderWithCase}) {
        EXPECT_EQ((Outcome{0, true}), Compare(u"", u"", options));
        EXPECT_EQ((Outcome{0, true}), Compare(u"a\u0301", u"a\u0301", options));
        EXPECT_EQ((Outcome{0, true}), Compare(Name(100000, u'x'), Name(100000, u'x'), options));
    }
}

TEST(Collation, MagnitudeGrowsWithTheStrengthOfTheDifference) {
    Check({{u"", u"a", {-4, false}},
           {u"a", u"b", {-4, false}},
           {u"a", u"aa", {-4, false}},
           {u"resume", u"r\u00E9sum\u00E9", {-3, false}},
           {u"cote", u"cot\u00E9", {-3, false}},
           {u"\u3042", u"\u30A2", {-1, false}},
           {u"R", u"\u211D", {-1, false}},
           {u"a", u"a\u200D", {-1, false}}},
          kFinder);
    Check({{u"a", u"A", {-2, false}},
           {u"ab", u"aB", {-2, false}},
           {u"a\u00E9", u"A\u00E8", {-3, false}},
           {u"ab", u"Ac", {-4, false}}},
          kFinderWithCase);
    EXPECT_EQ(3, Compare(u"a\u00E9", u"A\u00E8", kFinderWithCase).order * -1)
        << "an accent is stronger than case";
}

TEST(Collation, CaseIsIgnoredOnlyWhenAsked) {
    Check({{u"readme", u"README", {-1, true}},
           {u"stra\u00DFe", u"STRASSE", {3, false}},
           {u"stra\u00DFe", u"STRA\u1E9EE", {-1, true}},
           {u"fine", u"\uFB01NE", {-1, true}},
           {u"\u0441\u043B\u043E\u0432\u043E", u"\u0421\u041B\u041E\u0412\u041E", {-1, true}},
           {u"\u1FB3", u"\u1FBC", {-1, true}},
           {u"\u03C3", u"\u03C2", {-1, true}}},
          kFinder);
    Check({{u"readme", u"README", {-2, false}}}, kFinderWithCase);
}

TEST(Collation, WidthIsIgnoredOnlyWhenAsked) {
    const std::vector<std::pair<Name, Name>> pairs = {
        {u"abc", u"\uFF41\uFF42\uFF43"}, {u"a b", u"a\u3000b"},    {u"\uFF71", u"\u30A2"},
        {u"\uFF76\uFF9E", u"\u30AC"},    {u"12", u"\uFF11\uFF12"}, {u"\u00AF", u"\uFFE3"}};
    for (const auto& [left, right] : pairs) {
        EXPECT_TRUE(Compare(left, right).isEquivalent) << Shown(left);
        EXPECT_EQ(1, std::abs(Compare(left, right).order)) << Shown(left);
        const Outcome outcome = Compare(left, right, kFinder & ~UCCollateOptions{4});
        EXPECT_FALSE(outcome.isEquivalent) << Shown(left);
        EXPECT_EQ(1, std::abs(outcome.order)) << Shown(left);
    }
}

TEST(Collation, CompositionIsIgnoredOnlyWhenAsked) {
    Check({{u"e\u0301", u"\u00E9", {-1, true}}, {u"\u212B", u"\u00C5", {1, true}}}, kFinderWithCase);
    Check({{u"e\u0301", u"\u00E9", {-1, false}}}, kFinderWithCase & ~UCCollateOptions{2});
    // The order of the marks, and jamo.
    EXPECT_TRUE(Compare(u"q\u0323\u0307", u"q\u0307\u0323").isEquivalent);
    EXPECT_TRUE(Compare(u"\uAC00", u"\u1100\u1161").isEquivalent);
}

TEST(Collation, AccentsAreIgnoredOnlyWhenAsked) {
    Check({{u"resume", u"r\u00E9sum\u00E9", {-1, true}},
           {u"\u3042", u"\u30A2", {-1, true}},
           {u"\u00E9", u"f", {-4, false}}},
          kFinder | kUCCollateDiacritInsensitiveMask);
    Check({{u"E", u"\u00E9", {2, false}}}, kFinderWithCase | kUCCollateDiacritInsensitiveMask);
}

TEST(Collation, PunctuationCountsOnlyWhenAsked) {
    Check({{u"a b", u"ab", {-4, false}}, {u"a-b", u"ab", {-4, false}}, {u"a.b", u"a-b", {4, false}}},
          kFinder);
    const UCCollateOptions ignoring = kFinder & ~UCCollateOptions{kUCCollatePunctuationSignificantMask};
    EXPECT_TRUE(Compare(u"a b", u"ab", ignoring).isEquivalent);
    EXPECT_TRUE(Compare(u"a-b", u"a.b", ignoring).isEquivalent);
    EXPECT_EQ(1, std::abs(Compare(u"a-b", u"a.b", ignoring).order));
    EXPECT_EQ((Outcome{-4, false}), Compare(u"a-b", u"ac", ignoring));
}

TEST(Collation, DigitsAreNumbersOnlyWhenBothOptionsSay) {
    Check({{u"file9", u"file10", {-4, false}},
           {u"2.9.1", u"2.10", {-4, false}},
           {u"01", u"1", {-1, false}},
           {u"007", u"8", {-4, false}},
           {u"x99999999999999999999", u"x100000000000000000000", {-4, false}},
           {u"\u0669", u"10", {-4, false}}},  // Arabic nine
          kFinder);
    for (const UCCollateOptions missing : {kUCCollateDigitsOverrideMask, kUCCollateDigitsAsNumberMask})
        EXPECT_EQ((Outcome{4, false}), Compare(u"file9", u"file10", kFinder & ~missing)) << missing;
}

TEST(Collation, OrderThatPeopleExpect) {
    const Name names[] = {
        u"",
        u" leading space",
        u"_underscore",
        u"-dash",
        u".hidden",
        u"(parenthesis)",
        u"[bracket]",
        u"@at",
        u"#hash",
        u"~tilde",
        u"$100",
        u"0",
        u"00",
        u"01",
        u"1",
        u"1 of 10",
        u"1-2",
        u"1.2",
        u"1.10",
        u"1a",
        u"2",
        u"2nd",
        u"9.txt",
        u"10.txt",
        u"11",
        u"100",
        u"1000000000000000000000000",
        u"\u2460",
        u"a",
        u"A B",
        u"a-b",
        u"ab",
        u"Alpha 2",
        u"alpha 10",
        u"Alpha 10 b",
        u"alpha2",
        u"alpha10",
        u"beta",
        u"B\u00EAta",
        u"cote",
        u"cot\u00E9",
        u"c\u00F4te",
        u"c\u00F4t\u00E9",
        u"Document",
        u"Document copy",
        u"Document copy 2",
        u"Document copy 10",
        u"Document.txt",
        u"\u00E9t\u00E9",
        u"Etude",
        u"IMG_9.JPG",
        u"img_10.jpg",
        u"IMG_0011.jpg",
        u"stra\u00DFe",
        u"strasse 2",
        u"track 1",
        u"Track 02",
        u"track 3",
        u"track 10",
        u"z",
        u"\u03B1\u03B2\u03B3",
        u"\u0430\u0431\u0432",
        u"\u3042",
        u"\u30A2",
        u"\u3044",
        u"\u4E2D",
    };
    for (std::size_t i = 0; i < std::size(names); ++i) {
        for (std::size_t j = 0; j < std::size(names); ++j) {
            EXPECT_EQ(Sign(static_cast<SInt32>(i) - static_cast<SInt32>(j)),
                      Sign(Compare(names[i], names[j]).order))
                << Shown(names[i]) << " and " << Shown(names[j]);
        }
    }
}

TEST(Collation, IsAnOrderOfAllTexts) {
    for (const UCCollateOptions options :
         {kFinder, kFinderWithCase, UCCollateOptions{0}, UCCollateOptions{kUCCollateStandardOptions},
          kFinder | kUCCollateDiacritInsensitiveMask}) {
        RandomNames names;
        for (int i = 0; i < 20000; ++i) {
            const Name a = names.Next();
            const Name b = names.Next();
            const Name c = names.Next();
            const std::string shown = Shown(a) + " " + Shown(b) + " " + Shown(c);
            const Outcome ab = Compare(a, b, options);
            const Outcome bc = Compare(b, c, options);
            const Outcome ac = Compare(a, c, options);
            ASSERT_EQ((Outcome{-ab.order, ab.isEquivalent}), Compare(b, a, options)) << shown;
            ASSERT_EQ(a == b, ab.order == 0) << shown;
            if (Sign(ab.order) * Sign(bc.order) >= 0) {
                ASSERT_EQ(Sign(ab.order + bc.order), Sign(ac.order)) << shown;
            }
            if (ab.isEquivalent) {
                ASSERT_EQ(bc.isEquivalent, ac.isEquivalent) << shown;
                if (bc.isEquivalent) continue;
                ASSERT_EQ(bc.order, ac.order) << shown << ": equivalent texts stand together";
            }
        }
    }
}

TEST(Collation, NeedsWhatItCannotDoWithout) {
    const UniChar text[] = {'a'};
    Boolean isEquivalent = 77;
    SInt32 order = 77;
    EXPECT_EQ(paramErr, UCCompareTextDefault(kFinder, nullptr, 1, text, 1, &isEquivalent, &order));
    EXPECT_EQ(paramErr, UCCompareTextDefault(kFinder, text, 1, nullptr, 1, &isEquivalent, &order));
    EXPECT_EQ(paramErr, UCCompareTextDefault(kFinder, text, 1, text, 1, nullptr, nullptr));
    EXPECT_EQ(paramErr, UCCompareTextDefault(kFinder, text, 0x80000000UL, text, 1, &isEquivalent, &order));
    EXPECT_EQ(paramErr, UCCompareTextDefault(kFinder, text, 1, text, 0x80000000UL, &isEquivalent, &order));
    EXPECT_EQ(kCollateInvalidOptions, UCCompareTextDefault(0x40000, text, 1, text, 1, &isEquivalent, &order));
    EXPECT_EQ(kCollateInvalidOptions, UCCompareTextDefault(1, text, 1, text, 1, &isEquivalent, &order));
    EXPECT_EQ(77, isEquivalent);
    EXPECT_EQ(77, order);
    EXPECT_EQ(noErr, UCCompareTextDefault(kFinder, nullptr, 0, text, 1, nullptr, &order));
    EXPECT_EQ(-4, order);
    EXPECT_EQ(noErr, UCCompareTextDefault(kFinder, nullptr, 0, nullptr, 0, &isEquivalent, nullptr));
    EXPECT_EQ(1, isEquivalent);
}

TEST(Collation, AnyCallThatFailsIsToldAndLeavesTheResults) {
    // Folding this takes every call that there is: the text grows beyond what was set aside for it.
    const Name left = Name(100, u'\u1E9E') + u"\uFF41";
    const Name right = Name(100, u'\u1E9E') + u"a";
    const Outcome whole = Compare(left, right);
    EXPECT_EQ((Outcome{1, true}), whole);
    int failingCall = 1;
    for (; failingCall < 100; ++failingCall) {
        const ICUFailure failure(failingCall, kNoMemory);
        Outcome outcome{};
        const OSStatus status = StatusOf(left, right, kFinder, outcome);
        if (!ICUFailure::Delivered()) {
            EXPECT_EQ(noErr, status);
            break;
        }
        EXPECT_EQ(memFullErr, status) << failingCall;
        EXPECT_EQ((Outcome{77, true}), outcome) << failingCall;
    }
    EXPECT_GT(failingCall, 5);
    EXPECT_LT(failingCall, 100);
}

TEST(Collation, MemoryThatIsShortIsTold) {
    const Name left(100, u'\u00E9');
    const Name right(100, u'\u00C9');
    int failingAllocation = 1;
    for (; failingAllocation < 100; ++failingAllocation) {
        Outcome outcome{};
        OSStatus status = noErr;
        bool isDelivered = false;
        {
            const test_files::FailingNew failure(failingAllocation);
            status = StatusOf(left, right, kFinder, outcome);
            isDelivered = failure.Delivered();
        }
        if (!isDelivered) {
            EXPECT_EQ(noErr, status);
            break;
        }
        EXPECT_EQ(memFullErr, status) << failingAllocation;
        EXPECT_EQ((Outcome{77, true}), outcome) << failingAllocation;
    }
    EXPECT_GT(failingAllocation, 2);
    EXPECT_LT(failingAllocation, 100);
}

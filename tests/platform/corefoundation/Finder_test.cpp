// How texts are searched: what is found, and with how much looking.
#include "CFSupport.h"
#include "support/Rounds.h"

#include <corefoundation/Finder.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using toolbox::corefoundation::Finder;
using toolbox::corefoundation::FoldedText;
using toolbox::corefoundation::FoldText;
using toolbox::corefoundation::UnitSearch;

struct CountingComparison {
    SInt64* count;
    int operator()(char16_t inLeft, char16_t inRight) const {
        ++*count;
        return int{inLeft} - int{inRight};
    }
};

using Positions = std::vector<CFIndex>;

Positions Found(const std::u16string& inText, const std::u16string& inSought, bool inIsBackwards,
                bool inMayOverlap, SInt64& outCount) {
    outCount = 0;
    UnitSearch<CountingComparison> search(inText, inSought, inIsBackwards, {&outCount});
    Positions positions;
    CFIndex start = 0;
    while (search.Next(start)) {
        positions.push_back(start);
        if (!inMayOverlap) search.LeaveFound();
    }
    return positions;
}

Positions FoundByTrying(const std::u16string& inText, const std::u16string& inSought, bool inIsBackwards,
                        bool inMayOverlap) {
    const auto count = static_cast<CFIndex>(inSought.size());
    const CFIndex last = static_cast<CFIndex>(inText.size()) - count;
    const CFIndex step = inMayOverlap ? 1 : count;
    Positions positions;
    for (CFIndex tried = 0; tried <= last;) {
        const CFIndex start = inIsBackwards ? last - tried : tried;
        const bool isFound = inText.compare(static_cast<std::size_t>(start), inSought.size(), inSought) == 0;
        if (isFound) positions.push_back(start);
        tried += isFound ? step : 1;
    }
    return positions;
}

std::u16string Repeated(std::u16string_view inPart, std::size_t inCount) {
    std::u16string text;
    while (text.size() < inCount)
        text += inPart;
    return text.substr(0, inCount);
}

// Nearly periodic in as many ways as a text can be.
std::u16string Fibonacci(std::size_t inCount) {
    std::u16string text = u"a", next = u"ab";
    while (next.size() < inCount) {
        std::u16string longer = next + text;
        text = std::move(next);
        next = std::move(longer);
    }
    return next.substr(0, inCount);
}

}  // namespace

TEST(UnitSearch, AsTryingEveryPlaceDoes) {
    std::mt19937 random(5);
    const auto below = [&random](std::size_t inLimit) { return random() % inLimit; };
    std::size_t foundCount = 0;
    for (int round = 0, rounds = support::Rounds(60'000); round < rounds; ++round) {
        const std::size_t letterCount = 1 + below(3);
        const auto text = [&](std::size_t inLength) {
            std::u16string made(inLength, u' ');
            for (char16_t& unit : made)
                unit = static_cast<char16_t>(u'a' + below(letterCount));
            return made;
        };
        const std::u16string in = text(below(40));
        std::u16string sought =
            round % 2 == 0 ? text(1 + below(8)) : Repeated(text(1 + below(3)), 1 + below(9));
        if (round % 5 == 0) sought.back() = u'b';
        for (const bool isBackwards : {false, true})
            for (const bool mayOverlap : {false, true}) {
                SInt64 count = 0;
                const Positions found = Found(in, sought, isBackwards, mayOverlap, count);
                ASSERT_EQ(FoundByTrying(in, sought, isBackwards, mayOverlap), found)
                    << testing::PrintToString(in) << " " << testing::PrintToString(sought)
                    << (isBackwards ? " backwards" : "") << (mayOverlap ? " overlapping" : "");
                ASSERT_LE(count, static_cast<SInt64>(5 * sought.size() + 2 * in.size()));
                foundCount += found.size();
            }
    }
    EXPECT_GT(foundCount, 100'000U) << "else little was tried";
}

TEST(UnitSearch, InNothing) {
    SInt64 count = 0;
    EXPECT_EQ(Positions(), Found(u"", u"a", false, true, count));
    EXPECT_EQ(Positions(), Found(u"", u"a", true, true, count));
    EXPECT_EQ(Positions(), Found(u"a", u"aa", true, true, count));
    EXPECT_EQ(0, count);
}

// Of texts that are made to be searched for long.
TEST(Finder, LooksAtEachUnitEightTimesAtMost) {
    constexpr std::size_t kTextCount = 200'000, kSoughtCount = 100'000;
    const std::u16string same = Repeated(u"a", kSoughtCount - 1), half = Repeated(u"a", kSoughtCount / 2);
    struct Row {
        const char* name;
        std::u16string text, sought;
    };
    const Row rows[] = {
        {"another at the end", Repeated(u"a", kTextCount), same + u"b"},
        {"another at the start", Repeated(u"a", kTextCount), u"b" + same},
        {"another in the middle", Repeated(u"a", kTextCount), half + u"b" + half},
        {"all the same", Repeated(u"a", kTextCount), same},
        {"often nearly", Repeated(same + u"c", kTextCount), same + u"b"},
        {"two in turn", Repeated(u"ab", kTextCount), Repeated(u"ab", kSoughtCount) + u"b"},
        {"Fibonacci's", Fibonacci(kTextCount), Fibonacci(kSoughtCount) + u"b"},
        {"halves of letters", Repeated(u"\u00DF", kTextCount / 2), Repeated(u"s", kSoughtCount - 1)},
        {"one", Repeated(u"a", kTextCount), u"a"},
        {"two", Repeated(u"ab", kTextCount), u"aB"},
        {"in capitals", Repeated(u"A", kTextCount), same + u"B"},
        {"marks", Repeated(u"e\u0301", kTextCount), Repeated(u"\u00E9", kSoughtCount / 2) + u"e"},
    };
    constexpr CFStringCompareFlags kByMeaning[] = {0, kCFCompareCaseInsensitive,
                                                   kCFCompareCaseInsensitive | kCFCompareNonliteral};
    constexpr CFStringCompareFlags kByPlace[] = {0, kCFCompareBackwards, kCFCompareAnchored,
                                                 kCFCompareAnchored | kCFCompareBackwards};
    for (const Row& row : rows) {
        const OwnedString text = StringOf(row.text), sought = StringOf(row.sought);
        const CFRange all = CFRangeMake(0, CFStringGetLength(text.get()));
        for (const CFStringCompareFlags meaning : kByMeaning) {
            FoldedText units, soughtUnits;
            const auto fold = [&](const std::u16string& inText, FoldedText& outUnits) {
                return FoldText(reinterpret_cast<const UniChar*>(inText.data()),
                                CFRangeMake(0, static_cast<CFIndex>(inText.size())), meaning, false,
                                outUnits);
            };
            ASSERT_TRUE(fold(row.text, units) && fold(row.sought, soughtUnits));
            for (const CFStringCompareFlags place : kByPlace) {
                SInt64 count = 0;
                Finder<CountingComparison> finder(text.get(), sought.get(), all, meaning | place, {&count});
                CFRange found;
                if (finder.Open(nullptr))
                    while (finder.Next(found)) {
                    }
                EXPECT_GT(count, 0) << row.name;
                EXPECT_LE(count, 8 * (units.units.Count() + soughtUnits.units.Count()))
                    << row.name << ", flags " << (meaning | place);
            }
        }
    }
}

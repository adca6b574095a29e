#include "fakes/Calls.h"
#include "fakes/Collation.h"

#include <foundation/TextUtilities.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <string_view>

namespace {

constexpr bool kIgnoreCase = false;
constexpr bool kCaseSensitive = true;
constexpr bool kPlain = false;
constexpr bool kEquivalence = true;

const UniChar* Units(std::u16string_view inText) {
    return reinterpret_cast<const UniChar*>(inText.data());
}

long Compare(bool inCaseSensitive, bool inUseEquivalence) {
    return FinderCompare(1, Units(u"a"), 2, Units(u"bc"), inCaseSensitive, inUseEquivalence);
}

class FinderCompareTest : public ::testing::Test {
  protected:
    FinderCompareTest() { fakes::StartScenario(); }
};

TEST_F(FinderCompareTest, NullText) {
    fakes::ScriptCollation(noErr, 4, false);
    EXPECT_EQ(0, FinderCompare(0, nullptr, 0, nullptr, kIgnoreCase, kEquivalence));
    EXPECT_EQ(-1, FinderCompare(0, nullptr, 1, Units(u"a"), kIgnoreCase, kEquivalence));
    EXPECT_EQ(1, FinderCompare(1, Units(u"a"), 0, nullptr, kIgnoreCase, kEquivalence));
    EXPECT_TRUE(fakes::CallLog().empty());
}

TEST_F(FinderCompareTest, Options) {
    Compare(kCaseSensitive, kPlain);
    EXPECT_EQ(0x38006U, fakes::LastCollation().options);
    Compare(kIgnoreCase, kPlain);
    EXPECT_EQ(0x3800EU, fakes::LastCollation().options);
    EXPECT_EQ(u"a", fakes::LastCollation().text1);
    EXPECT_EQ(u"bc", fakes::LastCollation().text2);
}

TEST_F(FinderCompareTest, TheOrderIsPassedOn) {
    for (const SInt32 order : {-4, -1, 0, 1, 3, 0x7FFFFFFF}) {
        fakes::ScriptCollation(noErr, order, false);
        EXPECT_EQ(order, Compare(kIgnoreCase, kPlain));
        EXPECT_EQ(order, Compare(kIgnoreCase, kEquivalence));
    }
}

TEST_F(FinderCompareTest, Equivalence) {
    fakes::ScriptCollation(noErr, -1, true);
    EXPECT_EQ(0, Compare(kIgnoreCase, kEquivalence));
    EXPECT_TRUE(fakes::LastCollation().wantsEquivalence);
    EXPECT_EQ(-1, Compare(kIgnoreCase, kPlain)) << "not asked for";
    EXPECT_FALSE(fakes::LastCollation().wantsEquivalence);
}

TEST_F(FinderCompareTest, TheCollationFails) {
    fakes::ScriptCollation(memFullErr, 4, true);
    EXPECT_EQ(0, Compare(kIgnoreCase, kPlain));
    EXPECT_EQ(0, Compare(kCaseSensitive, kEquivalence));
}

}  // namespace

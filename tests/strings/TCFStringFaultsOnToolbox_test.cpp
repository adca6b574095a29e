// Every operation over the real Core Foundation, with each of its allocations failing once.
#include "StringTest.h"
#include "corefoundation/CF_test_access.h"
#include "support/FailEach.h"
#include "support/FailingMalloc.h"
#include "support/FailingNew.h"
#include "support/Rounds.h"

#include <functional>
#include <thread>
#include <vector>

namespace {

using support::FailingMalloc;
using toolbox::corefoundation::LiveObjectsForTesting;

using Operation = std::function<TCFString(const TCFString&)>;

struct Row {
    const char* name;
    const char16_t* result;
    // What there is when memory is short: nothing, or the string as it was. Of several steps a later one may
    // go on with that.
    std::vector<std::u16string> fallbacks;
    Operation apply;
};

constexpr char16_t kText[] = u"a:Very long name.txt";

std::vector<Row> Rows() {
    static const TCFString sA = Units(u"a"), sB = Units(u"b"), sMark = Units(u"^0"), sEmpty;
    const std::u16string empty, same = kText, mark = u"^0";
    return {
        {"concatenation",
         u"a:Very long name.txta",
         {empty},
         [](const TCFString& inString) { return inString + sA; }},
        {"substring", u"Very", {empty}, [](const TCFString& inString) { return inString.Substring(2, 4); }},
        {"suffix", u".txt", {empty}, [](const TCFString& inString) { return inString.Suffix(); }},
        {"name",
         u"a:Very long name",
         {empty},
         [](const TCFString& inString) { return inString.RemoveSuffix(); }},
        {"cut",
         u"a_Very.txt",
         {u"a_Very lon", u".txt", empty, u"a:Very.txt"},
         [](const TCFString& inString) { return inString.HFSName(10); }},
        {"replace",
         u"b:Very long name.txt",
         {same},
         [](const TCFString& inString) { return inString.Replace(CFRangeMake(0, 1), sB); }},
        {"replace longer",
         u"0123456789012345678901234567890123456789",
         {same},
         [](const TCFString& inString) {
             static const TCFString sLong = Units(u"0123456789012345678901234567890123456789");
             return inString.Replace(CFRangeMake(0, 100), sLong);
         }},
        {"find and replace",
         u"^0:Very long n^0me.txt",
         {same},
         [](const TCFString& inString) {
             return inString.FindAndReplace(sA, sMark, CFRangeMake(0, inString.Length()), 0);
         }},
        {"capitals",
         u"A:VERY LONG NAME.TXT",
         {empty, same},
         [](const TCFString& inString) { return inString.Uppercase(); }},
        {"small letters",
         u"a:very long name.txt",
         {empty, same},
         [](const TCFString& inString) { return inString.Lowercase(); }},
        {"title",
         u"A:Very Long Name.txt",
         {empty, same},
         [](const TCFString& inString) { return inString.Capitalize(); }},
        {"normal form",
         u"a:Very long name.txt",
         {empty},
         [](const TCFString& inString) { return inString.Normalize(kCFStringNormalizationFormKD); }},
        {"parameters",
         u"a:Very long name.txt",
         {mark},
         [](const TCFString& inString) { return sMark.PlugParams(inString, sEmpty, sEmpty, sEmpty); }},
    };
}

TEST(FaultsOnToolboxTest, EveryAllocationOfEveryOperation) {
    const TCFString string = Units(kText);
    for (const Row& row : Rows()) {
        UnitsOf(row.apply(string));  // what is made once and kept is made now
        const SInt64 objects = LiveObjectsForTesting();
        for (int call = 1;; ++call) {
            SCOPED_TRACE(std::string(row.name) + ", allocation " + std::to_string(call));
            std::u16string result;
            bool wasDelivered = false;
            {
                const FailingMalloc failing(call);
                result = UnitsOf(row.apply(string));
                wasDelivered = failing.Delivered();
            }
            EXPECT_EQ(objects, LiveObjectsForTesting());
            if (!wasDelivered) {
                EXPECT_EQ(row.result, result);
                EXPECT_GT(call, 1) << "else nothing failed";
                break;
            }
            bool isKnown = result == row.result;
            for (const std::u16string& fallback : row.fallbacks)
                isKnown = isKnown || result == fallback;
            EXPECT_TRUE(isKnown) << "something else came of it, of " << result.size() << " units";
            ASSERT_LT(call, 100);
        }
        EXPECT_EQ(kText, UnitsOf(string));
    }
}

TEST(FaultsOnToolboxTest, EveryAllocationOfAMoment) {
    const auto moment = [] {
        return UnitsOf(TCFString(0.0, kCFDateFormatterFullStyle, kCFDateFormatterFullStyle));
    };
    const std::u16string whole = moment();
    EXPECT_FALSE(whole.empty());
    const SInt64 objects = LiveObjectsForTesting();
    const int failureCount = support::FailEach<FailingMalloc>([&](const auto& inUnderFault) {
        std::u16string result;
        const bool failed = inUnderFault([&] { result = moment(); });
        EXPECT_EQ(failed ? std::u16string() : whole, result);
        EXPECT_EQ(objects, LiveObjectsForTesting());
        EXPECT_EQ(0, FailingMalloc::LiveBlockCount());
    });
    EXPECT_EQ(5, failureCount) << "the locale and its name, the formatter and its pattern, and the text";
}

// More than what a std::string holds in itself.
TEST(FaultsOnToolboxTest, NoMemoryForAStdString) {
    const TCFString string = Units(kText);
    std::string text = "before";
    EXPECT_EQ(1, support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
                  bool wentWell = false;
                  const bool failed = inUnderFault(
                      [&] { wentWell = string.StdStringWithEncoding(text, kCFStringEncodingUTF8); });
                  EXPECT_EQ(!failed, wentWell);
                  EXPECT_EQ(failed ? "before" : "a:Very long name.txt", text);
              }));
}

TEST(FaultsOnToolboxTest, OperationsOnManyThreads) {
    const TCFString shared = Units(kText);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&shared] {
            for (int k = 0, rounds = support::Rounds(500); k < rounds; ++k) {
                const TCFString name = shared.RemoveSuffix() + shared.Suffix();
                if (name != shared || UnitsOf(shared.HFSName(10)) != u"a_Very.txt" ||
                    shared.FinderCompareTo(name, true) != 0)
                    ADD_FAILURE() << "wrong on one of several threads";
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1, CFGetRetainCount(shared.StringRef()));
}

}  // namespace

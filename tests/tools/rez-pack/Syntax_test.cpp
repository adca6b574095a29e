// What is told of a description that is no JSON.
#include "Syntax.h"

#include "Descriptions.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace rez_pack;
using namespace test_rez_pack;
using namespace std::string_literals;

struct Case {
    std::string text;
    std::string message;
};

TEST(RezPackSyntax, TellsWhatIsDueAndWhere) {
    for (const Case& one : {
             Case{"", "line 1, column 1: the text ends where a description is due"},
             Case{" \n\t\n", "line 3, column 1: the text ends where a description is due"},
             Case{"{", "line 1, column 2: the text ends where a name in quotes or } is due"},
             Case{"{,", "line 1, column 2: a name in quotes or } is due, not ,"},
             Case{"{7: 1}", "line 1, column 2: a name in quotes or } is due, not \"7\""},
             Case{"{\"a\": 1,}", "line 1, column 9: a name in quotes is due, not }"},
             Case{"{\"a\" 1}", "line 1, column 6: a colon is due, not \"1\""},
             Case{"{\"a\":}", "line 1, column 6: a value is due, not }"},
             Case{"{\n  \"a\": 1\n  \"b\": 2}", "line 3, column 3: a comma or } is due, not \""},
             Case{"{\"a\": 1]", "line 1, column 8: a comma or } is due, not ]"},
             Case{"[", "line 1, column 2: the text ends where a value or ] is due"},
             Case{"[1, ]", "line 1, column 5: a value is due, not ]"},
             Case{"[1 2]", "line 1, column 4: a comma or ] is due, not \"2\""},
             Case{"[\"é\" é]", "line 1, column 6: a comma or ] is due, not \"é\""},
             Case{"[1]]", "line 1, column 4: there is more behind the end of the description"},
         }) {
        EXPECT_EQ(one.message, SyntaxFault(one.text)) << one.text;
        EXPECT_EQ(one.message, MessageOf(one.text)) << one.text;
    }
}

TEST(RezPackSyntax, TellsWhatIsNoValue) {
    for (const std::string& word :
         {"tru"s, "None"s, "01"s, "1."s, "-"s, "+1"s, "1e999"s, "//"s, "'a'"s, "\xFF"s}) {
        const std::string shown = word == "\xFF" ? "\xEF\xBF\xBD" : word;
        EXPECT_EQ("line 2, column 2: there is no value \"" + shown + '"', MessageOf("[\n " + word + " ]"));
    }
}

TEST(RezPackSyntax, TellsWhatIsWrongWithAText) {
    const std::string control =
        "a text ends with the line, or has a character that must be written as \\u and its number";
    const std::string escape = "a text has a backslash that is followed by nothing known";
    for (const Case& one : {
             Case{"[\"ab", "line 1, column 2: a text has no quote at its end"},
             Case{"[\"ab\\", "line 1, column 2: a text has no quote at its end"},
             Case{"[\"ab\\\"]", "line 1, column 2: a text has no quote at its end"},
             Case{"[\"ab\n\"]", "line 1, column 5: " + control},
             Case{"[\"a\tb\"]", "line 1, column 4: " + control},
             Case{"[\"a\\x\"]", "line 1, column 2: " + escape},
             Case{"[\"a\\u12\"]", "line 1, column 2: " + escape},
             Case{"[\"\\uD800\"]", "line 1, column 2: " + escape},
             Case{"[\"\xC3(\"]", "line 1, column 2: a text is not in UTF-8"},
         })
        EXPECT_EQ(one.message, MessageOf(one.text)) << one.text;
}

TEST(RezPackSyntax, TellsWhereItIsNestedTooDeeply) {
    EXPECT_EQ("line 2, column 100: nested too deeply", MessageOf("[\n" + std::string(200, '[')));
}

TEST(RezPackSyntax, AMarkOfTheByteOrderIsNoColumn) {
    EXPECT_EQ("line 1, column 2: the text ends where a value or ] is due", MessageOf("\xEF\xBB\xBF["));
}

// Every description that the parser refuses has a place and a reason.
TEST(RezPackSyntax, KnowsWhateverTheParserRefuses) {
    std::mt19937 random(12);
    const std::string whole = kAlertDescription;
    int refusedCount = 0;
    for (int round = 0, rounds = support::Rounds(20000); round < rounds; ++round) {
        std::string text = whole;
        const std::size_t at = random() % text.size();
        switch (random() % 3) {
            case 0:
                text.resize(at);
                break;
            case 1:
                text.erase(at, 1 + random() % 3);
                break;
            default:
                text[at] = "{}[]:,\"\\\n0-e.tz\x80\x1F/ "[random() % 19];
        }
        if (JSON::accept(text)) continue;
        ++refusedCount;
        ASSERT_EQ("line ", MessageOf(text).substr(0, 5)) << text;
    }
    EXPECT_LT(5000, refusedCount);
}

}  // namespace

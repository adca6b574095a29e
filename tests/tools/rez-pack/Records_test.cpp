// Descriptions of resources, and their bytes.
#include "Records.h"

#include "Descriptions.h"
#include "Forms.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <toolbox/Resources.h>

#include <functional>
#include <random>

namespace {

using namespace rez_pack;
using namespace test_rez_pack;
using namespace std::string_literals;

std::string TextOf(const Bytes& inBytes) {
    return {inBytes.begin(), inBytes.end()};
}

TEST(RezPackRecords, DescriptionAsBytes) {
    const std::vector<Record> records = RecordsIn(kAlertDescription);
    ASSERT_EQ(5U, records.size());
    EXPECT_EQ(FourChars("STR "), records[0].type);
    EXPECT_EQ(128, records[0].id);
    EXPECT_EQ("greeting", records[0].name);
    EXPECT_EQ(resPurgeable | resPreload, records[0].attributes);
    EXPECT_EQ(
        "\7Gr\xC3\xBC\xC3\x9F"
        "e",
        TextOf(records[0].data));
    EXPECT_EQ(-5, records[1].id);
    EXPECT_EQ("\0\3\3one\0\5three"s, TextOf(records[1].data));
    EXPECT_EQ("\0\x28\xFF\xD8\0\xC8\1\x90\0\xFB\xE5\xB4"s, TextOf(records[2].data));
    EXPECT_EQ(
        "\0\2"
        "\0\0\0\0\0\x78\0\x0A\0\x8C\0\x46\4\4Quit"
        "\0\0\0\0\0\0\0\0\0\x14\1\x2C\x88\5^0 ^1\0"
        "\0\0\0\0\0\x0A\0\x0A\0\x2A\0\x2A\x20\2\xFF\xFF"s,
        TextOf(records[3].data));
    EXPECT_EQ(0x748E7374U, records[4].type) << "types are Mac Roman";
    EXPECT_EQ("\0\xFF\x7A"s, TextOf(records[4].data));
}

TEST(RezPackRecords, ComesBackAsDescribed) {
    EXPECT_EQ(JSON::parse(kAlertDescription),
              DescriptionOf(RecordsIn(kAlertDescription), kCFStringEncodingUTF8));
}

TEST(RezPackRecords, MacRoman) {
    const std::vector<Record> records =
        RecordsIn(R"({"resources": [{"type": "STR ", "id": 1, "name": "é", "string": "ü"}]})",
                  kCFStringEncodingMacRoman);
    EXPECT_EQ("\1\x9F", TextOf(records[0].data));
    EXPECT_EQ("\x8E", records[0].name);
    const JSON shown = DescriptionOf(records, kCFStringEncodingMacRoman);
    EXPECT_EQ("ü", shown["resources"][0]["string"]);
    EXPECT_EQ("é", shown["resources"][0]["name"]);
}

// Whatever the bytes are, what is shown makes the same bytes again.
TEST(RezPackRecords, AnyBytesComeBack) {
    std::mt19937 random(3);
    for (int round = 0, rounds = support::Rounds(3000); round < rounds; ++round) {
        Record record;
        const ResType types[] = {FourChars("STR "), FourChars("STR#"), FourChars("ALRT"), FourChars("DITL"),
                                 static_cast<ResType>(random())};
        record.type = types[random() % 5];
        record.id = static_cast<SInt16>(random());
        record.data.resize(random() % 40);
        for (UInt8& byte : record.data)
            byte = static_cast<UInt8>(random() % 4 == 0 ? random() : random() % 6);
        const JSON shown = JSON::parse(DescriptionOf({record}, kCFStringEncodingUTF8).dump());
        const std::vector<Record> again = RecordsOf(shown, kCFStringEncodingUTF8);
        ASSERT_EQ(1U, again.size());
        EXPECT_EQ(record.type, again[0].type) << shown;
        EXPECT_EQ(record.id, again[0].id);
        EXPECT_EQ(record.data, again[0].data) << shown;
    }
}

TEST(RezPackRecords, WhatIsNotOfTheFormIsShownAsData) {
    struct Case {
        ResType type;
        std::string data;
    };
    for (const Case& one :
         {Case{FourChars("STR "), ""}, Case{FourChars("STR "), "\3ab"}, Case{FourChars("STR "), "\1ab"},
          Case{FourChars("STR "), "\1\xFF"}, Case{FourChars("STR#"), "\0\2\1a"s},
          Case{FourChars("ALRT"), std::string(11, '\0')}, Case{FourChars("DITL"), "\0"s},
          Case{FourChars("DITL"), "\0\0\0\0\0\1\0\0\0\0\0\0\0\0\4\0"s}}) {
        Record record;
        record.type = one.type;
        record.data.assign(one.data.begin(), one.data.end());
        EXPECT_TRUE(DescriptionOf({record}, kCFStringEncodingUTF8)["resources"][0].contains("data"))
            << one.data;
    }
}

TEST(RezPackRecords, DescriptionsThatCannotBeFollowed) {
    const std::string longText(256, 'x');
    for (const std::string& resource :
         {R"({"id": 1, "data": ""})"s,
          R"({"type": "abc", "id": 1, "data": ""})"s,
          R"({"type": "abcde", "id": 1, "data": ""})"s,
          R"({"type": "ab本d", "id": 1, "data": ""})"s,
          R"({"type": "abcd", "data": ""})"s,
          R"({"type": "abcd", "id": 32768, "data": ""})"s,
          R"({"type": "abcd", "id": "1", "data": ""})"s,
          R"({"type": "abcd", "id": 1.5, "data": ""})"s,
          R"({"type": "abcd", "id": 1})"s,
          R"({"type": "abcd", "id": 1, "data": "0"})"s,
          R"({"type": "abcd", "id": 1, "data": "0G"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "attributes": ["changed"]})"s,
          R"({"type": "abcd", "id": -32769, "data": ""})"s,
          R"({"type": "abcd", "id": 9223372036854775808, "data": ""})"s,
          R"({"type": "abcd", "id": 18446744073709551615, "data": ""})"s,
          R"({"type": "abcd", "id": 1, "data": "", "name": "a", "nameData": "41"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "nameData": "4"})"s,
          R"({"type": "abcd", "id": 1, "data": "", "nameData": ")" + longText + longText + "\"}",
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 4})"s,
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 2})"s,
          R"({"type": "abcd", "id": 1, "data": "", "otherAttributes": 256})"s,
          R"({"type": "STR ", "id": 1})"s,
          R"({"type": "STR ", "id": 1, "string": 5})"s,
          R"({"type": "STR ", "id": 1, "string": ")" + longText + "\"}",
          R"({"type": "STR#", "id": 1, "strings": "x"})"s,
          R"({"type": "STR#", "id": 1, "strings": [1]})"s,
          R"({"type": "ALRT", "id": 1, "bounds": [1,2,3], "items": 1, "stages": []})"s,
          R"({"type": "ALRT", "id": 1, "bounds": [1,2,3,4], "items": 1, "stages": []})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "knob", "bounds": [0,0,0,0]}]})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "icon", "bounds": [0,0,0,0]}]})"s,
          R"({"type": "DITL", "id": 1, "items": [{"kind": "button", "bounds": [0,0,0,99999]}]})"s,
          R"({"type": "DITL", "id": 1, "items": [
              {"kind": "button", "bounds": [0,0,0,18446744073709551615]}]})"s,
          "7"s,
          "[]"s}) {
        EXPECT_THROW(RecordsIn(R"({"resources": [)" + resource + "]}"), DescriptionError) << resource;
    }
    for (const char* whole : {"7", "[]", "{}", R"({"resources": 5})"})
        EXPECT_THROW(RecordsIn(whole), DescriptionError) << whole;
    EXPECT_THROW(
        RecordsIn(R"({"resources": [{"type": "STR ", "id": 1, "string": "本"}]})", kCFStringEncodingMacRoman),
        DescriptionError);
}

TEST(RezPackRecords, NamesAndAttributesComeBackWhateverTheyAre) {
    for (const std::string& name : {""s, "text"s, "\xFF\x80"s, "\x8E"s, std::string(255, '\xC2'), "a\0b"s}) {
        for (const CFStringEncoding encoding : {kCFStringEncodingUTF8, kCFStringEncodingMacRoman}) {
            for (int attributes = 0; attributes < 256; ++attributes) {
                Record record;
                record.type = FourChars("abcd");
                record.name = name;
                record.attributes = static_cast<UInt8>(attributes & ~resChanged);
                const std::string shown = DescriptionOf({record}, encoding).dump();
                const std::vector<Record> again = RecordsIn(shown, encoding);
                ASSERT_EQ(1U, again.size());
                ASSERT_EQ(record.name, again[0].name) << shown;
                ASSERT_EQ(record.attributes, again[0].attributes) << shown;
            }
        }
    }
}

TEST(RezPackRecords, MembersThatNobodyReads) {
    const auto messageOf = [](const std::string& inResource) {
        return MessageOf(R"({"resources": [)" + inResource + "]}");
    };
    EXPECT_EQ("resource 1: there is no member \"nam\" of such a resource",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "nam": "b"})"));
    EXPECT_EQ("resource 1: there is no member \"attribute\" beside data",
              messageOf(R"({"type": "abcd", "id": 1, "data": "", "attribute": []})"));
    EXPECT_EQ("resource 1: there is no member \"string\" beside data",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "data": "0161"})"));
    EXPECT_EQ("resource 1: there is no member \"strings\" of such a resource",
              messageOf(R"({"type": "STR ", "id": 1, "string": "a", "strings": []})"));
    const std::string stage = R"({"default": 1, "shown": true, "sound": 0, "sounds": 1})";
    EXPECT_EQ("resource 1: stages: stage 1: there is no member \"sounds\" of a stage",
              messageOf(R"({"type": "ALRT", "id": 1, "bounds": [0,0,0,0], "items": 1, "stages": [)" + stage +
                        "," + stage + "," + stage + "," + stage + "]}"));
    for (const auto& [kind, member] :
         {std::pair("button", R"("resource": 1)"), std::pair("icon", R"("text": "")"),
          std::pair("button", R"("enable": true)")}) {
        const std::string message = messageOf(R"({"type": "DITL", "id": 1, "items": [{"kind": ")"s + kind +
                                              R"(", "bounds": [0,0,0,0], )" + member + "}]}");
        const std::string name(member, std::string_view(member).find(':'));
        EXPECT_EQ("resource 1: items: item 1: there is no member " + name + " of such an item", message);
    }
}

TEST(RezPackRecords, TwoOfOneTypeAndID) {
    const std::string one = R"({"type": "STR ", "id": 7, "string": "a"})",
                      other = R"({"type": "STR#", "id": 7, "strings": []})";
    EXPECT_EQ("none", MessageOf(R"({"resources": [)" + one + "," + other + "]}"));
    EXPECT_EQ("resources 1 and 3 are both of type \"STR \" and id 7",
              MessageOf(R"({"resources": [)" + one + "," + other + "," + one + "]}"));
}

TEST(RezPackRecords, NestedDeeply) {
    const auto nested = [](std::size_t inDepth) {
        return R"({"resources": [{"type": "STR ", "id": 1, "string": )" + std::string(inDepth, '[') +
               std::string(inDepth, ']') + "}]}";
    };
    EXPECT_TRUE(MessageOf(nested(20)).starts_with("resource 1: string: a text is needed, not [[["));
    for (const std::size_t depth : {98U, 200000U})
        EXPECT_EQ("line 1, column 149: nested too deeply", MessageOf(nested(depth)));
    EXPECT_TRUE(MessageOf(nested(97)).starts_with("resource 1: string: a text is needed"))
        << "and three around it";
    EXPECT_EQ("line 1, column 101: nested too deeply", MessageOf(std::string(101, '[')))
        << "before it is found unfinished";
}

TEST(RezPackRecords, LongValuesAreCutOffInMessages) {
    const std::string value = R"({"type": "STR ", "id": 1, "string": [")";
    EXPECT_EQ("resource 1: string: a text is needed, not [\"" + std::string(58, 'x') + "...",
              MessageOf(R"({"resources": [)" + value + std::string(100000, 'x') + "\"]}]}"));
    std::string wide;
    for (int i = 0; i < 1000; ++i)
        wide += "本";
    const std::string message = MessageOf(R"({"resources": [)" + value + wide + "\"]}]}");
    EXPECT_EQ("resource 1: string: a text is needed, not [\"" + wide.substr(0, 57) + "...", message)
        << "after a whole character";
    EXPECT_GT(300U, MessageOf(std::string(100000, 'x')).size()) << "a word that is no value";
}

TEST(RezPackRecords, MessagesTellTheMember) {
    const auto messageOf = [](const std::string& inResource) {
        return MessageOf(R"({"resources": [)" + inResource + "]}");
    };
    EXPECT_EQ("resource 1: an object is needed, not 7", messageOf("7"));
    EXPECT_EQ("resource 1: type is missing", messageOf(R"({"id": 1, "data": ""})"));
    EXPECT_EQ("resource 1: type: a text is needed, not null", messageOf(R"({"type": null})"));
    EXPECT_EQ("resource 1: id: a whole number is needed, not 1.5",
              messageOf(R"({"type": "abcd", "id": 1.5})"));
    EXPECT_EQ("resource 1: attributes: a list is needed, not \"locked\"",
              messageOf(R"({"type": "abcd", "id": 1, "data": "", "attributes": "locked"})"));
    EXPECT_EQ("resource 1: data: a text is needed, not [1]",
              messageOf(R"({"type": "abcd", "id": 1, "data": [1]})"));
    EXPECT_EQ("resource 1: strings: string 2: a text is needed, not 3",
              messageOf(R"({"type": "STR#", "id": 1, "strings": ["a", 3]})"));
    const std::string item = R"({"type": "DITL", "id": 1, "items": [{"kind": "button", "bounds": [0,0,0,)";
    EXPECT_EQ("resource 1: items: item 1: bounds: 40000 is not from -32768 to 32767",
              messageOf(item + "40000]}]}"));
    EXPECT_EQ("resource 1: items: item 1: enabled: true or false is needed, not \"no\"",
              messageOf(item + R"(0], "enabled": "no"}]})"));
    EXPECT_EQ("resource 1: stages: a list of four is needed, not []",
              messageOf(R"({"type": "ALRT", "id": 1, "bounds": [0,0,0,0], "items": 1, "stages": []})"));
}

// Every value is replaced by one of every kind, and every member is left out: nothing is told in other words
// than ours, or not at all.
TEST(RezPackRecords, MembersOfEveryOtherKind) {
    const JSON whole = JSON::parse(kAlertDescription);
    const std::vector<JSON> others = {nullptr,
                                      true,
                                      5,
                                      -1,
                                      1.5,
                                      "x",
                                      JSON::array(),
                                      JSON::object(),
                                      {1},
                                      {{"a", 1}},
                                      18446744073709551615U};
    std::vector<JSON::json_pointer> places;
    const std::function<void(const JSON&, const JSON::json_pointer&)> visit = [&](const JSON& inValue,
                                                                                  const auto& inPlace) {
        places.push_back(inPlace);
        if (inValue.is_array())
            for (std::size_t i = 0; i < inValue.size(); ++i)
                visit(inValue[i], inPlace / i);
        if (inValue.is_object())
            for (const auto& [name, value] : inValue.items())
                visit(value, inPlace / name);
    };
    visit(whole, JSON::json_pointer());
    int refusedCount = 0;
    const auto follow = [&refusedCount](const JSON& inDescription) {
        const std::string message = MessageOf(inDescription.dump());
        const bool isPlaced = message == "none" || message.starts_with("resource") ||
                              message.starts_with("the description is not");
        ASSERT_TRUE(isPlaced) << message << inDescription;
        refusedCount += message != "none";
    };
    for (const JSON::json_pointer& place : places) {
        for (const JSON& other : others) {
            JSON changed = whole;
            changed[place] = other;
            follow(changed);
        }
        if (place.empty() || whole[place.parent_pointer()].is_array()) continue;
        JSON without = whole;
        without[place.parent_pointer()].erase(place.back());
        follow(without);
    }
    EXPECT_LT(700, refusedCount);
}

}  // namespace

#include "names/CatalogueNames.h"

#include <gtest/gtest.h>
#include <toolbox/CFString.h>

#include <string>

namespace {

using toolbox::files::IsSpecName;
using toolbox::files::NameOfSpec;
using toolbox::files::NodeOfSpecName;
using toolbox::files::SpecName;

std::string SpecOf(std::u16string_view inName, UInt32 inNode = 0x1A2B3, std::size_t inMax = 31) {
    Str255 name;
    SpecName(inName, inNode, name, inMax);
    return {reinterpret_cast<const char*>(name) + 1, name[0]};
}

UInt32 NodeOf(const std::string& inName) {
    const std::string pascal = static_cast<char>(inName.size()) + inName;
    return NodeOfSpecName(reinterpret_cast<const unsigned char*>(pascal.data()));
}

TEST(SpecNames, ThatFit) {
    EXPECT_EQ("name.txt", SpecOf(u"name.txt"));
    EXPECT_EQ(std::string(31, 'n'), SpecOf(std::u16string(31, u'n')));
    EXPECT_EQ("caf\xC3\xA9", SpecOf(u"caf\u00E9"));
    EXPECT_EQ("a#12.txt", SpecOf(u"a#12.txt"));
}

// Of a character in an encoding; 0 where it has none, and where there is no such encoding.
int BytesIn(CFStringEncoding inEncoding, char inCharacter) {
    const UniChar unit = static_cast<unsigned char>(inCharacter);
    const CFStringRef string = CFStringCreateWithCharacters(kCFAllocatorDefault, &unit, 1);
    Str255 bytes = {};
    const bool isThere = CFStringGetPascalString(string, bytes, sizeof bytes, inEncoding) != 0;
    CFRelease(string);
    return isThere ? bytes[0] : 0;
}

TEST(SpecNames, ThatFitInEveryEncoding) {
    std::string plain;
    for (char byte = ' '; byte < '~'; ++byte)
        if (byte != '\\') plain += byte;
    EXPECT_TRUE(IsSpecName(std::string(31, 'n')));
    EXPECT_TRUE(IsSpecName(""));
    EXPECT_FALSE(IsSpecName(std::string(32, 'n')));
    for (const char* const name : {"a\\b", "~", "\x1F", "\x7F", "caf\xC3\xA9", "\xFF"})
        EXPECT_FALSE(IsSpecName(name)) << name;
    for (std::size_t start = 0; start < plain.size(); start += 31)
        EXPECT_TRUE(IsSpecName(plain.substr(start, 31)));
    int encodingCount = 0;
    for (CFStringEncoding encoding = 0; encoding < 0x1000; ++encoding) {
        if (BytesIn(encoding, 'a') != 1) continue;
        ++encodingCount;
        for (const char byte : plain)
            EXPECT_EQ(1, BytesIn(encoding, byte)) << encoding << ' ' << byte;
    }
    EXPECT_GT(encodingCount, 30);
}

TEST(SpecNames, ThatTellTheirNode) {
    struct Row {
        std::u16string name;
        UInt32 node;
        const char* expected;
    };
    const Row kRows[] = {
        {std::u16string(32, u'n'), 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},
        {std::u16string(32, u'n'), 0xFFFFFFFF, "nnnnnnnnnnnnnnnnnnnnnn#FFFFFFFF"},
        {std::u16string(32, u'n'), 16, "nnnnnnnnnnnnnnnnnnnnnnnnnnnn#10"},
        {std::u16string(40, u'n') + u".txt", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnn#1A2B3.txt"},
        {std::u16string(40, u'n') + u".jpeg", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnn#1A2B3.jpeg"},
        {std::u16string(40, u'n') + u".jpegs", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},  // no extension
        {std::u16string(40, u'n') + u".t\u00E9", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},
        {std::u16string(40, u'n') + u".a b", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},
        {std::u16string(40, u'n') + u".c#", 0x1A2B3,
         "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},  // two would be one too many
        {std::u16string(40, u'n') + u".#12", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},
        {std::u16string(40, u'n') + u".", 0x1A2B3, "nnnnnnnnnnnnnnnnnnnnnnnn#1A2B3."},
        {u"." + std::u16string(40, u'n'), 0x1A2B3, ".nnnnnnnnnnnnnnnnnnnnnnnn#1A2B3"},
        // Characters of three bytes: eight of them in 25 bytes.
        {std::u16string(20, u'\u3042'), 0x1A2B3,
         "\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82#"
         "1A2B3"},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(row.expected, SpecOf(row.name, row.node));
    for (const Row& row : kRows)
        EXPECT_EQ(row.node, NodeOf(row.expected)) << row.expected;
}

TEST(SpecNames, WhatTheEncodingDoesNotHave) {
    EXPECT_EQ("a?b#1A2B3", SpecOf(std::u16string(u"a\xD83D"
                                                 u"b")));
}

TEST(SpecNames, LessRoom) {
    EXPECT_EQ("exactly seven-and-twenty...", SpecOf(u"exactly seven-and-twenty...", 5, 27));
    EXPECT_EQ("exactly seven-and-twenty#5.", SpecOf(u"exactly seven-and-twenty....", 5, 27));
    EXPECT_EQ("n#FFFFFFFF.jpeg", SpecOf(u"nnnnnnnnnnnnnnn.jpeg", 0xFFFFFFFF, 15));
}

TEST(SpecNames, NodeThatANameTells) {
    struct Row {
        const char* name;
        UInt32 node;
    };
    constexpr Row kRows[] = {
        {"name#1A2B3", 0x1A2B3},
        {"name#1A2B3.txt", 0x1A2B3},
        {"#FFFFFFFF", 0xFFFFFFFF},
        {"a#1#2.x", 2},
        {"name#1a2b3", 0x1A2B3},
        {"name", 0},
        {"name#", 0},
        {"name#.txt", 0},
        {"name#12G", 0},
        {"name#123456789", 0},
        {"", 0},
        {"#", 0},
        {"name#-1", 0},
        {"name#0x1", 0},
        {"name#12 ", 0},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(row.node, NodeOf(row.name)) << row.name;
}

TEST(SpecNames, AsCatalogueNames) {
    std::u16string name;
    EXPECT_TRUE(NameOfSpec(reinterpret_cast<const unsigned char*>("\5caf\xC3\xA9"), name));
    EXPECT_EQ(u"caf\u00E9", name);
    EXPECT_TRUE(NameOfSpec(reinterpret_cast<const unsigned char*>("\0"), name));
    EXPECT_EQ(u"", name);
    EXPECT_FALSE(NameOfSpec(reinterpret_cast<const unsigned char*>("\1\xFF"), name));
}

}  // namespace

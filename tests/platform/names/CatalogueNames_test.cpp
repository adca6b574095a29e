#include "names/CatalogueNames.h"

#include <gtest/gtest.h>
#include <toolbox/CFString.h>

#include <iterator>
#include <random>
#include <string>

namespace {

using toolbox::files::CatalogueName;
using toolbox::files::DiskName;
using toolbox::files::FoldDiskName;
using toolbox::files::FoldedName;
using toolbox::files::IsASCIIName;
using toolbox::files::IsSameName;
using toolbox::files::SetASCIIName;
using toolbox::files::SetUniStr;

std::string OnDisk(std::u16string_view inName) {
    std::string name = "untouched";
    return DiskName(inName, name) ? name : "refused";
}

TEST(CatalogueNames, Table) {
    struct Row {
        const char* disk;
        std::u16string catalogue;
    };
    const Row kRows[] = {
        {"name.txt", u"name.txt"},
        {"a:b", u"a/b"},
        {"\xC3\xA9", u"\u00E9"},
        {"e\xCC\x81", u"e\u0301"},
        {"\xE3\x81\x82", u"\u3042"},
        {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\x80", u"\uF780"},
        {"a\xFFz", u"a\uF7FFz"},
        {"\xC3", u"\uF7C3"},
        {"\xC3\xC3\xA9", u"\uF7C3\u00E9"},
        {"\xC0\xAF", u"\uF7C0\uF7AF"},                      // overlong
        {"\xE0\x80\xAF", u"\uF7E0\uF780\uF7AF"},            // overlong
        {"\xED\xA0\x80", u"\uF7ED\uF7A0\uF780"},            // a surrogate
        {"\xF4\x90\x80\x80", u"\uF7F4\uF790\uF780\uF780"},  // beyond Unicode
        {"\xF0\x80\x80\x80", u"\uF7F0\uF780\uF780\uF780"},  // overlong
        {"\xEF\x9E\x80", u"\uF7EF\uF79E\uF780"},            // U+F780 itself
        {"\xEF\x9F\xBF", u"\uF7EF\uF79F\uF7BF"},            // U+F7FF itself
        {"\xEF\x9D\xBF\xEF\xA0\x80", u"\uF77F\uF800"},      // those beside them
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(row.catalogue, CatalogueName(row.disk)) << row.disk;
        EXPECT_EQ(row.disk, OnDisk(row.catalogue)) << row.disk;
    }
    EXPECT_EQ(u"", CatalogueName(""));
}

// As programs get them: without memory where they are ASCII, and the same.
TEST(CatalogueNames, ThoseOfASCII) {
    EXPECT_FALSE(IsASCIIName(""));
    const auto check = [](const std::string& inName) {
        HFSUniStr255 name = {};
        HFSUniStr255 expected = {};
        SetASCIIName(inName, name);
        SetUniStr(CatalogueName(inName), expected);
        ASSERT_EQ(+expected.length, +name.length);
        for (std::size_t i = 0; i < std::size(name.unicode); ++i)
            EXPECT_EQ(+expected.unicode[i], +name.unicode[i]) << i;
    };
    for (int byte = 1; byte < 0x100; ++byte) {
        for (const std::size_t at : {0U, 1U, 20U}) {
            std::string name(21, 'n');
            name[at] = static_cast<char>(byte);
            EXPECT_EQ(byte < 0x80, IsASCIIName(name)) << byte << " at " << at;
            if (byte < 0x80) check(name);
        }
    }
    check(std::string(255, 'n'));
    check(std::string(300, 'n'));
}

TEST(CatalogueNames, AnyBytesComeBack) {
    std::string name;
    for (int first = 1; first < 256; ++first)
        for (int second = 1; second < 256; ++second) {
            if (first == '/' || second == '/' || (first == '.' && second == '.')) continue;
            name = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(name, OnDisk(CatalogueName(name))) << first << " " << second;
        }
    std::minstd_rand random(7);
    for (int round = 0; round < 20'000; ++round) {
        name.clear();
        for (unsigned left = 3 + random() % 8; left > 0; --left)
            name += static_cast<char>(random() % 2 == 0 ? 0x80 + random() % 128 : 0xE0 + random() % 32);
        ASSERT_EQ(name, OnDisk(CatalogueName(name)));
        ASSERT_LE(CatalogueName(name).size(), name.size());
    }
}

TEST(CatalogueNames, NoNames) {
    for (const std::u16string& name :
         {std::u16string(), std::u16string(u"."), std::u16string(u".."), std::u16string(u"a\0b", 3),
          std::u16string(1, u'\xD83D'), std::u16string(1, u'\xDE00'), std::u16string(u"\xDE00\xD83D"),
          std::u16string(u"\xD83Dx")})
        EXPECT_EQ("refused", OnDisk(name));
    EXPECT_EQ("...", OnDisk(u"..."));
}

TEST(CatalogueNames, SameNames) {
    EXPECT_TRUE(IsSameName(u"Name", u"nAME"));
    EXPECT_TRUE(IsSameName(u"caf\u00E9", u"CAFE\u0301"));
    EXPECT_FALSE(IsSameName(u"cafe", u"caf\u00E9"));
    EXPECT_FALSE(IsSameName(u"name", u"name2"));
    EXPECT_TRUE(IsSameName(u"", u""));
}

bool AreEqualStrings(const std::u16string& inLeft, const std::u16string& inRight) {
    const auto make = [](const std::u16string& inText) {
        return CFStringCreateWithCharacters(kCFAllocatorDefault,
                                            reinterpret_cast<const UniChar*>(inText.data()),
                                            static_cast<CFIndex>(inText.size()));
    };
    const CFStringRef left = make(inLeft);
    const CFStringRef right = make(inRight);
    const CFComparisonResult result =
        CFStringCompare(left, right, kCFCompareCaseInsensitive | kCFCompareNonliteral);
    CFRelease(left);
    CFRelease(right);
    return result == kCFCompareEqualTo;
}

// Pieces whose case and composition meet: each of a row is the same as some other.
TEST(CatalogueNames, FoldedNamesAreEqualWhereNamesAreTheSame) {
    const std::u16string kPieces[] = {
        u"a",          u"A",          u"e\u0301", u"\u00E9",      u"\u00C9", u"k",      u"\u212A",
        u"\u00DF",     u"ss",         u"\u1E9E",  u"\u0345",      u"\u03B9", u"\u1FB3", u"\u03B1",
        u"\u212B",     u"\u00E5",     u"\uFB01",  u"fi",          u"\u03A3", u"\u03C2", u"\u0316",
        u"\u0301",     u"\u1E69",     u"\u0323",  u"s",           u"\u0307", u"\u0130", u"i\u0307",
        u"\U00010400", u"\U00010428", u"\uAC00",  u"\u1100\u1161"};
    std::minstd_rand random(11);
    const auto make = [&] {
        std::u16string name;
        for (unsigned left = 1 + random() % 3; left > 0; --left)
            name += kPieces[random() % std::size(kPieces)];
        return name;
    };
    int sameCount = 0;
    for (int round = 0; round < 20'000; ++round) {
        const std::u16string left = make();
        const std::u16string right = make();
        const bool areSame = AreEqualStrings(left, right);
        ASSERT_EQ(areSame, FoldedName(left) == FoldedName(right)) << round;
        ASSERT_EQ(areSame, IsSameName(left, right)) << round;
        sameCount += areSame;
    }
    EXPECT_GT(sameCount, 100);
}

TEST(CatalogueNames, FoldedNamesOfTheDisk) {
    std::u16string folded = u"of the one before";
    for (const char* const name :
         {"", "plain", "UPPER:lower/ @[`{", "caf\xC3\xA9", "CAFE\xCC\x81", "no\xFF", "A\x01"}) {
        FoldDiskName(name, folded);
        EXPECT_EQ(FoldedName(CatalogueName(name)), folded) << name;
    }
    for (int byte = 1; byte < 256; ++byte) {
        const std::string name = {'x', static_cast<char>(byte), 'Y'};
        FoldDiskName(name, folded);
        EXPECT_EQ(FoldedName(CatalogueName(name)), folded) << byte;
    }
    FoldDiskName("A:B", folded);
    EXPECT_EQ(u"a/b", folded);
}

}  // namespace

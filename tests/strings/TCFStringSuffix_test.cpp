#include "OnDoubles.h"

namespace {

class TCFStringSuffixTest : public OnDoubles {};

std::u16string SuffixOf(const std::u16string& inText) {
    return UnitsOf(Units(inText).Suffix());
}
std::u16string WithoutSuffix(const std::u16string& inText) {
    return UnitsOf(Units(inText).RemoveSuffix());
}
std::u16string NameOf(const std::u16string& inText, long inMaxLength) {
    return UnitsOf(Units(inText).HFSName(inMaxLength));
}

TEST_F(TCFStringSuffixTest, Suffix) {
    EXPECT_EQ(u".gz", SuffixOf(u"archive.tar.gz"));
    EXPECT_EQ(u"", SuffixOf(u"README"));
    EXPECT_EQ(u".", SuffixOf(u"file."));
    EXPECT_EQ(u".abcdefghijk", SuffixOf(u"x.abcdefghijk")) << "12 units";
    EXPECT_EQ(u"", SuffixOf(u"x.abcdefghijkl")) << "13 units";
    EXPECT_EQ(u".profile", SuffixOf(u".profile"));
    EXPECT_EQ(u".final draft", SuffixOf(u"report.final draft")) << "blanks do not matter here";
    EXPECT_EQ(u".", SuffixOf(u"."));
    EXPECT_EQ(u"", SuffixOf(u""));
}

TEST_F(TCFStringSuffixTest, NoSuffixIsTheEmptyString) {
    EXPECT_TRUE(IsTheEmptyString(Units(u"README").Suffix()));
    EXPECT_TRUE(IsTheEmptyString(Units(u"x.abcdefghijkl").Suffix()));
}

TEST_F(TCFStringSuffixTest, RemoveSuffix) {
    EXPECT_EQ(u"my file", WithoutSuffix(u"my file.txt"));
    EXPECT_EQ(u"archive.tar", WithoutSuffix(u"archive.tar.gz"));
    EXPECT_EQ(u"report.final draft", WithoutSuffix(u"report.final draft"));
    EXPECT_EQ(u"noext", WithoutSuffix(u"noext"));
    EXPECT_EQ(u"", WithoutSuffix(u".profile"));
    EXPECT_EQ(u"file", WithoutSuffix(u"file."));
    EXPECT_EQ(u"file. ", WithoutSuffix(u"file. "));
    EXPECT_EQ(u"x", WithoutSuffix(u"x.abcdefghijk"));
    EXPECT_EQ(u"x.abcdefghijkl", WithoutSuffix(u"x.abcdefghijkl"));
    EXPECT_EQ(u"", WithoutSuffix(u""));
}

TEST_F(TCFStringSuffixTest, WithoutASuffixTheStringItselfIsAnswered) {
    for (const char16_t* text : {u"noext", u"report.final draft", u"x.abcdefghijkl", u""}) {
        const TCFString string = Units(text);
        EXPECT_EQ(string.StringRef(), string.RemoveSuffix().StringRef());
    }
}

TEST_F(TCFStringSuffixTest, HFSName) {
    EXPECT_EQ(u"averyl.txt", NameOf(u"averylongname.txt", 10));
    EXPECT_EQ(u"averylongn", NameOf(u"averylongnamewithoutdot", 10));
    EXPECT_EQ(u"a_b_c", NameOf(u"a:b:c", 0));
    EXPECT_EQ(u"name.ave", NameOf(u"name.averylongextension", 8));
    EXPECT_EQ(u"", NameOf(u"", 0));
    EXPECT_EQ(u"", NameOf(u"", 5));
}

TEST_F(TCFStringSuffixTest, HFSNameOfWhatFits) {
    EXPECT_EQ(u"name.txt", NameOf(u"name.txt", 8));
    EXPECT_EQ(u"name.txt", NameOf(u"name.txt", 0)) << "no limit";
    EXPECT_EQ(u"name.txt", NameOf(u"name.txt", -1));
    const TCFString string = Units(u"name.txt");
    EXPECT_EQ(string.StringRef(), string.HFSName(255).StringRef());
}

TEST_F(TCFStringSuffixTest, HFSNameKeepsASuffixShorterThanTheLimit) {
    EXPECT_EQ(u"n.txt", NameOf(u"name.txt", 5));
    EXPECT_EQ(u"name", NameOf(u"name.txt", 4)) << "the suffix alone would fill it";
    EXPECT_EQ(u"na", NameOf(u"name.txt", 2));
    EXPECT_EQ(u"n", NameOf(u"name.txt", 1));
    EXPECT_EQ(u"nam.", NameOf(u"name5.", 4)) << "a suffix of a dot alone";
}

TEST_F(TCFStringSuffixTest, HFSNameChangesColonsAfterTheCut) {
    EXPECT_EQ(u"_____", NameOf(u":::::", 0));
    EXPECT_EQ(u"a_.x_y", NameOf(u"a:bcdefgh.x:y", 6));
    EXPECT_EQ(u"ab", NameOf(u"ab:c", 2));
}

TEST_F(TCFStringSuffixTest, HFSNameOfManyColonsCopiesOnce) {
    const TCFString string = Units(std::u16string(10000, u':'));
    EXPECT_EQ(std::u16string(10000, u'_'), UnitsOf(string.HFSName(0)));
    EXPECT_EQ(1u, fakes::CallsOf({"CFStringCreateMutableCopy"}).size());
}

TEST_F(TCFStringSuffixTest, HFSNameWithoutMemoryEnds) {
    const TCFString string = Units(u"a:very:long:name.txt");
    int failures = 0;
    for (;; ++failures) {
        fakes::FailCall(failures + 1);
        const TCFString name = string.HFSName(10);
        if (!fakes::FailureDelivered()) break;
        EXPECT_LE(name.Length(), 10) << "call " << failures + 1;
    }
    EXPECT_EQ(4, failures) << "suffix, front, both together, and the copy to change";
}

}  // namespace

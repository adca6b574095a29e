#include "PascalBuffer.h"
#include "fakes/Calls.h"
#include "strings/NaiveByteStrings.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <strings/PascalStrings.h>

#include <random>
#include <string>

namespace {

using P = PascalBuffer;

TEST(PascalSuffix, Remove) {
    for (const auto& [text, expected] : {std::pair{"photo.jpeg", "photo"},
                                         {"photo.j", "photo"},
                                         {"photo.", "photo"},
                                         {"photo", "photo"},
                                         {"", ""},
                                         {".", ""},
                                         {".txt", ""},
                                         {"a.b.c", "a.b"},
                                         {"a..", "a."},
                                         {"name.12345", "name"},
                                         {"name.123456", "name.123456"},
                                         {"archive.backup", "archive.backup"}}) {
        P buffer(text);
        PStrRemoveSuffix(buffer);
        EXPECT_EQ(expected, buffer.Text()) << text;
    }
}

TEST(PascalSuffix, ADotBehindTheTextEndsTheSearch) {
    P buffer("photo.jpeg", '.');
    PStrRemoveSuffix(buffer);
    EXPECT_EQ("photo.jpeg", buffer.Text());
    P empty("", '.');
    PStrRemoveSuffix(empty);
    EXPECT_EQ("", empty.Text());
    P almost(Filler(250) + ".abc", '.');
    PStrRemoveSuffix(almost);
    EXPECT_EQ(Filler(250) + ".abc", almost.Text());
}

// The longest text fills its buffer.
TEST(PascalSuffix, NothingIsBehindTheLongestText) {
    P buffer(Filler(251) + ".abc", '.');
    PStrRemoveSuffix(buffer);
    EXPECT_EQ(Filler(251), buffer.Text());
}

TEST(PascalSuffix, TheLengthByteIsNoDot) {
    P buffer(Filler('.'));
    PStrRemoveSuffix(buffer);
    EXPECT_EQ(Filler('.'), buffer.Text());
}

TEST(PascalSuffix, NothingBeforeTheStringIsLookedAt) {
    char buffer[] = "....\3abc";
    auto* const text = reinterpret_cast<unsigned char*>(buffer) + 4;
    unsigned char suffix[256];
    PStrRemoveSuffix(text);
    EXPECT_EQ(3, text[0]);
    PStrExtractSuffix(text, suffix);
    EXPECT_EQ(3, text[0]);
    EXPECT_EQ(0, suffix[0]);
    EXPECT_EQ(0, PStrHasSuffix(text, P("")));
}

TEST(PascalSuffix, Extract) {
    for (const auto& [text, stem, suffix] : {std::tuple{"photo.jpeg", "photo", ".jpeg"},
                                             {"archive.backup", "archive.backup", ""},
                                             {"name.12345", "name", ".12345"},
                                             {"photo", "photo", ""},
                                             {"photo.", "photo", "."},
                                             {".txt", "", ".txt"},
                                             {"a.b.c", "a.b", ".c"},
                                             {"", "", ""}}) {
        P buffer(text, '.'), extracted("before");
        PStrExtractSuffix(buffer, extracted);
        EXPECT_EQ(stem, buffer.Text()) << text;
        EXPECT_EQ(suffix, extracted.Text()) << text;
    }
}

TEST(PascalSuffix, Has) {
    EXPECT_EQ(1, PStrHasSuffix(P("file.TXT"), P(".txt")));
    EXPECT_EQ(1, PStrHasSuffix(P("file.txt"), P(".TXT")));
    EXPECT_EQ(0, PStrHasSuffix(P("file.TXT"), P("txt"))) << "the dot belongs to it";
    EXPECT_EQ(0, PStrHasSuffix(P("file.TXT"), P(".tx")));
    EXPECT_EQ(0, PStrHasSuffix(P("file.tx"), P(".txt")));
    EXPECT_EQ(0, PStrHasSuffix(P("file"), P("")));
    EXPECT_EQ(0, PStrHasSuffix(P(""), P("")));
    EXPECT_EQ(1, PStrHasSuffix(P("file."), P(".")));
    EXPECT_EQ(1, PStrHasSuffix(P("caf.\x8E"), P(".\x83"))) << "letters beyond ASCII";
    EXPECT_EQ(1, PStrHasSuffix(P("a.12345"), P(".12345")));
    EXPECT_EQ(0, PStrHasSuffix(P("a.123456"), P(".123456")));
    EXPECT_EQ(0, PStrHasSuffix(P("a.b.c"), P(".b.c")));
    EXPECT_EQ(0, PStrHasSuffix(P("a.txt"), P(std::string(255, '.'))));
    EXPECT_EQ(0, PStrHasSuffix(P("photo", '.'), P(".")));
}

TEST(PascalSuffix, HasChangesNeither) {
    P text("file.txt"), suffix(".TxT");
    PStrHasSuffix(text, suffix);
    EXPECT_EQ("file.txt", text.Text());
    EXPECT_EQ(".TxT", suffix.Text());
}

// All texts of up to nine bytes of two kinds, and what may be behind.
TEST(PascalSuffix, AgainstTheModel) {
    for (int length = 0; length <= 9; ++length)
        for (int pattern = 0; pattern < 1 << length; ++pattern)
            for (const char behind : {'.', 'x'}) {
                std::string text;
                for (int i = 0; i < length; ++i)
                    text += (pattern >> i & 1) != 0 ? '.' : 'a';
                P removed(text, static_cast<unsigned char>(behind)), extracted(text), suffix;
                PStrRemoveSuffix(removed);
                ASSERT_EQ(naive::RemoveSuffix(text, behind), removed.Text()) << text << behind;
                PStrExtractSuffix(extracted, suffix);
                ASSERT_EQ(naive::Suffix(text), suffix.Text()) << text;
                ASSERT_EQ(text, extracted.Text() + suffix.Text());
                ASSERT_EQ(naive::HasSuffix(text, ".AA"), PStrHasSuffix(P(text), P(".AA")) != 0) << text;
            }
}

TEST(PascalSuffix, RandomTextsAgainstTheModel) {
    std::mt19937 random(20);
    for (int run = 0, runs = support::Rounds(20000); run < runs; ++run) {
        std::string text(random() % 256, '\0'), asked(random() % 8, '\0');
        for (char& character : text)
            character = "abAB.\x01\x7F"[random() % 7];
        for (char& character : asked)
            character = ".aB"[random() % 3];
        const auto behind = static_cast<unsigned char>(random() % 3 == 0 ? '.' : random());
        P removed(text, behind), extracted(text, behind), suffix;
        PStrRemoveSuffix(removed);
        ASSERT_EQ(naive::RemoveSuffix(text, static_cast<char>(behind)), removed.Text());
        PStrExtractSuffix(extracted, suffix);
        ASSERT_EQ(naive::Suffix(text), suffix.Text());
        ASSERT_EQ(text, extracted.Text() + suffix.Text());
        ASSERT_EQ(naive::HasSuffix(text, asked), PStrHasSuffix(P(text), P(asked)) != 0)
            << text << ' ' << asked;
        fakes::StartScenario();
    }
}

}  // namespace

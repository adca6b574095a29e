#include "movies/aac/ID3Texts.h"

#include "fakes/ADTSWriter.h"
#include "fakes/MemoryFile.h"

#include <gtest/gtest.h>
#include <toolbox/MovieTags.h>

#include <string>
#include <utility>
#include <vector>

namespace toolbox::movies {
namespace {

using namespace std::string_literals;
using mirtal::fakes::ADTSWriter;
using mirtal::fakes::NewMemoryFile;
using Pairs = std::vector<std::pair<std::uint32_t, std::string>>;

std::string BigEndian(std::size_t inNumber, int inByteCount) {
    std::string bytes;
    for (int shift = 8 * (inByteCount - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(inNumber >> shift);
    return bytes;
}

std::string Syncsafe(std::size_t inNumber) {
    std::string bytes;
    for (int shift = 21; shift >= 0; shift -= 7)
        bytes += static_cast<char>(inNumber >> shift & 0x7F);
    return bytes;
}

// A frame of version 3 or 4.
std::string Frame(int inVersion, const std::string& inName, const std::string& inContent, char inFlags = 0) {
    return inName + (inVersion == 3 ? BigEndian(inContent.size(), 4) : Syncsafe(inContent.size())) + '\0' +
           inFlags + inContent;
}

std::string Frame2(const std::string& inName, const std::string& inContent) {
    return inName + BigEndian(inContent.size(), 3) + inContent;
}

std::string Tag(int inVersion, const std::string& inBody, char inFlags = 0) {
    return "ID3"s + static_cast<char>(inVersion) + '\0' + inFlags + Syncsafe(inBody.size()) + inBody;
}

Pairs TextsOf(const std::string& inTags) {
    const auto file = NewMemoryFile(inTags + ADTSWriter().Dummies(3, 20).Result());
    Pairs texts;
    for (const MovieTag& tag : ReadID3Texts(*file))
        texts.emplace_back(tag.tag, tag.text);
    return texts;
}

Pairs Title(const std::string& inText) {
    return {{kMovieTagTitle, inText}};
}

TEST(ID3Texts, ByTheirNames) {
    const Pairs all = {{kMovieTagTitle, "1"},   {kMovieTagArtist, "2"},    {kMovieTagAlbum, "3"},
                       {kMovieTagDate, "1999"}, {kMovieTagGenre, "5"},     {kMovieTagTrackNumber, "3/12"},
                       {kMovieTagComment, "7"}, {kMovieTagCopyright, "8"}, {kMovieTagComposer, "9"},
                       {kMovieTagEncoder, "10"}};
    for (const int version : {3, 4}) {
        const auto frame = [version](const char* inName, const std::string& inText) {
            return Frame(version, inName, '\3' + inText);
        };
        EXPECT_EQ(
            all, TextsOf(Tag(version, frame("TIT2", "1") + frame("TPE1", "2") + frame("TALB", "3") +
                                          frame(version == 3 ? "TYER" : "TDRC", "1999") + frame("TCON", "5") +
                                          frame("TRCK", "3/12") + frame("COMM", "eng\0007"s) +
                                          frame("TCOP", "8") + frame("TCOM", "9") + frame("TSSE", "10") +
                                          frame("TBPM", "no text of ours") + "\0\0\0"s)));
    }
    const auto frame = [](const char* inName, const std::string& inText) {
        return Frame2(inName, '\0' + inText);
    };
    EXPECT_EQ(
        all, TextsOf(Tag(2, frame("TT2", "1") + frame("TP1", "2") + frame("TAL", "3") + frame("TYE", "1999") +
                                frame("TCO", "5") + frame("TRK", "3/12") + frame("COM", "eng\0007"s) +
                                frame("TCR", "8") + frame("TCM", "9") + frame("TSS", "10"))));
}

TEST(ID3Texts, InEveryEncoding) {
    const std::string wide = "T\0\xE4\0\x3D\xD8\x00\xDE"s;
    const std::string narrow = "T\xC3\xA4\xF0\x9F\x98\x80";
    for (const auto& [content, text] :
         {std::pair("\0T\xE4st"s, "T\xC3\xA4st"s), std::pair("\1\xFF\xFE"s + wide, narrow),
          std::pair("\1\xFE\xFF\0T\0\xE4"s, "T\xC3\xA4"s), std::pair("\2\0T\0\xE4\0\0\0x"s, "T\xC3\xA4"s),
          std::pair('\3' + narrow, narrow), std::pair("\3one\0two"s, "one"s)})
        EXPECT_EQ(Title(text), TextsOf(Tag(4, Frame(4, "TIT2", content)))) << text;
    for (const std::string& content : {""s, "\3"s, "\1\xFF\xFE"s, "\2\xD8\0\0T"s, "\2T"s})
        EXPECT_EQ(Pairs{}, TextsOf(Tag(4, Frame(4, "TIT2", content)))) << content;
}

TEST(ID3Texts, CommentsOfProgramsAreNone) {
    EXPECT_EQ((Pairs{{kMovieTagComment, "words"}}),
              TextsOf(Tag(3, Frame(3, "COMM", "\0engiTunNORM\0 0001"s) + Frame(3, "COMM", "\0eng\0words"s))));
    EXPECT_EQ((Pairs{{kMovieTagComment, "words"}}),
              TextsOf(Tag(4, Frame(4, "TXXX", "\3other\0none"s) + Frame(4, "TXXX", "\3comment\0words"s))));
    EXPECT_EQ((Pairs{{kMovieTagComment, "w"}}),
              TextsOf(Tag(3, Frame(3, "COMM", "\1eng\xFF\xFE\0\0\xFF\xFEw\0"s))));
    EXPECT_EQ(Pairs{}, TextsOf(Tag(3, Frame(3, "COMM", "\0en"s))));
}

TEST(ID3Texts, TheFirstOfANameCountsInAllTags) {
    const std::string first = Tag(4, Frame(4, "TIT2", "\3first") + Frame(4, "TIT2", "\3second"));
    EXPECT_EQ((Pairs{{kMovieTagTitle, "first"}, {kMovieTagArtist, "a"}}),
              TextsOf(first + Tag(3, Frame(3, "TIT2", "\0third"s) + Frame(3, "TPE1", "\0a"s))));
}

// Zeros stand behind each 0xFF: in the whole tag up to version 3, in the frames that say so from version 4
// on.
TEST(ID3Texts, UnsynchronisedTags) {
    const std::string picture = Frame(3, "APIC", "\xFF\xFFx"s);
    const std::string stored = picture.substr(0, 10) + "\xFF\0\xFF\0x"s;
    EXPECT_EQ(Title("\xC3\xBF"
                    "e"),
              TextsOf(Tag(3,
                          stored + Frame(3, "TIT2",
                                         "\0\xFF"
                                         "e"s),
                          '\x80')));
    EXPECT_EQ(Title("\xC3\xBF\xC3\xBF"), TextsOf(Tag(4, Frame(4, "TIT2", "\0\xFF\0\xFF\0"s, 0x02), '\x80')));
}

TEST(ID3Texts, WhatStandsAroundAText) {
    EXPECT_EQ(Title("a"),
              TextsOf(Tag(3, BigEndian(6, 4) + std::string(6, 'x') + Frame(3, "TIT2", "\0a"s), 0x40)));
    EXPECT_EQ(Title("a"), TextsOf(Tag(4, Syncsafe(6) + "\1\0"s + Frame(4, "TIT2", "\3a"), 0x40)));
    EXPECT_EQ(Title("a"), TextsOf(Tag(3, Frame(3, "TIT2", "g\0a"s, 0x20))));
    EXPECT_EQ(Title("a"), TextsOf(Tag(4, Frame(4, "TIT2", "g\0\0\0\2\3a"s, 0x41))));
    for (const char flags : {'\x80', '\x40'})
        EXPECT_EQ(Pairs{}, TextsOf(Tag(3, Frame(3, "TIT2", "\0a"s, flags))));
    for (const char flags : {'\x08', '\x04'})
        EXPECT_EQ(Pairs{}, TextsOf(Tag(4, Frame(4, "TIT2", "\3a", flags))));
    EXPECT_EQ(Pairs{}, TextsOf(Tag(2, Frame2("TT2", "\0a"s), 0x40))) << "compressed";
}

TEST(ID3Texts, BehindPicturesAndLongTexts) {
    const std::string title = Frame(4, "TIT2", "\3a");
    EXPECT_EQ(Title("a"), TextsOf(Tag(4, Frame(4, "APIC", std::string(600000, '\xFF')) + title)));
    EXPECT_EQ(Title("a"), TextsOf(Tag(4, Frame(4, "TIT2", '\3' + std::string(32768, 'x')) + title)));
}

TEST(ID3Texts, DamagedTags) {
    EXPECT_EQ(Pairs{}, TextsOf(""));
    EXPECT_EQ(Pairs{}, TextsOf(Tag(1, Frame(4, "TIT2", "\3a"))));
    EXPECT_EQ(Pairs{}, TextsOf(Tag(5, Frame(4, "TIT2", "\3a"))));
    const std::string long3 = "TPE1\xFF\xFF\xFF\xFF\0\0\0a"s;
    EXPECT_EQ(Title("a"), TextsOf(Tag(3, Frame(3, "TIT2", "\0a"s) + long3)));
    const std::string whole = Tag(4, Frame(4, "TIT2", "\3a") + Frame(4, "TPE1", "\3b"));
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const auto file = NewMemoryFile(whole.substr(0, size));
        EXPECT_EQ(size < 22 ? 0U : size < whole.size() ? 1U : 2U, ReadID3Texts(*file).size()) << size;
    }
    for (const char flags : {'\0', '\x80'})
        EXPECT_EQ(Pairs{}, TextsOf(Tag(3, "\xFF\xFF\xFF\xFF"s, static_cast<char>(flags | 0x40))));
}

}  // namespace
}  // namespace toolbox::movies

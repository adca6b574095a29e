#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4Tags.h>
#include <toolbox/MovieTags.h>

#include <string>
#include <utility>
#include <vector>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

FileBytes MakeBox(const std::string& inType, const FileBytes& inContent) {
    return mirtal::fakes::Box(inType, inContent);
}

FileBytes Item(const std::string& inType, const FileBytes& inValue, std::uint32_t inKind = 1) {
    return MakeBox(inType, MakeBox("data", Join({U32(inKind), U32(0), inValue})));
}

FileBytes UserData(const FileBytes& inItems) {
    return MakeBox("udta",
                   FullBox("meta", 0, 0, Join({FullBox("hdlr", 0, 0, Zeros(20)), MakeBox("ilst", inItems)})));
}

std::vector<std::pair<std::uint32_t, std::string>> TagsOf(const FileBytes& inUserData) {
    auto file = PlainMovie(10);
    file.moreInMovie = inUserData;
    const ImportResult result = Import(file);
    EXPECT_EQ(noErr, result.status);
    std::vector<std::pair<std::uint32_t, std::string>> tags;
    for (const MovieTag& tag : result.movie.tags)
        tags.emplace_back(tag.tag, tag.text);
    return tags;
}

using Pairs = std::vector<std::pair<std::uint32_t, std::string>>;

TEST(MPEG4Tags, TextsByTheirNames) {
    EXPECT_EQ((Pairs{{kMovieTagTitle, "A title"}, {kMovieTagArtist, "\xC3\x84"}, {kMovieTagComment, "odd"}}),
              TagsOf(UserData(Join({Item("\xA9nam", Text("A title")),
                                    Item("\xA9"
                                         "ART",
                                         Text("\xC3\x84")),
                                    Item("covr", Text("no text"), 13),
                                    Item("\xA9"
                                         "cmt",
                                         Text("odd"))}))));
}

TEST(MPEG4Tags, TrackNumbersAreNumbers) {
    EXPECT_EQ((Pairs{{kMovieTagTrackNumber, "3/12"}}),
              TagsOf(UserData(Item("trkn", Join({U16(0), U16(3), U16(12), U16(0)}), 0))));
    EXPECT_EQ((Pairs{{kMovieTagTrackNumber, "300"}}),
              TagsOf(UserData(Item("trkn", Join({U16(0), U16(300)}), 0))));
    EXPECT_EQ(Pairs{}, TagsOf(UserData(Item("trkn", Join({U16(0), U16(0), U16(12)}), 0))));
    EXPECT_EQ(Pairs{}, TagsOf(UserData(Item("trkn", U8(3), 0))));
}

TEST(MPEG4Tags, TheFirstOfANameCounts) {
    EXPECT_EQ((Pairs{{kMovieTagTitle, "first"}}),
              TagsOf(UserData(Join({Item("\xA9nam", Text("first")), Item("\xA9nam", Text("second"))}))));
}

TEST(MPEG4Tags, WhatIsNoTextIsNone) {
    // UTF-16, nothing at all, an item without a value, a value without its head.
    EXPECT_EQ(
        Pairs{},
        TagsOf(UserData(Join({Item("\xA9nam", Text("xx"), 2),
                              Item("\xA9"
                                   "alb",
                                   {}),
                              MakeBox("\xA9gen", {}), MakeBox("\xA9too", MakeBox("data", Zeros(7)))}))));
    // A text ends with its NUL.
    EXPECT_EQ((Pairs{{kMovieTagTitle, "half"}}),
              TagsOf(UserData(Item("\xA9nam", Join({Text("half"), Zeros(1), Text("gone")})))));
    EXPECT_EQ(Pairs{}, TagsOf(UserData(Item("\xA9nam", Zeros(4)))));
}

TEST(MPEG4Tags, ALongTextIsCut) {
    const Pairs tags =
        TagsOf(UserData(Item("\xA9"
                             "cmt",
                             Text(std::string(100000, 'x')))));
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ(std::string(32768, 'x'), tags[0].second);
}

TEST(MPEG4Tags, DamagedListsAreWalkedAsFarAsTheyGo) {
    EXPECT_EQ((Pairs{{kMovieTagTitle, "kept"}}),
              TagsOf(UserData(Join({Item("\xA9nam", Text("kept")), LyingBox("\xA9"
                                                                            "ART",
                                                                            3, Zeros(20))}))));
    EXPECT_EQ(Pairs{}, TagsOf({}));
    EXPECT_EQ(Pairs{}, TagsOf(MakeBox("udta", {})));
}

}  // namespace
}  // namespace toolbox::movies

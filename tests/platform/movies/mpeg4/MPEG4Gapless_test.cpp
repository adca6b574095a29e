#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4Gapless.h>

#include <string>

namespace toolbox::movies {
namespace {

bool Parse(const std::string& inText, GaplessTag& outTag) {
    return ParseGaplessTag(inText.data(), inText.size(), outTag);
}

TEST(MPEG4Gapless, WholeTag) {
    GaplessTag tag;
    ASSERT_TRUE(Parse(" 00000000 00000840 000002F4 00000000000204CC 00000000 00000000 00000000", tag));
    EXPECT_EQ(2112u, tag.delayFrames);
    EXPECT_EQ(756u, tag.paddingFrames);
    EXPECT_EQ(132300u, tag.soundFrames);
}

TEST(MPEG4Gapless, WithoutLength) {
    GaplessTag tag;
    ASSERT_TRUE(Parse("0 840 2f4", tag));
    EXPECT_EQ(2112u, tag.delayFrames);
    EXPECT_EQ(756u, tag.paddingFrames);
    EXPECT_EQ(0u, tag.soundFrames);
}

TEST(MPEG4Gapless, AnySpaceAndAnyEnd) {
    GaplessTag tag;
    EXPECT_TRUE(Parse("\t0\n1\r2  3", tag));
    EXPECT_EQ(3u, tag.soundFrames);
    EXPECT_TRUE(Parse(std::string("0 1 2 3\0 rest", 13), tag));
    EXPECT_EQ(3u, tag.soundFrames);
}

TEST(MPEG4Gapless, HostileTextLeavesTheTag) {
    const std::string texts[] = {"",
                                 " ",
                                 "0",
                                 "0 1",
                                 "0 1 ",
                                 "x 1 2 3",
                                 "0 1x 2 3",
                                 "0 -1 2 3",
                                 "0 1 100000000 3",
                                 "0 100000000 1 3",
                                 "0 00000000000000001 1",
                                 std::string("0 1 \0 2", 7),
                                 std::string(500, 'f'),
                                 "\xff\xfe\x80 1 2"};
    for (const std::string& text : texts) {
        GaplessTag tag = {5, 6, 7};
        EXPECT_FALSE(Parse(text, tag)) << text;
        EXPECT_EQ(5u, tag.delayFrames);
        EXPECT_EQ(6u, tag.paddingFrames);
        EXPECT_EQ(7u, tag.soundFrames);
    }
}

TEST(MPEG4Gapless, DamagedLengthIsNone) {
    GaplessTag tag;
    EXPECT_TRUE(Parse("0 1 2 zz", tag));
    EXPECT_EQ(0u, tag.soundFrames);
}

struct Applied {
    bool isApplied;
    std::int64_t start;
    std::int64_t sound;
};

Applied Apply(const GaplessTag& inTag, std::int64_t inMediaFrames, std::uint32_t inRatio = 1) {
    GaplessTrim trim;
    const bool isApplied = ApplyGaplessTag(inTag, inMediaFrames, inRatio, trim);
    return {isApplied, trim.startFrames, trim.soundFrames};
}

TEST(MPEG4Gapless, LengthCounts) {
    const Applied applied = Apply({2112, 756, 132300}, 135168);
    EXPECT_TRUE(applied.isApplied);
    EXPECT_EQ(2112, applied.start);
    EXPECT_EQ(132300, applied.sound);
    EXPECT_EQ(100, Apply({2112, 756, 100}, 135168).sound);
}

TEST(MPEG4Gapless, DelayAndPaddingWhereTheLengthDoesNotFit) {
    EXPECT_EQ(132300, Apply({2112, 756, 0}, 135168).sound);
    EXPECT_EQ(132300, Apply({2112, 756, 133057}, 135168).sound);
    EXPECT_EQ(132300, Apply({2112, 756, UINT64_MAX}, 135168).sound);
    EXPECT_EQ(133056, Apply({2112, 756, 133056}, 135168).sound);
}

TEST(MPEG4Gapless, WhatDoesNotFitIsNotApplied) {
    EXPECT_FALSE(Apply({2112, 756, 0}, 2868).isApplied);
    EXPECT_TRUE(Apply({2112, 756, 0}, 2869).isApplied);
    EXPECT_FALSE(Apply({UINT32_MAX, UINT32_MAX, 0}, 135168).isApplied);
    EXPECT_FALSE(Apply({UINT32_MAX, 0, 5}, 135168).isApplied);
    EXPECT_FALSE(Apply({0, 0, 0}, 135168).isApplied);
    EXPECT_FALSE(Apply({0, 0, 135168}, 135168).isApplied);
    EXPECT_FALSE(Apply({1, 1, 1}, 0).isApplied);
}

TEST(MPEG4Gapless, CoreFramesCountTwiceWithBandReplication) {
    const Applied applied = Apply({2112, 756, 132300}, 135168 * 2, 2);
    EXPECT_EQ(4224, applied.start);
    EXPECT_EQ(264600, applied.sound);
    EXPECT_EQ(2112, Apply({2112, 756, 132300}, 135168, 2).start);
}

TEST(MPEG4Gapless, FoundInAMovie) {
    auto file = PlainMovie(10);
    file.moreInMovie = mirtal::fakes::GaplessTagBox(" 00000000 00000840 000002F4 0000000000001CCC");
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(7372, result.Sound()->FrameCount());
    EXPECT_EQ(std::uint32_t{2}, result.Sound()->trimSource);
    EXPECT_EQ(2112, result.Sound()->framesTrimmedAtStart);
    EXPECT_EQ(756, result.Sound()->framesTrimmedAtEnd);
}

TEST(MPEG4Gapless, FoundInPlainMetadata) {
    using namespace mirtal::fakes;
    auto file = PlainMovie(10);
    const Bytes item = mirtal::fakes::Box(
        "----", Join({FullBox("name", 0, 0, Text("iTunSMPB")),
                      mirtal::fakes::Box("data", Join({U32(1), U32(0), Text("0 840 2F4 0")}))}));
    file.moreInMovie = mirtal::fakes::Box(
        "udta", mirtal::fakes::Box(
                    "meta", Join({FullBox("hdlr", 0, 0, Zeros(20)), mirtal::fakes::Box("ilst", item)})));
    EXPECT_EQ(7372, Import(file).Sound()->FrameCount());
}

TEST(MPEG4Gapless, AnEditListCountsMore) {
    auto file = PlainMovie(10);
    file.moreInMovie = mirtal::fakes::GaplessTagBox("0 840 2F4 1CCC");
    file.movieTimeScale = 44100;
    file.tracks[0].edits = {{5000, 1024}};
    EXPECT_EQ(5000, Import(file).Sound()->FrameCount());
    file.tracks[0].edits = {{10240, 0}};  // all of it: no word on trimming
    EXPECT_EQ(7372, Import(file).Sound()->FrameCount());
}

TEST(MPEG4Gapless, DamagedMetadataIsNone) {
    using namespace mirtal::fakes;
    for (const Bytes& damaged :
         {mirtal::fakes::Box("udta", {}), mirtal::fakes::Box("udta", mirtal::fakes::Box("meta", {})),
          mirtal::fakes::Box(
              "udta", FullBox("meta", 0, 0, mirtal::fakes::Box("ilst", mirtal::fakes::Box("----", {})))),
          mirtal::fakes::Box("udta", FullBox("meta", 0, 0, LyingBox("ilst", 5000, Zeros(3)))),
          GaplessTagBox(""), GaplessTagBox("what is this")}) {
        auto file = PlainMovie(10);
        file.moreInMovie = damaged;
        const ImportResult result = Import(file);
        ASSERT_EQ(noErr, result.status);
        EXPECT_EQ(10240, result.Sound()->FrameCount());
        EXPECT_EQ(std::uint32_t{0}, result.Sound()->trimSource);
    }
}

}  // namespace
}  // namespace toolbox::movies

#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4Boxes.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

struct Walked {
    std::vector<movies::Box> boxes;
    OSStatus status = 0;
};

Walked WalkAll(const FileBytes& inBytes) {
    const auto file = FileOf(inBytes);
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    Walked walked;
    for (movies::Box box; walk.Next(box);)
        walked.boxes.push_back(box);
    walked.status = boxes.Status();
    return walked;
}

TEST(MPEG4Boxes, TypesAreBigEndian) {
    EXPECT_EQ(0x6d6f6f76u, BoxType("moov"));
}

TEST(MPEG4Boxes, EmptyFileHasNone) {
    EXPECT_TRUE(WalkAll({}).boxes.empty());
}

TEST(MPEG4Boxes, OneAfterTheOther) {
    const Walked walked =
        WalkAll(Join({mirtal::fakes::Box("abcd", {1, 2, 3}), mirtal::fakes::Box("efgh", {})}));
    ASSERT_EQ(2u, walked.boxes.size());
    EXPECT_EQ(BoxType("abcd"), walked.boxes[0].type);
    EXPECT_EQ(0, walked.boxes[0].startBytes);
    EXPECT_EQ(8, walked.boxes[0].contentBytes);
    EXPECT_EQ(11, walked.boxes[0].endBytes);
    EXPECT_EQ(3, walked.boxes[0].ContentSizeBytes());
    EXPECT_FALSE(walked.boxes[0].isCut);
    EXPECT_EQ(19, walked.boxes[1].endBytes);
}

TEST(MPEG4Boxes, LargeSize) {
    const Walked walked = WalkAll(Join({LargeBox("abcd", {1, 2, 3}), mirtal::fakes::Box("efgh", {})}));
    ASSERT_EQ(2u, walked.boxes.size());
    EXPECT_EQ(16, walked.boxes[0].contentBytes);
    EXPECT_EQ(19, walked.boxes[0].endBytes);
}

TEST(MPEG4Boxes, SizeZeroTakesTheRest) {
    const Walked walked = WalkAll(LyingBox("mdat", 0, Zeros(100)));
    ASSERT_EQ(1u, walked.boxes.size());
    EXPECT_EQ(108, walked.boxes[0].endBytes);
    EXPECT_FALSE(walked.boxes[0].isCut);
}

TEST(MPEG4Boxes, PastTheParentIsCut) {
    const Walked walked = WalkAll(LyingBox("mdat", 1000, Zeros(100)));
    ASSERT_EQ(1u, walked.boxes.size());
    EXPECT_EQ(108, walked.boxes[0].endBytes);
    EXPECT_TRUE(walked.boxes[0].isCut);
}

TEST(MPEG4Boxes, HugeLargeSizeIsCut) {
    const Walked walked = WalkAll(Join({U32(1), mirtal::fakes::Text("mdat"), U64(UINT64_MAX), Zeros(10)}));
    ASSERT_EQ(1u, walked.boxes.size());
    EXPECT_TRUE(walked.boxes[0].isCut);
    EXPECT_EQ(26, walked.boxes[0].endBytes);
}

TEST(MPEG4Boxes, SizesSmallerThanTheHeaderEndTheWalk) {
    for (std::uint32_t size = 2; size < 8; ++size)
        EXPECT_TRUE(WalkAll(LyingBox("abcd", size, Zeros(20))).boxes.empty());
    for (std::uint32_t size = 0; size < 16; ++size)
        EXPECT_TRUE(WalkAll(Join({U32(1), mirtal::fakes::Text("abcd"), U64(size), Zeros(20)})).boxes.empty());
}

TEST(MPEG4Boxes, FewerBytesThanAHeader) {
    EXPECT_TRUE(WalkAll({0, 0, 0, 8, 'a', 'b', 'c'}).boxes.empty());
    EXPECT_TRUE(WalkAll(Join({U32(1), mirtal::fakes::Text("abcd"), U32(0)})).boxes.empty());
}

TEST(MPEG4Boxes, NoTypeEndsTheWalk) {
    EXPECT_TRUE(WalkAll(Zeros(100)).boxes.empty());
}

TEST(MPEG4Boxes, ThousandsOfBoxesAcrossWindows) {
    FileBytes all;
    for (int i = 0; i < 10000; ++i) {
        const FileBytes box = mirtal::fakes::Box("free", Zeros(static_cast<std::size_t>(i % 37)));
        all.insert(all.end(), box.begin(), box.end());
    }
    EXPECT_EQ(10000u, WalkAll(all).boxes.size());
}

TEST(MPEG4Boxes, FindsTheFirstOfAType) {
    const auto file = FileOf(
        mirtal::fakes::Box("moov", Join({mirtal::fakes::Box("abcd", {1}), mirtal::fakes::Box("trak", {1, 2}),
                                         mirtal::fakes::Box("trak", {})})));
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    movies::Box movie;
    ASSERT_TRUE(walk.Next(movie));
    EXPECT_EQ(2, FindBox(boxes, movie, BoxType("trak")).ContentSizeBytes());
    EXPECT_FALSE(FindBox(boxes, movie, BoxType("none")).Exists());
}

TEST(MPEG4Boxes, LooksOnlyAtWhatIsThere) {
    const auto file = FileOf(Zeros(100000));
    BoxFile boxes(*file);
    EXPECT_NE(nullptr, boxes.At(0, 100));
    EXPECT_NE(nullptr, boxes.At(99999, 1));
    EXPECT_NE(nullptr, boxes.At(100000, 0));
    EXPECT_NE(nullptr, boxes.At(5, BoxFile::kMaxLookBytes));
    EXPECT_EQ(nullptr, boxes.At(5, BoxFile::kMaxLookBytes + 1));
    EXPECT_EQ(nullptr, boxes.At(99999, 2));
    EXPECT_EQ(nullptr, boxes.At(100001, 0));
    EXPECT_EQ(nullptr, boxes.At(-1, 1));
    EXPECT_EQ(nullptr, boxes.At(INT64_MAX, 1));
    EXPECT_EQ(noErr, boxes.Status());
}

TEST(MPEG4Boxes, DeviceFailureSticks) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    const MediaFile file(ends[1], 1000, "broken");
    BoxFile boxes(file);
    EXPECT_EQ(nullptr, boxes.At(0, 8));
    EXPECT_EQ(ioErr, boxes.Status());
    EXPECT_EQ(nullptr, boxes.At(0, 8));
}

std::uint32_t EntriesOf(const FileBytes& inBytes, std::uint32_t inEntryBytes, std::uint32_t* outSum) {
    const auto file = FileOf(inBytes);
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    movies::Box box;
    EXPECT_TRUE(walk.Next(box));
    TableReader table = OpenTable(boxes, box, inEntryBytes);
    std::uint32_t count = 0;
    *outSum = 0;
    while (const std::uint8_t* const entry = table.NextEntry()) {
        *outSum += os::Load32(entry);
        ++count;
    }
    return count;
}

TEST(MPEG4Boxes, TableIsReadAsFarAsItIsThere) {
    std::uint32_t sum = 0;
    EXPECT_EQ(2u, EntriesOf(TableBox("stco", 2, Join({U32(5), U32(6)})), 4, &sum));
    EXPECT_EQ(11u, sum);
    EXPECT_EQ(2u, EntriesOf(TableBox("stco", UINT32_MAX, Join({U32(5), U32(6), {1, 2, 3}})), 4, &sum));
    EXPECT_EQ(1u, EntriesOf(TableBox("stco", 1, Join({U32(5), U32(6)})), 4, &sum));
    EXPECT_EQ(0u, EntriesOf(TableBox("stco", 5, {}), 4, &sum));
    EXPECT_EQ(0u, EntriesOf(mirtal::fakes::Box("stco", {0, 0, 0, 0}), 4, &sum));
}

TEST(MPEG4Boxes, LongTable) {
    FileBytes entries;
    for (std::uint32_t i = 0; i < 50000; ++i)
        for (const std::uint8_t byte : Join({U32(i), U32(0), U32(0)}))
            entries.push_back(byte);
    std::uint32_t sum = 0;
    EXPECT_EQ(50000u, EntriesOf(TableBox("stsc", 50000, entries), 12, &sum));
    EXPECT_EQ(50000u * 49999u / 2u, sum);
}

}  // namespace
}  // namespace toolbox::movies

#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4Edits.h>
#include <toolbox/MacErrors.h>

#include <numeric>
#include <string>
#include <vector>

namespace toolbox::movies {

bool operator==(const Edit& inA, const Edit& inB) {
    return inA.frameCount == inB.frameCount && inA.mediaStart == inB.mediaStart;
}
void PrintTo(const Edit& inEdit, std::ostream* ioStream) {
    *ioStream << inEdit.frameCount << " from " << inEdit.mediaStart;
}

namespace {

using Edits = std::vector<Edit>;
constexpr std::int64_t kEmpty = MPEG4Edit::kEmpty;

EditClocks Clocks(std::uint32_t inMovieTimeScale, std::int64_t inMediaFrames) {
    EditClocks clocks;
    clocks.movieTimeScale = inMovieTimeScale;
    clocks.mediaTimeScale = 44100;
    clocks.mediaFrames = inMediaFrames;
    clocks.rateHz = 44100;
    return clocks;
}

Edits Convert(const std::vector<MPEG4Edit>& inEdits, const EditClocks& inClocks) {
    Edits edits;
    EXPECT_TRUE(ConvertEdits(inEdits, inClocks, edits));
    return edits;
}

TEST(MPEG4Edits, NoneIsTheMedia) {
    EXPECT_EQ((Edits{{1000, 0}}), Convert({}, Clocks(600, 1000)));
    EXPECT_EQ(Edits(), Convert({}, Clocks(600, 0)));
}

TEST(MPEG4Edits, ExactScale) {
    EXPECT_EQ((Edits{{22050, 2112}}), Convert({{22050, 2112}}, Clocks(44100, 24576)));
    // One frame before the end is one frame before the end where the scale can say so.
    EXPECT_EQ((Edits{{999, 0}}), Convert({{999, 0}}, Clocks(44100, 1000)));
    EXPECT_EQ((Edits{{1001, 0}}), Convert({{1001, 0}}, Clocks(44100, 1000)));
    EXPECT_EQ((Edits{{1000, 0}}), Convert({{2000, 0}}, Clocks(88200, 1000)));
}

TEST(MPEG4Edits, CoarseScaleWithinATickMeansTheEnd) {
    // 1 s and one tick of 1/600 s are 44100 and 73.5 frames.
    EXPECT_EQ((Edits{{44000, 0}}), Convert({{599, 0}}, Clocks(600, 44000)));
    EXPECT_EQ((Edits{{44000, 0}}), Convert({{598, 0}}, Clocks(600, 44000)));
    EXPECT_EQ((Edits{{43880, 0}}), Convert({{597, 0}}, Clocks(600, 44000)));
    EXPECT_EQ((Edits{{44100, 0}}), Convert({{600, 0}}, Clocks(600, 44026)));
}

TEST(MPEG4Edits, TheTickItselfStillMeansTheEnd) {
    // A scale of 100 ticks: 441 frames each.
    EXPECT_EQ((Edits{{44541, 0}}), Convert({{100, 0}}, Clocks(100, 44541)));
    EXPECT_EQ((Edits{{43659, 0}}), Convert({{100, 0}}, Clocks(100, 43659)));
    EXPECT_EQ((Edits{{44100, 0}}), Convert({{100, 0}}, Clocks(100, 44542)));
    EXPECT_EQ((Edits{{44100, 0}}), Convert({{100, 0}}, Clocks(100, 43658)));
}

TEST(MPEG4Edits, EmptyEditThenTheMedia) {
    EXPECT_EQ((Edits{{1896, Edit::kEmpty}, {46080, 0}}),
              Convert({{43, kEmpty}, {1045, 0}}, Clocks(1000, 46080)));
}

TEST(MPEG4Edits, LengthsAreRoundedOnceForTheSum) {
    // Each is 44.1 frames: rounded one by one they would be ten frames short.
    std::vector<MPEG4Edit> edits(100, MPEG4Edit{1, 5});
    EditClocks clocks = Clocks(1000, 1000000);
    std::int64_t sum = 0;
    for (const Edit& edit : Convert(edits, clocks)) {
        EXPECT_TRUE(edit.frameCount == 44 || edit.frameCount == 45);
        sum += edit.frameCount;
    }
    EXPECT_EQ(4410, sum);
}

TEST(MPEG4Edits, RoundingGoesOnExactlyBehindAnEditThatMeantTheEnd) {
    // The first ends with the media, and the second starts there without an error of its own.
    EXPECT_EQ((Edits{{44000, 0}, {441, Edit::kEmpty}, {441, 0}}),
              Convert({{998, 0}, {10, kEmpty}, {10, 0}}, Clocks(1000, 44000)));
}

TEST(MPEG4Edits, MediaTimeIsConvertedExactly) {
    EditClocks clocks = Clocks(44100, 100000);
    clocks.mediaTimeScale = 22050;
    EXPECT_EQ((Edits{{500, 2048}}), Convert({{500, 1024}}, clocks));
    clocks.mediaTimeScale = 1000;
    EXPECT_EQ((Edits{{500, 44}}), Convert({{500, 1}}, clocks));
}

TEST(MPEG4Edits, BeyondTheMediaIsSilenceNotShorter) {
    EXPECT_EQ((Edits{{5000, 900}}), Convert({{5000, 900}}, Clocks(44100, 1000)));
    EXPECT_EQ((Edits{{5000, 2000}}), Convert({{5000, 2000}}, Clocks(44100, 1000)));
}

TEST(MPEG4Edits, LengthZero) {
    EditClocks clocks = Clocks(1000, 1000);
    EXPECT_EQ((Edits{{900, 100}}), Convert({{0, 100}}, clocks));  // nothing else would be presented
    EXPECT_EQ((Edits{{441, 100}}), Convert({{0, 100}, {10, 100}}, clocks));
    EXPECT_EQ((Edits{{441, 100}}), Convert({{10, 100}, {0, 100}}, clocks));
    clocks.isFragmented = true;
    EXPECT_EQ((Edits{{900, 100}}), Convert({{0, 100}}, clocks));
    EXPECT_EQ((Edits{{441, Edit::kEmpty}, {900, 100}}), Convert({{10, kEmpty}, {0, 100}}, clocks));
    EXPECT_EQ(Edits(), Convert({{0, 1000}}, clocks));
    EXPECT_EQ(Edits(), Convert({{0, kEmpty}}, clocks));
}

TEST(MPEG4Edits, EditsCannotReachBeforeTheFirstPacket) {
    EditClocks clocks = Clocks(44100, 10000);
    clocks.mediaStartUnits = 5000;
    EXPECT_EQ((Edits{{100, 1000}}), Convert({{100, 6000}}, clocks));
    EXPECT_EQ((Edits{{100, 0}}), Convert({{100, 1024}}, clocks));
}

TEST(MPEG4Edits, LengthsBeyondReason) {
    Edits edits;
    EXPECT_FALSE(ConvertEdits({{UINT64_MAX, 0}}, Clocks(1, 10), edits));
    EXPECT_FALSE(ConvertEdits({{1ULL << 53, 0}}, Clocks(1, 10), edits));
    EXPECT_FALSE(ConvertEdits({{1ULL << 52, 0}, {1ULL << 52, 0}, {1ULL << 52, 0}}, Clocks(44100, 10), edits));
    EXPECT_TRUE(ConvertEdits({{1, INT64_MAX}}, Clocks(1, 10), edits));
}

std::vector<MPEG4Edit> ReadBack(const mirtal::fakes::Bytes& inBox) {
    const auto file = FileOf(inBox);
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    Box box;
    EXPECT_TRUE(walk.Next(box));
    return ReadEditList(boxes, box);
}

TEST(MPEG4Edits, ReadsBothVersions) {
    using namespace mirtal::fakes;
    const auto small = ReadBack(FullBox(
        "elst", 0, 0, Join({U32(2), U32(43), U32(0xffffffff), U32(0x10000), U32(7), U32(5), U32(0)})));
    ASSERT_EQ(2u, small.size());
    EXPECT_EQ(43u, small[0].lengthUnits);
    EXPECT_EQ(kEmpty, small[0].mediaTime);
    EXPECT_EQ(5, small[1].mediaTime);
    const auto large = ReadBack(
        FullBox("elst", 1, 0, Join({U32(9), U64(1ULL << 40), U64(1ULL << 41), U32(0x10000), Zeros(19)})));
    ASSERT_EQ(1u, large.size());  // eight more are claimed and not there
    EXPECT_EQ(1ULL << 40, large[0].lengthUnits);
    EXPECT_EQ(1LL << 41, large[0].mediaTime);
}

TEST(MPEG4Edits, AnyNegativeMediaTimeIsEmpty) {
    using namespace mirtal::fakes;
    EXPECT_EQ(kEmpty,
              ReadBack(FullBox("elst", 0, 0, Join({U32(1), U32(1), U32(0x80000000), U32(0)})))[0].mediaTime);
}

TEST(MPEG4Edits, ListCutShort) {
    EXPECT_TRUE(ReadBack(mirtal::fakes::Box("elst", {0, 0, 0})).empty());
    EXPECT_TRUE(ReadBack(mirtal::fakes::Box("elst", {0, 0, 0, 0, 0, 0, 0, 1})).empty());
}

TEST(MPEG4Edits, DurationOfOtherMedia) {
    const auto both = [](const Duration& inDuration) {
        return std::to_string(inDuration.units) + "/" + std::to_string(inDuration.unitsPerSecond);
    };
    EXPECT_EQ("500/12800", both(PresentedDuration({}, 1000, 500, 12800)));
    EXPECT_EQ("70/1000", both(PresentedDuration({{50, kEmpty}, {20, 7}}, 1000, 500, 12800)));
    EXPECT_EQ("500/12800", both(PresentedDuration({{0, 7}}, 1000, 500, 12800)));
    EXPECT_GT(PresentedDuration({{UINT64_MAX, 0}, {UINT64_MAX, 0}}, 1000, 1, 1).units, 0);
}

}  // namespace
}  // namespace toolbox::movies

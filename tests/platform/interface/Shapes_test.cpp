#include "Pictures.h"

#include <gtest/gtest.h>
#include <toolbox/QuickDraw.h>

#include <string>

namespace {

using namespace test_interface;

bool IsEqual(const Rect& inRect, SInt16 inTop, SInt16 inLeft, SInt16 inBottom, SInt16 inRight) {
    return inRect.top == inTop && inRect.left == inLeft && inRect.bottom == inBottom &&
           inRect.right == inRight;
}

TEST(Rects, SetInsetOffset) {
    Rect rect;
    SetRect(&rect, 10, 20, 30, 50);
    EXPECT_TRUE(IsEqual(rect, 20, 10, 50, 30));
    InsetRect(&rect, 2, 3);
    EXPECT_TRUE(IsEqual(rect, 23, 12, 47, 28));
    InsetRect(&rect, -4, -4);
    EXPECT_TRUE(IsEqual(rect, 19, 8, 51, 32));
    OffsetRect(&rect, -8, 1);
    EXPECT_TRUE(IsEqual(rect, 20, 0, 52, 24));
}

TEST(Rects, InsetUntilEmpty) {
    Rect rect = {0, 0, 10, 20};
    InsetRect(&rect, 0, 4);
    EXPECT_TRUE(IsEqual(rect, 4, 0, 6, 20));
    InsetRect(&rect, 0, 1);
    EXPECT_TRUE(IsEqual(rect, 0, 0, 0, 0));
    Rect empty = {5, 5, 5, 9};
    InsetRect(&empty, -1, -1);
    EXPECT_TRUE(IsEqual(empty, 4, 4, 6, 10)) << "not empty any more";
}

TEST(Rects, Wrap) {
    Rect rect = {0, 32760, 10, 32767};
    OffsetRect(&rect, 10, 0);
    EXPECT_TRUE(IsEqual(rect, 0, -32766, 10, -32759));
}

TEST(Rects, Empty) {
    constexpr Rect kOne = {0, 0, 1, 1};
    constexpr Rect kFlat = {5, 0, 5, 10};
    constexpr Rect kNarrow = {0, 5, 10, 5};
    constexpr Rect kUpsideDown = {9, 0, 5, 10};
    EXPECT_FALSE(EmptyRect(&kOne));
    EXPECT_TRUE(EmptyRect(&kFlat));
    EXPECT_TRUE(EmptyRect(&kNarrow));
    EXPECT_TRUE(EmptyRect(&kUpsideDown));
}

TEST(Shapes, Rectangles) {
    const OwnPort port({0, 0, 5, 8});
    constexpr Rect kBox = {1, 1, 5, 7};
    PenSize(2, 1);
    FrameRect(&kBox);
    EXPECT_EQ((Picture{"........",  //
                       ".######.",  //
                       ".##..##.",  //
                       ".##..##.",  //
                       ".######."}),
              port.Get());
    InvertRect(&kBox);
    EXPECT_EQ((Picture{"........",  //
                       "........",  //
                       "...##...",  //
                       "...##...",  //
                       "........"}),
              port.Get());
    PaintRect(&kBox);
    constexpr Rect kCorner = {0, 0, 2, 3};
    EraseRect(&kCorner);
    EXPECT_EQ((Picture{"........",  //
                       "...####.",  //
                       ".######.",  //
                       ".######.",  //
                       ".######."}),
              port.Get());
}

TEST(Shapes, PenLargerThanTheRectangle) {
    const OwnPort port({0, 0, 3, 4});
    constexpr Rect kBox = {0, 1, 3, 3};
    PenSize(10, 10);
    FrameRect(&kBox);
    EXPECT_EQ(Picture(3, ".##."), port.Get());
}

TEST(Shapes, PenWithoutSize) {
    const OwnPort port({0, 0, 3, 4});
    constexpr Rect kBox = {0, 0, 3, 4};
    for (const SInt16 size : {0, -1}) {
        PenSize(size, 1);
        FrameRect(&kBox);
        FrameRoundRect(&kBox, 2, 2);
        PenSize(1, size);
        FrameRect(&kBox);
    }
    EXPECT_EQ(Picture(3, "...."), port.Get());
}

TEST(Shapes, NothingOfAnEmptyRectangle) {
    const OwnPort port({0, 0, 3, 4});
    for (const Rect rect : {Rect{0, 0, 0, 4}, Rect{2, 0, 1, 4}, Rect{0, 3, 3, 3}, Rect{3, 4, 0, 0}}) {
        PaintRect(&rect);
        FrameRect(&rect);
        InvertRect(&rect);
        PaintRoundRect(&rect, 4, 4);
        FrameRoundRect(&rect, 4, 4);
    }
    EXPECT_EQ(Picture(3, "...."), port.Get());
}

TEST(Shapes, RoundCorners) {
    const OwnPort port({0, 0, 8, 12});
    constexpr Rect kBox = {0, 0, 8, 12};
    PaintRoundRect(&kBox, 8, 8);
    EXPECT_EQ((Picture{"..########..",  //
                       ".##########.",  //
                       "############",  //
                       "############",  //
                       "############",  //
                       "############",  //
                       ".##########.",  //
                       "..########.."}),
              port.Get());
    const Picture picture = port.Get();
    for (std::size_t v = 0; v < 8; ++v)
        for (std::size_t h = 0; h < 12; ++h) {
            EXPECT_EQ(picture[v][h], picture[7 - v][h]) << "upside down";
            EXPECT_EQ(picture[v][h], picture[v][11 - h]) << "mirrored";
        }
}

// A circle: every pixel whose centre is inside, found by floating point.
TEST(Shapes, WholeOvals) {
    for (const int diameter : {1, 2, 3, 7, 16, 31}) {
        const auto side = static_cast<SInt16>(diameter);
        const OwnPort port({0, 0, side, side});
        const Rect box = {0, 0, side, side};
        PaintRoundRect(&box, side, side);
        for (int v = 0; v < diameter; ++v)
            for (int h = 0; h < diameter; ++h) {
                const double x = h + 0.5 - diameter / 2.0;
                const double y = v + 0.5 - diameter / 2.0;
                const bool isInside = x * x + y * y <= diameter * diameter / 4.0;
                ASSERT_EQ(isInside, GetPixel(static_cast<SInt16>(h), static_cast<SInt16>(v)))
                    << diameter << ": " << h << " " << v;
            }
    }
}

TEST(Shapes, OvalsLargerThanTheRectangle) {
    const OwnPort one({0, 0, 6, 10});
    constexpr Rect kBox = {0, 0, 6, 10};
    PaintRoundRect(&kBox, 10, 6);
    const Picture expected = one.Get();
    const OwnPort other({0, 0, 6, 10});
    PaintRoundRect(&kBox, 32767, 32767);
    EXPECT_EQ(expected, other.Get());
}

TEST(Shapes, OvalsWithoutSizeAreCorners) {
    for (const SInt16 length : {0, -5}) {
        const OwnPort port({0, 0, 4, 4});
        constexpr Rect kBox = {0, 0, 4, 4};
        PaintRoundRect(&kBox, length, 8);
        EXPECT_EQ(Picture(4, "####"), port.Get());
    }
}

TEST(Shapes, LargestRoundRectangle) {
    const OwnPort port({0, 0, 2, 2});
    constexpr Rect kHuge = {-32768, -32768, 32767, 32767};
    PaintRoundRect(&kHuge, 32767, 32767);
    EXPECT_EQ(Picture(2, "##"), port.Get());
    constexpr Rect kBeyond = {1, 1, 32767, 32767};
    InvertRoundRect(&kBeyond, 32767, 32767);
    EXPECT_EQ(Picture(2, "##"), port.Get()) << "its corner is far from here";
}

TEST(Shapes, FrameHasOneThickness) {
    const OwnPort port({0, 0, 20, 30});
    constexpr Rect kBox = {0, 0, 20, 30};
    PenSize(3, 3);
    FrameRoundRect(&kBox, 16, 16);
    const OwnPort model({0, 0, 20, 30});
    PaintRoundRect(&kBox, 16, 16);
    Rect hole = kBox;
    InsetRect(&hole, 3, 3);
    EraseRoundRect(&hole, 10, 10);
    EXPECT_EQ(model.Get(), port.Get());
    EXPECT_EQ(".....####################.....", port.Get()[0]);
}

TEST(Shapes, EraseAndInvertRoundRectangles) {
    const OwnPort port({0, 0, 6, 6});
    constexpr Rect kBox = {0, 0, 6, 6};
    InvertRoundRect(&kBox, 4, 4);
    const Picture shape = port.Get();
    EXPECT_EQ(".####.", shape[0]);
    EXPECT_EQ("######", shape[1]);
    PaintRect(&kBox);
    EraseRoundRect(&kBox, 4, 4);
    EXPECT_EQ("#....#", port.Get()[0]);
    EXPECT_EQ("......", port.Get()[1]);
}

}  // namespace

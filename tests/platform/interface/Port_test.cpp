#include "interface/Port.h"

#include "Pictures.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace test_interface;

constexpr Rect kSmall = {0, 0, 4, 10};
constexpr Pattern kSlash = {{0x11, 0x22, 0x44, 0x88, 0x11, 0x22, 0x44, 0x88}};

TEST(Port, NewIsWhite) {
    const OwnPort port(kSmall);
    EXPECT_EQ(Picture(4, ".........."), port.Get());
    Rect bounds;
    EXPECT_EQ(&bounds, GetPortBounds(port, &bounds));
    EXPECT_EQ(10, bounds.right);
    EXPECT_EQ(4, bounds.bottom);
    EXPECT_EQ(2, GetPortBitMapForCopyBits(port)->rowBytes) << "whole words";
}

TEST(Port, BadArguments) {
    GWorldPtr port = reinterpret_cast<GWorldPtr>(&port);
    EXPECT_EQ(cDepthErr, NewGWorld(&port, 8, &kSmall, nullptr, nullptr, 0));
    EXPECT_EQ(nullptr, port);
    const auto status = [&](const Rect* inBounds, void* inColors = nullptr, void* inDevice = nullptr,
                            UInt32 inFlags = 0) {
        port = reinterpret_cast<GWorldPtr>(&port);
        const OSErr error = NewGWorld(&port, 1, inBounds, inColors, inDevice, inFlags);
        EXPECT_EQ(nullptr, port);
        return error;
    };
    constexpr Rect kEmpty = {0, 0, 0, 10};
    constexpr Rect kUpsideDown = {4, 0, 0, 10};
    constexpr Rect kTooWide = {0, -16381, 1, 16380};
    int something = 0;
    EXPECT_EQ(paramErr, status(nullptr));
    EXPECT_EQ(paramErr, status(&kEmpty));
    EXPECT_EQ(paramErr, status(&kUpsideDown));
    EXPECT_EQ(paramErr, status(&kTooWide));
    EXPECT_EQ(paramErr, status(&kSmall, &something));
    EXPECT_EQ(paramErr, status(&kSmall, nullptr, &something));
    EXPECT_EQ(paramErr, status(&kSmall, nullptr, nullptr, 1));
    EXPECT_EQ(paramErr, NewGWorld(nullptr, 1, &kSmall, nullptr, nullptr, 0));
}

TEST(Port, MemoryFails) {
    const int failureCount = support::FailEach<test_files::FailingNew>([](const auto& inUnderFault) {
        GWorldPtr port = nullptr;
        OSErr error = noErr;
        const bool failed = inUnderFault([&] { error = NewGWorld(&port, 1, &kSmall, nullptr, nullptr, 0); });
        EXPECT_EQ(failed, port == nullptr);
        DisposeGWorld(port);
        EXPECT_EQ(failed ? memFullErr : noErr, error);
    });
    EXPECT_GE(failureCount, 1);
}

TEST(Port, Widest) {
    const OwnPort port({-1, -16380, 0, 16380});
    EXPECT_EQ(4096, GetPortBitMapForCopyBits(port)->rowBytes);
    PaintRect(&GetPortBitMapForCopyBits(port)->bounds);
    EXPECT_TRUE(GetPixel(-16380, -1));
    EXPECT_TRUE(GetPixel(16379, -1));
}

TEST(Port, CurrentOneIsOfTheThread) {
    const OwnPort port(kSmall);
    GrafPtr others = port;
    std::thread([&others] { GetPort(&others); }).join();
    EXPECT_EQ(nullptr, others);
    GrafPtr own = nullptr;
    GetPort(&own);
    EXPECT_EQ(static_cast<GrafPtr>(port), own);
}

TEST(Port, DisposedOfIsNoMoreCurrent) {
    GWorldPtr port = nullptr;
    ASSERT_EQ(noErr, NewGWorld(&port, 1, &kSmall, nullptr, nullptr, 0));
    SetPort(port);
    DisposeGWorld(port);
    GrafPtr current = port;
    GetPort(&current);
    EXPECT_EQ(nullptr, current);
    DisposeGWorld(nullptr);
}

TEST(Port, WithoutOneNothingHappens) {
    SetPort(nullptr);
    PenSize(5, 5);
    PenMode(patXor);
    PenPat(&kSlash);
    PenNormal();
    TextFace(bold);
    PaintRect(&kSmall);
    FrameRect(&kSmall);
    InvertRect(&kSmall);
    PenState pen = {};
    SetPenState(&pen);
    GetPenState(&pen);
    EXPECT_EQ(1, pen.pnSize.h);
    EXPECT_FALSE(GetPixel(0, 0));
}

TEST(Port, Pen) {
    const OwnPort port(kSmall);
    PenState pen;
    GetPenState(&pen);
    EXPECT_EQ(1, pen.pnSize.h);
    EXPECT_EQ(1, pen.pnSize.v);
    EXPECT_EQ(patCopy, pen.pnMode);
    EXPECT_EQ(0xFF, pen.pnPat.pat[7]);
    pen.pnLoc = {2, 3};
    SetPenState(&pen);
    PenSize(4, 5);
    PenMode(patXor);
    PenPat(&kSlash);
    GetPenState(&pen);
    EXPECT_EQ(4, pen.pnSize.h);
    EXPECT_EQ(5, pen.pnSize.v);
    EXPECT_EQ(patXor, pen.pnMode);
    EXPECT_EQ(0x22, pen.pnPat.pat[1]);
    PenNormal();
    GetPenState(&pen);
    EXPECT_EQ(1, pen.pnSize.v);
    EXPECT_EQ(patCopy, pen.pnMode);
    EXPECT_EQ(3, pen.pnLoc.h) << "where it is";
}

TEST(Port, TextFace) {
    const OwnPort port(kSmall);
    EXPECT_EQ(normal, GetPortTextFace(port));
    TextFace(bold | italic);
    EXPECT_EQ(bold | italic, GetPortTextFace(port));
    TextFace(normal);
    EXPECT_EQ(normal, GetPortTextFace(port));
}

TEST(Port, Patterns) {
    Pattern pattern;
    EXPECT_EQ(&pattern, GetQDGlobalsBlack(&pattern));
    EXPECT_EQ(0xFF, pattern.pat[3]);
    EXPECT_EQ(&pattern, GetQDGlobalsWhite(&pattern));
    EXPECT_EQ(0, pattern.pat[3]);
    EXPECT_EQ(&pattern, GetQDGlobalsGray(&pattern));
    EXPECT_EQ(0xAA, pattern.pat[0]);
    EXPECT_EQ(0x55, pattern.pat[1]);
}

// Patterns begin at the origin of coordinates, also where those are negative.
TEST(Port, PatternsAreAligned) {
    const OwnPort port({-2, -3, 2, 7});
    PenPat(&kSlash);
    constexpr Rect kAll = {-2, -3, 2, 7};
    PaintRect(&kAll);
    for (int v = -2; v < 2; ++v)
        for (int h = -3; h < 7; ++h) {
            const bool isBlack = (kSlash.pat[(v + 8) % 8] >> (7 - (h + 8) % 8) & 1) != 0;
            EXPECT_EQ(isBlack, GetPixel(static_cast<SInt16>(h), static_cast<SInt16>(v))) << h << " " << v;
        }
}

TEST(Port, Modes) {
    // The left half is black; the pattern is black in every other column.
    constexpr Pattern kStripes = {{0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}};
    constexpr Rect kAll = {0, 0, 1, 8};
    constexpr Rect kLeft = {0, 0, 1, 4};
    struct Row {
        SInt16 mode;
        const char* expected;
    };
    constexpr Row kRows[] = {{patCopy, "#.#.#.#."},   {patOr, "#####.#."},      {patXor, ".#.##.#."},
                             {patBic, ".#.#...."},    {notPatCopy, ".#.#.#.#"}, {notPatOr, "####.#.#"},
                             {notPatXor, "#.#..#.#"}, {notPatBic, "#.#....."},  {7, "####...."},
                             {16, "####...."},        {-1, "####...."}};
    for (const Row& row : kRows) {
        const OwnPort port(kAll);
        PaintRect(&kLeft);
        PenPat(&kStripes);
        PenMode(row.mode);
        PaintRect(&kAll);
        EXPECT_EQ(Picture{row.expected}, port.Get()) << row.mode;
    }
}

TEST(Port, PixelsOutside) {
    const OwnPort port(kSmall);
    constexpr Rect kHuge = {-32768, -32768, 32767, 32767};
    PaintRect(&kHuge);
    EXPECT_EQ(Picture(4, "##########"), port.Get());
    EXPECT_TRUE(GetPixel(9, 3));
    EXPECT_FALSE(GetPixel(10, 3));
    EXPECT_FALSE(GetPixel(0, 4));
    EXPECT_FALSE(GetPixel(-1, 0));
}

TEST(Port, DrawingInPutsBack) {
    const OwnPort one(kSmall);
    const OwnPort other(kSmall);
    SetPort(one);
    PenSize(3, 3);
    SetPort(other);
    {
        const toolbox::interface::DrawingIn drawing(*toolbox::interface::PortOf(one));
        constexpr Rect kDot = {0, 0, 1, 1};
        FrameRect(&kDot);
        PenState pen;
        GetPenState(&pen);
        EXPECT_EQ(1, pen.pnSize.h);
        PenSize(9, 9);
    }
    GrafPtr current = nullptr;
    GetPort(&current);
    EXPECT_EQ(static_cast<GrafPtr>(other), current);
    SetPort(one);
    EXPECT_TRUE(GetPixel(0, 0));
    PenState pen;
    GetPenState(&pen);
    EXPECT_EQ(3, pen.pnSize.h);
}

}  // namespace

// Rectangles and shapes with straight or round corners.
#include "Port.h"

#include <toolbox/QuickDraw.h>

#include <algorithm>

namespace toolbox::interface {

namespace {

// Pixels are found one by one; coordinates are int, so that no edge of a Rect overflows.
struct Box {
    int top;
    int left;
    int bottom;
    int right;

    bool IsEmpty() const { return bottom <= top || right <= left; }
    bool Contains(int inH, int inV) const { return inH >= left && inH < right && inV >= top && inV < bottom; }
};

Box BoxOf(const Rect& inRect) {
    return {inRect.top, inRect.left, inRect.bottom, inRect.right};
}

// How far a pixel's centre is beyond the centre of its corner's oval, doubled; 0 between the corners.
int DoubledDistance(int inAt, int inFirst, int inEnd, int inOvalLength) {
    const int center = 2 * inAt + 1;
    const int low = 2 * inFirst + inOvalLength;
    const int high = 2 * inEnd - inOvalLength;
    if (center < low) return low - center;
    return center > high ? center - high : 0;
}

// A rectangle whose corners are quarters of an oval; straight ones when a length of that is 0.
class RoundBox {
  public:
    RoundBox(const Box& inBox, int inOvalWidth, int inOvalHeight)
        : mBox(inBox),
          mOvalWidth(std::clamp(inOvalWidth, 0, std::max(inBox.right - inBox.left, 0))),
          mOvalHeight(std::clamp(inOvalHeight, 0, std::max(inBox.bottom - inBox.top, 0))) {}

    bool Contains(int inH, int inV) const {
        if (!mBox.Contains(inH, inV)) return false;
        const long long across = DoubledDistance(inH, mBox.left, mBox.right, mOvalWidth);
        const long long down = DoubledDistance(inV, mBox.top, mBox.bottom, mOvalHeight);
        if (across == 0 || down == 0) return true;
        const long long width = static_cast<long long>(mOvalWidth) * mOvalWidth;
        const long long height = static_cast<long long>(mOvalHeight) * mOvalHeight;
        // Less than 2^30 each: the products are less than 2^60.
        return across * across * height + down * down * width <= width * height;
    }
    const Box& Outside() const { return mBox; }

  private:
    Box mBox;
    int mOvalWidth;
    int mOvalHeight;
};

// Calls inDraw for each pixel of the port that inShape contains and inHole does not.
template <typename Draw>
void ForEachPixel(const Port& inPort, const RoundBox& inShape, const RoundBox& inHole, Draw inDraw) {
    const Box& box = inShape.Outside();
    const Box port = BoxOf(inPort.Bounds());
    for (int v = std::max(box.top, port.top); v < std::min(box.bottom, port.bottom); ++v)
        for (int h = std::max(box.left, port.left); h < std::min(box.right, port.right); ++h)
            if (inShape.Contains(h, v) && !inHole.Contains(h, v)) inDraw(h, v);
}

const RoundBox kNoHole({0, 0, 0, 0}, 0, 0);

void Frame(const Rect& inRect, int inOvalWidth, int inOvalHeight) {
    Port* const port = CurrentPort();
    if (port == nullptr) return;
    const Point nib = port->pen.pnSize;
    if (nib.h <= 0 || nib.v <= 0) return;
    const Box outside = BoxOf(inRect);
    const Box inside = {outside.top + nib.v, outside.left + nib.h, outside.bottom - nib.v,
                        outside.right - nib.h};
    // The edge has one thickness all around: the hole's corners are as much smaller as the hole is.
    const int holeOvalWidth = inOvalWidth - 2 * nib.h;
    const int holeOvalHeight = inOvalHeight - 2 * nib.v;
    const bool isRound = holeOvalWidth > 0 && holeOvalHeight > 0;
    ForEachPixel(*port, RoundBox(outside, inOvalWidth, inOvalHeight),
                 RoundBox(inside, isRound ? holeOvalWidth : 0, isRound ? holeOvalHeight : 0),
                 [port](int inH, int inV) { port->DrawPixel(inH, inV); });
}

void Paint(const Rect& inRect, int inOvalWidth, int inOvalHeight) {
    Port* const port = CurrentPort();
    if (port == nullptr) return;
    ForEachPixel(*port, RoundBox(BoxOf(inRect), inOvalWidth, inOvalHeight), kNoHole,
                 [port](int inH, int inV) { port->DrawPixel(inH, inV); });
}

void Fill(const Rect& inRect, int inOvalWidth, int inOvalHeight, Ink inInk) {
    Port* const port = CurrentPort();
    if (port == nullptr) return;
    ForEachPixel(*port, RoundBox(BoxOf(inRect), inOvalWidth, inOvalHeight), kNoHole,
                 [port, inInk](int inH, int inV) { port->InkPixel(inH, inV, inInk); });
}

}  // namespace

}  // namespace toolbox::interface

using namespace toolbox::interface;

void SetRect(Rect* outRect, SInt16 inLeft, SInt16 inTop, SInt16 inRight, SInt16 inBottom) {
    *outRect = {inTop, inLeft, inBottom, inRight};
}

void InsetRect(Rect* ioRect, SInt16 inH, SInt16 inV) {
    ioRect->left = static_cast<SInt16>(ioRect->left + inH);
    ioRect->right = static_cast<SInt16>(ioRect->right - inH);
    ioRect->top = static_cast<SInt16>(ioRect->top + inV);
    ioRect->bottom = static_cast<SInt16>(ioRect->bottom - inV);
    if (EmptyRect(ioRect)) *ioRect = {0, 0, 0, 0};
}

void OffsetRect(Rect* ioRect, SInt16 inH, SInt16 inV) {
    ioRect->left = static_cast<SInt16>(ioRect->left + inH);
    ioRect->right = static_cast<SInt16>(ioRect->right + inH);
    ioRect->top = static_cast<SInt16>(ioRect->top + inV);
    ioRect->bottom = static_cast<SInt16>(ioRect->bottom + inV);
}

Boolean EmptyRect(const Rect* inRect) {
    return BoxOf(*inRect).IsEmpty();
}

void FrameRect(const Rect* inRect) {
    Frame(*inRect, 0, 0);
}

void PaintRect(const Rect* inRect) {
    Paint(*inRect, 0, 0);
}

void EraseRect(const Rect* inRect) {
    Fill(*inRect, 0, 0, Ink::kWhite);
}

void InvertRect(const Rect* inRect) {
    Fill(*inRect, 0, 0, Ink::kInvert);
}

void FrameRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight) {
    Frame(*inRect, inOvalWidth, inOvalHeight);
}

void PaintRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight) {
    Paint(*inRect, inOvalWidth, inOvalHeight);
}

void EraseRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight) {
    Fill(*inRect, inOvalWidth, inOvalHeight, Ink::kWhite);
}

void InvertRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight) {
    Fill(*inRect, inOvalWidth, inOvalHeight, Ink::kInvert);
}

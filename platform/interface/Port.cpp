#include "Port.h"

#include <cassert>
#include <cstddef>

namespace toolbox::interface {

namespace {

// The pixels of a pattern mode: what happens where the pattern is black, and where it is white.
enum class Change { kNothing, kBlack, kWhite, kInvert };
struct ModeRule {
    Change ofBlack;
    Change ofWhite;
};
constexpr ModeRule kModes[] = {
    {Change::kBlack, Change::kWhite},     // patCopy
    {Change::kBlack, Change::kNothing},   // patOr
    {Change::kInvert, Change::kNothing},  // patXor
    {Change::kWhite, Change::kNothing},   // patBic
    {Change::kWhite, Change::kBlack},     // notPatCopy
    {Change::kNothing, Change::kBlack},   // notPatOr
    {Change::kNothing, Change::kInvert},  // notPatXor
    {Change::kNothing, Change::kWhite},   // notPatBic
};

constexpr PenState kNormalPen = {{0, 0}, {1, 1}, patCopy, kBlack};

thread_local Port* sCurrentPort = nullptr;

// Patterns begin at the origin of the coordinates, not at the shape: shapes that touch have no seam. The
// highest bit is the leftmost pixel.
bool IsBlackInPattern(const Pattern& inPattern, int inH, int inV) {
    return (inPattern.pat[inV & 7] >> (7 - (inH & 7)) & 1) != 0;
}

}  // namespace

Port::Port(const Rect& inBounds) : pen(kNormalPen) {
    assert(inBounds.left < inBounds.right && inBounds.right - inBounds.left <= kMaxWidth);
    assert(inBounds.top < inBounds.bottom);
    const auto width = static_cast<std::size_t>(inBounds.right - inBounds.left);
    const auto height = static_cast<std::size_t>(inBounds.bottom - inBounds.top);
    const std::size_t rowBytes = (width + 15) / 16 * 2;  // rows are of whole words
    mBytes = std::make_unique<char[]>(rowBytes * height);
    mPixels = {mBytes.get(), static_cast<SInt16>(rowBytes), inBounds};
}

bool Port::Contains(int inH, int inV) const {
    const Rect& bounds = mPixels.bounds;
    return inH >= bounds.left && inH < bounds.right && inV >= bounds.top && inV < bounds.bottom;
}

UInt8& Port::ByteOf(int inH, int inV, UInt8& outMask) const {
    const int column = inH - mPixels.bounds.left;
    const std::ptrdiff_t row = inV - mPixels.bounds.top;
    outMask = static_cast<UInt8>(0x80 >> (column & 7));
    return reinterpret_cast<UInt8*>(mPixels.baseAddr)[row * mPixels.rowBytes + column / 8];
}

bool Port::IsBlack(int inH, int inV) const {
    if (!Contains(inH, inV)) return false;
    UInt8 mask = 0;
    return (ByteOf(inH, inV, mask) & mask) != 0;
}

void Port::InkPixel(int inH, int inV, Ink inInk) {
    if (!Contains(inH, inV)) return;
    UInt8 mask = 0;
    UInt8& byte = ByteOf(inH, inV, mask);
    if (inInk == Ink::kBlack)
        byte = static_cast<UInt8>(byte | mask);
    else if (inInk == Ink::kWhite)
        byte = static_cast<UInt8>(byte & ~mask);
    else
        byte = static_cast<UInt8>(byte ^ mask);
}

void Port::DrawPixel(int inH, int inV) {
    // The lower modes combine with a source of pixels, of which a pen has none.
    if (pen.pnMode < patCopy || pen.pnMode > notPatBic) return;
    const ModeRule& rule = kModes[pen.pnMode - patCopy];
    switch (IsBlackInPattern(pen.pnPat, inH, inV) ? rule.ofBlack : rule.ofWhite) {
        case Change::kNothing:
            return;
        case Change::kBlack:
            return InkPixel(inH, inV, Ink::kBlack);
        case Change::kWhite:
            return InkPixel(inH, inV, Ink::kWhite);
        case Change::kInvert:
            return InkPixel(inH, inV, Ink::kInvert);
    }
}

Port* CurrentPort() {
    return sCurrentPort;
}

void LeavePort(const Port* inPort) {
    if (sCurrentPort == inPort) sCurrentPort = nullptr;
}

DrawingIn::DrawingIn(Port& inPort) : mPort(inPort), mSavedPen(inPort.pen) {
    GetPort(&mSavedPort);
    SetPort(RefOf(&inPort));
    PenNormal();
}

DrawingIn::~DrawingIn() {
    mPort.pen = mSavedPen;
    SetPort(mSavedPort);
}

}  // namespace toolbox::interface

using namespace toolbox::interface;

OSErr NewGWorld(GWorldPtr* outPort, SInt16 inDepth, const Rect* inBounds, CTabHandle inColors,
                GDHandle inDevice, UInt32 inFlags) {
    if (outPort == nullptr) return paramErr;
    *outPort = nullptr;
    if (inBounds == nullptr || inColors != nullptr || inDevice != nullptr || inFlags != 0) return paramErr;
    if (inDepth != 1) return cDepthErr;
    if (EmptyRect(inBounds) || inBounds->right - inBounds->left > Port::kMaxWidth) return paramErr;
    try {
        *outPort = RefOf(new Port(*inBounds));
        return noErr;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

void DisposeGWorld(GWorldPtr inPort) {
    if (inPort == nullptr) return;
    LeavePort(PortOf(inPort));
    delete PortOf(inPort);
}

void GetPort(GrafPtr* outPort) {
    *outPort = RefOf(sCurrentPort);
}

void SetPort(GrafPtr inPort) {
    sCurrentPort = PortOf(inPort);
}

Rect* GetPortBounds(CGrafPtr inPort, Rect* outBounds) {
    *outBounds = PortOf(inPort)->Bounds();
    return outBounds;
}

const BitMap* GetPortBitMapForCopyBits(CGrafPtr inPort) {
    return &PortOf(inPort)->Pixels();
}

Boolean GetPixel(SInt16 inH, SInt16 inV) {
    return sCurrentPort != nullptr && sCurrentPort->IsBlack(inH, inV);
}

void GetPenState(PenState* outPen) {
    *outPen = sCurrentPort != nullptr ? sCurrentPort->pen : kNormalPen;
}

void SetPenState(const PenState* inPen) {
    if (sCurrentPort != nullptr) sCurrentPort->pen = *inPen;
}

void PenNormal() {
    if (sCurrentPort == nullptr) return;
    const Point location = sCurrentPort->pen.pnLoc;
    sCurrentPort->pen = kNormalPen;
    sCurrentPort->pen.pnLoc = location;
}

void PenSize(SInt16 inWidth, SInt16 inHeight) {
    if (sCurrentPort != nullptr) sCurrentPort->pen.pnSize = {inHeight, inWidth};
}

void PenMode(SInt16 inMode) {
    if (sCurrentPort != nullptr) sCurrentPort->pen.pnMode = inMode;
}

void PenPat(const Pattern* inPattern) {
    if (sCurrentPort != nullptr) sCurrentPort->pen.pnPat = *inPattern;
}

Pattern* GetQDGlobalsBlack(Pattern* outPattern) {
    *outPattern = kBlack;
    return outPattern;
}

Pattern* GetQDGlobalsWhite(Pattern* outPattern) {
    *outPattern = kWhite;
    return outPattern;
}

Pattern* GetQDGlobalsGray(Pattern* outPattern) {
    *outPattern = kGray;
    return outPattern;
}

void TextFace(StyleParameter inFace) {
    if (sCurrentPort != nullptr) sCurrentPort->face = static_cast<Style>(inFace);
}

Style GetPortTextFace(CGrafPtr inPort) {
    return PortOf(inPort)->face;
}

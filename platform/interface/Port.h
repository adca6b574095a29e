// A port: pixels in memory, and the pen that draws on them.
#pragma once

#include <toolbox/QuickDraw.h>

#include <memory>

namespace toolbox::interface {

// How a pixel changes where the pattern has one.
enum class Ink { kBlack, kWhite, kInvert };

class Port {
  public:
    // White. inBounds is not empty and at most kMaxWidth wide. May throw std::bad_alloc.
    explicit Port(const Rect& inBounds);
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    static constexpr int kMaxWidth = 32760;

    const Rect& Bounds() const { return mPixels.bounds; }
    const BitMap& Pixels() const { return mPixels; }
    bool IsBlack(int inH, int inV) const;  // false outside

    // Each changes one pixel; outside, none.
    void DrawPixel(int inH, int inV);  // with the pen's pattern, in its mode
    void InkPixel(int inH, int inV, Ink inInk);

    PenState pen;
    Style face = normal;

  private:
    bool Contains(int inH, int inV) const;
    UInt8& ByteOf(int inH, int inV, UInt8& outMask) const;

    std::unique_ptr<char[]> mBytes;
    BitMap mPixels;
};

// The calling thread's current port; null without one.
Port* CurrentPort();

inline Port* PortOf(GrafPtr inPort) {
    return reinterpret_cast<Port*>(inPort);
}
inline GrafPtr RefOf(Port* inPort) {
    return reinterpret_cast<GrafPtr>(inPort);
}

// Forgets a port that is about to go.
void LeavePort(const Port* inPort);

// The patterns of all pixels, of none, and of every other.
constexpr Pattern kBlack = {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
constexpr Pattern kWhite = {{0, 0, 0, 0, 0, 0, 0, 0}};
constexpr Pattern kGray = {{0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55}};

// Draws in a port while it lives: it is the current one, and its pen normal. Both are put back.
class DrawingIn {
  public:
    explicit DrawingIn(Port& inPort);
    ~DrawingIn();
    DrawingIn(const DrawingIn&) = delete;
    DrawingIn& operator=(const DrawingIn&) = delete;

  private:
    Port& mPort;
    GrafPtr mSavedPort = nullptr;
    PenState mSavedPen;
};

}  // namespace toolbox::interface

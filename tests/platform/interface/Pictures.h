// Ports of a test's own, and their pixels as lines of text.
#pragma once

#include <gtest/gtest.h>
#include <toolbox/QuickDraw.h>

#include <string>
#include <vector>

namespace test_interface {

using Picture = std::vector<std::string>;  // "#" is black

inline Picture PictureOf(const BitMap& inPixels) {
    Picture picture;
    const Rect& bounds = inPixels.bounds;
    for (int v = 0; v < bounds.bottom - bounds.top; ++v) {
        std::string line;
        for (int h = 0; h < bounds.right - bounds.left; ++h)
            line += (inPixels.baseAddr[v * inPixels.rowBytes + h / 8] >> (7 - h % 8) & 1) != 0 ? '#' : '.';
        picture.push_back(line);
    }
    return picture;
}

inline Picture PictureOf(GrafPtr inPort) {
    return PictureOf(*GetPortBitMapForCopyBits(inPort));
}

// A port that is the current one while it lives.
class OwnPort {
  public:
    explicit OwnPort(const Rect& inBounds) {
        GetPort(&mSaved);
        EXPECT_EQ(noErr, NewGWorld(&mPort, 1, &inBounds, nullptr, nullptr, 0));
        SetPort(mPort);
    }
    ~OwnPort() {
        SetPort(mSaved);
        DisposeGWorld(mPort);
    }
    OwnPort(const OwnPort&) = delete;
    OwnPort& operator=(const OwnPort&) = delete;

    operator GrafPtr() const { return mPort; }
    Picture Get() const { return PictureOf(mPort); }

  private:
    GrafPtr mSaved = nullptr;
    GWorldPtr mPort = nullptr;
};

}  // namespace test_interface

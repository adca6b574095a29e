// Drawing: pixels of one bit in memory, black (1) and white (0).
//
// A port is a place to draw: pixels, a pen and the settings of text. Coordinates are the port's own; a pixel
// lies to the right of and below the point of its coordinates, so a rectangle holds right - left columns.
// What falls outside the port's bounds is not drawn. Patterns are aligned to the origin of coordinates.
//
// Each thread has its own current port, none at first; without one nothing is drawn and no setting changes.
// A port belongs to one thread at a time, and must not be disposed of while another has it as current.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueGrafPort* GrafPtr;
typedef GrafPtr CGrafPtr;
typedef GrafPtr GWorldPtr;

typedef struct Point {
    SInt16 v;
    SInt16 h;
} Point;

// Eight rows of eight pixels, the leftmost in the highest bit.
typedef struct Pattern {
    UInt8 pat[8];
} Pattern;

// Rows of pixels from the top down, the leftmost in the highest bit of a byte.
typedef struct BitMap {
    Ptr baseAddr;
    SInt16 rowBytes;
    Rect bounds;
} BitMap;

// How the pen's pattern meets what is there. Of the pattern's black pixels: patCopy makes black and white as
// the pattern is, patOr black only, patXor inverts, patBic makes white. The others are the same for its white
// pixels.
enum {
    patCopy = 8,
    patOr = 9,
    patXor = 10,
    patBic = 11,
    notPatCopy = 12,
    notPatOr = 13,
    notPatXor = 14,
    notPatBic = 15
};

typedef struct PenState {
    Point pnLoc;
    Point pnSize;  // height and width of the nib, in pixels; nothing is drawn unless both are positive
    SInt16 pnMode;
    Pattern pnPat;
} PenState;

// Faces of text, to be combined.
enum {
    normal = 0,
    bold = 1,
    italic = 2,
    underline = 4,
    outline = 8,
    shadow = 0x10,
    condense = 0x20,
    extend = 0x40
};
typedef SInt16 StyleParameter;
typedef UInt8 Style;

// Ports.

// A port of white pixels in memory, which the caller disposes of.
//   inDepth          1; cDepthErr for another
//   inBounds         its coordinates; not empty, and at most 32760 pixels wide: paramErr
//   inColors, inDevice, inFlags  null, null, 0: paramErr for others
//   outPort          null on failure
typedef void* CTabHandle;
typedef void* GDHandle;
TOOLBOX_MUST_USE OSErr NewGWorld(GWorldPtr* outPort, SInt16 inDepth, const Rect* inBounds,
                                 CTabHandle inColors, GDHandle inDevice, UInt32 inFlags);
// Null is nothing. Of the calling thread's current port, there is none afterwards.
TOOLBOX_EXPORT void DisposeGWorld(GWorldPtr inPort);

TOOLBOX_EXPORT void GetPort(GrafPtr* outPort);
TOOLBOX_EXPORT void SetPort(GrafPtr inPort);  // null: none
// The bounds, in outBounds, which is returned.
TOOLBOX_EXPORT Rect* GetPortBounds(CGrafPtr inPort, Rect* outBounds);
// The port's own pixels, good as long as the port is.
TOOLBOX_EXPORT const BitMap* GetPortBitMapForCopyBits(CGrafPtr inPort);
// Whether the pixel of the current port is black. Outside, and without a port, it is not.
TOOLBOX_EXPORT Boolean GetPixel(SInt16 inH, SInt16 inV);

// The pen of the current port: black, 1 by 1 and patCopy at first.

TOOLBOX_EXPORT void GetPenState(PenState* outPen);
TOOLBOX_EXPORT void SetPenState(const PenState* inPen);
TOOLBOX_EXPORT void PenNormal(void);  // as at first, but where it is
TOOLBOX_EXPORT void PenSize(SInt16 inWidth, SInt16 inHeight);
TOOLBOX_EXPORT void PenMode(SInt16 inMode);  // nothing is drawn in a mode that is none of the above
TOOLBOX_EXPORT void PenPat(const Pattern* inPattern);
// Both return outPattern.
TOOLBOX_EXPORT Pattern* GetQDGlobalsBlack(Pattern* outPattern);
TOOLBOX_EXPORT Pattern* GetQDGlobalsWhite(Pattern* outPattern);
TOOLBOX_EXPORT Pattern* GetQDGlobalsGray(Pattern* outPattern);

// Text of the current port: plain at first. There is no text drawing: faces are kept for those who ask.
TOOLBOX_EXPORT void TextFace(StyleParameter inFace);
TOOLBOX_EXPORT Style GetPortTextFace(CGrafPtr inPort);

// Rectangles. An empty one has no pixel: its bottom is not below its top, or its right not right of its left.

TOOLBOX_EXPORT void SetRect(Rect* outRect, SInt16 inLeft, SInt16 inTop, SInt16 inRight, SInt16 inBottom);
// Moves left and right edge towards each other by inH, top and bottom by inV; negative numbers enlarge. One
// that becomes empty is set to zeros. Numbers wrap.
TOOLBOX_EXPORT void InsetRect(Rect* ioRect, SInt16 inH, SInt16 inV);
TOOLBOX_EXPORT void OffsetRect(Rect* ioRect, SInt16 inH, SInt16 inV);
TOOLBOX_EXPORT Boolean EmptyRect(const Rect* inRect);

// Numbers that look random, of -32767 to 32767: the low 16 bits of each seed of a sequence in which the next
// is the seed times 16807, modulo 2^31 - 1; 0 for -32768. The process has one sequence, which all threads
// share and which begins with the seed 1: the same numbers each time. Not for secrets.
TOOLBOX_EXPORT SInt16 Random(void);
// The seed is the last one of the sequence. 1 to 2^31 - 2: from another, the numbers are of no use.
TOOLBOX_EXPORT SInt32 GetQDGlobalsRandomSeed(void);
TOOLBOX_EXPORT void SetQDGlobalsRandomSeed(SInt32 inSeed);

// Shapes. Frame draws with the pen, within the shape's edge; Paint fills with the pen's pattern and mode;
// Erase makes white; Invert makes black white and white black.
TOOLBOX_EXPORT void FrameRect(const Rect* inRect);
TOOLBOX_EXPORT void PaintRect(const Rect* inRect);
TOOLBOX_EXPORT void EraseRect(const Rect* inRect);
TOOLBOX_EXPORT void InvertRect(const Rect* inRect);

// Corners are quarters of an oval of inOvalWidth by inOvalHeight, at most as large as the rectangle. A pixel
// belongs to the shape when its centre does.
TOOLBOX_EXPORT void FrameRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight);
TOOLBOX_EXPORT void PaintRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight);
TOOLBOX_EXPORT void EraseRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight);
TOOLBOX_EXPORT void InvertRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight);

TOOLBOX_EXTERN_C_END

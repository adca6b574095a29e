#include "Drawing.h"

#include "Calls.h"

namespace fakes {

namespace {

struct Item {
    DialogItemType type = 0;
    Handle handle = nullptr;
    Rect box = {};
};

struct State {
    int currentPort = 1;
    PenState pen = {{3, 4}, {1, 2}, patXor, {{1, 2, 3, 4, 5, 6, 7, 8}}};
    Item item;
    int face = -1;
};

State& TheState() {
    static State& sState = *new State;
    return sState;
}

// Ports are their numbers; nobody follows them.
int sPorts[3];

GrafPtr RefOf(int inPort) {
    return reinterpret_cast<GrafPtr>(&sPorts[inPort]);
}

int NumberOf(GrafPtr inPort) {
    return static_cast<int>(reinterpret_cast<int*>(inPort) - sPorts);
}

Pattern* Fill(Pattern* outPattern, UInt8 inByte) {
    for (UInt8& row : outPattern->pat)
        row = inByte;
    return outPattern;
}

}  // namespace

DialogRef TheDialog() {
    return reinterpret_cast<DialogRef>(&sPorts[2]);
}

GrafPtr CurrentPort() {
    return RefOf(TheState().currentPort);
}

const PenState& Pen() {
    return TheState().pen;
}

void SetDialogItem(DialogItemType inType, Handle inItem, const Rect& inBox) {
    TheState().item = {inType, inItem, inBox};
}

int Face() {
    return TheState().face;
}

void ForgetDrawing() {
    TheState() = State();
}

}  // namespace fakes

using namespace fakes;

void GetPort(GrafPtr* outPort) {
    *outPort = RefOf(TheState().currentPort);
}

void SetPort(GrafPtr inPort) {
    TheState().currentPort = NumberOf(inPort);
    Log(CallText("SetPort", NumberOf(inPort)));
}

CGrafPtr GetDialogPort(DialogRef inDialog) {
    if (inDialog != TheDialog()) ReportMisuse("GetDialogPort of another dialog");
    return RefOf(2);
}

void GetDialogItem(DialogRef inDialog, SInt16 inItem, DialogItemType* outType, Handle* outItem,
                   Rect* outBox) {
    if (inDialog != TheDialog()) ReportMisuse("GetDialogItem of another dialog");
    Log(CallText("GetDialogItem", inItem));
    *outType = TheState().item.type;
    *outItem = TheState().item.handle;
    *outBox = TheState().item.box;
}

void GetPenState(PenState* outPen) {
    Log("GetPenState()");
    *outPen = TheState().pen;
}

void SetPenState(const PenState* inPen) {
    Log("SetPenState()");
    TheState().pen = *inPen;
}

void PenSize(SInt16 inWidth, SInt16 inHeight) {
    Log(CallText("PenSize", inWidth, inHeight));
    TheState().pen.pnSize = {inHeight, inWidth};
}

void PenPat(const Pattern* inPattern) {
    Log(CallText("PenPat", inPattern->pat[0]));
    TheState().pen.pnPat = *inPattern;
}

Pattern* GetQDGlobalsBlack(Pattern* outPattern) {
    return Fill(outPattern, 0xFF);
}

Pattern* GetQDGlobalsWhite(Pattern* outPattern) {
    return Fill(outPattern, 0);
}

void InsetRect(Rect* ioRect, SInt16 inH, SInt16 inV) {
    ioRect->left = static_cast<SInt16>(ioRect->left + inH);
    ioRect->right = static_cast<SInt16>(ioRect->right - inH);
    ioRect->top = static_cast<SInt16>(ioRect->top + inV);
    ioRect->bottom = static_cast<SInt16>(ioRect->bottom - inV);
}

void FrameRoundRect(const Rect* inRect, SInt16 inOvalWidth, SInt16 inOvalHeight) {
    Log(CallText("FrameRoundRect", inRect->top, inRect->left, inRect->bottom, inRect->right, inOvalWidth,
                 inOvalHeight));
}

void TextFace(StyleParameter inFace) {
    TheState().face = inFace;
}

void HiliteControl(ControlRef inControl, ControlPartCode inPart) {
    if (reinterpret_cast<Handle>(inControl) != TheState().item.handle)
        ReportMisuse("HiliteControl of another control");
    Log(CallText("HiliteControl", inPart));
}

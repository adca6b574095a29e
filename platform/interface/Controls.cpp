#include "ControlRecord.h"

#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>

#include <algorithm>

using namespace toolbox::interface;

namespace {

// The corners of a push button.
constexpr SInt16 kButtonOval = 10;

// The state of a control is one number: 0 none, 1 to 253 the part that is pressed, 254 and 255 inactive.
bool IsInactive(const ControlRecord& inControl) {
    return inControl.hilite >= kControlDisabledPart;
}

void DrawButton(const ControlRecord& inControl) {
    // Drawn anew from white each time, so that every state can follow every other. An inactive frame is every
    // other pixel; a pressed button is the one at rest inverted, frame and all.
    EraseRoundRect(&inControl.box, kButtonOval, kButtonOval);
    if (IsInactive(inControl)) PenPat(&kGray);
    FrameRoundRect(&inControl.box, kButtonOval, kButtonOval);
    if (inControl.hilite != kControlNoPart && !IsInactive(inControl))
        InvertRoundRect(&inControl.box, kButtonOval, kButtonOval);
}

void DrawBox(const ControlRecord& inControl) {
    EraseRect(&inControl.box);
    if (IsInactive(inControl)) PenPat(&kGray);
    FrameRect(&inControl.box);
}

void Draw(const ControlRecord& inControl) {
    if (!inControl.isVisible) return;
    const DrawingIn drawing(*inControl.port);
    if (inControl.type == kButtonDialogItem)
        DrawButton(inControl);
    else
        DrawBox(inControl);
}

}  // namespace

void HiliteControl(ControlRef inControl, ControlPartCode inPart) {
    if (inControl == nullptr) return;
    ControlRecord& record = RecordOf(inControl);
    const auto part = static_cast<UInt8>(inPart);
    if (record.hilite == part) return;
    record.hilite = part;
    Draw(record);
}

UInt16 GetControlHilite(ControlRef inControl) {
    return inControl == nullptr ? UInt16{0} : UInt16{RecordOf(inControl).hilite};
}

Rect* GetControlBounds(ControlRef inControl, Rect* outBounds) {
    *outBounds = inControl == nullptr ? Rect{} : RecordOf(inControl).box;
    return outBounds;
}

void GetControlTitle(ControlRef inControl, unsigned char* outTitle) {
    outTitle[0] = 0;
    if (inControl == nullptr) return;
    const ControlRecord& record = RecordOf(inControl);
    std::copy_n(record.title, record.title[0] + 1, outTitle);
}

void Draw1Control(ControlRef inControl) {
    if (inControl != nullptr) Draw(RecordOf(inControl));
}

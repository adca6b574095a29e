#include <foundation/DialogItems.h>
#include <foundation/SystemFacts.h>
#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/QuickDraw.h>
#include <toolbox/Timer.h>

namespace {

constexpr SInt16 kRingDistance = 4;  // of the ring's outer edge from the button
constexpr SInt16 kRingThickness = 3;
constexpr SInt16 kRingOval = 16;
constexpr UInt32 kFlashTicks = 7;
constexpr ControlPartCode kFlashedPart = 1;

// Draws in a dialog while it lives.
class PortOfDialog {
  public:
    explicit PortOfDialog(DialogRef inDialog) {
        GetPort(&mSaved);
        SetPort(GetDialogPort(inDialog));
    }
    ~PortOfDialog() { SetPort(mSaved); }
    PortOfDialog(const PortOfDialog&) = delete;
    PortOfDialog& operator=(const PortOfDialog&) = delete;

  private:
    GrafPtr mSaved = nullptr;
};

}  // namespace

short GetBoldFaceValue() {
    return AppIsJapanese() ? normal : bold;
}

void SetBoldFace() {
    TextFace(GetBoldFaceValue());
}

void FrameDefault(DialogRef inDialog, short inItem, bool inOn) {
    const PortOfDialog port(inDialog);
    PenState pen;
    GetPenState(&pen);

    DialogItemType type = 0;
    Handle item = nullptr;
    Rect box = {};
    GetDialogItem(inDialog, inItem, &type, &item, &box);
    InsetRect(&box, -kRingDistance, -kRingDistance);
    PenSize(kRingThickness, kRingThickness);
    Pattern pattern;
    PenPat(inOn ? GetQDGlobalsBlack(&pattern) : GetQDGlobalsWhite(&pattern));
    FrameRoundRect(&box, kRingOval, kRingOval);

    SetPenState(&pen);
}

void FlashButton(DialogRef inDialog, short inItem) {
    const PortOfDialog port(inDialog);
    DialogItemType type = 0;
    Handle item = nullptr;
    Rect box = {};
    GetDialogItem(inDialog, inItem, &type, &item, &box);
    if (type != kButtonDialogItem || item == nullptr) return;
    HiliteControl(reinterpret_cast<ControlRef>(item), kFlashedPart);
    const UInt32 start = TickCount();
    while (TickCount() - start < kFlashTicks) {
    }
}

// Alert and dialog templates and item lists of hostile making: read, shown, laid out anew, drawn.
// An input is an ALRT of 12 bytes, a DLOG behind its length, and the DITL of both.
#include "InputFile.h"
#include "formats/ResourceFork.h"
#include "os/SystemCalls_test_access.h"

#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/Dialogs.h>
#include <toolbox/Files.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace {

using toolbox::resources::Image;
using Bytes = std::span<const UInt8>;

constexpr SInt16 kID = 128;
constexpr SInt16 kItemsID = 129;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

Bytes Take(Bytes& ioInput, std::size_t inCount) {
    const Bytes taken = ioInput.first(std::min(inCount, ioInput.size()));
    ioInput = ioInput.subspan(taken.size());
    return taken;
}

void PutWord(std::vector<UInt8>& ioBytes, std::size_t inOffset, int inValue) {
    if (ioBytes.size() < inOffset + 2) return;
    ioBytes[inOffset] = static_cast<UInt8>(inValue >> 8);
    ioBytes[inOffset + 1] = static_cast<UInt8>(inValue);
}

Image ImageOf(ResType inType, SInt16 inID, std::vector<UInt8> inBytes) {
    Image image;
    image.reference.type = inType;
    image.reference.id = inID;
    image.bytes = std::move(inBytes);
    return image;
}

// Both templates name the list; the dialog is small, for large ones only take longer to draw.
std::vector<UInt8> ForkOf(Bytes inInput) {
    const Bytes alert = Take(inInput, 12);
    const Bytes dialog = Take(inInput, inInput.empty() ? 0 : Take(inInput, 1)[0]);
    std::vector<Image> images = {ImageOf(FourChars("ALRT"), kID, {alert.begin(), alert.end()}),
                                 ImageOf(FourChars("DLOG"), kID, {dialog.begin(), dialog.end()}),
                                 ImageOf(FourChars("DITL"), kItemsID, {inInput.begin(), inInput.end()})};
    PutWord(images[0].bytes, 8, kItemsID);
    for (std::size_t offset = 0; offset < 8; offset += 2)
        if (images[1].bytes.size() > offset) images[1].bytes[offset] = 0;
    PutWord(images[1].bytes, 18, kItemsID);
    std::vector<UInt8> fork;
    Require(toolbox::resources::EncodeFork(images, 0, fork));
    return fork;
}

void UseControl(ControlRef inControl) {
    Str255 title;
    GetControlTitle(inControl, title);
    Rect bounds;
    GetControlBounds(inControl, &bounds);
    HiliteControl(inControl, static_cast<ControlPartCode>(title[0]));
    Draw1Control(inControl);
}

void UseDialog() {
    const DialogRef dialog = GetNewDialog(kID, nullptr, nullptr);
    if (dialog == nullptr) return;
    const SInt16 count = CountDITL(dialog);
    Require(count >= 0);
    for (SInt16 i = 0; i <= count && i < 300; ++i) {
        DialogItemType type = 0;
        Handle item = nullptr;
        Rect box = {};
        GetDialogItem(dialog, i, &type, &item, &box);
        std::swap(box.top, box.left);
        SetDialogItemBox(dialog, i, &box);
        if (item == nullptr) continue;
        switch (type & ~kItemDisableBit) {
            case kButtonDialogItem:
            case kCheckBoxDialogItem:
            case kRadioButtonDialogItem:
                UseControl(reinterpret_cast<ControlRef>(item));
                break;
            default:
                Require(GetHandleSize(item) >= 0 && GetHandleSize(item) <= 255);
        }
    }
    DrawDialog(dialog);
    DisposeDialog(dialog);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    static const bool sIsAlone = [] {
        // No resources but those of the input.
        toolbox::os::CallsForTesting().readlinkat = [](int, const char*, char*, std::size_t) -> ssize_t {
            return -1;
        };
        SetAlertHandler(
            [](void*, SInt16, const ConstStr255Param[], DialogItemIndex inDefault) { return inDefault; },
            nullptr);
        return true;
    }();
    Require(sIsAlone);
    static const InputFile sFile;
    const std::vector<UInt8> fork = ForkOf({inBytes, inCount});
    sFile.Fill(fork.data(), fork.size());
    FSRef file = {};
    Require(FSPathMakeRef(reinterpret_cast<const UInt8*>(sFile.Path()), &file, nullptr) == noErr);
    SInt16 refNum = -1;
    Require(FSOpenResourceFile(&file, 0, nullptr, fsRdPerm, &refNum) == noErr);
    const DialogItemIndex answer = StopAlert(kID, nullptr);
    Require(answer == -1 || answer == 1 || answer == 2);
    UseDialog();
    CloseResFile(refNum);
    Require(GetLiveHandleCount() == 0);
    return 0;
}

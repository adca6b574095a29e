#include "DialogResources.h"

#include "os/BigEndian.h"

namespace toolbox::interface {

namespace {

// A "DLOG": bounds (8), the window's definition (2), visible (1 of 2), with a close box (1 of 2), a number of
// the program's (4), the item list's id (2); then the title, a Pascal string, which nobody sees here.
constexpr std::size_t kDialogBytes = 20;
constexpr std::size_t kVisibleOffset = 10;
constexpr std::size_t kItemListOffset = 18;

SInt16 Word(std::span<const UInt8> inBytes, std::size_t inOffset) {
    return static_cast<SInt16>(os::Load16(&inBytes[inOffset]));
}

}  // namespace

bool DecodeDialog(std::span<const UInt8> inBytes, DialogTemplate& outDialog) {
    if (inBytes.size() < kDialogBytes) return false;
    outDialog.bounds = {Word(inBytes, 0), Word(inBytes, 2), Word(inBytes, 4), Word(inBytes, 6)};
    outDialog.isVisible = inBytes[kVisibleOffset] != 0;
    outDialog.itemListID = Word(inBytes, kItemListOffset);
    return true;
}

}  // namespace toolbox::interface

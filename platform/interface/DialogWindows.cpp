#include "AlertResources.h"
#include "ControlRecord.h"
#include "DialogResources.h"
#include "Port.h"
#include "ResourceBytes.h"

#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/MacMemory.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace toolbox::interface {

namespace {

constexpr ResType kDialogType = FourChars("DLOG");
constexpr ResType kItemListType = FourChars("DITL");

struct HandleDisposer {
    void operator()(Handle inHandle) const { DisposeHandle(inHandle); }
};
using OwnedHandle = std::unique_ptr<Ptr, HandleDisposer>;

struct Item {
    DialogItemType type = 0;
    OwnedHandle handle;
    Rect box = {};
};

struct Dialog {
    explicit Dialog(const Rect& inBounds) : port(inBounds) {}

    Port port;
    bool isVisible = false;
    std::vector<Item> items;
};

Dialog* DialogOf(DialogRef inDialog) {
    return reinterpret_cast<Dialog*>(inDialog);
}

bool IsControl(DialogItemType inType) {
    const int type = inType & ~kItemDisableBit;
    return type >= kButtonDialogItem && type <= kRadioButtonDialogItem;
}

Item* FindItem(DialogRef inDialog, SInt16 inItem) {
    if (inDialog == nullptr) return nullptr;
    std::vector<Item>& items = DialogOf(inDialog)->items;
    if (inItem < 1 || static_cast<std::size_t>(inItem) > items.size()) return nullptr;
    return &items[static_cast<std::size_t>(inItem) - 1];
}

OwnedHandle NewBlock(const void* inBytes, std::size_t inByteCount) {
    Handle block = nullptr;
    if (PtrToHand(inBytes, &block, static_cast<Size>(inByteCount)) != noErr) throw std::bad_alloc();
    return OwnedHandle(block);
}

OwnedHandle MakeControl(const AlertItem& inItem, Dialog& inDialog) {
    ControlRecord record = {};
    record.port = &inDialog.port;
    record.box = inItem.bounds;
    record.type = inItem.type;
    record.hilite = inItem.isEnabled ? kControlNoPart : kControlInactivePart;
    record.isVisible = inDialog.isVisible;
    record.title[0] = static_cast<unsigned char>(inItem.text.size());
    std::copy(inItem.text.begin(), inItem.text.end(), record.title + 1);
    return NewBlock(&record, sizeof record);
}

Item MakeItem(const AlertItem& inItem, Dialog& inDialog) {
    Item item;
    item.type = static_cast<DialogItemType>(inItem.type | (inItem.isEnabled ? 0 : kItemDisableBit));
    item.box = inItem.bounds;
    if (IsControl(item.type))
        item.handle = MakeControl(inItem, inDialog);
    else if (inItem.type == kStaticTextDialogItem || inItem.type == kEditTextDialogItem)
        item.handle = NewBlock(inItem.text.data(), inItem.text.size());
    return item;
}

// Null when a resource is missing or makes no sense.
std::unique_ptr<Dialog> MakeDialog(SInt16 inDialogID) {
    DialogTemplate contents;
    if (!DecodeDialog(BytesOfResource(kDialogType, inDialogID), contents)) return nullptr;
    Rect bounds = contents.bounds;
    if (EmptyRect(&bounds) || bounds.right - bounds.left > Port::kMaxWidth ||
        bounds.bottom - bounds.top > Port::kMaxWidth)
        return nullptr;
    OffsetRect(&bounds, static_cast<SInt16>(-bounds.left), static_cast<SInt16>(-bounds.top));
    std::vector<AlertItem> items;
    if (!DecodeItems(BytesOfResource(kItemListType, contents.itemListID), items)) return nullptr;
    auto dialog = std::make_unique<Dialog>(bounds);
    dialog->isVisible = contents.isVisible;
    dialog->items.reserve(items.size());
    for (const AlertItem& item : items)
        dialog->items.push_back(MakeItem(item, *dialog));
    return dialog;
}

}  // namespace

}  // namespace toolbox::interface

using namespace toolbox::interface;

DialogRef GetNewDialog(SInt16 inDialogID, void* /*inStorage*/, void* /*inBehind*/) {
    try {
        const auto dialog = reinterpret_cast<DialogRef>(MakeDialog(inDialogID).release());
        DrawDialog(dialog);
        return dialog;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void DisposeDialog(DialogRef inDialog) {
    if (inDialog == nullptr) return;
    LeavePort(&DialogOf(inDialog)->port);
    delete DialogOf(inDialog);
}

void DrawDialog(DialogRef inDialog) {
    if (inDialog == nullptr) return;
    for (const Item& item : DialogOf(inDialog)->items)
        if (IsControl(item.type)) Draw1Control(reinterpret_cast<ControlRef>(item.handle.get()));
}

CGrafPtr GetDialogPort(DialogRef inDialog) {
    return inDialog == nullptr ? nullptr : RefOf(&DialogOf(inDialog)->port);
}

SInt16 CountDITL(DialogRef inDialog) {
    return inDialog == nullptr
               ? SInt16{0}
               : static_cast<SInt16>(std::min<std::size_t>(DialogOf(inDialog)->items.size(), INT16_MAX));
}

void GetDialogItem(DialogRef inDialog, SInt16 inItem, DialogItemType* outType, Handle* outItem,
                   Rect* outBox) {
    const Item* const item = FindItem(inDialog, inItem);
    if (outType != nullptr) *outType = item != nullptr ? item->type : DialogItemType{0};
    if (outItem != nullptr) *outItem = item != nullptr ? item->handle.get() : nullptr;
    if (outBox != nullptr) *outBox = item != nullptr ? item->box : Rect{};
}

void SetDialogItemBox(DialogRef inDialog, SInt16 inItem, const Rect* inBox) {
    Item* const item = FindItem(inDialog, inItem);
    if (item == nullptr) return;
    item->box = *inBox;
    if (IsControl(item->type)) RecordOf(reinterpret_cast<ControlRef>(item->handle.get())).box = *inBox;
}

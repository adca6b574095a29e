#include "DialogTest.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <toolbox/DialogWindows.h>

#include <string>

namespace {

using namespace test_interface;
using test_resources::TextOf;

class DialogWindowsTest : public DialogTest {
  protected:
    void OpenUsual(bool inIsVisible = true) {
        OpenResources(DialogBytes(40, 50, 80, 150, kItemsID, inIsVisible),
                      ItemList()
                          .Add(ItemList::kButton, 10, 20, "OK")
                          .Add(ItemList::kStaticText | ItemList::kDisabled, 5, 0, "text")
                          .Add(ItemList::kCheckBox, 12, 30, "box")
                          .Add(ItemList::kIcon, 1, 2, "\1\2")
                          .Add(ItemList::kEditText, 3, 4, "")
                          .Add(ItemList::kRadio | ItemList::kDisabled, 20, 30, "off")
                          .Get());
    }
};

TEST_F(DialogWindowsTest, PortIsAsLargeAsTheBounds) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    ASSERT_NE(nullptr, dialog);
    Rect bounds;
    GetPortBounds(GetDialogPort(dialog), &bounds);
    EXPECT_EQ(0, bounds.top);
    EXPECT_EQ(0, bounds.left);
    EXPECT_EQ(40, bounds.bottom);
    EXPECT_EQ(100, bounds.right);
    GrafPtr current = nullptr;
    GetPort(&current);
    EXPECT_EQ(nullptr, current) << "the current port stays";
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, Items) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    ASSERT_NE(nullptr, dialog);
    EXPECT_EQ(6, CountDITL(dialog));
    DialogItemType type = -1;
    Handle item = nullptr;
    Rect box = {};
    GetDialogItem(dialog, 1, &type, &item, &box);
    EXPECT_EQ(kButtonDialogItem, type);
    EXPECT_EQ(10, box.top);
    EXPECT_EQ(80, box.right);
    Str255 title;
    GetControlTitle(reinterpret_cast<ControlRef>(item), title);
    EXPECT_EQ("OK", TextOf(ConstStr255Param(title)));
    GetDialogItem(dialog, 2, &type, &item, nullptr);
    EXPECT_EQ(kStaticTextDialogItem + kItemDisableBit, type);
    EXPECT_EQ("text", TextOf(item));
    GetDialogItem(dialog, 3, &type, nullptr, nullptr);
    EXPECT_EQ(kCheckBoxDialogItem, type);
    GetDialogItem(dialog, 4, &type, &item, &box);
    EXPECT_EQ(kIconDialogItem, type);
    EXPECT_EQ(nullptr, item);
    EXPECT_EQ(1, box.top);
    GetDialogItem(dialog, 5, nullptr, &item, nullptr);
    EXPECT_EQ("", TextOf(item));
    EXPECT_EQ(kControlInactivePart, GetControlHilite(ControlOf(dialog, 6)));
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, NoSuchItem) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    ASSERT_NE(nullptr, dialog);
    for (const SInt16 number : {0, -1, 7, 32767}) {
        DialogItemType type = 4;
        Handle item = reinterpret_cast<Handle>(&type);
        Rect box = {1, 1, 2, 2};
        GetDialogItem(dialog, number, &type, &item, &box);
        EXPECT_EQ(0, type);
        EXPECT_EQ(nullptr, item);
        EXPECT_TRUE(EmptyRect(&box));
        SetDialogItemBox(dialog, number, &box);
    }
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, NoDialog) {
    DialogItemType type = 4;
    Handle item = nullptr;
    Rect box = {1, 1, 2, 2};
    GetDialogItem(nullptr, 1, &type, &item, &box);
    EXPECT_EQ(0, type);
    EXPECT_TRUE(EmptyRect(&box));
    EXPECT_EQ(0, CountDITL(nullptr));
    EXPECT_EQ(nullptr, GetDialogPort(nullptr));
    SetDialogItemBox(nullptr, 1, &box);
    DrawDialog(nullptr);
    DisposeDialog(nullptr);
}

TEST_F(DialogWindowsTest, ControlsAreDrawnWhenItIsVisible) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    const Picture picture = PictureOf(GetDialogPort(dialog));
    EXPECT_EQ('#', picture[10][50]) << "the button's upper edge";
    EXPECT_EQ('.', picture[10][20]) << "its round corner";
    EXPECT_EQ('#', picture[12][30]) << "the box's corner";
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, NothingIsDrawnWhenItIsNot) {
    OpenUsual(false);
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    DrawDialog(dialog);
    HiliteControl(ControlOf(dialog, 1), 1);
    EXPECT_EQ(Picture(40, std::string(100, '.')), PictureOf(GetDialogPort(dialog)));
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, ItemElsewhere) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    constexpr Rect kThere = {20, 60, 30, 90};
    SetDialogItemBox(dialog, 1, &kThere);
    SetDialogItemBox(dialog, 2, &kThere);
    Rect box = {};
    GetDialogItem(dialog, 1, nullptr, nullptr, &box);
    EXPECT_EQ(60, box.left);
    GetControlBounds(ControlOf(dialog, 1), &box);
    EXPECT_EQ(60, box.left);
    GetDialogItem(dialog, 2, nullptr, nullptr, &box);
    EXPECT_EQ(60, box.left);
    DisposeDialog(dialog);
}

TEST_F(DialogWindowsTest, DisposedOfWhileItIsCurrent) {
    OpenUsual();
    const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
    SetPort(GetDialogPort(dialog));
    DisposeDialog(dialog);
    GrafPtr current = nullptr;
    GetPort(&current);
    EXPECT_EQ(nullptr, current);
}

TEST_F(DialogWindowsTest, MissingOrSenseless) {
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr));
    const Bytes items = ItemList().Add(ItemList::kButton, 1, 1, "OK").Get();
    OpenResources(DialogBytes(0, 0, 10, 10, kItemsID + 1), items);
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "no items";
    OpenResources(Bytes(19), items);
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "cut off";
    OpenResources(DialogBytes(0, 0, 10, 10, kItemsID), Bytes(items.begin(), items.end() - 3));
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "items cut off";
    OpenResources(DialogBytes(10, 0, 10, 10, kItemsID), items);
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "empty";
    OpenResources(DialogBytes(0, -32768, 1, 32767, kItemsID), items);
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "too wide";
    OpenResources(DialogBytes(-32768, 0, 32767, 1, kItemsID), items);
    EXPECT_EQ(nullptr, GetNewDialog(kDialogID, nullptr, nullptr)) << "too high";
}

TEST_F(DialogWindowsTest, MemoryFails) {
    OpenUsual();
    DisposeDialog(GetNewDialog(kDialogID, nullptr, nullptr));  // reads the resources
    const UInt64 handles = GetLiveHandleCount();
    const int failureCount = support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
        DialogRef dialog = nullptr;
        const bool failed = inUnderFault([&] { dialog = GetNewDialog(kDialogID, nullptr, nullptr); });
        EXPECT_EQ(failed, dialog == nullptr);
        DisposeDialog(dialog);
        EXPECT_EQ(handles, GetLiveHandleCount());
    });
    EXPECT_GE(failureCount, 1);
}

TEST_F(DialogWindowsTest, HandlesFail) {
    OpenUsual();
    DisposeDialog(GetNewDialog(kDialogID, nullptr, nullptr));
    const UInt64 handles = GetLiveHandleCount();
    const UInt64 inUse = GetMemoryInUse();
    int refused = 0;
    for (UInt64 room = 0;; room += 40) {
        SetMemoryLimit(inUse + room);
        const DialogRef dialog = GetNewDialog(kDialogID, nullptr, nullptr);
        SetMemoryLimit(0);
        if (dialog != nullptr) {
            DisposeDialog(dialog);
            break;
        }
        ++refused;
        EXPECT_EQ(handles, GetLiveHandleCount());
    }
    EXPECT_GT(refused, 10);
}

}  // namespace

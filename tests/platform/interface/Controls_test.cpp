#include "DialogTest.h"

#include <gtest/gtest.h>
#include <toolbox/Controls.h>

namespace {

using namespace test_interface;

class ControlsTest : public DialogTest {
  protected:
    void Make() {
        OpenResources(
            DialogBytes(0, 0, 24, 64, kItemsID),
            ItemList().Add(ItemList::kButton, 2, 2, "OK").Add(ItemList::kCheckBox, 2, 2, "box").Get());
        mDialog = GetNewDialog(kDialogID, nullptr, nullptr);
        ASSERT_NE(nullptr, mDialog);
        mButton = ControlOf(mDialog, 1);
        mBox = ControlOf(mDialog, 2);
        SetPort(GetDialogPort(mDialog));
        EraseRect(&GetPortBitMapForCopyBits(GetDialogPort(mDialog))->bounds);
        SetPort(nullptr);
    }
    ~ControlsTest() override { DisposeDialog(mDialog); }

    Picture Get() const { return PictureOf(GetDialogPort(mDialog)); }
    DialogRef mDialog = nullptr;
    ControlRef mButton = nullptr;
    ControlRef mBox = nullptr;
};

TEST_F(ControlsTest, HighlightInverts) {
    Make();
    Draw1Control(mButton);
    const Picture plain = Get();
    EXPECT_EQ('#', plain[2][30]);
    EXPECT_EQ('.', plain[10][30]);
    EXPECT_EQ(0, GetControlHilite(mButton));
    HiliteControl(mButton, 1);
    EXPECT_EQ(1, GetControlHilite(mButton));
    const Picture highlighted = Get();
    EXPECT_EQ('#', highlighted[10][30]);
    EXPECT_EQ('.', highlighted[2][30]) << "the frame too";
    EXPECT_EQ('.', highlighted[2][2]) << "not beyond the corner";
    EXPECT_EQ('.', highlighted[1][30]);
    HiliteControl(mButton, kControlButtonPart);
    EXPECT_EQ(highlighted, Get());
    HiliteControl(mButton, kControlNoPart);
    EXPECT_EQ(plain, Get());
}

TEST_F(ControlsTest, InactiveIsGray) {
    Make();
    HiliteControl(mButton, kControlInactivePart);
    const Picture picture = Get();
    EXPECT_NE(picture[2][30], picture[2][31]) << "every other pixel of the edge";
    EXPECT_EQ('.', picture[10][30]);
    EXPECT_EQ(kControlInactivePart, GetControlHilite(mButton));
    HiliteControl(mButton, kControlDisabledPart);
    EXPECT_EQ(picture, Get());
    HiliteControl(mBox, kControlInactivePart);
    EXPECT_NE(Get()[21][30], Get()[21][31]);
}

TEST_F(ControlsTest, OthersAreBoxes) {
    Make();
    Draw1Control(mBox);
    const Picture picture = Get();
    EXPECT_EQ('#', picture[2][2]);
    EXPECT_EQ('#', picture[21][61]);
    EXPECT_EQ('.', picture[10][10]);
}

TEST_F(ControlsTest, TheSameHighlightDrawsNothing) {
    Make();
    const Picture white = Get();
    HiliteControl(mButton, 0);
    EXPECT_EQ(white, Get());
}

TEST_F(ControlsTest, PortAndPenStay) {
    Make();
    const OwnPort other({0, 0, 4, 4});
    SetPort(GetDialogPort(mDialog));
    PenSize(3, 2);
    SetPort(other);
    HiliteControl(mButton, 1);
    GrafPtr current = nullptr;
    GetPort(&current);
    EXPECT_EQ(static_cast<GrafPtr>(other), current);
    EXPECT_EQ(Picture(4, "...."), other.Get());
    SetPort(GetDialogPort(mDialog));
    PenState pen;
    GetPenState(&pen);
    EXPECT_EQ(3, pen.pnSize.h);
    SetPort(other);
}

TEST_F(ControlsTest, NoControl) {
    HiliteControl(nullptr, 1);
    Draw1Control(nullptr);
    EXPECT_EQ(0, GetControlHilite(nullptr));
    Rect bounds = {1, 1, 2, 2};
    EXPECT_EQ(&bounds, GetControlBounds(nullptr, &bounds));
    EXPECT_TRUE(EmptyRect(&bounds));
    Str255 title = "\1x";
    GetControlTitle(nullptr, title);
    EXPECT_EQ(0, title[0]);
}

}  // namespace

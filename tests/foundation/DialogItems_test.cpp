#include "GuardTest.h"
#include "fakes/Drawing.h"
#include "fakes/System.h"
#include "fakes/Text.h"
#include "foundation/SystemStatics.h"

#include <foundation/DialogItems.h>
#include <gtest/gtest.h>
#include <toolbox/TextEncoding.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

constexpr Rect kBox = {10, 20, 30, 80};

class DialogItemsTest : public GuardTest {
  protected:
    DialogItemsTest() { sAppIsJapanese = -1; }
    ~DialogItemsTest() override {
        EXPECT_EQ(mPort, fakes::CurrentPort());
        EXPECT_EQ(0, std::memcmp(&mPen, &fakes::Pen(), sizeof mPen)) << "the pen is as before";
        sAppIsJapanese = -1;
    }
    static Handle Item() { return reinterpret_cast<Handle>(&sItem); }

  private:
    static inline Ptr sItem = nullptr;
    GrafPtr mPort = fakes::CurrentPort();
    PenState mPen = fakes::Pen();
};

TEST_F(DialogItemsTest, FaceOfEmphasis) {
    EXPECT_EQ(1, GetBoldFaceValue());
    SetBoldFace();
    EXPECT_EQ(1, fakes::Face());
    sAppIsJapanese = -1;
    fakes::SetApplicationEncoding(kCFStringEncodingMacJapanese);
    EXPECT_EQ(0, GetBoldFaceValue());
    SetBoldFace();
    EXPECT_EQ(0, fakes::Face());
}

TEST_F(DialogItemsTest, FrameDefault) {
    fakes::SetDialogItem(4, Item(), kBox);
    FrameDefault(fakes::TheDialog(), 3, true);
    EXPECT_EQ((Log{"SetPort(2)", "GetPenState()", "GetDialogItem(3)", "PenSize(3, 3)", "PenPat(255)",
                   "FrameRoundRect(6, 16, 34, 84, 16, 16)", "SetPenState()", "SetPort(1)"}),
              fakes::CallLog());
}

TEST_F(DialogItemsTest, FrameDefaultErases) {
    fakes::SetDialogItem(4, Item(), kBox);
    FrameDefault(fakes::TheDialog(), 1, false);
    EXPECT_EQ((Log{"SetPort(2)", "GetPenState()", "GetDialogItem(1)", "PenSize(3, 3)", "PenPat(0)",
                   "FrameRoundRect(6, 16, 34, 84, 16, 16)", "SetPenState()", "SetPort(1)"}),
              fakes::CallLog());
}

TEST_F(DialogItemsTest, FlashButton) {
    fakes::SetDialogItem(4, Item(), kBox);
    fakes::SetTicks(1000, true);
    FlashButton(fakes::TheDialog(), 2);
    EXPECT_EQ((Log{"SetPort(2)", "GetDialogItem(2)", "HiliteControl(1)", "SetPort(1)"}), fakes::CallLog())
        << "left highlighted";
    EXPECT_EQ(8, fakes::TicksAskedCount()) << "until seven ticks have passed";
}

TEST_F(DialogItemsTest, FlashButtonWhileTicksWrap) {
    fakes::SetDialogItem(4, Item(), kBox);
    fakes::SetTicks(0xFFFFFFFD, true);
    FlashButton(fakes::TheDialog(), 2);
    EXPECT_EQ(8, fakes::TicksAskedCount());
}

TEST_F(DialogItemsTest, NothingElseFlashes) {
    for (const DialogItemType type : {0, 5, 6, 7, 8, 16, 32, 64, 132}) {
        fakes::SetDialogItem(type, Item(), kBox);
        FlashButton(fakes::TheDialog(), 2);
        EXPECT_EQ(0U, Count("HiliteControl")) << type;
    }
    fakes::SetDialogItem(4, nullptr, kBox);
    FlashButton(fakes::TheDialog(), 2);
    EXPECT_EQ(0U, Count("HiliteControl")) << "no control";
    EXPECT_EQ(0, fakes::TicksAskedCount());
}

}  // namespace

#include "interface/DialogResources.h"

#include "AlertBytes.h"

#include <gtest/gtest.h>

namespace {

using namespace test_interface;
using toolbox::interface::DecodeDialog;
using toolbox::interface::DialogTemplate;

TEST(DialogResources, Template) {
    DialogTemplate dialog;
    ASSERT_TRUE(DecodeDialog(DialogBytes(-5, 20, 100, 220, 128), dialog));
    EXPECT_EQ(-5, dialog.bounds.top);
    EXPECT_EQ(20, dialog.bounds.left);
    EXPECT_EQ(100, dialog.bounds.bottom);
    EXPECT_EQ(220, dialog.bounds.right);
    EXPECT_TRUE(dialog.isVisible);
    EXPECT_EQ(128, dialog.itemListID);
    ASSERT_TRUE(DecodeDialog(DialogBytes(0, 0, 1, 1, -3, false), dialog));
    EXPECT_FALSE(dialog.isVisible);
    EXPECT_EQ(-3, dialog.itemListID);
}

TEST(DialogResources, CutOff) {
    const Bytes whole = DialogBytes(0, 0, 10, 10, 128);
    DialogTemplate dialog;
    for (std::size_t size = 0; size < 20; ++size)
        EXPECT_FALSE(DecodeDialog(std::span(whole).first(size), dialog)) << size;
    EXPECT_TRUE(DecodeDialog(std::span(whole).first(20), dialog)) << "the title may be missing";
}

}  // namespace

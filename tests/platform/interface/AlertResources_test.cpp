#include "interface/AlertResources.h"

#include "AlertBytes.h"

#include <gtest/gtest.h>

namespace {

using namespace test_interface;
using namespace toolbox::interface;

TEST(AlertResources, Template) {
    AlertTemplate alert;
    ASSERT_TRUE(DecodeAlert(AlertBytes(-5, 0x4C04), alert));
    EXPECT_EQ(-5, alert.itemListID);
    const AlertStage expected[] = {{1, true}, {1, false}, {2, true}, {1, true}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(expected[i].defaultItem, alert.stages[i].defaultItem) << i;
        EXPECT_EQ(expected[i].isShown, alert.stages[i].isShown) << i;
    }
}

TEST(AlertResources, TemplateCutOff) {
    const Bytes whole = AlertBytes(1);
    AlertTemplate alert;
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(DecodeAlert(std::span(whole).first(size), alert)) << size;
}

TEST(AlertResources, Items) {
    std::vector<AlertItem> items;
    ASSERT_TRUE(DecodeItems(ItemList()
                                .Add(ItemList::kButton, 10, -20, "OK")
                                .Add(ItemList::kStaticText | ItemList::kDisabled, 1, 2, "odd")
                                .Add(ItemList::kIcon, 3, 4, "\1\2")
                                .Add(ItemList::kCheckBox, 5, 6, "box")
                                .Get(),
                            items));
    ASSERT_EQ(4U, items.size());
    EXPECT_EQ(AlertItem::kButton, items[0].kind);
    EXPECT_TRUE(items[0].isEnabled);
    EXPECT_EQ("OK", items[0].text);
    EXPECT_EQ(10, items[0].bounds.top);
    EXPECT_EQ(-20, items[0].bounds.left);
    EXPECT_EQ(30, items[0].bounds.bottom);
    EXPECT_EQ(40, items[0].bounds.right);
    EXPECT_EQ(AlertItem::kStaticText, items[1].kind);
    EXPECT_FALSE(items[1].isEnabled);
    EXPECT_EQ("odd", items[1].text);
    EXPECT_EQ(AlertItem::kOther, items[2].kind);
    EXPECT_EQ("", items[2].text) << "an icon's id is no text";
    EXPECT_EQ(AlertItem::kOther, items[3].kind);
}

TEST(AlertResources, NoItems) {
    std::vector<AlertItem> items(3);
    EXPECT_TRUE(DecodeItems(ItemList().Get(), items));
    EXPECT_TRUE(items.empty());
}

TEST(AlertResources, ItemsCutOff) {
    const Bytes whole = DebugItems().Get();
    std::vector<AlertItem> items;
    for (std::size_t size = 0; size < whole.size() - 1; ++size)
        EXPECT_FALSE(DecodeItems(std::span(whole).first(size), items)) << size;
    EXPECT_EQ(5U, items.size()) << "those before";
    EXPECT_TRUE(DecodeItems(std::span(whole).first(whole.size() - 1), items))
        << "the last one's pad may be missing";
    EXPECT_EQ(6U, items.size());
}

TEST(AlertResources, AsManyItemsAsCanBeTold) {
    Bytes bytes = ItemList().Add(ItemList::kButton, 0, 0, "").Get();
    bytes[0] = 0xFF;
    bytes[1] = 0xFE;
    std::vector<AlertItem> items;
    EXPECT_FALSE(DecodeItems(bytes, items));
}

}  // namespace

#include "interface/AlertText.h"

#include "AlertBytes.h"

#include <gtest/gtest.h>

namespace {

using namespace test_interface;
using namespace toolbox::interface;
using namespace std::string_literals;

const ParamTexts kTexts = {"zero", "one", "", "three"};

TEST(AlertText, Substitution) {
    EXPECT_EQ("", Substituted("", kTexts));
    EXPECT_EQ("zero, one, , three", Substituted("^0, ^1, ^2, ^3", kTexts));
    EXPECT_EQ("zerozero", Substituted("^0^0", kTexts));
    EXPECT_EQ("^4 ^ ^", Substituted("^4 ^ ^", kTexts));
    EXPECT_EQ("^zero", Substituted("^^0", kTexts));
}

TEST(AlertText, WhatIsPutInIsNotLookedAtAgain) {
    EXPECT_EQ("^1 ^0", Substituted("^0 ^1", {"^1", "^0", "", ""}));
}

TEST(AlertText, ForTheTerminal) {
    EXPECT_EQ("", TerminalText(""));
    EXPECT_EQ("plain", TerminalText("plain"));
    EXPECT_EQ("caf\xC3\xA9", TerminalText("caf\xC3\xA9")) << "UTF-8, the application's encoding";
    EXPECT_EQ("caf\xC3\xA9", TerminalText("caf\x8E")) << "else Mac Roman";
    EXPECT_EQ("a\nb\nc", TerminalText("a\rb\nc"));
    EXPECT_EQ("?[2J?", TerminalText("\x1B[2J\x7F")) << "no commands";
    EXPECT_EQ("a?b", TerminalText("a\0b"s));
    EXPECT_EQ("?31m", TerminalText("\xC2\x9B"
                                   "31m"))
        << "nor in eight bits";
    EXPECT_EQ("\xC2\xA0", TerminalText("\xC2\xA0")) << "a space that does not break is no control";
}

std::vector<AlertItem> Decoded(const ItemList& inItems) {
    std::vector<AlertItem> items;
    EXPECT_TRUE(DecodeItems(inItems.Get(), items));
    return items;
}

TEST(AlertText, LayoutOfTheApplication) {
    EXPECT_EQ(
        "Failure zero\n"
        "in one, line three: \n"
        "[4] Quit  [5] Debug  [6] Silence  *[1] Continue\n",
        AlertLines(Decoded(DebugItems()), kTexts, 1));
}

TEST(AlertText, TopToBottomThenLeftToRight) {
    EXPECT_EQ("b\na\nd\nc\n", AlertLines(Decoded(ItemList()
                                                     .Add(ItemList::kStaticText, 10, 10, "a")
                                                     .Add(ItemList::kStaticText, 0, 90, "b")
                                                     .Add(ItemList::kStaticText, 50, 5, "c")
                                                     .Add(ItemList::kStaticText, 50, -5, "d")),
                                         kTexts, 1));
}

TEST(AlertText, DisabledButtonsAndOtherItemsAreLeftOut) {
    EXPECT_EQ("[3] zero\n", AlertLines(Decoded(ItemList()
                                                   .Add(ItemList::kButton | ItemList::kDisabled, 0, 0, "no")
                                                   .Add(ItemList::kEditText, 0, 0, "edit")
                                                   .Add(ItemList::kButton, 0, 0, "^0")),
                                       kTexts, 1));
    EXPECT_EQ("", AlertLines({}, kTexts, 1));
}

TEST(AlertText, WithoutALayout) {
    EXPECT_EQ("zero\none\nthree\n", PlainLines(kTexts));
    EXPECT_EQ("", PlainLines({}));
}

}  // namespace

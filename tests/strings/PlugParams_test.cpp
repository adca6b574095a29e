#include "PascalBuffer.h"
#include "strings/NaiveByteStrings.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <strings/PascalStrings.h>

#include <optional>
#include <random>
#include <string>

namespace {

using Param = std::optional<std::string>;
using P = PascalBuffer;

std::string Plug(const std::string& inText, const Param (&inParams)[4]) {
    P text(inText), buffers[4];
    const unsigned char* params[4] = {};
    for (int i = 0; i < 4; ++i) {
        if (!inParams[i]) continue;
        buffers[i] = P(*inParams[i]);
        params[i] = buffers[i];
    }
    PPlugParams(text, params[0], params[1], params[2], params[3]);
    EXPECT_TRUE(text.IsUntouchedFrom(std::max(inText.size(), text.Text().size()) + 1));
    return text.Text();
}

TEST(PlugParams, EveryPlaceholderEverywhere) {
    EXPECT_EQ("x and x, ^4^", Plug("^0 and ^0, ^4^", {"x", {}, {}, {}}));
    EXPECT_EQ(" and , ^4^", Plug("^0 and ^0, ^4^", {}));
    EXPECT_EQ("dcba", Plug("^3^2^1^0", {"a", "b", "c", "d"}));
    EXPECT_EQ("", Plug("^0^1^2^3", {}));
    EXPECT_EQ("", Plug("^0^1^2^3", {"", "", "", ""}));
    EXPECT_EQ("", Plug("", {"a", "b", "c", "d"}));
    EXPECT_EQ("none", Plug("none", {"a", "b", "c", "d"}));
}

TEST(PlugParams, CaretsThatAreNoPlaceholders) {
    EXPECT_EQ("^", Plug("^", {"a", {}, {}, {}}));
    EXPECT_EQ("a^", Plug("^0^", {"a", {}, {}, {}}));
    EXPECT_EQ("^^0", Plug("^^0", {"a", {}, {}, {}})) << "a pair of carets, then a digit";
    EXPECT_EQ("^^a", Plug("^^^0", {"a", {}, {}, {}}));
    EXPECT_EQ("^/^4^a^ ", Plug("^/^4^a^ ", {"a", "b", "c", "d"}));
}

TEST(PlugParams, InsertedTextIsNotSearched) {
    EXPECT_EQ("^1 ^0", Plug("^0 ^1", {"^1", "^0", {}, {}}));
    EXPECT_EQ("^0", Plug("^00", {"^", "x", {}, {}}));
}

TEST(PlugParams, WhatDoesNotFitIsDropped) {
    const std::string longText = Filler(255);
    EXPECT_EQ(longText, Plug("^0", {longText, {}, {}, {}}));
    EXPECT_EQ(longText, Plug("^0^0^0!", {longText, {}, {}, {}}));
    EXPECT_EQ(Filler(254) + "a", Plug("^0^1", {Filler(254), "abc", {}, {}}));
    EXPECT_EQ(Filler(254) + "^", Plug("^0^4z", {Filler(254), {}, {}, {}})) << "room for half of a pair";
    EXPECT_EQ(Filler(253) + "^4", Plug("^0^4z", {Filler(253), {}, {}, {}}));
    EXPECT_EQ(Filler(255), Plug("^0^", {Filler(255), {}, {}, {}}));
    EXPECT_EQ(Filler(254) + "^", Plug("^0^", {Filler(254), {}, {}, {}}));
    EXPECT_EQ(Filler(253) + "ab", Plug(Filler(253) + "^0", {"abc", {}, {}, {}}));
}

TEST(PlugParams, AParameterMayBeTheTextItself) {
    P text("<^0>");
    PPlugParams(text, text, nullptr, nullptr, nullptr);
    EXPECT_EQ("<<^0>>", text.Text());
}

TEST(PlugParams, RandomTextsAgainstTheModel) {
    std::mt19937 random(7);
    const auto randomText = [&random](std::size_t inMaxLength) {
        std::string text(random() % (inMaxLength + 1), '\0');
        for (char& character : text)
            character = "^^^01234 x\xFF"[random() % 11];
        return text;
    };
    for (int run = 0, runs = support::Rounds(20000); run < runs; ++run) {
        const std::size_t maxLength = run % 3 == 0 ? 255 : 12;
        const std::string text = randomText(maxLength);
        Param params[4];
        for (Param& param : params)
            if (random() % 4 != 0) param = randomText(maxLength);
        ASSERT_EQ(naive::PlugParams(text, params), Plug(text, params)) << text;
    }
}

}  // namespace

#include "LateBoundFunctions.h"

#include <quicktime/UQTInteraction.h>

namespace {

using UQTInteractionTest = LateBoundTest;

TEST_F(UQTInteractionTest, BeginGivesTheToken) {
    PutQuickTime();
    sScript.token = -5;
    EXPECT_EQ(-5, UQTInteraction::BeginSuppress());
    EXPECT_EQ(1U, Count("Begin"));
}

TEST_F(UQTInteractionTest, EndTakesTheToken) {
    PutQuickTime();
    UQTInteraction::EndSuppress(4711);
    EXPECT_EQ("End(4711)", fakes::CallLog().back());
    UQTInteraction::EndSuppress(0);
    EXPECT_EQ("End(0)", fakes::CallLog().back());
}

TEST_F(UQTInteractionTest, AllowedIsWhatTheToolboxSays) {
    PutQuickTime();
    for (const Boolean allowed : {Boolean{0}, Boolean{1}}) {
        sScript.isInteractionAllowed = allowed;
        EXPECT_EQ(allowed, UQTInteraction::IsInteractionAllowed());
    }
}

TEST_F(UQTInteractionTest, WithoutTheFunctions) {
    PutEmptyQuickTime();
    EXPECT_EQ(0, UQTInteraction::BeginSuppress());
    EXPECT_EQ(1, UQTInteraction::IsInteractionAllowed());
    UQTInteraction::EndSuppress(0);
    UQTInteraction::EndSuppress(17);
    EXPECT_EQ(1U, Count("CFBundleCreate"));
}

TEST_F(UQTInteractionTest, WithoutOneFunction) {
    PutQuickTime({"QTBeginUserInteractionSuppression"});
    EXPECT_EQ(0, UQTInteraction::BeginSuppress());
    EXPECT_EQ(0, UQTInteraction::IsInteractionAllowed());
    UQTInteraction::EndSuppress(0);
    EXPECT_EQ(1U, Count("End"));
}

// Each as the first call of a program.
void (*const kCalls[])() = {[] { static_cast<void>(UQTInteraction::BeginSuppress()); },
                            [] { UQTInteraction::EndSuppress(1); },
                            [] { UQTInteraction::IsInteractionAllowed(); }};

TEST_F(UQTInteractionTest, FirstCallResolves) {
    for (const auto call : kCalls) {
        fakes::StartScenario();
        fakes::ForgetLiveBundles();
        ForgetTable();
        PutQuickTime();
        call();
        EXPECT_EQ(1, qtInited);
        for (const auto later : kCalls)
            later();
        EXPECT_EQ(1U, Count("CFBundleCreate"));
    }
}

TEST_F(UQTInteractionTest, EveryCallTriesAFailedLoadOnceMore) {
    std::size_t tries = 0;
    for (const auto call : kCalls) {
        call();
        EXPECT_EQ(++tries, Count("CFBundleCreate"));
    }
    EXPECT_EQ(0, UQTInteraction::BeginSuppress());
    EXPECT_EQ(1, UQTInteraction::IsInteractionAllowed());
    PutQuickTime();
    EXPECT_EQ(4711, UQTInteraction::BeginSuppress());
}

}  // namespace

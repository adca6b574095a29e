#include "LateBoundFunctions.h"

#include <quicktime/StDisableQTInteraction.h>

#include <type_traits>

namespace {

static_assert(sizeof(StDisableQTInteraction) == sizeof(long));
static_assert(!std::is_copy_constructible_v<StDisableQTInteraction>);
static_assert(!std::is_copy_assignable_v<StDisableQTInteraction>);

using StDisableQTInteractionTest = LateBoundTest;

Calls Suppressions() {
    Calls calls;
    for (const std::string& call : fakes::CallLog())
        if (call.rfind("Begin", 0) == 0 || call.rfind("End", 0) == 0) calls.push_back(call);
    return calls;
}

TEST_F(StDisableQTInteractionTest, SpansTheScope) {
    PutQuickTime();
    {
        const StDisableQTInteraction guard;
        EXPECT_EQ(Calls{"Begin()"}, Suppressions());
    }
    EXPECT_EQ((Calls{"Begin()", "End(4711)"}), Suppressions());
}

TEST_F(StDisableQTInteractionTest, NestedEndInReverse) {
    PutQuickTime();
    {
        const StDisableQTInteraction outer;
        const StDisableQTInteraction middle;
        { const StDisableQTInteraction inner; }
        EXPECT_EQ("End(4713)", Suppressions().back());
    }
    EXPECT_EQ((Calls{"Begin()", "Begin()", "Begin()", "End(4713)", "End(4712)", "End(4711)"}),
              Suppressions());
}

TEST_F(StDisableQTInteractionTest, EndsWhenAnExceptionPasses) {
    PutQuickTime();
    EXPECT_THROW(
        {
            const StDisableQTInteraction guard;
            throw 1;
        },
        int);
    EXPECT_EQ((Calls{"Begin()", "End(4711)"}), Suppressions());
}

TEST_F(StDisableQTInteractionTest, HarmlessWithoutTheFunctions) {
    PutEmptyQuickTime();
    { const StDisableQTInteraction guard; }
    EXPECT_EQ(Calls(), Suppressions());
}

TEST_F(StDisableQTInteractionTest, HarmlessWithoutTheFramework) {
    { const StDisableQTInteraction guard; }
    EXPECT_EQ(2U, Count("CFBundleCreate"));
    EXPECT_EQ(0, qtInited);
}

TEST_F(StDisableQTInteractionTest, TokenZeroIsEndedToo) {
    PutQuickTime({"QTBeginUserInteractionSuppression"});
    { const StDisableQTInteraction guard; }
    EXPECT_EQ(Calls{"End(0)"}, Suppressions());
}

TEST_F(StDisableQTInteractionTest, NothingToEndWith) {
    PutQuickTime({"QTEndUserInteractionSuppression"});
    { const StDisableQTInteraction guard; }
    EXPECT_EQ(Calls{"Begin()"}, Suppressions());
}

}  // namespace

// The guards over the real Memory and Resource Managers.
#include "platform/resources/ResourcesTest.h"

#include <foundation/Blocks.h>
#include <foundation/LException.h>
#include <foundation/StHandleBlock.h>
#include <foundation/StHandleState.h>
#include <foundation/StPointerBlock.h>
#include <foundation/StResource.h>

namespace {

using namespace test_resources;

template <typename Function>
long CodeOf(Function inFunction) {
    try {
        inFunction();
    } catch (const LException& exception) {
        return exception.GetErrorCode();
    }
    return 1;
}

class GuardsOnToolboxTest : public ResourcesTest {
  protected:
    ~GuardsOnToolboxTest() override {
        SetMemoryLimit(0);
        EXPECT_EQ(mPtrs, GetLivePtrCount());
    }
    UInt64 mPtrs = GetLivePtrCount();
    static constexpr short kOne = 1;
    static constexpr short kNone = 9;
};

TEST_F(GuardsOnToolboxTest, HandleStates) {
    const StHandleBlock block(10, true, false);
    {
        const StHandleState state(block.Get());
        const StHandleLocker locker(block.Get());
        EXPECT_EQ(kHandleLockedBit, static_cast<UInt8>(HGetState(block.Get())));
        HPurge(block.Get());
    }
    EXPECT_EQ(0, HGetState(block.Get()));
    EXPECT_EQ(nilHandleErr, CodeOf([] { const StHandleState state(nullptr); }));
}

TEST_F(GuardsOnToolboxTest, MemoryThatCannotBeHad) {
    const StHandleBlock block(100, true, false);
    const StPointerBlock pointer(100, true, true);
    SetMemoryLimit(GetMemoryInUse() + 50);
    EXPECT_EQ(memFullErr, CodeOf([] { const StHandleBlock none(100, true, true); }));
    EXPECT_EQ(memFullErr, CodeOf([] { const StClearHandleBlock none(100, true); }));
    EXPECT_EQ(memFullErr, CodeOf([] { const StTempHandle none(100, true); }));
    EXPECT_EQ(memFullErr, CodeOf([] { const StPointerBlock none(100, true, false); }));
    EXPECT_EQ(memFullErr, CodeOf([] { const StClearPointerBlock none(100, true); }));
    EXPECT_EQ(memFullErr, CodeOf([&] { static_cast<void>(block.GetCopy()); }));
    EXPECT_EQ(memFullErr, CodeOf([&] { const StPointerBlock none(pointer); }));
    EXPECT_EQ(memFullErr, CodeOf([] { const StHandleBlock none(0x100000001L, true, false); }));
}

TEST_F(GuardsOnToolboxTest, ResourceInAHandleBlock) {
    Open(MakeFile("f", {ImageOf(kText, 1, "one")}));
    const UInt64 before = GetLiveHandleCount();
    {
        const StHandleBlock block(GetResource(kText, 1));
        EXPECT_TRUE(block.IsAResource());
        const StHandleBlock copy(block);
        EXPECT_FALSE(copy.IsAResource());
        EXPECT_EQ("one", TextOf(copy.Get()));
    }
    EXPECT_EQ(before, GetLiveHandleCount());
    EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "the resource is still to be had";
}

TEST_F(GuardsOnToolboxTest, Resources) {
    Open(MakeFile("f", {ImageOf(kText, 1, "one", "name")}));
    const UInt64 before = GetLiveHandleCount();
    {
        StResource resource(kText, kOne, true, true);
        EXPECT_EQ("one", TextOf(resource.Get()));
        EXPECT_EQ("one", TextOf(resource.GetResource(kText, PascalText("name"), true, false)));
        EXPECT_EQ("one", TextOf(resource.GetIndResource(kText, kOne, true, false)));
        resource.Detach();
        const StResource again(kText, kOne, true, false);
        EXPECT_NE(resource.Get(), again.Get());
    }
    EXPECT_EQ(before, GetLiveHandleCount());
}

TEST_F(GuardsOnToolboxTest, ResourcesThatAreMissing) {
    Open(MakeFile("f", {ImageOf(kText, 1, "one")}));
    EXPECT_EQ(resNotFound, CodeOf([] { const StResource none(kText, kNone, true, false); }));
    EXPECT_EQ(resNotFound, CodeOf([] { const StResource none(kOther, kOne, true, false); }))
        << "the Resource Manager tells no status for this";
    EXPECT_EQ(nullptr, StResource(kText, kNone, false, false).Get());
}

TEST_F(GuardsOnToolboxTest, PointerBlocks) {
    StClearPointerBlock block(5, true);
    block.Get()[4] = 'x';
    const StPointerBlock copy(block);
    EXPECT_EQ(5, GetPtrSize(copy.Get()));
    EXPECT_TRUE(BlocksAreEqual(block.Get(), copy.Get(), 5));
}

TEST_F(GuardsOnToolboxTest, HeapIsMadeReady) {
    InitializeHeap(2);
    EXPECT_EQ(noErr, MemError());
}

}  // namespace

#include "GuardTest.h"

#include <foundation/StHandleState.h>

namespace {

static_assert(sizeof(StHandleLocker) == 2 * sizeof(void*) && sizeof(StHandleState) == 2 * sizeof(void*));

class StHandleLockerTest : public GuardTest {
  protected:
    ~StHandleLockerTest() override { fakes::DiscardHandle(mHandle); }

    Handle mHandle = HandleOf("abc");
};

TEST_F(StHandleLockerTest, LocksAndUnlocks) {
    {
        const StHandleLocker locker(mHandle);
        EXPECT_TRUE(fakes::IsLocked(mHandle));
    }
    EXPECT_FALSE(fakes::IsLocked(mHandle));
    EXPECT_EQ(1U, Count("HUnlock"));
}

TEST_F(StHandleLockerTest, LeavesALockedHandleLocked) {
    HLock(mHandle);
    { const StHandleLocker locker(mHandle); }
    EXPECT_TRUE(fakes::IsLocked(mHandle));
    EXPECT_EQ(1U, Count("HLock")) << "the test's own";
    EXPECT_EQ(0U, Count("HUnlock"));
}

TEST_F(StHandleLockerTest, OtherStateBitsAreNoLock) {
    HSetState(mHandle, kHandleResourceBit | kHandlePurgeableBit);
    {
        const StHandleLocker locker(mHandle);
        EXPECT_TRUE(fakes::IsLocked(mHandle));
    }
    EXPECT_FALSE(fakes::IsLocked(mHandle));
}

TEST_F(StHandleLockerTest, UnlocksWhenAnExceptionPasses) {
    EXPECT_EQ(-50, CodeOf([this] {
        const StHandleLocker locker(mHandle);
        LException::Throw(-50);
    }));
    EXPECT_FALSE(fakes::IsLocked(mHandle));
}

TEST_F(StHandleLockerTest, Null) {
    StHandleLocker locker(nullptr);
    EXPECT_EQ(nullptr, locker.Release());
    EXPECT_TRUE(fakes::CallLog().empty());
}

TEST_F(StHandleLockerTest, NoStateToBeHad) {
    fakes::FailCall(1);
    fakes::SetErrorOfFailure(memWZErr);
    EXPECT_EQ(memWZErr, CodeOf([this] { const StHandleLocker locker(mHandle); }));
    EXPECT_FALSE(fakes::IsLocked(mHandle));
    EXPECT_EQ(0U, Count("HLock") + Count("HUnlock"));
}

TEST_F(StHandleLockerTest, AdoptingUnlocksTheOneBefore) {
    const Handle other = HandleOf("x");
    {
        StHandleLocker locker(mHandle);
        locker.Adopt(other);
        EXPECT_FALSE(fakes::IsLocked(mHandle));
        EXPECT_TRUE(fakes::IsLocked(other));
        locker.Adopt(nullptr);
        EXPECT_FALSE(fakes::IsLocked(other));
    }
    EXPECT_EQ(2U, Count("HUnlock"));
    fakes::DiscardHandle(other);
}

TEST_F(StHandleLockerTest, AdoptingTheSameLocksItAgain) {
    StHandleLocker locker(mHandle);
    locker.Adopt(mHandle);
    EXPECT_TRUE(fakes::IsLocked(mHandle));
    EXPECT_EQ(2U, Count("HLock"));
}

TEST_F(StHandleLockerTest, AdoptingFails) {
    const Handle other = HandleOf("x");
    StHandleLocker locker(mHandle);
    fakes::FailCall(1);
    fakes::SetErrorOfFailure(nilHandleErr);
    EXPECT_EQ(nilHandleErr, CodeOf([&] { locker.Adopt(other); }));
    EXPECT_FALSE(fakes::IsLocked(mHandle));
    EXPECT_FALSE(fakes::IsLocked(other));
    EXPECT_EQ(other, locker.Release()) << "held, and not locked";
    EXPECT_EQ(1U, Count("HUnlock"));
    fakes::DiscardHandle(other);
}

TEST_F(StHandleLockerTest, RestoringKeepsTheFlag) {
    {
        StHandleLocker locker(mHandle);
        locker.RestoreLockState();
        EXPECT_FALSE(fakes::IsLocked(mHandle));
        HLock(mHandle);
    }
    EXPECT_FALSE(fakes::IsLocked(mHandle)) << "unlocked again at the end";
}

TEST_F(StHandleLockerTest, Released) {
    {
        StHandleLocker locker(mHandle);
        EXPECT_EQ(mHandle, locker.Release());
        EXPECT_FALSE(fakes::IsLocked(mHandle));
        HLock(mHandle);
        EXPECT_EQ(nullptr, locker.Release());
    }
    EXPECT_TRUE(fakes::IsLocked(mHandle)) << "the guard holds it no more";
}

class StHandleStateTest : public StHandleLockerTest {};

TEST_F(StHandleStateTest, PutsBackEveryState) {
    for (int state : {0x00, 0x20, 0x40, 0x60, 0x80, 0xA0, 0xC0, 0xE0}) {
        HSetState(mHandle, static_cast<SInt8>(state));
        {
            const StHandleState guard(mHandle);
            HSetState(mHandle, static_cast<SInt8>(~state & 0xE0));
        }
        EXPECT_EQ(state, static_cast<UInt8>(HGetState(mHandle)));
    }
}

TEST_F(StHandleStateTest, EvenWhenNothingChanged) {
    { const StHandleState guard(mHandle); }
    EXPECT_EQ(1U, Count("HSetState"));
}

TEST_F(StHandleStateTest, NoStateToBeHad) {
    fakes::FailCall(1);
    fakes::SetErrorOfFailure(memWZErr);
    EXPECT_EQ(memWZErr, CodeOf([this] { const StHandleState guard(mHandle); }));
    EXPECT_EQ(0U, Count("HSetState"));
}

TEST_F(StHandleStateTest, NullIsThrown) {
    EXPECT_EQ(nilHandleErr, CodeOf([] { const StHandleState guard(nullptr); }));
}

}  // namespace

#include "GuardTest.h"
#include "fakes/Resources.h"

#include <foundation/StHandleBlock.h>

namespace {

constexpr ResType kType = FourChars("TEXT");

static_assert(sizeof(StHandleBlock) == 2 * sizeof(void*));
static_assert(sizeof(StClearHandleBlock) == sizeof(StHandleBlock) &&
              sizeof(StTempHandle) == sizeof(StHandleBlock));

class StHandleBlockTest : public GuardTest {
  protected:
    static Handle TheResource() {
        fakes::ScriptResource(kType, 1, "", "resource");
        return GetResource(kType, 1);
    }
};

TEST_F(StHandleBlockTest, OwnsWhatItIsGiven) {
    { const StHandleBlock block(HandleOf("abc")); }
    EXPECT_EQ(1U, Count("DisposeHandle"));
    { const StHandleBlock block(HandleOf("abc"), true); }
    EXPECT_EQ(2U, Count("DisposeHandle"));
}

TEST_F(StHandleBlockTest, NullIsNotOwned) {
    { const StHandleBlock block(nullptr); }
    { const StHandleBlock block(nullptr, true); }
    EXPECT_TRUE(fakes::CallLog().empty());
}

TEST_F(StHandleBlockTest, DoesNotFreeWhatItDoesNotOwn) {
    const Handle handle = HandleOf("abc");
    {
        StHandleBlock block(handle, false);
        EXPECT_EQ(handle, block.Get());
        block.Dispose();
        EXPECT_EQ(nullptr, block.Get());
    }
    EXPECT_EQ("abc", TextOf(handle));
    fakes::DiscardHandle(handle);
}

TEST_F(StHandleBlockTest, FreesWhenAnExceptionPasses) {
    EXPECT_EQ(-50, CodeOf([] {
        const StHandleBlock block(100, true, false);
        LException::Throw(-50);
    }));
}

TEST_F(StHandleBlockTest, NewBlock) {
    const StHandleBlock block(100, true, true);
    EXPECT_EQ(100, GetHandleSize(block.Get()));
    EXPECT_EQ(0U, Count("TempNewHandle"));
}

TEST_F(StHandleBlockTest, NewBlockCannotBeHad) {
    fakes::FailCall(1);
    fakes::SetErrorOfFailure(-117);
    EXPECT_EQ(-117, CodeOf([] { const StHandleBlock block(100, true, false); }));
    EXPECT_EQ(0U, Count("TempNewHandle"));
    fakes::FailCall(1);
    fakes::SetErrorOfFailure(noErr);
    EXPECT_EQ(0, CodeOf([] { const StHandleBlock block(100, true, false); }))
        << "no other code takes its place here";
    fakes::FailCall(1);
    StHandleBlock block(100, false, false);
    EXPECT_EQ(nullptr, block.Get());
    block.Dispose();
    EXPECT_EQ(0U, Count("DisposeHandle"));
}

TEST_F(StHandleBlockTest, TemporaryMemoryInstead) {
    fakes::FailCall(1);
    const StHandleBlock block(100, true, true);
    EXPECT_EQ(100, GetHandleSize(block.Get()));
    EXPECT_EQ(1U, Count("TempNewHandle"));
}

// Each of the two says why it failed; the last word is the temporary memory's.
TEST_F(StHandleBlockTest, TemporaryMemoryCannotBeHadEither) {
    fakes::FailMemoryCalls({-117, -118});
    EXPECT_EQ(-118, CodeOf([] { const StHandleBlock block(100, true, true); }));
    EXPECT_EQ((std::vector<std::string>{"NewHandle(100)", "TempNewHandle(100)"}), fakes::CallLog());
    fakes::FailMemoryCalls({-117});
    EXPECT_EQ(-117, CodeOf([] { const StTempHandle block(100, true); }));
    fakes::FailMemoryCalls({-117, noErr});
    EXPECT_EQ(0, CodeOf([] { const StHandleBlock block(100, true, true); }));
    fakes::FailMemoryCalls({-117});
    EXPECT_EQ(-117, CodeOf([] { const StHandleBlock block(100, true, false); }));
}

TEST_F(StHandleBlockTest, TemporaryMemoryWithoutAnException) {
    fakes::FailCall(1);
    const StHandleBlock had(100, false, true);
    EXPECT_EQ(100, GetHandleSize(had.Get()));
    EXPECT_EQ(1U, Count("TempNewHandle"));
    fakes::FailMemoryCalls({-117, -118});
    EXPECT_EQ(nullptr, StHandleBlock(100, false, true).Get());
    EXPECT_EQ(2U, Count("TempNewHandle"));
}

TEST_F(StHandleBlockTest, SizesThatCannotBeTold) {
    if (sizeof(long) == 4) return;  // every long is a size there
    const long size = static_cast<long>(0x100000010LL);
    fakes::FailCall(1);
    EXPECT_EQ(memFullErr, CodeOf([] { const StHandleBlock block(size, true, false); }));
    EXPECT_EQ("NewHandle(-1)", fakes::CallLog().back());
}

TEST_F(StHandleBlockTest, CopyHasABlockOfItsOwn) {
    const StHandleBlock block(HandleOf("abc"));
    const StHandleBlock copy(block);
    EXPECT_NE(block.Get(), copy.Get());
    EXPECT_EQ("abc", TextOf(copy.Get()));
    const Handle handle = block.GetCopy();
    EXPECT_EQ("abc", TextOf(handle));
    fakes::DiscardHandle(handle);
}

TEST_F(StHandleBlockTest, CopyOfABlockThatIsNotOwnedIs) {
    const Handle handle = HandleOf("abc");
    {
        const StHandleBlock block(handle, false);
        const StHandleBlock copy(block);
    }
    fakes::DiscardHandle(handle);
}

TEST_F(StHandleBlockTest, CopyOfNull) {
    const StHandleBlock none(nullptr);
    StHandleBlock copy(none);
    EXPECT_EQ(nullptr, copy.Get());
    EXPECT_EQ(nullptr, none.GetCopy());
    copy.CopyAndAdopt(nullptr);
    EXPECT_EQ(nullptr, copy.Get());
    EXPECT_EQ(0U, Count("HandToHand"));
}

TEST_F(StHandleBlockTest, CopyingFails) {
    const StHandleBlock block(HandleOf("abc"));
    StHandleBlock other(HandleOf("xy"));
    const Handle held = other.Get();
    for (int form = 0; form < 4; ++form) {
        fakes::FailCall(1);
        EXPECT_EQ(memFullErr, CodeOf([&] {
                      if (form == 0) const StHandleBlock copy(block);
                      if (form == 1) static_cast<void>(block.GetCopy());
                      if (form == 2) other = block;
                      if (form == 3) other.CopyAndAdopt(block.Get());
                  }))
            << form;
    }
    EXPECT_EQ(held, other.Get());
    EXPECT_EQ("xy", TextOf(held));
}

TEST_F(StHandleBlockTest, Assignment) {
    const StHandleBlock block(HandleOf("abc"));
    StHandleBlock other(HandleOf("xy"));
    EXPECT_EQ(&other, &(other = block));
    EXPECT_EQ("abc", TextOf(other.Get()));
    EXPECT_NE(block.Get(), other.Get());
    EXPECT_EQ(1U, Count("DisposeHandle"));
    StHandleBlock& itself = other;
    other = itself;
    EXPECT_EQ(1U, Count("HandToHand"));
    other = StHandleBlock(nullptr);
    EXPECT_EQ(nullptr, other.Get());
}

TEST_F(StHandleBlockTest, ReleasedBlockLivesOn) {
    Handle handle = nullptr;
    {
        const StHandleBlock block(HandleOf("abc"));
        handle = block.Release();
        EXPECT_EQ(handle, block.Get()) << "still pointed at";
        EXPECT_EQ(handle, block.Release());
    }
    EXPECT_EQ("abc", TextOf(handle));
    fakes::DiscardHandle(handle);
}

TEST_F(StHandleBlockTest, Adopting) {
    StHandleBlock block(HandleOf("abc"));
    const Handle other = HandleOf("xy");
    block.Adopt(other);
    EXPECT_EQ(other, block.Get());
    EXPECT_EQ(1U, Count("DisposeHandle"));
    block.Release();
    block.Adopt(other);
    EXPECT_EQ(1U, Count("DisposeHandle")) << "the same: owned again, and not freed";
    block.Adopt(nullptr);
    EXPECT_EQ(2U, Count("DisposeHandle"));
    EXPECT_EQ(nullptr, block.Get());
}

TEST_F(StHandleBlockTest, ResourceIsReleased) {
    {
        const StHandleBlock block(TheResource());
        EXPECT_TRUE(block.IsAResource());
    }
    EXPECT_EQ(1U, Count("ReleaseResource"));
    EXPECT_EQ(0U, Count("DisposeHandle"));
}

TEST_F(StHandleBlockTest, AnyStatusMakesItAPlainHandle) {
    fakes::SetErrorOfPlainHandles(-185);
    {
        const StHandleBlock block(HandleOf("abc"));
        EXPECT_TRUE(block.IsAResource()) << "only \"no such resource\" says no";
    }
    EXPECT_EQ(0U, Count("ReleaseResource"));
    EXPECT_EQ(1U, Count("DisposeHandle"));
}

TEST_F(StHandleBlockTest, PlainHandlesAndNullAreNoResource) {
    EXPECT_FALSE(StHandleBlock(HandleOf("abc")).IsAResource());
    EXPECT_FALSE(StHandleBlock(nullptr).IsAResource());
}

TEST_F(StHandleBlockTest, Clear) {
    const StClearHandleBlock block(5, true);
    EXPECT_EQ(std::string(5, '\0'), TextOf(block.Get()));
    for (const OSErr error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::FailCall(1);
        fakes::SetErrorOfFailure(error);
        EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                  CodeOf([] { const StClearHandleBlock none(5, true); }));
    }
    fakes::FailCall(1);
    EXPECT_EQ(nullptr, StClearHandleBlock(5, false).Get());
}

TEST_F(StHandleBlockTest, Temporary) {
    const StTempHandle block(5, true);
    EXPECT_EQ(5, GetHandleSize(block.Get()));
    for (const OSErr error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::FailCall(1);
        fakes::SetErrorOfFailure(error);
        EXPECT_EQ(error, CodeOf([] { const StTempHandle none(5, true); }));
    }
    fakes::FailCall(1);
    EXPECT_EQ(nullptr, StTempHandle(5, false).Get());
    EXPECT_EQ(4U, Count("TempNewHandle"));
}

// Every call of a scenario fails in turn, with nothing left live.
TEST_F(StHandleBlockTest, EveryCallFails) {
    const int before = fakes::LiveHandles();
    for (int failing = 1;; ++failing) {
        fakes::FailCall(failing);
        const long code = CodeOf([] {
            StHandleBlock first(10, true, false);
            const StClearHandleBlock second(10, true);
            const StTempHandle third(10, true);
            StHandleBlock copy(second);
            copy = third;
            first.CopyAndAdopt(copy.Get());
        });
        EXPECT_EQ(before, fakes::LiveHandles()) << failing;
        if (!fakes::FailureDelivered()) {
            EXPECT_EQ(1, code);
            EXPECT_EQ(7, failing);
            break;
        }
        EXPECT_EQ(memFullErr, code) << failing;
    }
}

}  // namespace

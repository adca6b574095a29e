#include "GuardTest.h"

#include <foundation/StPointerBlock.h>

namespace {

static_assert(sizeof(StPointerBlock) == 2 * sizeof(void*));
static_assert(sizeof(StClearPointerBlock) == sizeof(StPointerBlock));

class StPointerBlockTest : public GuardTest {
  protected:
    static Ptr PtrOf(const std::string& inText) {
        const Ptr bytes = NewPtr(static_cast<Size>(inText.size()));
        inText.copy(bytes, inText.size());
        return bytes;
    }
    static std::string TextOf(Ptr inPtr) { return {inPtr, static_cast<std::size_t>(GetPtrSize(inPtr))}; }
};

TEST_F(StPointerBlockTest, OwnsWhatItIsGiven) {
    { const StPointerBlock block(PtrOf("abc")); }
    EXPECT_EQ(1U, Count("DisposePtr"));
    { const StPointerBlock block(PtrOf("abc"), true); }
    EXPECT_EQ(2U, Count("DisposePtr"));
}

TEST_F(StPointerBlockTest, NullIsNotOwned) {
    { const StPointerBlock block(nullptr); }
    { const StPointerBlock block(nullptr, true); }
    EXPECT_TRUE(fakes::CallLog().empty());
}

TEST_F(StPointerBlockTest, DoesNotFreeWhatItDoesNotOwn) {
    const Ptr bytes = PtrOf("abc");
    {
        StPointerBlock block(bytes, false);
        block.Dispose();
        EXPECT_EQ(nullptr, block.Get());
    }
    EXPECT_EQ("abc", TextOf(bytes));
    DisposePtr(bytes);
}

TEST_F(StPointerBlockTest, NewBlock) {
    StPointerBlock block(5, true, false);
    EXPECT_EQ(5, GetPtrSize(block.Get()));
    EXPECT_EQ(block.Get(), static_cast<char*>(block));
    EXPECT_EQ(1U, Count("NewPtr"));
    const StPointerBlock clear(5, true, true);
    EXPECT_EQ(std::string(5, '\0'), TextOf(clear.Get()));
    EXPECT_EQ(1U, Count("NewPtrClear"));
}

TEST_F(StPointerBlockTest, NewBlockCannotBeHad) {
    for (const bool clear : {false, true}) {
        for (const OSErr error : {OSErr{noErr}, OSErr{-117}}) {
            fakes::FailCall(1);
            fakes::SetErrorOfFailure(error);
            EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                      CodeOf([clear] { const StPointerBlock block(5, true, clear); }));
        }
        fakes::FailCall(1);
        const StPointerBlock block(5, false, clear);
        EXPECT_EQ(nullptr, block.Get());
    }
    EXPECT_EQ(0U, Count("DisposePtr"));
}

TEST_F(StPointerBlockTest, Clear) {
    const StClearPointerBlock block(100, true);
    EXPECT_EQ(std::string(100, '\0'), TextOf(block.Get()));
    for (const OSErr error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::FailCall(1);
        fakes::SetErrorOfFailure(error);
        EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                  CodeOf([] { const StClearPointerBlock none(100, true); }));
    }
    fakes::FailCall(1);
    EXPECT_EQ(nullptr, StClearPointerBlock(100, false).Get());
}

TEST_F(StPointerBlockTest, CopyHasABlockOfItsOwn) {
    const StPointerBlock block(PtrOf("abc"));
    const StPointerBlock copy(block);
    EXPECT_NE(block.Get(), copy.Get());
    EXPECT_EQ("abc", TextOf(copy.Get()));
}

TEST_F(StPointerBlockTest, CopyOfABlockThatIsNotOwnedIs) {
    const Ptr bytes = PtrOf("abc");
    {
        const StPointerBlock block(bytes, false);
        const StPointerBlock copy(block);
        EXPECT_NE(bytes, copy.Get());
        EXPECT_EQ("abc", TextOf(copy.Get()));
    }
    EXPECT_EQ(1U, Count("DisposePtr")) << "the copy";
    EXPECT_EQ("abc", TextOf(bytes));
    DisposePtr(bytes);
}

TEST_F(StPointerBlockTest, CopyOfNothing) {
    const StPointerBlock none(nullptr);
    const StPointerBlock copy(none);
    EXPECT_EQ(nullptr, copy.Get());
    EXPECT_EQ(nullptr, StPointerBlock::CopyPointerBlock(nullptr));
    EXPECT_TRUE(fakes::CallLog().empty());
    const StPointerBlock empty(0, true, false);
    const StPointerBlock copyOfEmpty(empty);
    EXPECT_EQ(0, GetPtrSize(copyOfEmpty.Get()));
}

TEST_F(StPointerBlockTest, CopyingFails) {
    const StPointerBlock block(PtrOf("abc"));
    StPointerBlock other(PtrOf("xy"));
    for (const OSErr error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::SetErrorOfFailure(error);
        fakes::FailCall(2);
        EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                  CodeOf([&] { const StPointerBlock copy(block); }))
            << "NewPtr";
    }
    fakes::FailCall(1);
    EXPECT_EQ(-117, CodeOf([&] { static_cast<void>(StPointerBlock::CopyPointerBlock(block.Get())); }))
        << "GetPtrSize";
    fakes::FailCall(1);
    EXPECT_EQ(-117, CodeOf([&] { other = block; }));
    fakes::FailCall(2);
    EXPECT_EQ(-117, CodeOf([&] { other.CopyAndAdopt(block.Get()); }));
    EXPECT_EQ("xy", TextOf(other.Get()));
}

TEST_F(StPointerBlockTest, Assignment) {
    const StPointerBlock block(PtrOf("abc"));
    StPointerBlock other(PtrOf("xy"));
    EXPECT_EQ(&other, &(other = block));
    EXPECT_EQ("abc", TextOf(other.Get()));
    EXPECT_EQ(1U, Count("DisposePtr"));
    const Ptr held = other.Get();
    StPointerBlock& itself = other;
    other = itself;
    EXPECT_EQ(held, other.Get());
    other = StPointerBlock(nullptr);
    EXPECT_EQ(nullptr, other.Get());
}

TEST_F(StPointerBlockTest, ReleasedBlockLivesOn) {
    Ptr bytes = nullptr;
    {
        const StPointerBlock block(PtrOf("abc"));
        bytes = block.Release();
        EXPECT_EQ(bytes, block.Get());
    }
    EXPECT_EQ("abc", TextOf(bytes));
    DisposePtr(bytes);
}

TEST_F(StPointerBlockTest, Adopting) {
    StPointerBlock block(PtrOf("abc"));
    const Ptr other = PtrOf("xy");
    block.Adopt(other);
    EXPECT_EQ(1U, Count("DisposePtr"));
    block.Release();
    block.Adopt(other);
    EXPECT_EQ(1U, Count("DisposePtr")) << "the same: owned again, and not freed";
    block.Dispose();
    block.Dispose();
    EXPECT_EQ(2U, Count("DisposePtr"));
    block.Adopt(nullptr);
    EXPECT_EQ(nullptr, block.Get());
}

}  // namespace

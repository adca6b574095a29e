#include <foundation/StPointerBlock.h>

#include <cstring>

#include "GuardTest.h"

namespace {

static_assert(sizeof(StPointerBlock) == 2 * sizeof(void*));
static_assert(sizeof(StClearPointerBlock) == sizeof(StPointerBlock));

class StPointerBlockTest : public GuardTest {
  protected:
    static Ptr PtrOf(std::string const& inText) {
        Ptr const bytes = NewPtr(static_cast<Size>(inText.size()));
        std::memcpy(bytes, inText.data(), inText.size());
        return bytes;
    }
    static std::string TextOf(Ptr inPtr) { return {inPtr, static_cast<std::size_t>(GetPtrSize(inPtr))}; }
};

TEST_F(StPointerBlockTest, OwnsWhatItIsGiven) {
    { StPointerBlock const block(PtrOf("abc")); }
    EXPECT_EQ(1U, Count("DisposePtr"));
    { StPointerBlock const block(PtrOf("abc"), true); }
    EXPECT_EQ(2U, Count("DisposePtr"));
}

TEST_F(StPointerBlockTest, NullIsNotOwned) {
    { StPointerBlock const block(nullptr); }
    { StPointerBlock const block(nullptr, true); }
    EXPECT_TRUE(fakes::CallLog().empty());
}

TEST_F(StPointerBlockTest, DoesNotFreeWhatItDoesNotOwn) {
    Ptr const bytes = PtrOf("abc");
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
    StPointerBlock const clear(5, true, true);
    EXPECT_EQ(std::string(5, '\0'), TextOf(clear.Get()));
    EXPECT_EQ(1U, Count("NewPtrClear"));
}

TEST_F(StPointerBlockTest, NewBlockCannotBeHad) {
    for (bool const clear : {false, true}) {
        for (OSErr const error : {OSErr{noErr}, OSErr{-117}}) {
            fakes::FailCall(1);
            fakes::SetErrorOfFailure(error);
            EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                      CodeOf([clear] { StPointerBlock const block(5, true, clear); }));
        }
        fakes::FailCall(1);
        StPointerBlock const block(5, false, clear);
        EXPECT_EQ(nullptr, block.Get());
    }
    EXPECT_EQ(0U, Count("DisposePtr"));
}

TEST_F(StPointerBlockTest, Clear) {
    StClearPointerBlock const block(100, true);
    EXPECT_EQ(std::string(100, '\0'), TextOf(block.Get()));
    for (OSErr const error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::FailCall(1);
        fakes::SetErrorOfFailure(error);
        EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                  CodeOf([] { StClearPointerBlock const none(100, true); }));
    }
    fakes::FailCall(1);
    EXPECT_EQ(nullptr, StClearPointerBlock(100, false).Get());
}

TEST_F(StPointerBlockTest, CopyHasABlockOfItsOwn) {
    StPointerBlock const block(PtrOf("abc"));
    StPointerBlock const copy(block);
    EXPECT_NE(block.Get(), copy.Get());
    EXPECT_EQ("abc", TextOf(copy.Get()));
}

TEST_F(StPointerBlockTest, CopyOfNothing) {
    StPointerBlock const none(nullptr);
    StPointerBlock const copy(none);
    EXPECT_EQ(nullptr, copy.Get());
    EXPECT_EQ(nullptr, StPointerBlock::CopyPointerBlock(nullptr));
    EXPECT_TRUE(fakes::CallLog().empty());
    StPointerBlock const empty(0, true, false);
    StPointerBlock const copyOfEmpty(empty);
    EXPECT_EQ(0, GetPtrSize(copyOfEmpty.Get()));
}

TEST_F(StPointerBlockTest, CopyingFails) {
    StPointerBlock const block(PtrOf("abc"));
    StPointerBlock other(PtrOf("xy"));
    for (OSErr const error : {OSErr{noErr}, OSErr{-117}}) {
        fakes::SetErrorOfFailure(error);
        fakes::FailCall(2);
        EXPECT_EQ(error == noErr ? OSErr{memFullErr} : error,
                  CodeOf([&] { StPointerBlock const copy(block); }))
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
    StPointerBlock const block(PtrOf("abc"));
    StPointerBlock other(PtrOf("xy"));
    EXPECT_EQ(&other, &(other = block));
    EXPECT_EQ("abc", TextOf(other.Get()));
    EXPECT_EQ(1U, Count("DisposePtr"));
    Ptr const held = other.Get();
    StPointerBlock& itself = other;
    other = itself;
    EXPECT_EQ(held, other.Get());
    other = StPointerBlock(nullptr);
    EXPECT_EQ(nullptr, other.Get());
}

TEST_F(StPointerBlockTest, ReleasedBlockLivesOn) {
    Ptr bytes = nullptr;
    {
        StPointerBlock const block(PtrOf("abc"));
        bytes = block.Release();
        EXPECT_EQ(bytes, block.Get());
    }
    EXPECT_EQ("abc", TextOf(bytes));
    DisposePtr(bytes);
}

TEST_F(StPointerBlockTest, Adopting) {
    StPointerBlock block(PtrOf("abc"));
    Ptr const other = PtrOf("xy");
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

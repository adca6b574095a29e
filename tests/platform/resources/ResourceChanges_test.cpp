#include "ResourcesTest.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <cerrno>

namespace {

using namespace test_resources;

class ChangesTest : public ResourceFilesTest<support::FileWorldTest> {
  protected:
    FSRef mFile = MakeFile("f", {ImageOf(kText, 1, "one", "first"), ImageOf(kText, 2, "two"),
                                 ImageOf(kOther, 3, "protected", "", resProtected)});
    SInt16 mRefNum = Open(mFile);

    void Reopen() {
        CloseResFile(mRefNum);
        EXPECT_EQ(noErr, ResError());
        mRefNum = Open(mFile);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ChangesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ChangesTest, Added) {
    const Handle added = NewText("added");
    AddResource(added, kText, 3, PascalText("third"));
    EXPECT_EQ(noErr, ResError());
    EXPECT_NE(0, HGetState(added) & kHandleResourceBit);
    EXPECT_EQ(resChanged, GetResAttrs(added));
    EXPECT_EQ(added, GetResource(kText, 3));
    EXPECT_EQ(added, GetIndResource(kText, 3)) << "beside those of its type";
    EXPECT_EQ(5, GetResourceSizeOnDisk(added));
    EXPECT_EQ(mRefNum, HomeResFile(added));
    EXPECT_NE(0, GetResFileAttrs(mRefNum) & mapChanged);
    Reopen();
    EXPECT_EQ("added", TextOf(GetNamedResource(kText, PascalText("third"))));
    EXPECT_EQ("one", TextOf(GetNamedResource(kText, PascalText("first"))));
    EXPECT_EQ("protected", TextOf(GetResource(kOther, 3)));
    EXPECT_EQ(resProtected, GetResAttrs(GetResource(kOther, 3)));
    EXPECT_EQ(0, GetResAttrs(GetResource(kText, 3)));
}

TEST_P(ChangesTest, WhatCannotBeAdded) {
    AddResource(nullptr, kText, 3, nullptr);
    EXPECT_EQ(addResFailed, ResError());
    AddResource(GetResource(kText, 1), kText, 3, nullptr);
    EXPECT_EQ(addResFailed, ResError());
    const Handle empty = NewEmptyHandle();
    AddResource(empty, kText, 3, nullptr);
    EXPECT_EQ(addResFailed, ResError());
    const Handle plain = NewText("x");
    UseResFile(0);
    AddResource(plain, kText, 3, nullptr);
    EXPECT_EQ(addResFailed, ResError());
    EXPECT_EQ(0, HGetState(plain));
    CloseResFile(mRefNum);
    mRefNum = Open(mFile, fsRdPerm);
    AddResource(plain, kText, 3, nullptr);
    EXPECT_EQ(wPrErr, ResError());
    EXPECT_EQ(0, HGetState(plain));
    EXPECT_EQ(2, CountResources(kText));
    DisposeHandle(plain);
    DisposeHandle(empty);
}

TEST_P(ChangesTest, SameTypeAndIDTwice) {
    AddResource(NewText("other"), kText, 1, nullptr);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(3, Count1Resources(kText));
    Reopen();
    EXPECT_EQ(3, Count1Resources(kText));
    EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "the first";
}

TEST_P(ChangesTest, Changed) {
    const Handle handle = GetResource(kText, 1);
    EXPECT_EQ(noErr, PtrToXHand("rewritten", handle, 9));
    ReleaseResource(GetResource(kText, 2));
    Reopen();
    EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "nobody told that it was changed";
    const Handle again = GetResource(kText, 1);
    EXPECT_EQ(noErr, PtrToXHand("rewritten", again, 9));
    ChangedResource(again);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(resChanged, GetResAttrs(again));
    ReleaseResource(again);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(again, GetResource(kText, 1)) << "a changed one keeps its handle";
    DetachResource(again);
    EXPECT_EQ(resAttrErr, ResError());
    UpdateResFile(mRefNum);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(0, GetResAttrs(again));
    EXPECT_EQ(0, GetResFileAttrs(mRefNum));
    EXPECT_EQ(9, GetResourceSizeOnDisk(again));
    EXPECT_EQ("two", TextOf(GetResource(kText, 2))) << "read from the new file";
    Reopen();
    EXPECT_EQ("rewritten", TextOf(GetResource(kText, 1)));
    EXPECT_EQ("two", TextOf(GetResource(kText, 2)));
}

TEST_P(ChangesTest, ProtectedStays) {
    const Handle handle = GetResource(kOther, 3);
    ChangedResource(handle);
    EXPECT_EQ(resAttrErr, ResError());
    SetResInfo(handle, 4, PascalText("x"));
    EXPECT_EQ(resAttrErr, ResError());
    RemoveResource(handle);
    EXPECT_EQ(rmvResFailed, ResError());
    SetResAttrs(handle, resPurgeable | resChanged);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(resPurgeable, GetResAttrs(handle)) << "resChanged is not for the caller to set";
    SetResInfo(handle, 4, PascalText("x"));
    EXPECT_EQ(noErr, ResError());
    Reopen();
    EXPECT_EQ(resPurgeable, GetResAttrs(GetNamedResource(kOther, PascalText("x"))));
}

TEST_P(ChangesTest, Info) {
    const Handle handle = GetResource(kText, 1);
    SetResInfo(handle, 10, nullptr);
    EXPECT_EQ(noErr, ResError());
    Reopen();
    EXPECT_EQ("one", TextOf(GetResource(kText, 10)));
    EXPECT_EQ("one", TextOf(GetNamedResource(kText, PascalText("first"))));
    SetResInfo(GetResource(kText, 10), 10, PascalText(""));
    Reopen();
    EXPECT_EQ(nullptr, GetNamedResource(kText, PascalText("first")));
    EXPECT_EQ("one", TextOf(GetResource(kText, 10)));
}

TEST_P(ChangesTest, Removed) {
    const Handle handle = GetResource(kText, 1);
    RemoveResource(handle);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ("one", TextOf(handle)) << "the caller's now";
    EXPECT_EQ(0, HGetState(handle));
    DisposeHandle(handle);
    EXPECT_EQ(nullptr, GetResource(kText, 1));
    EXPECT_EQ(resNotFound, ResError());
    Reopen();
    EXPECT_EQ(nullptr, GetResource(kText, 1));
    EXPECT_EQ("two", TextOf(GetResource(kText, 2)));
}

TEST_P(ChangesTest, RemovedFromAnotherFile) {
    const Handle handle = GetResource(kText, 1);
    Open(MakeFile("other", {}));
    RemoveResource(handle);
    EXPECT_EQ(rmvResFailed, ResError());
    EXPECT_EQ(handle, GetResource(kText, 1));
}

TEST_P(ChangesTest, LastOfItsType) {
    const Handle handle = GetResource(kText, 1);
    const Handle second = GetResource(kText, 2);
    RemoveResource(handle);
    RemoveResource(second);
    DisposeHandle(handle);
    DisposeHandle(second);
    Reopen();
    EXPECT_EQ(1, Count1Types());
    EXPECT_EQ(nullptr, GetResource(kText, 1));
    EXPECT_EQ(noErr, ResError());
}

TEST_P(ChangesTest, WriteResourceWritesOne) {
    const Handle one = GetResource(kText, 1);
    const Handle two = GetResource(kText, 2);
    const Handle added = NewText("added");
    AddResource(added, kText, 3, nullptr);
    EXPECT_EQ(noErr, PtrToXHand("ONE!", one, 4));
    EXPECT_EQ(noErr, PtrToXHand("TWO!", two, 4));
    ChangedResource(one);
    ChangedResource(two);
    WriteResource(one);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(0, GetResAttrs(one));
    EXPECT_EQ(resChanged, GetResAttrs(two));
    const SInt16 reader = Open(mFile, fsRdPerm);
    EXPECT_EQ("ONE!", TextOf(Get1Resource(kText, 1)));
    EXPECT_EQ("two", TextOf(Get1Resource(kText, 2)));
    EXPECT_EQ(nullptr, Get1Resource(kText, 3));
    CloseResFile(reader);
    UseResFile(mRefNum);
    WriteResource(one);
    EXPECT_EQ(noErr, ResError()) << "nothing to write";
    Reopen();
    EXPECT_EQ("TWO!", TextOf(GetResource(kText, 2)));
    EXPECT_EQ("added", TextOf(GetResource(kText, 3)));
}

TEST_P(ChangesTest, ReadOnlyFile) {
    CloseResFile(mRefNum);
    mRefNum = Open(mFile, fsRdPerm);
    const Handle handle = GetResource(kText, 1);
    ChangedResource(handle);
    EXPECT_EQ(wPrErr, ResError());
    SetResInfo(handle, 5, nullptr);
    EXPECT_EQ(wPrErr, ResError());
    RemoveResource(handle);
    EXPECT_EQ(rmvResFailed, ResError());
    SetResAttrs(handle, resPurgeable);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(resPurgeable, GetResAttrs(handle));
    UpdateResFile(mRefNum);
    EXPECT_EQ(noErr, ResError()) << "nothing has changed";
    SetResFileAttrs(mRefNum, mapChanged);
    UpdateResFile(mRefNum);
    EXPECT_EQ(wPrErr, ResError());
    CloseResFile(mRefNum);
    EXPECT_EQ(wPrErr, ResError());
    EXPECT_EQ(0, CurResFile()) << "closed all the same";
}

TEST_P(ChangesTest, FileAttributes) {
    SetResFileAttrs(mRefNum, mapCompact | mapReadOnly | mapChanged | 1);
    EXPECT_EQ(mapCompact | mapChanged, GetResFileAttrs(mRefNum));
    Reopen();
    EXPECT_EQ(mapCompact, GetResFileAttrs(mRefNum));
    SetResInfo(GetResource(kText, 1), 50, nullptr);
    SetResFileAttrs(mRefNum, 0);
    Reopen();
    EXPECT_EQ(mapCompact, GetResFileAttrs(mRefNum)) << "a map said to be unchanged is not written";
    EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
}

TEST_P(ChangesTest, ChangedAndThenEmptied) {
    const Handle handle = GetResource(kText, 1);
    ChangedResource(handle);
    EmptyHandle(handle);
    AddResource(NewText("gone"), kText, 7, nullptr);
    EmptyHandle(GetResource(kText, 7));
    Reopen();
    EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
    EXPECT_EQ("", TextOf(GetResource(kText, 7)));
}

// A program that disposes of a resource's handle is wrong; the block that comes in its place must not be
// written as the resource.
TEST_P(ChangesTest, ChangedAndThenDisposedOf) {
    for (const bool isClosed : {false, true}) {
        const Handle changed = GetResource(kText, 1);
        ChangedResource(changed);
        const Handle added = NewText("gone");
        AddResource(added, kText, isClosed ? 8 : 7, nullptr);
        DisposeHandle(added);
        DisposeHandle(changed);
        const Handle first = NewText("another's");
        const Handle second = NewText("another's too");
        ASSERT_TRUE((first == changed && second == added) || (first == added && second == changed))
            << "the blocks are expected to be reused";
        if (!isClosed) UpdateResFile(mRefNum);
        EXPECT_EQ(noErr, ResError());
        Reopen();
        EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
        EXPECT_EQ("", TextOf(GetResource(kText, isClosed ? 8 : 7)));
        EXPECT_EQ("another's", TextOf(first));
        EXPECT_EQ("another's too", TextOf(second));
        DisposeHandle(first);
        DisposeHandle(second);
    }
}

TEST_P(ChangesTest, OneIsWrittenWhileAnotherWasDisposedOf) {
    const Handle added = NewText("gone");
    AddResource(added, kText, 7, nullptr);
    const Handle written = GetResource(kText, 1);
    ChangedResource(written);
    DisposeHandle(added);
    const Handle plain = NewText("another's");
    ASSERT_EQ(added, plain) << "the block is expected to be reused";
    WriteResource(written);
    EXPECT_EQ(noErr, ResError());
    UpdateResFile(mRefNum);
    Reopen();
    EXPECT_EQ("", TextOf(GetResource(kText, 7)));
    EXPECT_EQ("another's", TextOf(plain));
    DisposeHandle(plain);
}

TEST_P(ChangesTest, TooMuchForTheFormat) {
    AddResource(NewText(std::string(0x1000000, 'x')), kText, 7, nullptr);
    AddResource(NewText("after it"), kText, 8, nullptr);
    UpdateResFile(mRefNum);
    EXPECT_EQ(dskFulErr, ResError());
    EXPECT_EQ("after it", TextOf(GetResource(kText, 8)));
    CloseResFile(mRefNum);
    EXPECT_EQ(dskFulErr, ResError());
    mRefNum = Open(mFile);
    EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "the file is as it was";
}

TEST_P(ChangesTest, EveryCallFailsWhileAForkIsWritten) {
    const FSRef file = RefOf(mFolder.MakeFile("forked", "data"));
    const UniChar name[] = {'R', 'E', 'S', 'O', 'U', 'R', 'C', 'E', '_', 'F', 'O', 'R', 'K'};
    ASSERT_EQ(noErr, FSCreateResourceFork(&file, 13, name, 0));
    SInt16 refNum = FSOpenResFile(&file, fsRdWrPerm);
    AddResource(NewText("old"), kText, 1, nullptr);
    CloseResFile(refNum);
    for (int failing = 1;; ++failing) {
        refNum = FSOpenResFile(&file, fsRdWrPerm);
        const Handle handle = GetResource(kText, 1);
        ASSERT_NE(nullptr, handle) << failing;
        EXPECT_EQ(noErr, PtrToXHand("new", handle, 3));
        ChangedResource(handle);
        bool wasDelivered = false;
        OSErr error = noErr;
        {
            const test_files::FailingCalls calls(failing, EIO, test_files::FailingCalls::kForever);
            CloseResFile(refNum);
            error = ResError();
            wasDelivered = calls.Delivered();
        }
        refNum = FSOpenResFile(&file, fsRdWrPerm);
        ASSERT_GT(refNum, 0) << failing;
        const std::string text = TextOf(GetResource(kText, 1));
        EXPECT_TRUE(text == "new" || (text == "old" && error != noErr)) << failing << text;
        EXPECT_EQ(noErr, PtrToXHand("old", GetResource(kText, 1), 3));
        ChangedResource(GetResource(kText, 1));
        CloseResFile(refNum);
        ASSERT_EQ(noErr, ResError());
        if (!wasDelivered) {
            EXPECT_EQ(noErr, error);
            EXPECT_GT(failing, 10);
            break;
        }
        ASSERT_LT(failing, 100);
    }
}

// Memory of C++ objects ends at the n-th allocation, for every n, from opening to the end of writing.
TEST_P(ChangesTest, EveryAllocationFails) {
    CloseResFile(mRefNum);
    for (int failing = 1;; ++failing) {
        const UInt64 handles = GetLiveHandleCount();
        const std::size_t descriptors = OpenDescriptorCount();
        const FSRef file =
            MakeFile("g", {ImageOf(kText, 1, "one", "a name that is too long to lie in the string")});
        const Handle added = NewText("added");
        SInt16 refNum = -1;
        bool wasDelivered = false;
        OSErr opened = noErr;
        OSErr wasAdded = noErr;
        OSErr updated = noErr;
        {
            const test_files::FailingNew memory(failing);
            opened = FSOpenResourceFile(&file, 0, nullptr, fsRdWrPerm, &refNum);
            GetResource(kText, 1);
            AddResource(added, kText, 2, nullptr);
            wasAdded = ResError();
            UpdateResFile(refNum);
            updated = ResError();
            wasDelivered = memory.Delivered();
        }
        if (wasAdded != noErr) {
            EXPECT_EQ(0, HGetState(added)) << "a plain handle still";
            DisposeHandle(added);
        }
        if (opened == noErr) {
            EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << failing;
            CloseResFile(refNum);
            EXPECT_EQ(noErr, ResError()) << failing;
        }
        EXPECT_EQ(handles, GetLiveHandleCount()) << failing;
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        refNum = Open(file, fsRdPerm);
        EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << failing;
        EXPECT_EQ(wasAdded == noErr ? 2 : 1, Count1Resources(kText)) << failing;
        CloseResFile(refNum);
        if (!wasDelivered) {
            EXPECT_EQ(noErr, updated);
            EXPECT_GT(failing, 20);
            break;
        }
        EXPECT_TRUE(wasAdded != noErr || updated != noErr) << failing;
        EXPECT_TRUE(opened == noErr || opened == memFullErr) << failing << " " << opened;
        ASSERT_LT(failing, 1000);
    }
    mRefNum = -1;
}

}  // namespace

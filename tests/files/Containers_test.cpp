#include "FilesTest.h"

#include <files/Containers.h>
#include <foundation/LException.h>
#include <toolbox/MacMemory.h>

#include <stdexcept>

namespace {

using namespace test_files;

class ContainersTest : public FilesTest {
  protected:
    // "here" with a locked file and a locked folder more.
    static void Begin() {
        Start();
        fakes::PutFile(31, kHere, "locked");
        fakes::ItemOf(31).info.nodeFlags = kFSNodeLockedMask;
        fakes::PutFolder(42, kFolder, "sub");
        fakes::ItemOf(42).info.nodeFlags = kFSNodeLockedMask;
    }
    ContainersTest() { Begin(); }

    const FSRef mHere = fakes::RefOf(kHere);
    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mMissing = fakes::RefOf(kMissing);
};

TEST_F(ContainersTest, FSDeleteContainerContents) {
    EXPECT_EQ(noErr, FSDeleteContainerContents(&mHere));
    EXPECT_EQ("here(), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ((Log{"FSOpenIterator(20, 2)",
                   "FSGetCatalogInfoBulk(20, 1, 2)",
                   "FSDeleteObject(30)",
                   "FSGetCatalogInfoBulk(20, 1, 2)",
                   "FSOpenIterator(40, 2)",
                   "FSGetCatalogInfoBulk(40, 1, 2)",
                   "FSDeleteObject(41)",
                   "FSGetCatalogInfoBulk(40, 1, 2)",
                   "FSOpenIterator(42, 2)",
                   "FSGetCatalogInfoBulk(42, 1, 2)",
                   "FSCloseIterator(42)",
                   "FSSetCatalogInfo(42, 2)",
                   "FSDeleteObject(42)",
                   "FSGetCatalogInfoBulk(40, 1, 2)",
                   "FSCloseIterator(40)",
                   "FSDeleteObject(40)",
                   "FSGetCatalogInfoBulk(20, 1, 2)",
                   "FSSetCatalogInfo(31, 2)",
                   "FSDeleteObject(31)",
                   "FSGetCatalogInfoBulk(20, 1, 2)",
                   "FSCloseIterator(20)"}),
              fakes::CallLog());
}

TEST_F(ContainersTest, FSDeleteContainer) {
    fakes::ItemOf(kHere).info.nodeFlags = kFSNodeLockedMask;
    EXPECT_EQ(noErr, FSDeleteContainer(&mHere));
    EXPECT_EQ("temp(), there()", fakes::CatalogueText());
    EXPECT_EQ("FSGetCatalogInfo(20, 2)", fakes::CallLog().front());
    EXPECT_EQ("FSDeleteObject(20)", fakes::CallLog().back());
    EXPECT_EQ("FSSetCatalogInfo(20, 2)", fakes::CallLog().rbegin()[1]);
}

TEST_F(ContainersTest, WhatIsNoFolder) {
    EXPECT_EQ(dirNFErr, FSDeleteContainer(&mFile));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 2)"}, fakes::CallLog());
    EXPECT_EQ(errFSNotAFolder, FSDeleteContainerContents(&mFile));
    EXPECT_EQ(fnfErr, FSDeleteContainer(&mMissing));
    EXPECT_EQ(fnfErr, FSDeleteContainerContents(&mMissing));
    EXPECT_EQ(paramErr, FSDeleteContainer(nullptr));
    EXPECT_EQ(paramErr, FSDeleteContainerContents(nullptr));
    EXPECT_TRUE(fakes::HasItem(kFile));
}

TEST_F(ContainersTest, StopsAtTheFirstRefusal) {
    fakes::AnswerInTurn("FSDeleteObject", {noErr, permErr});
    EXPECT_EQ(permErr, FSDeleteContainer(&mHere));
    EXPECT_EQ("here(folder(inner, sub()), locked), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ(2U, fakes::CallsOf({"FSDeleteObject"}).size());
}

TEST_F(ContainersTest, EveryFailingCallOfADeletion) {
    int failing = 1;
    for (;; ++failing) {
        Begin();
        fakes::SetErrorOfCatalogue(afpAccessDenied);
        fakes::FailCall(failing);
        const OSErr error = FSDeleteContainer(&mHere);
        if (!fakes::FailureDelivered()) break;
        const bool isClosing =
            fakes::CallLog().at(static_cast<std::size_t>(failing) - 1).rfind("FSClose", 0) == 0;
        EXPECT_EQ(isClosing ? OSErr{noErr} : OSErr{afpAccessDenied}, error) << failing;
        EXPECT_EQ(isClosing, !fakes::HasItem(kHere)) << failing;
        EXPECT_EQ(0, fakes::LiveIterators()) << failing;
    }
    EXPECT_EQ(24, failing);
}

TEST_F(ContainersTest, DeepTrees) {
    constexpr UInt32 kDepth = 300;
    for (UInt32 i = 0; i < kDepth; ++i)
        fakes::PutFolder(100 + i, i == 0 ? kThere : 99 + i, "deep");
    const FSRef there = fakes::RefOf(kThere);
    EXPECT_EQ(noErr, FSDeleteContainer(&there));
    EXPECT_FALSE(fakes::HasItem(100 + kDepth - 1));
    EXPECT_FALSE(fakes::HasItem(kThere));
}

TEST_F(ContainersTest, FSDeleteContainerLevel) {
    FSDeleteContainerGlobals globals = {};
    FSDeleteContainerLevel(&mHere, &globals);
    EXPECT_EQ(noErr, globals.result);
    EXPECT_EQ("here(), temp(), there()", fakes::CatalogueText());
    FSDeleteContainerLevel(&mMissing, &globals);
    EXPECT_EQ(fnfErr, globals.result);
}

// What a filter is called with, as "1 file" for instance, and where it quits.
struct Meetings {
    Log met;
    std::string last;
    Boolean changes = 0;
};

Boolean Meet(Boolean inContainerChanged, ItemCount inLevel, const FSCatalogInfo* inInfo, const FSRef* inItem,
             const FSSpec* inSpec, const HFSUniStr255* inName, void* inUserData) {
    auto& meetings = *static_cast<Meetings*>(inUserData);
    const std::string name = fakes::ItemOf(fakes::IDOf(*inItem)).name;
    std::string text = std::to_string(inLevel) + ' ' + name;
    if ((inInfo->nodeFlags & kFSNodeIsDirectoryMask) != 0) text += '/';
    if (inSpec != nullptr) text += " spec " + std::string(1, static_cast<char>(inSpec->name[1]));
    if (inName != nullptr) text += " name " + std::to_string(inName->length);
    meetings.met.push_back(text);
    meetings.changes = static_cast<Boolean>(meetings.changes + inContainerChanged);
    return name == meetings.last;
}

class IterateContainerTest : public ContainersTest {
  protected:
    OSErr Iterate(ItemCount inMaxLevels = 0, bool inWantSpec = false, bool inWantName = false) {
        return FSIterateContainer(&mHere, inMaxLevels, kFSCatInfoNodeID, inWantSpec, inWantName, Meet,
                                  &mMeetings);
    }
    // The code that is thrown; 1 when nothing is.
    long Thrown() {
        try {
            EXPECT_EQ(noErr, Iterate());
        } catch (const LException& exception) {
            return exception.GetErrorCode();
        }
        return 1;
    }

    Meetings mMeetings;
};

TEST_F(IterateContainerTest, EnterEachFolderAtItsPlace) {
    EXPECT_EQ(noErr, Iterate());
    EXPECT_EQ((Log{"1 file", "1 folder/", "2 inner", "2 sub/", "1 locked"}), mMeetings.met);
    EXPECT_EQ(0, mMeetings.changes);
    EXPECT_EQ(
        (Log{"FSOpenIterator(20, 0)", "FSGetCatalogInfoBulk(20, 1, 18)", "FSGetCatalogInfoBulk(20, 1, 18)",
             "FSOpenIterator(40, 0)", "FSGetCatalogInfoBulk(40, 1, 18)", "FSGetCatalogInfoBulk(40, 1, 18)",
             "FSOpenIterator(42, 0)", "FSGetCatalogInfoBulk(42, 1, 18)", "FSCloseIterator(42)",
             "FSGetCatalogInfoBulk(40, 1, 18)", "FSCloseIterator(40)", "FSGetCatalogInfoBulk(20, 1, 18)",
             "FSGetCatalogInfoBulk(20, 1, 18)", "FSCloseIterator(20)"}),
        fakes::CallLog());
}

TEST_F(IterateContainerTest, MaxLevels) {
    EXPECT_EQ(noErr, Iterate(1));
    EXPECT_EQ((Log{"1 file", "1 folder/", "1 locked"}), mMeetings.met);
    mMeetings.met.clear();
    EXPECT_EQ(noErr, Iterate(2));
    EXPECT_EQ((Log{"1 file", "1 folder/", "2 inner", "2 sub/", "1 locked"}), mMeetings.met);
    EXPECT_EQ((Log{"FSOpenIterator", "FSOpenIterator", "FSOpenIterator"}),
              fakes::CallsOf({"FSOpenIterator"}));
}

TEST_F(IterateContainerTest, NamesAndSpecificationsWhereAskedFor) {
    EXPECT_EQ(noErr, Iterate(1, true));
    EXPECT_EQ("1 file spec f", mMeetings.met.front());
    mMeetings.met.clear();
    EXPECT_EQ(noErr, Iterate(1, false, true));
    EXPECT_EQ("1 file name 4", mMeetings.met.front());
}

TEST_F(IterateContainerTest, FilterQuits) {
    for (const char* const last : {"file", "folder", "inner", "sub"}) {
        mMeetings = {{}, last, 0};
        EXPECT_EQ(noErr, Iterate());
        EXPECT_EQ(last, mMeetings.met.back().substr(2, std::strlen(last)));
        EXPECT_EQ(0, fakes::LiveIterators());
    }
}

TEST_F(IterateContainerTest, ChangeIsTold) {
    fakes::ChangeFolderAtBulkCall(2);
    EXPECT_EQ(noErr, Iterate());
    EXPECT_EQ(1, mMeetings.changes);
}

TEST_F(IterateContainerTest, AnItemMayComeWithTheEnd) {
    fakes::TellTheEndWithTheLastItem();
    EXPECT_EQ(noErr, Iterate());
    EXPECT_EQ((Log{"1 file", "1 folder/", "2 inner", "2 sub/", "1 locked"}), mMeetings.met);
    EXPECT_EQ(7U, fakes::CallsOf({"FSGetCatalogInfoBulk"}).size())
        << "one for each, one in the empty folder, and one behind it, whose end is the last result";
}

TEST_F(IterateContainerTest, WhatMayNotBeLookedAtEndsItsFolder) {
    fakes::AnswerInTurn("FSGetCatalogInfoBulk", {noErr, noErr, afpAccessDenied});
    EXPECT_EQ(noErr, Iterate());
    EXPECT_EQ((Log{"1 file", "1 folder/", "1 locked"}), mMeetings.met);
}

TEST_F(IterateContainerTest, AnyOtherErrorEndsItAll) {
    fakes::AnswerInTurn("FSGetCatalogInfoBulk", {noErr, noErr, ioErr});
    EXPECT_EQ(ioErr, Iterate());
    EXPECT_EQ((Log{"1 file", "1 folder/"}), mMeetings.met);
    EXPECT_EQ(0, fakes::LiveIterators());
}

TEST_F(IterateContainerTest, FoldersThatCannotBeBegunOrEndedAreThrown) {
    fakes::AnswerInTurn("FSOpenIterator", {fnfErr});
    EXPECT_EQ(fnfErr, Thrown());
    fakes::AnswerInTurn("FSOpenIterator", {noErr, afpAccessDenied});
    EXPECT_EQ(afpAccessDenied, Thrown());
    EXPECT_EQ(0, fakes::LiveIterators());
    for (int failing = 1; failing <= 3; ++failing) {
        std::vector<OSErr> answers(static_cast<std::size_t>(failing), noErr);
        answers.back() = ioErr;
        fakes::AnswerInTurn("FSCloseIterator", answers);
        EXPECT_EQ(ioErr, Thrown()) << failing;
        EXPECT_EQ(0, fakes::LiveIterators());
        fakes::AnswerInTurn("FSCloseIterator", {});
    }
}

TEST_F(IterateContainerTest, WhatAFilterThrowsPassesOnWithEveryFolderClosed) {
    const auto fail = [](Boolean, ItemCount inLevel, const FSCatalogInfo*, const FSRef*, const FSSpec*,
                         const HFSUniStr255*, void*) -> Boolean {
        if (inLevel == 2) throw std::runtime_error("filter");
        return false;
    };
    EXPECT_THROW((void)FSIterateContainer(&mHere, 0, kFSCatInfoNone, false, false, fail, nullptr),
                 std::runtime_error);
    EXPECT_EQ((Log{"FSCloseIterator", "FSCloseIterator"}), fakes::CallsOf({"FSCloseIterator"}));
    EXPECT_EQ(0, fakes::LiveIterators());
}

TEST_F(IterateContainerTest, NullArguments) {
    EXPECT_EQ(paramErr, FSIterateContainer(&mHere, 0, 0, false, false, nullptr, &mMeetings));
    EXPECT_EQ(paramErr, FSIterateContainer(nullptr, 0, 0, false, false, Meet, &mMeetings));
    EXPECT_EQ(Log(), fakes::CallLog());
}

class DirectoryItemsTest : public FilesTest {
  protected:
    static void Begin(UInt32 inCount) {
        Start();
        for (UInt32 i = 0; i < inCount; ++i)
            fakes::PutFile(100 + i, kThere, std::to_string(100 + i));
    }
    OSErr Get() { return FSGetDirectoryItems(&mThere, &mItems, &mCount, &mIsChanged); }
    void Dispose() {
        DisposeHandle(mItems);
        mItems = nullptr;
    }

    const FSRef mThere = fakes::RefOf(kThere);
    Handle mItems = nullptr;
    ItemCount mCount = 77;
    Boolean mIsChanged = 77;
};

TEST_F(DirectoryItemsTest, BatchesOfTen) {
    Begin(23);
    ASSERT_EQ(noErr, Get());
    EXPECT_EQ(23U, mCount);
    EXPECT_FALSE(mIsChanged);
    ASSERT_EQ(23 * 80, GetHandleSize(mItems));
    const auto* const refs = reinterpret_cast<const FSRef*>(*mItems);
    for (UInt32 i = 0; i < 23; ++i)
        EXPECT_EQ(100 + i, fakes::IDOf(refs[i]));
    EXPECT_EQ((Log{"NewHandle(0)", "FSOpenIterator(21, 0)", "FSGetCatalogInfoBulk(21, 10, 0)",
                   "PtrAndHand(800)", "FSGetCatalogInfoBulk(21, 10, 0)", "PtrAndHand(800)",
                   "FSGetCatalogInfoBulk(21, 10, 0)", "PtrAndHand(240)", "FSCloseIterator(21)"}),
              fakes::CallLog());
    Dispose();
}

TEST_F(DirectoryItemsTest, NoneAndWholeBatches) {
    for (const UInt32 count : {0, 1, 10, 20}) {
        Begin(count);
        ASSERT_EQ(noErr, Get());
        EXPECT_EQ(count, mCount);
        EXPECT_EQ(static_cast<Size>(count * 80), GetHandleSize(mItems));
        Dispose();
    }
}

TEST_F(DirectoryItemsTest, AChangeOnceToldIsKept) {
    for (const int call : {1, 2, 3}) {
        Begin(23);
        fakes::ChangeFolderAtBulkCall(call);
        ASSERT_EQ(noErr, Get());
        EXPECT_EQ(1, mIsChanged) << call;
        Dispose();
    }
}

TEST_F(DirectoryItemsTest, EveryFailingCallInTurn) {
    int failing = 1;
    for (;; ++failing) {
        Begin(23);
        mCount = 77;
        mItems = reinterpret_cast<Handle>(this);
        fakes::FailCall(failing);
        const OSErr error = Get();
        if (!fakes::FailureDelivered()) break;
        if (failing == 9) {  // the iterator is closed
            EXPECT_EQ(noErr, error);
            Dispose();
            continue;
        }
        const bool isMemory = failing == 1 || failing == 4 || failing == 6 || failing == 8;
        EXPECT_EQ(isMemory ? OSErr{memFullErr} : OSErr{ioErr}, error) << failing;
        EXPECT_EQ(nullptr, mItems) << failing;
        EXPECT_EQ(0U, mCount) << failing;
        EXPECT_EQ(0, fakes::LiveHandles()) << failing;
        EXPECT_EQ(0, fakes::LiveIterators()) << failing;
    }
    EXPECT_EQ(10, failing);
    Dispose();
}

TEST_F(DirectoryItemsTest, NullArguments) {
    EXPECT_EQ(paramErr, FSGetDirectoryItems(nullptr, &mItems, &mCount, &mIsChanged));
    EXPECT_EQ(paramErr, FSGetDirectoryItems(&mThere, nullptr, &mCount, &mIsChanged));
    EXPECT_EQ(paramErr, FSGetDirectoryItems(&mThere, &mItems, nullptr, &mIsChanged));
    EXPECT_EQ(paramErr, FSGetDirectoryItems(&mThere, &mItems, &mCount, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(77U, mCount);
}

}  // namespace

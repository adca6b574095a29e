#include "FilesTest.h"

#include <files/Exchange.h>

namespace {

using namespace test_files;

// The double of the volume does not make what it is asked for: the test puts it there.
class CopiesTest : public FilesTest {
  protected:
    CopiesTest() { Begin(); }

    static void Begin() {
        Start();
        fakes::PutFile(51, kThere, "new");
        fakes::PutFile(52, kThere, "file");
    }
    using Function = decltype(FSCopyFile);
    OSErr Call(Function* inFunction, std::u16string_view inName = u"new", UInt32 inItem = kFile,
               UInt32 inFolder = kThere) {
        const FSRef item = fakes::RefOf(inItem);
        const FSRef folder = fakes::RefOf(inFolder);
        const HFSUniStr255 name = Uni(inName);
        return inFunction(&item, &folder, name.length, name.unicode, 7, &mItem);
    }

    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mThere = fakes::RefOf(kThere);
    FSRef mItem = fakes::RefOf(kMissing);
};

TEST_F(CopiesTest, FSCopyFile) {
    EXPECT_EQ(noErr, Call(FSCopyFile));
    EXPECT_EQ(51U, fakes::IDOf(mItem));
    EXPECT_EQ(7U, fakes::ItemOf(51).info.textEncodingHint);
    EXPECT_EQ(Log{"PBHCopyFileSync"}, fakes::CallsOf({"PBHCopyFileSync", "PBHMoveRenameSync"}));
    const Log& log = fakes::CallLog();
    EXPECT_EQ(
        1, std::count(log.begin(), log.end(), "PBHCopyFileSync(-1, 20, \"file\" -> -1, 21, null, \"new\")"));
}

TEST_F(CopiesTest, FSCopyFileToAnotherVolume) {
    fakes::PutFile(60, fakes::kOtherRoot, "new");
    EXPECT_EQ(noErr, Call(FSCopyFile, u"new", kFile, fakes::kOtherRoot));
    EXPECT_EQ(60U, fakes::IDOf(mItem));
    const Log& log = fakes::CallLog();
    EXPECT_EQ(
        1, std::count(log.begin(), log.end(), "PBHCopyFileSync(-1, 20, \"file\" -> -2, 2, null, \"new\")"));
}

TEST_F(CopiesTest, FSMoveRename) {
    EXPECT_EQ(noErr, Call(FSMoveRename));
    EXPECT_EQ(51U, fakes::IDOf(mItem));
    const Log& log = fakes::CallLog();
    EXPECT_EQ(1, std::count(log.begin(), log.end(),
                            "PBHMoveRenameSync(-1, 20, \"file\" -> -1, 21, null, \"new\")"));
}

// Its number would be taken for a folder's of the first.
TEST_F(CopiesTest, FSMoveRenameToAnotherVolume) {
    EXPECT_EQ(diffVolErr, Call(FSMoveRename, u"new", kFile, fakes::kOtherRoot));
    EXPECT_EQ(Log(), fakes::CallsOf({"PBHMoveRenameSync"}));
}

TEST_F(CopiesTest, WithoutAName) {
    EXPECT_EQ(noErr, FSCopyFile(&mFile, &mThere, 0, nullptr, 7, &mItem));
    EXPECT_EQ(52U, fakes::IDOf(mItem));
    EXPECT_EQ(0U, fakes::ItemOf(52).info.textEncodingHint);
    const Log& log = fakes::CallLog();
    EXPECT_EQ(1,
              std::count(log.begin(), log.end(), "PBHCopyFileSync(-1, 20, \"file\" -> -1, 21, null, null)"));
    EXPECT_EQ(noErr, FSMoveRename(&mFile, &mThere, 0, nullptr, 7, nullptr));
}

TEST_F(CopiesTest, AnswerMayTakeThePlaceOfAnArgument) {
    const HFSUniStr255 name = Uni(u"new");
    FSRef folder = mThere;
    EXPECT_EQ(noErr, FSCopyFile(&mFile, &folder, name.length, name.unicode, 0, &folder));
    EXPECT_EQ(51U, fakes::IDOf(folder));
}

TEST_F(CopiesTest, EveryFailingCallInTurn) {
    for (Function* const function : {FSCopyFile, FSMoveRename}) {
        int failing = 1;
        int refusals = 0;
        for (;; ++failing) {
            Begin();
            mItem = fakes::RefOf(kMissing);
            fakes::FailCall(failing);
            const OSErr error = Call(function);
            if (!fakes::FailureDelivered()) break;
            const bool isHint = fakes::CallLog().back().rfind("FSSetCatalogInfo", 0) == 0;
            EXPECT_EQ(isHint, error == noErr) << failing;
            EXPECT_EQ(isHint ? 51U : kMissing, fakes::IDOf(mItem)) << failing;
            refusals += isHint ? 0 : 1;
        }
        EXPECT_EQ(7, refusals) << "three questions, a converter and its text, the call, what is there";
    }
}

TEST_F(CopiesTest, WhatCannotBe) {
    EXPECT_EQ(dirNFErr, Call(FSCopyFile, u"new", kFile, kInner));
    EXPECT_EQ(fnfErr, Call(FSCopyFile, u"new", kMissing));
    EXPECT_EQ(fnfErr, Call(FSCopyFile, u"new", kFile, kMissing));
    fakes::Refuse("PBHCopyFileSync", dupFNErr);
    EXPECT_EQ(dupFNErr, Call(FSCopyFile));
    EXPECT_EQ(kMissing, fakes::IDOf(mItem));
    for (Function* const function : {FSCopyFile, FSMoveRename}) {
        EXPECT_EQ(paramErr, function(nullptr, &mThere, 0, nullptr, 0, &mItem));
        EXPECT_EQ(paramErr, function(&mFile, nullptr, 0, nullptr, 0, &mItem));
    }
}

}  // namespace

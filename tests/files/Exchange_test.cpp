#include "FilesTest.h"
#include "fakes/System.h"

#include <files/Exchange.h>

namespace {

using namespace test_files;

constexpr TextEncoding kOldHint = 1;
constexpr TextEncoding kNewHint = 7;
constexpr char kAtFirst[] = "here(file, folder(inner)), temp(), there()";

// The calls before the item is touched: two volumes, the temporary folder, the scratch folder and its
// reference.
const Log kPreparation = {"FSGetCatalogInfo(21, 4)", "FSGetCatalogInfo(30, 5, name, parent)",
                          "FindFolder(-1, 1952804208, 1)", "DirCreate(-1, 10, 600A)",
                          "PBMakeFSRefSync(-1, 1000, )"};

class MoveRenameTest : public FilesTest {
  protected:
    MoveRenameTest() { Begin(); }

    static void Begin() {
        Start();
        fakes::SetTicks(600);
        fakes::ItemOf(kFile).info.textEncodingHint = kOldHint;
    }
    OSErr MoveRename(std::u16string_view inName = u"new", UInt32 inItem = kFile, UInt32 inFolder = kThere) {
        const FSRef item = fakes::RefOf(inItem);
        const FSRef folder = fakes::RefOf(inFolder);
        const HFSUniStr255 name = Uni(inName);
        return FSMoveRenameObjectUnicode(&item, &folder, name.length, name.unicode, kNewHint, &mItem);
    }
    static Log After(const Log& inCalls) {
        Log log = kPreparation;
        log.insert(log.end(), inCalls.begin(), inCalls.end());
        return log;
    }
    void ExpectAsBefore() const {
        EXPECT_EQ(kAtFirst, fakes::CatalogueText());
        EXPECT_EQ(kOldHint, fakes::ItemOf(kFile).info.textEncodingHint);
        EXPECT_EQ(kFile, fakes::IDOf(mItem));
    }

    FSRef mItem = {};
};

TEST_F(MoveRenameTest, PassesThroughAScratchFolder) {
    EXPECT_EQ(noErr, MoveRename());
    EXPECT_EQ("here(folder(inner)), temp(), there(new)", fakes::CatalogueText());
    EXPECT_EQ(kFile, fakes::IDOf(mItem));
    EXPECT_EQ(kNewHint, fakes::ItemOf(kFile).info.textEncodingHint);
    EXPECT_EQ(After({"FSMoveObject(30, 1000)", "FSRenameUnicode(30, new, 7)", "FSMoveObject(30, 21)",
                     "HDelete(-1, 1000, )"}),
              fakes::CallLog());
}

TEST_F(MoveRenameTest, WithoutANameMovesAlone) {
    const FSRef item = fakes::RefOf(kFile);
    const FSRef folder = fakes::RefOf(kThere);
    EXPECT_EQ(noErr, FSMoveRenameObjectUnicode(&item, &folder, 0, nullptr, kNewHint, &mItem));
    EXPECT_EQ("here(folder(inner)), temp(), there(file)", fakes::CatalogueText());
    EXPECT_EQ(
        (Log{"FSGetCatalogInfo(21, 4)", "FSGetCatalogInfo(30, 5, name, parent)", "FSMoveObject(30, 21)"}),
        fakes::CallLog());
    EXPECT_EQ(kOldHint, fakes::ItemOf(kFile).info.textEncodingHint);
}

TEST_F(MoveRenameTest, Folders) {
    EXPECT_EQ(noErr, MoveRename(u"new", kFolder));
    EXPECT_EQ("here(file), temp(), there(new(inner))", fakes::CatalogueText());
}

TEST_F(MoveRenameTest, WithinAFolder) {
    EXPECT_EQ(noErr, MoveRename(u"new", kFile, kHere));
    EXPECT_EQ("here(folder(inner), new), temp(), there()", fakes::CatalogueText());
}

// What would collide with a rename here, or with a move there, does not.
TEST_F(MoveRenameTest, OldAndNewNameMayBeTakenElsewhere) {
    fakes::PutFile(51, kHere, "new");
    fakes::PutFile(52, kThere, "file");
    EXPECT_EQ(noErr, MoveRename());
    EXPECT_EQ("here(folder(inner), new), temp(), there(file, new)", fakes::CatalogueText());
}

TEST_F(MoveRenameTest, NameThatIsTaken) {
    fakes::PutFile(51, kThere, "new");
    EXPECT_EQ(dupFNErr, MoveRename());
    EXPECT_EQ("here(file, folder(inner)), temp(), there(new)", fakes::CatalogueText());
    EXPECT_EQ(kOldHint, fakes::ItemOf(kFile).info.textEncodingHint);
    EXPECT_EQ(After({"FSMoveObject(30, 1000)", "FSRenameUnicode(30, new, 7)", "FSMoveObject(30, 21)",
                     "FSRenameUnicode(30, file, 1)", "FSMoveObject(30, 20)", "HDelete(-1, 1000, )"}),
              fakes::CallLog());
}

TEST_F(MoveRenameTest, RenameFails) {
    fakes::Refuse("FSRenameUnicode", bdNamErr);
    EXPECT_EQ(bdNamErr, MoveRename());
    ExpectAsBefore();
    EXPECT_EQ(After({"FSMoveObject(30, 1000)", "FSRenameUnicode(30, new, 7)", "FSMoveObject(30, 20)",
                     "HDelete(-1, 1000, )"}),
              fakes::CallLog());
}

TEST_F(MoveRenameTest, MoveToTheScratchFolderFails) {
    fakes::AnswerInTurn("FSMoveObject", {fBsyErr});
    EXPECT_EQ(fBsyErr, MoveRename());
    ExpectAsBefore();
    EXPECT_EQ(After({"FSMoveObject(30, 1000)", "HDelete(-1, 1000, )"}), fakes::CallLog());
}

TEST_F(MoveRenameTest, ScratchFolderIsLostAtOnce) {
    fakes::Refuse("PBMakeFSRefSync", dirNFErr);
    EXPECT_EQ(dirNFErr, MoveRename());
    ExpectAsBefore();
    EXPECT_EQ(After({"HDelete(-1, 1000, )"}), fakes::CallLog());
}

TEST_F(MoveRenameTest, EveryFailingCallInTurn) {
    int failing = 1;
    for (;; ++failing) {
        Begin();
        mItem = {};
        fakes::SetErrorOfCatalogue(afpAccessDenied);
        fakes::FailCall(failing);
        const OSErr error = MoveRename();
        if (!fakes::FailureDelivered()) break;
        if (failing == 9) {  // the scratch folder, when all is done
            EXPECT_EQ(noErr, error);
            EXPECT_EQ("here(folder(inner)), temp(600A()), there(new)", fakes::CatalogueText());
            continue;
        }
        EXPECT_EQ(afpAccessDenied, error) << failing;
        ExpectAsBefore();
    }
    EXPECT_EQ(10, failing);
}

TEST_F(MoveRenameTest, FirstFailureIsAnswered) {
    fakes::AnswerInTurn("FSMoveObject", {noErr, dupFNErr, ioErr});
    fakes::AnswerInTurn("FSRenameUnicode", {noErr, permErr});
    fakes::AnswerInTurn("HDelete", {fBsyErr});
    EXPECT_EQ(dupFNErr, MoveRename());
    EXPECT_EQ("here(folder(inner)), temp(600A(new)), there()", fakes::CatalogueText())
        << "and it is not lost";
}

TEST_F(MoveRenameTest, WhatCannotGetItsNameBackGoesBack) {
    fakes::AnswerInTurn("FSMoveObject", {noErr, dupFNErr});
    fakes::AnswerInTurn("FSRenameUnicode", {noErr, permErr});
    EXPECT_EQ(dupFNErr, MoveRename());
    EXPECT_EQ("here(folder(inner), new), temp(), there()", fakes::CatalogueText());
}

TEST_F(MoveRenameTest, ScratchNamesThatAreTaken) {
    fakes::PutFolder(51, fakes::kTemporary, "600A");
    fakes::PutFolder(52, fakes::kTemporary, "600B");
    EXPECT_EQ(noErr, MoveRename());
    EXPECT_EQ("here(folder(inner)), temp(600A(), 600B()), there(new)", fakes::CatalogueText());
    EXPECT_EQ((Log{"DirCreate", "DirCreate", "DirCreate"}), fakes::CallsOf({"DirCreate"}));
}

TEST_F(MoveRenameTest, LastScratchName) {
    fakes::AnswerInTurn("DirCreate", std::vector<OSErr>(25, dupFNErr));
    EXPECT_EQ(noErr, MoveRename());
    EXPECT_EQ("DirCreate(-1, 10, 600Z)", fakes::CallLog().at(3 + 25));
}

TEST_F(MoveRenameTest, NoScratchNameIsFree) {
    fakes::Refuse("DirCreate", dupFNErr);
    EXPECT_EQ(dupFNErr, MoveRename());
    ExpectAsBefore();
    EXPECT_EQ(26U, fakes::CallsOf({"DirCreate"}).size());
    EXPECT_EQ("DirCreate(-1, 10, 600Z)", fakes::CallLog().back());
}

TEST_F(MoveRenameTest, AnotherErrorOfTheScratchFolderIsNotTriedAgain) {
    fakes::Refuse("DirCreate", dskFulErr);
    EXPECT_EQ(dskFulErr, MoveRename());
    EXPECT_EQ(1U, fakes::CallsOf({"DirCreate"}).size());
}

TEST_F(MoveRenameTest, TicksAreUnsigned) {
    fakes::SetTicks(0xFFFFFFFF);
    EXPECT_EQ(noErr, MoveRename());
    EXPECT_EQ("DirCreate(-1, 10, 4294967295A)", fakes::CallLog().at(3));
}

TEST_F(MoveRenameTest, OtherVolume) {
    EXPECT_EQ(diffVolErr, MoveRename(u"new", kFile, fakes::kOtherRoot));
    ExpectAsBefore();
    EXPECT_EQ(2U, fakes::CallLog().size());
}

TEST_F(MoveRenameTest, MissingItems) {
    EXPECT_EQ(fnfErr, MoveRename(u"new", kMissing));
    EXPECT_EQ(fnfErr, MoveRename(u"new", kFile, kMissing));
    EXPECT_EQ(kAtFirst, fakes::CatalogueText());
}

TEST_F(MoveRenameTest, NullArguments) {
    const FSRef ref = fakes::RefOf(kFile);
    const HFSUniStr255 name = Uni(u"new");
    EXPECT_EQ(paramErr, FSMoveRenameObjectUnicode(nullptr, &ref, 3, name.unicode, 0, &mItem));
    EXPECT_EQ(paramErr, FSMoveRenameObjectUnicode(&ref, nullptr, 3, name.unicode, 0, &mItem));
    EXPECT_EQ(paramErr, FSMoveRenameObjectUnicode(&ref, &ref, 3, name.unicode, 0, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
}

TEST_F(MoveRenameTest, AnswerMayTakeThePlaceOfAnArgument) {
    const HFSUniStr255 name = Uni(u"new");
    FSRef item = fakes::RefOf(kFile);
    FSRef folder = fakes::RefOf(kThere);
    EXPECT_EQ(noErr, FSMoveRenameObjectUnicode(&item, &folder, name.length, name.unicode, 0, &item));
    EXPECT_EQ(kFile, fakes::IDOf(item));
    const HFSUniStr255 next = Uni(u"next");
    folder = fakes::RefOf(kHere);
    EXPECT_EQ(noErr, FSMoveRenameObjectUnicode(&item, &folder, next.length, next.unicode, 0, &folder));
    EXPECT_EQ(kFile, fakes::IDOf(folder));
    EXPECT_EQ("here(folder(inner), next), temp(), there()", fakes::CatalogueText());
}

TEST_F(MoveRenameTest, WithoutATemporaryFolderOneCallWillDo) {
    fakes::Refuse("FindFolder", fnfErr);
    EXPECT_EQ(noErr, MoveRename(u"file"));
    EXPECT_EQ("here(folder(inner)), temp(), there(file)", fakes::CatalogueText());
    EXPECT_EQ(kNewHint, fakes::ItemOf(kFile).info.textEncodingHint);
    EXPECT_EQ(noErr, MoveRename(u"new", kFile, kThere));
    EXPECT_EQ("here(folder(inner)), temp(), there(new)", fakes::CatalogueText());
    EXPECT_EQ(kNewHint, fakes::ItemOf(kFile).info.textEncodingHint);
}

TEST_F(MoveRenameTest, WithoutATemporaryFolderAHintThatIsRefusedUndoesTheMove) {
    fakes::Refuse("FindFolder", fnfErr);
    fakes::Refuse("FSRenameUnicode", ioErr);
    EXPECT_EQ(ioErr, MoveRename(u"file"));
    ExpectAsBefore();
}

TEST_F(MoveRenameTest, WithoutATemporaryFolderTwoCallsAreNotMade) {
    fakes::Refuse("FindFolder", wPrErr);
    EXPECT_EQ(wPrErr, MoveRename());
    EXPECT_EQ(wPrErr, MoveRename(u"filer"));
    ExpectAsBefore();
}

}  // namespace

#include "FilesTest.h"

#include <files/Exchange.h>
#include <files/Volumes.h>

#include <utility>

namespace {

using namespace test_files;

constexpr UInt32 kOther = 51;

// How the contents come to be exchanged.
enum class Way { kVolume, kNoVolumeCan, kOldParameters, kVolumeRefuses };

class ExchangeObjectsTest : public FilesTest {
  protected:
    // "here/file" and "there/other", each with information of its own.
    static void Begin(Way inWay, UInt32 inFolderOfOther = kThere) {
        Start();
        fakes::PutFile(kOther, inFolderOfOther, "other");
        Distinguish(kFile, 1);
        Distinguish(kOther, 2);
        fakes::VolumeParameters().vMVersion = inWay == Way::kOldParameters ? 2 : 3;
        fakes::VolumeParameters().vMExtendedAttributes = inWay == Way::kNoVolumeCan ? ~0x8 : 0x8;
        if (inWay == Way::kVolumeRefuses) fakes::AnswerInTurn("FSExchangeObjects", {paramErr});
    }
    static void Distinguish(UInt32 inItem, UInt8 inMark) {
        FSCatalogInfo& info = fakes::ItemOf(inItem).info;
        info.createDate = {0, 100U + inMark, 0};
        info.contentModDate = {0, 200U + inMark, 0};
        info.accessDate = {0, 300U + inMark, 0};
        info.backupDate = {0, 400U + inMark, 0};
        info.permissions.mode = static_cast<UInt16>(0100600 + inMark);
        info.textEncodingHint = inMark;
        std::memset(info.finderInfo, inMark, sizeof info.finderInfo);
        std::memset(info.extFinderInfo, inMark, sizeof info.extFinderInfo);
    }
    // The information that stays with a name, whatever the way.
    static Log WhatStays(UInt32 inFolder) {
        Log texts;
        for (const UInt32 id : fakes::ItemsIn(inFolder)) {
            const fakes::Item& item = fakes::ItemOf(id);
            const FSCatalogInfo& info = item.info;
            const auto field = [](auto inNumber) { return ' ' + std::to_string(inNumber); };
            texts.push_back(item.name + field(info.createDate.lowSeconds) +
                            field(info.backupDate.lowSeconds) + field(info.permissions.mode) +
                            field(info.textEncodingHint) + field(info.finderInfo[0]) +
                            field(info.extFinderInfo[15]) + field(info.nodeFlags));
        }
        return texts;
    }
    // Everything: names, ids, contents, information.
    static Log Everything() {
        Log texts = {fakes::CatalogueText()};
        for (const UInt32 id : {kFile, kOther}) {
            const fakes::Item& item = fakes::ItemOf(id);
            texts.push_back(item.contents +
                            std::string(reinterpret_cast<const char*>(&item.info), sizeof item.info));
        }
        return texts;
    }
    static std::string ContentsOf(const FSRef& inRef) { return fakes::ItemOf(fakes::IDOf(inRef)).contents; }
    static std::string NameOf(const FSRef& inRef) { return fakes::ItemOf(fakes::IDOf(inRef)).name; }
    OSErr Exchange(UInt32 inItem1 = kFile, UInt32 inItem2 = kOther) {
        const FSRef item1 = fakes::RefOf(inItem1);
        const FSRef item2 = fakes::RefOf(inItem2);
        return FSExchangeObjectsCompat(&item1, &item2, &mNew1, &mNew2);
    }
    // Refused, with all as it was.
    void ExpectRefused(OSErr inError, UInt32 inItem1 = kFile, UInt32 inItem2 = kOther) {
        const Log before = Everything();
        EXPECT_EQ(inError, Exchange(inItem1, inItem2));
        EXPECT_EQ(before, Everything());
        EXPECT_EQ(inItem1, fakes::IDOf(mNew1));
        EXPECT_EQ(inItem2, fakes::IDOf(mNew2));
    }

    FSRef mNew1 = {};
    FSRef mNew2 = {};
};

class EachWay : public ExchangeObjectsTest, public testing::WithParamInterface<Way> {};
INSTANTIATE_TEST_SUITE_P(Ways, EachWay,
                         testing::Values(Way::kVolume, Way::kNoVolumeCan, Way::kOldParameters,
                                         Way::kVolumeRefuses));

TEST_P(EachWay, ContentsGoAndNamesStay) {
    for (const UInt32 folder : {kThere, kHere}) {
        Begin(GetParam(), folder);
        const std::string before = fakes::CatalogueText();
        const Log here = WhatStays(kHere);
        const Log there = WhatStays(kThere);
        ASSERT_EQ(noErr, Exchange());
        EXPECT_EQ(before, fakes::CatalogueText());
        EXPECT_EQ(here, WhatStays(kHere));
        EXPECT_EQ(there, WhatStays(kThere));
        EXPECT_EQ("file", NameOf(mNew1));
        EXPECT_EQ("other", ContentsOf(mNew1));
        EXPECT_EQ("other", NameOf(mNew2));
        EXPECT_EQ("file", ContentsOf(mNew2));
    }
}

TEST_P(EachWay, WhatCannotBe) {
    Begin(GetParam());
    fakes::AnswerInTurn("FSExchangeObjects", {});
    ExpectRefused(notAFileErr, kFolder);
    ExpectRefused(notAFileErr, kFile, kFolder);
    ExpectRefused(sameFileErr, kFile, kFile);
    fakes::PutFile(60, fakes::kOtherRoot, "far");
    Distinguish(60, 3);
    ExpectRefused(diffVolErr, kFile, 60);
    ExpectRefused(diffVolErr, 60, kFile);
    ExpectRefused(fnfErr, kMissing);
    ExpectRefused(fnfErr, kFile, kMissing);
    for (const UInt32 locked : {kFile, kOther}) {
        Begin(GetParam());
        fakes::ItemOf(locked).info.nodeFlags = kFSNodeLockedMask;
        ExpectRefused(fLckdErr);
    }
}

TEST_P(EachWay, NullArguments) {
    Begin(GetParam());
    const FSRef ref = fakes::RefOf(kFile);
    EXPECT_EQ(paramErr, FSExchangeObjectsCompat(nullptr, &ref, &mNew1, &mNew2));
    EXPECT_EQ(paramErr, FSExchangeObjectsCompat(&ref, nullptr, &mNew1, &mNew2));
    EXPECT_EQ(paramErr, FSExchangeObjectsCompat(&ref, &ref, nullptr, &mNew2));
    EXPECT_EQ(paramErr, FSExchangeObjectsCompat(&ref, &ref, &mNew1, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
}

TEST_P(EachWay, AnswersMayTakeThePlaceOfArguments) {
    Begin(GetParam());
    FSRef item1 = fakes::RefOf(kFile);
    FSRef item2 = fakes::RefOf(kOther);
    ASSERT_EQ(noErr, FSExchangeObjectsCompat(&item1, &item2, &item2, &item1));
    EXPECT_EQ("file", NameOf(item2));
    EXPECT_EQ("other", ContentsOf(item2));
    EXPECT_EQ("other", NameOf(item1));
}

TEST_F(ExchangeObjectsTest, ByTheVolumeInOneCall) {
    Begin(Way::kVolume);
    ASSERT_EQ(noErr, Exchange());
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 4)",
                   "PBHGetVolParmsSync(-1, " + std::to_string(sizeof(GetVolParmsInfoBuffer)) + ')',
                   "FSExchangeObjects(30, 51)"}),
              fakes::CallLog());
    EXPECT_EQ(kFile, fakes::IDOf(mNew1)) << "ids stay";
    EXPECT_EQ(kOther, fakes::IDOf(mNew2));
    EXPECT_EQ(202U, +fakes::ItemOf(kFile).info.contentModDate.lowSeconds) << "and dates of contents go";
}

// Only paramErr tells that the volume cannot.
TEST_F(ExchangeObjectsTest, OtherFailuresOfTheVolume) {
    for (const OSErr error : {OSErr{ioErr}, OSErr{fLckdErr}, OSErr{fnfErr}, OSErr{notAFileErr}}) {
        Begin(Way::kVolume);
        fakes::AnswerInTurn("FSExchangeObjects", {error});
        ExpectRefused(error);
        EXPECT_EQ("FSExchangeObjects(30, 51)", fakes::CallLog().back());
    }
}

TEST_F(ExchangeObjectsTest, ByNames) {
    Begin(Way::kNoVolumeCan);
    ASSERT_EQ(noErr, Exchange());
    EXPECT_EQ(
        (Log{"FSGetCatalogInfo(30, 8167, name, parent)", "FSGetCatalogInfo(51, 8167, name, parent)",
             "FSCompareFSRefs(30, 51)", "FSCompareFSRefs(20, 21)", "PBMakeFSRefUnicodeSync(20, 4D52544C)",
             "PBMakeFSRefUnicodeSync(21, 4D52544C)", "PBMakeFSRefUnicodeSync(20, 4D52544D)",
             "PBMakeFSRefUnicodeSync(21, 4D52544D)", "FSRenameUnicode(30, 4D52544C, 1)",
             "FSRenameUnicode(51, 4D52544D, 2)", "FSMoveObject(30, 21)", "FSMoveObject(51, 20)",
             "FSSetCatalogInfo(30, 8163)", "FSSetCatalogInfo(51, 8163)", "FSRenameUnicode(30, other, 2)",
             "FSRenameUnicode(51, file, 1)"}),
        Log(fakes::CallLog().begin() + 2, fakes::CallLog().end()));
    EXPECT_EQ(kOther, fakes::IDOf(mNew1)) << "ids go";
    EXPECT_EQ(kFile, fakes::IDOf(mNew2));
    EXPECT_EQ(201U, +fakes::ItemOf(kOther).info.contentModDate.lowSeconds) << "and all dates stay";
    EXPECT_EQ(301U, +fakes::ItemOf(kOther).info.accessDate.lowSeconds);
}

// Older parameters have no such attribute, whatever lies in its place.
TEST_F(ExchangeObjectsTest, VolumesThatDoNotTell) {
    for (const Way way : {Way::kNoVolumeCan, Way::kOldParameters}) {
        Begin(way);
        ASSERT_EQ(noErr, Exchange());
        EXPECT_EQ(Log(), fakes::CallsOf({"FSExchangeObjects"}));
    }
}

TEST_F(ExchangeObjectsTest, ByNamesInOneFolder) {
    Begin(Way::kNoVolumeCan, kHere);
    ASSERT_EQ(noErr, Exchange());
    EXPECT_EQ(Log(), fakes::CallsOf({"FSMoveObject"}));
}

TEST_F(ExchangeObjectsTest, TemporaryNamesThatAreTaken) {
    Begin(Way::kNoVolumeCan);
    fakes::PutFile(61, kHere, "4D52544C");
    fakes::PutFile(62, kThere, "4D52544E");
    ASSERT_EQ(noErr, Exchange());
    const Log renames = {"FSRenameUnicode(30, 4D52544D, 1)", "FSRenameUnicode(51, 4D52544F, 2)"};
    for (const std::string& call : renames)
        EXPECT_EQ(1, std::count(fakes::CallLog().begin(), fakes::CallLog().end(), call)) << call;
}

TEST_F(ExchangeObjectsTest, WhatIsNoFile) {
    Begin(Way::kNoVolumeCan);
    for (const int mode : {0120777, 0010644, 0140755, 0020600}) {
        fakes::ItemOf(kOther).info.permissions.mode = static_cast<UInt16>(mode);
        ExpectRefused(notAFileErr);
        ExpectRefused(notAFileErr, kOther, kFile);
    }
}

TEST_F(ExchangeObjectsTest, EveryFailingCallInTurn) {
    for (const auto& [folder, calls] : {std::pair{kThere, 18}, std::pair{kHere, 16}}) {
        int failing = 1;
        for (;; ++failing) {
            Begin(Way::kNoVolumeCan, folder);
            fakes::SetErrorOfCatalogue(afpAccessDenied);
            const Log before = Everything();
            fakes::FailCall(failing);
            const OSErr error = Exchange();
            if (!fakes::FailureDelivered()) break;
            EXPECT_EQ(afpAccessDenied, error) << failing;
            EXPECT_EQ(before, Everything()) << failing;
            EXPECT_EQ(kFile, fakes::IDOf(mNew1));
            EXPECT_EQ(kOther, fakes::IDOf(mNew2));
        }
        EXPECT_EQ(calls + 1, failing);
    }
}

TEST_F(ExchangeObjectsTest, IsUndoneInReverse) {
    Begin(Way::kNoVolumeCan);
    fakes::AnswerInTurn("FSRenameUnicode", {noErr, noErr, noErr, dskFulErr});
    ExpectRefused(dskFulErr);
    EXPECT_EQ((Log{"FSRenameUnicode(51, file, 1)", "FSRenameUnicode(30, 4D52544C, 1)",
                   "FSSetCatalogInfo(51, 8163)", "FSSetCatalogInfo(30, 8163)", "FSMoveObject(51, 21)",
                   "FSMoveObject(30, 20)", "FSRenameUnicode(51, other, 2)", "FSRenameUnicode(30, file, 1)"}),
              Log(fakes::CallLog().end() - 8, fakes::CallLog().end()));
}

// One that cannot be undone does not keep the others from being undone, and the first failure is answered.
TEST_F(ExchangeObjectsTest, FirstFailureIsAnswered) {
    Begin(Way::kNoVolumeCan);
    fakes::AnswerInTurn("FSSetCatalogInfo", {noErr, dskFulErr, permErr});
    EXPECT_EQ(dskFulErr, Exchange());
    EXPECT_EQ("here(file, folder(inner)), temp(), there(other)", fakes::CatalogueText());
    EXPECT_EQ(kFile, fakes::IDOf(mNew1));
}

// A date of creation that the file system tells itself comes back when none is told.
TEST_F(ExchangeObjectsTest, UndoneCreationDates) {
    Begin(Way::kNoVolumeCan);
    fakes::ItemOf(kFile).info.createDate.fraction = 5;
    fakes::AnswerInTurn("FSSetCatalogInfo", {noErr, ioErr});
    EXPECT_EQ(ioErr, Exchange());
    EXPECT_EQ(0U, +fakes::ItemOf(kFile).info.createDate.lowSeconds);
    EXPECT_EQ(0U, fakes::ItemOf(kFile).info.createDate.fraction);
    EXPECT_EQ(201U, +fakes::ItemOf(kFile).info.contentModDate.lowSeconds);
}

}  // namespace

#include "FilesTest.h"

#include <files/Flags.h>
#include <toolbox/CatalogInfo.h>

namespace {

using namespace test_files;

constexpr OSType kType = FourChars("TEXT");
constexpr OSType kCreator = FourChars("ttxt");

class FlagsTest : public FilesTest {
  protected:
    FlagsTest() { fakes::SetDate(kNow); }

    static FinderInfo& FinderInfoOf(UInt32 inID) {
        return *reinterpret_cast<FinderInfo*>(fakes::ItemOf(inID).info.finderInfo);
    }
    static UTCDateTime& DateOf(UInt32 inID) { return fakes::ItemOf(inID).info.contentModDate; }
    static void ExpectDate(const UTCDateTime& inDate, const UTCDateTime& inExpected) {
        EXPECT_EQ(inExpected.highSeconds, inDate.highSeconds);
        EXPECT_EQ(+inExpected.lowSeconds, +inDate.lowSeconds);
        EXPECT_EQ(inExpected.fraction, inDate.fraction);
    }

    static constexpr UTCDateTime kNow = {1, 2'000, 3};
    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mFolder = fakes::RefOf(kFolder);
    const FSRef mMissing = fakes::RefOf(kMissing);
};

TEST_F(FlagsTest, FSCheckLockOfWhatIsNotLocked) {
    EXPECT_EQ(noErr, FSCheckLock(&mFile));
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 6)", "FSGetVolumeInfo(-1, 0, 8192)"}), fakes::CallLog());
    fakes::VolumeInfo().flags = 0x7F7F;
    fakes::ItemOf(kFile).info.nodeFlags = 0xFFFE;
    EXPECT_EQ(noErr, FSCheckLock(&mFile)) << "other flags do not count";
}

TEST_F(FlagsTest, FSCheckLockOfALockedItem) {
    fakes::VolumeInfo().flags = 0x8080;
    fakes::ItemOf(kFile).info.nodeFlags = 1;
    EXPECT_EQ(-45, FSCheckLock(&mFile));
    EXPECT_EQ(1U, fakes::CallLog().size()) << "the volume is not asked";
}

TEST_F(FlagsTest, FSCheckLockOfALockedVolume) {
    fakes::VolumeInfo().flags = 0x8080;
    EXPECT_EQ(-44, FSCheckLock(&mFile));
    fakes::VolumeInfo().flags = 0x80;
    EXPECT_EQ(-44, FSCheckLock(&mFile));
    fakes::VolumeInfo().flags = 0x8000;
    EXPECT_EQ(-46, FSCheckLock(&mFile));
}

TEST_F(FlagsTest, FSCheckLockFails) {
    EXPECT_EQ(paramErr, FSCheckLock(nullptr));
    EXPECT_EQ(fnfErr, FSCheckLock(&mMissing));
    fakes::Refuse("FSGetVolumeInfo", nsvErr);
    EXPECT_EQ(nsvErr, FSCheckLock(&mFile));
}

TEST_F(FlagsTest, FSBumpDateOfAFile) {
    EXPECT_EQ(noErr, FSBumpDate(&mFile));
    ExpectDate(DateOf(kFile), kNow);
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 66, parent)", "GetUTCDateTime(0)", "FSSetCatalogInfo(30, 64)",
                   "FNNotify(20, 1, 0)"}),
              fakes::CallLog());
}

TEST_F(FlagsTest, FSBumpDateOfAFolder) {
    EXPECT_EQ(noErr, FSBumpDate(&mFolder));
    ExpectDate(DateOf(kFolder), kNow);
    EXPECT_EQ("FNNotify(40, 1, 0)", fakes::CallLog().back());
}

TEST_F(FlagsTest, FSBumpDateAddsASecondToTheSameDate) {
    DateOf(kFile) = kNow;
    EXPECT_EQ(noErr, FSBumpDate(&mFile));
    ExpectDate(DateOf(kFile), {1, 2'001, 3});
}

TEST_F(FlagsTest, FSBumpDateCarries) {
    const UTCDateTime last = {1, 0xFFFFFFFF, 3};
    fakes::SetDate(last);
    DateOf(kFile) = last;
    EXPECT_EQ(noErr, FSBumpDate(&mFile));
    ExpectDate(DateOf(kFile), {2, 0, 3});
}

TEST_F(FlagsTest, FSBumpDateComparesToTheFraction) {
    for (const UTCDateTime& other :
         {UTCDateTime{1, 2'000, 4}, UTCDateTime{1, 2'001, 3}, UTCDateTime{0, 2'000, 3}}) {
        DateOf(kFile) = other;
        EXPECT_EQ(noErr, FSBumpDate(&mFile));
        ExpectDate(DateOf(kFile), kNow);
    }
}

TEST_F(FlagsTest, FSBumpDateWhenEveryCallFails) {
    EXPECT_EQ(paramErr, FSBumpDate(nullptr));
    for (int failing = 1; failing <= 4; ++failing) {
        Start();
        fakes::SetDate(kNow);
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSBumpDate(&mFile)) << failing;
        EXPECT_TRUE(fakes::FailureDelivered());
        EXPECT_EQ(static_cast<std::size_t>(failing), fakes::CallLog().size());
        ExpectDate(DateOf(kFile), failing == 4 ? kNow : UTCDateTime{});
    }
}

TEST_F(FlagsTest, FSGetFinderInfo) {
    FinderInfoOf(kFile).file.fileType = kType;
    fakes::ItemOf(kFile).info.extFinderInfo[15] = 9;
    FinderInfo info = {};
    ExtendedFinderInfo extended = {};
    Boolean isFolder = 77;
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFile, &info, &extended, &isFolder));
    EXPECT_EQ(kType, info.file.fileType);
    EXPECT_EQ(9, reinterpret_cast<const UInt8*>(&extended)[15]);
    EXPECT_EQ(0, isFolder);
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFolder, nullptr, nullptr, &isFolder));
    EXPECT_EQ(1, isFolder);
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFile, &info, nullptr, nullptr));
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFile, nullptr, &extended, nullptr));
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 6146)", "FSGetCatalogInfo(40, 2)", "FSGetCatalogInfo(30, 2048)",
                   "FSGetCatalogInfo(30, 4096)"}),
              fakes::CallLog());
    info.file.fileType = 1;
    EXPECT_EQ(fnfErr, FSGetFinderInfo(&mMissing, &info, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSGetFinderInfo(nullptr, &info, nullptr, nullptr));
    EXPECT_EQ(1U, info.file.fileType);
}

TEST_F(FlagsTest, FSSetFinderInfo) {
    FinderInfo info = {};
    info.file.fileCreator = kCreator;
    ExtendedFinderInfo extended = {};
    extended.file.putAwayFolderID = 5;
    EXPECT_EQ(noErr, FSSetFinderInfo(&mFile, &info, &extended));
    EXPECT_EQ(kCreator, FinderInfoOf(kFile).file.fileCreator);
    EXPECT_EQ(0, std::memcmp(fakes::ItemOf(kFile).info.extFinderInfo, &extended, 16));
    info.file.fileCreator = 1;
    EXPECT_EQ(noErr, FSSetFinderInfo(&mFile, nullptr, &extended));
    EXPECT_EQ(kCreator, FinderInfoOf(kFile).file.fileCreator);
    EXPECT_EQ(noErr, FSSetFinderInfo(&mFile, &info, nullptr));
    EXPECT_EQ((Log{"FSSetCatalogInfo(30, 6144)", "FSSetCatalogInfo(30, 4096)", "FSSetCatalogInfo(30, 2048)"}),
              fakes::CallLog());
    EXPECT_EQ(paramErr, FSSetFinderInfo(nullptr, &info, &extended));
    EXPECT_EQ(fnfErr, FSSetFinderInfo(&mMissing, &info, &extended));
}

TEST_F(FlagsTest, FSChangeCreatorType) {
    EXPECT_EQ(noErr, FSChangeCreatorType(&mFile, kCreator, kType));
    EXPECT_EQ(kType, FinderInfoOf(kFile).file.fileType);
    EXPECT_EQ(kCreator, FinderInfoOf(kFile).file.fileCreator);
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 2050, parent)", "FSSetCatalogInfo(30, 2048)",
                   "FSGetCatalogInfo(20, 66, parent)", "GetUTCDateTime(0)", "FSSetCatalogInfo(20, 64)",
                   "FNNotify(20, 1, 0)"}),
              fakes::CallLog());
    ExpectDate(DateOf(kHere), kNow);
    EXPECT_EQ(noErr, FSChangeCreatorType(&mFile, 0, 1));
    EXPECT_EQ(kCreator, FinderInfoOf(kFile).file.fileCreator);
    EXPECT_EQ(1U, FinderInfoOf(kFile).file.fileType);
    EXPECT_EQ(noErr, FSChangeCreatorType(&mFile, 2, 0));
    EXPECT_EQ(2U, FinderInfoOf(kFile).file.fileCreator);
    EXPECT_EQ(1U, FinderInfoOf(kFile).file.fileType);
}

TEST_F(FlagsTest, FSChangeCreatorTypeFails) {
    EXPECT_EQ(notAFileErr, FSChangeCreatorType(&mFolder, kCreator, kType));
    EXPECT_EQ(1U, fakes::CallLog().size());
    EXPECT_EQ(fnfErr, FSChangeCreatorType(&mMissing, kCreator, kType));
    EXPECT_EQ(paramErr, FSChangeCreatorType(nullptr, kCreator, kType));
    fakes::Refuse("FSSetCatalogInfo", -45);
    EXPECT_EQ(-45, FSChangeCreatorType(&mFile, kCreator, kType));
    EXPECT_EQ(Log(), fakes::CallsOf({"FNNotify"})) << "the folder keeps its date";
}

TEST_F(FlagsTest, FSChangeFinderFlags) {
    FinderInfoOf(kFile).file.finderFlags = 0x0105;
    EXPECT_EQ(noErr, FSChangeFinderFlags(&mFile, true, 0x4001));
    EXPECT_EQ(0x4105, FinderInfoOf(kFile).file.finderFlags);
    EXPECT_EQ(noErr, FSChangeFinderFlags(&mFile, false, 0x4100));
    EXPECT_EQ(0x0005, FinderInfoOf(kFile).file.finderFlags);
    EXPECT_EQ((Log{"FNNotify", "FNNotify"}), fakes::CallsOf({"FNNotify"}));
    ExpectDate(DateOf(kHere), {1, 2'001, 3});
    EXPECT_EQ(noErr, FSChangeFinderFlags(&mFolder, true, 0x4000));
    EXPECT_EQ(0x4000, FinderInfoOf(kFolder).folder.finderFlags);
}

TEST_F(FlagsTest, FSChangeFinderFlagsFails) {
    EXPECT_EQ(fnfErr, FSChangeFinderFlags(&mMissing, true, 1));
    EXPECT_EQ(paramErr, FSChangeFinderFlags(nullptr, true, 1));
    fakes::Refuse("FSSetCatalogInfo", permErr);
    EXPECT_EQ(permErr, FSChangeFinderFlags(&mFile, true, 1));
    EXPECT_EQ(Log(), fakes::CallsOf({"FNNotify"}));
}

// The folder's date is set where that is possible.
TEST_F(FlagsTest, AFolderThatKeepsItsDateIsNoFailure) {
    fakes::AnswerInTurn("FSSetCatalogInfo", {noErr, permErr});
    EXPECT_EQ(noErr, FSChangeFinderFlags(&mFile, true, 1));
    EXPECT_EQ(1, FinderInfoOf(kFile).file.finderFlags);
}

TEST_F(FlagsTest, OneFlagEach) {
    const struct {
        OSErr (*change)(const FSRef*);
        UInt16 flags;  // from none set, or from all set
    } rows[] = {
        {FSSetInvisible, 0x4000},     {FSClearInvisible, 0xBFFF},     {FSSetNameLocked, 0x1000},
        {FSClearNameLocked, 0xEFFF},  {FSSetIsStationery, 0x0800},    {FSClearIsStationery, 0xF7FF},
        {FSSetHasCustomIcon, 0x0400}, {FSClearHasCustomIcon, 0xFBFF}, {FSClearHasBeenInited, 0xFEFF},
    };
    for (const auto& row : rows) {
        FinderInfoOf(kFile).file.finderFlags = (row.flags & 0x8000) != 0 ? 0xFFFF : 0;
        EXPECT_EQ(noErr, row.change(&mFile));
        EXPECT_EQ(row.flags, FinderInfoOf(kFile).file.finderFlags);
        EXPECT_EQ(fnfErr, row.change(&mMissing));
    }
}

TEST_F(FlagsTest, FSCopyFileMgrAttributes) {
    fakes::PutFile(31, kThere, "other");
    const FSRef other = fakes::RefOf(31);
    FSCatalogInfo& info = fakes::ItemOf(kFile).info;
    std::memset(&info, 0x11, sizeof info);
    info.nodeFlags = 0x0001;
    FinderInfoOf(kFile).file.finderFlags = 0x4101;
    EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&mFile, &other, false));
    const FSCatalogInfo& copied = fakes::ItemOf(31).info;
    EXPECT_EQ(0, copied.nodeFlags) << "not locked";
    EXPECT_EQ(0x4001, FinderInfoOf(31).file.finderFlags) << "not met by a file manager";
    EXPECT_EQ(0x11111111U, copied.textEncodingHint);
    EXPECT_EQ(0x1111, copied.permissions.mode);
    ExpectDate(copied.backupDate, info.backupDate);
    ExpectDate(copied.createDate, info.createDate);
    EXPECT_EQ(0, std::memcmp(copied.extFinderInfo, info.extFinderInfo, 16));
    EXPECT_EQ(0U, copied.dataLogicalSize) << "and nothing that cannot be set";
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 8163)", "FSSetCatalogInfo(31, 8163)"}), fakes::CallLog());
    EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&mFile, &other, true));
    EXPECT_EQ(1, fakes::ItemOf(31).info.nodeFlags);
    EXPECT_EQ(0x4001, FinderInfoOf(31).file.finderFlags);
}

TEST_F(FlagsTest, FSCopyFileMgrAttributesFails) {
    EXPECT_EQ(paramErr, FSCopyFileMgrAttributes(nullptr, &mFile, true));
    EXPECT_EQ(paramErr, FSCopyFileMgrAttributes(&mFile, nullptr, true));
    EXPECT_EQ(fnfErr, FSCopyFileMgrAttributes(&mMissing, &mFile, true));
    EXPECT_EQ(fnfErr, FSCopyFileMgrAttributes(&mFile, &mMissing, true));
}

}  // namespace

#include "CatalogTest.h"
#include "ChangedStatus.h"
#include "catalogue/ItemInfo.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FinderInfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace test_files;
using namespace toolbox::files;
using support::FileWorld;

constexpr UInt32 kResourceForkEntry = 2;
constexpr FSCatalogInfoBitmap kAll = kFSCatInfoGettableInfo;

std::u16string TextOf(const HFSUniStr255& inName) {
    return std::u16string(inName.unicode, inName.unicode + inName.length);
}

UInt64 SecondsOf(const UTCDateTime& inDate) {
    return UInt64{inDate.highSeconds} << 32 | inDate.lowSeconds;
}

class CatalogInfoTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    void Keep(const std::string& inPath, const CompanionInfo& inInfo) const {
        Place place;
        EXPECT_EQ(0, OpenPlaceOf(inPath, place));
        EXPECT_EQ(0, WriteInfo(place, inInfo));
    }
    static UInt16 FlagsOf(const std::string& inPath) { return InfoOf(inPath, kFSCatInfoNodeFlags).nodeFlags; }
    template <typename Record>
    static Record As(const UInt8 (&inBytes)[16]) {
        static_assert(sizeof(Record) == sizeof inBytes);
        Record record;
        std::memcpy(&record, inBytes, sizeof record);
        return record;
    }
    static FSCatalogInfo InfoOfRef(const FSRef& inRef, FSCatalogInfoBitmap inWhich = kAll) {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inRef, inWhich, &info, nullptr, nullptr, nullptr));
        return info;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, CatalogInfoTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(CatalogInfoTest, FileAndFolder) {
    const std::string file = mFolder.MakeFile("file", "12345");
    const FSCatalogInfo info = InfoOf(file, kAll);
    const FSCatalogInfo folder = InfoOf(mFolder.Path(), kAll);
    EXPECT_EQ(0, info.nodeFlags);
    EXPECT_EQ(kFSNodeIsDirectoryMask, folder.nodeFlags);
    EXPECT_EQ(folder.nodeID, info.parentDirID);
    EXPECT_NE(folder.nodeID, info.nodeID);
    EXPECT_EQ(folder.volume, info.volume);
    EXPECT_LT(info.volume, 0);
    EXPECT_EQ(5U, info.dataLogicalSize);
    EXPECT_EQ(static_cast<UInt64>(FileWorld::StatusOf(file).stx_blocks) * 512, info.dataPhysicalSize);
    EXPECT_EQ(0U, folder.dataLogicalSize);
    EXPECT_EQ(0U, folder.dataPhysicalSize);
}

TEST_P(CatalogInfoTest, RootFolder) {
    const FSCatalogInfo info = InfoOf("/", kAll);
    EXPECT_EQ(2U, info.nodeID);
    EXPECT_EQ(1U, info.parentDirID);
    const FSRef root = RefOf("/");
    FSRef parent;
    std::memset(&parent, 0xEE, sizeof parent);
    HFSUniStr255 name;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&root, kFSCatInfoNone, nullptr, &name, nullptr, &parent));
    EXPECT_EQ(FSRef().hidden[0], parent.hidden[0]);
    for (const UInt8 byte : parent.hidden)
        EXPECT_EQ(0, byte);
    EXPECT_EQ(u"/", TextOf(name));
}

TEST_P(CatalogInfoTest, NameAndParent) {
    const std::string path = mFolder.MakeFile("a:b \xC3\xA9 \xFF");
    const FSRef ref = RefOf(path);
    HFSUniStr255 name;
    FSRef parent = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, &parent));
    EXPECT_EQ(u"a/b \u00E9 \uF7FF", TextOf(name));
    EXPECT_EQ(mFolder.Path(), PathOf(parent));
    mFolder.Rename(path, mFolder / "other");
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
    EXPECT_EQ(u"other", TextOf(name));
}

TEST_P(CatalogInfoTest, LongestName) {
    const FSRef ref = RefOf(mFolder.MakeFile(std::string(255, 'n')));
    HFSUniStr255 name;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
    EXPECT_EQ(std::u16string(255, u'n'), TextOf(name));
}

TEST_P(CatalogInfoTest, Permissions) {
    const std::string path = mFolder.MakeFile("file");
    FileWorld::SetMode(path, 04751);
    FSCatalogInfo info = InfoOf(path, kFSCatInfoPermissions);
    EXPECT_EQ(0104751, info.permissions.mode) << "with the bits of the kind";
    EXPECT_EQ(getuid(), info.permissions.userID);
    EXPECT_EQ(FileWorld::StatusOf(path).stx_gid, info.permissions.groupID);
    EXPECT_EQ(7, info.permissions.userAccess);
    FileWorld::SetMode(path, 0644);
    info = InfoOf(path, kFSCatInfoPermissions);
    EXPECT_EQ(6, info.permissions.userAccess);
    EXPECT_EQ(040000, InfoOf(mFolder.Path(), kFSCatInfoPermissions).permissions.mode & 0170000);
}

TEST_P(CatalogInfoTest, Dates) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.SetTimes(path, {0, 500'000'000}, {1'000'000'000, 250'000'000});
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoContentMod | kFSCatInfoAccessDate | kFSCatInfoAttrMod);
    EXPECT_EQ(2'082'844'800U, SecondsOf(info.accessDate));
    EXPECT_EQ(0x8000, info.accessDate.fraction);
    EXPECT_EQ(3'082'844'800U, SecondsOf(info.contentModDate));
    EXPECT_EQ(0x4000, info.contentModDate.fraction);
    EXPECT_EQ(2'082'844'800U + static_cast<UInt64>(FileWorld::StatusOf(path).stx_ctime.tv_sec),
              SecondsOf(info.attributeModDate));
    mFolder.SetTimes(path, {0, 0}, {5'000'000'000, 0});
    // What the file system keeps of it; most keep it all.
    EXPECT_EQ(2'082'844'800U + static_cast<UInt64>(FileWorld::StatusOf(path).stx_mtime.tv_sec),
              SecondsOf(InfoOf(path, kFSCatInfoContentMod).contentModDate));
}

TEST_P(CatalogInfoTest, WithoutACompanion) {
    const std::string path = mFolder.MakeFile("file");
    const FSCatalogInfo info = InfoOf(path, kAll);
    const struct statx status = FileWorld::StatusOf(path);
    EXPECT_EQ(UInt32{kTextEncodingUnknown}, info.textEncodingHint);
    EXPECT_EQ(2'082'844'800U + static_cast<UInt64>(status.stx_btime.tv_sec), SecondsOf(info.createDate));
    EXPECT_EQ((UInt64{status.stx_btime.tv_nsec} << 16) / 1'000'000'000, info.createDate.fraction);
    EXPECT_EQ(0U, SecondsOf(info.backupDate));
    const UInt8 zeros[16] = {};
    EXPECT_EQ(0, std::memcmp(zeros, info.finderInfo, sizeof zeros));
    EXPECT_EQ(0, std::memcmp(zeros, info.extFinderInfo, sizeof zeros));
    EXPECT_EQ(0U, info.rsrcLogicalSize);
    EXPECT_EQ(0U, info.rsrcPhysicalSize);
    EXPECT_EQ(0U, info.valence);
    EXPECT_EQ(0, info.sharingFlags);
}

CompanionInfo SomeInfo() {
    CompanionInfo info;
    for (std::size_t i = 0; i < info.finderInfo.size(); ++i)
        info.finderInfo[i] = static_cast<UInt8>(i + 1);
    info.creationSeconds = -1;
    info.backupSeconds = 1;
    info.isLocked = true;
    info.encodingHint = 0x01020304;
    return info;
}

// Bytes of the companion are big-endian, numbers of the record are the host's.
TEST_P(CatalogInfoTest, WhatTheCompanionOfAFileTells) {
    const std::string path = mFolder.MakeFile("file");
    Keep(path, SomeInfo());
    const FSCatalogInfo info = InfoOf(path, kAll);
    EXPECT_EQ(kFSNodeLockedMask, info.nodeFlags);
    EXPECT_EQ(0x01020304U, info.textEncodingHint);
    EXPECT_EQ(3'029'529'599U, SecondsOf(info.createDate)) << "the last second of 1999";
    EXPECT_EQ(0, info.createDate.fraction);
    EXPECT_EQ(3'029'529'601U, SecondsOf(info.backupDate));
    const auto file = As<FileInfo>(info.finderInfo);
    EXPECT_EQ(0x01020304U, file.fileType);
    EXPECT_EQ(0x05060708U, file.fileCreator);
    EXPECT_EQ(0x090A, file.finderFlags);
    EXPECT_EQ(0x0B0C, file.location.v);
    EXPECT_EQ(0x0D0E, file.location.h);
    EXPECT_EQ(0x0F10, file.reservedField);
    const auto extended = As<ExtendedFileInfo>(info.extFinderInfo);
    EXPECT_EQ(0x1112, extended.reserved1[0]);
    EXPECT_EQ(0x191A, extended.extendedFinderFlags);
    EXPECT_EQ(0x1D1E1F20, extended.putAwayFolderID);
    const auto old = As<FInfo>(info.finderInfo);
    EXPECT_EQ(file.fileCreator, old.fdCreator);
    EXPECT_EQ(file.finderFlags, old.fdFlags);
}

TEST_P(CatalogInfoTest, WhatTheCompanionOfAFolderTells) {
    const std::string path = mFolder.MakeFolder("folder");
    Keep(path, SomeInfo());
    const FSCatalogInfo info = InfoOf(path, kAll);
    EXPECT_EQ(kFSNodeLockedMask | kFSNodeIsDirectoryMask, info.nodeFlags);
    const auto folder = As<FolderInfo>(info.finderInfo);
    EXPECT_EQ(0x0102, folder.windowBounds.top);
    EXPECT_EQ(0x0708, folder.windowBounds.right);
    EXPECT_EQ(0x090A, folder.finderFlags);
    const auto extended = As<ExtendedFolderInfo>(info.extFinderInfo);
    EXPECT_EQ(0x1112, extended.scrollPosition.v);
    EXPECT_EQ(0x15161718, extended.reserved1);
    EXPECT_EQ(0x191A, extended.extendedFinderFlags);
    EXPECT_EQ(0x1D1E1F20, extended.putAwayFolderID);
}

TEST_P(CatalogInfoTest, ResourceFork) {
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile("file"), place));
    ASSERT_EQ(0, ReplaceEntry(place, kResourceForkEntry, std::vector<UInt8>(5000)));
    const FSCatalogInfo info = InfoOf(mFolder / "file", kAll);
    EXPECT_EQ(5000U, info.rsrcLogicalSize);
    EXPECT_EQ(FileWorld::StatusOf(mFolder / "._file").stx_blocks * 512, info.rsrcPhysicalSize);
    EXPECT_EQ(8U, info.dataLogicalSize);
    Keep(mFolder.MakeFile("other"), SomeInfo());
    EXPECT_EQ(0U, InfoOf(mFolder / "other", kFSCatInfoRsrcSizes).rsrcPhysicalSize)
        << "a companion, and no fork";
    mFolder.MakeFolder("folder");
    FileWorld::Rename(mFolder / "._file", mFolder / "._folder");
    EXPECT_EQ(0U, InfoOf(mFolder / "folder", kFSCatInfoRsrcSizes).rsrcLogicalSize) << "a folder has no forks";
}

TEST_P(CatalogInfoTest, WhatIsNoCompanionTellsNothing) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.MakeFile("._file", "an ordinary file that somebody named so");
    EXPECT_EQ(0, FlagsOf(path));
    EXPECT_EQ(0U, As<FileInfo>(InfoOf(path, kFSCatInfoFinderInfo).finderInfo).fileType);
}

TEST_P(CatalogInfoTest, CompanionThatMayNotBeRead) {
    const FileWorld::OrdinaryUser user(mFolder);
    const std::string path = mFolder.MakeFile("file");
    Keep(path, SomeInfo());
    FileWorld::SetMode(mFolder / "._file", 0);
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = {};
    EXPECT_EQ(0, FlagsOf(path));
    EXPECT_EQ(afpAccessDenied,
              FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(afpAccessDenied, FSGetCatalogInfo(&ref, kAll, &info, nullptr, nullptr, nullptr));
}

TEST_P(CatalogInfoTest, CreationWhereNoBirthIsKept) {
    const std::string path = mFolder.MakeFile("file");
    const ChangedStatus changed(
        [](const char*, struct statx& ioStatus) { ioStatus.stx_mask &= ~unsigned{STATX_BTIME}; });
    mFolder.SetTimes(path, {2000, 0}, {1000, 500'000'000});
    FSCatalogInfo info = InfoOf(path, kFSCatInfoCreateDate);
    EXPECT_EQ(2'082'845'800U, SecondsOf(info.createDate));
    EXPECT_EQ(0x8000, info.createDate.fraction);
    mFolder.SetTimes(path, {1000, 250'000'000}, {1000, 500'000'000});
    info = InfoOf(path, kFSCatInfoCreateDate);
    EXPECT_EQ(0x4000, info.createDate.fraction);
}

TEST_P(CatalogInfoTest, WhatNobodyMayChangeIsLocked) {
    const std::string path = mFolder.MakeFile("file");
    const ChangedStatus changed(
        [](const char*, struct statx& ioStatus) { ioStatus.stx_attributes |= STATX_ATTR_IMMUTABLE; });
    EXPECT_EQ(kFSNodeLockedMask, FlagsOf(path));
}

TEST_P(CatalogInfoTest, FileWithSeveralNames) {
    const std::string path = mFolder.MakeFile("file");
    ASSERT_EQ(0, mFolder.MakeHardLink(path, mFolder / "other"));
    EXPECT_EQ(kFSNodeHardLinkMask, FlagsOf(path));
    EXPECT_EQ(kFSNodeHardLinkMask, FlagsOf(mFolder / "other"));
    mFolder.Remove(path);
    EXPECT_EQ(0, FlagsOf(mFolder / "other"));
    mFolder.MakeFolder("folder/one");
    EXPECT_EQ(kFSNodeIsDirectoryMask, FlagsOf(mFolder / "folder"));
}

TEST_P(CatalogInfoTest, LinksAreItemsOfTheirOwn) {
    const std::string target = mFolder.MakeFile("file", "12345");
    FileWorld::SetMode(target, 0);
    Keep(target, SomeInfo());
    CompanionInfo kept;
    kept.finderInfo[8] = 0x40;
    kept.finderInfo[9] = 1;
    for (const char* const name : {"file", "nowhere"}) {
        const std::string path = mFolder.MakeLink(name, std::string("to ") + name);
        const FSRef ref = RefOfItself(path);
        for (const bool hasCompanion : {false, true}) {
            if (hasCompanion) Keep(path, kept);
            const FSCatalogInfo info = InfoOfRef(ref);
            const auto file = As<FileInfo>(info.finderInfo);
            EXPECT_EQ(FourChars("slnk"), file.fileType);
            EXPECT_EQ(FourChars("rhap"), file.fileCreator);
            EXPECT_EQ(hasCompanion ? 0xC001 : 0x8000, file.finderFlags);
            EXPECT_EQ(0, info.nodeFlags);
            EXPECT_EQ(0U, info.dataLogicalSize);
            EXPECT_EQ(0120777, info.permissions.mode);
            EXPECT_EQ(7, info.permissions.userAccess);
        }
    }
}

TEST_P(CatalogInfoTest, PipesHaveInformationAndNoForks) {
    const std::string path = mFolder.MakePipe("pipe");
    Keep(path, SomeInfo());
    const FSCatalogInfo info = InfoOf(path, kAll);
    EXPECT_EQ(kFSNodeLockedMask, info.nodeFlags);
    EXPECT_EQ(0x01020304U, As<FileInfo>(info.finderInfo).fileType);
    EXPECT_EQ(0U, info.dataLogicalSize);
}

TEST_P(CatalogInfoTest, ValenceLeavesOutWhatAnInterruptedMoveLeft) {
    mFolder.MakeFolder("folder");
    Keep(mFolder.MakeFile("folder/file"), SomeInfo());
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "folder/._file", mFolder / "folder/._old"));
    EXPECT_EQ(2U, InfoOf(mFolder / "folder", kFSCatInfoValence).valence)
        << "an ordinary file, without the mark";
    FileWorld::SetMode(mFolder / "folder/._old", 01644);
    EXPECT_EQ(1U, InfoOf(mFolder / "folder", kFSCatInfoValence).valence);
}

TEST_P(CatalogInfoTest, ValenceIsWhatAListingShows) {
    const auto valence = [&] { return InfoOf(mFolder / "folder", kFSCatInfoValence).valence; };
    mFolder.MakeFolder("folder");
    EXPECT_EQ(0U, valence());
    Keep(mFolder.MakeFile("folder/file"), SomeInfo());
    EXPECT_EQ(1U, valence());
    mFolder.MakeFolder("folder/sub/inner");
    mFolder.MakeLink("nowhere", "folder/link");
    mFolder.MakeFile("folder/.hidden");
    mFolder.MakeFile("folder/._.hidden", "an ordinary file that somebody named so");
    EXPECT_EQ(5U, valence());
    mFolder.Remove(mFolder / "folder/file");
    EXPECT_EQ(5U, valence()) << "what it leaves behind is an ordinary file";
}

TEST_P(CatalogInfoTest, Privileges) {
    const FileWorld::OrdinaryUser user(mFolder);
    const std::string file = mFolder.MakeFile("file");
    const std::string folder = mFolder.MakeFolder("folder");
    const auto privileges = [](const std::string& inPath) {
        return InfoOf(inPath, kFSCatInfoUserPrivs).userPrivileges;
    };
    EXPECT_EQ(0, privileges(file));
    EXPECT_EQ(0, privileges(folder));
    EXPECT_EQ(FileWorld::StatusOf("/").stx_uid != geteuid(), (privileges("/") & kioACUserNotOwnerMask) != 0);
    FileWorld::SetMode(file, 0400);
    EXPECT_EQ(kioACUserNoMakeChangesMask, privileges(file));
    FileWorld::SetMode(file, 0200);
    EXPECT_EQ(kioACUserNoSeeFilesMask, privileges(file));
    FileWorld::SetMode(folder, 0500);
    EXPECT_EQ(kioACUserNoMakeChangesMask, privileges(folder));
    FileWorld::SetMode(folder, 0600);
    EXPECT_EQ(kioACUserNoSeeFolderMask | kioACUserNoSeeFilesMask | kioACUserNoMakeChangesMask,
              privileges(folder))
        << "nothing in it can be reached";
    FileWorld::SetMode(folder, 0300);
    EXPECT_EQ(kioACUserNoSeeFolderMask | kioACUserNoSeeFilesMask, privileges(folder));
}

TEST_P(CatalogInfoTest, FolderThatMayNotBeListed) {
    const FileWorld::OrdinaryUser user(mFolder);
    const FSRef ref = RefOf(mFolder.MakeFolder("folder"));
    FileWorld::SetMode(mFolder / "folder", 0300);
    FSCatalogInfo info = {};
    EXPECT_EQ(afpAccessDenied, FSGetCatalogInfo(&ref, kFSCatInfoValence, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
}

TEST_P(CatalogInfoTest, CompanionOfAVolumesRoot) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "only an administrator may mount";
    const std::string path = mFolder.MakeFolder("volume");
    Keep(path, SomeInfo());
    ASSERT_EQ(0, mFolder.MountVolume(path));
    EXPECT_EQ(0, InfoOf(path, kAll).nodeFlags & kFSNodeLockedMask) << "that is of what lies beneath";
    {
        Place place;
        ASSERT_EQ(0, OpenFolder(path, place));
        place.name = ".";
        EXPECT_EQ(0, WriteInfo(place, SomeInfo()));
    }
    const FSCatalogInfo info = InfoOf(path, kAll);
    EXPECT_EQ(2U, info.nodeID);
    EXPECT_EQ(kFSNodeLockedMask | kFSNodeIsDirectoryMask, info.nodeFlags);
    EXPECT_EQ(0x01020304U, info.textEncodingHint);
    EXPECT_EQ(0U, info.valence);
}

TEST_P(CatalogInfoTest, OnlyWhatIsAskedFor) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    FSCatalogInfo untouched;
    std::memset(&untouched, 0xEE, sizeof untouched);
    FSCatalogInfo info = untouched;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, std::memcmp(&untouched, &info, sizeof info));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    EXPECT_NE(untouched.nodeID, info.nodeID);
    info.nodeID = untouched.nodeID;
    EXPECT_EQ(0, std::memcmp(&untouched, &info, sizeof info));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
}

// As a listing does it: what it knows of the item is not asked again.
TEST_P(CatalogInfoTest, OfAnItemThatWasFound) {
    const std::string path = mFolder.MakeFile("file", "12345");
    Keep(path, SomeInfo());
    const SInt16 volume = SpecOf(path).vRefNum;
    FoundItem item;
    ASSERT_EQ(noErr, FindByPath(path.c_str(), item));
    FSCatalogInfo info = {};
    FSSpec spec = {};
    HFSUniStr255 name = {};
    {
        const CountedCalls calls;
        ASSERT_EQ(noErr, GetInfoOf(item, kAll & ~UInt32{kFSCatInfoPermissions | kFSCatInfoUserPrivs},
                                   {&info, &name, &spec, nullptr}, {volume, true}));
        EXPECT_EQ("none", calls.Made());
    }
    EXPECT_EQ(5U, info.dataLogicalSize);
    EXPECT_EQ(volume, info.volume);
    EXPECT_EQ(volume, spec.vRefNum);
    EXPECT_EQ(u"file", TextOf(name));
    EXPECT_EQ(0, info.nodeFlags) << "so it was said";
    EXPECT_EQ(noErr, GetInfoOf(item, kFSCatInfoNodeFlags, {&info, nullptr, nullptr, nullptr}));
    EXPECT_EQ(kFSNodeLockedMask, info.nodeFlags);
}

// However deep it lies.
TEST_P(CatalogInfoTest, CallsForWhatIsAskedFor) {
    mFolder.MakeFolder("1/2/3/4/5/6/7/8/9/10");
    const FSRef ref = RefOf(mFolder.MakeFile("1/2/3/4/5/6/7/8/9/10/file"));
    FSCatalogInfo info = {};
    FSSpec spec = {};
    // Volume and encoding of names are met once.
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
    const auto callsFor = [&](FSCatalogInfoBitmap inWhich, FSSpec* outSpec = nullptr) {
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, inWhich, &info, nullptr, outSpec, nullptr));
        return calls.Made();
    };
    EXPECT_EQ("statx 1", callsFor(kFSCatInfoNone));
    constexpr FSCatalogInfoBitmap kOfTheItem =
        kFSCatInfoParentDirID | kFSCatInfoNodeID | kFSCatInfoContentMod | kFSCatInfoAttrMod |
        kFSCatInfoAccessDate | kFSCatInfoDataSizes | kFSCatInfoSharingFlags;
    EXPECT_EQ("statx 1", callsFor(kOfTheItem));
    EXPECT_EQ("statx 2", callsFor(kFSCatInfoVolume)) << "the item and its volume's root";
    EXPECT_EQ("statx 2", callsFor(kFSCatInfoVolume, &spec));
    EXPECT_EQ("statx 1, faccessat 3", callsFor(kFSCatInfoPermissions));
    EXPECT_EQ("statx 1, faccessat 3", callsFor(kFSCatInfoPermissions | kFSCatInfoUserPrivs));
    EXPECT_EQ("openat 1, statx 1", callsFor(kFSCatInfoNodeFlags)) << "there is no companion";
    EXPECT_EQ("openat 1, statx 1", callsFor(kFSCatInfoFinderInfo | kFSCatInfoRsrcSizes));
    EXPECT_EQ("openat 1, statx 1", callsFor(kFSCatInfoNodeFlags | kFSCatInfoValence)) << "it is no folder";
    EXPECT_EQ("openat 1, statx 2, faccessat 3", callsFor(kAll, &spec));
}

TEST_P(CatalogInfoTest, WhetherItMayBeUsedCanBeUnknown) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    for (const int error : {EACCES, EPERM, EROFS, EIO, ENOMEM}) {
        static int sErrno;
        sErrno = error;
        toolbox::os::CallsForTesting().faccessat = [](int, const char*, int inMode, int) {
            return inMode == W_OK ? (errno = sErrno, -1) : 0;
        };
        FSCatalogInfo info = {};
        info.permissions.userAccess = 99;
        const OSErr status = FSGetCatalogInfo(&ref, kFSCatInfoPermissions, &info, nullptr, nullptr, nullptr);
        toolbox::os::CallsForTesting() = sReal;
        const bool isRefused = error != EIO && error != ENOMEM;
        EXPECT_EQ(isRefused ? noErr : error == EIO ? ioErr : memFullErr, status) << error;
        EXPECT_EQ(isRefused ? 5 : 99, info.permissions.userAccess) << error;
    }
}

TEST_P(CatalogInfoTest, BadArguments) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = {};
    EXPECT_EQ(paramErr, FSGetCatalogInfo(nullptr, kFSCatInfoNone, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(errFSMissingCatInfo,
              FSGetCatalogInfo(&ref, kFSCatInfoNodeID, nullptr, nullptr, nullptr, nullptr));
    for (int bit = 0; bit < 32; ++bit) {
        const FSCatalogInfoBitmap which = FSCatalogInfoBitmap{1} << bit;
        EXPECT_EQ(bit < 18 ? noErr : errFSBadInfoBitmap,
                  FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr))
            << bit;
    }
    FSRef none = {};
    EXPECT_EQ(errFSBadFSRef, FSGetCatalogInfo(&none, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    mFolder.Remove(path);
    EXPECT_EQ(fnfErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
}

// What is untouched on failure.
struct Outputs {
    FSCatalogInfo info;
    HFSUniStr255 name;
    FSSpec spec;
    FSRef parent;
};

Outputs Untouched() {
    Outputs outputs;
    std::memset(&outputs, 0xEE, sizeof outputs);
    return outputs;
}

OSErr GetAll(const FSRef& inRef, Outputs& outOutputs) {
    return FSGetCatalogInfo(&inRef, kAll, &outOutputs.info, &outOutputs.name, &outOutputs.spec,
                            &outOutputs.parent);
}

TEST_P(CatalogInfoTest, EveryCallFails) {
    const std::string file = mFolder.MakeFile("file");
    const std::string folder = mFolder.MakeFolder("folder");
    const Outputs untouched = Untouched();
    for (const auto& [path, isKept] : {std::pair{file, false}, {file, true}, {folder, true}}) {
        if (isKept) Keep(path, SomeInfo());
        if (path == folder) Keep(mFolder.MakeFile("folder/inner"), SomeInfo());
        const FSRef ref = RefOf(path);
        for (int failing = 1;; ++failing) {
            Outputs outputs = untouched;
            const std::size_t descriptors = OpenDescriptorCount();
            OSErr error = noErr;
            bool isDelivered = false;
            {
                const FailingCalls failure(failing, EIO, FailingCalls::kForever);
                error = GetAll(ref, outputs);
                isDelivered = failure.Delivered();
            }
            EXPECT_EQ(descriptors, OpenDescriptorCount()) << path << failing;
            if (!isDelivered) {
                EXPECT_EQ(noErr, error);
                EXPECT_EQ(isKept, (outputs.info.nodeFlags & kFSNodeLockedMask) != 0);
                break;
            }
            // A folder above that does not answer ends the search for the volume's topmost one.
            if (error == noErr) continue;
            EXPECT_EQ(ioErr, error) << path << failing;
            EXPECT_EQ(0, std::memcmp(&untouched, &outputs, sizeof outputs)) << path << failing;
        }
    }
}

TEST_P(CatalogInfoTest, MemoryFails) {
    const FSRef ref = RefOf(mFolder.MakeFile(std::string(100, 'n')));
    const Outputs untouched = Untouched();
    for (int failing = 1;; ++failing) {
        Outputs outputs = untouched;
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = GetAll(ref, outputs);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        if (!delivered) break;
        EXPECT_EQ(0, std::memcmp(&untouched, &outputs, sizeof outputs)) << failing;
    }
}

}  // namespace

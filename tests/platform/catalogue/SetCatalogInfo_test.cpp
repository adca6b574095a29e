#include "SettingInfo.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "support/CountedCalls.h"
#include "support/FailEach.h"
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
#include <vector>

namespace {

using namespace test_files;
using namespace toolbox::files;
using support::FileWorld;

constexpr FSCatalogInfoBitmap kAll = kFSCatInfoSettableInfo;

bool IsSame(const UTCDateTime& inLeft, const UTCDateTime& inRight) {
    return inLeft.highSeconds == inRight.highSeconds && inLeft.lowSeconds == inRight.lowSeconds &&
           inLeft.fraction == inRight.fraction;
}

template <typename Record>
Record As(const UInt8 (&inBytes)[16]) {
    Record record;
    std::memcpy(&record, inBytes, sizeof record);
    return record;
}

// What is not as it is to be; empty for nothing.
std::string DifferenceOf(const FSCatalogInfo& inInfo, const FSCatalogInfo& inExpected) {
    std::string text;
    const auto check = [&](bool inIsSame, const char* inName) {
        if (!inIsSame) text += std::string(inName) + ' ';
    };
    check(((inInfo.nodeFlags ^ inExpected.nodeFlags) & kFSNodeLockedMask) == 0, "lock");
    check(IsSame(inInfo.createDate, inExpected.createDate), "creation");
    check(IsSame(inInfo.contentModDate, inExpected.contentModDate), "content");
    check(IsSame(inInfo.accessDate, inExpected.accessDate), "access");
    check(IsSame(inInfo.backupDate, inExpected.backupDate), "backup");
    check(((inInfo.permissions.mode ^ inExpected.permissions.mode) & 07777) == 0, "mode");
    check(std::memcmp(inInfo.finderInfo, inExpected.finderInfo, 16) == 0, "Finder");
    check(std::memcmp(inInfo.extFinderInfo, inExpected.extFinderInfo, 16) == 0, "extended");
    check(inInfo.textEncodingHint == inExpected.textEncodingHint, "hint");
    return text;
}

class SetCatalogInfoTest : public SettingInfoTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, SetCatalogInfoTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(SetCatalogInfoTest, Permissions) {
    const std::string path = mFolder.MakeFile("file");
    EXPECT_EQ(noErr, SetMode(path, 0600));
    EXPECT_EQ(0100600U, FileWorld::StatusOf(path).stx_mode);
    EXPECT_EQ(noErr, SetMode(path, 0040755)) << "the kind stays";
    EXPECT_EQ(0100755U, FileWorld::StatusOf(path).stx_mode);
    EXPECT_EQ(noErr, SetMode(mFolder.MakeFolder("folder"), 01777));
    EXPECT_EQ(0041777U, FileWorld::StatusOf(mFolder / "folder").stx_mode);
}

TEST_P(SetCatalogInfoTest, PermissionsOfTheRootFolder) {
    const UInt16 mode = FileWorld::StatusOf("/").stx_mode;
    EXPECT_EQ(noErr, SetMode("/", mode));
    EXPECT_EQ(mode, FileWorld::StatusOf("/").stx_mode);
}

// Another program's doing between finding an item and changing it.
std::string sItemPath, sOtherPath;
toolbox::os::SystemCalls sReal;
TEST_P(SetCatalogInfoTest, WhatAnotherTookThePlaceOf) {
    sItemPath = mFolder.MakeFile("a");
    sOtherPath = mFolder.MakeFile("b");
    FileWorld::SetMode(sOtherPath, 0600);
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        EXPECT_EQ(
            0, sReal.renameat2(AT_FDCWD, sItemPath.c_str(), AT_FDCWD, sOtherPath.c_str(), RENAME_EXCHANGE));
        return sReal.openat(inFolder, inPath, inFlags, inMode);
    };
    const FSRef ref = RefOf(sItemPath);
    FSCatalogInfo info = {};
    info.permissions.mode = 0777;
    const OSErr error = FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fnfErr, error);
    EXPECT_EQ(0100600, FileWorld::StatusOf(sItemPath).stx_mode) << "the other's, which is there now";
}

// The same, later still, and with a link to somebody's.
TEST_P(SetCatalogInfoTest, WhatBecomesALink) {
    sItemPath = mFolder.MakeFile("a");
    sOtherPath = mFolder.MakeFile("b");
    FileWorld::SetMode(sItemPath, 0644);
    FileWorld::SetMode(sOtherPath, 0600);
    mFolder.MakeLink("b", "link");
    const FSRef ref = RefOf(sItemPath);
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        toolbox::os::CallsForTesting() = sReal;
        const std::string link = sItemPath.substr(0, sItemPath.size() - 1) + "link";
        EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, link.c_str(), AT_FDCWD, sItemPath.c_str(), RENAME_EXCHANGE));
        return sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    FSCatalogInfo info = {};
    info.permissions.mode = 0755;
    const OSErr error = FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fnfErr, error) << "nobody knows whether it has a companion where it went";
    EXPECT_EQ(0100600, FileWorld::StatusOf(sOtherPath).stx_mode) << "where the link leads";
    EXPECT_EQ(0100644, FileWorld::StatusOf(mFolder / "link").stx_mode) << "the item, by its new name";
}

// Two programs set different parts; the other one does so when this one has looked, and not written yet.
TEST_P(SetCatalogInfoTest, WhatAnotherSetsMeanwhileStays) {
    sItemPath = mFolder.MakeFile("file");
    FSCatalogInfo info = {};
    info.backupDate = {0, 3'029'529'700, 0};
    ASSERT_EQ(noErr, Set(sItemPath, kFSCatInfoBackupDate, info));
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().flock = [](int inFile, int inOperation) {
        toolbox::os::CallsForTesting() = sReal;
        EXPECT_EQ(noErr, SetLock(sItemPath, true));
        FSCatalogInfo others = {};
        others.extFinderInfo[3] = 7;
        others.textEncodingHint = 5;
        EXPECT_EQ(noErr, Set(sItemPath, kFSCatInfoFinderXInfo | kFSCatInfoTextEncoding, others));
        return sReal.flock(inFile, inOperation);
    };
    info.finderInfo[0] = 'T';
    EXPECT_EQ(noErr, Set(sItemPath, kFSCatInfoFinderInfo, info));
    const FSCatalogInfo now = InfoOf(sItemPath, kFSCatInfoGettableInfo);
    EXPECT_EQ('T', now.finderInfo[0]);
    EXPECT_EQ(kFSNodeLockedMask, now.nodeFlags);
    EXPECT_EQ(7, now.extFinderInfo[3]);
    EXPECT_EQ(5U, now.textEncodingHint);
    EXPECT_TRUE(IsSame(info.backupDate, now.backupDate));
}

TEST_P(SetCatalogInfoTest, OnlyTheDateThatWasSetComesBack) {
    sItemPath = mFolder.MakeFile("file");
    mFolder.SetTimes(sItemPath, {7, 0}, {8, 0});
    mFolder.MakeFolder("._file");
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        // Another's, between this one's dates and its companion.
        if (FileWorld::StatusOf(sItemPath).stx_mtime.tv_sec != 8) {
            toolbox::os::CallsForTesting() = sReal;
            FSCatalogInfo others = {};
            others.accessDate = {0, 3'000'000'001, 0};
            EXPECT_EQ(noErr, Set(sItemPath, kFSCatInfoAccessDate, others));
        }
        return sReal.openat(inFolder, inPath, inFlags, inMode);
    };
    EXPECT_EQ(ioErr, Set(sItemPath, kFSCatInfoContentMod | kFSCatInfoFinderInfo, SomeInfo()));
    const FSCatalogInfo now = InfoOf(sItemPath, kFSCatInfoGettableInfo);
    EXPECT_EQ(8, FileWorld::StatusOf(sItemPath).stx_mtime.tv_sec);
    EXPECT_EQ(3'000'000'001, +now.accessDate.lowSeconds);
}

TEST_P(SetCatalogInfoTest, AllOfIt) {
    for (const std::string& path :
         {mFolder.MakeFile("file"), mFolder.MakeFolder("folder"), mFolder.MakePipe("pipe")}) {
        const FSCatalogInfo before = InfoOf(path, kFSCatInfoGettableInfo);
        EXPECT_EQ(noErr, Set(path, kAll, SomeInfo())) << path;
        EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), SomeInfo())) << path;
        EXPECT_EQ(noErr, Set(path, kAll, before)) << path;
        EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), before)) << path;
    }
    EXPECT_EQ((std::vector<std::string>{"file", "folder", "pipe"}), FileWorld::NamesIn(mFolder.Path()))
        << "nothing differs any more, so there are no companions";
}

TEST_P(SetCatalogInfoTest, EachByItself) {
    const std::string path = mFolder.MakeFile("file");
    const FSCatalogInfo before = InfoOf(path, kFSCatInfoGettableInfo);
    const FSCatalogInfoBitmap parts[] = {kFSCatInfoTextEncoding, kFSCatInfoNodeFlags,  kFSCatInfoCreateDate,
                                         kFSCatInfoContentMod,   kFSCatInfoAccessDate, kFSCatInfoBackupDate,
                                         kFSCatInfoPermissions,  kFSCatInfoFinderInfo, kFSCatInfoFinderXInfo};
    const char* const names[] = {"hint ",   "lock ", "creation ", "content ", "access ",
                                 "backup ", "mode ", "Finder ",   "extended "};
    for (std::size_t i = 0; i < std::size(parts); ++i) {
        EXPECT_EQ(noErr, Set(path, parts[i], SomeInfo()));
        EXPECT_EQ(names[i], DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), before));
        EXPECT_EQ(noErr, Set(path, parts[i], before));
        EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), before)) << names[i];
    }
}

// As they are on disk, so that other programs read them.
TEST_P(SetCatalogInfoTest, TheCompanionIsBigEndian) {
    FSCatalogInfo info = {};
    const FileInfo file = {FourChars("TEXT"), FourChars("ttxt"), 0x4000, {1, 2}, 3};
    std::memcpy(info.finderInfo, &file, sizeof file);
    const std::string path = mFolder.MakeFile("file");
    ASSERT_EQ(noErr, Set(path, kFSCatInfoFinderInfo, info));
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    toolbox::os::FileRange entry;
    ASSERT_EQ(0, OpenEntry(place, 9, entry));
    char bytes[16];
    ASSERT_EQ(0, entry.Read(0, bytes, sizeof bytes));
    EXPECT_EQ(std::string("TEXTttxt\x40\0\0\1\0\2\0\3", 16), std::string(bytes, sizeof bytes));
}

TEST_P(SetCatalogInfoTest, NothingIsToBeDoneForWhatIsSoAlready) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.SetTimes(path, {7, 123'456'789}, {8, 987'654'321});
    const FSRef ref = RefOf(path);
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoGettableInfo);
    const CountedCalls calls;
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kAll, &info));
    EXPECT_EQ("openat 1, statx 1", calls.Made()) << "the item, and no companion";
    EXPECT_EQ(987'654'321U, FileWorld::StatusOf(path).stx_mtime.tv_nsec) << "more exact than a date";
}

TEST_P(SetCatalogInfoTest, NothingAtAll) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoNone, nullptr));
    const FSCatalogInfo info = SomeInfo();
    const CountedCalls calls;
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoNone, &info));
    EXPECT_EQ("statx 1", calls.Made());
}

TEST_P(SetCatalogInfoTest, DatesComeBackToTheFraction) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = {};
    for (unsigned fraction = 0; fraction < 65536; fraction += 251) {
        info.contentModDate = {0, 3'000'000'000, static_cast<UInt16>(fraction)};
        info.accessDate = {0, 1'000'000'000, static_cast<UInt16>(65535 - fraction)};
        ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod | kFSCatInfoAccessDate, &info));
        FSCatalogInfo now = {};
        ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoContentMod | kFSCatInfoAccessDate, &now, nullptr,
                                          nullptr, nullptr));
        ASSERT_TRUE(IsSame(info.contentModDate, now.contentModDate)) << fraction;
        ASSERT_TRUE(IsSame(info.accessDate, now.accessDate)) << fraction;
    }
}

TEST_P(SetCatalogInfoTest, CreationAndBackupAreWholeSecondsOfACentury) {
    const std::string path = mFolder.MakeFile("file");
    const FSCatalogInfo before = InfoOf(path, kFSCatInfoGettableInfo);
    FSCatalogInfo info = {};
    const auto set = [&](const UTCDateTime& inDate) {
        info.createDate = info.backupDate = inDate;
        return Set(path, kFSCatInfoCreateDate | kFSCatInfoBackupDate, info);
    };
    const UTCDateTime first = {0, 3'029'529'600U - 0x7FFFFFFF, 0};
    const UTCDateTime last = {1, 3'029'529'600U + 0x7FFFFFFF, 0};
    for (const UTCDateTime& date : {first, last}) {
        EXPECT_EQ(noErr, set(date));
        EXPECT_TRUE(IsSame(date, InfoOf(path, kFSCatInfoAllDates).createDate));
        EXPECT_TRUE(IsSame(date, InfoOf(path, kFSCatInfoAllDates).backupDate));
    }
    EXPECT_EQ(paramErr, set({0, first.lowSeconds - 1, 0}));
    EXPECT_EQ(paramErr, set({1, last.lowSeconds + 1, 0}));
    EXPECT_TRUE(IsSame(last, InfoOf(path, kFSCatInfoAllDates).backupDate));
    EXPECT_EQ(noErr, set({0, 3'029'529'600U, 0x8000}));
    EXPECT_EQ(0, InfoOf(path, kFSCatInfoAllDates).createDate.fraction);
    EXPECT_EQ(noErr, set({}));
    EXPECT_TRUE(IsSame(before.createDate, InfoOf(path, kFSCatInfoAllDates).createDate)) << "none of its own";
    EXPECT_FALSE(HasCompanion("file"));
}

TEST_P(SetCatalogInfoTest, AttributeDateAndOwnerAreIgnored) {
    const std::string path = mFolder.MakeFile("file");
    FSCatalogInfo info = InfoOf(path, kFSCatInfoGettableInfo);
    const FSPermissionInfo permissions = info.permissions;
    info.attributeModDate = {0, 1, 0};
    info.permissions.userID += 1;
    info.permissions.groupID += 1;
    EXPECT_EQ(noErr, Set(path, kFSCatInfoAttrMod | kFSCatInfoPermissions, info));
    info = InfoOf(path, kFSCatInfoGettableInfo);
    EXPECT_EQ(permissions.userID, info.permissions.userID);
    EXPECT_FALSE(IsSame({0, 1, 0}, info.attributeModDate));
}

TEST_P(SetCatalogInfoTest, LockAndUnlock) {
    const std::string path = mFolder.MakeFile("file");
    ASSERT_EQ(noErr, SetLock(path, true));
    EXPECT_TRUE(HasCompanion("file"));
    FSCatalogInfo info = SomeInfo();
    EXPECT_EQ(noErr, Set(path, kAll, info)) << "a locked item's information can be set";
    EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), info));
    ASSERT_EQ(noErr, SetLock(path, false));
    info.nodeFlags = 0;
    EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), info));
}

toolbox::os::SystemCalls sBeforeChange;
TEST_P(SetCatalogInfoTest, WhatNobodyMayChangeStaysLocked) {
    const std::string path = mFolder.MakeFile("file");
    sBeforeChange = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sBeforeChange.statx(inFolder, inPath, inFlags, inMask, outStatus);
        outStatus->stx_attributes |= STATX_ATTR_IMMUTABLE;
        return result;
    };
    EXPECT_EQ(permErr, SetLock(path, false));
    EXPECT_EQ(noErr, SetLock(path, true));
    toolbox::os::CallsForTesting() = sBeforeChange;
    EXPECT_FALSE(HasCompanion("file")) << "it was locked before";
}

TEST_P(SetCatalogInfoTest, OfALinkItself) {
    const std::string target = mFolder.MakeFile("file");
    const FSCatalogInfo ofTarget = InfoOf(target, kFSCatInfoGettableInfo);
    const std::string path = mFolder.MakeLink("file", "link");
    const FSRef ref = RefOfItself(path);
    FSCatalogInfo info = SomeInfo();
    info.permissions.mode = 0777;
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kAll, &info));
    FSCatalogInfo now = InfoOfRef(ref);
    auto file = As<FileInfo>(info.finderInfo);
    file.fileType = kSymLinkFileType;
    file.fileCreator = kSymLinkCreator;
    file.finderFlags |= kIsAlias;
    std::memcpy(info.finderInfo, &file, sizeof file);
    EXPECT_EQ("", DifferenceOf(now, info));
    EXPECT_EQ("", DifferenceOf(InfoOf(target, kFSCatInfoGettableInfo), ofTarget));
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    CompanionInfo kept;
    CompanionSizes sizes;
    ASSERT_EQ(0, ReadInfo(place.folder.Number(), "._link", kept, sizes));
    EXPECT_EQ(0, kept.finderInfo[0]) << "what every link has is not kept";
    EXPECT_EQ(0, kept.finderInfo[8] & 0x80);

    info.permissions.mode = 0600;
    EXPECT_EQ(permErr, FSSetCatalogInfo(&ref, kAll, &info));
    EXPECT_EQ("mode ", DifferenceOf(InfoOfRef(ref), info));
    EXPECT_EQ(noErr, Set(target, kFSCatInfoFinderInfo, info));
    EXPECT_EQ(0U, As<FileInfo>(InfoOf(target, kFSCatInfoFinderInfo).finderInfo).fileType)
        << "nor is it given to a file";
    EXPECT_EQ(0, As<FileInfo>(InfoOf(target, kFSCatInfoFinderInfo).finderInfo).finderFlags & kIsAlias);
}

TEST_P(SetCatalogInfoTest, DanglingLink) {
    const FSRef ref = RefOfItself(mFolder.MakeLink("nowhere", "link"));
    FSCatalogInfo info = SomeInfo();
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kAll & ~UInt32{kFSCatInfoPermissions}, &info));
    const FSCatalogInfo now = InfoOfRef(ref);
    EXPECT_TRUE(IsSame(info.contentModDate, now.contentModDate));
    EXPECT_EQ(kFSNodeLockedMask, now.nodeFlags);
}

TEST_P(SetCatalogInfoTest, WhatIsNoCompanionStaysAsItIs) {
    const std::string path = mFolder.MakeFile("file");
    FileWorld::SetMode(path, 0644);
    mFolder.MakeFile("._file", "an ordinary file that somebody named so");
    const FSCatalogInfo before = InfoOf(path, kFSCatInfoGettableInfo);
    EXPECT_EQ(ioErr, Set(path, kAll, SomeInfo()));
    EXPECT_EQ("an ordinary file that somebody named so", FileWorld::Contents(mFolder / "._file"));
    EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), before)) << "all or nothing";
    mFolder.Remove(mFolder / "._file");
    mFolder.MakeFolder("._file");
    EXPECT_EQ(ioErr, SetLock(path, true));
    EXPECT_EQ(noErr, SetLock(path, false));
}

TEST_P(SetCatalogInfoTest, NameThatIsTooLongForACompanion) {
    const std::string path = mFolder.MakeFile(std::string(254, 'n'));
    EXPECT_EQ(bdNamErr, SetLock(path, true));
    EXPECT_EQ(noErr, SetMode(path, 0600)) << "needs none";
}

TEST_P(SetCatalogInfoTest, WhatOnlyADescriptorHolds) {
    const std::string path = mFolder.MakeFile("file");
    const int file = toolbox::os::Calls().openat(AT_FDCWD, path.c_str(), O_RDWR | O_CLOEXEC, 0);
    ASSERT_GE(file, 0);
    mFolder.Remove(path);
    const std::string held = "/proc/self/fd/" + std::to_string(file);
    FSCatalogInfo info = SomeInfo();
    EXPECT_EQ(noErr, Set(held, kFSCatInfoContentMod | kFSCatInfoPermissions, info));
    const FSCatalogInfo now = InfoOf(held, kFSCatInfoGettableInfo);
    EXPECT_TRUE(IsSame(info.contentModDate, now.contentModDate));
    EXPECT_EQ(0100600, now.permissions.mode);
    EXPECT_EQ(bdNamErr, SetLock(held, true)) << "nothing can lie beside it";
    EXPECT_EQ(0, toolbox::os::Calls().close(file));
}

TEST_P(SetCatalogInfoTest, AVolumesRoot) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "only an administrator may mount";
    const std::string path = mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    EXPECT_EQ(noErr, Set(path, kAll, SomeInfo()));
    EXPECT_EQ("", DifferenceOf(InfoOf(path, kFSCatInfoGettableInfo), SomeInfo()));
    EXPECT_TRUE(mFolder.Exists(path + "/._."));
    EXPECT_EQ(0U, InfoOf(path, kFSCatInfoValence).valence);
}

// Its companion lies within it. A file that is made there meanwhile is not hidden by a date that is put back.
TEST_P(SetCatalogInfoTest, WhatIsMadeInAVolumesRootMeanwhile) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "only an administrator may mount";
    sItemPath = mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountVolume(sItemPath));
    mFolder.SetTimes(sItemPath, {7, 0}, {8, 0});
    EXPECT_EQ(noErr, SetLock(sItemPath, true));
    EXPECT_LT(8, FileWorld::StatusOf(sItemPath).stx_mtime.tv_sec);
}

TEST_P(SetCatalogInfoTest, WhateverFailsOfAVolumesRootItIsAllOrNothing) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "only an administrator may mount";
    const std::string path = mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    const FSRef ref = RefOf(path);
    FSCatalogInfo before = InfoOfRef(ref);
    const FSCatalogInfo after = SomeInfo();
    EXPECT_LT(20, support::FailEach<FailingCalls>(
                      [&](const auto& inUnderFault) {
                          ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kAll, &before));
                          OSErr error = noErr;
                          inUnderFault([&] { error = FSSetCatalogInfo(&ref, kAll, &after); });
                          EXPECT_TRUE(error == noErr || error == ioErr) << error;
                          FSCatalogInfo now = InfoOfRef(ref);
                          if (error != noErr) now.contentModDate = before.contentModDate;
                          EXPECT_EQ("", DifferenceOf(now, error == noErr ? after : before));
                      },
                      EIO));
}

// Whichever call tells that there is no room, of a new companion and of one that is there.
TEST_P(SetCatalogInfoTest, CompanionsWithoutRoom) {
    for (const int noRoom : {ENOSPC, EDQUOT}) {
        for (const bool isNew : {true, false}) {
            const std::string path = mFolder.MakeFile("file");
            const FSRef ref = RefOf(path);
            FSCatalogInfo info = {};
            int refusals = 0;
            support::FailEach<FailingCalls>(
                [&](const auto& inUnderFault) {
                    FileWorld::RemoveAll(mFolder / "._file");
                    info.finderInfo[0] = 1;
                    if (!isNew) {
                        ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
                    }
                    info.finderInfo[0] = 2;
                    OSErr error = noErr;
                    inUnderFault([&] { error = FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info); });
                    EXPECT_TRUE(error == noErr || error == dskFulErr) << error;
                    refusals += error != noErr;
                    FSCatalogInfo now = {};
                    EXPECT_EQ(noErr,
                              FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &now, nullptr, nullptr, nullptr));
                    EXPECT_EQ(error == noErr ? 2 : isNew ? 0 : 1, now.finderInfo[0]);
                },
                noRoom);
            EXPECT_GT(refusals, 3);
        }
    }
}

TEST_P(SetCatalogInfoTest, AnotherUsersItem) {
    const std::string path = mFolder.MakeFile("file");
    const toolbox::os::SystemCalls saved = toolbox::os::CallsForTesting();
    toolbox::os::CallsForTesting().fchmodat = [](int, const char*, mode_t, int) { return errno = EPERM, -1; };
    EXPECT_EQ(permErr, SetMode(path, 0600));
    toolbox::os::CallsForTesting() = saved;
}

TEST_P(SetCatalogInfoTest, OtherPeoplesItems) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator can make some";
    const std::string path = mFolder.MakeFile("file");
    FileWorld::SetMode(path, 0644);
    const FileWorld::OrdinaryUser user(mFolder);
    EXPECT_EQ(permErr, SetMode(path, 0600));
    EXPECT_EQ(noErr, SetMode(path, 0644)) << "they are so already";
    EXPECT_EQ(permErr, Set(path, kFSCatInfoContentMod, SomeInfo()));
    EXPECT_EQ(permErr, Set(path, kAll, SomeInfo()));
    EXPECT_FALSE(HasCompanion("file"));
}

TEST_P(SetCatalogInfoTest, VolumeThatMayOnlyBeRead) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "only an administrator may mount";
    const std::string path = mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    mFolder.MakeFile("volume/file");
    ASSERT_EQ(0, mFolder.ForbidWriting(path));
    const std::string file = mFolder / "volume/file";
    EXPECT_EQ(vLckdErr, SetMode(file, 0600));
    EXPECT_EQ(vLckdErr, SetLock(file, true));
    EXPECT_EQ(vLckdErr, Set(file, kFSCatInfoContentMod, SomeInfo()));
}

TEST_P(SetCatalogInfoTest, BadArguments) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoGettableInfo);
    EXPECT_EQ(paramErr, FSSetCatalogInfo(nullptr, kFSCatInfoPermissions, &info));
    EXPECT_EQ(errFSMissingCatInfo, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, nullptr));
    for (int bit = 0; bit < 32; ++bit) {
        const FSCatalogInfoBitmap which = FSCatalogInfoBitmap{1} << bit;
        EXPECT_EQ((which & 0x1FE3) != 0 ? noErr : errFSBadInfoBitmap, FSSetCatalogInfo(&ref, which, &info))
            << bit;
    }
    const FSRef none = {};
    EXPECT_EQ(errFSBadFSRef, FSSetCatalogInfo(&none, kFSCatInfoPermissions, &info));
    mFolder.Remove(path);
    EXPECT_EQ(fnfErr, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info));
}

// Whatever fails, all of it is as before or as it is to be. Only while nothing works any more cannot be
// undone what was done before.
TEST_P(SetCatalogInfoTest, EveryCallFails) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    const FSCatalogInfo before = InfoOfRef(ref);
    const FSCatalogInfo after = SomeInfo();
    for (int failing = 1;; ++failing) {
        ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kAll, &before));
        const std::size_t descriptors = OpenDescriptorCount();
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingCalls failure(failing, EIO);
            error = FSSetCatalogInfo(&ref, kAll, &after);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_EQ("", DifferenceOf(InfoOfRef(ref), error == noErr ? after : before)) << failing;
        EXPECT_TRUE(error == noErr || error == ioErr) << failing << ": " << error;
        if (!delivered) {
            EXPECT_EQ(noErr, error);
            break;
        }
        ASSERT_LT(failing, 100);
    }
}

TEST_P(SetCatalogInfoTest, MemoryFails) {
    const std::string path = mFolder.MakeFile(std::string(100, 'n'));
    const FSRef ref = RefOf(path);
    const FSCatalogInfo before = InfoOfRef(ref);
    const FSCatalogInfo after = SomeInfo();
    for (int failing = 1;; ++failing) {
        ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kAll, &before));
        const std::size_t descriptors = OpenDescriptorCount();
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = FSSetCatalogInfo(&ref, kAll, &after);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_EQ("", DifferenceOf(InfoOfRef(ref), error == noErr ? after : before)) << failing;
        if (!delivered) break;
    }
}

}  // namespace

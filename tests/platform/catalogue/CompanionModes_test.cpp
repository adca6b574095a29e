#include "SettingInfo.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/CatalogInfo.h>

#include <cerrno>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class CompanionModes : public SettingInfoTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionModes, support::BothWorlds(), support::NameOfWorld);

std::string sItemPath, sOtherPath;
toolbox::os::SystemCalls sReal;

// What is private is so with all that lies beside it.
TEST_P(CompanionModes, TheCompanionFollowsTheMode) {
    const FileWorld::OrdinaryUser user(mFolder);
    for (const std::string& path : {mFolder.MakeFile("file"), mFolder.MakeFolder("folder")}) {
        const std::string companion = mFolder / ("._" + path.substr(path.rfind('/') + 1));
        FileWorld::SetMode(path, 0755);
        ASSERT_EQ(noErr, SetLock(path, true));
        FileWorld::SetMode(companion, 01654);
        const UInt16 modes[][2] = {{0700, 01610}, {0644, 01654}, {0466, 01676}, {0, 01610}, {0777, 01676}};
        for (const auto& [mode, expected] : modes) {
            EXPECT_EQ(noErr, SetMode(path, mode));
            EXPECT_EQ(expected, FileWorld::StatusOf(companion).stx_mode & 07777) << std::oct << mode;
            EXPECT_EQ(kFSNodeLockedMask, InfoOf(path, kFSCatInfoNodeFlags).nodeFlags & kFSNodeLockedMask);
        }
    }
    mFolder.MakeFile("other");
    mFolder.MakeFile("._other", "no companion");
    const auto before = FileWorld::StatusOf(mFolder / "._other").stx_mode;
    EXPECT_EQ(noErr, SetMode(mFolder / "other", 0600));
    EXPECT_EQ(before, FileWorld::StatusOf(mFolder / "._other").stx_mode) << "an ordinary file's is its own";
}

// At no moment may somebody do with the companion what he may not do with the item.
TEST_P(CompanionModes, TheCompanionIsNeverMoreOpenThanTheItem) {
    sItemPath = mFolder.MakeFile("file");
    sOtherPath = mFolder / "._file";
    FileWorld::SetMode(sItemPath, 0644);
    ASSERT_EQ(noErr, SetLock(sItemPath, true));
    static int sChanges;
    sChanges = 0;
    sReal = toolbox::os::Calls();
    static const auto check = [] {
        ++sChanges;
        const unsigned item = FileWorld::StatusOf(sItemPath).stx_mode;
        EXPECT_EQ(0U, FileWorld::StatusOf(sOtherPath).stx_mode & ~item & 0066) << sChanges;
    };
    toolbox::os::CallsForTesting().fchmod = [](int inFile, mode_t inMode) {
        const int result = sReal.fchmod(inFile, inMode);
        return check(), result;
    };
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        const int result = sReal.fchmodat(inFolder, inPath, inMode, inFlags);
        return check(), result;
    };
    for (const UInt16 mode : {0600, 0666, 0620, 0640})
        EXPECT_EQ(noErr, SetMode(sItemPath, mode));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(9, sChanges) << "twice each, and once more where some may more and others less";
}

// Another program makes the companion while the item becomes private.
TEST_P(CompanionModes, TheCompanionThatIsMadeMeanwhileFollowsToo) {
    for (const bool isMadeFirst : {false, true}) {
        FileWorld::RemoveAll(mFolder / "._file");
        sItemPath = mFolder.MakeFile("file");
        FileWorld::SetMode(sItemPath, 0644);
        sReal = toolbox::os::Calls();
        if (isMadeFirst)
            toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                         int inFlags) {
                toolbox::os::CallsForTesting() = sReal;
                EXPECT_EQ(noErr, SetLock(sItemPath, true));
                return sReal.fchmodat(inFolder, inPath, inMode, inFlags);
            };
        else
            toolbox::os::CallsForTesting().renameat2 = [](int inOld, const char* inOldName, int inNew,
                                                          const char* inNewName, unsigned inFlags) {
                toolbox::os::CallsForTesting() = sReal;
                EXPECT_EQ(noErr, SetMode(sItemPath, 0600));
                return sReal.renameat2(inOld, inOldName, inNew, inNewName, inFlags);
            };
        EXPECT_EQ(noErr, isMadeFirst ? SetMode(sItemPath, 0600) : SetLock(sItemPath, true));
        EXPECT_EQ(0600, FileWorld::StatusOf(mFolder / "._file").stx_mode & 07777) << isMadeFirst;
        EXPECT_EQ(0600, FileWorld::StatusOf(sItemPath).stx_mode & 07777) << isMadeFirst;
    }
}

TEST_P(CompanionModes, WhateverFailsTheModesAreOfOneMoment) {
    const std::string path = mFolder.MakeFile("file");
    const auto check = [&](const auto& inUnderFault, OSErr inStatus) {
        ASSERT_EQ(noErr, SetLock(path, true));
        ASSERT_EQ(noErr, SetMode(path, 0640));
        const FSRef ref = RefOf(path);
        FSCatalogInfo info = SomeInfo();
        info.permissions.mode = 0604;
        OSErr error = noErr;
        inUnderFault([&] { error = FSSetCatalogInfo(&ref, kFSCatInfoSettableInfo, &info); });
        EXPECT_TRUE(error == noErr || error == inStatus) << error;
        const int mode = error == noErr ? 0604 : 0640;
        EXPECT_EQ(mode, FileWorld::StatusOf(path).stx_mode & 07777);
        EXPECT_EQ(mode, FileWorld::StatusOf(mFolder / "._file").stx_mode & 07777);
        EXPECT_EQ(error == noErr ? 77U : 0U, InfoOf(path, kFSCatInfoTextEncoding).textEncodingHint);
        FSCatalogInfo none = {};
        EXPECT_EQ(noErr, Set(path, kFSCatInfoTextEncoding, none));
    };
    EXPECT_LT(20, support::FailEach<FailingCalls>(
                      [&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO));
    EXPECT_LT(5, support::FailEach<FailingNew>(
                     [&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }, FailingNew::kOnce));
}

}  // namespace

// A host that wants no companions: what needs one fails, and nothing is written.
#include "companions/CompanionFork.h"
#include "platform/catalogue/ItemChanges.h"
#include "platform/forks/ForkTest.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/Companions.h>
#include <toolbox/FileCopies.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class CompanionSwitch : public ItemChangesTest<support::FileWorldTest> {
  protected:
    CompanionSwitch() {
        mPlain = RefOf(mFolder.MakeFile("plain", "of plain"));
        mWith = RefOf(MakeWithCompanion("", "with"));
        SetCompanionsAllowed(0);
    }
    ~CompanionSwitch() override {
        SetCompanionsAllowed(1);
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    // Nothing of what lies there has changed.
    void ExpectUntouched() const { EXPECT_EQ(mBefore, Picture()); }
    static OSErr Set(const FSRef& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
        return FSSetCatalogInfo(&inItem, inWhich, &inInfo);
    }
    OSErr Copy(const char* inName, const char* inNewName) const {
        FSSpec item = Here(inName);
        FSSpec copy = Here(inNewName);
        HParamBlockRec block = {};
        block.copyParam.ioVRefNum = block.copyParam.ioDstVRefNum = item.vRefNum;
        block.copyParam.ioDirID = block.copyParam.ioNewDirID = item.parID;
        block.copyParam.ioNamePtr = item.name;
        block.copyParam.ioCopyName = copy.name;
        return PBHCopyFileSync(&block);
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    const std::string mBefore = "._with=#fork of with, plain=of plain, with=of with, ";
    FSRef mPlain = {};
    FSRef mWith = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionSwitch, support::BothWorlds(), support::NameOfWorld);

TEST_P(CompanionSwitch, IsOnUntilItIsChanged) {
    EXPECT_EQ(0, AreCompanionsAllowed());
    SetCompanionsAllowed(2);
    EXPECT_EQ(1, AreCompanionsAllowed());
    EXPECT_EQ(noErr, SetLock(mPlain, true));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "._plain"));
}

TEST_P(CompanionSwitch, Information) {
    FSCatalogInfo info = {};
    info.nodeFlags = kFSNodeLockedMask;
    info.textEncodingHint = 5;
    info.createDate = {0, 3'000'000'000U, 0};
    info.backupDate = {0, 3'100'000'000U, 0};
    info.finderInfo[0] = info.extFinderInfo[0] = 7;
    for (const FSRef& item : {mPlain, mWith}) {
        for (const FSCatalogInfoBitmap part :
             {FSCatalogInfoBitmap{kFSCatInfoNodeFlags}, FSCatalogInfoBitmap{kFSCatInfoTextEncoding},
              FSCatalogInfoBitmap{kFSCatInfoCreateDate}, FSCatalogInfoBitmap{kFSCatInfoBackupDate},
              FSCatalogInfoBitmap{kFSCatInfoFinderInfo}, FSCatalogInfoBitmap{kFSCatInfoFinderXInfo}}) {
            EXPECT_EQ(unimpErr, Set(item, part, info)) << part;
            ExpectUntouched();
        }
        // What comes before it is taken back; what needs none is set.
        info.permissions.mode = 0600;
        EXPECT_EQ(unimpErr, Set(item, kFSCatInfoPermissions | kFSCatInfoFinderInfo, info));
    }
    EXPECT_NE(0600U, FileWorld::StatusOf(mFolder / "plain").stx_mode & 0777);
    EXPECT_EQ(noErr, Set(mPlain, kFSCatInfoPermissions, info));
    EXPECT_EQ(noErr, Set(mWith, kFSCatInfoPermissions, info));
    EXPECT_EQ(0600U, FileWorld::StatusOf(mFolder / "._with").stx_mode & 0777) << "which follows its item";
    EXPECT_EQ(noErr, Set(mPlain, kFSCatInfoFinderInfo | kFSCatInfoNodeFlags, {})) << "as it is";
    ExpectUntouched();
}

// Of a companion without a fork, which is written in place.
TEST_P(CompanionSwitch, InformationInPlace) {
    SetCompanionsAllowed(1);
    FSCatalogInfo info = {};
    info.finderInfo[0] = 7;
    ASSERT_EQ(noErr, Set(mPlain, kFSCatInfoFinderInfo, info));
    const std::string companion = FileWorld::Contents(mFolder / "._plain");
    SetCompanionsAllowed(0);
    EXPECT_EQ(noErr, Set(mPlain, kFSCatInfoFinderInfo, info)) << "as it is";
    info.finderInfo[0] = 8;
    EXPECT_EQ(unimpErr, Set(mPlain, kFSCatInfoFinderInfo, info));
    EXPECT_EQ(companion, FileWorld::Contents(mFolder / "._plain"));
}

TEST_P(CompanionSwitch, NewItems) {
    const FSRef here = RefOf(mFolder.Path());
    FSCatalogInfo info = {};
    info.finderInfo[0] = 7;
    EXPECT_EQ(unimpErr,
              FSCreateFileUnicode(&here, 3, UnitsOf(u"new"), kFSCatInfoFinderInfo, &info, nullptr, nullptr));
    EXPECT_EQ(unimpErr, FSCreateDirectoryUnicode(&here, 3, UnitsOf(u"new"), kFSCatInfoFinderInfo, &info,
                                                 nullptr, nullptr, nullptr));
    ExpectUntouched();
    EXPECT_EQ(noErr, MakeFile(here, u"new"));
}

TEST_P(CompanionSwitch, NamesWithAHint) {
    for (const FSRef& item : {mPlain, mWith})
        EXPECT_EQ(unimpErr, FSRenameUnicode(&item, 3, UnitsOf(u"new"), 5, nullptr));
    ExpectUntouched();
    EXPECT_EQ(noErr, Rename(mWith, u"new"));
    EXPECT_EQ("._new=#fork of with, new=of with, plain=of plain, ", Picture());
    EXPECT_EQ(noErr, FSDeleteObject(&mWith));
    EXPECT_EQ("plain=of plain, ", Picture());
}

TEST_P(CompanionSwitch, Forks) {
    for (const FSRef& item : {mPlain, mWith}) {
        const Opened fork(item, Which::kResource);
        EXPECT_EQ(unimpErr, Write(fork, fsFromStart, 0, "FORK"));
        EXPECT_EQ(unimpErr, Write(fork, fsFromLEOF, 0, "more"));
        EXPECT_EQ(unimpErr, FSSetForkSize(fork, fsFromStart, 1));
        EXPECT_EQ(unimpErr, FSSetForkSize(fork, fsFromStart, 100));
        ExpectUntouched();
    }
    const Opened fork(mWith, Which::kResource);
    EXPECT_EQ("fork of with", Whole(fork));
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 12)) << "as it is";
    const Opened data(mPlain, Which::kData);
    EXPECT_EQ(noErr, Write(data, fsFromStart, 0, "OF"));
}

// Of an item that is gone, too, while its companion is still open.
TEST_P(CompanionSwitch, HeldForks) {
    toolbox::files::Place place;
    toolbox::files::CompanionFork fork;
    std::size_t count = 0;
    const UInt8 bytes[] = {'F'};
    ASSERT_EQ(0, toolbox::files::OpenPlaceOf(mFolder / "with", place));
    ASSERT_EQ(0, fork.Look(place, O_RDWR));
    EXPECT_EQ(ENOPKG, fork.Write(0, bytes, count));
    EXPECT_EQ(ENOPKG, fork.SetSize(1));
    ExpectUntouched();
}

// One that would tell nothing any more may go.
TEST_P(CompanionSwitch, WhatTellsNothingGoes) {
    EXPECT_EQ(noErr, FSDeleteFork(&mWith, 13, UnitsOf(u"RESOURCE_FORK")));
    EXPECT_EQ("plain=of plain, with=of with, ", Picture());
    SetCompanionsAllowed(1);
    ASSERT_EQ(noErr, SetLock(mPlain, true));
    SetCompanionsAllowed(0);
    EXPECT_EQ(fLckdErr, FSDeleteObject(&mPlain)) << "it is read as ever";
    EXPECT_EQ(noErr, SetLock(mPlain, false));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._plain"));
    // Of two things one cannot be taken away alone.
    SetCompanionsAllowed(1);
    FSCatalogInfo info = {};
    info.nodeFlags = kFSNodeLockedMask;
    info.finderInfo[0] = 7;
    ASSERT_EQ(noErr, Set(mPlain, kFSCatInfoNodeFlags | kFSCatInfoFinderInfo, info));
    SetCompanionsAllowed(0);
    EXPECT_EQ(unimpErr, SetLock(mPlain, false));
}

TEST_P(CompanionSwitch, Copies) {
    EXPECT_EQ(unimpErr, Copy("with", "copy"));
    ExpectUntouched();
    EXPECT_EQ(noErr, Copy("plain", "copy")) << "created when it was made";
    EXPECT_EQ("._with=#fork of with, copy=of plain, plain=of plain, with=of with, ", Picture());
}

TEST_P(CompanionSwitch, Exchanges) {
    EXPECT_EQ(unimpErr, FSExchangeObjects(&mPlain, &mWith));
    EXPECT_EQ(unimpErr, FSExchangeObjects(&mWith, &mPlain));
    ExpectUntouched();
}

}  // namespace

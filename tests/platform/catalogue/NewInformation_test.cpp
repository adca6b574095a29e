// What items are told when they are made, and when they get another name.
#include "ItemChanges.h"
#include "os/SystemCalls_test_access.h"
#include "support/CountedCalls.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/FinderInfo.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr TextEncoding kHint = 0x0501;

class NewInformation : public ItemChangesTest<support::FileWorldTest> {
  protected:
    static TextEncoding HintOf(const std::string& inPath) {
        return InfoOf(inPath, kFSCatInfoTextEncoding).textEncodingHint;
    }
    static OSErr RenameWithHint(const FSRef& inItem, std::u16string_view inName, TextEncoding inHint) {
        return FSRenameUnicode(&inItem, inName.size(), UnitsOf(inName), inHint, nullptr);
    }
    // All that can be set.
    static FSCatalogInfo SomeInfo() {
        FSCatalogInfo info = {};
        info.nodeFlags = kFSNodeLockedMask;
        info.createDate = {0, 3'029'529'600, 0};
        info.contentModDate = {0, 3'000'000'000, 0x1235};
        info.accessDate = {0, 3'000'000'001, 0xFFFF};
        info.backupDate = {0, 3'029'529'700, 0};
        info.permissions.mode = 0600;
        info.finderInfo[0] = 'T';
        info.extFinderInfo[15] = 7;
        info.textEncodingHint = kHint;
        return info;
    }
    OSErr Make(bool inIsFolder, const FSCatalogInfo& inInfo, FSRef* outRef = nullptr) const {
        const UniChar* const name = UnitsOf(u"new");
        return inIsFolder
                   ? FSCreateDirectoryUnicode(&mHere, 3, name, kFSCatInfoSettableInfo, &inInfo, outRef,
                                              nullptr, nullptr)
                   : FSCreateFileUnicode(&mHere, 3, name, kFSCatInfoSettableInfo, &inInfo, outRef, nullptr);
    }

    FSRef mHere = RefOf(mFolder.Path());
};
INSTANTIATE_TEST_SUITE_P(Worlds, NewInformation, support::BothWorlds(), support::NameOfWorld);

TEST_P(NewInformation, AllOfItIsANewItemTold) {
    for (const bool isFolder : {false, true}) {
        FSRef ref = {};
        ASSERT_EQ(noErr, Make(isFolder, SomeInfo(), &ref));
        const FSCatalogInfo info = InfoOf(mFolder / "new", kFSCatInfoGettableInfo);
        EXPECT_EQ(kFSNodeLockedMask | (isFolder ? kFSNodeIsDirectoryMask : 0), info.nodeFlags);
        EXPECT_EQ(3'029'529'600, +info.createDate.lowSeconds);
        EXPECT_EQ(3'000'000'000, +info.contentModDate.lowSeconds);
        EXPECT_EQ(0x1235, info.contentModDate.fraction);
        EXPECT_EQ(3'000'000'001, +info.accessDate.lowSeconds);
        EXPECT_EQ(3'029'529'700, +info.backupDate.lowSeconds);
        EXPECT_EQ(0600, info.permissions.mode & 07777);
        EXPECT_EQ('T', info.finderInfo[0]);
        EXPECT_EQ(7, info.extFinderInfo[15]);
        EXPECT_EQ(kHint, info.textEncodingHint);
        ASSERT_EQ(noErr, SetLock(ref, false));
        ASSERT_EQ(noErr, FSDeleteObject(&ref));
        EXPECT_EQ("", Picture());
    }
}

// The name of its companion lasts as its own does, which is not synced; an old item's is to stay.
TEST_P(NewInformation, ANewNameIsNotSynced) {
    static toolbox::os::SystemCalls sReal;
    static int sSyncs;
    sReal = toolbox::os::Calls();
    sSyncs = 0;
    toolbox::os::CallsForTesting().fsync = [](int inDescriptor) {
        ++sSyncs;
        return sReal.fsync(inDescriptor);
    };
    const OSErr error = Make(false, SomeInfo());
    const int syncs = sSyncs;
    const OSErr oldError = SetLock(RefOf(mFolder.MakeFile("old")), true);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(noErr, error);
    EXPECT_EQ(1, syncs) << "what it holds";
    EXPECT_EQ(noErr, oldError);
    EXPECT_EQ(3, sSyncs) << "what it holds, and its name";
}

TEST_P(NewInformation, WhatCannotBeToldMakesNoItem) {
    FSCatalogInfo info = SomeInfo();
    info.backupDate = {0xFFFF, 0, 0};
    for (const bool isFolder : {false, true})
        EXPECT_EQ(paramErr, Make(isFolder, info));
    const std::u16string longest(254, u'n');  // no companion can have its name
    EXPECT_EQ(bdNamErr, FSCreateFileUnicode(&mHere, longest.size(), UnitsOf(longest), kFSCatInfoNodeFlags,
                                            &info, nullptr, nullptr));
    EXPECT_EQ("", Picture());
}

TEST_P(NewInformation, WhateverFailsThereIsAllOfItOrNothing) {
    for (const bool isFolder : {false, true}) {
        const auto check = [&](const auto& inUnderFault, OSErr inStatus) {
            FSRef ref = {};
            OSErr error = noErr;
            inUnderFault([&] { error = Make(isFolder, SomeInfo(), &ref); });
            if (error != noErr) {
                EXPECT_EQ(inStatus, error);
                EXPECT_EQ("", Picture());
                return;
            }
            const FSCatalogInfo info = InfoOf(mFolder / "new", kFSCatInfoGettableInfo);
            EXPECT_EQ(kHint, info.textEncodingHint);
            EXPECT_EQ(3'000'000'000, +info.contentModDate.lowSeconds);
            EXPECT_EQ(0600, info.permissions.mode & 07777);
            EXPECT_EQ(noErr, SetLock(ref, false));
            EXPECT_EQ(noErr, FSDeleteObject(&ref));
            EXPECT_EQ("", Picture());
        };
        EXPECT_LT(20, support::FailEach<FailingCalls>(
                          [&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO));
        EXPECT_LT(10, support::FailEach<FailingNew>(
                          [&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }));
    }
}

TEST_P(NewInformation, HintOfANewName) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"b", kHint));
    EXPECT_EQ(kHint, HintOf(mFolder / "b"));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"c", kHint));
    EXPECT_EQ(kHint, HintOf(mFolder / "c"));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"c", kHint + 1)) << "the name that it has";
    EXPECT_EQ(kHint + 1, HintOf(mFolder / "c"));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"d", kTextEncodingUnknown));
    EXPECT_EQ("d=contents, ", Picture()) << "so no companion is needed";
}

TEST_P(NewInformation, HintKeepsWhatTheCompanionHas) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"b", kHint));
    EXPECT_EQ(kHint, HintOf(mFolder / "b"));
    EXPECT_EQ(9U, InfoOf(mFolder / "b", kFSCatInfoRsrcSizes).rsrcLogicalSize);
    ASSERT_EQ(noErr, RenameWithHint(ref, u"a", kTextEncodingUnknown));
    EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());
}

TEST_P(NewInformation, HintOfANameThatIsRefused) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    mFolder.MakeFile("taken");
    EXPECT_EQ(dupFNErr, RenameWithHint(ref, u"taken", kHint));
    EXPECT_EQ("a=contents, taken=contents, ", Picture());
    const std::u16string longest(254, u'n');
    EXPECT_EQ(bdNamErr, RenameWithHint(ref, longest, kHint));
    EXPECT_EQ("a=contents, taken=contents, ", Picture());
    EXPECT_EQ(noErr, RenameWithHint(ref, longest, kTextEncodingUnknown));
    EXPECT_EQ(bdNamErr, RenameWithHint(ref, std::u16string(254, u'm'), kHint));
    EXPECT_EQ(std::string(254, 'n') + "=contents, taken=contents, ", Picture());
}

TEST_P(NewInformation, WhateverFailsNameAndHintAreOneAnothers) {
    const auto check = [&](const auto& inUnderFault, OSErr inStatus) {
        FileWorld::RemoveAll(mFolder / "sub");
        mFolder.MakeFolder("sub");
        const FSRef ref = RefOf(MakeWithCompanion("sub/", "a"));
        ASSERT_EQ(noErr, RenameWithHint(ref, u"a", kHint));
        const std::string before = PictureOf(mFolder / "sub");
        OSErr error = noErr;
        inUnderFault([&] { error = RenameWithHint(ref, u"b", kHint + 1); });
        const std::string path = mFolder / (error == noErr ? "sub/b" : "sub/a");
        ASSERT_TRUE(mFolder.Exists(path)) << error;
        EXPECT_EQ(error == noErr ? kHint + 1 : kHint, HintOf(path));
        EXPECT_EQ(9U, InfoOf(path, kFSCatInfoRsrcSizes).rsrcLogicalSize);
        if (error == noErr) return;
        EXPECT_EQ(inStatus, error);
        EXPECT_EQ(before, PictureOf(mFolder / "sub"));
    };
    EXPECT_LT(20, support::FailEach<FailingCalls>(
                      [&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO));
    EXPECT_LT(10, support::FailEach<FailingNew>(
                      [&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }, FailingNew::kOnce));
}

// Another program's file has taken its place by then, and is told nothing.
toolbox::os::SystemCalls sReal;
std::string sPath, sOtherPath;
TEST_P(NewInformation, HintOfWhatIsThereNoMore) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    sPath = mFolder / "a";
    sOtherPath = mFolder.MakeFile("other", "of another");
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (std::string_view(inNewName) != "b")
            return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
        EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, sOtherPath.c_str(), AT_FDCWD, sPath.c_str(), 0));
        return errno = EIO, -1;
    };
    const OSErr error = RenameWithHint(ref, u"b", kHint);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(ioErr, error);
    EXPECT_EQ("of another", FileWorld::Contents(sPath));
    EXPECT_EQ(kHint, HintOf(sPath)) << "the companion is whose item is there";
}

// What another sets before this one takes its hint back.
TEST_P(NewInformation, WhatIsSetMeanwhileStaysWhenTheHintGoes) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    sPath = mFolder / "a";
    static int sLocks;
    sLocks = 0;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().flock = [](int inFile, int inOperation) {
        // The second one is of the folder, the third of the companion.
        if (++sLocks == 3) {
            const auto fails = toolbox::os::Calls();
            toolbox::os::CallsForTesting() = sReal;
            EXPECT_EQ(noErr, SetLock(RefOf(sPath), true));
            toolbox::os::CallsForTesting() = fails;
        }
        return sReal.flock(inFile, inOperation);
    };
    toolbox::os::CallsForTesting().linkat = [](int, const char*, int, const char*, int) {
        return errno = EIO, -1;
    };
    const OSErr error = RenameWithHint(ref, u"b", kHint);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fBsyErr, error) << "it was replaced";
    EXPECT_EQ(kTextEncodingUnknown, static_cast<int>(HintOf(sPath)));
    EXPECT_EQ(kFSNodeLockedMask, InfoOf(sPath, kFSCatInfoNodeFlags).nodeFlags);
    EXPECT_EQ(9U, InfoOf(sPath, kFSCatInfoRsrcSizes).rsrcLogicalSize);
}

TEST_P(NewInformation, HintOfANameThatIsShortAgain) {
    const std::string longest(254, 'n');
    const FSRef ref = RefOf(mFolder.MakeFile(longest));
    ASSERT_EQ(noErr, RenameWithHint(ref, u"a", kHint));
    EXPECT_EQ(kHint, HintOf(mFolder / "a"));
    FileWorld::RemoveAll(mFolder / "._a");
    FileWorld::Rename(mFolder / "a", mFolder / longest);
    const FSRef again = RefOf(mFolder / longest);
    const auto check = [&](const auto& inUnderFault, OSErr inStatus) {
        OSErr error = noErr;
        inUnderFault([&] { error = RenameWithHint(again, u"a", kHint); });
        EXPECT_TRUE(error == noErr || error == inStatus) << error;
        EXPECT_EQ(error == noErr, mFolder.Exists(mFolder / "a"));
        EXPECT_EQ(error == noErr, mFolder.Exists(mFolder / "._a"));
        EXPECT_EQ(error == noErr ? 2U : 1U, FileWorld::NamesIn(mFolder.Path()).size());
        if (error != noErr) return;
        EXPECT_EQ(kHint, HintOf(mFolder / "a"));
        FileWorld::RemoveAll(mFolder / "._a");
        FileWorld::Rename(mFolder / "a", mFolder / longest);
    };
    EXPECT_LT(20, support::FailEach<FailingCalls>(
                      [&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO));
    EXPECT_LT(5, support::FailEach<FailingNew>(
                     [&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }, FailingNew::kOnce));
}

TEST_P(NewInformation, CallsForAHintThatStays) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    const CountedCalls calls;
    EXPECT_EQ(noErr, RenameWithHint(ref, u"b", kTextEncodingUnknown));
    EXPECT_EQ(std::string::npos, calls.Made().find("fsync")) << calls.Made();
}

}  // namespace

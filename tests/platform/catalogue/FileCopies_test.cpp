#include "ItemChanges.h"
#include "companions/CompanionInfo.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/FileCopies.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::files::CompanionInfo;
using toolbox::files::CompanionSizes;

class FileCopies : public ItemChangesTest<support::FileWorldTest> {
  protected:
    using Call = OSErr(HParmBlkPtr);
    // An item of the test's own folder goes to a folder there; without a name it keeps its own.
    OSErr Do(Call* inCall, std::string_view inItem, const std::string& inFolder,
             std::string_view inName = {}) {
        FSSpec item = Here(inItem);
        const FSCatalogInfo folder = InfoOf(inFolder.empty() ? mFolder.Path() : mFolder / inFolder,
                                            kFSCatInfoVolume | kFSCatInfoNodeID);
        Str255 name = {static_cast<unsigned char>(inName.size())};
        inName.copy(reinterpret_cast<char*>(name) + 1, inName.size());
        mBlock = {};
        CopyParam& block = mBlock.copyParam;
        block.ioVRefNum = item.vRefNum;
        block.ioDirID = item.parID;
        block.ioNamePtr = item.name;
        block.ioDstVRefNum = folder.volume;
        block.ioNewDirID = static_cast<SInt32>(folder.nodeID);
        block.ioCopyName = inName.empty() ? nullptr : name;
        const OSErr error = inCall(&mBlock);
        EXPECT_EQ(error, block.ioResult);
        return error;
    }
    OSErr Copy(std::string_view inItem, const std::string& inFolder, std::string_view inName = {}) {
        return Do(PBHCopyFileSync, inItem, inFolder, inName);
    }
    OSErr Move(std::string_view inItem, const std::string& inFolder, std::string_view inName = {}) {
        return Do(PBHMoveRenameSync, inItem, inFolder, inName);
    }
    toolbox::files::Place PlaceOf(const std::string& inName) const {
        toolbox::files::Place place;
        EXPECT_EQ(0, toolbox::files::OpenPlaceOf(mFolder / inName, place));
        return place;
    }
    CompanionInfo CompanionOf(const std::string& inName, UInt64* outForkBytes = nullptr) const {
        const toolbox::files::Place place = PlaceOf(inName);
        CompanionInfo info;
        CompanionSizes sizes;
        EXPECT_EQ(0, toolbox::files::ReadInfo(place.folder.Number(), "._" + place.name, info, sizes));
        if (outForkBytes != nullptr) *outForkBytes = sizes.forkBytes;
        return info;
    }

    HParamBlockRec mBlock = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileCopies, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileCopies, ContentsModeAndDates) {
    const std::string contents(200'000, 'x');
    const std::string path = mFolder.MakeFile("a", contents);
    mFolder.MakeFolder("sub");
    FileWorld::SetMode(path, 0640);
    FileWorld::SetTimes(path, {1'000'000, 500}, {2'000'000, 700});
    ASSERT_EQ(noErr, Copy("a", "sub"));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(contents, FileWorld::Contents(mFolder / "a"));
    for (const char* const name : {"sub/a", "b"}) {
        EXPECT_EQ(contents, FileWorld::Contents(mFolder / name)) << name;
        const struct statx status = FileWorld::StatusOf(mFolder / name);
        EXPECT_EQ(0640, status.stx_mode & 07777) << name;
        EXPECT_EQ(2'000'000, status.stx_mtime.tv_sec) << name;
        EXPECT_EQ(700U, status.stx_mtime.tv_nsec) << name;
        EXPECT_NE(FileWorld::StatusOf(path).stx_ino, status.stx_ino) << name;
    }
}

TEST_P(FileCopies, WhatIsBesideTheData) {
    mFolder.MakeFile("a", "data");
    CompanionInfo info;
    info.finderInfo[0] = 'T';
    info.creationSeconds = 1000;
    info.backupSeconds = 2000;
    info.encodingHint = 3;
    info.isLocked = true;
    mFolder.MakeFile("._a", CompanionBytes("the fork"));
    ASSERT_EQ(0, toolbox::files::WriteInfo(PlaceOf("a"), info));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    UInt64 forkBytes = 0;
    info.isLocked = false;
    EXPECT_TRUE(info == CompanionOf("b", &forkBytes)) << "all, but that a copy is not locked";
    EXPECT_EQ(8U, forkBytes);
    info.isLocked = true;
    EXPECT_TRUE(info == CompanionOf("a")) << "the file itself stays as it was";
}

TEST_P(FileCopies, CreationDateOfAFileWithoutCompanion) {
    mFolder.MakeFile("a");
    const std::int64_t seconds = FileWorld::StatusOf(mFolder / "a").stx_btime.tv_sec - 946'684'800;
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(seconds, CompanionOf("b").creationSeconds);
    EXPECT_EQ(CompanionInfo::kNoDate, CompanionOf("a").creationSeconds);
}

TEST_P(FileCopies, NothingIsReplaced) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFile("b", "of b");
    mFolder.MakeFile("sub name", "other");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "a", mFolder / "link of a"));
    const std::string before = Picture();
    EXPECT_EQ(dupFNErr, Copy("a", ""));
    EXPECT_EQ(dupFNErr, Copy("a", "", "a"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "b"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "B"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "SUB NAME"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "link of a")) << "its own";
    EXPECT_EQ(dupFNErr, Move("a", "", "b"));
    EXPECT_EQ(dupFNErr, Move("a", "", "sub NAME"));
    EXPECT_EQ(before, Picture());
}

TEST_P(FileCopies, ACopyThatSomebodyElseMakesMeanwhileStays) {
    mFolder.MakeFile("a", "of a");
    static std::string sPath;
    static toolbox::os::SystemCalls sReal;
    sPath = mFolder / "b";
    sReal = toolbox::os::Calls();
    const FileWorld* world = &mFolder;
    static const FileWorld* sWorld;
    sWorld = world;
    const auto make = [] {
        if (!FileWorld::Exists(sPath)) sWorld->MakeFile("b", "another's");
    };
    static auto sMake = make;
    toolbox::os::CallsForTesting().linkat = [](int inFolder, const char* inPath, int inNewFolder,
                                               const char* inNewPath, int inFlags) {
        sMake();
        return sReal.linkat(inFolder, inPath, inNewFolder, inNewPath, inFlags);
    };
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inPath, int inNewFolder,
                                                  const char* inNewPath, unsigned inFlags) {
        if (std::string_view(inNewPath) == "b") sMake();
        return sReal.renameat2(inFolder, inPath, inNewFolder, inNewPath, inFlags);
    };
    const OSErr error = Copy("a", "", "b");
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(dupFNErr, error);
    EXPECT_EQ("a=of a, b=another's, ", Picture());
}

TEST_P(FileCopies, WhatIsNoFile) {
    mFolder.MakeFolder("folder");
    mFolder.MakeLink(mFolder.MakeFile("target"), "link");
    mFolder.MakePipe("pipe");
    EXPECT_EQ(notAFileErr, Copy("folder", "", "x"));
    EXPECT_EQ(errFSForkNotFound, Copy("link", "", "x"));
    EXPECT_EQ(errFSForkNotFound, Copy("pipe", "", "x"));
    EXPECT_EQ(fnfErr, Copy("missing", "", "x"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "x"));
}

TEST_P(FileCopies, WhereItGoes) {
    mFolder.MakeFile("a");
    EXPECT_EQ(bdNamErr, Copy("a", "", std::string(32, 'x')));
    EXPECT_EQ(bdNamErr, Copy("a", "", std::string_view("x\0y", 3)));
    mFolder.MakeFolder("sub");
    FSSpec item = Here("a");
    FSSpec sub = Here("sub");
    mBlock = {};
    CopyParam& block = mBlock.copyParam;
    block.ioVRefNum = block.ioDstVRefNum = item.vRefNum;
    block.ioDirID = block.ioNewDirID = item.parID;
    block.ioNamePtr = item.name;
    block.ioNewName = sub.name;
    EXPECT_EQ(noErr, PBHCopyFileSync(&mBlock)) << "a folder by its name";
    EXPECT_TRUE(FileWorld::Exists(mFolder / "sub/a"));
    block.ioNewName = item.name;
    EXPECT_EQ(dirNFErr, PBHCopyFileSync(&mBlock)) << "no folder";
    FSSpec missing = Here("missing");
    block.ioNewName = missing.name;
    EXPECT_EQ(dirNFErr, PBHCopyFileSync(&mBlock));
    EXPECT_EQ(dirNFErr, PBHMoveRenameSync(&mBlock));
    block.ioDstVRefNum = -31000;
    EXPECT_EQ(nsvErr, PBHCopyFileSync(&mBlock));
    EXPECT_EQ(paramErr, PBHCopyFileSync(nullptr));
    EXPECT_EQ(paramErr, PBHMoveRenameSync(nullptr));
}

TEST_P(FileCopies, NoFileBecomesACompanion) {
    mFolder.MakeFile("a", CompanionBytes("of nobody"));
    mFolder.MakeFile("item");
    EXPECT_EQ(dupFNErr, Copy("a", "", "._item"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "._a"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._item"));
}

TEST_P(FileCopies, AnOrphanIsSetAside) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFile("._b", CompanionBytes("of nobody"));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(CompanionBytes("of nobody"), FileWorld::Contents(mFolder / "b (companion)"));
    UInt64 forkBytes = 77;
    (void)CompanionOf("b", &forkBytes);
    EXPECT_EQ(0U, forkBytes);
}

TEST_P(FileCopies, ToAnotherVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    MakeWithCompanion("", "a");
    ASSERT_EQ(noErr, Copy("a", "volume"));
    EXPECT_EQ(FileWorld::Contents(mFolder / "a"), FileWorld::Contents(mFolder / "volume/a"));
    UInt64 forkBytes = 0;
    (void)CompanionOf("volume/a", &forkBytes);
    EXPECT_EQ(std::string("fork of a").size(), forkBytes);
}

TEST_P(FileCopies, MovesAndRenamesInOneStep) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    mFolder.MakeFolder("sub");
    ASSERT_EQ(noErr, Move("a", "sub", "b"));
    EXPECT_EQ("sub(._b=#fork of a, b=of a, ), ", Picture());
    EXPECT_EQ(mFolder / "sub/b", PathOf(ref));
    ASSERT_EQ(noErr, Move("sub", "", "renamed"));
    EXPECT_EQ("renamed(._b=#fork of a, b=of a, ), ", Picture());
    EXPECT_EQ(badMovErr, Move("renamed", "renamed"));
    EXPECT_EQ(noErr, Move("renamed", "")) << "to where it is";
    EXPECT_EQ(fnfErr, Move("missing", "renamed"));
}

TEST_P(FileCopies, VolumesAreNotMoved) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    mFolder.MakeFolder("sub");
    EXPECT_EQ(paramErr, Move("volume", "sub"));
}

TEST_P(FileCopies, EveryStepOfACopyFails) {
    MakeWithCompanion("", "a");
    mFolder.MakeFolder("sub");
    (void)InfoOf(mFolder / "sub", kFSCatInfoNodeID);
    const std::string before = Picture();
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        const std::size_t descriptors = OpenDescriptorCount();
        FSSpec item = Here("a");
        FSSpec sub = Here("sub");
        mBlock = {};
        CopyParam& block = mBlock.copyParam;
        block.ioVRefNum = block.ioDstVRefNum = item.vRefNum;
        block.ioDirID = block.ioNewDirID = item.parID;
        block.ioNamePtr = item.name;
        block.ioNewName = sub.name;
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = PBHCopyFileSync(&mBlock); });
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        if (error == noErr) {
            EXPECT_EQ("of a", FileWorld::Contents(mFolder / "sub/a"));
            UInt64 forkBytes = 0;
            (void)CompanionOf("sub/a", &forkBytes);
            EXPECT_EQ(std::string("fork of a").size(), forkBytes);
        }
        FileWorld::RemoveAll(mFolder / "sub/a");
        if (error == noErr) FileWorld::RemoveAll(mFolder / "sub/._a");
        EXPECT_EQ(before, Picture()) << error;
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        20);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }),
        10);
}

}  // namespace

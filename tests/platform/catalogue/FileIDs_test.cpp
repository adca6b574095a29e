#include "CatalogTest.h"
#include "catalogue/Catalogue.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/FileIDs.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class FileIDsTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    OSErr Create(const FSSpec& inSpec) {
        mBlock = {};
        mBlock.fidParam.ioVRefNum = inSpec.vRefNum;
        mBlock.fidParam.ioSrcDirID = inSpec.parID;
        FSSpec spec = inSpec;
        mBlock.fidParam.ioNamePtr = spec.name;
        const OSErr error = PBCreateFileIDRefSync(&mBlock);
        EXPECT_EQ(error, mBlock.fidParam.ioResult);
        return error;
    }
    // "FOLDER/NAME", or "status -1300" for instance.
    std::string Resolve(SInt32 inID, SInt16 inVolume) {
        Str255 name = {};
        mBlock = {};
        mBlock.fidParam.ioVRefNum = inVolume;
        mBlock.fidParam.ioFileID = inID;
        mBlock.fidParam.ioNamePtr = name;
        const OSErr error = PBResolveFileIDRefSync(&mBlock);
        EXPECT_EQ(error, mBlock.fidParam.ioResult);
        if (error != noErr) return "status " + std::to_string(error);
        FSSpec spec = {inVolume, mBlock.fidParam.ioSrcDirID, {}};
        std::memcpy(spec.name, name, sizeof spec.name);
        return PathOfSpec(spec);
    }
    // Fills the catalogue's memory with others.
    void ForgetFiles() const {
        toolbox::os::ItemStatus folder;
        ASSERT_EQ(0, toolbox::os::GetPathStatus(mFolder.Path().c_str(), folder));
        toolbox::files::NodeFacts facts;
        for (std::size_t i = 0; i < toolbox::files::NodeTable::kMaxHints; ++i) {
            const std::string name = "x" + std::to_string(i);
            const toolbox::files::PathStep step = {
                {folder.identity.device, (1U << 30) + i, 0}, false, name, false, true};
            ASSERT_TRUE(toolbox::files::NodeTable::Shared().RecordChild(folder.identity, step, facts));
        }
    }
    SInt16 Volume() const { return InfoOf(mFolder.Path(), kFSCatInfoVolume).volume; }

    HParamBlockRec mBlock = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileIDsTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileIDsTest, LeadToTheFileWhereverItGoes) {
    const std::string path = mFolder.MakeFile("a");
    ASSERT_EQ(noErr, Create(Here("a")));
    const SInt32 id = mBlock.fidParam.ioFileID;
    EXPECT_EQ(InfoOf(path, kFSCatInfoNodeID).nodeID, static_cast<UInt32>(id));
    EXPECT_EQ(path, Resolve(id, Volume()));
    FileWorld::Rename(path, mFolder / "b");
    EXPECT_EQ(mFolder / "b", Resolve(id, Volume()));
    EXPECT_EQ(fidExists, Create(Here("b")));
    EXPECT_EQ(id, +mBlock.fidParam.ioFileID) << "told as well";
    FileWorld::Remove(mFolder / "b");
    EXPECT_EQ("status -1300", Resolve(id, Volume()));
}

TEST_P(FileIDsTest, HoldWhateverTheCatalogueForgets) {
    mFolder.MakeFile("made");
    mFolder.MakeFile("met");
    ASSERT_EQ(noErr, Create(Here("made")));
    const SInt32 made = mBlock.fidParam.ioFileID;
    const auto met = static_cast<SInt32>(InfoOf(mFolder / "met", kFSCatInfoNodeID).nodeID);
    EXPECT_EQ(mFolder / "met", Resolve(met, Volume())) << "nobody made it, but it is remembered";
    ForgetFiles();
    EXPECT_EQ(mFolder / "made", Resolve(made, Volume()));
    EXPECT_EQ("status -1300", Resolve(met, Volume())) << "forgotten";
}

TEST_P(FileIDsTest, OnlyFilesHaveThem) {
    mFolder.MakeFolder("folder");
    EXPECT_EQ(notAFileErr, Create(Here("folder")));
    EXPECT_EQ(fnfErr, Create(Here("missing")));
    FSSpec spec = Here("");
    EXPECT_EQ(notAFileErr, Create(spec));
    spec.vRefNum = -31000;
    EXPECT_EQ(nsvErr, Create(spec));
    const auto folder = static_cast<SInt32>(InfoOf(mFolder / "folder", kFSCatInfoNodeID).nodeID);
    EXPECT_EQ("status -1302", Resolve(folder, Volume()));
    EXPECT_EQ("status -1300", Resolve(static_cast<SInt32>(0xFFFFFF00), Volume()));
    EXPECT_EQ("status -35", Resolve(folder, -31000));
    EXPECT_EQ(paramErr, PBCreateFileIDRefSync(nullptr));
    EXPECT_EQ(paramErr, PBResolveFileIDRefSync(nullptr));
}

TEST_P(FileIDsTest, AreOfTheirVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    mFolder.MakeFile("volume/a");
    const FSSpec spec = SpecOf(mFolder / "volume/a");
    ASSERT_EQ(noErr, Create(spec));
    const SInt32 id = mBlock.fidParam.ioFileID;
    EXPECT_EQ(mFolder / "volume/a", Resolve(id, spec.vRefNum));
    EXPECT_EQ("status -1300", Resolve(id, Volume()));
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "volume", mFolder.MakeFolder("again")));
    const SInt16 again = InfoOf(mFolder / "again/a", kFSCatInfoVolume).volume;
    ASSERT_NE(spec.vRefNum, again);
    EXPECT_EQ(mFolder / "again/a", Resolve(id, again));
    EXPECT_EQ("status -1300", Resolve(id, spec.vRefNum)) << "its folder was met on another volume last";
}

// As when the inode of one that was made goes to a new file, after the catalogue has forgotten the first.
TEST_P(FileIDsTest, ANewFileOfAnOldInodeGetsAnother) {
    mFolder.MakeFile("a");
    ASSERT_EQ(noErr, Create(Here("a")));
    const SInt32 id = mBlock.fidParam.ioFileID;
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (S_ISREG(outStatus->stx_mode)) outStatus->stx_btime.tv_sec += 5;
        return result;
    };
    ForgetFiles();
    const auto told = static_cast<SInt32>(InfoOf(mFolder / "a", kFSCatInfoNodeID).nodeID);
    const OSErr first = Create(Here("a"));
    const SInt32 newID = mBlock.fidParam.ioFileID;
    const OSErr second = Create(Here("a"));
    const std::string path = Resolve(newID, Volume());
    const std::string old = Resolve(id, Volume());
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(noErr, first) << "another file";
    EXPECT_NE(id, newID);
    EXPECT_EQ(told, newID) << "it had it before anybody made it";
    EXPECT_EQ(fidExists, second);
    EXPECT_EQ(mFolder / "a", path);
    EXPECT_EQ("status -1300", old);
}

TEST_P(FileIDsTest, StayWithTheFilesThatExchangeTheirContents) {
    const FSRef a = RefOf(mFolder.MakeFile("a", "of a"));
    const FSRef b = RefOf(mFolder.MakeFile("b", "of b"));
    ASSERT_EQ(noErr, Create(Here("a")));
    const SInt32 id = mBlock.fidParam.ioFileID;
    ASSERT_EQ(noErr, FSExchangeObjects(&a, &b));
    EXPECT_EQ(fidExists, Create(Here("a")));
    EXPECT_EQ(id, +mBlock.fidParam.ioFileID);
    EXPECT_EQ(mFolder / "a", Resolve(id, Volume()));
    EXPECT_EQ(noErr, Create(Here("b")));
    EXPECT_NE(id, +mBlock.fidParam.ioFileID);
}

TEST_P(FileIDsTest, NoNameIsWanted) {
    mFolder.MakeFile("a");
    ASSERT_EQ(noErr, Create(Here("a")));
    mBlock.fidParam.ioVRefNum = Volume();
    mBlock.fidParam.ioSrcDirID = 0;
    mBlock.fidParam.ioNamePtr = nullptr;
    EXPECT_EQ(noErr, PBResolveFileIDRefSync(&mBlock));
    EXPECT_EQ(+Here("a").parID, +mBlock.fidParam.ioSrcDirID);
}

TEST_P(FileIDsTest, EveryStepFails) {
    const SInt16 volume = Volume();
    int round = 0;
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        const std::string name = "f" + std::to_string(round++);
        mFolder.MakeFile(name);
        const FSSpec spec = Here(name);
        const std::size_t descriptors = OpenDescriptorCount();
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = Create(spec); });
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        const SInt32 id = mBlock.fidParam.ioFileID;
        EXPECT_EQ(error == noErr, id != 0);
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        FileWorld::Remove(mFolder / name);
        if (error != noErr) return;
        EXPECT_EQ("status -1300", Resolve(id, volume));
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        2);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }), 2);

    mFolder.MakeFile("kept");
    ASSERT_EQ(noErr, Create(Here("kept")));
    const SInt32 id = mBlock.fidParam.ioFileID;
    const auto resolve = [&](const auto& inUnderFault, OSErr inExpected) {
        const std::size_t descriptors = OpenDescriptorCount();
        Str255 name = {};
        HParamBlockRec block = {};
        block.fidParam.ioVRefNum = volume;
        block.fidParam.ioFileID = id;
        block.fidParam.ioNamePtr = name;
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = PBResolveFileIDRefSync(&block); });
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        EXPECT_EQ(error == noErr, name[0] != 0);
        EXPECT_EQ(descriptors, OpenDescriptorCount());
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { resolve(inUnderFault, ioErr); }, EIO),
        2);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { resolve(inUnderFault, memFullErr); }),
        1);
}

}  // namespace

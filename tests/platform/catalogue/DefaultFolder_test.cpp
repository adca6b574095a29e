#include "ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/DefaultFolder.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/Volumes.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FailEach;

constexpr FSSpec kDefault = {0, 0, {}};

OSErr SetDefault(const FSSpec& inSpec) {
    return HSetVol(inSpec.name, inSpec.vRefNum, inSpec.parID);
}

class DefaultFolder : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~DefaultFolder() override { EXPECT_EQ(noErr, HSetVol(nullptr, 0, 0)); }

    // "-1 2" for instance, or "status -120".
    static std::string Got() {
        SInt16 volume = 7;
        SInt32 folder = 7;
        const OSErr error = HGetVol(nullptr, &volume, &folder);
        if (error == noErr) return std::to_string(volume) + ' ' + std::to_string(folder);
        EXPECT_EQ(7 + 7, volume + folder) << "nothing is set";
        return "status " + std::to_string(error);
    }
    static FSSpec InDefault(std::string_view inName) {
        FSSpec spec = kDefault;
        std::memcpy(spec.name, static_cast<ConstStr255Param>(PascalName(inName)), inName.size() + 1);
        return spec;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, DefaultFolder, support::BothWorlds(), support::NameOfWorld);

TEST_P(DefaultFolder, IsNoneUntilOneIsSet) {
    EXPECT_EQ("0 0", Got());
    Str63 name = "\1x";
    SInt16 volume = 7;
    SInt32 folder = 7;
    EXPECT_EQ(noErr, HGetVol(name, &volume, &folder));
    EXPECT_EQ(0, name[0]);
    EXPECT_EQ("status -120", PathOfSpec(kDefault));
    EXPECT_EQ("status -120", PathOfSpec(InDefault("tmp")));
    FSSpec spec = {7, 7, "\1x"};
    EXPECT_EQ(dirNFErr, FSMakeFSSpec(0, 0, nullptr, &spec));
    EXPECT_EQ(dirNFErr, FSMakeFSSpec(0, 0, PascalName("new"), &spec));
    EXPECT_EQ(7, spec.vRefNum);
    SInt32 made = 7;
    EXPECT_EQ(dirNFErr, DirCreate(0, 0, PascalName("new"), &made));
    EXPECT_EQ(dirNFErr, HDelete(0, 0, PascalName("tmp")));
    EXPECT_EQ(dirNFErr, HDelete(0, 0, nullptr));
    FSRef ref = {};
    FSRefParam block = {};
    block.newRef = &ref;
    EXPECT_EQ(dirNFErr, PBMakeFSRefSync(&block));
}

TEST_P(DefaultFolder, IsWhatZeroAndZeroStandFor) {
    const std::string path = mFolder.MakeFolder("folder");
    const std::string file = mFolder.MakeFile("folder/file");
    ASSERT_EQ(noErr, SetDefault(SpecOf(path)));
    EXPECT_EQ(path, PathOfSpec(kDefault));
    EXPECT_EQ(file, PathOfSpec(InDefault("FILE")));
    EXPECT_EQ("status -43", PathOfSpec(InDefault("none")));
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoNodeID | kFSCatInfoVolume);
    FSSpec spec = {};
    EXPECT_EQ(fnfErr, FSMakeFSSpec(0, 0, PascalName("new"), &spec));
    EXPECT_EQ(info.volume, spec.vRefNum);
    EXPECT_EQ(info.nodeID, static_cast<UInt32>(+spec.parID));
    EXPECT_EQ(noErr, FSMakeFSSpec(0, 0, nullptr, &spec));
    EXPECT_EQ("folder", NameOf(spec));
    SInt32 made = 0;
    EXPECT_EQ(noErr, DirCreate(0, 0, PascalName("made"), &made));
    EXPECT_TRUE(mFolder.Exists(path + "/made"));
    EXPECT_EQ(noErr, HDelete(0, 0, PascalName("made")));
    EXPECT_FALSE(mFolder.Exists(path + "/made"));
}

TEST_P(DefaultFolder, IsNothingElse) {
    ASSERT_EQ(noErr, SetDefault(SpecOf(mFolder.MakeFolder("folder"))));
    const SInt16 root = SpecOf("/").vRefNum;
    EXPECT_EQ("/", PathOfSpec({0, fsRtDirID, {}})) << "volume 0 is the first";
    EXPECT_EQ("/", PathOfSpec({root, 0, {}})) << "folder 0 of a volume is its root";
    EXPECT_EQ("status -120", PathOfSpec({0, fsRtParID, {}}));
    HParamBlockRec block = {};
    EXPECT_EQ(noErr, PBHGetVInfoSync(&block));
    EXPECT_EQ(root, +block.volumeParam.ioVRefNum);
}

TEST_P(DefaultFolder, IsToldByItsIDs) {
    const std::string path = mFolder.MakeFolder("folder");
    ASSERT_EQ(noErr, SetDefault(SpecOf(path)));
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoNodeID | kFSCatInfoVolume);
    EXPECT_EQ(std::to_string(info.volume) + ' ' + std::to_string(static_cast<SInt32>(info.nodeID)), Got());
    Str63 name = {};
    SInt16 volume = 0;
    SInt32 folder = 0;
    const toolbox::os::SystemCalls saved = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statvfs = [](const char* inPath, struct statvfs*) {
        ADD_FAILURE() << inPath << ": a name needs no sizes";
        return errno = EIO, -1;
    };
    EXPECT_EQ(noErr, HGetVol(name, &volume, &folder));
    toolbox::os::CallsForTesting() = saved;
    Str63 volumeName = {};
    HParamBlockRec block = {};
    block.volumeParam.ioVRefNum = volume;
    block.volumeParam.ioNamePtr = volumeName;
    EXPECT_EQ(noErr, PBHGetVInfoSync(&block));
    EXPECT_GT(volumeName[0], 0);
    EXPECT_EQ(0, std::memcmp(volumeName, name, volumeName[0] + 1U));
    ASSERT_EQ(noErr, HSetVol(nullptr, 0, fsRtDirID));
    EXPECT_EQ(std::to_string(SpecOf("/").vRefNum) + " 2", Got());
    EXPECT_EQ("/", PathOfSpec(kDefault));
    EXPECT_EQ(paramErr, HDelete(0, 0, nullptr)) << "which is not deleted by this name either";
    EXPECT_EQ(noErr, HSetVol(nullptr, volume, folder)) << "as it was";
    EXPECT_EQ(path, PathOfSpec(kDefault));
}

TEST_P(DefaultFolder, IsSetFromItself) {
    const std::string inner = mFolder.MakeFolder("outer/inner");
    ASSERT_EQ(noErr, SetDefault(SpecOf(mFolder / "outer")));
    EXPECT_EQ(noErr, HSetVol(PascalName("inner"), 0, 0));
    EXPECT_EQ(inner, PathOfSpec(kDefault));
    EXPECT_EQ(noErr, HSetVol(PascalName(""), 0, 0));
    EXPECT_EQ("0 0", Got()) << "taken away";
    EXPECT_EQ(dirNFErr, HSetVol(PascalName("inner"), 0, 0));
}

TEST_P(DefaultFolder, IsTheFolderAndNotItsPath) {
    const std::string path = mFolder.MakeFolder("folder");
    ASSERT_EQ(noErr, SetDefault(SpecOf(path)));
    mFolder.Rename(path, mFolder / "renamed");
    mFolder.MakeFolder("folder");
    EXPECT_EQ(mFolder / "renamed", PathOfSpec(kDefault));
    mFolder.Remove(mFolder / "renamed", true);
    EXPECT_EQ("status -120", PathOfSpec(kDefault));
    EXPECT_EQ("status -120", Got());
    EXPECT_EQ(noErr, SetDefault(SpecOf(path))) << "another may be set";
}

TEST_P(DefaultFolder, WhatItCannotBe) {
    const std::string path = mFolder.MakeFolder("folder");
    ASSERT_EQ(noErr, SetDefault(SpecOf(path)));
    mFolder.MakeFile("file");
    mFolder.MakeLink("folder", "link");
    EXPECT_EQ(dirNFErr, SetDefault(Here("file")));
    EXPECT_EQ(dirNFErr, SetDefault(Here("link"))) << "which is no folder";
    EXPECT_EQ(fnfErr, SetDefault(Here("none")));
    EXPECT_EQ(bdNamErr, HSetVol(PascalName(std::string(64, 'n')), 0, 0));
    EXPECT_EQ(bdNamErr, HSetVol(PascalName(std::string(32, 'n')), 0, 0));
    EXPECT_EQ(nsvErr, HSetVol(nullptr, -30000, 0));
    EXPECT_EQ(dirNFErr, HSetVol(nullptr, 0, 15));
    EXPECT_EQ(dirNFErr, HSetVol(nullptr, 0, fsRtParID));
    EXPECT_EQ(path, PathOfSpec(kDefault)) << "it is still what it was";
    SInt16 volume = 0;
    SInt32 folder = 0;
    EXPECT_EQ(paramErr, HGetVol(nullptr, nullptr, &folder));
    EXPECT_EQ(paramErr, HGetVol(nullptr, &volume, nullptr));
}

TEST_P(DefaultFolder, LeavesTheCurrentFolderAlone) {
    mFolder.MakeFile("file");
    const support::FileWorld::CurrentFolder here(mFolder, mFolder.Path());
    ASSERT_EQ(noErr, SetDefault(SpecOf(mFolder.MakeFolder("folder"))));
    EXPECT_EQ(mFolder / "file", PathOf(RefOf("file")));
    EXPECT_EQ(mFolder / "folder", PathOfSpec(kDefault));
}

TEST_P(DefaultFolder, EachCallFails) {
    const FSSpec spec = SpecOf(mFolder.MakeFolder("folder"));
    const std::size_t descriptors = OpenDescriptorCount();
    FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            OSErr error = noErr;
            std::string got;
            inUnderFault([&] { error = SetDefault(spec); });
            EXPECT_TRUE(error == noErr || error == ioErr || error == dirNFErr) << error;
            EXPECT_EQ(error == noErr, PathOfSpec(kDefault) == mFolder / "folder");
            EXPECT_EQ(noErr, SetDefault(spec));
            inUnderFault([&] { got = Got(); });
            EXPECT_TRUE(got == "status -36" || got == "status -120" || got == Got()) << got;
            EXPECT_EQ(noErr, HSetVol(nullptr, 0, 0));
            EXPECT_EQ(descriptors, OpenDescriptorCount());
        },
        EIO);
}

TEST_P(DefaultFolder, EachAllocationFails) {
    const FSSpec spec = SpecOf(mFolder.MakeFolder("folder"));
    const int count = FailEach<FailingNew>([&](const auto& inUnderFault) {
        OSErr error = noErr;
        SInt16 volume = 0;
        SInt32 folder = 0;
        bool isFailed = inUnderFault([&] { error = SetDefault(spec); });
        EXPECT_EQ(isFailed ? memFullErr : noErr, error);
        EXPECT_EQ(isFailed, Got() == "0 0");
        EXPECT_EQ(noErr, SetDefault(spec));
        isFailed = inUnderFault([&] { error = HGetVol(nullptr, &volume, &folder); });
        EXPECT_EQ(isFailed ? memFullErr : noErr, error);
        EXPECT_EQ(isFailed, folder == 0);
        EXPECT_EQ(noErr, HSetVol(nullptr, 0, 0));
    });
    EXPECT_GT(count, 2);
}

}  // namespace

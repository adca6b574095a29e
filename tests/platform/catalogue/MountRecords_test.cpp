#include "CatalogTest.h"
#include "catalogue/Volumes.h"
#include "os/ItemStatus.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <toolbox/MountRecords.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;
using Bytes = std::vector<char>;

class MountRecordsTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    using Call = OSErr(ParmBlkPtr);
    OSErr Do(Call* inCall, void* ioBuffer, SInt16 inVolume = 0) {
        mBlock = {};
        mBlock.ioParam.ioVRefNum = inVolume;
        mBlock.ioParam.ioBuffer = static_cast<Ptr>(ioBuffer);
        const OSErr error = inCall(&mBlock);
        EXPECT_EQ(error, mBlock.ioParam.ioResult);
        return error;
    }
    Bytes RecordOf(SInt16 inVolume) {
        SInt16 byteCount = 0;
        EXPECT_EQ(noErr, Do(PBGetVolMountInfoSize, &byteCount, inVolume));
        Bytes record(static_cast<std::size_t>(byteCount) + 4, '\xEE');
        EXPECT_EQ(noErr, Do(PBGetVolMountInfo, record.data(), inVolume));
        for (std::size_t i = record.size() - 4; i < record.size(); ++i)
            EXPECT_EQ('\xEE', record[i]) << "behind the record";
        record.resize(record.size() - 4);
        return record;
    }
    static Bytes Record(SInt16 inFlags, const std::string& inType, const std::string& inSource,
                        const std::string& inFolder) {
        SystemVolMountInfo info = {};
        const std::string texts = inType + '\0' + inSource + '\0' + inFolder + '\0';
        info.header = {static_cast<SInt16>(sizeof info + texts.size()), kSystemMountMedia, inFlags};
        info.typeOffset = sizeof info;
        info.sourceOffset = static_cast<SInt16>(info.typeOffset + inType.size() + 1);
        info.folderOffset = static_cast<SInt16>(info.sourceOffset + inSource.size() + 1);
        Bytes record(sizeof info);
        std::memcpy(record.data(), &info, sizeof info);
        record.insert(record.end(), texts.begin(), texts.end());
        return record;
    }
    static SystemVolMountInfo InfoIn(const Bytes& inRecord) {
        SystemVolMountInfo info;
        std::memcpy(&info, inRecord.data(), sizeof info);
        return info;
    }
    static bool IsMounted(const std::string& inPath) {
        toolbox::os::ItemStatus status;
        EXPECT_EQ(0, toolbox::os::GetPathStatus(inPath.c_str(), status));
        return status.isMountRoot;
    }
    // Of what the call mounted, which the world knows nothing of.
    void Unmount(const std::string& inPath) {
        EXPECT_EQ(0,
                  mFolder.Memory() != nullptr ? mFolder.Memory()->Unmount(inPath) : umount(inPath.c_str()));
    }
    std::string Type() { return mFolder.Memory() != nullptr ? "memory" : "tmpfs"; }

    ParamBlockRec mBlock = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, MountRecordsTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(MountRecordsTest, ARecordMountsItsVolumeAgain) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const std::string path = mFolder.MakeFolder("a volume");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    const Bytes record = RecordOf(InfoOf(path, kFSCatInfoVolume).volume);
    const SystemVolMountInfo info = InfoIn(record);
    EXPECT_EQ(record.size(), static_cast<std::size_t>(info.header.length));
    EXPECT_EQ(VolumeType{kSystemMountMedia}, +info.header.media);
    EXPECT_EQ(0, info.header.flags);
    EXPECT_EQ(Type(), record.data() + info.typeOffset);
    EXPECT_STREQ("none", record.data() + info.sourceOffset);
    EXPECT_EQ(path, record.data() + info.folderOffset);
    ASSERT_EQ(0, mFolder.Unmount(path));
    ASSERT_FALSE(IsMounted(path));

    Bytes copy = record;
    ASSERT_EQ(noErr, Do(PBVolumeMount, copy.data()));
    EXPECT_TRUE(IsMounted(path));
    EXPECT_EQ(InfoOf(path, kFSCatInfoVolume).volume, mBlock.ioParam.ioVRefNum);
    EXPECT_NE(InfoOf(mFolder.Path(), kFSCatInfoVolume).volume, mBlock.ioParam.ioVRefNum);
    EXPECT_EQ(record, RecordOf(mBlock.ioParam.ioVRefNum));
    Unmount(path);
}

TEST_P(MountRecordsTest, Flags) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const std::string path = mFolder.MakeFolder("volume");
    Bytes record = Record(kVolMountReadOnly, Type(), "none", path);
    ASSERT_EQ(noErr, Do(PBVolumeMount, record.data()));
    EXPECT_EQ(kVolMountReadOnly, InfoIn(RecordOf(mBlock.ioParam.ioVRefNum)).header.flags);
    Unmount(path);
    if (mFolder.Memory() != nullptr) return;  // which tells of no others
    for (const int flags : {kVolMountNoSetUserID + 0, kVolMountNoDevices + 0, kVolMountNoPrograms + 0, 15}) {
        record = Record(static_cast<SInt16>(flags), Type(), "none", path);
        ASSERT_EQ(noErr, Do(PBVolumeMount, record.data()));
        EXPECT_EQ(flags, InfoIn(RecordOf(mBlock.ioParam.ioVRefNum)).header.flags);
        Unmount(path);
    }
}

TEST_P(MountRecordsTest, APartOfAFileSystemHasNone) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    mFolder.MakeFolder("part");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "part", mFolder.MakeFolder("again")));
    const SInt16 volume = InfoOf(mFolder / "again", kFSCatInfoVolume).volume;
    SInt16 byteCount = 77;
    EXPECT_EQ(paramErr, Do(PBGetVolMountInfoSize, &byteCount, volume));
    EXPECT_EQ(77, byteCount);
    EXPECT_EQ(paramErr, Do(PBGetVolMountInfo, &byteCount, volume));
    EXPECT_EQ(77, byteCount);
}

// A subvolume has the number of the mount in which it lies.
TEST_P(MountRecordsTest, WhatLiesWithinAMountHasNone) {
    toolbox::files::Volume volume;
    ASSERT_EQ(noErr, toolbox::files::GetVolume(toolbox::files::kBootVolume, volume));
    static toolbox::os::SystemCalls sReal;
    static std::string sTable;
    sReal = toolbox::os::Calls();
    OSErr errors[2] = {};
    for (const int isWhole : {0, 1}) {
        const std::string folder = isWhole != 0 ? volume.rootPath : "/elsewhere";
        sTable = mFolder.MakeFile(
            "table", std::to_string(volume.key.mount) + " 1 0:30 / " + folder + " rw - btrfs /dev/a rw\n");
        toolbox::os::CallsForTesting().openat = [](int inWhere, const char* inPath, int inFlags,
                                                   mode_t inMode) {
            const bool isTable = std::string_view(inPath) == "/proc/self/mountinfo";
            return sReal.openat(inWhere, isTable ? sTable.c_str() : inPath, inFlags, inMode);
        };
        SInt16 byteCount = 77;
        errors[isWhole] = Do(PBGetVolMountInfoSize, &byteCount, toolbox::files::kBootVolume);
        toolbox::os::CallsForTesting() = sReal;
    }
    EXPECT_EQ(paramErr, errors[0]);
    EXPECT_EQ(noErr, errors[1]);
}

TEST_P(MountRecordsTest, RecordsThatMakeNoSense) {
    const std::string path = mFolder.MakeFolder("volume");
    const Bytes good = Record(0, Type(), "none", path);
    const auto refuse = [&](const char* inWhat, auto inChange) {
        Bytes record = good;
        SystemVolMountInfo info = InfoIn(record);
        inChange(info);
        std::memcpy(record.data(), &info, sizeof info);
        EXPECT_EQ(paramErr, Do(PBVolumeMount, record.data())) << inWhat;
    };
    using Info = SystemVolMountInfo;
    refuse("of other media", [](Info& ioInfo) { ioInfo.header.media = 0x6166706D; });
    refuse("too short", [](Info& ioInfo) { ioInfo.header.length = sizeof(Info) - 1; });
    refuse("negative", [](Info& ioInfo) { ioInfo.header.length = -1; });
    refuse("without an end", [](Info& ioInfo) { --ioInfo.header.length; });
    refuse("unknown flags", [](Info& ioInfo) { ioInfo.header.flags = 0x10; });
    refuse("a text within the head", [](Info& ioInfo) { ioInfo.typeOffset = 13; });
    refuse("a text behind the end", [](Info& ioInfo) { ioInfo.sourceOffset = ioInfo.header.length; });
    refuse("a text before the start", [](Info& ioInfo) { ioInfo.folderOffset = -5; });
    refuse("a relative path", [](Info& ioInfo) { ioInfo.folderOffset = ioInfo.sourceOffset; });
    EXPECT_FALSE(IsMounted(path));
}

TEST_P(MountRecordsTest, Refused) {
    for (Call* const call : {PBGetVolMountInfoSize, PBGetVolMountInfo, PBVolumeMount}) {
        EXPECT_EQ(paramErr, call(nullptr));
        EXPECT_EQ(paramErr, Do(call, nullptr));
    }
    SInt16 byteCount = 0;
    EXPECT_EQ(nsvErr, Do(PBGetVolMountInfoSize, &byteCount, -31000));
    Bytes record = Record(0, Type(), "none", mFolder / "missing");
    EXPECT_EQ(dirNFErr, Do(PBVolumeMount, record.data()));
    record = Record(0, Type(), "none", mFolder.MakeFile("file"));
    EXPECT_EQ(dirNFErr, Do(PBVolumeMount, record.data()));
}

TEST_P(MountRecordsTest, WithoutThePrivilege) {
    const std::string path = mFolder.MakeFolder("volume");
    Bytes record = Record(0, Type(), "none", path);
    FileWorld::OrdinaryUser user(mFolder);
    EXPECT_EQ(permErr, Do(PBVolumeMount, record.data()));
    EXPECT_FALSE(IsMounted(path));
}

TEST_P(MountRecordsTest, ATypeThatNobodyKnows) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    Bytes record = Record(0, "unheard-of", "none", mFolder.MakeFolder("volume"));
    EXPECT_EQ(ioErr, Do(PBVolumeMount, record.data()));
}

TEST_P(MountRecordsTest, EveryStepFails) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const std::string path = mFolder.MakeFolder("volume");
    Bytes record = Record(0, Type(), "none", path);
    const std::size_t descriptors = OpenDescriptorCount();
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = Do(PBVolumeMount, record.data()); });
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        EXPECT_EQ(error == noErr, mBlock.ioParam.ioVRefNum != 0);
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        EXPECT_TRUE(error != noErr || IsMounted(path));
        if (IsMounted(path)) Unmount(path);
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        3);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }), 3);
}

}  // namespace

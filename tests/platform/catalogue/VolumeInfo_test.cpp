#include "CatalogTest.h"
#include "catalogue/MountedVolumes.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionInfo.h"
#include "places/ForkUses.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <toolbox/VolumeInfo.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using toolbox::files::CompanionInfo;
using toolbox::os::CallsForTesting;

constexpr UInt64 kSecondsBefore2000 = 3'029'529'600;

UInt64 SecondsOf(const UTCDateTime& inDate) {
    return UInt64{inDate.highSeconds} << 32 | inDate.lowSeconds;
}

std::u16string TextOf(const HFSUniStr255& inName) {
    return {inName.unicode, inName.unicode + inName.length};
}

class VolumeInfoTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    ~VolumeInfoTest() override { CallsForTesting() = mSaved; }

    static void ScriptSizes(std::uint64_t inBlocks) {
        sBlocks = inBlocks;
        CallsForTesting().statvfs = [](const char*, struct statvfs* outStatus) {
            *outStatus = {};
            outStatus->f_frsize = 4096;
            outStatus->f_blocks = sBlocks;
            outStatus->f_bavail = sBlocks / 4;
            outStatus->f_files = 70;
            outStatus->f_ffree = 30;
            return 0;
        };
    }
    static FSVolumeInfo Get(SInt16 inVolume, FSVolumeInfoBitmap inWhich) {
        FSVolumeInfo info;
        std::memset(&info, 0xEE, sizeof info);
        EXPECT_EQ(noErr, FSGetVolumeInfo(inVolume, 0, nullptr, inWhich, &info, nullptr, nullptr));
        return info;
    }
    SInt16 MountVolume(const std::string& inName) {
        EXPECT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder(inName)));
        return InfoOf(mFolder / inName, kFSCatInfoVolume).volume;
    }

    static inline std::uint64_t sBlocks;
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, VolumeInfoTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(VolumeInfoTest, TheFirst) {
    FSVolumeRefNum number = 0;
    HFSUniStr255 name = {};
    FSRef root = {};
    ASSERT_EQ(noErr,
              FSGetVolumeInfo(kFSInvalidVolumeRefNum, 0, &number, kFSVolInfoNone, nullptr, &name, &root));
    EXPECT_EQ(InfoOf("/", kFSCatInfoVolume).volume, number);
    EXPECT_EQ(u"/", TextOf(name));
    EXPECT_EQ("/", PathOf(root));
    EXPECT_EQ(noErr, FSGetVolumeInfo(-9, 1, &number, kFSVolInfoNone, nullptr, nullptr, nullptr))
        << "the index goes before the number";
    EXPECT_EQ(kFSVolFlagDefaultVolumeMask, Get(number, kFSVolInfoFlags).flags & kFSVolFlagDefaultVolumeMask);
}

TEST_P(VolumeInfoTest, OpenFilesOfThisProcess) {
    const SInt16 number = InfoOf(mFolder.Path(), kFSCatInfoVolume).volume;
    const auto areOpen = [number] {
        return (Get(number, kFSVolInfoFlags).flags & kFSVolFlagFilesOpenMask) != 0;
    };
    toolbox::files::Volume volume;
    ASSERT_EQ(noErr, toolbox::files::GetVolume(number, volume));
    EXPECT_FALSE(areOpen());
    toolbox::files::ForkUse ofAnother;
    ASSERT_EQ(0, ofAnother.Begin({volume.key.device + 1, 5, 0}, false, toolbox::files::ForkAccess::kRead));
    EXPECT_FALSE(areOpen());
    toolbox::files::ForkUse use;
    ASSERT_EQ(0, use.Begin({volume.key.device, 5, 0}, true, toolbox::files::ForkAccess::kRead));
    EXPECT_TRUE(areOpen());
    use.End();
    EXPECT_FALSE(areOpen());
}

TEST_P(VolumeInfoTest, AllByIndex) {
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, toolbox::files::ListVolumes(volumes));
    FSVolumeRefNum number = 1;
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        EXPECT_EQ(noErr, FSGetVolumeInfo(0, i + 1, &number, kFSVolInfoNone, nullptr, nullptr, nullptr));
        EXPECT_EQ(volumes[i], number);
    }
    number = 77;
    FSRef root = {};
    HFSUniStr255 name = {};
    FSVolumeInfo info = {};
    for (const ItemCount index : {static_cast<ItemCount>(volumes.size() + 1), ~ItemCount{0}})
        EXPECT_EQ(nsvErr, FSGetVolumeInfo(0, index, &number, kFSVolInfoGettable, &info, &name, &root));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(-31000, 0, &number, kFSVolInfoGettable, &info, &name, &root));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(77, 0, &number, kFSVolInfoGettable, &info, &name, &root));
    EXPECT_EQ(77, number);
    EXPECT_EQ(0, name.length);
    EXPECT_EQ(0, info.signature);
}

TEST_P(VolumeInfoTest, AnotherVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const SInt16 volume = MountVolume("caf\xC3\xA9");
    FSVolumeRefNum number = 0;
    HFSUniStr255 name = {};
    FSRef root = {};
    FSVolumeInfo info = {};
    ASSERT_EQ(noErr, FSGetVolumeInfo(volume, 0, &number, kFSVolInfoFlags | kFSVolInfoDriveInfo, &info, &name,
                                     &root));
    EXPECT_EQ(volume, number);
    EXPECT_EQ(u"caf\u00E9", TextOf(name)) << "Unicode";
    EXPECT_EQ(mFolder / "caf\xC3\xA9", PathOf(root));
    EXPECT_EQ(0, info.flags);
    EXPECT_EQ(-volume, info.driveNumber);
    ASSERT_EQ(0, mFolder.ForbidWriting(mFolder / "caf\xC3\xA9"));
    EXPECT_EQ(kFSVolFlagSoftwareLockedMask, Get(volume, kFSVolInfoFlags).flags);
    ASSERT_EQ(0, mFolder.Unmount(mFolder / "caf\xC3\xA9"));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(volume, 0, &number, kFSVolInfoNone, nullptr, nullptr, &root));
}

TEST_P(VolumeInfoTest, OnlyWhatIsAskedFor) {
    FSVolumeInfo untouched;
    std::memset(&untouched, 0xEE, sizeof untouched);
    const FSVolumeInfo none = Get(0, kFSVolInfoNone);
    EXPECT_EQ(0, std::memcmp(&untouched, &none, sizeof none));
    struct Part {
        FSVolumeInfoBitmap bit;
        std::size_t offset;
        std::size_t byteCount;
    };
    constexpr Part kParts[] = {
        {kFSVolInfoCreateDate, 0, 8},   {kFSVolInfoModDate, 8, 8},    {kFSVolInfoBackupDate, 16, 8},
        {kFSVolInfoCheckedDate, 24, 8}, {kFSVolInfoFileCount, 32, 4}, {kFSVolInfoDirCount, 36, 4},
        {kFSVolInfoSizes, 40, 16},      {kFSVolInfoBlocks, 56, 12},   {kFSVolInfoNextAlloc, 68, 4},
        {kFSVolInfoRsrcClump, 72, 4},   {kFSVolInfoDataClump, 76, 4}, {kFSVolInfoNextID, 80, 4},
        {kFSVolInfoFinderInfo, 84, 32}, {kFSVolInfoFlags, 116, 2},    {kFSVolInfoFSInfo, 118, 4},
        {kFSVolInfoDriveInfo, 122, 4}};
    FSVolumeInfoBitmap all = 0;
    for (const Part& part : kParts) {
        all |= part.bit;
        const FSVolumeInfo info = Get(0, part.bit);
        const auto* const bytes = reinterpret_cast<const UInt8*>(&info);
        EXPECT_NE(0, std::memcmp(bytes + part.offset, reinterpret_cast<UInt8*>(&untouched) + part.offset,
                                 part.byteCount))
            << part.bit;
        for (std::size_t i = 0; i < sizeof info; ++i) {
            if (i >= part.offset && i < part.offset + part.byteCount) continue;
            ASSERT_EQ(0xEE, bytes[i]) << part.bit << " at " << i;
        }
    }
    EXPECT_EQ(FSVolumeInfoBitmap{kFSVolInfoGettable}, all);
}

TEST_P(VolumeInfoTest, Sizes) {
    ScriptSizes(1000);
    FSVolumeInfo info = Get(0, kFSVolInfoGettable);
    EXPECT_EQ(4096'000U, +info.totalBytes);
    EXPECT_EQ(1024'000U, +info.freeBytes);
    EXPECT_EQ(4096U, +info.blockSize);
    EXPECT_EQ(1000U, +info.totalBlocks);
    EXPECT_EQ(250U, +info.freeBlocks);
    EXPECT_EQ(4096U, +info.rsrcClumpSize);
    EXPECT_EQ(4096U, +info.dataClumpSize);
    EXPECT_EQ(40U, +info.fileCount);
    EXPECT_EQ(0U, +info.folderCount);
    EXPECT_EQ(0x4244, info.signature);
    ScriptSizes(std::uint64_t{1} << 34);
    info = Get(0, kFSVolInfoGettable);
    EXPECT_EQ(std::uint64_t{1} << 46, +info.totalBytes);
    EXPECT_EQ(32768U, +info.blockSize) << "as many as make the count fit";
    EXPECT_EQ(1U << 31, +info.totalBlocks);
    EXPECT_EQ(1U << 29, +info.freeBlocks);
    EXPECT_EQ(32768U, +info.dataClumpSize);
}

TEST_P(VolumeInfoTest, OnlySizesAskTheFileSystem) {
    CallsForTesting().statvfs = [](const char*, struct statvfs*) { return errno = EIO, -1; };
    constexpr FSVolumeInfoBitmap kOfSizes =
        kFSVolInfoFileCount | kFSVolInfoSizes | kFSVolInfoBlocks | kFSVolInfoRsrcClump | kFSVolInfoDataClump;
    (void)Get(0, kFSVolInfoGettable & ~kOfSizes);
    FSVolumeInfo info = {};
    for (FSVolumeInfoBitmap bit = 1; bit != 0x10000; bit <<= 1)
        EXPECT_EQ((bit & kOfSizes) != 0 ? ioErr : noErr,
                  FSGetVolumeInfo(0, 0, nullptr, bit, &info, nullptr, nullptr))
            << bit;
}

TEST_P(VolumeInfoTest, Dates) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const SInt16 volume = MountVolume("volume");
    support::FileWorld::SetTimes(mFolder / "volume", {1'000'000, 0}, {2'000'000, 0});
    FSVolumeInfo info = Get(volume, kFSVolInfoGettable);
    EXPECT_EQ(2'000'000U + 2'082'844'800U, SecondsOf(info.modifyDate));
    EXPECT_GT(SecondsOf(info.createDate), 0U);
    EXPECT_EQ(0U, SecondsOf(info.backupDate));
    EXPECT_EQ(0U, SecondsOf(info.checkedDate));

    toolbox::files::Place root;
    ASSERT_EQ(0, toolbox::files::OpenFolder(mFolder / "volume", root));
    root.name = ".";
    CompanionInfo companion;
    companion.creationSeconds = 100;
    companion.backupSeconds = 200;
    ASSERT_EQ(0, toolbox::files::WriteInfo(root, companion));
    info = Get(volume, kFSVolInfoGettable);
    EXPECT_EQ(kSecondsBefore2000 + 100, SecondsOf(info.createDate)) << "as its root folder's";
    EXPECT_EQ(kSecondsBefore2000 + 200, SecondsOf(info.backupDate));
}

TEST_P(VolumeInfoTest, Parameters) {
    FSVolumeInfo info = {};
    EXPECT_EQ(paramErr, FSGetVolumeInfo(0, 0, nullptr, 0x10000, &info, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSGetVolumeInfo(0, 0, nullptr, kFSVolInfoFlags, nullptr, nullptr, nullptr));
    EXPECT_EQ(noErr, FSGetVolumeInfo(0, 0, nullptr, kFSVolInfoNone, nullptr, nullptr, nullptr));
}

TEST_P(VolumeInfoTest, EveryStepFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        FSVolumeInfo info;
        std::memset(&info, 0xEE, sizeof info);
        const FSVolumeInfo untouched = info;
        FSVolumeRefNum number = 77;
        FSRef root = {};
        HFSUniStr255 name = {};
        OSErr error = 1;
        const bool isDelivered = inUnderFault(
            [&] { error = FSGetVolumeInfo(0, 1, &number, kFSVolInfoGettable, &info, &name, &root); });
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        // What cannot be told of whether a device can be written is left out.
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        if (error == noErr) return;
        EXPECT_EQ(0, std::memcmp(&untouched, &info, sizeof info));
        EXPECT_EQ(77, number);
        EXPECT_EQ(0, name.length);
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        5);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }), 5);
}

}  // namespace

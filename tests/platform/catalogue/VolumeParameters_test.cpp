#include "CatalogTest.h"
#include "catalogue/MountedVolumes.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <toolbox/Volumes.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using toolbox::os::CallsForTesting;

struct statvfs sStatus;

class VolumeParametersTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    VolumeParametersTest() {
        sStatus = {};
        sStatus.f_frsize = 4096;
        sStatus.f_blocks = 1000;
    }
    ~VolumeParametersTest() override { CallsForTesting() = mSaved; }

    static void ScriptStatus() {
        CallsForTesting().statvfs = [](const char*, struct statvfs* outStatus) {
            *outStatus = sStatus;
            return 0;
        };
    }
    // Answers what to read where the kernel tells whether a device can be written, and of mounts.
    void ScriptKernel(const char* inDevice, const std::string& inMounts) {
        CallsForTesting().openat = mSaved.openat;
        sDevice = mFolder.MakeFile("ro", inDevice);
        sMounts = mFolder.MakeFile("mounts", inMounts);
        sSaved = mSaved;
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            const std::string_view path = inPath;
            if (path.starts_with("/sys/")) inPath = sDevice.c_str();
            if (path == "/proc/self/mountinfo") inPath = sMounts.c_str();
            return sSaved.openat(inFolder, inPath, inFlags, inMode);
        };
    }
    HVolumeParam& Get(SInt16 inVolume, SInt16 inIndex = 0) {
        mBlock = {};
        mBlock.volumeParam.ioVRefNum = inVolume;
        mBlock.volumeParam.ioVolIndex = inIndex;
        mError = PBHGetVInfoSync(&mBlock);
        EXPECT_EQ(mError, mBlock.volumeParam.ioResult);
        return mBlock.volumeParam;
    }

    static inline std::string sDevice;
    static inline std::string sMounts;
    static inline toolbox::os::SystemCalls sSaved;
    HParamBlockRec mBlock = {};
    OSErr mError = 1;
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, VolumeParametersTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(VolumeParametersTest, OfAnItem) {
    const SInt16 volume = InfoOf(mFolder.Path(), kFSCatInfoVolume).volume;
    EXPECT_EQ(volume, Get(volume).ioVRefNum);
    EXPECT_EQ(noErr, mError);
    EXPECT_EQ(0x4244, mBlock.volumeParam.ioVSigWord);
    EXPECT_GT(mBlock.volumeParam.ioVNmAlBlks, 0);
    EXPECT_GT(+mBlock.volumeParam.ioVAlBlkSiz, 0U);
    EXPECT_EQ(+mBlock.volumeParam.ioVAlBlkSiz, +mBlock.volumeParam.ioVClpSiz);
}

TEST_P(VolumeParametersTest, TheFirst) {
    const SInt16 first = InfoOf("/", kFSCatInfoVolume).volume;
    EXPECT_EQ(first, Get(0).ioVRefNum);
    EXPECT_EQ(first, Get(-9, 1).ioVRefNum) << "the index goes before the number";
    Str255 name = {};
    mBlock.volumeParam.ioNamePtr = name;
    EXPECT_EQ(noErr, PBHGetVInfoSync(&mBlock));
    EXPECT_EQ(0, std::memcmp("\1/", name, 2));
}

TEST_P(VolumeParametersTest, AllByIndex) {
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, toolbox::files::ListVolumes(volumes));
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        EXPECT_EQ(volumes[i], Get(0, static_cast<SInt16>(i + 1)).ioVRefNum);
        EXPECT_EQ(noErr, mError);
    }
    Get(0, static_cast<SInt16>(volumes.size() + 1));
    EXPECT_EQ(nsvErr, mError);
    Get(0, 32767);
    EXPECT_EQ(nsvErr, mError);
}

TEST_P(VolumeParametersTest, Locks) {
    toolbox::os::ItemStatus root;
    ASSERT_EQ(0, toolbox::os::GetPathStatus("/", root));
    const std::string mount = std::to_string(root.mount) + " 1 8:1 / / ";
    ScriptKernel("0\n", mount + "rw - ext4 /dev/a rw");
    EXPECT_EQ(0, Get(0).ioVAtrb);
    ScriptKernel("0\n", mount + "ro - ext4 /dev/a rw");
    EXPECT_EQ(0x8000, static_cast<UInt16>(Get(0).ioVAtrb)) << "by software";
    ScriptKernel("1\n", mount + "ro - ext4 /dev/a rw");
    EXPECT_EQ(0x8080, static_cast<UInt16>(Get(0).ioVAtrb)) << "and hardware";
    ScriptKernel("1\n", mount + "rw - ext4 /dev/a rw");
    EXPECT_EQ(0x0080, Get(0).ioVAtrb);
}

TEST_P(VolumeParametersTest, Blocks) {
    struct Row {
        unsigned long blockBytes;
        unsigned long blocks;
        unsigned long freeBlocks;
        UInt32 expectedBytes;
        unsigned expectedBlocks;
        unsigned expectedFree;
    };
    constexpr Row kRows[] = {
        {4096, 1000, 800, 4096, 1000, 800},
        {4096, 65535, 65535, 4096, 65535, 65535},
        {4096, 65536, 1001, 8192, 32768, 500},
        {4096, 1UL << 28, 1UL << 27, 4096 << 13, 32768, 16384},
        {4096, 1UL << 40, 1UL << 40, 1U << 31, 65535, 65535},  // more than can be told
        {512, 0, 0, 512, 0, 0},
    };
    ScriptStatus();
    for (const Row& row : kRows) {
        sStatus.f_frsize = row.blockBytes;
        sStatus.f_blocks = row.blocks;
        sStatus.f_bavail = row.freeBlocks;
        const HVolumeParam& block = Get(0);
        EXPECT_EQ(row.expectedBytes, +block.ioVAlBlkSiz) << row.blocks;
        EXPECT_EQ(row.expectedBlocks, block.ioVNmAlBlks) << row.blocks;
        EXPECT_EQ(row.expectedFree, block.ioVFrBlk) << row.blocks;
    }
}

TEST_P(VolumeParametersTest, ItemCount) {
    ScriptStatus();
    sStatus.f_files = 70;
    sStatus.f_ffree = 30;
    EXPECT_EQ(40U, +Get(0).ioVFilCnt);
    sStatus.f_files = 1UL << 40;
    EXPECT_EQ(0xFFFFFFFF, +Get(0).ioVFilCnt);
}

TEST_P(VolumeParametersTest, NoSuchVolume) {
    for (const SInt16 number : {-31000, 1, 32767}) {
        mBlock = {};
        std::memset(&mBlock, 0xEE, sizeof mBlock);
        mBlock.volumeParam.ioVRefNum = number;
        mBlock.volumeParam.ioVolIndex = 0;
        HParamBlockRec untouched = mBlock;
        EXPECT_EQ(nsvErr, PBHGetVInfoSync(&mBlock));
        untouched.volumeParam.ioResult = nsvErr;
        EXPECT_EQ(0, std::memcmp(&untouched, &mBlock, sizeof mBlock));
    }
    EXPECT_EQ(paramErr, PBHGetVInfoSync(nullptr));
}

TEST_P(VolumeParametersTest, CallsFail) {
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        bool delivered = false;
        {
            const FailingCalls failure(failing, EIO, FailingCalls::kForever);
            Get(0, 1);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_TRUE(mError == noErr || mError == ioErr) << failing << ": " << mError;
        if (!delivered) {
            EXPECT_EQ(noErr, mError);
            break;
        }
    }
}

TEST_P(VolumeParametersTest, MemoryFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        mBlock = {};
        mBlock.volumeParam.ioVolIndex = 1;
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = PBHGetVInfoSync(&mBlock);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        if (!delivered) break;
    }
}

}  // namespace

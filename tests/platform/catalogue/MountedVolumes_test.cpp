#include "catalogue/MountedVolumes.h"

#include "catalogue/Volumes.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::FailingCalls;
using Folders = std::vector<std::string>;

TEST(MountFolders, Table) {
    EXPECT_EQ(Folders(), MountFolders(""));
    EXPECT_EQ((Folders{"/", "/proc", "/with space\\and\ttab\n"}),
              MountFolders("22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                           "23 22 0:5 / /proc rw - proc proc rw\n"
                           "24 22 8:2 / /with\\040space\\134and\\011tab\\012 rw - ext4 /dev/sda2 rw"));
}

TEST(MountFolders, WhatMakesNoSense) {
    EXPECT_EQ(Folders(), MountFolders("\n\n1 2 3 4\nwords but no folder here\n"));
    EXPECT_EQ((Folders{"/\\04", "/\\999", "/\\"}),
              MountFolders("1 2 3 4 /\\04\n1 2 3 4 /\\999\n1 2 3 4 /\\"));
}

class MountedVolumesTest : public support::FileWorldTest {
  protected:
    ~MountedVolumesTest() override { CallsForTesting() = mSaved; }

    SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, MountedVolumesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(MountedVolumesTest, TheFirstIsTheRootFolders) {
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, ListVolumes(volumes));
    ASSERT_FALSE(volumes.empty());
    EXPECT_EQ(kBootVolume, volumes[0]);
    std::vector<SInt16> sorted = volumes;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted.end(), std::adjacent_find(sorted.begin(), sorted.end())) << "none is twice";
    for (const SInt16 number : volumes) {
        Volume volume;
        EXPECT_EQ(noErr, GetVolume(number, volume)) << number;
        EXPECT_NE("/proc", volume.rootPath);
        EXPECT_NE("/sys", volume.rootPath);
        VolumeFacts facts;
        EXPECT_EQ(noErr, GetVolumeFacts(number, facts)) << volume.rootPath;
        EXPECT_GT(facts.blockCount, 0U) << volume.rootPath;
        EXPECT_LE(facts.freeBlockCount, facts.blockCount);
    }
}

TEST_P(MountedVolumesTest, Facts) {
    CallsForTesting().statvfs = [](const char* inPath, struct statvfs* outStatus) {
        EXPECT_STREQ("/", inPath);
        *outStatus = {};
        outStatus->f_frsize = 4096;
        outStatus->f_blocks = 1000;
        outStatus->f_bfree = 900;
        outStatus->f_bavail = 800;
        outStatus->f_files = 70;
        outStatus->f_ffree = 30;
        outStatus->f_flag = ST_RDONLY;
        return 0;
    };
    VolumeFacts facts;
    ASSERT_EQ(noErr, GetVolumeFacts(0, facts));
    EXPECT_EQ(4096U, facts.blockBytes);
    EXPECT_EQ(1000U, facts.blockCount);
    EXPECT_EQ(800U, facts.freeBlockCount) << "what is kept for the administrator does not count";
    EXPECT_EQ(40U, facts.itemCount);
    EXPECT_TRUE(facts.isReadOnly);
}

TEST_P(MountedVolumesTest, ReadOnlyDevice) {
    static std::string sFile, sAsked;
    static SystemCalls sReal;
    sReal = Calls();
    for (const char* const contents : {"1\n", "0\n", ""}) {
        sFile = mFolder.MakeFile("ro", contents);
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            sAsked = inPath;
            return sReal.openat(inFolder, sFile.c_str(), inFlags, inMode);
        };
        VolumeFacts facts;
        EXPECT_EQ(noErr, GetVolumeFacts(0, facts));
        CallsForTesting() = sReal;
        EXPECT_EQ(contents[0] == '1', facts.isDeviceReadOnly);
        EXPECT_EQ(0U, sAsked.find("/sys/dev/block/"));
    }
}

TEST_P(MountedVolumesTest, NoSuchVolume) {
    VolumeFacts facts;
    EXPECT_EQ(nsvErr, GetVolumeFacts(1, facts));
    EXPECT_EQ(nsvErr, GetVolumeFacts(-31000, facts));
}

TEST_P(MountedVolumesTest, EveryCallFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        std::vector<SInt16> volumes;
        VolumeFacts facts;
        bool delivered = false;
        OSStatus status = noErr;
        OSStatus factsStatus = noErr;
        {
            const FailingCalls failure(failing, EIO, FailingCalls::kForever);
            status = ListVolumes(volumes);
            factsStatus = GetVolumeFacts(0, facts);
            delivered = failure.Delivered();
        }
        EXPECT_TRUE(status == noErr || status == ioErr) << failing;
        EXPECT_TRUE(factsStatus == noErr || factsStatus == ioErr) << failing;
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        if (!delivered) {
            EXPECT_EQ(noErr, status);
            EXPECT_EQ(noErr, factsStatus);
            break;
        }
    }
}

TEST_P(MountedVolumesTest, ReadsAreRepeated) {
    static int sReads;
    static SystemCalls sReal;
    sReads = 0;
    sReal = Calls();
    CallsForTesting().pread = [](int inDescriptor, void* outBytes, std::size_t inByteCount,
                                 off_t inOffset) -> ssize_t {
        if (++sReads % 2 == 1) return errno = EINTR, -1;
        return sReal.pread(inDescriptor, outBytes, std::min<std::size_t>(inByteCount, 100), inOffset);
    };
    std::vector<SInt16> some;
    ASSERT_EQ(noErr, ListVolumes(some));
    CallsForTesting() = mSaved;
    std::vector<SInt16> all;
    ASSERT_EQ(noErr, ListVolumes(all));
    EXPECT_EQ(all, some);
}

}  // namespace

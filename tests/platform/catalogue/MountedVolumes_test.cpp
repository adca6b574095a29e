#include "catalogue/MountedVolumes.h"

#include "catalogue/Volumes.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <toolbox/MacErrors.h>
#include <toolbox/VolumeInfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::FailingCalls;

class MountedVolumesTest : public support::FileWorldTest {
  protected:
    ~MountedVolumesTest() override { CallsForTesting() = mSaved; }

    static OSStatus GetFirstSizes(VolumeSizes& outSizes) {
        Volume volume;
        const OSStatus status = GetVolume(kBootVolume, volume);
        return status == noErr ? GetVolumeSizes(volume, outSizes) : status;
    }
    static OSStatus GetFirstLocks(VolumeLocks& outLocks) {
        Volume volume;
        const OSStatus status = GetVolume(kBootVolume, volume);
        return status == noErr ? GetVolumeLocks(volume, outLocks) : status;
    }
    // Answers this where the kernel tells of mounts and devices.
    void ScriptFile(const char* inContents) {
        CallsForTesting().openat = mSaved.openat;
        sFile = mFolder.MakeFile("script", inContents);
        sSaved = mSaved;
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            const bool isKernels = std::string_view(inPath).starts_with(sScripted);
            return sSaved.openat(inFolder, isKernels ? sFile.c_str() : inPath, inFlags, inMode);
        };
    }

    static inline std::string sFile;
    static inline std::string_view sScripted;
    static inline SystemCalls sSaved;
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
        VolumeSizes sizes;
        EXPECT_EQ(noErr, GetVolumeSizes(volume, sizes)) << volume.rootPath;
        EXPECT_LE(sizes.freeBlockCount, sizes.blockCount);
    }
}

TEST_P(MountedVolumesTest, AListingAsksNoFileSystemForItsSizes) {
    CallsForTesting().statvfs = [](const char* inPath, struct statvfs*) {
        ADD_FAILURE() << inPath;
        return errno = EIO, -1;
    };
    std::vector<SInt16> volumes;
    EXPECT_EQ(noErr, ListVolumes(volumes));
}

// A server that does not answer would hold whoever looks.
TEST_P(MountedVolumesTest, AListingLooksAtNoServer) {
    sScripted = "/proc/self/mountinfo";
    ScriptFile(
        "900 1 0:99 / /server rw - nfs4 server:/a rw\n"
        "901 1 0:97 / /server/deeper rw - cifs //server/b rw\n"
        "902 1 0:98 / /servers rw - nfs server:/c rw\n"
        "903 1 0:96 / /server rw - nfs4 server:/over/both rw\n");
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        EXPECT_FALSE(std::string_view(inPath).starts_with("/server")) << inPath;
        return sSaved.statx(inFolder, inPath, inFlags, inMask, outStatus);
    };
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, ListVolumes(volumes));
    EXPECT_EQ(3U, volumes.size()) << "two of them cannot be reached";
    std::vector<SInt16> again;
    ASSERT_EQ(noErr, ListVolumes(again));
    EXPECT_EQ(volumes, again);
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        EXPECT_TRUE((inFlags & AT_STATX_DONT_SYNC) != 0) << inPath;
        return sSaved.statx(inFolder, inPath, inFlags, inMask, outStatus);
    };
    Volume volume;
    EXPECT_EQ(nsvErr, GetVolume(volumes[1], volume)) << "there is no such folder";
    const auto getRoot = [](SInt16 inNumber, ItemCount inIndex) {
        FSRef root = {};
        return FSGetVolumeInfo(inNumber, inIndex, nullptr, kFSVolInfoNone, nullptr, nullptr, &root);
    };
    EXPECT_EQ(nsvErr, getRoot(volumes[1], 0));
    EXPECT_EQ(dirNFErr, getRoot(0, 2)) << "which is not the end of all";
    EXPECT_EQ(dirNFErr, getRoot(0, 3));
    EXPECT_EQ(nsvErr, getRoot(0, 4));
}

TEST_P(MountedVolumesTest, NoDeviceIsLookedAtWithoutAMount) {
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(kBootVolume, volume));
    CallsForTesting().openat = [](int, const char* inPath, int, mode_t) {
        EXPECT_STREQ("/proc/self/mountinfo", inPath);
        return errno = EIO, -1;
    };
    VolumeLocks locks;
    EXPECT_EQ(ioErr, GetVolumeLocks(volume, locks));
}

TEST_P(MountedVolumesTest, WhatTheKernelMakesUpIsNotCounted) {
    MountEntry mount;
    for (const char* const type : {"proc", "sysfs", "cgroup2", "autofs", "devpts"}) {
        mount.type = type;
        EXPECT_FALSE(HoldsData(mount)) << type;
    }
    for (const char* const type : {"ext4", "tmpfs", "nfs4", "fuse.sshfs", "overlay", "memory", ""}) {
        mount.type = type;
        EXPECT_TRUE(HoldsData(mount)) << type;
    }
}

TEST_P(MountedVolumesTest, AMountedVolumeIsListed) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    std::vector<SInt16> before;
    ASSERT_EQ(noErr, ListVolumes(before));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    std::vector<SInt16> after;
    ASSERT_EQ(noErr, ListVolumes(after));
    ASSERT_EQ(before.size() + 1, after.size());
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(after.back(), volume));
    EXPECT_EQ(mFolder / "volume", volume.rootPath);
}

TEST_P(MountedVolumesTest, Choosing) {
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, ListVolumes(volumes));
    SInt16 number = 1;
    EXPECT_EQ(noErr, ChooseVolume(0, 0, number));
    EXPECT_EQ(kBootVolume, number);
    EXPECT_EQ(noErr, ChooseVolume(-7, 0, number));
    EXPECT_EQ(-7, number) << "whether it is there is not looked at";
    EXPECT_EQ(noErr, ChooseVolume(-7, volumes.size(), number));
    EXPECT_EQ(volumes.back(), number) << "the index goes before the number";
    EXPECT_EQ(nsvErr, ChooseVolume(0, volumes.size() + 1, number));
    EXPECT_EQ(nsvErr, ChooseVolume(0, SIZE_MAX, number));
}

TEST_P(MountedVolumesTest, Sizes) {
    CallsForTesting().statvfs = [](const char* inPath, struct statvfs* outStatus) {
        EXPECT_STREQ("/", inPath);
        *outStatus = {};
        outStatus->f_frsize = 4096;
        outStatus->f_blocks = 1000;
        outStatus->f_bfree = 900;
        outStatus->f_bavail = 800;
        outStatus->f_files = 70;
        outStatus->f_ffree = 30;
        return 0;
    };
    VolumeSizes sizes;
    ASSERT_EQ(noErr, GetFirstSizes(sizes));
    EXPECT_EQ(4096U, sizes.blockBytes);
    EXPECT_EQ(1000U, sizes.blockCount);
    EXPECT_EQ(800U, sizes.freeBlockCount) << "what is kept for the administrator does not count";
    EXPECT_EQ(40U, sizes.itemCount);
}

TEST_P(MountedVolumesTest, ReadOnlyDevice) {
    sScripted = "/sys/dev/block/";
    for (const char* const contents : {"1\n", "0\n", ""}) {
        ScriptFile(contents);
        VolumeLocks locks;
        EXPECT_EQ(noErr, GetFirstLocks(locks));
        EXPECT_EQ(contents[0] == '1', locks.isDeviceReadOnly);
    }
}

TEST_P(MountedVolumesTest, ReadOnlyMount) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    std::vector<SInt16> volumes;
    ASSERT_EQ(noErr, ListVolumes(volumes));
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(volumes.back(), volume));
    CallsForTesting().statvfs = [](const char*, struct statvfs*) {
        ADD_FAILURE() << "the table of mounts tells it";
        return errno = EIO, -1;
    };
    VolumeLocks locks;
    ASSERT_EQ(noErr, GetVolumeLocks(volume, locks));
    EXPECT_FALSE(locks.isReadOnly);
    ASSERT_EQ(0, mFolder.ForbidWriting(mFolder / "volume"));
    ASSERT_EQ(noErr, GetVolumeLocks(volume, locks));
    EXPECT_TRUE(locks.isReadOnly);
}

TEST_P(MountedVolumesTest, ReadOnlyFileSystem) {
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(kBootVolume, volume));
    const std::string mount = std::to_string(volume.key.mount) + " 1 8:1 / / rw,relatime - ext4 /dev/a ";
    sScripted = "/proc/self/mountinfo";
    VolumeLocks locks;
    for (const char* const options : {"rw,errors=remount-ro", "rw", "ro", "data=ordered,ro"}) {
        ScriptFile((mount + options).c_str());
        ASSERT_EQ(noErr, GetFirstLocks(locks));
        EXPECT_EQ(std::string_view(options).ends_with("ro") && options[1] != 'w', locks.isReadOnly)
            << options;
    }
}

TEST_P(MountedVolumesTest, WhereTheTableHidesAMountItsFileSystemTellsOfLocks) {
    sScripted = "/proc/self/mountinfo";
    ScriptFile("");
    for (const unsigned long flags : {0UL, static_cast<unsigned long>(ST_RDONLY)}) {
        static unsigned long sFlags;
        sFlags = flags;
        CallsForTesting().statvfs = [](const char*, struct statvfs* outStatus) {
            *outStatus = {};
            outStatus->f_flag = sFlags;
            return 0;
        };
        VolumeLocks locks;
        ASSERT_EQ(noErr, GetFirstLocks(locks));
        EXPECT_EQ(flags != 0, locks.isReadOnly);
    }
}

TEST_P(MountedVolumesTest, EveryCallFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        std::vector<SInt16> volumes;
        VolumeSizes sizes;
        VolumeLocks locks;
        bool delivered = false;
        OSStatus status = noErr;
        OSStatus sizesStatus = noErr;
        OSStatus locksStatus = noErr;
        {
            const FailingCalls failure(failing, EIO, FailingCalls::kForever);
            status = ListVolumes(volumes);
            sizesStatus = GetFirstSizes(sizes);
            locksStatus = GetFirstLocks(locks);
            delivered = failure.Delivered();
        }
        EXPECT_TRUE(status == noErr || status == ioErr) << failing;
        EXPECT_TRUE(sizesStatus == noErr || sizesStatus == ioErr) << failing;
        EXPECT_TRUE(locksStatus == noErr || locksStatus == ioErr) << failing;
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        if (!delivered) {
            EXPECT_EQ(noErr, status);
            EXPECT_EQ(noErr, sizesStatus);
            EXPECT_EQ(noErr, locksStatus);
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

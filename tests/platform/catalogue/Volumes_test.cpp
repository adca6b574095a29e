#include "catalogue/Volumes.h"

#include "CatalogTest.h"
#include "ChangedStatus.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

using namespace toolbox::files;
using test_files::ChangedStatus;
using test_files::FailingCalls;
using test_files::OldKernel;

namespace {

FoundItem ItemAt(const std::string& inPath) {
    FoundItem item;
    EXPECT_EQ(noErr, FindByPath(inPath.c_str(), item)) << inPath;
    return item;
}
SInt16 NumberOf(const std::string& inPath) {
    SInt16 number = 0;
    EXPECT_EQ(noErr, GetVolumeNumber(ItemAt(inPath), number)) << inPath;
    return number;
}

}  // namespace

class VolumesTest : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, VolumesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(VolumesTest, TheRootFoldersIsTheFirst) {
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(kBootVolume, volume));
    EXPECT_EQ("/", volume.rootPath);
    EXPECT_EQ(ItemAt("/").status.Volume(), volume.key);
    EXPECT_EQ(kBootVolume, NumberOf("/"));
}

TEST_P(VolumesTest, EachMountHasItsNumber) {
    const SInt16 number = NumberOf("/proc/self");
    EXPECT_LT(number, kBootVolume);
    EXPECT_EQ(number, NumberOf("/proc"));
    EXPECT_EQ(number, NumberOf("/proc/self/fd"));
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(number, volume));
    EXPECT_EQ("/proc", volume.rootPath);
    EXPECT_EQ(ItemAt("/proc").status.Volume(), volume.key);
}

TEST_P(VolumesTest, ItemsOfOneFolderAreOnOneVolume) {
    EXPECT_EQ(NumberOf(mFolder.MakeFile("a")), NumberOf(mFolder.MakeFolder("b")));
}

TEST_P(VolumesTest, NumbersThatNoVolumeHas) {
    Volume volume;
    for (const SInt16 number : {0, 1, 32767, -31000, -32768})
        EXPECT_EQ(nsvErr, GetVolume(number, volume)) << number;
}

TEST_P(VolumesTest, FailingCallsAreTold) {
    Volume volume;
    SInt16 number = 0;
    const FoundItem item = ItemAt("/proc");
    NumberOf("/proc");
    {
        const FailingCalls calls(1, EIO, FailingCalls::kForever);
        EXPECT_EQ(ioErr, GetVolume(kBootVolume, volume));
        EXPECT_EQ(ioErr, GetVolumeNumber(item, number));
    }
    const SInt16 procNumber = NumberOf("/proc");
    const FailingCalls calls(1, ENOENT);
    EXPECT_EQ(nsvErr, GetVolume(procNumber, volume)) << "mounted there no more";
}

TEST_P(VolumesTest, WhereStatusTellsNoMountsTheDescriptorDoes) {
    FoundItem known = ItemAt(mFolder.Path());
    toolbox::os::VolumeKey key;
    ASSERT_EQ(noErr, GetVolumeKey(known, key));
    const std::size_t descriptors = test_files::OpenDescriptorCount();
    const OldKernel old;
    known = ItemAt(mFolder.Path());
    toolbox::os::VolumeKey oldKey;
    ASSERT_EQ(noErr, GetVolumeKey(known, oldKey));
    EXPECT_EQ(key, oldKey);
    EXPECT_NE(0U, oldKey.mount);
    EXPECT_EQ(descriptors, test_files::OpenDescriptorCount());
    Place place;
    ASSERT_EQ(0, OpenFolder(mFolder.Path(), place));
    EXPECT_EQ(key, place.folderStatus.Volume());
    EXPECT_EQ(NumberOf(mFolder.MakeFile("a")), NumberOf(mFolder.Path()));
}

TEST_P(VolumesTest, WhereTheKernelTellsNoMountsTheDeviceCounts) {
    const OldKernel old;
    static decltype(toolbox::os::SystemCalls::openat) sOpen;
    sOpen = toolbox::os::CallsForTesting().openat;
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        if (std::string_view(inPath).find("/fdinfo/") != std::string_view::npos) return errno = ENOENT, -1;
        return sOpen(inFolder, inPath, inFlags, inMode);
    };
    const SInt16 number = NumberOf("/proc/self");
    EXPECT_EQ(number, NumberOf("/proc"));
    EXPECT_NE(number, NumberOf("/"));
    EXPECT_EQ(NumberOf(mFolder.MakeFile("a")), NumberOf(mFolder.Path()));
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(number, volume));
    EXPECT_EQ("/proc", volume.rootPath);
    EXPECT_EQ(0U, volume.key.mount);
}

// Where layers are united, a file may have the device of its layer.
TEST_P(VolumesTest, AFileIsOnItsFoldersVolumeWhateverItsDevice) {
    const ChangedStatus layers([](const char*, struct statx& ioStatus) {
        if (S_ISREG(ioStatus.stx_mode)) ioStatus.stx_dev_minor += 1000;
    });
    EXPECT_EQ(NumberOf(mFolder.Path()), NumberOf(mFolder.MakeFile("a")));
}

// As subvolumes are.
TEST_P(VolumesTest, AFolderThatIsADeviceOfItsOwnIsAVolume) {
    static std::string sPart;
    sPart = mFolder.MakeFolder("part");
    mFolder.MakeFile("part/a");
    const ChangedStatus parts([](const char* inPath, struct statx& ioStatus) {
        if ((std::string(inPath) + '/').starts_with(sPart + '/')) ioStatus.stx_dev_minor += 1000;
    });
    EXPECT_NE(NumberOf(mFolder.Path()), NumberOf(sPart));
    EXPECT_EQ(NumberOf(sPart), NumberOf(sPart + "/a"));
    EXPECT_EQ(kRootID, ItemAt(sPart).facts.nodeID);
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(NumberOf(sPart), volume));
    EXPECT_EQ(sPart, volume.rootPath);
}

// A way up that does not answer tells nothing of where a volume begins, so nothing is remembered of it.
TEST_P(VolumesTest, AVolumeWhoseRootCannotBeFoundIsNoNewOne) {
    static unsigned sDistance = 2000;
    ++sDistance;  // a device that was not met yet
    const std::string inner = mFolder.MakeFolder("part/inner");
    const ChangedStatus parts([](const char* inPath, struct statx& ioStatus) {
        if (std::string(inPath).find("/part") != std::string::npos) ioStatus.stx_dev_minor += sDistance;
    });
    const FoundItem item = ItemAt(inner);
    SInt16 number = 0;
    for (int failing = 1;; ++failing) {
        const FailingCalls calls(failing, EIO);
        const OSStatus status = GetVolumeNumber(item, number);
        if (!calls.Delivered()) break;
        EXPECT_EQ(ioErr, status) << failing;
    }
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(number, volume));
    EXPECT_EQ(mFolder / "part", volume.rootPath);
}

class Mounts : public test_files::CatalogItemsTest<support::FileWorldTest> {
  protected:
    void SetUp() override {
        if (!mFolder.MayMount()) GTEST_SKIP() << "nothing can be mounted by this user on this machine";
    }
    static FSCatalogInfo Info(const std::string& inPath) {
        return InfoOf(inPath, kFSCatInfoVolume | kFSCatInfoNodeID | kFSCatInfoParentDirID);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, Mounts, support::BothWorlds(), support::NameOfWorld);

TEST_P(Mounts, AFolderMountedTwiceIsTwoVolumes) {
    const std::string there = mFolder.MakeFolder("there");
    const std::string here = mFolder.MakeFolder("here");
    mFolder.MakeFile("there/a");
    ASSERT_EQ(0, mFolder.MountFolder(there, here));
    EXPECT_EQ(Info(mFolder.Path()).volume, Info(there + "/a").volume);
    const FSCatalogInfo root = Info(here);
    EXPECT_NE(Info(mFolder.Path()).volume, root.volume);
    EXPECT_EQ(kRootID, root.nodeID);
    EXPECT_EQ(kRootParentID, root.parentDirID);
    EXPECT_EQ(root.volume, Info(here + "/a").volume);
    EXPECT_EQ(kRootID, Info(here + "/a").parentDirID);
    const FSRef ref = RefOf(here);
    FSRef parent = {};
    FSSpec spec = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, &parent));
    EXPECT_EQ(fsRtParID, +spec.parID);
    for (const UInt8 byte : parent.hidden)
        EXPECT_EQ(0, byte) << "nobody climbs out of a volume";
    EXPECT_EQ(here, PathOfSpec(spec));
    EXPECT_EQ(here + "/a", PathOfSpec(SpecOf(here + "/a")));
    ASSERT_EQ(0, mFolder.Unmount(here));
    EXPECT_EQ("status -35", PathOfSpec(spec));
}

TEST_P(Mounts, AnotherVolumesRoot) {
    const std::string disk = mFolder.MakeFolder("disk");
    ASSERT_EQ(0, mFolder.MountVolume(disk));
    const FSCatalogInfo root = Info(disk);
    EXPECT_NE(Info(mFolder.Path()).volume, root.volume);
    EXPECT_EQ(kRootID, root.nodeID);
    EXPECT_EQ(kRootParentID, root.parentDirID);
    EXPECT_EQ(disk, PathOfSpec(Here("disk"))) << "by the folder that it covers, too";
    EXPECT_EQ(root.volume, Info(mFolder.MakeFile("disk/a")).volume);
}

// What the files in memory do not do.
class RealMounts : public Mounts {};
INSTANTIATE_TEST_SUITE_P(Worlds, RealMounts, testing::Values(support::FileWorld::kReal),
                         support::NameOfWorld);

TEST_P(RealMounts, AVolumeThatIsMountedElsewhereKeepsItsNumber) {
    const std::string before = mFolder.MakeFolder("before");
    const std::string after = mFolder.MakeFolder("after");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder.MakeFolder("there"), before));
    const SInt16 number = Info(before).volume;
    ASSERT_EQ(0, mount(before.c_str(), after.c_str(), nullptr, MS_MOVE, nullptr));
    EXPECT_EQ(number, Info(after).volume);
    Volume volume;
    EXPECT_EQ(noErr, GetVolume(number, volume));
    EXPECT_EQ(after, volume.rootPath);
    ASSERT_EQ(0, mount(after.c_str(), before.c_str(), nullptr, MS_MOVE, nullptr));
}

TEST_P(RealMounts, AFileMountedAloneIsOnItsFoldersVolume) {
    const std::string covered = mFolder.MakeFile("covered");
    ASSERT_EQ(0, mFolder.MountFolder("/proc/version", covered));
    EXPECT_EQ(Info(mFolder.Path()).volume, Info(covered).volume);
    EXPECT_EQ(Info(mFolder.Path()).nodeID, Info(covered).parentDirID);
    EXPECT_EQ(covered, PathOfSpec(SpecOf(covered)));
}

#include "catalogue/MountTable.h"

#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>
#include <toolbox/MacErrors.h>

#include <string>
#include <vector>

namespace {

using namespace toolbox::files;
using toolbox::os::CallsForTesting;

std::vector<std::string> FoldersIn(std::string_view inTable) {
    std::vector<std::string> folders;
    for (const MountEntry& mount : MountsIn(inTable))
        folders.push_back(mount.folder);
    return folders;
}

TEST(MountsIn, Words) {
    const std::vector<MountEntry> mounts = MountsIn(
        "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw,errors=remount-ro\n"
        "23 22 0:5 /in\\040it /with\\040space\\134and\\011tab\\012 ro master:2 other - tmpfs a\\040b ro");
    ASSERT_EQ(2U, mounts.size());
    EXPECT_EQ(22U, mounts[0].mount);
    EXPECT_EQ(makedev(8, 1), mounts[0].device);
    EXPECT_EQ(makedev(0, 5), mounts[1].device);
    EXPECT_EQ("/", mounts[0].rootInside);
    EXPECT_EQ("/", mounts[0].folder);
    EXPECT_EQ("rw,relatime", mounts[0].options);
    EXPECT_EQ("ext4", mounts[0].type);
    EXPECT_EQ("/dev/sda1", mounts[0].source);
    EXPECT_EQ("rw,errors=remount-ro", mounts[0].superOptions);
    EXPECT_EQ("/in it", mounts[1].rootInside);
    EXPECT_EQ("/with space\\and\ttab\n", mounts[1].folder);
    EXPECT_EQ("ro", mounts[1].options);
    EXPECT_EQ("tmpfs", mounts[1].type);
    EXPECT_EQ("a b", mounts[1].source);
    EXPECT_EQ("ro", mounts[1].superOptions);
}

TEST(MountsIn, WhatMakesNoSense) {
    const std::vector<std::string> none;
    EXPECT_EQ(none, FoldersIn(""));
    EXPECT_EQ(none, FoldersIn("\n\n1 2 3 4\nwords but no folder here - a b c\n"));
    EXPECT_EQ(none, FoldersIn("1 2 3:4 / /a rw - ext4 source\n1 2 3:4 / /a rw ext4 source rw\n"
                              "x 2 3:4 / /a rw - ext4 source rw\n1 2 3:4 / a rw - ext4 source rw"));
    EXPECT_EQ((std::vector<std::string>{"/\\04", "/\\999", "/\\"}),
              FoldersIn("1 2 3 4 /\\04 rw - a b c\n1 2 3 4 /\\999 rw - a b c\n1 2 3 4 /\\ rw - a b c"));
}

TEST(HasOption, WholeWords) {
    EXPECT_TRUE(HasOption("rw,nosuid", "rw"));
    EXPECT_TRUE(HasOption("nosuid,ro", "ro"));
    EXPECT_TRUE(HasOption("ro", "ro"));
    EXPECT_FALSE(HasOption("rw,errors=remount-ro", "ro"));
    EXPECT_FALSE(HasOption("", "ro"));
}

class MountTableTest : public support::FileWorldTest {
  protected:
    ~MountTableTest() override { CallsForTesting() = mSaved; }

    toolbox::os::SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, MountTableTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(MountTableTest, OfAVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const std::string path = mFolder.MakeFolder("a b");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    Volume volume;
    volume.rootPath = path;
    toolbox::os::ItemStatus status;
    ASSERT_EQ(0, toolbox::os::GetPathStatus(path.c_str(), status));
    volume.key = status.Volume();
    MountEntry mount;
    ASSERT_EQ(noErr, FindMount(volume, mount));
    EXPECT_EQ(path, mount.folder);
    EXPECT_EQ(mFolder.Memory() != nullptr ? "memory" : "tmpfs", mount.type);

    volume.key.mount = 0;
    ASSERT_EQ(noErr, FindMount(volume, mount))
        << "where the kernel tells no mounts of an item, the folder does";
    EXPECT_EQ(path, mount.folder);
    volume.rootPath = "/nowhere";
    EXPECT_EQ(nsvErr, FindMount(volume, mount));
    volume.key.mount = 999'999'999;
    volume.rootPath = path;
    EXPECT_EQ(nsvErr, FindMount(volume, mount));
}

TEST_P(MountTableTest, EveryCallFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        std::vector<MountEntry> mounts;
        OSStatus status = noErr;
        bool delivered = false;
        {
            const test_files::FailingCalls failure(failing, EIO, test_files::FailingCalls::kForever);
            status = ReadMounts(mounts);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        if (!delivered) {
            EXPECT_EQ(noErr, status);
            EXPECT_FALSE(mounts.empty());
            break;
        }
        // The last is a close, of what was only read.
        EXPECT_TRUE(status == ioErr || (status == noErr && !mounts.empty())) << failing;
    }
}

}  // namespace

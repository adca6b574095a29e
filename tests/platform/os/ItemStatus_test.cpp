#include "os/ItemStatus.h"

#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace toolbox::os;
using test_files::TemporaryFolder;

TEST(ItemIdentity, SameItem) {
    const ItemIdentity item{1, 2, 3};
    EXPECT_TRUE(item.IsSameItem({1, 2, 3}));
    EXPECT_FALSE(item.IsSameItem({9, 2, 3}));
    EXPECT_FALSE(item.IsSameItem({1, 9, 3}));
    EXPECT_FALSE(item.IsSameItem({1, 2, 9}));
    EXPECT_TRUE(item.IsSameItem({1, 2, 0}));
    EXPECT_TRUE((ItemIdentity{1, 2, 0}.IsSameItem(item)));
}

TEST(GetPathStatus, AgreesWithStat) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "12345");
    struct stat expected = {};
    ASSERT_EQ(0, stat(path.c_str(), &expected));
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(expected.st_dev, status.identity.device);
    EXPECT_EQ(expected.st_ino, status.identity.inode);
    EXPECT_EQ(5, status.sizeBytes);
    EXPECT_EQ(ItemKind::kFile, status.kind);
    EXPECT_EQ(expected.st_mode, status.mode);
    EXPECT_EQ(expected.st_uid, status.owner);
    EXPECT_EQ(expected.st_gid, status.group);
    EXPECT_EQ(1U, status.linkCount);
    EXPECT_EQ(static_cast<std::uint64_t>(expected.st_blocks) * 512, status.allocatedBytes);
    EXPECT_EQ(expected.st_atim.tv_sec, status.accessDate.seconds);
    EXPECT_EQ(expected.st_mtim.tv_nsec, status.contentDate.nanos);
    EXPECT_EQ(expected.st_ctim.tv_nsec, status.attributeDate.nanos);
}

TEST(GetPathStatus, Mounts) {
    const TemporaryFolder folder;
    ItemStatus root, item, process;
    ASSERT_EQ(0, GetPathStatus("/proc", root));
    ASSERT_EQ(0, GetPathStatus("/proc/version", process));
    ASSERT_EQ(0, GetPathStatus(folder.MakeFile("a").c_str(), item));
    EXPECT_NE(0U, root.mount);
    EXPECT_TRUE(root.isMountRoot);
    EXPECT_FALSE(process.isMountRoot);
    EXPECT_FALSE(item.isMountRoot);
    EXPECT_EQ(root.Volume(), process.Volume());
    EXPECT_NE(root.mount, item.mount);
}

TEST(VolumeKey, IsMountAndDevice) {
    EXPECT_EQ((VolumeKey{1, 2}), (VolumeKey{1, 2}));
    EXPECT_NE((VolumeKey{1, 2}), (VolumeKey{9, 2}));
    EXPECT_NE((VolumeKey{1, 2}), (VolumeKey{1, 9}));
}

TEST(GetPathStatus, Kinds) {
    const TemporaryFolder folder;
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus(folder.Path().c_str(), status));
    EXPECT_EQ(ItemKind::kFolder, status.kind);
    ASSERT_EQ(0, symlink("nowhere", (folder / "link").c_str()));
    ASSERT_EQ(0, GetPathStatus((folder / "link").c_str(), status));
    EXPECT_EQ(ItemKind::kLink, status.kind);
    ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
    ASSERT_EQ(0, GetPathStatus((folder / "pipe").c_str(), status));
    EXPECT_EQ(ItemKind::kOther, status.kind);
    ASSERT_EQ(0, GetPathStatus("/dev/null", status));
    EXPECT_EQ(ItemKind::kOther, status.kind);
}

TEST(GetPathStatus, Missing) {
    const TemporaryFolder folder;
    ItemStatus status;
    EXPECT_EQ(ENOENT, GetPathStatus((folder / "none").c_str(), status));
    EXPECT_EQ(ENOENT, GetPathStatus("", status));
}

TEST(GetDescriptorStatus, SameAsThePath) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    ItemStatus byPath;
    ItemStatus byDescriptor;
    ASSERT_EQ(0, GetPathStatus(path.c_str(), byPath));
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(0, GetDescriptorStatus(descriptor, byDescriptor));
    close(descriptor);
    EXPECT_EQ(byPath.identity.inode, byDescriptor.identity.inode);
    EXPECT_EQ(byPath.identity.birthNanos, byDescriptor.identity.birthNanos);
    EXPECT_EQ(byPath.sizeBytes, byDescriptor.sizeBytes);
    EXPECT_EQ(EBADF, GetDescriptorStatus(-1, byDescriptor));
}

TEST(GetStatusAt, OfAnItemAsItLiesThere) {
    const TemporaryFolder folder;
    folder.MakeFile("a", "12345");
    ASSERT_EQ(0, symlink("a", (folder / "link").c_str()));
    const int descriptor = open(folder.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    ItemStatus status;
    EXPECT_EQ(0, GetStatusAt(descriptor, "a", status));
    EXPECT_EQ(5, status.sizeBytes);
    EXPECT_EQ(0, GetStatusAt(descriptor, "link", status));
    EXPECT_EQ(ItemKind::kLink, status.kind);
    EXPECT_EQ(ENOENT, GetStatusAt(descriptor, "none", status));
    close(descriptor);
}

TEST(GetPathStatus, FileSystemWithoutBirth) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const SystemCalls real = CallsForTesting();
    static int (*sRealStat)(int, const char*, int, unsigned, struct statx*);
    sRealStat = real.statx;
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        return sRealStat(inFolder, inPath, inFlags, inMask & ~STATX_BTIME, outStatus) != 0
                   ? -1
                   : (outStatus->stx_mask &= ~STATX_BTIME, 0);
    };
    ItemStatus status;
    status.identity.birthNanos = 5;
    EXPECT_EQ(0, GetPathStatus(path.c_str(), status));
    CallsForTesting() = real;
    EXPECT_EQ(0, status.identity.birthNanos);
}

}  // namespace

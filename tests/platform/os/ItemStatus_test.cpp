#include "os/ItemStatus.h"

#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
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

TEST(GetPathStatus, BirthAndNames) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(1U, status.linkCount);
    EXPECT_FALSE(status.isImmutable);
    if (status.identity.birthNanos != 0) {
        EXPECT_EQ(status.identity.birthNanos,
                  status.birthDate.seconds * 1'000'000'000 + status.birthDate.nanos);
    }
    ASSERT_EQ(0, link(path.c_str(), (folder / "b").c_str()));
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(2U, status.linkCount);
}

TEST(GetPathStatus, Immutability) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    int flags = 0;
    if (ioctl(file, FS_IOC_GETFLAGS, &flags) != 0) GTEST_SKIP() << "the file system has no such flag";
    const int immutable = flags | FS_IMMUTABLE_FL;
    if (ioctl(file, FS_IOC_SETFLAGS, &immutable) != 0) GTEST_SKIP() << "only an administrator can set it";
    ItemStatus status;
    EXPECT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(0, ioctl(file, FS_IOC_SETFLAGS, &flags));
    EXPECT_TRUE(status.isImmutable);
    EXPECT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_FALSE(status.isImmutable);
    close(file);
}

TEST(SetDatesAt, OneOrBoth) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    ASSERT_EQ(0, symlink("a", (folder / "link").c_str()));
    const Moment early = {1'000, 1};
    const Moment late = {2'000, 999'999'999};
    ItemStatus status;
    EXPECT_EQ(0, SetDatesAt(AT_FDCWD, path.c_str(), LastLink::kItself, &early, &late));
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(1'000, status.accessDate.seconds);
    EXPECT_EQ(1U, status.accessDate.nanos);
    EXPECT_EQ(2'000, status.contentDate.seconds);
    EXPECT_EQ(999'999'999U, status.contentDate.nanos);
    const int number = open(folder.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(0, SetDatesAt(number, "link", LastLink::kItself, nullptr, &early));
    ASSERT_EQ(0, GetPathStatus((folder / "link").c_str(), status));
    EXPECT_EQ(1'000, status.contentDate.seconds);
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(2'000, status.contentDate.seconds) << "a link is dated itself";
    EXPECT_EQ(0, SetDatesAt(number, "link", LastLink::kFollowed, nullptr, &early));
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_EQ(1'000, status.contentDate.seconds);
    EXPECT_EQ(ENOENT, SetDatesAt(number, "none", LastLink::kItself, nullptr, &early));
    close(number);
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

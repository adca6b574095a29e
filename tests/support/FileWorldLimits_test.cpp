// What is refused, and what lies on other volumes, in the file system in memory as in the real one.
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <string>
#include <vector>

namespace {

using support::FileWorld;
using toolbox::os::Calls;

class FileWorldLimits : public support::FileWorldTest {
  protected:
    static int ErrorOf(int inResult) { return inResult == 0 ? 0 : errno; }
    int ErrorOfOpening(const std::string& inName, int inFlags) const {
        const int file = Calls().openat(AT_FDCWD, (mFolder / inName).c_str(), inFlags | O_CLOEXEC, 0644);
        return file < 0 ? errno : ErrorOf(Calls().close(file));
    }
    int Rename(const std::string& inOld, const std::string& inNew, unsigned inFlags = 0) const {
        return ErrorOf(Calls().renameat2(AT_FDCWD, (mFolder / inOld).c_str(), AT_FDCWD,
                                         (mFolder / inNew).c_str(), inFlags));
    }
    int Remove(const std::string& inName, int inFlags = 0) const {
        return ErrorOf(Calls().unlinkat(AT_FDCWD, (mFolder / inName).c_str(), inFlags));
    }
    int MakeFolder(const std::string& inName) const {
        return ErrorOf(Calls().mkdirat(AT_FDCWD, (mFolder / inName).c_str(), 0755));
    }
    int SetMode(const std::string& inName, mode_t inMode) const {
        return ErrorOf(Calls().fchmodat(AT_FDCWD, (mFolder / inName).c_str(), inMode, 0));
    }
    int Access(const std::string& inName, int inMode, int inFlags = 0) const {
        return ErrorOf(Calls().faccessat(AT_FDCWD, (mFolder / inName).c_str(), inMode, inFlags));
    }
    static struct statx StatusOf(const std::string& inPath) {
        struct statx status = {};
        EXPECT_EQ(0, Calls().statx(AT_FDCWD, inPath.c_str(), AT_SYMLINK_NOFOLLOW,
                                   STATX_BASIC_STATS | STATX_MNT_ID, &status));
        EXPECT_NE(0U, status.stx_mask & STATX_MNT_ID);
        return status;
    }
    static bool IsMountRoot(const std::string& inPath) {
        return (StatusOf(inPath).stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    }
    // The words of the table's line about the mount that this is the root of; none: there is no such line.
    static std::vector<std::string> MountOf(const std::string& inPath) {
        std::istringstream table(FileWorld::Contents("/proc/self/mountinfo"));
        const std::string id = std::to_string(StatusOf(inPath).stx_mnt_id);
        for (std::string line; std::getline(table, line);) {
            std::istringstream words(line);
            std::vector<std::string> all;
            for (std::string word; words >> word;)
                all.push_back(word);
            if (all[0] == id) return all;
        }
        return {};
    }
    static std::string DeviceOf(const std::string& inPath) {
        const struct statx status = StatusOf(inPath);
        return std::to_string(status.stx_dev_major) + ':' + std::to_string(status.stx_dev_minor);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileWorldLimits, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileWorldLimits, OrdinaryUsers) {
    const FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("closed");
    mFolder.MakeFolder("listed/inner");
    mFolder.MakeFile("closed/a");
    mFolder.MakeFile("listed/a");
    mFolder.MakeFile("unreadable");
    mFolder.MakeFile("read only");
    FileWorld::SetMode(mFolder / "closed", 0);
    FileWorld::SetMode(mFolder / "listed", 0500);
    FileWorld::SetMode(mFolder / "unreadable", 0);
    FileWorld::SetMode(mFolder / "read only", 0400);
    EXPECT_EQ(EACCES, ErrorOfOpening("closed/a", O_RDONLY));
    EXPECT_EQ(EACCES, ErrorOfOpening("closed", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening("closed", O_PATH));
    EXPECT_EQ(EACCES, Access("closed/a", F_OK));
    EXPECT_EQ(0, ErrorOfOpening("listed/a", O_RDWR));
    EXPECT_EQ(EACCES, ErrorOfOpening("listed/new", O_RDWR | O_CREAT));
    EXPECT_EQ(EACCES, MakeFolder("listed/new"));
    EXPECT_EQ(EEXIST, MakeFolder("listed/a"));
    EXPECT_EQ(EACCES, Remove("listed/a"));
    EXPECT_EQ(EACCES, Remove("listed/inner", AT_REMOVEDIR));
    EXPECT_EQ(ENOENT, Remove("listed/none"));
    EXPECT_EQ(EACCES, Rename("listed/a", "a"));
    EXPECT_EQ(EACCES, Rename("unreadable", "listed/new"));
    EXPECT_EQ(EACCES, Rename("unreadable", "listed/a"));
    EXPECT_EQ(EACCES, mFolder.MakeHardLink(mFolder / "read only", mFolder / "listed/new"));
    EXPECT_EQ(EACCES, ErrorOfOpening("unreadable", O_RDONLY));
    EXPECT_EQ(EACCES, ErrorOfOpening("read only", O_RDWR));
    EXPECT_EQ(EACCES, ErrorOfOpening("read only", O_RDONLY | O_TRUNC));
    EXPECT_EQ(EACCES, Access("read only", W_OK, AT_EACCESS));
    EXPECT_EQ(0, Access("read only", R_OK, AT_EACCESS));
    EXPECT_EQ(EINVAL, Access("read only", 16));
    EXPECT_EQ(EINVAL, Access("read only", R_OK, 1 << 30));
    FileWorld::SetMode(mFolder / "closed", 0700);
}

TEST_P(FileWorldLimits, OtherPeoplesItems) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator can make some";
    mFolder.MakeFolder("shared");
    mFolder.MakeFolder("shared/others");
    FileWorld::SetMode(mFolder / "shared", 01777);
    mFolder.MakeFile("shared/a");
    const FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFile("shared/own");
    EXPECT_EQ(EPERM, Remove("shared/a"));
    EXPECT_EQ(EPERM, Remove("shared/others", AT_REMOVEDIR));
    EXPECT_EQ(EPERM, Rename("shared/a", "shared/b"));
    EXPECT_EQ(EPERM, Rename("shared/own", "shared/a"));
    EXPECT_EQ(EPERM, SetMode("shared/a", 0600));
    EXPECT_EQ(0, Rename("shared/own", "shared/b"));
    EXPECT_EQ(0, Remove("shared/b"));
    const timespec times[] = {{1, 0}, {2, 0}};
    EXPECT_EQ(EPERM, ErrorOf(Calls().utimensat(AT_FDCWD, (mFolder / "shared/a").c_str(), times, 0)));
    EXPECT_EQ(EACCES, ErrorOf(Calls().utimensat(AT_FDCWD, (mFolder / "shared/a").c_str(), nullptr, 0)));
    const int file = Calls().openat(AT_FDCWD, (mFolder / "shared/a").c_str(), O_RDONLY | O_CLOEXEC, 0);
    EXPECT_EQ(EPERM, ErrorOf(Calls().fchmod(file, 0600)));
    EXPECT_EQ(EPERM, ErrorOf(Calls().fchown(file, geteuid(), getegid())));
    EXPECT_EQ(0, Calls().close(file));
}

TEST_P(FileWorldLimits, NoMoreDescriptors) {
    mFolder.MakeFile("a");
    // The undefined-behaviour sanitizer wants a pipe where it sees this call for the first time.
    EXPECT_EQ(0, ErrorOfOpening("a", O_RDONLY));
    {
        const FileWorld::NoMoreDescriptors none(mFolder);
        EXPECT_EQ(EMFILE, ErrorOfOpening("a", O_RDONLY));
        EXPECT_EQ(EMFILE, ErrorOfOpening("none", O_RDONLY));
        EXPECT_EQ(EMFILE, ErrorOfOpening("new", O_RDWR | O_CREAT));
        EXPECT_EQ(-1, Calls().openat(AT_FDCWD, "", O_RDONLY, 0));
        EXPECT_EQ(ENOENT, errno);
        EXPECT_EQ(0, Access("a", F_OK));
    }
    EXPECT_FALSE(FileWorld::Exists(mFolder / "new"));
    EXPECT_EQ(0, ErrorOfOpening("a", O_RDONLY));
}

TEST_P(FileWorldLimits, LongNamesAndPaths) {
    EXPECT_EQ(ENAMETOOLONG, MakeFolder(std::string(256, 'n')));
    EXPECT_EQ(0, MakeFolder(std::string(255, 'n')));
    EXPECT_EQ(ENAMETOOLONG, Rename(std::string(255, 'n'), std::string(256, 'n')));
    std::string path = mFolder.Path();
    while (path.size() < 4095)
        path += path.size() % 2 == 0 ? "/." : "//";
    path.resize(4095);
    EXPECT_TRUE(FileWorld::Exists(path));
    EXPECT_FALSE(FileWorld::Exists(path + '/'));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

TEST_P(FileWorldLimits, TheProcessItself) {
    mFolder.MakeFile("a", "of a");
    const int file = Calls().openat(AT_FDCWD, (mFolder / "a").c_str(), O_RDONLY | O_CLOEXEC, 0);
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    char target[1000] = {};
    EXPECT_LT(0, Calls().readlinkat(AT_FDCWD, path.c_str(), target, sizeof target));
    EXPECT_EQ(mFolder / "a", target);
    EXPECT_TRUE(S_ISLNK(StatusOf(path).stx_mode));
    EXPECT_EQ(StatusOf(mFolder / "a").stx_ino, FileWorld::StatusOf(path).stx_ino);
    const std::string facts = FileWorld::Contents("/proc/self/fdinfo/" + std::to_string(file));
    EXPECT_NE(std::string::npos,
              facts.find("\nmnt_id:\t" + std::to_string(StatusOf(mFolder / "a").stx_mnt_id) + "\n"))
        << facts;
    EXPECT_EQ(0, Calls().fchmod(file, 0400));
    FileWorld::Remove(mFolder / "a");
    EXPECT_EQ("of a", FileWorld::Contents("/dev/fd/" + std::to_string(file))) << "open still";
    EXPECT_EQ(nullptr, Calls().realpath(path.c_str(), nullptr));
    EXPECT_EQ(ENOENT, errno) << "by what it reads, it leads nowhere";
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_FALSE(FileWorld::Exists(path));
}

TEST_P(FileWorldLimits, TheTableOfMounts) {
    if (!IsMountRoot("/"))
        GTEST_SKIP() << "the root was changed to a plain folder, which the table does not show";
    for (const std::string path : {"/", "/proc"}) {
        const auto mount = MountOf(path);
        ASSERT_LT(9U, mount.size()) << path;
        EXPECT_TRUE(IsMountRoot(path));
        EXPECT_EQ(DeviceOf(path), mount[2]);
        EXPECT_EQ(path, mount[4]);
        EXPECT_NE(mount.end(), std::find(mount.begin(), mount.end(), "-"));
    }
    EXPECT_EQ(MountOf("/")[0], MountOf("/proc")[1]) << "mounted upon";
    EXPECT_FALSE(IsMountRoot(mFolder.Path()));
    EXPECT_EQ(StatusOf(mFolder.Path()).stx_mnt_id, StatusOf(mFolder.MakeFile("a")).stx_mnt_id);
    mFolder.MakeFile("a");
    EXPECT_EQ(EXDEV, ErrorOf(Calls().renameat2(AT_FDCWD, (mFolder / "a").c_str(), AT_FDCWD, "/proc/a", 0)));
    struct statvfs volume = {};
    EXPECT_EQ(0, Calls().statvfs("/proc", &volume));
    EXPECT_EQ(0U, volume.f_blocks) << "the kernel makes it up";
}

class MountedWorlds : public FileWorldLimits {
  protected:
    void SetUp() override {
        if (!mFolder.MayMount()) GTEST_SKIP() << "nothing can be mounted by this user on this machine";
        mFolder.MakeFolder("one");
        mFolder.MakeFolder("two");
        mFolder.MakeFile("one/under", "under");
        ASSERT_EQ(0, mFolder.MountVolume(mFolder / "one"));
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, MountedWorlds, support::BothWorlds(), support::NameOfWorld);

TEST_P(MountedWorlds, AVolume) {
    const struct statx here = StatusOf(mFolder.Path());
    const struct statx there = StatusOf(mFolder / "one");
    EXPECT_NE(here.stx_mnt_id, there.stx_mnt_id);
    EXPECT_NE(makedev(here.stx_dev_major, here.stx_dev_minor),
              makedev(there.stx_dev_major, there.stx_dev_minor));
    EXPECT_TRUE(IsMountRoot(mFolder / "one"));
    EXPECT_EQ(there.stx_mnt_id, StatusOf(mFolder / "one/.").stx_mnt_id);
    EXPECT_EQ(here.stx_mnt_id, StatusOf(mFolder / "one/..").stx_mnt_id);
    EXPECT_EQ(there.stx_mnt_id, StatusOf(mFolder.MakeFile("one/a", "of a")).stx_mnt_id);
    EXPECT_FALSE(FileWorld::Exists(mFolder / "one/under"));
    const auto mount = MountOf(mFolder / "one");
    ASSERT_LT(4U, mount.size());
    EXPECT_EQ(mFolder / "one", mount[4]);
    EXPECT_EQ(DeviceOf(mFolder / "one/a"), mount[2]);
    EXPECT_EQ(MountOf("/").empty(), false);
    EXPECT_EQ(0, mFolder.Unmount(mFolder / "one"));
    EXPECT_EQ("under", FileWorld::Contents(mFolder / "one/under"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "one/a"));
}

TEST_P(MountedWorlds, NamesStayOnTheirVolume) {
    mFolder.MakeFile("a");
    mFolder.MakeFile("one/a");
    mFolder.MakeFolder("deep/one");
    EXPECT_EQ(EXDEV, Rename("a", "one/b"));
    EXPECT_EQ(EXDEV, Rename("one/a", "a", RENAME_EXCHANGE));
    EXPECT_EQ(EXDEV, mFolder.MakeHardLink(mFolder / "a", mFolder / "one/b"));
    EXPECT_EQ(EBUSY, Rename("one", "three"));
    EXPECT_EQ(EBUSY, Rename("two", "one"));
    EXPECT_EQ(EBUSY, Rename("two", "one", RENAME_EXCHANGE));
    EXPECT_EQ(EISDIR, Rename("a", "one"));
    EXPECT_EQ(EBUSY, Remove("one", AT_REMOVEDIR));
    EXPECT_EQ(EISDIR, Remove("one"));
    EXPECT_EQ(0, Rename("one/a", "one/b"));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "deep/one"));
    EXPECT_EQ(0, Rename("deep", "moved")) << "with what is mounted in it";
    EXPECT_TRUE(IsMountRoot(mFolder / "moved/one"));
    EXPECT_EQ(mFolder / "moved/one", MountOf(mFolder / "moved/one")[4]);
    EXPECT_EQ(ENOTEMPTY, Remove("moved", AT_REMOVEDIR));
    FileWorld::Rename(mFolder / "moved", mFolder / "deep");
}

TEST_P(MountedWorlds, OneFolderAtTwoPlaces) {
    mFolder.MakeFolder("one/in ner");
    mFolder.MakeFile("one/in ner/a", "of a");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "one/in ner", mFolder / "two"));
    const struct statx one = StatusOf(mFolder / "one/in ner/a");
    const struct statx two = StatusOf(mFolder / "two/a");
    EXPECT_EQ(one.stx_ino, two.stx_ino);
    EXPECT_EQ(DeviceOf(mFolder / "one"), DeviceOf(mFolder / "two"));
    EXPECT_NE(one.stx_mnt_id, two.stx_mnt_id);
    EXPECT_TRUE(IsMountRoot(mFolder / "two"));
    EXPECT_FALSE(IsMountRoot(mFolder / "one/in ner"));
    const auto mount = MountOf(mFolder / "two");
    ASSERT_LT(4U, mount.size());
    EXPECT_EQ("/in\\040ner", mount[3]);
    EXPECT_EQ(EXDEV, Rename("one/in ner/a", "two/b"));
    EXPECT_EQ(EXDEV, mFolder.MakeHardLink(mFolder / "one/in ner/a", mFolder / "two/b"));
    EXPECT_EQ(0, Rename("two/a", "two/b"));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "one/in ner/b"));
    EXPECT_EQ(StatusOf(mFolder.Path()).stx_ino, StatusOf(mFolder / "two/..").stx_ino);
    char* const path = Calls().realpath((mFolder / "two/../two/b").c_str(), nullptr);
    ASSERT_NE(nullptr, path);
    EXPECT_EQ(mFolder / "two/b", path);
    std::free(path);
}

TEST_P(MountedWorlds, WritingIsForbidden) {
    mFolder.MakeFile("one/a", "of a");
    mFolder.MakeFolder("one/sub");
    ASSERT_EQ(0, mFolder.ForbidWriting(mFolder / "one"));
    EXPECT_EQ(EROFS, ErrorOfOpening("one/a", O_RDWR));
    EXPECT_EQ(EROFS, ErrorOfOpening("one/a", O_RDWR | O_CREAT));
    EXPECT_EQ(EROFS, ErrorOfOpening("one/new", O_RDWR | O_CREAT));
    EXPECT_EQ(EEXIST, ErrorOfOpening("one/a", O_RDONLY | O_CREAT | O_EXCL));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "one/a"));
    EXPECT_EQ(EROFS, Remove("one/a"));
    EXPECT_EQ(EROFS, Remove("one/none"));
    EXPECT_EQ(EROFS, Remove("one/sub", AT_REMOVEDIR));
    EXPECT_EQ(EROFS, MakeFolder("one/new"));
    EXPECT_EQ(EEXIST, MakeFolder("one/a"));
    EXPECT_EQ(EROFS, Rename("one/a", "one/b"));
    EXPECT_EQ(EROFS, Rename("one/none", "one/b"));
    EXPECT_EQ(EXDEV, Rename("one/a", "a"));
    EXPECT_EQ(EROFS, SetMode("one/a", 0600));
    EXPECT_EQ(EROFS, mFolder.MakeHardLink(mFolder / "one/a", mFolder / "one/b"));
    EXPECT_EQ(EROFS, Access("one/a", W_OK));
    EXPECT_EQ(0, Access("one/a", R_OK));
    struct statvfs volume = {};
    EXPECT_EQ(0, Calls().statvfs((mFolder / "one").c_str(), &volume));
    EXPECT_NE(0U, volume.f_flag & ST_RDONLY);
}

TEST_P(MountedWorlds, WhatIsInUseStays) {
    mFolder.MakeFile("one/a");
    const int file = Calls().openat(AT_FDCWD, (mFolder / "one/a").c_str(), O_RDONLY | O_CLOEXEC, 0);
    EXPECT_EQ(EBUSY, mFolder.Unmount(mFolder / "one"));
    EXPECT_EQ(0, Calls().close(file));
    mFolder.MakeFolder("one/upper");
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "one/upper"));
    EXPECT_EQ(EBUSY, mFolder.Unmount(mFolder / "one"));
    EXPECT_EQ(0, mFolder.Unmount(mFolder / "one/upper"));
    EXPECT_EQ(EINVAL, mFolder.Unmount(mFolder / "two"));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "one")) << "upon what is mounted there";
    EXPECT_FALSE(FileWorld::Exists(mFolder / "one/a"));
    EXPECT_EQ(0, mFolder.Unmount(mFolder / "one"));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "one/a"));
}

}  // namespace

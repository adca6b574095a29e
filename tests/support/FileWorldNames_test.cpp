// Names and where they lead, in the file system in memory as in the real one: several for a file, links, the
// current folder, folders that are gone.
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using support::FileWorld;
using toolbox::os::Calls;

class FileWorldNames : public support::FileWorldTest {
  protected:
    static int ErrorOf(int inResult) { return inResult >= 0 ? 0 : errno; }
    // Closes what it opens.
    static int ErrorOfOpening(int inFolder, const std::string& inPath, int inFlags) {
        const int file = Calls().openat(inFolder, inPath.c_str(), inFlags | O_CLOEXEC, 0600);
        return file < 0 ? errno : ErrorOf(Calls().close(file));
    }
    int Open(std::string_view inName, int inFlags = O_RDONLY) const {
        const int file = Calls().openat(AT_FDCWD, (mFolder / inName).c_str(), inFlags | O_CLOEXEC, 0600);
        EXPECT_GE(file, 0) << inName;
        return file;
    }
    int Rename(std::string_view inOld, std::string_view inNew, unsigned inFlags = 0) const {
        return ErrorOf(Calls().renameat2(AT_FDCWD, (mFolder / inOld).c_str(), AT_FDCWD,
                                         (mFolder / inNew).c_str(), inFlags));
    }
    int Remove(std::string_view inName, int inFlags = 0) const {
        return ErrorOf(Calls().unlinkat(AT_FDCWD, (mFolder / inName).c_str(), inFlags));
    }
    int MakeFolder(std::string_view inName) const {
        return ErrorOf(Calls().mkdirat(AT_FDCWD, (mFolder / inName).c_str(), 0700));
    }
    struct statx StatusOf(std::string_view inName) const {
        return FileWorld::StatusOf(mFolder / inName);
    }
    // Or the errno.
    static std::string Canonical(const std::string& inPath) {
        char* const path = Calls().realpath(inPath.c_str(), nullptr);
        const std::string text = path == nullptr ? "errno " + std::to_string(errno) : path;
        std::free(path);
        return text;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileWorldNames, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileWorldNames, SeveralOfAFile) {
    const std::string path = mFolder.MakeFile("a", "of a");
    mFolder.MakeFolder("sub");
    EXPECT_EQ(0, mFolder.MakeHardLink(path, mFolder / "sub/b"));
    EXPECT_EQ(StatusOf("a").stx_ino, StatusOf("sub/b").stx_ino);
    EXPECT_EQ(2U, StatusOf("a").stx_nlink);
    EXPECT_EQ(mFolder / "sub/b", Canonical(mFolder / "sub/b"));
    EXPECT_EQ(path, Canonical(path));
    EXPECT_EQ(EEXIST, Rename("a", "sub/b", RENAME_NOREPLACE));
    EXPECT_EQ(0, Rename("a", "sub/b", RENAME_EXCHANGE));
    EXPECT_EQ(0, Rename("a", "sub/b")) << "does nothing";
    EXPECT_TRUE(FileWorld::Exists(path));
    FileWorld::Remove(path);
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "sub/b"));
    EXPECT_EQ(1U, StatusOf("sub/b").stx_nlink);
    EXPECT_EQ(ENOENT, mFolder.MakeHardLink(path, mFolder / "c"));
    EXPECT_EQ(ENOENT, mFolder.MakeHardLink(mFolder / "sub/b", mFolder / "none/c"));
    EXPECT_EQ(ENOENT, mFolder.MakeHardLink(mFolder / "sub/b", mFolder / "c/"));
    EXPECT_EQ(EEXIST, mFolder.MakeHardLink(mFolder / "sub/b", mFolder / "sub"));
    EXPECT_EQ(EPERM, mFolder.MakeHardLink(mFolder / "sub", mFolder / "c"));
    mFolder.MakeLink("sub/b", "link");
    EXPECT_EQ(0, mFolder.MakeHardLink(mFolder / "link", mFolder / "second"));
    char target[10];
    EXPECT_EQ(5, Calls().readlinkat(AT_FDCWD, (mFolder / "second").c_str(), target, sizeof target));
    const int folder = Open("sub", O_PATH | O_DIRECTORY);
    const std::string link = mFolder / "link";
    EXPECT_EQ(0, Calls().linkat(AT_FDCWD, link.c_str(), folder, "third", AT_SYMLINK_FOLLOW));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "sub/third"));
    EXPECT_EQ(0, Calls().linkat(folder, "third", folder, "fourth", 0));
    EXPECT_EQ(3U, StatusOf("sub/b").stx_nlink);
    EXPECT_EQ(EINVAL, ErrorOf(Calls().linkat(folder, "third", folder, "fifth", 1 << 30)));
    EXPECT_EQ(0, Calls().close(folder));
}

TEST_P(FileWorldNames, LinksAtTheEndOfAPath) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("file");
    mFolder.MakeLink("sub", "link");
    mFolder.MakeLink("none", "dangling");
    mFolder.MakeLink("b", "a");
    mFolder.MakeLink("a", "b");
    EXPECT_EQ(ENOTDIR, Remove("link/", AT_REMOVEDIR));
    EXPECT_EQ(ENOTDIR, Remove("link/"));
    EXPECT_EQ(ENOTDIR, Remove("file/"));
    EXPECT_EQ(EISDIR, Remove("sub/"));
    EXPECT_EQ(ENOENT, Remove("none/"));
    EXPECT_EQ(ENOTDIR, Rename("link/", "new"));
    EXPECT_EQ(ENOTDIR, Rename("file", "new/"));
    EXPECT_EQ(0, Rename("sub/", "sub 2/"));
    EXPECT_EQ(0, Rename("sub 2", "sub"));
    EXPECT_EQ(ENOTDIR, Rename("sub", "link/", RENAME_EXCHANGE));
    EXPECT_EQ(EEXIST, MakeFolder("link/"));
    EXPECT_EQ(EEXIST, MakeFolder("dangling"));
    EXPECT_EQ(EEXIST, MakeFolder("dangling/"));
    EXPECT_EQ(EEXIST, MakeFolder("."));
    EXPECT_EQ(EEXIST, MakeFolder(".."));
    EXPECT_EQ(EISDIR, ErrorOfOpening(AT_FDCWD, mFolder / "dangling/", O_RDWR | O_CREAT));
    EXPECT_EQ(ENOTDIR, ErrorOfOpening(AT_FDCWD, mFolder / "link", O_RDONLY | O_NOFOLLOW | O_DIRECTORY));
    EXPECT_EQ(ELOOP, ErrorOfOpening(AT_FDCWD, mFolder / "a/file", O_RDONLY));
    EXPECT_EQ("errno " + std::to_string(ELOOP), Canonical(mFolder / "a"));
    EXPECT_EQ("errno " + std::to_string(ENOENT), Canonical(mFolder / "dangling"));
    EXPECT_EQ("errno " + std::to_string(ENOTDIR), Canonical(mFolder / "file/"));
}

// Forty are followed, and not one more.
TEST_P(FileWorldNames, ManyLinks) {
    mFolder.MakeFile("0");
    for (int i = 1; i <= 41; ++i)
        mFolder.MakeLink(std::to_string(i - 1), std::to_string(i));
    EXPECT_EQ("contents", FileWorld::Contents(mFolder / "40"));
    EXPECT_EQ("errno " + std::to_string(ELOOP), FileWorld::Contents(mFolder / "41"));
}

TEST_P(FileWorldNames, WhatIsOpenItself) {
    mFolder.MakeFile("file");
    mFolder.MakeLink("file", "link");
    const int file = Open("file", O_PATH);
    const int link = Open("link", O_PATH | O_NOFOLLOW);
    struct statx status = {};
    char target[10];
    EXPECT_EQ(4, Calls().readlinkat(link, "", target, sizeof target));
    EXPECT_EQ(ENOENT, ErrorOf(static_cast<int>(Calls().readlinkat(file, "", target, sizeof target))));
    EXPECT_EQ(ENOTDIR, ErrorOf(Calls().statx(file, "a", 0, STATX_BASIC_STATS, &status)));
    EXPECT_EQ(EBADF, ErrorOf(Calls().statx(-1, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status)));
    EXPECT_EQ(0, Calls().statx(-1, "/", 0, STATX_BASIC_STATS, &status)) << "not needed";
    EXPECT_EQ(EINVAL, ErrorOf(Calls().statx(file, "", 1 << 30, STATX_BASIC_STATS, &status)));
    EXPECT_EQ(ENOENT, ErrorOf(Calls().unlinkat(file, "", 0)));
    EXPECT_EQ(ENOENT, ErrorOfOpening(file, "", O_RDONLY));
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_EQ(0, Calls().close(link));
}

TEST_P(FileWorldNames, InAFolderThatIsGone) {
    mFolder.MakeFolder("sub");
    const int folder = Open("sub", O_RDONLY | O_DIRECTORY);
    FileWorld::Remove(mFolder / "sub", true);
    EXPECT_EQ(0, ErrorOfOpening(folder, ".", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening(folder, "..", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening(folder, "../new", O_RDWR | O_CREAT));
    EXPECT_EQ(ENOENT, ErrorOfOpening(folder, "new", O_RDWR | O_CREAT));
    EXPECT_EQ(ENOENT, ErrorOfOpening(folder, "../sub/a", O_RDONLY));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "new"));
    EXPECT_EQ(0, Calls().close(folder));
}

TEST_P(FileWorldNames, FromTheCurrentFolder) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "of a");
    {
        const FileWorld::CurrentFolder inside(mFolder, mFolder / "sub");
        EXPECT_EQ("of a", FileWorld::Contents("a"));
        EXPECT_EQ(mFolder / "sub/a", Canonical("../sub/./a"));
        EXPECT_EQ(mFolder / "sub", Canonical("."));
        struct statx status = {};
        EXPECT_EQ(0, Calls().statx(AT_FDCWD, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status));
        EXPECT_EQ(StatusOf("sub").stx_ino, status.stx_ino);
        FileWorld::Rename("a", "../b");
        FileWorld::Remove(mFolder / "sub", true);
        EXPECT_EQ("errno " + std::to_string(ENOENT), Canonical("a"));
        EXPECT_EQ("errno " + std::to_string(ENOENT), Canonical("."));
        EXPECT_EQ("of a", FileWorld::Contents("../b"));
    }
    EXPECT_EQ("errno " + std::to_string(ENOENT), FileWorld::Contents("b"));
}

TEST_P(FileWorldNames, Times) {
    const std::string path = mFolder.MakeFile("a");
    const struct statx before = StatusOf("a");
    mFolder.SetTimes(path, {7, 1}, {1'000'000'000, 2});
    struct statx status = StatusOf("a");
    EXPECT_EQ(7, status.stx_atime.tv_sec);
    EXPECT_EQ(1'000'000'000, status.stx_mtime.tv_sec);
    EXPECT_EQ(2U, status.stx_mtime.tv_nsec);
    EXPECT_EQ(before.stx_btime.tv_nsec, status.stx_btime.tv_nsec);
    EXPECT_GE(status.stx_ctime.tv_sec, before.stx_ctime.tv_sec);
    FileWorld::Rename(path, mFolder / "b");
    FileWorld::SetMode(mFolder / "b", 0600);
    EXPECT_EQ(1'000'000'000, StatusOf("b").stx_mtime.tv_sec) << "contents are as they were";
    const int file = Open("b", O_WRONLY);
    EXPECT_EQ(1, Calls().write(file, "x", 1));
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_GE(StatusOf("b").stx_mtime.tv_sec, before.stx_mtime.tv_sec);
    mFolder.MakeFolder("sub");
    mFolder.SetTimes(mFolder / "sub", {7, 0}, {7, 0});
    mFolder.MakeFile("sub/new");
    EXPECT_GE(StatusOf("sub").stx_mtime.tv_sec, before.stx_mtime.tv_sec) << "of a folder: the names in it";
}

TEST_P(FileWorldNames, TimesOneByOne) {
    mFolder.MakeFile("a");
    mFolder.MakeLink("a", "link");
    const auto set = [&](const std::string& inName, const timespec& inAccess, const timespec& inChange,
                         int inFlags = 0) {
        const timespec times[] = {inAccess, inChange};
        return ErrorOf(Calls().utimensat(AT_FDCWD, (mFolder / inName).c_str(), times, inFlags));
    };
    constexpr timespec kOmitted = {0, UTIME_OMIT};
    constexpr timespec kNow = {0, UTIME_NOW};
    EXPECT_EQ(0, set("a", {7, 8}, {9, 10}));
    EXPECT_EQ(0, set("a", kOmitted, {11, 12}));
    EXPECT_EQ(0, set("link", {-13, 14}, kOmitted));
    struct statx status = StatusOf("a");
    EXPECT_EQ(-13, status.stx_atime.tv_sec);
    EXPECT_EQ(14U, status.stx_atime.tv_nsec);
    EXPECT_EQ(11, status.stx_mtime.tv_sec);
    EXPECT_EQ(12U, status.stx_mtime.tv_nsec);
    const std::int64_t born = status.stx_btime.tv_sec;
    EXPECT_EQ(0, set("link", {1, 0}, {2, 0}, AT_SYMLINK_NOFOLLOW));
    struct statx ofLink = {};
    EXPECT_EQ(0, Calls().statx(AT_FDCWD, (mFolder / "link").c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS,
                               &ofLink));
    EXPECT_EQ(2, ofLink.stx_mtime.tv_sec);
    EXPECT_EQ(11, StatusOf("a").stx_mtime.tv_sec);
    EXPECT_EQ(0, set("a", kOmitted, kNow));
    EXPECT_GE(StatusOf("a").stx_mtime.tv_sec, born);
    EXPECT_EQ(-13, StatusOf("a").stx_atime.tv_sec);
    EXPECT_EQ(0, ErrorOf(Calls().utimensat(AT_FDCWD, (mFolder / "a").c_str(), nullptr, 0)));
    EXPECT_GE(StatusOf("a").stx_atime.tv_sec, born);
    EXPECT_EQ(ENOENT, set("none", {1, 0}, {2, 0}));
    EXPECT_EQ(0, set("none", kOmitted, kOmitted)) << "nothing is to be done";
    EXPECT_EQ(EINVAL, set("a", {1, 1'000'000'000}, {2, 0}));
    EXPECT_EQ(EINVAL, set("a", {1, 0}, {2, 0}, 1 << 30));
}

TEST_P(FileWorldNames, Pipes) {
    const std::string path = mFolder.MakePipe("pipe");
    EXPECT_TRUE(S_ISFIFO(StatusOf("pipe").stx_mode));
    EXPECT_EQ(0, ErrorOfOpening(AT_FDCWD, path, O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(ENXIO, ErrorOfOpening(AT_FDCWD, path, O_WRONLY | O_NONBLOCK));
    EXPECT_EQ(ENOTDIR, ErrorOfOpening(AT_FDCWD, path, O_RDONLY | O_NONBLOCK | O_DIRECTORY));
    const int pipe = Open("pipe", O_RDONLY | O_NONBLOCK);
    char byte = 0;
    EXPECT_EQ(ESPIPE, ErrorOf(static_cast<int>(Calls().pread(pipe, &byte, 1, 0))));
    EXPECT_EQ(0, Calls().read(pipe, &byte, 1));
    EXPECT_EQ(0, Calls().close(pipe));
}

}  // namespace

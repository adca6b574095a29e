// What the calls about files do and answer: the file system in memory as the real one.
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using support::FileWorld;
using support::MemoryFiles;
using toolbox::os::Calls;

class FileWorlds : public support::FileWorldTest {
  protected:
    // The descriptor, or the errno below 0.
    int Open(std::string_view inName, int inFlags) const {
        const int file = Calls().openat(AT_FDCWD, (mFolder / inName).c_str(), inFlags | O_CLOEXEC, 0644);
        return file >= 0 ? file : -errno;
    }
    int ErrorOfOpening(std::string_view inName, int inFlags) const {
        const int file = Open(inName, inFlags);
        if (file < 0) return -file;
        EXPECT_EQ(0, Calls().close(file));
        return 0;
    }
    int Rename(std::string_view inOld, std::string_view inNew, unsigned inFlags = 0) const {
        return ErrorOf(Calls().renameat2(AT_FDCWD, (mFolder / inOld).c_str(), AT_FDCWD,
                                         (mFolder / inNew).c_str(), inFlags));
    }
    int MakeFolder(std::string_view inName) const {
        return ErrorOf(Calls().mkdirat(AT_FDCWD, (mFolder / inName).c_str(), 0755));
    }
    int Remove(std::string_view inName, int inFlags = 0) const {
        return ErrorOf(Calls().unlinkat(AT_FDCWD, (mFolder / inName).c_str(), inFlags));
    }
    struct statx StatusOf(std::string_view inName, int inFlags = AT_SYMLINK_NOFOLLOW) const {
        struct statx status = {};
        EXPECT_EQ(0, Calls().statx(AT_FDCWD, (mFolder / inName).c_str(), inFlags,
                                   STATX_BASIC_STATS | STATX_BTIME, &status))
            << inName;
        return status;
    }
    std::string Contents(std::string_view inName) const { return FileWorld::Contents(mFolder / inName); }
    static int ErrorOf(int inResult) { return inResult == 0 ? 0 : errno; }
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileWorlds, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileWorlds, Opening) {
    mFolder.MakeFile("a");
    mFolder.MakeFolder("sub");
    mFolder.MakeLink("a", "link");
    mFolder.MakeLink("none", "dangling");
    mFolder.MakeLink("circle", "circle");
    EXPECT_EQ(ENOENT, ErrorOfOpening("none", O_RDONLY));
    EXPECT_EQ(ENOENT, ErrorOfOpening("none/a", O_RDONLY | O_CREAT));
    EXPECT_EQ(ENOTDIR, ErrorOfOpening("a/a", O_RDONLY));
    EXPECT_EQ(ENOTDIR, ErrorOfOpening("a/", O_RDONLY));
    EXPECT_EQ(ENOTDIR, ErrorOfOpening("a", O_RDONLY | O_DIRECTORY));
    EXPECT_EQ(EISDIR, ErrorOfOpening("sub", O_RDWR));
    EXPECT_EQ(EISDIR, ErrorOfOpening("sub", O_RDONLY | O_CREAT));
    EXPECT_EQ(EISDIR, ErrorOfOpening("new/", O_RDWR | O_CREAT));
    EXPECT_EQ(0, ErrorOfOpening("sub/", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening("sub/../sub/.", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening("link", O_RDONLY));
    EXPECT_EQ(ELOOP, ErrorOfOpening("link", O_RDONLY | O_NOFOLLOW));
    EXPECT_EQ(0, ErrorOfOpening("link", O_PATH | O_NOFOLLOW));
    EXPECT_EQ(ELOOP, ErrorOfOpening("circle", O_RDONLY));
    EXPECT_EQ(EEXIST, ErrorOfOpening("a", O_RDWR | O_CREAT | O_EXCL));
    EXPECT_EQ(EEXIST, ErrorOfOpening("dangling", O_RDWR | O_CREAT | O_EXCL));
    EXPECT_EQ(ENAMETOOLONG, ErrorOfOpening(std::string(256, 'n'), O_RDWR | O_CREAT));
    EXPECT_EQ(0, ErrorOfOpening(std::string(255, 'n'), O_RDWR | O_CREAT));
    EXPECT_EQ(ENOENT, ErrorOfOpening("dangling", O_RDONLY));
    EXPECT_EQ(0, ErrorOfOpening("dangling", O_RDWR | O_CREAT));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "none"));
    EXPECT_EQ(0, ErrorOfOpening("a", O_RDWR | O_TRUNC));
    EXPECT_EQ("", Contents("a"));
}

TEST_P(FileWorlds, FromAFolder) {
    mFolder.MakeFile("b", "of b");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "of a");
    const int folder = Open("sub", O_RDONLY | O_DIRECTORY);
    ASSERT_GE(folder, 0);
    FileWorld::Rename(mFolder / "sub", mFolder / "moved");
    const int file = Calls().openat(folder, "../moved/a", O_RDONLY | O_CLOEXEC, 0);
    EXPECT_GE(file, 0);
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_EQ(0, Calls().renameat2(folder, "a", folder, "b", 0));
    EXPECT_EQ("of a", Contents("moved/b"));
    EXPECT_EQ(0, Calls().unlinkat(folder, "b", 0));
    FileWorld::Remove(mFolder / "moved", true);
    EXPECT_EQ(ENOENT, ErrorOf(Calls().mkdirat(folder, "late", 0755)));
    EXPECT_EQ(0, Calls().close(folder));
    EXPECT_EQ(EBADF, ErrorOf(Calls().close(folder)));
    EXPECT_EQ(EBADF, ErrorOf(Calls().mkdirat(folder, "late", 0755)));
}

TEST_P(FileWorlds, ReadingAndWriting) {
    const int file = Open("a", O_RDWR | O_CREAT);
    ASSERT_GE(file, 0);
    char bytes[10];
    EXPECT_EQ(3, Calls().write(file, "abc", 3));
    EXPECT_EQ(2, Calls().pwrite(file, "XY", 2, 5));
    EXPECT_EQ(0, Calls().read(file, bytes, 0));
    EXPECT_EQ(4, Calls().read(file, bytes, sizeof bytes)) << "on from what was written";
    EXPECT_EQ(std::string("\0\0XY", 4), std::string(bytes, 4));
    EXPECT_EQ(0, Calls().read(file, bytes, sizeof bytes));
    EXPECT_EQ(0, Calls().pread(file, bytes, sizeof bytes, 100));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().pread(file, bytes, 1, -1) < 0));
    EXPECT_EQ(0, Calls().ftruncate(file, 2));
    EXPECT_EQ("ab", Contents("a"));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().ftruncate(file, -1)));
    EXPECT_EQ(EINVAL, Calls().posix_fallocate(file, 0, 0));
    EXPECT_EQ(0, Calls().posix_fallocate(file, 2, 2));
    EXPECT_EQ(4U, StatusOf("a").stx_size);
    EXPECT_EQ(0, Calls().fsync(file));
    EXPECT_EQ(0, Calls().close(file));
}

TEST_P(FileWorlds, WhatADescriptorIsNotFor) {
    mFolder.MakeFile("a", "abc");
    char byte = 0;
    const int toRead = Open("a", O_RDONLY);
    EXPECT_EQ(EBADF, ErrorOf(Calls().pwrite(toRead, "x", 1, 0) < 0));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().ftruncate(toRead, 0)));
    EXPECT_EQ(EBADF, Calls().posix_fallocate(toRead, 0, 1));
    EXPECT_EQ(0, Calls().close(toRead));
    const int toWrite = Open("a", O_WRONLY);
    EXPECT_EQ(EBADF, ErrorOf(Calls().pread(toWrite, &byte, 1, 0) < 0));
    EXPECT_EQ(0, Calls().close(toWrite));
    const int path = Open("a", O_PATH);
    EXPECT_EQ(EBADF, ErrorOf(Calls().pread(path, &byte, 1, 0) < 0));
    EXPECT_EQ(EBADF, ErrorOf(Calls().fsync(path)));
    EXPECT_EQ(EBADF, ErrorOf(Calls().flock(path, LOCK_SH)));
    EXPECT_EQ(0, Calls().close(path));
    const int folder = Open("", O_RDONLY);
    EXPECT_EQ(EISDIR, ErrorOf(Calls().pread(folder, &byte, 1, 0) < 0));
    EXPECT_EQ(0, Calls().close(folder));
}

TEST_P(FileWorlds, Renaming) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFile("b", "of b");
    mFolder.MakeFolder("empty");
    mFolder.MakeFolder("full/inner");
    EXPECT_EQ(ENOENT, Rename("none", "a"));
    EXPECT_EQ(ENOENT, Rename("a", "none/a"));
    EXPECT_EQ(EEXIST, Rename("a", "b", RENAME_NOREPLACE));
    EXPECT_EQ(ENOENT, Rename("a", "none", RENAME_EXCHANGE));
    EXPECT_EQ(EINVAL, Rename("a", "b", RENAME_EXCHANGE | RENAME_NOREPLACE));
    EXPECT_EQ(EISDIR, Rename("a", "empty"));
    EXPECT_EQ(ENOTDIR, Rename("empty", "a"));
    EXPECT_EQ(ENOTDIR, Rename("a", "new/"));
    EXPECT_EQ(ENOTEMPTY, Rename("empty", "full"));
    EXPECT_EQ(EINVAL, Rename("full", "full/inner/full"));
    EXPECT_EQ(ENOTEMPTY, Rename("full/inner", "full"));
    EXPECT_EQ(EBUSY, Rename("full/.", "new"));
    EXPECT_EQ(0, Rename("a", "a"));
    EXPECT_EQ(0, Rename("a", "b", RENAME_EXCHANGE));
    EXPECT_EQ("of b", Contents("a"));
    const auto inode = StatusOf("b").stx_ino;
    EXPECT_EQ(0, Rename("b", "c", RENAME_NOREPLACE));
    EXPECT_EQ(inode, StatusOf("c").stx_ino);
    EXPECT_EQ(0, Rename("c", "a"));
    EXPECT_EQ("of a", Contents("a"));
    EXPECT_EQ(0, Rename("full", "empty"));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "empty/inner"));
}

TEST_P(FileWorlds, MakingAndRemoving) {
    const std::string file = mFolder.MakeFile("a");
    EXPECT_EQ(0, MakeFolder("sub"));
    EXPECT_EQ(0, MakeFolder("sub/inner/"));
    EXPECT_EQ(EEXIST, MakeFolder("sub"));
    EXPECT_EQ(EEXIST, MakeFolder("a"));
    EXPECT_EQ(EEXIST, MakeFolder("a/"));
    EXPECT_EQ(ENOENT, MakeFolder("none/sub"));
    EXPECT_EQ(ENOTDIR, MakeFolder("a/sub"));
    EXPECT_EQ(ENOENT, Remove("none"));
    EXPECT_EQ(EISDIR, Remove("sub"));
    EXPECT_EQ(ENOTDIR, Remove("a", AT_REMOVEDIR));
    EXPECT_EQ(ENOTEMPTY, Remove("sub", AT_REMOVEDIR));
    EXPECT_EQ(EINVAL, Remove("sub/.", AT_REMOVEDIR));
    EXPECT_EQ(ENOTEMPTY, Remove("sub/inner/..", AT_REMOVEDIR));
    EXPECT_EQ(EINVAL, Remove("a", 1 << 30));
    EXPECT_EQ(0, Remove("sub/inner", AT_REMOVEDIR));
    const int open = Open("a", O_RDONLY);
    EXPECT_EQ(0, Remove("a"));
    char bytes[20];
    EXPECT_EQ(8, Calls().pread(open, bytes, sizeof bytes, 0)) << "there as long as it is open";
    EXPECT_EQ(0, Calls().close(open));
}

TEST_P(FileWorlds, Links) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "of a");
    mFolder.MakeLink("sub", "link");
    mFolder.MakeLink("link/a", "second");
    EXPECT_EQ("of a", Contents("link/a"));
    EXPECT_EQ("of a", Contents("second"));
    char target[4] = {};
    EXPECT_EQ(3, Calls().readlinkat(AT_FDCWD, (mFolder / "link").c_str(), target, 4));
    EXPECT_EQ("sub", std::string(target, 3));
    EXPECT_EQ(2, Calls().readlinkat(AT_FDCWD, (mFolder / "link").c_str(), target, 2));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().readlinkat(AT_FDCWD, (mFolder / "sub").c_str(), target, 4) < 0));
    EXPECT_TRUE(S_ISLNK(StatusOf("link").stx_mode));
    EXPECT_TRUE(S_ISDIR(StatusOf("link", 0).stx_mode));
    EXPECT_TRUE(S_ISDIR(StatusOf("link/").stx_mode));
    char* const path = Calls().realpath((mFolder / "second").c_str(), nullptr);
    ASSERT_NE(nullptr, path);
    EXPECT_EQ(mFolder / "sub/a", path);
    std::free(path);
    EXPECT_EQ(nullptr, Calls().realpath((mFolder / "none").c_str(), nullptr));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(0, Remove("link"));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "sub"));
}

TEST_P(FileWorlds, Listing) {
    mFolder.MakeFile("a");
    mFolder.MakeFolder("sub");
    mFolder.MakeLink("a", "link");
    const std::size_t openCount = OpenDescriptorCount();
    DIR* const folder = Calls().fdopendir(Open("", O_RDONLY | O_DIRECTORY));
    ASSERT_NE(nullptr, folder);
    std::set<std::string> names;
    errno = 0;
    while (const struct dirent* const entry = Calls().readdir(folder)) {
        names.insert(entry->d_name);
        if (std::string_view("sub") == entry->d_name) {
            EXPECT_EQ(StatusOf("sub").stx_ino, entry->d_ino);
        }
    }
    EXPECT_EQ(0, errno);
    EXPECT_EQ((std::set<std::string>{".", "..", "a", "link", "sub"}), names);
    EXPECT_EQ(0, Calls().closedir(folder));
    EXPECT_EQ(openCount, OpenDescriptorCount());
    const int file = Open("a", O_RDONLY);
    EXPECT_EQ(nullptr, Calls().fdopendir(file));
    EXPECT_EQ(ENOTDIR, errno);
    EXPECT_EQ(0, Calls().close(file));
}

TEST_P(FileWorlds, Status) {
    mFolder.MakeFile("a", "12345");
    mFolder.MakeFile("b");
    mFolder.MakeFolder("sub/inner");
    const struct statx a = StatusOf("a");
    const struct statx b = StatusOf("b");
    const struct statx sub = StatusOf("sub");
    EXPECT_EQ(5U, a.stx_size);
    EXPECT_EQ(1U, a.stx_nlink);
    EXPECT_EQ(geteuid(), a.stx_uid);
    EXPECT_NE(a.stx_ino, b.stx_ino);
    EXPECT_EQ(a.stx_dev_minor, sub.stx_dev_minor);
    EXPECT_EQ(0, Calls().fchmodat(AT_FDCWD, (mFolder / "a").c_str(), 0640, 0));
    EXPECT_EQ(S_IFREG | 0640, StatusOf("a").stx_mode);
    const int file = Open("a", O_RDONLY);
    EXPECT_EQ(0, Calls().fchmod(file, 0400));
    EXPECT_EQ(0, Calls().fchown(file, geteuid(), getegid()));
    struct statx same = {};
    EXPECT_EQ(0, Calls().statx(file, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &same));
    EXPECT_EQ(a.stx_ino, same.stx_ino);
    EXPECT_EQ(S_IFREG | 0400, same.stx_mode);
    EXPECT_EQ(0, Remove("a"));
    EXPECT_EQ(0, Calls().statx(file, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &same));
    EXPECT_EQ(0U, same.stx_nlink);
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_EQ(ENOENT, ErrorOf(Calls().statx(AT_FDCWD, "", 0, STATX_BASIC_STATS, &same)));
    struct statvfs volume = {};
    EXPECT_EQ(0, Calls().statvfs(mFolder.Path().c_str(), &volume));
    EXPECT_EQ(255U, volume.f_namemax);
    EXPECT_GT(volume.f_blocks, 0U);
}

TEST_P(FileWorlds, Locks) {
    mFolder.MakeFile("a");
    const int one = Open("a", O_RDWR);
    const int other = Open("a", O_RDWR);
    EXPECT_EQ(0, Calls().flock(one, LOCK_SH));
    EXPECT_EQ(0, Calls().flock(other, LOCK_SH | LOCK_NB));
    EXPECT_EQ(EWOULDBLOCK, ErrorOf(Calls().flock(other, LOCK_EX | LOCK_NB)));
    EXPECT_EQ(0, Calls().flock(one, LOCK_EX | LOCK_NB)) << "the other's went when it asked for more";
    EXPECT_EQ(EWOULDBLOCK, ErrorOf(Calls().flock(other, LOCK_SH | LOCK_NB)));
    EXPECT_EQ(0, Calls().close(one));
    EXPECT_EQ(0, Calls().flock(other, LOCK_EX | LOCK_NB));
    EXPECT_EQ(0, Calls().flock(other, LOCK_UN));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().flock(other, 0)));
    EXPECT_EQ(0, Calls().close(other));
}

TEST_P(FileWorlds, LocksOfRanges) {
    mFolder.MakeFile("a");
    const int one = Open("a", O_RDWR);
    const int other = Open("a", O_RDWR);
    const int toRead = Open("a", O_RDONLY);
    const auto lock = [](int inFile, short inType, off_t inStart, off_t inCount,
                         int inCommand = F_OFD_SETLK) {
        struct flock range = {};
        range.l_type = inType;
        range.l_whence = SEEK_SET;
        range.l_start = inStart;
        range.l_len = inCount;
        return ErrorOf(Calls().fcntl(inFile, inCommand, &range));
    };
    EXPECT_EQ(0, lock(one, F_WRLCK, 10, 5));
    EXPECT_EQ(EAGAIN, lock(other, F_RDLCK, 14, 1));
    EXPECT_EQ(EAGAIN, lock(other, F_WRLCK, 0, 0)) << "to the end";
    EXPECT_EQ(0, lock(other, F_WRLCK, 0, 10));
    EXPECT_EQ(0, lock(other, F_WRLCK, 15, 1));
    EXPECT_EQ(0, Calls().flock(other, LOCK_EX | LOCK_NB)) << "is another lock";
    EXPECT_EQ(0, lock(one, F_RDLCK, 10, 5));
    EXPECT_EQ(0, lock(toRead, F_RDLCK, 10, 5));
    EXPECT_EQ(EAGAIN, lock(other, F_WRLCK, 10, 5));
    EXPECT_EQ(0, lock(one, F_UNLCK, 10, 5));
    EXPECT_EQ(0, Calls().close(toRead));
    EXPECT_EQ(0, lock(other, F_WRLCK, 10, 5));
    EXPECT_EQ(EINVAL, lock(one, F_RDLCK, -1, 5));
    EXPECT_EQ(0, Calls().close(other));
    EXPECT_EQ(0, lock(one, F_WRLCK, 0, 0)) << "it goes when the file is closed";
    EXPECT_EQ(0, Calls().close(one));
    EXPECT_EQ(EBADF, lock(one, F_RDLCK, 0, 1));
    const int again = Open("a", O_RDONLY);
    EXPECT_EQ(EBADF, lock(again, F_WRLCK, 0, 1));
    EXPECT_EQ(0, Calls().close(again));
}

TEST_P(FileWorlds, RoomBehindTheEnd) {
    mFolder.MakeFile("a", "12345");
    const int file = Open("a", O_RDWR);
    EXPECT_EQ(0, Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, 2, 10000));
    EXPECT_EQ("12345", FileWorld::Contents(mFolder / "a"));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, 0, 0)));
    EXPECT_EQ(EINVAL, ErrorOf(Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, -1, 1)));
    EXPECT_EQ(0, Calls().close(file));
    EXPECT_EQ(EBADF, ErrorOf(Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, 0, 1)));
    const int toRead = Open("a", O_RDONLY);
    EXPECT_EQ(EBADF, ErrorOf(Calls().fallocate(toRead, FALLOC_FL_KEEP_SIZE, 0, 1)));
    EXPECT_EQ(0, Calls().close(toRead));
}

// What the real one does only where there is such a disk.
TEST(MemoryFiles, FullDisk) {
    FileWorld folder(FileWorld::kMemory);
    folder.MakeFile("old", "12345");
    folder.Memory()->SetCapacity(10);
    const int file = Calls().openat(AT_FDCWD, (folder / "new").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_EQ(ENOSPC, Calls().posix_fallocate(file, 0, 6));
    EXPECT_EQ(0, Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, 0, 5));
    EXPECT_EQ(-1, Calls().fallocate(file, FALLOC_FL_KEEP_SIZE, 0, 6));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(5, Calls().write(file, "abcdefgh", 8)) << "as much as there was room for";
    EXPECT_EQ(-1, Calls().write(file, "fgh", 3));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(2, Calls().pwrite(file, "XY", 2, 0)) << "takes no room";
    FileWorld::Remove(folder / "old");
    EXPECT_EQ(3, Calls().write(file, "fgh", 3));
    EXPECT_EQ(0, Calls().close(file));
}

TEST(MemoryFiles, ShortReadsAndWrites) {
    FileWorld folder(FileWorld::kMemory);
    folder.MakeFile("a", "12345");
    folder.Memory()->SetMaxBytesPerCall(2);
    const int file = Calls().openat(AT_FDCWD, (folder / "a").c_str(), O_RDWR | O_CLOEXEC, 0);
    char bytes[5];
    EXPECT_EQ(2, Calls().pread(file, bytes, 5, 1));
    EXPECT_EQ(2, Calls().pwrite(file, "abcde", 5, 4));
    EXPECT_EQ(0, Calls().close(file));
}

TEST(MemoryFiles, LeaveTheTableAsItWas) {
    const auto before = Calls().openat;
    {
        const MemoryFiles files;
        EXPECT_NE(before, Calls().openat);
    }
    EXPECT_EQ(before, Calls().openat);
}

// A call that comes to the table is to be filled here, or to be said to have nothing to do with files.
TEST(MemoryFiles, FillsEveryCallAboutFiles) {
    const std::set<std::string> others = {
        "isatty",     "getenv",    "getuid",     "geteuid",   "getpwnam_r",     "getgrgid_r",
        "getgrnam_r", "getpid",    "getpwuid_r", "getrandom", "clock_gettime",  "sysconf",
        "sysinfo",    "sigaction", "raise",      "dlopen",    "dlclose",        "dlsym",
        "dlinfo",     "dladdr1",   "newlocale",  "uselocale", "freelocale",     "strerror_l",
        "malloc",     "calloc",    "realloc",    "free",      "clock_nanosleep"};
    const toolbox::os::SystemCalls real = Calls();
    const MemoryFiles files;
    toolbox::os::ForEachCall([&]<auto kCall>(const char* inName, toolbox::os::Failure) {
        EXPECT_EQ(others.count(inName) != 0, real.*kCall == Calls().*kCall) << inName;
    });
}

}  // namespace

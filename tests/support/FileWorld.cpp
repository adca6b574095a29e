#include "support/FileWorld.h"

#include "os/SystemCalls_test_access.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace support {

namespace {

constexpr uid_t kNobody = 65534;

const toolbox::os::SystemCalls& Calls() {
    return toolbox::os::Calls();
}

int ErrorOf(int inResult) {
    return inResult == 0 ? 0 : errno;
}

// Of a process whose root was changed to a plain folder the table of mounts does not show the root, and with
// mounts of its own it would no longer know where its program lies.
bool IsRootMounted() {
    struct statx status = {};
    return statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

// Mounts are this process's own from its beginning: all have other numbers then.
const bool sHasOwnMounts = IsRootMounted() && unshare(CLONE_NEWNS) == 0 &&
                           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;

int SyncNothing(int inDescriptor) {
    const int flags = fcntl(inDescriptor, F_GETFL);
    if (flags >= 0 && (flags & O_PATH) == 0) return 0;
    return errno = EBADF, -1;
}

}  // namespace

FileWorld::FileWorld(Kind inKind) {
    if (inKind == kReal) {
        mRealFolder.emplace();
        mPath = mRealFolder->Path();
        mRealSync = std::exchange(toolbox::os::CallsForTesting().fsync, SyncNothing);
        return;
    }
    mMemory.emplace();
    mPath = "/tmp/folder";
    EXPECT_EQ(0, Calls().mkdirat(AT_FDCWD, "/tmp", 0777));
    SetMode("/tmp", 01777);
    EXPECT_EQ(0, Calls().mkdirat(AT_FDCWD, mPath.c_str(), 0700));
}

FileWorld::~FileWorld() {
    while (!mRealMounts.empty())
        EXPECT_EQ(0, Unmount(mRealMounts.back()));
    if (mRealSync != nullptr) toolbox::os::CallsForTesting().fsync = mRealSync;
}

std::string FileWorld::MakeFile(std::string_view inName, std::string_view inContents) const {
    const std::string path = *this / inName;
    const int file = Calls().openat(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    EXPECT_GE(file, 0) << path;
    EXPECT_EQ(static_cast<ssize_t>(inContents.size()),
              Calls().write(file, inContents.data(), inContents.size()));
    EXPECT_EQ(0, Calls().close(file));
    return path;
}

std::string FileWorld::MakeFolder(std::string_view inName) const {
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = inName.find('/', end + 1);
        const std::string path = *this / inName.substr(0, end);
        EXPECT_TRUE(Calls().mkdirat(AT_FDCWD, path.c_str(), 0755) == 0 || errno == EEXIST) << path;
    }
    return *this / inName;
}

std::string FileWorld::MakeLink(const std::string& inTarget, std::string_view inName) {
    const std::string path = *this / inName;
    EXPECT_EQ(0, mMemory ? mMemory->MakeLink(inTarget, path) : symlink(inTarget.c_str(), path.c_str()));
    return path;
}

std::string FileWorld::MakePipe(std::string_view inName) {
    const std::string path = *this / inName;
    EXPECT_EQ(0, mMemory ? mMemory->MakeSpecial(path, S_IFIFO | 0600) : mkfifo(path.c_str(), 0600));
    return path;
}

int FileWorld::MakeHardLink(const std::string& inOldPath, const std::string& inNewPath) {
    return ErrorOf(Calls().linkat(AT_FDCWD, inOldPath.c_str(), AT_FDCWD, inNewPath.c_str(), 0));
}

void FileWorld::SetTimes(const std::string& inPath, const timespec& inAccess, const timespec& inChange) {
    const timespec times[] = {inAccess, inChange};
    EXPECT_EQ(0, Calls().utimensat(AT_FDCWD, inPath.c_str(), times, 0)) << inPath;
}

void FileWorld::SetMode(const std::string& inPath, mode_t inMode) {
    EXPECT_EQ(0, Calls().fchmodat(AT_FDCWD, inPath.c_str(), inMode, 0)) << inPath;
}

void FileWorld::Rename(const std::string& inOldPath, const std::string& inNewPath) {
    EXPECT_EQ(0, Calls().renameat2(AT_FDCWD, inOldPath.c_str(), AT_FDCWD, inNewPath.c_str(), 0)) << inOldPath;
}

void FileWorld::Remove(const std::string& inPath, bool inIsFolder) {
    EXPECT_EQ(0, Calls().unlinkat(AT_FDCWD, inPath.c_str(), inIsFolder ? AT_REMOVEDIR : 0)) << inPath;
}

void FileWorld::RemoveAll(const std::string& inPath) {
    if (Calls().unlinkat(AT_FDCWD, inPath.c_str(), 0) == 0 || errno == ENOENT) return;
    for (const std::string& name : NamesIn(inPath))
        RemoveAll(inPath + '/' + name);
    Remove(inPath, true);
}

bool FileWorld::Exists(const std::string& inPath) {
    return Calls().faccessat(AT_FDCWD, inPath.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

std::vector<std::string> FileWorld::NamesIn(const std::string& inPath) {
    std::vector<std::string> names;
    const int descriptor = Calls().openat(AT_FDCWD, inPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    DIR* const folder = Calls().fdopendir(descriptor);
    if (folder == nullptr) {
        ADD_FAILURE() << inPath << ' ' << errno;
        return names;
    }
    while (const struct dirent* const entry = Calls().readdir(folder)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    EXPECT_EQ(0, Calls().closedir(folder));
    std::sort(names.begin(), names.end());
    return names;
}

struct statx FileWorld::StatusOf(const std::string& inPath) {
    struct statx status = {};
    EXPECT_EQ(0, Calls().statx(AT_FDCWD, inPath.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &status))
        << inPath;
    return status;
}

std::string FileWorld::Contents(const std::string& inPath) {
    const int file = Calls().openat(AT_FDCWD, inPath.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (file < 0) return "errno " + std::to_string(errno);
    std::string contents = Contents(file);
    EXPECT_EQ(0, Calls().close(file));
    return contents;
}

std::string FileWorld::Contents(int inDescriptor) {
    std::string contents;
    char bytes[1000];
    ssize_t count = 0;
    while ((count = Calls().pread(inDescriptor, bytes, sizeof bytes, static_cast<off_t>(contents.size()))) >
           0)
        contents.append(bytes, static_cast<std::size_t>(count));
    return count < 0 ? "errno " + std::to_string(errno) : contents;
}

std::size_t FileWorld::OpenDescriptorCount() const {
    return mMemory ? mMemory->OpenCount() : test_files::OpenDescriptorCount();
}

bool FileWorld::MayMount() const {
    return mMemory || sHasOwnMounts;
}

int FileWorld::MountVolume(const std::string& inPath) {
    if (mMemory) return mMemory->MountVolume(inPath);
    const int error = ErrorOf(mount("none", inPath.c_str(), "tmpfs", 0, nullptr));
    if (error == 0) mRealMounts.push_back(inPath);
    return error;
}

int FileWorld::MountFolder(const std::string& inFolder, const std::string& inPath) {
    if (mMemory) return mMemory->MountFolder(inFolder, inPath);
    const int error = ErrorOf(mount(inFolder.c_str(), inPath.c_str(), nullptr, MS_BIND, nullptr));
    if (error == 0) mRealMounts.push_back(inPath);
    return error;
}

int FileWorld::Unmount(const std::string& inPath) {
    if (mMemory) return mMemory->Unmount(inPath);
    const int error = ErrorOf(umount(inPath.c_str()));
    if (error == 0) mRealMounts.erase(std::find(mRealMounts.begin(), mRealMounts.end(), inPath));
    return error;
}

int FileWorld::ForbidWriting(const std::string& inPath) {
    if (mMemory) return mMemory->ForbidWriting(inPath);
    return ErrorOf(mount(nullptr, inPath.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr));
}

FileWorld::CurrentFolder::CurrentFolder(FileWorld& ioWorld, const std::string& inPath)
    : mWorld(ioWorld), mBefore(ioWorld.mMemory ? "/" : std::filesystem::current_path().string()) {
    Go(inPath);
}

FileWorld::CurrentFolder::~CurrentFolder() {
    Go(mBefore);
}

void FileWorld::CurrentFolder::Go(const std::string& inPath) {
    EXPECT_EQ(0, mWorld.mMemory ? mWorld.mMemory->SetCurrentFolder(inPath) : chdir(inPath.c_str())) << inPath;
}

FileWorld::NoMoreDescriptors::NoMoreDescriptors(FileWorld& ioWorld) : mWorld(ioWorld) {
    EXPECT_EQ(0, getrlimit(RLIMIT_NOFILE, &mBefore));
    struct rlimit none = mBefore;
    none.rlim_cur = 0;
    if (mWorld.mMemory)
        mWorld.mMemory->SetMaxDescriptors(0);
    else
        EXPECT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
}

FileWorld::NoMoreDescriptors::~NoMoreDescriptors() {
    if (mWorld.mMemory)
        mWorld.mMemory->SetMaxDescriptors(SIZE_MAX);
    else
        EXPECT_EQ(0, setrlimit(RLIMIT_NOFILE, &mBefore));
}

FileWorld::OrdinaryUser::OrdinaryUser(FileWorld& ioWorld) : mIsChanged(geteuid() == 0) {
    if (!mIsChanged) return;
    const int folder = Calls().openat(AT_FDCWD, ioWorld.Path().c_str(), O_RDONLY | O_CLOEXEC, 0);
    EXPECT_EQ(0, Calls().fchown(folder, kNobody, kNobody));
    EXPECT_EQ(0, Calls().close(folder));
    mGroups.resize(static_cast<std::size_t>(getgroups(0, nullptr)));
    EXPECT_EQ(mGroups.size(),
              static_cast<std::size_t>(getgroups(static_cast<int>(mGroups.size()), mGroups.data())));
    EXPECT_EQ(0, setgroups(0, nullptr));
    EXPECT_EQ(0, setresgid(kNobody, kNobody, 0));
    EXPECT_EQ(0, setresuid(kNobody, kNobody, 0));
}

FileWorld::OrdinaryUser::~OrdinaryUser() {
    if (!mIsChanged) return;
    EXPECT_EQ(0, setresuid(0, 0, 0));
    EXPECT_EQ(0, setresgid(0, 0, 0));
    EXPECT_EQ(0, setgroups(mGroups.size(), mGroups.data()));
}

}  // namespace support

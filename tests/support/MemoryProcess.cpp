// What the file system in memory is given by other doors than the table's, and what it tells of its process.
#include "support/Failed.h"
#include "support/MemoryFiles.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace support {

namespace {

constexpr const char* kProcesses = "/proc";
constexpr mode_t kReadable = 0444;
constexpr mode_t kListable = 0555;

std::string Octal(int inNumber) {
    char text[20];
    std::snprintf(text, sizeof text, "0%o", static_cast<unsigned>(inNumber));
    return text;
}

}  // namespace

MemoryFiles::Place MemoryFiles::InProcess(const std::string& inFolder, const std::string& inName) const {
    Place place;
    (void)mTree.Find(mTree.Root(), kProcesses + ('/' + std::to_string(getpid())) + inFolder + '/' + inName,
                     Last::kEntry, place);
    return place;
}

void MemoryFiles::MakeProcess() {
    const auto find = [&](const std::string& inPath) {
        Place place;
        (void)mTree.Find(mTree.Root(), inPath, Last::kEntry, place);
        return place;
    };
    mTree.Add(find(kProcesses), S_IFDIR | kListable);
    mTree.Mount(mTree.NewVolume("proc", 0).root, find(kProcesses).item);
    const std::string own = std::to_string(getpid());
    mTree.Add(find(std::string(kProcesses) + "/self"), S_IFLNK | 0777)->bytes = own;
    mTree.Add(find(kProcesses + ('/' + own)), S_IFDIR | kListable);
    mTree.Add(InProcess("", "fd"), S_IFDIR | kListable);
    mTree.Add(InProcess("", "fdinfo"), S_IFDIR | kListable);
    mTree.Add(InProcess("", "mountinfo"), S_IFREG | kReadable)->toBytes = [this] {
        return mTree.MountTable();
    };
    mTree.Add(find("/dev"), S_IFDIR | 0755);
    mTree.Add(find("/dev/fd"), S_IFLNK | 0777)->bytes = std::string(kProcesses) + "/self/fd";
    mTree.Add(find("/dev/null"), S_IFCHR | 0666);
}

void MemoryFiles::TellOfOpened(int inDescriptor, const std::string& inPath) {
    const OpenFile& file = mOpenFiles[inDescriptor];
    const std::string name = std::to_string(inDescriptor);
    const MemoryNodePtr link = mTree.Add(InProcess("/fd", name), S_IFLNK | 0700);
    link->opened = file.at;
    if (!mTree.GetPath(file.at, link->bytes)) link->bytes = inPath;
    mTree.Add(InProcess("/fdinfo", name), S_IFREG | kReadable)->toBytes = [this, inDescriptor] {
        const OpenFile& opened = mOpenFiles[inDescriptor];
        return "pos:\t" + std::to_string(opened.position) + "\nflags:\t" + Octal(opened.flags) +
               "\nmnt_id:\t" + std::to_string(opened.at.mount->id) + "\nino:\t" +
               std::to_string(opened.at.node->inode) + '\n';
    };
}

void MemoryFiles::TellOfClosed(int inDescriptor) {
    for (const char* const folder : {"/fd", "/fdinfo"})
        MemoryTree::Unlink(InProcess(folder, std::to_string(inDescriptor)));
}

int MemoryFiles::MakeLink(const std::string& inTarget, const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    Place place;
    const int error = inTarget.empty() ? ENOENT : FindNewName(AT_FDCWD, inPath.c_str(), place);
    if (error != 0) return error;
    mTree.Add(place, S_IFLNK | 0777)->bytes = inTarget;
    return 0;
}

int MemoryFiles::MakeSpecial(const std::string& inPath, mode_t inMode) {
    const std::lock_guard lock(mMutex);
    Place place;
    const int error = FindNewName(AT_FDCWD, inPath.c_str(), place);
    if (error == 0) mTree.Add(place, inMode);
    return error;
}

int MemoryFiles::SetCurrentFolder(const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryLocation folder;
    const int error = FindItem(AT_FDCWD, inPath.c_str(), 0, folder);
    if (error != 0) return error;
    if (!folder.node->IsFolder()) return ENOTDIR;
    if (!MemoryTree::MayAccess(*folder.node, X_OK)) return EACCES;
    mCurrentFolder = folder;
    return 0;
}

int MemoryFiles::MountVolume(const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryLocation point;
    const int error = FindItem(AT_FDCWD, inPath.c_str(), 0, point);
    if (error != 0) return error;
    if (!point.node->IsFolder()) return ENOTDIR;
    mTree.Mount(mTree.NewVolume("memory", 1 << 30).root, point);
    return 0;
}

int MemoryFiles::MountFolder(const std::string& inFolder, const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryLocation folder;
    MemoryLocation point;
    int error = FindItem(AT_FDCWD, inFolder.c_str(), 0, folder);
    if (error == 0) error = FindItem(AT_FDCWD, inPath.c_str(), 0, point);
    if (error != 0) return error;
    if (folder.node->IsFolder() != point.node->IsFolder()) return ENOTDIR;
    mTree.Mount(folder.node, point);
    return 0;
}

// A new volume whatever the source is, of the types that begin as empty ones.
int MemoryFiles::MountAt(const char*, const char* inFolder, const char* inType, unsigned long inFlags,
                         const void*) {
    const std::string_view type = inType == nullptr ? "" : inType;
    MemoryLocation point;
    int error = geteuid() == 0 ? FindItem(AT_FDCWD, inFolder, 0, point) : EPERM;
    if (error == 0 && !point.node->IsFolder()) error = ENOTDIR;
    if (error == 0 && type != "memory" && type != "tmpfs") error = ENODEV;
    if (error == 0 && (inFlags & ~(MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC)) != 0) error = EINVAL;
    if (error != 0) return Fail(error);
    mTree.Mount(mTree.NewVolume(type, 1 << 30).root, point);
    mTree.Top(point).mount->isReadOnly = (inFlags & MS_RDONLY) != 0;
    return 0;
}

bool MemoryFiles::IsBusy(const MemoryMount& inMount) const {
    return mCurrentFolder.mount == &inMount || mTree.IsMountedOn(inMount) ||
           std::any_of(mOpenFiles.begin(), mOpenFiles.end(),
                       [&](const auto& inFile) { return inFile.second.at.mount == &inMount; });
}

int MemoryFiles::Unmount(const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryLocation at;
    const int error = FindItem(AT_FDCWD, inPath.c_str(), 0, at);
    if (error != 0) return error;
    if (at.node != at.mount->root || at.mount->point.node == nullptr) return EINVAL;
    if (IsBusy(*at.mount)) return EBUSY;
    mTree.Unmount(*at.mount);
    return 0;
}

int MemoryFiles::ForbidWriting(const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryLocation at;
    const int error = FindItem(AT_FDCWD, inPath.c_str(), 0, at);
    if (error != 0) return error;
    if (at.node != at.mount->root) return EINVAL;
    at.mount->isReadOnly = true;
    return 0;
}

}  // namespace support

// The calls of the file system in memory that take names.
#include "support/Failed.h"
#include "support/MemoryFiles.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace support {

namespace {

constexpr unsigned kBlockBytes = 4096;

// 0 or the errno of giving a name in a folder.
int CheckNewName(const MemoryTree::Place& inPlace) {
    if (inPlace.folder.mount->isReadOnly) return EROFS;
    return MemoryTree::MayAccess(*inPlace.folder.node, W_OK | X_OK) ? 0 : EACCES;
}

// 0 or the errno of taking away the name of an item of that kind.
int CheckOldName(const MemoryTree::Place& inPlace, bool inIsFolder) {
    const MemoryNode& folder = *inPlace.folder.node;
    const MemoryNode& item = *inPlace.Named();
    if (!MemoryTree::MayAccess(folder, W_OK | X_OK)) return EACCES;
    const uid_t user = geteuid();
    const bool isOthers = user != 0 && user != item.owner && user != folder.owner;
    if ((folder.mode & S_ISVTX) != 0 && isOthers) return EPERM;
    if (inIsFolder != item.IsFolder()) return inIsFolder ? ENOTDIR : EISDIR;
    return 0;
}

bool IsInside(const MemoryNode* inItem, const MemoryNode& inFolder) {
    for (; inItem != nullptr; inItem = inItem->Folder())
        if (inItem == &inFolder) return true;
    return false;
}

struct statx_timestamp TimeOf(const timespec& inTime) {
    struct statx_timestamp time = {};
    time.tv_sec = inTime.tv_sec;
    time.tv_nsec = static_cast<__u32>(inTime.tv_nsec);
    return time;
}

bool IsTimeToSet(const timespec& inTime) {
    const long nanos = inTime.tv_nsec;
    return nanos == UTIME_NOW || nanos == UTIME_OMIT || (nanos >= 0 && nanos < 1'000'000'000);
}

void SetTime(const timespec& inTime, const timespec& inNow, timespec& ioTime) {
    if (inTime.tv_nsec != UTIME_OMIT) ioTime = inTime.tv_nsec == UTIME_NOW ? inNow : inTime;
}

unsigned char EntryTypeOf(const MemoryNode& inItem) {
    return static_cast<unsigned char>(IFTODT(inItem.mode));
}

struct dirent EntryOf(const std::string& inName, const MemoryNode& inItem) {
    struct dirent entry = {};
    entry.d_ino = inItem.inode;
    entry.d_type = EntryTypeOf(inItem);
    entry.d_reclen = sizeof entry;
    inName.copy(entry.d_name, sizeof entry.d_name - 1);
    return entry;
}

// Removing what a path names by "." or "..", or the root.
int ErrorOfNameless(const char* inPath, bool inRemovesFolder) {
    if (!inRemovesFolder) return EISDIR;
    std::string path = inPath;
    path.erase(path.find_last_not_of('/') + 1);
    const std::string name = path.substr(path.rfind('/') + 1);
    return name == "." ? EINVAL : name == ".." ? ENOTEMPTY : EBUSY;
}

}  // namespace

int MemoryFiles::FolderOf(int inFolder, const char* inPath, MemoryLocation& outFolder) {
    outFolder = mCurrentFolder;
    if (inFolder == AT_FDCWD || inPath[0] == '/') return 0;
    const OpenFile* const file = Get(inFolder);
    if (file == nullptr) return EBADF;
    outFolder = file->at;
    return 0;
}

int MemoryFiles::Find(int inFolder, const char* inPath, Last inLast, Place& outPlace) {
    if (inPath[0] == '\0') return ENOENT;
    MemoryLocation folder;
    const int error = FolderOf(inFolder, inPath, folder);
    return error != 0 ? error : mTree.Find(folder, inPath, inLast, outPlace);
}

int MemoryFiles::FindItem(int inFolder, const char* inPath, int inFlags, MemoryLocation& outItem) {
    if (inPath[0] == '\0' && (inFlags & AT_EMPTY_PATH) != 0) return FolderOf(inFolder, inPath, outItem);
    Place place;
    const Last last = (inFlags & AT_SYMLINK_NOFOLLOW) == 0 ? Last::kFollowed : Last::kItself;
    const int error = Find(inFolder, inPath, last, place);
    outItem = place.item;
    return error == 0 && outItem.node == nullptr ? ENOENT : error;
}

// The system's type of an open folder is nobody's to look into.
DIR* MemoryFiles::List(int inDescriptor) {
    const OpenFile* const file = GetOpen(inDescriptor);
    if (file == nullptr || !file->Item().IsFolder()) {
        errno = file == nullptr ? EBADF : ENOTDIR;
        return nullptr;
    }
    auto listing = std::make_unique<Listing>();
    listing->descriptor = inDescriptor;
    const MemoryNode& folder = file->Item();
    listing->entries = {EntryOf(".", folder), EntryOf("..", *mTree.Above(file->at).node)};
    for (const auto& [name, item] : folder.items)
        listing->entries.push_back(EntryOf(name, *item));
    Listing* const result = listing.get();
    mListings[result] = std::move(listing);
    return reinterpret_cast<DIR*>(result);
}

struct dirent* MemoryFiles::NextOf(DIR* ioListing) {
    Listing& listing = *reinterpret_cast<Listing*>(ioListing);
    return listing.next == listing.entries.size() ? nullptr : &listing.entries[listing.next++];
}

int MemoryFiles::CloseListing(DIR* inListing) {
    const auto found = mListings.find(reinterpret_cast<Listing*>(inListing));
    const int descriptor = found->second->descriptor;
    mListings.erase(found);
    return Close(descriptor);
}

int MemoryFiles::GetStatus(int inFolder, const char* inPath, int inFlags, unsigned inMask,
                           struct statx* outStatus) {
    constexpr int kFlags = AT_EMPTY_PATH | AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW | AT_STATX_SYNC_TYPE;
    MemoryLocation at;
    const int error = (inFlags & ~kFlags) != 0 ? EINVAL : FindItem(inFolder, inPath, inFlags, at);
    if (error != 0) return Fail(error);
    const MemoryNode& item = *at.node;
    *outStatus = {};
    outStatus->stx_mask = STATX_BASIC_STATS | STATX_MNT_ID | (inMask & STATX_BTIME);
    outStatus->stx_blksize = kBlockBytes;
    outStatus->stx_nlink = static_cast<__u32>(item.names.size());
    if (item.IsFolder() && !item.IsRemoved()) {
        outStatus->stx_nlink = 2;
        for (const auto& entry : item.items)
            outStatus->stx_nlink += entry.second->IsFolder();
    }
    outStatus->stx_uid = item.owner;
    outStatus->stx_gid = item.group;
    outStatus->stx_mode = static_cast<__u16>(item.mode);
    outStatus->stx_ino = item.inode;
    outStatus->stx_size = item.bytes.size();
    outStatus->stx_blocks = (item.bytes.size() + 511) / 512;
    if ((inMask & STATX_BTIME) != 0) outStatus->stx_btime = TimeOf(item.birth);
    outStatus->stx_atime = TimeOf(item.accessed);
    outStatus->stx_mtime = TimeOf(item.changed);
    outStatus->stx_ctime = TimeOf(item.statusChanged);
    outStatus->stx_dev_major = item.volume->deviceMajor;
    outStatus->stx_dev_minor = item.volume->deviceMinor;
    outStatus->stx_mnt_id = at.mount->id;
    outStatus->stx_attributes_mask = STATX_ATTR_MOUNT_ROOT;
    if (at.node == at.mount->root) outStatus->stx_attributes = STATX_ATTR_MOUNT_ROOT;
    return 0;
}

int MemoryFiles::GetVolumeStatus(const char* inPath, struct statvfs* outStatus) {
    MemoryLocation at;
    const int error = FindItem(AT_FDCWD, inPath, 0, at);
    if (error != 0) return Fail(error);
    const MemoryVolume& volume = *at.node->volume;
    *outStatus = {};
    outStatus->f_bsize = outStatus->f_frsize = kBlockBytes;
    outStatus->f_blocks = volume.capacityBytes / kBlockBytes;
    outStatus->f_bfree = outStatus->f_bavail = volume.FreeByteCount() / kBlockBytes;
    if (volume.capacityBytes != 0) outStatus->f_files = outStatus->f_ffree = 1 << 20;
    outStatus->f_flag = at.mount->isReadOnly ? ST_RDONLY : 0;
    outStatus->f_namemax = NAME_MAX;
    return 0;
}

int MemoryFiles::CheckAccess(int inFolder, const char* inPath, int inMode, int inFlags) {
    constexpr int kFlags = AT_EACCESS | AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH;
    if ((inMode & ~(R_OK | W_OK | X_OK)) != 0 || (inFlags & ~kFlags) != 0) return Fail(EINVAL);
    MemoryLocation at;
    const int error = FindItem(inFolder, inPath, inFlags, at);
    if (error != 0) return Fail(error);
    const bool may = (inFlags & AT_EACCESS) != 0
                         ? MemoryTree::MayAccess(*at.node, inMode)
                         : MemoryTree::MayAccess(*at.node, inMode, {getuid(), getgid()});
    if (!may) return Fail(EACCES);
    return (inMode & W_OK) != 0 && at.mount->isReadOnly ? Fail(EROFS) : 0;
}

int MemoryFiles::SetModeOf(const MemoryLocation& inItem, mode_t inMode) {
    MemoryNode& item = *inItem.node;
    if (inItem.mount->isReadOnly) return Fail(EROFS);
    if (item.IsLink()) return Fail(EOPNOTSUPP);
    if (geteuid() != 0 && geteuid() != item.owner) return Fail(EPERM);
    item.mode = (item.mode & S_IFMT) | (inMode & 07777);
    MemoryTree::TouchStatus(item);
    return 0;
}

int MemoryFiles::SetMode(int inFolder, const char* inPath, mode_t inMode, int inFlags) {
    MemoryLocation at;
    const int error =
        (inFlags & ~AT_SYMLINK_NOFOLLOW) != 0 ? EINVAL : FindItem(inFolder, inPath, inFlags, at);
    return error != 0 ? Fail(error) : SetModeOf(at, inMode);
}

int MemoryFiles::SetOwnerOf(const MemoryLocation& inItem, uid_t inUser, gid_t inGroup) {
    if (inItem.mount->isReadOnly) return Fail(EROFS);
    MemoryNode& item = *inItem.node;
    const bool keepsUser = inUser == static_cast<uid_t>(-1) || inUser == item.owner;
    const bool keepsGroup = inGroup == static_cast<gid_t>(-1) || inGroup == item.group;
    if (geteuid() != 0 && !(keepsUser && keepsGroup)) return Fail(EPERM);
    if (!keepsUser) item.owner = inUser;
    if (!keepsGroup) item.group = inGroup;
    MemoryTree::TouchStatus(item);
    return 0;
}

int MemoryFiles::SetOwnerOfOpen(int inDescriptor, uid_t inUser, gid_t inGroup) {
    const OpenFile* const file = GetOpen(inDescriptor);
    return file == nullptr ? Fail(EBADF) : SetOwnerOf(file->at, inUser, inGroup);
}

int MemoryFiles::SetOwner(int inFolder, const char* inPath, uid_t inUser, gid_t inGroup, int inFlags) {
    MemoryLocation at;
    const int error = (inFlags & ~(AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH)) != 0
                          ? EINVAL
                          : FindItem(inFolder, inPath, inFlags, at);
    return error != 0 ? Fail(error) : SetOwnerOf(at, inUser, inGroup);
}

int MemoryFiles::SetTimes(int inFolder, const char* inPath, const timespec* inTimes, int inFlags) {
    if ((inFlags & ~(AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH)) != 0) return Fail(EINVAL);
    const timespec now = {0, UTIME_NOW};
    const timespec accessed = inTimes == nullptr ? now : inTimes[0];
    const timespec changed = inTimes == nullptr ? now : inTimes[1];
    if (!IsTimeToSet(accessed) || !IsTimeToSet(changed)) return Fail(EINVAL);
    if (accessed.tv_nsec == UTIME_OMIT && changed.tv_nsec == UTIME_OMIT) return 0;
    MemoryLocation at;
    const int error = FindItem(inFolder, inPath, inFlags, at);
    if (error != 0) return Fail(error);
    if (at.mount->isReadOnly) return Fail(EROFS);
    MemoryNode& item = *at.node;
    const bool isOwn = geteuid() == 0 || geteuid() == item.owner;
    // Whoever may write may say that it was now.
    const bool isTouched = accessed.tv_nsec == UTIME_NOW && changed.tv_nsec == UTIME_NOW;
    if (!isOwn && !(isTouched && MemoryTree::MayAccess(item, W_OK))) return Fail(isTouched ? EACCES : EPERM);
    MemoryTree::TouchStatus(item);
    SetTime(accessed, item.statusChanged, item.accessed);
    SetTime(changed, item.statusChanged, item.changed);
    return 0;
}

int MemoryFiles::MakeFolder(int inFolder, const char* inPath, mode_t inMode) {
    Place place;
    int error = Find(inFolder, inPath, Last::kEntry, place);
    if (error == 0 && place.item.node != nullptr) error = EEXIST;
    if (error == 0) error = CheckNewName(place);
    if (error != 0) return Fail(error);
    mTree.Add(place, S_IFDIR | (inMode & 01777));
    return 0;
}

// 0 or the errno of a rename between two places that were found.
int MemoryFiles::CheckRename(const Place& inOld, const Place& inNew, unsigned inFlags) const {
    const bool exchanges = (inFlags & RENAME_EXCHANGE) != 0;
    const bool keeps = (inFlags & RENAME_NOREPLACE) != 0;
    if (inOld.folder.mount != inNew.folder.mount) return EXDEV;
    if (inOld.name.empty()) return EBUSY;
    if (inNew.name.empty()) return keeps ? EEXIST : EBUSY;
    if (inOld.folder.mount->isReadOnly) return EROFS;
    const MemoryNode* const old = inOld.Named();
    const MemoryNode* const replaced = inNew.Named();
    if (old == nullptr) return ENOENT;
    if (keeps && replaced != nullptr) return EEXIST;
    if (exchanges && replaced == nullptr) return ENOENT;
    if (exchanges && inNew.hasSlash && !replaced->IsFolder()) return ENOTDIR;
    if (!old->IsFolder() && (inOld.hasSlash || (inNew.hasSlash && !exchanges))) return ENOTDIR;
    if (IsInside(inNew.folder.node.get(), *old)) return EINVAL;
    if (replaced != nullptr && IsInside(inOld.folder.node.get(), *replaced))
        return exchanges ? EINVAL : ENOTEMPTY;
    if (replaced == old) return 0;
    int error = CheckOldName(inOld, old->IsFolder());
    if (error == 0 && replaced == nullptr) error = CheckNewName(inNew);
    if (error == 0 && replaced != nullptr)
        error = CheckOldName(inNew, exchanges ? replaced->IsFolder() : old->IsFolder());
    if (error != 0) return error;
    if (mTree.IsMountPoint(*old) || (replaced != nullptr && mTree.IsMountPoint(*replaced))) return EBUSY;
    return exchanges || replaced == nullptr || replaced->items.empty() ? 0 : ENOTEMPTY;
}

int MemoryFiles::Rename(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
                        unsigned inFlags) {
    const unsigned known = RENAME_NOREPLACE | RENAME_EXCHANGE;
    if ((inFlags & ~known) != 0 || (inFlags & known) == known) return Fail(EINVAL);
    Place oldPlace;
    Place newPlace;
    int error = Find(inOldFolder, inOldPath, Last::kEntry, oldPlace);
    if (error == 0) error = Find(inNewFolder, inNewPath, Last::kEntry, newPlace);
    if (error == 0) error = CheckRename(oldPlace, newPlace, inFlags);
    if (error != 0) return Fail(error);
    const MemoryNodePtr item = oldPlace.item.node;
    const MemoryNodePtr replaced = newPlace.item.node;
    if (item == replaced) return 0;
    MemoryTree::Unlink(oldPlace);
    if (replaced != nullptr) MemoryTree::Unlink(newPlace);
    MemoryTree::Link(newPlace, item);
    if ((inFlags & RENAME_EXCHANGE) != 0) MemoryTree::Link(oldPlace, replaced);
    return 0;
}

int MemoryFiles::FindNewName(int inFolder, const char* inPath, Place& outPlace) {
    const int error = Find(inFolder, inPath, Last::kEntry, outPlace);
    if (error != 0) return error;
    if (outPlace.item.node != nullptr) return EEXIST;
    return outPlace.hasSlash ? ENOENT : CheckNewName(outPlace);
}

int MemoryFiles::AddName(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
                         int inFlags) {
    if ((inFlags & ~AT_SYMLINK_FOLLOW) != 0) return Fail(EINVAL);
    const int flags = (inFlags & AT_SYMLINK_FOLLOW) != 0 ? 0 : AT_SYMLINK_NOFOLLOW;
    MemoryLocation item;
    Place place;
    int error = FindItem(inOldFolder, inOldPath, flags, item);
    if (error == 0) error = FindNewName(inNewFolder, inNewPath, place);
    if (error == 0 && item.mount != place.folder.mount) error = EXDEV;
    if (error == 0 && item.node->IsFolder()) error = EPERM;
    if (error != 0) return Fail(error);
    MemoryTree::Link(place, item.node);
    return 0;
}

int MemoryFiles::Remove(int inFolder, const char* inPath, int inFlags) {
    if ((inFlags & ~AT_REMOVEDIR) != 0) return Fail(EINVAL);
    const bool isOfFolder = inFlags == AT_REMOVEDIR;
    Place place;
    int error = Find(inFolder, inPath, Last::kEntry, place);
    if (error == 0 && place.name.empty()) error = ErrorOfNameless(inPath, isOfFolder);
    if (error == 0 && place.folder.mount->isReadOnly) error = EROFS;
    const MemoryNode* const item = error == 0 ? place.Named() : nullptr;
    if (error == 0 && item == nullptr) error = ENOENT;
    if (error == 0 && !isOfFolder && place.hasSlash) error = item->IsFolder() ? EISDIR : ENOTDIR;
    if (error == 0) error = CheckOldName(place, isOfFolder);
    if (error == 0 && mTree.IsMountPoint(*item)) error = EBUSY;
    if (error == 0 && !item->items.empty()) error = ENOTEMPTY;
    if (error != 0) return Fail(error);
    MemoryTree::Unlink(place);
    return 0;
}

ssize_t MemoryFiles::ReadLink(int inFolder, const char* inPath, char* outTarget, std::size_t inCapacity) {
    if (inCapacity == 0) return Fail(EINVAL);
    MemoryLocation at;
    const int error = FindItem(inFolder, inPath, AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH, at);
    if (error != 0) return Fail(error);
    if (!at.node->IsLink()) return Fail(inPath[0] == '\0' ? ENOENT : EINVAL);
    return static_cast<ssize_t>(mTree.TextOf(*at.node).copy(outTarget, inCapacity));
}

char* MemoryFiles::Canonical(const char* inPath, char* outBuffer) {
    Place place;
    std::string path;
    int error = mTree.FindByText(mCurrentFolder, inPath, place);
    if (error == 0 && place.item.node == nullptr) error = ENOENT;
    if (error == 0 && !mTree.GetPath(place.folder, path)) error = ENOENT;
    if (!place.name.empty()) path += (path == "/" ? "" : "/") + place.name;
    if (error == 0 && path.size() >= PATH_MAX) error = ENAMETOOLONG;
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    return outBuffer == nullptr ? strdup(path.c_str()) : std::strcpy(outBuffer, path.c_str());
}

}  // namespace support

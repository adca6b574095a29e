// The calls of the file system in memory that take names.
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

constexpr unsigned kDeviceMinor = 77;
constexpr unsigned kBlockBytes = 4096;

int Fail(int inErrno) {
    errno = inErrno;
    return -1;
}
int Answer(int inErrno) {
    return inErrno == 0 ? 0 : Fail(inErrno);
}

bool MayChangeNamesIn(const MemoryNode& inFolder) {
    return MemoryTree::MayAccess(inFolder, W_OK | X_OK);
}

bool IsInside(const MemoryNode* inItem, const MemoryNode& inFolder) {
    for (;; inItem = inItem->folder) {
        if (inItem == nullptr) return false;
        if (inItem == &inFolder) return true;
        if (inItem->folder == inItem) return false;
    }
}

struct statx_timestamp TimeOf(const timespec& inTime) {
    struct statx_timestamp time = {};
    time.tv_sec = inTime.tv_sec;
    time.tv_nsec = static_cast<__u32>(inTime.tv_nsec);
    return time;
}

unsigned char EntryTypeOf(const MemoryNode& inItem) {
    return inItem.IsFolder() ? DT_DIR : inItem.IsLink() ? DT_LNK : DT_REG;
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

int MemoryFiles::FolderOf(int inFolder, const char* inPath, MemoryNodePtr& outFolder) {
    outFolder = mTree.Root();
    if (inFolder == AT_FDCWD || inPath[0] == '/') return 0;
    const OpenFile* const file = Get(inFolder);
    if (file == nullptr) return EBADF;
    outFolder = file->item;
    return 0;
}

int MemoryFiles::Find(int inFolder, const char* inPath, bool inFollowsLast, MemoryTree::Place& outPlace) {
    if (inPath[0] == '\0') return ENOENT;
    MemoryNodePtr folder;
    const int error = FolderOf(inFolder, inPath, folder);
    return error != 0 ? error : mTree.Find(folder, inPath, inFollowsLast, outPlace);
}

int MemoryFiles::FindItem(int inFolder, const char* inPath, bool inFollowsLast, MemoryNodePtr& outItem) {
    MemoryTree::Place place;
    const int error = Find(inFolder, inPath, inFollowsLast, place);
    outItem = place.item;
    return error == 0 && outItem == nullptr ? ENOENT : error;
}

int MemoryFiles::MakeLink(const std::string& inTarget, const std::string& inPath) {
    const std::lock_guard lock(mMutex);
    MemoryTree::Place place;
    const int error = Find(AT_FDCWD, inPath.c_str(), false, place);
    if (error != 0) return error;
    if (place.item != nullptr) return EEXIST;
    if (place.mustBeFolder || inTarget.empty()) return ENOENT;
    if (!MayChangeNamesIn(*place.folder)) return EACCES;
    mTree.Add(place, S_IFLNK | 0777)->bytes = inTarget;
    return 0;
}

MemoryFiles::Listing* MemoryFiles::List(int inDescriptor) {
    const OpenFile* const file = Get(inDescriptor);
    const int error = file == nullptr || (file->flags & O_PATH) != 0 ? EBADF
                      : file->item->IsFolder()                       ? 0
                                                                     : ENOTDIR;
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    auto listing = std::make_unique<Listing>();
    listing->descriptor = inDescriptor;
    const MemoryNode& folder = *file->item;
    listing->entries = {EntryOf(".", folder),
                        EntryOf("..", folder.folder == nullptr ? folder : *folder.folder)};
    for (const auto& [name, item] : folder.items)
        listing->entries.push_back(EntryOf(name, *item));
    Listing* const result = listing.get();
    mListings[result] = std::move(listing);
    return result;
}

struct dirent* MemoryFiles::NextOf(Listing& ioListing) {
    return ioListing.next == ioListing.entries.size() ? nullptr : &ioListing.entries[ioListing.next++];
}

int MemoryFiles::CloseListing(Listing* inListing) {
    const int descriptor = inListing->descriptor;
    mListings.erase(inListing);
    return Close(descriptor);
}

int MemoryFiles::GetStatus(int inFolder, const char* inPath, int inFlags, struct statx& outStatus) {
    MemoryNodePtr item;
    int error = 0;
    if (inPath[0] == '\0' && (inFlags & AT_EMPTY_PATH) != 0)
        error = FolderOf(inFolder, inPath, item);
    else
        error = FindItem(inFolder, inPath, (inFlags & AT_SYMLINK_NOFOLLOW) == 0, item);
    if (error != 0) return Fail(error);
    outStatus = {};
    outStatus.stx_mask = STATX_BASIC_STATS | STATX_BTIME;
    outStatus.stx_blksize = kBlockBytes;
    outStatus.stx_nlink = item->folder == nullptr ? 0 : 1;
    if (item->IsFolder() && item->folder != nullptr)
        for (const auto& entry : item->items)
            outStatus.stx_nlink += entry.second->IsFolder();
    if (item->IsFolder() && item->folder != nullptr) ++outStatus.stx_nlink;
    outStatus.stx_uid = item->owner;
    outStatus.stx_gid = item->group;
    outStatus.stx_mode = static_cast<__u16>(item->mode);
    outStatus.stx_ino = item->inode;
    outStatus.stx_size = item->bytes.size();
    outStatus.stx_blocks = (item->bytes.size() + 511) / 512;
    outStatus.stx_btime = TimeOf(item->birth);
    outStatus.stx_atime = outStatus.stx_ctime = outStatus.stx_mtime = TimeOf(item->changed);
    outStatus.stx_dev_minor = kDeviceMinor;
    return 0;
}

int MemoryFiles::GetVolumeStatus(const char* inPath, struct statvfs& outStatus) {
    MemoryNodePtr item;
    const int error = FindItem(AT_FDCWD, inPath, true, item);
    if (error != 0) return Fail(error);
    outStatus = {};
    outStatus.f_bsize = outStatus.f_frsize = kBlockBytes;
    outStatus.f_blocks = mCapacityBytes / kBlockBytes;
    outStatus.f_bfree = outStatus.f_bavail = FreeByteCount() / kBlockBytes;
    outStatus.f_files = outStatus.f_ffree = 1 << 20;
    outStatus.f_namemax = NAME_MAX;
    return 0;
}

int MemoryFiles::CheckAccess(int inFolder, const char* inPath, int inMode, int inFlags) {
    MemoryNodePtr item;
    const int error = FindItem(inFolder, inPath, (inFlags & AT_SYMLINK_NOFOLLOW) == 0, item);
    if (error != 0) return Fail(error);
    return MemoryTree::MayAccess(*item, inMode) ? 0 : Fail(EACCES);
}

int MemoryFiles::SetMode(const MemoryNodePtr& inItem, mode_t inMode) {
    if (inItem->IsLink()) return Fail(EOPNOTSUPP);
    if (geteuid() != 0 && geteuid() != inItem->owner) return Fail(EPERM);
    inItem->mode = (inItem->mode & S_IFMT) | (inMode & 07777);
    return 0;
}

int MemoryFiles::SetOwner(const MemoryNodePtr& inItem, uid_t inUser, gid_t inGroup) {
    const bool keepsUser = inUser == static_cast<uid_t>(-1) || inUser == inItem->owner;
    const bool keepsGroup = inGroup == static_cast<gid_t>(-1) || inGroup == inItem->group;
    if (geteuid() != 0 && !(keepsUser && keepsGroup)) return Fail(EPERM);
    if (!keepsUser) inItem->owner = inUser;
    if (!keepsGroup) inItem->group = inGroup;
    return 0;
}

int MemoryFiles::MakeFolder(int inFolder, const char* inPath, mode_t inMode) {
    MemoryTree::Place place;
    const int error = Find(inFolder, inPath, false, place);
    // A file is there whatever the path says behind its name.
    if (error != 0) return Fail(error == ENOTDIR && place.mustBeFolder ? EEXIST : error);
    if (place.item != nullptr) return Fail(EEXIST);
    if (!MayChangeNamesIn(*place.folder)) return Fail(EACCES);
    mTree.Add(place, S_IFDIR | (inMode & 01777));
    return 0;
}

// 0 or the errno of a rename between two places that were found.
int MemoryFiles::CheckReplacement(const MemoryTree::Place& inOld, const MemoryTree::Place& inNew,
                                  unsigned inFlags) const {
    const bool exchanges = (inFlags & RENAME_EXCHANGE) != 0;
    const bool keepsNew = (inFlags & RENAME_NOREPLACE) != 0;
    if (inOld.name.empty()) return EBUSY;
    if (inNew.name.empty()) return keepsNew ? EEXIST : EBUSY;
    if (inOld.item == nullptr) return ENOENT;
    if (keepsNew && inNew.item != nullptr) return EEXIST;
    if (exchanges && inNew.item == nullptr) return ENOENT;
    if (!inOld.item->IsFolder() && inNew.mustBeFolder) return ENOTDIR;
    if (IsInside(inNew.folder.get(), *inOld.item)) return EINVAL;
    if (inNew.item != nullptr && IsInside(inOld.folder.get(), *inNew.item))
        return exchanges ? EINVAL : ENOTEMPTY;
    if (!MayChangeNamesIn(*inOld.folder) || !MayChangeNamesIn(*inNew.folder)) return EACCES;
    if (inNew.item == nullptr || exchanges || inOld.item == inNew.item) return 0;
    if (inOld.item->IsFolder() && !inNew.item->IsFolder()) return ENOTDIR;
    if (!inOld.item->IsFolder() && inNew.item->IsFolder()) return EISDIR;
    return inNew.item->items.empty() ? 0 : ENOTEMPTY;
}

int MemoryFiles::Rename(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
                        unsigned inFlags) {
    const unsigned known = RENAME_NOREPLACE | RENAME_EXCHANGE;
    if ((inFlags & ~known) != 0 || (inFlags & known) == known) return Fail(EINVAL);
    MemoryTree::Place oldPlace;
    MemoryTree::Place newPlace;
    int error = Find(inOldFolder, inOldPath, false, oldPlace);
    if (error == 0) error = Find(inNewFolder, inNewPath, false, newPlace);
    if (error == 0) error = CheckReplacement(oldPlace, newPlace, inFlags);
    if (error != 0 || oldPlace.item == newPlace.item) return Answer(error);
    mTree.Remove(oldPlace);
    if (newPlace.item != nullptr) mTree.Remove(newPlace);
    mTree.Put(newPlace, oldPlace.item);
    if ((inFlags & RENAME_EXCHANGE) != 0) mTree.Put(oldPlace, newPlace.item);
    return 0;
}

int MemoryFiles::Remove(int inFolder, const char* inPath, int inFlags) {
    if ((inFlags & ~AT_REMOVEDIR) != 0) return Fail(EINVAL);
    const bool isOfFolder = inFlags == AT_REMOVEDIR;
    MemoryTree::Place place;
    const int error = Find(inFolder, inPath, false, place);
    if (error != 0) return Fail(error);
    if (place.name.empty()) return Fail(ErrorOfNameless(inPath, isOfFolder));
    if (place.item == nullptr) return Fail(ENOENT);
    if (!MayChangeNamesIn(*place.folder)) return Fail(EACCES);
    if (isOfFolder != place.item->IsFolder()) return Fail(isOfFolder ? ENOTDIR : EISDIR);
    if (!place.item->items.empty()) return Fail(ENOTEMPTY);
    mTree.Remove(place);
    return 0;
}

ssize_t MemoryFiles::ReadLink(int inFolder, const char* inPath, char* outTarget, std::size_t inCapacity) {
    if (inCapacity == 0) return Fail(EINVAL);
    MemoryNodePtr item;
    const int error = FindItem(inFolder, inPath, false, item);
    if (error != 0) return Fail(error);
    if (!item->IsLink()) return Fail(EINVAL);
    return static_cast<ssize_t>(item->bytes.copy(outTarget, inCapacity));
}

char* MemoryFiles::Canonical(const char* inPath, char* outBuffer) {
    MemoryNodePtr item;
    const int error = FindItem(AT_FDCWD, inPath, true, item);
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    const std::string path = mTree.PathOf(*item);
    return outBuffer == nullptr ? strdup(path.c_str()) : std::strcpy(outBuffer, path.c_str());
}

void MemoryFiles::ReplaceByPath(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.statx = [](int inFolder, const char* inPath, int inFlags, unsigned, struct statx* outStatus) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->GetStatus(inFolder, inPath, inFlags, *outStatus);
    };
    ioCalls.statvfs = [](const char* inPath, struct statvfs* outStatus) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->GetVolumeStatus(inPath, *outStatus);
    };
    ioCalls.faccessat = [](int inFolder, const char* inPath, int inMode, int inFlags) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->CheckAccess(inFolder, inPath, inMode, inFlags);
    };
    ioCalls.fchmodat = [](int inFolder, const char* inPath, mode_t inMode, int inFlags) {
        const std::lock_guard lock(sInUse->mMutex);
        MemoryNodePtr item;
        const bool follows = (inFlags & AT_SYMLINK_NOFOLLOW) == 0;
        const int error = sInUse->FindItem(inFolder, inPath, follows, item);
        return error != 0 ? Fail(error) : sInUse->SetMode(item, inMode);
    };
    ioCalls.mkdirat = [](int inFolder, const char* inPath, mode_t inMode) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->MakeFolder(inFolder, inPath, inMode);
    };
    ioCalls.renameat2 = [](int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
                           unsigned inFlags) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Rename(inOldFolder, inOldPath, inNewFolder, inNewPath, inFlags);
    };
    ioCalls.unlinkat = [](int inFolder, const char* inPath, int inFlags) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Remove(inFolder, inPath, inFlags);
    };
    ioCalls.readlinkat = [](int inFolder, const char* inPath, char* outTarget, std::size_t inCapacity) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->ReadLink(inFolder, inPath, outTarget, inCapacity);
    };
    ioCalls.realpath = [](const char* inPath, char* outBuffer) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Canonical(inPath, outBuffer);
    };
}

}  // namespace support

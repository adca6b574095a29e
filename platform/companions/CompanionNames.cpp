#include "companions/CompanionNames.h"

#include "CompanionFile.h"
#include "companions/Companions.h"
#include "os/Rename.h"
#include "os/Replace.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <tuple>
#include <utility>

namespace toolbox::files {

namespace {

constexpr mode_t kMark = S_ISVTX;
constexpr mode_t kPermissions = 07777;
constexpr std::size_t kMaxNameBytes = 255;
// For another who writes it: he needs a few milliseconds.
constexpr int kMaxWaitMillis = 50;
// How often it is looked for one that came later while it is locked, or is replaced by who holds the lock.
constexpr int kLooks = 3;
// How many visible names are tried until one is free.
constexpr int kNames = 100;

bool HasNoLinks(int inError) {
    return inError == EPERM || inError == EOPNOTSUPP || inError == ENOSYS || inError == EMLINK;
}

bool IsAt(int inFolder, const std::string& inName, const os::ItemIdentity& inItem) noexcept {
    os::ItemStatus status;
    return os::GetStatusAt(inFolder, inName.c_str(), status) == 0 && status.identity.IsSameItem(inItem);
}

struct LockedFile {
    os::FileRange file;
    os::ItemStatus status;
    bool isLocked = false;
};

// Opens the AppleDouble file of that name and locks it until it is closed, where files can be locked. EBUSY
// also when the name passed to something else meanwhile.
int OpenLocked(int inFolder, const std::string& inName, LockedFile& outFile,
               int inMaxMillis = kMaxWaitMillis) {
    Companion companion;
    int error = OpenNamed(inFolder, inName, companion);
    if (error != 0) return error;
    const int descriptor = companion.file.DescriptorNumber();
    const int lockError = LockFile(descriptor, inMaxMillis);
    if (lockError == EBUSY) return EBUSY;
    outFile.isLocked = lockError == 0;
    error = os::GetDescriptorStatus(descriptor, outFile.status);
    if (error != 0) return error;
    os::ItemStatus named;
    error = os::GetStatusAt(inFolder, inName.c_str(), named);
    if (error == ENOENT || (error == 0 && !named.identity.IsSameItem(outFile.status.identity))) return EBUSY;
    if (error == 0) outFile.file = std::move(companion.file);
    return error;
}

// One that cannot be locked may be what another call is about.
bool IsLeftover(const LockedFile& inOrphan) {
    return inOrphan.isLocked && IsMarked(inOrphan.status);
}

void SetMarkOf(int inDescriptor, const os::ItemStatus& inStatus, bool inIsMarked) noexcept {
    const mode_t mode = inStatus.mode & kPermissions & ~kMark;
    (void)os::Calls().fchmod(inDescriptor, inIsMarked ? mode | kMark : mode);
}

// A mark that was there before, with more names than one, is that of a leftover somewhere else, which stays.
void Unmark(int inDescriptor, const os::ItemStatus& inBefore) noexcept {
    if (inBefore.linkCount == 1 || (inBefore.mode & kMark) == 0) SetMarkOf(inDescriptor, inBefore, false);
}

// Another name of a leftover is that of the companion itself, which needs no mark any more.
int Drop(int inFolder, const std::string& inName, const LockedFile& inFile) {
    if (os::Calls().unlinkat(inFolder, inName.c_str(), 0) != 0) return errno;
    if (inFile.status.linkCount == 2) SetMarkOf(inFile.file.DescriptorNumber(), inFile.status, false);
    return 0;
}

// "name (companion)", "name (companion 2)" and so on, of what of the name there is room for.
std::string VisibleName(const std::string& inItemName, int inNumber) {
    const std::string number = inNumber == 1 ? std::string() : ' ' + std::to_string(inNumber);
    const std::string suffix = " (companion" + number + ')';
    std::size_t byteCount = inItemName.size();
    if (byteCount + suffix.size() > kMaxNameBytes) {
        byteCount = kMaxNameBytes - suffix.size();
        while (byteCount > 0 && (inItemName[byteCount] & 0xC0) == 0x80)  // within a character
            --byteCount;
    }
    return inItemName.substr(0, byteCount) + suffix;
}

}  // namespace

namespace {

constinit os::Mutex sNewCompanions;
constinit thread_local int sHolds = 0;

}  // namespace

NoNewCompanions::NoNewCompanions() {
    if (sHolds++ == 0) sNewCompanions.Lock();
}

NoNewCompanions::~NoNewCompanions() {
    if (--sHolds == 0) sNewCompanions.Unlock();
}

int LockedNames::Lock(const Place& inPlace1, const Place& inPlace2) {
    const os::ItemIdentity& folder1 = inPlace1.folderStatus.identity;
    const os::ItemIdentity& folder2 = inPlace2.folderStatus.identity;
    const bool isOne = folder1.IsSameItem(folder2);
    // In one order, whoever locks both.
    const bool isInOrder = std::tie(folder1.device, folder1.inode) < std::tie(folder2.device, folder2.inode);
    const Place* const places[] = {isInOrder ? &inPlace1 : &inPlace2, isInOrder ? &inPlace2 : &inPlace1};
    for (int i = 0; i < (isOne ? 1 : 2); ++i) {
        const int error = os::OpenFile(places[i]->folder.Number(), ".", O_RDONLY | O_DIRECTORY, mFolders[i]);
        if (error != 0 && error != EACCES) return error;
        if (error == 0 && LockFile(mFolders[i].Number(), kMaxWriterMillis) == EBUSY) return EBUSY;
    }
    return 0;
}

void HeldCompanion::TakeNone(const Place& inItem) {
    mItem = &inItem;
    mFolder = inItem.folder.Number();
    mName = CompanionName(inItem.name);
}

int HeldCompanion::Take(const Place& inItem) {
    TakeNone(inItem);
    LockedFile companion;
    const int error = OpenLocked(mFolder, mName, companion);
    if (error != 0) return IsNoCompanion(error) ? 0 : error;
    mFile = std::move(companion.file);
    mStatus = companion.status;
    return 0;
}

int HeldCompanion::AddName(const Place& inNewItem) {
    mNewName = CompanionName(inNewItem.name);
    const int newFolder = inNewItem.folder.Number();
    if (!mFile.IsOpen()) {
        mLaterFolder = newFolder;
        return 0;
    }
    // A mark that cannot be made, as on another user's file, makes an ordinary file of a leftover, no more.
    SetMarkOf(mFile.DescriptorNumber(), mStatus, true);
    int error = 0;
    if (os::Calls().linkat(mFolder, mName.c_str(), newFolder, mNewName.c_str(), 0) != 0) {
        error = errno;
        Unmark(mFile.DescriptorNumber(), mStatus);
        mIsCopied = HasNoLinks(error);
        if (mIsCopied) error = os::CopyToNew(mFile.DescriptorNumber(), newFolder, mNewName);
    }
    if (error == 0) mNewFolder = newFolder;
    return error;
}

bool HeldCompanion::HasNewName() const noexcept {
    return mNewFolder >= 0 && (mIsCopied || IsAt(mNewFolder, mNewName, mStatus.identity));
}

void HeldCompanion::Unlink(int inFolder, const std::string& inName) noexcept {
    mNewFolder = -1;
    if (os::Calls().unlinkat(inFolder, inName.c_str(), 0) == 0 && !mIsCopied)
        Unmark(mFile.DescriptorNumber(), mStatus);
}

HeldCompanion::~HeldCompanion() {
    if (HasNewName()) Unlink(mNewFolder, mNewName);
}

// Whoever makes a companion looks after that whether its item is still there, and takes it away where it is
// not; he may have looked before the item went. The item is gone already, so that he is waited for.
template <typename Do>
void HeldCompanion::IfOneCameLater(Do inDo) noexcept {
    try {
        LockedFile later;
        os::ItemStatus item;
        int error = EBUSY;
        for (int look = 0; look < kLooks && error == EBUSY; ++look)
            error = OpenLocked(mFolder, mName, later, kMaxWriterMillis);
        if (error == 0 && !IsMarked(later.status) && GetStatus(*mItem, item) == ENOENT) inDo();
    } catch (const std::bad_alloc&) {
        // Then it stays as an ordinary file.
    }
}

void HeldCompanion::LeaveOldName() noexcept {
    if (mLaterFolder >= 0)
        IfOneCameLater(
            [this] { (void)os::RenameToNew(mFolder, mName.c_str(), mLaterFolder, mNewName.c_str()); });
    if (HasNewName() && IsAt(mFolder, mName, mStatus.identity)) Unlink(mFolder, mName);
    mNewFolder = -1;  // also where that cannot be told: then it is the old name that is left over
}

void HeldCompanion::Delete() noexcept {
    if (!mFile.IsOpen())
        IfOneCameLater([this] { (void)os::Calls().unlinkat(mFolder, mName.c_str(), 0); });
    else if (IsAt(mFolder, mName, mStatus.identity))
        (void)os::Calls().unlinkat(mFolder, mName.c_str(), 0);
}

AsideOrphan::~AsideOrphan() {
    if (mFolder >= 0) (void)os::RenameToNew(mFolder, mNewName.c_str(), mFolder, mName.c_str());
}

int AsideOrphan::SetAside(const Place& inNewItem) {
    os::ItemStatus orphan;
    int error = os::GetStatusAt(inNewItem.folder.Number(), CompanionName(inNewItem.name).c_str(), orphan);
    if (error != 0) return error == ENOENT || error == ENAMETOOLONG || error == EACCES ? 0 : error;
    LockedNames names;
    error = names.Lock(inNewItem, inNewItem);
    return error == 0 ? SetAsideLocked(inNewItem) : error;
}

int AsideOrphan::SetAsideLocked(const Place& inNewItem) {
    const int folder = inNewItem.folder.Number();
    mName = CompanionName(inNewItem.name);
    LockedFile orphan;
    os::ItemStatus item;
    int error = OpenLocked(folder, mName, orphan);
    // What may not be looked at is told by nobody from any other file.
    if (error != 0) return IsNoCompanion(error) || error == EACCES ? 0 : error;
    error = GetStatus(inNewItem, item);
    if (error != ENOENT) return error;
    if (IsLeftover(orphan)) return Drop(folder, mName, orphan);
    error = EEXIST;
    for (int i = 1; i <= kNames && error == EEXIST; ++i) {
        mNewName = VisibleName(inNewItem.name, i);
        error = os::RenameToNew(folder, mName.c_str(), folder, mNewName.c_str());
    }
    if (error == 0) mFolder = folder;
    return error;
}

void DropLeftover(const Place& inMissing) {
    const int folder = inMissing.folder.Number();
    const std::string name = CompanionName(inMissing.name);
    LockedFile orphan;
    os::ItemStatus item;
    if (OpenLocked(folder, name, orphan) == 0 && IsLeftover(orphan) && GetStatus(inMissing, item) == ENOENT)
        (void)Drop(folder, name, orphan);
}

bool IsMarked(const os::ItemStatus& inStatus) {
    return inStatus.kind == os::ItemKind::kFile && inStatus.linkCount > 1 && (inStatus.mode & kMark) != 0;
}

// Who deletes an item holds the companion until both are gone, so that under the lock one tells the other.
bool HasOwner(const Place& inMissing) {
    LockedFile orphan;
    os::ItemStatus item;
    const int error = OpenLocked(inMissing.folder.Number(), CompanionName(inMissing.name), orphan);
    return error == EBUSY || (error == 0 && GetStatus(inMissing, item) == 0);
}

}  // namespace toolbox::files

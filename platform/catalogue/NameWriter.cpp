#include "NameWriter.h"

#include "Finding.h"
#include "KnownNames.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "os/Rename.h"
#include "os/SystemCalls.h"

#include <fcntl.h>

#include <cerrno>
#include <new>
#include <string>

namespace toolbox::files {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kNewFolderMode = 0777;

int DeleteNamed(const Place& inPlace, os::ItemKind inKind) {
    const int flags = inKind == os::ItemKind::kFolder ? AT_REMOVEDIR : 0;
    if (os::Calls().unlinkat(inPlace.folder.Number(), inPlace.name.c_str(), flags) == 0) return 0;
    return errno == EEXIST ? ENOTEMPTY : errno;  // both are said of a folder that is not empty
}

// Of a copied volume's root the companion lies within. It is no item, so the folder is empty but for it.
int DeleteOwnCompanion(const Place& inFolder) {
    Place inside;
    int error = os::OpenFile(inFolder.folder.Number(), inFolder.name.c_str(),
                             O_PATH | O_DIRECTORY | O_NOFOLLOW, inside.folder);
    if (error != 0) return error;
    const std::string own = CompanionName(".");
    error = FindName(
        inside, [&own](const struct dirent& inEntry) { return inEntry.d_name == own ? ENOENT : ENOTEMPTY; });
    if (error != ENOENT) return error;
    inside.name = ".";
    HeldCompanion companion;
    error = companion.Take(inside);
    if (error == 0) companion.Delete();
    return error;
}

int DeleteFolder(const Place& inPlace) {
    int error = DeleteNamed(inPlace, os::ItemKind::kFolder);
    if (error != ENOTEMPTY) return error;
    error = DeleteOwnCompanion(inPlace);
    return error == 0 ? DeleteNamed(inPlace, os::ItemKind::kFolder) : error;
}

// The item first: what is stopped in between leaves a companion without its item, which is an ordinary file,
// and not an item that has lost what it had.
int DeleteWith(HeldCompanion& ioCompanion, const Place& inPlace, os::ItemKind inKind) {
    const int error = inKind == os::ItemKind::kFolder ? DeleteFolder(inPlace) : DeleteNamed(inPlace, inKind);
    if (error == 0) ioCompanion.Delete();
    return error;
}

int DeleteItem(const Place& inPlace, os::ItemKind inKind) {
    const NoNewCompanions noneComes;
    HeldCompanion companion;
    const int error = companion.Take(inPlace);
    // What may not be looked at stays, as another user's file.
    return error == 0 || error == EACCES ? DeleteWith(companion, inPlace, inKind) : error;
}

void RecordAt(const Place& inPlace, const os::ItemStatus& inItem, NodeFacts& outFacts) {
    const PathStep step = StepOf(inItem, false, inPlace.name);
    outFacts = {};
    (void)NodeTable::Shared().RecordChild(inPlace.folderStatus.identity, step, outFacts);
}

int RenameAt(const Place& inPlace, const Place& inNewPlace) {
    return os::RenameToNew(inPlace.folder.Number(), inPlace.name.c_str(), inNewPlace.folder.Number(),
                           inNewPlace.name.c_str());
}

int RenameToOtherCase(const Place& inPlace, const Place& inNewPlace) {
    return os::RenameToOtherCase(inPlace.folder.Number(), inPlace.name.c_str(), inNewPlace.name.c_str());
}

// What cannot be recorded for want of memory gets its old name back; where it cannot have that, it is moved,
// and recorded by who looks for it.
template <typename Rename>
int RenameAndRecord(const Place& inPlace, const os::ItemStatus& inItem, const Place& inNewPlace,
                    NodeFacts& outFacts, Rename inRename) {
    const int error = inRename(inPlace, inNewPlace);
    if (error != 0) return error;
    try {
        RecordAt(inNewPlace, inItem, outFacts);
    } catch (const std::bad_alloc&) {
        if (inRename(inNewPlace, inPlace) == 0) throw;
    }
    return 0;
}

// Whether the name in a folder is one of those that its item is found by, but not the one on disk.
int FindByOtherCase(Place& ioNewPlace, const std::string& inName, bool& outIsFound) {
    outIsFound = false;
    os::ItemStatus status;
    if (!IsSameName(CatalogueName(inName), CatalogueName(ioNewPlace.name))) return 0;
    if (GetStatus(ioNewPlace, status) != 0) return 0;
    const std::string newName = ioNewPlace.name;
    const int error = FindName(ioNewPlace, [&newName](const struct dirent& inEntry) {
        return inEntry.d_name == newName ? 0 : ENOENT;
    });
    ioNewPlace.name = newName;
    outIsFound = error == ENOENT;
    return outIsFound || error == EACCES ? 0 : error;
}

// The companion is found by either name, so it needs not have the new one.
int ChangeCase(const Place& inPlace, const os::ItemStatus& inItem, const Place& inNewPlace,
               NodeFacts& outFacts) {
    const std::string name = CompanionName(inPlace.name);
    const std::string newName = CompanionName(inNewPlace.name);
    const NoNewCompanions noneComes;
    HeldCompanion companion;
    int error = companion.Take(inPlace);
    if (error == 0) error = RenameAndRecord(inPlace, inItem, inNewPlace, outFacts, RenameToOtherCase);
    if (error == 0 && companion.IsThere())
        (void)os::RenameToOtherCase(inPlace.folder.Number(), name.c_str(), newName.c_str());
    return error;
}

// What was there may have changed places before the names were locked.
int CheckItem(const Place& inPlace, const os::ItemStatus& inItem) {
    os::ItemStatus status;
    const int error = GetStatus(inPlace, status);
    if (error != 0) return error;
    return status.identity.IsSameItem(inItem.identity) ? 0 : ENOENT;
}

}  // namespace

int CheckNewName(Place& ioPlace, const std::string& inOwnName) {
    const std::string diskName = ioPlace.name;
    const std::u16string name = CatalogueName(diskName);
    const int error = FindSimilarNames(ioPlace, name, [&](const struct dirent& inEntry) {
        return inEntry.d_name == inOwnName || IsCompanion(ioPlace) ? ENOENT : EEXIST;
    });
    ioPlace.name = diskName;
    return error == ENOENT || error == EACCES ? 0 : error;
}

int NewItem::MakeFile() {
    os::Descriptor file;
    int error = os::OpenFile(mPlace.folder.Number(), mPlace.name.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | os::kItemItself, file, kNewFileMode);
    if (error != 0) return os::ErrorOfNewName(mPlace.folder.Number(), error);
    os::ItemStatus status;
    error = os::GetDescriptorStatus(file.Number(), status);
    mIdentity = status.identity;
    if (error != 0) (void)DeleteNamed(mPlace, mKind);
    return error;
}

int NewItem::MakeFolder() {
    const int folder = mPlace.folder.Number();
    if (os::Calls().mkdirat(folder, mPlace.name.c_str(), kNewFolderMode) != 0)
        return os::ErrorOfNewName(folder, errno);
    os::ItemStatus status;
    const int error = GetStatus(mPlace, status);
    mIdentity = status.identity;
    if (error != 0) (void)DeleteNamed(mPlace, mKind);
    return error;
}

int NewItem::Make() {
    int error = 0;
    if (!KnownNames::Shared().HasNeither(mPlace)) {
        error = CheckNewName(mPlace, {});
        const NoNewCompanions noneComes;
        if (error == 0) error = mOrphan.SetAside(mPlace);
    }
    if (error == 0) error = mKind == os::ItemKind::kFolder ? MakeFolder() : MakeFile();
    mIsToDelete = error == 0;
    return error;
}

void NewItem::Keep() noexcept {
    mIsToDelete = false;
    mOrphan.StayAside();
}

NewItem::~NewItem() {
    os::ItemStatus status;
    if (!mIsToDelete || GetStatus(mPlace, status) != 0 || !status.identity.IsSameItem(mIdentity)) return;
    try {
        (void)DeleteItem(mPlace, mKind);
    } catch (const std::bad_alloc&) {
        (void)DeleteNamed(mPlace, mKind);
    }
}

int DeleteUnlockedItem(const Place& inPlace, const os::ItemStatus& inItem, bool& outIsLocked) {
    const NoNewCompanions noneComes;
    HeldCompanion companion;
    int error = companion.Take(inPlace);
    outIsLocked = inItem.isImmutable;
    if (error == 0 && companion.IsThere()) error = IsLocked(inPlace, inItem, outIsLocked);
    if (outIsLocked) return EPERM;
    return error == 0 || error == EACCES ? DeleteWith(companion, inPlace, inItem.kind) : error;
}

// Whatever comes into the folder is told before the item can go from it: both change the one folder. So a
// question behind that tells of each companion that was made while the item was there.
int DeleteLoneItem(const Place& inPlace, const LoneItems& inLone) {
    const NoNewCompanions noneComes;
    HeldCompanion companion;
    companion.TakeNone(inPlace);
    if (!inLone.IsLone(inPlace.name)) return ESTALE;
    const int error = DeleteNamed(inPlace, os::ItemKind::kFile);
    if (error == 0 && !inLone.IsLone(inPlace.name)) companion.Delete();
    return error;
}

int MoveItem(const Place& inPlace, const os::ItemStatus& inItem, Place& ioNewPlace, NodeFacts& outFacts) {
    const bool isSameFolder = inPlace.folderStatus.identity.IsSameItem(ioNewPlace.folderStatus.identity);
    if (isSameFolder && inPlace.name == ioNewPlace.name) {
        RecordAt(inPlace, inItem, outFacts);
        return 0;
    }
    if (inPlace.folderStatus.Volume() != ioNewPlace.folderStatus.Volume()) return EXDEV;

    bool isOtherCase = false;
    if (isSameFolder) {
        const int error = FindByOtherCase(ioNewPlace, inPlace.name, isOtherCase);
        if (error != 0) return error;
        if (isOtherCase) return ChangeCase(inPlace, inItem, ioNewPlace, outFacts);
    }

    // It may have the very name itself that its companion is to get.
    const bool isOrphan = isSameFolder && inPlace.name == CompanionName(ioNewPlace.name);
    int error = CheckNewName(ioNewPlace, isSameFolder ? inPlace.name : std::string());
    if (error == 0 && WouldBeCompanion(inPlace, inItem.identity, ioNewPlace)) return EEXIST;
    const NoNewCompanions noneComes;
    LockedNames names;
    AsideOrphan orphan;
    HeldCompanion companion;
    if (error == 0) error = names.Lock(inPlace, ioNewPlace);
    if (error == 0) error = CheckItem(inPlace, inItem);
    // First, because a leftover at the new place is the item's own companion.
    if (error == 0 && !isOrphan) error = orphan.SetAsideLocked(ioNewPlace);
    if (error == 0) error = companion.Take(inPlace);
    if (error == 0) error = companion.AddName(ioNewPlace);
    if (error == 0) error = RenameAndRecord(inPlace, inItem, ioNewPlace, outFacts, RenameAt);
    if (error != 0) return error;
    companion.LeaveOldName();
    orphan.StayAside();
    return 0;
}

}  // namespace toolbox::files

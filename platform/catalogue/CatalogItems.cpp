#include "FolderItems.h"
#include "ItemCompanions.h"
#include "MovedItems.h"
#include "NameWriter.h"
#include "NearItems.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/ItemInfo.h"
#include "catalogue/Volumes.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/CatalogItems.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxNameBytes = 255;

struct NameText {
    UniCharCount length;
    const UniChar* units;
};

OSStatus DiskNameOf(const NameText& inName, std::string& outName) {
    if (inName.units == nullptr || inName.length == 0) return errFSMissingName;
    if (inName.length > kMaxNameUnits) return bdNamErr;
    const std::u16string name(inName.units, inName.units + inName.length);
    return DiskName(name, outName) && outName.size() <= kMaxNameBytes ? noErr : OSStatus{bdNamErr};
}

struct NewInfo {
    FSCatalogInfoBitmap which;
    const FSCatalogInfo* info;
};
struct NewOutputs {
    FSRef* ref;
    FSSpec* spec;
    UInt32* nodeID;
};

// At a place that has its name by now.
OSStatus MakeAt(const FoundItem& inFolder, Place& ioPlace, os::ItemKind inKind, const NewInfo& inInfo,
                const NewOutputs& inOutputs) {
    NewItem made(ioPlace, inKind);
    const int error = made.Make();
    if (error == EINVAL) return bdNamErr;  // a file system may have no such name
    OSStatus status = StatusOfChange(error, inFolder);
    if (status != noErr) return status;
    FoundItem item;
    FSSpec spec = {};
    status = FindAtPlace(inFolder, ioPlace, item);
    if (status != noErr) return status;
    if (!item.status.identity.IsSameItem(made.Identity())) return fnfErr;
    if (inInfo.which != kFSCatInfoNone) status = SetInfoOf(item, inInfo.which, *inInfo.info, ItemAge::kNew);
    if (status == noErr && inOutputs.spec != nullptr) status = MakeSpec(item, spec);
    if (status != noErr) return status;
    made.Keep();
    if (inOutputs.ref != nullptr) *inOutputs.ref = MakeRef(item);
    if (inOutputs.spec != nullptr) *inOutputs.spec = spec;
    if (inOutputs.nodeID != nullptr) *inOutputs.nodeID = item.facts.nodeID;
    return noErr;
}

OSStatus Make(const FSRef& inFolder, const NameText& inName, os::ItemKind inKind, const NewInfo& inInfo,
              const NewOutputs& inOutputs) {
    FoundItem folder;
    Place place;
    OSStatus status = CheckSettable(inInfo.which, inInfo.info);
    if (status == noErr) status = DiskNameOf(inName, place.name);
    if (status == noErr) status = OpenFolderOfRef(inFolder, folder, place);
    return status == noErr ? MakeAt(folder, place, inKind, inInfo, inOutputs) : status;
}

OSErr MakeByRef(const FSRef* inFolder, const NameText& inName, os::ItemKind inKind, const NewInfo& inInfo,
                const NewOutputs& inOutputs) {
    if (inFolder == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Make(*inFolder, inName, inKind, inInfo, inOutputs));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

// What fails here is done again in the ordinary way, which tells why.
bool DeleteNear(const FSRef& inRef) {
    NearItem item;
    if (!item.FindFolder(inRef)) return false;
    if (item.Lone() != nullptr && DeleteLoneItem(item.ItemPlace(), *item.Lone()) == 0) return true;
    bool isLocked = false;
    return item.LookAt() && CheckOwnerUnlocked(item.ItemPlace()) == noErr &&
           DeleteUnlockedItem(item.ItemPlace(), item.Status(), isLocked) == 0;
}

OSStatus DeleteAt(const Place& inPlace, const FoundItem& inItem) {
    bool isLocked = false;
    const int error = DeleteUnlockedItem(inPlace, inItem.status, isLocked);
    return isLocked ? OSStatus{fLckdErr} : StatusOfChange(error, inItem);
}

OSStatus Delete(const FSRef& inRef) {
    if (DeleteNear(inRef)) return noErr;
    FoundItem item;
    Place place;
    const OSStatus status = OpenItemOfRef(inRef, item, place, LockCheck::kByCaller);
    return status == noErr ? DeleteAt(place, item) : status;
}

OSStatus Move(const FSRef& inRef, const FSRef& inFolder, FSRef* outRef) {
    FoundItem item;
    FoundItem folder;
    Place place;
    Place newPlace;
    OSStatus status = OpenItemOfRef(inRef, item, place);
    if (status == noErr) status = OpenFolderOfRef(inFolder, folder, newPlace);
    if (status != noErr) return status;
    newPlace.name = place.name;
    return MoveTo(item, place, folder.path, newPlace, outRef);
}

struct Renaming {
    FoundItem& item;
    Place& place;
    Place& newPlace;
};

std::string FolderOf(const FoundItem& inItem) {
    return inItem.path.substr(0, inItem.path.rfind('/') + 1);
}

OSStatus SetHint(const Place& inPlace, const FoundItem& inItem, TextEncoding inHint, ChangedInfo& ioInfo) {
    CompanionInfo info;
    CompanionSizes sizes;
    const int error = ReadInfo(inPlace.folder.Number(), CompanionName(inPlace.name), info, sizes);
    if (error != 0 || info.encodingHint == inHint) return StatusOfErrno(error);
    info.encodingHint = inHint;
    return StatusOfCompanionError(ioInfo.Set(inPlace, inItem.status.identity, kHintPart, info), inItem);
}

OSStatus RenameWithHint(const Renaming& inRenaming, TextEncoding inHint, FSRef* outRef) {
    FoundItem& item = inRenaming.item;
    ChangedInfo hint;
    OSStatus status = SetHint(inRenaming.place, item, inHint, hint);
    if (status == noErr) status = MoveTo(item, inRenaming.place, FolderOf(item), inRenaming.newPlace, outRef);
    if (status == noErr) hint.Stay();
    return status;
}

// It gets its old name back where the hint cannot be set.
OSStatus RenameAndSetHint(const Renaming& inRenaming, TextEncoding inHint, FSRef* outRef) {
    FoundItem& item = inRenaming.item;
    FSRef ref = {};
    ChangedInfo hint;
    OSStatus status = MoveTo(item, inRenaming.place, FolderOf(item), inRenaming.newPlace, &ref);
    if (status != noErr) return status;
    try {
        status = SetHint(inRenaming.newPlace, item, inHint, hint);
    } catch (const std::bad_alloc&) {
        status = memFullErr;
    }
    if (status != noErr) {
        (void)MoveTo(item, inRenaming.newPlace, FolderOf(item), inRenaming.place, nullptr);
        return status;
    }
    hint.Stay();
    if (outRef != nullptr) *outRef = ref;
    return noErr;
}

OSStatus Rename(const FSRef& inRef, const NameText& inName, TextEncoding inHint, FSRef* outRef) {
    FoundItem item;
    Place place;
    Place newPlace;
    OSStatus status = DiskNameOf(inName, newPlace.name);
    if (status == noErr) status = OpenItemOfRef(inRef, item, place);
    if (status != noErr) return status;
    newPlace.folderStatus = place.folderStatus;
    status = StatusOfErrno(os::OpenFile(place.folder.Number(), ".", O_PATH | O_DIRECTORY, newPlace.folder));
    if (status != noErr) return status;
    // A name that is too long for a companion has no hint, and its item gets one by its new name.
    if (HasRoomForCompanion(place.name)) return RenameWithHint({item, place, newPlace}, inHint, outRef);
    if (inHint == kTextEncodingUnknown) return MoveTo(item, place, FolderOf(item), newPlace, outRef);
    return HasRoomForCompanion(newPlace.name) ? RenameAndSetHint({item, place, newPlace}, inHint, outRef)
                                              : OSStatus{bdNamErr};
}

OSStatus MakeFolder(SInt16 inVolume, SInt32 inFolderID, ConstStr255Param inName, SInt32& outFolderID) {
    FoundItem folder;
    Place place;
    std::u16string name;
    if (inName[0] == 0 || inName[0] > kMaxSpecNameBytes || !NameOfSpec(inName, name) ||
        !DiskName(name, place.name))
        return bdNamErr;
    OSStatus status = FindFolderByID(inVolume, static_cast<NodeID>(inFolderID), folder);
    if (status == noErr) status = OpenFoundFolder(folder, place);
    UInt32 nodeID = 0;
    if (status == noErr)
        status = MakeAt(folder, place, os::ItemKind::kFolder, {kFSCatInfoNone, nullptr},
                        {nullptr, nullptr, &nodeID});
    if (status == noErr) outFolderID = static_cast<SInt32>(nodeID);
    return status;
}

OSStatus DeleteBySpec(const FSSpec& inSpec) {
    FoundItem item;
    Place place;
    OSStatus status = FindBySpec(inSpec, item);
    if (status == noErr) status = OpenItem(item, place, LockCheck::kByCaller);
    return status == noErr ? DeleteAt(place, item) : status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSCreateFileUnicode(const FSRef* inFolder, UniCharCount inNameLength, const UniChar* inName,
                          FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo, FSRef* outRef,
                          FSSpec* outSpec) {
    return MakeByRef(inFolder, {inNameLength, inName}, toolbox::os::ItemKind::kFile, {inWhichInfo, inInfo},
                     {outRef, outSpec, nullptr});
}

OSErr FSCreateDirectoryUnicode(const FSRef* inFolder, UniCharCount inNameLength, const UniChar* inName,
                               FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo, FSRef* outRef,
                               FSSpec* outSpec, UInt32* outFolderID) {
    return MakeByRef(inFolder, {inNameLength, inName}, toolbox::os::ItemKind::kFolder, {inWhichInfo, inInfo},
                     {outRef, outSpec, outFolderID});
}

OSErr FSDeleteObject(const FSRef* inItem) {
    if (inItem == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Delete(*inItem));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSMoveObject(const FSRef* inItem, const FSRef* inFolder, FSRef* outRef) {
    if (inItem == nullptr || inFolder == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Move(*inItem, *inFolder, outRef));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSRenameUnicode(const FSRef* inItem, UniCharCount inNameLength, const UniChar* inName,
                      TextEncoding inEncodingHint, FSRef* outRef) {
    if (inItem == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Rename(*inItem, {inNameLength, inName}, inEncodingHint, outRef));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr DirCreate(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, SInt32* outFolderID) {
    if (inName == nullptr || outFolderID == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(MakeFolder(inVRefNum, inDirID, inName, *outFolderID));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr HDelete(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName) {
    FSSpec spec = {inVRefNum, inDirID, {}};
    if (inName != nullptr) {
        if (inName[0] >= sizeof spec.name) return bdNamErr;
        std::copy_n(inName, inName[0] + 1, spec.name);
    }
    try {
        return static_cast<OSErr>(DeleteBySpec(spec));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

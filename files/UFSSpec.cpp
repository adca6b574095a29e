#include "ItemNames.h"
#include "OwnedObject.h"

#include <files/Containers.h>
#include <files/Exchange.h>
#include <files/UFSSpec.h>
#include <foundation/LException.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/LaunchServices.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr OSType kFolderCreator = 0x4D414353;  // 'MACS'
constexpr OSType kFolderType = 0x666F6C64;     // 'fold'
constexpr FSCatalogInfoBitmap kFinderInfoAndFlags = kFSCatInfoFinderInfo | kFSCatInfoNodeFlags;

void ThrowIfError(OSStatus inStatus) {
    if (inStatus != noErr) LException::Throw(inStatus);
}

bool IsDirectory(const FSCatalogInfo& inInfo) {
    return (inInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0;
}

bool IsLockedNow(const FSCatalogInfo& inInfo) {
    return (inInfo.nodeFlags & kFSNodeLockedMask) != 0;
}

HFSUniStr255 ItemName(const TCFString& inName) {
    HFSUniStr255 name;
    if (!GetItemName(inName, name)) LException::Throw(bdNamErr);
    return name;
}

OSErr GetInfo(const FSRef& inItem, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo& outInfo) {
    return FSGetCatalogInfo(&inItem, inWhichInfo, &outInfo, nullptr, nullptr, nullptr);
}

// Of a file that is there.
bool GetSizes(const TFSSpec& inSpec, FSCatalogInfo& outInfo) {
    FSRef item;
    return inSpec.GetFSRef(item) &&
           GetInfo(item, kFSCatInfoNodeFlags | kFSCatInfoDataSizes | kFSCatInfoRsrcSizes, outInfo) == noErr &&
           !IsDirectory(outInfo);
}

// What the information of a bundle tells; of other folders nothing.
void GetPackageInfo(const FSRef& inFolder, unsigned long& ioCreator, unsigned long& ioType) {
    const OwnedObject<CFURLRef> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &inFolder));
    if (url == nullptr) return;
    const OwnedObject<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
    if (bundle == nullptr) return;
    UInt32 type = 0;
    UInt32 creator = 0;
    CFBundleGetPackageInfo(bundle.get(), &type, &creator);
    ioType = type;
    ioCreator = creator;
}

OSErr DeleteItem(const FSRef& inItem, bool inDeleteContents) {
    FSCatalogInfo info;
    if (inDeleteContents && GetInfo(inItem, kFSCatInfoNodeFlags, info) == noErr && IsDirectory(info)) {
        const OSErr error = FSDeleteContainerContents(&inItem);
        if (error != noErr) return error;
    }
    return FSDeleteObject(&inItem);
}

}  // namespace

void UFSSpec::GetCreatorAndType(const TFSSpec& inSpec, unsigned long& outCreator, unsigned long& outType) {
    outCreator = 0;
    outType = 0;
    const FSRef item = inSpec.GetFSRef();
    FSCatalogInfo info;
    ThrowIfError(GetInfo(item, kFinderInfoAndFlags, info));
    if (IsDirectory(info)) {
        outCreator = kFolderCreator;
        outType = kFolderType;
        return GetPackageInfo(item, outCreator, outType);
    }
    FileInfo finder;
    std::memcpy(&finder, info.finderInfo, sizeof finder);
    outCreator = finder.fileCreator;
    outType = finder.fileType;
}

void UFSSpec::SetCreatorAndType(const TFSSpec& inSpec, unsigned long inCreator, unsigned long inType) {
    const FSRef item = inSpec.GetFSRef();
    FSCatalogInfo info;
    ThrowIfError(GetInfo(item, kFinderInfoAndFlags, info));
    if (IsDirectory(info)) return;
    FileInfo finder;
    std::memcpy(&finder, info.finderInfo, sizeof finder);
    const auto creator = static_cast<OSType>(inCreator);
    const auto type = static_cast<OSType>(inType);
    if (finder.fileCreator == creator && finder.fileType == type) return;
    finder.fileCreator = creator;
    finder.fileType = type;
    std::memcpy(info.finderInfo, &finder, sizeof finder);
    ThrowIfError(FSSetCatalogInfo(&item, kFSCatInfoFinderInfo, &info));
}

void UFSSpec::GetCatalogInfo(const TFSSpec& inSpec, FSCatalogInfo& outInfo, unsigned long inWhichInfo) {
    ThrowIfError(GetInfo(inSpec.GetFSRef(), static_cast<FSCatalogInfoBitmap>(inWhichInfo), outInfo));
}

void UFSSpec::SetCatalogInfo(const TFSSpec& inSpec, FSCatalogInfo& inInfo, unsigned long inWhichInfo) {
    const FSRef item = inSpec.GetFSRef();
    ThrowIfError(FSSetCatalogInfo(&item, static_cast<FSCatalogInfoBitmap>(inWhichInfo), &inInfo));
}

Int64 UFSSpec::GetLength(const TFSSpec& inSpec, unsigned char inResourceFork) {
    FSCatalogInfo info;
    if (!GetSizes(inSpec, info)) return 0;
    return static_cast<long long>(inResourceFork != 0 ? info.rsrcLogicalSize : info.dataLogicalSize);
}

Int64 UFSSpec::GetPhysicalSizeOnDisk(const TFSSpec& inSpec) {
    FSCatalogInfo info;
    if (!GetSizes(inSpec, info)) return 0;
    return static_cast<long long>(info.dataPhysicalSize + info.rsrcPhysicalSize);
}

TFSSpec UFSSpec::Rename(const TFSSpec& inSpec, const TCFString& inNewName) {
    FSRef item = inSpec.GetFSRef();
    const HFSUniStr255 name = ItemName(inNewName);
    ThrowIfError(FSRenameUnicode(&item, name.length, name.unicode, kTextEncodingUnknown, &item));
    return item;
}

TFSSpec UFSSpec::MoveRename(const TFSSpec& inSource, const TFSSpec& inDestination) {
    if (inSource.GetVolume() != inDestination.GetVolume()) LException::Throw(paramErr);
    const FSRef source = inSource.GetFSRef();
    const bool isInto = inDestination.IsFolder();
    const FSRef folder = isInto ? inDestination.GetFSRef() : inDestination.GetParentFSRef();
    const HFSUniStr255 name = ItemName(isInto ? TCFString::Empty : inDestination.GetName());
    FSRef moved;
    ThrowIfError(FSMoveRenameObjectUnicode(&source, &folder, name.length, isInto ? nullptr : name.unicode,
                                           kTextEncodingUnknown, &moved));
    return moved;
}

void UFSSpec::Delete(const TFSSpec& inSpec, bool inThrowOnError, bool inDeleteContents) {
    FSRef item;
    OSErr error = fnfErr;
    if (inSpec.GetFSRef(item)) error = DeleteItem(item, inDeleteContents);
    if (error == noErr) return;
    static char sLabel[] = "Delete";
    inSpec.DebugPrintSpec(sLabel);
    if (inThrowOnError) LException::Throw(error);
}

void UFSSpec::CreateFile(const TFSSpec& inSpec, unsigned long inCreator, unsigned long inType) {
    const FSRef folder = inSpec.GetParentFSRef();
    const HFSUniStr255 name = ItemName(inSpec.GetName());
    const bool hasInfo = inCreator != 0 || inType != 0;
    FSCatalogInfo info = {};
    FileInfo finder = {};
    finder.fileType = static_cast<OSType>(inType);
    finder.fileCreator = static_cast<OSType>(inCreator);
    std::memcpy(info.finderInfo, &finder, sizeof finder);
    FSRef item;
    ThrowIfError(FSCreateFileUnicode(&folder, name.length, name.unicode,
                                     hasInfo ? kFSCatInfoFinderInfo : kFSCatInfoNone,
                                     hasInfo ? &info : nullptr, &item, nullptr));
}

UInt32 UFSSpec::CreateFolder(TFSSpec& ioSpec) {
    const FSRef parent = ioSpec.GetParentFSRef();
    const HFSUniStr255 name = ItemName(ioSpec.GetName());
    FSRef folder;
    UInt32 id = 0;
    ThrowIfError(FSCreateDirectoryUnicode(&parent, name.length, name.unicode, kFSCatInfoNone, nullptr,
                                          &folder, nullptr, &id));
    ioSpec = TFSSpec(folder);
    return id;
}

bool UFSSpec::IsLocked(const TFSSpec& inSpec) {
    FSRef item;
    FSCatalogInfo info;
    return inSpec.GetFSRef(item) && GetInfo(item, kFSCatInfoNodeFlags, info) == noErr && IsLockedNow(info);
}

bool UFSSpec::SetLock(const TFSSpec& inSpec, bool inLock) {
    FSRef item;
    FSCatalogInfo info;
    if (!inSpec.GetFSRef(item) || GetInfo(item, kFSCatInfoNodeFlags, info) != noErr) return false;
    const bool wasLocked = IsLockedNow(info);
    if (wasLocked == inLock) return wasLocked;
    info.nodeFlags ^= kFSNodeLockedMask;
    (void)FSSetCatalogInfo(&item, kFSCatInfoNodeFlags, &info);
    return wasLocked;
}

OSErr UFSSpec::GetFinderInfo(const TFSSpec& inSpec, FInfo& outInfo) {
    FSRef item;
    if (!inSpec.GetFSRef(item)) return fnfErr;
    FSCatalogInfo info;
    const OSErr error = GetInfo(item, kFinderInfoAndFlags, info);
    if (error == noErr) std::memcpy(&outInfo, info.finderInfo, sizeof outInfo);
    return error;
}

bool UFSSpec::IsBundle(FSRef& inItem) {
    FSCatalogInfo info;
    HFSUniStr255 itemName;
    if (FSGetCatalogInfo(&inItem, kFinderInfoAndFlags, &info, &itemName, nullptr, nullptr) != noErr ||
        !IsDirectory(info))
        return false;
    FolderInfo finder;
    std::memcpy(&finder, info.finderInfo, sizeof finder);
    if ((finder.finderFlags & kHasBundle) != 0) return true;
    static const TCFString sSuffixes[] = {CFSTR(".nib"), CFSTR(".app"), CFSTR(".bundle"),
                                          CFSTR(".framework")};
    const TCFString name(itemName);
    if (std::any_of(std::begin(sSuffixes), std::end(sSuffixes),
                    [&name](const TCFString& inSuffix) { return name.HasSuffix(inSuffix); }))
        return true;
    LSItemInfoRecord item;
    return LSCopyItemInfoForRef(&inItem, kLSRequestBasicFlagsOnly, &item) == noErr &&
           (item.flags & kLSItemInfoIsPackage) != 0;
}

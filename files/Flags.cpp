#include <files/Flags.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/DateTimeUtils.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Notification.h>
#include <toolbox/VolumeInfo.h>

#include <cstddef>
#include <cstring>

namespace {

static_assert(sizeof(FinderInfo) == sizeof(FSCatalogInfo::finderInfo));
static_assert(sizeof(ExtendedFinderInfo) == sizeof(FSCatalogInfo::extFinderInfo));
// Of files and folders the flags lie at one place.
static_assert(offsetof(FileInfo, finderFlags) == offsetof(FolderInfo, finderFlags));

constexpr FSCatalogInfoBitmap kSettableOfLinks =
    kFSCatInfoSettableInfo & ~FSCatalogInfoBitmap{kFSCatInfoPermissions};

bool IsFolder(const FSCatalogInfo& inInfo) {
    return (inInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0;
}

FinderInfo FinderInfoOf(const FSCatalogInfo& inInfo) {
    FinderInfo info;
    std::memcpy(&info, inInfo.finderInfo, sizeof info);
    return info;
}

void SetFinderInfo(const FinderInfo& inFinderInfo, FSCatalogInfo& ioInfo) {
    std::memcpy(ioInfo.finderInfo, &inFinderInfo, sizeof inFinderInfo);
}

bool IsLink(const FSCatalogInfo& inInfo) {
    return !IsFolder(inInfo) && FinderInfoOf(inInfo).file.fileType == kSymLinkFileType;
}

bool IsSame(const UTCDateTime& inLeft, const UTCDateTime& inRight) {
    return inLeft.highSeconds == inRight.highSeconds && inLeft.lowSeconds == inRight.lowSeconds &&
           inLeft.fraction == inRight.fraction;
}

// An item's Finder information as it is, and the folder that it is in.
OSErr GetForChange(const FSRef* inRef, FSCatalogInfo& outInfo, FSRef& outParent) {
    if (inRef == nullptr) return paramErr;
    return FSGetCatalogInfo(inRef, kFSCatInfoNodeFlags | kFSCatInfoFinderInfo, &outInfo, nullptr, nullptr,
                            &outParent);
}

// The folder may be another user's, and its date is not what was asked for.
OSErr SetChanged(const FSRef& inRef, const FSCatalogInfo& inInfo, const FSRef& inParent) {
    const OSErr error = FSSetCatalogInfo(&inRef, kFSCatInfoFinderInfo, &inInfo);
    if (error == noErr) (void)FSBumpDate(&inParent);
    return error;
}

}  // namespace

OSErr FSCheckLock(const FSRef* inRef) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfo info = {};
    OSErr error =
        FSGetCatalogInfo(inRef, kFSCatInfoNodeFlags | kFSCatInfoVolume, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if ((info.nodeFlags & kFSNodeLockedMask) != 0) return fLckdErr;
    FSVolumeInfo volume = {};
    error = FSGetVolumeInfo(info.volume, 0, nullptr, kFSVolInfoFlags, &volume, nullptr, nullptr);
    if (error != noErr) return error;
    if ((volume.flags & kFSVolFlagHardwareLockedMask) != 0) return wPrErr;
    return (volume.flags & kFSVolFlagSoftwareLockedMask) != 0 ? OSErr{vLckdErr} : OSErr{noErr};
}

OSErr FSBumpDate(const FSRef* inRef) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfo info = {};
    FSRef parent = {};
    OSErr error =
        FSGetCatalogInfo(inRef, kFSCatInfoNodeFlags | kFSCatInfoContentMod, &info, nullptr, nullptr, &parent);
    if (error != noErr) return error;
    UTCDateTime now = {};
    error = static_cast<OSErr>(GetUTCDateTime(&now, kUTCDefaultOptions));
    if (error != noErr) return error;
    if (IsSame(now, info.contentModDate) && ++now.lowSeconds == 0) ++now.highSeconds;
    info.contentModDate = now;
    error = FSSetCatalogInfo(inRef, kFSCatInfoContentMod, &info);
    if (error != noErr) return error;
    return static_cast<OSErr>(FNNotify(IsFolder(info) ? inRef : &parent, kFNDirectoryModifiedMessage, 0));
}

OSErr FSGetFinderInfo(const FSRef* inRef, FinderInfo* outInfo, ExtendedFinderInfo* outExtendedInfo,
                      Boolean* outIsDirectory) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfoBitmap which = kFSCatInfoNone;
    if (outInfo != nullptr) which |= kFSCatInfoFinderInfo;
    if (outExtendedInfo != nullptr) which |= kFSCatInfoFinderXInfo;
    if (outIsDirectory != nullptr) which |= kFSCatInfoNodeFlags;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inRef, which, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if (outInfo != nullptr) *outInfo = FinderInfoOf(info);
    if (outExtendedInfo != nullptr) std::memcpy(outExtendedInfo, info.extFinderInfo, sizeof *outExtendedInfo);
    if (outIsDirectory != nullptr) *outIsDirectory = IsFolder(info);
    return noErr;
}

OSErr FSSetFinderInfo(const FSRef* inRef, const FinderInfo* inInfo,
                      const ExtendedFinderInfo* inExtendedInfo) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfoBitmap which = kFSCatInfoNone;
    FSCatalogInfo info = {};
    if (inInfo != nullptr) {
        which |= kFSCatInfoFinderInfo;
        SetFinderInfo(*inInfo, info);
    }
    if (inExtendedInfo != nullptr) {
        which |= kFSCatInfoFinderXInfo;
        std::memcpy(info.extFinderInfo, inExtendedInfo, sizeof *inExtendedInfo);
    }
    return FSSetCatalogInfo(inRef, which, &info);
}

OSErr FSChangeCreatorType(const FSRef* inRef, OSType inCreator, OSType inType) {
    FSCatalogInfo info = {};
    FSRef parent = {};
    const OSErr error = GetForChange(inRef, info, parent);
    if (error != noErr) return error;
    if (IsFolder(info)) return notAFileErr;
    FinderInfo finderInfo = FinderInfoOf(info);
    if (inCreator != 0) finderInfo.file.fileCreator = inCreator;
    if (inType != 0) finderInfo.file.fileType = inType;
    SetFinderInfo(finderInfo, info);
    return SetChanged(*inRef, info, parent);
}

OSErr FSChangeFinderFlags(const FSRef* inRef, bool inSet, UInt16 inFlags) {
    FSCatalogInfo info = {};
    FSRef parent = {};
    const OSErr error = GetForChange(inRef, info, parent);
    if (error != noErr) return error;
    FinderInfo finderInfo = FinderInfoOf(info);
    const int flags = finderInfo.file.finderFlags;
    finderInfo.file.finderFlags = static_cast<UInt16>(inSet ? flags | inFlags : flags & ~inFlags);
    SetFinderInfo(finderInfo, info);
    return SetChanged(*inRef, info, parent);
}

OSErr FSSetInvisible(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, true, kIsInvisible);
}

OSErr FSClearInvisible(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, false, kIsInvisible);
}

OSErr FSSetNameLocked(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, true, kNameLocked);
}

OSErr FSClearNameLocked(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, false, kNameLocked);
}

OSErr FSSetIsStationery(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, true, kIsStationery);
}

OSErr FSClearIsStationery(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, false, kIsStationery);
}

OSErr FSSetHasCustomIcon(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, true, kHasCustomIcon);
}

OSErr FSClearHasCustomIcon(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, false, kHasCustomIcon);
}

OSErr FSClearHasBeenInited(const FSRef* inRef) {
    return FSChangeFinderFlags(inRef, false, kHasBeenInited);
}

OSErr FSCopyFileMgrAttributes(const FSRef* inSource, const FSRef* inDestination, bool inCopyLock) {
    if (inSource == nullptr || inDestination == nullptr) return paramErr;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inSource, kFSCatInfoSettableInfo, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    FinderInfo finderInfo = FinderInfoOf(info);
    finderInfo.file.finderFlags = static_cast<UInt16>(finderInfo.file.finderFlags & ~kHasBeenInited);
    SetFinderInfo(finderInfo, info);
    if (!inCopyLock) info.nodeFlags = static_cast<UInt16>(info.nodeFlags & ~kFSNodeLockedMask);
    // What the permissions of a link are is nobody's choice, and nobody else's either.
    const FSCatalogInfoBitmap which =
        IsLink(info) ? kSettableOfLinks : FSCatalogInfoBitmap{kFSCatInfoSettableInfo};
    const OSErr setError = FSSetCatalogInfo(inDestination, which, &info);
    if (setError != permErr || which == kSettableOfLinks) return setError;
    FSCatalogInfo destination = {};
    const bool isToLink = FSGetCatalogInfo(inDestination, kFSCatInfoNodeFlags | kFSCatInfoFinderInfo,
                                           &destination, nullptr, nullptr, nullptr) == noErr &&
                          IsLink(destination);
    return isToLink ? FSSetCatalogInfo(inDestination, kSettableOfLinks, &info) : setError;
}

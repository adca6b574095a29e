#include "CatalogDates.h"
#include "HeldItem.h"
#include "ItemCompanions.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"
#include "catalogue/ItemInfo.h"
#include "catalogue/Volumes.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/CatalogInfo.h>

#include <cerrno>
#include <new>
#include <optional>
#include <string>

namespace toolbox::files {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr FSCatalogInfoBitmap kInCompanion = kFSCatInfoTextEncoding | kFSCatInfoNodeFlags |
                                             kFSCatInfoCreateDate | kFSCatInfoBackupDate |
                                             kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;

// Which parts of an item change, and to what.
struct Changes {
    std::optional<mode_t> mode;
    std::optional<os::Moment> access;
    std::optional<os::Moment> content;
    std::optional<CompanionInfo> companion;

    bool HaveDates() const { return access || content; }
    bool AreAny() const { return mode || HaveDates() || companion; }
};

OSStatus ChangePermissions(const os::ItemStatus& inStatus, const FSPermissionInfo& inPermissions,
                           Changes& ioChanges) {
    const mode_t mode = inPermissions.mode & kPermissionBits;
    if (mode == (inStatus.mode & kPermissionBits)) return noErr;
    if (inStatus.kind == os::ItemKind::kLink) return permErr;
    ioChanges.mode = mode;
    return noErr;
}

// What it is already stays as exact as it is.
void ChangeDate(const os::Moment& inNow, const UTCDateTime& inDate, std::optional<os::Moment>& ioChange) {
    if (!IsSameDate(DateOf(inNow), inDate)) ioChange = MomentOf(inDate);
}

OSStatus ChangeLock(const os::ItemStatus& inStatus, UInt16 inFlags, CompanionInfo& ioInfo) {
    const bool isToBeLocked = (inFlags & kFSNodeLockedMask) != 0;
    if (!inStatus.isImmutable)
        ioInfo.isLocked = isToBeLocked;
    else if (!isToBeLocked)
        return permErr;
    return noErr;
}

OSStatus ChangeCreation(const os::ItemStatus& inStatus, const UTCDateTime& inDate, CompanionInfo& ioInfo) {
    const bool isBorn = inStatus.identity.birthNanos != 0;
    if (isBorn && IsSameDate(inDate, DateOf(inStatus.birthDate)))
        ioInfo.creationSeconds = CompanionInfo::kNoDate;
    else if (!CompanionSecondsOf(inDate, ioInfo.creationSeconds))
        return paramErr;
    return noErr;
}

OSStatus ChangeCompanion(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                         Changes& ioChanges) {
    CompanionInfo before;
    CompanionSizes sizes;
    OSStatus status = StatusOfErrno(ReadCompanionInfo(inItem, before, sizes));
    CompanionInfo info = before;
    const auto isAsked = [&](FSCatalogInfoBitmap inBit) { return status == noErr && (inWhich & inBit) != 0; };
    if (isAsked(kFSCatInfoTextEncoding)) info.encodingHint = inInfo.textEncodingHint;
    if (isAsked(kFSCatInfoNodeFlags)) status = ChangeLock(inItem.status, inInfo.nodeFlags, info);
    if (isAsked(kFSCatInfoCreateDate)) status = ChangeCreation(inItem.status, inInfo.createDate, info);
    if (isAsked(kFSCatInfoBackupDate) && !CompanionSecondsOf(inInfo.backupDate, info.backupSeconds))
        status = paramErr;
    if (isAsked(kFSCatInfoFinderInfo)) SetFinderInfo(inItem.status.kind, inInfo.finderInfo, info);
    if (isAsked(kFSCatInfoFinderXInfo)) SetExtendedInfo(inItem.status.kind, inInfo.extFinderInfo, info);
    if (status != noErr || info == before) return status;
    if (IsDescriptorPath(inItem.path)) return bdNamErr;
    ioChanges.companion = info;
    return noErr;
}

OSStatus FindChanges(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                     Changes& outChanges) {
    const os::ItemStatus& now = inItem.status;
    if ((inWhich & kFSCatInfoContentMod) != 0)
        ChangeDate(now.contentDate, inInfo.contentModDate, outChanges.content);
    if ((inWhich & kFSCatInfoAccessDate) != 0)
        ChangeDate(now.accessDate, inInfo.accessDate, outChanges.access);
    OSStatus status = noErr;
    if ((inWhich & kFSCatInfoPermissions) != 0)
        status = ChangePermissions(now, inInfo.permissions, outChanges);
    if (status == noErr && (inWhich & kInCompanion) != 0)
        status = ChangeCompanion(inItem, inWhich, inInfo, outChanges);
    return status;
}

template <typename Value>
const Value* PointerTo(const std::optional<Value>& inValue) {
    return inValue ? &*inValue : nullptr;
}

// What may be refused to other users comes first, and the companion, which is written whole or not at all,
// behind it; so nothing needs to be undone but what was just done by the same right.
OSStatus Apply(const FoundItem& inItem, const Changes& inChanges) {
    HeldItem item;
    Place place;
    OSStatus status = item.Open(inItem);
    if (status == noErr && inChanges.companion) status = OpenItsPlace(inItem, place);
    if (status != noErr) return status;
    const os::ItemStatus& before = inItem.status;
    const os::Moment* const content = PointerTo(inChanges.content);
    int error = inChanges.mode ? item.SetMode(*inChanges.mode) : 0;
    if (error != 0) return StatusOfChange(error, inItem);
    const auto restoreMode = [&] {
        if (inChanges.mode) (void)item.SetMode(before.mode & kPermissionBits);
    };
    if (inChanges.HaveDates()) error = item.SetDates(PointerTo(inChanges.access), content);
    if (error != 0) {
        restoreMode();
        return StatusOfChange(error, inItem);
    }
    if (!inChanges.companion) return noErr;
    error = WriteCompanion(place, *inChanges.companion);
    if (error != 0) {
        if (inChanges.HaveDates()) (void)item.SetDates(&before.accessDate, &before.contentDate);
        restoreMode();
        return StatusOfCompanionError(error, inItem);
    }
    // A volume's root has its companion within it, and is not changed by that.
    if (IsVolumeRoot(inItem))
        error = item.SetDates(nullptr, content != nullptr ? content : &before.contentDate);
    return content != nullptr ? StatusOfErrno(error) : OSStatus{noErr};
}

}  // namespace

OSStatus CheckSettable(FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo) {
    constexpr FSCatalogInfoBitmap kSettable = kFSCatInfoSettableInfo;
    if ((inWhich & ~kSettable) != 0) return errFSBadInfoBitmap;
    return inWhich != kFSCatInfoNone && inInfo == nullptr ? OSStatus{errFSMissingCatInfo} : OSStatus{noErr};
}

OSStatus SetInfoOf(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
    Changes changes;
    const OSStatus status = FindChanges(inItem, inWhich, inInfo, changes);
    return status == noErr && changes.AreAny() ? Apply(inItem, changes) : status;
}

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo) {
    if (inRef == nullptr) return paramErr;
    try {
        FoundItem item;
        OSStatus status = CheckSettable(inWhichInfo, inInfo);
        if (status == noErr) status = FindByRef(*inRef, item);
        if (status == noErr && inInfo != nullptr) status = SetInfoOf(item, inWhichInfo, *inInfo);
        return static_cast<OSErr>(status);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

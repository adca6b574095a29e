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
    InfoParts infoParts = 0;
    CompanionInfo info;

    bool HaveDates() const { return access || content; }
    bool AreAny() const { return mode || HaveDates() || infoParts != 0; }
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

OSStatus ChangeLock(const os::ItemStatus& inStatus, UInt16 inFlags, Changes& ioChanges) {
    const bool isToBeLocked = (inFlags & kFSNodeLockedMask) != 0;
    if (inStatus.isImmutable) return isToBeLocked ? noErr : OSStatus{permErr};
    ioChanges.info.isLocked = isToBeLocked;
    ioChanges.infoParts |= kLockPart;
    return noErr;
}

OSStatus ChangeCreation(const os::ItemStatus& inStatus, const UTCDateTime& inDate, Changes& ioChanges) {
    const bool isBorn = inStatus.identity.birthNanos != 0;
    ioChanges.infoParts |= kCreationPart;
    if (isBorn && IsSameDate(inDate, DateOf(inStatus.birthDate))) return noErr;  // none of its own
    return CompanionSecondsOf(inDate, ioChanges.info.creationSeconds) ? noErr : OSStatus{paramErr};
}

// All that is asked for, be it so already or not: it is to be so at one moment.
OSStatus CollectInfo(const os::ItemStatus& inStatus, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                     Changes& ioChanges) {
    OSStatus status = noErr;
    CompanionInfo& info = ioChanges.info;
    const auto isAsked = [&](FSCatalogInfoBitmap inBit, InfoParts inPart) {
        const bool isIt = status == noErr && (inWhich & inBit) != 0;
        if (isIt) ioChanges.infoParts |= inPart;
        return isIt;
    };
    if (isAsked(kFSCatInfoTextEncoding, kHintPart)) info.encodingHint = inInfo.textEncodingHint;
    if (isAsked(kFSCatInfoNodeFlags, 0)) status = ChangeLock(inStatus, inInfo.nodeFlags, ioChanges);
    if (isAsked(kFSCatInfoCreateDate, 0)) status = ChangeCreation(inStatus, inInfo.createDate, ioChanges);
    if (isAsked(kFSCatInfoBackupDate, kBackupPart) &&
        !CompanionSecondsOf(inInfo.backupDate, info.backupSeconds))
        status = paramErr;
    if (isAsked(kFSCatInfoFinderInfo, kFinderPart)) SetFinderInfo(inStatus.kind, inInfo.finderInfo, info);
    if (isAsked(kFSCatInfoFinderXInfo, kExtendedPart))
        SetExtendedInfo(inStatus.kind, inInfo.extFinderInfo, info);
    return status;
}

// A new item has no companion; one that came meanwhile is kept by who writes it.
OSStatus ChangeCompanion(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                         ItemAge inAge, Changes& ioChanges) {
    CompanionInfo before;
    CompanionSizes sizes;
    OSStatus status = noErr;
    if (inAge == ItemAge::kOld) status = StatusOfErrno(ReadCompanionInfo(inItem, before, sizes));
    if (status == noErr) status = CollectInfo(inItem.status, inWhich, inInfo, ioChanges);
    if (status != noErr) return status;
    if ((ioChanges.infoParts & ~CommonParts(before, ioChanges.info)) == 0)
        ioChanges.infoParts = 0;
    else if (IsDescriptorPath(inItem.path))
        return bdNamErr;
    return noErr;
}

OSStatus FindChanges(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                     ItemAge inAge, Changes& outChanges) {
    const os::ItemStatus& now = inItem.status;
    if ((inWhich & kFSCatInfoContentMod) != 0)
        ChangeDate(now.contentDate, inInfo.contentModDate, outChanges.content);
    if ((inWhich & kFSCatInfoAccessDate) != 0)
        ChangeDate(now.accessDate, inInfo.accessDate, outChanges.access);
    OSStatus status = noErr;
    if ((inWhich & kFSCatInfoPermissions) != 0)
        status = ChangePermissions(now, inInfo.permissions, outChanges);
    if (status == noErr && (inWhich & kInCompanion) != 0)
        status = ChangeCompanion(inItem, inWhich, inInfo, inAge, outChanges);
    return status;
}

// Dates of an item. Those that were set are as before again unless they are to stay.
class ChangedDates {
  public:
    ChangedDates(const HeldItem& inItem, const FoundItem& inFound) : mItem(inItem), mBefore(inFound.status) {}
    ~ChangedDates() {
        if (mChanges == nullptr) return;
        (void)mItem.SetDates(mChanges->access || mComeTogether ? &mBefore.accessDate : nullptr,
                             mChanges->content || mComeTogether ? &mBefore.contentDate : nullptr);
    }
    ChangedDates(const ChangedDates&) = delete;
    ChangedDates& operator=(const ChangedDates&) = delete;

    [[nodiscard]] int Set(const Changes& inChanges) {
        if (!inChanges.HaveDates()) return 0;
        const int error = mItem.SetDates(DateOf(inChanges.access, mBefore.accessDate),
                                         DateOf(inChanges.content, mBefore.contentDate));
        if (error == 0) mChanges = &inChanges;
        return error;
    }
    void Stay() noexcept { mChanges = nullptr; }

  private:
    const os::Moment* DateOf(const std::optional<os::Moment>& inNew, const os::Moment& inBefore) const {
        if (inNew) return &*inNew;
        return mComeTogether ? &inBefore : nullptr;
    }

    const HeldItem& mItem;
    const os::ItemStatus& mBefore;
    // Drivers of users' own may take no notice of a date that comes alone; they tell no births either.
    const bool mComeTogether = mBefore.identity.birthNanos == 0;
    const Changes* mChanges = nullptr;
};

// What may be refused to other users comes first, and the companion, which is written whole or not at all,
// behind it. But that of a volume's root lies within it, and dates it.
OSStatus Apply(const FoundItem& inItem, const Changes& inChanges, os::NameLasts inNameLasts) {
    const bool isRoot = IsVolumeRoot(inItem);
    const bool canHaveCompanion = !IsDescriptorPath(inItem.path);
    HeldItem held;
    Place place;
    OSStatus status = held.Open(inItem);
    if (status == noErr && canHaveCompanion && (inChanges.mode || inChanges.infoParts != 0))
        status = OpenItsPlace(inItem, place);
    if (status != noErr) return status;
    ChangedMode mode;
    ChangedDates dates(held, inItem);
    ChangedInfo info;
    int error = 0;
    if (inChanges.mode)
        error = mode.Set(held, inItem.status, canHaveCompanion ? &place : nullptr, *inChanges.mode);
    if (error == 0 && !isRoot) error = dates.Set(inChanges);
    if (error != 0) return StatusOfChange(error, inItem);
    if (inChanges.infoParts != 0)
        error = info.Set(place, inItem.status.identity, inChanges.infoParts, inChanges.info, inNameLasts);
    if (error != 0) return StatusOfCompanionError(error, inItem);
    if (isRoot) error = dates.Set(inChanges);
    if (error != 0) return StatusOfChange(error, inItem);
    info.Stay();
    dates.Stay();
    mode.Stay();
    return noErr;
}

}  // namespace

OSStatus CheckSettable(FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo) {
    constexpr FSCatalogInfoBitmap kSettable = kFSCatInfoSettableInfo;
    if ((inWhich & ~kSettable) != 0) return errFSBadInfoBitmap;
    return inWhich != kFSCatInfoNone && inInfo == nullptr ? OSStatus{errFSMissingCatInfo} : OSStatus{noErr};
}

OSStatus SetInfoOf(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo,
                   ItemAge inAge) {
    Changes changes;
    const OSStatus status = FindChanges(inItem, inWhich, inInfo, inAge, changes);
    if (status != noErr || !changes.AreAny()) return status;
    return Apply(inItem, changes,
                 inAge == ItemAge::kNew ? os::NameLasts::kOnceWritten : os::NameLasts::kOnceGiven);
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

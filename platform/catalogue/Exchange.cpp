#include "CatalogDates.h"
#include "Finding.h"
#include "HeldItem.h"
#include "ItemCompanions.h"
#include "MovedItems.h"
#include "VolumeFeatures.h"
#include "catalogue/Volumes.h"
#include "companions/Companions.h"
#include "companions/ExchangedForks.h"
#include "os/Mutex.h"
#include "os/Rename.h"
#include "places/ForkUses.h"
#include "status/StatusOfErrno.h"

#include <toolbox/CatalogItems.h>

#include <cerrno>
#include <new>

namespace toolbox::files {

namespace {

constexpr mode_t kPermissionBits = 07777;

// One of the two files: where it is, and what stays there. What was changed is changed back unless it is to
// stay.
class Side {
  public:
    Side() = default;
    ~Side();
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    // Once.
    [[nodiscard]] OSStatus Open(const FSRef& inRef);
    // Whether all its contents go with one name, and nothing else is known by that.
    bool IsOneFile() const;
    // Whether the file at the other place would have another meaning here.
    bool WouldTake(const Side& inOther) const;
    // What comes here was created at another time, which the companion is to tell from.
    [[nodiscard]] OSStatus KeepCreationDate(const Side& inOther);
    [[nodiscard]] OSStatus SetMode(mode_t inMode);
    void Stay() noexcept {
        mIsToStay = true;
        mCreation.Stay();
    }

    const os::ItemStatus& Status() const { return mItem.status; }
    const os::ItemIdentity& Identity() const { return mItem.status.identity; }
    mode_t Mode() const { return mItem.status.mode & kPermissionBits; }
    const FoundItem& Item() const { return mItem; }
    const Place& Where() const { return mPlace; }

  private:
    FoundItem mItem;
    Place mPlace;
    HeldItem mHeld;
    CompanionInfo mInfo;
    ChangedInfo mCreation;
    bool mHasNewMode = false;
    bool mIsToStay = false;
};

Side::~Side() {
    if (mHasNewMode && !mIsToStay) (void)mHeld.SetMode(Mode());
}

OSStatus Side::Open(const FSRef& inRef) {
    OSStatus status = OpenItemOfRef(inRef, mItem, mPlace);
    if (status != noErr) return status;
    if (mItem.status.kind != os::ItemKind::kFile) return notAFileErr;
    status = mHeld.Open(mItem);
    if (status != noErr) return status;
    CompanionSizes sizes;
    return StatusOfErrno(ReadCompanionInfo(mItem, mInfo, sizes));
}

bool Side::IsOneFile() const {
    if (Status().linkCount > 1 || IsCompanion(mPlace)) return false;
    return !FindForksInUse(Identity()).isResourceOpen;
}

bool Side::WouldTake(const Side& inOther) const {
    return WouldBeCompanion(inOther.mPlace, inOther.Identity(), mPlace);
}

// What lies outside of what a companion can tell is the file system's affair.
bool GetCreationSeconds(const os::ItemStatus& inStatus, SInt32& outSeconds) {
    return CompanionSecondsOf(DateOf(CreationOf(inStatus)), outSeconds);
}

OSStatus Side::KeepCreationDate(const Side& inOther) {
    SInt32 ours = 0;
    SInt32 theirs = 0;
    const bool isKept = mInfo.creationSeconds != CompanionInfo::kNoDate;
    if (isKept || !GetCreationSeconds(Status(), ours)) return noErr;
    if (GetCreationSeconds(inOther.Status(), theirs) && ours == theirs) return noErr;
    CompanionInfo info = mInfo;
    info.creationSeconds = ours;
    const int error = mCreation.Set(mPlace, Identity(), kCreationPart, info);
    // It can have no companion, or a file of another kind has its name.
    const bool cannotHave = error == ENAMETOOLONG || error == EISDIR || error == EBADMSG || error == ENODATA;
    return cannotHave ? OSStatus{paramErr} : StatusOfCompanionError(error, mItem);
}

OSStatus Side::SetMode(mode_t inMode) {
    if (!mHasNewMode && inMode == Mode()) return noErr;
    const int error = mHeld.SetMode(inMode);
    mHasNewMode = mHasNewMode || error == 0;
    return StatusOfChange(error, mItem);
}

// The two names, exchanged back unless they are to stay so. What is known of them is told to the forks.
class ExchangedNames {
  public:
    ExchangedNames(const Place& inPlace1, const Place& inPlace2, ExchangedForks& ioForks)
        : mPlace1(inPlace1), mPlace2(inPlace2), mForks(ioForks) {}
    ~ExchangedNames() {
        if (mIsToExchangeBack && Exchange() == 0) mForks.SetNames(ExchangedForks::Names::kAsBefore);
    }
    ExchangedNames(const ExchangedNames&) = delete;
    ExchangedNames& operator=(const ExchangedNames&) = delete;

    // Once.
    [[nodiscard]] int Make() {
        const int error = Exchange();
        mIsToExchangeBack = error == 0;
        if (error == 0) mForks.SetNames(ExchangedForks::Names::kUnknown);
        return error;
    }
    void Stay() noexcept {
        mIsToExchangeBack = false;
        mForks.SetNames(ExchangedForks::Names::kExchanged);
    }

  private:
    [[nodiscard]] int Exchange() const noexcept {
        return os::ExchangeNames(mPlace1.folder.Number(), mPlace1.name.c_str(), mPlace2.folder.Number(),
                                 mPlace2.name.c_str());
    }

    const Place& mPlace1;
    const Place& mPlace2;
    ExchangedForks& mForks;
    bool mIsToExchangeBack = false;
};

bool HasAt(const Place& inPlace, const Side& inSide) {
    os::ItemStatus status;
    return GetStatus(inPlace, status) == 0 && status.identity.IsSameItem(inSide.Identity());
}

// Where it is now; what is not remembered for want of memory is looked for.
void RecordAt(const Place& inPlace, const Side& inSide) {
    NodeFacts facts;
    try {
        const PathStep step = StepOf(inSide.Status(), false, inPlace.name);
        (void)NodeTable::Shared().RecordChild(inPlace.folderStatus.identity, step, facts);
    } catch (const std::bad_alloc&) {
        return;
    }
}

// A file is never open to more users than it is to be at its new place, whatever stops this.
OSStatus ExchangeWithModes(Side& ioSide1, Side& ioSide2, ExchangedNames& ioNames) {
    const mode_t both = ioSide1.Mode() & ioSide2.Mode();
    OSStatus status = ioSide1.SetMode(both);
    if (status == noErr) status = ioSide2.SetMode(both);
    if (status != noErr) return status;
    const int error = ioNames.Make();
    if (error == ENOTSUP) {
        ForbidExchange(ioSide1.Where().folderStatus.Volume());
        return paramErr;
    }
    if (error != 0) return StatusOfChange(error, ioSide1.Item());
    // Another program may have put something else there.
    if (!HasAt(ioSide1.Where(), ioSide2) || !HasAt(ioSide2.Where(), ioSide1)) return fnfErr;
    status = ioSide1.SetMode(ioSide2.Mode());
    return status == noErr ? ioSide2.SetMode(ioSide1.Mode()) : status;
}

OSStatus PrepareForks(const Side& inSide1, const Side& inSide2, ExchangedForks& ioForks) {
    const int error =
        ioForks.Prepare({inSide1.Where(), inSide1.Status()}, {inSide2.Where(), inSide2.Status()});
    return error == ENOTSUP ? OSStatus{paramErr} : StatusOfCompanionError(error, inSide1.Item());
}

OSStatus Exchange(const FSRef& inRef1, const FSRef& inRef2) {
    static os::Mutex sOneAtATime;
    const os::MutexLock lock(sOneAtATime);
    Side side1;
    Side side2;
    ExchangedForks forks;
    OSStatus status = side1.Open(inRef1);
    if (status == noErr) status = side2.Open(inRef2);
    if (status != noErr) return status;
    if (side1.Identity().IsSameItem(side2.Identity())) return sameFileErr;
    if (side1.Where().folderStatus.Volume() != side2.Where().folderStatus.Volume()) return diffVolErr;
    if (!side1.IsOneFile() || !side2.IsOneFile() || side1.WouldTake(side2) || side2.WouldTake(side1))
        return paramErr;
    status = side1.KeepCreationDate(side2);
    if (status == noErr) status = side2.KeepCreationDate(side1);
    if (status == noErr) status = PrepareForks(side1, side2, forks);
    if (status != noErr) return status;
    ExchangedNames names(side1.Where(), side2.Where(), forks);
    status = ExchangeWithModes(side1, side2, names);
    if (status == noErr) status = StatusOfErrno(forks.CheckNoneCame());
    if (status != noErr) return status;
    NodeTable::Shared().Exchange(side1.Identity(), side2.Identity());
    names.Stay();
    side1.Stay();
    side2.Stay();
    RecordAt(side1.Where(), side2);
    RecordAt(side2.Where(), side1);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSExchangeObjects(const FSRef* inRef, const FSRef* inDestRef) {
    if (inRef == nullptr || inDestRef == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Exchange(*inRef, *inDestRef));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

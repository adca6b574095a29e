#include "KnownNames.h"

#include "MountTable.h"
#include "VolumeFeatures.h"
#include "catalogue/DescriptorPaths.h"
#include "companions/Companions.h"

#include <pthread.h>

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

namespace toolbox::files {

namespace {

using os::FolderWatches;

std::uint64_t NumberOf(std::u16string_view inFolded) {
    return std::hash<std::u16string_view>()(inFolded);
}

// Those of an item's name and of its companion's.
class ItemNumbers {
  public:
    explicit ItemNumbers(const std::string& inDiskName)
        : mItem(NumberOfName(inDiskName)), mCompanion(NumberOfName(CompanionName(inDiskName))) {}
    bool AreNotIn(const NumberSet& inNumbers) const {
        return !inNumbers.Has(mItem) && !inNumbers.Has(mCompanion);
    }

  private:
    std::uint64_t mItem;
    std::uint64_t mCompanion;
};

// Once. False when there is no memory for it.
bool MindForks() {
    static const bool isMinded = pthread_atfork([] { KnownNames::Shared().HoldForFork(); },
                                                [] { KnownNames::Shared().GoOnInParent(); },
                                                [] { KnownNames::Shared().GoOnInChild(); }) == 0;
    return isMinded;
}

// Whether the system tells all changes of names on a mount that is there.
bool IsToldOfAll(std::uint64_t inMount) {
    std::vector<MountEntry> mounts;
    if (inMount == 0 || ReadMounts(mounts) != noErr) return false;
    const auto found = std::find_if(mounts.begin(), mounts.end(),
                                    [=](const MountEntry& inEntry) { return inEntry.mount == inMount; });
    return found != mounts.end() && FeaturesOf(found->type).tellsNewNames;
}

// Who may not read a folder any more is told so by reading it.
bool HasSameAccess(const os::ItemStatus& inLeft, const os::ItemStatus& inRight) {
    return inLeft.mode == inRight.mode && inLeft.owner == inRight.owner && inLeft.group == inRight.group;
}

}  // namespace

std::uint64_t NumberOfName(std::string_view inDiskName) {
    std::u16string folded;
    FoldDiskName(inDiskName, folded);
    return NumberOf(folded);
}

// Never destroyed: used until the process ends.
KnownNames& KnownNames::Shared() {
    static KnownNames& sShared = *new KnownNames;
    return sShared;
}

bool KnownNames::HasNoneLike(const os::ItemStatus& inFolder, std::u16string_view inFolded) noexcept {
    const os::MutexLock lock(mMutex);
    const Folder* const folder = FindWhole(inFolder);
    return folder != nullptr && !folder->names.Has(NumberOf(inFolded));
}

bool KnownNames::HasNeither(const Place& inItem) {
    const ItemNumbers numbers(inItem.name);
    const os::MutexLock lock(mMutex);
    const Folder* const folder = FindWhole(inItem.folderStatus);
    return folder != nullptr && numbers.AreNotIn(folder->names);
}

bool KnownNames::HasSpecNamesOnly(const os::ItemStatus& inFolder) noexcept {
    const os::MutexLock lock(mMutex);
    const Folder* const folder = FindWhole(inFolder);
    return folder != nullptr && !folder->hasOtherNames;
}

KnownNames::Folder* KnownNames::FindWhole(const os::ItemStatus& inFolder) noexcept {
    if (Find(inFolder) == nullptr || !Hear()) return nullptr;
    Folder* const folder = Find(inFolder);
    if (folder == nullptr || !folder->isWhole) return nullptr;
    folder->lastUse = ++mUses;
    if (HasSameAccess(folder->status, inFolder)) return folder;
    Forget(*folder);
    return nullptr;
}

KnownNames::Hearing::~Hearing() {
    if (mFolder != 0) mKnown.EndHearing(mFolder);
}

bool KnownNames::Hearing::Begin(const Place& inFolder) {
    mFolder = mKnown.Begin(inFolder);
    return mFolder != 0;
}

bool KnownNames::Hearing::HasNeitherCome(const std::string& inDiskName) const noexcept {
    try {
        return mFolder != 0 && mKnown.HasNeitherCome(mFolder, inDiskName);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Before the name is taken apart: nothing has come, most of the time.
bool KnownNames::HasNeitherCome(std::uint64_t inNumber, const std::string& inDiskName) {
    const os::MutexLock lock(mMutex);
    if (Find(inNumber) == nullptr || !Hear()) return false;
    Folder* const folder = Find(inNumber);
    if (folder == nullptr) return false;
    folder->lastUse = ++mUses;
    return folder->newNames.IsEmpty() || ItemNumbers(inDiskName).AreNotIn(folder->newNames);
}

KnownNames::Reading::Reading(KnownNames& ioKnown, const Place& inFolder) noexcept
    : mKnown(ioKnown), mFolder(0) {
    try {
        if (inFolder.folderStatus.sizeBytes > kSmallFolderBytes) mFolder = ioKnown.Begin(inFolder);
    } catch (const std::bad_alloc&) {
        // Then it is not kept this time.
    }
}

KnownNames::Reading::~Reading() {
    if (mFolder != 0) mKnown.End(mFolder);
}

void KnownNames::Reading::Add(std::string_view inDiskName, std::u16string_view inFolded) noexcept {
    if (mFolder == 0) return;
    try {
        mNames.Insert(NumberOf(inFolded));
        mHasOtherNames = mHasOtherNames || !IsSpecName(inDiskName);
        if (mNames.ByteCount() <= mKnown.MaxFolderBytes()) return;
    } catch (const std::bad_alloc&) {
        // The same as of a folder with too many.
    }
    mKnown.Drop(std::exchange(mFolder, 0));
    mNames = {};
}

void KnownNames::Reading::Keep() noexcept {
    if (mFolder == 0) return;
    try {
        mKnown.Take(mFolder, mNames, mHasOtherNames);
    } catch (const std::bad_alloc&) {
        // As it was.
    }
}

std::uint64_t KnownNames::Begin(const Place& inFolder) {
    bool isOfKnownVolume = false;
    const std::uint64_t number = BeginKnown(inFolder.folderStatus, isOfKnownVolume);
    const int folder = inFolder.folder.Number();
    if (number != 0) return number;
    if (!MindForks() || !(isOfKnownVolume || IsToldOfAll(inFolder.folderStatus.mount))) return 0;
    if (!FolderWatches::HasLastingNames(folder)) return 0;
    return BeginNew(inFolder.folderStatus, PathOfDescriptor(folder).c_str());
}

// A device is the one that it was as long as anything on it is watched.
std::uint64_t KnownNames::BeginKnown(const os::ItemStatus& inFolder, bool& outIsOfKnownVolume) noexcept {
    const os::MutexLock lock(mMutex);
    if (mFolders.empty() || !Hear()) return 0;
    outIsOfKnownVolume = std::any_of(mFolders.begin(), mFolders.end(), [&](const Folder& inKnown) {
        return inKnown.status.identity.device == inFolder.identity.device;
    });
    Folder* const known = Find(inFolder);
    if (known == nullptr) return 0;
    ++known->readingCount;
    known->lastUse = ++mUses;
    return known->number;
}

std::uint64_t KnownNames::BeginNew(const os::ItemStatus& inFolder, const char* inPath) {
    const os::MutexLock lock(mMutex);
    mFolders.reserve(kMaxFolders);
    if (mFolders.size() == kMaxFolders) Forget(Oldest());
    const int instance = mWatches.Open();
    const int watch = instance == FolderWatches::kNone
                          ? FolderWatches::kNone
                          : FolderWatches::Add(instance, inPath, FolderWatches::Kind::kNewNames);
    const auto known = std::find_if(mFolders.begin(), mFolders.end(),
                                    [=](const Folder& inKnown) { return inKnown.watch == watch; });
    if (watch == FolderWatches::kNone) return 0;
    if (known != mFolders.end()) {  // another thread was first
        ++known->readingCount;
        return known->number;
    }
    Folder folder = {++mLastNumber, inFolder, watch, ++mUses};
    folder.readingCount = 1;
    mFolders.push_back(std::move(folder));
    return mLastNumber;
}

void KnownNames::Take(std::uint64_t inNumber, NumberSet& ioNames, bool inHasOtherNames) {
    const os::MutexLock lock(mMutex);
    Folder* const folder = Find(inNumber);
    if (folder == nullptr) return;
    ioNames.InsertAll(folder->newNames);
    folder->names = std::move(ioNames);
    folder->hasOtherNames = inHasOtherNames || folder->hasOtherNewNames;
    folder->isWhole = true;
    KeepWithinBounds();
}

void KnownNames::End(std::uint64_t inNumber) noexcept {
    const os::MutexLock lock(mMutex);
    Folder* const folder = Find(inNumber);
    if (folder != nullptr) EndReading(*folder);
}

// A watch that tells nobody of anything any more would take the place of another folder.
void KnownNames::EndHearing(std::uint64_t inNumber) noexcept {
    const os::MutexLock lock(mMutex);
    Folder* const folder = Find(inNumber);
    if (folder == nullptr) return;
    EndReading(*folder);
    if (folder->readingCount == 0 && !folder->isWhole) Forget(*folder);
}

void KnownNames::EndReading(Folder& ioFolder) noexcept {
    if (--ioFolder.readingCount != 0) return;
    ioFolder.newNames = {};
    ioFolder.hasOtherNewNames = false;
}

void KnownNames::Drop(std::uint64_t inNumber) noexcept {
    const os::MutexLock lock(mMutex);
    const Folder* const folder = Find(inNumber);
    if (folder != nullptr) Forget(*folder);
}

KnownNames::Folder* KnownNames::Find(const os::ItemStatus& inFolder) noexcept {
    const auto found = std::find_if(mFolders.begin(), mFolders.end(), [&](const Folder& inKnown) {
        return inKnown.status.identity.IsSameItem(inFolder.identity);
    });
    return found == mFolders.end() ? nullptr : &*found;
}

KnownNames::Folder* KnownNames::Find(std::uint64_t inNumber) noexcept {
    const auto found = std::find_if(mFolders.begin(), mFolders.end(),
                                    [=](const Folder& inKnown) { return inKnown.number == inNumber; });
    return found == mFolders.end() ? nullptr : &*found;
}

KnownNames::Folder& KnownNames::Oldest() noexcept {
    return *std::min_element(
        mFolders.begin(), mFolders.end(),
        [](const Folder& inLeft, const Folder& inRight) { return inLeft.lastUse < inRight.lastUse; });
}

bool KnownNames::Hear() noexcept {
    bool isHeard = false;
    mHasLostChanges = false;
    try {
        isHeard = mWatches.Read([this](const FolderWatches::Change& inChange) {
            mMutex.AssertHeld();
            Hear(inChange);
        });
    } catch (const std::bad_alloc&) {
        // A name that is not known would be taken for one that is not there.
    }
    isHeard = isHeard && !mHasLostChanges;
    if (!isHeard)
        while (!mFolders.empty())
            Forget(mFolders.back());
    KeepWithinBounds();
    return isHeard;
}

void KnownNames::Hear(const FolderWatches::Change& inChange) {
    if (inChange.watch == FolderWatches::kNone) mHasLostChanges = true;
    const auto found = std::find_if(mFolders.begin(), mFolders.end(),
                                    [&](const Folder& inKnown) { return inKnown.watch == inChange.watch; });
    if (found == mFolders.end()) return;
    if (inChange.isGone) {
        mFolders.erase(found);
        return;
    }
    FoldDiskName(inChange.name, mFolded);
    const std::uint64_t number = NumberOf(mFolded);
    const bool isOther = !IsSpecName(inChange.name);
    if (found->isWhole) {
        found->names.Insert(number);
        found->hasOtherNames = found->hasOtherNames || isOther;
    }
    if (found->readingCount > 0) {
        found->newNames.Insert(number);
        found->hasOtherNewNames = found->hasOtherNewNames || isOther;
    }
}

void KnownNames::KeepWithinBounds() noexcept {
    const auto byteCount = [](const Folder& inFolder) {
        return inFolder.names.ByteCount() + inFolder.newNames.ByteCount();
    };
    for (;;) {
        const auto large = std::find_if(mFolders.begin(), mFolders.end(), [&](const Folder& inFolder) {
            return byteCount(inFolder) > MaxFolderBytes();
        });
        if (large == mFolders.end()) break;
        Forget(*large);
    }
    for (;;) {
        std::size_t total = 0;
        for (const Folder& folder : mFolders)
            total += byteCount(folder);
        if (total <= mMaxBytes) return;
        Forget(Oldest());
    }
}

void KnownNames::Forget(const Folder& inFolder) noexcept {
    mWatches.Remove(inFolder.watch);
    mFolders.erase(mFolders.begin() + (&inFolder - mFolders.data()));
}

void KnownNames::Close() noexcept {
    const os::MutexLock lock(mMutex);
    CloseHeld();
}

// Watches are not ended one by one: in a child they are the parent's as well.
void KnownNames::CloseHeld() noexcept {
    mFolders.clear();
    mWatches.Close();
}

NO_LOCK_ANALYSIS void KnownNames::GoOnInChild() noexcept {
    CloseHeld();
    mMutex.Unlock();
}

}  // namespace toolbox::files

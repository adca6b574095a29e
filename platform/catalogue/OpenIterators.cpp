#include "OpenIterators.h"

#include <toolbox/MacErrors.h>

#include <new>
#include <utility>

namespace toolbox::files {

OpenIterators& OpenIterators::Shared() {
    // Never destroyed: iterators are closed by other objects' destructors at exit.
    static OpenIterators& iterators = *new OpenIterators;
    return iterators;
}

OpenIterators::Number OpenIterators::Add(std::unique_ptr<FolderWalk> inWalk, Number inAbove) {
    const os::MutexLock lock(mMutex);
    const Number number = mLast + 1;
    const auto added = mEntries.emplace(number, Entry{std::move(inWalk), false, false, {}, inAbove}).first;
    try {
        Hold(number, added->second);
    } catch (...) {
        mEntries.erase(added);
        throw;
    }
    mLast = number;
    return number;
}

OSStatus OpenIterators::Remove(Number inNumber) {
    std::unique_ptr<FolderWalk> walk;  // ends when the lock is gone
    Number above = 0;
    {
        const os::MutexLock lock(mMutex);
        const auto found = mEntries.find(inNumber);
        if (found == mEntries.end()) return errFSIteratorNotFound;
        Entry& entry = found->second;
        if (entry.isInUse) return fBsyErr;
        walk = std::move(entry.walk);
        const auto other = mEntries.find(entry.above);
        if (other != mEntries.end() && !other->second.isHeld) above = entry.above;
        if (entry.isHeld) mHeld.erase(entry.place);
        mEntries.erase(found);
    }
    if (above != 0) Reopen(above, *walk);
    return noErr;
}

bool OpenIterators::HasAny() {
    const os::MutexLock lock(mMutex);
    return !mEntries.empty();
}

OpenIterators::Number OpenIterators::Lend(const os::ItemIdentity& inFolder, LentFolder& ioLent) {
    const os::MutexLock lock(mMutex);
    for (const Number number : mHeld) {
        const Entry& entry = mEntries.find(number)->second;
        if (!entry.isInUse && entry.walk->Lend(inFolder, ioLent)) return number;
    }
    return 0;
}

void OpenIterators::TakeBack(Number inNumber, Place& ioPlace, FoundItem& ioFolder) {
    const os::MutexLock lock(mMutex);
    const auto found = mEntries.find(inNumber);
    if (found == mEntries.end() || found->second.isInUse || !found->second.isHeld) return;
    found->second.walk->TakeBack(ioPlace, ioFolder);
}

// What was parked, because it was not used for long, is used next, now that the one below goes.
void OpenIterators::Reopen(Number inNumber, FolderWalk& ioBelow) noexcept {
    Place place;
    FoundItem folder;
    if (!ioBelow.OpenAbove(place, folder)) return;
    try {
        const os::MutexLock lock(mMutex);
        const auto found = mEntries.find(inNumber);
        if (found == mEntries.end() || found->second.isInUse) return;
        Hold(inNumber, found->second);
        found->second.walk->TakeBack(place, folder);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void OpenIterators::Hold(Number inNumber, Entry& ioEntry) {
    if (ioEntry.isHeld) {
        mHeld.splice(mHeld.begin(), mHeld, ioEntry.place);
        return;
    }
    mHeld.push_front(inNumber);
    ioEntry.place = mHeld.begin();
    ioEntry.isHeld = true;
    ParkOthers();
}

void OpenIterators::ParkOthers() noexcept {
    for (auto at = mHeld.end(); mHeld.size() > kMaxHeld && at != mHeld.begin();) {
        --at;
        Entry& entry = mEntries.find(*at)->second;
        if (entry.isInUse || at == mHeld.begin()) continue;
        entry.walk->Park();
        entry.isHeld = false;
        at = mHeld.erase(at);
    }
}

OSStatus OpenIterators::Begin(Number inNumber, FolderWalk*& outWalk) {
    const os::MutexLock lock(mMutex);
    const auto found = mEntries.find(inNumber);
    if (found == mEntries.end()) return errFSIteratorNotFound;
    Entry& entry = found->second;
    if (entry.isInUse) return fBsyErr;
    Hold(inNumber, entry);
    entry.isInUse = true;
    outWalk = entry.walk.get();
    return noErr;
}

void OpenIterators::End(Number inNumber) noexcept {
    const os::MutexLock lock(mMutex);
    mEntries.find(inNumber)->second.isInUse = false;
}

OpenIterators::Use::Use(OpenIterators& ioIterators, Number inNumber)
    : mIterators(ioIterators), mNumber(inNumber), mStatus(ioIterators.Begin(inNumber, mWalk)) {}

OpenIterators::Use::~Use() {
    if (mWalk != nullptr) mIterators.End(mNumber);
}

void OpenIterators::Loan::Begin(OpenIterators& ioIterators, const os::ItemIdentity& inFolder,
                                std::string inName) {
    mIterators = &ioIterators;
    mLent.place.name = std::move(inName);
    mFrom = ioIterators.Lend(inFolder, mLent);
}

OpenIterators::Loan::~Loan() {
    if (mFrom != 0) mIterators->TakeBack(mFrom, mLent.place, mLent.folder);
}

}  // namespace toolbox::files

#include "OpenIterators.h"

#include <toolbox/MacErrors.h>

#include <utility>

namespace toolbox::files {

OpenIterators& OpenIterators::Shared() {
    // Never destroyed: iterators are closed by other objects' destructors at exit.
    static OpenIterators& iterators = *new OpenIterators;
    return iterators;
}

OpenIterators::Number OpenIterators::Add(std::unique_ptr<FolderWalk> inWalk) {
    const os::MutexLock lock(mMutex);
    const Number number = mLast + 1;
    const auto added = mEntries.emplace(number, Entry{std::move(inWalk), false, false, {}}).first;
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
    const os::MutexLock lock(mMutex);
    const auto found = mEntries.find(inNumber);
    if (found == mEntries.end()) return errFSIteratorNotFound;
    Entry& entry = found->second;
    if (entry.isInUse) return fBsyErr;
    walk = std::move(entry.walk);
    if (entry.isHeld) mHeld.erase(entry.place);
    mEntries.erase(found);
    return noErr;
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

}  // namespace toolbox::files

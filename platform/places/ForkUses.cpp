#include "places/ForkUses.h"

#include "os/Mutex.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace toolbox::files {

// All that there are: few, so that they are gone through.
class ForkUses {
  public:
    static ForkUses& Shared() {
        // Never destroyed: forks are closed by other objects' destructors at exit.
        static ForkUses& uses = *new ForkUses;
        return uses;
    }

    bool Add(ForkUse& ioUse) {
        const os::MutexLock lock(mMutex);
        const bool isBusy = std::any_of(mUses.begin(), mUses.end(), [&ioUse](const ForkUse* inOther) {
            return inOther->mIsResource == ioUse.mIsResource && inOther->mFile.IsSameItem(ioUse.mFile) &&
                   !GoTogether(inOther->mAccess, ioUse.mAccess);
        });
        if (!isBusy) mUses.push_back(&ioUse);
        return !isBusy;
    }
    void Remove(const ForkUse& inUse) noexcept {
        const os::MutexLock lock(mMutex);
        mUses.erase(std::find(mUses.begin(), mUses.end(), &inUse));
    }
    ForksInUse Find(const os::ItemIdentity& inItem) {
        const os::MutexLock lock(mMutex);
        ForksInUse found;
        for (const ForkUse* const use : mUses)
            if (use->mFile.IsSameItem(inItem))
                (use->mIsResource ? found.isResourceOpen : found.isDataOpen) = true;
        return found;
    }

    bool HasAny(std::uint64_t inDevice) {
        const os::MutexLock lock(mMutex);
        return std::any_of(mUses.begin(), mUses.end(),
                           [inDevice](const ForkUse* inUse) { return inUse->mFile.device == inDevice; });
    }

  private:
    static bool GoTogether(ForkAccess inOne, ForkAccess inOther) {
        if (inOne == ForkAccess::kRead || inOther == ForkAccess::kRead) return true;
        return inOne == ForkAccess::kWriteShared && inOther == ForkAccess::kWriteShared;
    }

    os::Mutex mMutex;
    std::vector<const ForkUse*> mUses GUARDED_BY(mMutex);
};

int ForkUse::Begin(const os::ItemIdentity& inFile, bool inIsResource, ForkAccess inAccess) {
    mFile = inFile;
    mIsResource = inIsResource;
    mAccess = inAccess;
    mIsInUse = ForkUses::Shared().Add(*this);
    return mIsInUse ? 0 : EBUSY;
}

void ForkUse::End() noexcept {
    if (mIsInUse) ForkUses::Shared().Remove(*this);
    mIsInUse = false;
}

ForksInUse FindForksInUse(const os::ItemIdentity& inItem) {
    return ForkUses::Shared().Find(inItem);
}

bool HasForksInUse(std::uint64_t inDevice) {
    return ForkUses::Shared().HasAny(inDevice);
}

}  // namespace toolbox::files

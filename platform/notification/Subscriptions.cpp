#include "Subscriptions.h"

#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"

#include <fcntl.h>

#include <algorithm>
#include <string>
#include <utility>

namespace toolbox::notification {

using os::FolderWatches;

namespace {

std::uintptr_t NumberOf(FNSubscriptionRef inSubscription) {
    return reinterpret_cast<std::uintptr_t>(inSubscription);
}

FNSubscriptionRef SubscriptionOf(std::uintptr_t inNumber) {
    return reinterpret_cast<FNSubscriptionRef>(inNumber);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

// Never destroyed: threads end, and with them what they subscribed, also after the program's own end began.
Subscriptions& Subscriptions::Shared() {
    static Subscriptions& sShared = *new Subscriptions;
    return sShared;
}

OSStatus Subscriptions::Add(const files::FoundItem& inFolder, const Subscriber& inSubscriber,
                            FNSubscriptionRef& outSubscription) {
    // Watched is what was found, whatever has its path by now.
    os::Descriptor folder;
    const OSStatus status = files::OpenFound(inFolder, O_PATH | O_DIRECTORY, folder);
    if (status == fnfErr) return status;
    Table made;
    Subscription& subscription = made[0];
    subscription.subscriber = inSubscriber;
    subscription.folder = inFolder.status.identity;
    subscription.folderRef = files::MakeRef(inFolder);
    auto node = made.extract(made.begin());

    const std::string path = folder.IsOpen() ? files::PathOfDescriptor(folder.Number()) : std::string();
    Joining joining = BeginJoining();
    for (;;) {
        const bool canAsk = folder.IsOpen() && joining.instance != FolderWatches::kNone;
        const int watch =
            canAsk ? FolderWatches::Add(joining.instance, path.c_str(), FolderWatches::Kind::kAnyChange)
                   : FolderWatches::kNone;
        if (Join(watch, joining, node, outSubscription)) return noErr;
    }
}

Subscriptions::Joining Subscriptions::BeginJoining() noexcept {
    const os::MutexLock lock(mMutex);
    ++mJoiningCount;
    return {mWatches.Open(), mEndings};
}

bool Subscriptions::Join(int inWatch, Joining& ioJoining, Table::node_type& ioSubscription,
                         FNSubscriptionRef& outSubscription) noexcept {
    const os::MutexLock lock(mMutex);
    if (inWatch != FolderWatches::kNone && std::exchange(ioJoining.endings, mEndings) != mEndings)
        return false;
    ioSubscription.mapped().watch = inWatch;
    ioSubscription.key() = ++mLastNumber;
    mTable.insert(std::move(ioSubscription));
    mCount.store(mTable.size(), std::memory_order_relaxed);
    outSubscription = SubscriptionOf(mLastNumber);
    --mJoiningCount;
    CloseUnused();
    return true;
}

// Open is the instance while something is watched, or about to be.
void Subscriptions::CloseUnused() noexcept {
    const bool isUsed =
        mJoiningCount > 0 || std::any_of(mTable.begin(), mTable.end(), [](const auto& inEntry) {
            return inEntry.second.watch != FolderWatches::kNone;
        });
    if (!isUsed) mWatches.Close();
}

bool Subscriptions::Remove(FNSubscriptionRef inSubscription) noexcept {
    const os::MutexLock lock(mMutex);
    const auto found = mTable.find(NumberOf(inSubscription));
    if (found == mTable.end()) return false;
    Erase(found);
    return true;
}

void Subscriptions::RemoveAllOf(ThreadToken inThread) noexcept {
    const os::MutexLock lock(mMutex);
    for (auto each = mTable.begin(); each != mTable.end();)
        each = each->second.subscriber.thread == inThread ? Erase(each) : std::next(each);
}

bool Subscriptions::GetFolder(FNSubscriptionRef inSubscription, FSRef& outFolder) const {
    const os::MutexLock lock(mMutex);
    const auto found = mTable.find(NumberOf(inSubscription));
    if (found == mTable.end()) return false;
    outFolder = found->second.folderRef;
    return true;
}

void Subscriptions::Notify(const os::ItemIdentity& inFolder, OptionBits inFlags) {
    if (IsEmpty()) return;
    const os::MutexLock lock(mMutex);
    for (auto& [number, subscription] : mTable)
        if (subscription.folder.IsSameItem(inFolder)) MakePending(subscription, inFlags);
}

void Subscriptions::NotifyAll(OptionBits inFlags) {
    const os::MutexLock lock(mMutex);
    for (auto& [number, subscription] : mTable)
        if ((subscription.subscriber.options & kFNNoImplicitAllSubscription) == 0)
            MakePending(subscription, inFlags);
}

void Subscriptions::MakeDue(ThreadToken inThread) noexcept {
    const os::MutexLock lock(mMutex);
    (void)mWatches.Read([this](const FolderWatches::Change& inChange) {
        mMutex.AssertHeld();
        Hear(inChange.watch, inChange.isGone);
    });
    for (auto& [number, subscription] : mTable) {
        if (subscription.subscriber.thread != inThread || !subscription.isPending) continue;
        subscription.isDue = true;
        subscription.isPending = false;
        subscription.dueFlags |= std::exchange(subscription.pendingFlags, 0);
    }
}

bool Subscriptions::TakeDue(ThreadToken inThread, Notice& outNotice) noexcept {
    const os::MutexLock lock(mMutex);
    const auto due = std::find_if(mTable.begin(), mTable.end(), [inThread](const auto& inEntry) {
        return inEntry.second.subscriber.thread == inThread && inEntry.second.isDue;
    });
    if (due == mTable.end()) return false;
    Subscription& subscription = due->second;
    subscription.isDue = false;
    outNotice = {subscription.subscriber, std::exchange(subscription.dueFlags, 0),
                 SubscriptionOf(due->first)};
    return true;
}

NO_LOCK_ANALYSIS void Subscriptions::GoOnInChild(ThreadToken inThread) noexcept {
    mWatches.Close();
    mJoiningCount = 0;
    std::erase_if(mTable,
                  [inThread](const auto& inEntry) { return inEntry.second.subscriber.thread != inThread; });
    for (auto& [number, subscription] : mTable)
        subscription.watch = FolderWatches::kNone;
    mCount.store(mTable.size(), std::memory_order_relaxed);
    mMutex.Unlock();
}

Subscriptions::Table::iterator Subscriptions::Erase(Table::iterator inSubscription) noexcept {
    const int watch = inSubscription->second.watch;
    const auto next = mTable.erase(inSubscription);
    const bool isShared = std::any_of(mTable.begin(), mTable.end(),
                                      [watch](const auto& inEntry) { return inEntry.second.watch == watch; });
    if (!isShared && watch != FolderWatches::kNone) {
        mWatches.Remove(watch);
        ++mEndings;
    }
    CloseUnused();
    mCount.store(mTable.size(), std::memory_order_relaxed);
    return next;
}

void Subscriptions::MakePending(Subscription& ioSubscription, OptionBits inFlags) {
    if (ioSubscription.isGone) return;
    ioSubscription.isPending = true;
    ioSubscription.pendingFlags |= inFlags;
}

void Subscriptions::Hear(int inWatch, bool inIsGone) noexcept {
    if (inIsGone) ++mEndings;
    for (auto& [number, subscription] : mTable) {
        if (inWatch != FolderWatches::kNone && subscription.watch != inWatch) continue;
        if (subscription.watch == FolderWatches::kNone) continue;
        MakePending(subscription, 0);
        if (!inIsGone) continue;
        subscription.isGone = true;
        subscription.watch = FolderWatches::kNone;
    }
}

}  // namespace toolbox::notification

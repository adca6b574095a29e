// Who is to be told of changes in which folder, on which thread. Safe on any thread.
#pragma once

#include "catalogue/Catalogue.h"
#include "os/FolderWatches.h"
#include "os/Mutex.h"

#include <toolbox/Notification.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>

namespace toolbox::notification {

// Tells a thread from every other that lives now.
using ThreadToken = const void*;

struct Subscriber {
    FNSubscriptionUPP callback;
    void* refcon;
    OptionBits options;
    ThreadToken thread;
};

// One call of a subscriber.
struct Notice {
    Subscriber subscriber;
    OptionBits flags;
    FNSubscriptionRef subscription;
};

class Subscriptions {
  public:
    // The process's one table.
    static Subscriptions& Shared();

    // To a folder that was just found; outSubscription is untouched on failure. May throw std::bad_alloc,
    // with nothing changed.
    [[nodiscard]] OSStatus Add(const files::FoundItem& inFolder, const Subscriber& inSubscriber,
                               FNSubscriptionRef& outSubscription);
    // False when there is none.
    bool Remove(FNSubscriptionRef inSubscription) noexcept;
    void RemoveAllOf(ThreadToken inThread) noexcept;
    bool GetFolder(FNSubscriptionRef inSubscription, FSRef& outFolder) const;

    void Notify(const os::ItemIdentity& inFolder, OptionBits inFlags);
    void NotifyAll(OptionBits inFlags);

    // Around a fork: so that a child never finds the table as another thread was changing it. In the child
    // remains what the one thread subscribed that it has, without what the system tells.
    void HoldForFork() NO_LOCK_ANALYSIS { mMutex.Lock(); }
    void GoOnInParent() NO_LOCK_ANALYSIS { mMutex.Unlock(); }
    void GoOnInChild(ThreadToken inThread) noexcept;

    bool IsEmpty() const { return mCount.load(std::memory_order_relaxed) == 0; }
    // What is to be told to a thread by now, the system's changes among it, becomes due; and is then taken,
    // in the order in which was subscribed. What comes later is for the next time.
    void MakeDue(ThreadToken inThread) noexcept;
    bool TakeDue(ThreadToken inThread, Notice& outNotice) noexcept;

  private:
    struct Subscription {
        Subscriber subscriber;
        os::ItemIdentity folder;
        FSRef folderRef;
        int watch = os::FolderWatches::kNone;
        bool isGone = false;  // the folder, and nothing is told any more
        bool isPending = false;
        bool isDue = false;
        OptionBits pendingFlags = 0;
        OptionBits dueFlags = 0;
    };
    // By number, from 1 on; a number is given once.
    using Table = std::map<std::uintptr_t, Subscription>;

    // A subscription to a folder that the system is asked to watch, which may last: nobody else waits for it.
    struct Joining {
        int instance = os::FolderWatches::kNone;
        std::uint64_t endings = 0;  // of watches, before the system was asked
    };
    [[nodiscard]] Joining BeginJoining() noexcept;
    // False when the watch may have been ended meanwhile by who knew of no other subscriber: it is to be
    // added again then.
    [[nodiscard]] bool Join(int inWatch, Joining& ioJoining, Table::node_type& ioSubscription,
                            FNSubscriptionRef& outSubscription) noexcept;
    void CloseUnused() noexcept NEEDS_LOCK(mMutex);
    Table::iterator Erase(Table::iterator inSubscription) noexcept NEEDS_LOCK(mMutex);
    static void MakePending(Subscription& ioSubscription, OptionBits inFlags);
    void Hear(int inWatch, bool inIsGone) noexcept NEEDS_LOCK(mMutex);

    mutable os::Mutex mMutex;
    Table mTable GUARDED_BY(mMutex);
    std::uintptr_t mLastNumber GUARDED_BY(mMutex) = 0;
    os::FolderWatches mWatches GUARDED_BY(mMutex);
    std::size_t mJoiningCount GUARDED_BY(mMutex) = 0;
    std::uint64_t mEndings GUARDED_BY(mMutex) = 0;  // of watches
    std::atomic<std::size_t> mCount{0};
};

}  // namespace toolbox::notification

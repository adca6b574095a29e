#include "Accounts.h"

#include "MasterPointers.h"
#include "os/Mutex.h"

#include <algorithm>
#include <utility>

namespace toolbox::memory {

namespace {

// Accounts outlive their threads and pass to the next, sums and all.
constexpr UInt32 kAccountCount = 128;
constinit Account sAccounts[kAccountCount];
// Of the threads beyond these.
constinit Account sShared{.isShared = true};

// Held by whoever writes the shared account.
constinit os::Mutex sSharedMutex;
// Held from looking at the sum to entering a charge, where there is a limit.
constinit os::Mutex sChargingMutex;
constinit os::Mutex sKeepingMutex;
bool sIsKept[kAccountCount] GUARDED_BY(sKeepingMutex) = {};  // by some thread
std::atomic<UInt32> sEverKeptCount{0};

Account* KeepOne() {
    const os::MutexLock lock(sKeepingMutex);
    for (UInt32 i = 0; i < kAccountCount; ++i) {
        if (sIsKept[i]) continue;
        sIsKept[i] = true;
        sEverKeptCount.store(std::max(sEverKeptCount.load(std::memory_order_relaxed), i + 1),
                             std::memory_order_relaxed);
        return &sAccounts[i];
    }
    return nullptr;
}

// Gives a thread's account back when the thread ends. Destructors of the thread that run later still find
// the shared one. Until the thread has ended the system keeps the library in memory, even when it is closed.
struct AccountReturn {
    AccountReturn() = default;
    ~AccountReturn() {
        ThreadState& thread = sThread;
        thread.isEnding = true;
        Account* account = std::exchange(thread.account, nullptr);
        if (account == nullptr) return;
        ReturnFreeMasters(*account, 0);
        const os::MutexLock lock(sKeepingMutex);
        sIsKept[account - sAccounts] = false;
    }
    AccountReturn(const AccountReturn&) = delete;
    AccountReturn& operator=(const AccountReturn&) = delete;
};

}  // namespace

constinit thread_local ThreadState sThread = {};
std::atomic<UInt64> sLimitBytes{0};

// The lock is held for as long as the AccountHold lives, which the compiler cannot follow, since only holds
// of the shared account have it.
Account* AccountHold::Find(ThreadState& ioThread) noexcept NO_LOCK_ANALYSIS {
    if (!ioThread.isEnding) {
        static thread_local const AccountReturn sReturn;
        ioThread.account = KeepOne();
        if (ioThread.account != nullptr) return ioThread.account;
    }
    sSharedMutex.Lock();
    return &sShared;
}

void AccountHold::LeaveShared() noexcept NO_LOCK_ANALYSIS {
    sSharedMutex.Unlock();
}

UInt64 Sum(std::atomic<SInt64> Account::*inWhat) noexcept {
    SInt64 sum = (sShared.*inWhat).load(std::memory_order_relaxed);
    const UInt32 count = sEverKeptCount.load(std::memory_order_relaxed);
    for (UInt32 i = 0; i < count; ++i)
        sum += (sAccounts[i].*inWhat).load(std::memory_order_relaxed);
    return static_cast<UInt64>(std::max<SInt64>(sum, 0));
}

// All charges pass here while there is a limit, one after the other, so the sum has every one of them. Of the
// discharges that other threads are at it may miss some: it is never too low, and the limit is never passed.
bool ChargeWithinLimit(Account& ioAccount, Size inByteCount) noexcept {
    const os::MutexLock lock(sChargingMutex);
    const UInt64 limit = sLimitBytes.load(std::memory_order_relaxed);
    const UInt64 used = Sum(&Account::byteCount);
    if (used > limit || limit - used < static_cast<UInt64>(inByteCount)) return false;
    Enter(ioAccount.byteCount, inByteCount);
    return true;
}

}  // namespace toolbox::memory

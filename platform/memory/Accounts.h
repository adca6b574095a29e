// The books of the Memory Manager: bytes, handles and pointers in use, and each thread's last result. A
// thread keeps an account of its own, so that threads at work wait for nobody and share nothing.
#pragma once

#include <toolbox/MacTypes.h>

#include <atomic>

namespace toolbox::memory {

struct MasterPointer;

// A block may be made on one thread and disposed of on another, which leaves one account too high and one too
// low: only the sum of all tells anything.
struct alignas(64) Account {  // a cache line each
    std::atomic<SInt64> byteCount{0};
    std::atomic<SInt64> handleCount{0};
    std::atomic<SInt64> ptrCount{0};
    MasterPointer* freeMasters = nullptr;  // at hand for new handles
    UInt32 freeMasterCount = 0;
    bool isShared = false;  // by the threads that keep none
};

struct ThreadState {
    Account* account;  // null before the first entry, and always when too many threads keep one
    OSErr error;
    bool isEnding;  // has given its account back, and keeps none any more
};
extern constinit thread_local ThreadState sThread;

// Asking where a thread's own variables are takes a call, which the compiler would make again for each use
// rather than keep the answer: ask once, and pass it on.
inline ThreadState& CurrentThread() {
    ThreadState* thread = &sThread;
    asm("" : "+r"(thread));  // what the compiler does not know it cannot ask again
    return *thread;
}

inline void SetError(OSErr inError) {
    sThread.error = inError;
}

// The account that a thread may write: its own or, for as long as this lives, the one that all without share.
// A thread holds one at a time: a call that holds one makes no other that does.
class AccountHold {
  public:
    explicit AccountHold(ThreadState& ioThread) : mAccount(ioThread.account) {
        if (mAccount == nullptr) [[unlikely]]
            mAccount = Find(ioThread);
    }
    ~AccountHold() {
        if (mAccount->isShared) [[unlikely]]
            LeaveShared();
    }
    AccountHold(const AccountHold&) = delete;
    AccountHold& operator=(const AccountHold&) = delete;

    Account& operator*() const { return *mAccount; }

  private:
    static Account* Find(ThreadState& ioThread) noexcept;
    static void LeaveShared() noexcept;

    Account* mAccount;
};

// Enters a change. Only who holds the account writes it, so nothing comes between reading and writing.
inline void Enter(std::atomic<SInt64>& ioSum, SInt64 inChange) {
    ioSum.store(ioSum.load(std::memory_order_relaxed) + inChange, std::memory_order_relaxed);
}

// The sum over all accounts. Exact for what happened before; of what other threads are at meanwhile it may
// have half.
UInt64 Sum(std::atomic<SInt64> Account::*inWhat) noexcept;

extern std::atomic<UInt64> sLimitBytes;  // 0: none
bool ChargeWithinLimit(Account& ioAccount, Size inByteCount) noexcept;

// Enters inByteCount bytes into the account of live blocks, unless that would pass the limit.
inline bool Charge(Account& ioAccount, Size inByteCount) {
    if (sLimitBytes.load(std::memory_order_relaxed) != 0) [[unlikely]]
        return ChargeWithinLimit(ioAccount, inByteCount);
    Enter(ioAccount.byteCount, inByteCount);
    return true;
}

inline void Discharge(Account& ioAccount, Size inByteCount) {
    Enter(ioAccount.byteCount, -SInt64{inByteCount});
}

}  // namespace toolbox::memory

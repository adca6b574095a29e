// A mutex whose use the compiler verifies: Clang refuses code that touches what a mutex guards without
// holding it. In builds with assertions it also knows its holder.
//
//   GUARDED_BY(mutex)   behind a variable or member: touched by whoever holds the mutex only
//   NEEDS_LOCK(mutex)   behind a function: its callers hold the mutex
//   NO_LOCK_ANALYSIS    behind a function that the compiler cannot follow
#pragma once

#include <cassert>
#include <mutex>

#ifndef NDEBUG
#include <pthread.h>

#include <atomic>
#endif

#ifdef __clang__
#define LOCK_ATTRIBUTE(inAttribute) __attribute__((inAttribute))
#else
#define LOCK_ATTRIBUTE(inAttribute)
#endif
#define GUARDED_BY(inMutex) LOCK_ATTRIBUTE(guarded_by(inMutex))
#define NEEDS_LOCK(inMutex) LOCK_ATTRIBUTE(requires_capability(inMutex))
#define NO_LOCK_ANALYSIS LOCK_ATTRIBUTE(no_thread_safety_analysis)

namespace toolbox::os {

// Not recursive. Constant-initialised and never destroyed with effect, so that it may be used while the
// program begins and ends.
class LOCK_ATTRIBUTE(capability("mutex")) Mutex {
  public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() LOCK_ATTRIBUTE(acquire_capability()) {
        mMutex.lock();
        SetHolder();
    }
    void Unlock() LOCK_ATTRIBUTE(release_capability()) {
        AssertHeld();
        ForgetHolder();
        mMutex.unlock();
    }
    // For functions that the compiler cannot follow: the caller says that this thread holds the mutex, and
    // builds with assertions end when it does not.
    void AssertHeld() const LOCK_ATTRIBUTE(assert_capability(this)) { assert(IsHeldHere()); }

  private:
#ifdef NDEBUG
    void SetHolder() {}
    void ForgetHolder() {}
#else
    // Nobody is 0, which no thread of the system is.
    void SetHolder() {
        mHolder.store(pthread_self(), std::memory_order_relaxed);
    }
    void ForgetHolder() {
        mHolder.store(0, std::memory_order_relaxed);
    }
    bool IsHeldHere() const {
        return mHolder.load(std::memory_order_relaxed) == pthread_self();
    }
    std::atomic<pthread_t> mHolder{0};
#endif
    std::mutex mMutex;
};

// Holds a mutex while it lives.
class LOCK_ATTRIBUTE(scoped_lockable) MutexLock {
  public:
    explicit MutexLock(Mutex& ioMutex) LOCK_ATTRIBUTE(acquire_capability(ioMutex)) : mMutex(ioMutex) {
        mMutex.Lock();
    }
    ~MutexLock() LOCK_ATTRIBUTE(release_capability()) { mMutex.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mMutex;
};

}  // namespace toolbox::os

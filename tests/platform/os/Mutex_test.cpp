#include "os/Mutex.h"

#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using toolbox::os::Mutex;
using toolbox::os::MutexLock;

struct Counter {
    Mutex mutex;
    int count GUARDED_BY(mutex) = 0;
};

TEST(Mutex, IsHeldByOneThreadAtATime) {
    constexpr int kThreads = 4;
    const int kRounds = support::Rounds(5000);
    Counter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const MutexLock lock(counter.mutex);
                ++counter.count;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const MutexLock lock(counter.mutex);
    EXPECT_EQ(kThreads * kRounds, counter.count);
}

TEST(Mutex, IsFreeAfterTheScope) {
    Counter counter;
    for (int i = 1; i <= 2; ++i) {
        const MutexLock lock(counter.mutex);
        EXPECT_EQ(i, ++counter.count);
    }
}

TEST(Mutex, HolderPassesTheAssertion) {
    Mutex mutex;
    const MutexLock lock(mutex);
    mutex.AssertHeld();
}

#ifndef NDEBUG

TEST(MutexDeathTest, AssertionOfWhoHoldsNothing) {
    Mutex mutex;
    EXPECT_DEATH(mutex.AssertHeld(), "IsHeldHere");
    { const MutexLock lock(mutex); }
    EXPECT_DEATH(mutex.AssertHeld(), "IsHeldHere");
}

TEST(MutexDeathTest, AssertionOnAnotherThread) {
    Mutex mutex;
    const MutexLock lock(mutex);
    EXPECT_DEATH(std::thread([&mutex] { mutex.AssertHeld(); }).join(), "IsHeldHere");
}

#endif

}  // namespace

// The books when blocks go from thread to thread, threads come and go, and there are more of them than
// accounts.
#include <gtest/gtest.h>
#include <memory/Accounts.h>
#include <toolbox/MacMemory.h>

#include <atomic>
#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

namespace {

// More than may keep an account at a time.
constexpr int kManyThreads = 200;

class AccountsTest : public testing::Test {
  protected:
    void TearDown() override {
        SetMemoryLimit(0);
        EXPECT_EQ(mHandles, GetLiveHandleCount());
        EXPECT_EQ(mPtrs, GetLivePtrCount());
        EXPECT_EQ(mBytes, GetMemoryInUse());
    }

    const UInt64 mHandles = GetLiveHandleCount();
    const UInt64 mPtrs = GetLivePtrCount();
    const UInt64 mBytes = GetMemoryInUse();
};

template <typename Work>
void RunOnThreads(int inCount, Work inWork) {
    std::vector<std::thread> threads;
    for (int i = 0; i < inCount; ++i)
        threads.emplace_back(inWork, i);
    for (std::thread& thread : threads)
        thread.join();
}

// Uses every call that enters anything, and leaves nothing.
void MakeAndDispose() {
    Handle handle = NewHandle(10);
    ASSERT_NE(nullptr, handle);
    SetHandleSize(handle, 1000);
    SetHandleSize(handle, 20);
    EmptyHandle(handle);
    ReallocateHandle(handle, 30);
    EXPECT_EQ(noErr, MemError());
    DisposeHandle(handle);
    Ptr pointer = NewPtr(100);
    ASSERT_NE(nullptr, pointer);
    SetPtrSize(pointer, 50);
    SetPtrSize(pointer, 70);
    EXPECT_EQ(noErr, MemError());
    DisposePtr(pointer);
    EXPECT_EQ(nullptr, NewHandle(-1));
    EXPECT_EQ(memFullErr, MemError());
    Handle empty = NewEmptyHandle();
    EXPECT_NE(nullptr, empty);
    DisposeHandle(empty);
    EXPECT_EQ(noErr, MemError());
}

}  // namespace

TEST_F(AccountsTest, MoreThreadsThanAccounts) {
    std::atomic<int> withoutCount{0};
    std::vector<Handle> handles(kManyThreads);
    std::vector<Ptr> pointers(kManyThreads);
    std::barrier everyThread(kManyThreads);
    RunOnThreads(kManyThreads, [&](int inThread) {
        const auto at = static_cast<std::size_t>(inThread);
        handles[at] = NewHandle(1000);
        pointers[at] = NewPtr(10);
        if (toolbox::memory::sThread.account == nullptr) ++withoutCount;
        GetHandleSize(inThread % 2 == 0 ? nullptr : handles[at]);
        everyThread.arrive_and_wait();
        EXPECT_EQ(inThread % 2 == 0 ? nilHandleErr : noErr, MemError()) << "each thread has its own";
        for (int i = 0; i < 50; ++i)
            MakeAndDispose();
    });
    EXPECT_GT(withoutCount, 0) << "or the test tries nothing";
    EXPECT_LT(withoutCount, kManyThreads);
    EXPECT_EQ(mHandles + kManyThreads, GetLiveHandleCount());
    EXPECT_EQ(mPtrs + kManyThreads, GetLivePtrCount());
    EXPECT_EQ(mBytes + 1010 * kManyThreads, GetMemoryInUse());
    for (Handle handle : handles)
        DisposeHandle(handle);
    for (Ptr pointer : pointers)
        DisposePtr(pointer);
}

TEST_F(AccountsTest, PassFromThreadToThread) {
    for (int i = 0; i < 3 * kManyThreads; ++i) {
        std::thread([] {
            EXPECT_EQ(nullptr, toolbox::memory::sThread.account) << "none before it is needed";
            EXPECT_EQ(noErr, MemError());
            MakeAndDispose();
            EXPECT_NE(nullptr, toolbox::memory::sThread.account) << "the last thread gave its own back";
        }).join();
    }
}

// A thread's account goes when its variables are destroyed; those destroyed later may still own blocks.
TEST_F(AccountsTest, UsedByDestructorsOfAnEndingThread) {
    struct LateUser {
        ~LateUser() {
            EXPECT_EQ(nullptr, toolbox::memory::sThread.account);
            DisposeHandle(handle);
            MakeAndDispose();
            EXPECT_EQ(nullptr, toolbox::memory::sThread.account);
            kept = NewHandle(5);
            EXPECT_NE(nullptr, kept);
            ++*count;
        }
        Handle handle = nullptr;
        Handle& kept;
        int* count;
    };
    Handle kept = nullptr;
    int count = 0;
    std::thread([&] {
        static thread_local LateUser sLateUser{nullptr, kept, &count};  // before the account, so after it
        sLateUser.handle = NewHandle(100);
    }).join();
    EXPECT_EQ(1, count);
    EXPECT_EQ(mHandles + 1, GetLiveHandleCount());
    EXPECT_EQ(mBytes + 5, GetMemoryInUse());
    DisposeHandle(kept);
}

TEST_F(AccountsTest, LimitIsExactForAllThreadsTogether) {
    constexpr int kThreads = 8;
    constexpr UInt64 kBlocks = 5000;
    SetMemoryLimit(GetMemoryInUse() + kBlocks * 100 + 99);
    for (int round = 0; round < 20; ++round) {
        std::vector<std::vector<Handle>> made(kThreads);
        RunOnThreads(kThreads, [&](int inThread) {
            std::vector<Handle>& mine = made[static_cast<std::size_t>(inThread)];
            while (Handle handle = NewHandle(100))
                mine.push_back(handle);
            EXPECT_EQ(memFullErr, MemError());
        });
        EXPECT_EQ(mBytes + kBlocks * 100, GetMemoryInUse());
        EXPECT_EQ(mHandles + kBlocks, GetLiveHandleCount());
        EXPECT_EQ(99, FreeMem());
        RunOnThreads(kThreads, [&](int inThread) {
            for (Handle handle : made[static_cast<std::size_t>((inThread + 1) % kThreads)])
                DisposeHandle(handle);
        });
    }
}

TEST_F(AccountsTest, LimitIsNotPassedWhileOthersDispose) {
    constexpr int kThreads = 8;
    constexpr UInt64 kMax = 50;
    const UInt64 limit = GetMemoryInUse() + kMax * 100;
    SetMemoryLimit(limit);
    std::atomic<UInt64> liveCount{0};
    std::atomic<UInt64> mostSeen{0};
    std::atomic<UInt64> madeCount{0};
    RunOnThreads(kThreads, [&](int) {
        std::vector<Handle> mine;
        for (int i = 0; i < 20'000; ++i) {
            if (Handle handle = NewHandle(100)) {
                const UInt64 live = ++liveCount;
                UInt64 most = mostSeen;
                while (live > most && !mostSeen.compare_exchange_weak(most, live)) {
                }
                mine.push_back(handle);
                ++madeCount;
            }
            if (mine.empty() || (i % 3 == 0 && mine.size() < 10)) continue;
            --liveCount;  // first, lest another thread's block be counted in its place
            DisposeHandle(mine.back());
            mine.pop_back();
        }
        for (Handle handle : mine) {
            --liveCount;
            DisposeHandle(handle);
        }
    });
    EXPECT_GT(madeCount, kMax);
    EXPECT_LE(mostSeen, kMax);
}

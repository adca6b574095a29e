// What remains when the system refuses memory: every allocation of a scenario fails once, and once from there
// on.
#include "support/FailEach.h"
#include "support/FailingMalloc.h"

#include <gtest/gtest.h>
#include <memory/MacMemory_test_access.h>
#include <memory/MasterPointers.h>
#include <toolbox/MacMemory.h>

#include <cstdlib>
#include <cstring>
#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace {

using support::Countdown;
using support::FailingMalloc;

// Runs a scenario with call 1, 2, 3, ... failing, until a run meets no fault. The scenario answers noErr or
// the error it met, and leaves nothing behind. Returns how many places could fail.
template <typename Scenario>
int FailEveryCall(bool inForever, OSErr inExpected, Scenario inScenario) {
    const UInt64 handles = GetLiveHandleCount();
    const UInt64 ptrs = GetLivePtrCount();
    const UInt64 bytes = GetMemoryInUse();
    return support::FailEach<FailingMalloc>(
        [&](const auto& inUnderFault) {
            OSErr error = noErr;
            const bool failed = inUnderFault([&] { error = inScenario(); });
            EXPECT_EQ(handles, GetLiveHandleCount());
            EXPECT_EQ(ptrs, GetLivePtrCount());
            EXPECT_EQ(bytes, GetMemoryInUse());
            EXPECT_EQ(failed ? inExpected : OSErr{noErr}, error);
        },
        inForever ? Countdown::kForever : Countdown::kOnce);
}

OSErr DisposeAfter(Handle inHandle, OSErr inError) {
    DisposeHandle(inHandle);
    return inError;
}

// Handles over all master pointers that can be had while the system refuses memory.
std::vector<Handle> TakeAllMastersRefusing() {
    constexpr std::size_t kMoreThanAreAtHand = 1'000'000;
    std::vector<Handle> handles;
    handles.reserve(kMoreThanAreAtHand);
    const FailingMalloc fault(1, Countdown::kForever);
    while (handles.size() < kMoreThanAreAtHand) {
        Handle handle = NewEmptyHandle();
        if (handle == nullptr) break;
        handles.push_back(handle);
    }
    return handles;
}

OSErr MakeHandle() {
    Handle handle = NewHandle(100);
    const OSErr error = MemError();
    EXPECT_EQ(error == noErr, handle != nullptr);
    return DisposeAfter(handle, error);
}

}  // namespace

TEST(MemoryFaults, NewHandle) {
    for (const bool forever : {false, true}) {
        EXPECT_GE(FailEveryCall(forever, memFullErr, MakeHandle), 1);
        EXPECT_GE(FailEveryCall(forever, memFullErr,
                                [] {
                                    Handle handle = NewHandleClear(100);
                                    const OSErr error = MemError();
                                    EXPECT_EQ(error == noErr, handle != nullptr);
                                    return DisposeAfter(handle, error);
                                }),
                  1);
        EXPECT_GE(FailEveryCall(forever, memFullErr,
                                [] {
                                    OSErr error = noErr;
                                    Handle handle = TempNewHandle(100, &error);
                                    return DisposeAfter(handle, error);
                                }),
                  1);
    }
}

TEST(MemoryFaults, MasterPointers) {
    // More than can be at hand, also when the test is repeated, so that new ones must be made.
    static UInt32 sWanted = 100'000;
    sWanted += 2000;
    EXPECT_GE(FailEveryCall(false, memFullErr,
                            [] {
                                MoreMasterPointers(sWanted);
                                return MemError();
                            }),
              1);
}

TEST(MemoryFaults, NewEmptyHandleWithoutMasterPointers) {
    const std::vector<Handle> handles = TakeAllMastersRefusing();
    EXPECT_EQ(memFullErr, MemError());
    EXPECT_EQ(1, FailingMalloc::DeliveredCount());
    Handle handle = NewEmptyHandle();
    EXPECT_NE(nullptr, handle) << "once there is memory again";
    DisposeHandle(handle);
    for (Handle made : handles)
        DisposeHandle(made);
}

// What a thread that comes to its end, or that disposes of many handles, has at hand serves the others.
TEST(MemoryFaults, MasterPointersOfOtherThreads) {
    constexpr std::size_t kFew = 40;
    constexpr std::size_t kMany = 1000;
    MoreMasterPointers(2 * kMany);
    std::vector<Handle> taken = TakeAllMastersRefusing();
    const auto disposeOf = [&](std::size_t inCount) {
        for (std::size_t i = 0; i < inCount; ++i) {
            DisposeHandle(taken.back());
            taken.pop_back();
        }
    };
    ASSERT_GT(taken.size(), kFew + kMany);

    std::thread([&] { disposeOf(kFew); }).join();
    std::vector<Handle> again = TakeAllMastersRefusing();
    EXPECT_EQ(kFew, again.size());

    std::latch disposed(1), seen(1);
    std::thread busy([&] {
        disposeOf(kMany);
        disposed.count_down();
        seen.wait();
    });
    disposed.wait();
    std::vector<Handle> spare = TakeAllMastersRefusing();
    seen.count_down();
    busy.join();
    EXPECT_GE(spare.size(), kMany - toolbox::memory::kMaxFreeMasters);
    EXPECT_LT(spare.size(), kMany) << "some stay at hand";

    for (const auto* handles : {&taken, &again, &spare})
        for (Handle handle : *handles)
            DisposeHandle(handle);
}

TEST(MemoryFaults, GrowingLeavesTheBlockAsItWas) {
    for (const bool moves : {false, true}) {
        toolbox::memory::SetMovesAtEveryResize(moves);
        Handle handle = nullptr;
        ASSERT_EQ(noErr, PtrToHand("abc", &handle, 3));
        const Ptr block = *handle;
        {
            const FailingMalloc fault(1, Countdown::kForever);
            SetHandleSize(handle, 1000);
            EXPECT_EQ(memFullErr, MemError());
            EXPECT_EQ(memFullErr, PtrAndHand("def", handle, 3));
            EXPECT_EQ(memFullErr, PtrToXHand("defghi", handle, 6));
            SetHandleSize(handle, 2);
            EXPECT_EQ(noErr, MemError()) << "shrinking needs no memory, even when blocks should move";
            SetHandleSize(handle, 3);
        }
        EXPECT_EQ(block, *handle);
        EXPECT_EQ(3, GetHandleSize(handle));
        EXPECT_EQ(0, std::memcmp(*handle, "abc", 3));
        DisposeHandle(handle);
    }
    toolbox::memory::SetMovesAtEveryResize(false);
}

TEST(MemoryFaults, AppendingDoesWithoutSpareRoom) {
    Handle handle = nullptr;
    ASSERT_EQ(noErr, PtrToHand("abc", &handle, 3));
    {
        const FailingMalloc fault(1);
        EXPECT_EQ(noErr, PtrAndHand("def", handle, 3));
        EXPECT_EQ(1, FailingMalloc::DeliveredCount());
    }
    EXPECT_EQ("abcdef", std::string(*handle, 6));
    DisposeHandle(handle);
}

TEST(MemoryFaults, Copies) {
    Handle source = nullptr;
    ASSERT_EQ(noErr, PtrToHand("abc", &source, 3));
    for (const bool forever : {false, true}) {
        EXPECT_GE(FailEveryCall(forever, memFullErr,
                                [source] {
                                    Handle copy = source;
                                    const OSErr error = HandToHand(&copy);
                                    EXPECT_EQ(error == noErr, copy != source);
                                    if (copy != source) DisposeHandle(copy);
                                    return error;
                                }),
                  1);
        EXPECT_GE(FailEveryCall(forever, memFullErr,
                                [] {
                                    Handle copy = nullptr;
                                    const OSErr error = PtrToHand("abc", &copy, 3);
                                    EXPECT_EQ(error == noErr, copy != nullptr);
                                    return DisposeAfter(copy, error);
                                }),
                  1);
    }
    DisposeHandle(source);
}

TEST(MemoryFaults, ReallocateLeavesTheHandleEmptied) {
    Handle handle = NewHandle(10);
    {
        const FailingMalloc fault(1);
        ReallocateHandle(handle, 20);
        EXPECT_EQ(memFullErr, MemError());
    }
    EXPECT_EQ(nullptr, *handle);
    ReallocateHandle(handle, 20);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(20, GetHandleSize(handle));
    DisposeHandle(handle);
}

TEST(MemoryFaults, NewPtr) {
    for (const bool forever : {false, true}) {
        for (const auto make : {NewPtr, NewPtrClear}) {
            EXPECT_GE(FailEveryCall(forever, memFullErr,
                                    [make] {
                                        Ptr pointer = make(100);
                                        const OSErr error = MemError();
                                        EXPECT_EQ(error == noErr, pointer != nullptr);
                                        DisposePtr(pointer);
                                        return error;
                                    }),
                      1);
        }
    }
}

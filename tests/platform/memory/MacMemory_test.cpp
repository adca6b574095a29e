#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <memory/MacMemory_test_access.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/MacMemory.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr Size kMaxSize = std::numeric_limits<Size>::max();

// Each test leaves the counts, the limit and the moving switch as it found them.
class HandleTest : public testing::Test {
  protected:
    void TearDown() override {
        toolbox::memory::SetMovesAtEveryResize(false);
        SetMemoryLimit(0);
        EXPECT_EQ(mHandles, GetLiveHandleCount());
        EXPECT_EQ(mPtrs, GetLivePtrCount());
        EXPECT_EQ(mBytes, GetMemoryInUse());
    }

  private:
    const UInt64 mHandles = GetLiveHandleCount();
    const UInt64 mPtrs = GetLivePtrCount();
    const UInt64 mBytes = GetMemoryInUse();
};

Handle HandleOf(std::string_view inText) {
    Handle handle = nullptr;
    EXPECT_EQ(noErr, PtrToHand(inText.data(), &handle, static_cast<Size>(inText.size())));
    return handle;
}

std::string TextOf(Handle inHandle) {
    return {*inHandle, static_cast<std::size_t>(GetHandleSize(inHandle))};
}

}  // namespace

TEST_F(HandleTest, NewHandleHasItsSizeAndNoState) {
    for (const Size size : {0, 1, 4, 15, 16, 17, 4096, 176484, 10'000'000}) {
        Handle handle = NewHandle(size);
        ASSERT_NE(nullptr, handle);
        EXPECT_EQ(noErr, MemError());
        ASSERT_NE(nullptr, *handle) << "a block of " << size;
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(*handle) % alignof(std::max_align_t));
        EXPECT_EQ(size, GetHandleSize(handle));
        EXPECT_EQ(0, HGetState(handle));
        std::memset(*handle, 0x55, static_cast<std::size_t>(size));
        DisposeHandle(handle);
        EXPECT_EQ(noErr, MemError());
    }
}

TEST_F(HandleTest, NewHandleClearIsZero) {
    for (const Size size : {1, 36, 100'000}) {
        // What was there before must not show.
        Handle dirty = NewHandle(size);
        std::memset(*dirty, 0x55, static_cast<std::size_t>(size));
        DisposeHandle(dirty);
        Handle handle = NewHandleClear(size);
        ASSERT_NE(nullptr, handle);
        EXPECT_EQ(std::string(static_cast<std::size_t>(size), '\0'), TextOf(handle));
        DisposeHandle(handle);
    }
}

TEST_F(HandleTest, NegativeSizesCannotBeHad) {
    for (const Size size : {Size{-1}, std::numeric_limits<Size>::min()}) {
        EXPECT_EQ(nullptr, NewHandle(size));
        EXPECT_EQ(memFullErr, MemError());
        EXPECT_EQ(nullptr, NewHandleClear(size));
        EXPECT_EQ(memFullErr, MemError());
        OSErr result = noErr;
        EXPECT_EQ(nullptr, TempNewHandle(size, &result));
        EXPECT_EQ(memFullErr, result);
        EXPECT_EQ(nullptr, NewPtr(size));
        EXPECT_EQ(memFullErr, MemError());
        EXPECT_EQ(nullptr, NewPtrClear(size));
        EXPECT_EQ(memFullErr, MemError());
        Handle handle = HandleOf("abc");
        SetHandleSize(handle, size);
        EXPECT_EQ(memFullErr, MemError());
        EXPECT_EQ(memFullErr, PtrAndHand("x", handle, size));
        EXPECT_EQ(memFullErr, PtrToXHand("x", handle, size));
        EXPECT_EQ("abc", TextOf(handle));
        Handle other = handle;
        EXPECT_EQ(memFullErr, PtrToHand("x", &other, size));
        EXPECT_EQ(nullptr, other);
        ReallocateHandle(handle, size);
        EXPECT_EQ(memFullErr, MemError());
        EXPECT_EQ(nullptr, *handle);
        DisposeHandle(handle);
    }
}

TEST_F(HandleTest, NullHandle) {
    DisposeHandle(nullptr);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(0, GetHandleSize(nullptr));
    EXPECT_EQ(nilHandleErr, MemError());
    EXPECT_EQ(0, HGetState(nullptr));
    EXPECT_EQ(nilHandleErr, MemError());
    for (const auto call : {HLock, HUnlock, HLockHi, HPurge, HNoPurge, HSetRBit, HClrRBit, EmptyHandle}) {
        call(nullptr);
        EXPECT_EQ(nilHandleErr, MemError());
    }
}

// By a call, so that the result is there before MemError is asked.
void ExpectTold(OSErr inResult) {
    EXPECT_EQ(inResult, MemError());
}

TEST_F(HandleTest, EveryCallLeavesItsResult) {
    Handle handle = HandleOf("abc");
    using Call = void (*)(Handle);
    constexpr Call kCalls[] = {
        HLock,
        HUnlock,
        HLockHi,
        HPurge,
        HNoPurge,
        HSetRBit,
        HClrRBit,
        [](Handle inHandle) { HGetState(inHandle); },
        [](Handle inHandle) { HSetState(inHandle, 0); },
        [](Handle inHandle) { GetHandleSize(inHandle); },
        [](Handle inHandle) { SetHandleSize(inHandle, 5); },
        [](Handle inHandle) {
            const OSErr error = HandToHand(&inHandle);
            EXPECT_EQ(error, MemError());
            if (error == noErr) DisposeHandle(inHandle);
        },
        [](Handle inHandle) { ExpectTold(PtrToXHand("xy", inHandle, 2)); },
        [](Handle inHandle) { ExpectTold(PtrAndHand("xy", inHandle, 2)); },
        [](Handle inHandle) { ExpectTold(HandAndHand(inHandle, inHandle)); },
    };
    Handle empty = NewEmptyHandle();
    for (std::size_t i = 0; i < std::size(kCalls); ++i) {
        kCalls[i](nullptr);
        EXPECT_EQ(nilHandleErr, MemError()) << "null, call " << i;
        kCalls[i](empty);
        EXPECT_EQ(nilHandleErr, MemError()) << "emptied, call " << i;
        kCalls[i](handle);
        EXPECT_EQ(noErr, MemError()) << "call " << i;
    }
    DisposeHandle(empty);
    DisposeHandle(handle);
    for (std::size_t i = 0; i < std::size(kCalls); ++i) {
        kCalls[i](handle);
        EXPECT_EQ(memWZErr, MemError()) << "disposed of, call " << i;
    }
}

TEST_F(HandleTest, DisposedTwice) {
    Handle handle = NewHandle(10);
    DisposeHandle(handle);
    DisposeHandle(handle);
    EXPECT_EQ(memWZErr, MemError());
    EmptyHandle(handle);
    EXPECT_EQ(memWZErr, MemError());
    ReallocateHandle(handle, 3);
    EXPECT_EQ(memWZErr, MemError());
}

TEST_F(HandleTest, MemErrorIsPerThread) {
    GetHandleSize(nullptr);
    std::thread([] {
        EXPECT_EQ(noErr, MemError());
        EXPECT_EQ(nullptr, NewHandle(-1));
        EXPECT_EQ(memFullErr, MemError());
    }).join();
    EXPECT_EQ(nilHandleErr, MemError());
}

TEST_F(HandleTest, StateBits) {
    Handle handle = NewHandle(4);
    const auto stateAfter = [handle](void (*inCall)(Handle)) {
        inCall(handle);
        EXPECT_EQ(noErr, MemError());
        return static_cast<UInt8>(HGetState(handle));
    };
    EXPECT_EQ(0x80, stateAfter(HLock));
    EXPECT_EQ(0x80, stateAfter(HLock));
    EXPECT_EQ(0xC0, stateAfter(HPurge));
    EXPECT_EQ(0xE0, stateAfter(HSetRBit));
    EXPECT_EQ(0x60, stateAfter(HUnlock)) << "locks do not nest";
    EXPECT_EQ(0x20, stateAfter(HNoPurge));
    EXPECT_EQ(0x00, stateAfter(HClrRBit));
    EXPECT_EQ(0x80, stateAfter(HLockHi));
    const SInt8 saved = HGetState(handle);
    HUnlock(handle);
    HSetState(handle, saved);
    EXPECT_EQ(0x80, static_cast<UInt8>(HGetState(handle)));
    HSetState(handle, -1);
    EXPECT_EQ(0xE0, static_cast<UInt8>(HGetState(handle))) << "the other bits mean nothing";
    DisposeHandle(handle);
    EXPECT_EQ(noErr, MemError()) << "a locked block may be disposed of";
}

TEST_F(HandleTest, ResizingKeepsTheBytesThatFit) {
    for (const bool moves : {false, true}) {
        toolbox::memory::SetMovesAtEveryResize(moves);
        Handle handle = HandleOf("abcdef");
        SetHandleSize(handle, 3);
        EXPECT_EQ("abc", TextOf(handle));
        SetHandleSize(handle, 100'000);
        EXPECT_EQ(100'000, GetHandleSize(handle));
        EXPECT_EQ("abc", TextOf(handle).substr(0, 3));
        std::memset(*handle, 'x', 100'000);
        SetHandleSize(handle, 0);
        EXPECT_EQ(0, GetHandleSize(handle));
        EXPECT_NE(nullptr, *handle);
        SetHandleSize(handle, 0);
        EXPECT_EQ(noErr, MemError());
        DisposeHandle(handle);
    }
}

// A block that is refilled every second must not be allocated every second.
TEST_F(HandleTest, StaysInPlaceWithinItsCapacity) {
    Handle handle = NewHandleClear(4);
    SetHandleSize(handle, 176484);
    const Ptr block = *handle;
    for (const Size size : {84, 0, 176484, 100'000, 176484}) {
        SetHandleSize(handle, size);
        ASSERT_EQ(noErr, MemError());
        EXPECT_EQ(block, *handle);
        EXPECT_EQ(size, GetHandleSize(handle));
    }
    DisposeHandle(handle);
}

TEST_F(HandleTest, LockedBlockIsResizedInPlaceOnly) {
    for (const bool moves : {false, true}) {
        toolbox::memory::SetMovesAtEveryResize(moves);
        Handle handle = NewHandle(100);
        std::memcpy(*handle, "abc", 3);
        HLock(handle);
        const Ptr block = *handle;
        SetHandleSize(handle, 50);
        EXPECT_EQ(noErr, MemError());
        SetHandleSize(handle, 100);
        EXPECT_EQ(noErr, MemError());
        SetHandleSize(handle, 101);
        EXPECT_EQ(memLockedErr, MemError());
        EXPECT_EQ(100, GetHandleSize(handle));
        EXPECT_EQ(block, *handle);
        EXPECT_EQ(memLockedErr, PtrAndHand("x", handle, 1));
        ReallocateHandle(handle, 3);
        EXPECT_EQ(memLockedErr, MemError());
        EmptyHandle(handle);
        EXPECT_EQ(memPurErr, MemError());
        EXPECT_EQ(block, *handle);
        EXPECT_EQ(0, std::memcmp(block, "abc", 3));
        HUnlock(handle);
        SetHandleSize(handle, 101);
        EXPECT_EQ(noErr, MemError());
        DisposeHandle(handle);
    }
}

TEST_F(HandleTest, MovesAtEveryResizeWhenToldTo) {
    toolbox::memory::SetMovesAtEveryResize(true);
    Handle handle = HandleOf("abcdef");
    for (const Size size : {6, 3, 6, 200}) {
        const Ptr before = *handle;
        SetHandleSize(handle, size);
        EXPECT_NE(before, *handle) << "resized to " << size;
        EXPECT_EQ("abc", TextOf(handle).substr(0, 3));
    }
    DisposeHandle(handle);
}

TEST_F(HandleTest, EmptiedAndRevived) {
    Handle handle = HandleOf("abc");
    HPurge(handle);
    EmptyHandle(handle);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(nullptr, *handle);
    EmptyHandle(handle);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(0, GetHandleSize(handle));
    EXPECT_EQ(nilHandleErr, MemError());
    ReallocateHandle(handle, 5);
    EXPECT_EQ(noErr, MemError());
    ASSERT_NE(nullptr, *handle);
    EXPECT_EQ(5, GetHandleSize(handle));
    EXPECT_EQ(0, HGetState(handle)) << "no longer purgeable";
    ReallocateHandle(handle, 9);
    EXPECT_EQ(9, GetHandleSize(handle)) << "one that has a block, too";
    DisposeHandle(handle);

    Handle empty = NewEmptyHandle();
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(nullptr, *empty);
    DisposeHandle(empty);
}

TEST_F(HandleTest, RecoverHandleFindsTheHandleOfABlock) {
    std::vector<Handle> handles;
    for (int i = 0; i < 300; ++i)
        handles.push_back(NewHandle(i));
    for (Handle handle : handles) {
        EXPECT_EQ(handle, RecoverHandle(*handle));
        EXPECT_EQ(noErr, MemError());
    }
    char local = 0;
    for (const Ptr pointer : {Ptr{nullptr}, &local, *handles[20] + 1}) {
        EXPECT_EQ(nullptr, RecoverHandle(pointer));
        EXPECT_EQ(memWZErr, MemError());
    }
    for (Handle handle : handles)
        DisposeHandle(handle);
}

TEST_F(HandleTest, Copies) {
    Handle handle = nullptr;
    ASSERT_EQ(noErr, PtrToHand("hello", &handle, 5));
    EXPECT_EQ("hello", TextOf(handle));
    HLock(handle);
    HPurge(handle);
    HSetRBit(handle);
    Handle copy = handle;
    ASSERT_EQ(noErr, HandToHand(&copy));
    EXPECT_NE(handle, copy);
    EXPECT_EQ("hello", TextOf(copy));
    EXPECT_EQ(0, HGetState(copy));
    EXPECT_EQ(noErr, PtrToXHand("longer text", copy, 11));
    EXPECT_EQ("longer text", TextOf(copy));
    EXPECT_EQ(noErr, PtrToXHand("abc", copy, 3));
    EXPECT_EQ("abc", TextOf(copy));
    EXPECT_EQ(noErr, PtrAndHand("def", copy, 3));
    EXPECT_EQ("abcdef", TextOf(copy));
    EXPECT_EQ(noErr, PtrAndHand(nullptr, copy, 0));
    EXPECT_EQ("abcdef", TextOf(copy));
    EXPECT_EQ(noErr, HandAndHand(handle, copy));
    EXPECT_EQ("abcdefhello", TextOf(copy));
    EXPECT_EQ("hello", TextOf(handle));
    EXPECT_EQ(noErr, PtrToXHand(nullptr, copy, 0));
    EXPECT_EQ("", TextOf(copy));
    DisposeHandle(copy);
    DisposeHandle(handle);
    ASSERT_EQ(noErr, PtrToHand(nullptr, &handle, 0));
    EXPECT_EQ(0, GetHandleSize(handle));
    DisposeHandle(handle);
}

TEST_F(HandleTest, CopiesFromInsideTheDestination) {
    for (const bool moves : {false, true}) {
        toolbox::memory::SetMovesAtEveryResize(moves);
        Handle handle = HandleOf("abcdef");
        EXPECT_EQ(noErr, PtrAndHand(*handle + 2, handle, 4));
        EXPECT_EQ("abcdefcdef", TextOf(handle));
        EXPECT_EQ(noErr, HandAndHand(handle, handle));
        EXPECT_EQ("abcdefcdefabcdefcdef", TextOf(handle));
        EXPECT_EQ(noErr, PtrToXHand(*handle + 1, handle, 5));
        EXPECT_EQ("bcdef", TextOf(handle));
        EXPECT_EQ(paramErr, PtrToXHand(*handle + 1, handle, 5));
        EXPECT_EQ(paramErr, PtrAndHand(*handle + 4, handle, 2));
        SetHandleSize(handle, 3);
        EXPECT_EQ(paramErr, PtrAndHand(*handle + 3, handle, 2)) << "memory that it shrank out of";
        EXPECT_EQ(paramErr, PtrToXHand(*handle + 3, handle, 2));
        SetHandleSize(handle, 5);
        std::memcpy(*handle, "bcdef", 5);
        EXPECT_EQ("bcdef", TextOf(handle));
        DisposeHandle(handle);
    }
}

TEST_F(HandleTest, CopiesOfNothing) {
    Handle handle = HandleOf("abc");
    EXPECT_EQ(paramErr, PtrToHand("x", nullptr, 1));
    Handle made = handle;
    EXPECT_EQ(paramErr, PtrToHand(nullptr, &made, 1));
    EXPECT_EQ(nullptr, made);
    EXPECT_EQ(paramErr, HandToHand(nullptr));
    EXPECT_EQ(paramErr, PtrToXHand(nullptr, handle, 1));
    EXPECT_EQ(paramErr, PtrAndHand(nullptr, handle, 1));
    EXPECT_EQ(nilHandleErr, HandAndHand(nullptr, handle));
    EXPECT_EQ(nilHandleErr, HandAndHand(handle, nullptr));
    Handle nothing = nullptr;
    EXPECT_EQ(nilHandleErr, HandToHand(&nothing));
    EXPECT_EQ("abc", TextOf(handle));
    DisposeHandle(handle);
}

TEST_F(HandleTest, AppendingManyTimesMovesRarely) {
    Handle handle = NewHandle(0);
    int moves = 0;
    std::string expected;
    for (int i = 0; i < 20'000; ++i) {
        const Ptr before = *handle;
        const char byte = static_cast<char>(i);
        ASSERT_EQ(noErr, PtrAndHand(&byte, handle, 1));
        if (*handle != before) ++moves;
        expected += byte;
    }
    EXPECT_EQ(expected, TextOf(handle));
    EXPECT_LT(moves, 40);
    DisposeHandle(handle);
}

TEST_F(HandleTest, AppendingPastTheLargestSize) {
    Handle handle = HandleOf("ab");
    const char byte = 'x';
    EXPECT_EQ(memFullErr, PtrAndHand(&byte, handle, kMaxSize - 1));
    EXPECT_EQ("ab", TextOf(handle));
    DisposeHandle(handle);
}

TEST_F(HandleTest, TemporaryMemory) {
    OSErr result = memFullErr;
    Handle handle = TempNewHandle(10, &result);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(noErr, result);
    EXPECT_EQ(10, GetHandleSize(handle));
    DisposeHandle(handle);
    handle = TempNewHandle(10, nullptr);
    ASSERT_NE(nullptr, handle);
    DisposeHandle(handle);
}

TEST_F(HandleTest, ManyAtOnceAreAllDifferent) {
    std::vector<Handle> handles;
    MoreMasterPointers(1000);
    EXPECT_EQ(noErr, MemError());
    for (int i = 0; i < 2000; ++i) {
        handles.push_back(NewHandle(sizeof i));
        std::memcpy(*handles.back(), &i, sizeof i);
    }
    for (int i = 0; i < 2000; ++i) {
        int value = -1;
        std::memcpy(&value, *handles[static_cast<std::size_t>(i)], sizeof value);
        EXPECT_EQ(i, value);
    }
    for (Handle handle : handles)
        DisposeHandle(handle);
}

TEST_F(HandleTest, LimitIsNotPassed) {
    const UInt64 before = GetMemoryInUse();
    SetMemoryLimit(before + 1000);
    EXPECT_EQ(1000, FreeMem());
    EXPECT_EQ(1000, MaxBlock());
    EXPECT_EQ(nullptr, NewHandle(1001));
    EXPECT_EQ(memFullErr, MemError());
    Handle handle = NewHandle(1000);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(before + 1000, GetMemoryInUse());
    EXPECT_EQ(0, TempFreeMem());
    Size grow = 5;
    EXPECT_EQ(0, TempMaxMem(&grow));
    EXPECT_EQ(0, grow);
    EXPECT_EQ(0, TempMaxMem(nullptr));
    EXPECT_EQ(nullptr, NewPtr(1));
    EXPECT_EQ(memFullErr, MemError());
    SetHandleSize(handle, 1001);
    EXPECT_EQ(memFullErr, MemError());
    EXPECT_EQ(1000, GetHandleSize(handle));
    SetHandleSize(handle, 400);
    EXPECT_EQ(600, FreeMem());
    Ptr pointer = NewPtrClear(600);
    EXPECT_NE(nullptr, pointer);
    SetHandleSize(handle, 401);
    EXPECT_EQ(memFullErr, MemError()) << "room in the block, none under the limit";
    SetPtrSize(pointer, 500);
    SetHandleSize(handle, 500);
    EXPECT_EQ(noErr, MemError());
    SetPtrSize(pointer, 501);
    EXPECT_EQ(memFullErr, MemError());
    EXPECT_EQ(500, GetPtrSize(pointer));
    SetMemoryLimit(1);
    EXPECT_EQ(0, FreeMem()) << "more in use than the limit";
    DisposePtr(pointer);
    DisposeHandle(handle);
}

TEST_F(HandleTest, FreeMemoryIsWhatTheSystemHas) {
    auto& calls = toolbox::os::CallsForTesting();
    const auto saved = calls;
    EXPECT_GT(FreeMem(), 0);
    calls.sysconf = [](int inSetting) { return inSetting == _SC_PAGESIZE ? 5L : 2469L; };
    EXPECT_EQ(12345, FreeMem());
    EXPECT_EQ(noErr, MemError());
    calls.sysconf = [](int) { return 1L << 20; };
    EXPECT_EQ(kMaxSize, MaxBlock());
    calls.sysconf = [](int) { return -1L; };
    EXPECT_EQ(0, FreeMem()) << "when it does not tell";
    calls = saved;
}

TEST_F(HandleTest, MadeOnOneThreadAndDisposedOfOnAnother) {
    constexpr int kThreads = 8;
    const int kRounds = support::Rounds(2000);
    std::vector<std::vector<Handle>> made(kThreads);
    const auto run = [&](auto inWork) {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back(inWork, i);
        for (std::thread& thread : threads)
            thread.join();
    };
    run([&](int inThread) {
        for (int i = 0; i < kRounds; ++i) {
            Handle handle = NewHandle(i % 200);
            SetHandleSize(handle, 300);
            std::memset(*handle, inThread, 300);
            made[static_cast<std::size_t>(inThread)].push_back(handle);
            if (i % 100 == 0) {
                EXPECT_EQ(handle, RecoverHandle(*handle));
            }
        }
    });
    run([&](int inThread) {
        const int maker = (inThread + 1) % kThreads;
        for (Handle handle : made[static_cast<std::size_t>(maker)]) {
            EXPECT_EQ(std::string(300, static_cast<char>(maker)), TextOf(handle));
            DisposeHandle(handle);
        }
    });
}

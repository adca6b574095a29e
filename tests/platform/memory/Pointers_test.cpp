#include "support/PageEnd.h"

#include <gtest/gtest.h>
#include <toolbox/MacMemory.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

TEST(Pointer, HasItsSize) {
    const UInt64 before = GetLivePtrCount();
    for (const Size size : {0, 1, 16, 1000, 176400}) {
        Ptr pointer = NewPtr(size);
        ASSERT_NE(nullptr, pointer);
        EXPECT_EQ(noErr, MemError());
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(pointer) % alignof(std::max_align_t));
        EXPECT_EQ(size, GetPtrSize(pointer));
        EXPECT_EQ(before + 1, GetLivePtrCount());
        std::memset(pointer, 0x55, static_cast<std::size_t>(size));
        DisposePtr(pointer);
        EXPECT_EQ(noErr, MemError());
    }
    EXPECT_EQ(before, GetLivePtrCount());
}

TEST(Pointer, ClearIsZero) {
    Ptr dirty = NewPtr(1000);
    std::memset(dirty, 0x55, 1000);
    DisposePtr(dirty);
    Ptr pointer = NewPtrClear(1000);
    ASSERT_NE(nullptr, pointer);
    EXPECT_EQ(std::string(1000, '\0'), std::string(pointer, 1000));
    DisposePtr(pointer);
}

TEST(Pointer, Null) {
    DisposePtr(nullptr);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(0, GetPtrSize(nullptr));
    EXPECT_EQ(memWZErr, MemError());
    SetPtrSize(nullptr, 3);
    EXPECT_EQ(memWZErr, MemError());
}

TEST(Pointer, BytesThatAreNoPointer) {
    alignas(std::max_align_t) char bytes[64] = {};
    EXPECT_EQ(0, GetPtrSize(bytes + 32));
    EXPECT_EQ(memWZErr, MemError());
    DisposePtr(bytes + 32);
    EXPECT_EQ(memWZErr, MemError());
}

TEST(Pointer, ResizedInPlaceOnly) {
    Ptr pointer = NewPtr(100);
    SetPtrSize(pointer, 40);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(40, GetPtrSize(pointer));
    SetPtrSize(pointer, 100);
    EXPECT_EQ(noErr, MemError());
    EXPECT_EQ(100, GetPtrSize(pointer));
    SetPtrSize(pointer, 101);
    EXPECT_EQ(memFullErr, MemError());
    SetPtrSize(pointer, -1);
    EXPECT_EQ(memFullErr, MemError());
    EXPECT_EQ(100, GetPtrSize(pointer));
    SetPtrSize(pointer, 0);
    EXPECT_EQ(noErr, MemError());
    DisposePtr(pointer);
}

TEST(Pointer, DisposedOfOnAnotherThread) {
    const UInt64 bytes = GetMemoryInUse();
    Ptr pointer = NewPtr(1000);
    EXPECT_EQ(bytes + 1000, GetMemoryInUse());
    std::thread([pointer] { DisposePtr(pointer); }).join();
    EXPECT_EQ(bytes, GetMemoryInUse());
}

TEST(Block, MovesOverlapping) {
    char bytes[] = "abcdef";
    BlockMove(bytes, bytes + 2, 4);
    EXPECT_STREQ("ababcd", bytes);
    BlockMoveData(bytes + 2, bytes, 4);
    EXPECT_STREQ("abcdcd", bytes);
    void (*const volatile byName)(const void*, void*, long) = BlockMoveData;
    byName(bytes, bytes + 1, 5);
    EXPECT_STREQ("aabcdc", bytes);
    byName("xyz", bytes, -2);
    EXPECT_STREQ("aabcdc", bytes);
}

TEST(Block, NothingToMove) {
    char bytes[] = "abc";
    BlockMove("xyz", bytes, 0);
    BlockMove("xyz", bytes, -1);
    BlockMoveData("xyz", bytes, -2);
    BlockMove(nullptr, nullptr, 0);
    BlockZero(bytes, 0);
    BlockZero(bytes, -1);
    BlockZero(nullptr, 0);
    EXPECT_STREQ("abc", bytes);
}

TEST(Block, MovesMoreThanASizeCanTell) {
    void (*const volatile byName)(const void*, void*, long) = BlockMoveData;
    for (const long count : {0x1'0000'0004L, 0x1'0000'0000L, 0x8000'0000L}) {
        const support::PageEnd source(4096, support::PageEnd::kNothing);
        const support::PageEnd destination(4096, support::PageEnd::kNothing);
        const auto move = [&](auto inMove) {
            inMove(source.Bytes(), destination.Bytes(), count);
            std::_Exit(0);
        };
        const auto inCaller = [](const void* inSource, void* outDestination, long inCount) {
            BlockMoveData(inSource, outDestination, inCount);
        };
        EXPECT_EXIT(move(inCaller), support::IsKilled, "") << count;
        EXPECT_EXIT(move(byName), support::IsKilled, "") << count;
    }
}

TEST(Block, Zero) {
    char bytes[] = "abc";
    BlockZero(bytes, 2);
    EXPECT_EQ(std::string("\0\0c", 3), std::string(bytes, 3));
}

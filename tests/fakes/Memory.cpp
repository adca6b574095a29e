#include "Memory.h"

#include "Calls.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

namespace fakes {

namespace {

struct Block {
    Ptr master = nullptr;  // first: a handle is the address of its master pointer
    Size byteCount = 0;
    bool isLocked = false;
};

std::map<Handle, Block*>& Handles() {
    static auto& sHandles = *new std::map<Handle, Block*>;
    return sHandles;
}

std::set<Ptr>& Ptrs() {
    static auto& sPtrs = *new std::set<Ptr>;
    return sPtrs;
}

// Exactly as many bytes as asked for, so that a sanitizer sees every byte read beyond them.
Ptr Allocate(Size inByteCount, int inFill) {
    auto const byteCount = static_cast<std::size_t>(inByteCount);
    auto* bytes = static_cast<Ptr>(std::malloc(std::max<std::size_t>(byteCount, 1)));
    std::memset(bytes, inFill, byteCount);
    return bytes;
}

Block* Find(Handle inHandle, char const* inCaller) {
    auto const found = Handles().find(inHandle);
    if (found != Handles().end()) return found->second;
    if (inHandle != nullptr) ReportMisuse(std::string(inCaller).append(" of a handle that is not live"));
    return nullptr;
}

constexpr int kGarbage = 0xA5;

Handle NewBlock(Size inByteCount, int inFill) {
    auto* const block = new Block{Allocate(inByteCount, inFill), inByteCount};
    Handle const handle = &block->master;
    Handles()[handle] = block;
    return handle;
}

void Resize(Block& ioBlock, Size inByteCount) {
    Ptr const moved = Allocate(inByteCount, kGarbage);
    std::memcpy(moved, ioBlock.master, static_cast<std::size_t>(std::min(inByteCount, ioBlock.byteCount)));
    std::free(ioBlock.master);
    ioBlock.master = moved;
    ioBlock.byteCount = inByteCount;
}

}  // namespace

int LiveHandles() {
    return static_cast<int>(Handles().size());
}

int LivePtrs() {
    return static_cast<int>(Ptrs().size());
}

Handle MakeHandle(std::vector<unsigned char> const& inBytes) {
    Handle const handle = NewBlock(static_cast<Size>(inBytes.size()), 0);
    std::copy(inBytes.begin(), inBytes.end(), *handle);
    return handle;
}

void SetHandleBytes(Handle ioHandle, std::vector<unsigned char> const& inBytes) {
    Block* const block = Find(ioHandle, "resizing");
    if (block == nullptr) return;
    if (block->isLocked) ReportMisuse("resizing of a locked handle");
    auto const byteCount = static_cast<Size>(inBytes.size());
    if (block->byteCount != byteCount) Resize(*block, byteCount);
    std::copy(inBytes.begin(), inBytes.end(), block->master);
}

std::vector<unsigned char> HandleBytes(Handle inHandle) {
    Block const* const block = Find(inHandle, "reading");
    if (block == nullptr) return {};
    return std::vector<unsigned char>(block->master, block->master + block->byteCount);
}

bool IsLocked(Handle inHandle) {
    Block const* const block = Find(inHandle, "IsLocked");
    return block != nullptr && block->isLocked;
}

}  // namespace fakes

using namespace fakes;

Handle NewHandle(Size inByteCount) {
    return LogAndFail(CallText("NewHandle", inByteCount)) ? nullptr : NewBlock(inByteCount, kGarbage);
}

Handle NewHandleClear(Size inByteCount) {
    return LogAndFail(CallText("NewHandleClear", inByteCount)) ? nullptr : NewBlock(inByteCount, 0);
}

void DisposeHandle(Handle inHandle) {
    Block* const block = Find(inHandle, "DisposeHandle");
    Log(CallText("DisposeHandle", block != nullptr ? block->byteCount : 0));
    if (block == nullptr) return;
    Handles().erase(inHandle);
    std::free(block->master);
    delete block;
}

Size GetHandleSize(Handle inHandle) {
    Block const* const block = Find(inHandle, "GetHandleSize");
    return block != nullptr ? block->byteCount : 0;
}

void HLock(Handle inHandle) {
    Log("HLock()");
    if (Block* const block = Find(inHandle, "HLock")) block->isLocked = true;
}

void HUnlock(Handle inHandle) {
    Log("HUnlock()");
    if (Block* const block = Find(inHandle, "HUnlock")) block->isLocked = false;
}

Ptr NewPtrClear(Size inByteCount) {
    if (LogAndFail(CallText("NewPtrClear", inByteCount))) return nullptr;
    Ptr const bytes = Allocate(inByteCount, 0);
    Ptrs().insert(bytes);
    return bytes;
}

void DisposePtr(Ptr inPtr) {
    Log("DisposePtr()");
    if (Ptrs().erase(inPtr) == 0) return ReportMisuse("DisposePtr of a block that is not live");
    std::free(inPtr);
}

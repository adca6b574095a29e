#include "Memory.h"

#include "Calls.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace fakes {

namespace {

struct Block {
    Ptr master = nullptr;  // first: a handle is the address of its master pointer
    Size byteCount = 0;
    bool isLocked = false;
    SInt8 otherState = 0;  // state bits but for the lock
};

OSErr sMemError = noErr;
OSErr sErrorOfFailure = memFullErr;
Size sFreeTotal = 0;
Size sFreeBlock = 0;

std::vector<OSErr>& ErrorsToCome() {
    static auto& sErrorsToCome = *new std::vector<OSErr>;
    return sErrorsToCome;
}

// Logs a call that can fail; outError is why it did, if it did.
bool LogAndFailFor(const std::string& inCall, OSErr& outError) {
    bool fails = LogAndFail(inCall);
    outError = fails ? sErrorOfFailure : OSErr{noErr};
    if (ErrorsToCome().empty()) return fails;
    outError = ErrorsToCome().front();
    ErrorsToCome().erase(ErrorsToCome().begin());
    return true;
}

bool LogAndFailMemory(const std::string& inCall) {
    return LogAndFailFor(inCall, sMemError);
}

std::map<Handle, Block*>& Handles() {
    static auto& sHandles = *new std::map<Handle, Block*>;
    return sHandles;
}

std::map<Ptr, Size>& Ptrs() {
    static auto& sPtrs = *new std::map<Ptr, Size>;
    return sPtrs;
}

// Exactly as many bytes as asked for, so that a sanitizer sees every byte read beyond them.
Ptr Allocate(Size inByteCount, int inFill) {
    const auto byteCount = static_cast<std::size_t>(inByteCount);
    auto* bytes = static_cast<Ptr>(std::malloc(std::max<std::size_t>(byteCount, 1)));
    std::memset(bytes, inFill, byteCount);
    return bytes;
}

Block* Find(Handle inHandle, const char* inCaller) {
    const auto found = Handles().find(inHandle);
    if (found != Handles().end()) return found->second;
    if (inHandle != nullptr) ReportMisuse(std::string(inCaller).append(" of a handle that is not live"));
    return nullptr;
}

constexpr int kGarbage = 0xA5;

Handle NewBlock(Size inByteCount, int inFill) {
    auto* const block = new Block{Allocate(inByteCount, inFill), inByteCount};
    const Handle handle = &block->master;
    Handles()[handle] = block;
    return handle;
}

void Resize(Block& ioBlock, Size inByteCount) {
    const Ptr moved = Allocate(inByteCount, kGarbage);
    std::memcpy(moved, ioBlock.master, static_cast<std::size_t>(std::min(inByteCount, ioBlock.byteCount)));
    std::free(ioBlock.master);
    ioBlock.master = moved;
    ioBlock.byteCount = inByteCount;
}

Ptr NewFixed(Size inByteCount, int inFill) {
    const Ptr bytes = Allocate(inByteCount, inFill);
    Ptrs()[bytes] = inByteCount;
    return bytes;
}

}  // namespace

void SetErrorOfFailure(OSErr inError) {
    sErrorOfFailure = inError;
}

void SetFreeMemory(Size inTotal, Size inBlock) {
    sFreeTotal = inTotal;
    sFreeBlock = inBlock;
}

void FailMemoryCalls(const std::vector<OSErr>& inErrors) {
    ErrorsToCome() = inErrors;
}

void ForgetMemoryScript() {
    ErrorsToCome().clear();
    sMemError = noErr;
    sErrorOfFailure = memFullErr;
    sFreeTotal = 0;
    sFreeBlock = 0;
}

int LiveHandles() {
    return static_cast<int>(Handles().size());
}

int LivePtrs() {
    return static_cast<int>(Ptrs().size());
}

Handle MakeHandle(const std::vector<unsigned char>& inBytes) {
    const Handle handle = NewBlock(static_cast<Size>(inBytes.size()), 0);
    std::copy(inBytes.begin(), inBytes.end(), *handle);
    return handle;
}

void SetHandleBytes(Handle ioHandle, const std::vector<unsigned char>& inBytes) {
    Block* const block = Find(ioHandle, "resizing");
    if (block == nullptr) return;
    if (block->isLocked) ReportMisuse("resizing of a locked handle");
    const auto byteCount = static_cast<Size>(inBytes.size());
    if (block->byteCount != byteCount) Resize(*block, byteCount);
    std::copy(inBytes.begin(), inBytes.end(), block->master);
}

void DiscardHandle(Handle inHandle) {
    Block* const block = Find(inHandle, "disposing");
    if (block == nullptr) return;
    Handles().erase(inHandle);
    std::free(block->master);
    delete block;
}

std::vector<unsigned char> HandleBytes(Handle inHandle) {
    const Block* const block = Find(inHandle, "reading");
    if (block == nullptr) return {};
    return std::vector<unsigned char>(block->master, block->master + block->byteCount);
}

bool IsLocked(Handle inHandle) {
    const Block* const block = Find(inHandle, "IsLocked");
    return block != nullptr && block->isLocked;
}

}  // namespace fakes

using namespace fakes;

Handle NewHandle(Size inByteCount) {
    return LogAndFailMemory(CallText("NewHandle", inByteCount)) ? nullptr : NewBlock(inByteCount, kGarbage);
}

Handle NewHandleClear(Size inByteCount) {
    return LogAndFailMemory(CallText("NewHandleClear", inByteCount)) ? nullptr : NewBlock(inByteCount, 0);
}

void DisposeHandle(Handle inHandle) {
    Block* const block = Find(inHandle, "DisposeHandle");
    Log(CallText("DisposeHandle", block != nullptr ? block->byteCount : 0));
    if (block != nullptr) DiscardHandle(inHandle);
}

Size GetHandleSize(Handle inHandle) {
    const Block* const block = Find(inHandle, "GetHandleSize");
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

// Its result is told in one place only, lest a caller looks in the other.
Handle TempNewHandle(Size inByteCount, OSErr* outResult) {
    sMemError = noErr;
    const bool fails = LogAndFailFor(CallText("TempNewHandle", inByteCount), *outResult);
    return fails ? nullptr : NewBlock(inByteCount, kGarbage);
}

OSErr HandToHand(Handle* ioHandle) {
    if (LogAndFailMemory("HandToHand()")) return MemError();
    *ioHandle = MakeHandle(HandleBytes(*ioHandle));
    return noErr;
}

SInt8 HGetState(Handle inHandle) {
    if (LogAndFailMemory("HGetState()")) return 0;
    const Block* const block = Find(inHandle, "HGetState");
    if (block == nullptr) return sMemError = nilHandleErr, SInt8{0};
    return static_cast<SInt8>(block->otherState | (block->isLocked ? kHandleLockedBit : 0));
}

void HSetState(Handle inHandle, SInt8 inState) {
    Log(CallText("HSetState", static_cast<UInt8>(inState)));
    Block* const block = Find(inHandle, "HSetState");
    if (block == nullptr) return;
    block->isLocked = (inState & kHandleLockedBit) != 0;
    block->otherState = static_cast<SInt8>(inState & ~kHandleLockedBit);
}

void MoreMasterPointers(UInt32 inCount) {
    Log(CallText("MoreMasterPointers", inCount));
}

OSErr MemError(void) {
    return sMemError;
}

Ptr NewPtr(Size inByteCount) {
    return LogAndFailMemory(CallText("NewPtr", inByteCount)) ? nullptr : NewFixed(inByteCount, kGarbage);
}

Ptr NewPtrClear(Size inByteCount) {
    return LogAndFailMemory(CallText("NewPtrClear", inByteCount)) ? nullptr : NewFixed(inByteCount, 0);
}

Size GetPtrSize(Ptr inPtr) {
    if (LogAndFailMemory("GetPtrSize()")) return 0;
    const auto found = Ptrs().find(inPtr);
    if (found != Ptrs().end()) return found->second;
    ReportMisuse("GetPtrSize of a block that is not live");
    return 0;
}

void DisposePtr(Ptr inPtr) {
    Log("DisposePtr()");
    if (Ptrs().erase(inPtr) == 0) return ReportMisuse("DisposePtr of a block that is not live");
    std::free(inPtr);
}

Size FreeMem(void) {
    Log("FreeMem()");
    return sFreeTotal;
}

Size MaxBlock(void) {
    Log("MaxBlock()");
    return sFreeBlock;
}

OSErr PtrAndHand(const void* inSource, Handle ioHandle, Size inByteCount) {
    if (LogAndFailMemory(CallText("PtrAndHand", inByteCount))) return MemError();
    std::vector<unsigned char> bytes = HandleBytes(ioHandle);
    const auto* const source = static_cast<const unsigned char*>(inSource);
    bytes.insert(bytes.end(), source, source + inByteCount);
    SetHandleBytes(ioHandle, bytes);
    return noErr;
}

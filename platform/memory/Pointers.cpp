// Fixed blocks, each behind a small header of its own; and moving bytes about.
#include "Heap.h"

#include <toolbox/MacMemory.h>

#include <cstring>

namespace toolbox::memory {

namespace {

struct PtrHeader {
    static constexpr UInt64 kLive = 0x4D656D507472686DU;

    UInt64 tag;
    Size sizeBytes;
    Size capacityBytes;
};
static_assert(sizeof(PtrHeader) == 16, "keeps the block as aligned as its memory");

Ptr NewPtrOf(Size inByteCount, bool inIsZeroed) {
    ThreadState& thread = CurrentThread();
    const AccountHold account(thread);
    auto* header = static_cast<PtrHeader*>(NewBlock(*account, inByteCount, sizeof(PtrHeader), inIsZeroed));
    thread.error = header == nullptr ? memFullErr : noErr;
    if (header == nullptr) return nullptr;
    *header = {PtrHeader::kLive, inByteCount, inByteCount};
    Enter((*account).ptrCount, 1);
    return reinterpret_cast<Ptr>(header + 1);
}

// The header of a pointer, or null with the error set.
PtrHeader* HeaderOf(ThreadState& ioThread, Ptr inPtr) {
    ioThread.error = memWZErr;
    if (inPtr == nullptr) return nullptr;
    auto* header = reinterpret_cast<PtrHeader*>(inPtr) - 1;
    if (header->tag != PtrHeader::kLive) return nullptr;
    ioThread.error = noErr;
    return header;
}

}  // namespace

}  // namespace toolbox::memory

using namespace toolbox::memory;

Ptr NewPtr(Size inByteCount) {
    return NewPtrOf(inByteCount, false);
}

Ptr NewPtrClear(Size inByteCount) {
    return NewPtrOf(inByteCount, true);
}

void DisposePtr(Ptr inPtr) {
    ThreadState& thread = CurrentThread();
    if (inPtr == nullptr) {
        thread.error = noErr;
        return;
    }
    PtrHeader* header = HeaderOf(thread, inPtr);
    if (header == nullptr) return;
    header->tag = 0;
    const AccountHold account(thread);
    DisposeBlock(*account, header, header->sizeBytes);
    Enter((*account).ptrCount, -1);
}

Size GetPtrSize(Ptr inPtr) {
    const PtrHeader* header = HeaderOf(CurrentThread(), inPtr);
    return header == nullptr ? 0 : header->sizeBytes;
}

void SetPtrSize(Ptr inPtr, Size inByteCount) {
    ThreadState& thread = CurrentThread();
    PtrHeader* header = HeaderOf(thread, inPtr);
    if (header == nullptr) return;
    if (inByteCount < 0 || inByteCount > header->capacityBytes) {
        thread.error = memFullErr;
        return;
    }
    const AccountHold account(thread);
    const Size before = header->sizeBytes;
    if (inByteCount > before && !Charge(*account, inByteCount - before)) {
        thread.error = memFullErr;
        return;
    }
    if (inByteCount < before) Discharge(*account, before - inByteCount);
    header->sizeBytes = inByteCount;
}

void BlockMove(const void* inSource, void* outDestination, Size inByteCount) {
    if (inByteCount > 0) std::memmove(outDestination, inSource, static_cast<std::size_t>(inByteCount));
}

// The exported one, beside the one in callers.
extern "C" TOOLBOX_EXPORT void BlockMoveDataByName(const void* inSource, void* outDestination,
                                                   long inByteCount) __asm__("BlockMoveData");
void BlockMoveDataByName(const void* inSource, void* outDestination, long inByteCount) {
    if (inByteCount > 0) std::memmove(outDestination, inSource, static_cast<std::size_t>(inByteCount));
}

void BlockZero(void* outDestination, Size inByteCount) {
    if (inByteCount > 0) std::memset(outDestination, 0, static_cast<std::size_t>(inByteCount));
}

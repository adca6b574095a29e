// Fixed blocks, each behind a small header of its own; and moving bytes about.
#include <toolbox/MacMemory.h>

#include "Heap.h"

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
    auto* header = static_cast<PtrHeader*>(NewBlock(inByteCount, sizeof(PtrHeader), inIsZeroed));
    SetError(header == nullptr ? memFullErr : noErr);
    if (header == nullptr) return nullptr;
    *header = {PtrHeader::kLive, inByteCount, inByteCount};
    CountPtr(1);
    return reinterpret_cast<Ptr>(header + 1);
}

// The header of a pointer, or null with the error set.
PtrHeader* HeaderOf(Ptr inPtr) {
    if (inPtr == nullptr) {
        SetError(memWZErr);
        return nullptr;
    }
    auto* header = reinterpret_cast<PtrHeader*>(inPtr) - 1;
    SetError(header->tag == PtrHeader::kLive ? noErr : memWZErr);
    return header->tag == PtrHeader::kLive ? header : nullptr;
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
    if (inPtr == nullptr) {
        SetError(noErr);
        return;
    }
    PtrHeader* header = HeaderOf(inPtr);
    if (header == nullptr) return;
    header->tag = 0;
    DisposeBlock(header, header->sizeBytes);
    CountPtr(-1);
}

Size GetPtrSize(Ptr inPtr) {
    const PtrHeader* header = HeaderOf(inPtr);
    return header == nullptr ? 0 : header->sizeBytes;
}

void SetPtrSize(Ptr inPtr, Size inByteCount) {
    PtrHeader* header = HeaderOf(inPtr);
    if (header == nullptr) return;
    if (inByteCount < 0 || inByteCount > header->capacityBytes) {
        SetError(memFullErr);
        return;
    }
    const Size before = header->sizeBytes;
    if (inByteCount > before && !Charge(inByteCount - before)) {
        SetError(memFullErr);
        return;
    }
    if (inByteCount < before) Discharge(before - inByteCount);
    header->sizeBytes = inByteCount;
}

void BlockMove(const void* inSource, void* outDestination, Size inByteCount) {
    if (inByteCount > 0) std::memmove(outDestination, inSource, static_cast<std::size_t>(inByteCount));
}

void BlockMoveData(const void* inSource, void* outDestination, Size inByteCount) {
    BlockMove(inSource, outDestination, inByteCount);
}

void BlockZero(void* outDestination, Size inByteCount) {
    if (inByteCount > 0) std::memset(outDestination, 0, static_cast<std::size_t>(inByteCount));
}

#include <foundation/Blocks.h>
#include <toolbox/MacMemory.h>

#include <cstring>

namespace {

constexpr int kMastersPerBlock = 64;

}  // namespace

void InitializeHeap(short inMasterBlocks) {
    if (inMasterBlocks >= 0) MoreMasterPointers(static_cast<UInt32>(inMasterBlocks * kMastersPerBlock));
}

// The C library's function does what is fastest for the address and length: words or more where they allow
// it.
void ClearMem(void* outData, long inByteCount) {
    if (inByteCount > 0) std::memset(outData, 0, static_cast<std::size_t>(inByteCount));
}

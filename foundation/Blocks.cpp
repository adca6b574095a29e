#include <foundation/Blocks.h>
#include <toolbox/MacMemory.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMastersPerBlock = 64;
// Compared at once: a few cache lines, so that the search for the byte in the last ones is short.
constexpr unsigned long kStretchBytes = 256;

}  // namespace

void InitializeHeap(short inMasterBlocks) {
    if (inMasterBlocks >= 0) MoreMasterPointers(static_cast<UInt32>(inMasterBlocks * kMastersPerBlock));
}

bool BlocksAreEqual(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    return inByteCount == 0 || std::memcmp(inLeft, inRight, inByteCount) == 0;
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    auto const* left = static_cast<unsigned char const*>(inLeft);
    auto const* right = static_cast<unsigned char const*>(inRight);
    // The system's comparison is fast, but tells only which block is the greater.
    while (inByteCount > 0) {
        unsigned long const count = std::min(inByteCount, kStretchBytes);
        if (std::memcmp(left, right, count) != 0) {
            auto const [one, other] = std::mismatch(left, left + count, right);
            return long{*one} - long{*other};
        }
        left += count;
        right += count;
        inByteCount -= count;
    }
    return 0;
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inLeftByteCount,
                  unsigned long inRightByteCount) {
    long const order = BlockCompare(inLeft, inRight, std::min(inLeftByteCount, inRightByteCount));
    return order != 0 ? order : static_cast<long>(inLeftByteCount - inRightByteCount);
}

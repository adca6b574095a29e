#include <foundation/Blocks.h>
#include <toolbox/MacMemory.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr int kMastersPerBlock = 64;

using Word = UInt64;
constexpr unsigned long kWordBytes = sizeof(Word);
// Up to here a loop over words is faster than a call of the system's comparison.
constexpr unsigned long kShortBytes = 32;
// The system's comparison is fast, but tells only which block is the greater. So it is called for stretches
// that are long enough to make up for the calls; the one that differs is narrowed down by shorter ones.
constexpr unsigned long kLongStretchBytes = 4096;
constexpr unsigned long kStretchBytes = 256;

Word LoadWord(unsigned char const* inBytes) {
    Word word;
    std::memcpy(&word, inBytes, sizeof word);
    return word;
}

// The difference of the first bytes in memory that differ in two words that do.
long DifferenceOf(Word inLeft, Word inRight) {
    Word const changed = inLeft ^ inRight;
    int const shift = std::endian::native == std::endian::little ? std::countr_zero(changed) & ~7
                                                                 : 56 - (std::countl_zero(changed) & ~7);
    return static_cast<long>(inLeft >> shift & 0xFF) - static_cast<long>(inRight >> shift & 0xFF);
}

long CompareShort(unsigned char const* inLeft, unsigned char const* inRight, unsigned long inByteCount) {
    unsigned long at = 0;
    for (; inByteCount - at >= kWordBytes; at += kWordBytes) {
        Word const left = LoadWord(inLeft + at);
        Word const right = LoadWord(inRight + at);
        if (left != right) return DifferenceOf(left, right);
    }
    for (; at < inByteCount; ++at)
        if (inLeft[at] != inRight[at]) return long{inLeft[at]} - long{inRight[at]};
    return 0;
}

// Goes past stretches that are equal; what is left begins with the one that is not, if there is any.
void SkipEqual(unsigned char const*& ioLeft, unsigned char const*& ioRight, unsigned long& ioByteCount,
               unsigned long inStretchBytes) {
    while (ioByteCount > 0) {
        unsigned long const count = std::min(ioByteCount, inStretchBytes);
        if (std::memcmp(ioLeft, ioRight, count) != 0) return;
        ioLeft += count;
        ioRight += count;
        ioByteCount -= count;
    }
}

}  // namespace

void InitializeHeap(short inMasterBlocks) {
    if (inMasterBlocks >= 0) MoreMasterPointers(static_cast<UInt32>(inMasterBlocks * kMastersPerBlock));
}

// The C library's function does what is fastest for the address and length: words or more where they allow
// it.
void ClearMem(void* outData, long inByteCount) {
    if (inByteCount > 0) std::memset(outData, 0, static_cast<std::size_t>(inByteCount));
}

bool BlocksAreEqual(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    return inByteCount == 0 || std::memcmp(inLeft, inRight, inByteCount) == 0;
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inByteCount) {
    auto const* left = static_cast<unsigned char const*>(inLeft);
    auto const* right = static_cast<unsigned char const*>(inRight);
    if (inByteCount > kShortBytes) {
        SkipEqual(left, right, inByteCount, kLongStretchBytes);
        if (inByteCount == 0) return 0;
        SkipEqual(left, right, inByteCount, kStretchBytes);
    }
    return CompareShort(left, right, inByteCount);
}

long BlockCompare(void const* inLeft, void const* inRight, unsigned long inLeftByteCount,
                  unsigned long inRightByteCount) {
    long const order = BlockCompare(inLeft, inRight, std::min(inLeftByteCount, inRightByteCount));
    return order != 0 ? order : static_cast<long>(inLeftByteCount - inRightByteCount);
}

// Moves of few bytes, which most strings are: shorter than a call of the C library's function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Both ends of the block as words, which overlap in the middle. All is read before any is written, so source
// and destination may overlap, too.
template <typename Word>
inline void MoveTwoWords(void* outDestination, const void* inSource, std::size_t inByteCount) {
    const std::size_t lastOffset = inByteCount - sizeof(Word);
    Word first, last;
    std::memcpy(&first, inSource, sizeof(Word));
    std::memcpy(&last, static_cast<const char*>(inSource) + lastOffset, sizeof(Word));
    std::memcpy(outDestination, &first, sizeof(Word));
    std::memcpy(static_cast<char*>(outDestination) + lastOffset, &last, sizeof(Word));
}

inline void MoveBytes(void* outDestination, const void* inSource, std::size_t inByteCount) {
    struct TwoLong {
        std::uint64_t halves[2];
    };
    if (inByteCount > 2 * sizeof(TwoLong))
        std::memmove(outDestination, inSource, inByteCount);
    else if (inByteCount >= sizeof(TwoLong))
        MoveTwoWords<TwoLong>(outDestination, inSource, inByteCount);
    else if (inByteCount >= 8)
        MoveTwoWords<std::uint64_t>(outDestination, inSource, inByteCount);
    else if (inByteCount >= 4)
        MoveTwoWords<std::uint32_t>(outDestination, inSource, inByteCount);
    else if (inByteCount >= 2)
        MoveTwoWords<std::uint16_t>(outDestination, inSource, inByteCount);
    else if (inByteCount == 1)
        std::memcpy(outDestination, inSource, 1);
}

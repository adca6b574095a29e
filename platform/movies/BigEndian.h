// Numbers in big-endian records, by byte offset.
#pragma once

#include <cstddef>
#include <cstdint>

namespace toolbox::movies {

inline void PutBig16(std::uint8_t* outRecord, std::size_t inOffsetBytes, std::uint16_t inValue) {
    outRecord[inOffsetBytes] = static_cast<std::uint8_t>(inValue >> 8);
    outRecord[inOffsetBytes + 1] = static_cast<std::uint8_t>(inValue);
}

inline void PutBig32(std::uint8_t* outRecord, std::size_t inOffsetBytes, std::uint32_t inValue) {
    PutBig16(outRecord, inOffsetBytes, static_cast<std::uint16_t>(inValue >> 16));
    PutBig16(outRecord, inOffsetBytes + 2, static_cast<std::uint16_t>(inValue));
}

inline std::uint16_t GetBig16(const std::uint8_t* inRecord, std::size_t inOffsetBytes) {
    return static_cast<std::uint16_t>(inRecord[inOffsetBytes] << 8 | inRecord[inOffsetBytes + 1]);
}

inline std::uint32_t GetBig32(const std::uint8_t* inRecord, std::size_t inOffsetBytes) {
    return static_cast<std::uint32_t>(GetBig16(inRecord, inOffsetBytes)) << 16 |
           GetBig16(inRecord, inOffsetBytes + 2);
}

}  // namespace toolbox::movies

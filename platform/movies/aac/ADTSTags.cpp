#include "ADTSTags.h"

#include <algorithm>
#include <cstring>

namespace toolbox::movies {

namespace {

constexpr std::int64_t kID3v2HeaderBytes = 10;
constexpr std::int64_t kID3v1Bytes = 128;
constexpr std::int64_t kAPEFooterBytes = 32;

std::uint32_t LittleEndian32(const std::uint8_t* inBytes) {
    return inBytes[0] | static_cast<std::uint32_t>(inBytes[1]) << 8 |
           static_cast<std::uint32_t>(inBytes[2]) << 16 | static_cast<std::uint32_t>(inBytes[3]) << 24;
}

// Where an APE tag that ends at inEnd begins; inEnd when none ends there.
std::int64_t APETagOffset(FileWindow& ioWindow, std::int64_t inEnd) {
    if (inEnd < kAPEFooterBytes) return inEnd;
    const std::uint8_t* footer = ioWindow.At(inEnd - kAPEFooterBytes, kAPEFooterBytes);
    if (footer == nullptr || std::memcmp(footer, "APETAGEX", 8) != 0) return inEnd;
    // The size counts the items and this footer, but not the header that flag 31 announces.
    const std::int64_t bytes = std::int64_t{LittleEndian32(footer + 12)} +
                               ((LittleEndian32(footer + 20) & 0x80000000) != 0 ? kAPEFooterBytes : 0);
    return bytes < kAPEFooterBytes || bytes > inEnd ? inEnd : inEnd - bytes;
}

}  // namespace

std::int64_t ID3v2Bytes(FileWindow& ioWindow, std::int64_t inOffset) {
    const std::uint8_t* header = ioWindow.At(inOffset, kID3v2HeaderBytes);
    if (header == nullptr || std::memcmp(header, "ID3", 3) != 0 || header[3] == 0xFF || header[4] == 0xFF)
        return 0;
    // Seven bits in each byte, so that no sync word arises.
    if (std::any_of(header + 6, header + 10, [](std::uint8_t inByte) { return inByte >= 0x80; })) return 0;
    const std::int64_t bodyBytes = static_cast<std::int64_t>(header[6]) << 21 |
                                   static_cast<std::int64_t>(header[7]) << 14 |
                                   static_cast<std::int64_t>(header[8]) << 7 | header[9];
    const bool hasFooter = (header[5] & 0x10) != 0;
    return kID3v2HeaderBytes + bodyBytes + (hasFooter ? kID3v2HeaderBytes : 0);
}

std::int64_t EndTagsOffset(FileWindow& ioWindow) {
    std::int64_t end = ioWindow.FileSizeBytes();
    if (end >= kID3v1Bytes) {
        const std::uint8_t* tag = ioWindow.At(end - kID3v1Bytes, 3);
        if (tag != nullptr && std::memcmp(tag, "TAG", 3) == 0) end -= kID3v1Bytes;
    }
    return APETagOffset(ioWindow, end);
}

}  // namespace toolbox::movies

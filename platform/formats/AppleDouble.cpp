#include "formats/AppleDouble.h"

#include "os/BigEndian.h"

#include <algorithm>
#include <limits>

namespace toolbox::files {

namespace {

// As in RFC 1740. 0x00051600 would be a file that holds the data fork, too.
constexpr UInt32 kMagic = 0x00051607;
constexpr UInt32 kVersion = 0x00020000;
constexpr std::size_t kVersionOffset = 4;
// Behind 16 bytes of filler, in which version 1 named the file system that the file came from.
constexpr std::size_t kCountOffset = 24;

// Sorted rather than compared each with each: a small file can have 65,535 entries.
bool HaveDistinctIDs(const std::vector<AppleDoubleEntry>& inEntries) {
    std::vector<UInt32> ids;
    ids.reserve(inEntries.size());
    for (const AppleDoubleEntry& entry : inEntries)
        ids.push_back(entry.id);
    std::sort(ids.begin(), ids.end());
    return std::adjacent_find(ids.begin(), ids.end()) == ids.end();
}

// 0: has its place; 1: lies anywhere; 2: comes last.
int RankOf(const AppleDoublePart& inPart) {
    if (inPart.offsetBytes != 0) return 0;
    return inPart.id == AppleDoubleEntry::kResourceFork ? 2 : 1;
}

std::vector<const AppleDoublePart*> InOrderOfPlaces(const std::vector<AppleDoublePart>& inParts) {
    std::vector<const AppleDoublePart*> parts;
    for (const int rank : {0, 1, 2})
        for (const AppleDoublePart& part : inParts)
            if (RankOf(part) == rank) parts.push_back(&part);
    return parts;
}

}  // namespace

std::size_t AppleDoubleHeaderSize(const UInt8* inBytes) {
    if (os::Load32(inBytes) != kMagic || os::Load32(inBytes + kVersionOffset) != kVersion) return 0;
    return kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * os::Load16(inBytes + kCountOffset);
}

bool DecodeAppleDouble(const UInt8* inBytes, std::size_t inByteCount, UInt64 inFileBytes,
                       std::vector<AppleDoubleEntry>& outEntries) {
    outEntries.clear();
    if (inByteCount < kAppleDoubleHeaderBytes) return false;
    const std::size_t headerBytes = AppleDoubleHeaderSize(inBytes);
    if (headerBytes == 0 || headerBytes > inByteCount || headerBytes > inFileBytes) return false;
    for (std::size_t at = kAppleDoubleHeaderBytes; at < headerBytes; at += kAppleDoubleEntryBytes) {
        const AppleDoubleEntry entry = {os::Load32(inBytes + at),       // id; 0 is none
                                        os::Load32(inBytes + at + 4),   // offset, of the whole file
                                        os::Load32(inBytes + at + 8)};  // length
        const bool isOutside =
            entry.offsetBytes > inFileBytes || entry.lengthBytes > inFileBytes - entry.offsetBytes;
        // An entry of no bytes covers nothing, so its offset may be any in the file.
        const bool isOverHeader = entry.lengthBytes > 0 && entry.offsetBytes < headerBytes;
        if (entry.id == 0 || isOutside || isOverHeader) return false;
        outEntries.push_back(entry);
    }
    return HaveDistinctIDs(outEntries);
}

bool EncodeAppleDouble(const std::vector<AppleDoublePart>& inParts, std::vector<UInt8>& outBytes) {
    const std::vector<const AppleDoublePart*> parts = InOrderOfPlaces(inParts);
    UInt64 totalBytes = kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * parts.size();
    for (const AppleDoublePart* part : parts) {
        if (part->offsetBytes != 0 && part->offsetBytes < totalBytes) return false;
        totalBytes = std::max<UInt64>(totalBytes, part->offsetBytes) + part->bytes.size();
    }
    if (parts.size() > std::numeric_limits<UInt16>::max() || totalBytes > std::numeric_limits<UInt32>::max())
        return false;

    outBytes.assign(kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * parts.size(), 0);
    outBytes.reserve(static_cast<std::size_t>(totalBytes));
    os::Store32(outBytes.data(), kMagic);
    os::Store32(outBytes.data() + kVersionOffset, kVersion);
    os::Store16(outBytes.data() + kCountOffset, static_cast<UInt16>(parts.size()));
    std::size_t at = kAppleDoubleHeaderBytes;
    for (const AppleDoublePart* part : parts) {
        outBytes.resize(std::max<std::size_t>(outBytes.size(), part->offsetBytes));
        os::Store32(outBytes.data() + at, part->id);
        os::Store32(outBytes.data() + at + 4, static_cast<UInt32>(outBytes.size()));
        os::Store32(outBytes.data() + at + 8, static_cast<UInt32>(part->bytes.size()));
        outBytes.insert(outBytes.end(), part->bytes.begin(), part->bytes.end());
        at += kAppleDoubleEntryBytes;
    }
    return true;
}

bool EncodeAppleDoubleHead(const std::vector<AppleDoublePart>& inParts, UInt32 inForkBytes,
                           std::vector<UInt8>& outBytes) {
    if (inForkBytes == 0) return EncodeAppleDouble(inParts, outBytes);
    std::vector<AppleDoublePart> parts = inParts;
    parts.push_back({AppleDoubleEntry::kResourceFork, {}});
    if (!EncodeAppleDouble(parts, outBytes)) return false;
    if (inForkBytes > std::numeric_limits<UInt32>::max() - outBytes.size()) return false;
    // It is the last, of the entries and of the file.
    const std::size_t entry = kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * inParts.size();
    os::Store32(outBytes.data() + entry + 8, inForkBytes);
    return true;
}

}  // namespace toolbox::files

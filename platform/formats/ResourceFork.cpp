#include "formats/ResourceFork.h"

#include "os/BigEndian.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

namespace toolbox::resources {

namespace {

using os::Load16;
using os::Load32;
using os::Store16;
using os::Store32;

constexpr std::size_t kDataStart = 256;  // after the header come 240 bytes for the system and the application
constexpr std::size_t kMapHeaderBytes = 28;
// Behind the copy of the fork's header (16 bytes), a handle (4) and a reference number (2), which only a map
// in memory has.
constexpr std::size_t kAttributesOffset = 22;
constexpr std::size_t kTypeListOffset = 24;
constexpr std::size_t kNameListOffset = 26;
constexpr std::size_t kCountBytes = 2;
constexpr std::size_t kTypeBytes = 8;
constexpr std::size_t kReferenceBytes = 12;
constexpr UInt16 kNoName = 0xFFFF;
constexpr std::size_t kMax16 = 0xFFFF;
constexpr std::size_t kMaxDataOffset = 0xFFFFFF;
constexpr std::size_t kMaxPerType = 0x10000;

bool IsInside(std::size_t inOffset, std::size_t inByteCount, std::size_t inWhole) {
    return inOffset <= inWhole && inByteCount <= inWhole - inOffset;
}

// The numbers of a list are one less than its length; none at all is -1.
std::size_t CountOf(const UInt8* inBytes) {
    return (Load16(inBytes) + std::size_t{1}) & kMax16;
}

bool DecodeName(std::span<const UInt8> inMap, std::size_t inOffset, std::string& outName) {
    if (!IsInside(inOffset, 1, inMap.size())) return false;
    const std::size_t length = inMap[inOffset];
    if (!IsInside(inOffset + 1, length, inMap.size())) return false;
    outName.assign(reinterpret_cast<const char*>(inMap.data() + inOffset + 1), length);
    return true;
}

bool DecodeReference(std::span<const UInt8> inMap, std::size_t inOffset, Reference& ioReference) {
    const UInt8* bytes = inMap.data() + inOffset;
    ioReference.id = static_cast<SInt16>(Load16(bytes));
    // One number of 32 bits: the attributes above an offset of 24. The 4 bytes behind it are a handle in
    // memory.
    ioReference.attributes = bytes[4];
    ioReference.dataOffset = Load32(bytes + 4) & kMaxDataOffset;
    const UInt16 nameOffset = Load16(bytes + 2);
    ioReference.hasName = nameOffset != kNoName;
    if (!ioReference.hasName) return true;
    return DecodeName(inMap, Load16(inMap.data() + kNameListOffset) + std::size_t{nameOffset},
                      ioReference.name);
}

// How the map will lie, and where in it.
struct Layout {
    struct Type {
        ResType type;
        std::vector<std::size_t> members;  // indexes of images
        std::size_t listOffset = 0;        // in the type list
    };
    std::vector<Type> types;
    std::vector<UInt16> nameOffsets;  // of each image
    std::vector<UInt8> names;
    std::size_t nameListOffset = 0;
    std::size_t mapBytes = 0;
};

bool CollectNames(const std::vector<Image>& inImages, Layout& ioLayout) {
    for (const Image& image : inImages) {
        const std::string& name = image.reference.name;
        ioLayout.nameOffsets.push_back(kNoName);
        if (!image.reference.hasName) continue;
        if (ioLayout.names.size() >= kNoName || name.size() > 255) return false;
        ioLayout.nameOffsets.back() = static_cast<UInt16>(ioLayout.names.size());
        ioLayout.names.push_back(static_cast<UInt8>(name.size()));
        ioLayout.names.insert(ioLayout.names.end(), name.begin(), name.end());
    }
    return true;
}

void CollectTypes(const std::vector<Image>& inImages, Layout& ioLayout) {
    std::unordered_map<ResType, std::size_t> indexes;
    for (std::size_t i = 0; i < inImages.size(); ++i) {
        const ResType type = inImages[i].reference.type;
        const auto [found, isNew] = indexes.try_emplace(type, ioLayout.types.size());
        if (isNew) ioLayout.types.push_back({type, {}});
        ioLayout.types[found->second].members.push_back(i);
    }
}

// Lays the references before the names, as is usual, or after them, where offsets of 16 bits reach more of
// both.
bool Place(Layout& ioLayout, bool inNamesFirst) {
    const std::size_t typeListBytes = kCountBytes + kTypeBytes * ioLayout.types.size();
    std::size_t offset = typeListBytes + (inNamesFirst ? ioLayout.names.size() : 0);
    for (Layout::Type& type : ioLayout.types) {
        if (offset > kMax16 || type.members.size() >= kMaxPerType) return false;
        type.listOffset = offset;
        offset += kReferenceBytes * type.members.size();
    }
    ioLayout.nameListOffset = kMapHeaderBytes + (inNamesFirst ? typeListBytes : offset);
    ioLayout.mapBytes = kMapHeaderBytes + offset + (inNamesFirst ? 0 : ioLayout.names.size());
    return ioLayout.nameListOffset <= kMax16;
}

bool PlanMap(const std::vector<Image>& inImages, Layout& outLayout) {
    if (!CollectNames(inImages, outLayout)) return false;
    CollectTypes(inImages, outLayout);
    return Place(outLayout, false) || Place(outLayout, true);
}

void StoreMap(const std::vector<Image>& inImages, const Layout& inLayout, UInt16 inFileAttributes,
              UInt8* outMap) {
    Store16(outMap + kAttributesOffset, inFileAttributes);
    Store16(outMap + kTypeListOffset, kMapHeaderBytes);
    Store16(outMap + kNameListOffset, static_cast<UInt16>(inLayout.nameListOffset));
    UInt8* const typeList = outMap + kMapHeaderBytes;
    Store16(typeList, static_cast<UInt16>(inLayout.types.size() - 1));
    UInt8* entry = typeList + kCountBytes;
    for (const Layout::Type& type : inLayout.types) {
        Store32(entry, type.type);
        Store16(entry + 4, static_cast<UInt16>(type.members.size() - 1));
        Store16(entry + 6, static_cast<UInt16>(type.listOffset));
        entry += kTypeBytes;
        UInt8* bytes = typeList + type.listOffset;
        for (const std::size_t member : type.members) {
            const Reference& reference = inImages[member].reference;
            Store16(bytes, static_cast<UInt16>(reference.id));
            Store16(bytes + 2, inLayout.nameOffsets[member]);
            Store32(bytes + 4, static_cast<UInt32>(reference.attributes) << 24 | reference.dataOffset);
            bytes += kReferenceBytes;
        }
    }
    std::copy(inLayout.names.begin(), inLayout.names.end(), outMap + inLayout.nameListOffset);
}

// Appends the data and tells each image where its own is.
bool AppendData(std::vector<Image>& ioImages, std::vector<UInt8>& ioFork) {
    for (Image& image : ioImages) {
        const std::size_t offset = ioFork.size() - kDataStart;
        if (offset > kMaxDataOffset || image.bytes.size() > std::numeric_limits<SInt32>::max()) return false;
        image.reference.dataOffset = static_cast<UInt32>(offset);
        ioFork.resize(ioFork.size() + kLengthBytes);
        Store32(ioFork.data() + ioFork.size() - kLengthBytes, static_cast<UInt32>(image.bytes.size()));
        ioFork.insert(ioFork.end(), image.bytes.begin(), image.bytes.end());
    }
    return ioFork.size() <= std::numeric_limits<SInt32>::max();
}

}  // namespace

// The offsets of data and map are all that tells where the fork lies: moved both, they tell of one that
// begins further on.
os::MovableHead HeadOfFork() {
    return {kForkHeaderBytes, [](UInt8* ioHead, UInt32 inDistanceBytes) {
                for (UInt8* offset : {ioHead, ioHead + 4})
                    os::Store32(offset, os::Load32(offset) + inDistanceBytes);
            }};
}

bool DecodeHeader(const UInt8* inBytes, UInt64 inForkBytes, ForkHeader& outHeader) {
    outHeader = {Load32(inBytes), Load32(inBytes + 4),        // where data and map begin
                 Load32(inBytes + 8), Load32(inBytes + 12)};  // and how long they are
    return IsInside(outHeader.dataOffset, outHeader.dataBytes, inForkBytes) &&
           IsInside(outHeader.mapOffset, outHeader.mapBytes, inForkBytes);
}

bool DecodeMap(std::span<const UInt8> inMap, UInt16& outFileAttributes,
               std::vector<Reference>& outReferences) {
    outReferences.clear();
    if (inMap.size() < kMapHeaderBytes) return false;
    outFileAttributes = Load16(inMap.data() + kAttributesOffset);
    const std::size_t typeList = Load16(inMap.data() + kTypeListOffset);
    if (!IsInside(typeList, kCountBytes, inMap.size())) return false;
    const std::size_t typeCount = CountOf(inMap.data() + typeList);
    if (!IsInside(typeList + kCountBytes, kTypeBytes * typeCount, inMap.size())) return false;
    // No two lists share a reference, so there cannot be more of them than the map has room for.
    std::size_t mostReferences = inMap.size() / kReferenceBytes;
    for (std::size_t i = 0; i < typeCount; ++i) {
        const UInt8* entry = inMap.data() + typeList + kCountBytes + kTypeBytes * i;
        // Unlike that of types, this number does not wrap: a type is there for its resources, and may have
        // 65,536.
        const std::size_t count = Load16(entry + 4) + std::size_t{1};
        const std::size_t list = typeList + Load16(entry + 6);
        if (count > mostReferences || !IsInside(list, kReferenceBytes * count, inMap.size())) return false;
        mostReferences -= count;
        for (std::size_t j = 0; j < count; ++j) {
            Reference reference;
            reference.type = Load32(entry);
            if (!DecodeReference(inMap, list + kReferenceBytes * j, reference)) return false;
            outReferences.push_back(std::move(reference));
        }
    }
    return true;
}

bool EncodeFork(std::vector<Image>& ioImages, UInt16 inFileAttributes, std::vector<UInt8>& outFork) {
    Layout layout;
    if (!PlanMap(ioImages, layout)) return false;
    outFork.assign(kDataStart, 0);
    if (!AppendData(ioImages, outFork)) return false;
    const std::size_t mapOffset = outFork.size();
    outFork.resize(mapOffset + layout.mapBytes);
    UInt8* const map = outFork.data() + mapOffset;
    StoreMap(ioImages, layout, inFileAttributes, map);
    Store32(outFork.data(), kDataStart);
    Store32(outFork.data() + 4, static_cast<UInt32>(mapOffset));
    Store32(outFork.data() + 8, static_cast<UInt32>(mapOffset - kDataStart));
    Store32(outFork.data() + 12, static_cast<UInt32>(layout.mapBytes));
    std::copy_n(outFork.begin(), kForkHeaderBytes, map);
    return true;
}

}  // namespace toolbox::resources

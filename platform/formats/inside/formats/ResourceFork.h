// The bytes of a resource fork.
//
//   header, at 0     offsets of data and map in the fork, then their lengths
//   data             each resource: 4 bytes length, then its bytes
//   map    16        a copy of the header
//           6        room for what a running manager keeps
//           2        the file's attributes
//           2, 2     offsets of type list and name list in the map
//   type list        2 bytes number of types less one; each type: 4 bytes type, 2 bytes number of resources
//   less one,
//                    2 bytes offset of the first one's reference in the type list
//   references       each: 2 bytes id, 2 bytes offset in the name list (0xFFFF: no name), 1 byte attributes,
//   3 bytes
//                    offset in the data, 4 bytes room
//   name list        Pascal strings
// Every number is big-endian. Nothing is promised about the order of the lists.
#pragma once

#include "os/BigEndian.h"
#include "os/Replace.h"

#include <toolbox/MacTypes.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace toolbox::resources {

constexpr std::size_t kForkHeaderBytes = 16;
constexpr std::size_t kLengthBytes = 4;  // before each resource's data
// Offsets of 16 bits and 65,536 references reach no further into a map.
constexpr UInt32 kMaxMapBytes = 0x100000;

struct ForkHeader {
    UInt32 dataOffset = 0;
    UInt32 mapOffset = 0;
    UInt32 dataBytes = 0;
    UInt32 mapBytes = 0;
};

// What the map tells of a resource.
struct Reference {
    ResType type = 0;
    SInt16 id = 0;
    UInt8 attributes = 0;
    bool hasName = false;
    std::string name;
    UInt32 dataOffset = 0;  // of the length, in the data
};

// Reads kForkHeaderBytes bytes. False when data or map are not inside a fork of inForkBytes bytes.
bool DecodeHeader(const UInt8* inBytes, UInt64 inForkBytes, ForkHeader& outHeader);

// By which a fork is overwritten without a moment in which it is none.
os::MovableHead HeadOfFork();

// Reads a map, in the order of its lists: all of a type follow each other. False when it contradicts itself.
// Offsets in the data are not looked at.
bool DecodeMap(std::span<const UInt8> inMap, UInt16& outFileAttributes,
               std::vector<Reference>& outReferences);

// These read a fork from what has SizeBytes() and Read(offset, bytes, count), which answers 0 or an errno.
// EBADMSG, or ENODATA, when the fork makes no sense.
template <typename Source>
[[nodiscard]] int ReadForkHeader(const Source& inFork, ForkHeader& outHeader) {
    UInt8 header[kForkHeaderBytes];
    const int error = inFork.Read(0, header, sizeof header);
    if (error != 0) return error;
    return DecodeHeader(header, inFork.SizeBytes(), outHeader) ? 0 : EBADMSG;
}

template <typename Source>
[[nodiscard]] int ReadForkMap(const Source& inFork, ForkHeader& outHeader, UInt16& outFileAttributes,
                              std::vector<Reference>& outReferences) {
    int error = ReadForkHeader(inFork, outHeader);
    if (error != 0) return error;
    std::vector<UInt8> map(std::min(outHeader.mapBytes, kMaxMapBytes));
    error = inFork.Read(outHeader.mapOffset, map.data(), map.size());
    if (error != 0) return error;
    return DecodeMap(map, outFileAttributes, outReferences) ? 0 : EBADMSG;
}

// How many bytes a resource has, and where they are in the fork.
template <typename Source>
[[nodiscard]] int FindForkData(const Source& inFork, const ForkHeader& inHeader, const Reference& inReference,
                               UInt64& outOffset, UInt32& outByteCount) {
    const UInt32 offset = inReference.dataOffset;
    if (offset > inHeader.dataBytes || inHeader.dataBytes - offset < kLengthBytes) return EBADMSG;
    UInt8 length[kLengthBytes];
    const int error = inFork.Read(UInt64{inHeader.dataOffset} + offset, length, sizeof length);
    if (error != 0) return error;
    outOffset = UInt64{inHeader.dataOffset} + offset + kLengthBytes;
    outByteCount = os::Load32(length);
    return outByteCount <= inHeader.dataBytes - offset - kLengthBytes ? 0 : EBADMSG;
}

// A resource to be written. dataOffset of the reference is an output.
struct Image {
    Reference reference;
    std::vector<UInt8> bytes;
};

// A whole fork. Resources of one type come together, types in the order of their first resource. False when
// the format has no room for them: data offsets of 24 bits, offsets of lists and names of 16.
bool EncodeFork(std::vector<Image>& ioImages, UInt16 inFileAttributes, std::vector<UInt8>& outFork);

}  // namespace toolbox::resources

// The AppleDouble format, version 2: what a file has beside its data fork, in a companion file.
//
//   offset  bytes  (every number is big-endian)
//        0      4  0x00051607
//        4      4  version, 0x00020000
//        8     16  filler
//       24      2  number of entries
//       26     12  each entry: id, offset in the file, length
//                  then the entries' bytes
#pragma once

#include <toolbox/MacTypes.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <vector>

namespace toolbox::files {

struct AppleDoubleEntry {
    enum : UInt32 {
        kResourceFork = 2,
        kFileDates = 8,
        kFinderInfo = 9,
        kMacFileInfo = 10,
        // Our own: the format leaves ids from 0x80000000 on to everybody.
        kEncodingHint = 0xF4656E63,
        kForkIntent = 0xF4786368
    };

    UInt32 id = 0;
    UInt32 offsetBytes = 0;
    UInt32 lengthBytes = 0;
};

struct AppleDoublePart {
    UInt32 id = 0;
    std::vector<UInt8> bytes;
    UInt32 offsetBytes = 0;  // where in the file it must lie; 0: anywhere
};

constexpr std::size_t kAppleDoubleHeaderBytes = 26;
constexpr std::size_t kAppleDoubleEntryBytes = 12;

// Bytes of the header with its entries, from the first kAppleDoubleHeaderBytes; 0 when they begin no
// companion file.
std::size_t AppleDoubleHeaderSize(const UInt8* inBytes);

// Reads the entries of a header of inByteCount bytes, in a file of inFileBytes bytes. False when it
// contradicts itself: an entry outside the file or over the header, an id 0 or one that comes twice.
bool DecodeAppleDouble(const UInt8* inBytes, std::size_t inByteCount, UInt64 inFileBytes,
                       std::vector<AppleDoubleEntry>& outEntries);

// Reads the entries of a companion file from what has SizeBytes() and Read(offset, bytes, count), which
// answers 0 or an errno. EBADMSG, or ENODATA, when it is none.
template <typename Source>
[[nodiscard]] int ReadAppleDouble(const Source& inSource, std::vector<AppleDoubleEntry>& outEntries) {
    std::vector<UInt8> header(kAppleDoubleHeaderBytes);
    int error = inSource.Read(0, header.data(), header.size());
    if (error != 0) return error;
    header.resize(std::max(AppleDoubleHeaderSize(header.data()), kAppleDoubleHeaderBytes));
    error = inSource.Read(0, header.data(), header.size());
    if (error != 0) return error;
    const bool isGood = DecodeAppleDouble(header.data(), header.size(), inSource.SizeBytes(), outEntries);
    return isGood ? 0 : EBADMSG;
}

// A companion file of these parts, in this order but for those that have their place, which come first, and
// the resource fork, which comes last: what other systems keep in the Finder information may tell offsets in
// the file, and a fork that grows must not move it. False when it is longer than the format can tell, or when
// the header, or another part, reaches into a part's place.
bool EncodeAppleDouble(const std::vector<AppleDoublePart>& inParts, std::vector<UInt8>& outBytes);

// All of it but the bytes of a resource fork of that many, which are to follow; there is none of 0 bytes.
//   inParts  the others
bool EncodeAppleDoubleHead(const std::vector<AppleDoublePart>& inParts, UInt32 inForkBytes,
                           std::vector<UInt8>& outBytes);

}  // namespace toolbox::files

// Finds every frame of a raw AAC file by its headers. Nothing is decoded: the table of packets and the
// changes of format are what a movie is made from.
#pragma once

#include "ADTSHeader.h"
#include "track/FilePackets.h"
#include "track/MediaFile.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies {

// Consecutive packets whose headers agree and that hold the same number of raw data blocks.
struct ADTSStretch {
    std::uint32_t firstPacket = 0;
    ADTSHeader header;             // of the first packet
    std::uint32_t blockCount = 1;  // raw data blocks in each packet: 1024 frames at the core's rate each
};

struct ADTSFrames {
    PacketTable packets;  // without their headers, but see KeepsHeader
    std::vector<ADTSStretch> stretches;
    std::uint64_t skippedByteCount = 0;  // that belonged to no frame and to no tag
};

// Frames whose channels are told by an element inside the first of them are handed out with their header: a
// configuration for the decoder cannot say it, the header can.
inline bool KeepsHeader(const ADTSHeader& inHeader) {
    return inHeader.ChannelConfig() == 0;
}

// Scans the whole file. A file is raw AAC when, after any ID3v2 tags, two consecutive headers agree or one
// frame reaches to the end; or, for a recording that begins amid a frame, when a chain of agreeing headers
// begins within the length of one.
//   - Bytes that are no frame are passed over until a header whose successor agrees with it; tags are passed
//   over
//     without being counted.
//   - A frame that another one begins in was cut: what is there of it stays a packet, so that time goes on.
//   - A last frame that the file's end cuts stays a packet, too.
// cantFindHandler: not raw AAC. invalidMovie: it changes format too often to be sound. ioErr.
[[nodiscard]] OSStatus ScanADTS(const MediaFile& inFile, ADTSFrames& outFrames);

}  // namespace toolbox::movies

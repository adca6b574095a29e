// The header in front of every frame of a raw AAC file (ISO/IEC 13818-7 and 14496-3, "ADTS").
#pragma once

#include "os/BigEndian.h"

#include <array>
#include <cstdint>

namespace toolbox::movies {

struct ADTSHeader {
    static constexpr std::uint32_t kBytesNeeded = 7;  // to parse one
    static constexpr std::uint32_t kMaxFrameBytes = 8191;

    // Sync word, version, layer, profile, rate and channels: what the frames of one stream have in common.
    // Whether a checksum follows may change from frame to frame, and so may the private and copyright bits.
    static constexpr std::uint32_t kCommonMask = 0xFFFEFDC0;

    std::uint32_t common = 0;       // the first four bytes under kCommonMask
    std::uint32_t frameBytes = 0;   // of the whole frame, this header included
    std::uint32_t headerBytes = 0;  // 7, or with a checksum 9 and the table of block positions
    std::uint8_t blockCount = 0;    // raw data blocks in the frame, 1 to 4
    bool hasChecksum = false;

    std::uint8_t ObjectType() const { return static_cast<std::uint8_t>(((common >> 14) & 3) + 1); }
    std::uint8_t RateIndex() const { return (common >> 10) & 15; }
    std::uint8_t ChannelConfig() const { return (common >> 6) & 7; }  // 0: told by an element in the frame
    std::uint32_t SampleRateHz() const { return kRatesHz[RateIndex()]; }
    // Two headers that agree are of one stream.
    bool Agrees(const ADTSHeader& inOther) const { return common == inOther.common; }

    // The rates that an index can name; the last three indices name none.
    static constexpr std::array<std::uint32_t, 16> kRatesHz = {
        96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350, 0, 0, 0};
};

// inBytes: kBytesNeeded of them. False when they begin no frame that could hold sound; outHeader is then
// unspecified.
inline bool ParseADTSHeader(const std::uint8_t* inBytes, ADTSHeader& outHeader) {
    const std::uint32_t word = os::Load32(inBytes);
    // Sync word and layer. The layer is 0 here; in the frames of MPEG layers I to III it never is.
    if ((word & 0xFFF60000) != 0xFFF00000) return false;
    outHeader.common = word & ADTSHeader::kCommonMask;
    outHeader.hasChecksum = (word & 0x00010000) == 0;
    outHeader.frameBytes = (word & 3) << 11 | static_cast<std::uint32_t>(inBytes[4]) << 3 | inBytes[5] >> 5;
    outHeader.blockCount = static_cast<std::uint8_t>((inBytes[6] & 3) + 1);
    outHeader.headerBytes = outHeader.hasChecksum ? 7u + 2u * outHeader.blockCount : 7u;
    // A block takes at least one byte.
    return outHeader.SampleRateHz() != 0 &&
           outHeader.frameBytes >= outHeader.headerBytes + outHeader.blockCount;
}

}  // namespace toolbox::movies

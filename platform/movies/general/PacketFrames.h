// How many frames a coded packet decodes to, told without decoding it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct AVCodecParameters;

namespace toolbox::movies::general {

// Counts the packets of one stream, in order from the first.
class PacketFrames {
  public:
    virtual ~PacketFrames() = default;
    // The frames of the next packet; -1 when the packet does not tell, and only a decoder will.
    virtual std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) = 0;

    // Null for codecs whose packets do not tell, or not reliably.
    //   inDecodedFrames  what the first packet that gave any sound decoded to, 0 when none did
    static std::unique_ptr<PacketFrames> New(const AVCodecParameters& inParameters,
                                             std::uint32_t inDecodedFrames);
};

}  // namespace toolbox::movies::general

// Sounds coded by any of libavcodec's encoders, for what AAC cannot show: integer samples, delay, other
// memories.
#pragma once

#include "AACEncoder.h"
#include "MemorySound.h"

#include <cstdint>

namespace mirtal::fakes {

// inCodecID: an AVCodecID. The format's memory is kUnbounded. Whether this libavcodec has the encoder is
// asked first.
bool CanEncode(int inCodecID);
struct CodedSound {
    toolbox::movies::SoundFormat format;
    Packets packets;
    std::uint32_t framesPerPacket = 0;  // of all packets but, perhaps, the last
};
CodedSound EncodeWith(int inCodecID, const SoundToEncode& inSound);

}  // namespace mirtal::fakes

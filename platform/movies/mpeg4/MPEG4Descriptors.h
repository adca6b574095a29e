// The elementary stream descriptor, in which an MPEG-4 file wraps a codec's configuration.
#pragma once

#include <cstdint>
#include <vector>

namespace toolbox::movies {

struct DecoderDescriptor {
    std::uint8_t objectType = 0;       // 0x40: MPEG-4 audio; 0 when nothing is told
    std::vector<std::uint8_t> config;  // the decoder-specific part; empty when there is none
};

// inBytes: the content of an "esds" box after version and flags. False when no decoder is described in it.
bool ReadDecoderDescriptor(const std::vector<std::uint8_t>& inBytes, DecoderDescriptor& outDescriptor);

}  // namespace toolbox::movies

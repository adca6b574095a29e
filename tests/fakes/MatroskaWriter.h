// Matroska files with one track of AAC, written by hand: muxers do not agree on what they note of its delay.
#pragma once

#include "AACEncoder.h"

#include <cstdint>
#include <string>

namespace mirtal::fakes {

struct MatroskaTrims {
    std::int64_t delayFrameCount = 0;    // to be left out before the sound; 0: the file does not tell
    std::int64_t paddingFrameCount = 0;  // of the last packet, to be left out behind it; 0: not told
};

// At most half a minute: all packets stand in one cluster.
std::string WriteMatroska(const EncodedSound& inSound, const MatroskaTrims& inTrims);

}  // namespace mirtal::fakes

// The "iTunSMPB" tag: how much of a file's sound is the encoder's delay and padding.
#pragma once

#include "MPEG4Boxes.h"

#include <cstddef>
#include <cstdint>

namespace toolbox::movies {

struct GaplessTag {
    std::uint32_t delayFrames = 0;
    std::uint32_t paddingFrames = 0;
    std::uint64_t soundFrames = 0;  // between the two; 0 when not told
};

// Reads the tag's text: hexadecimal numbers set apart by spaces, of which the second to fourth are delay,
// padding and length. False when there are not that many, or one is no number: outTag is then untouched.
bool ParseGaplessTag(const char* inText, std::size_t inByteCount, GaplessTag& outTag);

// Looks for the tag among the tunes metadata of a movie box ("moov"). False when it has none that can be
// read.
bool FindGaplessTag(BoxFile& ioFile, const Box& inMovie, GaplessTag& outTag);

// The part of the media that a tag leaves.
struct GaplessTrim {
    std::int64_t startFrames = 0;
    std::int64_t soundFrames = 0;
};

// Applies a tag to a media of so many frames, of which a packet holds inOutputRatio for each one at the core
// rate (1, or 2 with band replication: a tag may count either). The told length counts where it fits, else
// delay and padding do. False when neither fits the media, or nothing would be trimmed or left.
bool ApplyGaplessTag(const GaplessTag& inTag, std::int64_t inMediaFrames, std::uint32_t inOutputRatio,
                     GaplessTrim& outTrim);

}  // namespace toolbox::movies

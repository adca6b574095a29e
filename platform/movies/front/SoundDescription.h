// The sound sample description: 36 bytes, big-endian, that tell a media's format to the toolbox's users, and
// the exporter's format to the toolbox.
#pragma once

#include "track/SoundTrack.h"

#include <toolbox/MacTypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace toolbox::movies {

struct SoundDescription {
    static constexpr std::size_t kSizeBytes = 36;

    std::uint32_t sizeBytes = kSizeBytes;
    OSType dataFormat = 0;
    std::uint16_t dataReferenceIndex = 0;  // from 1; 0: none
    std::uint16_t version = 0;
    std::uint16_t revisionLevel = 0;
    OSType vendor = 0;
    std::uint16_t channelCount = 0;
    std::uint16_t bitsPerSample = 0;
    std::uint16_t compressionID = 0;
    std::uint16_t packetSize = 0;
    UnsignedFixed sampleRate = 0;  // frames per second, 16.16
};

std::array<std::uint8_t, SoundDescription::kSizeBytes> Encode(const SoundDescription& inDescription);
SoundDescription DecodeSoundDescription(std::span<const std::uint8_t, SoundDescription::kSizeBytes> inBytes);

// The whole frames per second that a description can tell for inRateHz: halved until it fits 16 bits, never
// 0.
std::uint16_t DescribedRateHz(std::uint32_t inRateHz);

// What a media tells of inFormat. Sound of an unknown number of channels is described as stereo, which is
// what the exporter makes of it.
SoundDescription Describe(const SoundFormat& inFormat);

}  // namespace toolbox::movies

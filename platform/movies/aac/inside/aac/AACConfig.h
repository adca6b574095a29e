// The AudioSpecificConfig: what an MPEG-4 file or an ADTS header tells of AAC sound before any of it is
// decoded. No state; safe on every thread.
#pragma once

#include "track/SoundTrack.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace toolbox::movies {

// Whether the configuration tells of spectral band replication.
enum class BandReplication {
    kUnsignalled,  // it may be there: only a decoded packet tells
    kAbsent,       // an extension says that it is not
    kPresent
};

// Audio object types with a meaning of their own here.
enum AudioObjectType : std::uint32_t {
    kAACMain = 1,
    kAACLC = 2,
    kAACSSR = 3,
    kAACLTP = 4,
    kSBR = 5,
    kAACScalable = 6,
    kERAACLC = 17,
    kERAACLTP = 19,
    kERAACScalable = 20,
    kERBSAC = 22,
    kERAACLD = 23,
    kPS = 29,
    kLayer1 = 32,
    kLayer2 = 33,
    kLayer3 = 34,
    kERAACELD = 39,
    kUSAC = 42
};

struct AACConfig {
    std::uint32_t objectType = 0;    // of the core: kAACLC where the sound is HE-AAC
    std::uint32_t coreRateHz = 0;    // never 0 once parsed
    std::uint32_t outputRateHz = 0;  // after band replication
    std::uint16_t channelCount = 0;  // of the decoded sound, parametric stereo counted; 0 when it is not told
    std::uint32_t coreFrameCount = 0;  // per packet at the core rate; 0 when it is not told
    BandReplication bandReplication = BandReplication::kUnsignalled;
    bool hasParametricStereo = false;
    std::size_t coreBitCount = 0;  // bits before any trailing extension
    OSStatus decodable = 0;        // noErr, or noCodecErr for what libavcodec refuses

    // Frames of decoded sound per packet.
    std::uint32_t FramesPerPacket() const;
    // For people: "AAC LC", "HE-AAC", ...
    std::string Name() const;
    DecoderMemory Memory() const;
};

// False when the bytes end too early or give no sample rate: outConfig is then unspecified.
bool ParseAudioSpecificConfig(const std::uint8_t* inBytes, std::size_t inByteCount, AACConfig& outConfig);

// The two-byte configuration of a core without extensions, as the fields of an ADTS header give it.
//   inObjectType     1 to 30: profile + 1 of the header
//   inRateIndex      0 to 12
//   inChannelConfig  0 to 7
[[nodiscard]] std::vector<std::uint8_t> MakeAudioSpecificConfig(std::uint32_t inObjectType,
                                                                std::uint32_t inRateIndex,
                                                                std::uint32_t inChannelConfig);

// The index of a rate in the table that AudioSpecificConfig and ADTS share, or 15 when it has none.
std::uint32_t AACRateIndex(std::uint32_t inRateHz);
// 0 for the indices that name no rate.
std::uint32_t AACRateOfIndex(std::uint32_t inRateIndex);

// Fills in a format for AAC sound; everything but dataFormat is set. False, with outFormat untouched, when
// the configuration cannot be read. Where band replication is not signalled the format is that of the core:
// see AACProbe.h.
bool DescribeAAC(const std::vector<std::uint8_t>& inConfig, SoundFormat& outFormat);

// The same configuration with an extension that says "no band replication", so that a decoder never looks for
// it: one that starts in the middle of a stream then decodes as one that started at its beginning. Returned
// unchanged when the configuration cannot be read or signals already.
std::vector<std::uint8_t> WithoutBandReplication(const std::vector<std::uint8_t>& inConfig);

}  // namespace toolbox::movies

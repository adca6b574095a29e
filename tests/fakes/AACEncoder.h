// Real AAC LC packets for tests: a tone, noise or silence, run through libavcodec's encoder.
// The same description always gives the same bytes within one release of libavcodec.
#pragma once

#include <cstdint>
#include <vector>

namespace mirtal::fakes {

enum class Sound { kTone, kNoise, kSilence };

struct SoundToEncode {
    Sound kind = Sound::kTone;
    std::uint32_t sampleRateHz = 44100;  // one of the thirteen AAC rates
    std::uint16_t channelCount = 1;      // 1 to 6, or 8
    std::uint32_t frameCount = 44100;
    double frequencyHz = 440;            // of the first channel; each further one is a fifth higher
    double amplitude = 0.5;              // 0 to 1
    std::uint32_t bitsPerSecond = 0;     // 0: 64000 for each channel
    bool allowsPerceptualNoise = false;  // off: the decoded samples do not depend on a noise generator
};

struct EncodedSound {
    std::vector<std::vector<std::uint8_t>> packets;  // 1024 frames each; raw, without any framing
    std::vector<std::uint8_t> config;                // AudioSpecificConfig
    std::uint32_t sampleRateHz = 0;
    std::uint16_t channelCount = 0;
    std::uint32_t delayFrameCount = 0;  // decoded before the first frame of the sound: 1024

    std::uint64_t DecodedFrameCount() const { return packets.size() * std::uint64_t{1024}; }
};

// Throws std::runtime_error when the encoder refuses, which fails the test that asked.
EncodedSound EncodeAAC(const SoundToEncode& inSound);

// The planes that EncodeAAC feeds to the encoder: one vector of frameCount samples for each channel.
std::vector<std::vector<float>> MakeSound(const SoundToEncode& inSound);

}  // namespace mirtal::fakes

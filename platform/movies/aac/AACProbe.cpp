#include "aac/AACProbe.h"

#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <new>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/frame.h>
}

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kMaxCoreRateHz = 24000;
constexpr std::uint32_t kPacketsTried = 4;

bool ParsesAsUnsignalled(const SoundFormat& inFormat, AACConfig& outConfig) {
    return inFormat.codecID == AV_CODEC_ID_AAC && inFormat.decodable == noErr &&
           ParseAudioSpecificConfig(inFormat.decoderConfig.data(), inFormat.decoderConfig.size(),
                                    outConfig) &&
           outConfig.bandReplication == BandReplication::kUnsignalled;
}

void TakeOver(const ProbedSound& inSound, SoundFormat& ioFormat) {
    ioFormat.sampleRateHz = inSound.sampleRateHz;
    ioFormat.channelCount = inSound.channelCount;
    ioFormat.nominalPacketFrames = inSound.frameCount;
    ioFormat.memory = DecoderMemory::kUnbounded;
    // libavcodec presents every mono stream with unsignalled replication in stereo, so that the channel count
    // does not tell whether the stream has parametric stereo.
    ioFormat.name = "HE-AAC";
}

}  // namespace

bool NeedsImplicitSBRProbe(const SoundFormat& inFormat) {
    AACConfig config;
    return ParsesAsUnsignalled(inFormat, config) && config.coreRateHz <= kMaxCoreRateHz;
}

bool ProbeImplicitSBR(const SoundFormat& inFormat, const PacketBytes& inPacket, ProbedSound& outSound) {
    using Outcome = SoundDecoder::Outcome;
    SoundDecoder decoder;
    const OSStatus status = decoder.Open(inFormat);
    if (status == memFullErr) throw std::bad_alloc();
    if (status != noErr) return false;
    Outcome outcome = decoder.Send(inPacket);
    if (outcome == Outcome::kNothing) outcome = decoder.Receive();
    if (outcome == Outcome::kOutOfMemory) throw std::bad_alloc();
    if (outcome != Outcome::kSound) return false;
    const AVFrame& frame = decoder.Frame();
    if (frame.sample_rate <= 0 || frame.nb_samples <= 0) return false;
    outSound.sampleRateHz = static_cast<std::uint32_t>(frame.sample_rate);
    outSound.channelCount = static_cast<std::uint16_t>(frame.ch_layout.nb_channels);
    outSound.frameCount = static_cast<std::uint32_t>(frame.nb_samples);
    return true;
}

OSStatus SettleImplicitSBR(PacketReader& inReader, std::uint32_t inFirstPacket, std::uint32_t inPacketCount,
                           SoundFormat& ioFormat) {
    AACConfig config;
    if (!ParsesAsUnsignalled(ioFormat, config)) return noErr;
    if (config.coreRateHz <= kMaxCoreRateHz) {
        const std::uint32_t tries = std::min(inPacketCount, kPacketsTried);
        for (std::uint32_t i = 0; i < tries; ++i) {
            PacketBytes bytes;
            const OSStatus status = inReader.Read(inFirstPacket + i, bytes);
            if (status == ioErr || status == memFullErr) return status;
            ProbedSound sound;
            if (status != noErr || !ProbeImplicitSBR(ioFormat, bytes, sound)) continue;
            if (sound.sampleRateHz == config.coreRateHz) break;
            TakeOver(sound, ioFormat);
            return noErr;
        }
    }
    ioFormat.decoderConfig = WithoutBandReplication(ioFormat.decoderConfig);
    return noErr;
}

}  // namespace toolbox::movies

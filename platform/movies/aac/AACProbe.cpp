#include "aac/AACProbe.h"

#include "decoder/LogOffset.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kHighestCoreRateHz = 24000;
constexpr std::uint32_t kPacketsTried = 4;

struct CloseDecoder {
    void operator()(AVCodecContext* inContext) const { avcodec_free_context(&inContext); }
};
struct FreeFrame {
    void operator()(AVFrame* inFrame) const { av_frame_free(&inFrame); }
};
struct FreePacket {
    void operator()(AVPacket* inPacket) const { av_packet_free(&inPacket); }
};
using Decoder = std::unique_ptr<AVCodecContext, CloseDecoder>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;

Decoder OpenDecoder(const SoundFormat& inFormat) {
    const AVCodec* codec = avcodec_find_decoder(static_cast<AVCodecID>(inFormat.codecID));
    Decoder decoder(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder) return nullptr;
    const std::size_t configBytes = inFormat.decoderConfig.size();
    decoder->extradata = static_cast<std::uint8_t*>(av_mallocz(configBytes + AV_INPUT_BUFFER_PADDING_SIZE));
    if (decoder->extradata == nullptr) return nullptr;
    if (configBytes != 0) std::memcpy(decoder->extradata, inFormat.decoderConfig.data(), configBytes);
    decoder->extradata_size = static_cast<int>(configBytes);
    decoder->log_level_offset = kSilentLogOffset;
    decoder->thread_count = 1;
    decoder->flags2 |=
        AV_CODEC_FLAG2_SKIP_MANUAL;  // else one encoder's signature drops the first packet's sound
    return avcodec_open2(decoder.get(), codec, nullptr) == 0 ? std::move(decoder) : nullptr;
}

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
    return ParsesAsUnsignalled(inFormat, config) && config.coreRateHz <= kHighestCoreRateHz;
}

bool ProbeImplicitSBR(const SoundFormat& inFormat, const PacketBytes& inPacket, ProbedSound& outSound) {
    const Decoder decoder = OpenDecoder(inFormat);
    const Packet packet(av_packet_alloc());
    const Frame frame(av_frame_alloc());
    if (!decoder || !packet || !frame ||
        av_new_packet(packet.get(), static_cast<int>(inPacket.sizeBytes)) != 0)
        return false;
    if (inPacket.sizeBytes != 0) std::memcpy(packet->data, inPacket.data, inPacket.sizeBytes);
    if (avcodec_send_packet(decoder.get(), packet.get()) != 0) return false;
    if (avcodec_receive_frame(decoder.get(), frame.get()) != 0) return false;
    if (frame->sample_rate <= 0 || frame->nb_samples <= 0) return false;
    outSound.sampleRateHz = static_cast<std::uint32_t>(frame->sample_rate);
    outSound.channelCount = static_cast<std::uint16_t>(frame->ch_layout.nb_channels);
    outSound.frameCount = static_cast<std::uint32_t>(frame->nb_samples);
    return true;
}

OSStatus SettleImplicitSBR(PacketReader& inReader, std::uint32_t inFirstPacket, std::uint32_t inPacketCount,
                           SoundFormat& ioFormat) {
    AACConfig config;
    if (!ParsesAsUnsignalled(ioFormat, config)) return noErr;
    if (config.coreRateHz <= kHighestCoreRateHz) {
        const std::uint32_t tries = std::min(inPacketCount, kPacketsTried);
        for (std::uint32_t i = 0; i < tries; ++i) {
            PacketBytes bytes;
            const OSStatus status = inReader.Read(inFirstPacket + i, bytes);
            if (status == ioErr) return status;
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

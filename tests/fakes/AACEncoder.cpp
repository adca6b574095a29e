#include "AACEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace mirtal::fakes {
namespace {

struct CloseContext {
    void operator()(AVCodecContext* inContext) const { avcodec_free_context(&inContext); }
};
struct FreeFrame {
    void operator()(AVFrame* inFrame) const { av_frame_free(&inFrame); }
};
struct FreePacket {
    void operator()(AVPacket* inPacket) const { av_packet_free(&inPacket); }
};
using Context = std::unique_ptr<AVCodecContext, CloseContext>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;

void Require(bool inHolds, const char* inStep) {
    if (!inHolds) throw std::runtime_error(std::string("AAC encoder: ") + inStep);
}

Context OpenEncoder(const SoundToEncode& inSound) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    Require(codec != nullptr, "not built into libavcodec");
    Context context(avcodec_alloc_context3(codec));
    Require(context != nullptr, "no memory");
    context->sample_rate = static_cast<int>(inSound.sampleRateHz);
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->bit_rate = inSound.bitsPerSecond != 0 ? inSound.bitsPerSecond : 64000 * inSound.channelCount;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    av_channel_layout_default(&context->ch_layout, inSound.channelCount);
    av_opt_set_int(context->priv_data, "aac_pns", inSound.allowsPerceptualNoise ? 1 : 0, 0);
    Require(avcodec_open2(context.get(), codec, nullptr) == 0, "rate or channel count refused");
    return context;
}

void TakePackets(AVCodecContext* inContext, EncodedSound& ioEncoded) {
    const Packet packet(av_packet_alloc());
    Require(packet != nullptr, "no memory");
    while (avcodec_receive_packet(inContext, packet.get()) == 0) {
        ioEncoded.packets.emplace_back(packet->data, packet->data + packet->size);
        av_packet_unref(packet.get());
    }
}

void SendFrames(AVCodecContext* inContext, const std::vector<std::vector<float>>& inPlanes,
                std::size_t inFirstFrame, std::size_t inFrameCount) {
    const Frame frame(av_frame_alloc());
    Require(frame != nullptr, "no memory");
    frame->nb_samples = static_cast<int>(inFrameCount);
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->sample_rate = inContext->sample_rate;
    frame->pts = static_cast<std::int64_t>(inFirstFrame);
    Require(av_channel_layout_copy(&frame->ch_layout, &inContext->ch_layout) == 0, "no memory");
    Require(av_frame_get_buffer(frame.get(), 0) == 0, "no memory");
    for (std::size_t channel = 0; channel < inPlanes.size(); ++channel)
        std::memcpy(frame->extended_data[channel], inPlanes[channel].data() + inFirstFrame,
                    inFrameCount * sizeof(float));
    Require(avcodec_send_frame(inContext, frame.get()) == 0, "frames refused");
}

}  // namespace

std::vector<std::vector<float>> MakeSound(const SoundToEncode& inSound) {
    std::vector<std::vector<float>> planes(inSound.channelCount,
                                           std::vector<float>(inSound.frameCount, 0.0F));
    if (inSound.kind == Sound::kSilence) return planes;
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> noise(-1, 1);
    double frequencyHz = inSound.frequencyHz;
    for (auto& plane : planes) {
        const double step = 2 * std::numbers::pi * frequencyHz / inSound.sampleRateHz;
        for (std::size_t i = 0; i < plane.size(); ++i) {
            const double value =
                inSound.kind == Sound::kTone ? std::sin(step * static_cast<double>(i)) : noise(random);
            plane[i] = static_cast<float>(value * inSound.amplitude);
        }
        frequencyHz *= 1.5;
    }
    return planes;
}

EncodedSound EncodeAAC(const SoundToEncode& inSound) {
    const Context context = OpenEncoder(inSound);
    EncodedSound encoded;
    encoded.sampleRateHz = inSound.sampleRateHz;
    encoded.channelCount = inSound.channelCount;
    encoded.delayFrameCount = static_cast<std::uint32_t>(context->initial_padding);
    encoded.config.assign(context->extradata, context->extradata + context->extradata_size);
    const auto planes = MakeSound(inSound);
    const auto frameSize = static_cast<std::size_t>(context->frame_size);
    for (std::size_t first = 0; first < inSound.frameCount; first += frameSize) {
        SendFrames(context.get(), planes, first,
                   std::min<std::size_t>(frameSize, inSound.frameCount - first));
        TakePackets(context.get(), encoded);
    }
    Require(avcodec_send_frame(context.get(), nullptr) == 0, "end refused");
    TakePackets(context.get(), encoded);
    return encoded;
}

}  // namespace mirtal::fakes

#include "AnyEncoder.h"

#include <algorithm>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

namespace mirtal::fakes {

namespace {

void Must(int inResult) {
    if (inResult < 0) throw std::runtime_error("the encoder refuses");
}

// The first of those that the encoder takes; releases differ in how it is asked.
AVSampleFormat FirstSampleFormat(const AVCodec* inCodec) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    const void* formats = nullptr;
    Must(avcodec_get_supported_config(nullptr, inCodec, AV_CODEC_CONFIG_SAMPLE_FORMAT, 0, &formats, nullptr));
    return *static_cast<const AVSampleFormat*>(formats);
#else
    return inCodec->sample_fmts[0];
#endif
}

AVCodecContext* OpenEncoder(int inCodecID, const SoundToEncode& inSound) {
    const AVCodec* codec = avcodec_find_encoder(static_cast<AVCodecID>(inCodecID));
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->sample_fmt = FirstSampleFormat(codec);
    context->sample_rate = static_cast<int>(inSound.sampleRateHz);
    av_channel_layout_default(&context->ch_layout, inSound.channelCount);
    context->bit_rate = 64000 * inSound.channelCount;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    Must(avcodec_open2(context, codec, nullptr));
    return context;
}

void Receive(AVCodecContext* inContext, Packets& ioPackets) {
    AVPacket* packet = av_packet_alloc();
    while (avcodec_receive_packet(inContext, packet) >= 0) {
        if (packet->size > 0) ioPackets.emplace_back(packet->data, packet->data + packet->size);
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
}

}  // namespace

bool CanEncode(int inCodecID) {
    return avcodec_find_encoder(static_cast<AVCodecID>(inCodecID)) != nullptr;
}

CodedSound EncodeWith(int inCodecID, const SoundToEncode& inSound) {
    AVCodecContext* context = OpenEncoder(inCodecID, inSound);
    const std::vector<std::vector<float>> planes = MakeSound(inSound);
    SwrContext* swr = nullptr;
    Must(swr_alloc_set_opts2(&swr, &context->ch_layout, context->sample_fmt, context->sample_rate,
                             &context->ch_layout, AV_SAMPLE_FMT_FLTP, context->sample_rate, 0, nullptr));
    Must(swr_init(swr));
    CodedSound sound;
    sound.framesPerPacket = context->frame_size > 0 ? static_cast<std::uint32_t>(context->frame_size) : 1000U;
    AVFrame* frame = av_frame_alloc();
    for (std::uint32_t first = 0; first < inSound.frameCount; first += sound.framesPerPacket) {
        const std::uint32_t count = std::min(sound.framesPerPacket, inSound.frameCount - first);
        frame->nb_samples = static_cast<int>(count);
        frame->format = context->sample_fmt;
        frame->sample_rate = context->sample_rate;
        Must(av_channel_layout_copy(&frame->ch_layout, &context->ch_layout));
        Must(av_frame_get_buffer(frame, 0));
        std::vector<const std::uint8_t*> in;
        for (const std::vector<float>& plane : planes)
            in.push_back(reinterpret_cast<const std::uint8_t*>(plane.data() + first));
        Must(swr_convert(swr, frame->extended_data, frame->nb_samples, in.data(), frame->nb_samples));
        frame->pts = first;
        Must(avcodec_send_frame(context, frame));
        av_frame_unref(frame);
        Receive(context, sound.packets);
    }
    avcodec_send_frame(context, nullptr);
    Receive(context, sound.packets);

    sound.format.dataFormat = FourChars("test");
    sound.format.name = context->codec->name;
    sound.format.codecID = inCodecID;
    sound.format.decoderConfig.assign(context->extradata, context->extradata + context->extradata_size);
    sound.format.sampleRateHz = inSound.sampleRateHz;
    sound.format.channelCount = inSound.channelCount;
    sound.format.bitsPerSample = static_cast<std::uint16_t>(av_get_bytes_per_sample(context->sample_fmt) * 8);
    sound.format.blockAlign = static_cast<std::uint16_t>(context->block_align);
    av_frame_free(&frame);
    swr_free(&swr);
    avcodec_free_context(&context);
    return sound;
}

}  // namespace mirtal::fakes

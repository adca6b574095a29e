#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

#include <climits>
#include <cstring>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace toolbox::movies {

namespace {

SoundDecoder::Outcome OutcomeOf(int inError) {
    if (inError >= 0 || inError == AVERROR(EAGAIN) || inError == AVERROR_EOF)
        return SoundDecoder::Outcome::kNothing;
    return inError == AVERROR(ENOMEM) ? SoundDecoder::Outcome::kOutOfMemory : SoundDecoder::Outcome::kDamaged;
}

// noErr, or memFullErr.
OSStatus CopyConfig(const SoundFormat& inFormat, AVCodecContext& outContext) {
    const std::size_t sizeBytes = inFormat.decoderConfig.size();
    if (sizeBytes == 0) return noErr;
    if (sizeBytes > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) return memFullErr;
    outContext.extradata = static_cast<std::uint8_t*>(av_mallocz(sizeBytes + AV_INPUT_BUFFER_PADDING_SIZE));
    if (outContext.extradata == nullptr) return memFullErr;
    std::memcpy(outContext.extradata, inFormat.decoderConfig.data(), sizeBytes);
    outContext.extradata_size = static_cast<int>(sizeBytes);
    return noErr;
}

}  // namespace

void SoundDecoder::Deleter::operator()(AVBufferRef* inBuffer) const {
    av_buffer_unref(&inBuffer);
}
void SoundDecoder::Deleter::operator()(AVCodecContext* inContext) const {
    avcodec_free_context(&inContext);
}
void SoundDecoder::Deleter::operator()(AVFrame* inFrame) const {
    av_frame_free(&inFrame);
}
void SoundDecoder::Deleter::operator()(AVPacket* inPacket) const {
    av_packet_free(&inPacket);
}

SoundDecoder::SoundDecoder() : mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {
    if (mFrame == nullptr || mPacket == nullptr) throw std::bad_alloc();
}

SoundDecoder::~SoundDecoder() = default;

OSStatus SoundDecoder::Open(const SoundFormat& inFormat, Trimming inTrimming) {
    mContext.reset();
    mPlanes.reset();
    if (inFormat.decodable != noErr) return inFormat.decodable;
    const AVCodec* codec = avcodec_find_decoder(static_cast<AVCodecID>(inFormat.codecID));
    if (codec == nullptr || codec->type != AVMEDIA_TYPE_AUDIO) return noCodecErr;

    std::unique_ptr<AVCodecContext, Deleter> context(avcodec_alloc_context3(codec));
    if (context == nullptr) return memFullErr;
    context->log_level_offset = kSilentLogOffset;
    context->thread_count = 1;
    if (inTrimming == Trimming::kKeepsAll) context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    context->sample_rate = inFormat.sampleRateHz <= INT_MAX ? static_cast<int>(inFormat.sampleRateHz) : 0;
    if (inFormat.channelMask != 0)
        av_channel_layout_from_mask(&context->ch_layout, inFormat.channelMask);
    else if (inFormat.channelCount > 0)
        av_channel_layout_default(&context->ch_layout, inFormat.channelCount);
    context->bits_per_coded_sample = inFormat.bitsPerSample;
    context->block_align = inFormat.blockAlign;
    const OSStatus status = CopyConfig(inFormat, *context);
    if (status != noErr) return status;

    if ((codec->capabilities & AV_CODEC_CAP_DR1) != 0) {
        context->opaque = this;
        context->get_buffer2 = ProvidePlanes;
    }
    const int error = avcodec_open2(context.get(), codec, nullptr);
    if (error < 0) return error == AVERROR(ENOMEM) ? memFullErr : noCodecErr;
    mContext = std::move(context);
    return noErr;
}

int SoundDecoder::ProvidePlanes(AVCodecContext* inContext, AVFrame* ioFrame, int inFlags) {
    const int channelCount = ioFrame->ch_layout.nb_channels;
    const auto format = static_cast<AVSampleFormat>(ioFrame->format);
    int planeBytes = 0;
    const int sizeBytes =
        av_samples_get_buffer_size(&planeBytes, channelCount, ioFrame->nb_samples, format, 0);
    if (sizeBytes < 0 || av_sample_fmt_is_planar(format) == 0 || channelCount > AV_NUM_DATA_POINTERS)
        return avcodec_default_get_buffer2(inContext, ioFrame, inFlags);

    auto& planes = static_cast<SoundDecoder*>(inContext->opaque)->mPlanes;
    const auto neededBytes = static_cast<std::size_t>(sizeBytes);
    const bool isFree = planes != nullptr && av_buffer_is_writable(planes.get()) != 0;
    // A decoder may leave a channel unwritten: silence, not what lay in memory.
    if (!isFree || planes->size < neededBytes) planes.reset(av_buffer_allocz(neededBytes));
    if (planes == nullptr) return AVERROR(ENOMEM);
    ioFrame->buf[0] = av_buffer_ref(planes.get());
    if (ioFrame->buf[0] == nullptr) return AVERROR(ENOMEM);
    ioFrame->extended_data = ioFrame->data;
    ioFrame->linesize[0] = planeBytes;
    for (int channel = 0; channel < channelCount; ++channel)
        ioFrame->data[channel] = planes->data + static_cast<std::ptrdiff_t>(channel) * planeBytes;
    return 0;
}

bool SoundDecoder::HasDelay() const {
    return mContext != nullptr && (mContext->codec->capabilities & AV_CODEC_CAP_DELAY) != 0;
}

SoundDecoder::Outcome SoundDecoder::Send(const PacketBytes& inPacket) {
    // To the decoder a packet of no bytes means the end.
    if (inPacket.sizeBytes == 0 || inPacket.sizeBytes > INT_MAX) return Outcome::kDamaged;
    mPacket->data = const_cast<std::uint8_t*>(inPacket.data);  // the decoder only reads
    mPacket->size = static_cast<int>(inPacket.sizeBytes);
    mPacket->buf = inPacket.owner;
    const int error = avcodec_send_packet(mContext.get(), mPacket.get());
    // The decoder has taken its own reference; this one was borrowed.
    mPacket->buf = nullptr;
    mPacket->data = nullptr;
    mPacket->size = 0;
    return error == AVERROR(EAGAIN) ? Outcome::kDamaged : OutcomeOf(error);
}

SoundDecoder::Outcome SoundDecoder::SendEnd() {
    return OutcomeOf(avcodec_send_packet(mContext.get(), nullptr));
}

SoundDecoder::Outcome SoundDecoder::Receive() {
    const int error = avcodec_receive_frame(mContext.get(), mFrame.get());
    return error >= 0 ? Outcome::kSound : OutcomeOf(error);
}

OSStatus CheckDecodable(const SoundFormat& inFormat) {
    return SoundDecoder().Open(inFormat);
}

}  // namespace toolbox::movies

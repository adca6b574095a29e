#include "MemorySound.h"

#include <toolbox/MacErrors.h>

#include <cstring>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

namespace mirtal::fakes {

using toolbox::movies::DecoderMemory;
using toolbox::movies::DurationRun;
using toolbox::movies::Edit;
using toolbox::movies::PacketBytes;
using toolbox::movies::PacketReader;
using toolbox::movies::PacketSpan;
using toolbox::movies::SoundFormat;
using toolbox::movies::SoundTrack;

namespace {

class MemoryReader final : public PacketReader {
  public:
    explicit MemoryReader(const MemoryPackets& inStore) : mStore(inStore) { ++mStore.liveReaderCount; }
    ~MemoryReader() override { --mStore.liveReaderCount; }

    OSStatus Read(std::uint32_t inPacket, PacketBytes& outBytes) override {
        ++mStore.readCount;
        if (inPacket >= mStore.packets.size() || mStore.missing.count(inPacket) != 0) return eofErr;
        if (mStore.broken.count(inPacket) != 0) return ioErr;
        const std::vector<std::uint8_t>& packet = mStore.packets[inPacket];
        mPadded.assign(packet.begin(), packet.end());
        mPadded.resize(packet.size() + AV_INPUT_BUFFER_PADDING_SIZE);
        outBytes.data = mPadded.data();
        outBytes.sizeBytes = packet.size();
        outBytes.owner = nullptr;
        return noErr;
    }

  private:
    const MemoryPackets& mStore;
    std::vector<std::uint8_t> mPadded;
};

AVCodecContext* OpenDecoder(const SoundFormat& inFormat, Trimming inTrimming) {
    const AVCodec* codec = avcodec_find_decoder(static_cast<AVCodecID>(inFormat.codecID));
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (inTrimming == Trimming::kNone) context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    context->log_level_offset = 128;
    context->sample_rate = static_cast<int>(inFormat.sampleRateHz);
    av_channel_layout_default(&context->ch_layout, inFormat.channelCount);
    context->bits_per_coded_sample = inFormat.bitsPerSample;
    context->block_align = inFormat.blockAlign;
    const std::size_t size = inFormat.decoderConfig.size();
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (size > 0) std::memcpy(context->extradata, inFormat.decoderConfig.data(), size);
    context->extradata_size = static_cast<int>(size);
    if (avcodec_open2(context, codec, nullptr) < 0) throw std::runtime_error("no decoder");
    return context;
}

void AppendConverted(const AVFrame& inFrame, std::vector<std::int16_t>& ioSamples) {
    AVChannelLayout from = {};
    av_channel_layout_default(&from, inFrame.ch_layout.nb_channels);
    AVChannelLayout to = {};
    av_channel_layout_default(&to, inFrame.ch_layout.nb_channels > 2 ? 2 : inFrame.ch_layout.nb_channels);
    SwrContext* swr = nullptr;
    swr_alloc_set_opts2(&swr, &to, AV_SAMPLE_FMT_S16, inFrame.sample_rate, &from,
                        static_cast<AVSampleFormat>(inFrame.format), inFrame.sample_rate, 128, nullptr);
    if (swr_init(swr) < 0) throw std::runtime_error("no conversion");
    std::vector<std::int16_t> samples(static_cast<std::size_t>(inFrame.nb_samples * to.nb_channels));
    auto* out = reinterpret_cast<std::uint8_t*>(samples.data());
    swr_convert(swr, &out, inFrame.nb_samples, const_cast<const std::uint8_t**>(inFrame.extended_data),
                inFrame.nb_samples);
    swr_free(&swr);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        ioSamples.push_back(samples[i]);
        if (to.nb_channels == 1) ioSamples.push_back(samples[i]);
    }
}

}  // namespace

std::unique_ptr<PacketReader> MemoryPackets::NewReader() const {
    return std::make_unique<MemoryReader>(*this);
}

MemorySound NewSound(SoundFormat inFormat, Packets inPackets, std::uint32_t inFramesPerPacket) {
    MemorySound sound;
    sound.store = std::make_shared<MemoryPackets>(std::move(inPackets));
    sound.track = std::make_unique<SoundTrack>();
    sound.track->formats.push_back(std::move(inFormat));
    sound.track->packets = sound.store;
    PacketSpan span;
    span.packetCount = sound.store->PacketCount();
    span.frameCount = static_cast<std::int64_t>(span.packetCount) * inFramesPerPacket;
    span.durations.push_back(DurationRun{0, inFramesPerPacket, 0});
    sound.track->spans.push_back(span);
    SetEdits(*sound.track, {Edit{span.frameCount, 0}});
    return sound;
}

MemorySound NewSound(const EncodedSound& inEncoded) {
    SoundFormat format;
    format.dataFormat = FourChars("mp4a");
    format.name = "AAC LC";
    format.codecID = AV_CODEC_ID_AAC;
    format.decoderConfig = inEncoded.config;
    format.sampleRateHz = inEncoded.sampleRateHz;
    format.channelCount = inEncoded.channelCount;
    format.nominalPacketFrames = 1024;
    format.memory = DecoderMemory::kOnePacket;
    return NewSound(format, inEncoded.packets, 1024);
}

MemorySound NewSound(const SoundToEncode& inSound) {
    return NewSound(EncodeAAC(inSound));
}

void SetEdits(SoundTrack& ioTrack, std::vector<Edit> inEdits) {
    ioTrack.edits = std::move(inEdits);
}

std::vector<std::int16_t> DecodeBarely(const SoundFormat& inFormat, const Packets& inPackets,
                                       Trimming inTrimming) {
    std::vector<std::int16_t> samples;
    AVCodecContext* context = OpenDecoder(inFormat, inTrimming);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    const auto receive = [&] {
        while (avcodec_receive_frame(context, frame) >= 0)
            AppendConverted(*frame, samples);
    };
    for (const std::vector<std::uint8_t>& bytes : inPackets) {
        if (av_new_packet(packet, static_cast<int>(bytes.size())) < 0) throw std::bad_alloc();
        std::memcpy(packet->data, bytes.data(), bytes.size());
        avcodec_send_packet(context, packet);
        av_packet_unref(packet);
        receive();
    }
    avcodec_send_packet(context, nullptr);
    receive();
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return samples;
}

std::vector<std::int16_t> FromBigEndian(const std::uint8_t* inBytes, std::size_t inSampleCount) {
    std::vector<std::int16_t> samples(inSampleCount);
    for (std::size_t i = 0; i < inSampleCount; ++i)
        samples[i] = static_cast<std::int16_t>(inBytes[2 * i] << 8 | inBytes[2 * i + 1]);
    return samples;
}

}  // namespace mirtal::fakes

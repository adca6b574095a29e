#include "SoundStart.h"

#include "OwnedPacket.h"
#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <limits>

namespace toolbox::movies::general {

namespace {

constexpr int kPacketsTried = 256;

// Four characters as they are used for the codec in movies.
OSType DataFormat(const AVCodecParameters& inParameters) {
    switch (inParameters.codec_id) {
        case AV_CODEC_ID_AAC:
        case AV_CODEC_ID_AAC_LATM:
            return FourChars("mp4a");
        case AV_CODEC_ID_MP1:
        case AV_CODEC_ID_MP2:
            return FourChars(".mp2");
        case AV_CODEC_ID_MP3:
            return FourChars(".mp3");
        case AV_CODEC_ID_ALAC:
            return FourChars("alac");
        case AV_CODEC_ID_FLAC:
            return FourChars("fLaC");
        case AV_CODEC_ID_OPUS:
            return FourChars("Opus");
        case AV_CODEC_ID_VORBIS:
            return FourChars("vrbs");
        case AV_CODEC_ID_AC3:
            return FourChars("ac-3");
        case AV_CODEC_ID_EAC3:
            return FourChars("ec-3");
        case AV_CODEC_ID_AMR_NB:
            return FourChars("samr");
        case AV_CODEC_ID_AMR_WB:
            return FourChars("sawb");
        case AV_CODEC_ID_PCM_U8:
            return FourChars("raw ");
        case AV_CODEC_ID_PCM_S16LE:
            return FourChars("sowt");
        case AV_CODEC_ID_PCM_S8:
        case AV_CODEC_ID_PCM_S16BE:
            return FourChars("twos");
        case AV_CODEC_ID_PCM_S24LE:
        case AV_CODEC_ID_PCM_S24BE:
            return FourChars("in24");
        case AV_CODEC_ID_PCM_S32LE:
        case AV_CODEC_ID_PCM_S32BE:
            return FourChars("in32");
        case AV_CODEC_ID_PCM_F32LE:
        case AV_CODEC_ID_PCM_F32BE:
            return FourChars("fl32");
        case AV_CODEC_ID_PCM_F64LE:
        case AV_CODEC_ID_PCM_F64BE:
            return FourChars("fl64");
        case AV_CODEC_ID_PCM_MULAW:
            return FourChars("ulaw");
        case AV_CODEC_ID_PCM_ALAW:
            return FourChars("alaw");
        default:
            return FourChars("snd ");
    }
}

bool IsPCM(AVCodecID inCodec) {
    return inCodec >= AV_CODEC_ID_FIRST_AUDIO && inCodec < AV_CODEC_ID_ADPCM_IMA_QT &&
           av_get_exact_bits_per_sample(inCodec) > 0;
}

template <typename Number>
Number Pinned(int inValue) {
    return static_cast<Number>(std::clamp<std::int64_t>(inValue, 0, std::numeric_limits<Number>::max()));
}

}  // namespace

SoundFormat DescribedFormat(const AVCodecParameters& inParameters) {
    SoundFormat format;
    format.dataFormat = DataFormat(inParameters);
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(inParameters.codec_id);
    format.name = descriptor == nullptr              ? "unknown"
                  : descriptor->long_name != nullptr ? descriptor->long_name
                                                     : descriptor->name;
    format.codecID = inParameters.codec_id;
    if (inParameters.extradata_size > 0) {
        format.decoderConfig.assign(inParameters.extradata,
                                    inParameters.extradata + inParameters.extradata_size);
    }
    format.sampleRateHz = Pinned<std::uint32_t>(inParameters.sample_rate);
    format.channelCount = Pinned<std::uint16_t>(inParameters.ch_layout.nb_channels);
    if (inParameters.ch_layout.order == AV_CHANNEL_ORDER_NATIVE)
        format.channelMask = inParameters.ch_layout.u.mask;
    const int bits = inParameters.bits_per_coded_sample > 0 ? inParameters.bits_per_coded_sample
                                                            : inParameters.bits_per_raw_sample;
    format.bitsPerSample = bits > 0 ? Pinned<std::uint16_t>(bits) : std::uint16_t{16};
    format.blockAlign = Pinned<std::uint16_t>(inParameters.block_align);
    const bool standsAlone = IsPCM(inParameters.codec_id) || inParameters.codec_id == AV_CODEC_ID_FLAC ||
                             inParameters.codec_id == AV_CODEC_ID_ALAC;
    format.memory = standsAlone ? DecoderMemory::kNone : DecoderMemory::kUnbounded;
    return format;
}

namespace {

// Takes over what a packet decoded to, if it gave sound.
bool TakeSound(SoundDecoder& ioDecoder, const AVPacket& inPacket, SoundStart& ioStart) {
    if (ioDecoder.Send({inPacket.data, static_cast<std::size_t>(inPacket.size), inPacket.buf}) !=
        SoundDecoder::Outcome::kNothing)
        return false;
    std::uint32_t frames = 0;
    while (ioDecoder.Receive() == SoundDecoder::Outcome::kSound) {
        const AVFrame& frame = ioDecoder.Frame();
        if (frame.sample_rate <= 0 || frame.ch_layout.nb_channels <= 0) continue;
        if (frames == 0) {
            ioStart.format.sampleRateHz = static_cast<std::uint32_t>(frame.sample_rate);
            ioStart.format.channelCount = Pinned<std::uint16_t>(frame.ch_layout.nb_channels);
        }
        frames += static_cast<std::uint32_t>(std::max(frame.nb_samples, 0));
    }
    ioStart.decodedFrames = frames;
    return frames > 0;
}

}  // namespace

OSStatus LearnSoundStart(Demuxer& ioDemuxer, SoundStart& outStart, std::string& outProblem) {
    OwnedPacket packet;
    SoundDecoder decoder;
    bool isOpen = false;
    for (int tried = 0; tried < kPacketsTried;) {
        packet.Clear();
        const OSStatus status = ioDemuxer.Next(*packet, outProblem);
        if (status == eofErr) break;
        if (status != noErr) return status;
        if (ioDemuxer.Sound() == nullptr || packet->stream_index != ioDemuxer.Sound()->index) continue;
        ++tried;
        if (!isOpen) {
            outStart.format = DescribedFormat(*ioDemuxer.Sound()->codecpar);
            const OSStatus opened = decoder.Open(outStart.format);
            if (opened == memFullErr) return memFullErr;
            if (opened != noErr) {
                outStart.format.decodable = noCodecErr;
                constexpr std::uint32_t kSomeRateHz = 44100;
                outStart.format.sampleRateHz =
                    outStart.format.sampleRateHz == 0 ? kSomeRateHz : outStart.format.sampleRateHz;
                return noErr;
            }
            isOpen = true;
        }
        if (TakeSound(decoder, *packet, outStart)) return noErr;
    }
    if (ioDemuxer.Sound() == nullptr) return noSoundTrackInMovieErr;
    outProblem = "none of the sound can be decoded";
    return invalidMovie;
}

}  // namespace toolbox::movies::general

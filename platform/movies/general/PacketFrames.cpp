#include "PacketFrames.h"

#include "os/BigEndian.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/vorbis_parser.h>
}

#include <array>
#include <bit>

namespace toolbox::movies::general {

namespace {

// Samples of a fixed size: so many bytes are a frame.
class LinearFrames final : public PacketFrames {
  public:
    explicit LinearFrames(std::size_t inBytesPerFrame) : mBytesPerFrame(inBytesPerFrame) {}
    std::int64_t Next(const std::uint8_t*, std::size_t inByteCount) override {
        return static_cast<std::int64_t>(inByteCount / mBytesPerFrame);
    }

  private:
    std::size_t mBytesPerFrame;
};

// Every packet is of one length.
class ConstantFrames final : public PacketFrames {
  public:
    explicit ConstantFrames(std::int64_t inFrames) : mFrames(inFrames) {}
    std::int64_t Next(const std::uint8_t*, std::size_t) override { return mFrames; }

  private:
    std::int64_t mFrames;
};

// AAC: all packets are of one length, but for those with a header that announces several blocks.
class AACFrames final : public PacketFrames {
  public:
    explicit AACFrames(std::int64_t inFrames) : mFrames(inFrames) {}
    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        const bool hasHeader = inByteCount >= 7 && inBytes[0] == 0xFF && (inBytes[1] & 0xF6) == 0xF0;
        return hasHeader ? mFrames * ((inBytes[6] & 3) + 1) : mFrames;
    }

  private:
    std::int64_t mFrames;
};

// MPEG-1 and MPEG-2 audio, layers I to III: the header's version and layer tell.
class LayerFrames final : public PacketFrames {
  public:
    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        if (inByteCount < 4 || inBytes[0] != 0xFF || (inBytes[1] & 0xE0) != 0xE0) return -1;
        const bool isVersion1 = (inBytes[1] & 0x18) == 0x18;
        switch (inBytes[1] & 0x06) {
            case 0x06:
                return 384;
            case 0x04:
                return 1152;
            case 0x02:
                return isVersion1 ? 1152 : 576;
            default:
                return -1;
        }
    }
};

// The block size stands in the header of each FLAC frame, as a code or behind the frame's number.
class FLACFrames final : public PacketFrames {
  public:
    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        if (inByteCount < 6 || inBytes[0] != 0xFF || (inBytes[1] & 0xFC) != 0xF8) return -1;
        const unsigned code = inBytes[2] >> 4;
        if (code == 1) return 192;
        if (code >= 2 && code <= 5) return 576 << (code - 2);
        if (code >= 8) return 256 << (code - 8);
        // The number is written as UTF-8 writes a character, in up to seven bytes.
        const int leadingOnes = std::countl_one(inBytes[4]);
        const std::size_t numberBytes = leadingOnes < 2 ? 1 : static_cast<std::size_t>(leadingOnes);
        const std::size_t at = 4 + numberBytes;
        if (code == 6 && at < inByteCount) return inBytes[at] + 1;
        if (code == 7 && at + 1 < inByteCount) return os::Load16(inBytes + at) + 1;
        return -1;
    }
};

// Opus: a packet holds one, two or a counted number of frames of the length that its first byte names. Always
// in frames of 48000 Hz.
class OpusFrames final : public PacketFrames {
  public:
    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        if (inByteCount == 0) return -1;
        const unsigned config = inBytes[0] >> 3;
        static constexpr std::array<int, 4> kLow = {480, 960, 1920, 2880};
        static constexpr std::array<int, 2> kHybrid = {480, 960};
        static constexpr std::array<int, 4> kHigh = {120, 240, 480, 960};
        const int frames = config < 12   ? kLow[config & 3]
                           : config < 16 ? kHybrid[config & 1]
                                         : kHigh[config & 3];
        switch (inBytes[0] & 3) {
            case 0:
                return frames;
            case 3:
                return inByteCount < 2 ? -1 : frames * (inBytes[1] & 63);
            default:
                return 2 * frames;
        }
    }
};

// Vorbis: blocks of two sizes overlap, each packet completing half of its own and half of its predecessor's.
// The first completes nothing.
class VorbisFrames final : public PacketFrames {
  public:
    explicit VorbisFrames(AVVorbisParseContext* inParser) : mParser(inParser) {}
    ~VorbisFrames() override { av_vorbis_parse_free(&mParser); }
    VorbisFrames(const VorbisFrames&) = delete;
    VorbisFrames& operator=(const VorbisFrames&) = delete;

    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        const int frames = av_vorbis_parse_frame(mParser, inBytes, static_cast<int>(inByteCount));
        if (frames < 0) return -1;
        const bool isFirst = mIsFirst;
        mIsFirst = false;
        return isFirst ? 0 : frames;
    }

  private:
    AVVorbisParseContext* mParser;
    bool mIsFirst = true;
};

// Apple Lossless: a packet that is shorter than the others says so in its first element.
class ALACFrames final : public PacketFrames {
  public:
    explicit ALACFrames(std::uint32_t inFullFrames) : mFullFrames(inFullFrames) {}
    std::int64_t Next(const std::uint8_t* inBytes, std::size_t inByteCount) override {
        // 3 bits of element type, 4 of instance, 12 unused, 1 "has a length", 2 of shift, 1 "uncompressed"
        if (inByteCount < 7) return -1;
        if ((inBytes[2] & 0x10) == 0) return mFullFrames;
        const std::uint64_t bits = os::LoadNumber(inBytes + 2, 5);
        const auto frames = static_cast<std::uint32_t>(bits >> 1);
        return frames <= mFullFrames ? std::int64_t{frames} : -1;
    }

  private:
    std::uint32_t mFullFrames;
};

std::unique_ptr<PacketFrames> NewVorbisFrames(const AVCodecParameters& inParameters) {
    AVVorbisParseContext* parser = av_vorbis_parse_init(inParameters.extradata, inParameters.extradata_size);
    return parser == nullptr ? nullptr : std::make_unique<VorbisFrames>(parser);
}

// Byte 4 to 7 of the configuration behind its 12-byte atom header: the frames of a full packet.
std::unique_ptr<PacketFrames> NewALACFrames(const AVCodecParameters& inParameters) {
    if (inParameters.extradata_size < 36) return nullptr;
    const std::uint32_t frames = os::Load32(inParameters.extradata + 12);
    constexpr std::uint32_t kMaxFrames = 1 << 20;
    return frames == 0 || frames > kMaxFrames ? nullptr : std::make_unique<ALACFrames>(frames);
}

}  // namespace

std::unique_ptr<PacketFrames> PacketFrames::New(const AVCodecParameters& inParameters,
                                                std::uint32_t inDecodedFrames) {
    const auto codec = static_cast<AVCodecID>(inParameters.codec_id);
    const int sampleBits = av_get_exact_bits_per_sample(codec);
    // PCM alone: the other codecs of exact size keep something across packets, or round.
    if (codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT && sampleBits > 0) {
        const int channels = inParameters.ch_layout.nb_channels;
        const std::size_t frameBytes = channels > 0 ? static_cast<std::size_t>(sampleBits) * channels / 8 : 0;
        return frameBytes == 0 ? nullptr : std::make_unique<LinearFrames>(frameBytes);
    }
    switch (codec) {
        case AV_CODEC_ID_MP1:
        case AV_CODEC_ID_MP2:
        case AV_CODEC_ID_MP3:
            return std::make_unique<LayerFrames>();
        case AV_CODEC_ID_FLAC:
            return std::make_unique<FLACFrames>();
        case AV_CODEC_ID_OPUS:
            return std::make_unique<OpusFrames>();
        case AV_CODEC_ID_VORBIS:
            return NewVorbisFrames(inParameters);
        case AV_CODEC_ID_ALAC:
            return NewALACFrames(inParameters);
        case AV_CODEC_ID_AAC:
            return inDecodedFrames == 0 ? nullptr : std::make_unique<AACFrames>(inDecodedFrames);
        case AV_CODEC_ID_AAC_LATM:
        case AV_CODEC_ID_AC3:
        case AV_CODEC_ID_AMR_NB:
        case AV_CODEC_ID_AMR_WB:
            return inDecodedFrames == 0 ? nullptr : std::make_unique<ConstantFrames>(inDecodedFrames);
        default:
            return nullptr;
    }
}

}  // namespace toolbox::movies::general

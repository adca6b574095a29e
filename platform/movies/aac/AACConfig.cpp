#include "aac/AACConfig.h"

#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <array>
#include <new>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace toolbox::movies {
namespace {

constexpr std::array<std::uint32_t, 13> kRatesHz = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                    22050, 16000, 12000, 11025, 8000,  7350};
constexpr std::uint32_t kEscapeIndex = 15;
constexpr std::uint32_t kSyncBandReplication = 0x2b7;
constexpr std::uint32_t kSyncParametricStereo = 0x548;

// Bits from the most significant on. Past the end it gives zeros and says so.
class BitReader {
  public:
    BitReader(const std::uint8_t* inBytes, std::size_t inByteCount)
        : mBytes(inBytes), mBitCount(inByteCount * 8) {}

    std::uint32_t Bits(unsigned inCount) {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < inCount; ++i)
            value = value << 1 | Bit();
        return value;
    }
    void Skip(std::size_t inCount) {
        if (mBitCount - mPosition < inCount) mIsPastEnd = true;
        mPosition += std::min(inCount, mBitCount - mPosition);
    }
    void AlignToByte() { Skip((8 - mPosition % 8) % 8); }
    void MoveTo(std::size_t inPosition) { mPosition = std::min(inPosition, mBitCount); }
    std::size_t Position() const { return mPosition; }
    std::size_t BitsLeft() const { return mBitCount - mPosition; }
    bool IsPastEnd() const { return mIsPastEnd; }

  private:
    std::uint32_t Bit() {
        if (mPosition >= mBitCount) {
            mIsPastEnd = true;
            return 0;
        }
        const std::uint32_t bit = mBytes[mPosition / 8] >> (7 - mPosition % 8) & 1U;
        ++mPosition;
        return bit;
    }

    const std::uint8_t* mBytes;
    std::size_t mBitCount;
    std::size_t mPosition = 0;
    bool mIsPastEnd = false;
};

std::uint32_t ReadObjectType(BitReader& ioBits) {
    const std::uint32_t type = ioBits.Bits(5);
    return type == 31 ? 32 + ioBits.Bits(6) : type;
}

std::uint32_t ReadRate(BitReader& ioBits) {
    const std::uint32_t index = ioBits.Bits(4);
    return index == kEscapeIndex ? ioBits.Bits(24) : AACRateOfIndex(index);
}

std::uint16_t ChannelsOfConfig(std::uint32_t inChannelConfig) {
    constexpr std::array<std::uint16_t, 16> kChannels = {0, 1, 2, 3, 4, 5, 6, 8, 0, 0, 0, 7, 8, 24, 8, 0};
    return kChannels[inChannelConfig];
}

// Elements of one position in a program config element: single channels and pairs.
std::uint32_t ReadElements(BitReader& ioBits, std::uint32_t inElementCount) {
    std::uint32_t channels = 0;
    for (std::uint32_t i = 0; i < inElementCount; ++i) {
        channels += 1 + ioBits.Bits(1);
        ioBits.Skip(4);
    }
    return channels;
}

std::uint16_t ReadProgramConfig(BitReader& ioBits) {
    ioBits.Skip(4 + 2 + 4);  // tag, profile, rate
    const std::uint32_t front = ioBits.Bits(4);
    const std::uint32_t side = ioBits.Bits(4);
    const std::uint32_t back = ioBits.Bits(4);
    const std::uint32_t lowFrequency = ioBits.Bits(2);
    const std::uint32_t data = ioBits.Bits(3);
    const std::uint32_t coupling = ioBits.Bits(4);
    if (ioBits.Bits(1) != 0) ioBits.Skip(4);      // mono mixdown
    if (ioBits.Bits(1) != 0) ioBits.Skip(4);      // stereo mixdown
    if (ioBits.Bits(1) != 0) ioBits.Skip(2 + 1);  // matrix mixdown
    const std::uint32_t channels =
        ReadElements(ioBits, front) + ReadElements(ioBits, side) + ReadElements(ioBits, back) + lowFrequency;
    ioBits.Skip(lowFrequency * 4 + data * 4 + coupling * 5);
    ioBits.AlignToByte();
    ioBits.Skip(std::size_t{8} * ioBits.Bits(8));  // a comment
    return static_cast<std::uint16_t>(channels);
}

bool IsGeneralAudio(std::uint32_t inObjectType) {
    return (inObjectType >= kAACMain && inObjectType <= 7 && inObjectType != kSBR) ||
           inObjectType == kERAACLC || (inObjectType >= kERAACLTP && inObjectType <= kERAACLD);
}

bool IsErrorResilient(std::uint32_t inObjectType) {
    return inObjectType == kERAACLC || (inObjectType >= kERAACLTP && inObjectType <= 27) ||
           inObjectType == kERAACELD;
}

bool LibavcodecDecodes(std::uint32_t inObjectType) {
    switch (inObjectType) {
        case kAACMain:
        case kAACLC:
        case kAACSSR:
        case kAACLTP:
        case kERAACLC:
        case kERAACLD:
        case kERAACELD:
            return true;
        default:
            return false;
    }
}

constexpr std::uint32_t kHeightLayout = 14;  // the channel configuration of 7.1 with two channels above

// Releases of libavcodec differ in it: the one at hand is asked, once.
bool LibavcodecKnowsHeightLayout() {
    static const bool sKnows = [] {
        SoundFormat format;
        format.codecID = AV_CODEC_ID_AAC;
        format.decoderConfig = MakeAudioSpecificConfig(kAACLC, AACRateIndex(44100), kHeightLayout);
        const OSStatus status = CheckDecodable(format);
        if (status == memFullErr) throw std::bad_alloc();
        return status == noErr;
    }();
    return sKnows;
}

void ReadGeneralAudio(BitReader& ioBits, std::uint32_t inChannelConfig, AACConfig& ioConfig) {
    const bool isShort = ioBits.Bits(1) != 0;
    if (ioConfig.objectType == kERAACLD)
        ioConfig.coreFrameCount = isShort ? 480 : 512;
    else
        ioConfig.coreFrameCount = isShort ? 960 : 1024;
    if (ioBits.Bits(1) != 0) ioBits.Skip(14);  // delay of a core coder
    const bool hasExtension = ioBits.Bits(1) != 0;
    if (inChannelConfig == 0) ioConfig.channelCount = ReadProgramConfig(ioBits);
    if (ioConfig.objectType == kAACScalable || ioConfig.objectType == kERAACScalable) ioBits.Skip(3);
    if (!hasExtension) return;
    if (ioConfig.objectType == kERBSAC) ioBits.Skip(5 + 11);
    const bool hasResilience = ioConfig.objectType == kERAACLC || ioConfig.objectType == kERAACLTP ||
                               ioConfig.objectType == kERAACScalable || ioConfig.objectType == kERAACLD;
    if (hasResilience && ioBits.Bits(3) != 0) ioConfig.decodable = noCodecErr;
    ioBits.Skip(1);
}

void ReadLowDelay(BitReader& ioBits, AACConfig& ioConfig) {
    ioConfig.coreFrameCount = ioBits.Bits(1) != 0 ? 480 : 512;
    const bool hasResilience = ioBits.Bits(3) != 0;
    const bool hasBandReplication = ioBits.Bits(1) != 0;
    ioConfig.bandReplication = hasBandReplication ? BandReplication::kPresent : BandReplication::kAbsent;
    if (hasBandReplication && ioBits.Bits(1) != 0) ioConfig.outputRateHz = ioConfig.coreRateHz * 2;
    if (hasResilience || hasBandReplication) ioConfig.decodable = noCodecErr;
}

// Unified speech and audio: its packets may be of several lengths, told by an index.
void ReadUnified(BitReader& ioBits, AACConfig& ioConfig) {
    constexpr std::array<std::uint32_t, 8> kFrameCounts = {768, 1024, 2048, 2048, 4096, 0, 0, 0};
    if (ioBits.Bits(5) == 31) ioBits.Skip(24);
    ioConfig.coreFrameCount = kFrameCounts[ioBits.Bits(3)];
    ioConfig.bandReplication = BandReplication::kAbsent;
}

// The extension that decoders of the plain core do not see. It is looked for at every bit, as decoders do.
void ReadTrailingExtension(BitReader& ioBits, AACConfig& ioConfig) {
    while (ioBits.BitsLeft() >= 16) {
        const std::size_t start = ioBits.Position();
        if (ioBits.Bits(11) != kSyncBandReplication) {
            ioBits.MoveTo(start + 1);
            continue;
        }
        if (ReadObjectType(ioBits) != kSBR || ioBits.BitsLeft() == 0) return;
        if (ioBits.Bits(1) == 0) {
            ioConfig.bandReplication = BandReplication::kAbsent;
            return;
        }
        ioConfig.bandReplication = BandReplication::kPresent;
        const std::uint32_t rateHz = ReadRate(ioBits);
        ioConfig.outputRateHz = rateHz != 0 ? rateHz : ioConfig.coreRateHz * 2;
        if (ioBits.BitsLeft() >= 12 && ioBits.Bits(11) == kSyncParametricStereo)
            ioConfig.hasParametricStereo = ioBits.Bits(1) != 0;
        return;
    }
}

class BitWriter {
  public:
    explicit BitWriter(std::vector<std::uint8_t> inBytes, std::size_t inBitCount)
        : mBytes(std::move(inBytes)), mBitCount(inBitCount) {
        mBytes.resize((inBitCount + 7) / 8);
        if (inBitCount % 8 != 0) mBytes.back() &= static_cast<std::uint8_t>(0xff00U >> inBitCount % 8);
    }
    void Put(std::uint32_t inValue, unsigned inCount) {
        for (unsigned i = inCount; i-- > 0; ++mBitCount) {
            if (mBitCount % 8 == 0) mBytes.push_back(0);
            mBytes.back() |= static_cast<std::uint8_t>((inValue >> i & 1U) << (7 - mBitCount % 8));
        }
    }
    std::vector<std::uint8_t> Take() { return std::move(mBytes); }

  private:
    std::vector<std::uint8_t> mBytes;
    std::size_t mBitCount;
};

}  // namespace

std::uint32_t AACRateOfIndex(std::uint32_t inRateIndex) {
    return inRateIndex < kRatesHz.size() ? kRatesHz[inRateIndex] : 0;
}

std::uint32_t AACRateIndex(std::uint32_t inRateHz) {
    const auto* const found = std::find(kRatesHz.begin(), kRatesHz.end(), inRateHz);
    return found == kRatesHz.end() ? kEscapeIndex : static_cast<std::uint32_t>(found - kRatesHz.begin());
}

std::uint32_t AACConfig::FramesPerPacket() const {
    if (coreRateHz == 0) return 0;
    return static_cast<std::uint32_t>(std::uint64_t{coreFrameCount} * outputRateHz / coreRateHz);
}

DecoderMemory AACConfig::Memory() const {
    const bool isPlain = objectType == kAACLC && bandReplication != BandReplication::kPresent;
    return isPlain ? DecoderMemory::kOnePacket : DecoderMemory::kUnbounded;
}

std::string AACConfig::Name() const {
    if (hasParametricStereo) return "HE-AAC v2";
    switch (objectType) {
        case kAACMain:
            return "AAC Main";
        case kAACLC:
            return bandReplication == BandReplication::kPresent ? "HE-AAC" : "AAC LC";
        case kAACSSR:
            return "AAC SSR";
        case kAACLTP:
            return "AAC LTP";
        case kAACScalable:
            return "AAC Scalable";
        case kERAACLC:
            return "ER AAC LC";
        case kERAACLTP:
            return "ER AAC LTP";
        case kERAACScalable:
            return "ER AAC Scalable";
        case kERBSAC:
            return "ER BSAC";
        case kERAACLD:
            return "AAC LD";
        case kERAACELD:
            return "AAC ELD";
        case kUSAC:
            return "USAC";
        default:
            return "MPEG-4 audio, object type " + std::to_string(objectType);
    }
}

bool ParseAudioSpecificConfig(const std::uint8_t* inBytes, std::size_t inByteCount, AACConfig& outConfig) {
    BitReader bits(inBytes, inByteCount);
    outConfig = AACConfig();
    outConfig.objectType = ReadObjectType(bits);
    // libavcodec has tables for the rates with an index, and for no others.
    if (BitReader(bits).Bits(4) == kEscapeIndex) outConfig.decodable = noCodecErr;
    outConfig.coreRateHz = outConfig.outputRateHz = ReadRate(bits);
    const std::uint32_t channelConfig = bits.Bits(4);
    outConfig.channelCount = ChannelsOfConfig(channelConfig);
    const bool isExplicit = outConfig.objectType == kSBR || outConfig.objectType == kPS;
    if (isExplicit) {
        outConfig.bandReplication = BandReplication::kPresent;
        outConfig.hasParametricStereo = outConfig.objectType == kPS;
        outConfig.outputRateHz = ReadRate(bits);
        outConfig.objectType = ReadObjectType(bits);
        if (outConfig.objectType == kERBSAC) bits.Skip(4);
    }
    if (bits.IsPastEnd() || outConfig.coreRateHz == 0 || outConfig.outputRateHz == 0) return false;

    if (!LibavcodecDecodes(outConfig.objectType)) outConfig.decodable = noCodecErr;
    if (IsGeneralAudio(outConfig.objectType))
        ReadGeneralAudio(bits, channelConfig, outConfig);
    else if (outConfig.objectType == kERAACELD)
        ReadLowDelay(bits, outConfig);
    else if (outConfig.objectType == kUSAC)
        ReadUnified(bits, outConfig);
    if (bits.IsPastEnd()) return false;
    // An error protection other than the two that carry raw packets would have to be undone first.
    if (IsErrorResilient(outConfig.objectType) && outConfig.objectType != kERAACELD && bits.Bits(2) != 0)
        outConfig.decodable = noCodecErr;
    outConfig.coreBitCount = bits.Position();
    if (!isExplicit && outConfig.bandReplication == BandReplication::kUnsignalled)
        ReadTrailingExtension(bits, outConfig);
    if (outConfig.channelCount == 0 || (channelConfig == kHeightLayout && !LibavcodecKnowsHeightLayout()))
        outConfig.decodable = noCodecErr;
    if (outConfig.hasParametricStereo && outConfig.channelCount == 1) outConfig.channelCount = 2;
    return true;
}

std::vector<std::uint8_t> MakeAudioSpecificConfig(std::uint32_t inObjectType, std::uint32_t inRateIndex,
                                                  std::uint32_t inChannelConfig) {
    BitWriter bits({}, 0);
    bits.Put(inObjectType, 5);
    bits.Put(inRateIndex, 4);
    bits.Put(inChannelConfig, 4);
    bits.Put(0, 3);  // packets of 1024 frames, no core coder, no extension
    return bits.Take();
}

std::vector<std::uint8_t> WithoutBandReplication(const std::vector<std::uint8_t>& inConfig) {
    AACConfig config;
    if (!ParseAudioSpecificConfig(inConfig.data(), inConfig.size(), config)) return inConfig;
    if (config.bandReplication != BandReplication::kUnsignalled) return inConfig;
    BitWriter bits(inConfig, config.coreBitCount);
    bits.Put(kSyncBandReplication, 11);
    bits.Put(kSBR, 5);
    bits.Put(0, 1);
    return bits.Take();
}

bool DescribeAAC(const std::vector<std::uint8_t>& inConfig, SoundFormat& outFormat) {
    AACConfig config;
    if (!ParseAudioSpecificConfig(inConfig.data(), inConfig.size(), config)) return false;
    outFormat.name = config.Name();
    outFormat.codecID = AV_CODEC_ID_AAC;
    outFormat.decoderConfig = inConfig;
    outFormat.sampleRateHz = config.outputRateHz;
    outFormat.channelCount = config.channelCount;
    outFormat.bitsPerSample = 16;
    outFormat.blockAlign = 0;
    outFormat.nominalPacketFrames = config.FramesPerPacket();
    outFormat.memory = config.Memory();
    outFormat.decodable = config.decodable;
    return true;
}

}  // namespace toolbox::movies

#include "MPEG4SampleDescription.h"

#include "MPEG4Descriptors.h"
#include "MPEG4Fields.h"
#include "aac/AACConfig.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <bit>
#include <cmath>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kMaxDescriptions = 64;
constexpr std::uint32_t kMaxRateHz = 768000;
constexpr OSType kMPEG4Audio = BoxType("mp4a");

// What the fixed part of a description says.
struct SoundEntry {
    Box box;
    OSType dataFormat = 0;
    std::uint16_t channelCount = 0;
    std::uint16_t bitsPerSample = 0;
    std::uint32_t rateHz = 0;
    std::int64_t childrenBytes = 0;  // where the boxes inside start
};

// What the boxes inside a description say; the first of a kind counts.
struct EntryBoxes {
    Box esds, alac, dac3, dec3, dOps, dfLa, originalFormat;
    bool isProtected = false;
};

std::vector<std::uint8_t> CopyBytes(BoxFile& ioFile, std::int64_t inFromBytes, std::int64_t inToBytes) {
    if (inToBytes <= inFromBytes ||
        inToBytes - inFromBytes > static_cast<std::int64_t>(BoxFile::kMaxLookBytes))
        return {};
    const auto byteCount = static_cast<std::size_t>(inToBytes - inFromBytes);
    const std::uint8_t* const bytes = ioFile.At(inFromBytes, byteCount);
    return bytes == nullptr ? std::vector<std::uint8_t>()
                            : std::vector<std::uint8_t>(bytes, bytes + byteCount);
}

std::uint32_t RateOfDouble(std::uint64_t inBits) {
    const auto rate = std::bit_cast<double>(inBits);
    return rate >= 1 && rate <= kMaxRateHz ? static_cast<std::uint32_t>(std::lround(rate)) : 0;
}

// Reads the fixed part. inBoxVersion: of the description box; 1 there makes version 1 of a description the
// plain form of the MPEG-4 standard, not QuickTime's longer one.
bool ReadEntry(BoxFile& ioFile, const Box& inBox, std::uint8_t inBoxVersion, SoundEntry& outEntry) {
    outEntry.box = inBox;
    outEntry.dataFormat = inBox.type;
    const std::int64_t sizeBytes = inBox.endBytes - inBox.startBytes;
    const std::int64_t wanted = std::min(sizeBytes, fields::kSoundEntryBytes + fields::kSoundVersion2Bytes);
    if (sizeBytes < fields::kSoundEntryBytes) return false;
    const std::uint8_t* const bytes = ioFile.At(inBox.startBytes, static_cast<std::size_t>(wanted));
    if (bytes == nullptr) return false;
    const std::uint16_t version = os::Load16(bytes + fields::kSoundVersion);
    outEntry.channelCount = os::Load16(bytes + fields::kChannelCount);
    outEntry.bitsPerSample = os::Load16(bytes + fields::kSampleSizeBits);
    outEntry.rateHz = os::Load32(bytes + fields::kSampleRate) >> 16;
    outEntry.childrenBytes = inBox.startBytes + fields::kSoundEntryBytes;
    if (version == 1 && inBoxVersion == 0) {
        outEntry.childrenBytes += fields::kSoundVersion1Bytes;
    } else if (version == 2 && wanted == fields::kSoundEntryBytes + fields::kSoundVersion2Bytes) {
        outEntry.rateHz = RateOfDouble(os::Load64(bytes + fields::kSoundRate64));
        outEntry.channelCount = static_cast<std::uint16_t>(
            std::min<std::uint32_t>(os::Load32(bytes + fields::kSoundChannels32), 65535));
        outEntry.bitsPerSample = static_cast<std::uint16_t>(os::Load32(bytes + fields::kSoundBits32));
        const std::uint32_t structBytes = os::Load32(bytes + fields::kSoundStructSize);
        outEntry.childrenBytes =
            inBox.startBytes +
            std::max<std::int64_t>(structBytes, fields::kSoundEntryBytes + fields::kSoundVersion2Bytes);
    }
    return true;
}

void TakeFirst(const Box& inBox, Box& ioSlot) {
    if (!ioSlot.Exists()) ioSlot = inBox;
}

void CollectProtection(BoxFile& ioFile, const Box& inScheme, EntryBoxes& ioBoxes) {
    ioBoxes.isProtected = true;
    if (const Box original = FindBox(ioFile, inScheme, BoxType("frma")); original.Exists())
        TakeFirst(original, ioBoxes.originalFormat);
}

void CollectBoxes(BoxFile& ioFile, std::int64_t inStartBytes, std::int64_t inEndBytes, bool inIsInside,
                  EntryBoxes& ioBoxes) {
    BoxWalk walk(ioFile, inStartBytes, inEndBytes);
    for (Box box; walk.Next(box);) {
        switch (box.type) {
            case BoxType("esds"):
                TakeFirst(box, ioBoxes.esds);
                break;
            case BoxType("alac"):
                TakeFirst(box, ioBoxes.alac);
                break;
            case BoxType("dac3"):
                TakeFirst(box, ioBoxes.dac3);
                break;
            case BoxType("dec3"):
                TakeFirst(box, ioBoxes.dec3);
                break;
            case BoxType("dOps"):
                TakeFirst(box, ioBoxes.dOps);
                break;
            case BoxType("dfLa"):
                TakeFirst(box, ioBoxes.dfLa);
                break;
            case BoxType("sinf"):
                CollectProtection(ioFile, box, ioBoxes);
                break;
            case BoxType("wave"):
                if (!inIsInside) CollectBoxes(ioFile, box.contentBytes, box.endBytes, true, ioBoxes);
                break;
            default:
                break;
        }
    }
}

void SetCodec(AVCodecID inCodec, const char* inName, std::uint32_t inPacketFrames, DecoderMemory inMemory,
              MPEG4SoundDescription& ioDescription) {
    ioDescription.isOurs = true;
    ioDescription.format.codecID = inCodec;
    ioDescription.format.name = inName;
    ioDescription.format.nominalPacketFrames = inPacketFrames;
    ioDescription.format.memory = inMemory;
}

void DescribeMP3(const SoundEntry& inEntry, MPEG4SoundDescription& ioDescription) {
    constexpr std::uint32_t kLowestFullRateHz = 32000;  // below it packets are of half length
    SetCodec(AV_CODEC_ID_MP3, "MP3", inEntry.rateHz >= kLowestFullRateHz ? 1152 : 576,
             DecoderMemory::kUnbounded, ioDescription);
}

// AAC without a configuration that can be read: the description's own rate and channels have to do.
std::vector<std::uint8_t> ConfigOfEntry(const SoundEntry& inEntry) {
    const std::uint32_t rateIndex = AACRateIndex(inEntry.rateHz);
    const std::uint32_t channels = inEntry.channelCount == 8 ? 7 : inEntry.channelCount;
    if (AACRateOfIndex(rateIndex) == 0 || channels == 0 || channels > 7) return {};
    return MakeAudioSpecificConfig(kAACLC, rateIndex, channels);
}

void DescribeMPEG4Audio(const SoundEntry& inEntry, std::vector<std::uint8_t> inConfig,
                        MPEG4SoundDescription& ioDescription) {
    AACConfig config;
    const bool isParsed = ParseAudioSpecificConfig(inConfig.data(), inConfig.size(), config);
    if (isParsed && config.objectType >= kLayer1 && config.objectType <= kLayer3)
        return DescribeMP3(inEntry, ioDescription);
    ioDescription.isOurs = true;
    ioDescription.format.name = "AAC";
    if (!isParsed) inConfig = ConfigOfEntry(inEntry);
    if (!DescribeAAC(inConfig, ioDescription.format)) ioDescription.format.decodable = noCodecErr;
    if (ioDescription.format.channelCount == 0) ioDescription.format.channelCount = inEntry.channelCount;
}

// objectTypeIndication, ISO/IEC 14496-1, 7.2.6.6, table 5; from 0xC0 on as registered by their owners.
void DescribeByObjectType(const SoundEntry& inEntry, const DecoderDescriptor& inDecoder,
                          MPEG4SoundDescription& ioDescription) {
    switch (inDecoder.objectType) {
        case 0x00:  // not set: some writers leave it to the configuration
        case 0x40:  // ISO/IEC 14496-3
        case 0x66:  // ISO/IEC 13818-7, Main
        case 0x67:  // LC
        case 0x68:  // SSR
            return DescribeMPEG4Audio(inEntry, inDecoder.config, ioDescription);
        case 0x69:  // ISO/IEC 13818-3
        case 0x6b:  // ISO/IEC 11172-3
            return DescribeMP3(inEntry, ioDescription);
        case 0xa5:
            return SetCodec(AV_CODEC_ID_AC3, "AC-3", 1536, DecoderMemory::kUnbounded, ioDescription);
        case 0xa6:
            return SetCodec(AV_CODEC_ID_EAC3, "E-AC-3", 1536, DecoderMemory::kUnbounded, ioDescription);
        case 0xdd:
            SetCodec(AV_CODEC_ID_VORBIS, "Vorbis", 0, DecoderMemory::kUnbounded, ioDescription);
            ioDescription.format.decoderConfig = inDecoder.config;
            return;
        default:
            return;
    }
}

void DescribeByDescriptor(BoxFile& ioFile, const SoundEntry& inEntry, const Box& inDescriptor,
                          MPEG4SoundDescription& ioDescription) {
    DecoderDescriptor decoder;
    const auto bytes =
        CopyBytes(ioFile, inDescriptor.contentBytes + fields::kFullBoxBytes, inDescriptor.endBytes);
    if (inDescriptor.Exists() && !ReadDecoderDescriptor(bytes, decoder)) decoder = DecoderDescriptor();
    DescribeByObjectType(inEntry, decoder, ioDescription);
}

// Channels of an audio coding mode, with the low frequency one.
std::uint16_t ChannelsOfMode(std::uint32_t inMode, std::uint32_t inHasLowFrequency) {
    constexpr std::uint16_t kChannels[] = {2, 1, 2, 3, 3, 4, 4, 5};
    return static_cast<std::uint16_t>(kChannels[inMode & 7] + inHasLowFrequency);
}

void DescribeAC3(BoxFile& ioFile, const Box& inConfig, MPEG4SoundDescription& ioDescription) {
    SetCodec(AV_CODEC_ID_AC3, "AC-3", 1536, DecoderMemory::kUnbounded, ioDescription);
    // AC3SpecificBox, ETSI TS 102 366, F.4: fscod 2 bits, bsid 5, bsmod 3, acmod 3, lfeon 1, ...
    const auto bytes = CopyBytes(ioFile, inConfig.contentBytes, inConfig.endBytes);
    if (bytes.size() < 3) return;
    const std::uint32_t bits = os::Load16(bytes.data());
    ioDescription.format.channelCount = ChannelsOfMode(bits >> 3, bits >> 2 & 1);
}

void DescribeEAC3(BoxFile& ioFile, const Box& inConfig, MPEG4SoundDescription& ioDescription) {
    SetCodec(AV_CODEC_ID_EAC3, "E-AC-3", 1536, DecoderMemory::kUnbounded, ioDescription);
    // EC3SpecificBox, ETSI TS 102 366, F.6: data_rate 13 bits, num_ind_sub 3; of the first: fscod 2, bsid 5,
    // 2 others, bsmod 3, acmod 3, lfeon 1, ... What dependent substreams add is told by the decoder.
    const auto bytes = CopyBytes(ioFile, inConfig.contentBytes, inConfig.endBytes);
    if (bytes.size() < 5) return;
    const std::uint32_t bits = os::Load16(&bytes[2]);
    ioDescription.format.channelCount = ChannelsOfMode(bits >> 1, bits & 1);
}

void DescribeALAC(BoxFile& ioFile, const Box& inConfig, MPEG4SoundDescription& ioDescription) {
    constexpr std::size_t kConfigBytes = 36;  // the box as a whole, as the decoder wants it
    // ALACSpecificConfig behind the box's head, version and flags.
    constexpr std::size_t kFrameLength = 12;
    constexpr std::size_t kBitDepth = 17;
    constexpr std::size_t kNumChannels = 21;
    constexpr std::size_t kSampleRate = 32;
    SetCodec(AV_CODEC_ID_ALAC, "ALAC", 0, DecoderMemory::kNone, ioDescription);
    auto bytes = CopyBytes(ioFile, inConfig.startBytes, inConfig.endBytes);
    if (bytes.size() < kConfigBytes) {
        ioDescription.format.decodable = noCodecErr;
        return;
    }
    ioDescription.format.nominalPacketFrames = os::Load32(&bytes[kFrameLength]);
    ioDescription.format.bitsPerSample = bytes[kBitDepth];
    ioDescription.format.channelCount = bytes[kNumChannels];
    if (const std::uint32_t rateHz = os::Load32(&bytes[kSampleRate]); rateHz != 0 && rateHz <= kMaxRateHz)
        ioDescription.format.sampleRateHz = rateHz;
    ioDescription.format.decoderConfig = std::move(bytes);
}

void DescribeOpus(BoxFile& ioFile, const Box& inConfig, MPEG4SoundDescription& ioDescription) {
    // OpusSpecificBox: Version, OutputChannelCount, PreSkip, InputSampleRate, OutputGain,
    // ChannelMappingFamily.
    constexpr std::size_t kConfigBytes = 11;
    constexpr std::uint32_t kOpusRateHz = 48000;
    SetCodec(AV_CODEC_ID_OPUS, "Opus", 0, DecoderMemory::kUnbounded, ioDescription);
    ioDescription.format.sampleRateHz = kOpusRateHz;
    const auto bytes = CopyBytes(ioFile, inConfig.contentBytes, inConfig.endBytes);
    if (bytes.size() < kConfigBytes) {
        ioDescription.format.decodable = noCodecErr;
        return;
    }
    ioDescription.format.channelCount = bytes[1];
    ioDescription.delayFrames = os::Load16(&bytes[2]);
    // The decoder wants the header that Ogg has: a name in front, version 1, and the numbers little-endian.
    std::vector<std::uint8_t> header = {'O',      'p',      'u',      's',      'H',      'e',
                                        'a',      'd',      1,        bytes[1], bytes[3], bytes[2],
                                        bytes[7], bytes[6], bytes[5], bytes[4], bytes[9], bytes[8]};
    header.insert(header.end(), bytes.begin() + 10, bytes.end());
    ioDescription.format.decoderConfig = std::move(header);
}

void DescribeFLAC(BoxFile& ioFile, const Box& inConfig, MPEG4SoundDescription& ioDescription) {
    constexpr std::int64_t kHeadBytes = 4 + 4;  // version and flags; block header
    constexpr std::size_t kStreamInfoBytes = 34;
    SetCodec(AV_CODEC_ID_FLAC, "FLAC", 0, DecoderMemory::kNone, ioDescription);
    const std::int64_t startBytes = inConfig.contentBytes + kHeadBytes;
    auto info = CopyBytes(ioFile, startBytes,
                          std::min<std::int64_t>(startBytes + kStreamInfoBytes, inConfig.endBytes));
    if (info.size() < kStreamInfoBytes) {
        ioDescription.format.decodable = noCodecErr;
        return;
    }
    // STREAMINFO, RFC 9639, 8.2: least and most samples of a block in 16 bits each, sizes of frames in 24
    // each; then rate 20 bits, channels - 1 in 3, depth - 1 in 5, ...
    const std::uint32_t bits = os::Load32(&info[10]);
    if (const std::uint32_t rateHz = bits >> 12; rateHz != 0 && rateHz <= kMaxRateHz)
        ioDescription.format.sampleRateHz = rateHz;
    ioDescription.format.channelCount = static_cast<std::uint16_t>((bits >> 9 & 7) + 1);
    ioDescription.format.bitsPerSample = static_cast<std::uint16_t>((bits >> 4 & 31) + 1);
    if (os::Load16(info.data()) == os::Load16(&info[2]))
        ioDescription.format.nominalPacketFrames = os::Load16(info.data());
    ioDescription.format.decoderConfig = std::move(info);
}

void DescribeCodec(BoxFile& ioFile, const SoundEntry& inEntry, OSType inDataFormat, const EntryBoxes& inBoxes,
                   MPEG4SoundDescription& ioDescription) {
    constexpr OSType kWaveMP3 = 0x6d730055;  // "ms", then the number of the codec in WAVE files
    switch (inDataFormat) {
        case kMPEG4Audio:
            return DescribeByDescriptor(ioFile, inEntry, inBoxes.esds, ioDescription);
        case BoxType(".mp3"):
        case BoxType("mp3 "):
        case kWaveMP3:
            return DescribeMP3(inEntry, ioDescription);
        case BoxType("ac-3"):
            return DescribeAC3(ioFile, inBoxes.dac3, ioDescription);
        case BoxType("ec-3"):
            return DescribeEAC3(ioFile, inBoxes.dec3, ioDescription);
        case BoxType("alac"):
            return DescribeALAC(ioFile, inBoxes.alac, ioDescription);
        case BoxType("Opus"):
            return DescribeOpus(ioFile, inBoxes.dOps, ioDescription);
        case BoxType("fLaC"):
            return DescribeFLAC(ioFile, inBoxes.dfLa, ioDescription);
        default:
            return;
    }
}

MPEG4SoundDescription Describe(BoxFile& ioFile, const SoundEntry& inEntry) {
    MPEG4SoundDescription description;
    description.format.dataFormat = inEntry.dataFormat;
    description.format.sampleRateHz = inEntry.rateHz;
    description.format.channelCount = inEntry.channelCount;
    if (inEntry.bitsPerSample != 0) description.format.bitsPerSample = inEntry.bitsPerSample;
    EntryBoxes boxes;
    CollectBoxes(ioFile, inEntry.childrenBytes, inEntry.box.endBytes, false, boxes);
    const bool isProtected =
        boxes.isProtected || inEntry.dataFormat == BoxType("enca") || inEntry.dataFormat == BoxType("drms");
    OSType codec = inEntry.dataFormat;
    if (isProtected) {
        const std::uint8_t* const original = boxes.originalFormat.ContentSizeBytes() < 4
                                                 ? nullptr
                                                 : ioFile.At(boxes.originalFormat.contentBytes, 4);
        codec = original == nullptr ? kMPEG4Audio : os::Load32(original);
    }
    DescribeCodec(ioFile, inEntry, codec, boxes, description);
    if (isProtected) {
        description.isOurs = true;
        description.format.decodable = badFormat;
        if (description.format.name.empty()) description.format.name = "encrypted sound";
    }
    return description;
}

}  // namespace

std::vector<MPEG4SoundDescription> ReadSoundDescriptions(BoxFile& ioFile, const Box& inDescriptions) {
    std::vector<MPEG4SoundDescription> descriptions;
    if (inDescriptions.ContentSizeBytes() < fields::kEntries) return descriptions;
    const std::uint8_t* const head = ioFile.At(inDescriptions.contentBytes, fields::kEntries);
    if (head == nullptr) return descriptions;
    const std::uint8_t version = head[0];
    const std::uint32_t count = std::min(os::Load32(head + fields::kEntryCount), kMaxDescriptions);
    BoxWalk walk(ioFile, inDescriptions.contentBytes + fields::kEntries, inDescriptions.endBytes);
    for (Box box; descriptions.size() < count && walk.Next(box);) {
        SoundEntry entry;
        if (!ReadEntry(ioFile, box, version, entry)) break;
        descriptions.push_back(Describe(ioFile, entry));
    }
    return descriptions;
}

OSType FirstDataFormat(BoxFile& ioFile, const Box& inDescriptions) {
    BoxWalk walk(ioFile, inDescriptions.contentBytes + fields::kEntries, inDescriptions.endBytes);
    Box box;
    return walk.Next(box) ? box.type : 0;
}

}  // namespace toolbox::movies

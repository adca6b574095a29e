#include "SoundDescription.h"

#include "BigEndian.h"

#include <algorithm>

namespace toolbox::movies {

namespace {

// Offsets in the record; the six bytes from kReserved on are zero.
constexpr std::size_t kSize = 0;
constexpr std::size_t kDataFormat = 4;
constexpr std::size_t kDataReferenceIndex = 14;
constexpr std::size_t kVersion = 16;
constexpr std::size_t kRevisionLevel = 18;
constexpr std::size_t kVendor = 20;
constexpr std::size_t kChannelCount = 24;
constexpr std::size_t kBitsPerSample = 26;
constexpr std::size_t kCompressionID = 28;
constexpr std::size_t kPacketSize = 30;
constexpr std::size_t kSampleRate = 32;

}  // namespace

std::array<std::uint8_t, SoundDescription::kSizeBytes> Encode(const SoundDescription& inDescription) {
    std::array<std::uint8_t, SoundDescription::kSizeBytes> record = {};
    PutBig32(record.data(), kSize, inDescription.sizeBytes);
    PutBig32(record.data(), kDataFormat, inDescription.dataFormat);
    PutBig16(record.data(), kDataReferenceIndex, inDescription.dataReferenceIndex);
    PutBig16(record.data(), kVersion, inDescription.version);
    PutBig16(record.data(), kRevisionLevel, inDescription.revisionLevel);
    PutBig32(record.data(), kVendor, inDescription.vendor);
    PutBig16(record.data(), kChannelCount, inDescription.channelCount);
    PutBig16(record.data(), kBitsPerSample, inDescription.bitsPerSample);
    PutBig16(record.data(), kCompressionID, inDescription.compressionID);
    PutBig16(record.data(), kPacketSize, inDescription.packetSize);
    PutBig32(record.data(), kSampleRate, inDescription.sampleRate);
    return record;
}

SoundDescription DecodeSoundDescription(std::span<const std::uint8_t, SoundDescription::kSizeBytes> inBytes) {
    const std::uint8_t* record = inBytes.data();
    SoundDescription description;
    description.sizeBytes = GetBig32(record, kSize);
    description.dataFormat = GetBig32(record, kDataFormat);
    description.dataReferenceIndex = GetBig16(record, kDataReferenceIndex);
    description.version = GetBig16(record, kVersion);
    description.revisionLevel = GetBig16(record, kRevisionLevel);
    description.vendor = GetBig32(record, kVendor);
    description.channelCount = GetBig16(record, kChannelCount);
    description.bitsPerSample = GetBig16(record, kBitsPerSample);
    description.compressionID = GetBig16(record, kCompressionID);
    description.packetSize = GetBig16(record, kPacketSize);
    description.sampleRate = GetBig32(record, kSampleRate);
    return description;
}

std::uint16_t DescribedRateHz(std::uint32_t inRateHz) {
    while (inRateHz > UINT16_MAX)
        inRateHz /= 2;
    return static_cast<std::uint16_t>(std::max<std::uint32_t>(inRateHz, 1));
}

SoundDescription Describe(const SoundFormat& inFormat) {
    SoundDescription description;
    description.dataFormat = inFormat.dataFormat;
    description.dataReferenceIndex = 1;
    description.channelCount = inFormat.channelCount == 0 ? 2 : inFormat.channelCount;
    description.bitsPerSample = inFormat.bitsPerSample;
    description.sampleRate = static_cast<UnsignedFixed>(DescribedRateHz(inFormat.sampleRateHz)) << 16;
    return description;
}

}  // namespace toolbox::movies

#include "SoundDescription.h"

#include "os/BigEndian.h"

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
    os::Store32(record.data() + kSize, inDescription.sizeBytes);
    os::Store32(record.data() + kDataFormat, inDescription.dataFormat);
    os::Store16(record.data() + kDataReferenceIndex, inDescription.dataReferenceIndex);
    os::Store16(record.data() + kVersion, inDescription.version);
    os::Store16(record.data() + kRevisionLevel, inDescription.revisionLevel);
    os::Store32(record.data() + kVendor, inDescription.vendor);
    os::Store16(record.data() + kChannelCount, inDescription.channelCount);
    os::Store16(record.data() + kBitsPerSample, inDescription.bitsPerSample);
    os::Store16(record.data() + kCompressionID, inDescription.compressionID);
    os::Store16(record.data() + kPacketSize, inDescription.packetSize);
    os::Store32(record.data() + kSampleRate, inDescription.sampleRate);
    return record;
}

SoundDescription DecodeSoundDescription(std::span<const std::uint8_t, SoundDescription::kSizeBytes> inBytes) {
    const std::uint8_t* record = inBytes.data();
    SoundDescription description;
    description.sizeBytes = os::Load32(record + kSize);
    description.dataFormat = os::Load32(record + kDataFormat);
    description.dataReferenceIndex = os::Load16(record + kDataReferenceIndex);
    description.version = os::Load16(record + kVersion);
    description.revisionLevel = os::Load16(record + kRevisionLevel);
    description.vendor = os::Load32(record + kVendor);
    description.channelCount = os::Load16(record + kChannelCount);
    description.bitsPerSample = os::Load16(record + kBitsPerSample);
    description.compressionID = os::Load16(record + kCompressionID);
    description.packetSize = os::Load16(record + kPacketSize);
    description.sampleRate = os::Load32(record + kSampleRate);
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

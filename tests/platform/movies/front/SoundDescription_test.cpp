#include <gtest/gtest.h>
#include <movies/front/SoundDescription.h>

#include <cstdint>
#include <vector>

namespace {

using toolbox::movies::DecodeSoundDescription;
using toolbox::movies::Describe;
using toolbox::movies::DescribedRateHz;
using toolbox::movies::Encode;
using toolbox::movies::SoundDescription;
using toolbox::movies::SoundFormat;

TEST(SoundDescription, LiesInTheRecordAsPublished) {
    SoundDescription description;
    description.dataFormat = FourChars("mp4a");
    description.dataReferenceIndex = 0x0102;
    description.version = 0x0304;
    description.revisionLevel = 0x0506;
    description.vendor = FourChars("abcd");
    description.channelCount = 0x0708;
    description.bitsPerSample = 0x090A;
    description.compressionID = 0x0B0C;
    description.packetSize = 0x0D0E;
    description.sampleRate = 0xAC440000;
    const auto record = Encode(description);
    const std::vector<std::uint8_t> expected = {0, 0, 0, 36, 'm', 'p', '4', 'a', 0,    0,    0,   0,
                                                0, 0, 1, 2,  3,   4,   5,   6,   'a',  'b',  'c', 'd',
                                                7, 8, 9, 10, 11,  12,  13,  14,  0xAC, 0x44, 0,   0};
    EXPECT_EQ(expected, std::vector<std::uint8_t>(record.begin(), record.end()));
    EXPECT_EQ(record, Encode(DecodeSoundDescription(record)));
}

TEST(SoundDescription, RateIsHalvedUntilItFits) {
    EXPECT_EQ(44100, DescribedRateHz(44100));
    EXPECT_EQ(65535, DescribedRateHz(65535));
    EXPECT_EQ(32768, DescribedRateHz(65536));
    EXPECT_EQ(44100, DescribedRateHz(88200));
    EXPECT_EQ(48000, DescribedRateHz(96000));
    EXPECT_EQ(48000, DescribedRateHz(192000));
    EXPECT_EQ(65535, DescribedRateHz(UINT32_MAX));
    EXPECT_EQ(1, DescribedRateHz(1));
    EXPECT_EQ(1, DescribedRateHz(0));
}

TEST(SoundDescription, DescribesAFormat) {
    SoundFormat format;
    format.dataFormat = FourChars("alac");
    format.sampleRateHz = 96000;
    format.channelCount = 6;
    format.bitsPerSample = 24;
    const SoundDescription description = Describe(format);
    EXPECT_EQ(36U, description.sizeBytes);
    EXPECT_EQ(FourChars("alac"), description.dataFormat);
    EXPECT_EQ(1, description.dataReferenceIndex);
    EXPECT_EQ(0, description.version);
    EXPECT_EQ(6, description.channelCount);
    EXPECT_EQ(24, description.bitsPerSample);
    EXPECT_EQ(48000U << 16, description.sampleRate);
    format.channelCount = 0;
    EXPECT_EQ(2, Describe(format).channelCount);
}

}  // namespace

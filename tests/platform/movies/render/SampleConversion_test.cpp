#include <gtest/gtest.h>
#include <render/SampleConversion.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using toolbox::movies::StoreFloatFrames;
using toolbox::movies::StoreFloatFramesAnywhere;
using toolbox::movies::StoreFloatFramesPortably;
using toolbox::movies::StoreShortFrames;

// The definition, in double precision and without cleverness.
int Expected(float inSample) {
    const double scaled = static_cast<double>(inSample) * 32768.0;
    if (std::isnan(scaled) || scaled <= -32768.0) return -32768;
    return scaled >= 32767.0 ? 32767 : static_cast<int>(std::lrint(scaled));
}

int SampleAt(const std::vector<std::uint8_t>& inBytes, std::size_t inSample) {
    return static_cast<std::int16_t>(inBytes[2 * inSample] << 8 | inBytes[2 * inSample + 1]);
}

std::vector<float> EdgeSamples() {
    const float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> samples = {0.0F,
                                  -0.0F,
                                  1.0F,
                                  -1.0F,
                                  1.5F,
                                  -1.5F,
                                  1e9F,
                                  -1e9F,
                                  1e30F,
                                  -1e30F,
                                  65536.0F,
                                  -65536.0F,
                                  infinity,
                                  -infinity,
                                  std::numeric_limits<float>::quiet_NaN(),
                                  -std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::denorm_min(),
                                  std::numeric_limits<float>::max(),
                                  std::numeric_limits<float>::lowest()};
    for (int value = -32770; value <= 32770; ++value) {
        const float whole = static_cast<float>(value) / 32768.0F;
        const float half = (static_cast<float>(value) + 0.5F) / 32768.0F;
        samples.insert(samples.end(), {whole, half, std::nextafter(half, 2.0F), std::nextafter(half, -2.0F)});
    }
    return samples;
}

using Store = void (*)(const float*, const float*, std::size_t, std::uint8_t*);

class FloatConversion : public testing::TestWithParam<Store> {};

TEST_P(FloatConversion, RoundsHalvesToEvenAndClips) {
    const std::vector<float> left = EdgeSamples();
    const std::vector<float> right(left.rbegin(), left.rend());
    std::vector<std::uint8_t> bytes(left.size() * 4);
    GetParam()(left.data(), right.data(), left.size(), bytes.data());
    for (std::size_t i = 0; i < left.size(); ++i) {
        ASSERT_EQ(Expected(left[i]), SampleAt(bytes, 2 * i)) << left[i];
        ASSERT_EQ(Expected(right[i]), SampleAt(bytes, 2 * i + 1)) << right[i];
    }
}

TEST_P(FloatConversion, KnownValues) {
    const float left[] = {0.5F / 32768,  1.5F / 32768, 2.5F / 32768, -0.5F / 32768,
                          -1.5F / 32768, 1.0F,         -1.0F,        0.25F};
    const int expected[] = {0, 2, 2, 0, -2, 32767, -32768, 8192};
    std::vector<std::uint8_t> bytes(8 * 4);
    GetParam()(left, left, 8, bytes.data());
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(expected[i], SampleAt(bytes, 2 * i)) << i;
        EXPECT_EQ(expected[i], SampleAt(bytes, 2 * i + 1)) << i;
    }
}

TEST_P(FloatConversion, EveryLengthAndAlignmentStaysInside) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> samples(-1.2F, 1.2F);
    for (std::size_t count = 0; count <= 40; ++count) {
        std::vector<float> left(count + 1);
        std::vector<float> right(count + 1);
        for (std::size_t i = 0; i < left.size(); ++i) {
            left[i] = samples(random);
            right[i] = samples(random);
        }
        std::vector<std::uint8_t> bytes(count * 4 + 3, 0xAA);
        GetParam()(left.data() + 1, right.data() + 1, count, bytes.data() + 1);
        EXPECT_EQ(0xAA, bytes[0]);
        EXPECT_EQ(0xAA, bytes[count * 4 + 1]);
        EXPECT_EQ(0xAA, bytes[count * 4 + 2]);
        bytes.erase(bytes.begin());
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(Expected(left[i + 1]), SampleAt(bytes, 2 * i));
            ASSERT_EQ(Expected(right[i + 1]), SampleAt(bytes, 2 * i + 1));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, FloatConversion,
                         testing::Values(StoreFloatFrames, StoreFloatFramesAnywhere,
                                         StoreFloatFramesPortably));

TEST(ShortConversion, StoresBigEndianPairs) {
    const std::int16_t left[] = {0x1234, -1, 0};
    const std::int16_t right[] = {-32768, 32767, 1};
    std::vector<std::uint8_t> bytes(12);
    StoreShortFrames(left, right, 3, bytes.data());
    const std::vector<std::uint8_t> expected = {0x12, 0x34, 0x80, 0, 0xFF, 0xFF, 0x7F, 0xFF, 0, 0, 0, 1};
    EXPECT_EQ(expected, bytes);
}

TEST(ShortConversion, NoFramesTouchNothing) {
    std::uint8_t byte = 7;
    StoreShortFrames(nullptr, nullptr, 0, &byte);
    EXPECT_EQ(7, byte);
}

}  // namespace

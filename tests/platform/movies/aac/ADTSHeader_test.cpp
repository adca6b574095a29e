#include "movies/aac/ADTSHeader.h"

#include <gtest/gtest.h>

#include <array>

namespace toolbox::movies {
namespace {

using Bytes = std::array<std::uint8_t, 7>;

// LC, 44100 Hz, stereo, no checksum, 371 bytes, one block.
constexpr Bytes kOrdinary = {0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFC};

TEST(ADTSHeader, OrdinaryFrame) {
    ADTSHeader header;
    ASSERT_TRUE(ParseADTSHeader(kOrdinary.data(), header));
    EXPECT_EQ(2, header.ObjectType());
    EXPECT_EQ(44100u, header.SampleRateHz());
    EXPECT_EQ(2, header.ChannelConfig());
    EXPECT_EQ(371u, header.frameBytes);
    EXPECT_EQ(7u, header.headerBytes);
    EXPECT_EQ(1, header.blockCount);
    EXPECT_FALSE(header.hasChecksum);
}

TEST(ADTSHeader, ChecksumAndBlocksMakeTheHeaderLonger) {
    Bytes bytes = kOrdinary;
    bytes[1] = 0xF0;
    ADTSHeader header;
    ASSERT_TRUE(ParseADTSHeader(bytes.data(), header));
    EXPECT_EQ(9u, header.headerBytes);
    bytes[6] |= 3;
    ASSERT_TRUE(ParseADTSHeader(bytes.data(), header));
    EXPECT_EQ(4, header.blockCount);
    EXPECT_EQ(15u, header.headerBytes);
}

TEST(ADTSHeader, EveryRateIndex) {
    constexpr std::array<std::uint32_t, 16> kExpected = {
        96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350, 0, 0, 0};
    for (std::uint32_t index = 0; index < 16; ++index) {
        Bytes bytes = kOrdinary;
        bytes[2] = static_cast<std::uint8_t>(0x40 | index << 2);
        ADTSHeader header;
        EXPECT_EQ(kExpected[index] != 0, ParseADTSHeader(bytes.data(), header)) << index;
        EXPECT_EQ(kExpected[index], header.SampleRateHz());
    }
}

TEST(ADTSHeader, ChannelConfigSpansTwoBytes) {
    for (std::uint32_t config = 0; config < 8; ++config) {
        Bytes bytes = kOrdinary;
        bytes[2] = static_cast<std::uint8_t>(0x50 | config >> 2);
        bytes[3] = static_cast<std::uint8_t>((config & 3) << 6);
        ADTSHeader header;
        ASSERT_TRUE(ParseADTSHeader(bytes.data(), header));
        EXPECT_EQ(config, header.ChannelConfig());
    }
}

TEST(ADTSHeader, MPEGLayersAndNoiseAreNone) {
    ADTSHeader header;
    for (const std::uint8_t second : {0xFB, 0xFA, 0xF3, 0xF5, 0xE1, 0x01}) {
        Bytes bytes = kOrdinary;
        bytes[1] = second;
        EXPECT_FALSE(ParseADTSHeader(bytes.data(), header)) << int{second};
    }
    Bytes bytes = kOrdinary;
    bytes[0] = 0xFE;
    EXPECT_FALSE(ParseADTSHeader(bytes.data(), header));
}

TEST(ADTSHeader, LengthMustLeaveAByteForEachBlock) {
    for (std::uint8_t size = 0; size < 16; ++size) {
        Bytes bytes = kOrdinary;
        bytes[4] = static_cast<std::uint8_t>(size >> 3);
        bytes[5] = static_cast<std::uint8_t>(size << 5);
        ADTSHeader header;
        EXPECT_EQ(size >= 8, ParseADTSHeader(bytes.data(), header)) << int{size};
        bytes[6] |= 1;
        EXPECT_EQ(size >= 9, ParseADTSHeader(bytes.data(), header)) << int{size};
    }
}

TEST(ADTSHeader, WhatAgreeingMeans) {
    ADTSHeader first;
    ASSERT_TRUE(ParseADTSHeader(kOrdinary.data(), first));
    struct Case {
        int byte;
        std::uint8_t bits;
        bool agrees;
    };
    constexpr Case kCases[] = {
        {1, 0x01, true},   // checksum
        {1, 0x08, false},  // version
        {2, 0x80, false},  // profile
        {2, 0x10, false},  // rate
        {2, 0x02, true},   // private bit
        {2, 0x01, false},  // channels
        {3, 0x40, false},  // channels
        {3, 0x3C, true},   // original, home, copyright
        {3, 0x01, true},   // length
        {4, 0x11, true},   // length
        {6, 0x01, true},   // blocks
    };
    for (const Case& test : kCases) {
        Bytes bytes = kOrdinary;
        bytes[static_cast<std::size_t>(test.byte)] ^= test.bits;
        ADTSHeader other;
        ASSERT_TRUE(ParseADTSHeader(bytes.data(), other));
        EXPECT_EQ(test.agrees, first.Agrees(other)) << test.byte << " " << int{test.bits};
    }
}

}  // namespace
}  // namespace toolbox::movies

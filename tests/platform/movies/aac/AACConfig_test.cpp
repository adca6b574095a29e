#include <aac/AACConfig.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstring>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace toolbox::movies {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Fields of a configuration, most significant bit first.
struct Field {
    std::uint32_t value;
    unsigned bits;
};

Bytes Pack(const std::vector<Field>& inFields) {
    Bytes bytes;
    std::size_t position = 0;
    for (const Field& field : inFields) {
        for (unsigned i = field.bits; i-- > 0; ++position) {
            if (position % 8 == 0) bytes.push_back(0);
            bytes.back() |= static_cast<std::uint8_t>((field.value >> i & 1U) << (7 - position % 8));
        }
    }
    return bytes;
}

AACConfig Parse(const Bytes& inBytes) {
    AACConfig config;
    EXPECT_TRUE(ParseAudioSpecificConfig(inBytes.data(), inBytes.size(), config));
    return config;
}

bool Parses(const Bytes& inBytes) {
    AACConfig config;
    return ParseAudioSpecificConfig(inBytes.data(), inBytes.size(), config);
}

// Whether libavcodec's decoder opens with a configuration.
bool LibavcodecTakes(const Bytes& inBytes) {
    const int level = av_log_get_level();
    av_log_set_level(AV_LOG_QUIET);
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_AAC);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->extradata =
        static_cast<std::uint8_t*>(av_mallocz(inBytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(context->extradata, inBytes.data(), inBytes.size());
    context->extradata_size = static_cast<int>(inBytes.size());
    const bool isTaken = avcodec_open2(context, codec, nullptr) == 0;
    avcodec_free_context(&context);
    av_log_set_level(level);
    return isTaken;
}

TEST(AACConfig, PlainLowComplexity) {
    const AACConfig config = Parse({0x12, 0x10});
    EXPECT_EQ(kAACLC, config.objectType);
    EXPECT_EQ(44100u, config.coreRateHz);
    EXPECT_EQ(44100u, config.outputRateHz);
    EXPECT_EQ(2, config.channelCount);
    EXPECT_EQ(1024u, config.FramesPerPacket());
    EXPECT_EQ(BandReplication::kUnsignalled, config.bandReplication);
    EXPECT_EQ(DecoderMemory::kOnePacket, config.Memory());
    EXPECT_EQ(noErr, config.decodable);
    EXPECT_EQ("AAC LC", config.Name());
    EXPECT_EQ(16u, config.coreBitCount);
}

TEST(AACConfig, EveryRateIndex) {
    const std::uint32_t rates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                   22050, 16000, 12000, 11025, 8000,  7350};
    for (std::uint32_t index = 0; index < 13; ++index) {
        EXPECT_EQ(rates[index], Parse(MakeAudioSpecificConfig(kAACLC, index, 1)).coreRateHz);
        EXPECT_EQ(rates[index], AACRateOfIndex(index));
        EXPECT_EQ(index, AACRateIndex(rates[index]));
    }
    EXPECT_FALSE(Parses(MakeAudioSpecificConfig(kAACLC, 13, 1)));
    EXPECT_FALSE(Parses(MakeAudioSpecificConfig(kAACLC, 14, 1)));
    EXPECT_EQ(0u, AACRateOfIndex(13));
    EXPECT_EQ(0u, AACRateOfIndex(15));
    EXPECT_EQ(15u, AACRateIndex(44101));
}

TEST(AACConfig, RateWrittenOut) {
    const Bytes config = Pack({{2, 5}, {15, 4}, {12345, 24}, {1, 4}, {0, 3}});
    EXPECT_EQ(12345u, Parse(config).coreRateHz);
    EXPECT_EQ(LibavcodecTakes(config), Parse(config).decodable == noErr);
    EXPECT_FALSE(Parses(Pack({{2, 5}, {15, 4}, {0, 24}, {1, 4}, {0, 3}})));
}

TEST(AACConfig, ChannelConfigurations) {
    const std::uint16_t counts[] = {0, 1, 2, 3, 4, 5, 6, 8, 0, 0, 0, 7, 8, 24, 8, 0};
    for (std::uint32_t channels = 1; channels < 16; ++channels) {
        const AACConfig config = Parse(MakeAudioSpecificConfig(kAACLC, 4, channels));
        EXPECT_EQ(counts[channels], config.channelCount) << channels;
        EXPECT_EQ(LibavcodecTakes(MakeAudioSpecificConfig(kAACLC, 4, channels)), config.decodable == noErr)
            << channels;
    }
}

TEST(AACConfig, ProgramConfigElement) {
    // Front: a single channel and a pair; back: a pair; one low frequency channel; a comment of two bytes.
    const Bytes bytes = Pack({{2, 5}, {4, 4}, {0, 4}, {0, 3}, {0, 4}, {1, 2}, {4, 4}, {2, 4}, {0, 4},
                              {1, 4}, {1, 2}, {0, 3}, {0, 4}, {0, 1}, {1, 1}, {3, 4}, {0, 1}, {0, 1},
                              {0, 4}, {1, 1}, {0, 4}, {1, 1}, {1, 4}, {0, 4}, {0, 7}, {2, 8}, {0x4142, 16}});
    const AACConfig config = Parse(bytes);
    EXPECT_EQ(6, config.channelCount);
    EXPECT_EQ(BandReplication::kUnsignalled, config.bandReplication);
}

TEST(AACConfig, ProgramConfigElementWithoutChannelsIsNotDecodable) {
    const Bytes bytes = Pack({{2, 5}, {4, 4}, {0, 4}, {0, 3}, {0, 32}, {0, 16}});
    EXPECT_EQ(0, Parse(bytes).channelCount);
    EXPECT_EQ(noCodecErr, Parse(bytes).decodable);
}

TEST(AACConfig, ProgramConfigElementCutShort) {
    EXPECT_FALSE(Parses(Pack({{2, 5}, {4, 4}, {0, 4}, {0, 3}, {0, 8}})));
}

TEST(AACConfig, HierarchicalBandReplication) {
    const AACConfig config = Parse(Pack({{5, 5}, {7, 4}, {2, 4}, {4, 4}, {2, 5}, {0, 3}}));
    EXPECT_EQ(kAACLC, config.objectType);
    EXPECT_EQ(22050u, config.coreRateHz);
    EXPECT_EQ(44100u, config.outputRateHz);
    EXPECT_EQ(2048u, config.FramesPerPacket());
    EXPECT_EQ(BandReplication::kPresent, config.bandReplication);
    EXPECT_EQ(DecoderMemory::kUnbounded, config.Memory());
    EXPECT_EQ("HE-AAC", config.Name());
}

TEST(AACConfig, BandReplicationAtTheCoreRateKeepsThePacketLength) {
    const AACConfig config = Parse(Pack({{5, 5}, {4, 4}, {2, 4}, {4, 4}, {2, 5}, {0, 3}}));
    EXPECT_EQ(44100u, config.outputRateHz);
    EXPECT_EQ(1024u, config.FramesPerPacket());
}

TEST(AACConfig, HierarchicalParametricStereoMakesTwoChannels) {
    const AACConfig config = Parse(Pack({{29, 5}, {6, 4}, {1, 4}, {3, 4}, {2, 5}, {0, 3}}));
    EXPECT_TRUE(config.hasParametricStereo);
    EXPECT_EQ(2, config.channelCount);
    EXPECT_EQ(48000u, config.outputRateHz);
    EXPECT_EQ("HE-AAC v2", config.Name());
}

TEST(AACConfig, HierarchicalWithoutAnOutputRate) {
    EXPECT_FALSE(Parses(Pack({{5, 5}, {7, 4}, {2, 4}, {13, 4}, {2, 5}, {0, 3}})));
}

TEST(AACConfig, TrailingBandReplication) {
    const AACConfig config =
        Parse(Pack({{2, 5}, {7, 4}, {1, 4}, {0, 3}, {0x2b7, 11}, {5, 5}, {1, 1}, {4, 4}}));
    EXPECT_EQ(BandReplication::kPresent, config.bandReplication);
    EXPECT_EQ(44100u, config.outputRateHz);
    EXPECT_EQ(1, config.channelCount);
    EXPECT_EQ("HE-AAC", config.Name());
}

TEST(AACConfig, TrailingBandReplicationWithARateWrittenOut) {
    const AACConfig config =
        Parse(Pack({{2, 5}, {7, 4}, {1, 4}, {0, 3}, {0x2b7, 11}, {5, 5}, {1, 1}, {15, 4}, {44100, 24}}));
    EXPECT_EQ(44100u, config.outputRateHz);
}

TEST(AACConfig, TrailingParametricStereo) {
    const AACConfig config = Parse(
        Pack({{2, 5}, {7, 4}, {1, 4}, {0, 3}, {0x2b7, 11}, {5, 5}, {1, 1}, {4, 4}, {0x548, 11}, {1, 1}}));
    EXPECT_TRUE(config.hasParametricStereo);
    EXPECT_EQ(2, config.channelCount);
}

TEST(AACConfig, TrailingParametricStereoDenied) {
    const AACConfig config = Parse(
        Pack({{2, 5}, {7, 4}, {1, 4}, {0, 3}, {0x2b7, 11}, {5, 5}, {1, 1}, {4, 4}, {0x548, 11}, {0, 1}}));
    EXPECT_FALSE(config.hasParametricStereo);
    EXPECT_EQ(1, config.channelCount);
}

TEST(AACConfig, TrailingDenialIsAWord) {
    const AACConfig config = Parse({0x11, 0x90, 0x56, 0xe5, 0x00});
    EXPECT_EQ(BandReplication::kAbsent, config.bandReplication);
    EXPECT_EQ(48000u, config.outputRateHz);
    EXPECT_EQ(DecoderMemory::kOnePacket, config.Memory());
}

TEST(AACConfig, TrailingZerosAreNoExtension) {
    EXPECT_EQ(BandReplication::kUnsignalled, Parse({0x12, 0x10, 0, 0, 0, 0, 0, 0}).bandReplication);
}

TEST(AACConfig, ShortPackets) {
    EXPECT_EQ(960u, Parse(Pack({{2, 5}, {4, 4}, {2, 4}, {1, 1}, {0, 2}})).FramesPerPacket());
    EXPECT_EQ(1920u, Parse(Pack({{5, 5}, {7, 4}, {2, 4}, {4, 4}, {2, 5}, {1, 1}, {0, 2}})).FramesPerPacket());
}

TEST(AACConfig, DelayOfACoreCoderIsPassedOver) {
    const AACConfig config = Parse(Pack({{2, 5}, {4, 4}, {2, 4}, {0, 1}, {1, 1}, {0x2b7, 14}, {0, 1}}));
    EXPECT_EQ(30u, config.coreBitCount);
    EXPECT_EQ(BandReplication::kUnsignalled, config.bandReplication);
}

TEST(AACConfig, LowDelay) {
    EXPECT_EQ(512u, Parse(Pack({{23, 5}, {4, 4}, {2, 4}, {0, 3}, {0, 2}})).FramesPerPacket());
    EXPECT_EQ(480u, Parse(Pack({{23, 5}, {4, 4}, {2, 4}, {1, 1}, {0, 2}, {0, 2}})).FramesPerPacket());
    EXPECT_EQ("AAC LD", Parse(Pack({{23, 5}, {4, 4}, {2, 4}, {0, 3}, {0, 2}})).Name());
}

TEST(AACConfig, EnhancedLowDelay) {
    const AACConfig plain = Parse(Pack({{31, 5}, {7, 6}, {4, 4}, {2, 4}, {0, 1}, {0, 3}, {0, 1}, {0, 4}}));
    EXPECT_EQ(kERAACELD, plain.objectType);
    EXPECT_EQ(512u, plain.FramesPerPacket());
    EXPECT_EQ(noErr, plain.decodable);
    EXPECT_EQ("AAC ELD", plain.Name());
    EXPECT_EQ(
        480u,
        Parse(Pack({{31, 5}, {7, 6}, {4, 4}, {2, 4}, {1, 1}, {0, 3}, {0, 1}, {0, 4}})).FramesPerPacket());
    const AACConfig replicated =
        Parse(Pack({{31, 5}, {7, 6}, {7, 4}, {2, 4}, {0, 1}, {0, 3}, {1, 1}, {1, 1}, {0, 1}, {0, 4}}));
    EXPECT_EQ(44100u, replicated.outputRateHz);
    EXPECT_EQ(1024u, replicated.FramesPerPacket());
    EXPECT_EQ(noCodecErr, replicated.decodable);
}

TEST(AACConfig, UnifiedSpeechAndAudio) {
    const std::uint32_t counts[] = {768, 1024, 2048, 2048, 4096};
    for (std::uint32_t index = 0; index < 5; ++index) {
        const AACConfig config = Parse(Pack({{31, 5}, {10, 6}, {4, 4}, {1, 4}, {4, 5}, {index, 3}, {1, 5}}));
        EXPECT_EQ(counts[index], config.FramesPerPacket());
        EXPECT_EQ(noCodecErr, config.decodable);
        EXPECT_EQ("USAC", config.Name());
    }
}

// What the decoder takes and what is called decodable must not drift apart.
TEST(AACConfig, DecodableAgreesWithLibavcodec) {
    for (std::uint32_t type = 1; type < 48; ++type) {
        if (type == kSBR || type == kPS || type == 31) continue;
        for (std::uint32_t isShort = 0; isShort < 2; ++isShort) {
            std::vector<Field> fields;
            if (type > 31)
                fields = {{31, 5}, {type - 32, 6}};
            else
                fields = {{type, 5}};
            fields.insert(fields.end(), {{4, 4}, {2, 4}, {isShort, 1}, {0, 2}, {0, 32}});
            const Bytes bytes = Pack(fields);
            EXPECT_EQ(LibavcodecTakes(bytes), Parse(bytes).decodable == noErr) << type << ' ' << isShort;
        }
    }
}

TEST(AACConfig, ErrorResilienceAgreesWithLibavcodec) {
    for (std::uint32_t flags = 0; flags < 8; ++flags) {
        const Bytes bytes = Pack({{17, 5}, {4, 4}, {2, 4}, {1, 3}, {flags, 3}, {0, 1}, {0, 2}, {0, 16}});
        EXPECT_EQ(LibavcodecTakes(bytes), Parse(bytes).decodable == noErr) << flags;
    }
    for (std::uint32_t protection = 0; protection < 4; ++protection) {
        const Bytes bytes = Pack({{17, 5}, {4, 4}, {2, 4}, {0, 3}, {protection, 2}, {0, 16}});
        EXPECT_EQ(LibavcodecTakes(bytes), Parse(bytes).decodable == noErr) << protection;
    }
}

TEST(AACConfig, CutShort) {
    EXPECT_FALSE(Parses({}));
    EXPECT_FALSE(Parses({0x12}));
    EXPECT_FALSE(Parses(Pack({{5, 5}, {7, 4}, {2, 4}})));
    EXPECT_FALSE(Parses(Pack({{31, 5}})));
}

TEST(AACConfig, EveryPrefixAndEveryByteIsSafe) {
    for (std::uint32_t first = 0; first < 256; ++first) {
        for (std::uint32_t second = 0; second < 256; ++second) {
            const Bytes bytes = {static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second), 0xff,
                                 0x56, 0xe5};
            for (std::size_t count = 0; count <= bytes.size(); ++count) {
                AACConfig config;
                if (ParseAudioSpecificConfig(bytes.data(), count, config)) {
                    ASSERT_NE(0u, config.outputRateHz);
                    ASSERT_LE(config.coreBitCount, count * 8);
                }
            }
        }
    }
}

TEST(AACConfig, MadeConfigurationsAreTwoBytes) {
    EXPECT_EQ((Bytes{0x12, 0x10}), MakeAudioSpecificConfig(kAACLC, 4, 2));
    EXPECT_EQ((Bytes{0x0a, 0x08}), MakeAudioSpecificConfig(kAACMain, 4, 1));
}

TEST(AACConfig, WithoutBandReplicationSaysNo) {
    const Bytes pinned = WithoutBandReplication({0x12, 0x10});
    EXPECT_EQ((Bytes{0x12, 0x10, 0x56, 0xe5, 0x00}), pinned);
    EXPECT_EQ(BandReplication::kAbsent, Parse(pinned).bandReplication);
    EXPECT_TRUE(LibavcodecTakes(pinned));
    EXPECT_EQ(pinned, WithoutBandReplication(pinned));
}

TEST(AACConfig, WithoutBandReplicationReplacesTrailingBytes) {
    EXPECT_EQ((Bytes{0x12, 0x10, 0x56, 0xe5, 0x00}), WithoutBandReplication({0x12, 0x10, 0xff, 0xff}));
}

TEST(AACConfig, WithoutBandReplicationKeepsWhatSignals) {
    const Bytes explicitOne = Pack({{5, 5}, {7, 4}, {2, 4}, {4, 4}, {2, 5}, {0, 3}});
    EXPECT_EQ(explicitOne, WithoutBandReplication(explicitOne));
    EXPECT_EQ(Bytes{0x12}, WithoutBandReplication({0x12}));
}

TEST(AACConfig, WithoutBandReplicationBehindAProgramConfigElement) {
    // One pair in front, and a comment: the configuration ends at a byte, the extension follows.
    const Bytes config = Pack({{2, 5},
                               {4, 4},
                               {0, 4},
                               {0, 3},
                               {0, 4},
                               {1, 2},
                               {4, 4},
                               {1, 4},
                               {0, 4},
                               {0, 4},
                               {0, 2},
                               {0, 3},
                               {0, 4},
                               {0, 3},
                               {1, 1},
                               {0, 4},
                               {0, 1},
                               {1, 8},
                               {0x41, 8}});
    ASSERT_TRUE(LibavcodecTakes(config));
    EXPECT_EQ(2, Parse(config).channelCount);
    const Bytes pinned = WithoutBandReplication(config);
    EXPECT_EQ(BandReplication::kAbsent, Parse(pinned).bandReplication);
    EXPECT_EQ(2, Parse(pinned).channelCount);
    EXPECT_TRUE(LibavcodecTakes(pinned));
}

TEST(AACConfig, WithoutBandReplicationInTheMiddleOfAByte) {
    const Bytes config = Pack({{17, 5}, {4, 4}, {1, 4}, {0, 3}, {0, 2}});
    const Bytes pinned = WithoutBandReplication(config);
    EXPECT_EQ(BandReplication::kAbsent, Parse(pinned).bandReplication);
    EXPECT_TRUE(LibavcodecTakes(pinned));
}

TEST(AACConfig, DescribesAFormat) {
    SoundFormat format;
    format.dataFormat = 0x6d703461;
    ASSERT_TRUE(DescribeAAC({0x12, 0x10}, format));
    EXPECT_EQ(0x6d703461u, format.dataFormat);
    EXPECT_EQ("AAC LC", format.name);
    EXPECT_EQ(AV_CODEC_ID_AAC, format.codecID);
    EXPECT_EQ((Bytes{0x12, 0x10}), format.decoderConfig);
    EXPECT_EQ(44100u, format.sampleRateHz);
    EXPECT_EQ(2, format.channelCount);
    EXPECT_EQ(1024u, format.nominalPacketFrames);
    EXPECT_EQ(DecoderMemory::kOnePacket, format.memory);
    EXPECT_EQ(noErr, format.decodable);
}

TEST(AACConfig, DescribingGarbageLeavesTheFormat) {
    SoundFormat format;
    format.name = "as it was";
    EXPECT_FALSE(DescribeAAC({}, format));
    EXPECT_EQ("as it was", format.name);
}

TEST(AACConfig, Names) {
    const struct {
        std::uint32_t type;
        const char* name;
    } cases[] = {{kAACMain, "AAC Main"},
                 {kAACSSR, "AAC SSR"},
                 {kAACLTP, "AAC LTP"},
                 {kAACScalable, "AAC Scalable"},
                 {kERAACLC, "ER AAC LC"},
                 {kERAACLTP, "ER AAC LTP"},
                 {kERAACScalable, "ER AAC Scalable"},
                 {kERBSAC, "ER BSAC"},
                 {8, "MPEG-4 audio, object type 8"}};
    for (const auto& each : cases)
        EXPECT_EQ(each.name, Parse(Pack({{each.type, 5}, {4, 4}, {2, 4}, {0, 3}, {0, 16}})).Name());
}

TEST(AACConfig, OnlyPlainLowComplexityForgets) {
    EXPECT_EQ(DecoderMemory::kUnbounded, Parse(MakeAudioSpecificConfig(kAACMain, 4, 2)).Memory());
    EXPECT_EQ(DecoderMemory::kUnbounded, Parse(MakeAudioSpecificConfig(kAACLTP, 4, 2)).Memory());
    EXPECT_EQ(DecoderMemory::kUnbounded, Parse(Pack({{23, 5}, {4, 4}, {2, 4}, {0, 3}, {0, 2}})).Memory());
}

}  // namespace
}  // namespace toolbox::movies

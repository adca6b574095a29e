#include "MPEG4Import.h"

#include <aac/AACConfig.h>
#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4SampleDescription.h>
#include <toolbox/MacErrors.h>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

std::vector<MPEG4SoundDescription> Read(const FileBytes& inBox) {
    const auto file = FileOf(inBox);
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    movies::Box box;
    EXPECT_TRUE(walk.Next(box));
    return ReadSoundDescriptions(boxes, box);
}

MPEG4SoundDescription ReadOne(const SoundEntry& inEntry) {
    const auto descriptions = Read(TableBox("stsd", 1, WriteSoundEntry(inEntry)));
    EXPECT_EQ(1u, descriptions.size());
    return descriptions.empty() ? MPEG4SoundDescription() : descriptions[0];
}

SoundEntry Entry(const std::string& inFormat, const FileBytes& inChildren, std::uint16_t inVersion = 0) {
    SoundEntry entry;
    entry.dataFormat = inFormat;
    entry.children = inChildren;
    entry.version = inVersion;
    return entry;
}

const FileBytes kLC = {0x12, 0x10};

TEST(MPEG4SampleDescription, AACInEveryForm) {
    const FileBytes esds = StreamDescriptor(kLC);
    const FileBytes wave = mirtal::fakes::Box(
        "wave", Join({mirtal::fakes::Box("frma", Text("mp4a")), mirtal::fakes::Box("mp4a", Zeros(4)), esds,
                      mirtal::fakes::Box("", {})}));
    for (const SoundEntry& entry :
         {Entry("mp4a", esds), Entry("mp4a", esds, 1), Entry("mp4a", wave, 1), Entry("mp4a", esds, 2),
          Entry("mp4a", wave, 2), Entry("mp4a", Join({mirtal::fakes::Box("chan", Zeros(12)), wave}), 1)}) {
        const MPEG4SoundDescription description = ReadOne(entry);
        EXPECT_TRUE(description.isOurs);
        EXPECT_EQ("AAC LC", description.format.name);
        EXPECT_EQ(44100u, description.format.sampleRateHz);
        EXPECT_EQ(kLC, description.format.decoderConfig);
        EXPECT_EQ(noErr, description.format.decodable);
    }
}

// In version 1 of the box, version 1 of a description has no more fields than version 0.
TEST(MPEG4SampleDescription, PlainVersionOne) {
    FileBytes entry = WriteSoundEntry(Entry("mp4a", StreamDescriptor(kLC)));
    entry[17] = 1;
    const auto descriptions = Read(FullBox("stsd", 1, 0, Join({U32(1), entry})));
    ASSERT_EQ(1u, descriptions.size());
    EXPECT_EQ(kLC, descriptions[0].format.decoderConfig);
}

TEST(MPEG4SampleDescription, ObjectTypes) {
    const struct {
        std::uint8_t type;
        int codec;
        std::uint32_t packetFrames;
    } cases[] = {{0x40, AV_CODEC_ID_AAC, 1024}, {0x66, AV_CODEC_ID_AAC, 1024}, {0x67, AV_CODEC_ID_AAC, 1024},
                 {0x68, AV_CODEC_ID_AAC, 1024}, {0x00, AV_CODEC_ID_AAC, 1024}, {0x69, AV_CODEC_ID_MP3, 1152},
                 {0x6b, AV_CODEC_ID_MP3, 1152}, {0xa5, AV_CODEC_ID_AC3, 1536}, {0xa6, AV_CODEC_ID_EAC3, 1536},
                 {0xdd, AV_CODEC_ID_VORBIS, 0}};
    for (const auto& each : cases) {
        const MPEG4SoundDescription description = ReadOne(Entry("mp4a", StreamDescriptor(kLC, each.type)));
        EXPECT_TRUE(description.isOurs) << int{each.type};
        EXPECT_EQ(each.codec, description.format.codecID) << int{each.type};
        EXPECT_EQ(each.packetFrames, description.format.nominalPacketFrames) << int{each.type};
        EXPECT_EQ(noErr, description.format.decodable);
    }
    EXPECT_FALSE(ReadOne(Entry("mp4a", StreamDescriptor(kLC, 0xe1))).isOurs);
}

TEST(MPEG4SampleDescription, LayerThreeInsideAConfiguration) {
    const MPEG4SoundDescription description =
        ReadOne(Entry("mp4a", StreamDescriptor({0xf8, 0x48, 0x40, 0x00})));
    EXPECT_EQ(AV_CODEC_ID_MP3, description.format.codecID);
}

TEST(MPEG4SampleDescription, AACWithoutAConfiguration) {
    for (const FileBytes& children : {FileBytes(), StreamDescriptor({}), StreamDescriptor({0x12}),
                                      FullBox("esds", 0, 0, {3}), mirtal::fakes::Box("esds", {})}) {
        const MPEG4SoundDescription description = ReadOne(Entry("mp4a", children));
        EXPECT_TRUE(description.isOurs);
        EXPECT_EQ(MakeAudioSpecificConfig(kAACLC, 4, 2), description.format.decoderConfig);
        EXPECT_EQ(noErr, description.format.decodable);
    }
    SoundEntry odd = Entry("mp4a", {});
    odd.rateHz = 12345;
    EXPECT_EQ(noCodecErr, ReadOne(odd).format.decodable);
    odd.rateHz = 44100;
    odd.channelCount = 9;
    EXPECT_EQ(noCodecErr, ReadOne(odd).format.decodable);
    odd.channelCount = 8;
    EXPECT_EQ(8, ReadOne(odd).format.channelCount);
}

TEST(MPEG4SampleDescription, MP3) {
    for (const char* format : {".mp3", "mp3 "}) {
        SoundEntry entry = Entry(format, {}, 1);
        EXPECT_EQ(AV_CODEC_ID_MP3, ReadOne(entry).format.codecID);
        EXPECT_EQ(1152u, ReadOne(entry).format.nominalPacketFrames);
        entry.rateHz = 22050;
        EXPECT_EQ(576u, ReadOne(entry).format.nominalPacketFrames);
    }
    EXPECT_EQ(AV_CODEC_ID_MP3, ReadOne(Entry(std::string("ms\0\x55", 4), {}, 1)).format.codecID);
}

TEST(MPEG4SampleDescription, AC3) {
    // Coding mode 7 (five channels) with low frequency.
    const FileBytes five = {0x10, 0x3d, 0x40};
    const MPEG4SoundDescription description = ReadOne(Entry("ac-3", mirtal::fakes::Box("dac3", five)));
    EXPECT_EQ(AV_CODEC_ID_AC3, description.format.codecID);
    EXPECT_EQ(6, description.format.channelCount);
    EXPECT_EQ(1536u, description.format.nominalPacketFrames);
    EXPECT_EQ(2, ReadOne(Entry("ac-3", mirtal::fakes::Box("dac3", {1}))).format.channelCount);
    const MPEG4SoundDescription enhanced =
        ReadOne(Entry("ec-3", mirtal::fakes::Box("dec3", {0x06, 0x00, 0x20, 0x0f, 0x00})));
    EXPECT_EQ(AV_CODEC_ID_EAC3, enhanced.format.codecID);
    EXPECT_EQ(6, enhanced.format.channelCount);
    EXPECT_EQ(2, ReadOne(Entry("ec-3", {})).format.channelCount);
}

TEST(MPEG4SampleDescription, ALAC) {
    const FileBytes config = FullBox("alac", 0, 0,
                                     Join({U32(4096), U8(0), U8(24), U8(40), U8(10), U8(14), U8(1), U16(255),
                                           U32(0), U32(0), U32(96000)}));
    for (const SoundEntry& entry :
         {Entry("alac", config), Entry("alac", mirtal::fakes::Box("wave", config), 1)}) {
        const MPEG4SoundDescription description = ReadOne(entry);
        EXPECT_EQ(AV_CODEC_ID_ALAC, description.format.codecID);
        EXPECT_EQ(96000u, description.format.sampleRateHz);
        EXPECT_EQ(1, description.format.channelCount);
        EXPECT_EQ(24, description.format.bitsPerSample);
        EXPECT_EQ(4096u, description.format.nominalPacketFrames);
        EXPECT_EQ(DecoderMemory::kNone, description.format.memory);
        EXPECT_EQ(config, description.format.decoderConfig);
    }
    EXPECT_EQ(noCodecErr, ReadOne(Entry("alac", {})).format.decodable);
    EXPECT_EQ(noCodecErr, ReadOne(Entry("alac", FullBox("alac", 0, 0, Zeros(23)))).format.decodable);
}

TEST(MPEG4SampleDescription, Opus) {
    const FileBytes config =
        mirtal::fakes::Box("dOps", Join({U8(0), U8(2), U16(312), U32(44100), U16(0xff00), U8(0)}));
    const MPEG4SoundDescription description = ReadOne(Entry("Opus", config));
    EXPECT_EQ(AV_CODEC_ID_OPUS, description.format.codecID);
    EXPECT_EQ(48000u, description.format.sampleRateHz);
    EXPECT_EQ(312u, description.delayFrames);
    EXPECT_EQ((FileBytes{'O', 'p', 'u', 's', 'H', 'e', 'a', 'd', 1, 2, 0x38, 0x01, 0x44, 0xac, 0, 0, 0x00,
                         0xff, 0}),
              description.format.decoderConfig);
    EXPECT_EQ(noCodecErr, ReadOne(Entry("Opus", mirtal::fakes::Box("dOps", Zeros(10)))).format.decodable);
}

TEST(MPEG4SampleDescription, FLAC) {
    FileBytes info =
        Join({U16(4608), U16(4608), Zeros(6), U32(96000U << 12 | 1U << 9 | 23U << 4), Zeros(20)});
    const FileBytes config = FullBox("dfLa", 0, 0, Join({U32(0x80000022), info}));
    const MPEG4SoundDescription description = ReadOne(Entry("fLaC", config));
    EXPECT_EQ(AV_CODEC_ID_FLAC, description.format.codecID);
    EXPECT_EQ(96000u, description.format.sampleRateHz);
    EXPECT_EQ(2, description.format.channelCount);
    EXPECT_EQ(24, description.format.bitsPerSample);
    EXPECT_EQ(4608u, description.format.nominalPacketFrames);
    EXPECT_EQ(info, description.format.decoderConfig);
    EXPECT_EQ(noCodecErr, ReadOne(Entry("fLaC", FullBox("dfLa", 0, 0, Zeros(37)))).format.decodable);
}

TEST(MPEG4SampleDescription, EncryptedSound) {
    const FileBytes scheme = mirtal::fakes::Box("sinf", mirtal::fakes::Box("frma", Text("mp4a")));
    for (const SoundEntry& entry : {Entry("enca", Join({StreamDescriptor(kLC), scheme})),
                                    Entry("drms", Join({StreamDescriptor(kLC), scheme})),
                                    Entry("mp4a", Join({StreamDescriptor(kLC), scheme}))}) {
        const MPEG4SoundDescription description = ReadOne(entry);
        EXPECT_TRUE(description.isOurs);
        EXPECT_EQ(badFormat, description.format.decodable);
        EXPECT_EQ("AAC LC", description.format.name);
        EXPECT_EQ(1024u, description.format.nominalPacketFrames);
    }
    const MPEG4SoundDescription unknown =
        ReadOne(Entry("enca", mirtal::fakes::Box("sinf", mirtal::fakes::Box("frma", Text("what")))));
    EXPECT_TRUE(unknown.isOurs);
    EXPECT_EQ(badFormat, unknown.format.decodable);
    EXPECT_EQ("encrypted sound", unknown.format.name);
    EXPECT_EQ(badFormat, ReadOne(Entry("drms", {})).format.decodable);
}

TEST(MPEG4SampleDescription, LongFormOfARate) {
    SoundEntry entry = Entry("mp4a", StreamDescriptor({0x10, 0x10}), 2);
    entry.rateHz = 96000;
    EXPECT_EQ(96000u, ReadOne(entry).format.sampleRateHz);
}

TEST(MPEG4SampleDescription, SeveralAndTooMany) {
    const FileBytes entry = WriteSoundEntry(Entry("mp4a", StreamDescriptor(kLC)));
    EXPECT_EQ(2u, Read(TableBox("stsd", 2, Join({entry, entry, entry}))).size());
    EXPECT_EQ(3u, Read(TableBox("stsd", UINT32_MAX, Join({entry, entry, entry}))).size());
    EXPECT_EQ(64u, Read(TableBox("stsd", 100, Join(std::vector<FileBytes>(100, entry)))).size());
    EXPECT_TRUE(Read(TableBox("stsd", 0, entry)).empty());
    EXPECT_TRUE(Read(mirtal::fakes::Box("stsd", {0, 0, 0, 0})).empty());
}

TEST(MPEG4SampleDescription, FirstDataFormat) {
    const auto file = FileOf(TableBox("stsd", 1, mirtal::fakes::Box("avc1", Zeros(10))));
    BoxFile boxes(*file);
    BoxWalk walk(boxes, 0, boxes.SizeBytes());
    movies::Box box;
    ASSERT_TRUE(walk.Next(box));
    EXPECT_EQ(BoxType("avc1"), FirstDataFormat(boxes, box));
    box.endBytes = box.contentBytes;
    EXPECT_EQ(0u, FirstDataFormat(boxes, box));
}

// The delay that the codec's own header tells is dropped where no edit list says something else.
TEST(MPEG4SampleDescription, DelayOfTheCodec) {
    MP4File file = PlainMovie(10);
    file.tracks[0].timeScale = 48000;
    file.tracks[0].durations = {{10, 960}};
    file.tracks[0].descriptions = {WriteSoundEntry(Entry(
        "Opus", mirtal::fakes::Box("dOps", Join({U8(0), U8(2), U16(312), U32(48000), U16(0), U8(0)}))))};
    ImportResult result = Import(file);
    EXPECT_EQ(9288, result.Sound()->FrameCount());
    EXPECT_EQ(3u, result.Sound()->trimSource);
    EXPECT_EQ(312, result.Sound()->framesTrimmedAtStart);
    file.movieTimeScale = 48000;
    file.tracks[0].edits = {{9600, 0}};
    EXPECT_EQ(9600, Import(file).Sound()->FrameCount());
}

}  // namespace
}  // namespace toolbox::movies

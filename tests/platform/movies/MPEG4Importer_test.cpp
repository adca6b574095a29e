#include "MPEG4Import.h"

#include "fakes/AACEncoder.h"

#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <random>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

constexpr OSType kSound = 0x736f756e;
constexpr OSType kVideo = 0x76696465;

// Every packet that a movie of numbered packets has must be where its number says.
void ExpectNumbered(const SoundTrack& inSound, std::uint32_t inCount) {
    ASSERT_EQ(inCount, inSound.packets->PacketCount());
    const auto reader = inSound.packets->NewReader();
    for (std::uint32_t i = 0; i < inCount; ++i) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(i, bytes)) << i;
        ASSERT_GE(bytes.sizeBytes, 2u);
        ASSERT_EQ(i, std::uint32_t{bytes.data[0]} << 8 | bytes.data[1]);
    }
}

// What holds of everything that is imported: spans and durations follow each other and say the same length.
void ExpectConsistent(const ImportedMovie& inMovie) {
    for (const ImportedTrack& track : inMovie.tracks) {
        ASSERT_GE(track.duration.units, 0);
        ASSERT_GT(track.duration.unitsPerSecond, 0);
        ASSERT_EQ(track.mediaType == kSound, track.sound != nullptr);
        if (!track.sound) continue;
        const SoundTrack& sound = *track.sound;
        ASSERT_FALSE(sound.formats.empty());
        for (const SoundFormat& format : sound.formats)
            ASSERT_NE(0u, format.sampleRateHz);
        std::uint32_t packet = 0;
        std::int64_t frame = 0;
        for (const PacketSpan& span : sound.spans) {
            ASSERT_EQ(packet, span.firstPacket);
            ASSERT_GE(span.firstFrame, frame);
            ASSERT_LT(span.format, sound.formats.size());
            ASSERT_FALSE(span.durations.empty());
            ASSERT_EQ(span.firstPacket, span.durations.front().firstPacket);
            std::int64_t spanFrame = 0;
            for (std::size_t i = 0; i < span.durations.size(); ++i) {
                const DurationRun& run = span.durations[i];
                ASSERT_EQ(spanFrame, run.firstFrame);
                const std::uint32_t end = i + 1 < span.durations.size() ? span.durations[i + 1].firstPacket
                                                                        : span.firstPacket + span.packetCount;
                ASSERT_GT(end, run.firstPacket);
                spanFrame += std::int64_t{end - run.firstPacket} * run.framesPerPacket;
            }
            if (sound.formats[span.format].sampleRateHz == sound.SampleRateHz()) {
                ASSERT_EQ(spanFrame, span.frameCount);
            }
            packet += span.packetCount;
            frame = span.firstFrame + span.frameCount;
        }
        ASSERT_EQ(sound.packets->PacketCount(), packet);
        for (const Edit& edit : sound.edits) {
            ASSERT_GT(edit.frameCount, 0);
            ASSERT_GE(edit.mediaStart, Edit::kEmpty);
        }
    }
}

std::int64_t FramesOf(const MP4File& inFile) {
    const ImportResult result = Import(inFile);
    EXPECT_EQ(noErr, result.status) << result.problem;
    if (result.status != noErr || result.Sound() == nullptr) return -1;
    ExpectConsistent(result.movie);
    return result.Sound()->FrameCount();
}

// Bytes of an LC configuration with band replication, 22050 Hz to 44100 Hz, mono.
const FileBytes kReplicated = {0x13, 0x88, 0x56, 0xe5, 0xa0};

TEST(MPEG4Importer, PlainFile) {
    const ImportResult result = Import(PlainMovie(10));
    ASSERT_EQ(noErr, result.status);
    ExpectConsistent(result.movie);
    EXPECT_EQ("MPEG-4", result.movie.containerName);
    EXPECT_EQ(1000, result.movie.timeScale);
    ASSERT_EQ(1u, result.movie.tracks.size());
    EXPECT_EQ(kSound, result.movie.tracks[0].mediaType);
    EXPECT_EQ(10240, result.movie.tracks[0].duration.units);
    EXPECT_EQ(44100, result.movie.tracks[0].duration.unitsPerSecond);
    const SoundTrack& sound = *result.Sound();
    EXPECT_EQ(10240, sound.FrameCount());
    EXPECT_EQ(44100u, sound.SampleRateHz());
    EXPECT_EQ(2, sound.formats[0].channelCount);
    EXPECT_EQ("AAC LC", sound.formats[0].name);
    EXPECT_EQ(noErr, sound.formats[0].decodable);
    EXPECT_EQ(DecoderMemory::kOnePacket, sound.formats[0].memory);
    EXPECT_EQ(std::uint32_t{kSoundTrimNone}, sound.trimSource);
    ASSERT_EQ(1u, sound.spans.size());
    EXPECT_EQ(1u, sound.spans[0].durations.size());
    ExpectNumbered(sound, 10);
}

// A decoder that starts anywhere must not find replication that the stream's start has not.
TEST(MPEG4Importer, UnsignalledReplicationIsDenied) {
    EXPECT_EQ((FileBytes{0x12, 0x10, 0x56, 0xe5, 0x00}),
              Import(PlainMovie(1)).Sound()->formats[0].decoderConfig);
}

TEST(MPEG4Importer, AnyOrderOfBoxes) {
    const std::vector<std::vector<std::string>> orders = {{"ftyp", "mdat", "moov"},
                                                          {"moov", "mdat"},
                                                          {"mdat", "moov"},
                                                          {"wide", "mdat", "moov"},
                                                          {"free", "moov", "mdat"},
                                                          {"skip", "ftyp", "moov", "mdat"},
                                                          {"ftyp", "free", "mdat", "moov", "uuid"},
                                                          {"ftyp", "mdat64", "moov"},
                                                          {"ftyp", "moov", "mdat64"},
                                                          {"ftyp", "moov", "mdat0"},
                                                          {"pnot", "mdat", "moov"},
                                                          {"ftyp", "moov", "junk", "mdat"}};
    for (const auto& order : orders) {
        MP4File file = PlainMovie(10);
        file.order = order;
        const ImportResult result = Import(file);
        ASSERT_EQ(noErr, result.status) << order[0] << order[1];
        EXPECT_EQ(10240, result.Sound()->FrameCount());
        EXPECT_EQ(order[0] == "ftyp" ? "MPEG-4" : "QuickTime", result.movie.containerName);
        ExpectNumbered(*result.Sound(), 10);
    }
}

TEST(MPEG4Importer, BrandTellsQuickTime) {
    MP4File file = PlainMovie(1);
    file.brand = "qt  ";
    EXPECT_EQ("QuickTime", Import(file).movie.containerName);
}

TEST(MPEG4Importer, OtherFilesAreDeclinedWithoutAWord) {
    for (const FileBytes& other :
         {FileBytes(), FileBytes{0}, Zeros(100), Text("RIFF....WAVEfmt and so on and so on"),
          FileBytes(100, 0xff), Text("ID3 and then some more bytes of it"),
          mirtal::fakes::Box("free", Zeros(10)), Text("1234free")}) {
        ImportResult result = Import(other);
        EXPECT_EQ(cantFindHandler, result.status);
        EXPECT_EQ("", result.problem);
    }
}

TEST(MPEG4Importer, MovieHeaderMissing) {
    MP4File file = PlainMovie(1);
    file.order = {"ftyp", "mdat"};
    const ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the movie header is missing", result.problem);
}

TEST(MPEG4Importer, MovieHeaderCutShort) {
    MP4File file = PlainMovie(100);
    file.order = {"ftyp", "mdat", "moov"};
    const FileBytes whole = WriteMP4(file);
    const std::size_t headerStart = whole.size() - 1000;
    for (std::size_t size = headerStart; size < whole.size(); size += 37) {
        const ImportResult result = Import(FileBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        ASSERT_EQ(invalidMovie, result.status);
        ASSERT_TRUE(result.problem == "the movie header is cut short" ||
                    result.problem == "the movie header is missing")
            << result.problem;
    }
}

TEST(MPEG4Importer, MediaCutShortKeepsItsLength) {
    const FileBytes whole = WriteMP4(PlainMovie(10));
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 550));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    const auto reader = result.Sound()->packets->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(noErr, reader->Read(3, bytes));
    for (std::uint32_t packet = 4; packet < 10; ++packet)
        EXPECT_EQ(eofErr, reader->Read(packet, bytes));
}

TEST(MPEG4Importer, NothingOfTheMediaThere) {
    const FileBytes whole = WriteMP4(PlainMovie(10));
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 950));
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("none of the sound that the movie header describes is in the file", result.problem);
}

TEST(MPEG4Importer, TheFirstGoodMovieCounts) {
    MP4File file = PlainMovie(10);
    const FileBytes good = WriteMP4(file);
    file.tracks[0].timeScale = 3523727305u;
    file.order = {"ftyp", "moov"};
    const FileBytes damaged = WriteMP4(file);
    // Offsets of the good one are counted from its own start: behind the damaged one its packets are
    // elsewhere.
    const ImportResult result = Import(Join({damaged, good}));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    const ImportResult alone = Import(damaged);
    EXPECT_EQ(invalidMovie, alone.status);
    EXPECT_EQ("the time scale of the sound is damaged", alone.problem);
}

TEST(MPEG4Importer, DeviceFails) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    ImportedMovie movie;
    std::string problem;
    EXPECT_EQ(ioErr, ImportMPEG4(std::make_shared<const MediaFile>(ends[1], 1000, "broken"), movie, problem));
}

TEST(MPEG4Importer, MovieWithoutTracks) {
    MP4File file;
    const ImportResult result = Import(file);
    EXPECT_EQ(noErr, result.status);
    EXPECT_TRUE(result.movie.tracks.empty());
}

TEST(MPEG4Importer, MovieWithoutATimeScale) {
    MP4File file = PlainMovie(1);
    file.movieTimeScale = 0;
    EXPECT_EQ(invalidMovie, Import(file).status);
    file = PlainMovie(1);
    file.replaced["mvhd"] = {};
    EXPECT_EQ(invalidMovie, Import(file).status);
}

TEST(MPEG4Importer, LargeTimes) {
    MP4File file = PlainMovie(10);
    file.hasLargeTimes = true;
    file.tracks[0].hasLargeTimes = true;
    EXPECT_EQ(10240, FramesOf(file));
}

TEST(MPEG4Importer, TableForms) {
    MP4File file = PlainMovie(10);
    file.tracks[0].hasLargeOffsets = true;
    file.tracks[0].packetsPerChunk = 3;
    EXPECT_EQ(10240, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 10);
    for (const std::uint32_t bits : {4u, 8u, 16u}) {
        for (const std::uint32_t count : {9u, 10u, 5000u}) {
            file.tracks[0].sizeBits = bits;
            file.tracks[0].packets = NumberedPackets(count, bits == 4 ? 13 : 113);
            EXPECT_EQ(1024 * std::int64_t{count}, FramesOf(file)) << bits;
            ExpectNumbered(*Import(file).Sound(), count);
        }
    }
}

TEST(MPEG4Importer, ConstantSize) {
    MP4File file = PlainMovie(10);
    file.tracks[0].constantSizeBytes = 100;
    file.tracks[0].packetsPerChunk = 4;
    EXPECT_EQ(10240, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 10);
}

TEST(MPEG4Importer, ManyPackets) {
    MP4File file = PlainMovie(0);
    file.tracks[0].packets = NumberedPackets(20000, 40);
    file.tracks[0].packetsPerChunk = 7;
    EXPECT_EQ(20000 * 1024, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 20000);
}

TEST(MPEG4Importer, PacketsBetweenOthers) {
    // Two tracks whose chunks lie in each other's way: one run of packets for each chunk.
    MP4File file = PlainMovie(10);
    file.tracks[0].packetsPerChunk = 1;
    file.tracks.push_back(file.tracks[0]);
    file.tracks[1].id = 2;
    EXPECT_EQ(10240, FramesOf(file));
    EXPECT_EQ(2u, Import(file).movie.tracks.size());
}

TEST(MPEG4Importer, LastPacketShorterAndLonger) {
    MP4File file = PlainMovie(10);
    file.tracks[0].durations = {{9, 1024}, {1, 100}};
    EXPECT_EQ(9316, FramesOf(file));
    file.tracks[0].durations = {{9, 1024}, {1, 5000}};
    EXPECT_EQ(14216, FramesOf(file));
    file.tracks[0].durations = {{1, 1245}, {9, 1024}};
    EXPECT_EQ(10461, FramesOf(file));
    file.tracks[0].durations = {{1, 0}, {9, 1024}};
    EXPECT_EQ(9216, FramesOf(file));
}

TEST(MPEG4Importer, DurationTableOfAnotherLength) {
    MP4File file = PlainMovie(10);
    file.tracks[0].durations = {{5, 1024}, {2, 1000}};
    EXPECT_EQ(5120 + 5000, FramesOf(file));
    file.tracks[0].durations = {{1000000, 1024}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].replaced["stts"] = {};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].replaced["stts"] = TableBox("stts", 0, {});
    EXPECT_EQ(10240, FramesOf(file));
}

TEST(MPEG4Importer, CoarseTimeScale) {
    MP4File file = PlainMovie(10);
    // 1024 frames are 13.93 ticks of 1/600 s, 23.22 of 1/1000 s, 2089.8 of 1/90000 s.
    file.tracks[0].timeScale = 600;
    file.tracks[0].durations = {{10, 14}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].durations = {{5, 14}, {5, 13}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{8, 23}, {2, 24}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].timeScale = 90000;
    file.tracks[0].durations = {{8, 2090}, {2, 2089}};
    EXPECT_EQ(10240, FramesOf(file));
    // Two ticks off means what it says.
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{9, 23}, {1, 10}};
    EXPECT_EQ(9216 + 441, FramesOf(file));
}

TEST(MPEG4Importer, UnevenDurationsAddUpExactly) {
    MP4File file = PlainMovie(1000);
    file.tracks[0].timeScale = 1000;
    file.tracks[0].durations = {{1000, 11}};  // 485.1 frames each
    EXPECT_EQ(485100, FramesOf(file));
    file.tracks[0].durations.clear();
    for (std::uint32_t i = 0; i < 500; ++i) {
        file.tracks[0].durations.emplace_back(1, 11);
        file.tracks[0].durations.emplace_back(1, 12);
    }
    EXPECT_EQ(507150, FramesOf(file));
}

TEST(MPEG4Importer, FinerTimeScale) {
    MP4File file = PlainMovie(10);
    file.tracks[0].timeScale = 88200;
    file.tracks[0].durations = {{9, 2048}, {1, 1001}};
    EXPECT_EQ(9216 + 501, FramesOf(file));
}

// A packet is one packet, whichever of the two rates the writer counted its durations in.
TEST(MPEG4Importer, ReplicationDoublesTheFrames) {
    MP4File file = PlainMovie(10);
    file.tracks[0].descriptions = {AACEntry(kReplicated, 44100, 1)};
    for (const auto& [scale, delta] :
         {std::pair{22050u, 1024u}, {44100u, 2048u}, {22050u, 2048u}, {44100u, 1024u}}) {
        file.tracks[0].timeScale = scale;
        file.tracks[0].durations = {{10, delta}};
        EXPECT_EQ(20480, FramesOf(file)) << scale << ' ' << delta;
        file.tracks[0].durations = {{9, delta}, {1, delta / 4}};
        EXPECT_EQ(9 * 2048 + 512, FramesOf(file)) << scale << ' ' << delta;
    }
    const ImportResult result = Import(file);
    EXPECT_EQ(44100u, result.Sound()->SampleRateHz());
    EXPECT_EQ("HE-AAC", result.Sound()->formats[0].name);
    EXPECT_EQ(DecoderMemory::kUnbounded, result.Sound()->formats[0].memory);
}

TEST(MPEG4Importer, EditsOfReplicatedSound) {
    MP4File file = PlainMovie(10);
    file.movieTimeScale = 44100;
    file.tracks[0].descriptions = {AACEntry(kReplicated, 44100, 1)};
    file.tracks[0].timeScale = 22050;
    file.tracks[0].edits = {{10000, 1056}};
    const ImportResult result = Import(file);
    EXPECT_EQ(10000, result.Sound()->FrameCount());
    EXPECT_EQ(2112, result.Sound()->framesTrimmedAtStart);
    EXPECT_EQ(20480 - 12112, result.Sound()->framesTrimmedAtEnd);
}

TEST(MPEG4Importer, EditLists) {
    MP4File file = PlainMovie(100);
    file.movieTimeScale = 44100;
    file.tracks[0].edits = {{100000, 2112}};
    const ImportResult result = Import(file);
    EXPECT_EQ(100000, result.Sound()->FrameCount());
    EXPECT_EQ(std::uint32_t{kSoundTrimEditList}, result.Sound()->trimSource);
    EXPECT_EQ(2112, result.Sound()->framesTrimmedAtStart);
    EXPECT_EQ(102400 - 102112, result.Sound()->framesTrimmedAtEnd);
    file.tracks[0].hasLargeEdits = true;
    EXPECT_EQ(100000, FramesOf(file));
    file.tracks[0].edits = {{500, -1}, {1000, 5000}, {700, 0, 0x20000}, {300, -1}, {200, 99000, 0}};
    EXPECT_EQ(2700, FramesOf(file));
    file.tracks[0].edits = {{200000, 2112}};
    EXPECT_EQ(200000, FramesOf(file));
}

TEST(MPEG4Importer, IdentityEditIsNoTrim) {
    MP4File file = PlainMovie(10);
    file.tracks[0].edits = {{232, 0}};  // 10231 frames: a tick of 44.1 short
    const ImportResult result = Import(file);
    EXPECT_EQ(10240, result.Sound()->FrameCount());
    EXPECT_EQ(std::uint32_t{kSoundTrimNone}, result.Sound()->trimSource);
}

TEST(MPEG4Importer, SoundAndPicture) {
    MP4File file = PlainMovie(10);
    MP4Track video;
    video.id = 2;
    video.handler = "vide";
    video.timeScale = 12800;
    video.descriptions = {mirtal::fakes::Box("avc1", Zeros(78))};
    video.packets = NumberedPackets(5, 50);
    video.durations = {{4, 512}, {1, 300}};
    file.tracks.insert(file.tracks.begin(), video);
    ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    ExpectConsistent(result.movie);
    ASSERT_EQ(2u, result.movie.tracks.size());
    EXPECT_EQ(kVideo, result.movie.tracks[0].mediaType);
    EXPECT_EQ(2348, result.movie.tracks[0].duration.units);
    EXPECT_EQ(12800, result.movie.tracks[0].duration.unitsPerSecond);
    ExpectNumbered(*result.Sound(), 10);
    file.tracks[0].edits = {{100, -1}, {150, 3}};
    result = Import(file);
    EXPECT_EQ(250, result.movie.tracks[0].duration.units);
    EXPECT_EQ(1000, result.movie.tracks[0].duration.unitsPerSecond);
}

MP4Track PictureTrack(const std::string& inFormat, std::uint32_t inCount, bool inIsEnabled) {
    MP4Track track;
    track.id = 9;
    track.handler = "vide";
    track.isEnabled = inIsEnabled;
    track.descriptions = {mirtal::fakes::Box(inFormat, Zeros(78))};
    track.packets = NumberedPackets(inCount, 50);
    return track;
}

TEST(MPEG4Importer, AttachedPicturesAreNoTracks) {
    const auto tracksWith = [](const MP4Track& inPicture, bool inIsChapterTrack) {
        MP4File file = PlainMovie(10);
        file.tracks.push_back(inPicture);
        if (inIsChapterTrack) file.tracks[0].chapterTracks = {4, inPicture.id};
        return Import(file).movie.tracks.size();
    };
    EXPECT_EQ(1u, tracksWith(PictureTrack("jpeg", 1, true), false));
    EXPECT_EQ(1u, tracksWith(PictureTrack("png ", 1, true), false));
    EXPECT_EQ(1u, tracksWith(PictureTrack("jpeg", 20, false), false));
    EXPECT_EQ(2u, tracksWith(PictureTrack("jpeg", 20, true), false));  // motion pictures in stills
    EXPECT_EQ(1u, tracksWith(PictureTrack("jpeg", 20, true), true));
    EXPECT_EQ(1u, tracksWith(PictureTrack("avc1", 20, true), true));
    EXPECT_EQ(2u, tracksWith(PictureTrack("avc1", 1, true), false));
    EXPECT_EQ(2u, tracksWith(PictureTrack("avc1", 20, false), false));
}

TEST(MPEG4Importer, OtherMediaAreNoTracks) {
    for (const char* handler : {"text", "tmcd", "hint", "meta", "sbtl", "subt", "alis"}) {
        MP4File file = PlainMovie(10);
        file.tracks.insert(file.tracks.begin(), file.tracks[0]);
        file.tracks[0].handler = handler;
        const ImportResult result = Import(file);
        ASSERT_EQ(noErr, result.status);
        EXPECT_EQ(1u, result.movie.tracks.size()) << handler;
    }
}

TEST(MPEG4Importer, DisabledSoundGivesWayToEnabled) {
    MP4File file = PlainMovie(10);
    file.tracks.push_back(AACTrack({0x12, 0x10}, 44100, 2, NumberedPackets(20, 100)));
    file.tracks[1].id = 2;
    file.tracks[0].isEnabled = false;
    ImportResult result = Import(file);
    EXPECT_EQ(1u, result.movie.tracks.size());
    EXPECT_EQ(20480, result.Sound()->FrameCount());
    file.tracks[1].isEnabled = false;
    result = Import(file);
    EXPECT_EQ(2u, result.movie.tracks.size());
    EXPECT_EQ(10240, result.Sound()->FrameCount());
}

TEST(MPEG4Importer, SoundOfAnotherKindFirstIsDeclined) {
    for (const char* format : {"twos", "sowt", "lpcm", "ima4", "samr", "raw ", "what"}) {
        MP4File file = PlainMovie(10);
        SoundEntry entry;
        entry.dataFormat = format;
        file.tracks[0].descriptions = {WriteSoundEntry(entry)};
        ImportResult result = Import(file);
        EXPECT_EQ(cantFindHandler, result.status) << format;
        EXPECT_EQ("", result.problem);
        file.tracks.insert(file.tracks.begin(), PlainMovie(10).tracks[0]);
        result = Import(file);
        ASSERT_EQ(noErr, result.status);
        ExpectConsistent(result.movie);
        ASSERT_EQ(2u, result.movie.tracks.size());
        EXPECT_EQ(noCodecErr, result.movie.tracks[1].sound->formats[0].decodable);
        EXPECT_EQ(10240, result.movie.tracks[1].duration.units);
        EXPECT_EQ(10240, result.movie.tracks[1].sound->FrameCount());
    }
}

TEST(MPEG4Importer, CompressedHeaderIsDeclined) {
    EXPECT_EQ(cantFindHandler,
              Import(mirtal::fakes::Box("moov", mirtal::fakes::Box("cmov", Zeros(50)))).status);
}

TEST(MPEG4Importer, DamagedTracks) {
    const auto problemOf = [](const std::string& inBox, const FileBytes& inReplacement) {
        MP4File file = PlainMovie(10);
        file.tracks[0].replaced[inBox] = inReplacement;
        const ImportResult result = Import(file);
        EXPECT_EQ(invalidMovie, result.status) << inBox;
        return result.problem;
    };
    EXPECT_EQ("the description of the sound is damaged", problemOf("stsd", {}));
    EXPECT_EQ("the description of the sound is damaged", problemOf("stsd", TableBox("stsd", 1, {})));
    EXPECT_EQ("the description of the sound is damaged",
              problemOf("stsd", TableBox("stsd", 1, mirtal::fakes::Box("mp4a", Zeros(20)))));
    EXPECT_EQ("the description of the sound is damaged", problemOf("minf", {}));
    EXPECT_EQ("the description of the sound is damaged", problemOf("stbl", {}));
    EXPECT_EQ("the time scale of the sound is damaged", problemOf("mdhd", {}));
    EXPECT_EQ("the time scale of the sound is damaged", problemOf("mdhd", FullBox("mdhd", 0, 0, Zeros(20))));
    EXPECT_EQ("the sound's table of packet sizes is missing", problemOf("stsz", {}));
    EXPECT_EQ("the sound's table of packet sizes is missing",
              problemOf("stsz", FullBox("stsz", 0, 0, Zeros(4))));
    EXPECT_EQ("the sound's table of packet sizes is missing",
              problemOf("stsz", FullBox("stz2", 0, 0, Join({U32(5), U32(1), Zeros(4)}))));
}

TEST(MPEG4Importer, PacketsWithoutAPlaceAreLeftOut) {
    for (const char* box : {"stsc", "stco"}) {
        MP4File file = PlainMovie(10);
        file.tracks[0].replaced[box] = {};
        EXPECT_EQ(0, FramesOf(file));
    }
    MP4File file = PlainMovie(10);
    file.tracks[0].packetsPerChunk = 3;
    file.tracks[0].replaced["stsc"] = TableBox("stsc", 1, Join({U32(1), U32(2), U32(1)}));
    EXPECT_EQ(8 * 1024, FramesOf(file));  // four chunks of two
    file.tracks[0].replaced["stsc"] =
        TableBox("stsc", 2, Join({U32(1), U32(0), U32(1), U32(3), U32(1), U32(1)}));
    EXPECT_EQ(2 * 1024, FramesOf(file));
    file.tracks[0].replaced["stsc"] =
        TableBox("stsc", 3, Join({U32(0), U32(9), U32(1), U32(1), U32(3), U32(1), U32(1), U32(99), U32(1)}));
    EXPECT_EQ(10 * 1024, FramesOf(file));
}

TEST(MPEG4Importer, HostileCounts) {
    MP4File file = PlainMovie(10);
    // A constant size claims any number of packets in a few bytes.
    file.tracks[0].replaced["stsz"] = FullBox("stsz", 0, 0, Join({U32(1), U32(UINT32_MAX)}));
    file.tracks[0].replaced["stsc"] = TableBox("stsc", 1, Join({U32(1), U32(UINT32_MAX), U32(1)}));
    ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the sound's tables claim more packets than the file can hold", result.problem);
    // Listed sizes are there or not.
    file.tracks[0].replaced["stsz"] =
        FullBox("stsz", 0, 0, Join({U32(0), U32(UINT32_MAX), U32(100), U32(100)}));
    EXPECT_EQ(2048, FramesOf(file));
    file.tracks[0].replaced["stsz"] =
        FullBox("stsz", 0, 0, Join({U32(0), U32(2), U32(UINT32_MAX), U32(UINT32_MAX)}));
    result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
}

TEST(MPEG4Importer, HostileLengths) {
    MP4File file = PlainMovie(10);
    file.tracks[0].timeScale = 1;
    file.tracks[0].durations = {
        {10, UINT32_MAX}};  // 22 hours a packet, at 44.1 kHz more than 32 bits of frames
    EXPECT_EQ(invalidMovie, Import(file).status);
    file = PlainMovie(10);
    file.movieTimeScale = 1;
    file.tracks[0].hasLargeEdits = true;
    file.tracks[0].edits = {{UINT64_MAX, 0}};
    const ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the movie header claims a length beyond reason", result.problem);
}

// Any file with one byte changed gives a movie that holds together, or a status.
TEST(MPEG4Importer, EveryByteOfTheHeaderMayBeWrong) {
    MP4File file = PlainMovie(20);
    file.tracks[0].packetsPerChunk = 5;
    file.tracks[0].edits = {{100, -1}, {300, 1024}};
    file.moreInMovie = GaplessTagBox("0 840 2F4 1CCC");
    FileBytes bytes = WriteMP4(file);
    const std::size_t headerEnd = bytes.size() - 2000;
    for (std::size_t i = 0; i < headerEnd; ++i) {
        const std::uint8_t right = bytes[i];
        for (const int wrong : {0, 1, 0x7f, 0x80, 0xff, right ^ 1}) {
            bytes[i] = static_cast<std::uint8_t>(wrong);
            const ImportResult result = Import(bytes);
            if (result.status == noErr) {
                ASSERT_NO_FATAL_FAILURE(ExpectConsistent(result.movie)) << i << ' ' << wrong;
            } else {
                ASSERT_TRUE(result.status == invalidMovie || result.status == cantFindHandler);
                ASSERT_EQ(result.status == invalidMovie, !result.problem.empty());
            }
        }
        bytes[i] = right;
    }
}

TEST(MPEG4Importer, ChangeOfDescription) {
    MP4File file = PlainMovie(12);
    file.tracks[0].packetsPerChunk = 4;
    file.tracks[0].descriptions.push_back(AACEntry({0x11, 0x90}, 48000, 2));
    file.tracks[0].chunkDescriptions = {1, 2, 7};  // the last is none: it counts as the last there is
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    ExpectConsistent(result.movie);
    const SoundTrack& sound = *result.Sound();
    ASSERT_EQ(2u, sound.formats.size());
    EXPECT_EQ(48000u, sound.formats[1].sampleRateHz);
    ASSERT_EQ(3u, sound.spans.size());
    EXPECT_EQ(0u, sound.spans[0].format);
    EXPECT_EQ(1u, sound.spans[1].format);
    EXPECT_EQ(1u, sound.spans[2].format);
    EXPECT_EQ(4096, sound.spans[0].frameCount);
    // The media counts 44.1 kHz: 1024 ticks are 1114.6 frames at 48 kHz, near enough to a packet to be cut
    // from none.
    EXPECT_EQ(4096, sound.spans[1].firstFrame);
}

TEST(MPEG4Importer, SecondSoundTrackMayBeMissing) {
    MP4File file = PlainMovie(10);
    file.tracks.push_back(file.tracks[0]);
    file.tracks[1].id = 2;
    const FileBytes whole = WriteMP4(file);
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 1000));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(2u, result.movie.tracks.size());
}

// What is decoded with the imported configuration is what was announced.
TEST(MPEG4Importer, EncodedTone) {
    const EncodedSound tone = EncodeAAC({.sampleRateHz = 48000, .channelCount = 2, .frameCount = 48000});
    MP4File file;
    file.movieTimeScale = 48000;
    file.tracks = {AACTrack(tone.config, 48000, 2, tone.packets)};
    file.tracks[0].edits = {{48000, tone.delayFrameCount}};
    const ImportResult result = Import(file);
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(48000, result.Sound()->FrameCount());
    EXPECT_EQ(tone.packets.size(), result.Sound()->packets->PacketCount());
    const auto reader = result.Sound()->packets->NewReader();
    for (std::uint32_t i = 0; i < tone.packets.size(); ++i) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(i, bytes));
        ASSERT_EQ(tone.packets[i], FileBytes(bytes.data, bytes.data + bytes.sizeBytes));
    }
}

}  // namespace
}  // namespace toolbox::movies

// The general importer over files that the ffmpeg command makes while the test runs.
#include "GeneralImports.h"
#include "decoder/SoundDecoder.h"
#include "fakes/MemoryFile.h"
#include "general/Component.h"
#include "movies/front/GeneralImporter_test_access.h"
#include "os/SystemCalls_test_access.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace toolbox::movies {
namespace {

using general_imports::Contents;
using general_imports::Import;
using general_imports::Imported;
using general_imports::MakeFile;
using general_imports::Put32;
using mirtal::fakes::NewMemoryFile;
using test_files::TemporaryFolder;

// A file of three sounds of 4800, 9600 and 14400 frames at 48000 Hz, the second in German.
std::string MakeSeveralSounds(const std::string& inOptions, const std::string& inExtension) {
    const TemporaryFolder folder;
    const std::string path = folder / ("several." + inExtension);
    const std::string command =
        "ffmpeg -v error -nostdin -f lavfi -i sine=300:r=48000:d=0.1 -f lavfi -i sine=400:r=48000:d=0.2 -f "
        "lavfi "
        "-i sine=500:r=48000:d=0.3 -map 0 -map 1 -map 2 -metadata:s:a:1 language=ger " +
        inOptions + " -bitexact '" + path + "'";
    EXPECT_EQ(0, std::system(command.c_str())) << command;
    return Contents(path);
}

std::vector<std::int64_t> AnnouncedFrames(const SoundTrack& inTrack) {
    std::vector<std::int64_t> frames;
    const PacketSpan& span = inTrack.spans.at(0);
    std::size_t run = 0;
    for (std::uint32_t packet = 0; packet < span.packetCount; ++packet) {
        while (run + 1 < span.durations.size() && span.durations[run + 1].firstPacket <= packet)
            ++run;
        frames.push_back(span.durations[run].framesPerPacket);
    }
    return frames;
}

std::vector<std::int64_t> DecodedFrames(const SoundTrack& inTrack) {
    std::vector<std::int64_t> frames;
    const auto reader = inTrack.packets->NewReader();
    SoundDecoder decoder;
    EXPECT_EQ(noErr, decoder.Open(inTrack.formats.at(0)));
    for (std::uint32_t packet = 0; packet < inTrack.packets->PacketCount(); ++packet) {
        PacketBytes bytes;
        EXPECT_EQ(noErr, reader->Read(packet, bytes)) << packet;
        EXPECT_NE(nullptr, bytes.owner);
        std::int64_t count = 0;
        EXPECT_EQ(SoundDecoder::Outcome::kNothing, decoder.Send(bytes)) << packet;
        while (decoder.Receive() == SoundDecoder::Outcome::kSound) {
            EXPECT_EQ(inTrack.SampleRateHz(), static_cast<std::uint32_t>(decoder.Frame().sample_rate));
            EXPECT_EQ(inTrack.formats[0].channelCount, decoder.Frame().ch_layout.nb_channels);
            count += decoder.Frame().nb_samples;
        }
        // Vorbis' first packet only prepares the second; some releases hand out half of its block all the
        // same.
        const bool isPreparation = packet == 0 && inTrack.formats[0].dataFormat == FourChars("vrbs");
        frames.push_back(isPreparation ? 0 : count);
    }
    return frames;
}

struct Format {
    const char* name;
    const char* options;
    const char* extension;
    std::uint32_t rateHz;
    std::uint16_t channelCount;
    std::uint32_t frameCount;
    // What the file adds to the sound and does not tell.
    std::uint32_t addedFrameCount;
    DecoderMemory memory;
    OSType dataFormat;
};

// Frame counts that end amid a packet, at rates and channel counts of all sorts.
const Format kFormats[] = {
    {"WAV8", "-c:a pcm_u8", "wav", 11025, 1, 12345, 0, DecoderMemory::kNone, FourChars("raw ")},
    {"WAV16", "-ac 2 -c:a pcm_s16le", "wav", 44100, 2, 44101, 0, DecoderMemory::kNone, FourChars("sowt")},
    {"WAV24", "-ac 2 -c:a pcm_s24le", "wav", 48000, 2, 4801, 0, DecoderMemory::kNone, FourChars("in24")},
    {"WAV32", "-c:a pcm_s32le", "wav", 96000, 1, 9601, 0, DecoderMemory::kNone, FourChars("in32")},
    {"WAVFloat", "-ac 6 -c:a pcm_f32le", "wav", 32000, 6, 3201, 0, DecoderMemory::kNone, FourChars("fl32")},
    {"WAVLaw", "-c:a pcm_mulaw", "wav", 8000, 1, 8001, 0, DecoderMemory::kNone, FourChars("ulaw")},
    {"AIFF", "-ac 2 -c:a pcm_s16be", "aiff", 22050, 2, 22051, 0, DecoderMemory::kNone, FourChars("twos")},
    {"AIFFLittle", "-ac 2 -c:a pcm_s16le", "aiff", 44100, 2, 7777, 0, DecoderMemory::kNone,
     FourChars("sowt")},
    {"CAFPCM", "-c:a pcm_s24be", "caf", 44100, 1, 7777, 0, DecoderMemory::kNone, FourChars("in24")},
    {"CAFALAC", "-ac 2 -c:a alac", "caf", 44100, 2, 10001, 0, DecoderMemory::kNone, FourChars("alac")},
    {"FLAC", "-ac 2 -c:a flac", "flac", 44100, 2, 44101, 0, DecoderMemory::kNone, FourChars("fLaC")},
    {"FLACLong", "-c:a flac", "flac", 48000, 1, 700001, 0, DecoderMemory::kNone, FourChars("fLaC")},
    {"MOVPCM", "-ac 2 -c:a pcm_s16be", "mov", 48000, 2, 4801, 0, DecoderMemory::kNone, FourChars("twos")},
    {"MatroskaFLAC", "-c:a flac", "mka", 44100, 1, 20001, 0, DecoderMemory::kNone, FourChars("fLaC")},
    {"MP3Constant", "-ac 2 -c:a libmp3lame -b:a 128k", "mp3", 44100, 2, 44101, 0, DecoderMemory::kUnbounded,
     FourChars(".mp3")},
    {"MP3Variable", "-c:a libmp3lame -q:a 4", "mp3", 22050, 1, 33333, 0, DecoderMemory::kUnbounded,
     FourChars(".mp3")},
    {"OggVorbis", "-ac 2 -c:a libvorbis", "ogg", 44100, 2, 44101, 0, DecoderMemory::kUnbounded,
     FourChars("vrbs")},
    {"OggOpus", "-ac 2 -c:a libopus", "opus", 48000, 2, 48001, 0, DecoderMemory::kUnbounded,
     FourChars("Opus")},
    {"MatroskaOpus", "-c:a libopus", "mka", 48000, 1, 48001, 0, DecoderMemory::kUnbounded, FourChars("Opus")},
    {"OggVorbisOfSeveralPages", "-ac 2 -c:a libvorbis", "ogg", 48000, 2, 480001, 0, DecoderMemory::kUnbounded,
     FourChars("vrbs")},
    // 20 * 1024 frames: whole packets, so that only the encoder's delay is added, which these files do not
    // tell.
    {"TransportAAC", "-ac 2 -c:a aac", "ts", 44100, 2, 20480, 1024, DecoderMemory::kUnbounded,
     FourChars("mp4a")},
    {"TransportLATM", "-ac 2 -c:a aac -mpegts_flags latm", "ts", 48000, 2, 20480, 1024,
     DecoderMemory::kUnbounded, FourChars("mp4a")},
    {"TransportPrivateAC3", "-ac 2 -c:a ac3 -mpegts_flags system_b", "ts", 48000, 2, 15360, 0,
     DecoderMemory::kUnbounded, FourChars("ac-3")},
    {"ProgramStreamAC3", "-ac 2 -c:a ac3 -f vob", "vob", 48000, 2, 15360, 0, DecoderMemory::kUnbounded,
     FourChars("ac-3")},
    {"FlashAAC", "-ac 2 -c:a aac", "flv", 44100, 2, 20480, 1024, DecoderMemory::kUnbounded,
     FourChars("mp4a")},
    {"LATM", "-ac 2 -c:a aac -f latm", "loas", 44100, 2, 20480, 1024, DecoderMemory::kUnbounded,
     FourChars("mp4a")},
    {"MP2", "-ac 2 -c:a mp2", "mp2", 48000, 2, 11520, 0, DecoderMemory::kUnbounded, FourChars(".mp2")},
    {"AC3", "-ac 2 -c:a ac3", "ac3", 48000, 2, 15360, 0, DecoderMemory::kUnbounded, FourChars("ac-3")},
};

// For messages of failed tests.
void PrintTo(const Format& inFormat, std::ostream* outStream) {
    *outStream << inFormat.name;
}

class GeneralImporterFormats : public testing::TestWithParam<Format> {};

TEST_P(GeneralImporterFormats, LengthIsExactAndDecodes) {
    const Format& format = GetParam();
    const std::string bytes = MakeFile(format.rateHz, format.frameCount, format.options, format.extension);
    ASSERT_FALSE(bytes.empty());
    const Imported imported = Import(bytes);
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    ASSERT_EQ(1u, imported.movie.tracks.size());
    EXPECT_EQ(FourChars("soun"), imported.movie.tracks[0].mediaType);
    EXPECT_FALSE(imported.movie.containerName.empty());
    const SoundTrack& track = imported.Sound();
    ASSERT_EQ(1u, track.formats.size());
    EXPECT_EQ(format.rateHz, track.SampleRateHz());
    EXPECT_EQ(format.channelCount, track.formats[0].channelCount);
    EXPECT_EQ(format.dataFormat, track.formats[0].dataFormat);
    EXPECT_EQ(format.memory, track.formats[0].memory);
    EXPECT_EQ(noErr, track.formats[0].decodable);
    EXPECT_EQ(format.frameCount + format.addedFrameCount, track.FrameCount());
    EXPECT_EQ(track.FrameCount(), imported.movie.tracks[0].duration.units);
    EXPECT_EQ(track.SampleRateHz(), imported.movie.tracks[0].duration.unitsPerSecond);
    EXPECT_EQ(AnnouncedFrames(track), DecodedFrames(track));
}

INSTANTIATE_TEST_SUITE_P(All, GeneralImporterFormats, testing::ValuesIn(kFormats),
                         [](const auto& inInfo) { return std::string(inInfo.param.name); });

TEST(GeneralImporter, TheSoundTrackAskedForIsTaken) {
    const std::string bytes = MakeSeveralSounds("-c:a:0 flac -c:a:1 pcm_s16le -c:a:2 aac", "mka");
    // Of AAC no padding is told here; the encoder's delay comes first, and newer releases of ffmpeg tell
    // that.
    const std::int64_t expected[] = {4800, 4800, 9600, 16384};
    for (std::uint32_t wanted = 0; wanted <= 3; ++wanted) {
        const Imported imported = Import(bytes, wanted);
        ASSERT_EQ(noErr, imported.status) << wanted << ": " << imported.problem;
        ASSERT_EQ(1u, imported.movie.tracks.size());
        EXPECT_EQ(expected[wanted], imported.Sound().FrameCount() + imported.Sound().framesTrimmedAtStart)
            << wanted;
        EXPECT_EQ(wanted == 0 ? 1 : wanted, imported.movie.takenSoundTrack);
        EXPECT_EQ(AnnouncedFrames(imported.Sound()), DecodedFrames(imported.Sound())) << wanted;
        const auto& tracks = imported.movie.soundTracks;
        ASSERT_EQ(3u, tracks.size());
        EXPECT_EQ(FourChars("fLaC"), tracks[0].dataFormat);
        EXPECT_EQ(FourChars("sowt"), tracks[1].dataFormat);
        EXPECT_EQ(FourChars("mp4a"), tracks[2].dataFormat);
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            EXPECT_EQ(i == 2, tracks[i].isAAC) << i;
            EXPECT_EQ(i == 1 ? "ger" : "", tracks[i].language) << i;
            EXPECT_EQ(48000u, tracks[i].sampleRateHz) << i;
            EXPECT_EQ(1, tracks[i].channelCount) << i;
            EXPECT_TRUE(tracks[i].isEnabled) << i;
            EXPECT_NE("", tracks[i].name) << i;
        }
    }
}

TEST(GeneralImporter, ASoundTrackBeyondTheLast) {
    const std::string bytes = MakeSeveralSounds("-c:a flac", "mka");
    Imported imported = Import(bytes, 4);
    EXPECT_EQ(trackNotInMovie, imported.status);
    EXPECT_EQ("there is no sound track 4, the file has 3", imported.problem);
    imported = Import(MakeFile(48000, 4800, "-c:a pcm_s16le", "wav"), 2);
    EXPECT_EQ(trackNotInMovie, imported.status);
    EXPECT_EQ("there is no sound track 2, the file has 1", imported.problem);
}

// The streams of a transport stream come to light while it is read.
TEST(GeneralImporter, SoundTracksThatComeToLightLate) {
    const std::string bytes = MakeSeveralSounds("-c:a mp2", "ts");
    const std::int64_t packetCounts[] = {5, 9, 13};
    for (std::uint32_t wanted = 1; wanted <= 3; ++wanted) {
        const Imported imported = Import(bytes, wanted);
        ASSERT_EQ(noErr, imported.status) << wanted << ": " << imported.problem;
        EXPECT_EQ(packetCounts[wanted - 1] * 1152, imported.Sound().FrameCount()) << wanted;
        EXPECT_EQ(3u, imported.movie.soundTracks.size());
        EXPECT_EQ(wanted, imported.movie.takenSoundTrack);
    }
    EXPECT_EQ(trackNotInMovie, Import(bytes, 4).status);
}

TEST(GeneralImporter, DisabledSoundGivesWayToEnabled) {
    const std::string options =
        "-c:a pcm_s16le -disposition:a:0 0 -disposition:a:1 default -disposition:a:2 default";
    const std::string bytes = MakeSeveralSounds(options, "mov");
    const std::int64_t expected[] = {9600, 4800, 9600, 14400};
    const std::uint32_t taken[] = {2, 1, 2, 3};
    for (std::uint32_t wanted = 0; wanted <= 3; ++wanted) {
        const Imported imported = Import(bytes, wanted);
        ASSERT_EQ(noErr, imported.status) << wanted << ": " << imported.problem;
        EXPECT_EQ(expected[wanted], imported.Sound().FrameCount()) << wanted;
        EXPECT_EQ(taken[wanted], imported.movie.takenSoundTrack) << wanted;
        ASSERT_EQ(3u, imported.movie.soundTracks.size());
        EXPECT_FALSE(imported.movie.soundTracks[0].isEnabled);
        EXPECT_TRUE(imported.movie.soundTracks[1].isEnabled);
        EXPECT_TRUE(imported.movie.soundTracks[2].isEnabled);
    }
}

TEST(GeneralImporter, TrimsAreTold) {
    const Imported imported = Import(MakeFile(48000, 48001, "-c:a libopus", "opus"));
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ(kSoundTrimCodecHeader, imported.Sound().trimSource);
    EXPECT_EQ(312, imported.Sound().framesTrimmedAtStart);
    EXPECT_GT(imported.Sound().framesTrimmedAtEnd, 0);
    const Imported plain = Import(MakeFile(48000, 4800, "-c:a pcm_s16le", "wav"));
    EXPECT_EQ(kSoundTrimNone, plain.Sound().trimSource);
}

TEST(GeneralImporter, ReaderGoesBackAndStaysPut) {
    const Imported imported = Import(MakeFile(44100, 44100, "-c:a libmp3lame", "mp3"));
    ASSERT_EQ(noErr, imported.status);
    const auto reader = imported.Sound().packets->NewReader();
    const auto text = [&reader](std::uint32_t inPacket) {
        PacketBytes bytes;
        EXPECT_EQ(noErr, reader->Read(inPacket, bytes));
        return std::string(bytes.data, bytes.data + bytes.sizeBytes);
    };
    const std::string third = text(3);
    const std::string tenth = text(10);
    EXPECT_NE(third, tenth);
    EXPECT_EQ(tenth, text(10));
    EXPECT_EQ(third, text(3));
    EXPECT_EQ(tenth, text(10));
    PacketBytes bytes;
    EXPECT_EQ(eofErr, reader->Read(imported.Sound().packets->PacketCount(), bytes));
    EXPECT_EQ(nullptr, bytes.data);
}

TEST(GeneralImporter, ReadersOnTwoThreads) {
    const Imported imported = Import(MakeFile(44100, 200000, "-c:a flac", "flac"));
    ASSERT_EQ(noErr, imported.status);
    std::vector<std::int64_t> first;
    std::vector<std::int64_t> second;
    std::thread thread([&] { first = DecodedFrames(imported.Sound()); });
    second = DecodedFrames(imported.Sound());
    thread.join();
    EXPECT_EQ(AnnouncedFrames(imported.Sound()), first);
    EXPECT_EQ(first, second);
}

TEST(GeneralImporter, DeclinesWithoutAWord) {
    for (const std::string& bytes : {std::string(), std::string("x"), std::string(5000, '\0'),
                                     std::string("#EXTM3U\n#EXTINF:1,\nhttp://a/b\n"),
                                     std::string("ffconcat version 1.0\nfile '/etc/passwd'\n"),
                                     std::string("v=0\no=- 0 0 IN IP4 1.2.3.4\n"),
                                     std::string("just some words that are no sound at all\n")}) {
        const Imported imported = Import(bytes);
        EXPECT_EQ(cantFindHandler, imported.status) << bytes.substr(0, 30);
        EXPECT_EQ("untouched", imported.problem) << bytes.substr(0, 30);
    }
}

TEST(GeneralImporter, DamagedFilesSaySo) {
    std::string bytes = MakeFile(44100, 44100, "-c:a flac", "flac");
    bytes.resize(60);
    const Imported imported = Import(bytes);
    EXPECT_EQ(invalidMovie, imported.status);
    EXPECT_NE("untouched", imported.problem);
    EXPECT_NE("", imported.problem);
}

// A count of channels alone would make a center of the low ones, and other sides of the back.
TEST(GeneralImporter, TheContainerSaysWhichChannelsThereAre) {
    for (const char* layout :
         {"2.1", "3.0", "4.0", "quad", "5.0", "5.0(side)", "5.1", "5.1(side)", "6.1", "7.1"}) {
        const std::string options =
            std::string("-af aformat=channel_layouts='") + layout + "' -c:a pcm_s16le";
        const Imported imported = Import(MakeFile(48000, 480, options, "wav"));
        ASSERT_EQ(noErr, imported.status) << layout;
        SoundDecoder decoder;
        ASSERT_EQ(noErr, decoder.Open(imported.Sound().formats.at(0)));
        const auto reader = imported.Sound().packets->NewReader();
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(0, bytes));
        ASSERT_EQ(SoundDecoder::Outcome::kNothing, decoder.Send(bytes));
        ASSERT_EQ(SoundDecoder::Outcome::kSound, decoder.Receive());
        char name[64] = {};
        av_channel_layout_describe(&decoder.Frame().ch_layout, name, sizeof name);
        EXPECT_STREQ(layout, name);
    }
}

// No table is as large as a file of a few kilobytes claims here; the limit stands for what the machine has.
TEST(GeneralImporter, ATableLargerThanTheFileIsDamage) {
    std::string mov = MakeFile(48000, 480, "-c:a pcm_s16be", "mov");
    const std::size_t sizes = mov.find("stsz");
    ASSERT_NE(std::string::npos, sizes);
    Put32(mov, sizes + 8, 0, true);
    Put32(mov, sizes + 12, 30000000, true);
    av_max_alloc(64 << 20);
    const Imported imported = Import(mov);
    av_max_alloc(INT_MAX);
    EXPECT_EQ(invalidMovie, imported.status);
    EXPECT_EQ("a table claims more than the file can hold", imported.problem);
}

TEST(GeneralImporter, PicturesLastAsLongAsTheyAreShown) {
    const TemporaryFolder folder;
    for (const char* extension : {"mkv", "ts"}) {
        const std::string path = folder / (std::string("video.") + extension);
        const std::string command =
            "ffmpeg -v error -nostdin -f lavfi -i testsrc=s=64x48:r=25:d=2 -f lavfi -i "
            "sine=440:r=48000:d=1 -c:v mpeg4 -c:a mp2 '" +
            path + "'";
        ASSERT_EQ(0, std::system(command.c_str()));
        const Imported imported = Import(Contents(path));
        ASSERT_EQ(noErr, imported.status);
        ASSERT_EQ(2u, imported.movie.tracks.size()) << extension;
        EXPECT_EQ(FourChars("soun"), imported.movie.tracks[0].mediaType);
        EXPECT_EQ(FourChars("vide"), imported.movie.tracks[1].mediaType);
        const Duration& shown = imported.movie.tracks[1].duration;
        EXPECT_NEAR(2.0, static_cast<double>(shown.units) / static_cast<double>(shown.unitsPerSecond), 0.05)
            << extension;
        EXPECT_EQ(AnnouncedFrames(imported.Sound()), DecodedFrames(imported.Sound()));
    }
}

TEST(GeneralImporter, CoversAreNoPictures) {
    const TemporaryFolder folder;
    const std::string path = folder / "cover.mp3";
    const std::string command =
        "ffmpeg -v error -nostdin -f lavfi -i sine=440:r=44100:d=1 -f lavfi -i "
        "testsrc=s=64x48:r=1:d=1 -map 0 -map 1 -c:v png -c:a libmp3lame "
        "-disposition:v attached_pic -frames:v 1 '" +
        path + "'";
    ASSERT_EQ(0, std::system(command.c_str()));
    const Imported imported = Import(Contents(path));
    ASSERT_EQ(noErr, imported.status);
    EXPECT_EQ(1u, imported.movie.tracks.size());
    EXPECT_EQ(44100, imported.Sound().FrameCount());
}

TEST(GeneralImporter, SilentFilmsHaveNoSound) {
    const TemporaryFolder folder;
    const std::string path = folder / "film.mkv";
    const std::string command =
        "ffmpeg -v error -nostdin -f lavfi -i testsrc=s=64x48:r=25:d=1 -c:v mpeg4 '" + path + "'";
    ASSERT_EQ(0, std::system(command.c_str()));
    const Imported imported = Import(Contents(path));
    ASSERT_EQ(noErr, imported.status);
    ASSERT_EQ(1u, imported.movie.tracks.size());
    EXPECT_EQ(FourChars("vide"), imported.movie.tracks[0].mediaType);
    EXPECT_EQ(0u, imported.movie.takenSoundTrack);
    EXPECT_TRUE(imported.movie.soundTracks.empty());
    const Imported wanted = Import(Contents(path), 1);
    EXPECT_EQ(trackNotInMovie, wanted.status);
    EXPECT_EQ("there is no sound track 1, the file has none", wanted.problem);
}

TEST(GeneralImporter, CorruptFilesNeverBreakIt) {
    const std::string whole[] = {
        MakeFile(44100, 9000, "-c:a libmp3lame", "mp3"), MakeFile(44100, 9000, "-c:a libvorbis", "ogg"),
        MakeFile(44100, 9000, "-c:a flac", "flac"), MakeFile(44100, 9000, "-c:a aac", "mka"),
        MakeFile(44100, 9000, "-c:a pcm_s16le", "wav")};
    std::uint32_t state = 1;
    for (const std::string& bytes : whole) {
        for (int round = 0; round < 60; ++round) {
            std::string damaged = bytes;
            for (int hit = 0; hit < 8; ++hit) {
                state = state * 1664525 + 1013904223;
                damaged[(state >> 8) % damaged.size()] = static_cast<char>(state >> 24);
            }
            const Imported imported = Import(damaged);
            if (imported.status != noErr) continue;
            ASSERT_FALSE(imported.movie.tracks.empty());
            if (imported.movie.tracks[0].sound != nullptr) {
                EXPECT_GT(imported.Sound().SampleRateHz(), 0u);
                std::int64_t announced = 0;
                for (const std::int64_t frames : AnnouncedFrames(imported.Sound()))
                    announced += frames;
                EXPECT_EQ(imported.Sound().spans[0].frameCount, announced);
                EXPECT_LE(imported.Sound().FrameCount(), announced);
            }
        }
    }
}

class GeneralImporterLoading : public testing::Test {
  protected:
    GeneralImporterLoading() { ForgetGeneralImporter(); }
    ~GeneralImporterLoading() override {
        os::CallsForTesting() = mReal;
        ForgetGeneralImporter();
    }

    static OSStatus ImportSomething() {
        ImportedMovie movie;
        std::string problem;
        return ImportGeneral(NewMemoryFile("RIFF"), movie, problem);
    }

    const os::SystemCalls mReal = os::Calls();
};

std::vector<std::string> sOpened;

TEST_F(GeneralImporterLoading, ToolboxThatDoesNotKnowWhereItIs) {
    os::CallsForTesting().dladdr1 = [](const void*, Dl_info*, void**, int) { return 0; };
    EXPECT_EQ(cantFindHandler, ImportSomething());
}

TEST_F(GeneralImporterLoading, LooksBesideTheToolboxAndTriesAgain) {
    sOpened.clear();
    os::CallsForTesting().realpath = [](const char*, char*) { return strdup("/somewhere/lib/toolbox.so"); };
    os::CallsForTesting().dlopen = [](const char* inPath, int) -> void* {
        sOpened.push_back(inPath);
        return nullptr;
    };
    EXPECT_EQ(cantFindHandler, ImportSomething());
    const std::vector<std::string> expected = {
        "/somewhere/lib/mirtal-components/libmirtal-general-importer.so",
        "/somewhere/lib/../lib/mirtal-components/libmirtal-general-importer.so"};
    EXPECT_EQ(expected, sOpened);
    EXPECT_EQ(cantFindHandler, ImportSomething());
    EXPECT_EQ(4u, sOpened.size());
}

TEST_F(GeneralImporterLoading, ObjectWithoutOurName) {
    os::CallsForTesting().dlsym = [](void*, const char*) -> void* { return nullptr; };
    EXPECT_EQ(cantFindHandler, ImportSomething());
}

TEST_F(GeneralImporterLoading, ComponentOfAnotherBuild) {
    os::CallsForTesting().dlsym = [](void*, const char*) {
        const general::InterfaceFunction refuses = [](auto) -> const general::Interface* { return nullptr; };
        return reinterpret_cast<void*>(refuses);
    };
    EXPECT_EQ(cantFindHandler, ImportSomething());
}

TEST_F(GeneralImporterLoading, FirstImportsRace) {
    const std::string bytes = MakeFile(48000, 4800, "-c:a pcm_s16le", "wav");
    std::vector<std::thread> threads;
    std::vector<std::int64_t> frames(4);
    for (std::size_t index = 0; index < frames.size(); ++index)
        threads.emplace_back([&, index] { frames[index] = Import(bytes).Sound().FrameCount(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::vector<std::int64_t>(4, 4800), frames);
}

}  // namespace
}  // namespace toolbox::movies

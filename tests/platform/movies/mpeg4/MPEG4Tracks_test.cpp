#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

constexpr OSType kVideo = 0x76696465;

TEST(MPEG4Tracks, SoundAndPicture) {
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

TEST(MPEG4Tracks, AttachedPicturesAreNoTracks) {
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

TEST(MPEG4Tracks, OtherMediaAreNoTracks) {
    for (const char* handler : {"text", "tmcd", "hint", "meta", "sbtl", "subt", "alis"}) {
        MP4File file = PlainMovie(10);
        file.tracks.insert(file.tracks.begin(), file.tracks[0]);
        file.tracks[0].handler = handler;
        const ImportResult result = Import(file);
        ASSERT_EQ(noErr, result.status);
        EXPECT_EQ(1u, result.movie.tracks.size()) << handler;
    }
}

TEST(MPEG4Tracks, DisabledSoundGivesWayToEnabled) {
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

TEST(MPEG4Tracks, SoundOfAnotherKindFirstIsDeclined) {
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

// Four sound tracks of 10, 20, 30 and 40 packets behind pictures; the first and the last are disabled.
MP4File SeveralSounds() {
    MP4File file;
    file.tracks.push_back(PictureTrack("avc1", 25, true));
    for (std::uint32_t i = 1; i <= 4; ++i) {
        file.tracks.push_back(AACTrack({0x12, 0x10}, 44100, 2, NumberedPackets(i * 10, 100)));
        file.tracks.back().id = i;
        file.tracks.back().isEnabled = i == 2 || i == 3;
    }
    return file;
}

std::vector<std::int64_t> SoundLengths(const ImportResult& inResult) {
    std::vector<std::int64_t> lengths;
    for (const ImportedTrack& track : inResult.movie.tracks)
        if (track.sound) lengths.push_back(track.sound->FrameCount());
    return lengths;
}

TEST(MPEG4Tracks, TheSoundTrackAskedForStandsFirst) {
    using Lengths = std::vector<std::int64_t>;
    const Lengths expected[] = {
        {20480, 30720}, {10240, 20480, 30720}, {20480, 30720}, {30720, 20480}, {40960, 20480, 30720}};
    const std::uint32_t taken[] = {2, 1, 2, 3, 4};
    for (std::uint32_t wanted = 0; wanted <= 4; ++wanted) {
        const ImportResult result = Import(SeveralSounds(), wanted);
        ASSERT_EQ(noErr, result.status) << wanted;
        ExpectConsistent(result.movie);
        EXPECT_EQ(expected[wanted], SoundLengths(result)) << wanted;
        EXPECT_EQ(taken[wanted], result.movie.takenSoundTrack) << wanted;
        EXPECT_EQ(kVideo, result.movie.tracks[0].mediaType);
        ExpectNumbered(*result.Sound(), (wanted == 0 ? 2 : wanted) * 10);
    }
}

TEST(MPEG4Tracks, ASoundTrackBeyondTheLast) {
    for (const std::uint32_t wanted : {5u, 6u, 0xFFFFFFFFu}) {
        const ImportResult result = Import(SeveralSounds(), wanted);
        EXPECT_EQ(trackNotInMovie, result.status);
        EXPECT_EQ("there is no sound track " + std::to_string(wanted) + ", the file has 4", result.problem);
    }
    MP4File silent;
    silent.tracks.push_back(PictureTrack("avc1", 25, true));
    EXPECT_EQ(noErr, Import(silent).status);
    EXPECT_EQ(0u, Import(silent).movie.takenSoundTrack);
    const ImportResult result = Import(silent, 1);
    EXPECT_EQ(trackNotInMovie, result.status);
    EXPECT_EQ("there is no sound track 1, the file has none", result.problem);
}

TEST(MPEG4Tracks, SoundTracksAreListedAsTheFileHasThem) {
    MP4File file = SeveralSounds();
    SoundEntry entry;
    entry.dataFormat = "sowt";
    entry.rateHz = 48000;
    entry.channelCount = 1;
    file.tracks[2].descriptions = {WriteSoundEntry(entry)};
    // 0x7FFF is no language, and 0 one of QuickTime's own numbers.
    const auto header = [](std::uint32_t inVersion, std::uint16_t inLanguage) {
        return FullBox("mdhd", inVersion, 0,
                       Join({Zeros(inVersion == 1 ? 16 : 8), U32(44100), Zeros(inVersion == 1 ? 8 : 4),
                             U16(inLanguage), U16(0)}));
    };
    file.tracks[1].replaced["mdhd"] = header(0, ('d' - 0x60) << 10 | ('e' - 0x60) << 5 | ('u' - 0x60));
    file.tracks[2].replaced["mdhd"] = header(0, 0x7FFF);
    file.tracks[3].replaced["mdhd"] = header(1, ('f' - 0x60) << 10 | ('r' - 0x60) << 5 | ('a' - 0x60));
    file.tracks[4].replaced["mdhd"] = header(0, 0);
    const ImportResult result = Import(file, 3);
    ASSERT_EQ(noErr, result.status);
    const auto& tracks = result.movie.soundTracks;
    ASSERT_EQ(4u, tracks.size());
    const char* const languages[] = {"deu", "", "fra", ""};
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const bool isAAC = i != 1;
        EXPECT_EQ(isAAC, tracks[i].isAAC) << i;
        EXPECT_EQ(isAAC ? "AAC LC" : "", tracks[i].name) << i;
        EXPECT_EQ(isAAC ? FourChars("mp4a") : FourChars("sowt"), tracks[i].dataFormat) << i;
        EXPECT_EQ(isAAC ? 44100u : 48000u, tracks[i].sampleRateHz) << i;
        EXPECT_EQ(isAAC ? 2 : 1, tracks[i].channelCount) << i;
        EXPECT_EQ(i == 1 || i == 2, tracks[i].isEnabled) << i;
        EXPECT_EQ(languages[i], tracks[i].language) << i;
    }
    EXPECT_EQ(3u, result.movie.takenSoundTrack);
}

TEST(MPEG4Tracks, MediaHeadersCutBeforeTheirLanguage) {
    for (const std::size_t byteCount : {0u, 1u, 15u, 16u, 17u, 24u}) {
        MP4File file = PlainMovie(10);
        FileBytes bytes = Join({Zeros(8), U32(44100), Zeros(30)});
        bytes.resize(byteCount);
        file.tracks[0].replaced["mdhd"] = FullBox("mdhd", 0, 0, bytes);
        const ImportResult result = Import(file);
        EXPECT_EQ(byteCount < 12 ? invalidMovie : noErr, result.status) << byteCount;
        ASSERT_EQ(result.status == noErr ? 1u : 0u, result.movie.soundTracks.size()) << byteCount;
        if (result.status == noErr) {
            EXPECT_EQ("", result.movie.soundTracks[0].language);
        }
    }
}

// Sound of a kind that others may know is offered to them only where it is what is wanted.
TEST(MPEG4Tracks, SoundOfAnotherKindIsDeclinedWhenAskedFor) {
    MP4File file = SeveralSounds();
    SoundEntry entry;
    entry.dataFormat = "sowt";
    file.tracks[2].descriptions = {WriteSoundEntry(entry)};
    EXPECT_EQ(cantFindHandler, Import(file).status);
    EXPECT_EQ(cantFindHandler, Import(file, 2).status);
    for (const std::uint32_t wanted : {1u, 3u, 4u}) {
        const ImportResult result = Import(file, wanted);
        ASSERT_EQ(noErr, result.status) << wanted;
        EXPECT_EQ(noErr, result.Sound()->formats[0].decodable) << wanted;
        EXPECT_EQ(wanted * 10240, result.Sound()->FrameCount()) << wanted;
    }
}

// The tag has no number of a track: it means the sound that is played when nobody chooses.
TEST(MPEG4Tracks, TheGaplessTagIsOfTheUsualSound) {
    MP4File file = SeveralSounds();
    file.moreInMovie = GaplessTagBox(" 00000000 00000840 000001C0 0000000000004600");
    for (const std::uint32_t wanted : {0u, 1u, 2u, 3u}) {
        const ImportResult result = Import(file, wanted);
        ASSERT_EQ(noErr, result.status) << wanted;
        const bool isUsual = wanted == 0 || wanted == 2;
        EXPECT_EQ(isUsual ? kSoundTrimGaplessTag : kSoundTrimNone, result.Sound()->trimSource) << wanted;
    }
    EXPECT_EQ(0x4600, Import(file, 2).Sound()->FrameCount());
}

TEST(MPEG4Tracks, CompressedHeaderIsDeclined) {
    EXPECT_EQ(cantFindHandler,
              Import(mirtal::fakes::Box("moov", mirtal::fakes::Box("cmov", Zeros(50)))).status);
}

TEST(MPEG4Tracks, DamagedTracks) {
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

TEST(MPEG4Tracks, SecondSoundTrackMayBeMissing) {
    MP4File file = PlainMovie(10);
    file.tracks.push_back(file.tracks[0]);
    file.tracks[1].id = 2;
    const FileBytes whole = WriteMP4(file);
    const ImportResult result = Import(FileBytes(whole.begin(), whole.end() - 1000));
    ASSERT_EQ(noErr, result.status);
    EXPECT_EQ(2u, result.movie.tracks.size());
}

}  // namespace
}  // namespace toolbox::movies

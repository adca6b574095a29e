#include "MPEG4Import.h"

#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

#include <gtest/gtest.h>

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

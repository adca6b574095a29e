// What a movie's sound is reported to have lost where its file was cut off.
#include "MovieMaker.h"

#include <gtest/gtest.h>
#include <toolbox/SoundReport.h>

#include <utility>

namespace {

using mirtal::fakes::MemorySound;
using mirtal::fakes::NewSound;
using mirtal::fakes::SetEdits;
using mirtal::fakes::SoundToEncode;
using test_movies::OpenedMovie;
using test_movies::PictureTrack;
using test_movies::SoundTrackOf;
using test_movies::Tracks;
using toolbox::movies::Edit;

// A sound of so many frames that its file ends too early, under a picture.
OpenedMovie CutOff(UInt32 inRateHz, SInt64 inFrameCount, SInt64 inPictureSeconds) {
    SoundToEncode description;
    description.sampleRateHz = inRateHz;
    description.frameCount = static_cast<UInt32>(inFrameCount);
    MemorySound sound = NewSound(description);
    SetEdits(*sound.track, {Edit{inFrameCount, 1024}});
    sound.track->isCutOff = true;
    return OpenedMovie(Tracks(PictureTrack(inPictureSeconds, 1), SoundTrackOf(std::move(sound))));
}

void Export(const OpenedMovie& inMovie, SInt64 inFirst, SInt64 inCount) {
    const Handle handle = NewHandle(0);
    const MovieExportComponent exporter = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    EXPECT_EQ(noErr, MovieExportToHandle64(exporter, handle, inMovie.Get(), nullptr, inFirst, inCount));
    CloseComponent(exporter);
    DisposeHandle(handle);
}

bool IsCutMet(const OpenedMovie& inMovie) {
    MovieSoundReport report{};
    EXPECT_EQ(noErr, GetMovieSoundReport(inMovie.Get(), &report));
    EXPECT_EQ(report.isCutOff, report.damagedPacketCount);
    return report.isCutOff != 0;
}

// What comes before the end of what is there has lost nothing. The second rate is halved for the stream.
TEST(CutSound, IsDamagedAtTheEndOfWhatIsThere) {
    for (const auto& [rateHz, streamHz] : {std::pair<UInt32, SInt32>{44100, 44100}, {96000, 48000}}) {
        const SInt64 frameCount = streamHz / 2;
        const OpenedMovie movie = CutOff(rateHz, rateHz / 2, 1);
        SetMovieTimeScale(movie.Get(), streamHz);
        const auto check = [streamHz = static_cast<UInt32>(streamHz)](const OpenedMovie& inMovie,
                                                                      SInt64 inFirst, SInt64 inEnd) {
            EXPECT_EQ(noErr, CheckMovieSound(inMovie.Get(), streamHz, inFirst, inEnd, nullptr, nullptr));
        };
        EXPECT_FALSE(IsCutMet(movie));
        Export(movie, 0, frameCount - 1);
        check(movie, 0, frameCount - 1);
        EXPECT_FALSE(IsCutMet(movie)) << rateHz;
        Export(movie, frameCount - 1, 1);
        EXPECT_TRUE(IsCutMet(movie)) << rateHz;
        const OpenedMovie checked = CutOff(rateHz, rateHz / 2, 1);
        check(checked, frameCount - 1, INT64_MAX);
        EXPECT_TRUE(IsCutMet(checked)) << rateHz;
    }
}

TEST(CutSound, IsDamagedBehindItsEnd) {
    const OpenedMovie exported = CutOff(44100, 22050, 9);
    Export(exported, SInt64{5} * 600, 600);
    EXPECT_TRUE(IsCutMet(exported));
    const OpenedMovie checked = CutOff(44100, 22050, 9);
    EXPECT_EQ(noErr, CheckMovieSound(checked.Get(), 1, 5, 6, nullptr, nullptr));
    EXPECT_TRUE(IsCutMet(checked));
}

TEST(CutSound, HasNoWholePartWhereThereIsNone) {
    EXPECT_TRUE(IsCutMet(CutOff(44100, 0, 1)));
}

}  // namespace

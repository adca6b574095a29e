#include "MovieMaker.h"
#include "os/ErrorText.h"
#include "support/FailingCalls.h"

#include <gtest/gtest.h>
#include <movies/front/Movies_test_access.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/MovieOpening.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundReport.h>
#include <toolbox/SoundTracks.h>
#include <toolbox/StatusText.h>

#include <cerrno>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using mirtal::fakes::Importers;
using mirtal::fakes::MemorySound;
using mirtal::fakes::NewSound;
using mirtal::fakes::SetEdits;
using test_movies::FileAlias;
using test_movies::OpenedMovie;
using test_movies::PictureTrack;
using test_movies::SoundTrackOf;
using test_movies::Tracks;
using toolbox::movies::Edit;
using toolbox::movies::ImportedMovie;
using toolbox::movies::LiveMovieCount;
using toolbox::movies::SoundFormat;

// A track whose packets are never decoded.
MemorySound Undecoded(std::uint32_t inRateHz, std::int64_t inFrameCount) {
    SoundFormat format;
    format.dataFormat = FourChars("mp4a");
    format.sampleRateHz = inRateHz;
    format.channelCount = 1;
    MemorySound sound = NewSound(format, {}, 1024);
    SetEdits(*sound.track, {Edit{inFrameCount, Edit::kEmpty}});
    return sound;
}

class OpeningAMovie : public testing::Test {
  protected:
    OpeningAMovie() { Importers() = {}; }
    ~OpeningAMovie() override { EXPECT_EQ(mLiveMovies, LiveMovieCount()); }

    OSErr Open() { return NewMovieFromDataRef(&mMovie, newMovieActive, &mResID, mAlias.Get(), rAliasType); }

    FileAlias mAlias;
    Movie mMovie = reinterpret_cast<Movie>(this);  // anything but null
    SInt16 mResID = 99;
    std::int64_t mLiveMovies = LiveMovieCount();
};

TEST_F(OpeningAMovie, TheFirstImporterThatTakesItHasIt) {
    Importers().adts = [](ImportedMovie& outMovie, std::string&) {
        outMovie.timeScale = 44100;
        return noErr;
    };
    EXPECT_EQ(noErr, Open());
    ASSERT_NE(nullptr, mMovie);
    EXPECT_EQ(0, mResID);
    EXPECT_EQ((std::vector<std::string>{"mpeg4", "adts"}), Importers().asked);
    EXPECT_STREQ("", GetMovieOpenErrorText());
    EXPECT_EQ(44100, GetMovieTimeScale(mMovie));
    EXPECT_EQ(mLiveMovies + 1, LiveMovieCount());
    DisposeMovie(mMovie);
}

TEST_F(OpeningAMovie, NobodyReadsTheFile) {
    EXPECT_EQ(cantFindHandler, Open());
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_EQ(0, mResID);
    EXPECT_EQ((std::vector<std::string>{"mpeg4", "adts", "general"}), Importers().asked);
    EXPECT_STREQ("not a file with sound or picture that is known", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, ADamagedFileIsNotOfferedOn) {
    Importers().mpeg4 = [](ImportedMovie&, std::string& outProblem) {
        outProblem = "no sample table";
        return invalidMovie;
    };
    EXPECT_EQ(invalidMovie, Open());
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_EQ(1U, Importers().asked.size());
    EXPECT_STREQ("no sample table", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, WhatAnImporterBeganIsNotLeftToTheNext) {
    Importers().mpeg4 = [](ImportedMovie& outMovie, std::string&) {
        outMovie.tracks.push_back(PictureTrack(1, 1));
        return cantFindHandler;
    };
    Importers().adts = [](ImportedMovie& outMovie, std::string&) {
        EXPECT_TRUE(outMovie.tracks.empty());
        return noErr;
    };
    EXPECT_EQ(noErr, Open());
    EXPECT_EQ(0, GetMovieTrackCount(mMovie));
    DisposeMovie(mMovie);
}

TEST_F(OpeningAMovie, ExhaustedMemoryIsAStatus) {
    Importers().mpeg4 = [](ImportedMovie&, std::string&) -> OSStatus { throw std::bad_alloc(); };
    EXPECT_EQ(memFullErr, Open());
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_STREQ("not enough memory", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, ASuccessForgetsTheLastProblem) {
    EXPECT_EQ(cantFindHandler, Open());
    EXPECT_STRNE("", GetMovieOpenErrorText());
    Importers().general = [](ImportedMovie&, std::string&) { return noErr; };
    EXPECT_EQ(noErr, Open());
    EXPECT_STREQ("", GetMovieOpenErrorText());
    DisposeMovie(mMovie);
}

TEST_F(OpeningAMovie, ALengthThatCannotBeCountedInBytesIsDamage) {
    constexpr std::int64_t kMaxFrames = (INT64_MAX - 80) / 4;
    const auto opens = [this](std::int64_t inFrames) {
        test_movies::Script(Tracks(PictureTrack(inFrames, 44100)));
        const OSErr status = Open();
        DisposeMovie(mMovie);
        return status;
    };
    EXPECT_EQ(noErr, opens(kMaxFrames));
    EXPECT_STREQ("", GetMovieOpenErrorText());
    EXPECT_EQ(invalidMovie, opens(kMaxFrames + 1));
    EXPECT_STREQ("the file claims a length beyond reason", GetMovieOpenErrorText());
    EXPECT_EQ(invalidMovie, opens(INT64_MAX));
}

TEST_F(OpeningAMovie, AGapOfYearsIsDamage) {
    const auto opens = [this](std::int64_t inGapSeconds) {
        MemorySound sound = NewSound(mirtal::fakes::SoundToEncode());
        SetEdits(*sound.track, {Edit{inGapSeconds * 44100, Edit::kEmpty}, Edit{44100, 0}});
        test_movies::Script(Tracks(SoundTrackOf(std::move(sound))));
        const OSErr status = Open();
        DisposeMovie(mMovie);
        return status;
    };
    EXPECT_EQ(noErr, opens(86400));
    EXPECT_EQ(invalidMovie, opens(86401));
    EXPECT_STREQ("the file claims a gap in its sound that is beyond reason", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, ALongProblemIsCut) {
    Importers().mpeg4 = [](ImportedMovie&, std::string& outProblem) {
        outProblem.assign(5000, 'x');
        return invalidMovie;
    };
    EXPECT_EQ(invalidMovie, Open());
    EXPECT_LT(std::string(GetMovieOpenErrorText()).size(), 1000U);
}

TEST_F(OpeningAMovie, BadArguments) {
    EXPECT_EQ(paramErr, NewMovieFromDataRef(nullptr, 0, &mResID, mAlias.Get(), rAliasType));
    EXPECT_EQ(0, mResID);
    EXPECT_EQ(paramErr, NewMovieFromDataRef(&mMovie, 0, nullptr, nullptr, rAliasType));
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_EQ(invalidDataRef, NewMovieFromDataRef(&mMovie, 0, nullptr, mAlias.Get(), FourChars("url ")));
    EXPECT_TRUE(Importers().asked.empty());
    EXPECT_STRNE("", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, TheFileIsGone) {
    std::unique_ptr<FileAlias> alias;
    {
        const test_files::TemporaryFolder folder;
        alias = std::make_unique<FileAlias>(folder.MakeFile("gone"));
    }
    EXPECT_EQ(couldNotResolveDataRef, NewMovieFromDataRef(&mMovie, 0, nullptr, alias->Get(), rAliasType));
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_STREQ(GetStatusText(fnfErr), GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, WhyTheFileCannotBeLookedUp) {
    const struct {
        int number;
        std::string words;
    } kCases[] = {{EACCES, GetStatusText(afpAccessDenied)},
                  {EMFILE, GetStatusText(tmfoErr)},
                  {ENXIO, GetStatusText(ioErr) + std::string(": No such device or address")}};
    // The locale in which the system speaks is made once, by calls that fail below.
    ASSERT_STREQ("No such device or address", toolbox::os::GetErrorText(ENXIO));
    for (const auto& one : kCases) {
        OSErr error = noErr;
        {
            const test_files::FailingCalls failing(1, one.number, test_files::FailingCalls::kForever);
            error = Open();
        }
        EXPECT_EQ(couldNotResolveDataRef, error) << one.words;
        EXPECT_EQ(one.words, GetMovieOpenErrorText());
    }
}

TEST_F(OpeningAMovie, TheSystemsOwnWordsWhereTheStatusSaysLess) {
    auto& calls = toolbox::os::CallsForTesting();
    const toolbox::os::SystemCalls real = calls;
    calls.openat = [](int, const char*, int, mode_t) { return errno = ENXIO, -1; };
    const OSErr error = Open();
    calls.openat = [](int, const char*, int, mode_t) { return errno = EMFILE, -1; };
    EXPECT_EQ(ioErr, error);
    EXPECT_STREQ((std::string(GetStatusText(ioErr)) + ": No such device or address").c_str(),
                 GetMovieOpenErrorText());
    const OSErr nextError = Open();
    calls = real;
    EXPECT_EQ(tmfoErr, nextError);
    EXPECT_STREQ("too many open files", GetMovieOpenErrorText());
}

TEST_F(OpeningAMovie, NoAliasRecord) {
    const Handle nonsense = NewHandleClear(3);
    EXPECT_EQ(couldNotResolveDataRef, NewMovieFromDataRef(&mMovie, 0, nullptr, nonsense, rAliasType));
    EXPECT_STREQ(GetStatusText(paramErr), GetMovieOpenErrorText());
    DisposeHandle(nonsense);
}

#ifndef NDEBUG

TEST_F(OpeningAMovie, DeathOfAnImporterThatBreaksItsPromises) {
    static ImportedMovie* sMovie = nullptr;
    const auto expectDeath = [this](ImportedMovie inMovie, const char* inWhat) {
        sMovie = &inMovie;
        Importers().mpeg4 = [](ImportedMovie& outMovie, std::string&) {
            outMovie = std::move(*sMovie);
            return noErr;
        };
        EXPECT_DEATH(static_cast<void>(Open()), "IsAsPromised") << inWhat;
    };
    const auto withTrack = [](toolbox::movies::ImportedTrack inTrack) {
        ImportedMovie movie;
        movie.tracks.push_back(std::move(inTrack));
        return movie;
    };
    MemorySound sound = Undecoded(8000, 8000);
    sound.track->formats.front().sampleRateHz = 0;
    expectDeath(withTrack(SoundTrackOf(std::move(sound))), "a format without a rate");
    toolbox::movies::ImportedTrack empty;
    empty.mediaType = SoundMediaType;
    empty.sound = std::make_unique<toolbox::movies::SoundTrack>();
    expectDeath(withTrack(std::move(empty)), "sound without a format");
    toolbox::movies::ImportedTrack picture = SoundTrackOf(Undecoded(8000, 8000));
    picture.mediaType = VideoMediaType;
    expectDeath(withTrack(std::move(picture)), "a picture with sound");
    expectDeath(withTrack({}), "a track of no kind");
    sound = Undecoded(8000, 8000);
    sound.track->spans.resize(1);
    sound.track->spans.front().format = 1;
    expectDeath(withTrack(SoundTrackOf(std::move(sound))), "a span of a format that is not there");
    for (const std::string& text : {std::string(), std::string("a\0b", 3)}) {
        ImportedMovie movie;
        movie.tags.push_back({1, text});
        expectDeath(std::move(movie), "a tag without a text, or with NUL in it");
    }
    ImportedMovie movie;
    movie.takenSoundTrack = 1;
    expectDeath(std::move(movie), "a sound track taken of none");
}

#endif

TEST_F(OpeningAMovie, WorksBeforeAndAfterEnterMovies) {
    Importers().mpeg4 = [](ImportedMovie&, std::string&) { return noErr; };
    ExitMovies();  // one too many counts for nothing
    EXPECT_EQ(noErr, EnterMovies());
    EXPECT_EQ(noErr, Open());
    DisposeMovie(mMovie);
    ExitMovies();
    EXPECT_EQ(noErr, Open());
    DisposeMovie(mMovie);
    DisposeMovie(nullptr);
}

class OpeningWithOptions : public OpeningAMovie {
  protected:
    OpeningWithOptions() {
        mOptions.byteCount = sizeof mOptions;
        Importers().adts = [](ImportedMovie& outMovie, std::string&) {
            outMovie.soundTracks = {{FourChars("sowt"), "", "deu", 48000, 1, false, false},
                                    {FourChars("mp4a"), "AAC LC", "", 44100, 2, true, true}};
            outMovie.takenSoundTrack = 2;
            return noErr;
        };
    }

    OSErr OpenSo() { return NewMovieFromDataRefWithOptions(&mMovie, mAlias.Get(), rAliasType, &mOptions); }

    MovieOpenOptions mOptions{};
};

TEST_F(OpeningWithOptions, TheChoiceReachesTheImporters) {
    for (const SInt32 track : {0, 1, 7, 0x7FFFFFFF}) {
        mOptions.soundTrack = track;
        ASSERT_EQ(noErr, OpenSo());
        EXPECT_EQ(static_cast<std::uint32_t>(track), Importers().options.soundTrack);
        DisposeMovie(mMovie);
    }
    ASSERT_EQ(noErr, NewMovieFromDataRefWithOptions(&mMovie, mAlias.Get(), rAliasType, nullptr));
    EXPECT_EQ(0u, Importers().options.soundTrack);
    DisposeMovie(mMovie);
    ASSERT_EQ(noErr, Open());
    EXPECT_EQ(0u, Importers().options.soundTrack);
    DisposeMovie(mMovie);
}

TEST_F(OpeningWithOptions, ATrackThatIsNotThere) {
    Importers().mpeg4 = [](ImportedMovie&, std::string& outProblem) {
        outProblem = "no such track";
        return trackNotInMovie;
    };
    EXPECT_EQ(trackNotInMovie, OpenSo());
    EXPECT_EQ(nullptr, mMovie);
    EXPECT_STREQ("no such track", GetMovieOpenErrorText());
    EXPECT_EQ((std::vector<std::string>{"mpeg4"}), Importers().asked);
}

TEST_F(OpeningWithOptions, OptionsOfAnotherToolbox) {
    const MovieOpenOptions good = mOptions;
    for (const UInt32 byteCount : {UInt32{0}, good.byteCount - 1, good.byteCount + 1}) {
        mMovie = reinterpret_cast<Movie>(this);
        mOptions.byteCount = byteCount;
        EXPECT_EQ(paramErr, OpenSo());
        EXPECT_EQ(nullptr, mMovie);
        EXPECT_STREQ("the options of opening are not understood", GetMovieOpenErrorText());
    }
    mOptions = good;
    mOptions.soundTrack = -1;
    EXPECT_EQ(paramErr, OpenSo());
    EXPECT_TRUE(Importers().asked.empty());
    EXPECT_EQ(paramErr, NewMovieFromDataRefWithOptions(nullptr, mAlias.Get(), rAliasType, &good));
    EXPECT_EQ(paramErr, NewMovieFromDataRefWithOptions(&mMovie, nullptr, rAliasType, &good));
    EXPECT_EQ(invalidDataRef, NewMovieFromDataRefWithOptions(&mMovie, mAlias.Get(), 0, &good));
}

struct Stop {
    bool isWanted;
    int asked = 0;
    static Boolean Ask(void* inContext) {
        ++static_cast<Stop*>(inContext)->asked;
        return static_cast<Stop*>(inContext)->isWanted;
    }
};

// An importer may take what it cannot read for damage.
TEST_F(OpeningWithOptions, StoppingEndsItWhateverTheImporterMakesOfIt) {
    for (const OSStatus answer : {OSStatus{noErr}, OSStatus{invalidMovie}, OSStatus{userCanceledErr}}) {
        Stop stop{true};
        mOptions.shouldStop = Stop::Ask;
        mOptions.stopContext = &stop;
        OSStatus readStatus = noErr;
        Importers().mpeg4 = [answer, &readStatus](ImportedMovie&, std::string&) {
            char byte = 0;
            std::size_t count = 0;
            readStatus = Importers().file->ReadAt(0, &byte, 1, &count);
            return answer;
        };
        EnterMovies();
        ClearMoviesStickyError();
        EXPECT_EQ(userCanceledErr, OpenSo());
        EXPECT_EQ(nullptr, mMovie);
        EXPECT_EQ(userCanceledErr, readStatus);
        EXPECT_EQ(1, stop.asked);
        EXPECT_STREQ("opening was stopped", GetMovieOpenErrorText());
        EXPECT_EQ(noErr, GetMoviesStickyError());
        ExitMovies();
    }
}

TEST_F(OpeningWithOptions, AnOpenMovieIsNotStopped) {
    Stop stop{false};
    mOptions.shouldStop = Stop::Ask;
    mOptions.stopContext = &stop;
    ASSERT_EQ(noErr, OpenSo());
    stop.isWanted = true;
    char byte = 0;
    std::size_t count = 0;
    EXPECT_EQ(noErr, Importers().file->ReadAt(0, &byte, 1, &count));
    EXPECT_EQ(0, stop.asked);
    DisposeMovie(mMovie);
}

TEST_F(OpeningWithOptions, TheFilesSoundTracksAreTold) {
    ASSERT_EQ(noErr, OpenSo());
    ASSERT_EQ(2, GetMovieSoundTrackCount(mMovie));
    MovieSoundTrackInfo info;
    ASSERT_EQ(noErr, GetMovieIndSoundTrackInfo(mMovie, 1, &info));
    EXPECT_EQ(FourChars("sowt"), info.format);
    EXPECT_STREQ("", info.formatName);
    EXPECT_STREQ("deu", info.language);
    EXPECT_EQ(48000u, info.sampleRateHz);
    EXPECT_EQ(1u, info.channelCount);
    EXPECT_FALSE(info.isEnabled || info.isAAC || info.isTaken);
    ASSERT_EQ(noErr, GetMovieIndSoundTrackInfo(mMovie, 2, &info));
    EXPECT_STREQ("AAC LC", info.formatName);
    EXPECT_STREQ("", info.language);
    EXPECT_TRUE(info.isEnabled && info.isAAC && info.isTaken);
    for (const SInt32 index : {-1, 0, 3}) {
        EXPECT_EQ(trackNotInMovie, GetMovieIndSoundTrackInfo(mMovie, index, &info));
        EXPECT_STREQ("AAC LC", info.formatName) << "unchanged";
    }
    EXPECT_EQ(paramErr, GetMovieIndSoundTrackInfo(mMovie, 1, nullptr));
    EXPECT_EQ(paramErr, GetMovieIndSoundTrackInfo(nullptr, 1, &info));
    EXPECT_EQ(0, GetMovieSoundTrackCount(nullptr));
    DisposeMovie(mMovie);
}

TEST(MovieTime, LengthOfTheLongestTrackRounded) {
    const OpenedMovie movie(Tracks(PictureTrack(1001, 30000), SoundTrackOf(Undecoded(44100, 1471))));
    // 1001/30000 s is 1471.47 frames, longer than the sound.
    SetMovieTimeScale(movie.Get(), 44100);
    EXPECT_EQ(1471, GetMovieDuration(movie.Get()));
    SetMovieTimeScale(movie.Get(), 441000);
    EXPECT_EQ(14715, GetMovieDuration(movie.Get()));
    SetMovieTimeScale(movie.Get(), 30000);
    EXPECT_EQ(1001, GetMovieDuration(movie.Get()));
    EXPECT_EQ(1471, GetMovieDuration64(movie.Get(), 44100));
    EXPECT_EQ(0, GetMovieDuration64(movie.Get(), 0));
    EXPECT_EQ(0, GetMovieDuration64(nullptr, 44100));
}

TEST(MovieTime, SoundIsCountedInFrames) {
    const OpenedMovie movie(Undecoded(44100, 123457));
    EXPECT_EQ(600, GetMovieTimeScale(movie.Get()));
    EXPECT_EQ(1680, GetMovieDuration(movie.Get()));  // 1679.68...
    SetMovieTimeScale(movie.Get(), 44100);
    EXPECT_EQ(123457, GetMovieDuration(movie.Get()));
}

TEST(MovieTime, HalvesRoundUp) {
    const OpenedMovie movie(Undecoded(96000, 3));
    SetMovieTimeScale(movie.Get(), 48000);
    EXPECT_EQ(2, GetMovieDuration(movie.Get()));
}

TEST(MovieTime, LongerThanATimeValue) {
    const std::int64_t frames = std::int64_t{3} << 40;
    const OpenedMovie movie(Undecoded(48000, frames));
    SetMovieTimeScale(movie.Get(), 48000);
    EXPECT_EQ(0x7FFFFFFF, GetMovieDuration(movie.Get()));
    EXPECT_EQ(frames, GetMovieDuration64(movie.Get(), 48000));
    SetMovieTimeScale(movie.Get(), 1);
    EXPECT_EQ(68719477, GetMovieDuration(movie.Get()));
}

TEST(MovieTime, ExactlyTheLargestTimeValue) {
    const OpenedMovie movie(Undecoded(48000, 0x7FFFFFFF));
    SetMovieTimeScale(movie.Get(), 48000);
    EXPECT_EQ(0x7FFFFFFF, GetMovieDuration(movie.Get()));
}

TEST(MovieTime, NoTracksNoLength) {
    const OpenedMovie movie(std::vector<toolbox::movies::ImportedTrack>{});
    EXPECT_EQ(0, GetMovieDuration(movie.Get()));
    EXPECT_EQ(0, GetMovieTrackCount(movie.Get()));
}

TEST(MovieTime, OnlyPositiveScalesAreTaken) {
    const OpenedMovie movie(Undecoded(48000, 1));
    SetMovieTimeScale(movie.Get(), 0);
    EXPECT_EQ(600, GetMovieTimeScale(movie.Get()));
    SetMovieTimeScale(movie.Get(), -1);
    EXPECT_EQ(600, GetMovieTimeScale(movie.Get()));
    SetMovieTimeScale(movie.Get(), 1);
    EXPECT_EQ(1, GetMovieTimeScale(movie.Get()));
    SetMovieTimeScale(nullptr, 5);
    EXPECT_EQ(0, GetMovieTimeScale(nullptr));
    EXPECT_EQ(0, GetMovieDuration(nullptr));
}

TEST(MovieTime, AnImportersImpossibleScaleIsMended) {
    const OpenedMovie movie(Tracks(PictureTrack(2, 1)), 0);
    EXPECT_EQ(1, GetMovieTimeScale(movie.Get()));
    EXPECT_EQ(2, GetMovieDuration(movie.Get()));
}

TEST(MovieTracks, InFileOrderFromOne) {
    const OpenedMovie movie(Tracks(PictureTrack(1, 1), SoundTrackOf(Undecoded(44100, 10))));
    ASSERT_EQ(2, GetMovieTrackCount(movie.Get()));
    EXPECT_EQ(nullptr, GetMovieIndTrack(movie.Get(), 0));
    EXPECT_EQ(nullptr, GetMovieIndTrack(movie.Get(), -1));
    EXPECT_EQ(nullptr, GetMovieIndTrack(movie.Get(), 3));
    EXPECT_EQ(nullptr, GetMovieIndTrack(nullptr, 1));
    const OSType expected[] = {VideoMediaType, SoundMediaType};
    for (SInt32 index = 1; index <= 2; ++index) {
        const Media media = GetTrackMedia(GetMovieIndTrack(movie.Get(), index));
        ASSERT_NE(nullptr, media);
        EXPECT_NE(nullptr, GetMediaHandler(media));
        OSType type = 0;
        OSType manufacturer = 0;
        Str255 name = {};
        GetMediaHandlerDescription(media, &type, name, &manufacturer);
        EXPECT_EQ(expected[index - 1], type);
        EXPECT_EQ(FourChars("mrtl"), manufacturer);
        EXPECT_EQ(index == 1 ? "Video Media Handler" : "Sound Media Handler",
                  std::string(reinterpret_cast<char*>(name) + 1, name[0]));
        GetMediaHandlerDescription(media, nullptr, nullptr, nullptr);
    }
}

TEST(MovieTracks, NullsAnswerNothing) {
    OSType type = 5;
    OSType manufacturer = 5;
    Str255 name = {9};
    EXPECT_EQ(0, GetMovieTrackCount(nullptr));
    EXPECT_EQ(nullptr, GetTrackMedia(nullptr));
    EXPECT_EQ(nullptr, GetMediaHandler(nullptr));
    GetMediaHandlerDescription(nullptr, &type, name, &manufacturer);
    EXPECT_EQ(0U, type);
    EXPECT_EQ(0U, manufacturer);
    EXPECT_EQ(0, name[0]);
    EXPECT_EQ(0, GetMediaSampleDescriptionCount(nullptr));
    GetMediaSampleDescription(nullptr, 1, nullptr);
}

TEST(SampleDescriptions, FillAndResizeTheHandle) {
    MemorySound sound = Undecoded(96000, 10);
    SoundFormat second;
    second.dataFormat = FourChars("alac");
    second.sampleRateHz = 44100;
    second.channelCount = 2;
    sound.track->formats.push_back(second);
    const OpenedMovie movie(std::move(sound));
    const Media media = GetTrackMedia(GetMovieIndTrack(movie.Get(), 1));
    EXPECT_EQ(2, GetMediaSampleDescriptionCount(media));
    for (const Size sizeBefore : {0, 4, 1000}) {
        const Handle description = NewHandle(sizeBefore);
        GetMediaSampleDescription(media, 1, description);
        ASSERT_EQ(36, GetHandleSize(description));
        const std::string first(*description, 36);
        EXPECT_EQ(std::string("\0\0\0\x24mp4a", 8), first.substr(0, 8));
        EXPECT_EQ(std::string("\xBB\x80\0\0", 4), first.substr(32));  // 96000 described as 48000
        GetMediaSampleDescription(media, 2, description);
        EXPECT_EQ("alac", std::string(*description + 4, 4));
        EXPECT_EQ(std::string("\xAC\x44\0\0", 4), std::string(*description + 32, 4));
        DisposeHandle(description);
    }
}

TEST(SampleDescriptions, OutOfRangeLeavesAnEmptyHandle) {
    const OpenedMovie movie(Tracks(SoundTrackOf(Undecoded(44100, 10)), PictureTrack(1, 1)));
    const Media sound = GetTrackMedia(GetMovieIndTrack(movie.Get(), 1));
    const Media picture = GetTrackMedia(GetMovieIndTrack(movie.Get(), 2));
    EXPECT_EQ(0, GetMediaSampleDescriptionCount(picture));
    const Handle description = NewHandle(36);
    for (const SInt32 index : {-1, 0, 2}) {
        SetHandleSize(description, 36);
        GetMediaSampleDescription(sound, index, description);
        EXPECT_EQ(0, GetHandleSize(description)) << index;
    }
    SetHandleSize(description, 36);
    GetMediaSampleDescription(picture, 1, description);
    EXPECT_EQ(0, GetHandleSize(description));
    DisposeHandle(description);
}

}  // namespace

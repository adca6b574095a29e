#include "converter/EngineTest.h"

#include <converter/AACToWAV.h>
#include <foundation/LException.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using fakes::ScriptedMovie;
using fakes::ToneMovie;
using ::testing::ElementsAre;

constexpr OSType kSound = FourChars("soun");
constexpr OSType kVideo = FourChars("vide");

class MovieHelpersTest : public EngineTest {
  protected:
    // A movie held for the duration of a test.
    struct Opened {
        explicit Opened(const ScriptedMovie& inMovie) {
            fakes::AddMovie("file", inMovie);
            movie = MovieFromPath("file");
        }
        ~Opened() { DisposeMovie(movie); }
        Movie movie;
    };

    static Media FirstMedia(Movie inMovie) { return GetTrackMedia(GetMovieIndTrack(inMovie, 1)); }
};

TEST_F(MovieHelpersTest, MovieFromPathOpensThroughAnAlias) {
    fakes::AddMovie("/a/b.m4a", ToneMovie(44100, 10));
    const Movie movie = MovieFromPath("/a/b.m4a");
    ASSERT_NE(nullptr, movie);
    EXPECT_THAT(fakes::CallLog(), ElementsAre("FSPathMakeRef()", "FSNewAliasMinimal()",
                                              "NewMovieFromDataRef(4, 0, alis)", "DisposeHandle(4)"));
    EXPECT_EQ(0, fakes::LiveHandles());
    DisposeMovie(movie);
}

TEST_F(MovieHelpersTest, MovieFromPathWithoutAFile) {
    EXPECT_EQ(nullptr, MovieFromPath("/nothing"));
    EXPECT_THAT(fakes::CallLog(), ElementsAre("FSPathMakeRef()"));
    EXPECT_EQ(nullptr, MovieFromPath(nullptr));
}

TEST_F(MovieHelpersTest, MovieFromPathIsNullOnEveryFailure) {
    fakes::AddMovie("file", ToneMovie(44100, 10));
    int failing = 1;
    for (;; ++failing) {
        fakes::FailCall(failing);
        const Movie movie = MovieFromPath("file");
        if (!fakes::FailureDelivered()) {
            ASSERT_NE(nullptr, movie);
            DisposeMovie(movie);
            break;
        }
        EXPECT_EQ(nullptr, movie) << failing;
        ExpectNothingLive();
    }
    EXPECT_EQ(4, failing);
}

TEST_F(MovieHelpersTest, SampleDescriptionByIndex) {
    ScriptedMovie script = ToneMovie(44100, 1);
    const Bytes second = Bytes(16, 7);
    script.tracks[0].sampleDescriptions.push_back(second);
    const Opened opened(script);
    const Media media = FirstMedia(opened.movie);
    const Handle description = GetIndMediaSampleDescription(media, 2);
    ASSERT_NE(nullptr, description);
    EXPECT_EQ(second, fakes::HandleBytes(description));
    DisposeHandle(description);
}

TEST_F(MovieHelpersTest, SampleDescriptionIndexOutOfRange) {
    const Opened opened(ToneMovie(44100, 1));
    for (long index : {0L, -1L, 2L, 0x7FFFFFFFL})
        EXPECT_EQ(nullptr, GetIndMediaSampleDescription(FirstMedia(opened.movie), index)) << index;
    EXPECT_TRUE(fakes::CallsOf({"NewHandle", "GetMediaSampleDescription"}).empty());
}

TEST_F(MovieHelpersTest, SampleDescriptionOf15BytesIsTooShort) {
    ScriptedMovie script = ToneMovie(44100, 1);
    for (std::size_t size : {0u, 1u, 15u})
        script.tracks[0].sampleDescriptions.push_back(Bytes(size, 1));
    const Opened opened(script);
    for (long index : {2L, 3L, 4L})
        EXPECT_EQ(nullptr, GetIndMediaSampleDescription(FirstMedia(opened.movie), index)) << index;
    EXPECT_EQ(0, fakes::LiveHandles());
}

TEST_F(MovieHelpersTest, SampleDescriptionWithoutAHandle) {
    const Opened opened(ToneMovie(44100, 1));
    fakes::FailCall(1);
    EXPECT_EQ(nullptr, GetIndMediaSampleDescription(FirstMedia(opened.movie), 1));
    EXPECT_TRUE(fakes::FailureDelivered());
}

TEST_F(MovieHelpersTest, SoundDescriptionIsOfTheFirstSoundTrack) {
    ScriptedMovie script;
    const Bytes first = fakes::SoundDescriptionBytes(22050u << 16);
    script.tracks = {{kVideo, {Bytes(86, 1)}}, {kSound, {first, Bytes(36, 2)}}, {kSound, {Bytes(36, 3)}}};
    const Opened opened(script);
    const Handle description = GetMovieSoundDescription(opened.movie);
    ASSERT_NE(nullptr, description);
    EXPECT_EQ(first, fakes::HandleBytes(description));
    DisposeHandle(description);
    EXPECT_THAT(fakes::CallsOf({"GetMediaHandler", "GetMediaHandlerDescription"}),
                ElementsAre("GetMediaHandler", "GetMediaHandlerDescription", "GetMediaHandler",
                            "GetMediaHandlerDescription"));
}

TEST_F(MovieHelpersTest, SoundDescriptionOfTheFirstSoundTrackMayBeMissing) {
    ScriptedMovie script;
    script.tracks = {{kSound, {}}, {kSound, {Bytes(36, 3)}}};
    const Opened opened(script);
    EXPECT_EQ(nullptr, GetMovieSoundDescription(opened.movie));
}

TEST_F(MovieHelpersTest, NoSoundTrack) {
    ScriptedMovie script;
    {
        const Opened opened(script);
        EXPECT_EQ(nullptr, GetMovieSoundDescription(opened.movie));
        EXPECT_EQ(44100, GetMovieSampleRate(opened.movie));
    }
    script.tracks = {{kVideo, {Bytes(86, 1)}}};
    const Opened opened(script);
    EXPECT_EQ(nullptr, GetMovieSoundDescription(opened.movie));
    EXPECT_EQ(44100, GetMovieSampleRate(opened.movie));
}

TEST_F(MovieHelpersTest, SampleRateIsTheIntegerPartUnsigned) {
    struct {
        UInt32 fixedRate;
        long rateHz;
    } const cases[] = {{44100u << 16, 44100}, {44100u << 16 | 0xFFFF, 44100},
                       {48000u << 16, 48000}, {8000u << 16, 8000},
                       {0xFFFFFFFF, 65535},   {0x0000FFFF, 0}};
    for (const auto& each : cases) {
        ScriptedMovie script;
        script.tracks = {{kSound, {fakes::SoundDescriptionBytes(each.fixedRate)}}};
        const Opened opened(script);
        EXPECT_EQ(each.rateHz, GetMovieSampleRate(opened.movie));
        EXPECT_EQ(0, fakes::LiveHandles());
    }
}

TEST_F(MovieHelpersTest, SampleRateOfADescriptionThatEndsBeforeIt) {
    ScriptedMovie script;
    script.tracks = {{kSound, {Bytes(35, 0xFF)}}};
    const Opened opened(script);
    EXPECT_EQ(44100, GetMovieSampleRate(opened.movie));
}

class ConvertedLengthTest : public EngineTest {};

TEST_F(ConvertedLengthTest, OneSecond) {
    fakes::AddMovie("file", ToneMovie(44100, 44100));
    EXPECT_EQ(176444, getConvertedLength("file").LongLong());
    EXPECT_THAT(
        fakes::CallsOf({"SetMovieTimeScale", "GetMovieDuration", "DisposeMovie", "MovieExportToHandle"}),
        ElementsAre("SetMovieTimeScale", "GetMovieDuration", "DisposeMovie"));
}

TEST_F(ConvertedLengthTest, IsTheLengthOfTheStream) {
    for (SInt64 frameCount : {0, 1, 999, 1000, 1001, 2500}) {
        fakes::AddMovie("file", ToneMovie(1000, frameCount));
        EXPECT_EQ(static_cast<long long>(Whole("file").Stream().size()),
                  getConvertedLength("file").LongLong());
    }
}

TEST_F(ConvertedLengthTest, ZeroWithoutAFile) {
    EXPECT_EQ(0, getConvertedLength("/nothing").LongLong());
}

TEST_F(ConvertedLengthTest, ZeroWhenTheMovieDoesNotOpen) {
    fakes::AddMovie("file", ToneMovie(44100, 10));
    for (int failing = 1; failing <= 3; ++failing) {
        fakes::FailCall(failing);
        EXPECT_EQ(0, getConvertedLength("file").LongLong()) << failing;
        EXPECT_TRUE(fakes::FailureDelivered());
    }
}

TEST_F(ConvertedLengthTest, WithoutSoundAtTheDefaultRate) {
    ScriptedMovie script;
    script.frameCount = 3;
    fakes::AddMovie("file", script);
    EXPECT_EQ(56, getConvertedLength("file").LongLong());
}

TEST_F(ConvertedLengthTest, WrapsIn32BitsAndIsNeverNegative) {
    struct {
        TimeValue duration;
        long long byteCount;
    } const cases[] = {
        {0x3FFFFFF4, 0xFFFFFFFCLL}, {0x3FFFFFF5, 0}, {0x40000000, 44}, {0x7FFFFFFF, 40}, {-1, 40}};
    for (const auto& each : cases) {
        ScriptedMovie script = ToneMovie(44100, 0);
        script.duration = each.duration;
        fakes::AddMovie("file", script);
        EXPECT_EQ(each.byteCount, getConvertedLength("file").LongLong()) << each.duration;
    }
}

class EntriesTest : public EngineTest {};

TEST_F(EntriesTest, NothingForAPathThatDoesNotExist) {
    EXPECT_TRUE(Whole("/nothing").chunks.empty());
    EXPECT_TRUE(Window("/nothing", 0, 0).chunks.empty());
    EXPECT_THAT(fakes::CallsOf({"DisposeHandle", "DisposePtr", "CloseComponent", "DisposeMovie"}),
                ElementsAre());
}

TEST_F(EntriesTest, OneSecondIsTwoChunks) {
    fakes::AddMovie("file", ToneMovie(44100, 44100));
    const Recorder recorder = Whole("file");
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 176400));
    EXPECT_EQ(ExpectedStream(44100, 44100), recorder.Stream());
}

TEST_F(EntriesTest, TheOrderOfToolboxCalls) {
    fakes::AddMovie("file", ToneMovie(44100, 44100));
    const std::vector<std::string> preparation = {"FSPathMakeRef()",
                                                  "FSNewAliasMinimal()",
                                                  "NewMovieFromDataRef(4, 0, alis)",
                                                  "DisposeHandle(4)",
                                                  "GetMediaHandler()",
                                                  "GetMediaHandlerDescription()",
                                                  "NewHandle(0)",
                                                  "GetMediaSampleDescription(1)",
                                                  "DisposeHandle(36)",
                                                  "NewPtrClear(176400)",
                                                  "SetMovieTimeScale(44100)",
                                                  "OpenDefaultComponent(spit, snd )",
                                                  "NewHandleClear(36)",
                                                  "FixRatio(-21436, 1)",
                                                  "MovieExportSetSampleDescription(soun)",
                                                  "GetMovieTimeScale()",
                                                  "GetMovieDuration()",
                                                  "NewHandleClear(4)",
                                                  "callback(44)",
                                                  "HUnlock()",
                                                  "MovieExportToHandle(0, 44100)",
                                                  "HLock()",
                                                  "callback(176400)",
                                                  "DisposeHandle(36)",
                                                  "DisposePtr()",
                                                  "CloseComponent()",
                                                  "DisposeMovie()",
                                                  "DisposeHandle(176484)"};
    Whole("file");
    EXPECT_EQ(preparation, fakes::CallLog());
    fakes::StartScenario();
    fakes::AddMovie("file", ToneMovie(44100, 44100));
    Window("file", 0, 0);
    EXPECT_EQ(preparation, fakes::CallLog());
}

TEST_F(EntriesTest, EveryFailureEndsTheStreamAndReleasesAll) {
    const Bytes stream = ExpectedStream(44100, 100000);
    for (const bool isWindow : {false, true}) {
        for (int failing = 1;; ++failing) {
            fakes::StartScenario();
            fakes::AddMovie("file", ToneMovie(44100, 100000));
            fakes::FailCall(failing);
            const Bytes delivered = (isWindow ? Window("file", 0, 0) : Whole("file")).Stream();
            ExpectNothingLive();
            ASSERT_TRUE(fakes::Misuses().empty()) << fakes::Misuses().front();
            ASSERT_LE(delivered.size(), stream.size());
            EXPECT_TRUE(std::equal(delivered.begin(), delivered.end(), stream.begin())) << failing;
            if (!fakes::FailureDelivered()) {
                EXPECT_EQ(stream, delivered);
                EXPECT_EQ(13, failing) << "three to open, one description, five to prepare, three exports";
                break;
            }
            // Without the handle for a description the rate is the default one, which is this movie's.
            const bool isHarmless = fakes::CallLog().back() != "DisposeMovie()" && delivered == stream;
            EXPECT_EQ(failing == 4, isHarmless) << failing;
        }
    }
}

TEST_F(EntriesTest, ReleaseIsOfWhatWasObtainedInItsOrder) {
    struct {
        int failingCall;  // counted from the silence buffer on, which is the fifth
        std::vector<std::string> releases;
    } const cases[] = {
        {5, {"DisposeMovie()"}},
        {6, {"DisposePtr()", "DisposeMovie()"}},
        {7, {"DisposePtr()", "CloseComponent()", "DisposeMovie()"}},
        {8, {"DisposeHandle(36)", "DisposePtr()", "CloseComponent()", "DisposeMovie()"}},
        {9, {"DisposeHandle(36)", "DisposePtr()", "CloseComponent()", "DisposeMovie()"}},
        {10, {"DisposeHandle(36)", "DisposePtr()", "CloseComponent()", "DisposeMovie()", "DisposeHandle(4)"}},
    };
    for (const auto& each : cases) {
        fakes::StartScenario();
        fakes::AddMovie("file", ToneMovie(44100, 10));
        fakes::FailCall(each.failingCall);
        Whole("file");
        EXPECT_TRUE(fakes::FailureDelivered());
        std::vector<std::string> releases;
        const auto& log = fakes::CallLog();
        const auto start = std::find_if(log.begin(), log.end(),
                                        [](const auto& call) { return call.find("NewPtrClear") == 0; });
        std::copy_if(start, log.end(), std::back_inserter(releases),
                     [](const auto& call) { return call.find("Dispose") == 0 || call.find("Close") == 0; });
        EXPECT_EQ(each.releases, releases) << each.failingCall;
    }
}

void ThrowInt(void*, void*, long) {
    throw 5;
}
void ThrowLException(void*, void*, long) {
    LException::Throw(-1);
}

TEST_F(EntriesTest, OtherExceptionsPassWithEverythingReleased) {
    fakes::AddMovie("file", ToneMovie(44100, 10));
    EXPECT_THROW(convert_AAC_to_WAV("file", nullptr, ThrowInt), int);
    ExpectNothingLive();
    EXPECT_THROW(convert_AAC_to_WAV("file", nullptr, ThrowInt, Int64(0), Int64(0)), int);
}

TEST_F(EntriesTest, AnLExceptionOfTheCallbackEndsTheStream) {
    fakes::AddMovie("file", ToneMovie(44100, 10));
    EXPECT_NO_THROW(convert_AAC_to_WAV("file", nullptr, ThrowLException));
    EXPECT_NO_THROW(convert_AAC_to_WAV("file", nullptr, ThrowLException, Int64(0), Int64(0)));
    EXPECT_TRUE(fakes::CallsOf({"MovieExportToHandle"}).empty());
}

TEST_F(EntriesTest, AFileWithoutSoundConvertsAt44100Hz) {
    ScriptedMovie script;
    script.frameCount = 100000;
    script.render = [](SInt64, SInt64) { return fakes::Rendered{0, fakes::SoundBlock(0, {})}; };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    Bytes expected = ExpectedHeader(44100, 100000);
    expected.resize(44 + 400000, 0);
    EXPECT_EQ(expected, recorder.Stream());
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 176400, 176400, 47200));
}

}  // namespace

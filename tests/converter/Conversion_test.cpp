#include "converter/EngineTest.h"

#include <converter/Conversion.h>
#include <foundation/LException.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using fakes::Rendered;
using fakes::RenderTone;
using fakes::ScriptedMovie;
using fakes::SoundBlock;
using fakes::ToneBytes;
using fakes::ToneMovie;
using ::testing::ElementsAre;

TEST(WAVHeaderTest, EveryField) {
    struct {
        SInt32 rateHz;
        UInt32 frameCount;
    } const cases[] = {{44100, 44100}, {8000, 0}, {65535, 1}, {48000, 0x12345678}, {1, 0x3FFFFFFF}};
    for (const auto& each : cases) {
        const WAVHeader header = MakeWAVHeader(each.rateHz, each.frameCount);
        EXPECT_EQ(ExpectedHeader(static_cast<UInt32>(each.rateHz), each.frameCount),
                  Bytes(std::begin(header.bytes), std::end(header.bytes)));
    }
}

TEST(WAVHeaderTest, KnownBytes) {
    const WAVHeader header = MakeWAVHeader(44100, 44100);
    EXPECT_THAT(Bytes(std::begin(header.bytes), std::end(header.bytes)),
                ElementsAre('R', 'I', 'F', 'F', 0x34, 0xB1, 0x02, 0x00, 'W', 'A', 'V', 'E', 'f', 'm', 't',
                            ' ', 16, 0, 0, 0, 1, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x10, 0xB1, 2, 0, 4, 0, 16, 0,
                            'd', 'a', 't', 'a', 0x10, 0xB1, 0x02, 0x00));
}

TEST(WAVHeaderTest, SizesWrap) {
    const WAVHeader header = MakeWAVHeader(44100, 0x40000001);
    const Bytes bytes(std::begin(header.bytes), std::end(header.bytes));
    EXPECT_EQ(40u, Little32(bytes, 4));
    EXPECT_EQ(4u, Little32(bytes, 40));
    const WAVHeader below = MakeWAVHeader(44100, 0x3FFFFFF8);
    EXPECT_EQ(4u, Little32(Bytes(std::begin(below.bytes), std::end(below.bytes)), 4));
}

class WholeTest : public EngineTest {};

TEST_F(WholeTest, LengthsAroundASecond) {
    for (SInt64 frameCount : {0, 1, 99, 100, 101, 200, 250}) {
        fakes::AddMovie("file", ToneMovie(100, frameCount));
        const Recorder recorder = Whole("file");
        EXPECT_EQ(ExpectedStream(100, frameCount), recorder.Stream()) << frameCount;
        EXPECT_EQ(1 + (frameCount + 99) / 100, static_cast<SInt64>(recorder.chunks.size())) << frameCount;
    }
}

TEST_F(WholeTest, ExportsASecondAtATime) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    Whole("file");
    std::vector<std::string> exports;
    for (const std::string& call : fakes::CallLog())
        if (call.find("MovieExport") == 0 && call.find("Description") == std::string::npos)
            exports.push_back(call);
    EXPECT_THAT(exports, ElementsAre("MovieExportToHandle(0, 100)", "MovieExportToHandle(100, 100)",
                                     "MovieExportToHandle(200, 50)"));
}

TEST_F(WholeTest, NoChunkIsLargerThanASecondAtTheHighestRate) {
    constexpr long kMaxChunkBytes = 262140;
    static_assert(kMaxChunkBytes <= 1 << 18);
    fakes::AddMovie("file", ToneMovie(65535, 2 * 65535 + 1));
    EXPECT_THAT(Whole("file").Lengths(), ElementsAre(44, kMaxChunkBytes, kMaxChunkBytes, 4));
    EXPECT_THAT(Window("file", 44 + 4, 0).Lengths(), ElementsAre(kMaxChunkBytes, kMaxChunkBytes));
}

TEST_F(WholeTest, AllExportsGoIntoOneHandle) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    Whole("file");
    EXPECT_EQ(3u, fakes::CallsOf({"MovieExportToHandle"}).size());
    const auto& calls = fakes::CallLog();
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "NewHandleClear(4)"));
}

TEST_F(WholeTest, AnEmptySecondIsSilenceAndTheConversionGoesOn) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64 inFirst, SInt64 inCount) {
        return inFirst == 100 ? Rendered{0, SoundBlock(0, {})} : RenderTone(inFirst, inCount, 250);
    };
    fakes::AddMovie("file", script);
    Bytes expected = ExpectedStream(100, 250);
    std::fill(expected.begin() + 444, expected.begin() + 844, static_cast<unsigned char>(0));
    const Recorder recorder = Whole("file");
    EXPECT_EQ(expected, recorder.Stream());
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 400, 400, 200));
}

TEST_F(WholeTest, AShortEndIsPaddedToTheAnnouncedLength) {
    for (SInt64 rendered : {0, 1, 99, 100, 140, 249}) {
        ScriptedMovie script = ToneMovie(100, 250);
        script.render = [rendered](SInt64 inFirst, SInt64 inCount) {
            return RenderTone(inFirst, inCount, rendered);
        };
        fakes::AddMovie("file", script);
        Bytes expected = ExpectedStream(100, 250);
        std::fill(expected.begin() + 44 + rendered * 4, expected.end(), static_cast<unsigned char>(0));
        EXPECT_EQ(expected, Whole("file").Stream()) << rendered;
    }
}

// A block that gives fewer bytes than its frames stand for: only the padding brings the stream to its length.
TEST_F(WholeTest, PaddingAfterBlocksOfFewerBytesThanFrames) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64, SInt64 inCount) {
        const auto count = static_cast<UInt32>(inCount);
        return Rendered{0, SoundBlock(count, Bytes(count * 2, 1), 1)};
    };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 200, 200, 100, 400, 100));
    Bytes expected = ExpectedHeader(100, 250);
    expected.resize(44 + 500, 1);
    expected.resize(1044, 0);
    EXPECT_EQ(expected, recorder.Stream());
}

TEST_F(WholeTest, AShortBlockInTheMiddleMovesTheNextExport) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64 inFirst, SInt64 inCount) {
        return RenderTone(inFirst, std::min<SInt64>(inCount, 30), 250);
    };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    EXPECT_EQ(ExpectedStream(100, 250), recorder.Stream());
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 120, 120, 120, 120, 120, 120, 120, 120, 40));
}

TEST_F(WholeTest, ALongBlockIsCutAtTheEndOfTheStream) {
    ScriptedMovie script = ToneMovie(100, 150);
    script.render = [](SInt64 inFirst, SInt64) { return RenderTone(inFirst, 120, 1000); };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    EXPECT_EQ(ExpectedStream(100, 150), recorder.Stream());
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 480, 120));
}

TEST_F(WholeTest, AFailedExportEndsTheStreamAfterWhatWasDelivered) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64 inFirst, SInt64 inCount) {
        return inFirst >= 100 ? Rendered{-8961, {}} : RenderTone(inFirst, inCount, 250);
    };
    fakes::AddMovie("file", script);
    EXPECT_THAT(Whole("file").Lengths(), ElementsAre(44, 400));
}

TEST_F(WholeTest, AMalformedBlockEndsTheStream) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64, SInt64) { return Rendered{0, Bytes(500, 0)}; };
    fakes::AddMovie("file", script);
    EXPECT_THAT(Whole("file").Lengths(), ElementsAre(44));
}

TEST_F(WholeTest, LengthsWrapIn32Bits) {
    ScriptedMovie script = ToneMovie(44100, 0);
    script.duration = 0x40000001;
    int exports = 0;
    script.render = [&exports](SInt64, SInt64) {
        return ++exports == 3 ? Rendered{-1, {}} : Rendered{0, SoundBlock(44100, Bytes(176400, 1))};
    };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 4, 0)) << "48 bytes in all, and exports go on";
    EXPECT_EQ(ExpectedHeader(44100, 0x40000001), recorder.chunks[0].bytes);
}

// A frame count whose product with the frame's size wraps to something small takes the position back below
// zero.
TEST_F(WholeTest, AFrameCountBeyond31BitsWraps) {
    ScriptedMovie script = ToneMovie(100, 10);
    int exports = 0;
    script.render = [&exports](SInt64, SInt64) {
        return ++exports == 1 ? Rendered{0, SoundBlock(0x80000001, Bytes(4, 1))}
                              : Rendered{0, SoundBlock(0, {})};
    };
    fakes::AddMovie("file", script);
    const Recorder recorder = Whole("file");
    EXPECT_THAT(recorder.Lengths(), ElementsAre(44, 4, 36));
    EXPECT_EQ(2, exports) << "the next frame is one below zero, and so before the end";
}

TEST_F(WholeTest, ANegativeFrameCountExportsNothing) {
    ScriptedMovie script = ToneMovie(100, 10);
    script.duration = -5;
    fakes::AddMovie("file", script);
    EXPECT_THAT(Whole("file").Lengths(), ElementsAre(44));
    EXPECT_TRUE(fakes::CallsOf({"MovieExportToHandle"}).empty());
}

TEST_F(WholeTest, ARateOfZeroEnds) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.tracks[0].sampleDescriptions[0] = fakes::SoundDescriptionBytes(0);
    script.timeScale = 100;
    script.render = [](SInt64, SInt64) { return Rendered{0, SoundBlock(0, {})}; };
    fakes::AddMovie("file", script);
    EXPECT_THAT(Whole("file").Lengths(), ElementsAre(44));
}

TEST_F(WholeTest, ExceptionsPassThroughConvertWhole) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    SegmentExporter exporter("file");
    Recorder recorder;
    fakes::FailCall(3);
    EXPECT_THROW(ConvertWhole(exporter, &recorder, Recorder::Put), LException);
    EXPECT_EQ(2u, recorder.chunks.size());
}

class WindowTest : public EngineTest {};

TEST_F(WindowTest, ZeroStartAndNoDurationIsTheWhole) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (long long duration : {0LL, -1LL, -0x100000000LL}) {
        const Recorder recorder = Window("file", 0, duration);
        EXPECT_EQ(Whole("file").chunks, recorder.chunks) << duration;
    }
}

TEST_F(WindowTest, TheElevenIsTakenFromTheDurationAsItStands) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Recorder recorder = Window("file", 10, 20);
    EXPECT_THAT(recorder.Lengths(), ElementsAre(10, 36, 24));
    Bytes expected = Slice(ExpectedHeader(100, 9), 10, 20);
    const Bytes samples = ToneBytes(0, 9, false);
    expected.insert(expected.end(), samples.begin(), samples.end());
    expected.resize(expected.size() + 24, 0);
    EXPECT_EQ(expected, recorder.Stream());
}

TEST_F(WindowTest, DurationsUpToElevenGiveNoFrames) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (long long duration = 1; duration <= 11; ++duration) {
        const Recorder recorder = Window("file", 0, duration);
        Bytes expected = Slice(ExpectedHeader(100, 0), 0, static_cast<std::size_t>(duration));
        expected.resize(44, 0);
        EXPECT_EQ(expected, recorder.Stream()) << duration;
        EXPECT_TRUE(fakes::CallsOf({"MovieExportToHandle"}).empty());
    }
}

// The header is cut where the duration ends, counted from the stream's beginning, and silence fills up to its
// 44 bytes.
TEST_F(WindowTest, DurationsUpToElevenAndAStart) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (long long duration = 1; duration <= 11; ++duration) {
        for (long long start = 1; start <= duration; ++start) {
            const Recorder recorder = Window("file", start, duration);
            const auto end = static_cast<std::size_t>(duration);
            Bytes expected = Slice(ExpectedHeader(100, 0), static_cast<std::size_t>(start), end);
            expected.resize(static_cast<std::size_t>(44 - start), 0);
            EXPECT_EQ(expected, recorder.Stream()) << start << ' ' << duration;
        }
        // Less than nothing of the header is told, and filled up as well.
        EXPECT_THAT(Window("file", 40, duration).Lengths(), ElementsAre(duration - 40, 44 - duration));
        EXPECT_TRUE(Window("file", 44, duration).chunks.empty());
        EXPECT_TRUE(Window("file", 80, duration).chunks.empty());
    }
    EXPECT_TRUE(fakes::CallsOf({"MovieExportToHandle"}).empty());
}

TEST_F(WindowTest, DurationsOfMoreThanTheMovieAreTheMovies) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (long long duration : {261LL, 262LL, 100000LL, 0x7FFFFFFFLL})
        EXPECT_EQ(ExpectedStream(100, 250), Window("file", 0, duration).Stream()) << duration;
    EXPECT_EQ(ExpectedStream(100, 249), Window("file", 0, 260).Stream());
}

TEST_F(WindowTest, StartsInsideTheSamplesAreRoundedDownToAFrame) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Bytes stream = ExpectedStream(100, 250);
    for (long long start : {44, 45, 46, 47, 48, 51, 52, 443, 444, 1040, 1043}) {
        const Bytes delivered = Window("file", start, 0).Stream();
        const auto first = static_cast<std::size_t>(44 + (start - 44) / 4 * 4);
        const auto count = stream.size() - static_cast<std::size_t>(start);
        EXPECT_EQ(Slice(stream, first, first + count), delivered) << start;
    }
}

TEST_F(WindowTest, StartAt46ExportsFromFrameZero) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Recorder recorder = Window("file", 46, 0);
    EXPECT_EQ(ToneBytes(0, 1, false), Slice(recorder.Stream(), 0, 4));
    EXPECT_THAT(recorder.Lengths(), ElementsAre(400, 400, 198));
}

TEST_F(WindowTest, StartsBeyond2GiBAreUnsigned) {
    ScriptedMovie script = ToneMovie(100, 0);
    script.duration = 0x3FFFFFF0;
    script.render = [](SInt64, SInt64) { return Rendered{-36, {}}; };
    fakes::AddMovie("file", script);
    EXPECT_TRUE(Window("file", 0x80000000LL + 44, 0).chunks.empty());
    EXPECT_TRUE(Window("file", 0xFFFFFFE8LL, 0).chunks.empty());
    std::vector<std::string> exports;
    for (const std::string& call : fakes::CallLog())
        if (call.find("MovieExportToHandle") == 0) exports.push_back(call);
    EXPECT_THAT(exports,
                ElementsAre("MovieExportToHandle(536870912, 100)", "MovieExportToHandle(1073741807, 1)"));
}

TEST_F(WindowTest, StartsInsideTheHeader) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Bytes stream = ExpectedStream(100, 250);
    for (std::size_t start : {0u, 1u, 10u, 43u})
        EXPECT_EQ(Slice(stream, start, stream.size()),
                  Window("file", static_cast<long long>(start), 0).Stream());
}

// Without a duration the header is bounded by frames plus 44 bytes from the stream's beginning on, which cuts
// nothing.
TEST_F(WindowTest, TheRestOfTheHeaderOfAnEmptyMovie) {
    fakes::AddMovie("file", ToneMovie(100, 0));
    EXPECT_THAT(Window("file", 0, 0).Lengths(), ElementsAre(44));
    EXPECT_THAT(Window("file", 40, 0).Lengths(), ElementsAre(4));
    EXPECT_TRUE(Window("file", 44, 0).chunks.empty());
}

TEST_F(WindowTest, NothingAtOrBeyondTheEnd) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (long long start :
         {1044LL, 1045LL, 5000LL, 0x100000000LL + 100, 0x100000000LL + 5000, 0x7FFFFFFFFFFFFFFFLL})
        EXPECT_TRUE(Window("file", start, 0).chunks.empty()) << start;
    EXPECT_TRUE(Window("file", 80, 20).chunks.empty());
    EXPECT_THAT(Window("file", 79, 20).Lengths(), ElementsAre(1));
}

TEST_F(WindowTest, RemainingBelowZeroIsPassedOn) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Recorder recorder = Window("file", 40, 12);
    // One frame, 48 bytes in all; the header part of -28 bytes takes the position back to 12.
    EXPECT_THAT(recorder.Lengths(), ElementsAre(-28, 4, 32));
    EXPECT_THAT(Window("file", 12, 12).Lengths(), ElementsAre(0, 4, 32));
}

TEST_F(WindowTest, RemainingIsCutTo32Bits) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    // frames is 2^32 + 16 - 11 in 32 bits, 5; remaining is 16.
    EXPECT_THAT(Window("file", 0, 0x100000010LL).Lengths(), ElementsAre(16, 20, 28));
}

void ThrowLength(void*, void*, long inLength) {
    throw inLength;
}

// What follows would be gigabytes of silence, as the position has gone back by as much.
TEST_F(WindowTest, RemainingMayBeNegativeIn32Bits) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    try {
        convert_AAC_to_WAV("file", nullptr, ThrowLength, Int64(0), Int64(0x190000000LL));
        ADD_FAILURE() << "nothing was delivered";
    } catch (long length) {
        EXPECT_EQ(-0x70000000L, length);
    }
}

// A position below zero is before the end: the silence goes on until the end is reached.
TEST_F(WindowTest, PositionsBelowZeroAreBeforeTheEnd) {
    constexpr long kBehind = 0x70000000, kSecond = 60000 * 4;
    fakes::AddMovie("file", ToneMovie(60000, 250));
    struct Sum {
        long behind = 0, silence = 0, longest = 0;
        static void Add(void* inContext, void*, long inLength) {
            auto& sum = *static_cast<Sum*>(inContext);
            (inLength < 0 ? sum.behind : sum.silence) += inLength;
            sum.longest = std::max(sum.longest, inLength);
        }
    } sum;
    convert_AAC_to_WAV("file", &sum, Sum::Add, Int64(0), Int64(0x190000000LL));
    EXPECT_EQ(-kBehind, sum.behind);
    EXPECT_EQ(kBehind + 44, sum.silence) << "of no frames there are the header's bytes";
    EXPECT_EQ(kSecond, sum.longest);
}

// Without a duration the bound is frames plus 44 in 32 bits, which very long movies wrap.
TEST_F(WindowTest, TheBoundOfTheHeaderWraps) {
    struct {
        TimeValue movieFrames;
        long length;
    } const cases[] = {{0x7FFFFFD3, 44}, {0x7FFFFFD4, -0x7FFFFFFFL - 1}, {0x7FFFFFFF, -0x7FFFFFD5L}};
    for (const auto& each : cases) {
        ScriptedMovie script = ToneMovie(100, 0);
        script.duration = each.movieFrames;
        fakes::AddMovie("file", script);
        try {
            convert_AAC_to_WAV("file", nullptr, ThrowLength, Int64(0), Int64(0));
            ADD_FAILURE() << "nothing was delivered";
        } catch (long length) {
            EXPECT_EQ(each.length, length) << each.movieFrames;
        }
    }
}

TEST_F(WindowTest, StartsBelowZeroAreTheBeginning) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    EXPECT_EQ(Window("file", 0, 0).chunks, Window("file", -1, 0).chunks);
    EXPECT_EQ(Window("file", 0, 30).chunks, Window("file", -0x100000000LL, 30).chunks);
}

TEST_F(WindowTest, ArgumentsAreTheEnginesOwnCopies) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    Recorder recorder;
    const Int64 start(50), duration(-3);
    convert_AAC_to_WAV("file", &recorder, Recorder::Put, start, duration);
    EXPECT_EQ(50, start.LongLong());
    EXPECT_EQ(-3, duration.LongLong());
}

}  // namespace

#include "converter/EngineTest.h"
#include "support/FailingNew.h"

#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

using fakes::Rendered;
using fakes::RenderTone;
using fakes::ScriptedMovie;
using fakes::SoundBlock;
using fakes::ToneBytes;
using fakes::ToneMovie;
using ::testing::ElementsAre;

UInt64 Little64(const Bytes& inBytes, std::size_t inOffset) {
    return Little32(inBytes, inOffset) | static_cast<UInt64>(Little32(inBytes, inOffset + 4)) << 32;
}

// Exactly as many bytes as asked for, so that a sanitizer sees any written past them.
Bytes ReadBytes(WAVReader& ioReader, SInt64 inPosition, std::size_t inByteCount) {
    Bytes bytes(inByteCount, 0xEE);
    bytes.resize(ioReader.Read(inPosition, bytes.data(), inByteCount));
    return bytes;
}

Bytes ReadAllBy(WAVReader& ioReader, std::size_t inPieceByteCount) {
    Bytes all;
    for (;;) {
        const Bytes piece = ReadBytes(ioReader, static_cast<SInt64>(all.size()), inPieceByteCount);
        if (piece.empty()) return all;
        all.insert(all.end(), piece.begin(), piece.end());
    }
}

std::vector<std::string> Exports() {
    std::vector<std::string> exports;
    for (const std::string& call : fakes::CallLog())
        if (call.find("MovieExportToHandle") == 0) exports.push_back(call);
    return exports;
}

class WAVReaderTest : public EngineTest {};

TEST_F(WAVReaderTest, TheWholeStreamInPiecesOfAnySize) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Bytes stream = Whole("file").Stream();
    for (std::size_t piece : {1u, 3u, 4u, 43u, 44u, 45u, 399u, 400u, 401u, 1043u, 1044u, 5000u}) {
        WAVReader reader("file");
        EXPECT_EQ(stream, ReadAllBy(reader, piece)) << piece;
    }
}

TEST_F(WAVReaderTest, Lengths) {
    for (SInt64 frameCount : {0, 1, 100, 250}) {
        fakes::AddMovie("file", ToneMovie(100, frameCount));
        const WAVReader reader("file");
        EXPECT_EQ(frameCount, reader.FrameCount());
        EXPECT_EQ(44 + frameCount * 4, reader.ByteCount());
        EXPECT_EQ(80 + frameCount * 4, WAVReader("file", WAVReader::Header::kRF64).ByteCount());
    }
}

TEST_F(WAVReaderTest, ReadingOnDecodesEachSegmentOnce) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    WAVReader reader("file");
    ReadAllBy(reader, 7);
    EXPECT_THAT(Exports(), ElementsAre("MovieExportToHandle(0, 100)", "MovieExportToHandle(100, 100)",
                                       "MovieExportToHandle(200, 50)"));
}

TEST_F(WAVReaderTest, ReadingTheHeaderRendersNothing) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    WAVReader reader("file");
    EXPECT_EQ(ExpectedHeader(100, 250), ReadBytes(reader, 0, 44));
    EXPECT_TRUE(Exports().empty());
}

TEST_F(WAVReaderTest, SeekingRendersFromTheFrameAskedFor) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    WAVReader reader("file");
    EXPECT_EQ(Slice(ToneBytes(130, 2, false), 1, 6), ReadBytes(reader, 44 + 521, 5));
    EXPECT_EQ(ToneBytes(229, 1, false), ReadBytes(reader, 44 + 229 * 4, 4)) << "still in hand";
    EXPECT_EQ(ToneBytes(129, 1, false), ReadBytes(reader, 44 + 129 * 4, 4)) << "not any more";
    EXPECT_THAT(Exports(), ElementsAre("MovieExportToHandle(130, 100)", "MovieExportToHandle(129, 100)"));
}

TEST_F(WAVReaderTest, AnyRangeHasTheBytesOfTheWhole) {
    constexpr SInt64 kRendered[] = {0, 1, 149, 200, 250};
    for (const SInt64 rendered : kRendered) {
        fakes::StartScenario();
        ScriptedMovie script = ToneMovie(100, 250);
        script.render = [rendered](SInt64 inFirst, SInt64 inCount) {
            return RenderTone(inFirst, inCount, rendered);
        };
        fakes::AddMovie("file", script);
        const Bytes stream = Whole("file").Stream();
        WAVReader reader("file");
        std::mt19937 random(99);
        for (int i = 0; i < 500; ++i) {
            const std::size_t first = random() % stream.size();
            const std::size_t count = random() % (stream.size() - first + 1);
            ASSERT_EQ(Slice(stream, first, first + count),
                      ReadBytes(reader, static_cast<SInt64>(first), count))
                << rendered << ": " << first << " + " << count;
        }
    }
}

TEST_F(WAVReaderTest, EndsOfTheStream) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    WAVReader reader("file");
    EXPECT_EQ(4u, ReadBytes(reader, 1040, 100).size());
    EXPECT_EQ(1u, ReadBytes(reader, 1043, 1).size());
    EXPECT_EQ(0u, ReadBytes(reader, 1044, 1).size());
    EXPECT_EQ(0u, ReadBytes(reader, std::numeric_limits<SInt64>::max(), 1).size());
    EXPECT_EQ(0u, ReadBytes(reader, -1, 10).size());
    EXPECT_EQ(0u, ReadBytes(reader, std::numeric_limits<SInt64>::min(), 10).size());
    EXPECT_EQ(0u, ReadBytes(reader, 0, 0).size());
    EXPECT_EQ(0u, reader.Read(0, nullptr, 0));
}

TEST_F(WAVReaderTest, ShortBlocksInTheMiddle) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64 inFirst, SInt64 inCount) {
        return RenderTone(inFirst, std::min<SInt64>(inCount, 30), 250);
    };
    fakes::AddMovie("file", script);
    WAVReader reader("file");
    EXPECT_EQ(ExpectedStream(100, 250), ReadBytes(reader, 0, 1044));
}

TEST_F(WAVReaderTest, BlocksLongerThanAskedForAreCutAtTheEnd) {
    ScriptedMovie script = ToneMovie(100, 150);
    script.render = [](SInt64 inFirst, SInt64) { return RenderTone(inFirst, 120, 1000); };
    fakes::AddMovie("file", script);
    WAVReader reader("file");
    EXPECT_EQ(ExpectedStream(100, 150), ReadBytes(reader, 0, 5000));
    EXPECT_EQ(2u, Exports().size());
}

TEST_F(WAVReaderTest, ARangeIsAStreamOfItsOwn) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    const Bytes whole = Whole("file").Stream();
    for (const FrameRange range :
         {FrameRange{0, 250}, FrameRange{0, 1}, FrameRange{1, 2}, FrameRange{99, 101}, FrameRange{130, 250},
          FrameRange{249, 250}, FrameRange{30, 30}}) {
        const auto frameCount = static_cast<UInt32>(range.end - range.first);
        Bytes expected = ExpectedHeader(100, frameCount);
        const Bytes sound = Slice(whole, 44 + static_cast<std::size_t>(range.first) * 4,
                                  44 + static_cast<std::size_t>(range.end) * 4);
        expected.insert(expected.end(), sound.begin(), sound.end());
        for (const std::size_t piece : {1u, 45u, 399u, 5000u}) {
            WAVReader reader(std::make_unique<SegmentExporter>("file"), WAVReader::Header::kRIFF, range);
            EXPECT_EQ(frameCount, reader.FrameCount());
            EXPECT_EQ(44 + frameCount * 4, reader.ByteCount());
            EXPECT_EQ(expected, ReadAllBy(reader, piece)) << range.first << " to " << range.end;
        }
    }
}

TEST_F(WAVReaderTest, ARangeRendersNothingElse) {
    fakes::AddMovie("file", ToneMovie(100, 450));
    WAVReader reader(std::make_unique<SegmentExporter>("file"), WAVReader::Header::kRIFF, {150, 305});
    ReadAllBy(reader, 1000);
    EXPECT_THAT(Exports(), ElementsAre("MovieExportToHandle(150, 100)", "MovieExportToHandle(250, 55)"));
}

TEST_F(WAVReaderTest, RangesAreCutToTheMovie) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    constexpr SInt64 kMax = std::numeric_limits<SInt64>::max();
    struct {
        FrameRange range;
        SInt64 frameCount;
    } const cases[] = {{{}, 250},        {{0, kMax}, 250},  {{0, 251}, 250}, {{249, kMax}, 1},
                       {{250, kMax}, 0}, {{kMax, kMax}, 0}, {{251, 252}, 0}};
    for (const auto& each : cases) {
        WAVReader reader(std::make_unique<SegmentExporter>("file"), WAVReader::Header::kRIFF, each.range);
        EXPECT_EQ(each.frameCount, reader.FrameCount()) << each.range.first << " to " << each.range.end;
        const Bytes stream = ReadAllBy(reader, 5000);
        EXPECT_EQ(44 + static_cast<std::size_t>(each.frameCount) * 4, stream.size());
        EXPECT_EQ(ExpectedHeader(100, static_cast<UInt32>(each.frameCount)), Slice(stream, 0, 44));
    }
}

TEST_F(WAVReaderTest, RangesThatAreNone) {
    fakes::AddMovie("file", ToneMovie(100, 250));
    for (const FrameRange range : {FrameRange{-1, 5}, FrameRange{5, 4}, FrameRange{-7, -5},
                                   FrameRange{std::numeric_limits<SInt64>::min(), 0}, FrameRange{0, -1}}) {
        try {
            const WAVReader reader(std::make_unique<SegmentExporter>("file"), WAVReader::Header::kRIFF,
                                   range);
            ADD_FAILURE() << range.first << " to " << range.end;
        } catch (const LException& exception) {
            EXPECT_EQ(paramErr, exception.GetErrorCode());
        }
        ExpectNothingLive();
    }
}

TEST_F(WAVReaderTest, RF64Header) {
    fakes::AddMovie("file", ToneMovie(48000, 3));
    WAVReader reader("file", WAVReader::Header::kRF64);
    const Bytes bytes = ReadBytes(reader, 0, 1000);
    ASSERT_EQ(92u, bytes.size());
    const Bytes expected = {'R', 'F', '6',  '4',  0xFF, 0xFF, 0xFF, 0xFF, 'W',  'A',  'V',  'E', 'd', 's',
                            '6', '4',  //
                            28,  0,   0,    0,    84,   0,    0,    0,    0,    0,    0,    0,   12,  0,
                            0,   0,   0,    0,    0,    0,    3,    0,    0,    0,    0,    0,   0,   0,  //
                            0,   0,   0,    0,    'f',  'm',  't',  ' ',  16,   0,    0,    0,   1,   0,
                            2,   0,   0x80, 0xBB, 0,    0,    0,    0xEE, 2,    0,  //
                            4,   0,   16,   0,    'd',  'a',  't',  'a',  0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(expected, Slice(bytes, 0, 80));
    EXPECT_EQ(ToneBytes(0, 3, false), Slice(bytes, 80, 92));
}

TEST_F(WAVReaderTest, MoviesBeyond32Bits) {
    constexpr SInt64 kFrames = 0x180000000LL;
    fakes::AddMovie("file", ToneMovie(100, kFrames));
    WAVReader reader("file");
    EXPECT_EQ(kFrames, reader.FrameCount());
    EXPECT_EQ(kFrames * 4 + 44, reader.ByteCount());
    const Bytes header = ReadBytes(reader, 0, 44);
    EXPECT_EQ(36u, Little32(header, 4)) << "the low 32 bits";
    EXPECT_EQ(0u, Little32(header, 40));
    constexpr SInt64 kFirstFrames[] = {0, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100000000, kFrames - 10};
    for (const SInt64 frame : kFirstFrames)
        EXPECT_EQ(ToneBytes(frame, 10, false), ReadBytes(reader, 44 + frame * 4, 40)) << frame;
    EXPECT_EQ(6u, ReadBytes(reader, reader.ByteCount() - 6, 40).size());
    EXPECT_THAT(Exports(), ElementsAre("MovieExportToHandle(0, 100)", "MovieExportToHandle(2147483647, 100)",
                                       "MovieExportToHandle64(4294967295, 100)",
                                       "MovieExportToHandle64(6442450934, 10)"));

    WAVReader rf64("file", WAVReader::Header::kRF64);
    const Bytes wideHeader = ReadBytes(rf64, 0, 80);
    EXPECT_EQ(static_cast<UInt64>(kFrames) * 4 + 72, Little64(wideHeader, 20));
    EXPECT_EQ(static_cast<UInt64>(kFrames) * 4, Little64(wideHeader, 28));
    EXPECT_EQ(static_cast<UInt64>(kFrames), Little64(wideHeader, 36));
}

TEST_F(WAVReaderTest, RangesBeyond32Bits) {
    constexpr SInt64 kFrames = 0x300000000LL;
    constexpr FrameRange kRange = {0x100000001LL, 0x280000000LL};
    fakes::AddMovie("file", ToneMovie(100, kFrames));
    WAVReader reader(std::make_unique<SegmentExporter>("file"), WAVReader::Header::kRF64, kRange);
    EXPECT_EQ(kRange.end - kRange.first, reader.FrameCount());
    const Bytes header = ReadBytes(reader, 0, 80);
    EXPECT_EQ(static_cast<UInt64>(kRange.end - kRange.first), Little64(header, 36));
    EXPECT_EQ(ToneBytes(kRange.first, 3, false), ReadBytes(reader, 80, 12));
    EXPECT_EQ(ToneBytes(kRange.end - 2, 2, false), ReadBytes(reader, reader.ByteCount() - 8, 100));
}

TEST_F(WAVReaderTest, AbsurdDurationsKeepTheLengthIn64Bits) {
    fakes::AddMovie("file", ToneMovie(100, std::numeric_limits<SInt64>::max()));
    const WAVReader reader("file", WAVReader::Header::kRF64);
    EXPECT_GT(reader.ByteCount(), 0x7FFFFFFFFFFFFF00LL);
    fakes::AddMovie("file", ToneMovie(100, -5));
    EXPECT_EQ(44, WAVReader("file").ByteCount());
}

TEST_F(WAVReaderTest, BlocksThatAreNot16BitStereo) {
    for (const Bytes& block :
         {SoundBlock(100, Bytes(400, 1), 1), SoundBlock(100, Bytes(800, 1), 4),
          SoundBlock(0x40000001, Bytes(400, 1)), SoundBlock(101, Bytes(400, 1)), Bytes(20, 0)}) {
        ScriptedMovie script = ToneMovie(100, 250);
        script.render = [block](SInt64, SInt64) { return Rendered{0, block}; };
        fakes::AddMovie("file", script);
        WAVReader reader("file");
        try {
            ReadBytes(reader, 0, 1044);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const LException& exception) {
            EXPECT_EQ(-50, exception.GetErrorCode());
        }
    }
}

TEST_F(WAVReaderTest, ReadingGoesOnElsewhereAfterAFailure) {
    ScriptedMovie script = ToneMovie(100, 250);
    script.render = [](SInt64 inFirst, SInt64 inCount) {
        return inFirst == 100 ? Rendered{-36, {}} : RenderTone(inFirst, inCount, 250);
    };
    fakes::AddMovie("file", script);
    WAVReader reader("file");
    EXPECT_EQ(ToneBytes(0, 100, false), ReadBytes(reader, 44, 400));
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            ReadBytes(reader, 444, 4);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const LException& exception) {
            EXPECT_EQ(-36, exception.GetErrorCode());
        }
    }
    EXPECT_EQ(ToneBytes(101, 100, false), ReadBytes(reader, 448, 400));
    EXPECT_EQ(ToneBytes(0, 100, false), ReadBytes(reader, 44, 400));
}

TEST_F(WAVReaderTest, EveryFailureIsThrownAndReleasesAll) {
    const Bytes stream = ExpectedStream(44100, 60000);
    for (int failing = 1;; ++failing) {
        fakes::StartScenario();
        fakes::AddMovie("file", ToneMovie(44100, 60000));
        fakes::FailCall(failing);
        long code = 0;
        Bytes bytes;
        try {
            WAVReader reader("file");
            bytes = ReadBytes(reader, 0, stream.size());
        } catch (const LException& exception) {
            code = exception.GetErrorCode();
        }
        ExpectNothingLive();
        if (!fakes::FailureDelivered()) {
            EXPECT_EQ(12, failing);
            EXPECT_EQ(stream, bytes);
            break;
        }
        // Only the description's handle may fail harmlessly: its absence means this very rate.
        EXPECT_EQ(failing == 4, code == 0) << failing;
        EXPECT_EQ(failing == 4, bytes == stream) << failing;
    }
}

// The doubles allocate; what they do for the same calls, made directly, is what a read may cost.
TEST_F(WAVReaderTest, ReadingOnAllocatesNothing) {
    fakes::AddMovie("file", ToneMovie(100, 1000));
    WAVReader reader("file");
    Bytes buffer(1000);
    reader.Read(0, buffer.data(), 44 + 400);

    const std::uint64_t before = test_files::NewCount();
    for (SInt64 position = 444; position < 2444; position += 100)
        reader.Read(position, buffer.data(), 100);
    const std::uint64_t byReader = test_files::NewCount() - before;

    const Handle handle = NewHandle(484);
    const std::uint64_t beforeDirect = test_files::NewCount();
    for (SInt32 first = 100; first < 600; first += 100) {
        HUnlock(handle);
        ASSERT_EQ(noErr,
                  MovieExportToHandle(nullptr, handle, reader.Exporter().GetMovie(), nullptr, first, 100));
        HLock(handle);
    }
    const std::uint64_t byDoubles = test_files::NewCount() - beforeDirect;
    DisposeHandle(handle);

    EXPECT_GT(byDoubles, 0U) << "the count sees allocations";
    EXPECT_EQ(byDoubles, byReader);
}

}  // namespace

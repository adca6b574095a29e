#include "converter/EngineTest.h"

#include <converter/SegmentExporter.h>
#include <foundation/LException.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace {

using fakes::Rendered;
using fakes::ScriptedMovie;
using fakes::SoundBlock;
using fakes::ToneMovie;
using ::testing::ElementsAre;

constexpr long kNilP = 0x6E696C50;

long CodeThrownBy(const std::function<void()>& inAction) {
    try {
        inAction();
    } catch (const LException& exception) {
        return exception.GetErrorCode();
    }
    ADD_FAILURE() << "nothing was thrown";
    return 0;
}

class SegmentExporterTest : public EngineTest {
  protected:
    static MovieOpenOptions Options(SInt32 inSoundTrack) {
        MovieOpenOptions options{};
        options.byteCount = sizeof options;
        options.soundTrack = inSoundTrack;
        return options;
    }
    // Exports ten frames from 0 of a block that the exporter gives whatever it is asked.
    static SegmentExporter::Segment ExportOf(SegmentExporter& ioExporter) {
        ioExporter.MakeExportHandle();
        return ioExporter.Export(0, 10);
    }
    static void AddMovieRendering(const Rendered& inRendered) {
        ScriptedMovie script = ToneMovie(100, 1000);
        script.render = [inRendered](SInt64, SInt64) { return inRendered; };
        fakes::AddMovie("file", script);
    }
    static long CodeOfExporting(const Bytes& inBlock) {
        AddMovieRendering({0, inBlock});
        SegmentExporter exporter("file");
        return CodeThrownBy([&exporter] { ExportOf(exporter); });
    }
};

TEST_F(SegmentExporterTest, WhatItTells) {
    fakes::AddMovie("file", ToneMovie(48000, 10));
    const SegmentExporter exporter("file");
    EXPECT_NE(nullptr, exporter.GetMovie());
    EXPECT_EQ(48000, exporter.SampleRate());
    EXPECT_EQ(48000, exporter.SegmentFrames());
    EXPECT_EQ(192000, exporter.SilenceByteCount());
    EXPECT_EQ(Bytes(192000, 0), Bytes(static_cast<unsigned char*>(exporter.Silence()),
                                      static_cast<unsigned char*>(exporter.Silence()) + 192000));
}

// A movie does not take a time scale of 0 and keeps the one it has.
TEST_F(SegmentExporterTest, ASegmentIsOneSecondOfTheMoviesTimeScale) {
    ScriptedMovie script = ToneMovie(0, 10);
    script.timeScale = 100;
    fakes::AddMovie("file", script);
    const SegmentExporter exporter("file");
    EXPECT_EQ(0, exporter.SampleRate());
    EXPECT_EQ(100, exporter.SegmentFrames());
}

TEST_F(SegmentExporterTest, OutputFormat) {
    struct {
        UInt32 rateHz;
        unsigned char high, low;
    } const cases[] = {{44100, 0xAC, 0x44}, {48000, 0xBB, 0x80}, {32768, 0x80, 0x00},
                       {32767, 0x7F, 0xFF}, {8000, 0x1F, 0x40},  {65535, 0xFF, 0xFF}};
    for (const auto& each : cases) {
        fakes::AddMovie("file", ToneMovie(each.rateHz, 10));
        const SegmentExporter exporter("file");
        EXPECT_THAT(fakes::OutputFormat(),
                    ElementsAre(0, 0, 0, 36, 't', 'w', 'o', 's', 0, 0, 0, 0, 0, 0, 0, 0,  //
                                0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 16, 0, 0, 0, 0, each.high, each.low, 0, 0))
            << each.rateHz;
    }
}

TEST_F(SegmentExporterTest, CodesOfPreparation) {
    const long codes[] = {kNilP, kNilP, kNilP, 0, kNilP, kNilP, kNilP, badFormat};
    int failing = 1;
    for (;; ++failing) {
        fakes::AddMovie("file", ToneMovie(44100, 10));
        fakes::FailCall(failing);
        long code = 0;
        try {
            const SegmentExporter exporter("file");
        } catch (const LException& exception) {
            code = exception.GetErrorCode();
            EXPECT_EQ(0, exception.GetErrorString()[0]);
        }
        ExpectNothingLive();
        if (!fakes::FailureDelivered()) break;
        EXPECT_EQ(codes[failing - 1], code) << failing;
    }
    EXPECT_EQ(9, failing);
}

TEST_F(SegmentExporterTest, AnotherSoundTrackOfTheCallersChoice) {
    ScriptedMovie script = ToneMovie(44100, 10);
    script.tracks.push_back({FourChars("soun"), {fakes::SoundDescriptionBytes(32000u << 16)}});
    script.sampleRateHz = 32000;
    fakes::AddMovie("file", script);
    EXPECT_EQ(44100, SegmentExporter("file").SampleRate());
    EXPECT_EQ(44100, SegmentExporter("file", Options(1)).SampleRate());
    const SegmentExporter second("file", Options(2));
    EXPECT_EQ(32000, second.SampleRate());
    EXPECT_EQ(32000, GetMovieTimeScale(second.GetMovie()));
}

TEST_F(SegmentExporterTest, OpeningWithOptionsTellsWhyNot) {
    fakes::AddMovie("file", ToneMovie(44100, 10));
    EXPECT_EQ(trackNotInMovie, CodeThrownBy([] { SegmentExporter("file", Options(2)); }));
    EXPECT_EQ(fnfErr, CodeThrownBy([] { SegmentExporter("/nothing", Options(1)); }));
    MovieOpenOptions stopping = Options(0);
    int asked = 0;
    stopping.stopContext = &asked;
    stopping.shouldStop = [](void* inContext) -> Boolean { return ++*static_cast<int*>(inContext) > 0; };
    EXPECT_EQ(userCanceledErr, CodeThrownBy([&stopping] { SegmentExporter("file", stopping); }));
    EXPECT_EQ(1, asked);
    const long codes[] = {paramErr, memFullErr, invalidMovie, 0, kNilP, kNilP, kNilP, badFormat};
    int failing = 1;
    for (;; ++failing) {
        fakes::FailCall(failing);
        long code = 0;
        try {
            const SegmentExporter exporter("file", Options(1));
        } catch (const LException& exception) {
            code = exception.GetErrorCode();
        }
        ExpectNothingLive();
        if (!fakes::FailureDelivered()) break;
        EXPECT_EQ(codes[failing - 1], code) << failing;
    }
    EXPECT_EQ(9, failing);
}

TEST_F(SegmentExporterTest, MissingFileIsNilP) {
    EXPECT_EQ(kNilP, CodeThrownBy([] { const SegmentExporter exporter("/nothing"); }));
}

TEST_F(SegmentExporterTest, ExportSwapsInPlace) {
    AddMovieRendering({0, SoundBlock(2, {1, 2, 3, 4, 5, 6, 7, 8})});
    SegmentExporter exporter("file");
    const SegmentExporter::Segment segment = ExportOf(exporter);
    EXPECT_EQ(8, segment.byteCount);
    EXPECT_EQ(2, segment.frameCount);
    EXPECT_FALSE(segment.isSilence);
    EXPECT_EQ(*fakes::ExportHandle() + 84, segment.data);
    const auto* bytes = static_cast<const unsigned char*>(segment.data);
    EXPECT_THAT(Bytes(bytes, bytes + 8), ElementsAre(2, 1, 4, 3, 6, 5, 8, 7));
}

TEST_F(SegmentExporterTest, MakingTheHandleTwiceKeepsOne) {
    fakes::AddMovie("file", ToneMovie(100, 10));
    SegmentExporter exporter("file");
    const int before = fakes::LiveHandles();
    exporter.MakeExportHandle();
    exporter.MakeExportHandle();
    EXPECT_EQ(before + 1, fakes::LiveHandles());
}

TEST_F(SegmentExporterTest, EmptyStretchIsSilenceOfTheLengthAskedFor) {
    for (const Bytes& block : {SoundBlock(0, {}), SoundBlock(5, {}, 0), SoundBlock(5, {}, 2, 7)}) {
        AddMovieRendering({0, block});
        SegmentExporter exporter("file");
        const SegmentExporter::Segment segment = ExportOf(exporter);
        EXPECT_TRUE(segment.isSilence);
        EXPECT_EQ(exporter.Silence(), segment.data);
        EXPECT_EQ(40, segment.byteCount);
        EXPECT_EQ(10, segment.frameCount);
    }
}

TEST_F(SegmentExporterTest, SilenceIsASecondAtMost) {
    AddMovieRendering({0, SoundBlock(0, {})});
    SegmentExporter exporter("file");
    exporter.MakeExportHandle();
    const SegmentExporter::Segment segment = exporter.Export(0, 101);
    EXPECT_EQ(400, segment.byteCount);
    EXPECT_EQ(100, segment.frameCount);
}

TEST_F(SegmentExporterTest, EachRequiredHeaderField) {
    const Bytes good = SoundBlock(2, Bytes(8, 1));
    for (std::size_t offset : {0, 1, 2, 3, 4, 5, 10, 11, 12, 13, 16, 17, 18, 19}) {
        Bytes block = good;
        block[offset] ^= 0x40;
        EXPECT_EQ(-50, CodeOfExporting(block)) << offset;
    }
}

TEST_F(SegmentExporterTest, OtherHeaderFieldsAreNotRead) {
    Bytes block = SoundBlock(2, Bytes(8, 1));
    for (std::size_t offset = 0; offset < 84; ++offset) {
        const bool isRead = offset < 6 || (offset >= 10 && offset < 14) || (offset >= 16 && offset < 20) ||
                            (offset >= 24 && offset < 28) || (offset >= 42 && offset < 46) || offset >= 82;
        if (!isRead) block[offset] ^= 0xFF;
    }
    AddMovieRendering({0, block});
    SegmentExporter exporter("file");
    EXPECT_EQ(8, ExportOf(exporter).byteCount);
}

TEST_F(SegmentExporterTest, BlocksShorterThanTheirHeader) {
    const Bytes good = SoundBlock(0, {});
    for (std::size_t size : {0u, 1u, 20u, 83u})
        EXPECT_EQ(-50, CodeOfExporting(Bytes(good.begin(), good.begin() + static_cast<long>(size)))) << size;
}

TEST_F(SegmentExporterTest, BlocksThatClaimMoreThanTheyHold) {
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(3, Bytes(8, 1))));
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(2, Bytes(7, 1))));
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(2, Bytes(8, 1), 4)));
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(2, Bytes(8, 1), 2, 0xFFFF)));
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(0xFFFFFFFF, Bytes(8, 1))));
    EXPECT_EQ(-50, CodeOfExporting(SoundBlock(1, {})));
}

TEST_F(SegmentExporterTest, ByteCountIsThe32BitProduct) {
    struct {
        UInt32 frameCount, channelCount;
        UInt16 sampleBits;
        SInt32 byteCount;
    } const cases[] = {{2, 2, 16, 8},          {2, 1, 16, 4},        {2, 1, 23, 4},       {1, 2, 24, 6},
                       {0x40000001, 2, 16, 4}, {1, 1, 0x8000, 4096}, {1, 1, 0xFFFF, 8191}};
    for (const auto& each : cases) {
        const Bytes samples(8192, 1);
        AddMovieRendering({0, SoundBlock(each.frameCount, samples, each.channelCount, each.sampleBits)});
        SegmentExporter exporter("file");
        const SegmentExporter::Segment segment = ExportOf(exporter);
        EXPECT_EQ(each.byteCount, segment.byteCount);
        EXPECT_EQ(static_cast<SInt32>(each.frameCount), segment.frameCount);
    }
}

TEST_F(SegmentExporterTest, TheExportersStatusIsThrown) {
    AddMovieRendering({-8961, {}});
    SegmentExporter exporter("file");
    EXPECT_EQ(-8961, CodeThrownBy([&exporter] { ExportOf(exporter); }));
}

TEST_F(SegmentExporterTest, SoundThatCannotBeDecodedDoesNotOpen) {
    for (const OSStatus decodable : {badFormat, noCodecErr, memFullErr}) {
        fakes::ScriptedMovie movie = ToneMovie(100, 10);
        movie.decodable = decodable;
        fakes::AddMovie("file", movie);
        EXPECT_EQ(decodable, CodeThrownBy([] { SegmentExporter("file"); }));
        EXPECT_EQ(0, fakes::LiveMovies());
    }
}

TEST_F(SegmentExporterTest, AHandleThatCouldNotBeHad) {
    fakes::AddMovie("file", ToneMovie(100, 10));
    SegmentExporter exporter("file");
    fakes::FailCall(1);
    exporter.MakeExportHandle();
    EXPECT_EQ(paramErr, CodeThrownBy([&exporter] { exporter.Export(0, 10); }));
}

TEST_F(SegmentExporterTest, StartsBeyond31BitsGoThroughThe64BitCall) {
    AddMovieRendering({0, SoundBlock(1, {1, 2, 3, 4})});
    SegmentExporter exporter("file");
    exporter.MakeExportHandle();
    exporter.Export(0x7FFFFFFF, 1);
    exporter.Export(0x80000000LL, 1);
    const auto& log = fakes::CallLog();
    EXPECT_EQ(1, std::count(log.begin(), log.end(), "MovieExportToHandle(2147483647, 1)"));
    EXPECT_EQ(1, std::count(log.begin(), log.end(), "MovieExportToHandle64(2147483648, 1)"));
}

}  // namespace

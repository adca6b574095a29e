#include "MovieMaker.h"

#include <gtest/gtest.h>
#include <movies/front/Movies_test_access.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundReport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using mirtal::fakes::EncodeAAC;
using mirtal::fakes::EncodedSound;
using mirtal::fakes::MemorySound;
using mirtal::fakes::NewSound;
using mirtal::fakes::SetEdits;
using mirtal::fakes::Sound;
using mirtal::fakes::SoundToEncode;
using test_movies::OpenedMovie;
using test_movies::PictureTrack;
using test_movies::SoundTrackOf;
using test_movies::Tracks;
using toolbox::movies::Edit;

const EncodedSound& TwoSeconds() {
    static const EncodedSound sEncoded = [] {
        SoundToEncode description;
        description.kind = Sound::kNoise;
        description.channelCount = 2;
        description.frameCount = 2 * 44100;
        return EncodeAAC(description);
    }();
    return sEncoded;
}

// TwoSeconds cut to a known length.
MemorySound Noise(std::int64_t inFrameCount = 88200) {
    MemorySound sound = NewSound(TwoSeconds());
    SetEdits(*sound.track, {Edit{inFrameCount, 1024}});
    return sound;
}

std::vector<std::uint8_t> DescriptionBytes(std::uint16_t inRateHz = 44100) {
    std::vector<std::uint8_t> bytes(36);
    bytes[3] = 36;
    const std::string format = "twos";
    std::copy(format.begin(), format.end(), bytes.begin() + 4);
    bytes[25] = 2;
    bytes[27] = 16;
    bytes[32] = static_cast<std::uint8_t>(inRateHz >> 8);
    bytes[33] = static_cast<std::uint8_t>(inRateHz);
    return bytes;
}

class Exporter {
  public:
    explicit Exporter(std::uint16_t inRateHz = 0) {
        if (inRateHz != 0) {
            EXPECT_EQ(noErr, SetFormat(DescriptionBytes(inRateHz)));
        }
    }
    ~Exporter() {
        CloseComponent(mInstance);
        DisposeHandle(mHandle);
    }
    Exporter(const Exporter&) = delete;
    Exporter& operator=(const Exporter&) = delete;

    ComponentResult SetFormat(const std::vector<std::uint8_t>& inBytes, OSType inMediaType = SoundMediaType) {
        Handle description = nullptr;
        EXPECT_EQ(noErr, PtrToHand(inBytes.data(), &description, static_cast<Size>(inBytes.size())));
        const ComponentResult result = MovieExportSetSampleDescription(mInstance, description, inMediaType);
        DisposeHandle(description);
        return result;
    }
    ComponentResult Export(Movie inMovie, SInt64 inStart, SInt64 inDuration, Track inTrack = nullptr) {
        return MovieExportToHandle64(mInstance, mHandle, inMovie, inTrack, inStart, inDuration);
    }
    // The samples' bytes; what was asked for was given.
    std::string Samples(Movie inMovie, SInt64 inStart, SInt64 inDuration, Track inTrack = nullptr) {
        EXPECT_EQ(noErr, Export(inMovie, inStart, inDuration, inTrack));
        EXPECT_EQ(84 + FrameCount() * 4, GetHandleSize(mHandle));
        return std::string(*mHandle + 84, static_cast<std::size_t>(FrameCount()) * 4);
    }
    SInt32 FrameCount() const { return static_cast<SInt32>(Big32(42)); }
    std::uint32_t Big32(int inOffset) const {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | static_cast<std::uint8_t>((*mHandle)[inOffset + i]);
        return value;
    }
    Handle Block() const { return mHandle; }
    MovieExportComponent Instance() const { return mInstance; }

  private:
    MovieExportComponent mInstance = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    Handle mHandle = NewHandleClear(4);
};

TEST(ExportFormat, OnlyBigEndianStereoOf16Bits) {
    Exporter exporter;
    EXPECT_EQ(noErr, exporter.SetFormat(DescriptionBytes()));
    EXPECT_EQ(noErr, exporter.SetFormat(DescriptionBytes(1)));
    EXPECT_EQ(noErr, exporter.SetFormat(DescriptionBytes(65535)));
    const std::pair<std::size_t, std::uint8_t> changes[] = {{4, 'x'}, {17, 1}, {25, 1}, {25, 0},   {27, 8},
                                                            {27, 24}, {24, 1}, {35, 1}, {34, 0x80}};
    for (const auto& [offset, value] : changes) {
        std::vector<std::uint8_t> bytes = DescriptionBytes();
        bytes[offset] = value;
        EXPECT_EQ(badFormat, exporter.SetFormat(bytes)) << offset;
    }
    EXPECT_EQ(badFormat, exporter.SetFormat(DescriptionBytes(0)));
}

TEST(ExportFormat, BadArguments) {
    Exporter exporter;
    EXPECT_EQ(paramErr, exporter.SetFormat(DescriptionBytes(), VideoMediaType));
    EXPECT_EQ(paramErr, MovieExportSetSampleDescription(exporter.Instance(), nullptr, SoundMediaType));
    std::vector<std::uint8_t> bytes = DescriptionBytes();
    bytes.pop_back();
    EXPECT_EQ(paramErr, exporter.SetFormat(bytes));
    EXPECT_EQ(paramErr, exporter.SetFormat({}));
    bytes = DescriptionBytes();
    bytes[3] = 35;
    EXPECT_EQ(paramErr, exporter.SetFormat(bytes));
    bytes = DescriptionBytes();
    bytes.push_back(0);
    EXPECT_EQ(noErr, exporter.SetFormat(bytes));
    const Handle description = NewHandleClear(36);
    EXPECT_EQ(badComponentInstance, MovieExportSetSampleDescription(nullptr, description, SoundMediaType));
    const ComponentInstance importer = OpenDefaultComponent(MovieImportType, 0);
    EXPECT_EQ(badComponentSelector, MovieExportSetSampleDescription(importer, description, SoundMediaType));
    CloseComponent(importer);
    DisposeHandle(description);
}

TEST(ExportFormat, ARefusedFormatLeavesTheOneBefore) {
    const OpenedMovie movie(Noise());
    Exporter exporter(22050);
    std::vector<std::uint8_t> mono = DescriptionBytes(11025);
    mono[25] = 1;
    EXPECT_EQ(badFormat, exporter.SetFormat(mono));
    SetMovieTimeScale(movie.Get(), 22050);
    exporter.Samples(movie.Get(), 0, 100);
    EXPECT_EQ(22050U << 16, exporter.Big32(28));
}

TEST(ExportToHandle, IsASoundResource) {
    const OpenedMovie movie(Noise());
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter exporter(44100);
    const std::string samples = exporter.Samples(movie.Get(), 0, 44100);
    ASSERT_EQ(176400U, samples.size());
    EXPECT_EQ(0x00010001U, exporter.Big32(0));
    EXPECT_EQ(0x0005U, exporter.Big32(4) >> 16);
    EXPECT_EQ(0x00018051U, exporter.Big32(10));
    EXPECT_EQ(20U, exporter.Big32(16));
    EXPECT_EQ(2U, exporter.Big32(24));
    EXPECT_EQ(44100, exporter.FrameCount());
    EXPECT_EQ(16U, exporter.Big32(80));
    const auto bare =
        mirtal::fakes::DecodeBarely(NewSound(TwoSeconds()).track->formats[0], TwoSeconds().packets);
    const auto rendered =
        mirtal::fakes::FromBigEndian(reinterpret_cast<const std::uint8_t*>(samples.data()), 88200);
    EXPECT_TRUE(std::equal(rendered.begin(), rendered.end(), bare.begin() + 2048));
}

TEST(ExportToHandle, TheEndGivesFewerThenNone) {
    const OpenedMovie movie(Noise(50000));
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter exporter(44100);
    EXPECT_EQ(44100U * 4, exporter.Samples(movie.Get(), 0, 44100).size());
    EXPECT_EQ(5900U * 4, exporter.Samples(movie.Get(), 44100, 44100).size());
    EXPECT_EQ(4U, exporter.Samples(movie.Get(), 49999, 44100).size());
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 50000, 44100).size());
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 0x7FFFFFFF, 0x7FFFFFFF).size());
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), INT64_MAX, INT64_MAX).size());
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 100, 0).size());
}

TEST(ExportToHandle, SoundShorterThanTheMovieEndsWithTheSound) {
    const OpenedMovie movie(Tracks(PictureTrack(10, 1), SoundTrackOf(Noise(1000))));
    SetMovieTimeScale(movie.Get(), 44100);
    EXPECT_EQ(441000, GetMovieDuration(movie.Get()));
    Exporter exporter(44100);
    EXPECT_EQ(4000U, exporter.Samples(movie.Get(), 0, 44100).size());
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 44100, 44100).size());
}

TEST(ExportToHandle, NoSoundNoFrames) {
    const OpenedMovie movie(Tracks(PictureTrack(10, 1)));
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter exporter;
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 0, 44100).size());
    EXPECT_EQ(44100U << 16, exporter.Big32(28));
    EXPECT_EQ(0U, exporter.Samples(movie.Get(), 0, 44100, GetMovieIndTrack(movie.Get(), 1)).size());
}

TEST(ExportToHandle, TheTrackAskedFor) {
    SoundToEncode description;
    description.frameCount = 2000;
    const OpenedMovie movie(Tracks(SoundTrackOf(Noise()), SoundTrackOf(NewSound(description))));
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter exporter(44100);
    const std::string first = exporter.Samples(movie.Get(), 0, 1500);
    const std::string second = exporter.Samples(movie.Get(), 0, 1500, GetMovieIndTrack(movie.Get(), 2));
    EXPECT_NE(first, second);
    EXPECT_EQ(first, exporter.Samples(movie.Get(), 0, 1500, GetMovieIndTrack(movie.Get(), 1)));
    const OpenedMovie other(Noise());
    EXPECT_EQ(paramErr, exporter.Export(movie.Get(), 0, 10, GetMovieIndTrack(other.Get(), 1)));
}

TEST(ExportToHandle, WithoutAFormatAsTheSoundIsDescribed) {
    const OpenedMovie movie(Noise());
    Exporter exporter;
    EXPECT_EQ(44100U * 4, exporter.Samples(movie.Get(), 0, 600).size());
    EXPECT_EQ(44100U << 16, exporter.Big32(28));
}

TEST(ExportToHandle, BadArguments) {
    const OpenedMovie movie(Noise());
    Exporter exporter(44100);
    EXPECT_EQ(paramErr, exporter.Export(nullptr, 0, 1));
    EXPECT_EQ(paramErr, exporter.Export(movie.Get(), -1, 1));
    EXPECT_EQ(paramErr, exporter.Export(movie.Get(), 0, -1));
    EXPECT_EQ(paramErr, MovieExportToHandle(exporter.Instance(), nullptr, movie.Get(), nullptr, 0, 1));
    EXPECT_EQ(badComponentInstance,
              MovieExportToHandle(nullptr, exporter.Block(), movie.Get(), nullptr, 0, 1));
    const ComponentInstance importer = OpenDefaultComponent(MovieImportType, 0);
    EXPECT_EQ(badComponentSelector,
              MovieExportToHandle(importer, exporter.Block(), movie.Get(), nullptr, 0, 1));
    CloseComponent(importer);
}

TEST(ExportToHandle, AnyTimeScaleCutsWithoutGapOrOverlap) {
    const OpenedMovie movie(Noise());
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter exporter(44100);
    const std::string whole = exporter.Samples(movie.Get(), 0, 88200);
    for (const TimeScale timeScale : {1, 7, 600, 1001, 44099, 90000}) {
        SetMovieTimeScale(movie.Get(), timeScale);
        std::string pieces;
        const TimeValue duration = GetMovieDuration(movie.Get());
        const TimeValue step = timeScale / 3 + 1;
        for (TimeValue start = 0; start < duration; start += step)
            pieces += exporter.Samples(movie.Get(), start, step);
        EXPECT_TRUE(pieces == whole) << timeScale;
    }
}

TEST(ExportToHandle, DescribedAtHalfItsRate) {
    SoundToEncode description;
    description.sampleRateHz = 96000;
    description.frameCount = 96000;
    MemorySound sound = NewSound(description);
    SetEdits(*sound.track, {Edit{95001, 1024}});
    const OpenedMovie movie(std::move(sound));
    SetMovieTimeScale(movie.Get(), 48000);
    EXPECT_EQ(47501, GetMovieDuration(movie.Get()));
    Exporter exporter(48000);
    const std::string whole = exporter.Samples(movie.Get(), 0, 48000);
    EXPECT_EQ(47501U * 4, whole.size());
    EXPECT_EQ(whole.substr(40000, 400), exporter.Samples(movie.Get(), 10000, 100));
}

TEST(ExportToHandle, SoundThatCannotBeDecodedIsAStatus) {
    MemorySound encrypted = Noise();
    encrypted.track->formats[0].decodable = badFormat;
    const OpenedMovie first(std::move(encrypted));
    MemorySound unknown = Noise();
    unknown.track->formats[0].decodable = noCodecErr;
    const OpenedMovie second(std::move(unknown));
    Exporter exporter(44100);
    EXPECT_EQ(badFormat, exporter.Export(first.Get(), 0, 600));
    EXPECT_EQ(badFormat, exporter.Export(first.Get(), 0, 600));
    EXPECT_EQ(noCodecErr, exporter.Export(second.Get(), 0, 600));
}

TEST(ExportToHandle, ALockedHandleCannotGrow) {
    const OpenedMovie movie(Noise());
    Exporter exporter(44100);
    HLock(exporter.Block());
    EXPECT_EQ(memLockedErr, exporter.Export(movie.Get(), 0, 600));
    HUnlock(exporter.Block());
    EXPECT_EQ(noErr, exporter.Export(movie.Get(), 0, 600));
}

TEST(ExportToHandle, NoMemoryForTheBlock) {
    const OpenedMovie movie(Noise());
    Exporter exporter(44100);
    SetMemoryLimit(GetMemoryInUse() + 1000);
    EXPECT_EQ(memFullErr, exporter.Export(movie.Get(), 0, 600));
    SetMemoryLimit(0);
    EXPECT_EQ(noErr, exporter.Export(movie.Get(), 0, 600));
}

TEST(ExportToHandle, MoreThanAHandleHolds) {
    MemorySound sound = Noise();
    constexpr std::int64_t kDayFrames = std::int64_t{86400} * 44100;
    std::vector<Edit> edits;
    for (int day = 0; day < 300; ++day)
        edits.insert(edits.end(), {Edit{kDayFrames - 100, Edit::kEmpty}, Edit{100, 0}});
    SetEdits(*sound.track, edits);
    const OpenedMovie movie(std::move(sound));
    Exporter exporter(44100);
    EXPECT_EQ(memFullErr, exporter.Export(movie.Get(), 0, 300 * kDayFrames));
    // 64-bit positions reach what 32 bits cannot.
    SetMovieTimeScale(movie.Get(), 44100);
    EXPECT_EQ(400U, exporter.Samples(movie.Get(), 300 * kDayFrames - 100, 600).size());
}

TEST(ExportToHandle, AlternatingMoviesAreNeverConfused) {
    SoundToEncode description;
    description.frameCount = 20000;
    const EncodedSound tone = EncodeAAC(description);
    Exporter exporter(44100);
    std::string expectedTone;
    std::string expectedNoise;
    for (int round = 0; round < 4; ++round) {
        // A new movie may well lie where one was disposed of.
        OpenedMovie noise(Noise());
        const std::string noiseSamples = exporter.Samples(noise.Get(), 60, 60);
        noise.Dispose();
        OpenedMovie other(NewSound(tone));
        const std::string toneSamples = exporter.Samples(other.Get(), 60, 60);
        if (round == 0) {
            expectedNoise = noiseSamples;
            expectedTone = toneSamples;
            EXPECT_NE(expectedNoise, expectedTone);
        }
        EXPECT_EQ(expectedNoise, noiseSamples);
        EXPECT_EQ(expectedTone, toneSamples);
    }
}

TEST(ExportToHandle, TheExporterMayOutliveTheMovie) {
    const std::int64_t before = toolbox::movies::LiveMovieCount();
    MemorySound sound = Noise();
    const auto store = sound.store;
    {
        Exporter exporter(44100);
        {
            const OpenedMovie movie(std::move(sound));
            exporter.Samples(movie.Get(), 0, 100);
        }
        EXPECT_EQ(before, toolbox::movies::LiveMovieCount());
        EXPECT_EQ(1, store->liveReaderCount);
    }
    EXPECT_EQ(0, store->liveReaderCount);
    EXPECT_EQ(1, store.use_count());
}

TEST(ExportToHandle, TwoExportersOnOneMovieAreIndependent) {
    const OpenedMovie movie(Noise());
    SetMovieTimeScale(movie.Get(), 44100);
    Exporter one(44100);
    Exporter two(44100);
    const std::string whole = one.Samples(movie.Get(), 0, 88200);
    for (SInt64 start = 0; start < 80000; start += 7000) {
        EXPECT_EQ(whole.substr(static_cast<std::size_t>(start) * 4, 4000),
                  one.Samples(movie.Get(), start, 1000));
        const SInt64 other = 80000 - start;
        EXPECT_EQ(whole.substr(static_cast<std::size_t>(other) * 4, 4000),
                  two.Samples(movie.Get(), other, 1000));
    }
}

TEST(ExportToHandle, MoviesOnTwoThreads) {
    const auto convert = [](std::string& outSamples) {
        const OpenedMovie movie(Noise());
        SetMovieTimeScale(movie.Get(), 44100);
        Exporter exporter(44100);
        for (SInt64 start = 0; start < 88200; start += 4410)
            outSamples += exporter.Samples(movie.Get(), start, 4410);
    };
    TwoSeconds();
    std::string one;
    std::string two;
    std::thread first(convert, std::ref(one));
    std::thread second(convert, std::ref(two));
    first.join();
    second.join();
    EXPECT_EQ(88200U * 4, one.size());
    EXPECT_TRUE(one == two);
}

// The report.

TEST(SoundReport, TellsWhatIsKnown) {
    MemorySound sound = Noise(80000);
    sound.track->trimSource = kSoundTrimGaplessTag;
    sound.track->framesTrimmedAtStart = 1024;
    sound.track->framesTrimmedAtEnd = 77;
    sound.track->skippedByteCount = 5;
    const std::uint32_t packetCount = sound.store->PacketCount();
    sound.store->missing = {3, 4};
    const OpenedMovie movie(Tracks(PictureTrack(1, 1), SoundTrackOf(std::move(sound))));
    MovieSoundReport report;
    ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
    EXPECT_EQ(FourChars("mp4a"), report.format);
    EXPECT_STREQ("AAC LC", report.formatName);
    EXPECT_STREQ("Scripted", report.containerName);
    EXPECT_EQ(44100U, report.sampleRateHz);
    EXPECT_EQ(2U, report.channelCount);
    EXPECT_EQ(noErr, report.decodable);
    EXPECT_EQ(80000, report.frameCount);
    EXPECT_EQ(static_cast<UInt32>(kSoundTrimGaplessTag), report.trimSource);
    EXPECT_EQ(1024, report.framesTrimmedAtStart);
    EXPECT_EQ(77, report.framesTrimmedAtEnd);
    EXPECT_EQ(packetCount, report.packetCount);
    EXPECT_EQ(0U, report.damagedPacketCount);
    EXPECT_EQ(0, report.silencedFrameCount);
    EXPECT_EQ(5U, report.skippedByteCount);

    for (int round = 0; round < 2; ++round) {
        Exporter exporter(44100);
        exporter.Samples(movie.Get(), 0, 600);
        ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
        EXPECT_EQ(2U, report.damagedPacketCount);
        EXPECT_EQ(2048, report.silencedFrameCount);
    }
}

TEST(SoundReport, NoSoundIsZeros) {
    const OpenedMovie movie(Tracks(PictureTrack(1, 1)));
    MovieSoundReport report;
    report.packetCount = 9;
    ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
    EXPECT_EQ(0U, report.format);
    EXPECT_STREQ("", report.formatName);
    EXPECT_STREQ("Scripted", report.containerName);
    EXPECT_EQ(0U, report.packetCount);
    EXPECT_EQ(0U, report.sampleRateHz);
}

TEST(SoundReport, SaysWhatTheExportWillAnswer) {
    for (const OSStatus decodable : {badFormat, noCodecErr}) {
        MemorySound sound = Noise();
        sound.track->formats[0].decodable = decodable;
        const OpenedMovie movie(std::move(sound));
        MovieSoundReport report;
        ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
        EXPECT_EQ(decodable, report.decodable);
    }
    MemorySound malformed = Noise();
    malformed.track->formats[0].decoderConfig = {0xFF};
    const OpenedMovie movie(std::move(malformed));
    MovieSoundReport report;
    ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
    Exporter exporter(44100);
    EXPECT_EQ(report.decodable, exporter.Export(movie.Get(), 0, 600));
    EXPECT_EQ(noCodecErr, report.decodable);
}

TEST(SoundReport, LongNamesAreCut) {
    MemorySound sound = Noise();
    sound.track->formats[0].name.assign(500, 'n');
    const OpenedMovie movie(std::move(sound));
    MovieSoundReport report;
    ASSERT_EQ(noErr, GetMovieSoundReport(movie.Get(), &report));
    EXPECT_EQ(std::string(63, 'n'), report.formatName);
}

MovieSoundReport ReportOf(const OpenedMovie& inMovie) {
    MovieSoundReport report{};
    EXPECT_EQ(noErr, GetMovieSoundReport(inMovie.Get(), &report));
    return report;
}

TEST(SoundCheck, KnowsTheDamageThatAnExportWouldMeet) {
    const auto movieOf = [](std::uint32_t inRateHz) {
        SoundToEncode description;
        description.sampleRateHz = inRateHz;
        description.frameCount = 3 * inRateHz;
        MemorySound sound = NewSound(description);
        sound.store->missing = {0, 7, 8, 60};
        sound.store->packets[20].assign(30, 0xFF);
        SetEdits(*sound.track, {Edit{5000, Edit::kEmpty}, Edit{40000, 1100}, Edit{9000, 60000}});
        return OpenedMovie(std::move(sound));
    };
    for (const std::uint32_t rateHz : {44100U, 96000U}) {
        const OpenedMovie exported = movieOf(rateHz);
        Exporter().Samples(exported.Get(), 0, 60000);
        const OpenedMovie checked = movieOf(rateHz);
        SInt64 passed = 0;
        const auto add = [](void* inContext, SInt64 inFrames) -> Boolean {
            EXPECT_LT(0, inFrames);
            *static_cast<SInt64*>(inContext) += inFrames;
            return 1;
        };
        EXPECT_EQ(noErr, CheckMovieSound(checked.Get(), rateHz, 0, 54000, add, &passed));
        EXPECT_EQ(54000, passed);
        EXPECT_EQ(5U, ReportOf(checked).damagedPacketCount);
        EXPECT_EQ(ReportOf(exported).damagedPacketCount, ReportOf(checked).damagedPacketCount);
        EXPECT_EQ(ReportOf(exported).silencedFrameCount, ReportOf(checked).silencedFrameCount);
        EXPECT_EQ(noErr, CheckMovieSound(checked.Get(), rateHz, 0, INT64_MAX, nullptr, nullptr));
        EXPECT_EQ(5U, ReportOf(checked).damagedPacketCount);
    }
}

// A slower span among faster ones, and the reverse: each packet is decoded once.
TEST(SoundCheck, GoesThroughSpansOfAnotherRate) {
    for (const std::uint32_t otherHz : {22050U, 48000U}) {
        MemorySound sound = NewSound(TwoSeconds());
        SoundToEncode description;
        description.channelCount = 2;
        description.sampleRateHz = otherHz;
        description.frameCount = 2 * otherHz;
        const MemorySound other = NewSound(description);
        toolbox::movies::PacketSpan span = other.track->spans[0];
        span.firstPacket = sound.store->PacketCount();
        span.durations[0].firstPacket = span.firstPacket;
        span.firstFrame = sound.track->spans[0].frameCount;
        span.format = 1;
        span.frameCount = span.frameCount * 44100 / otherHz;
        sound.track->formats.push_back(other.track->formats[0]);
        sound.track->spans.push_back(span);
        const auto& packets = other.store->packets;
        sound.store->packets.insert(sound.store->packets.end(), packets.begin(), packets.end());
        sound.store->missing = {span.firstPacket + 3};
        SetEdits(*sound.track, {Edit{span.firstFrame + span.frameCount, 0}});
        const auto store = sound.store;
        const OpenedMovie movie(std::move(sound));
        EXPECT_EQ(noErr, CheckMovieSound(movie.Get(), 44100, 0, INT64_MAX, nullptr, nullptr));
        EXPECT_EQ(1U, ReportOf(movie).damagedPacketCount);
        EXPECT_EQ(store->PacketCount(), store->readCount) << otherHz;
    }
}

// Hours of silence, before the sound and in what the last packet is presented for, are a step each.
TEST(SoundCheck, SilenceIsCountedAndNotRendered) {
    constexpr std::uint32_t kSilentFrames = 1'000'000'000;
    MemorySound sound = Noise();
    auto& span = sound.track->spans[0];
    span.durations.push_back(
        {span.firstPacket + span.packetCount - 1, kSilentFrames, span.frameCount - 1024});
    span.frameCount += kSilentFrames - 1024;
    SetEdits(*sound.track, {Edit{kSilentFrames, Edit::kEmpty}, Edit{span.frameCount, 0}});
    const OpenedMovie movie(std::move(sound));
    int stepCount = 0;
    const auto count = [](void* ioCount, SInt64) -> Boolean { return ++*static_cast<int*>(ioCount) < 1000; };
    EXPECT_EQ(noErr, CheckMovieSound(movie.Get(), 44100, 0, INT64_MAX, count, &stepCount));
    EXPECT_GT(100, stepCount);
}

TEST(SoundCheck, OfAStretchKnowsItsDamageAlone) {
    MemorySound sound = Noise();
    sound.store->missing = {10, 50};
    const OpenedMovie movie(std::move(sound));
    SInt64 passed = 0;
    const auto add = [](void* inContext, SInt64 inFrames) -> Boolean {
        *static_cast<SInt64*>(inContext) += inFrames;
        return 1;
    };
    // In frames of half the rate; packet 10 begins at frame 4608 of them.
    EXPECT_EQ(noErr, CheckMovieSound(movie.Get(), 22050, 4000, 20000, add, &passed));
    EXPECT_EQ(16000, passed);
    EXPECT_EQ(1U, ReportOf(movie).damagedPacketCount);
    EXPECT_EQ(noErr, CheckMovieSound(movie.Get(), 22050, 20000, 19000, add, &passed));
    EXPECT_EQ(16000, passed);
}

TEST(SoundCheck, EndsWhenItIsToldTo) {
    const OpenedMovie movie(Noise());
    int callCount = 0;
    const auto stop = [](void* inContext, SInt64) -> Boolean {
        ++*static_cast<int*>(inContext);
        return 0;
    };
    EXPECT_EQ(noErr, CheckMovieSound(movie.Get(), 44100, 0, INT64_MAX, stop, &callCount));
    EXPECT_EQ(1, callCount);
}

TEST(SoundCheck, WithoutSoundThereIsNothingToCheck) {
    EXPECT_EQ(paramErr, CheckMovieSound(nullptr, 1, 0, 1, nullptr, nullptr));
    const OpenedMovie picture(Tracks(PictureTrack(1, 1)));
    EXPECT_EQ(noErr, CheckMovieSound(picture.Get(), 1, 0, 1, nullptr, nullptr));
    EXPECT_EQ(paramErr, CheckMovieSound(picture.Get(), 0, 0, 1, nullptr, nullptr));
    EXPECT_EQ(paramErr, CheckMovieSound(picture.Get(), 1, -1, 1, nullptr, nullptr));
    MemorySound encrypted = Noise();
    encrypted.track->formats[0].decodable = badFormat;
    const OpenedMovie movie(std::move(encrypted));
    EXPECT_EQ(badFormat, CheckMovieSound(movie.Get(), 44100, 0, INT64_MAX, nullptr, nullptr));
}

TEST(SoundReport, BadArguments) {
    MovieSoundReport report;
    EXPECT_EQ(paramErr, GetMovieSoundReport(nullptr, &report));
    const OpenedMovie movie(Noise());
    EXPECT_EQ(paramErr, GetMovieSoundReport(movie.Get(), nullptr));
}

}  // namespace

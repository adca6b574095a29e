// Every allocation between opening a movie and closing its exporter fails once.

#include "MovieMaker.h"
#include "fakes/AnyEncoder.h"
#include "support/FailingMemory.h"

#include <gtest/gtest.h>
#include <movies/front/Movies_test_access.h>
#include <render/SoundRenderer.h>
#include <toolbox/SoundReport.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

using mirtal::fakes::EncodeAAC;
using mirtal::fakes::EncodedSound;
using mirtal::fakes::MemorySound;
using mirtal::fakes::NewSound;
using mirtal::fakes::SoundToEncode;
using test_files::FailingNew;
using test_files::NewCount;
using test_movies::AlignedCount;
using test_movies::FileAlias;
using test_movies::Script;
using test_movies::SoundTrackOf;
using test_movies::Tracks;
using toolbox::movies::LiveComponentInstanceCount;
using toolbox::movies::LiveMovieCount;

struct Result {
    OSStatus status = noErr;
    std::string samples;

    // What the test itself keeps must not need the memory that fails.
    Result() { samples.reserve(1 << 16); }
};

// Opens, exports in two halves, and releases whatever it got.
void Convert(Handle inAlias, Handle inDescription, Result& outResult) {
    Movie movie = nullptr;
    MovieExportComponent exporter = nullptr;
    Handle block = nullptr;
    outResult.status = NewMovieFromDataRef(&movie, 0, nullptr, inAlias, rAliasType);
    if (outResult.status == noErr) {
        SetMovieTimeScale(movie, 44100);
        exporter = OpenDefaultComponent(MovieExportType, FourChars("snd "));
        block = NewHandle(0);
        if (exporter == nullptr || block == nullptr) outResult.status = memFullErr;
    }
    if (outResult.status == noErr)
        outResult.status = MovieExportSetSampleDescription(exporter, inDescription, SoundMediaType);
    for (TimeValue start = 0; outResult.status == noErr && start < 6000; start += 3000)
        outResult.status = MovieExportToHandle(exporter, block, movie, nullptr, start, 3000);
    if (outResult.status == noErr) {
        MovieSoundReport report;
        outResult.status = GetMovieSoundReport(movie, &report);
        if (outResult.status == noErr) outResult.status = report.decodable;
    }
    if (outResult.status == noErr)
        outResult.samples.assign(*block, static_cast<std::size_t>(GetHandleSize(block)));
    if (block != nullptr) DisposeHandle(block);
    if (exporter != nullptr) CloseComponent(exporter);
    DisposeMovie(movie);
}

Handle OutputDescription() {
    const Handle description = NewHandleClear(36);
    const std::uint8_t bytes[] = {0, 0, 0, 36, 't', 'w', 'o', 's'};
    std::copy(std::begin(bytes), std::end(bytes), *description);
    (*description)[25] = 2;
    (*description)[27] = 16;
    (*description)[32] = static_cast<char>(0xAC);
    (*description)[33] = 0x44;
    return description;
}

void FailEveryAllocation(const std::function<MemorySound()>& inNewSound, FailingNew::Extent inMode) {
    const FileAlias alias;
    const Handle description = OutputDescription();
    Script(Tracks(SoundTrackOf(inNewSound())));
    Result expected;
    Convert(alias.Get(), description, expected);
    ASSERT_EQ(noErr, expected.status);
    ASSERT_EQ(84U + 12000U, expected.samples.size());
    const std::int64_t movies = LiveMovieCount();
    const std::int64_t instances = LiveComponentInstanceCount();
    const UInt64 handles = GetLiveHandleCount();

    int failed = 0;
    for (int failing = 1;; ++failing) {
        MemorySound sound = inNewSound();
        const auto store = sound.store;
        Script(Tracks(SoundTrackOf(std::move(sound))));
        Result result;
        bool isDelivered = false;
        {
            const FailingNew failure(failing, inMode);
            Convert(alias.Get(), description, result);
            isDelivered = failure.Delivered();
        }
        mirtal::fakes::Importers() = {};
        ASSERT_EQ(movies, LiveMovieCount()) << failing;
        ASSERT_EQ(instances, LiveComponentInstanceCount()) << failing;
        ASSERT_EQ(handles, GetLiveHandleCount()) << failing;
        ASSERT_EQ(0, store->liveReaderCount) << failing;
        ASSERT_EQ(1, store.use_count()) << failing;
        if (result.status == noErr) {
            // Some memory is only an advantage: the sound must be the same without.
            ASSERT_TRUE(expected.samples == result.samples) << failing;
        } else {
            ASSERT_EQ(memFullErr, result.status) << failing;
            ++failed;
        }
        if (!isDelivered) break;
    }
    EXPECT_LT(20, failed);
    DisposeHandle(description);
}

class MovieMemory : public testing::TestWithParam<FailingNew::Extent> {};

TEST_P(MovieMemory, CommonSound) {
    SoundToEncode description;
    description.channelCount = 2;
    description.frameCount = 6000;
    const EncodedSound encoded = EncodeAAC(description);
    FailEveryAllocation([&] { return NewSound(encoded); }, GetParam());
}

TEST_P(MovieMemory, MixedSound) {
    SoundToEncode description;
    description.channelCount = 6;
    description.frameCount = 6000;
    const EncodedSound encoded = EncodeAAC(description);
    FailEveryAllocation([&] { return NewSound(encoded); }, GetParam());
}

TEST_P(MovieMemory, ResampledSound) {
    SoundToEncode description;
    description.sampleRateHz = 48000;
    description.frameCount = 8000;
    const EncodedSound encoded = EncodeAAC(description);
    FailEveryAllocation([&] { return NewSound(encoded); }, GetParam());
}

TEST_P(MovieMemory, IntegerSound) {
    SoundToEncode description;
    description.channelCount = 2;
    description.frameCount = 12000;
    const mirtal::fakes::CodedSound coded = mirtal::fakes::EncodeWith(AV_CODEC_ID_ALAC, description);
    FailEveryAllocation([&] { return NewSound(coded.format, coded.packets, coded.framesPerPacket); },
                        GetParam());
}

INSTANTIATE_TEST_SUITE_P(Both, MovieMemory, testing::Values(FailingNew::kOnce, FailingNew::kForever));

// A store like a file's: its packets lie in a block that is counted by references.
class BlockPackets final : public toolbox::movies::PacketStore {
  public:
    explicit BlockPackets(const mirtal::fakes::Packets& inPackets) {
        for (const std::vector<std::uint8_t>& packet : inPackets) {
            mPlaces.emplace_back(mByteCount, packet.size());
            mByteCount += packet.size();
        }
        mBlock = av_buffer_allocz(mByteCount + AV_INPUT_BUFFER_PADDING_SIZE);
        for (std::size_t i = 0; i < inPackets.size(); ++i)
            std::copy(inPackets[i].begin(), inPackets[i].end(), mBlock->data + mPlaces[i].first);
    }
    ~BlockPackets() override { av_buffer_unref(&mBlock); }

    std::uint32_t PacketCount() const override { return static_cast<std::uint32_t>(mPlaces.size()); }
    std::unique_ptr<toolbox::movies::PacketReader> NewReader() const override {
        return std::make_unique<Reader>(*this);
    }
    toolbox::movies::PacketBytes At(std::uint32_t inPacket) const {
        return {mBlock->data + mPlaces[inPacket].first, mPlaces[inPacket].second, mBlock};
    }

  private:
    class Reader final : public toolbox::movies::PacketReader {
      public:
        explicit Reader(const BlockPackets& inStore) : mStore(inStore) {}
        OSStatus Read(std::uint32_t inPacket, toolbox::movies::PacketBytes& outBytes) override {
            outBytes = mStore.At(inPacket);
            return noErr;
        }

      private:
        const BlockPackets& mStore;
    };

    std::vector<std::pair<std::size_t, std::size_t>> mPlaces;
    std::size_t mByteCount = 0;
    AVBufferRef* mBlock = nullptr;
};

// libavutil's allocations of a bare loop over the packets from inFirst on.
std::uint64_t BareAllocations(const toolbox::movies::SoundFormat& inFormat, const BlockPackets& inPackets,
                              std::uint32_t inFirst) {
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_AAC));
    std::vector<std::uint8_t> config = inFormat.decoderConfig;
    context->extradata_size = static_cast<int>(config.size());
    config.resize(config.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    context->extradata = config.data();
    EXPECT_EQ(0, avcodec_open2(context, nullptr, nullptr));
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    std::uint64_t start = 0;
    for (std::uint32_t number = 0; number < inPackets.PacketCount(); ++number) {
        if (number == inFirst) start = AlignedCount();
        const toolbox::movies::PacketBytes bytes = inPackets.At(number);
        packet->data = const_cast<std::uint8_t*>(bytes.data);
        packet->size = static_cast<int>(bytes.sizeBytes);
        packet->buf = bytes.owner;
        EXPECT_EQ(0, avcodec_send_packet(context, packet));
        packet->buf = nullptr;
        while (avcodec_receive_frame(context, frame) >= 0) {
        }
    }
    const std::uint64_t count = AlignedCount() - start;
    av_frame_free(&frame);
    av_packet_free(&packet);
    context->extradata = nullptr;
    avcodec_free_context(&context);
    return count;
}

TEST(SteadyState, RenderingAllocatesNothingBesidesTheDecoder) {
    SoundToEncode description;
    description.channelCount = 2;
    description.frameCount = 5 * 44100;
    const EncodedSound encoded = EncodeAAC(description);
    MemorySound sound = NewSound(encoded);
    const auto store = std::make_shared<BlockPackets>(encoded.packets);
    sound.track->packets = store;
    const auto format = sound.track->formats[0];
    const std::int64_t frameCount = sound.track->FrameCount();
    toolbox::movies::SoundRenderer renderer(std::move(sound.track),
                                            std::make_shared<toolbox::movies::DamageLog>(), 44100);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(frameCount) * 4);
    constexpr std::uint32_t kFirst = 20;
    ASSERT_EQ(noErr, renderer.Render(0, kFirst * 1024, bytes.data()));
    const std::uint64_t newCount = NewCount();
    const std::uint64_t alignedCount = AlignedCount();
    ASSERT_EQ(noErr, renderer.Render(kFirst * 1024, frameCount - kFirst * 1024, bytes.data()));
    const std::uint64_t ownCount = NewCount() - newCount;
    const std::uint64_t decodersCount = AlignedCount() - alignedCount;
    EXPECT_EQ(0U, ownCount);
    EXPECT_LT(0U, decodersCount);
    // A frame's planes are one buffer here, and one for each channel in the bare loop: one reference fewer a
    // packet.
    const auto packetCount = static_cast<std::uint64_t>(encoded.packets.size()) - kFirst;
    EXPECT_GE(BareAllocations(format, *store, kFirst), decodersCount + packetCount);
}

}  // namespace

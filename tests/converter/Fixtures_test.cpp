// Whole conversions of every media file at hand: what is announced is what comes, under a true header, and
// the same each time.
#include "MediaFolder.h"

#include <converter/Conversion.h>
#include <converter/WAVReader.h>
#include <movies/front/Movies_test_access.h>
#include <toolbox/MacMemory.h>

#include <cstring>
#include <random>
#include <set>

using namespace media;

namespace {

// Files that are not converted: their length is none and nothing is delivered.
const std::set<std::string> kRefused = {
    "aac-51-cenc-encrypted.mp4",
    "drms-protected-no-samples.m4a",
    "empty-0-bytes.m4a",
    "empty.m4a",
    "encrypted-with-video.mp4",
    "encrypted.mp4",
    "fuzz-bad-stsz-moov-only.m4a",
    "fuzz-cve-2015-3827.mp4",
    "no-tables.m4a",
    "no-tracks.m4a",
    "words.m4a",
    "xheaac-44k-mono.mp4",
};

std::string NameOf(const std::string& inPath) {
    return std::filesystem::path(inPath).filename().string();
}

void ExpectNothingLive() {
    EXPECT_EQ(0u, GetLiveHandleCount());
    EXPECT_EQ(0u, GetLivePtrCount());
    EXPECT_EQ(0, toolbox::movies::LiveMovieCount());
    EXPECT_EQ(0, toolbox::movies::LiveComponentInstanceCount());
}

class Fixtures : public ::testing::TestWithParam<std::string> {
  protected:
    ~Fixtures() override { ExpectNothingLive(); }
};

TEST_P(Fixtures, DeliverWhatTheyAnnounce) {
    const long long announced = AnnouncedByteCount(GetParam());
    const Bytes stream = Whole(GetParam());
    if (kRefused.count(NameOf(GetParam())) != 0) {
        EXPECT_EQ(0u, stream.size());
        EXPECT_EQ(0, announced);
        return;
    }
    ASSERT_GT(announced, static_cast<long long>(kHeaderByteCount));
    ASSERT_EQ(announced, static_cast<long long>(stream.size()));

    const SInt32 rateHz = SegmentExporter(GetParam().c_str()).SampleRate();
    const auto frameCount = static_cast<UInt32>((stream.size() - kHeaderByteCount) / 4);
    const WAVHeader header = MakeWAVHeader(rateHz, frameCount);
    EXPECT_EQ(0, std::memcmp(header.bytes, stream.data(), kHeaderByteCount));
    EXPECT_EQ(static_cast<std::uint32_t>(rateHz), Little32(stream, 24));
    EXPECT_EQ(stream.size() - kHeaderByteCount, Little32(stream, 40));
    EXPECT_EQ(stream.size() - 8, Little32(stream, 4));

    EXPECT_TRUE(stream == Whole(GetParam())) << "the second conversion differs";
}

INSTANTIATE_TEST_SUITE_P(Media, Fixtures, ::testing::ValuesIn(ListMedia()), TestName);

TEST(LongFixtures, HalfAnHourInWindowsAndWhole) {
    const std::string path = std::string(MIRTAL_FIXTURES) + "/long.m4a";
    constexpr std::size_t kWindowByteCount = 50000;
    struct Watch {
        std::size_t position = 0;
        std::map<std::size_t, Bytes> windows;  // by position

        static void Take(void* inContext, void* inData, long inLength) {
            auto& watch = *static_cast<Watch*>(inContext);
            const auto* data = static_cast<const std::uint8_t*>(inData);
            const std::size_t end = watch.position + static_cast<std::size_t>(inLength);
            for (auto& [start, bytes] : watch.windows) {
                const std::size_t first = std::max(start, watch.position);
                const std::size_t last = std::min(start + kWindowByteCount, end);
                if (first < last)
                    bytes.insert(bytes.end(), data + (first - watch.position),
                                 data + (last - watch.position));
            }
            watch.position = end;
        }
    };
    constexpr std::size_t kStreamByteCount = 86130688u * 4 + kHeaderByteCount;
    ASSERT_EQ(static_cast<long long>(kStreamByteCount), AnnouncedByteCount(path));
    Watch watch;
    std::mt19937 random(99);
    for (int i = 0; i < 40; ++i)
        watch.windows[random() % (kStreamByteCount - kWindowByteCount)];
    convert_AAC_to_WAV(path.c_str(), &watch, Watch::Take);
    ASSERT_EQ(kStreamByteCount, watch.position);

    WAVReader reader(path.c_str());
    Bytes window(kWindowByteCount);
    for (const auto& [start, bytes] : watch.windows) {
        ASSERT_EQ(kWindowByteCount, reader.Read(static_cast<SInt64>(start), window.data(), window.size()));
        ASSERT_TRUE(window == bytes) << "at byte " << start;
    }
}

TEST(LongFixtures, BeyondFourGibibytes) {
    const std::string path = std::string(MIRTAL_FIXTURES) + "/huge-8000-mono.aac";
    constexpr std::int64_t kFrameCount = 1090519040;
    EXPECT_EQ(static_cast<long long>(static_cast<std::uint32_t>(kFrameCount * 4 + 44)),
              AnnouncedByteCount(path));
    WAVReader reader(path.c_str());
    EXPECT_EQ(kFrameCount * 4 + 44, reader.ByteCount());
    Bytes window(100000, 0xFF);
    std::mt19937_64 random(3);
    for (int i = 0; i < 40; ++i) {
        const auto start = static_cast<SInt64>(44 + random() % (kFrameCount * 4 - window.size()));
        ASSERT_EQ(window.size(), reader.Read(start, window.data(), window.size()));
        // What is coded is silence.
        ASSERT_TRUE(
            std::all_of(window.begin(), window.end(), [](std::uint8_t inByte) { return inByte == 0; }));
    }
    EXPECT_EQ(16u, reader.Read(reader.ByteCount() - 16, window.data(), window.size()));
    EXPECT_EQ(0u, reader.Read(reader.ByteCount(), window.data(), window.size()));
}

}  // namespace

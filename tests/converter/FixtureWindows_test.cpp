// Parts of the streams of every media file at hand: however a part is asked for, it has the bytes of the
// whole.
#include "MediaFolder.h"

#include <converter/Conversion.h>
#include <converter/WAVReader.h>

#include <cstring>
#include <random>

using namespace media;

namespace {

class FixtureWindows : public ::testing::TestWithParam<std::string> {
  protected:
    FixtureWindows() : mWhole(Whole(GetParam())) {}

    // Which files are refused, and that no others are, is checked with whole conversions.
    bool IsRefused() const {
        return mWhole.empty() || static_cast<long long>(mWhole.size()) != AnnouncedByteCount(GetParam());
    }

    std::size_t Below(std::size_t inBound) { return mRandom() % inBound; }

    const Bytes mWhole;
    std::mt19937 mRandom{20};
};

TEST_P(FixtureWindows, OfTheReader) {
    if (IsRefused()) {
        Bytes window(60);
        EXPECT_ANY_THROW(WAVReader(GetParam().c_str()).Read(0, window.data(), window.size()));
        return;
    }
    WAVReader reader(GetParam().c_str());
    ASSERT_EQ(static_cast<SInt64>(mWhole.size()), reader.ByteCount());
    for (int i = 0; i < 40; ++i) {
        const std::size_t first = Below(mWhole.size());
        const std::size_t count = 1 + Below(std::min<std::size_t>(mWhole.size() - first, 60000));
        Bytes window(count);
        ASSERT_EQ(count, reader.Read(static_cast<SInt64>(first), window.data(), count));
        ASSERT_EQ(0, std::memcmp(window.data(), mWhole.data() + first, count))
            << count << " bytes at " << first;
    }
}

TEST_P(FixtureWindows, OfExportsInAnyCut) {
    if (IsRefused()) {
        EXPECT_ANY_THROW({
            SegmentExporter refusing(GetParam().c_str());
            refusing.MakeExportHandle();
            refusing.Export(0, 1);
        });
        return;
    }
    SegmentExporter exporter(GetParam().c_str());
    exporter.MakeExportHandle();
    const auto frameCount = (mWhole.size() - kHeaderByteCount) / 4;
    if (frameCount == 0) return;
    std::size_t frame = 0;
    for (int i = 0; i < 60; ++i) {
        // Mostly onwards, sometimes elsewhere.
        if (frame >= frameCount || Below(5) == 0) frame = Below(frameCount);
        const std::size_t most =
            std::min<std::size_t>(frameCount - frame, static_cast<std::size_t>(exporter.SegmentFrames()));
        const std::size_t asked = 1 + Below(most);
        const auto segment = exporter.Export(static_cast<SInt64>(frame), static_cast<SInt32>(asked));
        ASSERT_GT(segment.frameCount, 0);
        ASSERT_LE(static_cast<std::size_t>(segment.frameCount), asked);
        ASSERT_EQ(segment.frameCount * 4, segment.byteCount);
        ASSERT_EQ(0, std::memcmp(segment.data, mWhole.data() + kHeaderByteCount + frame * 4,
                                 static_cast<std::size_t>(segment.byteCount)))
            << asked << " frames at " << frame;
        frame += static_cast<std::size_t>(segment.frameCount);
    }
}

// What the windowed conversion is to give, from the whole stream and the written arithmetic.
Bytes ExpectedWindow(const Bytes& inWhole, std::int64_t inStart, std::int64_t inDuration) {
    const auto movieFrames = static_cast<std::int32_t>((inWhole.size() - kHeaderByteCount) / 4);
    std::int32_t frames = movieFrames;
    if (inDuration > 0)
        frames = std::min(std::max(static_cast<std::int32_t>(inDuration - 11), 0), movieFrames);
    else
        inDuration = static_cast<std::int64_t>(frames) + 44;
    const std::int64_t total = static_cast<std::int64_t>(frames) * 4 + 44;
    Bytes expected;
    std::int64_t position = inStart;
    std::int64_t firstFrame = 0;
    if (position >= 44) {
        firstFrame = (position - 44) / 4;
    } else {
        const std::int64_t count = std::min(inDuration - inStart, 44 - position);
        const WAVHeader header =
            MakeWAVHeader(static_cast<SInt32>(Little32(inWhole, 24)), static_cast<UInt32>(frames));
        if (count > 0) expected.assign(header.bytes + position, header.bytes + position + count);
        position += count;
    }
    const std::int64_t sound = std::min((frames - firstFrame) * 4, total - position);
    if (sound > 0) {
        const auto* first = inWhole.data() + kHeaderByteCount + firstFrame * 4;
        expected.insert(expected.end(), first, first + sound);
        position += sound;
    }
    if (position < total) expected.insert(expected.end(), static_cast<std::size_t>(total - position), 0);
    return expected;
}

TEST_P(FixtureWindows, OfTheWindowedEntry) {
    if (IsRefused()) {
        EXPECT_TRUE(Window(GetParam(), 44, 1000).empty());
        return;
    }
    for (int i = 0; i < 16; ++i) {
        const auto start = static_cast<long long>(Below(3) == 0 ? Below(48) : Below(mWhole.size() + 4));
        const auto duration = Below(4) == 0 ? 0LL : static_cast<long long>(1 + Below(mWhole.size() / 2));
        ASSERT_TRUE(ExpectedWindow(mWhole, start, duration) == Window(GetParam(), start, duration))
            << "start " << start << ", duration " << duration;
    }
}

INSTANTIATE_TEST_SUITE_P(Media, FixtureWindows, ::testing::ValuesIn(ListMedia()), TestName);

}  // namespace

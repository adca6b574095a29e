#include "track/SilentGap.h"

#include <gtest/gtest.h>

#include <memory>

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kRateHz = 8000;
constexpr std::int64_t kDay = std::int64_t{86400} * kRateHz;

class NoPackets final : public PacketStore {
  public:
    explicit NoPackets(std::uint32_t inCount) : mCount(inCount) {}
    std::uint32_t PacketCount() const override { return mCount; }
    std::unique_ptr<PacketReader> NewReader() const override { return nullptr; }

  private:
    std::uint32_t mCount;
};

PacketSpan SpanOf(std::uint32_t inFirstPacket, std::int64_t inFirstFrame,
                  std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> inRuns) {
    PacketSpan span;
    span.firstPacket = inFirstPacket;
    span.firstFrame = inFirstFrame;
    for (const auto& [count, frames] : inRuns) {
        span.durations.push_back({inFirstPacket + span.packetCount, frames, span.frameCount});
        span.packetCount += count;
        span.frameCount += std::int64_t{count} * frames;
    }
    return span;
}

// Presented as it is, packets of 1000 frames.
SoundTrack TrackOf(std::vector<PacketSpan> inSpans) {
    SoundTrack track;
    track.formats.resize(1);
    track.formats[0].sampleRateHz = kRateHz;
    track.formats[0].nominalPacketFrames = 1000;
    track.spans = std::move(inSpans);
    const PacketSpan& last = track.spans.back();
    track.packets = std::make_shared<NoPackets>(last.firstPacket + last.packetCount);
    track.edits = {{last.firstFrame + last.frameCount, 0}};
    return track;
}

TEST(SilentGap, SoundWithoutGapsIsOfAnyLength) {
    EXPECT_FALSE(HasBoundlessGap(TrackOf({SpanOf(0, 0, {{5, 1000}})})));
    EXPECT_FALSE(HasBoundlessGap(TrackOf({SpanOf(0, 0, {{2000000000, 1000}})})));
}

TEST(SilentGap, BetweenSpansItIsMoreThanADay) {
    const PacketSpan first = SpanOf(0, 0, {{5, 1000}});
    EXPECT_FALSE(HasBoundlessGap(TrackOf({first, SpanOf(5, 5000 + kDay, {{5, 1000}})})));
    EXPECT_TRUE(HasBoundlessGap(TrackOf({first, SpanOf(5, 5001 + kDay, {{5, 1000}})})));
}

TEST(SilentGap, ItIsAlsoAThousandTimesThePackets) {
    // 700,000 frames sound: a thousand times as many are a little more than a day.
    const PacketSpan first = SpanOf(0, 0, {{699, 1000}});
    EXPECT_FALSE(HasBoundlessGap(TrackOf({first, SpanOf(699, 699000 + 700000000, {{1, 1000}})})));
    EXPECT_TRUE(HasBoundlessGap(TrackOf({first, SpanOf(699, 699000 + 700000001, {{1, 1000}})})));
}

TEST(SilentGap, APacketThatIsPresentedForDaysLeavesOne) {
    const auto days = static_cast<std::uint32_t>(kDay + 1000);
    EXPECT_FALSE(HasBoundlessGap(TrackOf({SpanOf(0, 0, {{3, 1000}, {1, days}, {3, 1000}})})));
    EXPECT_TRUE(HasBoundlessGap(TrackOf({SpanOf(0, 0, {{3, 1000}, {1, days + 1}, {3, 1000}})})));
    // Many of them, none of which is long, are no gap.
    EXPECT_FALSE(HasBoundlessGap(TrackOf({SpanOf(0, 0, {{600, days}})})));
}

TEST(SilentGap, APacketOfUnknownLengthSoundsForAWhile) {
    const auto days = static_cast<std::uint32_t>(kDay + 65536);
    SoundTrack track = TrackOf({SpanOf(0, 0, {{3, 1000}, {1, days}})});
    track.formats[0].nominalPacketFrames = 0;
    EXPECT_FALSE(HasBoundlessGap(track));
    track = TrackOf({SpanOf(0, 0, {{3, 1000}, {1, days + 1}})});
    track.formats[0].nominalPacketFrames = 0;
    EXPECT_TRUE(HasBoundlessGap(track));
}

TEST(SilentGap, OnlyWhatIsPresentedCounts) {
    const std::int64_t years = 10000 * kDay;
    SoundTrack track = TrackOf({SpanOf(0, 0, {{5, 1000}}), SpanOf(5, years, {{5, 1000}})});
    EXPECT_TRUE(HasBoundlessGap(track));
    track.edits = {{5000 + kDay, 0}, {kDay + 2000, years - kDay}};
    EXPECT_FALSE(HasBoundlessGap(track));
    track.edits = {{5001 + kDay, 0}};
    EXPECT_TRUE(HasBoundlessGap(track));
    track.edits = {{kDay + 5000, years - kDay - 1}};
    EXPECT_TRUE(HasBoundlessGap(track));
}

TEST(SilentGap, AnEditThatBeginsInOneGapMayHoldTheNextWhole) {
    const auto days = static_cast<std::uint32_t>(kDay + 2000);
    SoundTrack track = TrackOf({SpanOf(0, 0, {{4, days}})});
    track.edits = {{kDay, 5000}};
    EXPECT_FALSE(HasBoundlessGap(track));
    track.edits = {{3 * kDay, 5000}};
    EXPECT_TRUE(HasBoundlessGap(track));
    track.edits = {{kDay + 1500, days - 500}};
    EXPECT_FALSE(HasBoundlessGap(track));
    track.edits = {{kDay + 1501, days - 500}};
    EXPECT_TRUE(HasBoundlessGap(track));
}

TEST(SilentGap, EmptyEditsInARowAreOne) {
    SoundTrack track = TrackOf({SpanOf(0, 0, {{5, 1000}})});
    track.edits = {{kDay / 2, Edit::kEmpty}, {kDay / 2, Edit::kEmpty}, {5000, 0}};
    EXPECT_FALSE(HasBoundlessGap(track));
    track.edits = {{kDay / 2, Edit::kEmpty}, {kDay / 2 + 1, Edit::kEmpty}, {5000, 0}};
    EXPECT_TRUE(HasBoundlessGap(track));
    track.edits = {{kDay, Edit::kEmpty}, {5000, 0}, {kDay, Edit::kEmpty}};
    EXPECT_FALSE(HasBoundlessGap(track));
}

TEST(SilentGap, AnEditMayGoOnBehindTheMedia) {
    SoundTrack track = TrackOf({SpanOf(0, 0, {{5, 1000}})});
    track.edits = {{5000 + kDay, 0}};
    EXPECT_FALSE(HasBoundlessGap(track));
    track.edits = {{5001 + kDay, 0}};
    EXPECT_TRUE(HasBoundlessGap(track));
    track.edits = {{INT64_MAX, 6000}, {INT64_MAX, Edit::kEmpty}};
    EXPECT_TRUE(HasBoundlessGap(track));
}

TEST(SilentGap, ASilentTrackHasNone) {
    SoundTrack track = TrackOf({SpanOf(0, 0, {{5, 1000}})});
    track.packets = std::make_shared<NoPackets>(0);
    track.spans.clear();
    track.edits = {{9000 * kDay, Edit::kEmpty}};
    EXPECT_FALSE(HasBoundlessGap(track));
}

}  // namespace
}  // namespace toolbox::movies

#include <gtest/gtest.h>
#include <track/PacketTimeline.h>

#include <cstdint>

namespace {

using toolbox::movies::DurationRun;
using toolbox::movies::PacketSpan;
using toolbox::movies::PacketTimeline;

// Packets 10..19: three of 100 frames, two of none, four of 7, and one of 1.
PacketSpan MixedSpan() {
    PacketSpan span;
    span.firstPacket = 10;
    span.packetCount = 10;
    span.durations = {{10, 100, 0}, {13, 0, 300}, {15, 7, 300}, {19, 1, 328}};
    return span;
}

TEST(PacketTimeline, StartsAndLengths) {
    const PacketSpan span = MixedSpan();
    const PacketTimeline timeline(span);
    const std::int64_t starts[] = {0, 100, 200, 300, 300, 300, 307, 314, 321, 328, 329};
    const std::uint32_t lengths[] = {100, 100, 100, 0, 0, 7, 7, 7, 7, 1};
    for (std::uint32_t i = 0; i <= 10; ++i)
        EXPECT_EQ(starts[i], timeline.StartOf(10 + i)) << i;
    for (std::uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(lengths[i], timeline.FramesOf(10 + i)) << i;
    EXPECT_EQ(329, timeline.FrameCount());
    EXPECT_EQ(20U, timeline.EndPacket());
}

TEST(PacketTimeline, FindsThePacketOfEachFrame) {
    const PacketSpan span = MixedSpan();
    const PacketTimeline timeline(span);
    for (std::int64_t frame = 0; frame < timeline.FrameCount(); ++frame) {
        const std::uint32_t packet = timeline.PacketAt(frame);
        ASSERT_LE(timeline.StartOf(packet), frame);
        ASSERT_LT(frame, timeline.StartOf(packet) + timeline.FramesOf(packet));
    }
    EXPECT_EQ(20U, timeline.PacketAt(329));
    EXPECT_EQ(20U, timeline.PacketAt(INT64_MAX));
}

TEST(PacketTimeline, LastRunOfNoLengthIsTheEnd) {
    PacketSpan span = MixedSpan();
    span.durations = {{10, 100, 0}, {13, 0, 300}};
    const PacketTimeline timeline(span);
    EXPECT_EQ(300, timeline.FrameCount());
    EXPECT_EQ(12U, timeline.PacketAt(299));
    EXPECT_EQ(20U, timeline.PacketAt(300));
}

TEST(PacketTimeline, NoPackets) {
    const PacketSpan span;
    const PacketTimeline timeline(span);
    EXPECT_EQ(0, timeline.FrameCount());
    EXPECT_EQ(0U, timeline.PacketAt(0));
    EXPECT_EQ(0U, timeline.EndPacket());
}

}  // namespace

#include "track/PacketTimeline.h"

#include <algorithm>
#include <iterator>

namespace toolbox::movies {

const DurationRun* PacketTimeline::RunOf(std::uint32_t inPacket) const {
    const auto after = std::upper_bound(
        mSpan.durations.begin(), mSpan.durations.end(), inPacket,
        [](std::uint32_t inNumber, const DurationRun& inRun) { return inNumber < inRun.firstPacket; });
    return after == mSpan.durations.begin() ? nullptr : &*std::prev(after);
}

std::uint32_t PacketTimeline::PacketAt(std::int64_t inFrame) const {
    // Runs of no length share their first frame with their successor; the last of them is the one that has
    // it.
    const auto after = std::upper_bound(
        mSpan.durations.begin(), mSpan.durations.end(), inFrame,
        [](std::int64_t inNumber, const DurationRun& inRun) { return inNumber < inRun.firstFrame; });
    if (after == mSpan.durations.begin()) return mSpan.firstPacket;
    const DurationRun& run = *std::prev(after);
    const std::uint32_t runEnd = after == mSpan.durations.end() ? EndPacket() : after->firstPacket;
    if (run.framesPerPacket == 0) return runEnd;
    const std::int64_t index = (inFrame - run.firstFrame) / run.framesPerPacket;
    return index < runEnd - run.firstPacket ? run.firstPacket + static_cast<std::uint32_t>(index) : runEnd;
}

std::int64_t PacketTimeline::StartOf(std::uint32_t inPacket) const {
    const DurationRun* run = RunOf(inPacket);
    if (run == nullptr) return 0;
    return run->firstFrame + static_cast<std::int64_t>(inPacket - run->firstPacket) * run->framesPerPacket;
}

std::uint32_t PacketTimeline::FramesOf(std::uint32_t inPacket) const {
    const DurationRun* run = RunOf(inPacket);
    return run == nullptr ? 0 : run->framesPerPacket;
}

}  // namespace toolbox::movies

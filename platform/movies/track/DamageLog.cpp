#include "track/DamageLog.h"

#include <algorithm>
#include <iterator>

namespace toolbox::movies {

void DamageLog::Note(std::uint32_t inPacket, std::int64_t inSilencedFrames) {
    const auto after =
        std::upper_bound(mRuns.begin(), mRuns.end(), inPacket,
                         [](std::uint32_t inNumber, const Run& inRun) { return inNumber < inRun.first; });
    const bool hasBefore = after != mRuns.begin();
    const auto before = hasBefore ? std::prev(after) : after;
    if (hasBefore && inPacket <= before->last) return;

    const bool joinsBefore = hasBefore && before->last + 1 == inPacket;
    const bool joinsAfter = after != mRuns.end() && inPacket + 1 == after->first;
    if (joinsBefore && joinsAfter) {
        before->last = after->last;
        mRuns.erase(after);
    } else if (joinsBefore) {
        before->last = inPacket;
    } else if (joinsAfter) {
        after->first = inPacket;
    } else {
        mRuns.insert(after, Run{inPacket, inPacket});
    }
    ++mPacketCount;
    mSilencedFrameCount += inSilencedFrames;
}

}  // namespace toolbox::movies

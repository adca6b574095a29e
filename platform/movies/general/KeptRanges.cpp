#include "KeptRanges.h"

#include <toolbox/SoundReport.h>

#include <algorithm>

namespace toolbox::movies::general {

void KeptRanges::Add(std::int64_t inFrames, std::int64_t inSkipAtStart, std::int64_t inDiscardAtEnd) {
    mSkip += std::max<std::int64_t>(inSkipAtStart, 0);
    const std::int64_t skipped = std::min(mSkip, inFrames);
    mSkip -= skipped;
    const std::int64_t start = mFrames + skipped;
    const std::int64_t end = mFrames + inFrames - std::clamp<std::int64_t>(inDiscardAtEnd, 0, inFrames);
    mFrames += inFrames;
    if (start >= end) return;
    const bool continues = !mRanges.empty() && (mRanges.back().end == start || mRanges.size() >= kMaxRanges);
    if (continues) {
        // Past the limit this presents what lies between the ranges, too.
        mRanges.back().end = end;
    } else {
        mRanges.push_back({start, end});
    }
}

void KeptRanges::Describe(SoundTrack& outTrack) const {
    outTrack.edits.clear();
    for (const Range& range : mRanges)
        outTrack.edits.push_back({range.end - range.start, range.start});
    if (mRanges.empty()) outTrack.edits.push_back({0, 0});
    outTrack.framesTrimmedAtStart = mRanges.empty() ? mFrames : mRanges.front().start;
    outTrack.framesTrimmedAtEnd = mRanges.empty() ? 0 : mFrames - mRanges.back().end;
    const bool isTrimmed =
        outTrack.framesTrimmedAtStart != 0 || outTrack.framesTrimmedAtEnd != 0 || mRanges.size() > 1;
    outTrack.trimSource = isTrimmed ? kSoundTrimCodecHeader : kSoundTrimNone;
}

}  // namespace toolbox::movies::general

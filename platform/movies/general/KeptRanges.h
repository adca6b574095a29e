// What is left of a track's media when codecs' delay and padding are trimmed: the edits of its presentation.
#pragma once

#include "general/Component.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies::general {

// Fed packet by packet, in order. Lengths are media frames.
class KeptRanges {
  public:
    // inSkipAtStart may be longer than the packet: the rest of it is skipped from the packets that follow.
    void Add(std::int64_t inFrames, std::int64_t inSkipAtStart, std::int64_t inDiscardAtEnd);
    // Edits that keep everything else, and what was left out before the first and behind the last of them.
    // One edit of no length when nothing is left.
    void Describe(SoundTrack& outTrack) const;

  private:
    // Trims in the middle that follow each other by the thousand are not delay and padding but damage.
    static constexpr std::size_t kMaxRanges = 4096;

    struct Range {
        std::int64_t start;
        std::int64_t end;
    };
    std::vector<Range> mRanges;
    std::int64_t mFrames = 0;
    std::int64_t mSkip = 0;  // still to be left out
};

}  // namespace toolbox::movies::general

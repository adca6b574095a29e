#include "track/SilentGap.h"

#include "track/ExactTime.h"

#include <algorithm>
#include <vector>

namespace toolbox::movies {

namespace {

constexpr std::int64_t kSecondsOfADay = 86400;
constexpr std::int64_t kTimesAllPackets = 1000;
// What a packet decodes to at most where its format does not say.
constexpr std::int64_t kMaxPacketFrames = 65536;

std::int64_t Sum(std::int64_t inA, std::int64_t inB) {
    std::int64_t sum = 0;
    return __builtin_add_overflow(inA, inB, &sum) ? INT64_MAX : sum;
}

// Gaps of one length at equal distances, all in media frames: what remains of packets that are presented for
// longer than they sound, or the silence before a span.
struct Gaps {
    std::int64_t first = 0;  // where the first begins
    std::int64_t stride = 0;
    std::int64_t count = 0;
    std::int64_t length = 0;

    std::int64_t End() const { return first + stride * (count - 1) + length; }
};

class GapFinder {
  public:
    explicit GapFinder(const SoundTrack& inTrack)
        : mTrack(inTrack),
          mMediaEnd(
              inTrack.spans.empty() ? 0 : inTrack.spans.back().firstFrame + inTrack.spans.back().frameCount) {
        for (const PacketSpan& span : inTrack.spans)
            Look(span, [this](const Gaps&, std::int64_t inSound) { mSound = Sum(mSound, inSound); });
        const std::int64_t most = INT64_MAX / kTimesAllPackets;
        mLimit = std::max(kSecondsOfADay * std::int64_t{inTrack.SampleRateHz()},
                          std::min(mSound, most) * kTimesAllPackets);
    }

    bool Find() {
        CollectLongGaps();
        std::int64_t silence = 0;  // at the end of what was looked at
        for (const Edit& edit : mTrack.edits) {
            const bool isSilent = edit.mediaStart == Edit::kEmpty || edit.mediaStart >= mMediaEnd;
            const std::int64_t soundEnd = isSilent ? 0 : mMediaEnd - edit.mediaStart;
            const std::int64_t trailing = std::max<std::int64_t>(edit.frameCount - soundEnd, 0);
            silence = isSilent ? Sum(silence, edit.frameCount) : trailing;
            if (silence > mLimit || (!isSilent && Shows(edit))) return true;
        }
        return false;
    }

  private:
    // Calls inSee with what is silent in each run of packets, and for how many frames the run sounds.
    template <typename See>
    void Look(const PacketSpan& inSpan, See inSee) const {
        const SoundFormat& format = mTrack.formats[inSpan.format];
        const auto toMedia = [&](std::int64_t inFrames) {
            return ScaleRounded(inFrames, mTrack.SampleRateHz(), format.sampleRateHz);
        };
        const std::int64_t longest =
            format.nominalPacketFrames != 0 ? format.nominalPacketFrames : kMaxPacketFrames;
        const auto& runs = inSpan.durations;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const std::uint32_t end =
                i + 1 < runs.size() ? runs[i + 1].firstPacket : inSpan.firstPacket + inSpan.packetCount;
            const std::int64_t count = end - runs[i].firstPacket;
            const std::int64_t sounding = std::min<std::int64_t>(runs[i].framesPerPacket, longest);
            Gaps gaps;
            gaps.first = inSpan.firstFrame + toMedia(runs[i].firstFrame + sounding);
            gaps.stride = toMedia(runs[i].framesPerPacket);
            gaps.count = count;
            gaps.length = toMedia(runs[i].framesPerPacket - sounding);
            inSee(gaps, toMedia(sounding * count));
        }
    }

    void CollectLongGaps() {
        std::int64_t end = 0;
        for (const PacketSpan& span : mTrack.spans) {
            if (span.firstFrame - end > mLimit) mLong.push_back({end, 0, 1, span.firstFrame - end});
            Look(span, [this](const Gaps& inGaps, std::int64_t) {
                if (inGaps.length > mLimit && inGaps.count > 0) mLong.push_back(inGaps);
            });
            end = span.firstFrame + span.frameCount;
        }
    }

    // Whether so much of a long gap is in what an edit presents.
    bool Shows(const Edit& inEdit) const {
        const std::int64_t start = inEdit.mediaStart;
        const std::int64_t end = Sum(start, inEdit.frameCount);
        auto gaps =
            std::upper_bound(mLong.begin(), mLong.end(), start,
                             [](std::int64_t inFrame, const Gaps& inGaps) { return inFrame < inGaps.End(); });
        // The edit may begin within the first of them and end within the last; what lies between is whole.
        for (int seen = 0; seen < 2 && gaps != mLong.end(); ++seen, ++gaps) {
            const std::int64_t before =
                gaps->stride == 0 ? 0 : std::max<std::int64_t>((start - gaps->first) / gaps->stride, 0);
            for (std::int64_t i = before; i < std::min(before + 3, gaps->count); ++i) {
                const std::int64_t first = gaps->first + i * gaps->stride;
                if (std::min(first + gaps->length, end) - std::max(first, start) > mLimit) return true;
            }
        }
        return false;
    }

    const SoundTrack& mTrack;
    std::int64_t mMediaEnd;
    std::int64_t mSound = 0;
    std::int64_t mLimit = 0;
    std::vector<Gaps> mLong;  // in media order, each longer than the limit
};

}  // namespace

bool HasBoundlessGap(const SoundTrack& inTrack) {
    if (inTrack.packets == nullptr || inTrack.packets->PacketCount() == 0) return false;
    return GapFinder(inTrack).Find();
}

}  // namespace toolbox::movies

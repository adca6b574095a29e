#include "MPEG4Spans.h"

#include "track/ExactTime.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace toolbox::movies {
namespace {

// Durations that are no whole number of frames are spread out packet by packet, as far as this many runs go.
constexpr std::size_t kMaxUnevenRuns = std::size_t{1} << 20;

class SpanMaker {
  public:
    SpanMaker(const MPEG4Media& inMedia, std::uint32_t inPacketCount, std::uint32_t inTimeScale,
              const std::vector<SoundFormat>& inFormats)
        : mMedia(inMedia), mPacketCount(inPacketCount), mTimeScale(inTimeScale), mFormats(inFormats) {}

    bool Make(std::vector<PacketSpan>& outSpans) {
        std::size_t time = 0;
        std::size_t format = 0;
        for (std::uint32_t packet = 0; packet < mPacketCount;) {
            const std::uint32_t timeEnd = EndOf(mMedia.times, time);
            const std::uint32_t formatEnd = EndOf(mMedia.formats, format);
            if (IsNewSpan(time, packet)) BeginSpan(time, format, packet);
            const std::uint32_t end = std::min(timeEnd, formatEnd);
            if (!AddPackets(time, packet, end - packet)) return false;
            if (timeEnd == end) ++time;
            if (formatEnd == end) ++format;
            mIsFormatNew = formatEnd == end;
            packet = end;
        }
        EndSpan();
        outSpans = std::move(mSpans);
        return !mIsTooLong;
    }

  private:
    template <typename Run>
    std::uint32_t EndOf(const std::vector<Run>& inRuns, std::size_t inRun) const {
        return inRun + 1 < inRuns.size() ? inRuns[inRun + 1].firstPacket : mPacketCount;
    }

    // Whether the packets of a time run start later than those before it ended.
    bool HasGapBefore(std::size_t inTime, std::uint32_t inPacket) const {
        if (inTime == 0 || inTime >= mMedia.times.size() || mMedia.times[inTime].firstPacket != inPacket)
            return false;
        const auto& before = mMedia.times[inTime - 1];
        const std::int64_t endUnits =
            before.startUnits + std::int64_t{inPacket - before.firstPacket} * std::int64_t{before.deltaUnits};
        return mMedia.times[inTime].startUnits > endUnits;
    }

    bool IsNewSpan(std::size_t inTime, std::uint32_t inPacket) const {
        return mSpans.empty() || mIsFormatNew || HasGapBefore(inTime, inPacket);
    }

    void BeginSpan(std::size_t inTime, std::size_t inFormat, std::uint32_t inPacket) {
        EndSpan();
        PacketSpan span;
        span.firstPacket = inPacket;
        const std::uint32_t description =
            inFormat < mMedia.formats.size() ? mMedia.formats[inFormat].description : 0;
        span.format = std::min(description, static_cast<std::uint32_t>(mFormats.size() - 1));
        span.firstFrame = mEndFrame;
        if (HasGapBefore(inTime, inPacket)) {
            const std::int64_t units = mMedia.times[inTime].startUnits - mMedia.startUnits;
            span.firstFrame =
                std::max(span.firstFrame, ScaleRounded(units, mFormats.front().sampleRateHz, mTimeScale));
        }
        mSpans.push_back(std::move(span));
        mSpanFrames = 0;
        mCarry = mTimeScale / 2;
    }

    void EndSpan() {
        if (mSpans.empty()) return;
        PacketSpan& span = mSpans.back();
        const std::uint32_t spanRateHz = mFormats[span.format].sampleRateHz;
        const std::uint32_t rateHz = mFormats.front().sampleRateHz;
        span.frameCount = spanRateHz == rateHz ? mSpanFrames : ScaleRounded(mSpanFrames, rateHz, spanRateHz);
        if (span.firstFrame > kMaxMediaLength - std::min(span.frameCount, kMaxMediaLength)) mIsTooLong = true;
        mEndFrame = mIsTooLong ? span.firstFrame : span.firstFrame + span.frameCount;
    }

    bool AddPackets(std::size_t inTime, std::uint32_t inPacket, std::uint32_t inCount) {
        mSpans.back().packetCount += inCount;
        const SoundFormat& format = mFormats[mSpans.back().format];
        if (inTime >= mMedia.times.size())
            return format.nominalPacketFrames != 0 && AddRun(inPacket, inCount, format.nominalPacketFrames);
        const std::uint32_t deltaUnits = mMedia.times[inTime].deltaUnits;
        if (MeansNominal(format, deltaUnits)) {
            mCarry = mTimeScale / 2;
            return AddRun(inPacket, inCount, format.nominalPacketFrames);
        }
        const std::uint64_t scaled = std::uint64_t{deltaUnits} * format.sampleRateHz;
        if (scaled % mTimeScale == 0 || mUnevenRuns > kMaxUnevenRuns)
            return AddRun(inPacket, inCount, (scaled + (scaled % mTimeScale != 0 ? mCarry : 0)) / mTimeScale);
        return AddUneven(inPacket, inCount, scaled);
    }

    // Within one tick of the packet's nominal length, where the time scale has no exact number for that.
    bool MeansNominal(const SoundFormat& inFormat, std::uint32_t inDeltaUnits) const {
        const std::uint64_t nominal = std::uint64_t{inFormat.nominalPacketFrames} * mTimeScale;
        if (nominal == 0 || nominal % inFormat.sampleRateHz == 0) return false;
        const std::uint64_t told = std::uint64_t{inDeltaUnits} * inFormat.sampleRateHz;
        return (told > nominal ? told - nominal : nominal - told) <= inFormat.sampleRateHz;
    }

    bool AddUneven(std::uint32_t inPacket, std::uint32_t inCount, std::uint64_t inScaledUnits) {
        for (std::uint32_t i = 0; i < inCount; ++i) {
            if (++mUnevenRuns > kMaxUnevenRuns)
                return AddRun(inPacket + i, inCount - i, (inScaledUnits + mCarry) / mTimeScale);
            const std::uint64_t total = inScaledUnits + mCarry;
            mCarry = total % mTimeScale;
            if (!AddRun(inPacket + i, 1, total / mTimeScale)) return false;
        }
        return true;
    }

    bool AddRun(std::uint32_t inPacket, std::uint32_t inCount, std::uint64_t inFramesPerPacket) {
        if (inFramesPerPacket > std::numeric_limits<std::uint32_t>::max()) return false;
        const auto framesPerPacket = static_cast<std::uint32_t>(inFramesPerPacket);
        auto& durations = mSpans.back().durations;
        if (durations.empty() || durations.back().framesPerPacket != framesPerPacket)
            durations.push_back({inPacket, framesPerPacket, mSpanFrames});
        const std::uint64_t frameCount = std::uint64_t{inCount} * framesPerPacket;
        if (frameCount > static_cast<std::uint64_t>(kMaxMediaLength - mSpanFrames)) return false;
        mSpanFrames += static_cast<std::int64_t>(frameCount);
        return true;
    }

    const MPEG4Media& mMedia;
    const std::uint32_t mPacketCount;
    const std::uint32_t mTimeScale;
    const std::vector<SoundFormat>& mFormats;
    std::vector<PacketSpan> mSpans;
    std::int64_t mSpanFrames = 0;  // of the span being made, at its own rate
    std::int64_t mEndFrame = 0;    // of the spans made
    std::uint64_t mCarry = 0;      // parts of a frame owed to the next uneven packet, in 1/mTimeScale
    std::size_t mUnevenRuns = 0;
    bool mIsFormatNew = false;
    bool mIsTooLong = false;
};

}  // namespace

std::uint32_t EffectiveTimeScale(const MPEG4Media& inMedia, const SoundFormat& inFormat,
                                 std::uint32_t inCoreRateHz) {
    const std::uint32_t rateHz = inFormat.sampleRateHz;
    if (inMedia.times.empty() || inCoreRateHz == 0 || rateHz != inCoreRateHz * 2) return inMedia.timeScale;
    const std::uint32_t deltaUnits = inMedia.times.front().deltaUnits;
    if (inMedia.timeScale == inCoreRateHz && deltaUnits == inFormat.nominalPacketFrames) return rateHz;
    if (inMedia.timeScale == rateHz && deltaUnits * 2 == inFormat.nominalPacketFrames) return inCoreRateHz;
    return inMedia.timeScale;
}

bool MakeSpans(const MPEG4Media& inMedia, std::uint32_t inPacketCount, std::uint32_t inTimeScale,
               const std::vector<SoundFormat>& inFormats, std::vector<PacketSpan>& outSpans) {
    assert(inTimeScale > 0 && !inFormats.empty());
    return SpanMaker(inMedia, inPacketCount, inTimeScale, inFormats).Make(outSpans);
}

}  // namespace toolbox::movies

#include "Presentation.h"

#include "track/ExactTime.h"
#include "track/PacketTimeline.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <iterator>

namespace toolbox::movies {

Presentation::Presentation(const SoundTrack& inTrack, DamageLog& inDamage, SampleForm inForm,
                           std::uint32_t inCellSeconds)
    : mTrack(inTrack), mDamage(inDamage), mForm(inForm), mCellSeconds(inCellSeconds) {
    mEditEnds.reserve(inTrack.edits.size());
    std::int64_t end = 0;
    for (const Edit& edit : inTrack.edits) {
        if (__builtin_add_overflow(end, edit.frameCount, &end)) end = INT64_MAX;
        mEditEnds.push_back(end);
    }
    if (inTrack.packets != nullptr) mPackets = inTrack.packets->NewReader();
}

OSStatus Presentation::Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) {
    auto end = std::upper_bound(mEditEnds.begin(), mEditEnds.end(), inFirst);
    OSStatus status = noErr;
    for (; status == noErr && inCount > 0 && end != mEditEnds.end(); ++end) {
        const Edit& edit = mTrack.edits[static_cast<std::size_t>(end - mEditEnds.begin())];
        const std::int64_t count = std::min(inCount, *end - inFirst);
        if (edit.mediaStart == Edit::kEmpty) {
            ioSink.PutSilence(static_cast<std::size_t>(count));
        } else {
            const std::int64_t editStart = *end - edit.frameCount;
            status = ReadMedia(edit.mediaStart + (inFirst - editStart), count, ioSink);
        }
        inFirst += count;
        inCount -= count;
    }
    if (status == noErr) ioSink.PutSilence(static_cast<std::size_t>(inCount));
    return status;
}

// The span that a media frame belongs to, null where there is nothing to hear: before the next span, and
// behind the last. *ioCount becomes less where the stretch from there on ends earlier.
const PacketSpan* Presentation::SpanAt(std::int64_t inFirst, std::int64_t* ioCount) const {
    auto next = std::upper_bound(
        mTrack.spans.begin(), mTrack.spans.end(), inFirst,
        [](std::int64_t inFrame, const PacketSpan& inSpan) { return inFrame < inSpan.firstFrame; });
    if (next != mTrack.spans.begin()) --next;
    while (next != mTrack.spans.end() && inFirst >= next->firstFrame + next->frameCount)
        ++next;
    if (next == mTrack.spans.end()) return nullptr;
    const bool isSilent = inFirst < next->firstFrame;
    const std::int64_t end = isSilent ? next->firstFrame : next->firstFrame + next->frameCount;
    *ioCount = std::min(*ioCount, end - inFirst);
    return isSilent ? nullptr : &*next;
}

OSStatus Presentation::ReadMedia(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) {
    while (inCount > 0) {
        std::int64_t count = inCount;
        const PacketSpan* const span = SpanAt(inFirst, &count);
        if (span == nullptr) {
            ioSink.PutSilence(static_cast<std::size_t>(count));
        } else {
            const OSStatus status = SourceOf(*span).Read(inFirst - span->firstFrame, count, ioSink);
            if (status != noErr) return status;
        }
        inFirst += count;
        inCount -= count;
    }
    return noErr;
}

OSStatus Presentation::Pass(std::int64_t inFirst, std::int64_t* outCount) {
    const auto end = std::upper_bound(mEditEnds.begin(), mEditEnds.end(), inFirst);
    const Edit& edit = mTrack.edits[static_cast<std::size_t>(end - mEditEnds.begin())];
    *outCount = *end - inFirst;
    if (edit.mediaStart == Edit::kEmpty) return noErr;
    const std::int64_t mediaFrame = edit.mediaStart + edit.frameCount - *outCount;
    const PacketSpan* const span = SpanAt(mediaFrame, outCount);
    if (span == nullptr) return noErr;
    SourceOf(*span);
    // At the span's own rate: where that is another, its sound need not be resampled for this.
    const std::int64_t rateHz = mTrack.formats[span->format].sampleRateHz;
    const std::int64_t first = ScaleRounded(mediaFrame - span->firstFrame, rateHz, mTrack.SampleRateHz());
    const std::int64_t most = std::max<std::int64_t>(
        ScaleRounded(mediaFrame - span->firstFrame + *outCount, rateHz, mTrack.SampleRateHz()) - first, 1);
    std::int64_t passed = 0;
    const OSStatus status = mSpanReader->Pass(first, most, &passed);
    if (status != noErr || passed == most) return status;
    // Rounded up: going on from there must not take the decoder back.
    const __int128 ticks = static_cast<__int128>(first + passed) * mTrack.SampleRateHz() + rateHz - 1;
    const auto mediaPassed = static_cast<std::int64_t>(ticks / rateHz) - (mediaFrame - span->firstFrame);
    *outCount = std::clamp<std::int64_t>(mediaPassed, 1, *outCount);
    return noErr;
}

FrameSource& Presentation::SourceOf(const PacketSpan& inSpan) {
    if (mSpan != &inSpan) {
        const SoundFormat& format = mTrack.formats[inSpan.format];
        const bool isResampled = format.sampleRateHz != mTrack.SampleRateHz();
        mResampler.reset();
        mSpan = nullptr;
        mSpanReader.emplace(mTrack, inSpan, *mPackets, mDamage, isResampled ? SampleForm::kFloats : mForm,
                            mCellSeconds);
        if (isResampled) {
            mResampler.emplace(*mSpanReader, PacketTimeline(inSpan).FrameCount(), format.sampleRateHz,
                               mTrack.SampleRateHz(), inSpan.frameCount);
        }
        mSpan = &inSpan;
    }
    if (mResampler.has_value()) return *mResampler;
    return *mSpanReader;
}

}  // namespace toolbox::movies

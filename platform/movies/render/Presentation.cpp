#include "render/Presentation.h"

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

OSStatus Presentation::ReadMedia(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) {
    auto next = std::upper_bound(
        mTrack.spans.begin(), mTrack.spans.end(), inFirst,
        [](std::int64_t inFrame, const PacketSpan& inSpan) { return inFrame < inSpan.firstFrame; });
    if (next != mTrack.spans.begin()) --next;
    while (inCount > 0) {
        // Before the next span, and behind the last, there is nothing to hear.
        while (next != mTrack.spans.end() && inFirst >= next->firstFrame + next->frameCount)
            ++next;
        const bool isSilent = next == mTrack.spans.end() || inFirst < next->firstFrame;
        const std::int64_t stretchEnd = next == mTrack.spans.end() ? inFirst + inCount
                                        : isSilent                 ? next->firstFrame
                                                                   : next->firstFrame + next->frameCount;
        const std::int64_t count = std::min(inCount, stretchEnd - inFirst);
        if (isSilent) {
            ioSink.PutSilence(static_cast<std::size_t>(count));
        } else {
            const OSStatus status = SourceOf(*next).Read(inFirst - next->firstFrame, count, ioSink);
            if (status != noErr) return status;
        }
        inFirst += count;
        inCount -= count;
    }
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

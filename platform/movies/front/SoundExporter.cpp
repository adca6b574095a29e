#include "SoundExporter.h"

#include "SoundDescription.h"
#include "SoundResource.h"
#include "render/SampleConversion.h"
#include "track/ExactTime.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <limits>
#include <new>
#include <span>

namespace toolbox::movies {

namespace {

constexpr std::int64_t kMaxFrames =
    (std::numeric_limits<Size>::max() - static_cast<std::int64_t>(kSoundResourceHeadBytes)) /
    static_cast<std::int64_t>(kBytesPerStoredFrame);

struct FrameRange {
    std::int64_t first;
    std::int64_t count;
};

// The frames of a stretch of movie time, of those that there are. The stretch's two edges are rounded by the
// same rule, so stretches that touch give frames that touch.
FrameRange FramesIn(std::int64_t inStart, std::int64_t inDuration, TimeScale inTimeScale,
                    std::uint32_t inRateHz, std::int64_t inFrameCount) {
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const std::int64_t end = inDuration > most - inStart ? most : inStart + inDuration;
    const std::int64_t firstFrame = std::min(ScaleRounded(inStart, inRateHz, inTimeScale), inFrameCount);
    const std::int64_t endFrame = std::min(ScaleRounded(end, inRateHz, inTimeScale), inFrameCount);
    return {firstFrame, endFrame - firstFrame};
}

}  // namespace

OSStatus SoundExporter::SetFormat(Handle inDescription) {
    if (GetHandleSize(inDescription) < static_cast<Size>(SoundDescription::kSizeBytes)) return paramErr;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(*inDescription);
    const SoundDescription description = DecodeSoundDescription(
        std::span<const std::uint8_t, SoundDescription::kSizeBytes>(bytes, SoundDescription::kSizeBytes));
    if (description.sizeBytes < SoundDescription::kSizeBytes) return paramErr;
    const bool isKnown = description.dataFormat == FourChars("twos") && description.version == 0 &&
                         description.channelCount == 2 && description.bitsPerSample == 16 &&
                         (description.sampleRate & 0xFFFF) == 0 && description.sampleRate != 0;
    if (!isKnown) return badFormat;
    mRateHz = description.sampleRate >> 16;
    return noErr;
}

std::uint32_t SoundExporter::RateFor(const OpaqueTrack* inTrack) const {
    return mRateHz != 0 ? mRateHz : StreamRateHz(inTrack);
}

SoundRenderer& SoundExporter::RendererOf(const OpaqueMedia& inMedia, std::uint32_t inRateHz) {
    if (mRenderer == nullptr || mRenderer->Track() != inMedia.sound.get() ||
        mRenderer->RateHz() != inRateHz) {
        mRenderer.reset();
        mRenderer = std::make_unique<SoundRenderer>(inMedia.sound, inMedia.damage, inRateHz);
    }
    return *mRenderer;
}

OSStatus SoundExporter::Export(Handle ioHandle, const OpaqueMovie& inMovie, const OpaqueTrack* inTrack,
                               std::int64_t inStart, std::int64_t inDuration) {
    const OpaqueTrack* track = inTrack != nullptr ? inTrack : inMovie.FirstSoundTrack();
    const std::uint32_t rateHz = RateFor(track);
    SoundRenderer* renderer = nullptr;
    FrameRange frames = {0, 0};
    if (track != nullptr && track->media.sound != nullptr) {
        renderer = &RendererOf(track->media, rateHz);
        frames = FramesIn(inStart, inDuration, inMovie.timeScale, rateHz, renderer->FrameCount());
    }
    if (frames.count > kMaxFrames) return memFullErr;

    const std::size_t sizeBytes =
        kSoundResourceHeadBytes + static_cast<std::size_t>(frames.count) * kBytesPerStoredFrame;
    SetHandleSize(ioHandle, static_cast<Size>(sizeBytes));
    if (MemError() != noErr) return MemError();
    // Nothing below resizes a handle, so the block stays where it is.
    auto* bytes = reinterpret_cast<std::uint8_t*>(*ioHandle);
    PutSoundResourceHead(rateHz, static_cast<std::uint32_t>(frames.count), bytes);
    if (renderer == nullptr) return noErr;
    const OSStatus status = renderer->Render(frames.first, frames.count, bytes + kSoundResourceHeadBytes);
    if (status != noErr) Forget();
    return status;
}

namespace {

bool HasTrack(const OpaqueMovie& inMovie, Track inTrack) {
    return std::any_of(inMovie.tracks.begin(), inMovie.tracks.end(),
                       [inTrack](const OpaqueTrack& inOne) { return &inOne == inTrack; });
}

// noErr, or why inInstance is no exporter.
OSStatus FindExporter(ComponentInstance inInstance, SoundExporter*& outExporter) {
    if (inInstance == nullptr) return badComponentInstance;
    outExporter = dynamic_cast<SoundExporter*>(inInstance);
    return outExporter == nullptr ? badComponentSelector : noErr;
}

}  // namespace

}  // namespace toolbox::movies

ComponentResult MovieExportSetSampleDescription(MovieExportComponent inExporter, Handle inDescription,
                                                OSType inMediaType) {
    toolbox::movies::SoundExporter* exporter = nullptr;
    const OSStatus status = toolbox::movies::FindExporter(inExporter, exporter);
    if (status != noErr) return status;
    if (inDescription == nullptr || inMediaType != SoundMediaType) return paramErr;
    return exporter->SetFormat(inDescription);
}

ComponentResult MovieExportToHandle64(MovieExportComponent inExporter, Handle ioHandle, Movie inMovie,
                                      Track inTrack, SInt64 inStart, SInt64 inDuration) {
    toolbox::movies::SoundExporter* exporter = nullptr;
    const OSStatus status = toolbox::movies::FindExporter(inExporter, exporter);
    if (status != noErr) return status;
    if (ioHandle == nullptr || inMovie == nullptr || inStart < 0 || inDuration < 0) return paramErr;
    if (inTrack != nullptr && !toolbox::movies::HasTrack(*inMovie, inTrack)) return paramErr;
    try {
        return exporter->Export(ioHandle, *inMovie, inTrack, inStart, inDuration);
    } catch (const std::bad_alloc&) {
        exporter->Forget();
        return memFullErr;
    }
}

ComponentResult MovieExportToHandle(MovieExportComponent inExporter, Handle ioHandle, Movie inMovie,
                                    Track inTrack, TimeValue inStart, TimeValue inDuration) {
    return MovieExportToHandle64(inExporter, ioHandle, inMovie, inTrack, inStart, inDuration);
}

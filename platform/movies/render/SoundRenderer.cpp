#include "render/SoundRenderer.h"

#include "Presentation.h"
#include "track/ExactTime.h"

#include <toolbox/MacErrors.h>

#include <utility>

namespace toolbox::movies {

SoundRenderer::SoundRenderer(std::shared_ptr<const SoundTrack> inTrack, std::shared_ptr<DamageLog> inDamage,
                             std::uint32_t inRateHz, std::uint32_t inCellSeconds)
    : mTrack(std::move(inTrack)),
      mDamage(std::move(inDamage)),
      mRateHz(inRateHz),
      mPresentation(std::make_unique<Presentation>(
          *mTrack, *mDamage, inRateHz == mTrack->SampleRateHz() ? SampleForm::kShorts : SampleForm::kFloats,
          inCellSeconds)),
      mFrameCount(ScaleRounded(mPresentation->FrameCount(), inRateHz, mTrack->SampleRateHz())) {
    if (inRateHz != mTrack->SampleRateHz()) {
        mResampler = std::make_unique<Resampler>(*mPresentation, mPresentation->FrameCount(),
                                                 mTrack->SampleRateHz(), inRateHz, mFrameCount);
    }
}

SoundRenderer::~SoundRenderer() = default;

OSStatus SoundRenderer::Render(std::int64_t inFirst, std::int64_t inCount, std::uint8_t* outBytes) {
    if (mTrack->formats.front().decodable != noErr) return mTrack->formats.front().decodable;
    if (inFirst + inCount >= mFrameCount) mDamage->NoteEnd();
    FrameSink sink(outBytes);
    if (mResampler != nullptr) return mResampler->Read(inFirst, inCount, sink);
    return mPresentation->Read(inFirst, inCount, sink);
}

OSStatus SoundRenderer::Pass(std::int64_t inFirst, std::int64_t* outCount) {
    if (mTrack->formats.front().decodable != noErr) return mTrack->formats.front().decodable;
    return mPresentation->Pass(inFirst, outCount);
}

}  // namespace toolbox::movies

#include "render/SoundRenderer.h"

#include "track/ExactTime.h"

#include <toolbox/MacErrors.h>

#include <utility>

namespace toolbox::movies {

SoundRenderer::SoundRenderer(std::shared_ptr<const SoundTrack> inTrack, std::shared_ptr<DamageLog> inDamage,
                             std::uint32_t inRateHz, std::uint32_t inCellSeconds)
    : mTrack(std::move(inTrack)),
      mDamage(std::move(inDamage)),
      mRateHz(inRateHz),
      mPresentation(*mTrack, *mDamage,
                    inRateHz == mTrack->SampleRateHz() ? SampleForm::kShorts : SampleForm::kFloats,
                    inCellSeconds),
      mFrameCount(ScaleRounded(mPresentation.FrameCount(), inRateHz, mTrack->SampleRateHz())) {
    if (inRateHz != mTrack->SampleRateHz()) {
        mResampler.emplace(mPresentation, mPresentation.FrameCount(), mTrack->SampleRateHz(), inRateHz,
                           mFrameCount);
    }
}

OSStatus SoundRenderer::Render(std::int64_t inFirst, std::int64_t inCount, std::uint8_t* outBytes) {
    if (mTrack->formats.front().decodable != noErr) return mTrack->formats.front().decodable;
    FrameSink sink(outBytes);
    if (mResampler.has_value()) return mResampler->Read(inFirst, inCount, sink);
    return mPresentation.Read(inFirst, inCount, sink);
}

}  // namespace toolbox::movies

// Sound as a function of position: frames [a, b) of a track's presentation are the same bytes however they
// are asked for, in any cut, in any order, after anything else.
#pragma once

#include "track/DamageLog.h"
#include "render/Presentation.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace toolbox::movies {

// For one thread at a time.
class SoundRenderer {
  public:
    // How far apart the places are where decoding can start, in tracks that allow it. Long enough that
    // starting costs nothing beside decoding, short enough that a window in the middle comes at once.
    static constexpr std::uint32_t kCellSeconds = 64;

    // Shares both, so they outlive their movie if need be. inRateHz > 0: of the frames rendered. Throws
    // std::bad_alloc.
    SoundRenderer(std::shared_ptr<const SoundTrack> inTrack, std::shared_ptr<DamageLog> inDamage,
                  std::uint32_t inRateHz, std::uint32_t inCellSeconds = kCellSeconds);

    const SoundTrack* Track() const { return mTrack.get(); }
    std::uint32_t RateHz() const { return mRateHz; }
    std::int64_t FrameCount() const { return mFrameCount; }

    // Stores the frames at outBytes, four bytes each (see SampleConversion.h).
    //   inFirst, inCount  >= 0, within FrameCount()
    // After a failure the renderer is good for nothing more: badFormat, noCodecErr, memFullErr. Throws
    // std::bad_alloc.
    [[nodiscard]] OSStatus Render(std::int64_t inFirst, std::int64_t inCount, std::uint8_t* outBytes);

  private:
    std::shared_ptr<const SoundTrack> mTrack;
    std::shared_ptr<DamageLog> mDamage;
    std::uint32_t mRateHz;
    Presentation mPresentation;
    std::int64_t mFrameCount;
    std::optional<Resampler> mResampler;  // when the rate wanted is not the track's
};

}  // namespace toolbox::movies

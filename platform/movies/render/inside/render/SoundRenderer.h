// Sound as a function of position: frames [a, b) of a track's presentation are the same bytes however they
// are asked for, in any cut, in any order, after anything else.
#pragma once

#include "track/DamageLog.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <memory>

namespace toolbox::movies {

class Presentation;
class Resampler;

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
    ~SoundRenderer();
    SoundRenderer(const SoundRenderer&) = delete;
    SoundRenderer& operator=(const SoundRenderer&) = delete;

    const SoundTrack* Track() const { return mTrack.get(); }
    std::uint32_t RateHz() const { return mRateHz; }
    std::int64_t FrameCount() const { return mFrameCount; }

    // Stores the frames at outBytes, four bytes each (see SampleConversion.h).
    //   inFirst, inCount  >= 0, within FrameCount()
    // After a failure the renderer is good for nothing more: badFormat, noCodecErr, memFullErr. Throws
    // std::bad_alloc.
    [[nodiscard]] OSStatus Render(std::int64_t inFirst, std::int64_t inCount, std::uint8_t* outBytes);

    // Decodes from a frame on and renders nothing: after a walk over the whole track the damage is known.
    //   inFirst    0 to the track's FrameCount() - 1, at the track's rate
    //   *outCount  how many frames were passed, at least 1: the sound of a packet, or silence of any length
    // Fails as Render does.
    [[nodiscard]] OSStatus Pass(std::int64_t inFirst, std::int64_t* outCount);

  private:
    std::shared_ptr<const SoundTrack> mTrack;
    std::shared_ptr<DamageLog> mDamage;
    std::uint32_t mRateHz;
    std::unique_ptr<Presentation> mPresentation;
    std::int64_t mFrameCount;
    std::unique_ptr<Resampler> mResampler;  // when the rate wanted is not the track's
};

}  // namespace toolbox::movies

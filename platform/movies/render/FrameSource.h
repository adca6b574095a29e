// The two ends of a rendering step: a source that gives any stretch of its frames, and a sink that takes
// frames in order.
#pragma once

#include "render/SampleConversion.h"

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace toolbox::movies {

// In which form samples travel between the steps. Shorts are final; floats still go through a resampler.
enum class SampleForm { kShorts, kFloats };

// Takes stereo frames, either as the bytes of a sound resource or as two planes of floats; both borrowed,
// with room for all that is put. A mono plane is given twice.
class FrameSink {
  public:
    explicit FrameSink(std::uint8_t* outBytes) : mBytes(outBytes) {}
    FrameSink(float* outLeft, float* outRight) : mLeft(outLeft), mRight(outRight) {}

    void PutFloats(const float* inLeft, const float* inRight, std::size_t inFrameCount) {
        if (mBytes != nullptr) {
            StoreFloatFrames(inLeft, inRight, inFrameCount, mBytes);
        } else {
            std::memcpy(mLeft, inLeft, inFrameCount * sizeof(float));
            std::memcpy(mRight, inRight, inFrameCount * sizeof(float));
        }
        Advance(inFrameCount);
    }

    // For sinks of bytes only.
    void PutShorts(const std::int16_t* inLeft, const std::int16_t* inRight, std::size_t inFrameCount) {
        StoreShortFrames(inLeft, inRight, inFrameCount, mBytes);
        Advance(inFrameCount);
    }

    void PutSilence(std::size_t inFrameCount) {
        if (mBytes != nullptr) {
            std::memset(mBytes, 0, inFrameCount * kBytesPerStoredFrame);
        } else {
            std::memset(mLeft, 0, inFrameCount * sizeof(float));
            std::memset(mRight, 0, inFrameCount * sizeof(float));
        }
        Advance(inFrameCount);
    }

  private:
    void Advance(std::size_t inFrameCount) {
        if (mBytes != nullptr) {
            mBytes += inFrameCount * kBytesPerStoredFrame;
        } else {
            mLeft += inFrameCount;
            mRight += inFrameCount;
        }
    }

    std::uint8_t* mBytes = nullptr;
    float* mLeft = nullptr;
    float* mRight = nullptr;
};

// Frames from 0 on. What a frame holds depends on its number alone, not on what was read before.
class FrameSource {
  public:
    virtual ~FrameSource() = default;
    // Puts exactly inCount frames (silence beyond the end), or fails: then the source is good for nothing
    // more. Throws std::bad_alloc.
    [[nodiscard]] virtual OSStatus Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) = 0;
};

}  // namespace toolbox::movies

// Decoded sound that is not in the common form (planes of float, one or two channels, at the span's rate)
// brought to one or two planes of the wanted form and rate. Sound that is resampled comes out a little later
// than it goes in.
#pragma once

#include "FrameSource.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct AVFrame;
struct SwrContext;

namespace toolbox::movies {

class FrameConverter {
  public:
    FrameConverter(std::uint32_t inRateHz, SampleForm inForm) : mRateHz(inRateHz), mForm(inForm) {}
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    // Forgets the sound it holds and what it was set up for.
    void Reset();
    // Whether inFrame continues what it was set up for.
    bool Accepts(const AVFrame& inFrame) const;
    bool IsResampling() const { return mSwr != nullptr && mFrameRateHz != mRateHz; }

    // Converts inFrame, after Reset any frame, else one it accepts. noErr, memFullErr, or badFormat: this
    // kind of frame cannot be converted. Throws std::bad_alloc.
    [[nodiscard]] OSStatus Push(const AVFrame& inFrame);
    // Lets out what resampling holds back, and is then reset but for the frames available.
    [[nodiscard]] OSStatus Flush();

    // Frames ready, first to last. Left and right are the same plane for mono.
    std::size_t Available() const { return mCount; }
    const void* Left() const { return Plane(0); }
    const void* Right() const { return Plane(mPlaneCount - 1); }
    // Takes the first frames away; what was read of them stays good until the next Push or Flush.
    void Drop(std::size_t inFrameCount);
    // Forgets all but the first frames.
    void CutTo(std::size_t inFrameCount);

  private:
    struct Deleter {
        void operator()(SwrContext* inContext) const;
    };
    [[nodiscard]] OSStatus SetUp(const AVFrame& inFrame);
    [[nodiscard]] OSStatus Convert(const std::uint8_t** inPlanes, int inFrameCount);
    const std::uint8_t* Plane(int inIndex) const {
        return mPlanes[inIndex].data() + mFirst * mBytesPerSample;
    }

    std::uint32_t mRateHz;
    SampleForm mForm;
    std::unique_ptr<SwrContext, Deleter> mSwr;
    std::uint32_t mFrameRateHz = 0;  // of the frames going in, as the next two
    int mFrameFormat = -1;
    int mFrameChannelCount = 0;
    int mPlaneCount = 1;
    std::size_t mBytesPerSample = 0;
    std::vector<std::uint8_t> mPlanes[2];
    std::size_t mFirst = 0;  // frames taken from the planes' start
    std::size_t mCount = 0;
};

}  // namespace toolbox::movies

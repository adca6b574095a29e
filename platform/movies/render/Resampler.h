// A whole stream of frames brought to another rate.
//
// A resampled frame depends on all the stream's frames before it, and a little on those after; so the stream
// is taken from its start, in blocks of one size, however it is read. Reading on costs nothing extra; reading
// elsewhere resamples (and decodes) from the start.
#pragma once

#include "FrameSource.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct SwrContext;

namespace toolbox::movies {

class Resampler final : public FrameSource {
  public:
    // inSource (borrowed) has inFrameCount frames at inFromHz. The output has silence from its outFrameCount
    // on.
    Resampler(FrameSource& inSource, std::int64_t inFrameCount, std::uint32_t inFromHz, std::uint32_t inToHz,
              std::int64_t outFrameCount);
    ~Resampler() override;

    [[nodiscard]] OSStatus Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) override;

  private:
    struct Deleter {
        void operator()(SwrContext* inContext) const;
    };
    [[nodiscard]] OSStatus Restart();
    [[nodiscard]] OSStatus NextBlock();

    FrameSource& mSource;
    std::int64_t mSourceFrameCount;
    std::uint32_t mFromHz;
    std::uint32_t mToHz;
    std::int64_t mFrameCount;

    std::unique_ptr<SwrContext, Deleter> mSwr;
    std::int64_t mSourcePosition = 0;  // frames taken from the source
    bool mIsFlushed = false;
    std::vector<float> mIn[2];
    std::vector<float> mOut[2];
    std::int64_t mPosition = 0;  // the frame at mFirst of mOut
    std::size_t mFirst = 0;
    std::size_t mAvailable = 0;
};

}  // namespace toolbox::movies

#include "Resampler.h"

#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

#include <algorithm>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace toolbox::movies {

namespace {

constexpr int kBlockFrames = 4096;

}  // namespace

void Resampler::Deleter::operator()(SwrContext* inContext) const {
    swr_free(&inContext);
}

Resampler::Resampler(FrameSource& inSource, std::int64_t inFrameCount, std::uint32_t inFromHz,
                     std::uint32_t inToHz, std::int64_t outFrameCount)
    : mSource(inSource),
      mSourceFrameCount(inFrameCount),
      mFromHz(inFromHz),
      mToHz(inToHz),
      mFrameCount(outFrameCount) {}

Resampler::~Resampler() = default;

OSStatus Resampler::Restart() {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* swr = nullptr;
    int error = swr_alloc_set_opts2(&swr, &stereo, AV_SAMPLE_FMT_FLTP, static_cast<int>(mToHz), &stereo,
                                    AV_SAMPLE_FMT_FLTP, static_cast<int>(mFromHz), kSilentLogOffset, nullptr);
    mSwr.reset(swr);
    if (error >= 0) error = swr_init(swr);
    if (error < 0) {
        mSwr.reset();
        return error == AVERROR(ENOMEM) ? memFullErr : badFormat;
    }
    for (std::vector<float>& plane : mIn)
        plane.resize(kBlockFrames);
    mSourcePosition = 0;
    mIsFlushed = false;
    mPosition = 0;
    mAvailable = 0;
    return noErr;
}

OSStatus Resampler::NextBlock() {
    mFirst = 0;
    mAvailable = 0;
    const auto taken =
        static_cast<int>(std::min<std::int64_t>(kBlockFrames, mSourceFrameCount - mSourcePosition));
    if (taken > 0) {
        FrameSink sink(mIn[0].data(), mIn[1].data());
        const OSStatus status = mSource.Read(mSourcePosition, taken, sink);
        if (status != noErr) return status;
        mSourcePosition += taken;
    } else {
        mIsFlushed = true;
    }
    const int room = swr_get_out_samples(mSwr.get(), taken);
    if (room < 0) return badFormat;
    const std::uint8_t* in[2] = {};
    std::uint8_t* out[2] = {};
    for (int plane = 0; plane < 2; ++plane) {
        if (mOut[plane].size() < static_cast<std::size_t>(room))
            mOut[plane].resize(static_cast<std::size_t>(room));
        in[plane] = reinterpret_cast<const std::uint8_t*>(mIn[plane].data());
        out[plane] = reinterpret_cast<std::uint8_t*>(mOut[plane].data());
    }
    const int converted = swr_convert(mSwr.get(), out, room, taken > 0 ? in : nullptr, taken);
    if (converted < 0) return converted == AVERROR(ENOMEM) ? memFullErr : badFormat;
    mAvailable = static_cast<std::size_t>(converted);
    return noErr;
}

OSStatus Resampler::Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) {
    if (mSwr == nullptr || inFirst < mPosition) {
        const OSStatus status = Restart();
        if (status != noErr) return status;
    }
    const std::int64_t end = inFirst + inCount;
    while (mPosition < std::min(end, mFrameCount)) {
        if (mAvailable == 0) {
            if (mIsFlushed) break;
            const OSStatus status = NextBlock();
            if (status != noErr) return status;
            continue;
        }
        // What lies before inFirst is passed over.
        const std::int64_t target = mPosition < inFirst ? inFirst : std::min(end, mFrameCount);
        const auto count = static_cast<std::size_t>(
            std::min<std::int64_t>(target - mPosition, static_cast<std::int64_t>(mAvailable)));
        if (mPosition >= inFirst) ioSink.PutFloats(mOut[0].data() + mFirst, mOut[1].data() + mFirst, count);
        mPosition += static_cast<std::int64_t>(count);
        mFirst += count;
        mAvailable -= count;
    }
    const std::int64_t given = std::max<std::int64_t>(mPosition - inFirst, 0);
    ioSink.PutSilence(static_cast<std::size_t>(inCount - std::min(given, inCount)));
    return noErr;
}

}  // namespace toolbox::movies

#include "FrameConverter.h"

#include "decoder/SoundDecoder.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace toolbox::movies {

namespace {

// The layout to mix from. One channel, or two, stay what they are whatever they are called; a count without a
// name has its usual layout.
void ChooseLayouts(const AVFrame& inFrame, AVChannelLayout& outFrom, AVChannelLayout& outTo) {
    const int channelCount = inFrame.ch_layout.nb_channels;
    if (channelCount > 2 && inFrame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE) {
        outFrom = inFrame.ch_layout;  // a plain mask: nothing to release
    } else {
        av_channel_layout_default(&outFrom, channelCount);
    }
    av_channel_layout_default(&outTo, channelCount > 2 ? 2 : channelCount);
}

}  // namespace

void FrameConverter::Deleter::operator()(SwrContext* inContext) const {
    swr_free(&inContext);
}

FrameConverter::~FrameConverter() = default;

void FrameConverter::Reset() {
    mSwr.reset();
    mFirst = 0;
    mCount = 0;
}

bool FrameConverter::Accepts(const AVFrame& inFrame) const {
    return mSwr != nullptr && inFrame.sample_rate == static_cast<int>(mFrameRateHz) &&
           inFrame.format == mFrameFormat && inFrame.ch_layout.nb_channels == mFrameChannelCount;
}

OSStatus FrameConverter::SetUp(const AVFrame& inFrame) {
    if (inFrame.sample_rate <= 0 || inFrame.ch_layout.nb_channels <= 0) return badFormat;
    AVChannelLayout from = {};
    AVChannelLayout to = {};
    ChooseLayouts(inFrame, from, to);
    const AVSampleFormat toFormat = mForm == SampleForm::kShorts ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_FLTP;
    SwrContext* swr = nullptr;
    int error = swr_alloc_set_opts2(&swr, &to, toFormat, static_cast<int>(mRateHz), &from,
                                    static_cast<AVSampleFormat>(inFrame.format), inFrame.sample_rate,
                                    kSilentLogOffset, nullptr);
    mSwr.reset(swr);
    // Shares of channels that are mixed sum up to 1 at most. Left to itself the library does so for integers
    // alone, and a mix in floats is louder.
    if (error >= 0) error = av_opt_set_double(swr, "rematrix_maxval", 1.0, 0);
    if (error >= 0) error = swr_init(swr);
    if (error < 0) {
        mSwr.reset();
        return error == AVERROR(ENOMEM) ? memFullErr : badFormat;
    }
    mFrameRateHz = static_cast<std::uint32_t>(inFrame.sample_rate);
    mFrameFormat = inFrame.format;
    mFrameChannelCount = inFrame.ch_layout.nb_channels;
    mPlaneCount = to.nb_channels;
    mBytesPerSample = mForm == SampleForm::kShorts ? sizeof(std::int16_t) : sizeof(float);
    return noErr;
}

OSStatus FrameConverter::Push(const AVFrame& inFrame) {
    if (mSwr == nullptr) {
        const OSStatus status = SetUp(inFrame);
        if (status != noErr) return status;
    }
    return Convert(const_cast<const std::uint8_t**>(inFrame.extended_data), inFrame.nb_samples);
}

OSStatus FrameConverter::Flush() {
    if (mSwr == nullptr) return noErr;
    const OSStatus status = Convert(nullptr, 0);
    mSwr.reset();
    return status;
}

OSStatus FrameConverter::Convert(const std::uint8_t** inPlanes, int inFrameCount) {
    const int room = swr_get_out_samples(mSwr.get(), inFrameCount);
    if (room < 0) return badFormat;
    std::uint8_t* outPlanes[2] = {};
    for (int plane = 0; plane < mPlaneCount; ++plane) {
        std::vector<std::uint8_t>& bytes = mPlanes[plane];
        if (mFirst > 0 && mCount > 0) std::memmove(bytes.data(), Plane(plane), mCount * mBytesPerSample);
        const std::size_t neededBytes = (mCount + static_cast<std::size_t>(room)) * mBytesPerSample;
        if (bytes.size() < neededBytes) bytes.resize(neededBytes);
        outPlanes[plane] = bytes.data() + mCount * mBytesPerSample;
    }
    mFirst = 0;
    const int converted = swr_convert(mSwr.get(), outPlanes, room, inPlanes, inFrameCount);
    if (converted < 0) return converted == AVERROR(ENOMEM) ? memFullErr : badFormat;
    mCount += static_cast<std::size_t>(converted);
    return noErr;
}

void FrameConverter::Drop(std::size_t inFrameCount) {
    mFirst += inFrameCount;
    mCount -= inFrameCount;
}

void FrameConverter::CutTo(std::size_t inFrameCount) {
    mCount = std::min(mCount, inFrameCount);
}

}  // namespace toolbox::movies

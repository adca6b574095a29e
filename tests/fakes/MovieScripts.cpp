#include "Movies.h"

#include <algorithm>

namespace fakes {

namespace {

void Append16(Bytes& ioBytes, UInt32 inValue) {
    ioBytes.push_back(static_cast<unsigned char>(inValue >> 8));
    ioBytes.push_back(static_cast<unsigned char>(inValue));
}

void Append32(Bytes& ioBytes, UInt32 inValue) {
    Append16(ioBytes, inValue >> 16);
    Append16(ioBytes, inValue);
}

}  // namespace

Bytes SoundDescriptionBytes(UInt32 inRate) {
    Bytes bytes;
    Append32(bytes, 36);
    Append32(bytes, FourChars("mp4a"));
    bytes.resize(32, 0);
    Append32(bytes, inRate);
    return bytes;
}

Bytes SoundBlock(UInt32 inFrameCount, const Bytes& inSamples, UInt32 inChannelCount, UInt16 inSampleBits) {
    Bytes bytes;
    Append16(bytes, 1);  // format
    Append16(bytes, 1);  // data formats
    Append16(bytes, 5);  // sampled sound
    Append32(bytes, 0x80);
    Append16(bytes, 1);       // commands
    Append16(bytes, 0x8051);  // buffer command, offset follows
    Append16(bytes, 0);
    Append32(bytes, 20);
    Append32(bytes, 0);
    Append32(bytes, inChannelCount);
    bytes.resize(42, 0xEE);
    Append32(bytes, inFrameCount);
    bytes.resize(82, 0xEE);
    Append16(bytes, inSampleBits);
    bytes.insert(bytes.end(), inSamples.begin(), inSamples.end());
    return bytes;
}

UInt16 ToneSample(SInt64 inFrame, int inChannel) {
    return static_cast<UInt16>(
        (static_cast<UInt64>(inFrame) * 2654435761u + static_cast<UInt64>(inChannel) * 40503u) >> 5);
}

Bytes ToneBytes(SInt64 inFirstFrame, SInt64 inFrameCount, bool inIsBigEndian) {
    Bytes bytes;
    bytes.reserve(static_cast<std::size_t>(inFrameCount) * 4);
    for (SInt64 frame = inFirstFrame; frame < inFirstFrame + inFrameCount; ++frame)
        for (int channel = 0; channel < 2; ++channel) {
            const UInt16 sample = ToneSample(frame, channel);
            const auto high = static_cast<unsigned char>(sample >> 8);
            const auto low = static_cast<unsigned char>(sample);
            bytes.push_back(inIsBigEndian ? high : low);
            bytes.push_back(inIsBigEndian ? low : high);
        }
    return bytes;
}

Rendered RenderTone(SInt64 inFirstFrame, SInt64 inFrameCount, SInt64 inRenderedFrames) {
    const SInt64 there = std::clamp<SInt64>(inRenderedFrames - inFirstFrame, 0, inFrameCount);
    return {0, SoundBlock(static_cast<UInt32>(there), ToneBytes(inFirstFrame, there, true))};
}

ScriptedMovie ToneMovie(UInt32 inSampleRateHz, SInt64 inFrameCount) {
    ScriptedMovie movie;
    movie.tracks = {{FourChars("soun"), {SoundDescriptionBytes(inSampleRateHz << 16)}}};
    movie.sampleRateHz = inSampleRateHz;
    movie.frameCount = inFrameCount;
    movie.render = [inFrameCount](SInt64 inFirst, SInt64 inCount) {
        return RenderTone(inFirst, inCount, inFrameCount);
    };
    return movie;
}

}  // namespace fakes

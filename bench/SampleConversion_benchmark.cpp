// Decoded planes to the bytes of a sound resource. The argument is the number of frames, 1024 for a packet.

#include <benchmark/benchmark.h>
#include <render/SampleConversion.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using Store = void (*)(const float*, const float*, std::size_t, std::uint8_t*);

std::vector<float> Tone(std::size_t inFrameCount, float inStep) {
    std::vector<float> samples(inFrameCount);
    for (std::size_t i = 0; i < inFrameCount; ++i)
        samples[i] = 1.1F * std::sin(static_cast<float>(i) * inStep);
    return samples;
}

// What the conversion is defined by, one sample at a time.
void StoreWithLrintf(const float* inLeft, const float* inRight, std::size_t inFrameCount,
                     std::uint8_t* outBytes) {
    const auto store = [](float inSample, std::uint8_t* outSample) {
        const long rounded = std::lrintf(inSample * 32768.0F);
        const long clipped = rounded > 32767 ? 32767 : rounded < -32768 ? -32768 : rounded;
        outSample[0] = static_cast<std::uint8_t>(clipped >> 8);
        outSample[1] = static_cast<std::uint8_t>(clipped);
    };
    for (std::size_t frame = 0; frame < inFrameCount; ++frame) {
        store(inLeft[frame], outBytes + 4 * frame);
        store(inRight[frame], outBytes + 4 * frame + 2);
    }
}

void Run(benchmark::State& ioState, Store inStore, bool inIsMono) {
    const auto frameCount = static_cast<std::size_t>(ioState.range(0));
    const std::vector<float> left = Tone(frameCount, 0.01F);
    const std::vector<float> right = inIsMono ? std::vector<float>() : Tone(frameCount, 0.013F);
    const float* const second = inIsMono ? left.data() : right.data();
    std::vector<std::uint8_t> bytes(frameCount * 4);
    for (auto _ : ioState) {
        inStore(left.data(), second, frameCount, bytes.data());
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    std::vector<std::uint8_t> expected(frameCount * 4);
    StoreWithLrintf(left.data(), second, frameCount, expected.data());
    if (bytes != expected) ioState.SkipWithError("wrong samples");
    ioState.SetItemsProcessed(ioState.iterations() * ioState.range(0));
}

BENCHMARK_CAPTURE(Run, stereo, toolbox::movies::StoreFloatFrames, false)->Arg(1024)->Arg(44100);
BENCHMARK_CAPTURE(Run, mono, toolbox::movies::StoreFloatFrames, true)->Arg(1024);
BENCHMARK_CAPTURE(Run, sse2_stereo, toolbox::movies::StoreFloatFramesAnywhere, false)->Arg(1024);
BENCHMARK_CAPTURE(Run, portable_stereo, toolbox::movies::StoreFloatFramesPortably, false)->Arg(1024);
BENCHMARK_CAPTURE(Run, lrintf_stereo, StoreWithLrintf, false)->Arg(1024);

}  // namespace

BENCHMARK_MAIN();

// What a host waits for: a stream's length, a short file, the first bytes from the middle of an hour; and the
// byte swap, beside a plain copy. MIRTAL_BENCH_MEDIA names a folder with second.m4a, long.m4a and long.aac,
// which bench/whole_process --work FOLDER makes. On a machine under other load compare the least of several
// repetitions.
#include <benchmark/benchmark.h>
#include <converter/AACToWAV.h>
#include <converter/WAVReader.h>
#include <fcntl.h>
#include <foundation/ByteOrder.h>
#include <toolbox/Movies.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Empty, with the benchmark told so, when the file is not there.
std::string Media(benchmark::State& ioState, const char* inName) {
    const char* const folder = std::getenv("MIRTAL_BENCH_MEDIA");
    std::string path = std::string(folder == nullptr ? "." : folder) + '/' + inName;
    if (access(path.c_str(), R_OK) == 0) return path;
    ioState.SkipWithError(("cannot read " + path).c_str());
    return {};
}

void ConvertedLength(benchmark::State& ioState, const char* inName) {
    const std::string path = Media(ioState, inName);
    if (path.empty()) return;
    for (auto _ : ioState)
        if (getConvertedLength(path.c_str()).LongLong() <= 44) ioState.SkipWithError("no length");
}
BENCHMARK_CAPTURE(ConvertedLength, second_m4a, "second.m4a")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertedLength, hour_m4a, "long.m4a")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertedLength, hour_adts, "long.aac")->Unit(benchmark::kMicrosecond);

// The floor of the length of raw AAC: its file read once.
void ReadInBlocks(benchmark::State& ioState) {
    const std::string path = Media(ioState, "long.aac");
    if (path.empty()) return;
    std::vector<char> block(256 * 1024);
    for (auto _ : ioState) {
        const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        ssize_t count = 0;
        do {
            count = read(descriptor, block.data(), block.size());
            benchmark::DoNotOptimize(block.data());
        } while (count > 0);
        close(descriptor);
        if (count < 0) ioState.SkipWithError("cannot read");
    }
}
BENCHMARK(ReadInBlocks)->Unit(benchmark::kMicrosecond);

void Discard(void* inContext, void* inData, long inLength) {
    *static_cast<long*>(inContext) += inLength;
    benchmark::DoNotOptimize(inData);
}

void ConvertSecond(benchmark::State& ioState) {
    const std::string path = Media(ioState, "second.m4a");
    if (path.empty()) return;
    for (auto _ : ioState) {
        long byteCount = 0;
        convert_AAC_to_WAV(path.c_str(), &byteCount, Discard);
        if (byteCount <= 44) ioState.SkipWithError("not converted");
    }
}
BENCHMARK(ConvertSecond)->Unit(benchmark::kMicrosecond);

// Opening included: 64 KiB of the window, as a server answers a range.
void MiddleOfAnHour(benchmark::State& ioState, const char* inName) {
    const std::string path = Media(ioState, inName);
    if (path.empty()) return;
    std::vector<char> window(64 * 1024);
    for (auto _ : ioState) {
        WAVReader reader(path.c_str());
        if (reader.Read(reader.ByteCount() / 2, window.data(), window.size()) != window.size())
            ioState.SkipWithError("too short");
    }
}
BENCHMARK_CAPTURE(MiddleOfAnHour, m4a, "long.m4a")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(MiddleOfAnHour, adts, "long.aac")->Unit(benchmark::kMicrosecond);

constexpr std::size_t kSecondByteCount = 44100 * 4;

void SwapSecond(benchmark::State& ioState) {
    std::vector<unsigned char> sound(kSecondByteCount, 3);
    for (auto _ : ioState) {
        SwapBytesShort(sound.data(), static_cast<long>(sound.size()));
        benchmark::ClobberMemory();
    }
    ioState.SetBytesProcessed(ioState.iterations() * static_cast<std::int64_t>(kSecondByteCount));
}
BENCHMARK(SwapSecond);

void CopySecond(benchmark::State& ioState) {
    std::vector<unsigned char> source(kSecondByteCount, 3);
    std::vector<unsigned char> destination(kSecondByteCount);
    for (auto _ : ioState) {
        std::memcpy(destination.data(), source.data(), source.size());
        benchmark::ClobberMemory();
    }
    ioState.SetBytesProcessed(ioState.iterations() * static_cast<std::int64_t>(kSecondByteCount));
}
BENCHMARK(CopySecond);

}  // namespace

BENCHMARK_MAIN();

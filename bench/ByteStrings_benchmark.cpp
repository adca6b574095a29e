// Pascal strings and blocks beside the C library's functions that do the same work: each pair at the same
// size, in the library as it is installed. Under other load compare the least times of several repetitions.
#include <benchmark/benchmark.h>
#include <foundation/Blocks.h>
#include <strings/ByteBlocks.h>
#include <strings/PascalStrings.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

struct Strings {
    explicit Strings(benchmark::State& inState) {
        source[0] = static_cast<unsigned char>(inState.range(0));
        std::memset(source + 1, 'x', 255);
    }
    alignas(64) unsigned char source[256];
    alignas(64) unsigned char destination[256] = {};
};

void CopyWithMemcpy(benchmark::State& ioState) {
    Strings strings(ioState);
    for (auto _ : ioState) {
        std::size_t byteCount = strings.source[0] + 1u;
        benchmark::DoNotOptimize(
            byteCount);  // lest the compiler, which knows the most, does without the call
        std::memcpy(strings.destination, strings.source, byteCount);
        benchmark::ClobberMemory();
    }
}

void CopyWithPStrCopy(benchmark::State& ioState) {
    Strings strings(ioState);
    for (auto _ : ioState) {
        PStrCopy(strings.source, strings.destination);
        benchmark::ClobberMemory();
    }
}

void CatWithMemcpy(benchmark::State& ioState) {
    Strings strings(ioState);
    for (auto _ : ioState) {
        unsigned char* const text = strings.destination;
        text[0] = 3;
        benchmark::ClobberMemory();
        std::size_t count = std::min<std::size_t>(strings.source[0], 255u - text[0]);
        benchmark::DoNotOptimize(count);
        std::memcpy(text + 1 + text[0], strings.source + 1, count);
        text[0] = static_cast<unsigned char>(text[0] + count);
        benchmark::ClobberMemory();
    }
}

void CatWithPStrCat(benchmark::State& ioState) {
    Strings strings(ioState);
    for (auto _ : ioState) {
        strings.destination[0] = 3;
        benchmark::ClobberMemory();
        PStrCat(strings.destination, strings.source);
        benchmark::ClobberMemory();
    }
}

// Equal blocks, at addresses that are the same for every case and tell nothing in its time.
struct Blocks {
    explicit Blocks(benchmark::State& inState) : byteCount(inState.range(0)) {
        std::memset(sBytes, 'x', sizeof sBytes);
    }
    static constexpr std::size_t kMaxBytes = 1 << 20;
    alignas(64) static inline unsigned char sBytes[2 * kMaxBytes + 256];

    std::int64_t byteCount;
    unsigned char* left = sBytes;
    unsigned char* right = sBytes + kMaxBytes + 256;
};

void MoveWithMemcpy(benchmark::State& ioState) {
    Blocks blocks(ioState);
    for (auto _ : ioState) {
        std::memcpy(blocks.right, blocks.left, static_cast<std::size_t>(blocks.byteCount));
        benchmark::ClobberMemory();
    }
}

void MoveWithBlockMoveData(benchmark::State& ioState) {
    Blocks blocks(ioState);
    for (auto _ : ioState) {
        BlockMoveData(blocks.left, blocks.right, static_cast<long>(blocks.byteCount));
        benchmark::ClobberMemory();
    }
}

// Blocks of range(0) bytes that differ in the one at range(1), unless that is behind them.
struct ComparedBlocks : Blocks {
    explicit ComparedBlocks(benchmark::State& inState) : Blocks(inState) { right[inState.range(1)] = 'y'; }
};

template <auto Compare>
void CompareWith(benchmark::State& ioState) {
    ComparedBlocks blocks(ioState);
    for (auto _ : ioState) {
        auto byteCount = static_cast<std::size_t>(blocks.byteCount);
        benchmark::DoNotOptimize(byteCount);
        benchmark::DoNotOptimize(Compare(blocks.left, blocks.right, byteCount));
    }
}

constexpr auto kMemcmp = [](const void* inLeft, const void* inRight, std::size_t inByteCount) {
    return std::memcmp(inLeft, inRight, inByteCount);
};
constexpr auto kBlockCompare = [](const void* inLeft, const void* inRight, std::size_t inByteCount) {
    return BlockCompare(inLeft, inRight, inByteCount);
};

double Least(const std::vector<double>& inTimes) {
    return *std::min_element(inTimes.begin(), inTimes.end());
}

void OnStrings(benchmark::internal::Benchmark* inBenchmark) {
    inBenchmark->ComputeStatistics("min", Least)->DenseRange(0, 12, 3)->Arg(31)->Arg(63)->Arg(127)->Arg(252);
}

void OnBlocks(benchmark::internal::Benchmark* inBenchmark) {
    inBenchmark->ComputeStatistics("min", Least)
        ->Arg(4)
        ->Arg(32)
        ->Arg(128)
        ->Arg(255)
        ->RangeMultiplier(8)
        ->Range(16, 1 << 20);
}

// Equal, and different in the first byte, in the middle and in the last.
void OnComparedBlocks(benchmark::internal::Benchmark* inBenchmark) {
    inBenchmark->ComputeStatistics("min", Least)->ArgNames({"bytes", "different"});
    for (const std::int64_t byteCount : {4, 16, 32, 64, 128, 255, 512, 4096, 32768, 1 << 20})
        for (const std::int64_t place : {byteCount, std::int64_t{0}, byteCount / 2, byteCount - 1})
            inBenchmark->Args({byteCount, place});
}

BENCHMARK(CopyWithMemcpy)->Apply(OnStrings);
BENCHMARK(CopyWithPStrCopy)->Apply(OnStrings);
BENCHMARK(CatWithMemcpy)->Apply(OnStrings);
BENCHMARK(CatWithPStrCat)->Apply(OnStrings);
BENCHMARK(MoveWithMemcpy)->Apply(OnBlocks);
BENCHMARK(MoveWithBlockMoveData)->Apply(OnBlocks);
BENCHMARK(CompareWith<kMemcmp>)->Name("CompareWithMemcmp")->Apply(OnComparedBlocks);
BENCHMARK(CompareWith<kBlockCompare>)->Name("CompareWithBlockCompare")->Apply(OnComparedBlocks);

}  // namespace

BENCHMARK_MAIN();

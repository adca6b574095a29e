// Whole conversions of hostile files: what is announced is delivered, a window has the bytes of the whole,
// and nothing stays behind.
#include "InputFile.h"

#include <converter/AACToWAV.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <movies/front/Movies_test_access.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kHeaderByteCount = 44;
constexpr std::size_t kMaxDeliveredBytes = 50u << 20;
constexpr std::size_t kMaxKeptBytes = 4u << 20;
// A stream of a few frames per second, or one whose length wraps, comes in chunks of next to nothing.
constexpr int kMaxChunks = 2048;

// The line tells which law does not hold.
void Check(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

struct Enough {};

struct Delivery {
    std::vector<std::uint8_t> kept;
    std::size_t byteCount = 0;
    int chunkCount = 0;
    bool wasBelowZero = false;

    static void Take(void* inContext, void* inData, long inLength) {
        auto& delivery = *static_cast<Delivery*>(inContext);
        delivery.wasBelowZero |= inLength < 0;
        const auto byteCount = static_cast<std::size_t>(std::max(inLength, 0L));
        const auto* bytes = static_cast<const std::uint8_t*>(inData);
        const std::size_t keep = std::min(byteCount, kMaxKeptBytes - delivery.kept.size());
        delivery.kept.insert(delivery.kept.end(), bytes, bytes + keep);
        delivery.byteCount += byteCount;
        if (delivery.byteCount > kMaxDeliveredBytes || ++delivery.chunkCount > kMaxChunks) throw Enough();
    }
};

void CheckWindow(const char* inPath, const std::vector<std::uint8_t>& inWhole, std::size_t inFirst) {
    std::vector<std::uint8_t> window(std::min(inWhole.size() - inFirst, std::size_t{20000}));
    WAVReader reader(inPath);
    Check(reader.Read(static_cast<SInt64>(inFirst), window.data(), window.size()) == window.size());
    Check(std::memcmp(window.data(), inWhole.data() + inFirst, window.size()) == 0);
}

// Sound that opens but cannot be decoded: the stream ends behind its header.
bool IsRefused(const char* inPath) {
    const SegmentExporter exporter(inPath);
    MovieSoundReport report;
    Check(GetMovieSoundReport(exporter.GetMovie(), &report) == noErr);
    return report.decodable != noErr;
}

// 0 when no reader is had.
long long ExactByteCount(const char* inPath) {
    try {
        return WAVReader(inPath).ByteCount();
    } catch (const LException&) {
        return 0;
    }
}

void Convert(const char* inPath, std::uint32_t inSeed) {
    const long long announced = getConvertedLength(inPath).LongLong();
    const long long exact = ExactByteCount(inPath);
    // A movie's duration counts to 2^31.
    if (exact > 0 && (exact - 44) / 4 < 0x7FFFFFFF)
        Check(announced == static_cast<long long>(static_cast<std::uint32_t>(exact)));
    Delivery delivery;
    try {
        convert_AAC_to_WAV(inPath, &delivery, Delivery::Take);
    } catch (const Enough&) {
    }
    if (exact == 0) Check(delivery.byteCount == 0);
    // Beyond 4 GiB lengths wrap, and chunks may have any.
    if (exact != announced) return;
    Check(!delivery.wasBelowZero);
    if (delivery.chunkCount > kMaxChunks || delivery.byteCount > kMaxDeliveredBytes) return;
    if (delivery.byteCount == 0) return;
    if (IsRefused(inPath)) {
        Check(delivery.byteCount == kHeaderByteCount);
        return;
    }
    Check(static_cast<long long>(delivery.byteCount) == announced);
    if (delivery.byteCount != delivery.kept.size()) return;
    CheckWindow(inPath, delivery.kept, inSeed % delivery.kept.size());
    CheckWindow(inPath, delivery.kept, delivery.kept.size() / 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    static const InputFile sFile;
    sFile.Fill(inBytes, inByteCount);
    std::uint32_t seed = 2166136261;
    for (std::size_t i = 0; i < inByteCount; ++i)
        seed = (seed ^ inBytes[i]) * 16777619;
    Convert(sFile.Path(), seed);
    Check(toolbox::movies::LiveMovieCount() == 0 && toolbox::movies::LiveComponentInstanceCount() == 0);
    Check(GetLiveHandleCount() == 0 && GetLivePtrCount() == 0);
    return 0;
}

#include "WAVFile.h"

#include <cmath>

namespace tools_test {
namespace {

std::uint64_t Little(const std::string& inBytes, std::size_t inOffset, int inByteCount) {
    std::uint64_t value = 0;
    for (int index = inByteCount - 1; index >= 0; --index)
        value = value << 8 | static_cast<unsigned char>(inBytes[inOffset + static_cast<std::size_t>(index)]);
    return value;
}

bool HasFormat(const std::string& inBytes, std::size_t inOffset, std::uint32_t inSampleRateHz) {
    return inBytes.compare(inOffset, 4, "fmt ") == 0 && Little(inBytes, inOffset + 4, 4) == 16 &&
           Little(inBytes, inOffset + 8, 2) == 1 && Little(inBytes, inOffset + 10, 2) == 2 &&
           Little(inBytes, inOffset + 16, 4) == inSampleRateHz * std::uint64_t{4} &&
           Little(inBytes, inOffset + 20, 2) == 4 && Little(inBytes, inOffset + 22, 2) == 16 &&
           inBytes.compare(inOffset + 24, 4, "data") == 0;
}

constexpr std::uint64_t kElsewhere = 0xFFFFFFFF;

}  // namespace

WAVFile ParseWAV(const std::string& inBytes) {
    WAVFile file;
    file.isRF64 = inBytes.compare(0, 4, "RF64") == 0;
    const std::size_t headerByteCount = file.isRF64 ? 80 : 44;
    if (inBytes.size() < headerByteCount || (!file.isRF64 && inBytes.compare(0, 4, "RIFF") != 0)) return file;
    const std::size_t format = headerByteCount - 32;
    const std::uint64_t soundByteCount = inBytes.size() - headerByteCount;
    file.sampleRateHz = static_cast<std::uint32_t>(Little(inBytes, format + 12, 4));
    file.frameCount = static_cast<std::int64_t>(soundByteCount / 4);
    file.sound = inBytes.substr(headerByteCount);
    bool areSizesRight = false;
    if (file.isRF64) {
        areSizesRight = Little(inBytes, 4, 4) == kElsewhere && inBytes.compare(12, 4, "ds64") == 0 &&
                        Little(inBytes, 16, 4) == 28 && Little(inBytes, 20, 8) == inBytes.size() - 8 &&
                        Little(inBytes, 28, 8) == soundByteCount &&
                        Little(inBytes, 36, 8) == soundByteCount / 4 && Little(inBytes, 44, 4) == 0 &&
                        Little(inBytes, 76, 4) == kElsewhere;
    } else {
        areSizesRight =
            Little(inBytes, 4, 4) == inBytes.size() - 8 && Little(inBytes, 40, 4) == soundByteCount;
    }
    file.isWellFormed = areSizesRight && inBytes.compare(8, 4, "WAVE") == 0 &&
                        HasFormat(inBytes, format, file.sampleRateHz) && soundByteCount % 4 == 0;
    return file;
}

std::int16_t WAVFile::Sample(std::int64_t inFrame, int inChannel) const {
    return static_cast<std::int16_t>(Little(sound, static_cast<std::size_t>(inFrame * 4 + inChannel * 2), 2));
}

double WAVFile::RMS(std::int64_t inFirst, std::int64_t inEnd, int inChannel) const {
    double sum = 0;
    for (std::int64_t frame = inFirst; frame < inEnd; ++frame) {
        const double sample = Sample(frame, inChannel) / 32768.0;
        sum += sample * sample;
    }
    return std::sqrt(sum / static_cast<double>(inEnd - inFirst));
}

double WAVFile::FrequencyHz(int inChannel) const {
    int passages = 0;
    for (std::int64_t frame = 1; frame < frameCount; ++frame)
        passages += Sample(frame - 1, inChannel) < 0 && Sample(frame, inChannel) >= 0 ? 1 : 0;
    return static_cast<double>(passages) * sampleRateHz / static_cast<double>(frameCount);
}

}  // namespace tools_test

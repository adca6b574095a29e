#include "TimeText.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>

namespace tool {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
// More seconds than any file can hold, few enough to be counted in frames of any rate by 128 bits.
constexpr std::int64_t kMaxSeconds = std::int64_t{1} << 53;
constexpr std::size_t kMaxFractionDigits = 18;

// Digits and nothing else.
std::optional<std::int64_t> ReadNumber(std::string_view inText) {
    std::int64_t number = 0;
    const char* const end = inText.data() + inText.size();
    const auto [stop, error] = std::from_chars(inText.data(), end, number);
    if (inText.empty() || inText[0] == '-' || error != std::errc() || stop != end) return std::nullopt;
    return number;
}

bool ReadFraction(std::string_view inDigits, StreamTime& ioTime) {
    const auto number = ReadNumber(inDigits);
    if (!number || inDigits.size() > kMaxFractionDigits) return false;
    ioTime.fraction = *number;
    for (std::size_t digit = 0; digit < inDigits.size(); ++digit)
        ioTime.fractionUnits *= 10;
    return true;
}

// "h:m:s", "m:s" or "s".
std::optional<std::int64_t> ReadSeconds(std::string_view inText) {
    constexpr int kMaxParts = 3;
    std::int64_t seconds = 0;
    for (int part = 0; part < kMaxParts; ++part) {
        const std::size_t colon = inText.find(':');
        const auto number = ReadNumber(inText.substr(0, colon));
        if (!number || *number > kMaxSeconds || (part > 0 && *number >= 60)) return std::nullopt;
        seconds = seconds * 60 + *number;
        if (seconds > kMaxSeconds) return std::nullopt;
        if (colon == std::string_view::npos) return seconds;
        inText.remove_prefix(colon + 1);
    }
    return std::nullopt;
}

}  // namespace

std::optional<StreamTime> ReadTime(const std::string& inText) {
    StreamTime time;
    std::string_view text = inText;
    if (!text.empty() && text.back() == 'f') {
        const auto frames = ReadNumber(text.substr(0, text.size() - 1));
        if (!frames) return std::nullopt;
        time.isFrames = true;
        time.whole = *frames;
        return time;
    }
    const std::size_t point = text.find('.');
    if (point != std::string_view::npos) {
        if (!ReadFraction(text.substr(point + 1), time)) return std::nullopt;
        text = text.substr(0, point);
    }
    const auto seconds = ReadSeconds(text);
    if (!seconds) return std::nullopt;
    time.whole = *seconds;
    return time;
}

std::int64_t StreamTime::Frames(std::int32_t inRateHz) const {
    if (isFrames) return whole;
    const auto rate = static_cast<__int128>(inRateHz);
    const __int128 part = (fraction * rate * 2 + fractionUnits) / (static_cast<__int128>(fractionUnits) * 2);
    return static_cast<std::int64_t>(std::min<__int128>(whole * rate + part, kMax));
}

}  // namespace tool

// A point or length of time as it is typed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

// Exact: no rate is needed to read it, and none is lost.
struct StreamTime {
    bool isFrames = false;
    std::int64_t whole = 0;     // frames, or seconds
    std::int64_t fraction = 0;  // of a second, in units of 1 / fractionUnits
    std::int64_t fractionUnits = 1;

    // To the nearest frame, halves upward; pinned to the largest number where there are more.
    std::int64_t Frames(std::int32_t inRateHz) const;
};

// "90", "90.5", "1:30", "1:02:03.25", "44100f". Nothing for anything else: minutes and seconds behind a colon
// are less than 60, a fraction has at most 18 digits, and nothing is negative.
std::optional<StreamTime> ReadTime(const std::string& inText);

}  // namespace tool

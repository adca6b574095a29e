// Times and lengths converted between rates without intermediate rounding.
#pragma once

#include <cstdint>
#include <limits>

namespace toolbox::movies {

// inValue * inMultiplier / inDivisor rounded to nearest, halves up, for inValue >= 0, inMultiplier >= 0,
// inDivisor > 0. Pinned at the largest 64-bit value. The map is monotonic, so neighbouring stretches of time
// stay neighbours: converting the edges of a cut time line neither overlaps nor leaves gaps.
inline std::int64_t ScaleRounded(std::int64_t inValue, std::int64_t inMultiplier, std::int64_t inDivisor) {
    const __int128 product = static_cast<__int128>(inValue) * inMultiplier;
    const __int128 rounded = (product + inDivisor / 2) / inDivisor;
    constexpr __int128 kMax = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(rounded < kMax ? rounded : kMax);
}

}  // namespace toolbox::movies

// How often a test that throws dice, or that lets threads race, goes round.
#pragma once

#include <cstdlib>
#include <string_view>

namespace support {

constexpr int kLongRunFactor = 10;

// The count of the usual run; ten times as many where MIRTAL_TEST_LONG is 1 in the environment.
inline int Rounds(int inUsualCount) {
    const char* const isLong = std::getenv("MIRTAL_TEST_LONG");
    return isLong != nullptr && std::string_view(isLong) == "1" ? inUsualCount * kLongRunFactor
                                                                : inUsualCount;
}

}  // namespace support

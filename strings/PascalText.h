// The text of a Pascal string, for looking at it.
#pragma once

#include <string_view>

inline std::string_view TextOf(const unsigned char* inText) {
    return {reinterpret_cast<const char*>(inText) + 1, inText[0]};
}

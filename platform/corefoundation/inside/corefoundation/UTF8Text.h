// Between Core Foundation strings and UTF-8 in std::string. Functions may throw std::bad_alloc.
#pragma once

#include "corefoundation/Owned.h"

#include <toolbox/CFString.h>

#include <new>
#include <string>
#include <string_view>

namespace toolbox::corefoundation {

// Null when the bytes are not UTF-8 or memory is short.
Owned<CFStringRef> StringOf(std::string_view inBytes);

// False when the string has surrogates without partners.
bool GetUTF8(CFStringRef inString, std::string& outBytes);

// What inFunction returns, or a value of that type made of nothing when memory is short.
template <class Function>
auto UnlessMemoryIsShort(const Function& inFunction) noexcept -> decltype(inFunction()) {
    try {
        return inFunction();
    } catch (const std::bad_alloc&) {
        return {};
    }
}

}  // namespace toolbox::corefoundation

// Property lists, XML and binary, read into Core Foundation values.
#pragma once

#include "corefoundation/Owned.h"

#include <cstddef>
#include <string_view>

namespace toolbox::corefoundation {

// What a property list may ask of its reader; more is refused, lest a small file takes all memory or the
// stack.
constexpr std::size_t kMaxPropertyListBytes = std::size_t{1024} * 1024;
constexpr std::size_t kMaxContainers = 4096;  // dictionaries and arrays, counted as often as read
constexpr std::size_t kMaxContainerDepth = 256;
constexpr std::size_t kMaxUnpackedBytes =
    std::size_t{16} * 1024 * 1024;  // of all values, each with some for itself

// Whether reading the bytes stays inside those limits, but for the depth of XML; they need not be a property
// list. False also for a binary one that makes no sense, and for keys that would end its reader: those that
// are no text, or have NUL in it.
bool IsModestPropertyList(std::string_view inBytes);

// A dictionary, array, string, number, truth value, date or data. Null when the bytes are no property list,
// when they go past the limits, when a string is not UTF-8, or when memory is short. Entries without a value
// that Core Foundation has (the identifiers of archives) are left out. May throw std::bad_alloc.
Owned<CFTypeRef> ReadPropertyList(std::string_view inBytes);

}  // namespace toolbox::corefoundation

// The values of property lists, as they are made. All answer null when memory is short.
#pragma once

#include "corefoundation/Owned.h"

#include <toolbox/CFArray.h>
#include <toolbox/CFData.h>
#include <toolbox/CFDictionary.h>
#include <toolbox/CFNumber.h>

#include <span>

namespace toolbox::corefoundation {

struct Entry {
    Owned<CFStringRef> key;
    Owned<CFTypeRef> value;
};

[[nodiscard]] Owned<CFDataRef> NewData(std::span<const UInt8> inBytes);
// Take over the values, of which none is null; on failure they stay where they are.
[[nodiscard]] Owned<CFArrayRef> NewArray(std::span<Owned<CFTypeRef>> ioValues);
// Sorts the entries. Of several with one key, the first counts.
[[nodiscard]] Owned<CFDictionaryRef> NewDictionary(std::span<Entry> ioEntries);

}  // namespace toolbox::corefoundation

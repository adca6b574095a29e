// Property lists of hostile making: what is read is whole, of the types that there are, and leaves nothing
// alive; and what is modest takes no more memory than it may.
#include "bundles/PropertyList.h"
#include "corefoundation/CF_test_access.h"

#include <toolbox/CFArray.h>
#include <toolbox/CFData.h>
#include <toolbox/CFDate.h>
#include <toolbox/CFDictionary.h>
#include <toolbox/CFNumber.h>

#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

using namespace toolbox::corefoundation;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

// How many values there are; each has a type of its own.
std::size_t CountValues(CFTypeRef inValue, std::size_t inDepth) {
    Require(inValue != nullptr && inDepth <= kMaxContainerDepth + 1);
    const CFTypeID type = CFGetTypeID(inValue);
    std::size_t count = 1;
    if (type == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(inValue);
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
            count += CountValues(CFArrayGetValueAtIndex(array, i), inDepth + 1);
    } else if (type == CFDictionaryGetTypeID()) {
        const auto dictionary = static_cast<CFDictionaryRef>(inValue);
        std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
        for (const void* key : keys)
            count += CountValues(CFDictionaryGetValue(dictionary, key), inDepth + 1);
    } else {
        Require(type == CFStringGetTypeID() || type == CFNumberGetTypeID() || type == CFBooleanGetTypeID() ||
                type == CFDataGetTypeID() || type == CFDateGetTypeID());
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inByteCount) {
    const std::string_view bytes(reinterpret_cast<const char*>(inBytes), inByteCount);
    const SInt64 before = LiveObjectsForTesting();
    {
        const Owned<CFTypeRef> list = ReadPropertyList(bytes);
        if (list) {
            Require(IsModestPropertyList(bytes));
            Require(CountValues(list.Get(), 0) <= kMaxUnpackedBytes / 4);
        }
    }
    Require(LiveObjectsForTesting() == before);
    return 0;
}

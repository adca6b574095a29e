#include "corefoundation/UTF8Text.h"

namespace toolbox::corefoundation {

Owned<CFStringRef> StringOf(std::string_view inBytes) {
    // An empty view may point nowhere.
    const auto* bytes = reinterpret_cast<const UInt8*>(inBytes.empty() ? "" : inBytes.data());
    return Owned(CFStringCreateWithBytes(kCFAllocatorDefault, bytes, static_cast<CFIndex>(inBytes.size()),
                                         kCFStringEncodingUTF8, false));
}

bool GetUTF8(CFStringRef inString, std::string& outBytes) {
    const CFRange whole = CFRangeMake(0, CFStringGetLength(inString));
    CFIndex byteCount = 0;
    if (CFStringGetBytes(inString, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &byteCount) !=
        whole.length)
        return false;
    outBytes.resize(static_cast<std::size_t>(byteCount));
    CFStringGetBytes(inString, whole, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(outBytes.data()), byteCount, &byteCount);
    return true;
}

}  // namespace toolbox::corefoundation

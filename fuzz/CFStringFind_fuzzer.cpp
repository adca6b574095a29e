// Search, replacement and mapping of foreign text by every set of flags: what is found is there by the
// comparison's own word, and what was not found is not there.
#include <corefoundation/CF_test_access.h>
#include <toolbox/CFString.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

void Check(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

struct Releaser {
    void operator()(CFTypeRef inObject) const { CFRelease(inObject); }
};
using String = std::unique_ptr<std::remove_pointer_t<CFStringRef>, Releaser>;
using Mutable = std::unique_ptr<std::remove_pointer_t<CFMutableStringRef>, Releaser>;

constexpr CFStringCompareFlags kMeanings = kCFCompareCaseInsensitive | kCFCompareNonliteral |
                                           kCFCompareDiacriticInsensitive | kCFCompareWidthInsensitive;

String NewString(const std::uint8_t* inBytes, std::size_t inUnitCount) {
    std::vector<UniChar> units(inUnitCount + 1);
    if (inUnitCount > 0) std::memcpy(units.data(), inBytes, inUnitCount * sizeof(UniChar));
    return String(CFStringCreateWithCharacters(nullptr, units.data(), static_cast<CFIndex>(inUnitCount)));
}

String Part(CFStringRef inString, CFRange inRange) {
    return String(CFStringCreateWithSubstring(nullptr, inString, inRange));
}

bool IsInside(CFRange inRange, CFRange inOuter) {
    return inRange.location >= inOuter.location && inRange.length > 0 &&
           inRange.location + inRange.length <= inOuter.location + inOuter.length;
}

void CheckFound(CFStringRef inText, CFStringRef inFind, CFRange inIn, CFStringCompareFlags inFlags) {
    CFRange found = {-7, -7};
    if (!CFStringFindWithOptions(inText, inFind, inIn, inFlags, &found)) {
        Check(found.location == -7 && found.length == -7);
        return;
    }
    Check(IsInside(found, inIn));
    const String part = Part(inText, found);
    Check(CFStringCompare(part.get(), inFind, inFlags & kMeanings) == kCFCompareEqualTo);
    // It is found again in itself, and as the beginning and the end of itself.
    const CFRange whole = CFRangeMake(0, found.length);
    for (const CFStringCompareFlags where :
         {CFStringCompareFlags{0}, CFStringCompareFlags{kCFCompareBackwards},
          CFStringCompareFlags{kCFCompareAnchored}})
        Check(CFStringFindWithOptions(part.get(), inFind, whole, (inFlags & kMeanings) | where, nullptr));
}

void CheckReplaced(CFStringRef inText, CFStringRef inFind, CFStringCompareFlags inFlags) {
    const CFRange all = CFRangeMake(0, CFStringGetLength(inText));
    const Mutable changed(CFStringCreateMutableCopy(nullptr, 0, inText));
    const CFIndex count = CFStringFindAndReplace(changed.get(), inFind, CFSTR(""), all, inFlags);
    const bool isThere = CFStringFindWithOptions(inText, inFind, all, inFlags, nullptr);
    Check((count > 0) == isThere);
    Check(count <= all.length && CFStringGetLength(changed.get()) <= all.length - count);
    if (count == 0) Check(CFEqual(changed.get(), inText));
}

void CheckMapped(CFStringRef inText) {
    for (CFStringNormalizationForm form = 0; form < 4; ++form) {
        const Mutable once(CFStringCreateMutableCopy(nullptr, 0, inText));
        CFStringNormalize(once.get(), form);
        const Mutable twice(CFStringCreateMutableCopy(nullptr, 0, once.get()));
        CFStringNormalize(twice.get(), form);
        Check(CFEqual(once.get(), twice.get()));
        if (form == kCFStringNormalizationFormC || form == kCFStringNormalizationFormD)
            Check(CFStringCompare(once.get(), inText, kCFCompareNonliteral) == kCFCompareEqualTo);
    }
    const Mutable lower(CFStringCreateMutableCopy(nullptr, 0, inText));
    CFStringUppercase(lower.get(), nullptr);
    CFStringCapitalize(lower.get(), nullptr);
    CFStringLowercase(lower.get(), nullptr);
    CFStringTrimWhitespace(lower.get());
    CFStringPad(lower.get(), CFSTR("xyz"), 10, 1);
    Check(CFStringGetLength(lower.get()) == 10);
}

}  // namespace

// The first two bytes are flags and where the text is cut into what is searched and what for.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    if (inByteCount < 4 || inByteCount > 2000) return 0;
    const SInt64 live = toolbox::corefoundation::LiveObjectsForTesting();
    const CFStringCompareFlags flags = inBytes[0] & 0x1D;
    const CFStringCompareFlags more = (inBytes[0] & 0x60) << 2;
    const std::size_t unitCount = (inByteCount - 2) / sizeof(UniChar);
    const std::size_t findCount = std::min<std::size_t>(inBytes[1], unitCount);
    {
        const String find = NewString(inBytes + 2, findCount);
        const String text = NewString(inBytes + 2 + findCount * sizeof(UniChar), unitCount - findCount);
        const CFIndex length = CFStringGetLength(text.get());
        for (const CFStringCompareFlags meanings : {CFStringCompareFlags{0}, more}) {
            CheckFound(text.get(), find.get(), CFRangeMake(0, length), flags | meanings);
            CheckFound(text.get(), find.get(), CFRangeMake(length / 3, length / 2), flags | meanings);
            CheckReplaced(text.get(), find.get(), flags | meanings);
        }
        CheckMapped(text.get());
    }
    Check(toolbox::corefoundation::LiveObjectsForTesting() == live);
    return 0;
}

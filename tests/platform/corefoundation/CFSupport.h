// Shorthand for tests of Core Foundation: owned references, and text in and out.
#pragma once

#include <toolbox/CFString.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

struct CFReleaser {
    void operator()(CFTypeRef inObject) const { CFRelease(inObject); }
};
template <typename Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;
using OwnedString = Owned<CFStringRef>;
using OwnedMutable = Owned<CFMutableStringRef>;

inline OwnedString StringOf(std::u16string_view inText) {
    return OwnedString(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                                    reinterpret_cast<const UniChar*>(inText.data()),
                                                    static_cast<CFIndex>(inText.size())));
}

inline OwnedString StringOf(std::string_view inBytes, CFStringEncoding inEncoding,
                            bool inIsExternal = false) {
    return OwnedString(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inBytes.data()),
                                static_cast<CFIndex>(inBytes.size()), inEncoding, inIsExternal));
}

inline OwnedMutable MutableOf(std::u16string_view inText, CFIndex inMaxLength = 0) {
    return OwnedMutable(CFStringCreateMutableCopy(kCFAllocatorDefault, inMaxLength, StringOf(inText).get()));
}

inline std::u16string TextOf(CFStringRef inString) {
    std::u16string text(static_cast<std::size_t>(CFStringGetLength(inString)), u'?');
    CFStringGetCharacters(inString, CFRangeMake(0, CFStringGetLength(inString)),
                          reinterpret_cast<UniChar*>(text.data()));
    return text;
}
inline std::u16string TextOf(const OwnedString& inString) {
    return TextOf(inString.get());
}
inline std::u16string TextOf(const OwnedMutable& inString) {
    return TextOf(inString.get());
}

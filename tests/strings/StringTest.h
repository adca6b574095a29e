// What the tests of TCFString share: strings from literals, their units, and a fixture over the doubles.
#pragma once

#include <gtest/gtest.h>
#include <strings/TCFString.h>

#include <string>
#include <string_view>

inline TCFString Units(std::u16string_view inUnits) {
    TCFString string;
    string.Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                              reinterpret_cast<const UniChar*>(inUnits.data()),
                                              static_cast<CFIndex>(inUnits.size())));
    return string;
}

inline std::u16string UnitsOf(const TCFString& inString) {
    std::u16string units(static_cast<std::size_t>(inString.Length()), u'\0');
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = inString.Char(static_cast<long>(i));
    return units;
}

inline bool IsTheEmptyString(const TCFString& inString) {
    return inString.StringRef() == TCFString::EmptyCFString();
}

// No encoding at hand holds half of a surrogate pair.
inline TCFString Unencodable() {
    return Units({u"x\xD800", 2});
}

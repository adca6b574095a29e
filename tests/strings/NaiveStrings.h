// TCFString's operations once more, on units in the simplest way, for comparison with them.
#pragma once

#include <algorithm>
#include <array>
#include <string>

namespace naive {

using Text = std::u16string;

struct Range {
    long location;
    long length;
    bool operator==(const Range& inOther) const {
        return location == inOther.location && length == inOther.length;
    }
};

constexpr unsigned long kCaseInsensitive = 1, kBackwards = 4, kAnchored = 8;

inline long LengthOf(const Text& inText) {
    return static_cast<long>(inText.size());
}

inline Text Part(const Text& inText, Range inRange) {
    return inText.substr(static_cast<std::size_t>(inRange.location),
                         static_cast<std::size_t>(inRange.length));
}

// Small for capital, of ASCII and of Latin letters with accents; other characters have no case here.
inline char16_t Folded(char16_t inUnit) {
    const bool isCapital = (inUnit >= u'A' && inUnit <= u'Z') || (inUnit >= 0xC0 && inUnit <= 0xDE);
    return isCapital && inUnit != 0xD7 ? static_cast<char16_t>(inUnit + 32) : inUnit;
}

inline bool AreEqual(Text inLeft, Text inRight, unsigned long inFlags) {
    if ((inFlags & kCaseInsensitive) != 0) {
        std::transform(inLeft.begin(), inLeft.end(), inLeft.begin(), Folded);
        std::transform(inRight.begin(), inRight.end(), inRight.begin(), Folded);
    }
    return inLeft == inRight;
}

inline bool SplitsAPair(const Text& inText, long inPosition) {
    if (inPosition <= 0 || inPosition >= LengthOf(inText)) return false;
    const auto at = static_cast<std::size_t>(inPosition);
    return inText[at - 1] >= 0xD800 && inText[at - 1] < 0xDC00 && inText[at] >= 0xDC00 && inText[at] < 0xE000;
}

// Case belongs to whole characters.
inline bool IsAt(const Text& inText, Range inPlace, const Text& inFind, unsigned long inFlags) {
    const bool splits =
        SplitsAPair(inText, inPlace.location) || SplitsAPair(inText, inPlace.location + inPlace.length);
    if ((inFlags & kCaseInsensitive) != 0 && splits) return false;
    return AreEqual(Part(inText, inPlace), inFind, inFlags);
}

// In a range that is inside, with nothing around it; location -1 when there is none.
inline Range FindInside(const Text& inText, Range inRange, const Text& inFind, unsigned long inFlags) {
    const Text text = Part(inText, inRange);
    const long length = LengthOf(inFind);
    const long last = inRange.length - length;
    Range found = {-1, 0};
    if (length == 0) return found;
    const bool isAnchored = (inFlags & kAnchored) != 0, isBackwards = (inFlags & kBackwards) != 0;
    for (long at = 0; at <= last; ++at) {
        if (isAnchored && at != (isBackwards ? last : 0)) continue;
        if (!IsAt(text, {at, length}, inFind, inFlags)) continue;
        found = {inRange.location + at, length};
        if (!isBackwards) break;
    }
    return found;
}

inline Range Find(const Text& inText, const Text& inFind, unsigned long inFlags) {
    return FindInside(inText, {0, LengthOf(inText)}, inFind, inFlags);
}

inline Range Checked(const Text& inText, Range inRange) {
    const long length = LengthOf(inText);
    if (inRange.location < 0)
        inRange = {0, inRange.length - inRange.location};
    else if (inRange.location >= length)
        inRange = {length > 0 ? length - 1 : 0, 0};
    if (inRange.length < 0) inRange.length = 0;
    if (inRange.location + inRange.length > length) inRange.length = length - inRange.location;
    return inRange;
}

inline Range FindInRange(const Text& inText, Range inRange, const Text& inFind, unsigned long inFlags) {
    const Range found = FindInside(inText, Checked(inText, inRange), inFind, inFlags);
    return found.location < 0 ? Range{-1, -1} : found;
}

inline bool HasPrefix(const Text& inText, const Text& inPrefix, bool inIgnoreCase) {
    if (inText.size() < inPrefix.size()) return false;
    return AreEqual(inText.substr(0, inPrefix.size()), inPrefix, inIgnoreCase ? kCaseInsensitive : 0);
}

inline bool HasSuffix(const Text& inText, const Text& inSuffix) {
    return Find(inText, inSuffix, kCaseInsensitive | kBackwards | kAnchored).location >= 0;
}

inline Text ReplaceInside(const Text& inText, Range inRange, const Text& inWith) {
    return Part(inText, {0, inRange.location}) + inWith +
           inText.substr(static_cast<std::size_t>(inRange.location + inRange.length));
}

inline Text Replace(const Text& inText, Range inRange, const Text& inWith) {
    if (inRange.location < 0 || inRange.length < 0) return inText;
    return ReplaceInside(inText, Checked(inText, inRange), inWith);
}

inline Text ReplaceSubstring(const Text& inText, const Text& inFind, const Text& inWith,
                             unsigned long inFlags) {
    const Range found = Find(inText, inFind, inFlags);
    return found.location < 0 ? inText : ReplaceInside(inText, found, inWith);
}

// One after the other, from the end that the flags name, in what is left of the range.
inline Text FindAndReplace(const Text& inText, const Text& inFind, const Text& inWith, Range inRange,
                           unsigned long inFlags) {
    if (inRange.location < 0 || inRange.length < 0) return inText;
    Range rest = Checked(inText, inRange);
    Text text = inText;
    for (;;) {
        const Range found = FindInside(text, rest, inFind, inFlags);
        if (found.location < 0) return text;
        text = ReplaceInside(text, found, inWith);
        if ((inFlags & kBackwards) != 0) {
            rest.length = found.location - rest.location;
        } else {
            const long end = rest.location + rest.length;
            rest.location = found.location + LengthOf(inWith);
            rest.length = end - found.location - found.length;
        }
    }
}

inline Text PlugParams(Text inText, const std::array<Text, 4>& inParams) {
    for (std::size_t i = 0; i < 4; ++i) {
        const Text mark = {u'^', static_cast<char16_t>(u'0' + i)};
        const auto at = inText.find(mark);
        if (!inParams[i].empty() && at != Text::npos) inText.replace(at, 2, inParams[i]);
    }
    return inText;
}

inline Text Suffix(const Text& inText) {
    const auto dot = inText.rfind(u'.');
    return dot == Text::npos || inText.size() - dot > 12 ? Text() : inText.substr(dot);
}

inline Text RemoveSuffix(const Text& inText) {
    const Text suffix = Suffix(inText);
    return suffix.find(u' ') != Text::npos ? inText : inText.substr(0, inText.size() - suffix.size());
}

inline Text HFSName(const Text& inText, long inMaxLength) {
    Text name = inText;
    if (inMaxLength > 0 && LengthOf(inText) > inMaxLength) {
        const Text suffix = Suffix(inText);
        const long kept = LengthOf(suffix) < inMaxLength ? LengthOf(suffix) : 0;
        name = Part(inText, {0, inMaxLength - kept}) + (kept > 0 ? suffix : Text());
    }
    std::replace(name.begin(), name.end(), u':', u'_');
    return name;
}

}  // namespace naive

// Text as comparisons that ignore something see it, with the way back to the text itself.
#pragma once

#include "SystemArray.h"

#include <toolbox/CFString.h>

namespace toolbox::corefoundation {

// What makes a comparison look at characters instead of units.
constexpr CFStringCompareFlags kFoldingFlags = kCFCompareCaseInsensitive | kCFCompareNonliteral |
                                               kCFCompareDiacriticInsensitive | kCFCompareWidthInsensitive;

struct FoldedText {
    UnitArray units;
    // For each unit, where the piece of the text that it comes from begins; pieces that leave nothing have
    // none. A piece is a code point, or a composed character where composition is ignored.
    SystemArray<CFIndex, 128> starts;
};

// Folds the units in inRange as the flags ask. False when memory is short.
//   inIsTurkic  whether the small letter of I has no dot
[[nodiscard]] bool FoldText(const UniChar* inUnits, CFRange inRange, CFStringCompareFlags inFlags,
                            bool inIsTurkic, FoldedText& outText);

}  // namespace toolbox::corefoundation

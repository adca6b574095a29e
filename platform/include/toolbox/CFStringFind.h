// Core Foundation strings: text found in text.
// Flags are those of CFStringCompare. Nothing is found in an empty range, an empty text is found nowhere, and
// where memory is too short for what the flags ask nothing is found either.
//   no flags                        the same UTF-16 units
//   kCFCompareCaseInsensitive       whole characters, case ignored by full case folding: "SS" finds U+00DF
//   kCFCompareNonliteral            canonically equivalent text, and composed characters only whole: "e" does
//                                   not find the beginning of "e" U+0301
//   kCFCompareDiacriticInsensitive  marks that do not advance are passed over; those behind the end of what
//                                   was found belong to it
//   kCFCompareWidthInsensitive      full-width and half-width forms as the ordinary ones
//   kCFCompareLocalized             case in the way of the process's locale
//   kCFCompareBackwards             the last occurrence instead of the first
//   kCFCompareAnchored              only at the beginning of the range; with backwards, only at its end
// Numerical comparison and forced ordering have no meaning here.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFLocale.h>
#include <toolbox/CFStringBase.h>

TOOLBOX_EXTERN_C_BEGIN

// Whether inFind is found in the range.
//   inRange   inside the string, else nothing is found
//   inLocale  for case, together with kCFCompareLocalized; null is the process's
//   outFound  where it was found, in units; untouched when it was not; may be null. Its length is not that of
//             inFind where the flags let other text be equal.
TOOLBOX_EXPORT Boolean CFStringFindWithOptionsAndLocale(CFStringRef inString, CFStringRef inFind,
                                                        CFRange inRange, CFStringCompareFlags inFlags,
                                                        CFLocaleRef inLocale, CFRange* outFound);
TOOLBOX_EXPORT Boolean CFStringFindWithOptions(CFStringRef inString, CFStringRef inFind, CFRange inRange,
                                               CFStringCompareFlags inFlags, CFRange* outFound);
// In the whole string; location kCFNotFound and length 0 when it is not there.
TOOLBOX_EXPORT CFRange CFStringFind(CFStringRef inString, CFStringRef inFind, CFStringCompareFlags inFlags);
// By units. No string begins or ends with an empty one.
TOOLBOX_EXPORT Boolean CFStringHasPrefix(CFStringRef inString, CFStringRef inPrefix);
TOOLBOX_EXPORT Boolean CFStringHasSuffix(CFStringRef inString, CFStringRef inSuffix);

TOOLBOX_EXTERN_C_END

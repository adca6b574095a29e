// Core Foundation strings that can be changed. A mutable string is a string: every function that reads one
// takes it. It belongs to one thread at a time.
// A change that cannot be made leaves the string as it was: for want of memory, because the limit of the
// string would be passed, because a range is not inside it, because text or its bytes are no text, or because
// the string is not mutable. What is put in may be the changed string itself.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFLocale.h>
#include <toolbox/CFStringBase.h>

TOOLBOX_EXTERN_C_BEGIN

typedef CFIndex CFStringNormalizationForm;
enum {
    kCFStringNormalizationFormD = 0,   // canonical decomposition
    kCFStringNormalizationFormKD = 1,  // compatibility decomposition
    kCFStringNormalizationFormC = 2,   // canonical decomposition, then composition
    kCFStringNormalizationFormKC = 3   // compatibility decomposition, then canonical composition
};

// Empty, and of at most inMaxLength UTF-16 units ever; 0 is no limit. Null when the limit is negative or
// memory is short.
TOOLBOX_MUST_USE CFMutableStringRef CFStringCreateMutable(CFAllocatorRef inAllocator, CFIndex inMaxLength);
// Null also when inString is null or longer than the limit.
TOOLBOX_MUST_USE CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef inAllocator, CFIndex inMaxLength,
                                                              CFStringRef inString);

TOOLBOX_EXPORT void CFStringAppend(CFMutableStringRef ioString, CFStringRef inAppended);
TOOLBOX_EXPORT void CFStringAppendCharacters(CFMutableStringRef ioString, const UniChar* inCharacters,
                                             CFIndex inLength);
TOOLBOX_EXPORT void CFStringAppendPascalString(CFMutableStringRef ioString, ConstStr255Param inText,
                                               CFStringEncoding inEncoding);
TOOLBOX_EXPORT void CFStringAppendCString(CFMutableStringRef ioString, const char* inText,
                                          CFStringEncoding inEncoding);
// Before the unit at inIndex; the length itself is the end.
TOOLBOX_EXPORT void CFStringInsert(CFMutableStringRef ioString, CFIndex inIndex, CFStringRef inInserted);
TOOLBOX_EXPORT void CFStringDelete(CFMutableStringRef ioString, CFRange inRange);
TOOLBOX_EXPORT void CFStringReplace(CFMutableStringRef ioString, CFRange inRange, CFStringRef inReplacement);
TOOLBOX_EXPORT void CFStringReplaceAll(CFMutableStringRef ioString, CFStringRef inReplacement);

// Replaces all that CFStringFindWithOptions would find in the range, searched again in what remains of it
// behind (backwards: before) each; what was put in is not searched. With kCFCompareAnchored these are the
// occurrences that follow each other from the anchored end. Returns how many there were; 0 when nothing was
// changed, for whatever reason.
TOOLBOX_EXPORT CFIndex CFStringFindAndReplace(CFMutableStringRef ioString, CFStringRef inFind,
                                              CFStringRef inReplacement, CFRange inRange,
                                              CFStringCompareFlags inFlags);

// Cuts the string at inLength units, or fills it up to there with copies of inPadding, the first of which
// begins at its unit inStartInPadding. inPadding may be null when the string is cut; else it must have a unit
// at that place.
TOOLBOX_EXPORT void CFStringPad(CFMutableStringRef ioString, CFStringRef inPadding, CFIndex inLength,
                                CFIndex inStartInPadding);
// Takes the copies of inTrimmed away that the string begins with and those that it ends with.
TOOLBOX_EXPORT void CFStringTrim(CFMutableStringRef ioString, CFStringRef inTrimmed);
// Takes Unicode's white space, line ends among it, from both ends.
TOOLBOX_EXPORT void CFStringTrimWhitespace(CFMutableStringRef ioString);

// Full case mappings, which may change the length: of the language of inLocale where it has its own (the
// Turkic letters i, Dutch ij in capitalised words, Greek capitals, ...); null is none. Capitalizing makes the
// first letter of each word a title letter and the others small; words end where Unicode says that they do.
TOOLBOX_EXPORT void CFStringLowercase(CFMutableStringRef ioString, CFLocaleRef inLocale);
TOOLBOX_EXPORT void CFStringUppercase(CFMutableStringRef ioString, CFLocaleRef inLocale);
TOOLBOX_EXPORT void CFStringCapitalize(CFMutableStringRef ioString, CFLocaleRef inLocale);
// An unknown form changes nothing.
TOOLBOX_EXPORT void CFStringNormalize(CFMutableStringRef ioString, CFStringNormalizationForm inForm);
TOOLBOX_EXTERN_C_END

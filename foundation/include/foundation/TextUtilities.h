// Text routines that belong to no string class. Lengths and counts of UniChar text are UTF-16 units.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Copies a C string with a backslash before every double quote, and returns outText, which may be null; so is
// the result then. A null inText is empty.
//   outText  room for twice the length of inText and one byte more; must not overlap inText
MIRTAL_EXPORT char* CStrEscape(char* outText, const char* inText);

// The Mac encoding that the text is likely to be from: Japanese (1) if any of it is kana, an ideograph, CJK
// punctuation or a full- or half-width form, else Roman (0).
MIRTAL_EXPORT TextEncoding GuessTextEncoding(const UniChar* inText, unsigned long inCount);

// A POSIX name in UTF-8 as a name of the catalogue, where ":" and "/" trade places: every ":" becomes "/".
// Characters of up to three bytes are known, overlong forms and single surrogates among them.
//   inCapacityBytes  bytes, not units, that outText holds. ASCII is stored without regard to it: outText must
//                    have room for a unit for each byte of inText
//   outCount         units stored; 0 on failure
// paramErr for bytes that are no such character, memFullErr when a character of several bytes finds no room.
[[nodiscard]] MIRTAL_EXPORT OSStatus ConvertUTF8toUnicode(const unsigned char* inText,
                                                          unsigned long inCapacityBytes, UniChar* outText,
                                                          UInt16* outCount);

// The order in which the Finder lists names, digits by value: negative when text 1 comes first, positive when
// text 2 does. Its magnitude is the collation's. Null text comes before any other; of two it is 0, and so it
// is when the collation fails.
//   inUseEquivalence  0 for texts that differ only in what is not significant
MIRTAL_EXPORT long FinderCompare(long inLength1, const UniChar* inText1, long inLength2,
                                 const UniChar* inText2, bool inCaseSensitive, bool inUseEquivalence);

// The first place of inNeedle that lies wholly in the first inMaxLength bytes of inHaystack, or null. An
// empty needle is found at the start.
MIRTAL_EXPORT char* strnstr_(const char* inHaystack, const char* inNeedle, unsigned long inMaxLength);

#ifdef __cplusplus
}
#endif

// The order of Unicode text for people: names as a list of files shows them.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef UInt32 UCCollateOptions;

// What makes no difference, and how digits count. Options combine.
enum {
    kUCCollateComposeInsensitiveMask = 1 << 1,  // composed and decomposed forms
    kUCCollateWidthInsensitiveMask = 1 << 2,    // full- and half-width forms
    kUCCollateCaseInsensitiveMask = 1 << 3,
    kUCCollateDiacritInsensitiveMask = 1 << 4,       // accents; with them, variant forms of a character
    kUCCollatePunctuationSignificantMask = 1 << 15,  // without it, spaces and punctuation are as if not there
    kUCCollateDigitsOverrideMask = 1 << 16,          // the next option counts, not the order's own rule
    kUCCollateDigitsAsNumberMask = 1 << 17,          // runs of digits by value: "file9" before "file10"
    kUCCollateStandardOptions = kUCCollateComposeInsensitiveMask | kUCCollateWidthInsensitiveMask
};

enum {
    kCollateInvalidOptions = -29501,         // options that are none of the above
    kCollateMissingUnicodeTableErr = -29502  // the order's tables cannot be had
};

// Compares by the order of the process's locale at the first comparison (in the C locale, the order common to
// all).
//   outEquivalent  whether the texts differ in nothing but what the options make insignificant; may be null
//   outOrder       negative when inText1 comes first, positive when inText2 does, 0 for the same units; may
//                  be null when outEquivalent is not
// The order's magnitude grows with the strength of the difference:
//   4  base characters: letters, digits or the values of numbers, significant punctuation
//   3  accents, and what is ordered like one (the German sharp s and ss)
//   2  case, where it is significant
//   1  less than that: variant forms (hiragana and katakana, letters as symbols), leading zeros, invisible
//      characters, and whatever the options make insignificant
// The sign is an order of all texts, in which equivalent ones stand together: what is significant decides
// first, from the strongest difference down. Capitals come after small letters.
// paramErr for null text of more than no units, for both results null, and for 2^31 units or more; memFullErr
// when memory is short. The results are left alone then.
TOOLBOX_MUST_USE OSStatus UCCompareTextDefault(UCCollateOptions inOptions, const UniChar* inText1,
                                               UniCharCount inLength1, const UniChar* inText2,
                                               UniCharCount inLength2, Boolean* outEquivalent,
                                               SInt32* outOrder);

TOOLBOX_EXTERN_C_END

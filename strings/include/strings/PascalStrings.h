// Pascal strings: a length byte and as many bytes of text, in the encoding of the current script.
//
// A destination, and a string changed in place, is a buffer of 256 bytes. What does not fit into 255 bytes of
// text is dropped, and nothing tells. Positions count bytes of text, from 1. Comparisons are of bytes and
// answer 0 or 1. No pointer may be null where nothing else is said. Every function may be called on any
// thread; what PStrNCopy says of double-byte characters holds as far as InterruptSafeCharacterByteType does.
#pragma once

#include <foundation/MirtalExport.h>
#include <string.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

#ifdef __cplusplus
extern "C" {
#endif

MIRTAL_EXPORT unsigned char StrLength(const unsigned char* inText);

MIRTAL_EXPORT Boolean PStrEqual(const unsigned char* inLeft, const unsigned char* inRight);
// Whether both have inCount bytes of text at least, and the first ones are equal.
MIRTAL_EXPORT Boolean PStrNEqual(const unsigned char* inLeft, const unsigned char* inRight,
                                 unsigned char inCount);
// An empty part is contained in, and ends, every string.
MIRTAL_EXPORT Boolean PStrContains(const unsigned char* inText, const unsigned char* inPart);
MIRTAL_EXPORT Boolean PStrContainsChar(const unsigned char* inText, unsigned char inChar);
MIRTAL_EXPORT Boolean PStrEndsWith(const unsigned char* inText, const unsigned char* inTail);

MIRTAL_EXPORT TOOLBOX_INLINE void PStrCopy(const unsigned char* inSource, unsigned char* outDestination) {
    memmove(outDestination, inSource, inSource[0] + 1u);
}
// A copy cut at inMaxLength bytes, or one less where that would split a double-byte character. (The C++
// function of this name, see TruncatingCopies.h, splits them.) outDestination may be inSource.
//   inMaxLength  outDestination holds one byte more; less than 0 is 0
MIRTAL_EXPORT void PStrNCopy(const unsigned char* inSource, unsigned char* outDestination, short inMaxLength);

// Appended at the end of ioText.
MIRTAL_EXPORT void PStrCat(unsigned char* ioText, const unsigned char* inTail);
MIRTAL_EXPORT void PAddChar(unsigned char* ioText, unsigned char inChar);
MIRTAL_EXPORT void PAddBlank(unsigned char* ioText);
MIRTAL_EXPORT void PAddNum(unsigned char* ioText, long inNumber);  // decimal, of its low 32 bits, signed

// String inIndex, from 1, of the application's list "STR#" inListID; nothing when there is none.
MIRTAL_EXPORT void PAddIndString(unsigned char* ioText, short inListID, short inIndex);

// Puts a parameter's text in place of every "^0", "^1", "^2" and "^3". A null parameter is empty. Texts put
// in are not searched; a caret before anything else, or at the end, stays. Of "^^0" the first two characters
// are a pair, and the digit stays.
MIRTAL_EXPORT void PPlugParams(unsigned char* ioText, const unsigned char* inParam0,
                               const unsigned char* inParam1, const unsigned char* inParam2,
                               const unsigned char* inParam3);

// A copy without the spaces in front; of nothing but spaces the last one stays. outDestination may be
// inSource, or any place in its buffer.
MIRTAL_EXPORT void PStrStripLeadingBlanks(const unsigned char* inSource, unsigned char* outDestination);

// A suffix is a dot, the last of the text, and at most five bytes more.
// PStrRemoveSuffix looks at the byte behind the text, too: a dot there ends the search, and nothing is
// removed.
MIRTAL_EXPORT void PStrRemoveSuffix(unsigned char* ioText);
// outSuffix receives the suffix with its dot, and is empty when there is none.
MIRTAL_EXPORT void PStrExtractSuffix(unsigned char* ioText, unsigned char* outSuffix);
// Without regard to case; inSuffix begins with the dot.
MIRTAL_EXPORT Boolean PStrHasSuffix(const unsigned char* inText, const unsigned char* inSuffix);

// Small letters of ASCII for capitals; other bytes stay. Nothing is done for zero bytes or less.
MIRTAL_EXPORT void PLowerText(unsigned char* ioText, short inByteCount);
MIRTAL_EXPORT void PLowerString(unsigned char* ioText);
// Capitals as UppercaseText of the toolbox has them in the system script.
MIRTAL_EXPORT void PStrUppercase(unsigned char* ioText);

// The number that the text begins with, as the C library reads one in the process's locale; 0 for none.
MIRTAL_EXPORT double PStr2Double(const unsigned char* inText);

#ifdef __cplusplus
}
#endif

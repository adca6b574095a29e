// C strings: bytes up to a NUL, at most 32767 of them, in the encoding of the current script.
// Every function may be called on any thread; what the copy says of double-byte characters holds as far as
// InterruptSafeCharacterByteType does.
#pragma once

#include <foundation/MirtalExport.h>

#ifdef __cplusplus
extern "C" {
#endif

// Bytes before the NUL; 0 for null. No more than 32767, however long the string is.
MIRTAL_EXPORT short CStrLength(const char* inText);

// A copy cut at inMaxLength bytes, or one less where that would split a double-byte character, and
// terminated. (The C++ function of this name, see TruncatingCopies.h, splits them.) outDestination may be
// inSource.
//   inMaxLength  outDestination holds one byte more; zero or less: nothing is written at all
MIRTAL_EXPORT void CStrNCopy(const char* inSource, char* outDestination, short inMaxLength);

// In place, from one kind to the other; the buffer is returned. Null is returned as it is.
// A Pascal string of n characters takes n + 1 bytes, and so does the C string; of a longer C string 255
// bytes are kept.
MIRTAL_EXPORT char* PStrToCStr(unsigned char* ioText);
MIRTAL_EXPORT unsigned char* CStrToPStr(char* ioText);

#ifdef __cplusplus
}
#endif

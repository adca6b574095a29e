// A 64-bit signed integer as two 32-bit words, used for stream positions and lengths.
//
// The fields are in order of weight, so on a big-endian host the memory image is that of a 64-bit integer.
// Arithmetic wraps modulo 2^64. A `long` or `unsigned long` argument carries a 32-bit value, whatever its
// width: only its low 32 bits count. So a 64-bit host must hand 64-bit values over as (unsigned) long long.
// Note that SInt64 may be another name for long.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT Int64 {
  public:
    Int64(const Int64& inOther);
    Int64(const int& inValue);            // sign-extended
    Int64(const long& inValue);           // low 32 bits, sign-extended
    Int64(const unsigned long& inValue);  // low 32 bits, zero-extended
    Int64(const long long& inValue);
    Int64(const unsigned long long& inValue);  // the same 64 bits
    Int64(const UnsignedWide& inValue);        // high word to hi, low word to lo

    Int64& operator=(const Int64& inOther);
    Int64& operator+=(const Int64& inOther);
    Int64& operator-=(const Int64& inOther);
    Int64& operator*=(const Int64& inOther);  // low 64 bits of the product

    long Lo32() const;            // low word as a signed value
    unsigned long ULo32() const;  // low word
    unsigned long UHi32() const;  // high word
    long long LongLong() const;

    // The platform's microsecond counter.
    static Int64 Microseconds();

    SInt32 hi;
    UInt32 lo;
};

MIRTAL_EXPORT Int64 operator+(const Int64& inLeft, const Int64& inRight);
MIRTAL_EXPORT Int64 operator-(const Int64& inLeft, const Int64& inRight);

// The whole set of comparisons: high words as signed first, then low words as unsigned.
MIRTAL_EXPORT bool operator>(const Int64& inLeft, const Int64& inRight);
MIRTAL_EXPORT bool operator<(const Int64& inLeft, const Int64& inRight);
MIRTAL_EXPORT bool operator<=(const Int64& inLeft, const Int64& inRight);

#include <foundation/Int64.h>
#include <toolbox/Timer.h>

static_assert(sizeof(Int64) == 8);

namespace {

constexpr SInt32 HighWord(unsigned long long inBits) {
    return static_cast<SInt32>(static_cast<UInt32>(inBits >> 32));
}

constexpr UInt32 LowWord(unsigned long long inBits) {
    return static_cast<UInt32>(inBits);
}

constexpr unsigned long long Bits(const Int64& inValue) {
    return static_cast<unsigned long long>(static_cast<UInt32>(inValue.hi)) << 32 | inValue.lo;
}

// All ones for a negative low word: the high word that extends its sign.
constexpr SInt32 SignWord(SInt32 inValue) {
    return inValue < 0 ? -1 : 0;
}

}  // namespace

Int64::Int64(const Int64& inOther) : hi(inOther.hi), lo(inOther.lo) {}

Int64::Int64(const int& inValue) : hi(SignWord(inValue)), lo(static_cast<UInt32>(inValue)) {}

Int64::Int64(const long& inValue)
    : hi(SignWord(static_cast<SInt32>(inValue))), lo(static_cast<UInt32>(inValue)) {}

Int64::Int64(const unsigned long& inValue) : hi(0), lo(static_cast<UInt32>(inValue)) {}

Int64::Int64(const long long& inValue)
    : hi(HighWord(static_cast<unsigned long long>(inValue))),
      lo(LowWord(static_cast<unsigned long long>(inValue))) {}

Int64::Int64(const unsigned long long& inValue) : hi(HighWord(inValue)), lo(LowWord(inValue)) {}

Int64::Int64(const UnsignedWide& inValue) : hi(static_cast<SInt32>(inValue.hi)), lo(inValue.lo) {}

Int64& Int64::operator=(const Int64& inOther) {
    hi = inOther.hi;
    lo = inOther.lo;
    return *this;
}

Int64& Int64::operator+=(const Int64& inOther) {
    return *this = Int64(Bits(*this) + Bits(inOther));
}

Int64& Int64::operator-=(const Int64& inOther) {
    return *this = Int64(Bits(*this) - Bits(inOther));
}

Int64& Int64::operator*=(const Int64& inOther) {
    return *this = Int64(Bits(*this) * Bits(inOther));
}

long Int64::Lo32() const {
    return static_cast<SInt32>(lo);
}

unsigned long Int64::ULo32() const {
    return lo;
}

unsigned long Int64::UHi32() const {
    return static_cast<UInt32>(hi);
}

long long Int64::LongLong() const {
    return static_cast<long long>(Bits(*this));
}

Int64 Int64::Microseconds() {
    UnsignedWide now = {0, 0};
    ::Microseconds(&now);
    return Int64(now);
}

Int64 operator+(const Int64& inLeft, const Int64& inRight) {
    Int64 sum(inLeft);
    sum += inRight;
    return sum;
}

Int64 operator-(const Int64& inLeft, const Int64& inRight) {
    Int64 difference(inLeft);
    difference -= inRight;
    return difference;
}

bool operator>(const Int64& inLeft, const Int64& inRight) {
    return inLeft.hi != inRight.hi ? inLeft.hi > inRight.hi : inLeft.lo > inRight.lo;
}

bool operator<(const Int64& inLeft, const Int64& inRight) {
    return inRight > inLeft;
}

bool operator<=(const Int64& inLeft, const Int64& inRight) {
    return !(inLeft > inRight);
}

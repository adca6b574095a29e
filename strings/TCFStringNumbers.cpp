// Numbers read from TCFString.
#include <strings/TCFString.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

constexpr long kMaxLength = 255;

// Reads a number with inRead(text, end).
template <typename Read>
auto Parse(TCFString const& inString, unsigned char* outIsGood, Read inRead) {
    char text[kMaxLength + 1];
    char* end = inString.CString(kMaxLength, text);
    auto const number = inRead(text, &end);
    if (outIsGood != nullptr) *outIsGood = *end == '\0';
    return number;
}

// Reads a number with inRead(text, end, base). The C library does not say where the end is for a base that is
// none: nothing is read then.
template <typename Read>
auto ParseInBase(TCFString const& inString, long inBase, unsigned char* outIsGood, Read inRead) {
    return Parse(inString, outIsGood, [inBase, inRead](char const* inText, char** ioEnd) {
        bool const isBase = inBase == 0 || (inBase >= 2 && inBase <= 36);
        return isBase ? inRead(inText, ioEnd, static_cast<int>(inBase)) : 0;
    });
}

SInt64 Truncated(double inNumber) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (std::isnan(inNumber)) return 0;
    if (inNumber >= kTwoTo63) return std::numeric_limits<SInt64>::max();
    if (inNumber < -kTwoTo63) return std::numeric_limits<SInt64>::min();
    return static_cast<SInt64>(inNumber);
}

}  // namespace

long TCFString::ToLong(long inBase, unsigned char* outIsGood) const {
    return ParseInBase(*this, inBase, outIsGood, std::strtol);
}

Int64 TCFString::ToLongLong(long inBase, unsigned char* outIsGood) const {
    return ParseInBase(*this, inBase, outIsGood, std::strtoll);
}

double TCFString::ToDouble(unsigned char* outIsGood) const {
    return static_cast<double>(Truncated(Parse(*this, outIsGood, std::strtod)));
}

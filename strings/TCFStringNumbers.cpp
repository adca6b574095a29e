// Numbers read from TCFString.
#include <strings/TCFString.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr long kMaxLength = 255;

// Reads a number with inRead(text, end).
template <typename Read>
auto Parse(const TCFString& inString, unsigned char* outIsGood, Read inRead) {
    char text[kMaxLength + 1];
    char* end = inString.CString(kMaxLength, text);
    const auto number = inRead(text, &end);
    if (outIsGood != nullptr) *outIsGood = *end == '\0';
    return number;
}

// Reads a number with inRead(text, end, base). The C library does not say where the end is for a base that is
// none: nothing is read then.
template <typename Read>
auto ParseInBase(const TCFString& inString, long inBase, unsigned char* outIsGood, Read inRead) {
    return Parse(inString, outIsGood, [inBase, inRead](const char* inText, char** ioEnd) {
        const bool isBase = inBase == 0 || (inBase >= 2 && inBase <= 36);
        return isBase ? inRead(inText, ioEnd, static_cast<int>(inBase)) : 0;
    });
}

bool IsSpace(char inChar) {
    return inChar == ' ' || (inChar >= '\t' && inChar <= '\r');
}

// The end of a number without a sign; null when there is none.
const char* ReadUnsigned(const char* inText, std::chars_format inFormat, double& outNumber) {
    if (*inText == '-') return nullptr;
    const auto [end, error] = std::from_chars(inText, inText + std::strlen(inText), outNumber, inFormat);
    if (error == std::errc::invalid_argument) return nullptr;
    // In so few bytes it takes an exponent to leave the range, and a minus can be that of the exponent only.
    if (error == std::errc::result_out_of_range)
        outNumber = std::find(inText, end, '-') == end ? std::numeric_limits<double>::infinity() : 0.0;
    return end;
}

// As std::strtod in the locale "C". That function itself goes by the locale that the host has set, in which
// the point of "3.75" may be none; a Java program sets the user's.
double ReadDouble(const char* inText, char** outEnd) {
    const char* at = inText;
    while (IsSpace(*at))
        ++at;
    const bool isNegative = *at == '-';
    if (isNegative || *at == '+') ++at;
    // Words for what is no number have no such prefix.
    const bool isHex =
        at[0] == '0' && (at[1] == 'x' || at[1] == 'X') && std::strchr("iInN", at[2]) == nullptr;
    double number = 0.0;
    const char* end = isHex ? ReadUnsigned(at + 2, std::chars_format::hex, number) : nullptr;
    if (end == nullptr) end = ReadUnsigned(at, std::chars_format::general, number);
    *outEnd = const_cast<char*>(end == nullptr ? inText : end);
    return isNegative ? -number : number;
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
    return static_cast<double>(Truncated(Parse(*this, outIsGood, ReadDouble)));
}

#include <toolbox/FixMath.h>

#include <limits>

Fixed FixRatio(SInt16 inNumerator, SInt16 inDenominator) {
    if (inDenominator == 0)
        return inNumerator < 0 ? std::numeric_limits<Fixed>::min() : std::numeric_limits<Fixed>::max();
    // Magnitudes, so that rounding is the same whatever the signs are.
    const bool isNegative = (inNumerator < 0) != (inDenominator < 0);
    const SInt64 numerator = inNumerator < 0 ? -SInt64{inNumerator} : SInt64{inNumerator};
    const SInt64 denominator = inDenominator < 0 ? -SInt64{inDenominator} : SInt64{inDenominator};
    const SInt64 magnitude = ((numerator << 17) + denominator) / (2 * denominator);
    const SInt64 quotient = isNegative ? -magnitude : magnitude;
    // Only -32768 / -1 is out of range.
    if (quotient > std::numeric_limits<Fixed>::max()) return std::numeric_limits<Fixed>::max();
    return static_cast<Fixed>(quotient);
}

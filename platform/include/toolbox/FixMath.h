// Fixed-point arithmetic.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// inNumerator / inDenominator as 16.16, rounded to nearest. A zero denominator gives the smallest Fixed for a
// negative numerator, else the largest. -32768 / -1, the one quotient that does not fit, gives the largest.
TOOLBOX_EXPORT Fixed FixRatio(SInt16 inNumerator, SInt16 inDenominator);

TOOLBOX_EXTERN_C_END

// Formats written with the arguments that they take.
#pragma once

#include "FormatDirectives.h"
#include "SystemArray.h"

namespace toolbox::corefoundation {

// One of the type that the format says.
union Argument {
    long integer;  // int too
    double number;
    long double longNumber;
    const void* pointer;
};

// Appends the text of a format, whose units it was parsed from, to outText. False when memory is short or a
// directive cannot be written.
//   inArguments  as many as the format has, and of its types
[[nodiscard]] bool WriteFormat(const UniChar* inUnits, CFIndex inLength, const Format& inFormat,
                               const Argument* inArguments, UnitArray& outText);

}  // namespace toolbox::corefoundation

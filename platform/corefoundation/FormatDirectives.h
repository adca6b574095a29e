// Formats taken apart: the directives in them, and the arguments that these take.
#pragma once

#include "SystemArray.h"

#include <toolbox/CFString.h>

namespace toolbox::corefoundation {

// What an argument is passed as; integers of less than an int are passed as one.
enum class ArgumentType : UInt8 { kNone, kInt, kLong, kDouble, kLongDouble, kPointer };

enum class LengthModifier : UInt8 { kNone, kChar, kShort, kLong, kLongDouble };

// A number that the format gives, or an argument of type int does.
struct Amount {
    SInt32 value = -1;     // when no argument gives it; -1: it is not given
    CFIndex argument = 0;  // from 1; 0: the value counts
};

struct Directive {
    CFIndex start;  // of its per cent sign in the format, in units
    CFIndex end;    // behind it
    char conversion;
    LengthModifier length;
    bool isLeft;
    bool hasSign;
    bool hasSpace;
    bool isAlternate;
    bool hasZeros;
    Amount width;
    Amount precision;
    CFIndex argument;  // from 1; 0: it takes none
};

struct Format {
    SystemArray<Directive, 8> directives;
    SystemArray<ArgumentType, 32> arguments;  // the first is argument 1
};

// False when its numbered arguments leave one out or are of two types at once, or memory is short.
[[nodiscard]] bool ParseFormat(const UniChar* inUnits, CFIndex inLength, Format& outFormat);

}  // namespace toolbox::corefoundation

// Core Foundation strings: made from a format and arguments.
// A directive is  %[n$][flags][width][.precision][length]conversion  in the manner of printf:
//   flags        - + space # 0; and ', which is accepted and groups nothing
//   width        least number of UTF-16 units, or * or *n$ for an int argument; a negative one is the flag -
//   too precision    of numbers as in C; of text the most units, never half a surrogate pair; * and *n$ too,
//   a
//                negative one is none
//   length       hh h (none) l ll q L z t j of integers, L of floating-point numbers
// Conversions:
//   %@           an object: a string's text, else what CFCopyDescription gives
//   %d %D %i     signed decimal;  %u %U unsigned;  %o %O octal;  %x %X hexadecimal
//   %f %F %e %E %g %G %a %A   double, with a point whatever the C locale
//   %c           an int: one character of the system encoding;  %C (or %lc) one UTF-16 unit
//   %s           a C string, and %P a Pascal string, in the system encoding
//   %S           UTF-16 units that end with 0 (also %ls)
//   %p           a pointer, as 0x and hexadecimal digits
//   %%           a per cent sign
// A null object or text is written as (null). %d without a length is an int, %D too.
// Arguments are taken in order, or by number where one is given (%2$@), from 1. Up to the highest number each
// must be used, and always as the same type, as nothing else tells its size; else no string is made. What is
// no directive is copied as it stands and takes no argument; %n is none.
#pragma once

#include <stdarg.h>
#include <toolbox/CFBase.h>
#include <toolbox/CFStringBase.h>

TOOLBOX_EXTERN_C_BEGIN

// Null when the format is null or its numbered arguments are not as said, when the result would pass 2^31
// units in one directive, or when memory is short. No format options are known: null, else ignored.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithFormat(CFAllocatorRef inAllocator, CFDictionaryRef inOptions,
                                                      CFStringRef inFormat, ...);
// inArguments is spent afterwards, as by vprintf.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef inAllocator,
                                                                  CFDictionaryRef inOptions,
                                                                  CFStringRef inFormat, va_list inArguments);
TOOLBOX_EXPORT void CFStringAppendFormat(CFMutableStringRef ioString, CFDictionaryRef inOptions,
                                         CFStringRef inFormat, ...);
TOOLBOX_EXPORT void CFStringAppendFormatAndArguments(CFMutableStringRef ioString, CFDictionaryRef inOptions,
                                                     CFStringRef inFormat, va_list inArguments);

TOOLBOX_EXTERN_C_END

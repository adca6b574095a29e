// Strings made from formats and the arguments of a call.
#include "FormatDirectives.h"
#include "FormatWriter.h"
#include "StringObject.h"

#include <toolbox/CFStringFormat.h>

#include <cstdarg>

namespace toolbox::corefoundation {

namespace {

using Arguments = SystemArray<Argument, 16>;

bool TakeArguments(const Format& inFormat, va_list inArguments, Arguments& outArguments) {
    for (CFIndex i = 0; i < inFormat.arguments.Count(); ++i) {
        Argument argument{};
        switch (inFormat.arguments[i]) {
            case ArgumentType::kInt:
                argument.integer = va_arg(inArguments, int);
                break;
            case ArgumentType::kLong:
                argument.integer = va_arg(inArguments, long);
                break;
            case ArgumentType::kDouble:
                argument.number = va_arg(inArguments, double);
                break;
            case ArgumentType::kLongDouble:
                argument.longNumber = va_arg(inArguments, long double);
                break;
            default:
                argument.pointer = va_arg(inArguments, const void*);
                break;
        }
        if (!outArguments.Append(argument)) return false;
    }
    return true;
}

// The text of a format and its arguments, appended.
bool WriteFormatted(CFStringRef inFormat, va_list inArguments, UnitArray& outText) {
    if (inFormat == nullptr) return false;
    const StringObject& string = ObjectOf(inFormat);
    Format format;
    Arguments arguments;
    return ParseFormat(string.characters, string.length, format) &&
           TakeArguments(format, inArguments, arguments) &&
           WriteFormat(string.characters, string.length, format, arguments.Data(), outText);
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFStringRef CFStringCreateWithFormat(CFAllocatorRef inAllocator, CFDictionaryRef inOptions,
                                     CFStringRef inFormat, ...) {
    va_list arguments;
    va_start(arguments, inFormat);
    CFStringRef string = CFStringCreateWithFormatAndArguments(inAllocator, inOptions, inFormat, arguments);
    va_end(arguments);
    return string;
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef, CFStringRef inFormat,
                                                 va_list inArguments) {
    UnitArray text;
    return WriteFormatted(inFormat, inArguments, text) ? NewStringOf(text.Data(), text.Count()) : nullptr;
}

void CFStringAppendFormat(CFMutableStringRef ioString, CFDictionaryRef inOptions, CFStringRef inFormat, ...) {
    va_list arguments;
    va_start(arguments, inFormat);
    CFStringAppendFormatAndArguments(ioString, inOptions, inFormat, arguments);
    va_end(arguments);
}

void CFStringAppendFormatAndArguments(CFMutableStringRef ioString, CFDictionaryRef, CFStringRef inFormat,
                                      va_list inArguments) {
    UnitArray text;
    if (!WriteFormatted(inFormat, inArguments, text)) return;
    CFStringAppendCharacters(ioString, text.Data(), text.Count());
}

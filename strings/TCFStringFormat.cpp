// Strings that are written: by a format, from a number, from a moment.
#include "NewString.h"

#include <strings/TCFString.h>

#include <cstdarg>

namespace {

CFStringRef CreateMoment(double inAbsoluteTime, CFDateFormatterStyle inDateStyle,
                         CFDateFormatterStyle inTimeStyle) {
    const CFLocaleRef locale = CFLocaleCopyCurrent();
    if (locale == nullptr) return nullptr;
    const CFDateFormatterRef formatter =
        CFDateFormatterCreate(kCFAllocatorDefault, locale, inDateStyle, inTimeStyle);
    CFRelease(locale);
    if (formatter == nullptr) return nullptr;
    const CFStringRef moment =
        CFDateFormatterCreateStringWithAbsoluteTime(kCFAllocatorDefault, formatter, inAbsoluteTime);
    CFRelease(formatter);
    return moment;
}

}  // namespace

TCFString::TCFString(double inAbsoluteTime, CFDateFormatterStyle inDateStyle,
                     CFDateFormatterStyle inTimeStyle)
    : mString(NullIfEmpty(CreateMoment(inAbsoluteTime, inDateStyle, inTimeStyle))) {
    EnsureNonNullRef();
}

TCFString TCFString::CFPrintf(CFStringRef inFormat, ...) {
    std::va_list arguments;
    va_start(arguments, inFormat);
    const CFStringRef text =
        CFStringCreateWithFormatAndArguments(kCFAllocatorDefault, nullptr, inFormat, arguments);
    va_end(arguments);
    return MakeString(text);
}

TCFString TCFString::Int(const unsigned long& inNumber) {
    return CFPrintf(CFSTR("%lu"), inNumber);
}

TCFString operator+(const TCFString& inLeft, const TCFString& inRight) {
    return TCFString::CFPrintf(CFSTR("%@%@"), inLeft.StringRef(), inRight.StringRef());
}

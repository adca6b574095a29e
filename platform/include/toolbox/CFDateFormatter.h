// Dates and times as people of a place write them, in the process's time zone (TZ, else the system's, at the
// first use). A formatter belongs to one thread at a time.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFDate.h>
#include <toolbox/CFLocale.h>
#include <toolbox/CFString.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueCFDateFormatter* CFDateFormatterRef;
typedef CFIndex CFDateFormatterStyle;
enum {
    kCFDateFormatterNoStyle = 0,      // left out
    kCFDateFormatterShortStyle = 1,   // 31.12.01, 23:59
    kCFDateFormatterMediumStyle = 2,  // 31.12.2001, 23:59:59
    kCFDateFormatterLongStyle = 3,    // 31. Dezember 2001, with the time zone's short name
    kCFDateFormatterFullStyle = 4     // with the weekday, and the time zone's long name
};

TOOLBOX_EXPORT CFTypeID CFDateFormatterGetTypeID(void);
// inLocale null is the current locale. Null when a style is none of these or memory is short.
TOOLBOX_MUST_USE CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef inAllocator, CFLocaleRef inLocale,
                                                          CFDateFormatterStyle inDateStyle,
                                                          CFDateFormatterStyle inTimeStyle);
// Borrowed from the formatter.
TOOLBOX_EXPORT CFLocaleRef CFDateFormatterGetLocale(CFDateFormatterRef inFormatter);
TOOLBOX_EXPORT CFDateFormatterStyle CFDateFormatterGetDateStyle(CFDateFormatterRef inFormatter);
TOOLBOX_EXPORT CFDateFormatterStyle CFDateFormatterGetTimeStyle(CFDateFormatterRef inFormatter);
// The pattern of Unicode's locale data that is written (dd.MM.yy HH:mm); empty when both styles are none and
// none was set. Borrowed: valid until another is set.
TOOLBOX_EXPORT CFStringRef CFDateFormatterGetFormat(CFDateFormatterRef inFormatter);
// Writes by this pattern from now on instead of by the styles. When memory is short the old one stays.
TOOLBOX_EXPORT void CFDateFormatterSetFormat(CFDateFormatterRef ioFormatter, CFStringRef inFormat);

// Null when the time is not finite, the date null, or memory short. Empty when both styles are none.
TOOLBOX_MUST_USE CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef inAllocator,
                                                                         CFDateFormatterRef inFormatter,
                                                                         CFAbsoluteTime inTime);
TOOLBOX_MUST_USE CFStringRef CFDateFormatterCreateStringWithDate(CFAllocatorRef inAllocator,
                                                                 CFDateFormatterRef inFormatter,
                                                                 CFDateRef inDate);

TOOLBOX_EXTERN_C_END

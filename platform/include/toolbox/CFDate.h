// Points in time: seconds since the reference date, the beginning of 1 January 2001 in UTC, leap seconds not
// counted.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

typedef double CFTimeInterval;          // seconds
typedef CFTimeInterval CFAbsoluteTime;  // since the reference date; earlier times are negative
typedef const struct OpaqueCFDate* CFDateRef;

// From 1970 and from 1904 to the reference date.
static const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;
static const CFTimeInterval kCFAbsoluteTimeIntervalSince1904 = 3061152000.0;

// By the system's clock, which may be set back.
TOOLBOX_EXPORT CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

TOOLBOX_EXPORT CFTypeID CFDateGetTypeID(void);
// Null when memory is short.
TOOLBOX_MUST_USE CFDateRef CFDateCreate(CFAllocatorRef inAllocator, CFAbsoluteTime inTime);
TOOLBOX_EXPORT CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef inDate);
// How much later inDate is than inOther.
TOOLBOX_EXPORT CFTimeInterval CFDateGetTimeIntervalSinceDate(CFDateRef inDate, CFDateRef inOther);
// Less is earlier. The context is not used.
TOOLBOX_EXPORT CFComparisonResult CFDateCompare(CFDateRef inDate, CFDateRef inOther, void* inContext);

TOOLBOX_EXTERN_C_END

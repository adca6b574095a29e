// The date and time of day. They follow the system's clock, which may be set to any other time.
//
// Every function may be called on any thread that does not run while the environment is changed (TZ).
#pragma once

#include <toolbox/CatalogInfo.h>

TOOLBOX_EXTERN_C_BEGIN

// Seconds since midnight of 1 January 1904, local time; 0 when the clock cannot be read. Wraps in 2040. Must
// not be null.
TOOLBOX_EXPORT void GetDateTime(UInt32* outSeconds);

enum { kUTCDefaultOptions = 0 };

// The moment. Untouched on failure: ioErr when the clock cannot be read, paramErr for null and for other
// options.
TOOLBOX_MUST_USE OSStatus GetUTCDateTime(UTCDateTime* outMoment, OptionBits inOptions);

TOOLBOX_EXTERN_C_END

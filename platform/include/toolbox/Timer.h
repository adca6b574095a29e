// Clocks.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef UnsignedWide AbsoluteTime;  // nanoseconds

// All clocks start with the system, do not run while it sleeps, and never go back. On any thread.

// The time since the start.
TOOLBOX_EXPORT AbsoluteTime UpTime(void);
// The same in ticks, of which there are 60 in a second. Wraps after some 828 days.
TOOLBOX_EXPORT UInt32 TickCount(void);
// The same in microseconds. The argument must not be null.
TOOLBOX_EXPORT void Microseconds(UnsignedWide* outMicroseconds);

TOOLBOX_EXTERN_C_END

// The low-level debugger: stops the program in a debugger that is attached, and else tells on standard error.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Stop in the debugger, with a message to show; the program goes on when the debugger lets it. Without a
// debugger the message, or that there was a stop, is written to standard error as a line. A null message is
// empty. Bytes of the message that are terminal commands are written as question marks.
TOOLBOX_EXPORT void Debugger(void);
TOOLBOX_EXPORT void DebugStr(ConstStr255Param inMessage);

TOOLBOX_EXTERN_C_END

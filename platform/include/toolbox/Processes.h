// The running process.
#pragma once

#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Ends the process with exit status 0: resource files are updated and closed, then everything that was
// registered to run at exit runs. Does not return.
#if defined(__cplusplus)
[[noreturn]]
#else
_Noreturn
#endif
TOOLBOX_EXPORT void
ExitToShell(void);

TOOLBOX_EXTERN_C_END

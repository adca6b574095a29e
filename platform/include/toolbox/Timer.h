// Clocks.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Microseconds since an unspecified start, never going backwards. On any thread; the argument must not be
// null.
TOOLBOX_EXPORT void Microseconds(UnsignedWide* outMicroseconds);

TOOLBOX_EXTERN_C_END

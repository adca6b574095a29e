// What a status means, for people.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Words that read well behind a file's name and a colon: one line, without the name, the number or an end. ""
// for what is no status of the toolbox, and for noErr. Never to be disposed of; any thread may call this.
TOOLBOX_EXPORT const char* GetStatusText(OSStatus inStatus);

TOOLBOX_EXTERN_C_END

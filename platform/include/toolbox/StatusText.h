// What a status means, for people.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Words that read well behind a file's name and a colon: one line, without the name, the number or an end. ""
// for what is no status of the toolbox, and for noErr. Never to be disposed of; any thread may call this.
TOOLBOX_EXPORT const char* GetStatusText(OSStatus inStatus);

// The same, and behind a colon the system's own words where they tell more: an error of the system that has
// no status of its own was the last that became inStatus on this thread. So it is asked for on the thread of
// the call that failed, before another. Good until this thread asks again.
TOOLBOX_EXPORT const char* GetFailureText(OSStatus inStatus);

TOOLBOX_EXTERN_C_END

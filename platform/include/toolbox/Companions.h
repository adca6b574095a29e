// Whether files and folders get companions: the AppleDouble files "._name" beside them, for what the file
// system cannot hold. Host settings, beside the historic interface; they hold for the whole process, for
// every call that begins after them, and may be made on any thread.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Once it is false, this process makes no companion and changes nothing that one holds. What needs that fails
// with unimpErr, and nothing has changed then: Finder information, the dates of creation and backup, the lock
// and the encoding hint set to what they are not, also for a new item or by a new name; a resource fork
// written, made longer or cut short; a copy of a file that has any of these; and an exchange of two files of
// which one has a resource fork, or a date of creation that the file system would tell wrongly after it.
//
// Companions that are there are read as ever. They are moved, renamed and deleted with their items, and have
// permissions like theirs. One whose item is set to what it would be without it goes.
TOOLBOX_EXPORT void SetCompanionsAllowed(Boolean inAreAllowed);

// True until the first call of the other.
TOOLBOX_EXPORT Boolean AreCompanionsAllowed(void);

TOOLBOX_EXTERN_C_END

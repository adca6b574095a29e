// Whether the toolbox may ask the person at the machine. A program that must not stop for an answer begins
// suppression and ends it with the token that it was given. Suppressions nest, and may end in any order; as
// long as one lasts, nobody is asked.
//
// A suppressed alert is written as if there were no terminal, and its answer is item 1. An alert handler is
// still called: it is the program's own, and may ask IsUserInteractionAllowed. Any thread may call these;
// they are about the whole process.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// A token, greater than 0 and never given twice. 0, and no suppression, when there is no memory.
TOOLBOX_MUST_USE long BeginUserInteractionSuppression(void);
// A token that was not given, or has ended, is ignored.
TOOLBOX_EXPORT void EndUserInteractionSuppression(long inToken);
TOOLBOX_EXPORT Boolean IsUserInteractionAllowed(void);

TOOLBOX_EXTERN_C_END

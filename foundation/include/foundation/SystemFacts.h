// Small questions about the system, the application and volumes.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// The file of the running application; its package when it has one (GetProcessInformation). outFile is
// untouched on failure, and must not be null.
[[nodiscard]] MIRTAL_EXPORT OSErr GetAppFSSpec(FSSpec* outFile);

// What Gestalt answers to a selector; 0 when it answers an error.
MIRTAL_EXPORT long GetGestaltResult(OSType inSelector);
// The answer to "a/ux" without its low 8 bits; 0 where there is none.
MIRTAL_EXPORT short GetAUXVersion(void);

// The language of the system's script, as a code of the Script Manager.
MIRTAL_EXPORT unsigned short GetSystemLanguage(void);
MIRTAL_EXPORT short GetAppLanguage(void);
// Whether the application's byte strings are Mac Japanese. Asked once in the life of the process.
MIRTAL_EXPORT bool AppIsJapanese(void);

// Looks at the queue of events, which lets the system bring the application to the front.
MIRTAL_EXPORT void PullApplicationToFront(void);

// Whether a volume is locked, by its hardware or by software; false when it cannot be told.
MIRTAL_EXPORT bool VolumeIsLocked(short inVRefNum);

#ifdef __cplusplus
}
#endif

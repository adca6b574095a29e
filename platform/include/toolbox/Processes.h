// The running process. Every function may be called on any thread.
#pragma once

#include <toolbox/FileSpecs.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// A process's serial number. Only the process itself has one here.
typedef struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
} ProcessSerialNumber;

// Low halves that stand for a process, with a high half of 0.
enum { kNoProcess = 0, kSystemProcess = 1, kCurrentProcess = 2 };

// What processInfoLength is set to: the record's bytes where pointers have four.
enum { kProcessInfoLength = 60 };

typedef struct ProcessInfoRec {
    UInt32 processInfoLength;  // in: kProcessInfoLength
    StringPtr processName;     // in: room for the program's name, 32 bytes, or null
    ProcessSerialNumber processNumber;
    UInt32 processType;                   // 'APPL'
    OSType processSignature;              // '????': programs have none here
    UInt32 processMode;                   // 0
    Ptr processLocation;                  // null
    UInt32 processSize;                   // bytes of memory in use, at most 2^32 - 1
    UInt32 processFreeMem;                // bytes that the system has free, at most 2^32 - 1
    ProcessSerialNumber processLauncher;  // no process
    UInt32 processLaunchDate;             // on the clock of TickCount
    UInt32 processActiveTime;             // ticks of processor time used
    FSSpecPtr processAppSpec;             // in: room for the application, or null
} ProcessInfoRec;

// The serial number of this process. paramErr for a null argument.
TOOLBOX_MUST_USE OSErr GetCurrentProcess(ProcessSerialNumber* outNumber);

// What there is to know of this process, by its serial number or { 0, kCurrentProcess }. procNotFound for any
// other; paramErr for a null argument or another length; when the application is asked for, what the File
// Manager answers about it. Nothing is filled then.
//
// The application is the program's file; of a program in "Contents/Linux" or "Contents/MacOS" of a package
// (kLSItemInfoIsPackage) it is the package, and so the folder that it is in holds the package. The name is
// the program's, and the application's resources are those of the program's file (toolbox/Resources.h).
TOOLBOX_MUST_USE OSErr GetProcessInformation(const ProcessSerialNumber* inNumber, ProcessInfoRec* ioInfo);

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

// What the system is and has, by four-character selector.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

enum {
    gestaltSystemVersion = 0x73797376,       // 'sysv' level of the interface that the toolbox follows, 0x1040
    gestaltSystemVersionMajor = 0x73797331,  // 'sys1' its parts as plain numbers: 10
    gestaltSystemVersionMinor = 0x73797332,  // 'sys2' 4
    gestaltSystemVersionBugFix = 0x73797333,         // 'sys3' 0
    gestaltSysArchitecture = 0x73797361,             // 'sysa' the processor's kind
    gestaltPhysicalRAMSize = 0x72616D20,             // 'ram ' bytes, at most 2^31 - 1
    gestaltPhysicalRAMSizeInMegabytes = 0x72616D6D,  // 'ramm'
    gestaltLogicalRAMSize = 0x6C72616D,   // 'lram' with the room for swapping, bytes, at most 2^31 - 1
    gestaltLogicalPageSize = 0x7067737A,  // 'pgsz' bytes
    gestaltVMAttr = 0x766D2020,           // 'vm  ' bits below
    gestaltFSAttr = 0x66732020,           // 'fs  ' bits below
    gestaltAliasMgrAttr = 0x616C6973,     // 'alis' bit 0: there is one
    gestaltFindFolderAttr = 0x666F6C64,   // 'fold' bit 0: there is one
    gestaltResourceMgrAttr = 0x72737263   // 'rsrc' no bits: resources are read whole
};

// Bits, as numbers.
enum {
    gestaltVMPresent = 0,
    gestaltFullExtFSDispatching = 0,
    gestaltHasFSSpecCalls = 1,
    gestaltFSSupports4GBVols = 4,
    gestaltFSSupports2TBVols = 5,
    gestaltHasHFSPlusAPIs = 12,  // references to items, Unicode names, large files
    gestaltFSUsesPOSIXPathsForConversion = 14
};
// 'sysa'. Processors that have no number here are an unknown selector.
enum { gestaltPowerPC = 2, gestaltIntel = 10 };

enum {
    gestaltUnknownErr = -5550,       // it cannot be found out
    gestaltUndefSelectorErr = -5551  // no such selector here
};

// The answer to a selector. outResponse is untouched on failure. On any thread. paramErr for a null argument.
TOOLBOX_MUST_USE OSErr Gestalt(OSType inSelector, SInt32* outResponse);

TOOLBOX_EXTERN_C_END

// The File Manager: items of the catalogue, named by references.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Names an item that exists. It names the item itself, not its path: it stays good when the item is renamed or
// moved. Opaque; may be copied; holds for this process only.
typedef struct FSRef {
    UInt8 hidden[80];
} FSRef;

// A name in the catalogue: length in UTF-16 code units, at most 255.
typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

// A reference to the item at a POSIX path (UTF-8, NUL-terminated; links are followed). outIsDirectory may be null.
// fnfErr when nothing is there, dirNFErr when a folder on the way is missing, paramErr for a null argument.
TOOLBOX_EXPORT OSStatus FSPathMakeRef(const UInt8* inPath, FSRef* outRef, Boolean* outIsDirectory);
// The path of an item, NUL-terminated, into a buffer of inMaxPathSize bytes.
TOOLBOX_EXPORT OSStatus FSRefMakePath(const FSRef* inRef, UInt8* outPath, UInt32 inMaxPathSize);

TOOLBOX_EXTERN_C_END

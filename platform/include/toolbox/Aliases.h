// The Alias Manager: records that find an item again after it was renamed or moved, or the program restarted.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// An alias record; opaque beyond its header, big-endian, of the size of its handle.
typedef struct AliasRecord {
    OSType userType;   // the application's own
    UInt16 aliasSize;  // bytes of the whole record
} AliasRecord;
typedef AliasRecord* AliasPtr;
typedef AliasPtr* AliasHandle;

// A new alias with only what is needed to find inTarget again. The caller disposes of it as a handle; null on failure.
TOOLBOX_EXPORT OSErr FSNewAliasMinimal(const FSRef* inTarget, AliasHandle* outAlias);
// Finds the item. fnfErr when it cannot be found; *outWasChanged tells that the record was brought up to date.
TOOLBOX_EXPORT OSErr FSResolveAlias(const FSRef* inFromFile, AliasHandle inAlias, FSRef* outTarget,
                                    Boolean* outWasChanged);

TOOLBOX_EXTERN_C_END

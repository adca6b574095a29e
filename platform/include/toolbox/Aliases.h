// The Alias Manager: records that find an item again after it was renamed or moved, or the program restarted.
// A record is a handle that its maker disposes of; it is used by one thread at a time.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// The start of an alias record; the rest is opaque. All of it is big-endian bytes, on every host. A record
// may be stored and read back by a later run of the program, and the application may keep bytes of its own
// behind it in the handle.
typedef struct AliasRecord {
    OSType userType;   // the application's own; 0 in a new record
    UInt16 aliasSize;  // bytes of the whole record
} AliasRecord;
typedef AliasRecord* AliasPtr;
typedef AliasPtr* AliasHandle;

// A new alias with only what is needed to find inTarget again. The caller disposes of it as a handle;
// *outAlias is null on failure. fnfErr when the item is gone, errFSBadFSRef when inTarget is no reference,
// pathTooLongErr when the item's path does not fit in a record, memFullErr, paramErr for a null argument, or
// another status of the File Manager.
TOOLBOX_MUST_USE OSErr FSNewAliasMinimal(const FSRef* inTarget, AliasHandle* outAlias);

// Finds the item: where it was; else another of its kind that is there now; else the item itself where this
// process knows it to be, or under a new name in the folder where it was.
//   inFromFile     ignored, records hold absolute paths; may be null
//   inAlias        brought up to date when the item is not the same or not where it was, and then resized;
//                  left as it is when that cannot be done (the block is locked, or memory is short)
//   outTarget      untouched on failure
//   outWasChanged  whether inAlias was brought up to date; false on failure
// fnfErr when it cannot be found; paramErr for a null argument or bytes that are no alias record.
TOOLBOX_MUST_USE OSErr FSResolveAlias(const FSRef* inFromFile, AliasHandle inAlias, FSRef* outTarget,
                                      Boolean* outWasChanged);

TOOLBOX_EXTERN_C_END

// References to items, and what is asked of them most.
//
// Beside what a function names it answers what the File Manager answers (toolbox/Files.h, CatalogInfo.h,
// ItemLookup.h), and paramErr for a null reference. Outputs are untouched on failure. Every function may be
// called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Whether there is the item of the reference.
MIRTAL_EXPORT bool FSRefValid(const FSRef* inRef);

// The number of the volume that the item is on. paramErr for a null output.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVRefNum(const FSRef* inRef, SInt16* outVRefNum);

// The item's node id, and whether it is a folder. Either may be null, and is not looked up then.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetNodeID(const FSRef* inRef, UInt32* outNodeID, Boolean* outIsDirectory);

// The folder that the item is in; 80 zero bytes for the root folder of a volume. paramErr for a null output.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetParentRef(const FSRef* inRef, FSRef* outParent);

// What the process may not do with the item (kioACUser... of CatalogInfo.h), and the item's permissions.
// Either may be null, and is not looked up then.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetUserPrivilegesPermissions(const FSRef* inRef, UInt8* outUserPrivileges,
                                                                 FSPermissionInfo* outPermissions);

// The item by volume, folder and name. paramErr for a null output.
[[nodiscard]] MIRTAL_EXPORT OSErr FSRefMakeFSSpec(const FSRef* inRef, FSSpec* outSpec);

// A reference to the item of a volume, folder and name. inName may be null or empty: the folder itself.
[[nodiscard]] MIRTAL_EXPORT OSErr FSMakeFSRef(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName,
                                              FSRef* outRef);

// The path of that item.
//   inMaxPathSize  bytes that outPath holds, the terminating NUL included
// paramErr for a null buffer, pathTooLongErr for one that is too small.
[[nodiscard]] MIRTAL_EXPORT OSErr FSMakePath(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName,
                                             UInt8* outPath, UInt32 inMaxPathSize);

// The item at a path by volume, folder and name. The path is followed where its links lead.
//   outIsDirectory  may be null
[[nodiscard]] MIRTAL_EXPORT OSErr FSPathMakeFSSpec(const UInt8* inPath, FSSpec* outSpec,
                                                   Boolean* outIsDirectory);

// A file by its id, on its volume (toolbox/FileIDs.h); and an id by which it is found again wherever it goes
// there. fidExists where there was one before, outFileID being set then as well. paramErr for a null output.
[[nodiscard]] MIRTAL_EXPORT OSErr FSResolveFileIDRef(SInt16 inVRefNum, SInt32 inFileID, FSRef* outRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSCreateFileIDRef(const FSRef* inRef, SInt32* outFileID);

#ifdef __cplusplus
}
#endif

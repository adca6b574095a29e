// Who may do what in folders; users and groups by number and by name.
//
// Beside what a function names it answers what toolbox/DirAccess.h tells, and paramErr for null. Outputs are
// untouched on failure. Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/DirAccess.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>
#include <toolbox/VolumeInfo.h>

#ifdef __cplusplus
extern "C" {
#endif

// A folder's owner and group, and who may do what in it (kioACAccess...). What is told may be null; all three
// are set.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetDirAccess(const FSRef* inFolder, SInt32* outOwnerID,
                                                 SInt32* outGroupID, SInt32* outAccess);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetDirAccess(const FSRef* inFolder, SInt32 inOwnerID, SInt32 inGroupID,
                                                 SInt32 inAccess);

// The name of a user or group, and its number.
//   inObjectType  kOwnerID2Name or kGroupID2Name for FSMapID, kOwnerName2ID or kGroupName2ID for FSMapName
//   outName       room for 32 bytes: the length, and a name in the application's encoding
//   inName        at most 31 bytes; bdNamErr for more
[[nodiscard]] MIRTAL_EXPORT OSErr FSMapID(FSVolumeRefNum inVolume, SInt32 inID, SInt16 inObjectType,
                                          StringPtr outName);
[[nodiscard]] MIRTAL_EXPORT OSErr FSMapName(FSVolumeRefNum inVolume, ConstStr255Param inName,
                                            SInt16 inObjectType, SInt32* outID);

#ifdef __cplusplus
}
#endif

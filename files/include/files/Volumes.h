// Volumes, what they can do and how they are mounted, and the default folder.
//
// Beside what a function names it answers what the File Manager answers (toolbox/VolumeInfo.h,
// VolumeAttributes.h, MountRecords.h, DefaultFolder.h). Outputs are untouched on failure. Every function may
// be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>
#include <toolbox/VolumeAttributes.h>
#include <toolbox/VolumeInfo.h>

#ifdef __cplusplus
extern "C" {
#endif

// The volume's name, and how many bytes are free and how many there are. Each may be null; the file system is
// asked only where one of the two numbers is not.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVInfo(FSVolumeRefNum inVolume, HFSUniStr255* outName,
                                             UInt64* outFreeBytes, UInt64* outTotalBytes);

// The id and the signature of the volume's file system. Each may be null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVolFileSystemID(FSVolumeRefNum inVolume, UInt16* outFileSystemID,
                                                       UInt16* outSignature);

// What the volume can do.
//   inBufferSize    bytes that outParameters has room for; more are not written
//   outActualSize   bytes that were written; may be null
// paramErr for null, and for a size that is more than an SInt32 holds.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVolParms(FSVolumeRefNum inVolume, UInt32 inBufferSize,
                                                GetVolParmsInfoBuffer* outParameters, UInt32* outActualSize);

// The size in bytes of the record by which the volume is mounted again, the record, and its mounting. The
// record has no alignment. paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVolMountInfoSize(FSVolumeRefNum inVolume, SInt16* outSize);
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetVolMountInfo(FSVolumeRefNum inVolume, void* outRecord);
[[nodiscard]] MIRTAL_EXPORT OSErr FSVolumeMount(const void* inRecord, FSVolumeRefNum* outVolume);

// References to the root folders of all mounted volumes, 80 bytes each, in a handle that the caller disposes
// of. On failure it is null, and the number 0: paramErr for null, memFullErr.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetMountedVolumes(Handle* outVolumes, ItemCount* outCount);

// Makes a folder the default one of the process.
//   outPrevious  the one before, for FSRestoreDefault; 80 zero bytes when there was none, or it is gone
// dirNFErr when it is no folder, paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetDefault(const FSRef* inFolder, FSRef* outPrevious);
[[nodiscard]] MIRTAL_EXPORT OSErr FSRestoreDefault(const FSRef* inPrevious);

#ifdef __cplusplus
}
#endif

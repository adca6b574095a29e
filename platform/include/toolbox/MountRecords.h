// Records by which volumes are mounted again.
//
// All functions answer paramErr for null, also as ioBuffer, nsvErr when there is no such volume (any more),
// and else what Files.h tells. On failure only ioResult is set. Any thread.
#pragma once

#include <toolbox/HParamBlocks.h>

TOOLBOX_EXTERN_C_BEGIN

// Whose records they are. Those of other media cannot be mounted here.
typedef OSType VolumeType;
enum { kSystemMountMedia = 0x6D6E7420 };  // 'mnt '

// flags
enum {
    kVolMountReadOnly = 0x0001,
    kVolMountNoSetUserID = 0x0002,  // programs do not run in their owners' names
    kVolMountNoDevices = 0x0004,
    kVolMountNoPrograms = 0x0008
};

#pragma pack(push, 2)
// What every record begins with. 8 bytes.
typedef struct VolumeMountInfoHeader {
    SInt16 length;  // of the whole record, in bytes
    VolumeType media;
    SInt16 flags;
} VolumeMountInfoHeader;

// The system's. Behind it are three texts, each ending with NUL, at their distances from the record's start.
typedef struct SystemVolMountInfo {
    VolumeMountInfoHeader header;
    SInt16 typeOffset;    // of the file system: "ext4"
    SInt16 sourceOffset;  // "/dev/sda1", "server:/folder"
    SInt16 folderOffset;  // where it is mounted, an absolute path
} SystemVolMountInfo;

// 50 bytes on a host of 32 bits, 74 on one of 64.
typedef union ParamBlockRec {
    HIOParam ioParam;
} ParamBlockRec;
#pragma pack(pop)
typedef ParamBlockRec* ParmBlkPtr;

// The size in bytes of the record that PBGetVolMountInfo makes, and the record. A volume that shows a part of
// its file system alone, as one folder that is mounted again elsewhere or a subvolume does, has none:
// paramErr. Of ioParam:
//   ioVRefNum  in: the volume; 0 stands for the first
//   ioBuffer   out: room for the SInt16 that is the size; room for the record
TOOLBOX_MUST_USE OSErr PBGetVolMountInfoSize(ParmBlkPtr ioBlock);
TOOLBOX_MUST_USE OSErr PBGetVolMountInfo(ParmBlkPtr ioBlock);

// Mounts the volume of a record, as it was mounted, with the file system's own settings as they are when
// nobody tells any. Those of most networks (nfs, cifs) need some, at least the server's address, and cannot
// be mounted so: they answer what the system does. Only an administrator may: permErr. paramErr for a record
// that makes no sense or is of other media, dirNFErr when the folder is not there or is none; an unknown type
// or source answers what the system does. What fails when it is mounted already, for want of memory or
// because it cannot be looked at, leaves it mounted. Of ioParam:
//   ioBuffer   in: the record
//   ioVRefNum  out: the volume
TOOLBOX_MUST_USE OSErr PBVolumeMount(ParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

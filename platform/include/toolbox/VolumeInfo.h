// What is known of a volume.
#pragma once

#include <toolbox/CatalogInfo.h>

TOOLBOX_EXTERN_C_BEGIN

// A volume's number, see Volumes.h; and the number of none.
typedef SInt16 FSVolumeRefNum;
enum { kFSInvalidVolumeRefNum = 0 };

// Parts of FSVolumeInfo, to be combined.
typedef UInt32 FSVolumeInfoBitmap;
enum {
    kFSVolInfoNone = 0,
    kFSVolInfoCreateDate = 0x0001,
    kFSVolInfoModDate = 0x0002,
    kFSVolInfoBackupDate = 0x0004,
    kFSVolInfoCheckedDate = 0x0008,
    kFSVolInfoFileCount = 0x0010,
    kFSVolInfoDirCount = 0x0020,
    kFSVolInfoSizes = 0x0040,   // totalBytes, freeBytes
    kFSVolInfoBlocks = 0x0080,  // blockSize, totalBlocks, freeBlocks
    kFSVolInfoNextAlloc = 0x0100,
    kFSVolInfoRsrcClump = 0x0200,
    kFSVolInfoDataClump = 0x0400,
    kFSVolInfoNextID = 0x0800,
    kFSVolInfoFinderInfo = 0x1000,
    kFSVolInfoFlags = 0x2000,
    kFSVolInfoFSInfo = 0x4000,     // filesystemID, signature
    kFSVolInfoDriveInfo = 0x8000,  // driveNumber, driverRefNum
    kFSVolInfoGettable = 0xFFFF
};

// flags
enum {
    kFSVolFlagDefaultVolumeBit = 5,
    kFSVolFlagDefaultVolumeMask = 0x0020,  // the first one
    kFSVolFlagFilesOpenBit = 6,
    kFSVolFlagFilesOpenMask = 0x0040,  // this process has forks of its files open
    kFSVolFlagHardwareLockedBit = 7,
    kFSVolFlagHardwareLockedMask = 0x0080,  // the device can only be read
    kFSVolFlagJournalingActiveBit = 14,
    kFSVolFlagJournalingActiveMask = 0x4000,  // never told: the system does not say whether one is kept
    kFSVolFlagSoftwareLockedBit = 15,
    kFSVolFlagSoftwareLockedMask = 0x8000  // mounted to be read only
};

#pragma pack(push, 2)
// 126 bytes. What the system does not tell is 0.
typedef struct FSVolumeInfo {
    UTCDateTime createDate;   // of its root folder
    UTCDateTime modifyDate;   // the same
    UTCDateTime backupDate;   // the same
    UTCDateTime checkedDate;  // 0
    UInt32 fileCount;         // items of all kinds, as far as the file system counts them
    UInt32 folderCount;       // 0: not counted apart
    UInt64 totalBytes;
    UInt64 freeBytes;  // that the user may fill
    UInt32 blockSize;  // bytes, as many as make the counts fit
    UInt32 totalBlocks;
    UInt32 freeBlocks;      // that the user may fill
    UInt32 nextAllocation;  // 0
    UInt32 rsrcClumpSize;   // bytes: a block
    UInt32 dataClumpSize;   // the same
    UInt32 nextCatalogID;   // 0
    UInt8 finderInfo[32];   // 0: nothing is started from a volume by its Finder information
    UInt16 flags;
    UInt16
        filesystemID;  // of the type: the lower half of what statfs(2) calls it (0xEF53: ext4); 0: a new one
    UInt16 signature;  // 'BD', as PBHGetVInfoSync tells it
    UInt16 driveNumber;   // the volume's own: its number without the sign
    SInt16 driverRefNum;  // 0: programs know none
} FSVolumeInfo;
#pragma pack(pop)

// What is known of a volume. Only fileCount, sizes, blocks and clumps ask its file system, which on a server
// may take its time; the rest costs looks at the volume's root folder, and at what the kernel tells of
// mounts.
//   inVolume          where inIndex is 0: its number; kFSInvalidVolumeRefNum stands for the first
//   inIndex           from 1: the volume of that place among those that are mounted now
//   outActualVolume   its number
//   outInfo           the parts asked for; all others are left alone
//   outName           of the folder where it is mounted, "/" for the first
//   outRootDirectory  its root folder
// Each result may be null; all are untouched on failure. nsvErr when there is no such volume (any more), and
// behind the last index; by index, when its root is asked for, dirNFErr for a volume that is there and cannot
// be reached, as of a server that is gone, and afpAccessDenied for another user's; paramErr for bits that are
// not named above, and for bits without outInfo; else as in Files.h. Any thread.
TOOLBOX_MUST_USE OSErr FSGetVolumeInfo(FSVolumeRefNum inVolume, ItemCount inIndex,
                                       FSVolumeRefNum* outActualVolume, FSVolumeInfoBitmap inWhichInfo,
                                       FSVolumeInfo* outInfo, HFSUniStr255* outName, FSRef* outRootDirectory);

TOOLBOX_EXTERN_C_END

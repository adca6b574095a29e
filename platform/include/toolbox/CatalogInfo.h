// What the catalogue knows of an item.
//
// Every function may be called on any thread. Beside what a function names: errFSBadFSRef for bytes that are
// no reference, fnfErr when the item is gone, and what Files.h tells of every function.
#pragma once

#include <toolbox/FileSpecs.h>
#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// Parts of FSCatalogInfo, to be combined.
typedef UInt32 FSCatalogInfoBitmap;
enum {
    kFSCatInfoNone = 0,
    kFSCatInfoNodeFlags = 0x0002,
    kFSCatInfoVolume = 0x0004,
    kFSCatInfoParentDirID = 0x0008,
    kFSCatInfoNodeID = 0x0010,
    kFSCatInfoContentMod = 0x0040,
    kFSCatInfoAttrMod = 0x0080,
    kFSCatInfoAccessDate = 0x0100,
    kFSCatInfoPermissions = 0x0400,
    kFSCatInfoDataSizes = 0x4000
};

// nodeFlags: the item is a folder.
enum { kFSNodeIsDirectoryBit = 4, kFSNodeIsDirectoryMask = 0x0010 };

#pragma pack(push, 2)
// A moment, since midnight of 1 January 1904, Universal Time.
typedef struct UTCDateTime {
    UInt16 highSeconds;
    UInt32 lowSeconds;
    UInt16 fraction;  // of a second, in 65536ths
} UTCDateTime;
#pragma pack(pop)

typedef struct FSPermissionInfo {
    UInt32 userID;
    UInt32 groupID;
    UInt8 reserved1;
    UInt8 userAccess;  // what the process may do: 4 read, 2 write, 1 search or execute
    UInt16 mode;       // POSIX: permissions, and the bits of the kind
    UInt32 reserved2;
} FSPermissionInfo;

// 144 bytes. Fields without a bit above are not filled.
typedef struct FSCatalogInfo {
    UInt16 nodeFlags;
    SInt16 volume;
    UInt32 parentDirID;  // 1 for a volume's root folder
    UInt32 nodeID;
    UInt8 sharingFlags;
    UInt8 userPrivileges;
    UInt8 reserved1;
    UInt8 reserved2;
    UTCDateTime createDate;
    UTCDateTime contentModDate;
    UTCDateTime attributeModDate;
    UTCDateTime accessDate;
    UTCDateTime backupDate;
    FSPermissionInfo permissions;
    UInt8 finderInfo[16];
    UInt8 extFinderInfo[16];
    UInt64 dataLogicalSize;   // bytes
    UInt64 dataPhysicalSize;  // bytes on the volume
    UInt64 rsrcLogicalSize;
    UInt64 rsrcPhysicalSize;
    UInt32 valence;
    TextEncoding textEncodingHint;
} FSCatalogInfo;

// Each result may be null; all are untouched on failure, and so are the parts of outInfo that are not asked
// for. Data sizes of a folder are 0.
//   outName       the item's name in the catalogue; "/" in it is ":" on disk
//   outSpec       the item by volume, folder and name
//   outParentRef  the folder that the item is in; 80 zero bytes for a volume's root folder
// paramErr for bits that are not named above, and for bits without outInfo.
TOOLBOX_MUST_USE OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo,
                                        FSCatalogInfo* outInfo, HFSUniStr255* outName, FSSpec* outSpec,
                                        FSRef* outParentRef);

// Sets the parts asked for; of those above only kFSCatInfoPermissions can be set, and of the permissions only
// the lower 12 bits of the mode: owner, group and kind stay what they are. permErr when the item is another
// user's, and for a link, whose permissions are its own, unless they are those already; paramErr for other
// bits.
TOOLBOX_MUST_USE OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo,
                                        const FSCatalogInfo* inInfo);

TOOLBOX_EXTERN_C_END

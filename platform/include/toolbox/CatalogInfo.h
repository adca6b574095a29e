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
    kFSCatInfoTextEncoding = 0x00000001,
    kFSCatInfoNodeFlags = 0x00000002,
    kFSCatInfoVolume = 0x00000004,
    kFSCatInfoParentDirID = 0x00000008,
    kFSCatInfoNodeID = 0x00000010,
    kFSCatInfoCreateDate = 0x00000020,
    kFSCatInfoContentMod = 0x00000040,
    kFSCatInfoAttrMod = 0x00000080,
    kFSCatInfoAccessDate = 0x00000100,
    kFSCatInfoBackupDate = 0x00000200,
    kFSCatInfoAllDates = 0x000003E0,
    kFSCatInfoPermissions = 0x00000400,
    kFSCatInfoFinderInfo = 0x00000800,
    kFSCatInfoFinderXInfo = 0x00001000,
    kFSCatInfoValence = 0x00002000,
    kFSCatInfoDataSizes = 0x00004000,
    kFSCatInfoRsrcSizes = 0x00008000,
    kFSCatInfoSharingFlags = 0x00010000,
    kFSCatInfoUserPrivs = 0x00020000,
    kFSCatInfoGettableInfo = 0x0003FFFF,
    kFSCatInfoSettableInfo = 0x00001FE3
};

// nodeFlags.
enum {
    kFSNodeLockedBit = 0,
    kFSNodeLockedMask = 0x0001,  // it is not to be written, renamed, moved or deleted
    // Which of its forks this process has open (Forks.h), by whichever of its names.
    kFSNodeResOpenBit = 2,
    kFSNodeResOpenMask = 0x0004,
    kFSNodeDataOpenBit = 3,
    kFSNodeDataOpenMask = 0x0008,
    kFSNodeIsDirectoryBit = 4,
    kFSNodeIsDirectoryMask = 0x0010,
    kFSNodeForkOpenBit = 7,
    kFSNodeForkOpenMask = 0x0080,  // one of them or both
    kFSNodeHardLinkBit = 8,
    kFSNodeHardLinkMask = 0x0100  // a file that has more than one name
};

// userPrivileges: what the process may not do.
enum {
    kioACUserNoSeeFolderMask = 0x01,    // see the folders in a folder
    kioACUserNoSeeFilesMask = 0x02,     // see the files in a folder; read what is no folder
    kioACUserNoMakeChangesMask = 0x04,  // change it
    kioACUserNotOwnerMask = 0x80        // it is another user's
};

// textEncodingHint of an item that has none.
enum { kTextEncodingUnknown = 0 };

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

// 144 bytes, in host byte order.
typedef struct FSCatalogInfo {
    UInt16 nodeFlags;
    SInt16 volume;
    UInt32 parentDirID;  // 1 for a volume's root folder
    UInt32 nodeID;
    UInt8 sharingFlags;  // 0: no folder is shared by what these flags are about
    UInt8 userPrivileges;
    UInt8 reserved1;
    UInt8 reserved2;
    UTCDateTime createDate;
    UTCDateTime contentModDate;
    UTCDateTime attributeModDate;
    UTCDateTime accessDate;
    UTCDateTime backupDate;  // 0: never
    FSPermissionInfo permissions;
    UInt8 finderInfo[16];     // FileInfo, or FolderInfo; see FinderInfo.h
    UInt8 extFinderInfo[16];  // ExtendedFileInfo, or ExtendedFolderInfo
    UInt64 dataLogicalSize;   // bytes
    UInt64 dataPhysicalSize;  // bytes on the volume
    UInt64 rsrcLogicalSize;
    UInt64 rsrcPhysicalSize;  // of the file that holds the fork, unless that has no bytes
    UInt32 valence;           // items in a folder, as a listing shows them
    TextEncoding textEncodingHint;
} FSCatalogInfo;

// Each result may be null; all are untouched on failure, and so are the parts of outInfo that are not asked
// for. Sizes of what is no file are 0, and so is the valence of what is no folder.
//   outName       the item's name in the catalogue; "/" in it is ":" on disk
//   outSpec       the item by volume, folder and name
//   outParentRef  the folder that the item is in; 80 zero bytes for a volume's root folder
// afpAccessDenied for the valence of a folder whose items may not be listed. What the file system does not
// hold, such as Finder information, comes from the item's companion. An item without one has none of it, is
// not locked, and was created when it was born, or, where the file system does not tell, at the earliest of
// its other dates. A link is told of itself: a file of type 'slnk' and creator 'rhap', an alias. An item that
// nobody may change is locked; one whose companion may not be read is not, as far as can be told, and asking
// for the rest of it answers afpAccessDenied. errFSBadInfoBitmap for bits that are not gettable,
// errFSMissingCatInfo for bits without outInfo.
TOOLBOX_MUST_USE OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo,
                                        FSCatalogInfo* outInfo, HFSUniStr255* outName, FSSpec* outSpec,
                                        FSRef* outParentRef);

// Sets the parts asked for, also of a locked item. Of the node flags only the lock can be set, of the
// permissions only the lower 12 bits of the mode; the attribute date is taken and ignored. The permissions of
// what lies beside the item on disk follow its own. Those who set different parts of one item at once keep
// what each has set. Setting what a companion keeps dates the root folder of a volume, in which that lies.
//   creation and backup date  whole seconds of 1932 to 2067, paramErr for others; 0 is none, and then the
//                             creation date is what it would be without
//   content and access date   kept as exactly as the file system can
// Nothing has changed on failure, but that date. A link's own is set, never its target's: its type, creator,
// alias flag and permissions are what they are, and permErr answers for other permissions; the type and
// creator of a link are not given to a file. permErr also when the item or, for other permissions, its
// companion is another user's, and for unlocking what nobody may change; fBsyErr when others write the
// companion or change its names for some seconds; bdNamErr when a companion is needed and the name is too
// long for one, dskFulErr when the companion has no room for it all, ioErr when a file that is none has its
// name, vLckdErr when the volume is mounted to be read only and wPrErr when its device is. errFSBadInfoBitmap
// for bits that are not settable, errFSMissingCatInfo for bits without inInfo.
TOOLBOX_MUST_USE OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo,
                                        const FSCatalogInfo* inInfo);

TOOLBOX_EXTERN_C_END

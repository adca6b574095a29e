// What a volume can do.
#pragma once

#include <toolbox/HParamBlocks.h>
#include <toolbox/MacMemory.h>

TOOLBOX_EXTERN_C_BEGIN

// Bits of vMAttrib. Those marked are told of volumes here, the others never.
enum {
    bLimitFCBs = 31,
    bLocalWList = 30,
    bNoMiniFndr = 29,  // told: programs are not started from it alone
    bNoVNEdit = 28,    // told: its name is that of the folder where it is mounted
    bNoLclSync = 27,
    bTrshOffLine = 26,
    bNoSwitchTo = 25,
    bNoDeskItems = 20,
    bNoBootBlks = 19,  // told
    bAccessCntl = 18,  // told where the file system has owners: who may do what can be asked and set
    bNoSysDir = 17,
    bHasExtFSVol = 16,  // told
    bHasOpenDeny = 15,
    bHasCopyFile = 14,    // told: PBHCopyFileSync
    bHasMoveRename = 13,  // told: PBHMoveRenameSync
    bHasDesktopMgr = 12,
    bHasShortName = 11,
    bHasFolderLock = 10,
    bHasPersonalAccessPrivileges = 9,
    bHasUserGroupList = 8,
    bHasCatSearch = 7,
    bHasFileIDs = 6,  // told: PBCreateFileIDRefSync
    bHasBTreeMgr = 5,
    bHasBlankAccessPrivileges = 4,
    bSupportsAsyncRequests = 3,
    bSupportsTrashVolumeCache = 2
};

// Bits of vMExtendedAttributes, the same.
enum {
    bIsEjectable = 0,
    bSupportsHFSPlusAPIs = 1,  // told
    bSupportsFSCatalogSearch = 2,
    bSupportsFSExchangeObjects = 3,  // told where the file system exchanges two names in one step
    bSupports2TBFiles = 4,           // told where it has files of that length
    bSupportsLongNames = 5,          // told
    bSupportsMultiScriptNames = 6,   // told
    bSupportsNamedForks = 7,
    bSupportsSubtreeIterators = 8,  // told: FSOpenIterator
    bL2PCanMapFileBlocks = 9,
    bParentModDateChanges = 10,
    bAncestorModDateChanges = 11,
    bSupportsSymbolicLinks = 13,  // told where it has them
    bIsAutoMounted = 14,
    bAllowCDiDataHandler = 17,
    bSupportsExclusiveLocks = 18,  // told: forks that one opens to write alone
    bSupportsJournaling = 19,      // told where the file system keeps a journal, if it is not told otherwise
    bNoVolumeSizes = 20,
    bIsOnInternalBus = 21,
    bIsCaseSensitive = 22,   // not told: names that differ only by case are one to the catalogue
    bIsCasePreserving = 23,  // told
    bDoNotDisplay = 24,
    bIsRemovable = 25,  // told of devices that the kernel calls so
    bNoRootTimes = 26,
    bIsOnExternalBus = 27,
    bSupportsExtendedFileSecurity = 28
};

#pragma pack(push, 2)
// 32 bytes on a host of 32 bits, 44 on one of 64; version 3 ends behind vMExtendedAttributes.
typedef struct GetVolParmsInfoBuffer {
    SInt16 vMVersion;  // 5
    SInt32 vMAttrib;
    Handle vMLocalHand;      // null
    SInt32 vMServerAdr;      // not 0 for a volume of a server: a number made from the server's name
    SInt32 vMVolumeGrade;    // 0: not known
    SInt16 vMForeignPrivID;  // 0: none
    SInt32 vMExtendedAttributes;
    void* vMDeviceID;              // null
    UniCharCount vMMaxNameLength;  // of a name in UTF-16 units: 255
} GetVolParmsInfoBuffer;
#pragma pack(pop)

// Tells what a volume can do, by the type of its file system; that is not asked itself. Of ioParam:
//   ioVRefNum   in: the volume; 0 stands for the first
//   ioBuffer    out: a GetVolParmsInfoBuffer, cut off where it is to be shorter
//   ioReqCount  in: bytes that are wanted
//   ioActCount  out: bytes that were written
// nsvErr when there is no such volume (any more), paramErr for null, also as ioBuffer, and for a negative
// number of bytes; else as in Files.h. On failure only ioResult is set. Any thread.
TOOLBOX_MUST_USE OSErr PBHGetVolParmsSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

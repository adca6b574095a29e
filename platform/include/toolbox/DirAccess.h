// Who may do what in folders; users and groups by number and by name.
//
// Owners, groups and permissions are those of POSIX. All functions answer paramErr for null, nsvErr when
// there is no such volume (any more), and else what Files.h tells. On failure only ioResult is set. Any
// thread.
#pragma once

#include <toolbox/HParamBlocks.h>

TOOLBOX_EXTERN_C_BEGIN

// Bits of ioACAccess. In a folder, to search is to reach items by their names, to read is to list it, and to
// write is to change what is in it.
enum {
    kioACAccessOwnerSearchBit = 0,
    kioACAccessOwnerSearchMask = 0x00000001,
    kioACAccessOwnerReadBit = 1,
    kioACAccessOwnerReadMask = 0x00000002,
    kioACAccessOwnerWriteBit = 2,
    kioACAccessOwnerWriteMask = 0x00000004,
    kioACAccessGroupSearchBit = 8,
    kioACAccessGroupSearchMask = 0x00000100,
    kioACAccessGroupReadBit = 9,
    kioACAccessGroupReadMask = 0x00000200,
    kioACAccessGroupWriteBit = 10,
    kioACAccessGroupWriteMask = 0x00000400,
    kioACAccessEveryoneSearchBit = 16,
    kioACAccessEveryoneSearchMask = 0x00010000,
    kioACAccessEveryoneReadBit = 17,
    kioACAccessEveryoneReadMask = 0x00020000,
    kioACAccessEveryoneWriteBit = 18,
    kioACAccessEveryoneWriteMask = 0x00040000,
    kioACAccessUserSearchBit = 24,  // from here on, what this process may do
    kioACAccessUserSearchMask = 0x01000000,
    kioACAccessUserReadBit = 25,
    kioACAccessUserReadMask = 0x02000000,
    kioACAccessUserWriteBit = 26,
    kioACAccessUserWriteMask = 0x04000000,
    kioACAccessBlankAccessBit = 28,
    kioACAccessBlankAccessMask = 0x10000000,  // never told
    kioACAccessUserOwnerBit = 31,
    kioACAccessUserOwnerMask = (int)0x80000000  // its user is the owner
};

// Of a folder, of accessParam:
//   ioVRefNum, ioDirID, ioNamePtr  in: the folder, as FSpMakeFSRef takes it
//   ioACOwnerID, ioACGroupID       out: whose it is
//   ioACAccess                     out: who may do what
// fnfErr, dirNFErr when it is not there, afpObjectTypeErr when it is none.
TOOLBOX_MUST_USE OSErr PBHGetDirAccessSync(HParmBlkPtr ioBlock);

// Sets all three; of ioACAccess the rights of owner, group and everyone. What else is in the folder's mode
// stays, but that the system takes the set-group-ID bit from a folder of a group to which its owner, who is
// no administrator, does not belong. Only an administrator gives a folder to another user. While it changes
// hands nobody has rights that he has neither before nor after. permErr when the user may not, paramErr for
// an owner or group of -1, vLckdErr or wPrErr where the volume may only be read: nothing has changed then.
TOOLBOX_MUST_USE OSErr PBHSetDirAccessSync(HParmBlkPtr ioBlock);

// Of objParam:
//   ioVRefNum     in: a volume; 0 stands for the first
//   ioObjType     in: what is to be done; paramErr for anything else
//   ioObjNamePtr  room for a name of 31 bytes in the application's encoding, and its length
//   ioObjID       a user's or group's number
// fnfErr when the user database knows none; else why it could not be asked.
enum {
    kOwnerID2Name = 1,  // of PBHMapIDSync
    kGroupID2Name = 2,
    kOwnerName2ID = 3,  // of PBHMapNameSync
    kGroupName2ID = 4
};
// ioObjNamePtr becomes the name of ioObjID. One that does not fit is cut, and tells the number.
TOOLBOX_MUST_USE OSErr PBHMapIDSync(HParmBlkPtr ioBlock);
// ioObjID becomes the number of ioObjNamePtr.
TOOLBOX_MUST_USE OSErr PBHMapNameSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

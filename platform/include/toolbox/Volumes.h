// Volumes: the mounted file systems that hold data.
//
// A volume has a negative reference number from the first time that the process meets it until its end. The
// first is the one of the root folder "/". File systems that the kernel makes up, such as /proc, hold no
// blocks and are not counted; one that is mounted at several places is as many volumes, between which nothing
// is moved by renaming. Every function may be called on any thread.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// Attributes of a volume, ioVAtrb.
enum {
    kHFSVolumeHardwareLockMask = 0x0080,  // the device can only be read
    kHFSVolumeSoftwareLockMask = 0x8000   // mounted to be read only
};

#pragma pack(push, 2)
// Asks about a volume. What is not named here is left alone. Pointers have the host's width, so the record is
// longer than its historic 122 bytes on a host of 64 bits.
typedef struct HVolumeParam {
    void* qLink;
    SInt16 qType;
    SInt16 ioTrap;
    Ptr ioCmdAddr;
    void* ioCompletion;
    OSErr ioResult;       // out: what the function answers
    StringPtr ioNamePtr;  // in: room for the name, 28 bytes, or null
    SInt16 ioVRefNum;     // in and out
    SInt32 filler2;
    SInt16 ioVolIndex;  // in: more than 0, the volume of that index, from 1; else ioVRefNum tells
    UInt32 ioVCrDate;
    UInt32 ioVLsMod;
    SInt16 ioVAtrb;  // out: the locks
    UInt16 ioVNmFls;
    SInt16 ioVBitMap;
    SInt16 ioAllocPtr;
    UInt16 ioVNmAlBlks;  // out: blocks, of which there are at most 65535 for a program to count
    UInt32 ioVAlBlkSiz;  // out: bytes of a block, as many as make the count fit
    UInt32 ioVClpSiz;    // out: the same
    SInt16 ioAlBlSt;
    UInt32 ioVNxtCNID;
    UInt16 ioVFrBlk;    // out: blocks that the user may fill
    UInt16 ioVSigWord;  // out: 'BD'
    SInt16 ioVDrvInfo;
    SInt16 ioVDRefNum;
    SInt16 ioVFSID;
    UInt32 ioVBkUp;
    SInt16 ioVSeqNum;
    UInt32 ioVWrCnt;
    UInt32 ioVFilCnt;  // out: items on the volume, as far as the file system counts them
    UInt32 ioVDirCnt;
    SInt32 ioVFndrInfo[8];
} HVolumeParam;

typedef union HParamBlockRec {
    HVolumeParam volumeParam;
} HParamBlockRec;
#pragma pack(pop)
typedef HParamBlockRec* HParmBlkPtr;

// Fills a volume's parameters. The volume of reference number 0 is the first. Its name is that of the folder
// where it is mounted, "/" for the first. nsvErr when there is no such volume (any more); else as in Files.h.
// On failure only ioResult is set. Null answers paramErr.
TOOLBOX_MUST_USE OSErr PBHGetVInfoSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

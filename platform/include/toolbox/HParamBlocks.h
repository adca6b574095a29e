// The parameter blocks of calls about volumes, files by folder and name, and access: HParamBlockRec, of which
// each function names the member and the fields that it reads and sets. What is not named is left alone.
//
// Pointers have the host's width, so the records are longer than they were on hosts of 32 bits. Folder, file,
// user and group ids are the 32 bits of unsigned numbers.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

#pragma pack(push, 2)

// What all of them begin with.
#define TOOLBOX_PARAM_HEADER                             \
    void* qLink;                                         \
    SInt16 qType;                                        \
    SInt16 ioTrap;                                       \
    Ptr ioCmdAddr;                                       \
    void* ioCompletion;                                  \
    OSErr ioResult; /* out: what the function answers */ \
    StringPtr ioNamePtr;                                 \
    SInt16 ioVRefNum

// 50 bytes on a host of 32 bits, 74 on one of 64.
typedef struct HIOParam {
    TOOLBOX_PARAM_HEADER;
    SInt16 ioRefNum;
    SInt8 ioVersNum;
    SInt8 ioPermssn;
    Ptr ioMisc;
    Ptr ioBuffer;
    SInt32 ioReqCount;  // bytes
    SInt32 ioActCount;  // bytes
    SInt16 ioPosMode;
    SInt32 ioPosOffset;
} HIOParam;

// 122 bytes, and 138.
typedef struct HVolumeParam {
    TOOLBOX_PARAM_HEADER;
    SInt32 filler2;
    SInt16 ioVolIndex;
    UInt32 ioVCrDate;
    UInt32 ioVLsMod;
    SInt16 ioVAtrb;
    UInt16 ioVNmFls;
    SInt16 ioVBitMap;
    SInt16 ioAllocPtr;
    UInt16 ioVNmAlBlks;
    UInt32 ioVAlBlkSiz;
    UInt32 ioVClpSiz;
    SInt16 ioAlBlSt;
    UInt32 ioVNxtCNID;
    UInt16 ioVFrBlk;
    UInt16 ioVSigWord;
    SInt16 ioVDrvInfo;
    SInt16 ioVDRefNum;
    SInt16 ioVFSID;
    UInt32 ioVBkUp;
    SInt16 ioVSeqNum;
    UInt32 ioVWrCnt;
    UInt32 ioVFilCnt;
    UInt32 ioVDirCnt;
    SInt32 ioVFndrInfo[8];
} HVolumeParam;

// Who may do what in a folder. 52 bytes, and 68.
typedef struct AccessParam {
    TOOLBOX_PARAM_HEADER;
    SInt16 filler3;
    SInt16 ioDenyModes;
    SInt16 filler4;
    SInt8 filler5;
    SInt8 ioACUser;
    SInt32 filler6;
    SInt32 ioACOwnerID;
    SInt32 ioACGroupID;
    SInt32 ioACAccess;
    SInt32 ioDirID;
} AccessParam;

// Users and groups. 36 bytes, and 56.
typedef struct ObjParam {
    TOOLBOX_PARAM_HEADER;
    SInt16 filler7;
    SInt16 ioObjType;
    StringPtr ioObjNamePtr;
    SInt32 ioObjID;
} ObjParam;

// Files copied, items moved. 52 bytes, and 76.
typedef struct CopyParam {
    TOOLBOX_PARAM_HEADER;
    SInt16 ioDstVRefNum;
    SInt16 filler8;
    StringPtr ioNewName;
    StringPtr ioCopyName;
    SInt32 ioNewDirID;
    SInt32 filler14;
    SInt32 filler15;
    SInt32 ioDirID;
} CopyParam;

// Files by id. 58 bytes, and 78.
typedef struct FIDParam {
    TOOLBOX_PARAM_HEADER;
    SInt32 filler14;
    StringPtr ioDestNamePtr;
    SInt32 filler15;
    SInt32 ioDestDirID;
    SInt32 filler16;
    SInt32 filler17;
    SInt32 ioSrcDirID;
    SInt16 filler18;
    SInt32 ioFileID;
} FIDParam;

#undef TOOLBOX_PARAM_HEADER

typedef union HParamBlockRec {
    HIOParam ioParam;
    HVolumeParam volumeParam;
    AccessParam accessParam;
    ObjParam objParam;
    CopyParam copyParam;
    FIDParam fidParam;
} HParamBlockRec;
#pragma pack(pop)
typedef HParamBlockRec* HParmBlkPtr;

TOOLBOX_EXTERN_C_END

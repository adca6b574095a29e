// References to items by folder and name.
//
// A name is looked for as it is, then without regard to case and to the form of composed characters. A link
// is the item itself, one that leads nowhere too. Every function may be called on any thread. Beside what a
// function names it may answer what Files.h tells of every function.
#pragma once

#include <toolbox/CatalogInfo.h>

TOOLBOX_EXTERN_C_BEGIN

// Asks for a reference. Each function below names the fields that it reads; all set newRef and ioResult and
// leave the rest alone. Pointers and nameLength have the host's width, so the record is longer than its
// historic 72 bytes on a host of 64 bits: 120.
#pragma pack(push, 2)
typedef struct FSRefParam {
    void* qLink;
    SInt16 qType;
    SInt16 ioTrap;
    Ptr ioCmdAddr;
    void* ioCompletion;
    OSErr ioResult;  // out: what the function answers
    ConstStr255Param ioNamePtr;
    SInt16 ioVRefNum;
    SInt16 reserved1;
    UInt8 reserved2;
    UInt8 reserved3;
    const FSRef* ref;
    FSCatalogInfoBitmap whichInfo;
    FSCatalogInfo* catInfo;
    UniCharCount nameLength;
    const UniChar* name;
    SInt32 ioDirID;  // the 32 bits of an unsigned number
    FSSpec* spec;
    FSRef* parentRef;
    FSRef* newRef;  // out: untouched on failure
    TextEncoding textEncodingHint;
    HFSUniStr255* outName;
} FSRefParam;
#pragma pack(pop)
typedef FSRefParam* FSRefParamPtr;

// A reference to the item of that name in a folder: the exact one, else one that is the same but for case and
// composition. FSPathMakeRef finds the exact one alone.
//   inLength        UTF-16 units of the name, 1 to 255
//   inEncodingHint  not used
//   outRef          untouched on failure
// fnfErr when there is none of that name or the folder is gone, dirNFErr when that goes meanwhile;
// errFSNotAFolder when it is no folder, errFSMissingName for null or a length of 0, bdNamErr for a name that
// is longer or that no item can have, errFSBadFSRef for bytes that are no reference.
TOOLBOX_MUST_USE OSErr FSMakeFSRefUnicode(const FSRef* inFolder, UniCharCount inLength, const UniChar* inName,
                                          TextEncoding inEncodingHint, FSRef* outRef);

// The same, of ref, nameLength and name.
TOOLBOX_MUST_USE OSErr PBMakeFSRefUnicodeSync(FSRefParamPtr ioBlock);

// FSpMakeFSRef of ioVRefNum, ioDirID and ioNamePtr, which may be null as well as empty. Null answers
// paramErr.
TOOLBOX_MUST_USE OSErr PBMakeFSRefSync(FSRefParamPtr ioBlock);

TOOLBOX_EXTERN_C_END

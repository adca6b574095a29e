// Items named by volume, folder and name, whether they exist or not.
//
// Names are Pascal strings in the application's encoding, of at most 31 bytes. An item whose name in the
// catalogue does not fit, or cannot be said in the encoding, gets one that tells its node: what fits of the
// name, "#", the node id in hexadecimal, and what follows the name's last dot if that is short:
// "a very long name#1A2B3.txt". It is good as long as the item is where it was and this process lives.
//
// Every function may be called on any thread. Beside what a function names: nsvErr when there is no such
// volume, dirNFErr when the volume has no such folder, bdNamErr for a name that is longer than 31 bytes, is
// not text in the encoding or cannot be one, and what Files.h tells of every function.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

typedef unsigned char Str63[64];

// Folder ids that every volume has.
enum {
    fsRtParID = 1,  // in which the volume's root folder is the one item
    fsRtDirID = 2   // the root folder
};

// 70 bytes. An empty name names the folder itself.
#pragma pack(push, 2)
typedef struct FSSpec {
    SInt16 vRefNum;  // the volume; see Volumes.h
    SInt32 parID;    // the folder's node id: the 32 bits of an unsigned number
    Str63 name;
} FSSpec;
#pragma pack(pop)
typedef FSSpec* FSSpecPtr;

// Makes the FSSpec of an item that exists, or that may be made in a folder that does. A link is an item.
//   inVRefNum  a volume, or 0 for the first one
//   inDirID    a folder of it; 0 stands for the root folder. Volume 0 and folder 0 together stand for the
//              default folder (DefaultFolder.h), of which there is none unless one was set: dirNFErr
//   inName     one name, without a path; null or empty names the folder, which then becomes a name in the
//              folder above it
// fnfErr when no such item is there: outSpec is good then. It is untouched on any other failure.
TOOLBOX_MUST_USE OSErr FSMakeFSSpec(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName,
                                    FSSpec* outSpec);

// A reference to the item; outRef is untouched on failure. The name is looked for as it is, then without
// regard to case and to the form of composed characters. A link is the item itself, one that leads nowhere
// too. fnfErr when it is not there.
TOOLBOX_MUST_USE OSErr FSpMakeFSRef(const FSSpec* inSpec, FSRef* outRef);

TOOLBOX_EXTERN_C_END

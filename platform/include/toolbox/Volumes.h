// Volumes: the mounted file systems that hold data.
//
// A volume has a negative reference number from the first time that the process meets it until its end. The
// first is the one of the root folder "/". File systems that the kernel makes up, such as /proc, are not
// counted; one that is mounted at several places is as many volumes, between which nothing is moved by
// renaming. Every function may be called on any thread.
#pragma once

#include <toolbox/HParamBlocks.h>

TOOLBOX_EXTERN_C_BEGIN

// Attributes of a volume, ioVAtrb.
enum {
    kHFSVolumeHardwareLockMask = 0x0080,  // the device can only be read
    kHFSVolumeSoftwareLockMask = 0x8000   // mounted to be read only
};

// Fills a volume's parameters, of volumeParam:
//   ioVolIndex   in: more than 0, the volume of that index, from 1; else ioVRefNum tells
//   ioVRefNum    in and out; the volume of reference number 0 is the first
//   ioNamePtr    in: room for the name, 28 bytes, or null. It is that of the folder where the volume is
//                mounted, "/" for the first
//   ioVAtrb      out: the locks
//   ioVNmAlBlks  out: blocks, of which there are at most 65535 for a program to count
//   ioVAlBlkSiz  out: bytes of a block, as many as make the count fit; and ioVClpSiz
//   ioVFrBlk     out: blocks that the user may fill
//   ioVSigWord   out: 'BD'
//   ioVFilCnt    out: items on the volume, as far as the file system counts them
// nsvErr when there is no such volume (any more); else as in Files.h. On failure only ioResult is set. Null
// answers paramErr.
TOOLBOX_MUST_USE OSErr PBHGetVInfoSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

// The two forks of a file: opened, read, written, made longer and shorter.
//
// The data fork, whose name is empty, is the file; every file has it. The resource fork, "RESOURCE_FORK", is
// an entry of the file's companion (docs/files.md) and holds less than 4 GiB. One without bytes is none on
// disk: it is opened as any other and is empty, and its companion is made with its first byte. A link, pipe,
// socket or device has no forks (errFSForkNotFound), nor has a folder (notAFileErr); neither is opened, nor
// waited for.
//
// An opening has a mark, where it reads and writes next, and a reference number. Several openings of one fork
// see at once what is written by any of them. One is open to write at a time, in this process and, where the
// file system has locks, in any other that asks for them; any number may read beside it. It is the file that
// counts, by whichever reference or name. An open fork stays with its file when that is moved or renamed, and
// goes on after it was deleted.
//
// Every function may be called on any thread. Beside what a function names: errFSBadForkRef for a number
// that no fork can have, which is 0 or less, rfNumErr for one that no open fork has, errFSBadFSRef for bytes
// that are no reference, fnfErr when the item is gone, errFSBadForkName for a name that is neither of the
// two, errFSNameTooLong for one of more than 255 units, and what Files.h tells of every function.
#pragma once

#include <toolbox/FilePermissions.h>
#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// Position modes: where a position counts from, and bits to be added. The two about the cache are hints,
// which change nothing here; the others are for reading.
enum {
    fsAtMark = 0,     // the mark; the offset does not count
    fsFromStart = 1,  // the fork's start
    fsFromLEOF = 2,   // its end
    fsFromMark = 3,   // the mark
    pleaseCacheMask = 0x0010,
    noCacheMask = 0x0020,
    rdVerifyMask = 0x0040,  // nothing is read to the buffer: the bytes are compared with those in it
    newLineMask = 0x0080,   // reading ends behind the character in the mode's high byte
    newLineCharMask = 0xFF00,
};

// How to allocate.
typedef UInt16 FSAllocationFlags;
enum {
    kFSAllocDefaultFlags = 0x0000,
    kFSAllocAllOrNothingMask = 0x0001,
    kFSAllocContiguousMask = 0x0002,  // a hint: the file system lays it out as it does
    kFSAllocNoRoundUpMask = 0x0004,   // the same
};

// Bits of FSForkInfo::flags.
enum {
    kFSForkIsWritableMask = 0x01,
    kFSForkIsResourceMask = 0x02,
    kFSForkIsSharedMask = 0x10,  // others may write, too
};

// An open fork. 48 bytes.
typedef struct FSForkInfo {
    SInt8 flags;
    SInt8 permissions;  // those that it has: fsCurPerm has become another
    SInt16 volume;      // when it was opened; see Volumes.h
    UInt32 reserved2;
    UInt32 nodeID;           // of the file
    UInt32 forkID;           // 0 for the data fork, 255 for the resource fork
    UInt64 currentPosition;  // the mark
    UInt64 logicalEOF;       // bytes
    UInt64 physicalEOF;      // bytes on the volume; of the whole companion for a resource fork
    UInt64 process;          // the system's number of this process
} FSForkInfo;

// Where an iteration is. 16 bytes.
typedef struct CatPositionRec {
    SInt32 initialize;  // 0 to begin
    SInt16 priv[6];
} CatPositionRec;

// Opens a fork; the mark is at its start.
//   inName        may be null when inNameLength, in UTF-16 units, is 0
//   inPermission  one of those above
//   outNumber     1 or more; untouched on failure
// opWrErr when it is open to write by somebody and that does not go together, fLckdErr for a locked file and
// vLckdErr or wPrErr on a volume that is read only (CatalogItems.h), when it is to be written; fBsyErr for a
// program that runs, to write its file; paramErr for another permission; tmfoErr when too many forks are
// open; ioErr when a file that is no companion has the companion's name.
TOOLBOX_MUST_USE OSErr FSOpenFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName,
                                  SInt8 inPermission, SInt16* outNumber);

// It is closed also when this fails, which it does where the file system tells only now that there was no
// room.
TOOLBOX_MUST_USE OSErr FSCloseFork(SInt16 inNumber);

// Reads from a position on, and leaves the mark behind what was read.
//   outBytes        as many bytes as asked for; may be null when that is none
//   outActualCount  how many were read, also on failure; may be null
// eofErr when the fork ends before, with what there was; where nothing is read, a position behind
// its end is at its end. posErr for a position before its start, paramErr for one of 2^63 or more,
// errFSBadPosMode for a mode with other bits, errFSBadBuffer for null, afpAccessDenied for a file that may
// only be written; ioErr when bytes that are compared differ.
TOOLBOX_MUST_USE OSErr FSReadFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset,
                                  ByteCount inRequestCount, void* outBytes, ByteCount* outActualCount);

// Writes from a position on, and leaves the mark behind what was written. A position behind the end makes the
// fork longer, unless nothing is written there; what lies between is zero.
//   outActualCount  as above
// wrPermErr when it is open to read only, dskFulErr also for a resource fork that would be too long; posErr,
// errFSBadPosMode and errFSBadBuffer as above.
TOOLBOX_MUST_USE OSErr FSWriteFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset,
                                   ByteCount inRequestCount, const void* inBytes, ByteCount* outActualCount);

// The mark, in bytes from the fork's start. It is set to the end, and eofErr answered, for a position behind
// that. posErr and errFSBadPosMode as above, with the mark where it was.
TOOLBOX_MUST_USE OSErr FSGetForkPosition(SInt16 inNumber, SInt64* outPosition);
TOOLBOX_MUST_USE OSErr FSSetForkPosition(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset);

// How many bytes the fork has. Those that are added are zero; the mark does not stay behind the end.
// wrPermErr, dskFulErr, posErr and errFSBadPosMode as above.
TOOLBOX_MUST_USE OSErr FSGetForkSize(SInt16 inNumber, SInt64* outByteCount);
TOOLBOX_MUST_USE OSErr FSSetForkSize(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset);

// Reserves room on the volume from a position on, without making the fork longer.
//   outActualCount  the bytes reserved; may be null. 0 where the file system cannot reserve any, as for a
//                   resource fork without bytes: that is no failure unless all or nothing is asked for.
// dskFulErr when there is no room, or not all of it; errFSBadAllocFlags for other flags; wrPermErr, posErr
// and errFSBadPosMode as above.
TOOLBOX_MUST_USE OSErr FSAllocateFork(SInt16 inNumber, FSAllocationFlags inFlags, UInt16 inPositionMode,
                                      SInt64 inPositionOffset, UInt64 inRequestCount, UInt64* outActualCount);

// Once this has answered noErr, what was written is there also after the machine has failed.
TOOLBOX_MUST_USE OSErr FSFlushFork(SInt16 inNumber);

// What is known of an open fork: of the one with that number; or, where inNumber is 0, of the next one of a
// volume, or of all for volume 0, after ioIterator, which begins as 0. Which may not be null then; each of
// the others may be. errFSNoMoreItems when there is no other. All are untouched on failure.
//   outFile  the reference that it was opened by
TOOLBOX_MUST_USE OSErr FSGetForkCBInfo(SInt16 inNumber, SInt16 inVolume, SInt16* ioIterator,
                                       SInt16* outNumber, FSForkInfo* outInfo, FSRef* outFile,
                                       HFSUniStr255* outName);

// Makes a fork without bytes. As every file has both, nothing is to be done; errFSForkExists for the data
// fork and for a resource fork with bytes. fLckdErr, vLckdErr and wPrErr are told here already, and
// afpAccessDenied.
TOOLBOX_MUST_USE OSErr FSCreateFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName);

// Takes all bytes of a fork. errFSForkNotFound for a resource fork that has none; fBsyErr for one that is
// open; fLckdErr, vLckdErr, wPrErr, opWrErr as for opening it to write.
TOOLBOX_MUST_USE OSErr FSDeleteFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName);

// The forks of a file one after the other: the data fork, and the resource fork if it has bytes.
//   ioIterator       begins with initialize 0
//   outName and the sizes, in bytes and in bytes on the volume: each may be null
// errFSNoMoreItems when there is no other. Sizes are as those of FSForkInfo.
TOOLBOX_MUST_USE OSErr FSIterateForks(const FSRef* inFile, CatPositionRec* ioIterator, HFSUniStr255* outName,
                                      SInt64* outByteCount, UInt64* outPhysicalByteCount);

// The names: none, and "RESOURCE_FORK".
TOOLBOX_MUST_USE OSErr FSGetDataForkName(HFSUniStr255* outName);
TOOLBOX_MUST_USE OSErr FSGetResourceForkName(HFSUniStr255* outName);

TOOLBOX_EXTERN_C_END

// What is in a folder, item after item.
//
// What comes is the item itself: of a link never its target. Companions (docs/files.md) do not come. No item
// comes twice under one name, whatever others do meanwhile; one that is renamed meanwhile may come under two
// names, and one that is made meanwhile may come or not. Whatever is deleted behind an iterator, nothing is
// left out. The order is no particular one.
//
// An iterator is used by one thread at a time; different ones may be used at once, as many as there is memory
// for: at most 64 of them hold a descriptor while they are not in use. Of a folder of any size 6 MB of names
// are kept at most, and less than 16 MB are taken while it is read; a tree of any depth takes one descriptor,
// and the names of the 16 innermost folders. What is not closed lives until the process ends.
// Beside what a function names it may answer what Files.h tells of every function.
#pragma once

#include <toolbox/CatalogInfo.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueFSIterator* FSIterator;

// What an iterator goes through.
typedef OptionBits FSIteratorFlags;
enum {
    kFSIterateFlat = 0,     // the items of the folder
    kFSIterateSubtree = 1,  // and those of every folder in it, each folder before what is in it
    kFSIterateDelete = 2,   // the items of the folder, which are to be deleted
    kFSIterateReserved = (int)0xFFFFFFFC
};

// Opens an iterator on a folder. No tree is left through a link, nor through a folder on which something is
// mounted, which comes as the root folder of that.
//   outIterator  the caller's to close; untouched on failure
// errFSBadIteratorFlags for other flags, and for kFSIterateSubtree with kFSIterateDelete; errFSNotAFolder,
// also for a link to a folder; fnfErr when it is gone, errFSBadFSRef for bytes that are no reference,
// afpAccessDenied for a folder that may not be read, fBsyErr for the root folder of a volume with
// kFSIterateDelete.
TOOLBOX_MUST_USE OSErr FSOpenIterator(const FSRef* inContainer, FSIteratorFlags inFlags,
                                      FSIterator* outIterator);

// errFSIteratorNotFound for what is none, or none any more; fBsyErr while another thread uses it.
TOOLBOX_MUST_USE OSErr FSCloseIterator(FSIterator inIterator);

// The next items, and what is asked for of each, as FSGetCatalogInfo tells it.
//   inMaximumObjects     items that there is room for; not 0, else errFSBadItemCount
//   outActualObjects     how many came; 0 on any failure but errFSNoMoreItems
//   outContainerChanged  may be null: whether the folder was changed since the iterator was opened, or one
//                        of the tree since it was entered, as far as its times tell
//   inWhichInfo          gettable bits, else errFSBadInfoBitmap
//   outInfos             may be null for kFSCatInfoNone, else errFSMissingCatInfo
//   outRefs, outSpecs, outNames   may be null
// Each of the arrays has room for as many; those behind the ones that came are unspecified.
//
// errFSNoMoreItems when there were fewer left than there is room for, with those that were left; then, and at
// every later call, without any. afpAccessDenied, alone, for an item that may not be looked at, or a folder
// of a tree that may not be read; fBsyErr for what something is mounted upon with kFSIterateDelete; and what
// the device fails with. The next call goes on behind that, but after memFullErr and tmfoErr it tries it
// again. errFSIteratorNotFound for what is none, fBsyErr while another thread uses it; paramErr for a null
// outActualObjects.
//
// A change of the folder is told also when it came within a tick of the clock by which the file system dates
// its folders, if the file system tells two such moments apart; ext4, xfs, btrfs and tmpfs do from Linux 6.13
// on. On others a change within a tick, some milliseconds, of the one before the iterator was opened is not
// told, and on network file systems those that the machine has not heard of yet. What a companion says is
// told as it is by then, but there, too, as the machine has heard.
TOOLBOX_MUST_USE OSErr FSGetCatalogInfoBulk(FSIterator inIterator, ItemCount inMaximumObjects,
                                            ItemCount* outActualObjects, Boolean* outContainerChanged,
                                            FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfos,
                                            FSRef* outRefs, FSSpec* outSpecs, HFSUniStr255* outNames);

TOOLBOX_EXTERN_C_END

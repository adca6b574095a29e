// Items of the catalogue made, deleted, moved, renamed and exchanged.
//
// What a file or folder has beside its data goes with it: its companion (docs/files.md) is moved, renamed and
// deleted with it, in an order in which nothing is lost whatever stops it. Nothing is ever replaced: a name
// that an item has is refused (dupFNErr), also where it differs only by case or composition. What is exactly
// the same the system refuses, whoever makes it at the same moment; what is similar is looked for, so that
// two programs that make similar names at one moment may both succeed.
//
// Links are items: nothing touches what they lead to. References to an item stay good, those to a file as
// long as the catalogue remembers its new place (docs/files.md). Of a file with several names those that mean
// the one name that is moved or renamed do not, but for the one that is answered.
//
// Every function may be called on any thread. Beside what a function names: errFSBadFSRef for bytes that are
// no reference, fnfErr when the item is gone, dirNFErr when the folder is gone, errFSNotAFolder when it is
// none, paramErr for "/" and for the root folder of any volume, fLckdErr for a locked item, fBsyErr for what
// something is mounted upon and when another call is changing the item's names, vLckdErr when the volume is
// mounted to be read only and wPrErr when its device is, dskFulErr, and what Files.h tells of every function.
// Nothing has changed then.
#pragma once

#include <toolbox/CatalogInfo.h>
#include <toolbox/UnicodeUtilities.h>

TOOLBOX_EXTERN_C_BEGIN

// Names are UTF-16, as HFSUniStr255 has them. errFSMissingName for no name, bdNamErr for one that no item can
// have: of more than 255 units, or of more than 255 bytes on disk.

// An empty file, or an empty folder, with what inWhichInfo and inInfo tell of it as FSSetCatalogInfo takes
// them; where that fails, nothing is made, and its status is answered. A file of the companion's name that
// would be taken for the new item's companion is given a visible name before: "name (companion)".
//   inInfo               may be null for kFSCatInfoNone, else errFSMissingCatInfo
//   outRef, outSpec      of the new item; may be null; untouched on failure
//   outFolderID          its node id; the same
TOOLBOX_MUST_USE OSErr FSCreateFileUnicode(const FSRef* inFolder, UniCharCount inNameLength,
                                           const UniChar* inName, FSCatalogInfoBitmap inWhichInfo,
                                           const FSCatalogInfo* inInfo, FSRef* outRef, FSSpec* outSpec);
TOOLBOX_MUST_USE OSErr FSCreateDirectoryUnicode(const FSRef* inFolder, UniCharCount inNameLength,
                                                const UniChar* inName, FSCatalogInfoBitmap inWhichInfo,
                                                const FSCatalogInfo* inInfo, FSRef* outRef, FSSpec* outSpec,
                                                UInt32* outFolderID);

// The item and its companion. Of a file with several names the one name. fBsyErr for a folder that is not
// empty.
TOOLBOX_MUST_USE OSErr FSDeleteObject(const FSRef* inItem);

// Moves an item to another folder of its volume, under its name. To move it to the folder where it is does
// nothing. diffVolErr for a folder of another volume, badMovErr for one that lies in the item.
//   outRef  the item; may be null or inItem; untouched on failure
TOOLBOX_MUST_USE OSErr FSMoveObject(const FSRef* inItem, const FSRef* inFolder, FSRef* outRef);

// Another name for an item, in its folder; also its own in another case, where the file system tells the two
// apart.
//   inEncodingHint  of the new name: kept as the item's text-encoding hint, kTextEncodingUnknown as none.
//                   bdNamErr where it must be kept and the name is too long for a companion, dskFulErr where
//                   that has no room for it, ioErr where a file that is none has its name
//   outRef          as above
TOOLBOX_MUST_USE OSErr FSRenameUnicode(const FSRef* inItem, UniCharCount inNameLength, const UniChar* inName,
                                       TextEncoding inEncodingHint, FSRef* outRef);

// Two files exchange their contents, those of both forks, in one step: what one sees of either name is always
// one of the two. Data, dates of change and access, owner, access lists and extended attributes go with the
// contents; names, node ids, references, dates of creation and backup, Finder information, the lock and
// permissions stay where they are, but that permissions may be fewer where the process ends half way. What
// has a data fork open goes on with the contents. A reference that another thread uses at this very moment
// may find either. notAFileErr for what is no file, sameFileErr for one file twice, diffVolErr for files of
// two volumes, fBsyErr while another writes a companion for seconds; paramErr where it cannot be done in one
// step: on a file system that knows no such call, with a file of several names, with an open resource fork,
// and with resource forks that cannot change places: of files whose companions cannot hold both for a while,
// or that have two owners, of more than 64 MB together, on a file system that does not lock files or tell
// when they were made.
TOOLBOX_MUST_USE OSErr FSExchangeObjects(const FSRef* inRef, const FSRef* inDestRef);

// By volume, folder and name, as FSMakeFSSpec takes them: a new folder, whose id is outFolderID,
// which may not be null; and the deletion of an item. The name is looked for as FSpMakeFSRef does it, so that
// "makefile" deletes "Makefile" where there is no other; who means the exact name asks FSPathMakeRef, by a
// path, and FSDeleteObject. Where no name is given it is the folder itself.
TOOLBOX_MUST_USE OSErr DirCreate(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName,
                                 SInt32* outFolderID);
TOOLBOX_MUST_USE OSErr HDelete(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName);

TOOLBOX_EXTERN_C_END

// Files copied, and items moved and renamed in one step, by volume, folder and name.
//
// Both functions take of copyParam:
//   ioVRefNum, ioDirID, ioNamePtr       in: the item, as FSpMakeFSRef takes it
//   ioNewDirID, ioNewName               in: the folder where it goes, in the same way; ioNewName may be null,
//                                       and the volume is each function's
//   ioCopyName                          in: its name there, as in a specification; null for the one that it
//                                       has
// Nothing is ever replaced: dupFNErr where the name is taken, also by one that differs only by case or
// composition; so nothing is copied onto itself, nor onto another name of its own. fnfErr when the item is
// not there, dirNFErr when the folder is not there or is none, bdNamErr for a name that no item can have,
// nsvErr when there is no such volume, paramErr for null; and what CatalogItems.h tells. Nothing has changed
// on failure, and only ioResult is set. Any thread.
#pragma once

#include <toolbox/HParamBlocks.h>

TOOLBOX_EXTERN_C_BEGIN

// Copies a file to a folder of ioDstVRefNum. The copy has the file's contents and its holes, its resource
// fork, Finder information and dates, its permissions, and the user's own attributes and the access list
// where the file system has such; it is not locked, and belongs to who made it, with its companion, and it
// gets no access list from its folder. Where both files can share what they hold, nothing is copied until one
// of them is written. A file with an access list, where the copy's file system has none, becomes its owner's
// alone; an attribute or a list for which that has no room is refused with dskFulErr, as a full volume is.
//
// When the file was created, a companion tells, which the copy gets for that alone if it must. Where such a
// companion has no place, because the name is longer than 253 bytes or a file that is no companion has its
// name, the copy was created when it was made. Whatever else needs a companion is not left out: bdNamErr and
// dupFNErr then.
//
// It gets its name when it is whole. What a process that is killed leaves behind is its companion alone, an
// ordinary file, or a file "._.new-<process>-<number>"; and what was nobody's companion under its name may
// stay where it was set aside, as "<name> (companion)". Where the file system has neither hard links nor a
// rename that replaces nothing, an empty file may stay under its name. It is not synced: how much of it a
// failing machine keeps is the file system's.
//
// notAFileErr for a folder, errFSForkNotFound for a link, pipe, socket or device, which is left untouched.
TOOLBOX_MUST_USE OSErr PBHCopyFileSync(HParmBlkPtr ioBlock);

// Moves an item to a folder of its own volume and renames it, in one step: nobody ever sees it there by its
// old name, nor here by the new one. badMovErr for a folder that lies in the item, paramErr for a volume's
// root.
TOOLBOX_MUST_USE OSErr PBHMoveRenameSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

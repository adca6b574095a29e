// Files by their ids.
//
// An id is that of the catalogue (FSCatalogInfo's nodeID). It holds for this process, on the file's volume.
// Both functions answer paramErr for null, and else what Files.h and FileSpecs.h tell. On failure only
// ioResult is set. Any thread.
#pragma once

#include <toolbox/HParamBlocks.h>

TOOLBOX_EXTERN_C_BEGIN

// Makes an id by which a file is found again wherever it goes on its volume, as a reference finds it. The
// process remembers each until its end; where the file system tells when files were born, no other file gets
// it, also when this one is gone, but one that is made in its place within the same tick of the file system's
// clock. Of fidParam:
//   ioVRefNum, ioSrcDirID, ioNamePtr  in: the file, as FSpMakeFSRef takes it
//   ioFileID                          out: its id
// fidExists when it was made before, ioFileID being set then as well; notAFileErr for a folder.
TOOLBOX_MUST_USE OSErr PBCreateFileIDRefSync(HParmBlkPtr ioBlock);

// Where a file is now, by its id; also by one that nobody made, as long as the catalogue remembers the file.
// Of fidParam:
//   ioVRefNum   in: the volume; 0 stands for the first
//   ioFileID    in: the id
//   ioSrcDirID  out: the id of its folder
//   ioNamePtr   out: room for its name, 32 bytes, or null
// fidNotFound when no file is known by it, or it is gone; notAFileErr for a folder's.
TOOLBOX_MUST_USE OSErr PBResolveFileIDRefSync(HParmBlkPtr ioBlock);

TOOLBOX_EXTERN_C_END

// The default folder: the one that volume 0 with folder 0 stands for (FileSpecs.h).
//
// A process has one at most, for all its threads, and none until it sets one. It is not the current folder,
// at which relative paths start: neither changes the other. It is the folder itself, wherever anyone moves
// it. Every function may be called on any thread.
#pragma once

#include <toolbox/FileSpecs.h>

TOOLBOX_EXTERN_C_BEGIN

// Sets it by volume, folder and name, as FSMakeFSSpec takes them; so a name alone is a folder in the default
// folder. All three 0, null or empty take it away. dirNFErr when what is named is no folder; else what
// FSpMakeFSRef answers, with nothing changed.
TOOLBOX_MUST_USE OSErr HSetVol(ConstStr255Param inName, SInt16 inVRefNum, SInt32 inDirID);

// Volume and folder of it; 0 and 0 when there is none. HSetVol sets the same again from that, with null.
//   outVolumeName  room for the name of its volume, 28 bytes, or null; empty when there is none
// dirNFErr when it is gone, nsvErr, paramErr for another null argument, and what Files.h tells of every
// function; nothing is set then.
TOOLBOX_MUST_USE OSErr HGetVol(StringPtr outVolumeName, SInt16* outVRefNum, SInt32* outDirID);

TOOLBOX_EXTERN_C_END

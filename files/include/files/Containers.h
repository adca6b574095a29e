// Folders with all that is in them: deleted, gone through, listed.
//
// No link is followed, nor is anything deleted that is mounted on a folder (toolbox/Iterators.h). Beside what
// a function names it answers what the File Manager answers. Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Deletes all that is in a folder, and the folder itself after that, locked items too. It stops at the first
// item that cannot be deleted and answers why; what was deleted by then is gone. Trees of any depth take no
// more stack than one folder. paramErr for null; dirNFErr (-120) of FSDeleteContainer for what is no folder,
// fBsyErr for "/" and the root folder of any volume.
[[nodiscard]] MIRTAL_EXPORT OSErr FSDeleteContainerContents(const FSRef* inFolder);
[[nodiscard]] MIRTAL_EXPORT OSErr FSDeleteContainer(const FSRef* inFolder);

// What the folders of a deletion share, and its result.
typedef struct FSDeleteContainerGlobals {
    OSErr result;
    ItemCount actualItems;
    FSCatalogInfo info;
    FSRef item;
} FSDeleteContainerGlobals;
// The same, with its result there.
MIRTAL_EXPORT void FSDeleteContainerLevel(const FSRef* inFolder, FSDeleteContainerGlobals* outGlobals);

// Called for each item that is met; true ends it all.
//   inContainerChanged  whether the folder was changed since it was begun
//   inLevel             1 for what is in the folder itself
//   inSpec, inName      null unless they were asked for
typedef Boolean (*IterateContainerFilterProcPtr)(Boolean inContainerChanged, ItemCount inLevel,
                                                 const FSCatalogInfo* inInfo, const FSRef* inItem,
                                                 const FSSpec* inSpec, const HFSUniStr255* inName,
                                                 void* inUserData);

// Goes through a folder and the folders in it, each behind its own place among the others.
//   inMaxLevels  how deep; 0: all the way
//   inWhichInfo  of each item, kFSCatInfoNodeFlags besides
// No link is followed, but what is mounted on a folder is met as that folder and entered; kFSCatInfoVolume
// tells it apart. Each level of folders takes stack.
// What may not be looked at, or is in a folder that is, ends that folder and is no failure. Throws an
// LException with the status when a folder cannot be begun or ended: one that may not be read ends it all.
// paramErr without a filter or folder.
[[nodiscard]] MIRTAL_EXPORT OSErr FSIterateContainer(const FSRef* inFolder, ItemCount inMaxLevels,
                                                     FSCatalogInfoBitmap inWhichInfo, bool inWantFSSpec,
                                                     bool inWantName, IterateContainerFilterProcPtr inFilter,
                                                     void* inUserData);

// What the folders of an iteration share.
typedef struct FSIterateContainerGlobals {
    IterateContainerFilterProcPtr filter;
    FSCatalogInfoBitmap whichInfo;
    FSCatalogInfo info;
    FSRef item;  // the one that is met; first the folder itself
    FSSpec* spec;
    HFSUniStr255* name;  // both null unless asked for
    void* userData;
    ItemCount maxLevels;
    ItemCount level;  // 0 at first
    Boolean quits;
    OSErr result;
} FSIterateContainerGlobals;
// One folder of it: the item.
MIRTAL_EXPORT void FSIterateContainerLevel(FSIterateContainerGlobals* ioGlobals);

// References to all items in a folder, 80 bytes each, in a handle that the caller disposes of.
//   outContainerChanged  whether the folder was changed meanwhile
// On failure the handle is null and the number 0: memFullErr, paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetDirectoryItems(const FSRef* inFolder, Handle* outItems,
                                                      ItemCount* outCount, Boolean* outContainerChanged);

#ifdef __cplusplus
}
#endif

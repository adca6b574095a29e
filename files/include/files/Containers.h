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

// References to all items in a folder, 80 bytes each, in a handle that the caller disposes of.
//   outContainerChanged  whether the folder was changed meanwhile
// On failure the handle is null and the number 0: memFullErr, paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetDirectoryItems(const FSRef* inFolder, Handle* outItems,
                                                      ItemCount* outCount, Boolean* outContainerChanged);

#ifdef __cplusplus
}
#endif

// What a file manager keeps of an item: locks, flags, type and creator, and the date by which it sees that
// something has changed.
//
// Beside what a function names it answers what FSGetCatalogInfo and FSSetCatalogInfo answer
// (toolbox/CatalogInfo.h), and paramErr for a null reference. Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/Files.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Of a file, or of a folder. 16 bytes each, in host byte order.
typedef union FinderInfo {
    FileInfo file;
    FolderInfo folder;
} FinderInfo;
typedef union ExtendedFinderInfo {
    ExtendedFileInfo file;
    ExtendedFolderInfo folder;
} ExtendedFinderInfo;

// noErr when neither the item nor its volume is locked. Else -45 (fLckdErr) for the item, -44 (wPrErr) for a
// volume whose device can only be read, -46 (vLckdErr) for one that is mounted to be read only: the first of
// these that is so.
[[nodiscard]] MIRTAL_EXPORT OSErr FSCheckLock(const FSRef* inRef);

// The item's content was changed now. The date is never the one that it has already: then it is a second
// more. Those who subscribe to the folder are told: to the item's own if it is one, else to the one that it
// is in. What FNNotify answers is answered, the date being set.
[[nodiscard]] MIRTAL_EXPORT OSErr FSBumpDate(const FSRef* inRef);

// Finder information. What is null is not asked for, or not set. Outputs are untouched on failure.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetFinderInfo(const FSRef* inRef, FinderInfo* outInfo,
                                                  ExtendedFinderInfo* outExtendedInfo,
                                                  Boolean* outIsDirectory);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetFinderInfo(const FSRef* inRef, const FinderInfo* inInfo,
                                                  const ExtendedFinderInfo* inExtendedInfo);

// Sets what is not 0 of creator and type. -1302 (notAFileErr) for a folder. The folder that the item is in
// gets a new date (FSBumpDate), as far as it can.
[[nodiscard]] MIRTAL_EXPORT OSErr FSChangeCreatorType(const FSRef* inRef, OSType inCreator, OSType inType);

// Sets or clears Finder flags (kIsInvisible and the like); the others stay. The folder's date as above.
[[nodiscard]] MIRTAL_EXPORT OSErr FSChangeFinderFlags(const FSRef* inRef, bool inSet, UInt16 inFlags);

// The same with one flag.
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetInvisible(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSClearInvisible(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetNameLocked(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSClearNameLocked(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetIsStationery(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSClearIsStationery(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSetHasCustomIcon(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSClearHasCustomIcon(const FSRef* inRef);
[[nodiscard]] MIRTAL_EXPORT OSErr FSClearHasBeenInited(const FSRef* inRef);

// Gives an item all that can be set of another one: dates, permissions, Finder information, encoding hint,
// and, if inCopyLock, its lock; else it is unlocked. What gets them was not met by any file manager yet: the
// flag kHasBeenInited is cleared. A link keeps its own permissions, type and creator, and gives them to none.
[[nodiscard]] MIRTAL_EXPORT OSErr FSCopyFileMgrAttributes(const FSRef* inSource, const FSRef* inDestination,
                                                          bool inCopyLock);

#ifdef __cplusplus
}
#endif

// The File Manager: items of the catalogue, named by references.
//
// Every function may be called on any thread. Paths are POSIX paths, NUL-terminated; they are bytes, UTF-8
// where the names are text, and names that are not text work as well. Beside the statuses that a function
// names, each may answer: afpAccessDenied and permErr when the user may not look there, bdNamErr when a name
// or path is longer than the system takes or links go in circles, tmfoErr when the process has too many files
// open, memFullErr, ioErr when the device fails, paramErr for a null argument that may not be null.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Names an item that exists. It names the item itself, not its path: it stays good when anyone renames
// the item or a folder above it. An item that another program moved to another folder is found again once a
// reference was made to its new path. A reference does not pass on to a new item of the same path. Of a file
// with several names (hard links) it names the one that it was made by, and no other while there are several.
// Opaque; may be copied; holds for this process only. FSCompareFSRefs tells whether two name one item; their
// bytes do not.
typedef struct FSRef {
    UInt8 hidden[80];
} FSRef;

// A name in the catalogue: length in UTF-16 code units, at most 255.
typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

// A reference to the item at inPath, which may end with slashes when it is a folder. Links are followed, so
// what it names is no link. A relative path starts at the current folder. A path at which nothing is may
// be modified UTF-8, as Java hands it out, and is tried again with its surrogate pairs joined.
//   outRef          untouched on failure
//   outIsDirectory  may be null; untouched on failure
// fnfErr when nothing is there, dirNFErr when a folder on the way is missing or is no folder.
TOOLBOX_MUST_USE OSStatus FSPathMakeRef(const UInt8* inPath, FSRef* outRef, Boolean* outIsDirectory);

// Options of FSPathMakeRefWithOptions.
enum { kFSPathMakeRefDefaultOptions = 0, kFSPathMakeRefDoNotFollowLeafSymlink = 0x01 };

// The same; with kFSPathMakeRefDoNotFollowLeafSymlink a link that is the path's last name is the item itself,
// one that leads nowhere too. It is followed where a slash is behind it. paramErr for other options.
TOOLBOX_MUST_USE OSStatus FSPathMakeRefWithOptions(const UInt8* inPath, OptionBits inOptions, FSRef* outRef,
                                                   Boolean* outIsDirectory);

// The item's path now, absolute; of a link its own.
//   outPath         untouched on failure
//   inMaxPathSize   bytes that outPath holds, the terminating NUL included
// pathTooLongErr when they are too few, fnfErr when the item is gone, errFSBadFSRef when inRef is no
// reference.
TOOLBOX_MUST_USE OSStatus FSRefMakePath(const FSRef* inRef, UInt8* outPath, UInt32 inMaxPathSize);

// Whether two references are to one item, of whichever of its names, also when it is gone: noErr, else
// errFSRefsDifferent. errFSBadFSRef when one is no reference.
TOOLBOX_MUST_USE OSErr FSCompareFSRefs(const FSRef* inRef1, const FSRef* inRef2);

TOOLBOX_EXTERN_C_END

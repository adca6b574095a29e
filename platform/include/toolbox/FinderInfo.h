// What a file manager keeps of an item: type and creator, flags, and where it shows it. The records are in
// host byte order, as FSCatalogInfo and its like hold them.
#pragma once

#include <toolbox/QuickDraw.h>

// finderFlags.
enum {
    kIsOnDesk = 0x0001,  // files and folders
    kColor = 0x000E,
    kHidesExtension = 0x0010,  // files and folders: it is shown without its extension
    kIsShared = 0x0040,        // files
    kHasNoINITs = 0x0080,      // files
    kHasBeenInited = 0x0100,   // a file manager has met it
    kHasCustomIcon = 0x0400,   // files and folders
    kIsStationery = 0x0800,    // files
    kNameLocked = 0x1000,      // files and folders
    kHasBundle = 0x2000,       // files
    kIsInvisible = 0x4000,     // files and folders
    kIsAlias = 0x8000          // files; of links it is always set
};

// Type and creator of every link.
enum {
    kSymLinkFileType = 0x736C6E6B,  // 'slnk'
    kSymLinkCreator = 0x72686170    // 'rhap'
};

// Each has 16 bytes.
typedef struct FileInfo {
    OSType fileType;
    OSType fileCreator;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
} FileInfo;

typedef struct FolderInfo {
    Rect windowBounds;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
} FolderInfo;

typedef struct ExtendedFileInfo {
    SInt16 reserved1[4];
    UInt16 extendedFinderFlags;
    SInt16 reserved2;
    SInt32 putAwayFolderID;
} ExtendedFileInfo;

typedef struct ExtendedFolderInfo {
    Point scrollPosition;
    SInt32 reserved1;
    UInt16 extendedFinderFlags;
    SInt16 reserved2;
    SInt32 putAwayFolderID;
} ExtendedFolderInfo;

// FileInfo by its older names.
typedef struct FInfo {
    OSType fdType;
    OSType fdCreator;
    UInt16 fdFlags;
    Point fdLocation;
    SInt16 fdFldr;
} FInfo;

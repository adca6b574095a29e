// Launch Services: items as a file manager shows them.
//
// Every function may be called on any thread that does not run while the environment is changed. Beside what
// a function names: fnfErr when the item is gone, errFSBadFSRef for bytes that are no reference, and what
// Files.h tells of every function.
#pragma once

#include <toolbox/CFString.h>
#include <toolbox/CFURL.h>
#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// The name that a file manager shows, which the caller releases: the one in the catalogue, with U+FFFD for
// bytes that are no text, but
//   of a volume's root folder     the volume's label, where the system tells one
//   of a package                  what InfoPlist.strings calls it in a language of the user's
//   (CFBundleDisplayName, else
//                                 CFBundleName), if its own name without the extension is that of Info.plist
//   of a trusted .desktop file    its Name in a language of the user's, else its Name. Trusted is one that
//   belongs to
//                                 the user or to root, that nobody else may write, and that may be executed
//                                 or is root's
//   of what hides its extension   without it (kLSItemInfoExtensionIsHidden)
// The languages of the user are those of LANGUAGE, else that of LC_ALL, LC_MESSAGES or LANG, and none behind
// English; in the locale C there are none. Names from within files have 255 units at most and no control
// characters.
//   LSCopyDisplayNameForURL  of an item that need not be there: by its name alone then
//   outName                  untouched on failure
// paramErr for null, memFullErr; fnfErr for a URL that has no name, or one that is no text.
TOOLBOX_MUST_USE OSStatus LSCopyDisplayNameForRef(const FSRef* inItem, CFStringRef* outName);
TOOLBOX_MUST_USE OSStatus LSCopyDisplayNameForURL(CFURLRef inURL, CFStringRef* outName);

// What is asked of an item, to be combined.
typedef OptionBits LSRequestedInfo;
enum {
    kLSRequestExtension = 0x00000001,
    kLSRequestTypeCreator = 0x00000002,
    kLSRequestBasicFlagsOnly = 0x00000004,  // the flags but for those of the next and of the last
    kLSRequestAppTypeFlags = 0x00000008,    // of how an application runs
    kLSRequestAllFlags = 0x00000010,
    kLSRequestExtensionFlagsOnly = 0x00000040
};

typedef OptionBits LSItemInfoFlags;
enum {
    kLSItemInfoIsPlainFile = 0x00000001,  // neither a folder nor a link
    // A folder that is shown as one item: by its Finder flag (kHasBundle), by a name that ends in .app,
    // .bundle, .component, .plugin or .nib, or because it holds "Contents/PkgInfo".
    kLSItemInfoIsPackage = 0x00000002,
    // A package of type 'APPL', by its information, and a file that has that type.
    kLSItemInfoIsApplication = 0x00000004,
    kLSItemInfoIsContainer = 0x00000008,  // a folder, packages too
    kLSItemInfoIsAliasFile = 0x00000010,  // by its Finder flag; links, too
    kLSItemInfoIsSymlink = 0x00000020,
    kLSItemInfoIsInvisible = 0x00000040,       // by a dot at the front of its name, or by its Finder flag
    kLSItemInfoIsNativeApp = 0x00000080,       // every application
    kLSItemInfoIsVolume = 0x00001000,          // the root folder of one
    kLSItemInfoExtensionIsHidden = 0x00100000  // by its Finder flag (kHidesExtension); it has one
};

typedef UInt32 LSKindID;
typedef struct LSItemInfoRecord {
    LSItemInfoFlags flags;
    OSType filetype;           // of a file; of a package its information's, as CFBundleGetPackageInfo has it
    OSType creator;            // the same
    CFStringRef extension;     // without the dot, which the caller releases; null when it has none
    CFStringRef iconFileName;  // null
    LSKindID kindID;           // 0
} LSItemInfoRecord;

// What was not asked for is 0 or null. A dot begins an extension that is neither the first nor the last of
// the name.
//   outInfo  untouched on failure
// paramErr for null, memFullErr.
TOOLBOX_MUST_USE OSStatus LSCopyItemInfoForRef(const FSRef* inItem, LSRequestedInfo inWhichInfo,
                                               LSItemInfoRecord* outInfo);

TOOLBOX_EXTERN_C_END

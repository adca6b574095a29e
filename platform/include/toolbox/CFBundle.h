// Bundles: folders that hold an executable, its resources and a property list that describes them.
//
// Three layouts are known, and looked for in this order:
//
//   layout            information             type and creator     executable
//   Contents          Info.plist              PkgInfo              Linux/NAME, else MacOS/NAME
//   Versions/Current  Resources/Info.plist    Resources/PkgInfo    NAME
//   flat              Info.plist, else in Resources; PkgInfo the same; NAME
//
// NAME is CFBundleExecutable of the information, else the folder's name without its extension. A folder is a
// bundle if it has an Info.plist or PkgInfo where its layout tells, or a name that ends in .app, .bundle,
// .component, .framework or .plugin; a plain folder is none.
//
// What a bundle uses must lie inside its folder: links are followed, and what is outside through one, as well
// as links that lead nowhere, count as missing. Information counts as empty when it is no property list with
// a dictionary at its top, XML or binary, or goes past what one may ask of its reader: 1 MB, 16 MB unpacked,
// 4096 dictionaries and arrays, 256 of them within each other. Dates are CFDate; values without a type here
// are left out.
//
// Executables are ELF shared objects for the running machine. They are loaded when asked for, and stay mapped
// as long as any bundle that loaded them has a count left. What is read of a bundle is read when it is made.
//
// Every function may be called on any thread. A null bundle is the caller's mistake, and not caught.
#pragma once

#include <toolbox/CFDictionary.h>
#include <toolbox/CFURL.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueCFBundle* CFBundleRef;

TOOLBOX_EXPORT CFTypeID CFBundleGetTypeID(void);

// The bundle in a folder, which the caller releases; each call makes its own. Null when inURL is null or no
// folder's, the folder is no bundle, or memory is short.
TOOLBOX_MUST_USE CFBundleRef CFBundleCreate(CFAllocatorRef inAllocator, CFURLRef inURL);

// The folder's URL, with links followed; the caller releases it. Null when memory is short.
TOOLBOX_MUST_USE CFURLRef CFBundleCopyBundleURL(CFBundleRef inBundle);
// Null also when there is no executable; whether it can be loaded is not looked up.
TOOLBOX_MUST_USE CFURLRef CFBundleCopyExecutableURL(CFBundleRef inBundle);

// The information, borrowed: a dictionary with strings as keys, empty when there is none.
TOOLBOX_EXPORT CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef inBundle);
// Borrowed; null when there is no such key.
TOOLBOX_EXPORT CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef inBundle, CFStringRef inKey);

// The version in the form of a version resource: two BCD digits of the major version, one each of the minor
// and of the bug fix version, a byte for the stage (0x20 development, 0x40 alpha, 0x60 beta, 0x80 final) and
// one for the number within it, which is no BCD: "10.4.1b12" is 0x1041600C. It is read from CFBundleVersion:
// MAJOR[.MINOR[.BUGFIX]][STAGE[NUMBER]], where STAGE is d, a, b, f or fc, with blanks around; or a number
// that is the packed form itself. 0 when there is none, or when it does not fit (two digits of the minor
// version, a number above 255).
TOOLBOX_EXPORT UInt32 CFBundleGetVersionNumber(CFBundleRef inBundle);

// Type and creator, each of four characters in Mac Roman: from CFBundlePackageType and CFBundleSignature of
// the information; where they are missing, from PkgInfo; else "APPL" of an .app, "FMWK" of a .framework,
// "BNDL" of others, and "????". Either pointer may be null.
TOOLBOX_EXPORT void CFBundleGetPackageInfo(CFBundleRef inBundle, UInt32* outPackageType, UInt32* outCreator);

// Maps the executable, unless this bundle has. False when there is none or it cannot be loaded: no ELF shared
// object, one cut short, of another machine, with symbols that nobody defines. May be tried again.
TOOLBOX_EXPORT Boolean CFBundleLoadExecutable(CFBundleRef inBundle);
TOOLBOX_EXPORT Boolean CFBundleIsExecutableLoaded(CFBundleRef inBundle);

// The address of what the executable itself exports under a name; it is loaded if it was not. Null when there
// is no such name. Good as long as the bundle is.
TOOLBOX_EXPORT void* CFBundleGetFunctionPointerForName(CFBundleRef inBundle, CFStringRef inName);
TOOLBOX_EXPORT void* CFBundleGetDataPointerForName(CFBundleRef inBundle, CFStringRef inName);

TOOLBOX_EXTERN_C_END

// The Folder Manager: well-known folders, by domain or volume and by type.
//
//   type                user domain                        local domain             system domain
//   dtop                the home folder                    /usr/local               /usr
//   cusr                the home folder                    -                        -
//   desk docs down      XDG user directories: Desktop,     -                        -
//   mdoc pdoc pubb      Documents, Downloads, Videos,
//   0xB5646F63          Pictures, Public; Music
//   asup                $XDG_DATA_HOME                     /usr/local/share         /usr/share
//   pref                $XDG_CONFIG_HOME                   /etc/xdg                 -
//   cach                $XDG_CACHE_HOME                    /var/cache               -
//   logs                $XDG_STATE_HOME                    /var/log                 -
//   font                $XDG_DATA_HOME/fonts               /usr/local/share/fonts   /usr/share/fonts
//   trsh                $XDG_DATA_HOME/Trash/files         -                        -
//   temp                the user's own in $TMPDIR, else in /tmp, in every domain: ".TemporaryItems-UID"
//   fram                -                                  -                        mirtal/Frameworks
//   pfrm                -                                  -                        mirtal/PrivateFrameworks
//
// The frameworks folders lie beside the toolbox's library, in the folder that holds it:
// "lib/mirtal/Frameworks" in the build tree as well as installed. (A program in a folder "bin" that has the
// toolbox inside itself uses those of "lib" beside that folder.) Wherever the library is moved with them,
// they are found.
//
// XDG user directories are those of user-dirs.dirs, else the folder of that name in the home folder. The
// variables have the defaults that the XDG base directory specification gives; one that is not an absolute
// path counts as unset. The home folder is $HOME, else what the user database tells.
//
// kOnSystemDisk, kOnAppropriateDisk and 0 mean the user's folder, else the system's. A volume's reference
// number means the same, but for two types whose folder is on that volume: "temp" is that folder in the first
// of $TMPDIR, /var/tmp, /tmp, $XDG_STATE_HOME and the volume's root that lies there and has or may have it;
// "trsh" is the user's trash if it lies there, else the volume's own as the XDG trash specification places it
// (".Trash/UID/files" where an administrator made ".Trash", else ".Trash-UID/files"). "temp" and a volume's
// own trash must be the user's, and no link (afpAccessDenied): others can write beside them.
//
// Every function may be called on any thread that does not run while the environment is changed.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

// Where to look: a domain, or a volume's reference number.
enum {
    kOnSystemDisk = -32768,
    kOnAppropriateDisk = -32767,
    kSystemDomain = -32766,
    kLocalDomain = -32765,
    kNetworkDomain = -32764,  // has no folders here
    kUserDomain = -32763
};

enum { kDontCreateFolder = 0, kCreateFolder = 1 };

enum {
    kDomainTopLevelFolderType = 0x64746F70,      // 'dtop'
    kCurrentUserFolderType = 0x63757372,         // 'cusr'
    kDesktopFolderType = 0x6465736B,             // 'desk'
    kDocumentsFolderType = 0x646F6373,           // 'docs'
    kDownloadsFolderType = 0x646F776E,           // 'down'
    kMovieDocumentsFolderType = 0x6D646F63,      // 'mdoc'
    kPictureDocumentsFolderType = 0x70646F63,    // 'pdoc'
    kPublicFolderType = 0x70756262,              // 'pubb'
    kApplicationSupportFolderType = 0x61737570,  // 'asup'
    kPreferencesFolderType = 0x70726566,         // 'pref'
    kCachedDataFolderType = 0x63616368,          // 'cach'
    kLogsFolderType = 0x6C6F6773,                // 'logs'
    kFontsFolderType = 0x666F6E74,               // 'font'
    kTrashFolderType = 0x74727368,               // 'trsh'
    kTemporaryFolderType = 0x74656D70,           // 'temp'
    kFrameworksFolderType = 0x6672616D,          // 'fram'
    kPrivateFrameworksFolderType = 0x7066726D    // 'pfrm'
};
#define kMusicDocumentsFolderType ((OSType)0xB5646F63u)

// The folder of a type. One that is missing is made if inCreateFolder is true, with those above it, for the
// user alone in the user's domain; "trsh" gets its "info" folder as well. Outputs are untouched on failure.
// Beside what the File Manager answers: fnfErr when the folder is missing and not to be made, when there is
// no such type, when the domain has none, or when no home folder is known; nsvErr for what is no domain or
// volume; errFSNotAFolder when something else has its place; paramErr for a null output.
TOOLBOX_MUST_USE OSErr FSFindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, FSRef* outFolder);

// The same, answered by volume and folder id. Either output may be null.
TOOLBOX_MUST_USE OSErr FindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, SInt16* outVolume,
                                  UInt32* outFolderID);

TOOLBOX_EXTERN_C_END

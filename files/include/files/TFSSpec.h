// A file or folder by volume, folder and name, whether it exists or not.
//
// It has one of two forms:
//   file form    what has the name in the folder of that id
//   folder form  without a name: the folder of that id itself
// What learns that an item is a folder names it in folder form, so that equal specifications are of one item.
// A link to a folder is none: it keeps the file form. A specification may outlive its item, or be made before
// it: each question looks anew, and of an item that is missing is answered false, 0 or nothing.
//
// Names are those of the catalogue, in which "/" stands for ":" on disk; a ":" in one means the same file. A
// name is looked for as it is, then without regard to case and to the form of composed characters, and is
// then the one of the item that was found: "makefile" becomes "Makefile" where only that is there. Who must
// not take the one for the other compares GetName with the name that was asked for. A name of more than 255
// UTF-16 units may be held, and is no item's.
//
// Paths and URLs of text are followed where links lead: TFSSpec("/d/link") is what the link leads to, and
// deleting that deletes it. The link itself is TFSSpec(folder, name), with its folder and its name.
//
// Failures are thrown as LException with the File Manager's status, or paramErr, fnfErr, bdNamErr and
// memFullErr as told below; std::bad_alloc, too. The ids hold for this process only. A specification is used
// by one thread at a time, also for its const functions, which fill a cache.
#pragma once

#include <foundation/MirtalExport.h>
#include <strings/TCFString.h>
#include <toolbox/CFURL.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT TFSSpec {
  public:
    TFSSpec();  // of no item: 0, 0, and no name
    TFSSpec(const TFSSpec& inOther);
    TFSSpec(const FSRef& inItem);
    // What is not there is named as the File Manager names it, or else as inSpec does. bdNamErr for a name
    // that is no text in the application's encoding.
    TFSSpec(const FSSpec& inSpec);
    // The folder. What is none is taken as it is: nothing is thrown unless the item goes meanwhile.
    TFSSpec(short inVRefNum, unsigned long inDirID);
    // What has the name there, or may be given it; without a name the folder. Nothing is looked up in what is
    // no folder, nor thrown.
    TFSSpec(short inVRefNum, unsigned long inDirID, const TCFString& inName);
    TFSSpec(const FSRef& inParent, const TCFString& inName);  // as InitFromParentRefAndName
    // What the catalogue told of an item, its node flags, volume, folder and node id among it. Nothing is
    // looked up.
    TFSSpec(const FSCatalogInfo& inInfo, const HFSUniStr255& inName);
    // What is at the URL, which is borrowed, or may be made there. fnfErr when its folder is not there
    // either, bdNamErr when its name is no UTF-8.
    TFSSpec(CFURLRef inURL);
    // What is at a path, or may be made there: a POSIX path, or a URL where a scheme and "://" come before
    // any other slash. paramErr for an empty one, for one that is no URL, and when a URL's folder is not
    // there; what the File Manager answers when a path's is not; bdNamErr when the last name of what is
    // missing is no text: in the application's encoding, of a URL in UTF-8. Relative paths start at the
    // current folder; but what is missing and has no slash in its path is in the root folder, and what is
    // missing there is refused when its path begins with the slash.
    TFSSpec(const char* inPath);
    ~TFSSpec();

    // Exact, case included: two that were looked up are equal when they are of one item.
    bool operator==(const TFSSpec& inOther) const;
    bool operator!=(const TFSSpec& inOther) const;

    // All of it. A copy that is constructed looks its folder up again; one that is assigned does not.
    TFSSpec& operator=(const TFSSpec& inOther);

    // For a specification that is as new: the item's name is set only where it is no folder, and the cache is
    // as it was. Throws what the File Manager answers.
    void InitFromFSRef(const FSRef& inItem);
    // Any item of the folder, existing or not; without a name the folder itself. paramErr when inParent is no
    // folder.
    void InitFromParentRefAndName(const FSRef& inParent, const TCFString& inName);
    // The name and form that the item has in the catalogue, where there is one.
    void Normalize();

    // The folder of that id: the one that the item is in, or in folder form the item. It is remembered,
    // though in folder form looked up each time.
    [[nodiscard]] OSErr GetParIDFSRef(FSRef& outFolder) const;
    bool GetFSRef(FSRef& outItem) const;  // false when it is not there
    FSRef GetFSRef() const;               // throws fnfErr when it is not there
    // Also of what is not there: its name is then cut at 31 bytes.
    FSSpec GetFSSpec() const;
    // The folder that it is in. Throws when that is not there.
    FSRef GetParentFSRef() const;

    short GetVolume() const;
    UInt32 GetParentID() const;  // of the folder that it is in; 0 when a folder is not there
    UInt32 GetNodeID() const;

    [[nodiscard]] TCFString GetName() const;  // of a folder as well
    // As a file manager shows it (toolbox/LaunchServices.h). Throws when it and its folder are not there.
    [[nodiscard]] TCFString GetDisplayName() const;
    // Empty when the style cannot say it. Throws when it and its folder are not there.
    [[nodiscard]] TCFString GetFullPath(CFURLPathStyle inStyle) const;

    OSType GetFileType() const;     // 'fold' of folder form, and nothing is looked up
    OSType GetFileCreator() const;  // of folders what lies in its place: half of the window's bounds
    UTCDateTime GetModificationDate() const;

    // Another name, for an item that may be there or not: it is not looked up.
    void SetName(const TCFString& inName);

    bool IsFolder() const;
    bool IsBundle() const;  // UFSSpec::IsBundle
    bool IsVolume() const;  // the root folder of one
    bool Exists() const;
    bool IsInvisible() const;  // by a dot at the front of its name, or by its Finder flag
    bool IsValid() const;      // whether it has a folder's id, there or not

    void DebugPrintSpec(char* inLabel) const;  // does nothing

  private:
    SInt16 mVRefNum = 0;
    UInt32 mDirID = 0;
    TCFString mName;
    // Used in file form alone.
    mutable FSRef mFolderRef = {};
    mutable UInt32 mHasFolderRef = 0;
};

// What is done with the items of specifications.
//
// What acts throws LException with the File Manager's status, fnfErr of its own where the item must be there
// and is not, and bdNamErr for a name that is too long for any item; what asks and answers a default says so.
// A specification made of a path is of what the path leads to, so that what is deleted, moved or locked by it
// is the item at the end of a link; TFSSpec(folder, name) is the link itself. Names are looked for without
// regard to case where none is exactly so (files/TFSSpec.h): who deletes "makefile" deletes "Makefile" where
// only that is there. Functions may be called on any thread, each specification by one at a time.
#pragma once

#include <files/TFSSpec.h>
#include <foundation/Int64.h>
#include <foundation/MirtalExport.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Files.h>
#include <toolbox/FinderInfo.h>

#include <vector>

class MIRTAL_EXPORT UFSSpec {
  public:
    // Type and creator as a list of files shows them: of a folder 'fold' and 'MACS', of a bundle its
    // information's. Both are 0 when the item is not there, which is thrown.
    static void GetCreatorAndType(const TFSSpec& inSpec, unsigned long& outCreator, unsigned long& outType);
    // Of a file; folders are left alone. Nothing is written that is so already.
    static void SetCreatorAndType(const TFSSpec& inSpec, unsigned long inCreator, unsigned long inType);

    // FSGetCatalogInfo and FSSetCatalogInfo of the item.
    static void GetCatalogInfo(const TFSSpec& inSpec, FSCatalogInfo& outInfo, unsigned long inWhichInfo);
    static void SetCatalogInfo(const TFSSpec& inSpec, FSCatalogInfo& inInfo, unsigned long inWhichInfo);

    // Bytes of one fork; and those that both take on the volume. 0 of a folder and of what is not there.
    static Int64 GetLength(const TFSSpec& inSpec, unsigned char inResourceFork);
    static Int64 GetPhysicalSizeOnDisk(const TFSSpec& inSpec);

    // Answers the item under its new name.
    static TFSSpec Rename(const TFSSpec& inSpec, const TCFString& inNewName);
    // Into a folder, under its own name; or to where inDestination is to be made, under that name. paramErr
    // for another volume. Nothing is replaced.
    static TFSSpec MoveRename(const TFSSpec& inSource, const TFSSpec& inDestination);

    //   inThrowOnError    else nothing tells of a failure
    //   inDeleteContents  of a folder what is in it before, with files/Containers.h's promises; else one
    //                     that is not empty stays
    static void Delete(const TFSSpec& inSpec, bool inThrowOnError, bool inDeleteContents);

    // dupFNErr where something has the name.
    //   inCreator, inType  both 0: none
    static void CreateFile(const TFSSpec& inSpec, unsigned long inCreator, unsigned long inType);
    // ioSpec becomes the folder, in its form. Returns its id.
    static UInt32 CreateFolder(TFSSpec& ioSpec);

    // In the same folder, under a name that nothing has: its own where that is so and may be one, else with
    // [1], [2] and so on before the suffix, shortened where it would be too long. paramErr after 9999 of
    // them.
    [[nodiscard]] static TFSSpec MakeUniqueName(const TFSSpec& inSpec);
    // Of nothing yet, in the user's folder for temporary items: the prefix and a number. Another program may
    // make an item of that name before the caller does. CreateFile makes none of a name that is taken: who
    // makes the file by it, and asks for another name when that throws dupFNErr, never gets another's file.
    [[nodiscard]] static TFSSpec TempFileSpec(short inVRefNum, const TCFString& inPrefix);

    // Adds what is in a folder, subfolders in folder form unless inFilesOnly is true, in the order of the
    // File Manager. An item that may not be looked at is passed over, and what ends the listing otherwise is
    // not told, so that a part may be missing. Nothing is added, and that is no failure, when the folder is
    // not there. Answers what cannot be begun or ended; throws for want of memory alone.
    [[nodiscard]] static OSErr GetFolderContents(const TFSSpec& inFolder, std::vector<TFSSpec>& ioItems,
                                                 bool inFilesOnly);
    // Puts the files of each folder in its place; folders in it go, whatever the depth.
    //   inDepth             not used for that reason
    //   inIncludeInvisible  else invisible items (TFSSpec::IsInvisible) go as well, but for folders' flags
    // ioItems is as it was when something is thrown.
    static void ExpandFolderContents(std::vector<TFSSpec>& ioItems, long inDepth, bool inIncludeInvisible);
    // As a list of files does: FinderCompareNames. Each name is asked for once. Those that are equal may
    // change places. ioItems is as it was when something is thrown.
    static void SortTFSSpecs(std::vector<TFSSpec>& ioItems);

    // Deletes what begins with the prefix, exactly so, in the user's folder for temporary items of every
    // volume, folders with all that is in them. Tells of no failure, but throws paramErr for a prefix that is
    // null, empty or no text in the application's encoding: that would be all there is.
    static void CleanTempItems(const unsigned char* inPrefix);

    // Whether it is the user's trash on the home volume, or in it. False when that cannot be told.
    static bool ItemIsInTrash(const TFSSpec& inSpec);

    static bool IsLocked(const TFSSpec& inSpec);  // false when it is not there
    // What it was before; nothing is done, or told, when the item is not there or cannot be locked.
    static bool SetLock(const TFSSpec& inSpec, bool inLock);

    // fnfErr when it is not there. Of a folder the same 16 bytes.
    [[nodiscard]] static OSErr GetFinderInfo(const TFSSpec& inSpec, FInfo& outInfo);

    // Whether it is a folder that is shown as one item: by its Finder flag, by a name that ends in .nib,
    // .app, .bundle or .framework, or as a package (toolbox/LaunchServices.h). False when the item is not
    // there.
    static bool IsBundle(FSRef& inItem);

    // The well-known folders (toolbox/Folders.h). One that is not there, and that is not to be made or cannot
    // be, is TFSSpec(), which is not valid.
    [[nodiscard]] static TFSSpec TFSSpecFindFolder(short inDomain, unsigned long inFolderType,
                                                   unsigned char inCreate);
    [[nodiscard]] static TFSSpec GetHomeFolder();
    [[nodiscard]] static TFSSpec GetMoviesFolder(bool inCreate);
    [[nodiscard]] static TFSSpec GetPicturesFolder(bool inCreate);
    [[nodiscard]] static TFSSpec GetMusicFolder(bool inCreate);
    [[nodiscard]] static TFSSpec GetDocumentsFolder(bool inCreate);
    [[nodiscard]] static TFSSpec GetDesktopFolder(bool inCreate);
    //   inLocal  the machine's, rather than the user's
    [[nodiscard]] static TFSSpec GetApplicationSupportFolder(bool inLocal, bool inCreate);
    // An application's own folder in that. It may not be there unless inCreate is true; throws when it cannot
    // be made.
    [[nodiscard]] static TFSSpec GetApplicationSupportFolderForApp(bool inLocal, const TCFString& inAppName,
                                                                   bool inCreate);
};

// Whether one comes before the other in a list of files, by their names (TCFString::FinderCompareTo,
// strictly).
class MIRTAL_EXPORT FinderCompareNames {
  public:
    bool operator()(const TFSSpec& inLeft, const TFSSpec& inRight) const;
};

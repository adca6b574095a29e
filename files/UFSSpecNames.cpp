// New names for items, and places for new items.
#include "ItemNames.h"

#include <files/UFSSpec.h>
#include <foundation/LException.h>
#include <toolbox/DateTimeUtils.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Folders.h>
#include <toolbox/MacErrors.h>
#include <toolbox/QuickDraw.h>

#include <string>

namespace {

constexpr int kMaxNumber = 9999;
constexpr long kMaxNameUnits = 255;
constexpr long kMaxDiskBytes = 255;
constexpr UInt32 kFirstSecond = 101;
constexpr SInt16 kRandomSeconds = 255;
constexpr UInt32 kRootID = fsRtDirID;

// What a unit takes on disk, where names are UTF-8; half of what a pair of surrogates takes. Those of U+F780
// to U+F7FF stand for one byte that is no text.
long DiskBytesOf(UniChar inUnit) {
    if (inUnit < 0x80 || (inUnit >= 0xF780 && inUnit <= 0xF7FF)) return 1;
    const bool isSurrogate = inUnit >= 0xD800 && inUnit < 0xE000;
    return inUnit < 0x800 || isSurrogate ? 2 : 3;
}

bool CanBeName(const TCFString& inName) {
    const long length = inName.Length();
    long bytes = 0;
    for (long i = 0; i < length && bytes <= kMaxDiskBytes; ++i)
        bytes += DiskBytesOf(inName.Char(i));
    return length <= kMaxNameUnits && bytes <= kMaxDiskBytes;
}

// The base is shortened until the name may be one; no pair of surrogates is parted.
TCFString FittingName(const TCFString& inBase, const TCFString& inTail) {
    TCFString name = inBase + inTail;
    for (long length = inBase.Length(); length > 0 && !CanBeName(name);) {
        const UniChar last = inBase.Char(--length);
        if (length > 0 && last >= 0xDC00 && last < 0xE000) --length;
        name = inBase.Substring(0, length) + inTail;
    }
    RefuseEmptyName(name, inBase.IsEmpty() && inTail.IsEmpty(), memFullErr);
    return name;
}

// A name that the catalogue takes.
TCFString CleanName(const TCFString& inName) {
    const TCFString name = inName.HFSName(kMaxNameUnits);
    RefuseEmptyName(name, inName.IsEmpty(), memFullErr);
    return CanBeName(name) ? name : FittingName(name.RemoveSuffix(), name.Suffix());
}

TCFString Numbered(const TCFString& inBase, int inNumber, const TCFString& inSuffix) {
    const std::string number = '[' + std::to_string(inNumber) + ']';
    const TCFString mark(number.c_str(), TCFString::DefaultEncoding());
    RefuseEmptyName(mark, false, memFullErr);
    return FittingName(inBase, mark + inSuffix);
}

TFSSpec FindFolderIn(bool inLocal, OSType inType, bool inCreate) {
    return UFSSpec::TFSSpecFindFolder(inLocal ? kLocalDomain : kUserDomain, inType, inCreate);
}

}  // namespace

TFSSpec UFSSpec::MakeUniqueName(const TFSSpec& inSpec) {
    TFSSpec spec(inSpec);
    const bool isFolder = spec.IsFolder();
    if (!isFolder) {
        spec.SetName(CleanName(spec.GetName()));
        if (!spec.Exists()) return spec;
    }
    const TCFString name = spec.GetName();
    const TCFString base = name.RemoveSuffix();
    const TCFString suffix = name.Suffix();
    if (isFolder) spec = TFSSpec(spec.GetParentFSRef());
    for (int number = 1; number <= kMaxNumber; ++number) {
        spec.SetName(Numbered(base, number, suffix));
        if (!spec.Exists()) return spec;
    }
    LException::Throw(paramErr);
}

TFSSpec UFSSpec::TempFileSpec(short inVRefNum, const TCFString& inPrefix) {
    SInt16 volume = 0;
    UInt32 folder = 0;
    const OSErr folderError = FindFolder(inVRefNum, kTemporaryFolderType, kCreateFolder, &volume, &folder);
    if (folderError != noErr) LException::Throw(folderError);
    for (UInt32 offset = 0;; offset = static_cast<UInt32>(Random() & kRandomSeconds)) {
        UInt32 seconds = 0;
        GetDateTime(&seconds);
        const unsigned long number = seconds + offset + kFirstSecond;
        Str255 name;
        (inPrefix + TCFString::Int(number)).PString(name, sizeof name - 1);
        FSSpec spec;
        const OSErr error = FSMakeFSSpec(volume, static_cast<SInt32>(folder), name, &spec);
        if (error == fnfErr) return spec;
        if (error != noErr) LException::Throw(error);
    }
}

bool UFSSpec::ItemIsInTrash(const TFSSpec& inSpec) {
    SInt16 volume = 0;
    UInt32 folder = 0;
    if (FindFolder(kOnAppropriateDisk, kTrashFolderType, kDontCreateFolder, &volume, &folder) != noErr)
        return false;
    try {
        const TFSSpec trash(volume, folder);
        for (TFSSpec item(inSpec); item.GetNodeID() != kRootID; item = TFSSpec(item.GetParentFSRef()))
            if (item == trash) return true;
        return false;
    } catch (...) {
        return false;
    }
}

TFSSpec UFSSpec::TFSSpecFindFolder(short inDomain, unsigned long inFolderType, unsigned char inCreate) {
    FSRef folder;
    try {
        if (FSFindFolder(inDomain, static_cast<OSType>(inFolderType), inCreate, &folder) == noErr)
            return folder;
    } catch (const LException&) {  // it was there
    }
    return {};
}

TFSSpec UFSSpec::GetHomeFolder() {
    return FindFolderIn(false, kDomainTopLevelFolderType, false);
}

TFSSpec UFSSpec::GetMoviesFolder(bool inCreate) {
    return FindFolderIn(false, kMovieDocumentsFolderType, inCreate);
}

TFSSpec UFSSpec::GetPicturesFolder(bool inCreate) {
    return FindFolderIn(false, kPictureDocumentsFolderType, inCreate);
}

TFSSpec UFSSpec::GetMusicFolder(bool inCreate) {
    return FindFolderIn(false, kMusicDocumentsFolderType, inCreate);
}

TFSSpec UFSSpec::GetDocumentsFolder(bool inCreate) {
    return FindFolderIn(false, kDocumentsFolderType, inCreate);
}

TFSSpec UFSSpec::GetDesktopFolder(bool inCreate) {
    return FindFolderIn(false, kDesktopFolderType, inCreate);
}

TFSSpec UFSSpec::GetApplicationSupportFolder(bool inLocal, bool inCreate) {
    return FindFolderIn(inLocal, kApplicationSupportFolderType, inCreate);
}

TFSSpec UFSSpec::GetApplicationSupportFolderForApp(bool inLocal, const TCFString& inAppName, bool inCreate) {
    FSRef folder;
    const SInt16 domain = inLocal ? kLocalDomain : kUserDomain;
    if (FSFindFolder(domain, kApplicationSupportFolderType, inCreate, &folder) != noErr) return {};
    TFSSpec spec(folder, inAppName);
    if (inCreate && !spec.Exists()) CreateFolder(spec);
    return spec;
}

#include "MovedItems.h"

#include "Finding.h"
#include "FolderItems.h"
#include "ItemCompanions.h"
#include "NameWriter.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/Volumes.h"
#include "status/StatusOfErrno.h"

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

// noErr for what may be deleted, moved and renamed. What something else than a folder is mounted upon the
// system refuses by itself.
OSStatus CheckMayGo(const Place& inPlace, const os::ItemStatus& inItem, LockCheck inLockCheck) {
    if (inPlace.name.empty() || IsVolumeRoot(inPlace, inItem)) return paramErr;
    const OSStatus status = CheckOwnerUnlocked(inPlace);
    const bool isHere = status == noErr && inLockCheck == LockCheck::kHere;
    return isHere ? CheckUnlocked(inPlace, inItem) : status;
}

// By the name that the reference means, in its folder, which is opened where it was met. False where the item
// is not there: then it is to be found in the ordinary way.
bool OpenWhereMet(const FSRef& inRef, FoundItem& outItem, Place& outPlace) {
    RememberedPlace remembered;
    FoundItem folder;
    Place place;
    if (!GetRememberedPlace(inRef, remembered) || !OpenKnownFolder(remembered.folder, folder, place))
        return false;
    place.name = std::move(remembered.name);
    if (FindAtPlace(folder, place, outItem) != noErr) return false;
    const bool isIt = outItem.status.identity.IsSameItem(remembered.item) && !IsDescriptorPath(outItem.path);
    if (isIt) outPlace = std::move(place);
    return isIt;
}

}  // namespace

OSStatus OpenFolderOfRef(const FSRef& inRef, FoundItem& outFolder, Place& outPlace) {
    if (OpenKnownFolder(inRef, outFolder, outPlace)) return noErr;
    const OSStatus status = FindByRef(inRef, outFolder);
    if (status != noErr) return status == fnfErr ? OSStatus{dirNFErr} : status;
    if (outFolder.status.kind != os::ItemKind::kFolder) return errFSNotAFolder;
    return OpenFoundFolder(outFolder, outPlace);
}

OSStatus OpenItem(const FoundItem& inItem, Place& outPlace, LockCheck inLockCheck) {
    if (IsDescriptorPath(inItem.path)) return fnfErr;  // it has no name
    const OSStatus status = OpenPlace(inItem, outPlace);
    return status == noErr ? CheckMayGo(outPlace, inItem.status, inLockCheck) : status;
}

OSStatus OpenItemOfRef(const FSRef& inRef, FoundItem& outItem, Place& outPlace, LockCheck inLockCheck) {
    if (OpenWhereMet(inRef, outItem, outPlace)) return CheckMayGo(outPlace, outItem.status, inLockCheck);
    const OSStatus status = FindByRef(inRef, outItem);
    return status == noErr ? OpenItem(outItem, outPlace, inLockCheck) : status;
}

OSStatus MoveTo(FoundItem& ioItem, const Place& inPlace, const std::string& inFolderPath, Place& ioNewPlace,
                FSRef* outRef) {
    std::string path = PathInFolder(inFolderPath, ioNewPlace.name);
    const int error = MoveItem(inPlace, ioItem.status, ioNewPlace, ioItem.facts);
    // A file system may have no such name.
    if (error == EINVAL) return inPlace.name == ioNewPlace.name ? badMovErr : bdNamErr;
    if (error != 0) return StatusOfChange(error, ioItem);
    ioItem.path = std::move(path);
    if (ioItem.facts.nodeID == 0) {
        const OSStatus status = FindItselfByPath(ioItem.path.c_str(), ioItem);
        if (status != noErr) return status;
    }
    if (outRef != nullptr) *outRef = MakeRef(ioItem);
    return noErr;
}

}  // namespace toolbox::files

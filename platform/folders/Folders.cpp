#include "os/Folders.h"

#include "FolderPlaces.h"
#include "catalogue/Catalogue.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/Folders.h>

#include <new>

namespace toolbox::files {

namespace {

constexpr mode_t kForTheUserAlone = 0700;
constexpr mode_t kForEverybody = 0755;

struct Request {
    OSType type;
    std::vector<FolderPlace> places;  // the one to prefer first
    mode_t mode;
};

// On a volume that others write to as well, a link or somebody else's folder is not the user's folder.
bool IsUsersOwn(const std::string& inPath) {
    struct statx status = {};
    return os::Calls().statx(AT_FDCWD, inPath.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status) ==
               0 &&
           S_ISDIR(status.stx_mode) && status.stx_uid == os::Calls().getuid();
}

OSStatus FindAt(const FolderPlace& inPlace, FoundItem& outFolder) {
    const OSStatus status = FindByPath(inPlace.path.c_str(), outFolder);
    if (status == dirNFErr) return fnfErr;
    if (status != noErr) return status;
    if (outFolder.status.kind != os::ItemKind::kFolder) return errFSNotAFolder;
    // Nor is a folder the user's that a link on the way leads to: the path is canonical up to the volume's
    // root.
    const bool isUsers = outFolder.path == inPlace.path && IsUsersOwn(inPlace.path);
    return !inPlace.isAmongOthers || isUsers ? static_cast<OSStatus>(noErr) : afpAccessDenied;
}

OSStatus MakeAt(const Request& inRequest, const FolderPlace& inPlace, FoundItem& outFolder) {
    int error = os::MakeFolders(inPlace.path, inRequest.mode);
    if (error == 0 && inRequest.type == kTrashFolderType) {
        const std::string trash = inPlace.path.substr(0, inPlace.path.rfind('/'));
        error = os::MakeFolders(trash + "/info", inRequest.mode);
    }
    return error != 0 ? StatusOfErrno(error) : FindAt(inPlace, outFolder);
}

OSStatus FindOrMake(const Request& inRequest, bool inMakes, FoundItem& outFolder) {
    OSStatus status = fnfErr;
    for (const FolderPlace& place : inRequest.places) {
        status = FindAt(place, outFolder);
        if (status == fnfErr && inMakes) status = MakeAt(inRequest, place, outFolder);
        if (status == noErr) return noErr;
    }
    return status;
}

OSStatus AddDomain(Domain inDomain, Request& ioRequest) {
    if (ioRequest.type == kTemporaryFolderType) {
        ioRequest.places.push_back(TemporaryPlace());
        return noErr;
    }
    std::string path;
    const int error = GetDomainFolderPath(inDomain, ioRequest.type, path);
    if (error != 0) return StatusOfErrno(error);
    if (path.empty()) return noErr;
    ioRequest.places.push_back({std::move(path)});
    ioRequest.mode = inDomain == Domain::kUser ? kForTheUserAlone : kForEverybody;
    return noErr;
}

OSStatus AddUsersOrSystems(Request& ioRequest) {
    const OSStatus status = AddDomain(Domain::kUser, ioRequest);
    return status == noErr && ioRequest.places.empty() ? AddDomain(Domain::kSystem, ioRequest) : status;
}

OSStatus AddVolume(SInt16 inNumber, Request& ioRequest) {
    Volume volume;
    const OSStatus status = GetVolume(inNumber, volume);
    if (status != noErr) return status;
    ioRequest.mode = kForTheUserAlone;
    if (ioRequest.type == kTrashFolderType) return StatusOfErrno(GetTrashPlacesOn(volume, ioRequest.places));
    if (ioRequest.type != kTemporaryFolderType) return AddUsersOrSystems(ioRequest);
    ioRequest.places = TemporaryPlacesOn(volume);
    return noErr;
}

OSStatus AddPlaces(SInt16 inWhere, Request& ioRequest) {
    switch (inWhere) {
        case kOnSystemDisk:
        case kOnAppropriateDisk:
        case 0:
            return AddUsersOrSystems(ioRequest);
        case kUserDomain:
            return AddDomain(Domain::kUser, ioRequest);
        case kLocalDomain:
            return AddDomain(Domain::kLocal, ioRequest);
        case kSystemDomain:
            return AddDomain(Domain::kSystem, ioRequest);
        case kNetworkDomain:
            return noErr;
        default:
            return AddVolume(inWhere, ioRequest);
    }
}

OSStatus Find(SInt16 inWhere, OSType inType, bool inMakes, FoundItem& outFolder) {
    Request request = {inType, {}, kForTheUserAlone};
    const OSStatus status = AddPlaces(inWhere, request);
    return status == noErr ? FindOrMake(request, inMakes, outFolder) : status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSFindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, FSRef* outFolder) {
    if (outFolder == nullptr) return paramErr;
    try {
        FoundItem folder;
        const OSStatus status = Find(inWhere, inType, inCreateFolder != 0, folder);
        if (status == noErr) *outFolder = MakeRef(folder);
        return static_cast<OSErr>(status);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, SInt16* outVolume,
                 UInt32* outFolderID) {
    try {
        FoundItem folder;
        SInt16 volume = 0;
        OSStatus status = Find(inWhere, inType, inCreateFolder != 0, folder);
        if (status == noErr) status = GetVolumeNumber(folder, volume);
        if (status != noErr) return static_cast<OSErr>(status);
        if (outVolume != nullptr) *outVolume = volume;
        if (outFolderID != nullptr) *outFolderID = folder.facts.nodeID;
        return noErr;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

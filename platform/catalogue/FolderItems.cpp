#include "FolderItems.h"

#include "DefaultFolder.h"
#include "Finding.h"
#include "KnownNames.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace toolbox::files {

namespace {

// A folder that went meanwhile is like one that never was.
OSStatus AsFolderStatus(OSStatus inStatus) {
    return inStatus == fnfErr ? static_cast<OSStatus>(dirNFErr) : inStatus;
}

// Sets the name to that of the folder's item which is the same but for case and form; of several to the one
// of lowest bytes, whatever the order in which the folder tells them. fnfErr when there is none; what the
// folder has beside its items is nobody's similar name.
OSStatus FindSimilarName(std::u16string_view inName, Place& ioPlace) {
    std::string lowest;
    const int error = FindSimilarNames(ioPlace, inName, [&](const struct dirent& inEntry) {
        const bool isWanted = (lowest.empty() || inEntry.d_name < lowest) && !IsCompanion(ioPlace);
        if (isWanted) lowest = inEntry.d_name;
        return ENOENT;
    });
    if (error != ENOENT || lowest.empty()) return StatusOfErrno(error);
    ioPlace.name = std::move(lowest);
    return noErr;
}

// Whether the item has that name in a specification, exactly.
bool HasSpecName(const FoundItem& inItem, ConstStr255Param inName) {
    const FSSpec spec = SpecOf(inItem, 0);
    return std::equal(inName, inName + inName[0] + 1, spec.name);
}

// The same of one that must be in the folder.
bool IsNamed(const FoundItem& inItem, const FoundItem& inFolder, ConstStr255Param inName) {
    return inItem.facts.parent.IsSameItem(inFolder.status.identity) && HasSpecName(inItem, inName);
}

// The item whose name tells its node, if it is in the folder still: by what is known of the node, else by
// the entry that has its inode.
OSStatus FindByNode(const FoundItem& inFolder, ConstStr255Param inName, FoundItem& outItem) {
    const NodeID nodeID = NodeOfSpecName(inName);
    if (nodeID == 0) return fnfErr;
    os::ItemIdentity identity;
    std::uint64_t inode = nodeID;
    if (NodeTable::Shared().FindID(inFolder.status.identity.device, nodeID, identity)) {
        const OSStatus status = FindByIdentity(identity, outItem);
        if (status == noErr && outItem.status.linkCount <= 1 && IsNamed(outItem, inFolder, inName))
            return noErr;
        if (status != noErr && status != fnfErr) return status;
        inode = identity.inode;
    }
    Place place;
    const OSStatus status = OpenFoundFolder(inFolder, place);
    if (status != noErr) return status;
    if (KnownNames::Shared().HasSpecNamesOnly(place.folderStatus)) return fnfErr;
    OSStatus found = fnfErr;
    const int error = FindName(place, [&](const struct dirent& inEntry) {
        if (inEntry.d_ino != inode) return ENOENT;
        FoundItem item;
        const OSStatus itemStatus = FindAtPlace(inFolder, place, item);
        if (itemStatus == fnfErr) return ENOENT;
        if (itemStatus != noErr) {
            found = itemStatus;
            return 0;
        }
        if (!IsNamed(item, inFolder, inName)) return ENOENT;
        // Two names of one file that begin alike: nobody can tell which is meant.
        if (found == noErr) {
            found = fnfErr;
            return 0;
        }
        outItem = std::move(item);
        found = noErr;
        return ENOENT;
    });
    return error == 0 || error == ENOENT ? found : StatusOfErrno(error);
}

}  // namespace

OSStatus OpenFoundFolder(const FoundItem& inFolder, Place& outPlace) {
    const int error = OpenFolder(inFolder.path, outPlace);
    if (error != 0) return AsFolderStatus(StatusOfErrno(error));
    const bool isSame = outPlace.folderStatus.identity.IsSameItem(inFolder.status.identity);
    return isSame ? noErr : static_cast<OSStatus>(dirNFErr);
}

OSStatus FindByName(const FoundItem& inFolder, Place& ioPlace, std::u16string_view inName,
                    FoundItem& outItem) {
    if (!DiskName(inName, ioPlace.name)) return bdNamErr;
    OSStatus status = ioPlace.folder.IsOpen() ? OSStatus{noErr} : OpenFoundFolder(inFolder, ioPlace);
    if (status == noErr) status = FindAtPlace(inFolder, ioPlace, outItem);
    if (status != fnfErr) return status;
    if (KnownNames::Shared().HasNeither(ioPlace)) return fnfErr;
    DropLeftover(ioPlace);
    status = FindSimilarName(inName, ioPlace);
    return status == noErr ? FindAtPlace(inFolder, ioPlace, outItem) : status;
}

OSStatus FindFolderByID(SInt16 inVolume, NodeID inFolderID, FoundItem& outFolder, Place* outPlace,
                        KnownVolume* outVolume) {
    if (inVolume == 0 && inFolderID == 0) return FindDefaultFolder(outFolder);
    const SInt16 number = inVolume == 0 ? kBootVolume : inVolume;
    Volume volume;
    const OSStatus volumeStatus = GetVolume(number, volume);
    if (volumeStatus != noErr) return volumeStatus;
    if (outVolume != nullptr) *outVolume = {number, volume.key};
    os::ItemIdentity identity;
    OSStatus status = dirNFErr;
    if (inFolderID == 0 || inFolderID == kRootID) {
        status = FindByPath(volume.rootPath.c_str(), outFolder);
    } else if (NodeTable::Shared().FindID(volume.key.device, inFolderID, identity)) {
        if (outPlace != nullptr && OpenKnownFolder(identity, outFolder, *outPlace)) return noErr;
        status = FindByIdentity(identity, outFolder);
    }
    if (status != noErr) return AsFolderStatus(status);
    return outFolder.status.kind == os::ItemKind::kFolder ? noErr : static_cast<OSStatus>(dirNFErr);
}

OSStatus FindBySpec(const FSSpec& inSpec, FoundItem& outItem, KnownVolume* outVolume) {
    if (inSpec.name[0] > kMaxSpecNameBytes) return bdNamErr;
    const auto folderID = static_cast<NodeID>(inSpec.parID);
    const bool isOfRoot = folderID == kRootParentID;
    FoundItem folder;
    Place place;
    Place* const opened = inSpec.name[0] == 0 ? nullptr : &place;
    const OSStatus status =
        FindFolderByID(inSpec.vRefNum, isOfRoot ? kRootID : folderID, folder, opened, outVolume);
    if (status != noErr) return status;
    if (inSpec.name[0] == 0) {
        outItem = folder;
        return isOfRoot ? static_cast<OSStatus>(dirNFErr) : noErr;
    }
    std::u16string name;
    if (!NameOfSpec(inSpec.name, name)) return bdNamErr;
    if (isOfRoot) {
        outItem = folder;
        const bool isIts = IsSameName(name, NameInCatalogue(folder)) || HasSpecName(folder, inSpec.name);
        return isIts ? noErr : static_cast<OSStatus>(fnfErr);
    }
    const OSStatus nameStatus = FindByName(folder, place, name, outItem);
    return nameStatus == fnfErr ? FindByNode(folder, inSpec.name, outItem) : nameStatus;
}

FSSpec SpecOf(const FoundItem& inItem, SInt16 inVolume) {
    FSSpec spec = {inVolume, static_cast<SInt32>(inItem.facts.parentID), {}};
    SpecName(NameInCatalogue(inItem), inItem.facts.nodeID, spec.name);
    return spec;
}

OSStatus MakeSpec(const FoundItem& inItem, FSSpec& outSpec, const KnownVolume& inKnown) {
    SInt16 volume = inKnown.number;
    os::VolumeKey key;
    OSStatus status = volume == 0 ? OSStatus{noErr} : GetVolumeKey(inItem, key);
    if (volume == 0 || key != inKnown.key) status = GetVolumeNumber(inItem, volume);
    if (status == noErr) outSpec = SpecOf(inItem, volume);
    return status;
}

std::u16string NameInCatalogue(const FoundItem& inItem) {
    if (inItem.path == "/") return u"/";
    return CatalogueName(std::string_view(inItem.path).substr(inItem.path.rfind('/') + 1));
}

}  // namespace toolbox::files

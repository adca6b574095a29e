#include "FolderItems.h"

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
    const int error = FindName(ioPlace, [&](const struct dirent& inEntry) {
        const bool isWanted = IsSameName(CatalogueName(inEntry.d_name), inName) &&
                              (lowest.empty() || inEntry.d_name < lowest) && !IsCompanion(ioPlace);
        if (isWanted) lowest = inEntry.d_name;
        return ENOENT;
    });
    if (error != ENOENT || lowest.empty()) return StatusOfErrno(error);
    ioPlace.name = std::move(lowest);
    return noErr;
}

OSStatus FindByName(const FoundItem& inFolder, std::u16string_view inName, FoundItem& outItem) {
    Place place;
    if (!DiskName(inName, place.name)) return bdNamErr;
    OSStatus status = OpenFoundFolder(inFolder, place);
    if (status == noErr) status = FindAtPlace(inFolder, place, outItem);
    if (status != fnfErr) return status;
    DropLeftover(place);
    status = FindSimilarName(inName, place);
    return status == noErr ? FindAtPlace(inFolder, place, outItem) : status;
}

// The item whose name tells its node, if it is in the folder still.
OSStatus FindByNode(const FoundItem& inFolder, ConstStr255Param inName, FoundItem& outItem) {
    const NodeID nodeID = NodeOfSpecName(inName);
    const std::uint64_t device = inFolder.status.identity.device;
    os::ItemIdentity identity;
    if (nodeID == 0 || !NodeTable::Shared().FindID(device, nodeID, identity)) return fnfErr;
    const OSStatus status = FindByIdentity(identity, outItem);
    if (status != noErr) return status;
    FSSpec spec;
    const OSStatus specStatus = MakeSpec(outItem, spec);
    if (specStatus != noErr) return specStatus;
    const bool isInFolder = static_cast<NodeID>(spec.parID) == inFolder.nodeID;
    return isInFolder && std::equal(inName, inName + inName[0] + 1, spec.name)
               ? noErr
               : static_cast<OSStatus>(fnfErr);
}

}  // namespace

OSStatus OpenFoundFolder(const FoundItem& inFolder, Place& outPlace) {
    const int error = OpenFolder(inFolder.path, outPlace);
    if (error != 0) return AsFolderStatus(StatusOfErrno(error));
    const bool isSame = outPlace.folderStatus.identity.IsSameItem(inFolder.status.identity);
    return isSame ? noErr : static_cast<OSStatus>(dirNFErr);
}

OSStatus FindFolderByID(SInt16 inVolume, NodeID inFolderID, FoundItem& outFolder) {
    Volume volume;
    const OSStatus volumeStatus = GetVolume(inVolume == 0 ? kBootVolume : inVolume, volume);
    if (volumeStatus != noErr) return volumeStatus;
    os::ItemIdentity identity;
    OSStatus status = dirNFErr;
    if (inFolderID == 0 || inFolderID == kRootID)
        status = FindByPath(volume.rootPath.c_str(), outFolder);
    else if (NodeTable::Shared().FindID(volume.key.device, inFolderID, identity))
        status = FindByIdentity(identity, outFolder);
    if (status != noErr) return AsFolderStatus(status);
    return outFolder.status.kind == os::ItemKind::kFolder ? noErr : static_cast<OSStatus>(dirNFErr);
}

OSStatus FindBySpec(const FSSpec& inSpec, FoundItem& outItem) {
    if (inSpec.name[0] > kMaxSpecNameBytes) return bdNamErr;
    const auto folderID = static_cast<NodeID>(inSpec.parID);
    const bool isOfRoot = folderID == kRootParentID;
    FoundItem folder;
    const OSStatus status = FindFolderByID(inSpec.vRefNum, isOfRoot ? kRootID : folderID, folder);
    if (status != noErr) return status;
    if (inSpec.name[0] == 0) {
        outItem = folder;
        return isOfRoot ? static_cast<OSStatus>(dirNFErr) : noErr;
    }
    std::u16string name;
    if (!NameOfSpec(inSpec.name, name)) return bdNamErr;
    if (isOfRoot) {
        outItem = folder;
        return IsSameName(name, NameInCatalogue(folder)) ? noErr : static_cast<OSStatus>(fnfErr);
    }
    const OSStatus nameStatus = FindByName(folder, name, outItem);
    return nameStatus == fnfErr ? FindByNode(folder, inSpec.name, outItem) : nameStatus;
}

OSStatus OpenSpec(const FSSpec& inSpec, Place& outPlace, os::ItemStatus& outItem) {
    FoundItem item;
    std::u16string name;
    const auto folderID = static_cast<NodeID>(inSpec.parID);
    if (inSpec.name[0] == 0 || folderID == kRootParentID) {
        const OSStatus status = FindBySpec(inSpec, item);
        outItem = item.status;
        return status == noErr ? OpenPlace(item, outPlace) : status;
    }
    if (inSpec.name[0] > kMaxSpecNameBytes || !NameOfSpec(inSpec.name, name) ||
        !DiskName(name, outPlace.name))
        return bdNamErr;
    FoundItem folder;
    OSStatus status = FindFolderByID(inSpec.vRefNum, folderID, folder);
    if (status == noErr) status = OpenFoundFolder(folder, outPlace);
    if (status != noErr) return status;
    status = StatusOfErrno(GetStatus(outPlace, outItem));
    if (status == fnfErr) status = FindSimilarName(name, outPlace);
    if (status == noErr) return StatusOfErrno(GetStatus(outPlace, outItem));
    if (status == fnfErr) status = FindByNode(folder, inSpec.name, item);
    outItem = item.status;
    return status == noErr ? OpenPlace(item, outPlace) : status;
}

FSSpec SpecOf(const FoundItem& inItem, const NodeFacts& inFacts, SInt16 inVolume) {
    FSSpec spec = {inVolume, static_cast<SInt32>(inFacts.parentID), {}};
    SpecName(NameInCatalogue(inItem), inFacts.nodeID, spec.name);
    return spec;
}

OSStatus MakeSpec(const FoundItem& inItem, FSSpec& outSpec) {
    NodeFacts facts;
    if (!NodeTable::Shared().GetFacts(inItem.status.identity, facts)) return fnfErr;
    SInt16 volume = 0;
    const OSStatus status = GetVolumeNumber(inItem, volume);
    if (status == noErr) outSpec = SpecOf(inItem, facts, volume);
    return status;
}

std::u16string NameInCatalogue(const FoundItem& inItem) {
    if (inItem.path == "/") return u"/";
    return CatalogueName(std::string_view(inItem.path).substr(inItem.path.rfind('/') + 1));
}

}  // namespace toolbox::files

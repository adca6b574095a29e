#include "FolderItems.h"

#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"
#include "os/Folders.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <string>

namespace toolbox::files {

namespace {

std::string PathInFolder(const FoundItem& inFolder, std::string_view inName) {
    std::string path = inFolder.path;
    if (path.back() != '/') path += '/';
    return path.append(inName);
}

// A folder that went meanwhile is like one that never was.
OSStatus AsFolderStatus(OSStatus inStatus) {
    return inStatus == fnfErr ? static_cast<OSStatus>(dirNFErr) : inStatus;
}

// The name of the folder's item that is the same but for case and form; empty when there is none.
OSStatus FindSimilarName(const FoundItem& inFolder, std::u16string_view inName, std::string& outDiskName) {
    outDiskName.clear();
    os::FolderReader folder;
    int error = folder.Open(inFolder.path.c_str());
    if (error != 0) return StatusOfErrno(error);
    for (;;) {
        const struct dirent* entry = nullptr;
        error = folder.Next(entry);
        if (entry == nullptr) return StatusOfErrno(error);
        if (!IsSameName(CatalogueName(entry->d_name), inName)) continue;
        outDiskName = entry->d_name;
        return noErr;
    }
}

OSStatus FindByName(const FoundItem& inFolder, std::u16string_view inName, FoundItem& outItem) {
    std::string diskName;
    if (!DiskName(inName, diskName)) return bdNamErr;
    const OSStatus status = FindByPath(PathInFolder(inFolder, diskName).c_str(), outItem);
    if (status != fnfErr) return status;
    const OSStatus searchStatus = FindSimilarName(inFolder, inName, diskName);
    if (searchStatus != noErr) return searchStatus;
    return diskName.empty() ? static_cast<OSStatus>(fnfErr)
                            : FindByPath(PathInFolder(inFolder, diskName).c_str(), outItem);
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

#include "MountedVolumes.h"
#include "ParamBlocks.h"
#include "catalogue/Volumes.h"
#include "os/Mutex.h"

#include <toolbox/FileIDs.h>

#include <algorithm>
#include <map>
#include <utility>

namespace toolbox::files {

namespace {

// Those that programs made, for the life of the process.
struct Table {
    using Key = std::pair<SInt16, NodeID>;  // of the volume by its number
    os::Mutex mutex;
    std::map<Key, FSRef> files GUARDED_BY(mutex);
};

Table& SharedTable() {
    static Table& table = *new Table;  // never destroyed: used until the process ends
    return table;
}

OSStatus Create(FIDParam& ioBlock) {
    FoundItem item;
    SInt16 volume = 0;
    OSStatus status = FindNamed(ioBlock.ioVRefNum, ioBlock.ioSrcDirID, ioBlock.ioNamePtr, item);
    if (status == noErr && item.status.kind == os::ItemKind::kFolder) status = notAFileErr;
    if (status == noErr) status = GetVolumeNumber(item, volume);
    if (status != noErr) return status;
    const FSRef ref = MakeRef(item);
    NodeTable::Shared().KeepID(item.facts.item);
    Table& table = SharedTable();
    const os::MutexLock lock(table.mutex);
    const bool isNew = table.files.try_emplace({volume, item.facts.nodeID}, ref).second;
    ioBlock.ioFileID = static_cast<SInt32>(item.facts.nodeID);
    return isNew ? OSStatus{noErr} : OSStatus{fidExists};
}

bool FindMade(SInt16 inVolume, NodeID inID, FSRef& outRef) {
    Table& table = SharedTable();
    const os::MutexLock lock(table.mutex);
    const auto found = table.files.find({inVolume, inID});
    if (found != table.files.end()) outRef = found->second;
    return found != table.files.end();
}

OSStatus FindByID(SInt16 inNumber, NodeID inID, FoundItem& outItem) {
    Volume volume;
    const OSStatus status = GetVolume(inNumber, volume);
    if (status != noErr) return status;
    FSRef ref = {};
    os::ItemIdentity identity;
    const OSStatus made = FindMade(inNumber, inID, ref) ? FindByRef(ref, outItem) : OSStatus{fnfErr};
    if (made != fnfErr) return made;
    // Nobody made it, or it is on another mount of the same file system.
    if (!NodeTable::Shared().FindID(volume.key.device, inID, identity)) return fidNotFound;
    return FindByIdentity(identity, outItem);
}

OSStatus Resolve(FIDParam& ioBlock) {
    SInt16 asked = 0;
    SInt16 volume = 0;
    FoundItem item;
    OSStatus status = ChooseVolume(ioBlock.ioVRefNum, 0, asked);
    if (status == noErr) status = FindByID(asked, static_cast<NodeID>(ioBlock.ioFileID), item);
    if (status == noErr) status = GetVolumeNumber(item, volume);
    if (status == noErr && volume != asked) status = fidNotFound;
    if (status == noErr && item.status.kind == os::ItemKind::kFolder) status = notAFileErr;
    if (status != noErr) return status == fnfErr ? OSStatus{fidNotFound} : status;
    const FSSpec spec = SpecOf(item, volume);
    ioBlock.ioSrcDirID = spec.parID;
    if (ioBlock.ioNamePtr != nullptr) std::copy_n(spec.name, spec.name[0] + 1, ioBlock.ioNamePtr);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBCreateFileIDRefSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::fidParam, Create);
}

OSErr PBResolveFileIDRefSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::fidParam, Resolve);
}

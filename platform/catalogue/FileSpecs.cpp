#include "FolderItems.h"
#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"

#include <toolbox/FileSpecs.h>

#include <algorithm>
#include <new>

namespace toolbox::files {

namespace {

static_assert(sizeof(FSSpec) == 70);

// The name of an item that may be made: one that the folder can have.
OSStatus SpecOfNewItem(const FSSpec& inSpec, FSSpec& outSpec) {
    std::u16string name;
    std::string diskName;
    if (!NameOfSpec(inSpec.name, name) || !DiskName(name, diskName)) return bdNamErr;
    FoundItem folder;
    OSStatus status = FindFolderByID(inSpec.vRefNum, static_cast<NodeID>(inSpec.parID), folder);
    SInt16 volume = 0;
    if (status == noErr) status = GetVolumeNumber(folder, volume);
    if (status != noErr) return status;
    outSpec = inSpec;
    outSpec.vRefNum = volume;
    outSpec.parID = static_cast<SInt32>(folder.facts.nodeID);
    return fnfErr;
}

OSStatus MakeSpecOf(const FSSpec& inSpec, FSSpec& outSpec) {
    FoundItem item;
    KnownVolume volume;
    const OSStatus status = FindBySpec(inSpec, item, &volume);
    if (status == noErr) return MakeSpec(item, outSpec, volume);
    const bool mayBeMade = status == fnfErr && inSpec.parID != fsRtParID;
    return mayBeMade ? SpecOfNewItem(inSpec, outSpec) : status;
}

OSStatus MakeRefOfSpec(const FSSpec& inSpec, FSRef& outRef) {
    FoundItem item;
    const OSStatus status = FindBySpec(inSpec, item);
    if (status == noErr) outRef = MakeRef(item);
    return status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSMakeFSSpec(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, FSSpec* outSpec) {
    if (outSpec == nullptr) return paramErr;
    FSSpec spec = {};
    spec.vRefNum = inVRefNum;
    spec.parID = inDirID;
    if (inName != nullptr) {
        if (inName[0] >= sizeof spec.name) return bdNamErr;
        std::copy_n(inName, inName[0] + 1, spec.name);
    }
    try {
        return static_cast<OSErr>(MakeSpecOf(spec, *outSpec));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSpMakeFSRef(const FSSpec* inSpec, FSRef* outRef) {
    if (inSpec == nullptr || outRef == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(MakeRefOfSpec(*inSpec, *outRef));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

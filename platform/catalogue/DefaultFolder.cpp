#include "DefaultFolder.h"

#include "FolderItems.h"
#include "MountedVolumes.h"
#include "ParamBlocks.h"
#include "catalogue/Volumes.h"
#include "os/Mutex.h"

#include <toolbox/DefaultFolder.h>

#include <algorithm>
#include <new>

namespace toolbox::files {

namespace {

struct Default {
    bool isSet = false;
    FSRef folder;
};
constinit os::Mutex sMutex;
Default sDefault GUARDED_BY(sMutex);

Default Get() {
    const os::MutexLock lock(sMutex);
    return sDefault;
}

void Set(const Default& inDefault) {
    const os::MutexLock lock(sMutex);
    sDefault = inDefault;
}

OSStatus SetByName(SInt16 inVolume, SInt32 inFolderID, ConstStr255Param inName) {
    FoundItem folder;
    const OSStatus status = FindNamed(inVolume, inFolderID, inName, folder);
    if (status != noErr) return status;
    if (folder.status.kind != os::ItemKind::kFolder) return dirNFErr;
    Set({true, MakeRef(folder)});
    return noErr;
}

OSStatus NameOfVolume(SInt16 inVolume, StringPtr outName) {
    Volume volume;
    const OSStatus status = GetVolume(inVolume, volume);
    if (status != noErr) return status;
    Str255 name = {};
    GetVolumeName(volume, name);
    std::copy_n(name, name[0] + 1, outName);
    return noErr;
}

OSStatus GetIDs(StringPtr outVolumeName, SInt16& outVolume, SInt32& outFolder) {
    if (!Get().isSet) {
        if (outVolumeName != nullptr) outVolumeName[0] = 0;
        outVolume = 0;
        outFolder = 0;
        return noErr;
    }
    FoundItem folder;
    SInt16 volume = 0;
    OSStatus status = FindDefaultFolder(folder);
    if (status == noErr) status = GetVolumeNumber(folder, volume);
    if (status == noErr && outVolumeName != nullptr) status = NameOfVolume(volume, outVolumeName);
    if (status != noErr) return status;
    outVolume = volume;
    outFolder = static_cast<SInt32>(folder.facts.nodeID);
    return noErr;
}

}  // namespace

OSStatus FindDefaultFolder(FoundItem& outFolder) {
    const Default folder = Get();
    const OSStatus status = folder.isSet ? FindByRef(folder.folder, outFolder) : OSStatus{dirNFErr};
    return status == fnfErr ? OSStatus{dirNFErr} : status;
}

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr HSetVol(ConstStr255Param inName, SInt16 inVRefNum, SInt32 inDirID) {
    const bool hasName = inName != nullptr && inName[0] != 0;
    if (inVRefNum == 0 && inDirID == 0 && !hasName) {
        Set({});
        return noErr;
    }
    try {
        return static_cast<OSErr>(SetByName(inVRefNum, inDirID, inName));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr HGetVol(StringPtr outVolumeName, SInt16* outVRefNum, SInt32* outDirID) {
    if (outVRefNum == nullptr || outDirID == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(GetIDs(outVolumeName, *outVRefNum, *outDirID));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

#include "DefaultFolder.h"

#include "FolderItems.h"
#include "catalogue/Volumes.h"
#include "os/Mutex.h"

#include <toolbox/DefaultFolder.h>
#include <toolbox/Volumes.h>

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

OSStatus SetBySpec(const FSSpec& inSpec) {
    FoundItem folder;
    const OSStatus status = FindBySpec(inSpec, folder);
    if (status != noErr) return status;
    if (folder.status.kind != os::ItemKind::kFolder) return dirNFErr;
    Set({true, MakeRef(folder)});
    return noErr;
}

OSStatus NameOfVolume(SInt16 inVolume, StringPtr outName) {
    HParamBlockRec block = {};
    block.volumeParam.ioVRefNum = inVolume;
    block.volumeParam.ioNamePtr = outName;
    return PBHGetVInfoSync(&block);
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
    FSSpec spec = {inVRefNum, inDirID, {}};
    if (inName != nullptr) {
        if (inName[0] >= sizeof spec.name) return bdNamErr;
        std::copy_n(inName, inName[0] + 1, spec.name);
    }
    if (spec.vRefNum == 0 && spec.parID == 0 && spec.name[0] == 0) {
        Set({});
        return noErr;
    }
    try {
        return static_cast<OSErr>(SetBySpec(spec));
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

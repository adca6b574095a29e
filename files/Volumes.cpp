#include <files/References.h>
#include <files/Volumes.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/DefaultFolder.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>

#include <cstring>

namespace {

bool IsNone(const FSRef& inRef) {
    const FSRef none = {};
    return std::memcmp(&inRef, &none, sizeof none) == 0;
}

OSErr MakeDefault(const FSRef& inFolder) {
    FSCatalogInfo info = {};
    const OSErr error =
        FSGetCatalogInfo(&inFolder, kFSCatInfoVolume | kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr);
    return error == noErr ? HSetVol(nullptr, info.volume, static_cast<SInt32>(info.nodeID)) : error;
}

// noErr at the end of the list.
OSErr AppendVolumes(Handle ioVolumes, ItemCount& ioCount) {
    for (;;) {
        FSRef root = {};
        OSErr error = FSGetVolumeInfo(kFSInvalidVolumeRefNum, ioCount + 1, nullptr, kFSVolInfoNone, nullptr,
                                      nullptr, &root);
        if (error != noErr) return error == nsvErr ? OSErr{noErr} : error;
        error = PtrAndHand(&root, ioVolumes, sizeof root);
        if (error != noErr) return error;
        ++ioCount;
    }
}

}  // namespace

OSErr FSGetVInfo(FSVolumeRefNum inVolume, HFSUniStr255* outName, UInt64* outFreeBytes,
                 UInt64* outTotalBytes) {
    const FSVolumeInfoBitmap which =
        outFreeBytes != nullptr || outTotalBytes != nullptr ? kFSVolInfoSizes : kFSVolInfoNone;
    FSVolumeInfo info = {};
    const OSErr error = FSGetVolumeInfo(inVolume, 0, nullptr, which, &info, outName, nullptr);
    if (error != noErr) return error;
    if (outFreeBytes != nullptr) *outFreeBytes = info.freeBytes;
    if (outTotalBytes != nullptr) *outTotalBytes = info.totalBytes;
    return noErr;
}

OSErr FSGetVolFileSystemID(FSVolumeRefNum inVolume, UInt16* outFileSystemID, UInt16* outSignature) {
    FSVolumeInfo info = {};
    const OSErr error = FSGetVolumeInfo(inVolume, 0, nullptr, kFSVolInfoFSInfo, &info, nullptr, nullptr);
    if (error != noErr) return error;
    if (outFileSystemID != nullptr) *outFileSystemID = info.filesystemID;
    if (outSignature != nullptr) *outSignature = info.signature;
    return noErr;
}

OSErr FSGetMountedVolumes(Handle* outVolumes, ItemCount* outCount) {
    if (outVolumes == nullptr || outCount == nullptr) return paramErr;
    *outCount = 0;
    *outVolumes = NewHandle(0);
    if (*outVolumes == nullptr) return memFullErr;
    const OSErr error = AppendVolumes(*outVolumes, *outCount);
    if (error == noErr) return noErr;
    DisposeHandle(*outVolumes);
    *outVolumes = nullptr;
    *outCount = 0;
    return error;
}

OSErr FSSetDefault(const FSRef* inFolder, FSRef* outPrevious) {
    if (inFolder == nullptr || outPrevious == nullptr) return paramErr;
    SInt16 volume = 0;
    SInt32 folderID = 0;
    FSRef previous = {};
    OSErr error = HGetVol(nullptr, &volume, &folderID);
    if (error == noErr && folderID != 0) error = FSMakeFSRef(volume, folderID, nullptr, &previous);
    const bool isGone = error == dirNFErr || error == nsvErr;
    if (error == noErr || isGone) error = MakeDefault(*inFolder);
    if (error == noErr) *outPrevious = previous;
    return error;
}

OSErr FSRestoreDefault(const FSRef* inPrevious) {
    if (inPrevious == nullptr) return paramErr;
    return IsNone(*inPrevious) ? HSetVol(nullptr, 0, 0) : MakeDefault(*inPrevious);
}

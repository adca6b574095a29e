#include <files/References.h>
#include <files/Volumes.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/DefaultFolder.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MountRecords.h>
#include <toolbox/VolumeAttributes.h>

#include <cstring>
#include <limits>

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

// noErr at the end of the list. A volume that cannot be reached, or is another user's, is passed over.
OSErr AppendVolumes(Handle ioVolumes, ItemCount& ioCount) {
    for (ItemCount index = 1;; ++index) {
        FSRef root = {};
        OSErr error =
            FSGetVolumeInfo(kFSInvalidVolumeRefNum, index, nullptr, kFSVolInfoNone, nullptr, nullptr, &root);
        if (error == afpAccessDenied || error == dirNFErr) continue;
        if (error != noErr) return error == nsvErr ? OSErr{noErr} : error;
        error = PtrAndHand(&root, ioVolumes, sizeof root);
        if (error != noErr) return error;
        ++ioCount;
    }
}

OSErr CallAboutMount(OSErr (*inCall)(ParmBlkPtr), FSVolumeRefNum inVolume, void* outResult) {
    if (outResult == nullptr) return paramErr;
    ParamBlockRec block = {};
    block.ioParam.ioVRefNum = inVolume;
    block.ioParam.ioBuffer = static_cast<Ptr>(outResult);
    return inCall(&block);
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

OSErr FSGetVolParms(FSVolumeRefNum inVolume, UInt32 inBufferSize, GetVolParmsInfoBuffer* outParameters,
                    UInt32* outActualSize) {
    constexpr UInt32 kMaxSize = std::numeric_limits<SInt32>::max();
    if (outParameters == nullptr || inBufferSize > kMaxSize) return paramErr;
    HParamBlockRec block = {};
    block.ioParam.ioVRefNum = inVolume;
    block.ioParam.ioBuffer = reinterpret_cast<Ptr>(outParameters);
    block.ioParam.ioReqCount = static_cast<SInt32>(inBufferSize);
    const OSErr error = PBHGetVolParmsSync(&block);
    if (error == noErr && outActualSize != nullptr)
        *outActualSize = static_cast<UInt32>(block.ioParam.ioActCount);
    return error;
}

OSErr FSGetVolMountInfoSize(FSVolumeRefNum inVolume, SInt16* outSize) {
    return CallAboutMount(PBGetVolMountInfoSize, inVolume, outSize);
}

OSErr FSGetVolMountInfo(FSVolumeRefNum inVolume, void* outRecord) {
    return CallAboutMount(PBGetVolMountInfo, inVolume, outRecord);
}

OSErr FSVolumeMount(const void* inRecord, FSVolumeRefNum* outVolume) {
    if (inRecord == nullptr || outVolume == nullptr) return paramErr;
    ParamBlockRec block = {};
    block.ioParam.ioBuffer = static_cast<Ptr>(const_cast<void*>(inRecord));  // which is read alone
    const OSErr error = PBVolumeMount(&block);
    if (error == noErr) *outVolume = block.ioParam.ioVRefNum;
    return error;
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

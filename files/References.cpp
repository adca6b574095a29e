#include <files/References.h>
#include <toolbox/FileIDs.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/MacErrors.h>

bool FSRefValid(const FSRef* inRef) {
    return inRef != nullptr &&
           FSGetCatalogInfo(inRef, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr) == noErr;
}

OSErr FSGetVRefNum(const FSRef* inRef, SInt16* outVRefNum) {
    if (inRef == nullptr || outVRefNum == nullptr) return paramErr;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inRef, kFSCatInfoVolume, &info, nullptr, nullptr, nullptr);
    if (error == noErr) *outVRefNum = info.volume;
    return error;
}

OSErr FSGetNodeID(const FSRef* inRef, UInt32* outNodeID, Boolean* outIsDirectory) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfoBitmap which = kFSCatInfoNone;
    if (outNodeID != nullptr) which |= kFSCatInfoNodeID;
    if (outIsDirectory != nullptr) which |= kFSCatInfoNodeFlags;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inRef, which, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if (outNodeID != nullptr) *outNodeID = info.nodeID;
    if (outIsDirectory != nullptr) *outIsDirectory = (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
    return noErr;
}

OSErr FSGetParentRef(const FSRef* inRef, FSRef* outParent) {
    if (inRef == nullptr || outParent == nullptr) return paramErr;
    FSCatalogInfo info = {};
    FSRef parent = {};
    const OSErr error = FSGetCatalogInfo(inRef, kFSCatInfoNodeID, &info, nullptr, nullptr, &parent);
    if (error == noErr) *outParent = info.nodeID == fsRtDirID ? FSRef{} : parent;
    return error;
}

OSErr FSGetUserPrivilegesPermissions(const FSRef* inRef, UInt8* outUserPrivileges,
                                     FSPermissionInfo* outPermissions) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfoBitmap which = kFSCatInfoNone;
    if (outUserPrivileges != nullptr) which |= kFSCatInfoUserPrivs;
    if (outPermissions != nullptr) which |= kFSCatInfoPermissions;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inRef, which, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if (outUserPrivileges != nullptr) *outUserPrivileges = info.userPrivileges;
    if (outPermissions != nullptr) *outPermissions = info.permissions;
    return noErr;
}

OSErr FSRefMakeFSSpec(const FSRef* inRef, FSSpec* outSpec) {
    if (inRef == nullptr || outSpec == nullptr) return paramErr;
    return FSGetCatalogInfo(inRef, kFSCatInfoNone, nullptr, nullptr, outSpec, nullptr);
}

OSErr FSMakeFSRef(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, FSRef* outRef) {
    if (outRef == nullptr) return paramErr;
    FSRefParam block = {};
    block.ioVRefNum = inVRefNum;
    block.ioDirID = inDirID;
    block.ioNamePtr = inName;
    block.newRef = outRef;
    return PBMakeFSRefSync(&block);
}

OSErr FSMakePath(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, UInt8* outPath,
                 UInt32 inMaxPathSize) {
    if (outPath == nullptr) return paramErr;
    FSRef ref = {};
    const OSErr error = FSMakeFSRef(inVRefNum, inDirID, inName, &ref);
    return error == noErr ? static_cast<OSErr>(FSRefMakePath(&ref, outPath, inMaxPathSize)) : error;
}

OSErr FSPathMakeFSSpec(const UInt8* inPath, FSSpec* outSpec, Boolean* outIsDirectory) {
    if (inPath == nullptr || outSpec == nullptr) return paramErr;
    FSRef ref = {};
    Boolean isDirectory = false;
    OSErr error = static_cast<OSErr>(FSPathMakeRef(inPath, &ref, &isDirectory));
    if (error == noErr) error = FSRefMakeFSSpec(&ref, outSpec);
    if (error == noErr && outIsDirectory != nullptr) *outIsDirectory = isDirectory;
    return error;
}

OSErr FSResolveFileIDRef(SInt16 inVRefNum, SInt32 inFileID, FSRef* outRef) {
    if (outRef == nullptr) return paramErr;
    Str255 name = {};
    HParamBlockRec block = {};
    block.fidParam.ioVRefNum = inVRefNum;
    block.fidParam.ioNamePtr = name;
    block.fidParam.ioFileID = inFileID;
    const OSErr error = PBResolveFileIDRefSync(&block);
    return error == noErr ? FSMakeFSRef(inVRefNum, block.fidParam.ioSrcDirID, name, outRef) : error;
}

OSErr FSCreateFileIDRef(const FSRef* inRef, SInt32* outFileID) {
    if (inRef == nullptr || outFileID == nullptr) return paramErr;
    FSSpec spec = {};
    OSErr error = FSRefMakeFSSpec(inRef, &spec);
    if (error != noErr) return error;
    HParamBlockRec block = {};
    block.fidParam.ioVRefNum = spec.vRefNum;
    block.fidParam.ioSrcDirID = spec.parID;
    block.fidParam.ioNamePtr = spec.name;
    error = PBCreateFileIDRefSync(&block);
    if (error == noErr || error == fidExists) *outFileID = block.fidParam.ioFileID;
    return error;
}

#include <files/Access.h>
#include <files/References.h>
#include <toolbox/MacErrors.h>

#include <algorithm>

namespace {

constexpr int kMaxNameBytes = 31;

void FillBlock(FSSpec& ioFolder, AccessParam& outBlock) {
    outBlock.ioVRefNum = ioFolder.vRefNum;
    outBlock.ioDirID = ioFolder.parID;
    outBlock.ioNamePtr = ioFolder.name;
}

}  // namespace

OSErr FSGetDirAccess(const FSRef* inFolder, SInt32* outOwnerID, SInt32* outGroupID, SInt32* outAccess) {
    FSSpec folder = {};
    OSErr error = FSRefMakeFSSpec(inFolder, &folder);
    if (error != noErr) return error;
    HParamBlockRec block = {};
    FillBlock(folder, block.accessParam);
    error = PBHGetDirAccessSync(&block);
    if (error != noErr) return error;
    if (outOwnerID != nullptr) *outOwnerID = block.accessParam.ioACOwnerID;
    if (outGroupID != nullptr) *outGroupID = block.accessParam.ioACGroupID;
    if (outAccess != nullptr) *outAccess = block.accessParam.ioACAccess;
    return noErr;
}

OSErr FSSetDirAccess(const FSRef* inFolder, SInt32 inOwnerID, SInt32 inGroupID, SInt32 inAccess) {
    FSSpec folder = {};
    const OSErr error = FSRefMakeFSSpec(inFolder, &folder);
    if (error != noErr) return error;
    HParamBlockRec block = {};
    FillBlock(folder, block.accessParam);
    block.accessParam.ioACOwnerID = inOwnerID;
    block.accessParam.ioACGroupID = inGroupID;
    block.accessParam.ioACAccess = inAccess;
    return PBHSetDirAccessSync(&block);
}

OSErr FSMapID(FSVolumeRefNum inVolume, SInt32 inID, SInt16 inObjectType, StringPtr outName) {
    if (outName == nullptr) return paramErr;
    HParamBlockRec block = {};
    block.objParam.ioVRefNum = inVolume;
    block.objParam.ioObjType = inObjectType;
    block.objParam.ioObjNamePtr = outName;
    block.objParam.ioObjID = inID;
    return PBHMapIDSync(&block);
}

OSErr FSMapName(FSVolumeRefNum inVolume, ConstStr255Param inName, SInt16 inObjectType, SInt32* outID) {
    if (inName == nullptr || outID == nullptr) return paramErr;
    if (inName[0] > kMaxNameBytes) return bdNamErr;
    unsigned char name[kMaxNameBytes + 1] = {};  // which the block takes as one that may be written
    std::copy_n(inName, inName[0] + 1, name);
    HParamBlockRec block = {};
    block.objParam.ioVRefNum = inVolume;
    block.objParam.ioObjType = inObjectType;
    block.objParam.ioObjNamePtr = name;
    const OSErr error = PBHMapNameSync(&block);
    if (error == noErr) *outID = block.objParam.ioObjID;
    return error;
}

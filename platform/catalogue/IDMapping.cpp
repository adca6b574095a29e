#include "ParamBlocks.h"
#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"
#include "os/UserDatabase.h"
#include "status/StatusOfErrno.h"

#include <toolbox/DirAccess.h>

#include <string>

namespace toolbox::files {

namespace {

OSStatus CheckVolume(SInt16 inNumber) {
    Volume volume;
    return GetVolume(inNumber == 0 ? kBootVolume : inNumber, volume);
}

OSStatus MapID(ObjParam& ioBlock) {
    const bool isOfGroup = ioBlock.ioObjType == kGroupID2Name;
    if ((!isOfGroup && ioBlock.ioObjType != kOwnerID2Name) || ioBlock.ioObjNamePtr == nullptr)
        return paramErr;
    const OSStatus status = CheckVolume(ioBlock.ioVRefNum);
    if (status != noErr) return status;
    const auto number = static_cast<UInt32>(ioBlock.ioObjID);
    std::string name;
    const int error = isOfGroup ? os::GetGroupName(number, name) : os::GetUserName(number, name);
    if (error == 0) SpecName(CatalogueName(name), number, ioBlock.ioObjNamePtr);
    return StatusOfErrno(error);
}

OSStatus MapName(ObjParam& ioBlock) {
    const bool isOfGroup = ioBlock.ioObjType == kGroupName2ID;
    if ((!isOfGroup && ioBlock.ioObjType != kOwnerName2ID) || ioBlock.ioObjNamePtr == nullptr)
        return paramErr;
    const OSStatus status = CheckVolume(ioBlock.ioVRefNum);
    if (status != noErr) return status;
    std::u16string text;
    std::string name;
    if (!NameOfSpec(ioBlock.ioObjNamePtr, text) || !DiskName(text, name)) return fnfErr;
    UInt32 number = 0;
    const int error = isOfGroup ? os::FindGroup(name, number) : os::FindUser(name, number);
    if (error == 0) ioBlock.ioObjID = static_cast<SInt32>(number);
    return StatusOfErrno(error);
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBHMapIDSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::objParam, MapID);
}

OSErr PBHMapNameSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::objParam, MapName);
}

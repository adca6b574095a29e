// The File Manager's calls about access, users, mounts, ids and copies, of parameter blocks. What they tell
// is made of what they are asked; what they are asked is in the log, and they fail and answer as the double
// of the catalogue does.
#include "Calls.h"
#include "Catalogue.h"

#include <toolbox/DirAccess.h>
#include <toolbox/FileCopies.h>
#include <toolbox/FileIDs.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MountRecords.h>

#include <algorithm>
#include <string>

using namespace fakes;

namespace {

constexpr SInt32 kOwner = 501;
constexpr SInt32 kGroup = 20;
constexpr SInt32 kAccess = 0x07000307;
constexpr SInt16 kRecordSize = 64;

std::string Quoted(ConstStr255Param inText) {
    if (inText == nullptr) return "null";
    return '"' + std::string(reinterpret_cast<const char*>(inText) + 1, inText[0]) + '"';
}

void Put(const std::string& inText, StringPtr outText) {
    outText[0] = static_cast<unsigned char>(inText.size());
    std::copy(inText.begin(), inText.end(), outText + 1);
}

template <typename Block>
std::string Source(const char* inCall, const Block& inBlock, SInt32 inFolder) {
    if (inBlock.ioCompletion != nullptr) ReportMisuse("a block that was not cleared");
    return std::string(inCall) + '(' + std::to_string(inBlock.ioVRefNum) + ", " + std::to_string(inFolder) +
           ", " + Quoted(inBlock.ioNamePtr);
}

OSErr CopyOrMove(const char* inCall, HParmBlkPtr ioBlock) {
    CopyParam& block = ioBlock->copyParam;
    return block.ioResult =
               LogAndAnswer(Source(inCall, block, block.ioDirID) + " -> " +
                            std::to_string(block.ioDstVRefNum) + ", " + std::to_string(block.ioNewDirID) +
                            ", " + Quoted(block.ioNewName) + ", " + Quoted(block.ioCopyName) + ')');
}

OSErr AskAboutMount(const char* inCall, ParmBlkPtr ioBlock) {
    return ioBlock->ioParam.ioResult = LogAndAnswer(CallText(inCall, ioBlock->ioParam.ioVRefNum));
}

}  // namespace

OSErr PBHGetDirAccessSync(HParmBlkPtr ioBlock) {
    AccessParam& block = ioBlock->accessParam;
    block.ioResult = LogAndAnswer(Source("PBHGetDirAccessSync", block, block.ioDirID) + ')');
    if (block.ioResult != noErr) return block.ioResult;
    block.ioACOwnerID = kOwner;
    block.ioACGroupID = kGroup;
    block.ioACAccess = kAccess;
    return noErr;
}

OSErr PBHSetDirAccessSync(HParmBlkPtr ioBlock) {
    AccessParam& block = ioBlock->accessParam;
    return block.ioResult =
               LogAndAnswer(Source("PBHSetDirAccessSync", block, block.ioDirID) + ", " +
                            std::to_string(block.ioACOwnerID) + ", " + std::to_string(block.ioACGroupID) +
                            ", " + std::to_string(block.ioACAccess) + ')');
}

OSErr PBHMapIDSync(HParmBlkPtr ioBlock) {
    ObjParam& block = ioBlock->objParam;
    block.ioResult = LogAndAnswer(CallText("PBHMapIDSync", block.ioVRefNum, block.ioObjType, block.ioObjID));
    if (block.ioResult == noErr) Put("user", block.ioObjNamePtr);
    return block.ioResult;
}

OSErr PBHMapNameSync(HParmBlkPtr ioBlock) {
    ObjParam& block = ioBlock->objParam;
    block.ioResult = LogAndAnswer("PBHMapNameSync(" + std::to_string(block.ioVRefNum) + ", " +
                                  std::to_string(block.ioObjType) + ", " + Quoted(block.ioObjNamePtr) + ')');
    if (block.ioResult == noErr) block.ioObjID = kOwner;
    return block.ioResult;
}

OSErr PBHCopyFileSync(HParmBlkPtr ioBlock) {
    return CopyOrMove("PBHCopyFileSync", ioBlock);
}

OSErr PBHMoveRenameSync(HParmBlkPtr ioBlock) {
    return CopyOrMove("PBHMoveRenameSync", ioBlock);
}

OSErr PBCreateFileIDRefSync(HParmBlkPtr ioBlock) {
    FIDParam& block = ioBlock->fidParam;
    block.ioResult = LogAndAnswer(Source("PBCreateFileIDRefSync", block, block.ioSrcDirID) + ')');
    if (block.ioResult == noErr || block.ioResult == fidExists) block.ioFileID = kOwner;
    return block.ioResult;
}

// Files have their catalogue's ids.
OSErr PBResolveFileIDRefSync(HParmBlkPtr ioBlock) {
    FIDParam& block = ioBlock->fidParam;
    block.ioResult = LogAndAnswer(CallText("PBResolveFileIDRefSync", block.ioVRefNum, block.ioFileID));
    if (block.ioResult != noErr) return block.ioResult;
    const auto id = static_cast<UInt32>(block.ioFileID);
    if (!HasItem(id)) return block.ioResult = fidNotFound;
    block.ioSrcDirID = static_cast<SInt32>(ItemOf(id).folder);
    Put(ItemOf(id).name, block.ioNamePtr);
    return noErr;
}

OSErr PBGetVolMountInfoSize(ParmBlkPtr ioBlock) {
    const OSErr answer = AskAboutMount("PBGetVolMountInfoSize", ioBlock);
    if (answer == noErr)
        std::copy_n(reinterpret_cast<const char*>(&kRecordSize), sizeof kRecordSize,
                    ioBlock->ioParam.ioBuffer);
    return answer;
}

OSErr PBGetVolMountInfo(ParmBlkPtr ioBlock) {
    const OSErr answer = AskAboutMount("PBGetVolMountInfo", ioBlock);
    if (answer == noErr) std::fill_n(ioBlock->ioParam.ioBuffer, kRecordSize, 'R');
    return answer;
}

OSErr PBVolumeMount(ParmBlkPtr ioBlock) {
    const OSErr answer = LogAndAnswer(std::string("PBVolumeMount(") + *ioBlock->ioParam.ioBuffer + ')');
    if (answer == noErr) ioBlock->ioParam.ioVRefNum = kOtherVolume;
    return ioBlock->ioParam.ioResult = answer;
}

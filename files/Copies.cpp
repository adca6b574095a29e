#include <files/Exchange.h>
#include <files/Names.h>
#include <files/References.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FileCopies.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>

namespace {

// An item and the folder where it goes, as a parameter block takes them.
struct Transfer {
    FSSpec source = {};
    SInt16 volume = 0;
    SInt32 folderID = 0;
    Str255 name = {};  // there
};

OSErr GetTransfer(const FSRef& inItem, const FSRef& inFolder, UniCharCount inNameLength,
                  const UniChar* inName, Transfer& outTransfer) {
    OSErr error = FSRefMakeFSSpec(&inItem, &outTransfer.source);
    if (error != noErr) return error;
    FSCatalogInfo info = {};
    error = FSGetCatalogInfo(&inFolder, kFSCatInfoVolume | kFSCatInfoNodeID | kFSCatInfoNodeFlags, &info,
                             nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if ((info.nodeFlags & kFSNodeIsDirectoryMask) == 0) return dirNFErr;
    outTransfer.volume = info.volume;
    outTransfer.folderID = static_cast<SInt32>(info.nodeID);
    if (inName == nullptr) return noErr;
    return UnicodeNameGetHFSName(inNameLength, inName, GetApplicationTextEncoding(), outTransfer.name);
}

void FillBlock(Transfer& ioTransfer, bool inHasName, CopyParam& outBlock) {
    outBlock.ioVRefNum = ioTransfer.source.vRefNum;
    outBlock.ioDirID = ioTransfer.source.parID;
    outBlock.ioNamePtr = ioTransfer.source.name;
    outBlock.ioDstVRefNum = ioTransfer.volume;
    outBlock.ioNewDirID = ioTransfer.folderID;
    outBlock.ioCopyName = inHasName ? ioTransfer.name : nullptr;
}

// What has the name there now, with the hint of the name as far as it can be kept.
OSErr FindNew(const FSRef& inFolder, UniCharCount inNameLength, const UniChar* inName, TextEncoding inHint,
              FSRef& outItem) {
    const OSErr error = FSMakeFSRefUnicode(&inFolder, inNameLength, inName, inHint, &outItem);
    if (error != noErr) return error;
    FSCatalogInfo info = {};
    info.textEncodingHint = inHint;
    (void)FSSetCatalogInfo(&outItem, kFSCatInfoTextEncoding, &info);
    return noErr;
}

OSErr Perform(OSErr (*inCall)(HParmBlkPtr), const FSRef& inItem, const FSRef& inFolder,
              UniCharCount inNameLength, const UniChar* inName, TextEncoding inHint, FSRef* outItem) {
    HFSUniStr255 oldName = {};
    OSErr error = FSGetFileDirName(&inItem, &oldName);
    Transfer transfer;
    if (error == noErr) error = GetTransfer(inItem, inFolder, inNameLength, inName, transfer);
    if (error != noErr) return error;
    if (inCall == PBHMoveRenameSync && transfer.volume != transfer.source.vRefNum) return diffVolErr;
    HParamBlockRec block = {};
    FillBlock(transfer, inName != nullptr, block.copyParam);
    error = inCall(&block);
    if (error != noErr) return error;
    FSRef item = {};
    error = inName != nullptr ? FindNew(inFolder, inNameLength, inName, inHint, item)
                              : FSMakeFSRefUnicode(&inFolder, oldName.length, oldName.unicode, inHint, &item);
    if (error == noErr && outItem != nullptr) *outItem = item;
    return error;
}

}  // namespace

OSErr FSCopyFile(const FSRef* inFile, const FSRef* inFolder, UniCharCount inNameLength, const UniChar* inName,
                 TextEncoding inEncodingHint, FSRef* outCopy) {
    if (inFile == nullptr || inFolder == nullptr) return paramErr;
    return Perform(PBHCopyFileSync, *inFile, *inFolder, inNameLength, inName, inEncodingHint, outCopy);
}

OSErr FSMoveRename(const FSRef* inItem, const FSRef* inFolder, UniCharCount inNameLength,
                   const UniChar* inName, TextEncoding inEncodingHint, FSRef* outItem) {
    if (inItem == nullptr || inFolder == nullptr) return paramErr;
    return Perform(PBHMoveRenameSync, *inItem, *inFolder, inNameLength, inName, inEncodingHint, outItem);
}

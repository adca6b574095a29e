#include "Catalogue.h"

#include "Calls.h"

#include <toolbox/CatalogItems.h>
#include <toolbox/Folders.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <utility>

namespace fakes {

namespace {

constexpr UInt8 kRefMark = 0x5A;
constexpr UInt32 kFirstOwnID = 1000;

struct Script {
    std::map<UInt32, Item> items;
    UInt32 nextID = kFirstOwnID;
    std::map<std::string, std::vector<OSErr>> answers;
    std::map<std::string, OSErr> refusals;
    OSErr errorOfFailure = ioErr;
    std::map<std::pair<SInt16, OSType>, UInt32> folders;
    UInt32 itemOfAnyName = 0;
};

Script NewScript() {
    Script script;
    script.items[kRoot] = {"root", 1, kVolume, true, {}, {}};
    script.items[kOtherRoot] = {"other", 1, kOtherVolume, true, {}, {}};
    script.items[kTemporary] = {"temp", kRoot, kVolume, true, {}, {}};
    return script;
}

Script& TheScript() {
    static Script& sScript = *new Script(NewScript());
    return sScript;
}

}  // namespace

void ForgetCatalogue() {
    TheScript() = NewScript();
}

namespace {

void Put(UInt32 inID, UInt32 inFolder, const std::string& inName, bool inIsFolder) {
    if (!HasItem(inFolder) || HasItem(inID)) return ReportMisuse("an item that cannot be put there");
    TheScript().items[inID] = {inName, inFolder, ItemOf(inFolder).volume, inIsFolder, {}, inName};
}

bool IsRoot(UInt32 inID) {
    return inID == kRoot || inID == kOtherRoot;
}

UInt32 FindIn(UInt32 inFolder, const std::string& inName) {
    for (const auto& [id, item] : TheScript().items)
        if (item.folder == inFolder && item.name == inName && !IsRoot(id)) return id;
    return 0;
}

bool IsSimilar(const std::string& inLeft, const std::string& inRight) {
    return std::equal(inLeft.begin(), inLeft.end(), inRight.begin(), inRight.end(), [](char inA, char inB) {
        return std::tolower(static_cast<unsigned char>(inA)) == std::tolower(static_cast<unsigned char>(inB));
    });
}

UInt32 FindSimilar(UInt32 inFolder, const std::string& inName) {
    const UInt32 same = FindIn(inFolder, inName);
    if (same != 0) return same;
    for (const auto& [id, item] : TheScript().items)
        if (item.folder == inFolder && IsSimilar(item.name, inName) && !IsRoot(id)) return id;
    return 0;
}

std::string TextOfUnits(UniCharCount inCount, const UniChar* inUnits) {
    std::string text;
    for (UniCharCount i = 0; i < inCount; ++i)
        text += static_cast<char>(inUnits[i]);
    return text;
}

std::string TextOfPascal(ConstStr255Param inText) {
    return inText == nullptr ? "" : std::string(reinterpret_cast<const char*>(inText) + 1, inText[0]);
}

UInt32 RootOf(SInt16 inVolume) {
    return inVolume == kOtherVolume ? kOtherRoot : kRoot;
}

// The item that has a name, or the folder itself for an empty one.
OSErr Find(SInt16 inVolume, SInt32 inFolder, ConstStr255Param inName, UInt32& outID) {
    const UInt32 folder =
        static_cast<UInt32>(inFolder) == kRoot ? RootOf(inVolume) : static_cast<UInt32>(inFolder);
    if (!HasItem(folder) || ItemOf(folder).volume != inVolume) return dirNFErr;
    const std::string name = TextOfPascal(inName);
    outID = name.empty() ? folder : FindIn(folder, name);
    return outID != 0 ? OSErr{noErr} : OSErr{fnfErr};
}

std::string PathOf(UInt32 inID) {
    if (IsRoot(inID)) return inID == kRoot ? "" : "/other";
    const Item& item = ItemOf(inID);
    return PathOf(item.folder) + '/' + item.name;
}

std::string TextOfFolder(UInt32 inFolder) {
    std::string text;
    for (const UInt32 id : ItemsIn(inFolder)) {
        text += text.empty() ? "" : ", ";
        text += ItemOf(id).name;
        if (ItemOf(id).isFolder) text += '(' + TextOfFolder(id) + ')';
    }
    return text;
}

OSErr Remove(UInt32 inID) {
    if (!ItemsIn(inID).empty()) return fBsyErr;
    TheScript().items.erase(inID);
    return noErr;
}

constexpr UInt16 kLocked = 1;

template <typename Field>
void CopyIf(bool inWanted, const Field& inFrom, Field& outTo) {
    if (inWanted) std::memcpy(&outTo, &inFrom, sizeof inFrom);
}

// The fields that the mask names.
void CopyInfo(FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inFrom, FSCatalogInfo& outTo) {
    CopyIf((inWhich & 0x1) != 0, inFrom.textEncodingHint, outTo.textEncodingHint);
    CopyIf((inWhich & 0x2) != 0, inFrom.nodeFlags, outTo.nodeFlags);
    CopyIf((inWhich & 0x4) != 0, inFrom.volume, outTo.volume);
    CopyIf((inWhich & 0x8) != 0, inFrom.parentDirID, outTo.parentDirID);
    CopyIf((inWhich & 0x10) != 0, inFrom.nodeID, outTo.nodeID);
    CopyIf((inWhich & 0x20) != 0, inFrom.createDate, outTo.createDate);
    CopyIf((inWhich & 0x40) != 0, inFrom.contentModDate, outTo.contentModDate);
    CopyIf((inWhich & 0x80) != 0, inFrom.attributeModDate, outTo.attributeModDate);
    CopyIf((inWhich & 0x100) != 0, inFrom.accessDate, outTo.accessDate);
    CopyIf((inWhich & 0x200) != 0, inFrom.backupDate, outTo.backupDate);
    CopyIf((inWhich & 0x400) != 0, inFrom.permissions, outTo.permissions);
    CopyIf((inWhich & 0x800) != 0, inFrom.finderInfo, outTo.finderInfo);
    CopyIf((inWhich & 0x1000) != 0, inFrom.extFinderInfo, outTo.extFinderInfo);
    CopyIf((inWhich & 0x2000) != 0, inFrom.valence, outTo.valence);
    CopyIf((inWhich & 0x4000) != 0, inFrom.dataLogicalSize, outTo.dataLogicalSize);
    CopyIf((inWhich & 0x4000) != 0, inFrom.dataPhysicalSize, outTo.dataPhysicalSize);
    CopyIf((inWhich & 0x8000) != 0, inFrom.rsrcLogicalSize, outTo.rsrcLogicalSize);
    CopyIf((inWhich & 0x8000) != 0, inFrom.rsrcPhysicalSize, outTo.rsrcPhysicalSize);
    CopyIf((inWhich & 0x10000) != 0, inFrom.sharingFlags, outTo.sharingFlags);
    CopyIf((inWhich & 0x20000) != 0, inFrom.userPrivileges, outTo.userPrivileges);
}

}  // namespace

void PutFile(UInt32 inID, UInt32 inFolder, const std::string& inName) {
    Put(inID, inFolder, inName, false);
}

void PutFolder(UInt32 inID, UInt32 inFolder, const std::string& inName) {
    Put(inID, inFolder, inName, true);
}

bool HasItem(UInt32 inID) {
    return TheScript().items.count(inID) != 0;
}

Item& ItemOf(UInt32 inID) {
    if (!HasItem(inID)) ReportMisuse("an item that is not there");
    return TheScript().items[inID];
}

FSRef RefOf(UInt32 inID) {
    FSRef ref = {};
    ref.hidden[0] = kRefMark;
    std::memcpy(ref.hidden + 1, &inID, sizeof inID);
    return ref;
}

UInt32 IDOf(const FSRef& inRef) {
    UInt32 id = 0;
    std::memcpy(&id, inRef.hidden + 1, sizeof id);
    return inRef.hidden[0] == kRefMark ? id : 0;
}

std::string CatalogueText() {
    return TextOfFolder(kRoot);
}

void AnswerInTurn(const std::string& inCall, const std::vector<OSErr>& inErrors) {
    TheScript().answers[inCall] = inErrors;
}

void Refuse(const std::string& inCall, OSErr inError) {
    TheScript().refusals[inCall] = inError;
}

void SetErrorOfCatalogue(OSErr inError) {
    TheScript().errorOfFailure = inError;
}

void FindAnyNameAs(UInt32 inID) {
    TheScript().itemOfAnyName = inID;
}

void SetWellKnownFolder(SInt16 inWhere, OSType inType, UInt32 inID) {
    TheScript().folders[{inWhere, inType}] = inID;
}

UInt32 WellKnownFolder(SInt16 inWhere, OSType inType) {
    const auto found = TheScript().folders.find({inWhere, inType});
    return found == TheScript().folders.end() ? 0 : found->second;
}

OSErr LogAndAnswer(const std::string& inCall) {
    return LogAndFail(inCall) ? TheScript().errorOfFailure : AnswerOf(inCall.substr(0, inCall.find('(')));
}

OSErr AnswerOf(const std::string& inName) {
    const auto refusal = TheScript().refusals.find(inName);
    if (refusal != TheScript().refusals.end()) return refusal->second;
    std::vector<OSErr>& answers = TheScript().answers[inName];
    if (answers.empty()) return noErr;
    const OSErr answer = answers.front();
    answers.erase(answers.begin());
    return answer;
}

Item* FindItem(const FSRef& inRef, OSErr& outError) {
    const UInt32 id = IDOf(inRef);
    outError = id == 0 ? OSErr{errFSBadFSRef} : HasItem(id) ? OSErr{noErr} : OSErr{fnfErr};
    return outError == noErr ? &ItemOf(id) : nullptr;
}

std::vector<UInt32> ItemsIn(UInt32 inFolder) {
    std::map<std::string, UInt32> found;
    for (const auto& [id, item] : TheScript().items)
        if (item.folder == inFolder && !IsRoot(id)) found[item.name] = id;
    std::vector<UInt32> ids;
    for (const auto& entry : found)
        ids.push_back(entry.second);
    return ids;
}

std::string PathOfItem(UInt32 inID) {
    return inID == kRoot ? "/" : PathOf(inID);
}

OSErr MakeRefOfPath(const std::string& inPath, FSRef* outRef, Boolean* outIsFolder) {
    for (const auto& [id, item] : TheScript().items)
        if (PathOfItem(id) == inPath) {
            *outRef = RefOf(id);
            if (outIsFolder != nullptr) *outIsFolder = item.isFolder;
            return noErr;
        }
    return fnfErr;
}

void FillInfo(UInt32 inID, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo, HFSUniStr255* outName,
              FSSpec* outSpec, FSRef* outParentRef) {
    const Item& item = ItemOf(inID);
    FSCatalogInfo info = item.info;
    info.volume = item.volume;
    info.parentDirID = IsRoot(item.folder) ? kRoot : item.folder;
    info.nodeID = IsRoot(inID) ? kRoot : inID;
    if (item.isFolder) info.nodeFlags |= kFSNodeIsDirectoryMask;
    if (outInfo != nullptr) CopyInfo(inWhichInfo, info, *outInfo);
    if (outName != nullptr) {
        outName->length = static_cast<UInt16>(item.name.size());
        std::copy(item.name.begin(), item.name.end(), outName->unicode);
    }
    if (outSpec != nullptr) {
        *outSpec = {info.volume, static_cast<SInt32>(info.parentDirID), {}};
        outSpec->name[0] = static_cast<unsigned char>(item.name.size());
        std::copy(item.name.begin(), item.name.end(), outSpec->name + 1);
    }
    // Of a root something is told, which nobody may rely on.
    if (outParentRef != nullptr) *outParentRef = RefOf(item.folder);
}

}  // namespace fakes

using namespace fakes;

OSErr FSpMakeFSRef(const FSSpec* inSpec, FSRef* outRef) {
    const OSErr answer =
        LogAndAnswer(CallText("FSpMakeFSRef", inSpec->vRefNum, static_cast<int>(inSpec->parID)));
    if (answer != noErr) return answer;
    UInt32 id = 0;
    const OSErr error = Find(inSpec->vRefNum, inSpec->parID, inSpec->name, id);
    if (error == noErr) *outRef = RefOf(id);
    return error;
}

OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo,
                       HFSUniStr255* outName, FSSpec* outSpec, FSRef* outParentRef) {
    std::string call =
        "FSGetCatalogInfo(" + std::to_string(IDOf(*inRef)) + ", " + std::to_string(inWhichInfo);
    call += outName != nullptr ? ", name" : "";
    call += outSpec != nullptr ? ", spec" : "";
    call += outParentRef != nullptr ? ", parent" : "";
    const OSErr answer = LogAndAnswer(call + ')');
    if (answer != noErr) return answer;
    if (inWhichInfo != kFSCatInfoNone && outInfo == nullptr) ReportMisuse("FSGetCatalogInfo without room");
    OSErr error = noErr;
    if (FindItem(*inRef, error) != nullptr)
        FillInfo(IDOf(*inRef), inWhichInfo, outInfo, outName, outSpec, outParentRef);
    return error;
}

OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo) {
    const OSErr answer = LogAndAnswer(CallText("FSSetCatalogInfo", IDOf(*inRef), inWhichInfo));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    if (Item* const item = FindItem(*inRef, error)) CopyInfo(inWhichInfo, *inInfo, item->info);
    return error;
}

OSErr FSMoveObject(const FSRef* inItem, const FSRef* inFolder, FSRef* outRef) {
    const OSErr answer = LogAndAnswer(CallText("FSMoveObject", IDOf(*inItem), IDOf(*inFolder)));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    const Item* const folder = FindItem(*inFolder, error);
    if (folder == nullptr) return error;
    Item* const item = FindItem(*inItem, error);
    if (item == nullptr) return error;
    if (folder->volume != item->volume) return diffVolErr;
    if (item->folder != IDOf(*inFolder) && FindIn(IDOf(*inFolder), item->name) != 0) return dupFNErr;
    item->folder = IDOf(*inFolder);
    if (outRef != nullptr) *outRef = *inItem;
    return noErr;
}

OSErr FSRenameUnicode(const FSRef* inItem, UniCharCount inNameLength, const UniChar* inName,
                      TextEncoding inEncodingHint, FSRef* outRef) {
    const std::string name = TextOfUnits(inNameLength, inName);
    const OSErr answer = LogAndAnswer("FSRenameUnicode(" + std::to_string(IDOf(*inItem)) + ", " + name +
                                      ", " + std::to_string(inEncodingHint) + ')');
    if (answer != noErr) return answer;
    OSErr error = noErr;
    Item* const item = FindItem(*inItem, error);
    if (item == nullptr) return error;
    if (item->name != name && FindIn(item->folder, name) != 0) return dupFNErr;
    item->name = name;
    item->info.textEncodingHint = inEncodingHint;
    if (outRef != nullptr) *outRef = *inItem;
    return noErr;
}

OSErr FSExchangeObjects(const FSRef* inRef, const FSRef* inDestRef) {
    const OSErr answer = LogAndAnswer(CallText("FSExchangeObjects", IDOf(*inRef), IDOf(*inDestRef)));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    Item* const item1 = FindItem(*inRef, error);
    Item* const item2 = error == noErr ? FindItem(*inDestRef, error) : nullptr;
    if (error != noErr) return error;
    if (item1->isFolder || item2->isFolder) return notAFileErr;
    if (item1 == item2) return sameFileErr;
    if (item1->volume != item2->volume) return diffVolErr;
    if (((item1->info.nodeFlags | item2->info.nodeFlags) & kLocked) != 0) return fLckdErr;
    std::swap(item1->contents, item2->contents);
    std::swap(item1->info.contentModDate, item2->info.contentModDate);
    std::swap(item1->info.accessDate, item2->info.accessDate);
    return noErr;
}

OSErr FSDeleteObject(const FSRef* inItem) {
    const OSErr answer = LogAndAnswer(CallText("FSDeleteObject", IDOf(*inItem)));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    const Item* const item = FindItem(*inItem, error);
    if (item == nullptr) return error;
    return (item->info.nodeFlags & kLocked) != 0 ? OSErr{-45} : Remove(IDOf(*inItem));
}

OSErr FSCompareFSRefs(const FSRef* inRef1, const FSRef* inRef2) {
    const OSErr answer = LogAndAnswer(CallText("FSCompareFSRefs", IDOf(*inRef1), IDOf(*inRef2)));
    if (answer != noErr) return answer;
    return IDOf(*inRef1) == IDOf(*inRef2) ? OSErr{noErr} : OSErr{errFSRefsDifferent};
}

OSErr DirCreate(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, SInt32* outFolderID) {
    const std::string name = TextOfPascal(inName);
    const OSErr answer = LogAndAnswer("DirCreate(" + std::to_string(inVRefNum) + ", " +
                                      std::to_string(inDirID) + ", " + name + ')');
    if (answer != noErr) return answer;
    UInt32 id = 0;
    const OSErr error = Find(inVRefNum, inDirID, inName, id);
    if (error != fnfErr) return error == noErr ? OSErr{dupFNErr} : error;
    id = TheScript().nextID++;
    PutFolder(id, static_cast<UInt32>(inDirID), name);
    *outFolderID = static_cast<SInt32>(id);
    return noErr;
}

OSErr HDelete(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName) {
    const OSErr answer = LogAndAnswer("HDelete(" + std::to_string(inVRefNum) + ", " +
                                      std::to_string(inDirID) + ", " + TextOfPascal(inName) + ')');
    if (answer != noErr) return answer;
    UInt32 id = 0;
    const OSErr error = Find(inVRefNum, inDirID, inName, id);
    return error == noErr ? Remove(id) : error;
}

OSErr FindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, SInt16* outVolume,
                 UInt32* outFolderID) {
    const OSErr answer = LogAndAnswer(CallText("FindFolder", inWhere, inType, inCreateFolder));
    if (answer != noErr) return answer;
    const UInt32 known = WellKnownFolder(inWhere, inType);
    *outFolderID = known != 0 ? known : kTemporary;
    *outVolume = HasItem(*outFolderID) ? ItemOf(*outFolderID).volume : kVolume;
    return noErr;
}

namespace {

OSErr Create(const char* inCall, const FSRef& inFolder, const std::string& inName,
             FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo, bool inIsFolder, FSRef* outRef) {
    std::string call = std::string(inCall) + '(' + std::to_string(IDOf(inFolder)) + ", " + inName + ", " +
                       std::to_string(inWhich);
    call += inInfo == nullptr ? ", null)" : ")";
    const OSErr answer = LogAndAnswer(call);
    if (answer != noErr) return answer;
    if (inWhich != kFSCatInfoNone && inInfo == nullptr) ReportMisuse(call + " without information");
    OSErr error = noErr;
    const Item* const folder = FindItem(inFolder, error);
    if (folder == nullptr) return error;
    if (!folder->isFolder) return errFSNotAFolder;
    if (FindSimilar(IDOf(inFolder), inName) != 0) return dupFNErr;
    const UInt32 id = TheScript().nextID++;
    Put(id, IDOf(inFolder), inName, inIsFolder);
    if (inInfo != nullptr) CopyInfo(inWhich, *inInfo, ItemOf(id).info);
    *outRef = RefOf(id);
    return noErr;
}

}  // namespace

OSErr FSCreateFileUnicode(const FSRef* inFolder, UniCharCount inNameLength, const UniChar* inName,
                          FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo, FSRef* outRef,
                          FSSpec* outSpec) {
    if (outSpec != nullptr) ReportMisuse("FSCreateFileUnicode is asked for an FSSpec");
    return Create("FSCreateFileUnicode", *inFolder, TextOfUnits(inNameLength, inName), inWhichInfo, inInfo,
                  false, outRef);
}

OSErr FSCreateDirectoryUnicode(const FSRef* inFolder, UniCharCount inNameLength, const UniChar* inName,
                               FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo, FSRef* outRef,
                               FSSpec* outSpec, UInt32* outFolderID) {
    if (outSpec != nullptr) ReportMisuse("FSCreateDirectoryUnicode is asked for an FSSpec");
    const OSErr error = Create("FSCreateDirectoryUnicode", *inFolder, TextOfUnits(inNameLength, inName),
                               inWhichInfo, inInfo, true, outRef);
    if (error == noErr) *outFolderID = IDOf(*outRef);
    return error;
}

OSErr PBMakeFSRefSync(FSRefParamPtr ioBlock) {
    ioBlock->ioResult =
        LogAndAnswer("PBMakeFSRefSync(" + std::to_string(ioBlock->ioVRefNum) + ", " +
                     std::to_string(ioBlock->ioDirID) + ", " + TextOfPascal(ioBlock->ioNamePtr) + ')');
    if (ioBlock->ioCompletion != nullptr) ReportMisuse("PBMakeFSRefSync of a block that was not cleared");
    if (ioBlock->ioResult != noErr) return ioBlock->ioResult;
    UInt32 id = 0;
    ioBlock->ioResult = Find(ioBlock->ioVRefNum, ioBlock->ioDirID, ioBlock->ioNamePtr, id);
    if (ioBlock->ioResult == noErr) *ioBlock->newRef = RefOf(id);
    return ioBlock->ioResult;
}

OSErr PBMakeFSRefUnicodeSync(FSRefParamPtr ioBlock) {
    const std::string name = TextOfUnits(ioBlock->nameLength, ioBlock->name);
    ioBlock->ioResult =
        LogAndAnswer("PBMakeFSRefUnicodeSync(" + std::to_string(IDOf(*ioBlock->ref)) + ", " + name + ')');
    if (ioBlock->ioCompletion != nullptr)
        ReportMisuse("PBMakeFSRefUnicodeSync of a block that was not cleared");
    if (ioBlock->ioResult != noErr) return ioBlock->ioResult;
    const UInt32 id = FindIn(IDOf(*ioBlock->ref), name);
    if (id != 0) *ioBlock->newRef = RefOf(id);
    return ioBlock->ioResult = id != 0 ? OSErr{noErr} : OSErr{fnfErr};
}

OSErr FSMakeFSRefUnicode(const FSRef* inFolder, UniCharCount inLength, const UniChar* inName, TextEncoding,
                         FSRef* outRef) {
    const std::string name = TextOfUnits(inLength, inName);
    const OSErr answer =
        LogAndAnswer("FSMakeFSRefUnicode(" + std::to_string(IDOf(*inFolder)) + ", " + name + ')');
    if (answer != noErr) return answer;
    const UInt32 any = TheScript().itemOfAnyName;
    const UInt32 id = any != 0 ? any : FindSimilar(IDOf(*inFolder), name);
    if (id != 0) *outRef = RefOf(id);
    return id != 0 ? OSErr{noErr} : OSErr{fnfErr};
}

// Volume 0 is the first; folders keep the form that they are given in.
OSErr FSMakeFSSpec(SInt16 inVRefNum, SInt32 inDirID, ConstStr255Param inName, FSSpec* outSpec) {
    const OSErr answer = LogAndAnswer("FSMakeFSSpec(" + std::to_string(inVRefNum) + ", " +
                                      std::to_string(inDirID) + ", " + TextOfPascal(inName) + ')');
    if (answer != noErr) return answer;
    UInt32 id = 0;
    const SInt16 volume = inVRefNum != 0 ? inVRefNum : kVolume;
    const OSErr error = Find(volume, inDirID, inName, id);
    if (error != noErr && error != fnfErr) return error;
    *outSpec = {volume, inDirID, {}};
    std::copy_n(inName, inName[0] + 1, outSpec->name);
    return error;
}

OSStatus FSRefMakePath(const FSRef* inRef, UInt8* outPath, UInt32 inMaxPathSize) {
    const OSErr answer = LogAndAnswer(CallText("FSRefMakePath", IDOf(*inRef), inMaxPathSize));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    if (FindItem(*inRef, error) == nullptr) return error;
    const std::string path = PathOfItem(IDOf(*inRef));
    if (path.size() >= inMaxPathSize) return pathTooLongErr;
    std::memcpy(outPath, path.c_str(), path.size() + 1);
    return noErr;
}

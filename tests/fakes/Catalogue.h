// A catalogue: items in folders, as the test puts them there.
//
// Names are ASCII here, and only FSMakeFSRefUnicode finds one in another case. Each call that can fail counts
// for FailCall. An item keeps its id and reference wherever it is moved to.
#pragma once

#include <toolbox/CatalogInfo.h>

#include <string>
#include <vector>

namespace fakes {

constexpr SInt16 kVolume = -1;
constexpr SInt16 kOtherVolume = -2;
// The root folders of the two volumes, and the temporary folder of the first, which is called "temp".
constexpr UInt32 kRoot = 2;
constexpr UInt32 kOtherRoot = 3;
constexpr UInt32 kTemporary = 10;

// What an item has. Its id, name, folder, volume and kind are told in each answer, whatever info says.
struct Item {
    std::string name;
    UInt32 folder = 0;
    SInt16 volume = kVolume;
    bool isFolder = false;
    FSCatalogInfo info = {};
    std::string contents = {};  // at first its name
    UInt32 shownFlags = 0;      // of Launch Services
};

// A new item of the id, in a folder that is there; of its volume.
void PutFile(UInt32 inID, UInt32 inFolder, const std::string& inName);
void PutFolder(UInt32 inID, UInt32 inFolder, const std::string& inName);
bool HasItem(UInt32 inID);
Item& ItemOf(UInt32 inID);  // one that is there
FSRef RefOf(UInt32 inID);   // whether it is there or not
UInt32 IDOf(const FSRef& inRef);
// "root(a, sub(b), temp()), " for instance: what lies in the first volume, sorted.
std::string CatalogueText();

// What the calls answer instead of what they do: once each, in this order, where noErr lets them do it; or
// always.
void AnswerInTurn(const std::string& inCall, const std::vector<OSErr>& inErrors);
void Refuse(const std::string& inCall, OSErr inError);
// What the call that shall fail answers; ioErr until it is set.
void SetErrorOfCatalogue(OSErr inError);

// FSMakeFSRefUnicode finds that item by any name; 0 for none.
void FindAnyNameAs(UInt32 inID);

// Where FSFindFolder and FindFolder find a folder; FindFolder finds kTemporary for others.
void SetWellKnownFolder(SInt16 inWhere, OSType inType, UInt32 inID);
UInt32 WellKnownFolder(SInt16 inWhere, OSType inType);  // 0: none

void ForgetCatalogue();

// For the other doubles of the File Manager: noErr, or what the call shall answer at once.
OSErr LogAndAnswer(const std::string& inCall);
// The same of a call that is logged already and does not count.
OSErr AnswerOf(const std::string& inName);
// An item of a reference; null, and errFSBadFSRef or fnfErr, when it is none.
Item* FindItem(const FSRef& inRef, OSErr& outError);
// The items of a folder in the order of their names.
std::vector<UInt32> ItemsIn(UInt32 inFolder);
std::string PathOfItem(UInt32 inID);  // one that is there
OSErr MakeRefOfPath(const std::string& inPath, FSRef* outRef, Boolean* outIsFolder);
void FillInfo(UInt32 inID, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo, HFSUniStr255* outName,
              FSSpec* outSpec, FSRef* outParentRef);

}  // namespace fakes

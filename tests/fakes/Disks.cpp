#include "Disks.h"

#include "Calls.h"
#include "Catalogue.h"

#include <toolbox/DateTimeUtils.h>
#include <toolbox/DefaultFolder.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Notification.h>
#include <toolbox/QuickDraw.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace fakes {

namespace {

struct Script {
    FSVolumeInfo volume = {};
    GetVolParmsInfoBuffer parameters = {};
    ItemCount volumeCount = 2;
    SInt16 defaultVolume = 0;
    SInt32 defaultFolder = 0;
    UTCDateTime date = {};
    UInt32 seconds = 0;
    SInt16 random = 0;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

}  // namespace

FSVolumeInfo& VolumeInfo() {
    return TheScript().volume;
}

GetVolParmsInfoBuffer& VolumeParameters() {
    return TheScript().parameters;
}

void SetVolumeCount(ItemCount inCount) {
    TheScript().volumeCount = inCount;
}

void SetDefaultFolder(SInt16 inVolume, SInt32 inFolder) {
    TheScript().defaultVolume = inVolume;
    TheScript().defaultFolder = inFolder;
}

void SetDate(const UTCDateTime& inDate) {
    TheScript().date = inDate;
}

void SetSeconds(UInt32 inSeconds) {
    TheScript().seconds = inSeconds;
}

void SetRandom(SInt16 inNumber) {
    TheScript().random = inNumber;
}

void ForgetDisks() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

OSErr FSGetVolumeInfo(FSVolumeRefNum inVolume, ItemCount inIndex, FSVolumeRefNum* outActualVolume,
                      FSVolumeInfoBitmap inWhichInfo, FSVolumeInfo* outInfo, HFSUniStr255* outName,
                      FSRef* outRootDirectory) {
    std::string call = CallText("FSGetVolumeInfo", inVolume, inIndex, inWhichInfo);
    call.pop_back();
    call += outName != nullptr ? ", name" : "";
    call += outRootDirectory != nullptr ? ", root" : "";
    const OSErr answer = LogAndAnswer(call + ')');
    if (answer != noErr) return answer;
    if (inIndex > TheScript().volumeCount) return nsvErr;
    const bool isFirst = inIndex == 0 ? inVolume == kVolume : inIndex == 1;
    if (inIndex == 0 && !isFirst && inVolume != kOtherVolume) return nsvErr;
    if (outActualVolume != nullptr) *outActualVolume = isFirst ? kVolume : kOtherVolume;
    if (inWhichInfo != kFSVolInfoNone) *outInfo = TheScript().volume;
    if (outName != nullptr) {
        const std::string& name = ItemOf(isFirst ? kRoot : kOtherRoot).name;
        outName->length = static_cast<UInt16>(name.size());
        std::copy(name.begin(), name.end(), outName->unicode);
    }
    if (outRootDirectory != nullptr) *outRootDirectory = RefOf(isFirst ? kRoot : kOtherRoot);
    return noErr;
}

OSErr PBHGetVolParmsSync(HParmBlkPtr ioBlock) {
    HIOParam& block = ioBlock->ioParam;
    block.ioResult = LogAndAnswer(CallText("PBHGetVolParmsSync", block.ioVRefNum, block.ioReqCount));
    if (block.ioResult != noErr) return block.ioResult;
    const auto size = std::min(block.ioReqCount, static_cast<SInt32>(sizeof(GetVolParmsInfoBuffer)));
    std::memcpy(block.ioBuffer, &TheScript().parameters, static_cast<std::size_t>(size));
    block.ioActCount = size;
    return noErr;
}

OSErr HGetVol(StringPtr outVolumeName, SInt16* outVRefNum, SInt32* outDirID) {
    const OSErr answer = LogAndAnswer("HGetVol()");
    if (outVolumeName != nullptr) ReportMisuse("HGetVol is asked for a name");
    if (answer != noErr) return answer;
    *outVRefNum = TheScript().defaultVolume;
    *outDirID = TheScript().defaultFolder;
    return noErr;
}

OSErr HSetVol(ConstStr255Param inName, SInt16 inVRefNum, SInt32 inDirID) {
    const OSErr answer = LogAndAnswer(CallText("HSetVol", inVRefNum, inDirID));
    if (inName != nullptr) ReportMisuse("HSetVol is given a name");
    if (answer == noErr) SetDefaultFolder(inVRefNum, inDirID);
    return answer;
}

OSStatus GetUTCDateTime(UTCDateTime* outMoment, OptionBits inOptions) {
    const OSErr answer = LogAndAnswer(CallText("GetUTCDateTime", inOptions));
    if (answer == noErr) *outMoment = TheScript().date;
    return answer;
}

void GetDateTime(UInt32* outSeconds) {
    Log("GetDateTime()");
    *outSeconds = TheScript().seconds;
}

SInt16 Random() {
    Log("Random()");
    return TheScript().random;
}

OSStatus FNNotify(const FSRef* inFolder, FNMessage inMessage, OptionBits inFlags) {
    return LogAndAnswer(CallText("FNNotify", IDOf(*inFolder), inMessage, inFlags));
}

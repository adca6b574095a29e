#include "System.h"

#include "Calls.h"

#include <toolbox/CFUUID.h>
#include <toolbox/Events.h>
#include <toolbox/Script.h>

#include <map>
#include <set>

namespace fakes {

namespace {

struct Answer {
    SInt32 response;
    OSErr error;
};

struct Script {
    std::map<OSType, Answer> gestalt;
    OSErr processError = noErr;
    FSSpec processFile = {};
    SInt32 language = 0;
    OSErr volumeError = noErr;
    SInt16 volumeAttributes = 0;
    UInt32 ticks = 0;
    bool ticksAdvance = false;
    int ticksAsked = 0;
    AbsoluteTime upTime = {0, 0};
    UInt8 firstByte = 0;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

std::set<CFTypeRef>& Identifiers() {
    static std::set<CFTypeRef>& sIdentifiers = *new std::set<CFTypeRef>;
    return sIdentifiers;
}

}  // namespace

void ScriptGestalt(OSType inSelector, SInt32 inResponse, OSErr inError) {
    TheScript().gestalt[inSelector] = {inResponse, inError};
}

void ScriptProcess(OSErr inError, const FSSpec& inFile) {
    TheScript().processError = inError;
    TheScript().processFile = inFile;
}

void SetSystemLanguage(SInt32 inLanguage) {
    TheScript().language = inLanguage;
}

void ScriptVolume(OSErr inError, SInt16 inAttributes) {
    TheScript().volumeError = inError;
    TheScript().volumeAttributes = inAttributes;
}

void SetTicks(UInt32 inTicks, bool inAdvances) {
    TheScript().ticks = inTicks;
    TheScript().ticksAdvance = inAdvances;
}

int TicksAskedCount() {
    return TheScript().ticksAsked;
}

void SetUpTime(UInt32 inHigh, UInt32 inLow) {
    TheScript().upTime = {inHigh, inLow};
}

void SetIdentifier(UInt8 inFirst) {
    TheScript().firstByte = inFirst;
}

int LiveIdentifiers() {
    return static_cast<int>(Identifiers().size());
}

bool ReleaseIdentifier(CFTypeRef inObject) {
    if (Identifiers().erase(inObject) == 0) return false;
    delete static_cast<const UInt8*>(inObject);
    return true;
}

void ForgetSystem() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

OSErr Gestalt(OSType inSelector, SInt32* outResponse) {
    Log(CallText("Gestalt", inSelector));
    const auto found = TheScript().gestalt.find(inSelector);
    if (found == TheScript().gestalt.end()) return gestaltUndefSelectorErr;
    *outResponse = found->second.response;
    return found->second.error;
}

OSErr GetProcessInformation(const ProcessSerialNumber* inNumber, ProcessInfoRec* ioInfo) {
    Log(CallText("GetProcessInformation", inNumber->highLongOfPSN, inNumber->lowLongOfPSN,
                 ioInfo->processInfoLength));
    if (ioInfo->processName != nullptr) ReportMisuse("GetProcessInformation is asked for a name");
    if (TheScript().processError == noErr) *ioInfo->processAppSpec = TheScript().processFile;
    return TheScript().processError;
}

SInt32 GetScriptVariable(SInt16 inScript, SInt16 inSelector) {
    Log(CallText("GetScriptVariable", inScript, inSelector));
    return TheScript().language;
}

Boolean EventAvail(EventMask inMask, EventRecord* outEvent) {
    Log(CallText("EventAvail", inMask));
    *outEvent = {};
    return false;
}

OSErr PBHGetVInfoSync(HParmBlkPtr ioBlock) {
    HVolumeParam& block = ioBlock->volumeParam;
    Log(CallText("PBHGetVInfoSync", block.ioVRefNum));
    if (block.ioNamePtr != nullptr || block.ioVolIndex != 0 || block.ioCompletion != nullptr)
        ReportMisuse("PBHGetVInfoSync of a block that was not cleared");
    block.ioVAtrb = TheScript().volumeAttributes;
    return TheScript().volumeError;
}

UInt32 TickCount(void) {
    Script& script = TheScript();
    ++script.ticksAsked;
    const UInt32 ticks = script.ticks;
    if (script.ticksAdvance) ++script.ticks;
    return ticks;
}

AbsoluteTime UpTime(void) {
    return TheScript().upTime;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef) {
    if (LogAndFail("CFUUIDCreate()")) return nullptr;
    auto* const identifier = new UInt8(TheScript().firstByte);
    Identifiers().insert(identifier);
    return reinterpret_cast<CFUUIDRef>(identifier);
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef inUUID) {
    CFUUIDBytes bytes = {};
    UInt8 next = *reinterpret_cast<const UInt8*>(inUUID);
    for (UInt8* byte = &bytes.byte0; byte <= &bytes.byte15; ++byte)
        *byte = next++;
    return bytes;
}

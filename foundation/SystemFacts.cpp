#include "SystemStatics.h"

#include <foundation/SystemFacts.h>
#include <toolbox/Events.h>
#include <toolbox/Gestalt.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Processes.h>
#include <toolbox/Script.h>
#include <toolbox/TextEncoding.h>
#include <toolbox/Volumes.h>

std::atomic<short> sAppIsJapanese{-1};

namespace {

constexpr OSType kAUXVersionSelector = FourChars("a/ux");
constexpr UInt16 kVolumeLocks = kHFSVolumeSoftwareLockMask | kHFSVolumeHardwareLockMask;
static_assert(kVolumeLocks == 0x8080);

}  // namespace

OSErr GetAppFSSpec(FSSpec* outFile) {
    const ProcessSerialNumber current = {0, kCurrentProcess};
    ProcessInfoRec info = {};
    info.processInfoLength = kProcessInfoLength;
    info.processName = nullptr;
    info.processAppSpec = outFile;
    return GetProcessInformation(&current, &info);
}

long GetGestaltResult(OSType inSelector) {
    SInt32 response = 0;
    return Gestalt(inSelector, &response) == noErr ? response : 0;
}

short GetAUXVersion() {
    SInt32 response = 0;
    // What it answers counts, with whatever status.
    static_cast<void>(Gestalt(kAUXVersionSelector, &response));
    return static_cast<short>(response >> 8);
}

unsigned short GetSystemLanguage() {
    return static_cast<unsigned short>(GetScriptVariable(smSystemScript, smScriptLang));
}

short GetAppLanguage() {
    return static_cast<short>(GetSystemLanguage());
}

bool AppIsJapanese() {
    // Two threads that ask first at the same time get the same answer.
    short answer = sAppIsJapanese.load(std::memory_order_relaxed);
    if (answer < 0) {
        answer = GetApplicationTextEncoding() == kCFStringEncodingMacJapanese ? 1 : 0;
        sAppIsJapanese.store(answer, std::memory_order_relaxed);
    }
    return answer != 0;
}

void PullApplicationToFront() {
    constexpr int kLooks = 3;
    for (int look = 0; look < kLooks; ++look) {
        EventRecord event;
        EventAvail(everyEvent, &event);
    }
}

bool VolumeIsLocked(short inVRefNum) {
    HParamBlockRec block = {};
    block.volumeParam.ioVRefNum = inVRefNum;
    return PBHGetVInfoSync(&block) == noErr && (block.volumeParam.ioVAtrb & kVolumeLocks) != 0;
}

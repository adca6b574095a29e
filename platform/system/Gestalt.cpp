#include "os/SystemCalls.h"

#include <sys/sysinfo.h>
#include <toolbox/Gestalt.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

namespace toolbox::system {

namespace {

constexpr SInt32 kSystemVersion = 0x1040;
constexpr UInt64 kBytesPerMegabyte = 1 << 20;
constexpr SInt32 kFileSystemBits = 1 << gestaltFullExtFSDispatching | 1 << gestaltHasFSSpecCalls |
                                   1 << gestaltFSSupports4GBVols | 1 << gestaltFSSupports2TBVols |
                                   1 << gestaltHasHFSPlusAPIs | 1 << gestaltFSUsesPOSIXPathsForConversion;
constexpr SInt32 kManagerPresent = 1;

struct Fact {
    OSType selector;
    SInt32 response;
};
constexpr Fact kFacts[] = {
    {gestaltSystemVersion, kSystemVersion},
    {gestaltSystemVersionMajor, 10},
    {gestaltSystemVersionMinor, 4},
    {gestaltSystemVersionBugFix, 0},
    {gestaltVMAttr, 1 << gestaltVMPresent},
    {gestaltFSAttr, kFileSystemBits},
    {gestaltAliasMgrAttr, kManagerPresent},
    {gestaltFindFolderAttr, kManagerPresent},
    {gestaltResourceMgrAttr, 0},
#if defined(__x86_64__) || defined(__i386__)
    {gestaltSysArchitecture, gestaltIntel},
#elif defined(__powerpc__)
    {gestaltSysArchitecture, gestaltPowerPC},
#endif
};

SInt32 Clamped(UInt64 inNumber) {
    return static_cast<SInt32>(std::min<UInt64>(inNumber, std::numeric_limits<SInt32>::max()));
}

OSErr AskForMemory(OSType inSelector, SInt32& outResponse) {
    struct sysinfo info = {};
    if (os::Calls().sysinfo(&info) != 0) return gestaltUnknownErr;
    const UInt64 physical = static_cast<UInt64>(info.totalram) * info.mem_unit;
    const UInt64 swap = static_cast<UInt64>(info.totalswap) * info.mem_unit;
    if (inSelector == gestaltPhysicalRAMSizeInMegabytes)
        outResponse = Clamped(physical / kBytesPerMegabyte);
    else
        outResponse = Clamped(inSelector == gestaltLogicalRAMSize ? physical + swap : physical);
    return noErr;
}

OSErr AskForPageSize(SInt32& outResponse) {
    const long byteCount = os::Calls().sysconf(_SC_PAGESIZE);
    if (byteCount <= 0) return gestaltUnknownErr;
    outResponse = static_cast<SInt32>(byteCount);
    return noErr;
}

}  // namespace

}  // namespace toolbox::system

using namespace toolbox::system;

OSErr Gestalt(OSType inSelector, SInt32* outResponse) {
    if (outResponse == nullptr) return paramErr;
    switch (inSelector) {
        case gestaltPhysicalRAMSize:
        case gestaltPhysicalRAMSizeInMegabytes:
        case gestaltLogicalRAMSize:
            return AskForMemory(inSelector, *outResponse);
        case gestaltLogicalPageSize:
            return AskForPageSize(*outResponse);
        default:
            break;
    }
    for (const Fact& fact : kFacts) {
        if (fact.selector != inSelector) continue;
        *outResponse = fact.response;
        return noErr;
    }
    return gestaltUndefSelectorErr;
}

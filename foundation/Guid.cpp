#include "SystemStatics.h"

#include <foundation/Guid.h>
#include <foundation/Int64.h>
#include <toolbox/CFUUID.h>
#include <toolbox/Timer.h>

#include <cstring>

bool sTrueGuid = false;

namespace {

static_assert(sizeof(CFUUIDBytes) == 16);

bool CopyTrueGuid(void* outGuid) {
    const CFUUIDRef uuid = CFUUIDCreate(kCFAllocatorDefault);
    if (uuid == nullptr) return false;
    const CFUUIDBytes bytes = CFUUIDGetUUIDBytes(uuid);
    std::memcpy(outGuid, &bytes, sizeof bytes);
    CFRelease(uuid);
    return true;
}

}  // namespace

void SmartCreateGuid(void* outGuid) {
    if (sTrueGuid && CopyTrueGuid(outGuid)) return;
    Int64 clock = Int64::Microseconds();
    Int64 upTime(UpTime());
    const Int64 ticks(static_cast<unsigned long>(TickCount()));
    clock *= ticks;
    upTime *= ticks;
    const UInt32 words[] = {static_cast<UInt32>(clock.hi), clock.lo, static_cast<UInt32>(upTime.hi),
                            upTime.lo};
    std::memcpy(outGuid, words, sizeof words);
}

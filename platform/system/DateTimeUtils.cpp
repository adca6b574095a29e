#include "os/SystemCalls.h"

#include <time.h>
#include <toolbox/DateTimeUtils.h>

namespace toolbox::system {

namespace {

constexpr UInt64 kSecondsFrom1904To1970 = 2'082'844'800;
constexpr UInt64 kNanosPerSecond = 1'000'000'000;

bool GetNow(timespec& outNow) {
    return os::Calls().clock_gettime(CLOCK_REALTIME, &outNow) == 0;
}

}  // namespace

}  // namespace toolbox::system

using namespace toolbox::system;

void GetDateTime(UInt32* outSeconds) {
    timespec now = {};
    tm local = {};
    *outSeconds = 0;
    if (!GetNow(now) || localtime_r(&now.tv_sec, &local) == nullptr) return;
    const UInt64 seconds = static_cast<UInt64>(now.tv_sec) + static_cast<UInt64>(local.tm_gmtoff);
    *outSeconds = static_cast<UInt32>(seconds + kSecondsFrom1904To1970);
}

OSStatus GetUTCDateTime(UTCDateTime* outMoment, OptionBits inOptions) {
    if (outMoment == nullptr || inOptions != kUTCDefaultOptions) return paramErr;
    timespec now = {};
    if (!GetNow(now)) return ioErr;
    const UInt64 seconds = static_cast<UInt64>(now.tv_sec) + kSecondsFrom1904To1970;
    outMoment->highSeconds = static_cast<UInt16>(seconds >> 32);
    outMoment->lowSeconds = static_cast<UInt32>(seconds);
    outMoment->fraction = static_cast<UInt16>((static_cast<UInt64>(now.tv_nsec) << 16) / kNanosPerSecond);
    return noErr;
}

#include "CatalogDates.h"

#include "companions/CompanionInfo.h"

#include <algorithm>
#include <cstdint>

namespace toolbox::files {

namespace {

// From the start of 1904.
constexpr std::int64_t kSecondsBefore1970 = 2'082'844'800;
constexpr std::int64_t kSecondsBefore2000 = 3'029'529'600;
constexpr std::int64_t kMaxSeconds = 0xFFFF'FFFF'FFFF;  // nine million years
constexpr UTCDateTime kLastDate = {0xFFFF, 0xFFFFFFFF, 0xFFFF};
constexpr std::uint64_t kNanosPerSecond = 1'000'000'000;
constexpr std::uint64_t kFractionsPerSecond = 65536;

UTCDateTime DateOfSeconds(std::int64_t inSecondsSince1904, UInt16 inFraction) {
    return {static_cast<UInt16>(inSecondsSince1904 >> 32), static_cast<UInt32>(inSecondsSince1904),
            inFraction};
}

std::int64_t SecondsOf(const UTCDateTime& inDate) {
    return static_cast<std::int64_t>(UInt64{inDate.highSeconds} << 32 | inDate.lowSeconds);
}

bool IsEarlier(const os::Moment& inLeft, const os::Moment& inRight) {
    return inLeft.seconds < inRight.seconds ||
           (inLeft.seconds == inRight.seconds && inLeft.nanos < inRight.nanos);
}

}  // namespace

UTCDateTime DateOf(const os::Moment& inMoment) {
    if (inMoment.seconds < -kSecondsBefore1970) return {};
    if (inMoment.seconds > kMaxSeconds - kSecondsBefore1970) return kLastDate;
    const std::int64_t seconds = inMoment.seconds + kSecondsBefore1970;
    return DateOfSeconds(seconds,
                         static_cast<UInt16>(inMoment.nanos * kFractionsPerSecond / kNanosPerSecond));
}

os::Moment MomentOf(const UTCDateTime& inDate) {
    const std::uint64_t nanos =
        (inDate.fraction * kNanosPerSecond + kFractionsPerSecond - 1) / kFractionsPerSecond;
    return {SecondsOf(inDate) - kSecondsBefore1970, static_cast<std::uint32_t>(nanos)};
}

UTCDateTime DateOfCompanion(SInt32 inSeconds) {
    if (inSeconds == CompanionInfo::kNoDate) return {};
    return DateOfSeconds(inSeconds + kSecondsBefore2000, 0);
}

bool CompanionSecondsOf(const UTCDateTime& inDate, SInt32& outSeconds) {
    outSeconds = CompanionInfo::kNoDate;
    if (IsSameDate(inDate, {})) return true;
    const std::int64_t seconds = SecondsOf(inDate) - kSecondsBefore2000;
    if (seconds <= CompanionInfo::kNoDate || seconds > INT32_MAX) return false;
    outSeconds = static_cast<SInt32>(seconds);
    return true;
}

bool IsSameDate(const UTCDateTime& inLeft, const UTCDateTime& inRight) {
    return SecondsOf(inLeft) == SecondsOf(inRight) && inLeft.fraction == inRight.fraction;
}

os::Moment CreationOf(const os::ItemStatus& inStatus) {
    if (inStatus.identity.birthNanos != 0) return inStatus.birthDate;
    return std::min({inStatus.contentDate, inStatus.attributeDate, inStatus.accessDate}, IsEarlier);
}

}  // namespace toolbox::files

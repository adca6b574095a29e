#include "corefoundation/Object.h"
#include "os/SystemCalls.h"

#include <time.h>
#include <toolbox/CFDate.h>

#include <functional>

namespace toolbox::corefoundation {

namespace {

struct DateObject {
    Object base;
    CFAbsoluteTime time;
};

CFAbsoluteTime TimeOf(CFTypeRef inDate) {
    return static_cast<const DateObject*>(inDate)->time;
}

bool IsSameTime(CFTypeRef inOne, CFTypeRef inOther) {
    return TimeOf(inOne) == TimeOf(inOther);
}

CFHashCode HashTime(CFTypeRef inDate) {
    return std::hash<CFAbsoluteTime>()(TimeOf(inDate));
}

constexpr TypeInfo kDateType = {kDateTypeID, nullptr, "CFDate", IsSameTime, HashTime, nullptr};

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
    timespec now{};
    (void)toolbox::os::Calls().clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) - kCFAbsoluteTimeIntervalSince1970 +
           static_cast<double>(now.tv_nsec) * 1e-9;
}

CFTypeID CFDateGetTypeID() {
    return kDateTypeID;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime inTime) {
    auto* date = static_cast<DateObject*>(NewObject(kDateType, sizeof(DateObject)));
    if (date == nullptr) return nullptr;
    date->time = inTime;
    return reinterpret_cast<CFDateRef>(date);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef inDate) {
    return TimeOf(inDate);
}

CFTimeInterval CFDateGetTimeIntervalSinceDate(CFDateRef inDate, CFDateRef inOther) {
    return TimeOf(inDate) - TimeOf(inOther);
}

CFComparisonResult CFDateCompare(CFDateRef inDate, CFDateRef inOther, void*) {
    if (TimeOf(inDate) == TimeOf(inOther)) return kCFCompareEqualTo;
    return TimeOf(inDate) < TimeOf(inOther) ? kCFCompareLessThan : kCFCompareGreaterThan;
}

// Openings by their numbers.
#include "ForkOpening.h"

#include <limits>
#include <map>
#include <utility>

namespace toolbox::files {

namespace {

constexpr SInt16 kMaxNumber = std::numeric_limits<SInt16>::max();

using OpeningPtr = std::shared_ptr<ForkOpening>;

struct Numbers {
    os::Mutex mutex;
    std::map<SInt16, OpeningPtr> openings GUARDED_BY(mutex);
    SInt16 last GUARDED_BY(mutex) = 0;
};

Numbers& Shared() {
    // Never destroyed: forks are closed by other objects' destructors at exit.
    static Numbers& numbers = *new Numbers;
    return numbers;
}

}  // namespace

OSStatus AddOpening(OpeningPtr inOpening, SInt16& outNumber) {
    Numbers& numbers = Shared();
    const os::MutexLock lock(numbers.mutex);
    if (numbers.openings.size() == static_cast<std::size_t>(kMaxNumber)) return tmfoErr;
    SInt16 number = numbers.last;
    do
        number = number == kMaxNumber ? SInt16{1} : static_cast<SInt16>(number + 1);
    while (numbers.openings.count(number) != 0);
    numbers.openings[number] = std::move(inOpening);
    numbers.last = number;
    outNumber = number;
    return noErr;
}

OSStatus FindOpening(SInt16 inNumber, OpeningPtr& outOpening) {
    if (inNumber <= 0) return errFSBadForkRef;
    Numbers& numbers = Shared();
    const os::MutexLock lock(numbers.mutex);
    const auto found = numbers.openings.find(inNumber);
    if (found == numbers.openings.end()) return rfNumErr;
    outOpening = found->second;
    return noErr;
}

OSStatus TakeOpening(SInt16 inNumber, OpeningPtr& outOpening) {
    if (inNumber <= 0) return errFSBadForkRef;
    Numbers& numbers = Shared();
    const os::MutexLock lock(numbers.mutex);
    const auto found = numbers.openings.find(inNumber);
    if (found == numbers.openings.end()) return rfNumErr;
    outOpening = std::move(found->second);
    numbers.openings.erase(found);
    return noErr;
}

OSStatus FindOpeningAfter(SInt16 inNumber, SInt16 inVolume, SInt16& outNumber, OpeningPtr& outOpening) {
    Numbers& numbers = Shared();
    const os::MutexLock lock(numbers.mutex);
    for (auto at = numbers.openings.upper_bound(inNumber); at != numbers.openings.end(); ++at) {
        if (inVolume != 0 && at->second->Facts().volume != inVolume) continue;
        outNumber = at->first;
        outOpening = at->second;
        return noErr;
    }
    return errFSNoMoreItems;
}

}  // namespace toolbox::files

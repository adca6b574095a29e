#include "places/NumberIndex.h"

#include <cassert>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::size_t kMinSlots = 64;

}  // namespace

void NumberIndex::MakeRoom() {
    if (mCount + 1 <= mSlots.size() / 4 * 3) return;
    std::vector<Slot> slots(mSlots.empty() ? kMinSlots : mSlots.size() * 2);
    std::swap(slots, mSlots);
    for (const Slot& slot : slots)
        if (slot.number != kNone) Put(slot);
}

void NumberIndex::Put(const Slot& inSlot) noexcept {
    std::size_t at = Home(inSlot.tag);
    while (mSlots[at].number != kNone)
        at = Next(at);
    mSlots[at] = inSlot;
}

void NumberIndex::Add(std::uint64_t inHash, Number inNumber) noexcept {
    assert(mCount < mSlots.size() / 4 * 3);
    Put({TagOf(inHash), inNumber});
    ++mCount;
}

void NumberIndex::Remove(std::uint64_t inHash, Number inNumber) noexcept {
    std::size_t hole = Home(TagOf(inHash));
    while (mSlots[hole].number != inNumber) {
        assert(mSlots[hole].number != kNone);
        hole = Next(hole);
    }
    // A search ends at what is empty, so what was put further on because of this one moves up.
    for (std::size_t at = Next(hole); mSlots[at].number != kNone; at = Next(at)) {
        if (Distance(Home(mSlots[at].tag), at) < Distance(hole, at)) continue;
        mSlots[hole] = mSlots[at];
        hole = at;
    }
    mSlots[hole] = {};
    --mCount;
}

}  // namespace toolbox::files

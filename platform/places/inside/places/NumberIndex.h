// A hash table of things that are kept elsewhere and have numbers: eight bytes of room for each, and less
// than half as much again that is empty, or twice as much just after it grew. Several may have one hash. One
// thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace toolbox::files {

class NumberIndex {
  public:
    using Number = std::uint32_t;
    static constexpr Number kNone = UINT32_MAX;

    // Makes room for one more number; after that, adding it cannot fail. May throw std::bad_alloc, with
    // nothing changed.
    void MakeRoom();
    void Add(std::uint64_t inHash, Number inNumber) noexcept;
    // What was added with that hash.
    void Remove(std::uint64_t inHash, Number inNumber) noexcept;

    // A number of that hash that is wanted, bool(Number) says; kNone when there is none.
    template <typename IsWanted>
    Number Find(std::uint64_t inHash, IsWanted inIsWanted) const {
        if (mSlots.empty()) return kNone;
        const std::uint32_t tag = TagOf(inHash);
        for (std::size_t at = Home(tag); mSlots[at].number != kNone; at = Next(at))
            if (mSlots[at].tag == tag && inIsWanted(mSlots[at].number)) return mSlots[at].number;
        return kNone;
    }

  private:
    struct Slot {
        std::uint32_t tag = 0;
        Number number = kNone;
    };

    static std::uint32_t TagOf(std::uint64_t inHash) {
        return static_cast<std::uint32_t>(inHash ^ inHash >> 32);
    }
    std::size_t Home(std::uint32_t inTag) const { return inTag & (mSlots.size() - 1); }
    std::size_t Next(std::size_t inAt) const { return (inAt + 1) & (mSlots.size() - 1); }
    std::size_t Distance(std::size_t inFrom, std::size_t inTo) const {
        return (inTo - inFrom) & (mSlots.size() - 1);
    }
    void Put(const Slot& inSlot) noexcept;

    // A power of two, of which one in four at least is empty, so that every search ends.
    std::vector<Slot> mSlots;
    std::size_t mCount = 0;
};

}  // namespace toolbox::files

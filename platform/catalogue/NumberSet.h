// A growing set of numbers, in 8 bytes for a place of which three in four are taken at most.
//
// One thread at a time. Functions may throw std::bad_alloc, with nothing changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace toolbox::files {

class NumberSet {
  public:
    // Numbers should differ in all their bits, as hashes do.
    void Insert(std::uint64_t inNumber) {
        if (4 * (mCount + 1) > 3 * mPlaces.size()) Grow();
        std::uint64_t& place = mPlaces[PlaceOf(NotZero(inNumber))];
        mCount += place == kFree;
        place = NotZero(inNumber);
    }
    void InsertAll(const NumberSet& inOther) {
        for (const std::uint64_t number : inOther.mPlaces)
            if (number != kFree) Insert(number);
    }
    // 0 and 1 are one number.
    bool Has(std::uint64_t inNumber) const {
        return mCount != 0 && mPlaces[PlaceOf(NotZero(inNumber))] != kFree;
    }
    bool IsEmpty() const { return mCount == 0; }
    std::size_t ByteCount() const { return mPlaces.size() * sizeof(std::uint64_t); }

  private:
    static constexpr std::uint64_t kFree = 0;
    static constexpr std::size_t kFirstPlaces = 64;

    static std::uint64_t NotZero(std::uint64_t inNumber) { return inNumber == kFree ? 1 : inNumber; }
    // Of the number, or where it is to go.
    std::size_t PlaceOf(std::uint64_t inNumber) const {
        const std::size_t mask = mPlaces.size() - 1;
        std::size_t place = inNumber & mask;
        while (mPlaces[place] != kFree && mPlaces[place] != inNumber)
            place = (place + 1) & mask;
        return place;
    }
    void Grow() {
        NumberSet grown;
        grown.mPlaces.resize(mPlaces.empty() ? kFirstPlaces : 2 * mPlaces.size());
        grown.InsertAll(*this);
        *this = std::move(grown);
    }

    std::vector<std::uint64_t> mPlaces;  // a power of two of them
    std::size_t mCount = 0;
};

}  // namespace toolbox::files

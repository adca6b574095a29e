#include "places/NumberIndex.h"

#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <set>

namespace {

using toolbox::files::NumberIndex;

void Add(NumberIndex& ioIndex, std::uint64_t inHash, NumberIndex::Number inNumber) {
    ioIndex.MakeRoom();
    ioIndex.Add(inHash, inNumber);
}

std::set<NumberIndex::Number> AllOf(const NumberIndex& inIndex, std::uint64_t inHash) {
    std::set<NumberIndex::Number> numbers;
    EXPECT_EQ(NumberIndex::kNone, inIndex.Find(inHash, [&](NumberIndex::Number inNumber) {
        numbers.insert(inNumber);
        return false;
    }));
    return numbers;
}

using Numbers = std::set<NumberIndex::Number>;

TEST(NumberIndex, Empty) {
    EXPECT_EQ(Numbers(), AllOf(NumberIndex(), 0));
}

TEST(NumberIndex, SeveralOfOneHash) {
    NumberIndex index;
    Add(index, 7, 1);
    Add(index, 7, 2);
    Add(index, 8, 3);
    EXPECT_EQ((Numbers{1, 2}), AllOf(index, 7));
    EXPECT_EQ((Numbers{3}), AllOf(index, 8));
    EXPECT_EQ(2u, index.Find(7, [](NumberIndex::Number inNumber) { return inNumber == 2; }));
    index.Remove(7, 1);
    EXPECT_EQ((Numbers{2}), AllOf(index, 7));
    EXPECT_EQ((Numbers{3}), AllOf(index, 8));
}

// Hashes that share their places, around the table's end too, added and removed in turn.
TEST(NumberIndex, FindsWhatIsThereAfterRemovals) {
    NumberIndex index;
    std::set<NumberIndex::Number> present;
    const auto hash = [](NumberIndex::Number inNumber) {
        return std::uint64_t{inNumber % 5 == 0 ? 63U : inNumber % 7};
    };
    std::uint32_t seed = 1;
    for (int step = 0; step < 20000; ++step) {
        seed = seed * 1664525 + 1013904223;
        const NumberIndex::Number number = seed >> 16 & 0x3F;
        if (present.erase(number) != 0) {
            index.Remove(hash(number), number);
        } else {
            present.insert(number);
            Add(index, hash(number), number);
        }
        for (const NumberIndex::Number one : {number, (number + 1) & 0x3F}) {
            const auto is = [one](NumberIndex::Number inNumber) { return inNumber == one; };
            ASSERT_EQ(present.contains(one) ? one : NumberIndex::kNone, index.Find(hash(one), is));
        }
    }
}

TEST(NumberIndex, Grows) {
    NumberIndex index;
    const auto hash = [](NumberIndex::Number inNumber) { return inNumber * 0x9E3779B97F4A7C15u; };
    for (NumberIndex::Number number = 0; number < 100'000; ++number)
        Add(index, hash(number), number);
    for (NumberIndex::Number number = 0; number < 100'000; ++number)
        ASSERT_TRUE(AllOf(index, hash(number)).contains(number));
}

TEST(NumberIndex, ShortMemoryChangesNothing) {
    NumberIndex index;
    NumberIndex::Number count = 0;
    for (bool ranOut = false; !ranOut;) {
        const test_files::FailingNew memory(count == 0 ? 2 : 1);
        try {
            Add(index, count, count);
            ++count;
        } catch (const std::bad_alloc&) {
            ranOut = true;
        }
    }
    EXPECT_GT(count, 10u);
    for (NumberIndex::Number number = 0; number < count; ++number)
        EXPECT_EQ((Numbers{number}), AllOf(index, number));
    Add(index, count, count);
    EXPECT_EQ((Numbers{count}), AllOf(index, count));
}

}  // namespace

#include "catalogue/OpenIterators.h"

#include "Iterating.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using namespace test_files;
using toolbox::files::FolderWalk;
using toolbox::files::OpenIterators;
using toolbox::files::WalkedItem;
using toolbox::files::WalkKind;
using Number = OpenIterators::Number;

class OpenIteratorsTest : public IteratingTest {
  protected:
    std::unique_ptr<FolderWalk> MakeWalk() const {
        auto walk = std::make_unique<FolderWalk>(WalkKind::kFlat);
        EXPECT_EQ(noErr, walk->Open(mHere));
        return walk;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, OpenIteratorsTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(OpenIteratorsTest, NumbersAreNotGivenAgain) {
    OpenIterators iterators;
    const Number first = iterators.Add(MakeWalk());
    EXPECT_NE(0U, first);
    EXPECT_EQ(noErr, iterators.Remove(first));
    EXPECT_EQ(errFSIteratorNotFound, iterators.Remove(first));
    EXPECT_EQ(errFSIteratorNotFound, OpenIterators::Use(iterators, first).Status());
    EXPECT_EQ(errFSIteratorNotFound, iterators.Remove(0));
    const Number second = iterators.Add(MakeWalk());
    EXPECT_NE(first, second);
    EXPECT_EQ(noErr, OpenIterators::Use(iterators, second).Status());
}

TEST_P(OpenIteratorsTest, OneUseAtATime) {
    OpenIterators iterators;
    const Number number = iterators.Add(MakeWalk());
    const Number other = iterators.Add(MakeWalk());
    {
        const OpenIterators::Use use(iterators, number);
        EXPECT_EQ(noErr, use.Status());
        EXPECT_EQ(fBsyErr, OpenIterators::Use(iterators, number).Status());
        EXPECT_EQ(fBsyErr, iterators.Remove(number));
        EXPECT_EQ(noErr, OpenIterators::Use(iterators, other).Status());
    }
    EXPECT_EQ(noErr, OpenIterators::Use(iterators, number).Status());
    EXPECT_EQ(noErr, iterators.Remove(number));
}

// Those that were used last hold their descriptors, and any that is in use.
TEST_P(OpenIteratorsTest, WhoHoldsADescriptor) {
    mFolder.MakeFile("file");
    const std::size_t descriptors = OpenDescriptorCount();
    OpenIterators iterators;
    std::vector<Number> numbers;
    numbers.push_back(iterators.Add(MakeWalk()));
    {
        const OpenIterators::Use use(iterators, numbers[0]);
        for (std::size_t i = 1; i <= OpenIterators::kMaxHeld; ++i)
            numbers.push_back(iterators.Add(MakeWalk()));
        EXPECT_EQ(descriptors + OpenIterators::kMaxHeld, OpenDescriptorCount());
        WalkedItem item;
        EXPECT_EQ(noErr, use.Walk().GetItem(item));
        EXPECT_EQ(descriptors + OpenIterators::kMaxHeld, OpenDescriptorCount()) << "this one was left open";
        EXPECT_EQ(noErr, OpenIterators::Use(iterators, numbers[2]).Status());
    }
    const OpenIterators::Use use(iterators, numbers[1]);
    EXPECT_EQ(descriptors + OpenIterators::kMaxHeld - 1, OpenDescriptorCount()) << "one was closed for this";
    WalkedItem item;
    EXPECT_EQ(noErr, use.Walk().GetItem(item));
    EXPECT_EQ("file", use.Walk().ItemPlace().name);
    EXPECT_EQ(descriptors + OpenIterators::kMaxHeld, OpenDescriptorCount());
}

TEST_P(OpenIteratorsTest, EveryAllocationFailsWhileOneIsAdded) {
    const int count = support::FailEach<FailingNew>(
        [&](const auto& inUnderFault) {
            OpenIterators iterators;
            Number number = 0;
            auto walk = MakeWalk();
            const bool wasDelivered = inUnderFault([&] {
                try {
                    number = iterators.Add(std::move(walk));
                } catch (const std::bad_alloc&) {
                }
            });
            EXPECT_EQ(wasDelivered, number == 0);
            EXPECT_EQ(errFSIteratorNotFound, iterators.Remove(wasDelivered ? 1 : 2));
        },
        FailingNew::kOnce);
    EXPECT_GT(count, 1);
}

}  // namespace

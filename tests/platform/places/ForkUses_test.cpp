#include "places/ForkUses.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

namespace {

using namespace toolbox::files;
using toolbox::os::ItemIdentity;

constexpr ItemIdentity kFile = {1, 2, 3};

// What a second opening answers beside a first.
int Second(ForkAccess inFirst, ForkAccess inSecond) {
    ForkUse first, second;
    EXPECT_EQ(0, first.Begin(kFile, false, inFirst));
    return second.Begin(kFile, false, inSecond);
}

TEST(ForkUses, OneWriterUnlessTheyShare) {
    using enum ForkAccess;
    for (const ForkAccess other : {kRead, kWriteShared, kWriteAlone}) {
        EXPECT_EQ(0, Second(kRead, other));
        EXPECT_EQ(0, Second(other, kRead));
    }
    EXPECT_EQ(0, Second(kWriteShared, kWriteShared));
    EXPECT_EQ(EBUSY, Second(kWriteShared, kWriteAlone));
    EXPECT_EQ(EBUSY, Second(kWriteAlone, kWriteShared));
    EXPECT_EQ(EBUSY, Second(kWriteAlone, kWriteAlone));
}

TEST(ForkUses, OfADevice) {
    EXPECT_FALSE(HasForksInUse(kFile.device));
    ForkUse use;
    ASSERT_EQ(0, use.Begin(kFile, true, ForkAccess::kRead));
    EXPECT_TRUE(HasForksInUse(kFile.device));
    EXPECT_FALSE(HasForksInUse(kFile.device + 1));
    use.End();
    EXPECT_FALSE(HasForksInUse(kFile.device));
}

TEST(ForkUses, OtherForksAndFiles) {
    ForkUse use, sameFork, otherFork, otherFile, laterFile, unknownBirth;
    ASSERT_EQ(0, use.Begin(kFile, false, ForkAccess::kWriteAlone));
    EXPECT_EQ(EBUSY, sameFork.Begin(kFile, false, ForkAccess::kWriteAlone));
    EXPECT_EQ(0, otherFork.Begin(kFile, true, ForkAccess::kWriteAlone));
    EXPECT_EQ(0, otherFile.Begin({1, 3, 3}, false, ForkAccess::kWriteAlone));
    EXPECT_EQ(0, laterFile.Begin({1, 2, 4}, false, ForkAccess::kWriteAlone));
    EXPECT_EQ(EBUSY, unknownBirth.Begin({1, 2, 0}, false, ForkAccess::kWriteAlone));
}

TEST(ForkUses, AreTold) {
    EXPECT_FALSE(FindForksInUse(kFile).isDataOpen || FindForksInUse(kFile).isResourceOpen);
    {
        ForkUse one, other;
        ASSERT_EQ(0, one.Begin(kFile, false, ForkAccess::kRead));
        ASSERT_EQ(0, other.Begin(kFile, false, ForkAccess::kRead));
        EXPECT_TRUE(FindForksInUse(kFile).isDataOpen);
        EXPECT_FALSE(FindForksInUse(kFile).isResourceOpen);
        one.End();
        one.End();
        EXPECT_TRUE(FindForksInUse(kFile).isDataOpen) << "the other is open still";
        EXPECT_FALSE(FindForksInUse({1, 3, 3}).isDataOpen);
    }
    EXPECT_FALSE(FindForksInUse(kFile).isDataOpen);
    ForkUse resource;
    ASSERT_EQ(0, resource.Begin(kFile, true, ForkAccess::kWriteAlone));
    EXPECT_TRUE(FindForksInUse(kFile).isResourceOpen);
}

}  // namespace

#include "companions/CompanionCopy.h"

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using namespace toolbox::files;
using support::FileWorld;

constexpr SInt32 kNoDate = CompanionInfo::kNoDate;

class CompanionCopyTest : public support::FileWorldTest {
  protected:
    CompanionCopyTest() {
        mFolder.MakeFile("a");
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "a", mItem));
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "b", mNewItem));
    }
    int Make(SInt32 inCreation, bool inStays) {
        CompanionCopy copy;
        const int error = copy.Make(mItem, mNewItem, inCreation);
        if (inStays) copy.Stay();
        return error;
    }
    CompanionInfo Info() const {
        CompanionInfo info;
        CompanionSizes sizes;
        EXPECT_EQ(0, ReadInfo(mNewItem.folder.Number(), "._b", info, sizes));
        return info;
    }

    Place mItem;
    Place mNewItem;
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionCopyTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(CompanionCopyTest, NoneOfNone) {
    EXPECT_EQ(0, Make(kNoDate, true));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._b"));
}

TEST_P(CompanionCopyTest, ForADateAlone) {
    EXPECT_EQ(0, Make(77, true));
    EXPECT_EQ(77, Info().creationSeconds);
}

TEST_P(CompanionCopyTest, EntriesOfOthersToo) {
    const std::vector<UInt8> others = {1, 2, 3};
    ASSERT_EQ(0, ReplaceEntry(mItem, 0x12345678, others));
    CompanionInfo info;
    info.finderInfo[31] = 5;
    info.isLocked = true;
    ASSERT_EQ(0, WriteInfo(mItem, info));
    ASSERT_EQ(0, Make(kNoDate, true));
    info.isLocked = false;
    EXPECT_TRUE(info == Info());
    toolbox::os::FileRange entry;
    EXPECT_EQ(0, OpenEntry(mNewItem, 0x12345678, entry));
    EXPECT_EQ(3U, entry.SizeBytes());
}

TEST_P(CompanionCopyTest, GoesUnlessItIsToStay) {
    EXPECT_EQ(0, Make(77, false));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._b"));
}

TEST_P(CompanionCopyTest, WhatHasItsNameStays) {
    mFolder.MakeFile("._b", "no companion");
    EXPECT_EQ(EEXIST, Make(77, false));
    EXPECT_EQ("no companion", FileWorld::Contents(mFolder / "._b"));
    EXPECT_EQ(0, Make(kNoDate, false)) << "none is needed";
    EXPECT_EQ("no companion", FileWorld::Contents(mFolder / "._b"));
}

}  // namespace

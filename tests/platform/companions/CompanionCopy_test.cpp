#include "companions/CompanionCopy.h"

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

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
        mFolder.MakeFile("new");
        EXPECT_EQ(0, toolbox::os::OpenFile((mFolder / "new").c_str(), O_RDWR, mNewFile));
    }
    int Make(SInt32 inCreation, bool inStays) {
        CompanionCopy copy;
        const int error = copy.Make(mItem, {mNewItem, mNewFile.Number()}, inCreation);
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
    toolbox::os::Descriptor mNewFile;
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
    ASSERT_EQ(0, ReplaceEntry(mItem, AppleDoubleEntry::kResourceFork, {1}));
    mFolder.MakeFile("._b", "no companion");
    EXPECT_EQ(EEXIST, Make(kNoDate, false));
    EXPECT_EQ("no companion", FileWorld::Contents(mFolder / "._b"));
}

TEST_P(CompanionCopyTest, ADateAloneIsLeftOutWhereItHasNoPlace) {
    mFolder.MakeFile("._b", "no companion");
    EXPECT_EQ(0, Make(77, false));
    EXPECT_EQ("no companion", FileWorld::Contents(mFolder / "._b"));
    FileWorld::Remove(mFolder / "._b");
    CompanionInfo date;
    date.creationSeconds = 5;
    ASSERT_EQ(0, WriteInfo(mItem, date));
    mNewItem.name = std::string(254, 'b');
    EXPECT_EQ(0, Make(77, true)) << "also one that the item's companion tells";
    ASSERT_EQ(0, ReplaceEntry(mItem, AppleDoubleEntry::kResourceFork, {1}));
    EXPECT_EQ(ENAMETOOLONG, Make(77, true)) << "a fork is not left out";
    mNewItem.name = "b";
    EXPECT_EQ(0, Make(77, true));
    EXPECT_EQ(5, Info().creationSeconds) << "the companion's goes before";
}

// It may be of a file that is about to be there.
TEST_P(CompanionCopyTest, AnothersCompanionIsNoReasonToDoWithout) {
    Place other;
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile("b"), other));
    ASSERT_EQ(0, ReplaceEntry(other, AppleDoubleEntry::kResourceFork, {1}));
    EXPECT_EQ(EEXIST, Make(77, false));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "._b"));
}

TEST_P(CompanionCopyTest, OnlyItsOwnFileGoes) {
    const std::string companion = mFolder / "._b";
    {
        CompanionCopy copy;
        ASSERT_EQ(0, copy.Make(mItem, {mNewItem, mNewFile.Number()}, 77));
        FileWorld::Rename(companion, mFolder / "b (companion)");
        mFolder.MakeFile("._b", "another's");
    }
    EXPECT_EQ("another's", FileWorld::Contents(companion));
}

TEST_P(CompanionCopyTest, IsLockedUntilItStays) {
    CompanionCopy copy;
    ASSERT_EQ(0, copy.Make(mItem, {mNewItem, mNewFile.Number()}, 77));
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile((mFolder / "._b").c_str(), O_RDONLY, file));
    EXPECT_EQ(-1, toolbox::os::Calls().flock(file.Number(), LOCK_EX | LOCK_NB));
    EXPECT_EQ(EWOULDBLOCK, errno);
}

TEST_P(CompanionCopyTest, NobodyMayMoreThanWithTheFileAndTheOldOne) {
    ASSERT_EQ(0, ReplaceEntry(mItem, AppleDoubleEntry::kResourceFork, {1}));
    struct Row {
        mode_t file;
        mode_t old;
        unsigned expected;
    };
    for (const Row& row : {Row{0755, 0644, 0644}, Row{0640, 0664, 0640}, Row{0666, 0600, 0600},
                           Row{0444, 0444, 0444}, Row{0644, 0404, 0604}}) {
        FileWorld::SetMode(mFolder / "new", row.file);
        FileWorld::SetMode(mFolder / "._a", row.old);
        ASSERT_EQ(0, Make(77, true));
        EXPECT_EQ(row.expected, FileWorld::StatusOf(mFolder / "._b").stx_mode & 07777U);
        FileWorld::Remove(mFolder / "._b");
    }
}

TEST_P(CompanionCopyTest, ALongForkIsCopiedWhole) {
    std::vector<UInt8> fork(200'001);
    for (std::size_t i = 0; i < fork.size(); ++i)
        fork[i] = static_cast<UInt8>(i * 7 % 251);
    ASSERT_EQ(0, ReplaceEntry(mItem, AppleDoubleEntry::kResourceFork, fork));
    ASSERT_EQ(0, ReplaceEntry(mItem, 0x12345678, {1, 2, 3}));
    ASSERT_EQ(0, Make(77, true));
    toolbox::os::FileRange entry;
    ASSERT_EQ(0, OpenEntry(mNewItem, AppleDoubleEntry::kResourceFork, entry));
    ASSERT_EQ(fork.size(), entry.SizeBytes());
    std::vector<UInt8> bytes(fork.size());
    ASSERT_EQ(0, entry.Read(0, bytes.data(), bytes.size()));
    EXPECT_TRUE(fork == bytes);
    EXPECT_EQ(77, Info().creationSeconds);
}

}  // namespace

// Resource files that somebody else writes while they are open.
#include "platform/resources/ResourcesTest.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <string>

namespace {

using namespace test_resources;
using support::FileWorld;

class ChangedByOthersTest : public ResourceFilesTest<support::FileWorldTest> {
  protected:
    // As another program would, a second later: times on disk are coarse.
    void WriteAsAnother(const std::vector<UInt8>& inFork) {
        const struct statx before = FileWorld::StatusOf(mPath);
        mFolder.MakeFile("file", {reinterpret_cast<const char*>(inFork.data()), inFork.size()});
        mFolder.SetTimes(mPath, {}, {before.stx_mtime.tv_sec + 1, before.stx_mtime.tv_nsec});
    }

    const std::vector<UInt8> mBefore = ForkOf({ImageOf(kText, 1, "one"), ImageOf(kText, 2, "two")});
    const std::vector<UInt8> mAfter =
        ForkOf({ImageOf(kText, 7, "seven"), ImageOf(kText, 1, "new one"), ImageOf(kText, 2, "new two")});
    FSRef mFile = MakeFileOf("file", mBefore);
    std::string mPath = mFolder / "file";
};
INSTANTIATE_TEST_SUITE_P(Worlds, ChangedByOthersTest, support::BothWorlds(), support::NameOfWorld);

// The offsets that were read with the map tell of other bytes now.
TEST_P(ChangedByOthersTest, DataIsNotReadFromOldPlaces) {
    const SInt16 refNum = Open(mFile, fsRdPerm);
    EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
    WriteAsAnother(mAfter);
    EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "in memory already";
    EXPECT_EQ(nullptr, GetResource(kText, 2));
    EXPECT_EQ(mapReadErr, ResError());
    CloseResFile(refNum);
    Open(mFile, fsRdPerm);
    EXPECT_EQ("new two", TextOf(GetResource(kText, 2)));
}

TEST_P(ChangedByOthersTest, WorkOfOthersIsNotWrittenOver) {
    const SInt16 refNum = Open(mFile);
    AddResource(NewText("three"), kText, 3, nullptr);
    ASSERT_EQ(noErr, ResError());
    WriteAsAnother(mAfter);
    const std::string contents = FileWorld::Contents(mPath);
    UpdateResFile(refNum);
    EXPECT_EQ(fBsyErr, ResError());
    CloseResFile(refNum);
    EXPECT_EQ(fBsyErr, ResError());
    EXPECT_EQ(contents, FileWorld::Contents(mPath));
}

TEST_P(ChangedByOthersTest, OwnChangesAreNoOthers) {
    const SInt16 refNum = Open(mFile);
    for (SInt16 id = 10; id < 14; ++id) {
        AddResource(NewText("more " + std::to_string(id)), kText, id, nullptr);
        UpdateResFile(refNum);
        EXPECT_EQ(noErr, ResError()) << id;
        ReleaseResource(GetResource(kText, id));
        EXPECT_EQ("more " + std::to_string(id), TextOf(GetResource(kText, id)));
        EXPECT_EQ("two", TextOf(GetResource(kText, 2)));
    }
    const auto fork =
        ForkOf({ImageOf(kText, 1, "one"), ImageOf(kText, 2, "two"), ImageOf(kText, 10, "more 10"),
                ImageOf(kText, 11, "more 11"), ImageOf(kText, 12, "more 12"), ImageOf(kText, 13, "more 13")});
    EXPECT_EQ(fork.size(), FileWorld::Contents(mPath).size()) << "no longer than it has to be";
}

}  // namespace

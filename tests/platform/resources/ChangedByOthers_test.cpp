// Resource files that somebody else writes while they are open.
#include "platform/resources/ResourcesTest.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace test_resources;

class ChangedByOthersTest : public ResourcesTest {
  protected:
    static std::string Contents(const std::string& inPath) {
        std::ifstream file(inPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // As another program would, a second later: times on disk are coarse.
    void WriteAsAnother(const std::vector<UInt8>& inFork) const {
        std::ofstream(mPath, std::ios::binary)
            .write(reinterpret_cast<const char*>(inFork.data()), static_cast<std::streamsize>(inFork.size()));
        std::filesystem::last_write_time(mPath,
                                         std::filesystem::last_write_time(mPath) + std::chrono::seconds(1));
    }

    const std::vector<UInt8> mBefore = ForkOf({ImageOf(kText, 1, "one"), ImageOf(kText, 2, "two")});
    const std::vector<UInt8> mAfter =
        ForkOf({ImageOf(kText, 7, "seven"), ImageOf(kText, 1, "new one"), ImageOf(kText, 2, "new two")});
    FSRef mFile = MakeFileOf("file", mBefore);
    std::string mPath = mFolder / "file";
};

// The offsets that were read with the map tell of other bytes now.
TEST_F(ChangedByOthersTest, DataIsNotReadFromOldPlaces) {
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

TEST_F(ChangedByOthersTest, WorkOfOthersIsNotWrittenOver) {
    const SInt16 refNum = Open(mFile);
    AddResource(NewText("three"), kText, 3, nullptr);
    ASSERT_EQ(noErr, ResError());
    WriteAsAnother(mAfter);
    const std::string contents = Contents(mPath);
    UpdateResFile(refNum);
    EXPECT_EQ(fBsyErr, ResError());
    CloseResFile(refNum);
    EXPECT_EQ(fBsyErr, ResError());
    EXPECT_EQ(contents, Contents(mPath));
}

TEST_F(ChangedByOthersTest, OwnChangesAreNoOthers) {
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
    EXPECT_EQ(fork.size(), Contents(mPath).size()) << "no longer than it has to be";
}

}  // namespace

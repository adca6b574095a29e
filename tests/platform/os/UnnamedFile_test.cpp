#include "os/UnnamedFile.h"

#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using namespace toolbox::os;
using support::FileWorld;
using Names = std::vector<std::string>;

class UnnamedFileTest : public support::FileWorldTest {
  protected:
    UnnamedFileTest() { EXPECT_EQ(0, OpenFile(mFolder.Path().c_str(), O_PATH | O_DIRECTORY, mOpened)); }
    ~UnnamedFileTest() override { CallsForTesting() = mSaved; }

    Descriptor mOpened;
    SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, UnnamedFileTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(UnnamedFileTest, IsThereWhenItHasItsName) {
    UnnamedFile file;
    ASSERT_EQ(0, file.Make(mOpened.Number()));
    ASSERT_EQ(0, WriteAll(file.Number(), "whole", 5));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "a"));
    ASSERT_EQ(0, file.GiveName("a"));
    EXPECT_EQ(Names{"a"}, FileWorld::NamesIn(mFolder.Path()));
    EXPECT_EQ("whole", FileWorld::Contents(mFolder / "a"));
    EXPECT_EQ(0600, FileWorld::StatusOf(mFolder / "a").stx_mode & 07777);
}

TEST_P(UnnamedFileTest, LeavesNothing) {
    const std::size_t descriptors = OpenDescriptorCount();
    {
        UnnamedFile file;
        ASSERT_EQ(0, file.Make(mOpened.Number()));
        const Names names = FileWorld::NamesIn(mFolder.Path());
        EXPECT_EQ(mFolder.Memory() == nullptr ? 0U : 1U, names.size())
            << "the kernel has files without names";
        for (const std::string& name : names)
            EXPECT_TRUE(name.starts_with("._.new-")) << name;
    }
    EXPECT_EQ(Names(), FileWorld::NamesIn(mFolder.Path()));
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST_P(UnnamedFileTest, TakesNobodysName) {
    mFolder.MakeFile("a", "old");
    {
        UnnamedFile file;
        ASSERT_EQ(0, file.Make(mOpened.Number()));
        EXPECT_EQ(EEXIST, file.GiveName("a"));
    }
    EXPECT_EQ(Names{"a"}, FileWorld::NamesIn(mFolder.Path()));
    EXPECT_EQ("old", FileWorld::Contents(mFolder / "a"));
}

TEST_P(UnnamedFileTest, WhereNoneCanBeMade) {
    mFolder.MakeFolder("closed");
    Descriptor closed;
    ASSERT_EQ(0, OpenFile((mFolder / "closed").c_str(), O_PATH | O_DIRECTORY, closed));
    FileWorld::Remove(mFolder / "closed", true);
    UnnamedFile file;
    EXPECT_EQ(ENOENT, file.Make(closed.Number()));
}

}  // namespace

#include "os/ShortPath.h"

#include "os/ItemStatus.h"
#include "os/SystemCalls.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>

namespace {

using namespace toolbox::os;
using support::FileWorld;

// "deep" has a file and, at the end of a chain of folders, another one: the names of all but the last make
// up a path that is longer than the system takes.
class ShortPathTest : public support::FileWorldTest {
  protected:
    static constexpr int kDepth = 70;
    ShortPathTest() {
        Descriptor folder;
        mFolder.MakeFolder("deep");
        EXPECT_EQ(0, OpenFile((mFolder / "deep").c_str(), O_PATH | O_DIRECTORY, folder));
        for (int i = 0; i < kDepth; ++i) {
            EXPECT_EQ(0, Calls().mkdirat(folder.Number(), mName.c_str(), 0700));
            Descriptor next;
            EXPECT_EQ(0, OpenFile(folder.Number(), mName.c_str(), O_PATH | O_DIRECTORY, next));
            folder = std::move(next);
        }
        EXPECT_EQ(0, GetDescriptorStatus(folder.Number(), mInnermost));
        mDescriptors = OpenDescriptorCount() - 1;
    }
    ~ShortPathTest() override {
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
        Descriptor folder;
        EXPECT_EQ(0, OpenFile((mFolder / "deep" + Way()).c_str(), O_PATH | O_DIRECTORY, folder));
        for (int i = 0; i < kDepth; ++i) {
            Descriptor above;
            EXPECT_EQ(0, OpenFile(folder.Number(), "..", O_PATH | O_DIRECTORY, above));
            folder = std::move(above);
            EXPECT_EQ(0, Calls().unlinkat(folder.Number(), mName.c_str(), AT_REMOVEDIR));
        }
    }
    // From "deep" to the innermost folder, with as many slashes before each name.
    std::string Way(std::size_t inSlashes = 1) const {
        std::string way;
        for (int i = 0; i < kDepth; ++i)
            way += std::string(inSlashes, '/') + mName;
        return way;
    }
    bool IsInnermost(const ItemStatus& inStatus) const {
        return inStatus.kind == ItemKind::kFolder && inStatus.identity.IsSameItem(mInnermost.identity);
    }

    const std::string mName = std::string(199, 'n');
    ItemStatus mInnermost;
    std::size_t mDescriptors = 0;
};
INSTANTIATE_TEST_SUITE_P(Worlds, ShortPathTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ShortPathTest, WhatIsShortStaysAsItWas) {
    const std::string path(PATH_MAX - 1, 'p');
    ShortPath kept;
    ASSERT_EQ(0, kept.Set(-7, path.c_str()));
    EXPECT_EQ(-7, kept.Folder());
    EXPECT_EQ(path.c_str(), kept.Path());
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
}

TEST_P(ShortPathTest, OneDescriptorHoweverLong) {
    const std::string path = mFolder / "deep" + Way();
    ASSERT_LT(3U * PATH_MAX, path.size());
    ShortPath kept;
    ASSERT_EQ(0, kept.Set(AT_FDCWD, path.c_str()));
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
    EXPECT_GT(std::size_t{PATH_MAX}, std::string(kept.Path()).size());
    ASSERT_EQ(0, kept.Set(AT_FDCWD, "short"));
    EXPECT_EQ(AT_FDCWD, kept.Folder());
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
}

TEST_P(ShortPathTest, WhatFindsByPathsFindsByLongOnes) {
    const std::string path = mFolder / "deep" + Way();
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus(path.c_str(), status));
    EXPECT_TRUE(IsInnermost(status));
    ASSERT_EQ(0, GetTargetStatus(path.c_str(), status));
    EXPECT_TRUE(IsInnermost(status));
    Descriptor folder;
    ASSERT_EQ(0, OpenFile(path.c_str(), O_PATH | O_DIRECTORY, folder));
    ASSERT_EQ(0, GetDescriptorStatus(folder.Number(), status));
    EXPECT_TRUE(IsInnermost(status));
    // From a folder that is given back opened as another.
    ASSERT_EQ(0, OpenFile((mFolder / "deep").c_str(), O_PATH | O_DIRECTORY, folder));
    ASSERT_EQ(0, OpenFile(folder.Number(), Way().substr(1).c_str(), O_PATH | O_DIRECTORY, folder));
    ASSERT_EQ(0, GetDescriptorStatus(folder.Number(), status));
    EXPECT_TRUE(IsInnermost(status));
}

// Wherever a piece ends: within slashes too, and at the end.
TEST_P(ShortPathTest, SlashesWhereverAPieceEnds) {
    ItemStatus status;
    for (std::size_t count = 1; count < 30; ++count) {
        ASSERT_EQ(0, GetPathStatus((mFolder / "deep" + Way(count)).c_str(), status)) << count;
        EXPECT_TRUE(IsInnermost(status)) << count;
    }
    for (std::size_t count = PATH_MAX - 300; count < PATH_MAX + 2; ++count) {
        const std::string slashes(count, '/');
        ASSERT_EQ(0, GetPathStatus((slashes + mFolder.Path() + "/deep" + slashes).c_str(), status)) << count;
        ASSERT_EQ(ItemKind::kFolder, status.kind);
        ASSERT_EQ(ENOTDIR, GetPathStatus((mFolder.MakeFile("file") + slashes).c_str(), status)) << count;
    }
}

TEST_P(ShortPathTest, LinksAreFollowedOnTheWayAlone) {
    (void)mFolder.MakeLink("deep", "link");
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus((mFolder / "link" + Way()).c_str(), status));
    EXPECT_TRUE(IsInnermost(status));
    const std::string dots = [] {
        std::string text;
        while (text.size() < PATH_MAX)
            text += "/.";
        return text;
    }();
    ASSERT_EQ(0, GetPathStatus((mFolder.Path() + dots + "/link").c_str(), status));
    EXPECT_EQ(ItemKind::kLink, status.kind);
    ASSERT_EQ(0, GetTargetStatus((mFolder.Path() + dots + "/link").c_str(), status));
    EXPECT_EQ(ItemKind::kFolder, status.kind);
}

TEST_P(ShortPathTest, WhatIsNotThere) {
    ItemStatus status;
    const std::string way = Way();
    EXPECT_EQ(ENOENT, GetPathStatus((mFolder / "deep" + way + "/none").c_str(), status));
    EXPECT_EQ(ENOENT, GetPathStatus((mFolder / "none" + way).c_str(), status));
    EXPECT_EQ(ENOTDIR, GetPathStatus((mFolder.MakeFile("file") + way).c_str(), status));
    EXPECT_EQ(ENAMETOOLONG, GetPathStatus(std::string(PATH_MAX, 'n').c_str(), status));
    EXPECT_EQ(ENAMETOOLONG, GetPathStatus((mFolder / std::string(PATH_MAX, 'n')).c_str(), status));
}

// But those that close, which nobody waits for.
TEST_P(ShortPathTest, EveryFailingCallIsAnswered) {
    const std::string path = mFolder / "deep" + Way();
    int failures = 0;
    for (int failing = 1;; ++failing) {
        ItemStatus status;
        const test_files::FailingCalls calls(failing, EIO);
        const int error = GetPathStatus(path.c_str(), status);
        if (!calls.Delivered()) break;
        failures += error == EIO ? 1 : 0;
        EXPECT_TRUE(error == EIO || (error == 0 && IsInnermost(status))) << failing;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount()) << failing;
    }
    EXPECT_EQ(4, failures) << "three pieces, and what is left";
}

}  // namespace

#include "catalogue/FolderWalk.h"

#include "Iterating.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::files::FolderWalk;
using toolbox::files::WalkedItem;
using toolbox::files::WalkKind;

class FolderWalkTest : public IteratingTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, FolderWalkTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FolderWalkTest, AnItemStaysUntilItIsPassed) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a");
    FolderWalk walk(WalkKind::kSubtree);
    ASSERT_EQ(noErr, walk.Open(mHere));
    WalkedItem item;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(noErr, walk.GetItem(item));
        EXPECT_EQ(mFolder / "sub", item.item.path);
        EXPECT_EQ("sub", walk.ItemPlace().name);
        walk.Park();
    }
    EXPECT_EQ(noErr, walk.GetItem(item));
    walk.Pass(true);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(noErr, walk.GetItem(item));
        EXPECT_EQ(mFolder / "sub/a", item.item.path);
        walk.Park();
    }
    EXPECT_EQ(noErr, walk.GetItem(item));
    walk.Pass(true);
    EXPECT_EQ(errFSNoMoreItems, walk.GetItem(item));
    EXPECT_FALSE(walk.HasChanged());
}

// What was not handed out is not entered.
TEST_P(FolderWalkTest, ARefusedFolderIsPassedWithAllThatIsInIt) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a");
    FolderWalk walk(WalkKind::kSubtree);
    ASSERT_EQ(noErr, walk.Open(mHere));
    WalkedItem item;
    EXPECT_EQ(noErr, walk.GetItem(item));
    walk.Pass(false);
    EXPECT_EQ(errFSNoMoreItems, walk.GetItem(item));
}

TEST_P(FolderWalkTest, WhetherThereIsACompanionIsKnownOnceTheFolderIsSettled) {
    MakeWithCompanion("", "a");
    mFolder.MakeFile("b");
    const auto without = [&] {
        Names names;
        FolderWalk walk(WalkKind::kFlat);
        EXPECT_EQ(noErr, walk.Open(mHere));
        WalkedItem item;
        for (; walk.GetItem(item) == noErr; walk.Pass(true)) {
            walk.LookAtFolder();
            EXPECT_EQ(noErr, walk.GetItem(item));
            if (item.hasNoCompanion) names.push_back(walk.ItemPlace().name);
        }
        return names;
    };
    LetTimePass();
    EXPECT_EQ(Names{"b"}, without());
    mFolder.MakeFile("c");
    EXPECT_EQ(Names{}, without()) << "what is made within this tick would not be noticed";
}

TEST_P(FolderWalkTest, Tree) {
    Names expected;
    for (const char* const folder : {"a", "a/b", "a/b/c", "d", "empty"}) {
        mFolder.MakeFolder(folder);
        expected.push_back(std::string(folder).substr(std::string(folder).rfind('/') + 1));
    }
    for (const char* const file : {"1", "a/2", "a/b/3", "a/b/c/4", "d/5"}) {
        mFolder.MakeFile(file, "");
        expected.push_back(std::string(file).substr(std::string(file).rfind('/') + 1));
    }
    mFolder.MakeLink(mFolder.Path(), "a/up");
    mFolder.MakeLink("loop", "d/loop");
    mFolder.MakeLink("../a", "d/across");
    mFolder.MakePipe("d/pipe");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "1", mFolder / "d/one"));
    expected.insert(expected.end(), {"up", "loop", "across", "pipe", "one"});
    std::sort(expected.begin(), expected.end());
    for (const ItemCount bulk : {1U, 2U, 100U}) {
        const Listing listing = ListAll(mHere, kFSIterateSubtree, bulk);
        EXPECT_EQ(expected, listing.Names()) << bulk;
        EXPECT_EQ(0U, listing.failures.size());
        EXPECT_FALSE(listing.hasChanged);
        // Each folder before what is in it.
        std::map<UInt32, bool> met = {{InfoOf(mFolder.Path(), kFSCatInfoNodeID).nodeID, true}};
        for (const ListedItem& item : listing.items) {
            FSCatalogInfo info = {};
            EXPECT_EQ(noErr,
                      FSGetCatalogInfo(&item.ref, kFSCatInfoParentDirID, &info, nullptr, nullptr, nullptr));
            EXPECT_TRUE(met[info.parentDirID]) << item.name;
            met[item.info.nodeID] = true;
        }
    }
    EXPECT_EQ((Names{"1", "a", "d", "empty"}), NamesHere());
}

// A folder of the tree is moved, or gone, while the iterator is within it.
TEST_P(FolderWalkTest, TheTreeChangesAboveTheIterator) {
    for (const bool isGone : {false, true}) {
        mFolder.MakeFolder("a/b/c");
        mFolder.MakeFolder("elsewhere");
        MakeFiles(5, "a/b/c/deep ");
        for (int i = 0; i < 20; ++i)  // before and after "c" in whatever order
            mFolder.MakeFile("a/b/" + std::to_string(i) + " mid", "");
        OpenedIterator iterator(RefOf(mFolder / "a"), kFSIterateSubtree);
        std::vector<std::string> names;
        while (names.empty() || names.back().substr(0, 4) != "deep") {
            names.push_back(iterator.Next());
            ASSERT_NE("status -1417", names.back());
        }
        FileWorld::Rename(mFolder / "a/b/c", mFolder / "elsewhere/c");
        if (isGone) FileWorld::RemoveAll(mFolder / "a/b");
        Boolean hasChanged = 0;
        for (std::string name = iterator.Next(&hasChanged); name != "status -1417";
             name = iterator.Next(&hasChanged)) {
            EXPECT_EQ(std::string::npos, name.find("status"));
            names.push_back(name);
        }
        EXPECT_TRUE(hasChanged);
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names.end(), std::adjacent_find(names.begin(), names.end()));
        EXPECT_EQ(5, std::count_if(names.begin(), names.end(),
                                   [](const std::string& inName) { return inName.starts_with("deep"); }));
        if (!isGone) {
            EXPECT_EQ(27U, names.size()) << "the way back is found by who the folder is";
        }
        FileWorld::RemoveAll(mFolder / "elsewhere");
        FileWorld::RemoveAll(mFolder / "a");
    }
}

// What the folder was in is by now in the folder.
TEST_P(FolderWalkTest, FoldersChangePlaces) {
    mFolder.MakeFolder("outer/inner");
    mFolder.MakeFile("outer/inner/name");
    OpenedIterator iterator(RefOf(mFolder / "outer/inner"));
    FileWorld::Rename(mFolder / "outer/inner", mFolder / "moved");
    FileWorld::Remove(mFolder / "moved/name");
    FileWorld::Rename(mFolder / "outer", mFolder / "moved/name");
    FSRef ref = {};
    EXPECT_EQ("name", iterator.Next(nullptr, &ref));
    EXPECT_EQ(mFolder / "moved/name", PathOf(ref));
    EXPECT_EQ("status -1417", iterator.Next());
}

// A folder that a link took the place of, or another folder, is not entered.
TEST_P(FolderWalkTest, ASwappedFolderIsNotEntered) {
    mFolder.MakeFolder("outside");
    mFolder.MakeFile("outside/precious");
    mFolder.MakeFolder("tree/sub");
    mFolder.MakeFile("tree/sub/inner");
    const FSRef tree = RefOf(mFolder / "tree");
    for (const bool isByLink : {true, false}) {
        OpenedIterator iterator(tree, kFSIterateSubtree);
        EXPECT_EQ("sub", iterator.Next());
        FileWorld::Rename(mFolder / "tree/sub", mFolder / "kept");
        if (isByLink)
            mFolder.MakeLink(mFolder / "outside", "tree/sub");
        else
            FileWorld::Rename(mFolder / "outside", mFolder / "tree/sub");
        EXPECT_EQ("status -1417", iterator.Next());
        if (isByLink)
            FileWorld::Remove(mFolder / "tree/sub");
        else
            FileWorld::Rename(mFolder / "tree/sub", mFolder / "outside");
        FileWorld::Rename(mFolder / "kept", mFolder / "tree/sub");
    }
}

// One descriptor is enough, and the paths may be longer than any that the system takes.
TEST_P(FolderWalkTest, ATreeOfThousandsOfLevels) {
    const int depth = GetParam() == FileWorld::kReal ? 10'000 : 1'000;  // in memory the kit tells whole paths
    const toolbox::os::SystemCalls& calls = toolbox::os::Calls();
    int folder = calls.openat(AT_FDCWD, mFolder.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
    for (int i = 0; i < depth; ++i) {
        const int file = calls.openat(folder, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_EQ(0, calls.close(file));
        ASSERT_EQ(0, calls.mkdirat(folder, "d", 0700));
        const int next = calls.openat(folder, "d", O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
        ASSERT_EQ(0, calls.close(folder));
        folder = next;
    }
    const std::size_t descriptors = OpenDescriptorCount();
    {
        OpenedIterator iterator(mHere, kFSIterateSubtree);
        std::map<std::string, int> counts;
        HFSUniStr255 names[100];
        FSCatalogInfo infos[100];
        for (OSErr status = noErr; status == noErr;) {
            ItemCount count = 0;
            Boolean hasChanged = 0;
            status = FSGetCatalogInfoBulk(iterator.Get(), 100, &count, &hasChanged,
                                          kFSCatInfoGettableInfo & ~UInt32{kFSCatInfoVolume}, infos, nullptr,
                                          nullptr, names);
            EXPECT_TRUE(status == noErr || status == errFSNoMoreItems) << status;
            EXPECT_FALSE(hasChanged);
            EXPECT_GE(descriptors + 1, OpenDescriptorCount());
            for (ItemCount i = 0; i < count; ++i)
                ++counts[TextOf(names[i])];
        }
        EXPECT_EQ((std::map<std::string, int>{{"d", depth}, {"file", depth}}), counts);
    }
    // From below, because nobody else's way of deleting it goes so deep.
    for (int i = 0; i < depth; ++i) {
        const int above = calls.openat(folder, "..", O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
        ASSERT_EQ(0, calls.close(folder));
        folder = above;
        ASSERT_EQ(0, calls.unlinkat(folder, "d", AT_REMOVEDIR));
        ASSERT_EQ(0, calls.unlinkat(folder, "file", 0));
    }
    ASSERT_EQ(0, calls.close(folder));
}

}  // namespace

#include "catalogue/FolderWalk.h"

#include "Iterating.h"
#include "catalogue/OpenIterators.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

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
// Where nobody finds it again.
TEST_P(FolderWalkTest, TheFolderIsMovedFarAway) {
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree}) {
        mFolder.MakeFolder("one/sub");
        mFolder.MakeFolder("two/three");
        mFolder.MakeFile("one/sub/a");
        mFolder.MakeFile("one/sub/b");
        OpenedIterator iterator(RefOf(mFolder / "one/sub"), flags);
        FileWorld::Rename(mFolder / "one/sub", mFolder / "two/three/other");
        FSCatalogInfo infos[3] = {};
        FSSpec specs[3] = {};
        ItemCount count = 0;
        EXPECT_EQ(errFSNoMoreItems, FSGetCatalogInfoBulk(iterator.Get(), 3, &count, nullptr, kFSCatInfoVolume,
                                                         infos, nullptr, specs, nullptr));
        EXPECT_EQ(2U, count);
        EXPECT_NE(0, infos[1].volume);
        EXPECT_EQ(infos[1].volume, specs[1].vRefNum);
        FileWorld::RemoveAll(mFolder / "two");
    }
}

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

// Whose paths are longer than any that the system takes, or will be before all is deleted.
class DeepTreeTest : public IteratingTest {
  protected:
    bool IsReal() const { return GetParam() == FileWorld::kReal; }
    // Deeper than a path may be long, and than iterators hold descriptors. In memory the kit tells whole
    // paths.
    const int mDepth = IsReal() ? 300 : 100;
    const std::string mName = IsReal() ? std::string(20, 'd') : std::string(100, 'd');

    DeepTreeTest() { MakeDeep(mDepth, mName); }

    // By an iterator for each folder, which are open all at once.
    struct OpenFolder {
        FSRef folder;
        std::unique_ptr<OpenedIterator> iterator;
    };
    static void Open(const FSRef& inFolder, std::vector<OpenFolder>& ioFolders) {
        ioFolders.push_back({inFolder, std::make_unique<OpenedIterator>(inFolder, kFSIterateDelete)});
        ASSERT_EQ(noErr, ioFolders.back().iterator->Status()) << ioFolders.size();
    }
    // One item of the innermost folder, or the folder itself once nothing is left in it.
    static OSErr DeleteNext(std::vector<OpenFolder>& ioFolders) {
        FSCatalogInfo info = {};
        FSRef item = {};
        ItemCount count = 0;
        const OSErr status = FSGetCatalogInfoBulk(ioFolders.back().iterator->Get(), 1, &count, nullptr,
                                                  kFSCatInfoNodeFlags, &info, &item, nullptr, nullptr);
        if (status == noErr && (info.nodeFlags & kFSNodeIsDirectoryMask) == 0) return FSDeleteObject(&item);
        if (status == noErr) Open(item, ioFolders);
        if (status != errFSNoMoreItems) return status;
        const FSRef folder = ioFolders.back().folder;
        ioFolders.pop_back();
        return ioFolders.empty() ? OSErr{noErr} : FSDeleteObject(&folder);
    }
    void DeleteAll() const {
        std::vector<OpenFolder> folders;
        Open(mHere, folders);
        while (!folders.empty()) {
            ASSERT_EQ(noErr, DeleteNext(folders)) << folders.size();
            if (folders.size() % 100 == 0) {
                ASSERT_GE(mDescriptors + toolbox::files::OpenIterators::kMaxHeld, OpenDescriptorCount());
            }
        }
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, DeepTreeTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(DeepTreeTest, OneIteratorNeedsOneDescriptor) {
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
            EXPECT_GE(mDescriptors + 1, OpenDescriptorCount());
            for (ItemCount i = 0; i < count; ++i)
                ++counts[TextOf(names[i])];
        }
        EXPECT_EQ((std::map<std::string, int>{{mName, mDepth}, {"file", mDepth}}), counts);
    }
    DeleteAll();
    EXPECT_EQ(Names{}, FileWorld::NamesIn(mFolder.Path()));
}

// All that is told of it, and its forks and name, by references: of a file, and of the folder beside it.
TEST_P(DeepTreeTest, TheInnermostItemsAreFoundAgain) {
    FSRef file = {};
    FSRef folder = {};
    {
        OpenedIterator iterator(mHere, kFSIterateSubtree);
        FSRef ref = {};
        for (std::string name = iterator.Next(nullptr, &ref); !name.starts_with("status");
             name = iterator.Next(nullptr, &ref))
            (name == "file" ? file : folder) = ref;
    }
    FileWorld::Rename(mFolder / mName, mFolder / "renamed");
    for (const FSRef& item : {folder, file}) {
        FSCatalogInfo info = {};
        FSRef parent = {};
        FSSpec spec = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&item, kFSCatInfoGettableInfo, &info, nullptr, &spec, &parent));
        EXPECT_EQ(info.parentDirID, static_cast<UInt32>(spec.parID));
        FSRef again = {};
        EXPECT_EQ(noErr, FSpMakeFSRef(&spec, &again));
        EXPECT_EQ(noErr, FSCompareFSRefs(&item, &again));
    }
    EXPECT_EQ(noErr, FSDeleteObject(&folder));
    EXPECT_EQ(fnfErr, FSDeleteObject(&folder));
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    DeleteAll();
}

}  // namespace

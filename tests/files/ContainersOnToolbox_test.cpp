// Whole folders, over the real toolbox.
#include "os/SystemCalls.h"
#include "platform/catalogue/ChangedStatus.h"
#include "platform/catalogue/ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <files/Containers.h>
#include <files/References.h>
#include <foundation/LException.h>
#include <gtest/gtest.h>
#include <toolbox/MacMemory.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

class ContainersOnToolbox : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ContainersOnToolbox() {
        mFolder.MakeFolder("precious");
        mFolder.MakeFile("precious/file", "what nobody may lose");
        mFolder.MakeFolder("tree");
    }
    ~ContainersOnToolbox() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    void ExpectPrecious() const { EXPECT_EQ("file=what nobody may lose, ", PictureOf(mFolder / "precious")); }
    // Folders in each other below the tree, with a file in the last; deeper than any path leads.
    void MakeDeep(const std::string& inFolder, ItemCount inDepth) const {
        const toolbox::os::SystemCalls& calls = toolbox::os::Calls();
        int folder =
            calls.openat(AT_FDCWD, (mFolder / inFolder).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
        for (ItemCount i = 0; i < inDepth; ++i) {
            ASSERT_EQ(0, calls.mkdirat(folder, "d", 0700)) << i;
            const int next = calls.openat(folder, "d", O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
            EXPECT_EQ(0, calls.close(folder));
            folder = next;
        }
        const int file = calls.openat(folder, "last", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_EQ(0, calls.close(file));
        EXPECT_EQ(0, calls.close(folder));
    }
    FSRef Tree() const { return RefOf(mFolder / "tree"); }

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, ContainersOnToolbox, support::BothWorlds(), support::NameOfWorld);

TEST_P(ContainersOnToolbox, LinksAreDeletedAndNotFollowed) {
    mFolder.MakeFolder("tree/sub");
    mFolder.MakeLink(mFolder / "precious", "tree/link");
    mFolder.MakeLink("../../precious", "tree/sub/link");
    mFolder.MakeLink(mFolder / "precious/file", "tree/sub/to file");
    mFolder.MakeLink("..", "tree/sub/up");
    mFolder.MakeLink("nowhere", "tree/sub/to nothing");
    mFolder.MakePipe("tree/sub/pipe");
    const FSRef tree = Tree();
    EXPECT_EQ(noErr, FSDeleteContainer(&tree));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "tree"));
    ExpectPrecious();
}

TEST_P(ContainersOnToolbox, OtherNamesOfFilesStay) {
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "precious/file", mFolder / "tree/name"));
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "precious/file", mFolder / "tree/another"));
    const FSRef tree = Tree();
    EXPECT_EQ(noErr, FSDeleteContainer(&tree));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "tree"));
    ExpectPrecious();
}

TEST_P(ContainersOnToolbox, LockedItemsAndCompanions) {
    mFolder.MakeFolder("tree/locked folder");
    MakeWithCompanion("tree/locked folder/", "forked");
    const FSRef forked = RefOf(mFolder / "tree/locked folder/forked");
    ASSERT_EQ(noErr, SetLock(forked, true));
    ASSERT_EQ(noErr, SetLock(RefOf(mFolder / "tree/locked folder"), true));
    const FSRef tree = Tree();
    ASSERT_EQ(noErr, SetLock(tree, true));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&forked));
    EXPECT_EQ(noErr, FSDeleteContainer(&tree));
    EXPECT_EQ((std::vector<std::string>{"precious"}), FileWorld::NamesIn(mFolder.Path()));
}

TEST_P(ContainersOnToolbox, ContentsAlone) {
    mFolder.MakeFolder("tree/sub");
    mFolder.MakeFile("tree/sub/file");
    const FSRef tree = Tree();
    EXPECT_EQ(noErr, FSDeleteContainerContents(&tree));
    EXPECT_EQ("", PictureOf(mFolder / "tree"));
    const FSRef file = RefOf(mFolder / "precious/file");
    EXPECT_EQ(dirNFErr, FSDeleteContainer(&file));
    EXPECT_EQ(errFSNotAFolder, FSDeleteContainerContents(&file));
    ExpectPrecious();
}

TEST_P(ContainersOnToolbox, WhatIsMountedStays) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    mFolder.MakeFolder("tree/sub/bind");
    mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "precious", mFolder / "tree/sub/bind"));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "volume"));
    mFolder.MakeFile("volume/file");
    const FSRef tree = Tree();
    EXPECT_EQ(fBsyErr, FSDeleteContainer(&tree));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "tree/sub/bind/file"));
    for (const char* const name : {"volume", "tree/sub/bind"}) {
        const FSRef root = RefOf(mFolder / name);
        EXPECT_EQ(fBsyErr, FSDeleteContainer(&root));
        EXPECT_EQ(fBsyErr, FSDeleteContainerContents(&root));
        EXPECT_TRUE(FileWorld::Exists(mFolder / name + "/file"));
    }
    ExpectPrecious();
    ASSERT_EQ(0, mFolder.Unmount(mFolder / "tree/sub/bind"));
    EXPECT_EQ(noErr, FSDeleteContainer(&tree));
    ExpectPrecious();
}

TEST_P(ContainersOnToolbox, WhatIsMountedStaysUnderAnOldKernel) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    mFolder.MakeFolder("tree/sub/bind");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "precious", mFolder / "tree/sub/bind"));
    {
        const OldKernel old;
        const FSRef tree = Tree();
        EXPECT_EQ(fBsyErr, FSDeleteContainer(&tree));
    }
    ExpectPrecious();
    ASSERT_EQ(0, mFolder.Unmount(mFolder / "tree/sub/bind"));
}

// Where a mistake costs nothing.
TEST_P(ContainersOnToolbox, RootOfAllPaths) {
    if (mFolder.Memory() == nullptr) return;
    const FSRef root = RefOf("/");
    EXPECT_EQ(fBsyErr, FSDeleteContainer(&root));
    EXPECT_EQ(fBsyErr, FSDeleteContainerContents(&root));
    ExpectPrecious();
}

TEST_P(ContainersOnToolbox, FoldersThatMayNotBeRead) {
    mFolder.MakeFolder("tree/closed");
    mFolder.MakeFile("tree/closed/file");
    FileWorld::SetMode(mFolder / "tree", 0777);
    FileWorld::SetMode(mFolder / "tree/closed", 0);
    {
        const FileWorld::OrdinaryUser user(mFolder);
        const FSRef tree = Tree();
        EXPECT_EQ(afpAccessDenied, FSDeleteContainer(&tree));
    }
    FileWorld::SetMode(mFolder / "tree/closed", 0700);
    EXPECT_EQ("closed(file=contents, ), ", PictureOf(mFolder / "tree"));
}

// Ten thousand levels where a file system in memory can be had: on disk each of them takes milliseconds. The
// kit's own tells whole paths.
TEST_P(ContainersOnToolbox, DeepFolders) {
    const bool isMounted = mFolder.Memory() == nullptr && mFolder.MayMount();
    const ItemCount depth = isMounted ? 10'000 : 300;
    mFolder.MakeFolder("volume");
    if (isMounted) {
        ASSERT_EQ(0, mFolder.MountVolume(mFolder / "volume"));
    }
    mFolder.MakeFolder("volume/tree");
    MakeDeep("volume/tree", depth);
    const FSRef tree = RefOf(mFolder / "volume/tree");
    static ItemCount sDeepest;
    sDeepest = 0;
    EXPECT_EQ(noErr, FSIterateContainer(
                         &tree, 0, kFSCatInfoNone, false, false,
                         [](Boolean, ItemCount inLevel, const FSCatalogInfo*, const FSRef*, const FSSpec*,
                            const HFSUniStr255*, void*) -> Boolean {
                             sDeepest = std::max(sDeepest, inLevel);
                             return false;
                         },
                         nullptr));
    EXPECT_EQ(depth + 1, sDeepest);
    EXPECT_EQ(noErr, FSDeleteContainer(&tree));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "volume/tree"));
}

// Nothing but what lies in the tree goes, whatever memory there is; and what it needs, it needs before
// anything is opened.
TEST_P(ContainersOnToolbox, EachAllocationFailing) {
    int refusals = 0;
    const int steps = support::FailEach<FailingNew>([&](const auto& inUnderFault) {
        mFolder.MakeFolder("tree/sub/inner");
        mFolder.MakeFile("tree/sub/file");
        const FSRef tree = Tree();
        FSDeleteContainerGlobals globals = {};
        inUnderFault([&] { FSDeleteContainerLevel(&tree, &globals); });
        EXPECT_TRUE(globals.result == noErr || globals.result == memFullErr) << globals.result;
        EXPECT_EQ(globals.result == noErr, PictureOf(mFolder / "tree").empty());
        refusals += globals.result == memFullErr ? 1 : 0;
        ExpectPrecious();
    });
    EXPECT_GT(steps, 5);
    EXPECT_GT(refusals, 3);
}

struct Met {
    std::vector<std::string> items;
    std::string last;
};

Boolean Note(Boolean, ItemCount inLevel, const FSCatalogInfo* inInfo, const FSRef* inItem,
             const FSSpec* inSpec, const HFSUniStr255* inName, void* ioMet) {
    Met& met = *static_cast<Met*>(ioMet);
    const std::string name(inName->unicode, inName->unicode + inName->length);
    EXPECT_EQ(name, NameOf(*inSpec));
    EXPECT_EQ(PathOf(*inItem).substr(PathOf(*inItem).rfind('/') + 1), name);
    const bool isFolder = (inInfo->nodeFlags & kFSNodeIsDirectoryMask) != 0;
    met.items.push_back(std::to_string(inLevel) + name + (isFolder ? "/" : ""));
    return name == met.last;
}

TEST_P(ContainersOnToolbox, FSIterateContainer) {
    mFolder.MakeFolder("tree/sub/inner");
    mFolder.MakeFile("tree/sub/inner/file");
    MakeWithCompanion("tree/", "a");
    mFolder.MakeLink(mFolder / "precious", "tree/link");
    const FSRef tree = Tree();
    const auto iterate = [&](ItemCount inLevels, const std::string& inLast) {
        Met met = {{}, inLast};
        EXPECT_EQ(noErr, FSIterateContainer(&tree, inLevels, kFSCatInfoNone, true, true, Note, &met));
        std::sort(met.items.begin(), met.items.end());
        return met.items;
    };
    using Items = std::vector<std::string>;
    EXPECT_EQ((Items{"1a", "1link", "1sub/", "2inner/", "3file"}), iterate(0, ""));
    EXPECT_EQ((Items{"1a", "1link", "1sub/", "2inner/"}), iterate(2, ""));
    EXPECT_EQ((Items{"1a", "1link", "1sub/"}), iterate(1, ""));
    const Items untilInner = iterate(0, "inner");
    EXPECT_EQ(0, std::count(untilInner.begin(), untilInner.end(), "3file"));
    const FSRef file = RefOf(mFolder / "tree/a");
    Met met;
    EXPECT_THROW((void)FSIterateContainer(&file, 0, kFSCatInfoNone, true, true, Note, &met), LException);
}

// What is mounted is met as its folder is, and can be told apart.
TEST_P(ContainersOnToolbox, FSIterateContainerWhereSomethingIsMounted) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    mFolder.MakeFolder("tree/volume");
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "tree/volume"));
    mFolder.MakeFile("tree/volume/file");
    mFolder.MakeFile("tree/file");
    const FSRef tree = Tree();
    std::set<SInt16> volumes;
    const auto note = [](Boolean, ItemCount, const FSCatalogInfo* inInfo, const FSRef*, const FSSpec*,
                         const HFSUniStr255*, void* ioVolumes) -> Boolean {
        static_cast<std::set<SInt16>*>(ioVolumes)->insert(inInfo->volume);
        return false;
    };
    EXPECT_EQ(noErr, FSIterateContainer(&tree, 0, kFSCatInfoVolume, false, false, note, &volumes));
    const FSRef inner = RefOf(mFolder / "tree/volume/file");
    SInt16 outerVolume = 0;
    SInt16 innerVolume = 0;
    EXPECT_EQ(noErr, FSGetVRefNum(&tree, &outerVolume));
    EXPECT_EQ(noErr, FSGetVRefNum(&inner, &innerVolume));
    EXPECT_NE(outerVolume, innerVolume);
    EXPECT_EQ((std::set<SInt16>{outerVolume, innerVolume}), volumes);
}

TEST_P(ContainersOnToolbox, FSGetDirectoryItems) {
    std::vector<std::string> paths;
    for (int i = 0; i < 25; ++i)
        paths.push_back(mFolder.MakeFile("tree/file " + std::to_string(i)));
    paths.push_back(mFolder.MakeFolder("tree/sub"));
    MakeWithCompanion("tree/sub/", "not listed");
    const FSRef tree = Tree();
    Handle items = nullptr;
    ItemCount count = 0;
    Boolean isChanged = true;
    ASSERT_EQ(noErr, FSGetDirectoryItems(&tree, &items, &count, &isChanged));
    EXPECT_FALSE(isChanged);
    ASSERT_EQ(26U, count);
    ASSERT_EQ(26 * 80, GetHandleSize(items));
    std::vector<std::string> listed;
    for (ItemCount i = 0; i < count; ++i)
        listed.push_back(PathOf(reinterpret_cast<const FSRef*>(*items)[i]));
    DisposeHandle(items);
    std::sort(paths.begin(), paths.end());
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(paths, listed);
    const FSRef file = RefOf(paths.front());
    EXPECT_EQ(errFSNotAFolder, FSGetDirectoryItems(&file, &items, &count, &isChanged));
    EXPECT_EQ(nullptr, items);
}

}  // namespace

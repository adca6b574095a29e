#include "catalogue/Catalogue.h"

#include "Refs.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

using support::FileWorld;
using test_files::FailingCalls;
using test_files::MakeRef;
using test_files::PathOf;
using toolbox::files::FoundItem;
using toolbox::files::OpenFolder;
using toolbox::files::Place;

class FindByPath : public support::FileWorldTest {};
class AtPlace : public support::FileWorldTest {
  protected:
    // The path at which the folder's item is found, or "status -43" for instance.
    std::string Find(const std::string& inFolderPath, const std::string& inName) {
        FoundItem folder;
        EXPECT_EQ(noErr, toolbox::files::FindByPath(inFolderPath.c_str(), folder));
        Place place;
        EXPECT_EQ(0, OpenFolder(folder.path, place));
        place.name = inName;
        const OSStatus status = FindAtPlace(folder, place, mFound);
        return status == noErr ? mFound.path : "status " + std::to_string(status);
    }

    FoundItem mFound;
};
INSTANTIATE_TEST_SUITE_P(Worlds, AtPlace, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, FindByPath, support::BothWorlds(), support::NameOfWorld);

// A name that goes away between the walk's steps is looked up again.
TEST_P(FindByPath, FolderMissingForAMoment) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    {
        const FailingCalls calls(2, ENOENT);
        EXPECT_EQ(noErr, MakeRef(path, &ref));
        EXPECT_TRUE(calls.Delivered());
    }
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FindByPath, FolderMissingWheneverItIsLookedAt) {
    const std::string path = mFolder.MakeFile("a");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int, const char*, int, unsigned, struct statx*) {
        errno = ENOENT;
        return -1;
    };
    FSRef ref;
    const OSStatus status = MakeRef(path, &ref);
    toolbox::os::CallsForTesting() = real;
    EXPECT_EQ(dirNFErr, status);
}

// Another program's doing between the steps of a walk: the folder is moved and a link left in its place.
std::string sMovedFolder;
FileWorld* sWorld = nullptr;
char* (*sWorldRealPath)(const char*, char*) = nullptr;
TEST_P(FindByPath, LinkTakesAFoldersPlaceMeanwhile) {
    sMovedFolder = mFolder.MakeFolder("sub");
    sWorld = &mFolder;
    sWorldRealPath = toolbox::os::Calls().realpath;
    const std::string path = mFolder.MakeFile("sub/a");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().realpath = [](const char* inPath, char* outBuffer) {
        char* const canonical = sWorldRealPath(inPath, outBuffer);
        if (!FileWorld::Exists(sMovedFolder + " moved")) {
            FileWorld::Rename(sMovedFolder, sMovedFolder + " moved");
            sWorld->MakeLink("sub moved", "sub");
        }
        return canonical;
    };
    FSRef ref;
    const OSStatus status = MakeRef(path, &ref);
    toolbox::os::CallsForTesting() = real;
    ASSERT_EQ(noErr, status);
    EXPECT_EQ(mFolder / "sub moved/a", PathOf(ref));
}

TEST_P(AtPlace, ItemIsFoundAsByItsPath) {
    const std::string folder = mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    EXPECT_EQ(path, Find(folder, "a"));
    FoundItem byPath;
    ASSERT_EQ(noErr, toolbox::files::FindByPath(path.c_str(), byPath));
    EXPECT_EQ(byPath.facts.nodeID, mFound.facts.nodeID);
    EXPECT_TRUE(byPath.status.identity.IsSameItem(mFound.status.identity));
    EXPECT_EQ("status -43", Find(folder, "none"));
    EXPECT_EQ('/' + path.substr(1, path.find('/', 1) - 1), Find("/", path.substr(1, path.find('/', 1) - 1)));
}

TEST_P(AtPlace, LinksAreItems) {
    mFolder.MakeFile("a");
    for (const char* name : {"link", "dangling"}) {
        const std::string path = mFolder.MakeLink(name == std::string("link") ? "a" : "none", name);
        EXPECT_EQ(path, Find(mFolder.Path(), name));
        EXPECT_EQ(toolbox::os::ItemKind::kLink, mFound.status.kind);
        const FSRef ref = toolbox::files::MakeRef(mFound);
        EXPECT_EQ(path, PathOf(ref));
        mFolder.Rename(path, path + " renamed");
        EXPECT_EQ(path + " renamed", PathOf(ref));
    }
}

TEST_P(AtPlace, LinkInAFolderThatHasNoNodeYet) {
    const std::string path = mFolder.MakeLink("none", "link");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    place.folderStatus.identity.inode += 1'000'000'000;
    FoundItem folder, item;
    ASSERT_EQ(noErr, toolbox::files::FindByPath(mFolder.Path().c_str(), folder));
    ASSERT_EQ(noErr, FindAtPlace(folder, place, item));
    EXPECT_EQ(path, item.path);
    EXPECT_EQ(path, PathOf(toolbox::files::MakeRef(item)));
}

// The one link that is followed.
TEST_P(AtPlace, DescriptorsPath) {
    const std::string path = mFolder.MakeFile("a");
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(path.c_str(), O_RDONLY, file));
    EXPECT_EQ(path, Find("/proc/self/fd", std::to_string(file.Number())));
}

// What is known of a folder's path may be old by the time that its item is looked up.
TEST_P(AtPlace, FolderThatHasNoNodeYet) {
    const std::string path = mFolder.MakeFile("a");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    place.folderStatus.identity.inode += 1'000'000'000;
    FoundItem folder, item;
    ASSERT_EQ(noErr, toolbox::files::FindByPath(mFolder.Path().c_str(), folder));
    ASSERT_EQ(noErr, FindAtPlace(folder, place, item));
    EXPECT_EQ(path, item.path);
    EXPECT_NE(0U, item.facts.nodeID);
}

TEST_P(AtPlace, OfAFoundItem) {
    const std::string path = mFolder.MakeFile("a");
    FoundItem item, root;
    ASSERT_EQ(noErr, toolbox::files::FindByPath(path.c_str(), item));
    ASSERT_EQ(noErr, toolbox::files::FindByPath("/", root));
    Place place;
    EXPECT_EQ(noErr, OpenPlace(item, place));
    EXPECT_EQ("a", place.name);
    EXPECT_EQ(noErr, OpenPlace(root, place));
    EXPECT_EQ("", place.name);
    mFolder.Rename(path, mFolder / "b");
    EXPECT_EQ(fnfErr, OpenPlace(item, place)) << "gone";
    mFolder.MakeFile("a");
    EXPECT_EQ(fnfErr, OpenPlace(item, place)) << "another's by now";
}

#ifndef NDEBUG

TEST(AtPlaceDeathTest, OfWhatIsNoFolder) {
    FoundItem folder, file, item;
    ASSERT_EQ(noErr, toolbox::files::FindByPath("/", folder));
    ASSERT_EQ(noErr, toolbox::files::FindByPath("/proc/self/exe", file));
    Place place;
    EXPECT_DEATH(static_cast<void>(FindAtPlace(folder, place, item)), "IsOpen")
        << "nor is its place held open";
    ASSERT_EQ(0, OpenFolder("/", place));
    EXPECT_DEATH(static_cast<void>(FindAtPlace(file, place, item)), "kFolder");
}

#endif

}  // namespace

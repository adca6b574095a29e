#include "places/Place.h"

#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::FailingCalls;

class PlaceTest : public support::FileWorldTest {
  protected:
    // What the folder's walk gives, each with a blank behind it.
    static std::string Names(Place& ioPlace) {
        std::set<std::string> names;
        EXPECT_EQ(ENOENT, FindName(ioPlace, [&](const struct dirent& inEntry) {
                      EXPECT_EQ(inEntry.d_name, ioPlace.name);
                      names.insert(ioPlace.name);
                      return ENOENT;
                  }));
        std::string text;
        for (const std::string& name : names)
            text += name + ' ';
        return text;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, PlaceTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(PlaceTest, OfAnItem) {
    const std::string path = mFolder.MakeFile("a", "12345");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    EXPECT_EQ("a", place.name);
    ItemStatus folder, item, byPath;
    ASSERT_EQ(0, GetPathStatus(mFolder.Path().c_str(), folder));
    EXPECT_TRUE(place.folderStatus.identity.IsSameItem(folder.identity));
    ASSERT_EQ(0, GetStatus(place, item));
    ASSERT_EQ(0, GetPathStatus(path.c_str(), byPath));
    EXPECT_TRUE(item.identity.IsSameItem(byPath.identity));
    EXPECT_EQ(5, item.sizeBytes);
}

TEST_P(PlaceTest, ItemNeedNotBeThere) {
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "none", place));
    ItemStatus status;
    EXPECT_EQ(ENOENT, GetStatus(place, status));
    EXPECT_EQ(ENOENT, OpenPlaceOf(mFolder / "none/below", place));
    mFolder.MakeFile("file");
    EXPECT_EQ(ENOTDIR, OpenPlaceOf(mFolder / "file/below", place));
    EXPECT_EQ(ENOTDIR, OpenFolder(mFolder / "file", place));
}

TEST_P(PlaceTest, RootFolderHasNoName) {
    Place place;
    ASSERT_EQ(0, OpenPlaceOf("/", place));
    EXPECT_EQ("", place.name);
}

TEST_P(PlaceTest, StaysInItsFolderWhateverIsRenamed) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "mine");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "sub/a", place));
    mFolder.Rename(mFolder / "sub", mFolder / "moved");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "another's");
    ItemStatus status;
    ASSERT_EQ(0, GetStatus(place, status));
    EXPECT_EQ(4, status.sizeBytes);
    Descriptor file;
    ASSERT_EQ(0, OpenFileAt(place, O_RDONLY, file));
    std::string contents;
    EXPECT_EQ(0, ReadFromStart(file.Number(), 100, contents));
    EXPECT_EQ("mine", contents);
}

TEST_P(PlaceTest, LinksAreNotFollowed) {
    mFolder.MakeFile("a");
    mFolder.MakeLink("a", "link");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "link", place));
    ItemStatus status;
    ASSERT_EQ(0, GetStatus(place, status));
    EXPECT_EQ(ItemKind::kLink, status.kind);
    Descriptor file;
    EXPECT_EQ(ELOOP, OpenFileAt(place, O_RDONLY, file));
}

TEST_P(PlaceTest, WalkGivesEveryName) {
    mFolder.MakeFile("a");
    mFolder.MakeFile("._a");
    mFolder.MakeFolder("sub");
    Place place;
    ASSERT_EQ(0, OpenFolder(mFolder.Path(), place));
    EXPECT_EQ("._a a sub ", Names(place));
    EXPECT_EQ("._a a sub ", Names(place)) << "from the start again";
}

TEST_P(PlaceTest, WalkEndsWithWhatIsWanted) {
    for (const char* name : {"a", "b", "c", "d"})
        mFolder.MakeFile(name);
    Place place;
    ASSERT_EQ(0, OpenFolder(mFolder.Path(), place));
    const auto isB = [&](const struct dirent&) { return place.name == "b" ? 0 : ENOENT; };
    EXPECT_EQ(0, FindName(place, isB));
    EXPECT_EQ("b", place.name);
    int count = 0;
    EXPECT_EQ(EXDEV, FindName(place, [&](const struct dirent&) { return ++count == 2 ? EXDEV : ENOENT; }));
    EXPECT_EQ(2, count) << "an error ends it";
}

TEST_P(PlaceTest, EveryFailingCallIsTold) {
    const std::string path = mFolder.MakeFile("a");
    const std::size_t descriptors = mFolder.OpenDescriptorCount();
    const auto body = [&](const auto& inUnderFault) {
        int error = 0;
        const bool failed = inUnderFault([&] {
            Place place;
            error = OpenPlaceOf(path, place);
            if (error == 0)
                error = FindName(place, [&](const struct dirent&) { return place.name == "a" ? 0 : ENOENT; });
        });
        EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount());
        EXPECT_TRUE(error == 0 || (failed && error == EIO)) << "only closing fails without harm";
    };
    EXPECT_GT(support::FailEach<FailingCalls>(body, EIO), 5);
}

TEST(IsVolumeRoot, IsAFolderOfAnotherVolume) {
    Place place;
    place.folderStatus.mount = 7;
    place.folderStatus.identity.device = 1;
    ItemStatus item = place.folderStatus;
    item.kind = ItemKind::kFolder;
    EXPECT_FALSE(IsVolumeRoot(place, item));
    item.mount = 8;
    EXPECT_TRUE(IsVolumeRoot(place, item));
    item.kind = ItemKind::kFile;
    EXPECT_FALSE(IsVolumeRoot(place, item));
    item = place.folderStatus;
    item.kind = ItemKind::kFolder;
    item.identity.device = 2;
    EXPECT_TRUE(IsVolumeRoot(place, item));
}

}  // namespace

#include "CatalogTest.h"
#include "companions/Companions.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/FileSpecs.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using namespace test_files;

class FileSpecsTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    // Both volume and folder of the test's own folder.
    OSErr Make(std::string_view inName, FSSpec& outSpec) const {
        const FSSpec here = Here("");
        return FSMakeFSSpec(here.vRefNum, here.parID, PascalName(inName), &outSpec);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileSpecsTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileSpecsTest, ThereAndBack) {
    const std::string names[] = {"plain.txt", "caf\xC3\xA9", "\xF0\x9F\x98\x80",  "a b",
                                 "x:y",       "#1A",         std::string(31, 'n')};
    for (const std::string& name : names) {
        const std::string path = mFolder.MakeFile(name);
        const FSSpec spec = SpecOf(path);
        EXPECT_EQ(path, PathOfSpec(spec));
        EXPECT_EQ(+Here("").parID, +spec.parID);
        EXPECT_EQ(Here("").vRefNum, spec.vRefNum);
        EXPECT_LT(spec.vRefNum, 0);
    }
    EXPECT_EQ("x/y", NameOf(SpecOf(mFolder / "x:y")));
}

TEST_P(FileSpecsTest, NamesThatDoNotFit) {
    const std::string names[] = {std::string(32, 'n'),
                                 std::string(200, 'n') + ".jpeg",
                                 std::string(200, 'n') + ".html",
                                 std::string(200, 'n') + ".c#",
                                 std::string(80, 'n') + "\xC3\xA9" + std::string(80, 'n'),
                                 "not\xFF" + std::string(1, '\xFE') + "utf-8"};
    for (const std::string& name : names) {
        const std::string path = mFolder.MakeFile(name);
        const FSSpec spec = SpecOf(path);
        EXPECT_LE(spec.name[0], 31);
        EXPECT_EQ(path, PathOfSpec(spec));
        FSSpec again = {};
        EXPECT_EQ(noErr, FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &again));
        EXPECT_EQ(0, std::memcmp(&spec, &again, sizeof spec));
    }
}

TEST_P(FileSpecsTest, ANodesNameIsGoodWhileTheItemIsThere) {
    const std::string path = mFolder.MakeFile(std::string(40, 'n') + ".txt");
    const FSSpec spec = SpecOf(path);
    mFolder.Rename(path, mFolder / (std::string(41, 'n') + ".txt"));
    EXPECT_EQ(mFolder / (std::string(41, 'n') + ".txt"), PathOfSpec(spec)) << "begins and ends as before";
    const std::string folder = mFolder.MakeFolder("folder");
    mFolder.Rename(mFolder / (std::string(41, 'n') + ".txt"), folder + "/" + std::string(41, 'n') + ".txt");
    EXPECT_EQ("status -43", PathOfSpec(spec)) << "moved";
    FSSpec other = spec;
    ++other.name[other.name[0] - 4];  // another node
    EXPECT_EQ("status -43", PathOfSpec(other));
}

TEST_P(FileSpecsTest, SearchWithoutRegardToCaseAndForm) {
    const std::string path = mFolder.MakeFile("Caf\xC3\xA9.TXT");
    EXPECT_EQ(path, PathOfSpec(Here("cAFE\xCC\x81.txt")));
    const std::string exact = mFolder.MakeFile("caf\xC3\xA9.txt");
    EXPECT_EQ(exact, PathOfSpec(Here("caf\xC3\xA9.txt"))) << "the exact one first";
    FSSpec spec = {};
    EXPECT_EQ(noErr, Make("CAFE\xCC\x81.TXT", spec));
    EXPECT_TRUE(NameOf(spec) == "Caf\xC3\xA9.TXT" || NameOf(spec) == "caf\xC3\xA9.txt") << "as on disk";
}

TEST_P(FileSpecsTest, CompanionsHaveNoSimilarNames) {
    toolbox::files::Place place;
    ASSERT_EQ(0, toolbox::files::OpenPlaceOf(mFolder.MakeFile("Song"), place));
    ASSERT_EQ(0, toolbox::files::ReplaceEntry(place, 4, {'x'}));
    EXPECT_EQ("status -43", PathOfSpec(Here("._SONG")));
    EXPECT_EQ(mFolder / "._Song", PathOfSpec(Here("._Song"))) << "as it is, it is found";
    mFolder.Remove(mFolder / "Song");
    EXPECT_EQ(mFolder / "._Song", PathOfSpec(Here("._SONG"))) << "an item of its own by now";
}

// However deep the folder lies: the volume, the folder held open, the item in it.
TEST_P(FileSpecsTest, CallsForAnItemOfAFolder) {
    mFolder.MakeFolder("1/2/3/4/5/6/7/8/9/10");
    const FSSpec spec = SpecOf(mFolder.MakeFile("1/2/3/4/5/6/7/8/9/10/file"));
    FSRef ref = {};
    const CountedCalls calls;
    EXPECT_EQ(noErr, FSpMakeFSRef(&spec, &ref));
    EXPECT_EQ("openat 1, close 1, statx 3", calls.Made());
}

// No more: the volume is the one that was looked at.
TEST_P(FileSpecsTest, CallsForASpecification) {
    mFolder.MakeFolder("1/2/3/4");
    const FSSpec spec = SpecOf(mFolder.MakeFile("1/2/3/4/file"));
    for (const bool isFolder : {false, true}) {
        FSSpec again = {};
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSMakeFSSpec(spec.vRefNum, spec.parID, isFolder ? nullptr : spec.name, &again));
        EXPECT_EQ(isFolder ? "statx 2" : "openat 1, close 1, statx 3", calls.Made());
        EXPECT_EQ(+spec.vRefNum, +again.vRefNum);
    }
}

// An item that something is mounted upon is on another volume than its folder.
TEST_P(FileSpecsTest, AnItemOfAnotherVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "volumes cannot be mounted here";
    const FSSpec spec = SpecOf(mFolder.MakeFolder("volume"));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "volume"));
    FSSpec mounted = {};
    EXPECT_EQ(noErr, FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &mounted));
    EXPECT_NE(+spec.vRefNum, +mounted.vRefNum);
    EXPECT_EQ(fsRtParID, +mounted.parID);
    EXPECT_EQ(mFolder / "volume", PathOfSpec(mounted));
    EXPECT_EQ(0, mFolder.Unmount(mFolder / "volume"));
}

// Another program's doing between finding a folder and looking into it.
std::string sReplaced[2];
int sReplacements;
toolbox::os::SystemCalls sReal;
TEST_P(FileSpecsTest, AnotherFolderTakesThePlaceMeanwhile) {
    for (const bool isForEver : {false, true}) {
        sReplaced[0] = mFolder.MakeFolder("sub");
        sReplaced[1] = mFolder.MakeFolder("another");
        const FSSpec spec = SpecOf(mFolder.MakeFile("sub/file"));
        mFolder.MakeFile("another/file");
        sReplacements = isForEver ? 100 : 1;
        sReal = toolbox::os::Calls();
        toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags,
                                                   mode_t inMode) {
            if ((sReplaced[0] == inPath || sReplaced[1] == inPath) && sReplacements-- > 0) {
                EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, sReplaced[0].c_str(), AT_FDCWD, sReplaced[1].c_str(),
                                             RENAME_EXCHANGE));
            }
            return sReal.openat(inFolder, inPath, inFlags, inMode);
        };
        FSRef ref = {};
        const OSErr error = FSpMakeFSRef(&spec, &ref);
        toolbox::os::CallsForTesting() = sReal;
        EXPECT_EQ(isForEver ? dirNFErr : noErr, error);
        const std::string path = PathOfSpec(spec);
        EXPECT_TRUE(path == mFolder / "another/file" || path == mFolder / "sub/file") << path;
        if (!isForEver) {
            EXPECT_EQ(mFolder / "another/file", path);
            EXPECT_EQ(path, PathOf(ref));
        }
        support::FileWorld::RemoveAll(mFolder / "sub");
        support::FileWorld::RemoveAll(mFolder / "another");
    }
}

// A link that leads to the folder from its old place is not the way to it.
TEST_P(FileSpecsTest, ALinkInTheFoldersPlace) {
    mFolder.MakeFolder("sub");
    const FSSpec spec = SpecOf(mFolder.MakeFile("sub/file"));
    mFolder.Rename(mFolder / "sub", mFolder / "moved");
    mFolder.MakeLink("moved", "sub");
    EXPECT_EQ(mFolder / "moved/file", PathOfSpec(spec));
}

TEST_P(FileSpecsTest, FoldersThatChangedPlacesMeanwhile) {
    const std::string outer = mFolder.MakeFolder("x");
    const std::string inner = mFolder.MakeFolder("x/y");
    const FSCatalogInfo innerInfo = InfoOf(inner, kFSCatInfoNodeID | kFSCatInfoVolume);
    mFolder.Rename(inner, mFolder / "y");
    EXPECT_EQ(mFolder / "y", PathOf(RefOf(mFolder / "y")));
    mFolder.Rename(outer, mFolder / "y/x");
    FSSpec spec = {innerInfo.volume, static_cast<SInt32>(innerInfo.nodeID), "\1x"};
    EXPECT_EQ(mFolder / "y/x", PathOfSpec(spec));
    mFolder.Rename(mFolder / "y/x", mFolder / "x");
    mFolder.Rename(mFolder / "y", mFolder / "x/y");
    const FSCatalogInfo outerInfo = InfoOf(mFolder / "x", kFSCatInfoNodeID);
    spec = {innerInfo.volume, static_cast<SInt32>(outerInfo.nodeID), "\1y"};
    EXPECT_EQ(mFolder / "x/y", PathOfSpec(spec));
}

TEST_P(FileSpecsTest, Folders) {
    const std::string path = mFolder.MakeFolder("folder");
    EXPECT_EQ("folder", NameOf(SpecOf(path)));
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoNodeID | kFSCatInfoVolume);
    const FSSpec byID = {info.volume, static_cast<SInt32>(info.nodeID), {}};
    EXPECT_EQ(path, PathOfSpec(byID));
    FSSpec spec = {};
    EXPECT_EQ(noErr, FSMakeFSSpec(info.volume, byID.parID, nullptr, &spec));
    EXPECT_EQ("folder", NameOf(spec));
    EXPECT_EQ(+Here("").parID, +spec.parID);
}

// As a stick is mounted whose name nobody chose.
TEST_P(FileSpecsTest, VolumesOfLongNames) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    const std::string path = mFolder.MakeFolder("0d1f2a3b-4444-5555-6666-778899aabbcc");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    const FSSpec spec = SpecOf(path);
    EXPECT_EQ(fsRtParID, +spec.parID);
    EXPECT_EQ("#2", NameOf(spec).substr(29));
    EXPECT_EQ(path, PathOfSpec(spec));
    FSSpec same = {};
    EXPECT_EQ(noErr, FSMakeFSSpec(spec.vRefNum, fsRtParID, spec.name, &same));
    EXPECT_EQ(0, std::memcmp(&spec, &same, sizeof spec));
    FSSpec other = spec;
    ++other.name[1];
    EXPECT_EQ(fnfErr, FSMakeFSSpec(spec.vRefNum, fsRtParID, other.name, &same));
}

TEST_P(FileSpecsTest, RootFolder) {
    const FSSpec root = SpecOf("/");
    EXPECT_EQ(fsRtParID, +root.parID);
    EXPECT_EQ("/", NameOf(root));
    EXPECT_EQ("/", PathOfSpec(root));
    EXPECT_EQ("/", PathOfSpec({0, fsRtDirID, {}})) << "volume 0 is the first one";
    EXPECT_EQ("/", PathOfSpec({root.vRefNum, 0, {}}));
    const FSSpec wrongName = {root.vRefNum, fsRtParID, "\3usr"};
    EXPECT_EQ("status -43", PathOfSpec(wrongName));
    const FSSpec noName = {root.vRefNum, fsRtParID, {}};
    EXPECT_EQ("status -120", PathOfSpec(noName));
    FSSpec spec = {};
    EXPECT_EQ(noErr, FSMakeFSSpec(0, fsRtDirID, nullptr, &spec));
    EXPECT_EQ(0, std::memcmp(&root, &spec, sizeof spec));
    EXPECT_EQ(noErr, FSMakeFSSpec(root.vRefNum, fsRtParID, root.name, &spec));
    EXPECT_EQ(fnfErr, FSMakeFSSpec(root.vRefNum, fsRtParID, wrongName.name, &spec));
}

TEST_P(FileSpecsTest, ItemThatMayBeMade) {
    FSSpec spec = {};
    EXPECT_EQ(fnfErr, Make("new", spec));
    EXPECT_EQ("new", NameOf(spec));
    EXPECT_EQ(+Here("").parID, +spec.parID);
    EXPECT_EQ(Here("").vRefNum, spec.vRefNum);
    EXPECT_EQ("status -43", PathOfSpec(spec));
    mFolder.MakeFile("new");
    EXPECT_EQ(mFolder / "new", PathOfSpec(spec));
}

TEST_P(FileSpecsTest, ZeroBecomesWhatItMeans) {
    const FSSpec root = SpecOf("/");
    FSSpec spec = {};
    EXPECT_EQ(fnfErr, FSMakeFSSpec(root.vRefNum, 0, PascalName("no such item here"), &spec));
    EXPECT_EQ(fsRtDirID, +spec.parID);
    EXPECT_EQ(fnfErr, FSMakeFSSpec(0, fsRtDirID, PascalName("no such item here"), &spec));
    EXPECT_EQ(root.vRefNum, spec.vRefNum);
}

TEST_P(FileSpecsTest, NoVolumeOrFolder) {
    const FSSpec here = Here("");
    FSSpec spec = {7, 7, "\1x"};
    const FSSpec untouched = spec;
    EXPECT_EQ(nsvErr, FSMakeFSSpec(-30000, here.parID, PascalName("n"), &spec));
    EXPECT_EQ(nsvErr, FSMakeFSSpec(1, here.parID, PascalName("n"), &spec));
    EXPECT_EQ(dirNFErr, FSMakeFSSpec(here.vRefNum, 15, PascalName("n"), &spec));
    const std::string file = mFolder.MakeFile("file");
    const auto fileID = static_cast<SInt32>(InfoOf(file, kFSCatInfoNodeID).nodeID);
    EXPECT_EQ(dirNFErr, FSMakeFSSpec(here.vRefNum, fileID, PascalName("n"), &spec)) << "no folder";
    const std::string folder = mFolder.MakeFolder("folder");
    const auto folderID = static_cast<SInt32>(InfoOf(folder, kFSCatInfoNodeID).nodeID);
    mFolder.Remove(folder, true);
    EXPECT_EQ(dirNFErr, FSMakeFSSpec(here.vRefNum, folderID, PascalName("n"), &spec)) << "gone";
    EXPECT_EQ(0, std::memcmp(&untouched, &spec, sizeof spec));
}

TEST_P(FileSpecsTest, BadNames) {
    FSSpec spec = {7, 7, "\1x"};
    const FSSpec untouched = spec;
    const std::string names[] = {std::string(32, 'n'),
                                 std::string(63, 'n'),
                                 std::string(255, 'n'),
                                 ".",
                                 "..",
                                 std::string("a\0b", 3),
                                 std::string("\xFF"),
                                 "a\xC3"};
    for (const std::string& name : names)
        EXPECT_EQ(bdNamErr, Make(name, spec)) << name;
    EXPECT_EQ(0, std::memcmp(&untouched, &spec, sizeof spec));
    FSSpec tooLong = Here(std::string(32, 'n'));
    EXPECT_EQ("status -37", PathOfSpec(tooLong));
    tooLong.name[0] = 255;
    EXPECT_EQ("status -37", PathOfSpec(tooLong)) << "more than the record holds";
    EXPECT_EQ(fnfErr, Make("a:b", spec)) << "a name with \"/\" on disk cannot be, one with \":\" can";
}

TEST_P(FileSpecsTest, Links) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.MakeLink(path, "link");
    mFolder.MakeLink(mFolder / "none", "Dangling");
    EXPECT_EQ(mFolder / "link", PathOfSpec(Here("link")));
    EXPECT_EQ(mFolder / "Dangling", PathOfSpec(Here("dangling"))) << "by a similar name, too";
    FSSpec spec = {};
    EXPECT_EQ(noErr, Make("link", spec));
    EXPECT_EQ("link", NameOf(spec));
    EXPECT_EQ(noErr, Make("dangling", spec));
    EXPECT_EQ("Dangling", NameOf(spec));
    const std::string longName = std::string(40, 'n') + ".txt";
    const std::string longLink = mFolder.MakeLink(path, longName);
    FSRef ref = {};
    EXPECT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(longLink.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &ref, nullptr));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
    EXPECT_EQ(longLink, PathOfSpec(spec));
}

TEST_P(FileSpecsTest, NullArguments) {
    FSRef ref = {};
    const FSSpec spec = Here("");
    EXPECT_EQ(paramErr, FSpMakeFSRef(nullptr, &ref));
    EXPECT_EQ(paramErr, FSpMakeFSRef(&spec, nullptr));
    EXPECT_EQ(paramErr, FSMakeFSSpec(0, 0, nullptr, nullptr));
}

TEST_P(FileSpecsTest, EveryCallFails) {
    const std::string name = std::string(40, 'n') + ".txt";
    const FSSpec spec = SpecOf(mFolder.MakeFile(name));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        FSRef ref = {};
        FSSpec again = {};
        OSErr refError = noErr;
        OSErr specError = noErr;
        bool delivered = false;
        {
            const FailingCalls failure(failing, EIO, FailingCalls::kForever);
            refError = FSpMakeFSRef(&spec, &ref);
            specError = FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &again);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        // A folder that does not answer after a name was not found in it counts as missing.
        EXPECT_TRUE(refError == noErr || refError == ioErr || refError == dirNFErr)
            << failing << ": " << refError;
        if (!delivered) {
            EXPECT_EQ(noErr, refError);
            EXPECT_EQ(noErr, specError);
            break;
        }
    }
}

TEST_P(FileSpecsTest, MemoryFails) {
    const FSSpec spec = SpecOf(mFolder.MakeFile(std::string(40, 'n') + ".txt"));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        FSRef ref = {};
        FSSpec again = {7, 7, "\1x"};
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = FSpMakeFSRef(&spec, &ref);
            if (error == noErr) error = FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &again);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        EXPECT_EQ(delivered ? 7 : spec.vRefNum, again.vRefNum) << failing << ": untouched on failure";
        if (!delivered) break;
    }
}

}  // namespace

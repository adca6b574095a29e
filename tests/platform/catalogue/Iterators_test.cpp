#include "ItemChanges.h"
#include "Iterating.h"
#include "os/SystemCalls.h"
#include "support/CountedCalls.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr FSCatalogInfoBitmap kListed =
    kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;

class Iterators : public IteratingTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, Iterators, support::BothWorlds(), support::NameOfWorld);

TEST_P(Iterators, EmptyFolder) {
    OpenedIterator iterator(mHere);
    ASSERT_EQ(noErr, iterator.Status());
    for (int i = 0; i < 3; ++i) {
        Boolean hasChanged = 1;
        EXPECT_EQ("status -1417", iterator.Next(&hasChanged));
        EXPECT_FALSE(hasChanged);
    }
    EXPECT_EQ(noErr, iterator.Close());
}

TEST_P(Iterators, ItemsOfEveryKindAreWhatTheCatalogueTellsOfThem) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/12:30");
    MakeWithCompanion("", "file");
    mFolder.MakeLink("nowhere", "link");
    mFolder.MakeLink("sub", "to a folder");
    mFolder.MakePipe("pipe");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "file", mFolder / "another name"));
    mFolder.MakeFile("a name that is longer than what a specification holds.txt");
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree, kFSIterateDelete}) {
        const Listing listing = ListAll(mHere, flags, 3, kFSCatInfoGettableInfo);
        EXPECT_EQ(flags == kFSIterateSubtree ? 8U : 7U, listing.items.size());
        EXPECT_EQ(0U, listing.failures.size());
        for (const ListedItem& item : listing.items) {
            FSCatalogInfo info = {};
            FSSpec spec = {};
            HFSUniStr255 name = {};
            ASSERT_EQ(noErr,
                      FSGetCatalogInfo(&item.ref, kFSCatInfoGettableInfo, &info, &name, &spec, nullptr));
            EXPECT_EQ(item.name, TextOf(name));
            info.accessDate = item.info.accessDate;  // a folder is read to count what is in it
            EXPECT_EQ(0, std::memcmp(&info, &item.info, sizeof info)) << item.name;
            EXPECT_EQ(0, std::memcmp(&spec, &item.spec, sizeof spec)) << item.name;
            const std::string path = item.name == "12/30" ? "sub/12:30" : item.name;
            EXPECT_EQ(mFolder / path, PathOf(item.ref));
            const FSRef itself = RefOfItself(mFolder / path);
            EXPECT_EQ(0, std::memcmp(&itself, &item.ref, sizeof itself)) << item.name;
        }
    }
}

TEST_P(Iterators, BatchesOfEverySize) {
    MakeFiles(10);
    for (ItemCount bulk = 1; bulk <= 12; ++bulk) {
        OpenedIterator iterator(mHere);
        std::vector<HFSUniStr255> names(bulk);
        std::size_t total = 0;
        OSErr status = noErr;
        while (status == noErr) {
            ItemCount count = 0;
            status = FSGetCatalogInfoBulk(iterator.Get(), bulk, &count, nullptr, kFSCatInfoNone, nullptr,
                                          nullptr, nullptr, names.data());
            EXPECT_EQ(status == noErr, count == bulk) << "fewer come with the end alone";
            total += count;
        }
        EXPECT_EQ(errFSNoMoreItems, status);
        EXPECT_EQ(10U, total);
    }
}

TEST_P(Iterators, CompanionsDoNotCome) {
    MakeWithCompanion("", "a");
    mFolder.MakeFile("._orphan", CompanionBytes("nobody's"));
    mFolder.MakeFile("plain");
    mFolder.MakeFile("._plain", "no AppleDouble");
    mFolder.MakeFile("other");
    mFolder.MakeFolder("._other");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("._sub", CompanionBytes("the folder's"));
    mFolder.MakeLink("nowhere", "link");
    mFolder.MakeFile("._link", CompanionBytes("the link's"));
    const Names expected = {"._orphan", "._other", "._plain", "a", "link", "other", "plain", "sub"};
    EXPECT_EQ(expected, NamesHere());
    EXPECT_EQ(expected, NamesHere(kFSIterateSubtree));
    EXPECT_EQ(expected, NamesHere(kFSIterateDelete));
    EXPECT_EQ(expected.size(), InfoOf(mFolder.Path(), kFSCatInfoValence).valence);
}

// The first name of a companion that is being moved, and what is left of one that was.
TEST_P(Iterators, LeftoversOfMovesGo) {
    MakeWithCompanion("", "a");
    const std::string companion = mFolder / "._a";
    ASSERT_EQ(0, FileWorld::MakeHardLink(companion, mFolder / "._b"));
    FileWorld::SetMode(companion, S_ISVTX | 0644);
    EXPECT_EQ((Names{"a"}), NamesHere());
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._b"));
    EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());

    // While it is being moved it does not come, and stays; who deletes gets it.
    ASSERT_EQ(0, FileWorld::MakeHardLink(companion, mFolder / "._b"));
    FileWorld::SetMode(companion, S_ISVTX | 0644);
    const auto& calls = toolbox::os::Calls();
    const int mover = calls.openat(AT_FDCWD, companion.c_str(), O_RDONLY | O_CLOEXEC, 0);
    ASSERT_EQ(0, calls.flock(mover, LOCK_EX));
    EXPECT_EQ((Names{"a"}), NamesHere());
    EXPECT_EQ((Names{"._b", "a"}), NamesHere(kFSIterateDelete));
    EXPECT_EQ(0, calls.close(mover));
    FileWorld::Remove(mFolder / "._b");

    mFolder.MakeFile("._c", "no AppleDouble");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._c", mFolder / "d"));
    FileWorld::SetMode(mFolder / "d", S_ISVTX | 0644);
    EXPECT_EQ((Names{"._c", "a", "d"}), NamesHere()) << "any file may be like that";
}

TEST_P(Iterators, ChangesAreTold) {
    MakeFiles(4);
    const auto isTold = [&](auto inChange) {
        LetTimePass();
        OpenedIterator iterator(mHere);
        Boolean hasChanged = 1;
        EXPECT_EQ(4U, iterator.Next(&hasChanged).find(' '));
        EXPECT_FALSE(hasChanged);
        inChange();
        iterator.Next(&hasChanged);
        Boolean isStillChanged = 0;
        iterator.Next(&isStillChanged);
        EXPECT_EQ(hasChanged, isStillChanged);
        return hasChanged != 0;
    };
    EXPECT_FALSE(isTold([] {}));
    EXPECT_TRUE(isTold([&] { mFolder.MakeFile("file new"); }));
    EXPECT_TRUE(isTold([&] { FileWorld::Remove(mFolder / "file new"); }));
    EXPECT_TRUE(isTold([&] { FileWorld::Rename(mFolder / "file 1", mFolder / "file one"); }));
    EXPECT_TRUE(isTold([&] { mFolder.MakeFile("._file 2", CompanionBytes("")); }));
    EXPECT_FALSE(isTold([&] { mFolder.MakeFile("file 2", "of another length"); }))
        << "its contents are its own";
    EXPECT_TRUE(isTold([&] {
        const struct statx before = FileWorld::StatusOf(mFolder.Path());
        mFolder.MakeFile("file 5");
        const timespec content = {before.stx_mtime.tv_sec, static_cast<long>(before.stx_mtime.tv_nsec)};
        FileWorld::SetTimes(mFolder.Path(), content, content);
    })) << "also where somebody sets the date back";
}

// A companion that is made after the names were read, by whoever it is, is read all the same.
TEST_P(Iterators, InformationIsTrueWhenItIsTold) {
    MakeFiles(20);
    for (const ItemCount bulk : {1U, 3U}) {
        LetTimePass();
        OpenedIterator iterator(mHere);
        std::vector<FSCatalogInfo> infos(bulk);
        std::vector<HFSUniStr255> names(bulk);
        bool wasMade = false;
        int lockedCount = 0;
        for (OSErr status = noErr; status == noErr;) {
            ItemCount count = 0;
            status = FSGetCatalogInfoBulk(iterator.Get(), bulk, &count, nullptr, kFSCatInfoRsrcSizes,
                                          infos.data(), nullptr, nullptr, names.data());
            for (ItemCount i = 0; i < count; ++i)
                lockedCount += infos[i].rsrcLogicalSize == 6;
            if (!wasMade)
                for (int i = 0; i < 20; ++i)
                    mFolder.MakeFile("._file " + std::to_string(i), CompanionBytes("a fork"));
            wasMade = true;
        }
        EXPECT_EQ(20 - static_cast<int>(bulk), lockedCount);
        for (int i = 0; i < 20; ++i)
            FileWorld::Remove(mFolder / ("._file " + std::to_string(i)));
    }
}

// One look at an item, and one at the folder for each call; nothing is opened for an item without companion.
TEST_P(Iterators, WhatAListingCosts) {
    MakeFiles(99);
    MakeWithCompanion("", "a");
    LetTimePass();
    OpenedIterator iterator(mHere);
    std::vector<FSCatalogInfo> infos(50);
    std::vector<FSRef> refs(50);
    std::vector<HFSUniStr255> names(50);
    const auto next = [&](ItemCount inBulk) {
        ItemCount count = 0;
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSGetCatalogInfoBulk(iterator.Get(), inBulk, &count, nullptr, kListed, infos.data(),
                                              refs.data(), nullptr, names.data()));
        return calls.Made();
    };
    (void)next(1);  // asks for the volume
    std::map<std::string, int> costs;
    for (int i = 0; i < 9; ++i)
        ++costs[next(1)];
    for (int i = 0; i < 9; ++i)
        ++costs[next(10)];
    EXPECT_GE(costs["statx 2"] + costs["statx 11"], 16)
        << "all but those with the one companion, and its item";

    OpenedIterator another(mHere);
    ItemCount count = 0;
    const CountedCalls calls;
    EXPECT_EQ(noErr, FSGetCatalogInfoBulk(another.Get(), 50, &count, nullptr, kFSCatInfoParentDirID,
                                          infos.data(), refs.data(), nullptr, names.data()));
    const std::string made = calls.Made();
    EXPECT_EQ(50U, count);
    EXPECT_TRUE(made == "statx 50" || made.starts_with("openat 1,"))
        << made << ": the companion is told from a file";
}

TEST_P(Iterators, BadArguments) {
    const FSRef file = RefOf(mFolder.MakeFile("file"));
    const FSRef none = {};
    FSRef gone = RefOf(mFolder.MakeFolder("gone"));
    FileWorld::Remove(mFolder / "gone", true);
    mFolder.MakeFolder("sub");
    mFolder.MakeLink("sub", "link");
    FSIterator iterator = reinterpret_cast<FSIterator>(&gone);
    const FSIterator untouched = iterator;
    EXPECT_EQ(paramErr, FSOpenIterator(nullptr, kFSIterateFlat, &iterator));
    EXPECT_EQ(paramErr, FSOpenIterator(&mHere, kFSIterateFlat, nullptr));
    for (const FSIteratorFlags flags : {3U, 4U, 5U, 0x80000000U, 0xFFFFFFFCU})
        EXPECT_EQ(errFSBadIteratorFlags, FSOpenIterator(&mHere, flags, &iterator)) << flags;
    EXPECT_EQ(errFSNotAFolder, FSOpenIterator(&file, kFSIterateFlat, &iterator));
    const FSRef link = RefOfItself(mFolder / "link");
    EXPECT_EQ(errFSNotAFolder, FSOpenIterator(&link, kFSIterateSubtree, &iterator));
    EXPECT_EQ(errFSBadFSRef, FSOpenIterator(&none, kFSIterateFlat, &iterator));
    EXPECT_EQ(fnfErr, FSOpenIterator(&gone, kFSIterateFlat, &iterator));
    EXPECT_EQ(untouched, iterator);

    OpenedIterator open(mHere);
    ItemCount count = 9;
    FSCatalogInfo info = {};
    const auto bulk = [&](FSIterator inIterator, ItemCount inCount, ItemCount* outCount,
                          FSCatalogInfoBitmap inWhich, FSCatalogInfo* outInfo) {
        return FSGetCatalogInfoBulk(inIterator, inCount, outCount, nullptr, inWhich, outInfo, nullptr,
                                    nullptr, nullptr);
    };
    EXPECT_EQ(paramErr, bulk(open.Get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(errFSBadItemCount, bulk(open.Get(), 0, &count, 0, nullptr));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(errFSBadInfoBitmap, bulk(open.Get(), 1, &count, 0x00040000, &info));
    EXPECT_EQ(errFSMissingCatInfo, bulk(open.Get(), 1, &count, kFSCatInfoNodeID, nullptr));
    for (const FSIterator other : {FSIterator{}, untouched}) {
        EXPECT_EQ(errFSIteratorNotFound, bulk(other, 1, &count, 0, nullptr));
        EXPECT_EQ(errFSIteratorNotFound, FSCloseIterator(other));
    }
    const FSIterator closed = open.Get();
    EXPECT_EQ(noErr, bulk(closed, 1, &count, 0, nullptr)) << "nothing was passed by all that";
    EXPECT_EQ(noErr, open.Close());
    EXPECT_EQ(errFSIteratorNotFound, bulk(closed, 1, &count, 0, nullptr));
    EXPECT_EQ(errFSIteratorNotFound, FSCloseIterator(closed));
    OpenedIterator later(mHere);
    EXPECT_NE(closed, later.Get()) << "a number is not given again";
}

TEST_P(Iterators, FolderThatMayNotBeRead) {
    const FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a");
    const FSRef folder = RefOf(mFolder / "sub");
    FileWorld::SetMode(mFolder / "sub", 0300);
    EXPECT_EQ(afpAccessDenied, ListAll(folder).opening);
    EXPECT_EQ(afpAccessDenied, ListAll(folder, kFSIterateSubtree).opening);
    EXPECT_EQ(afpAccessDenied, ListAll(folder, kFSIterateDelete).opening);
    EXPECT_EQ((Names{"sub"}), NamesHere());

    MakeFiles(3);
    for (const ItemCount bulk : {1U, 2U, 100U}) {
        const Listing tree = ListAll(mHere, kFSIterateSubtree, bulk);
        EXPECT_EQ((Names{"file 0", "file 1", "file 2", "sub"}), tree.Names());
        EXPECT_EQ(std::vector<OSErr>{afpAccessDenied}, tree.failures) << "once, and it goes on";
    }
    FileWorld::SetMode(mFolder / "sub", 0700);
}

// Its names can be read, but nothing can be known of what has them.
TEST_P(Iterators, FolderThatMayNotBeSearched) {
    const FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("sub");
    for (const char* const name : {"sub/a", "sub/b", "sub/c"})
        mFolder.MakeFile(name);
    const FSRef folder = RefOf(mFolder / "sub");
    OpenedIterator iterator(folder);
    FileWorld::SetMode(mFolder / "sub", 0400);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ("status -5000", iterator.Next());
    EXPECT_EQ("status -1417", iterator.Next());
    FileWorld::SetMode(mFolder / "sub", 0700);
}

TEST_P(Iterators, DeletedBehindTheIterator) {
    MakeFiles(200);
    for (int i = 0; i < 200; i += 3)
        mFolder.MakeFile("._file " + std::to_string(i), CompanionBytes(""));
    mFolder.MakeFile("._orphan", CompanionBytes(""));
    OpenedIterator iterator(mHere, kFSIterateDelete);
    FSRef ref = {};
    int count = 0;
    Boolean hasChanged = 0;
    for (std::string name = iterator.Next(&hasChanged, &ref); name != "status -1417";
         name = iterator.Next(&hasChanged, &ref)) {
        ASSERT_EQ(noErr, FSDeleteObject(&ref)) << name;
        ++count;
    }
    EXPECT_EQ(201, count);
    EXPECT_TRUE(hasChanged);
    EXPECT_EQ("", Picture());
}

TEST_P(Iterators, WhatGoesAheadOfTheIteratorDoesNotCome) {
    MakeFiles(30);
    OpenedIterator iterator(mHere);
    const std::string first = iterator.Next();
    for (int i = 0; i < 30; ++i)
        if (const std::string name = "file " + std::to_string(i); name != first && i != 12)
            FileWorld::Remove(mFolder / name);
    if (first != "file 12") {
        EXPECT_EQ("file 12", iterator.Next());
    }
    EXPECT_EQ("status -1417", iterator.Next());
}

TEST_P(Iterators, TheFolderGoes) {
    mFolder.MakeFolder("sub");
    MakeFiles(2, "sub/file ");
    const FSRef folder = RefOf(mFolder / "sub");
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree, kFSIterateDelete}) {
        mFolder.MakeFolder("sub");
        OpenedIterator iterator(RefOf(mFolder / "sub"), flags);
        FileWorld::RemoveAll(mFolder / "sub");
        Boolean hasChanged = 0;
        EXPECT_EQ("status -1417", iterator.Next(&hasChanged));
        EXPECT_TRUE(hasChanged);
    }
    EXPECT_EQ(fnfErr, ListAll(folder).opening);
}

// What is asked of an item is asked where it lies, not of what has the folder's old name.
TEST_P(Iterators, TheFolderIsRenamedAndAnotherTakesItsName) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/a", "12345");
    mFolder.MakeFile("sub/._a", CompanionBytes("1234567"));
    mFolder.MakeFolder("sub/inner");
    mFolder.MakeFile("sub/inner/one");
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree}) {
        OpenedIterator iterator(RefOf(mFolder / "sub"), flags);
        FileWorld::Rename(mFolder / "sub", mFolder / "moved");
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("sub/a", "1");
        mFolder.MakeFolder("sub/inner");
        FSCatalogInfo infos[3] = {};
        FSRef refs[3];
        HFSUniStr255 names[3];
        ItemCount count = 0;
        EXPECT_EQ(flags == kFSIterateFlat ? errFSNoMoreItems : noErr,
                  FSGetCatalogInfoBulk(iterator.Get(), 3, &count, nullptr, kFSCatInfoGettableInfo, infos,
                                       refs, nullptr, names));
        EXPECT_EQ(flags == kFSIterateFlat ? 2U : 3U, count);
        for (ItemCount i = 0; i < count; ++i) {
            if (TextOf(names[i]) == "a") {
                EXPECT_EQ(7U, infos[i].rsrcLogicalSize);
                EXPECT_EQ(5U, infos[i].dataLogicalSize);
            } else if (TextOf(names[i]) == "inner") {
                EXPECT_EQ(1U, infos[i].valence);
                EXPECT_EQ(mFolder / "moved/inner", PathOf(refs[i]));
            } else {
                EXPECT_EQ(mFolder / "moved/inner/one", PathOf(refs[i]));
            }
        }
        FileWorld::RemoveAll(mFolder / "sub");
        FileWorld::Rename(mFolder / "moved", mFolder / "sub");
    }
}

TEST_P(Iterators, WhatIsMounted) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    mFolder.MakeFolder("source");
    mFolder.MakeFile("source/inner");
    const std::string volume = mFolder.MakeFolder("volume");
    const std::string bind = mFolder.MakeFolder("bind");
    const std::string file = mFolder.MakeFile("file");
    ASSERT_EQ(0, mFolder.MountVolume(volume));
    mFolder.MakeFile("volume/one");
    mFolder.MakeFile("volume/._.", CompanionBytes("the root's"));
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "source", bind));
    ASSERT_EQ(0, mFolder.MountFolder(mFolder.MakeFile("other"), file));

    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree}) {
        const Listing listing = ListAll(mHere, flags, 3, kFSCatInfoGettableInfo);
        Names expected = {"bind", "file", "other", "source", "volume"};
        if (flags == kFSIterateSubtree) expected.insert(expected.begin() + 2, "inner");
        EXPECT_EQ(expected, listing.Names()) << "what is mounted is not entered";
        EXPECT_EQ(0U, listing.failures.size());
        for (const ListedItem& item : listing.items) {
            const bool isRoot = item.name == "bind" || item.name == "volume";
            EXPECT_EQ(isRoot, item.info.nodeID == fsRtDirID) << item.name;
            EXPECT_EQ(isRoot, item.info.parentDirID == fsRtParID) << item.name;
            EXPECT_EQ(isRoot, item.info.volume != InfoOf(mFolder.Path(), kFSCatInfoVolume).volume)
                << item.name;
            EXPECT_EQ(item.info.volume, item.spec.vRefNum);
            if (isRoot) {
                EXPECT_EQ(mFolder / item.name, PathOf(item.ref));
            }
        }
    }
    EXPECT_EQ((Names{"one"}), ListAll(RefOf(volume)).Names()) << "the root's own companion is hidden";
    EXPECT_EQ(fBsyErr, ListAll(RefOf(volume), kFSIterateDelete).opening);
    EXPECT_EQ(fBsyErr, ListAll(RefOf(bind), kFSIterateDelete).opening);
    const Listing deletion = ListAll(mHere, kFSIterateDelete);
    EXPECT_EQ((Names{"other", "source"}), deletion.Names());
    EXPECT_EQ((std::vector<OSErr>{fBsyErr, fBsyErr, fBsyErr}), deletion.failures);
}

TEST_P(Iterators, RootOfAllPaths) {
    mFolder.MakeFile("file");
    const FSRef root = RefOf("/");
    const Listing listing = ListAll(root, kFSIterateFlat, 3, kListed);
    EXPECT_EQ(noErr, listing.opening);
    bool isTmpThere = false;
    for (const ListedItem& item : listing.items)
        if (item.info.nodeID != fsRtDirID) {
            EXPECT_EQ(UInt32{fsRtDirID}, item.info.parentDirID) << item.name;
        }
    for (const ListedItem& item : listing.items)
        isTmpThere = isTmpThere || item.name == "tmp";
    EXPECT_TRUE(isTmpThere);
    EXPECT_EQ(fBsyErr, ListAll(root, kFSIterateDelete).opening);
}

// More than hold a descriptor: the others find their folders again, also renamed ones.
TEST_P(Iterators, ManyAtOnce) {
    constexpr int kCount = 200;
    std::vector<std::unique_ptr<OpenedIterator>> iterators;
    std::vector<Names> names(kCount);
    const std::size_t descriptors = OpenDescriptorCount();
    for (int i = 0; i < kCount; ++i) {
        const std::string folder = "folder " + std::to_string(i);
        mFolder.MakeFolder(folder + "/sub");
        MakeFiles(5, folder + "/sub/file ");
        iterators.push_back(std::make_unique<OpenedIterator>(
            RefOf(mFolder / folder), i % 2 == 0 ? kFSIterateSubtree : kFSIterateFlat));
        ASSERT_EQ(noErr, iterators.back()->Status());
    }
    EXPECT_EQ(descriptors + 64, OpenDescriptorCount());
    for (int i = 0; i < kCount; i += 5)
        FileWorld::Rename(mFolder / ("folder " + std::to_string(i)),
                          mFolder / ("renamed " + std::to_string(i)));
    for (int round = 0; round < 8; ++round)
        for (int i = 0; i < kCount; ++i) {
            const std::string name = iterators[static_cast<std::size_t>(i)]->Next();
            if (name != "status -1417") names[static_cast<std::size_t>(i)].push_back(name);
        }
    EXPECT_GE(descriptors + 64, OpenDescriptorCount());
    for (int i = 0; i < kCount; ++i) {
        Names& found = names[static_cast<std::size_t>(i)];
        std::sort(found.begin(), found.end());
        EXPECT_EQ(
            i % 2 == 0 ? (Names{"file 0", "file 1", "file 2", "file 3", "file 4", "sub"}) : Names{"sub"},
            found)
            << i;
    }
    iterators.clear();
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST_P(Iterators, AnIteratorHoldsOneDescriptorAndNoneOnceItIsClosed) {
    mFolder.MakeFolder("a/b/c/d");
    const std::size_t descriptors = OpenDescriptorCount();
    OpenedIterator iterator(mHere, kFSIterateSubtree);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(descriptors + 1, OpenDescriptorCount());
        EXPECT_EQ(std::string(1, static_cast<char>('a' + i)), iterator.Next());
    }
    EXPECT_EQ(noErr, iterator.Close());
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

// Where a call fails, what it was about is told; what did not come was refused, and nothing comes twice.
TEST_P(Iterators, EveryCallFails) {
    MakeWithCompanion("", "a");
    mFolder.MakeFolder("sub");
    MakeWithCompanion("sub/", "b");
    mFolder.MakeLink("nowhere", "sub/link");
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateSubtree, kFSIterateDelete}) {
        const Names expected =
            flags == kFSIterateSubtree ? Names{"a", "b", "link", "sub"} : Names{"a", "sub"};
        for (const int error : {EIO, EMFILE, EACCES}) {
            const int count = support::FailEach<FailingCalls>(
                [&](const auto& inUnderFault) {
                    Listing listing;
                    const bool wasDelivered =
                        inUnderFault([&] { listing = ListAll(mHere, flags, 2, kFSCatInfoGettableInfo); });
                    Names names = listing.Names();
                    EXPECT_EQ(names.end(), std::adjacent_find(names.begin(), names.end()));
                    if (listing.opening != noErr || !listing.failures.empty()) {
                        EXPECT_TRUE(wasDelivered);
                        return;
                    }
                    // A companion that cannot be looked into is told from no other file.
                    std::erase_if(names, [](const std::string& inName) { return inName.starts_with("._"); });
                    EXPECT_EQ(expected, names) << "nothing was told";
                },
                error);
            EXPECT_GT(count, 15);
        }
    }
}

TEST_P(Iterators, WithoutDescriptors) {
    MakeFiles(3);
    {
        const FileWorld::NoMoreDescriptors none(mFolder);
        EXPECT_EQ(tmfoErr, ListAll(mHere).opening);
    }
    mFolder.MakeFolder("sub");
    OpenedIterator iterator(mHere, kFSIterateSubtree);
    mFolder.MakeFile("sub/file 3");
    while (iterator.Next() != "sub") {
    }
    {
        const FileWorld::NoMoreDescriptors none(mFolder);
        EXPECT_EQ("status -42", iterator.Next());
        EXPECT_EQ("status -42", iterator.Next()) << "it is tried again";
    }
    EXPECT_EQ("file 3", iterator.Next()) << "and then it is entered";
}

TEST_P(Iterators, EveryAllocationFails) {
    MakeWithCompanion("", "a name that is longer than a small one");
    mFolder.MakeFolder("a folder with a long name as well");
    MakeFiles(3, "a folder with a long name as well/with a file that has a long name ");
    const Names expected = NamesHere(kFSIterateSubtree);
    ASSERT_EQ(5U, expected.size());
    for (const auto extent : {FailingNew::kOnce, FailingNew::kForever}) {
        const int count = support::FailEach<FailingNew>(
            [&](const auto& inUnderFault) {
                FSIterator iterator = nullptr;
                OSErr status = noErr;
                const bool isOpeningHit =
                    inUnderFault([&] { status = FSOpenIterator(&mHere, kFSIterateSubtree, &iterator); });
                EXPECT_EQ(isOpeningHit ? memFullErr : noErr, status);
                if (status != noErr) return;
                FSCatalogInfo infos[2];
                FSRef refs[2];
                HFSUniStr255 names[2];
                Names found;
                for (int call = 0; call < 20; ++call) {
                    ItemCount actual = 0;
                    const bool isHit = inUnderFault([&] {
                        status = FSGetCatalogInfoBulk(iterator, 2, &actual, nullptr, kFSCatInfoGettableInfo,
                                                      infos, refs, nullptr, names);
                    });
                    const bool isTold = status == memFullErr || (status == noErr && actual == 1);
                    EXPECT_TRUE(isTold || !isHit) << status;
                    for (ItemCount i = 0; i < actual; ++i)
                        found.push_back(TextOf(names[i]));
                    if (status == errFSNoMoreItems) break;
                }
                EXPECT_EQ(noErr, FSCloseIterator(iterator));
                std::sort(found.begin(), found.end());
                if (status == errFSNoMoreItems) {
                    EXPECT_EQ(expected, found);
                }
            },
            extent);
        EXPECT_GT(count, 10);
    }
}

}  // namespace

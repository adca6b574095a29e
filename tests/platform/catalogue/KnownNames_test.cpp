// Names that are not there, looked for in large folders: over the real file system alone, which tells of
// changes.
#include "catalogue/KnownNames.h"

#include "LargeFolder.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_files;
using toolbox::files::Place;

TEST_F(KnownNamesTest, OneReadingForAllThatAreMissing) {
    const FSCatalogInfo info = InfoOf(mLarge, kFSCatInfoVolume | kFSCatInfoNodeID);
    const auto lookForAll = [&] {
        for (int i = 0; i < 100; ++i) {
            const std::string number = std::to_string(i);
            FSSpec spec = {};
            EXPECT_EQ(fnfErr,
                      Look(std::u16string(u"missing ") + std::u16string(number.begin(), number.end())));
            EXPECT_EQ(fnfErr, FSMakeFSSpec(info.volume, static_cast<SInt32>(info.nodeID),
                                           PascalName("by specification " + number), &spec));
        }
    };
    EXPECT_EQ(1, ReadingsOf(lookForAll));
    EXPECT_EQ(0, ReadingsOf(lookForAll));
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
}

TEST_F(KnownNamesTest, ANameThatIsThereIsFound) {
    Know();
    EXPECT_EQ(noErr, Look(u"7 OF the NAMES of A large FOLDER"));
    EXPECT_EQ(noErr, Look(u"8 of the names of a large folder"));
    EXPECT_EQ(dupFNErr, MakeFile(RefOf(mLarge), u"7 OF the NAMES of A large FOLDER"));
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); })) << "known still";
    KnownNames::Shared().Close();
    EXPECT_EQ(dupFNErr, MakeFile(RefOf(mLarge), u"7 OF the NAMES of A large FOLDER")) << "read in part";
    for (int i = 0; i < kNames; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(noErr,
                  Look(std::u16string(number.begin(), number.end()) + u" Of The Names Of A Large Folder"));
    }
}

// By names that tell a node, which stand for those that are too long or no text.
TEST_F(KnownNamesTest, NamesThatTellANode) {
    const FSCatalogInfo info = InfoOf(mLarge, kFSCatInfoVolume | kFSCatInfoNodeID);
    const auto look = [&](const std::string& inName) {
        FSSpec spec = {};
        return FSMakeFSSpec(info.volume, static_cast<SInt32>(info.nodeID), PascalName(inName), &spec);
    };
    EXPECT_EQ(2, ReadingsOf([&] { EXPECT_EQ(fnfErr, look("none #1A2B")); })) << "by name and by node";
    EXPECT_EQ(1, ReadingsOf([&] { EXPECT_EQ(fnfErr, look("none #1A2C")); })) << "by node";
    for (int i = 0; i < kNames; ++i)
        FileWorld::Rename(mLarge + '/' + std::to_string(i) + " of the names of a large folder",
                          mLarge + "/short " + std::to_string(i));
    KnownNames::Shared().Close();
    EXPECT_EQ(1, ReadingsOf([&] {
                  EXPECT_EQ(fnfErr, look("none #1A2B"));
                  EXPECT_EQ(fnfErr, look("none #1A2C"));
              }));
    for (const std::string& name :
         {std::string(32, 'n'), std::string("caf\xC3\xA9"), std::string("no text\xFF")}) {
        Know();
        const std::string path = mFolder.MakeFile("volume/large/" + name);
        const FSSpec spec = SpecOf(path);
        EXPECT_EQ(path, PathOfSpec(spec)) << name;
        FileWorld::Remove(path);
    }
}

// What others do is known at once, within one tick of the clock, too.
TEST_F(KnownNamesTest, WhateverComesIsFound) {
    Know();
    const std::string other = mFolder.MakeFile("volume/other");
    const std::string away = mFolder.MakeFile("volume/away");
    const std::string first = mLarge + "/0 of the names of a large folder";
    const auto at = [&](const char* inName) { return mLarge + '/' + inName; };
    struct Row {
        std::u16string name;
        std::function<void()> come;
    };
    const Row kRows[] = {
        {u"MADE", [&] { mFolder.MakeFile("volume/large/made"); }},
        {u"FOLDER", [&] { mFolder.MakeFolder("volume/large/folder"); }},
        {u"LINK", [&] { mFolder.MakeLink("nowhere", "volume/large/link"); }},
        {u"PIPE", [&] { mFolder.MakePipe("volume/large/pipe"); }},
        {u"HARD LINK", [&] { EXPECT_EQ(0, FileWorld::MakeHardLink(first, at("hard link"))); }},
        {u"MOVED", [&] { FileWorld::Rename(other, at("moved")); }},
        {u"RENAMED", [&] { FileWorld::Rename(at("moved"), at("renamed")); }},
        {u"Renamed Again", [&] { FileWorld::Rename(at("renamed"), at("RENAMED AGAIN")); }},
        {u"Case", [&] { mFolder.MakeFile("volume/large/CASE"); }},
        {u"case",
         [&] {
             FileWorld::Remove(at("CASE"));
             mFolder.MakeFile("volume/large/cASE");
         }},
        {u"cAFE\u0301", [&] { mFolder.MakeFile("volume/large/Caf\xC3\xA9"); }},
        {u"A/B", [&] { mFolder.MakeFile("volume/large/a:b"); }},
        {u"NOT\uF7FF", [&] { mFolder.MakeFile("volume/large/not\xFF"); }},
        {u"WITHOUT NAME",
         [&] {
             const int file = open(mLarge.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
             const std::string path = "/proc/self/fd/" + std::to_string(file);
             EXPECT_EQ(
                 0, linkat(AT_FDCWD, path.c_str(), AT_FDCWD, at("without name").c_str(), AT_SYMLINK_FOLLOW));
             close(file);
         }},
        {u"EXCHANGED",
         [&] {
             mFolder.MakeFile("volume/large/exchanged");
             EXPECT_EQ(0, renameat2(AT_FDCWD, at("exchanged").c_str(), AT_FDCWD, away.c_str(),
                                    2 /* RENAME_EXCHANGE */));
         }},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(row.name == u"case" ? noErr : fnfErr, Look(row.name));
        std::thread(row.come).join();
        EXPECT_EQ(noErr, Look(row.name)) << std::string(row.name.begin(), row.name.end());
    }
    EXPECT_EQ(fnfErr, Look(u"moved"));
}

TEST_F(KnownNamesTest, WhatAnotherProcessMakesIsFound) {
    Know();
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i);
        const pid_t child = fork();
        if (child == 0)
            _exit(
                close(open((mLarge + "/by child " + number).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600)));
        int status = -1;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        ASSERT_EQ(0, status);
        EXPECT_EQ(noErr, Look(std::u16string(u"BY CHILD ") + std::u16string(number.begin(), number.end())));
    }
}

// While the folder is read: behind what was read already, or before it.
TEST_F(KnownNamesTest, WhatComesDuringTheReadingIsKnown) {
    static std::function<void(int)> sMeanwhile;
    static int sCount;
    const auto real = Calls().readdir;
    for (const int when : {1, kNames / 2, kNames + 3}) {
        const std::string name = "during " + std::to_string(when);
        sCount = 0;
        sMeanwhile = [&](int inCount) {
            if (inCount == when) mFolder.MakeFile("volume/large/" + name);
        };
        CallsForTesting().readdir = [](DIR* inFolder) {
            sMeanwhile(++sCount);
            return ::readdir(inFolder);
        };
        KnownNames::Shared().Close();
        EXPECT_EQ(fnfErr, Look(u"missing"));
        CallsForTesting().readdir = real;
        EXPECT_EQ(noErr, Look(std::u16string(u"DURING ") + (when == 1            ? u"1"
                                                            : when == kNames / 2 ? u"125"
                                                                                 : u"253")));
    }
    // Others hear of it before the reading is at its end.
    sCount = 0;
    sMeanwhile = [&](int inCount) {
        if (inCount != kNames + 6) return;
        mFolder.MakeFile("volume/large/heard");
        (void)Look(u"another thing");
    };
    KnownNames::Shared().Close();
    CallsForTesting().readdir = [](DIR* inFolder) {
        sMeanwhile(++sCount);
        return ::readdir(inFolder);
    };
    EXPECT_EQ(fnfErr, Look(u"missing"));
    CallsForTesting().readdir = real;
    EXPECT_EQ(noErr, Look(u"HEARD"));
}

TEST_F(KnownNamesTest, OwnChangesNeedNoReading) {
    Know();
    const FSRef folder = RefOf(mLarge);
    const FSRef moved = RefOf(mFolder.MakeFile("volume/moved"));
    EXPECT_EQ(0, ReadingsOf([&] {
                  for (int i = 0; i < 50; ++i) {
                      const std::string number = std::to_string(i);
                      const std::u16string name(number.begin(), number.end());
                      FSRef ref = {};
                      EXPECT_EQ(noErr, MakeFile(folder, u"file " + name, &ref));
                      EXPECT_EQ(noErr, MakeFolder(folder, u"folder " + name));
                      EXPECT_EQ(noErr, Rename(ref, u"renamed " + name));
                  }
                  EXPECT_EQ(noErr, Move(moved, folder));
              }));
    EXPECT_EQ(noErr, Look(u"Renamed 7"));
    EXPECT_EQ(noErr, Look(u"MOVED"));
    EXPECT_EQ(dupFNErr, MakeFile(folder, u"FOLDER 3"));
    EXPECT_EQ(noErr, MakeFile(folder, u"FILE 3")) << "went by its new name";
    EXPECT_EQ(dupFNErr, Rename(moved, u"FILE 3"));
    EXPECT_EQ(noErr, Rename(moved, u"Moved")) << "another case of its own name";
}

// Nobody's companion is seen to be there, and set aside.
TEST_F(KnownNamesTest, WhatWouldBeAdoptedIsSetAside) {
    Know();
    mFolder.MakeFile("volume/large/._new", CompanionBytes("of nobody"));
    EXPECT_EQ(noErr, MakeFile(RefOf(mLarge), u"new"));
    EXPECT_EQ("", FileWorld::Contents(mLarge + "/new"));
    EXPECT_EQ(CompanionBytes("of nobody"), FileWorld::Contents(mLarge + "/new (companion)"));
}

TEST_F(KnownNamesTest, MoreChangesThanTheSystemKeeps) {
    Know();
    int kept = 0;
    ASSERT_TRUE(std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> kept);
    mFolder.MakeFile("volume/large/a");
    for (int i = 0; i < kept; ++i)
        FileWorld::Rename(mLarge + (i % 2 == 0 ? "/a" : "/b"), mLarge + (i % 2 == 0 ? "/b" : "/a"));
    mFolder.MakeFile("volume/large/lost");
    EXPECT_EQ(noErr, Look(u"LOST"));
    Know();
}

TEST_F(KnownNamesTest, SmallFoldersAreRead) {
    const std::string small = mFolder.MakeFolder("volume/small");
    EXPECT_EQ(2, ReadingsOf([&] {
                  EXPECT_EQ(fnfErr, LookIn(small, u"missing"));
                  EXPECT_EQ(fnfErr, LookIn(small, u"missing"));
              }));
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
}

TEST_F(KnownNamesTest, WhereNothingCanBeWatched) {
    const auto lookTwice = [&] {
        EXPECT_EQ(fnfErr, Look(u"missing"));
        EXPECT_EQ(fnfErr, Look(u"missing"));
        EXPECT_EQ(noErr, Look(u"7 OF the names of a large folder"));
    };
    const SystemCalls before = Calls();
    CallsForTesting().inotify_init1 = [](int) { return errno = EMFILE, -1; };
    EXPECT_EQ(3, ReadingsOf(lookTwice));
    CallsForTesting().inotify_init1 = [](int) { return errno = ENOSYS, -1; };
    EXPECT_EQ(3, ReadingsOf(lookTwice));
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    CallsForTesting() = before;
    CallsForTesting().inotify_add_watch = [](int, const char*, std::uint32_t) { return errno = ENOSPC, -1; };
    EXPECT_EQ(3, ReadingsOf(lookTwice));
    CallsForTesting() = before;
    Know();
}

// The kernel's table of mounts, with other types of file systems.
std::string MountsOfType(const std::string& inType) {
    std::ifstream mounts("/proc/self/mountinfo");
    std::string table;
    for (std::string line; std::getline(mounts, line) && !inType.empty(); table += line + '\n') {
        const std::size_t start = line.find(" - ") + 3;
        line.replace(start, line.find(' ', start) - start, inType);
    }
    return table;
}

TEST_F(KnownNamesTest, OnOtherFileSystems) {
    static std::string sTable;
    sBefore = Calls();
    for (const std::string type : {"nfs4", "fuse.sshfs", "9p", "cifs", "overlay", "new", ""}) {
        sTable = mFolder.MakeFile("table", MountsOfType(type));
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            const bool isTable = std::strcmp(inPath, "/proc/self/mountinfo") == 0;
            return sBefore.openat(inFolder, isTable ? sTable.c_str() : inPath, inFlags, inMode);
        };
        EXPECT_EQ(2, ReadingsOf([&] {
                      EXPECT_EQ(fnfErr, Look(u"missing"));
                      EXPECT_EQ(fnfErr, Look(u"missing"));
                  }))
            << type;
        CallsForTesting() = sBefore;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }
}

// Its names are others once there is its key.
TEST_F(KnownNamesTest, InAnEncryptedFolder) {
    sBefore = Calls();
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        const int result = sBefore.statx(inFolder, inPath, inFlags, inMask, outStatus);
        outStatus->stx_attributes |= STATX_ATTR_ENCRYPTED;
        return result;
    };
    EXPECT_EQ(2, ReadingsOf([&] {
                  EXPECT_EQ(fnfErr, Look(u"missing"));
                  EXPECT_EQ(fnfErr, Look(u"missing"));
              }));
    CallsForTesting() = sBefore;
}

// A folder is who it is, whatever its path.
TEST_F(KnownNamesTest, AnotherFolderOfItsName) {
    Know();
    FileWorld::Rename(mLarge, mFolder / "volume/renamed");
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(mFolder / "volume/renamed", u"missing")); }));
    MakeLarge("volume/large");
    mFolder.MakeFile("volume/large/Missing");
    EXPECT_EQ(noErr, Look(u"MISSING"));
    FileWorld::RemoveAll(mLarge);
    FileWorld::RemoveAll(mFolder / "volume/renamed");
    MakeLarge("volume/large");
    mFolder.MakeFile("volume/large/Missing");
    EXPECT_EQ(noErr, Look(u"MISSING"));
}

// As where a file system gives the inode of a folder that is gone to the next one, and keeps no births.
TEST_F(KnownNamesTest, AnotherFolderOfItsInode) {
    sBefore = Calls();
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        const int result = sBefore.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (result == 0 && outStatus->stx_size > KnownNames::kSmallFolderBytes) {
            outStatus->stx_ino = 7;
            outStatus->stx_mask &= ~STATX_BTIME;
        }
        return result;
    };
    Know();
    FileWorld::RemoveAll(mLarge);
    MakeLarge("volume/large");
    mFolder.MakeFile("volume/large/Missing");
    EXPECT_EQ(noErr, Look(u"MISSING"));
    CallsForTesting() = sBefore;
}

TEST_F(KnownNamesTest, WhatIsMountedOverIt) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "volumes cannot be mounted here";
    Know();
    ASSERT_EQ(0, mFolder.MountVolume(mLarge));
    mFolder.MakeFile("volume/large/Missing");
    EXPECT_EQ(noErr, Look(u"MISSING"));
    EXPECT_EQ(0, mFolder.Unmount(mLarge));
    EXPECT_EQ(fnfErr, Look(u"MISSING"));
}

TEST_F(KnownNamesTest, NoVolumeIsHeldBusy) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "volumes cannot be mounted here";
    Know();
    EXPECT_EQ(0, mFolder.Unmount(mFolder / "volume"));
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "volume"));
    MakeLarge("volume/large");
    mFolder.MakeFile("volume/large/Missing");
    EXPECT_EQ(noErr, Look(u"MISSING"));
}

TEST_F(KnownNamesTest, WhoMayNotReadItIsTold) {
    const FileWorld::OrdinaryUser user(mFolder);
    const std::string closed = MakeLarge("closed");
    EXPECT_EQ(fnfErr, LookIn(closed, u"missing"));
    FileWorld::SetMode(closed, 0300);
    EXPECT_EQ(afpAccessDenied, LookIn(closed, u"missing"));
    EXPECT_EQ(noErr, MakeFile(RefOf(closed), u"made"));
    FileWorld::SetMode(closed, 0700);
    EXPECT_EQ(noErr, LookIn(closed, u"MADE"));
}

// What the child read of the parent's changes would be lost to it.
TEST_F(KnownNamesTest, AChildKnowsNothing) {
    Know();
    mFolder.MakeFile("volume/large/Before");
    const pid_t child = fork();
    if (child == 0) {
        const bool isClosed = OpenDescriptorCount() == mDescriptors;
        const bool isRead = ReadingsOf([&] { (void)Look(u"missing"); }) == 1;
        const bool isFound = Look(u"BEFORE") == noErr;
        const bool isKnown = ReadingsOf([&] { (void)Look(u"missing"); }) == 0;
        KnownNames::Shared().Close();
        _exit((isClosed ? 0 : 1) + (isFound ? 0 : 2) + (isRead ? 0 : 4) + (isKnown ? 0 : 8));
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(noErr, Look(u"BEFORE")) << "the child has taken nothing";
    mFolder.MakeFile("volume/large/After");
    EXPECT_EQ(noErr, Look(u"AFTER")) << "and has ended nothing";
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); }));
}

TEST_F(KnownNamesTest, AFewFoldersAreKept) {
    std::vector<std::string> folders;
    for (std::size_t i = 0; i <= KnownNames::kMaxFolders; ++i)
        folders.push_back(MakeLarge("volume/" + std::to_string(i)));
    for (std::size_t i = 0; i < KnownNames::kMaxFolders; ++i)
        EXPECT_EQ(1, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders[i], u"missing")); })) << i;
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders[0], u"missing")); }));
    EXPECT_EQ(1, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders.back(), u"missing")); }));
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders[0], u"missing")); })) << "asked for last";
    EXPECT_EQ(1, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders[1], u"missing")); })) << "the oldest went";
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, LookIn(folders[3], u"missing")); }));
}

// The names of a reading, by their numbers.
void AddNames(KnownNames::Reading& ioReading, int inCount) {
    std::u16string name(4, u' ');
    for (int i = 0; i < inCount; ++i) {
        for (int digit = 0, rest = i; digit < 4; ++digit, rest /= 100)
            name[static_cast<std::size_t>(digit)] = static_cast<char16_t>(u'A' + rest % 100);
        ioReading.Add("n", name);
    }
}

TEST_F(KnownNamesTest, OfBoundedMemory) {
    constexpr std::size_t kBytes = 1 << 14;
    KnownNames known(kBytes);
    std::vector<Place> places(3);
    for (std::size_t i = 0; i < places.size(); ++i)
        ASSERT_EQ(0, OpenFolder(MakeLarge("volume/" + std::to_string(i)), places[i]));
    const auto keep = [&](std::size_t inPlace, int inCount) {
        KnownNames::Reading reading(known, places[inPlace]);
        AddNames(reading, inCount);
        reading.Keep();
    };
    const auto isKnown = [&](std::size_t inPlace) {
        return known.HasNoneLike(places[inPlace].folderStatus, u"missing");
    };
    constexpr int kMaxNamesHere = kBytes / 2 / sizeof(std::uint64_t) * 3 / 4;
    keep(0, kMaxNamesHere + 1);
    EXPECT_FALSE(isKnown(0)) << "too many";
    keep(0, kMaxNamesHere);
    EXPECT_TRUE(isKnown(0));
    EXPECT_FALSE(known.HasNoneLike(places[0].folderStatus, u"AAAA"));
    keep(1, kMaxNamesHere);
    EXPECT_TRUE(isKnown(0));
    EXPECT_TRUE(isKnown(1));
    keep(2, 1);
    EXPECT_FALSE(isKnown(0)) << "the oldest made room";
    EXPECT_TRUE(isKnown(1));
    EXPECT_TRUE(isKnown(2));
    mFolder.MakeFile("volume/1/one more");
    EXPECT_FALSE(isKnown(1)) << "one more than there is room for";
    EXPECT_TRUE(isKnown(2));
    keep(0, kMaxNamesHere);
    EXPECT_TRUE(isKnown(0));
    mFolder.MakeFile("volume/0/one more");
    EXPECT_FALSE(isKnown(0)) << "more than one folder may have";
}

// Whatever fails, what comes later is found.
TEST_F(KnownNamesTest, EveryCallFails) {
    TakeEmptiedFolder();
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (const bool isKnown : {false, true}) {
            const auto look = [&](const auto& inUnderFault) {
                KnownNames::Shared().Close();
                if (isKnown) Know();
                const FSRef folder = RefOf(mLarge);
                FSRef ref = {};
                OSErr error = noErr;
                const bool isDelivered = inUnderFault([&] { error = LookIn(folder, u"missing", ref); });
                EXPECT_TRUE(error == fnfErr || (isDelivered && error == ioErr)) << error;
                FindWhatComes(folder);
                KnownNames::Shared().Close();
                EXPECT_EQ(mDescriptors, OpenDescriptorCount());
            };
            const int steps = support::FailEach<FailingCalls>(look, EIO, extent);
            EXPECT_GT(steps, isKnown ? 4 : 12);
        }
    }
}

TEST_F(KnownNamesTest, MemoryFails) {
    TakeEmptiedFolder();
    for (const auto extent : {FailingNew::kOnce, FailingNew::kForever}) {
        for (const bool isKnown : {false, true}) {
            const auto look = [&](const auto& inUnderFault) {
                if (isKnown)
                    LetNamesComeAndGo();
                else
                    ChangeMode();
                const FSRef folder = RefOf(mLarge);
                FSRef ref = {};
                OSErr error = noErr;
                const bool isDelivered = inUnderFault([&] { error = LookIn(folder, u"missing", ref); });
                EXPECT_TRUE(error == fnfErr || (isDelivered && error == memFullErr)) << error;
                FindWhatComes(folder);
            };
            const int steps = support::FailEach<FailingNew>(look, extent);
            EXPECT_GT(steps, isKnown ? 3 : 6);
        }
    }
}

}  // namespace

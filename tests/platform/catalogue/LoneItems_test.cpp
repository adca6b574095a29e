// Items that need no look for what is beside them, in folders that are emptied: over the real file system
// alone, which tells of changes.
#include "catalogue/LoneItems.h"

#include "Iterating.h"
#include "LargeFolder.h"
#include "catalogue/OpenIterators.h"
#include "support/CountedCalls.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace test_files;
using toolbox::files::LoneItems;
using toolbox::files::OpenIterators;
using toolbox::files::Place;

class LoneItemsTest : public KnownNamesTest {
  protected:
    LoneItemsTest() {
        mFolder.MakeFolder("volume/some");
        for (int i = 0; i < kFiles; ++i)
            mFolder.MakeFile("volume/some/file " + std::to_string(i), "old");
        mSomeRef = RefOf(mSome);
    }
    static std::string Deleted(const FSRef& inItem) {
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSDeleteObject(&inItem));
        return calls.Made();
    }
    static UInt16 NextFlags(const OpenedIterator& inIterator, FSRef* outRef = nullptr) {
        FSCatalogInfo info = {};
        ItemCount count = 0;
        EXPECT_EQ(noErr, FSGetCatalogInfoBulk(inIterator.Get(), 1, &count, nullptr, kFSCatInfoNodeFlags,
                                              &info, outRef, nullptr, nullptr));
        return info.nodeFlags;
    }
    // Of a locked item.
    static std::string LockBytes() {
        using namespace toolbox::files;
        std::vector<UInt8> file;
        EXPECT_TRUE(EncodeAppleDouble({{AppleDoubleEntry::kMacFileInfo, {0, 0, 0, 1}}}, file));
        return {file.begin(), file.end()};
    }
    static std::string ContentsAt(const std::string& inPath) {
        return FileWorld::Exists(inPath) ? FileWorld::Contents(inPath) : std::string();
    }
    std::size_t CountHere() const { return FileWorld::NamesIn(mSome).size(); }

    static constexpr int kFiles = 12;
    static constexpr char kShort[] = "read 2, unlinkat 1";
    static constexpr char kLong[] = "openat 2, statx 1, unlinkat 1";
    const std::string mSome = mFolder / "volume/some";
    FSRef mSomeRef = {};
};

TEST_F(LoneItemsTest, AreLookedAtOnceAndDeleted) {
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    EXPECT_EQ(mDescriptors + 2, OpenDescriptorCount()) << "the folder's, and that by which changes are heard";
    for (int i = 0; i < kFiles; ++i) {
        FSRef item = {};
        {
            const CountedCalls calls;
            EXPECT_EQ(0, NextFlags(iterator, &item));
            EXPECT_EQ("read 1, statx 1", calls.Made());
        }
        EXPECT_EQ(kShort, Deleted(item));
    }
    EXPECT_EQ("status -1417", iterator.Next());
    EXPECT_EQ(0U, CountHere());
    EXPECT_EQ(noErr, iterator.Close());
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
}

TEST_F(LoneItemsTest, OnlyTheOneThatWasHandedOutLast) {
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    FSRef first = {};
    FSRef second = {};
    (void)iterator.Next(nullptr, &first);
    (void)iterator.Next(nullptr, &second);
    EXPECT_EQ(kLong, Deleted(first));
    EXPECT_EQ(kShort, Deleted(second));
    EXPECT_EQ(fnfErr, FSDeleteObject(&second));
}

// A row is what happens between the item's handing out and its deletion; the picture is of what is left of
// it in a folder of its own.
TEST_F(LoneItemsTest, WhateverComesMeanwhileIsSeen) {
    const std::string other = mFolder.MakeFile("volume/other", "new");
    const auto here = [&](const std::string& inName) { return mSome + '/' + inName; };
    struct Row {
        const char* text;
        std::function<void(const std::string&, const FSRef&)> come;
        OSErr expected;
        std::string left;  // of the name, and of its companion
    };
    const Row kRows[] = {
        {"nothing", [](const std::string&, const FSRef&) {}, noErr, ""},
        {"a companion",
         [&](const std::string& inName, const FSRef&) {
             mFolder.MakeFile("volume/some/._" + inName, CompanionBytes("fork"));
         },
         noErr, ""},
        {"a lock of another's",
         [&](const std::string& inName, const FSRef&) {
             mFolder.MakeFile("volume/some/._" + inName, LockBytes());
         },
         fLckdErr, "old" + LockBytes()},
        {"a companion that is moved there",
         [&](const std::string& inName, const FSRef&) {
             FileWorld::Rename(mFolder.MakeFile("volume/made", LockBytes()), here("._" + inName));
         },
         fLckdErr, "old" + LockBytes()},
        {"a companion by a hard link",
         [&](const std::string& inName, const FSRef&) {
             const std::string made = mFolder.MakeFile("volume/made", LockBytes());
             EXPECT_EQ(0, FileWorld::MakeHardLink(made, here("._" + inName)));
         },
         fLckdErr, "old" + LockBytes()},
        {"no companion",  // nor is it deleted
         [&](const std::string& inName, const FSRef&) {
             mFolder.MakeFile("volume/some/._" + inName, "ordinary");
         },
         noErr, "ordinary"},
        {"another item",
         [&](const std::string& inName, const FSRef&) {
             FileWorld::Rename(here(inName), mFolder / "volume/away");
             mFolder.MakeFile("volume/some/" + inName, "new");
             FileWorld::Remove(mFolder / "volume/away");
         },
         fnfErr, "new"},
        {"another item over it",
         [&](const std::string& inName, const FSRef&) { FileWorld::Rename(other, here(inName)); }, fnfErr,
         "new"},
        {"a folder",
         [&](const std::string& inName, const FSRef&) {
             FileWorld::Remove(here(inName));
             mFolder.MakeFolder("volume/some/" + inName);
         },
         fnfErr, "errno " + std::to_string(EISDIR)},
        {"an exchange",
         [&](const std::string& inName, const FSRef&) {
             const std::string made = mFolder.MakeFile("volume/exchanged", "new");
             EXPECT_EQ(0, renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, here(inName).c_str(),
                                    2 /* RENAME_EXCHANGE */));
             FileWorld::Remove(made);
         },
         fnfErr, "new"},
        {"the end", [&](const std::string& inName, const FSRef&) { FileWorld::Remove(here(inName)); }, fnfErr,
         ""},
    };
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    for (const Row& row : kRows) {
        FSRef item = {};
        const std::string name = iterator.Next(nullptr, &item);
        ASSERT_FALSE(name.starts_with("status")) << row.text;
        row.come(name, item);
        EXPECT_EQ(row.expected, FSDeleteObject(&item)) << row.text;
        EXPECT_EQ(row.left, ContentsAt(here(name)) + ContentsAt(here("._" + name))) << row.text;
    }
}

// At the last moment, and behind that.
TEST_F(LoneItemsTest, ACompanionThatComesAsItGoes) {
    sBefore = Calls();
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    for (const bool isBefore : {true, false}) {
        FSRef item = {};
        const std::string name = iterator.Next(nullptr, &item);
        static std::function<void()> sCome;
        sCome = [&] { mFolder.MakeFile("volume/some/._" + name, CompanionBytes("fork")); };
        const auto goes = isBefore ? [](int inFolder, const char* inName, int inFlags) {
            std::exchange(sCome, [] {})();
            return sBefore.unlinkat(inFolder, inName, inFlags);
        } : [](int inFolder, const char* inName, int inFlags) {
            const int result = sBefore.unlinkat(inFolder, inName, inFlags);
            std::exchange(sCome, [] {})();
            return result;
        };
        CallsForTesting().unlinkat = goes;
        EXPECT_EQ(noErr, FSDeleteObject(&item));
        CallsForTesting() = sBefore;
        EXPECT_FALSE(FileWorld::Exists(mSome + '/' + name));
        EXPECT_FALSE(FileWorld::Exists(mSome + "/._" + name)) << isBefore;
    }
}

TEST_F(LoneItemsTest, ALockThatCameIsTold) {
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    FSRef item = {};
    EXPECT_EQ(0, NextFlags(iterator, &item));
    EXPECT_EQ(noErr, SetLock(item, true));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&item));
    EXPECT_EQ(noErr, SetLock(item, false));
    EXPECT_EQ(noErr, FSDeleteObject(&item));
    for (int i = 0; i < kFiles; ++i)
        mFolder.MakeFile("volume/some/._file " + std::to_string(i), LockBytes());
    EXPECT_EQ(kFSNodeLockedMask, NextFlags(iterator, &item));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&item));
}

// Those that were there when names were read.
TEST_F(LoneItemsTest, WhatHasACompanionIsNotLone) {
    for (int i = 0; i < kFiles; i += 2)
        mFolder.MakeFile("volume/some/._file " + std::to_string(i),
                         i % 4 == 0 ? LockBytes() : CompanionBytes("fork"));
    // Some file systems would take these for companions.
    mFolder.MakeFile("volume/some/._FILE 1", "ordinary");
    mFolder.MakeFile("volume/some/caf\xC3\xA9", "");
    mFolder.MakeFile("volume/some/._cafe\xCC\x81", "ordinary");
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    std::vector<std::string> shortly;
    for (;;) {
        FSRef item = {};
        const std::string name = iterator.Next(nullptr, &item);
        if (name.starts_with("status")) break;
        const CountedCalls calls;
        const OSErr status = FSDeleteObject(&item);
        if (calls.Made() == kShort) shortly.push_back(name);
        const bool isLocked = name == "file 0" || name == "file 4" || name == "file 8";
        EXPECT_EQ(isLocked ? fLckdErr : noErr, status) << name;
    }
    std::sort(shortly.begin(), shortly.end());
    EXPECT_EQ((Names{"file 11", "file 3", "file 5", "file 7", "file 9"}), shortly);
    EXPECT_EQ(6U, CountHere()) << "what is locked";
}

// Folders are emptied first, and looked at again.
TEST_F(LoneItemsTest, FoldersAreLookedAt) {
    const std::string many = mFolder.MakeFolder("volume/many");
    for (int i = 0; i < kFiles; ++i)
        mFolder.MakeFolder("volume/many/" + std::to_string(i));
    OpenedIterator iterator(RefOf(many), kFSIterateDelete);
    FSRef item = {};
    EXPECT_EQ(kFSNodeIsDirectoryMask, NextFlags(iterator, &item));
    EXPECT_EQ(kLong, Deleted(item));
    EXPECT_EQ(kFiles - 1U, FileWorld::NamesIn(many).size());
}

// The reference is to what had the name before.
TEST_F(LoneItemsTest, AnotherThatHadItsName) {
    std::vector<FSRef> before;
    for (int i = 0; i < kFiles; ++i) {
        const std::string path = mSome + "/file " + std::to_string(i);
        before.push_back(RefOf(path));
        FileWorld::Rename(mFolder.MakeFile("volume/new", "new"), path);
    }
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = iterator.Next();
        const auto number = static_cast<std::size_t>(std::stoi(name.substr(5)));
        EXPECT_EQ(fnfErr, FSDeleteObject(&before[number]));
        EXPECT_EQ("new", FileWorld::Contents(mSome + '/' + name));
    }
}

// Of the two names of a file, the one that is another's by now.
TEST_F(LoneItemsTest, AnotherNameOfTheSameFile) {
    const std::string one = mFolder.MakeFile("volume/some/one", "both");
    ASSERT_EQ(0, FileWorld::MakeHardLink(one, mSome + "/two"));
    ASSERT_EQ(0, FileWorld::MakeHardLink(one, mFolder / "volume/three"));
    const FSRef ref = RefOf(one);
    FileWorld::Rename(mFolder.MakeFile("volume/new", "new"), one);
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    while (iterator.Next() != "two") {
    }
    EXPECT_EQ(fnfErr, FSDeleteObject(&ref));
    EXPECT_EQ("new", FileWorld::Contents(one));
    EXPECT_EQ("both", FileWorld::Contents(mSome + "/two"));
}

// What changed between two readings is nobody's to tell.
TEST_F(LoneItemsTest, WhatWasMetBeforeTheLastReading) {
    LetAllSeemLarge();
    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
    FSRef item = {};
    std::string name;
    for (int i = 0; i < kFiles; ++i)
        name = iterator.Next(nullptr, &item);
    std::vector<std::unique_ptr<OpenedIterator>> others;
    for (std::size_t i = 0; i < OpenIterators::kMaxHeld; ++i)
        others.push_back(std::make_unique<OpenedIterator>(RefOf(mFolder.Path())));
    others.clear();
    FileWorld::Rename(mFolder.MakeFile("volume/new", "new"), mSome + '/' + name);
    EXPECT_EQ("status -1417", iterator.Next());
    EXPECT_EQ(fnfErr, FSDeleteObject(&item));
    EXPECT_EQ("new", FileWorld::Contents(mSome + '/' + name));
}

TEST_F(LoneItemsTest, WhereNothingIsHeard) {
    sBefore = Calls();
    const auto lookAtOne = [&] {
        KnownNames::Shared().Close();
        OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
        FSRef item = {};
        (void)iterator.Next(nullptr, &item);
        return Deleted(item);
    };
    CallsForTesting().inotify_init1 = [](int) { return errno = EMFILE, -1; };
    EXPECT_EQ(kLong, lookAtOne());
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    CallsForTesting() = sBefore;
    CallsForTesting().inotify_add_watch = [](int, const char*, std::uint32_t) { return errno = ENOSPC, -1; };
    EXPECT_EQ(kLong, lookAtOne());
    CallsForTesting() = sBefore;
    EXPECT_EQ(kShort, lookAtOne());
    {
        OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
        FSRef item = {};
        (void)iterator.Next(nullptr, &item);
        KnownNames::Shared().Close();
        EXPECT_EQ(kLong, Deleted(item)) << "what it heard by is gone";
    }
    while (CountHere() >= 8)
        (void)lookAtOne();
    EXPECT_EQ(kLong, lookAtOne()) << "of a few it is not worth while";
}

// Folders that are emptied leave others known, and make room for one another.
TEST_F(LoneItemsTest, OthersStayKnown) {
    Know();
    for (std::size_t i = 0; i < 2 * KnownNames::kMaxFolders; ++i) {
        mFolder.MakeFolder("volume/" + std::to_string(i));
        for (int j = 0; j < 8; ++j)
            mFolder.MakeFile("volume/" + std::to_string(i) + '/' + std::to_string(j), "");
        const OpenedIterator iterator(RefOf(mFolder / ("volume/" + std::to_string(i))), kFSIterateDelete);
        EXPECT_EQ(noErr, iterator.Status());
    }
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); }));
    std::vector<std::unique_ptr<OpenedIterator>> iterators;
    std::vector<FSRef> items(KnownNames::kMaxFolders + 1);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const FSRef folder = RefOf(mFolder / ("volume/" + std::to_string(i)));
        if (i == KnownNames::kMaxFolders) (void)iterators.front()->Next(nullptr, &items.front());
        iterators.push_back(std::make_unique<OpenedIterator>(folder, kFSIterateDelete));
        (void)iterators.back()->Next(nullptr, &items[i]);
    }
    EXPECT_EQ(kShort, Deleted(items[0])) << "asked for last";
    EXPECT_EQ(kLong, Deleted(items[1])) << "the oldest is heard no more";
    for (std::size_t i = 2; i < items.size(); ++i)
        EXPECT_EQ(kShort, Deleted(items[i]));
}

// What is heard of a folder whose names are known, too, is known of both.
TEST_F(LoneItemsTest, InAFolderThatIsKnown) {
    Know();
    OpenedIterator iterator(RefOf(mLarge), kFSIterateDelete);
    FSRef item = {};
    const std::string name = iterator.Next(nullptr, &item);
    mFolder.MakeFile("volume/large/made");
    EXPECT_EQ(noErr, Look(u"MADE"));
    EXPECT_EQ(kShort, Deleted(item));
    const std::string next = iterator.Next(nullptr, &item);
    mFolder.MakeFile("volume/large/._" + next, LockBytes());
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); }));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&item)) << "whoever heard of it first";
    EXPECT_EQ(noErr, iterator.Close());
    EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); })) << "known still";
}

TEST_F(LoneItemsTest, OfManyCompanionsNoneIsKnown) {
    Place place;
    ASSERT_EQ(0, OpenFolder(mSome, place));
    LoneItems lone(KnownNames::Shared());
    EXPECT_FALSE(lone.IsLone("file 1")) << "nothing is heard";
    ASSERT_TRUE(lone.Begin(place));
    EXPECT_TRUE(lone.IsLone("file 1"));
    EXPECT_FALSE(lone.IsLone("._file 1"));
    for (std::size_t i = 0; i < LoneItems::kMaxCompanions; ++i)
        lone.Add("._" + std::to_string(i));
    EXPECT_TRUE(lone.IsLone("file 1"));
    EXPECT_FALSE(lone.IsLone("7"));
    lone.Add("no companion");
    EXPECT_TRUE(lone.IsLone("file 1"));
    lone.Add("._one more");
    EXPECT_FALSE(lone.IsLone("file 1"));
}

// Whatever fails, an item goes with its companion or stays with it, and what is locked stays.
TEST_F(LoneItemsTest, EveryCallFails) {
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (const bool isLocked : {false, true}) {
            const int steps = support::FailEach<FailingCalls>(
                [&](const auto& inUnderFault) {
                    OpenedIterator iterator(RefOf(mSome), kFSIterateDelete);
                    FSRef item = {};
                    const std::string name = iterator.Next(nullptr, &item);
                    const std::string companion = mSome + "/._" + name;
                    if (isLocked) mFolder.MakeFile("volume/some/._" + name, LockBytes());
                    OSErr status = noErr;
                    const bool isDelivered = inUnderFault([&] { status = FSDeleteObject(&item); });
                    const bool isThere = FileWorld::Exists(mSome + '/' + name);
                    EXPECT_EQ(isLocked, FileWorld::Exists(companion));
                    if (!isDelivered) {
                        EXPECT_EQ(isLocked ? fLckdErr : noErr, status);
                    }
                    EXPECT_EQ(isThere, isLocked || status != noErr);
                    if (isLocked) FileWorld::Remove(companion);
                    mFolder.MakeFile("volume/some/" + name, "old");
                },
                EIO, extent);
            EXPECT_GT(steps, 2);
        }
    }
}

TEST_F(LoneItemsTest, MemoryFails) {
    for (const auto extent : {FailingNew::kOnce, FailingNew::kForever}) {
        const int steps = support::FailEach<FailingNew>(
            [&](const auto& inUnderFault) {
                KnownNames::Shared().Close();
                mFolder.MakeFile("volume/some/._file 3", CompanionBytes("fork"));
                std::size_t goneCount = 0;
                OSErr status = noErr;
                (void)inUnderFault([&] {
                    FSIterator iterator = nullptr;
                    const FSRef folder = mSomeRef;
                    status = FSOpenIterator(&folder, kFSIterateDelete, &iterator);
                    for (int i = 0; i < kFiles && status == noErr; ++i) {
                        FSRef item = {};
                        ItemCount count = 0;
                        status = FSGetCatalogInfoBulk(iterator, 1, &count, nullptr, kFSCatInfoNone, nullptr,
                                                      &item, nullptr, nullptr);
                        if (status == noErr) status = FSDeleteObject(&item);
                        goneCount += status == noErr ? 1 : 0;
                    }
                    if (iterator != nullptr) {
                        EXPECT_EQ(noErr, FSCloseIterator(iterator));
                    }
                });
                EXPECT_TRUE(status == noErr || status == memFullErr) << status;
                const bool hasCompanion = FileWorld::Exists(mSome + "/._file 3");
                EXPECT_EQ(hasCompanion, FileWorld::Exists(mSome + "/file 3"));
                EXPECT_EQ(kFiles - goneCount + (hasCompanion ? 1 : 0), CountHere());
                for (int i = 0; i < kFiles; ++i)
                    mFolder.MakeFile("volume/some/file " + std::to_string(i), "old");
            },
            extent);
        EXPECT_GT(steps, 5);
    }
}

}  // namespace

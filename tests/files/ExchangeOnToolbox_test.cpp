// The exchange of two files over the real toolbox, by the file system's own way and by names.
#include "os/SystemCalls_test_access.h"
#include "platform/catalogue/ItemChanges.h"
#include "platform/catalogue/MarkedItem.h"
#include "platform/forks/ForkTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <files/Exchange.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr unsigned kExchangeNames = 2;

// Counts the exchanges of names that are asked for, and refuses them or not, as long as it lives.
class Exchanges {
  public:
    explicit Exchanges(bool inAreRefused) : mReal(toolbox::os::CallsForTesting()) {
        sReal = mReal;
        sCount = 0;
        sAreRefused = inAreRefused;
        toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                      const char* inNewName, unsigned inFlags) {
            if (inFlags == kExchangeNames) ++sCount;
            if (inFlags == kExchangeNames && sAreRefused) return errno = EINVAL, -1;
            return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
        };
    }
    ~Exchanges() { toolbox::os::CallsForTesting() = mReal; }
    Exchanges(const Exchanges&) = delete;
    Exchanges& operator=(const Exchanges&) = delete;

    int Count() const { return sCount; }

  private:
    static inline toolbox::os::SystemCalls sReal;
    static inline int sCount;
    static inline bool sAreRefused;

    toolbox::os::SystemCalls mReal;
};

class ExchangeOnToolbox : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~ExchangeOnToolbox() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    static FSCatalogInfo Info(const FSRef& inRef, FSCatalogInfoBitmap inWhich) {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inRef, inWhich, &info, nullptr, nullptr, nullptr));
        return info;
    }
    static std::string Bytes(const FSCatalogInfo& inInfo) {
        return {reinterpret_cast<const char*>(&inInfo), sizeof inInfo};
    }
    // What stays with a name whatever the way, of the item that has the name.
    static std::string WhatStays(const std::string& inPath) {
        return Bytes(InfoOf(inPath, kFSCatInfoParentDirID | kFSCatInfoTextEncoding | kFSCatInfoNodeFlags |
                                        kFSCatInfoBackupDate | kFSCatInfoPermissions | kFSCatInfoFinderInfo |
                                        kFSCatInfoFinderXInfo)) +
               std::to_string(InfoOf(inPath, kFSCatInfoCreateDate).createDate.lowSeconds);
    }
    // All but the date that every change sets.
    static std::string Attributes(const FSRef& inRef) {
        return Bytes(Info(inRef, kFSCatInfoGettableInfo & ~kFSCatInfoAttrMod));
    }
    static void Distinguish(const std::string& inPath, UInt8 inMark) {
        SetMarkedInfo(RefOf(inPath), inMark);
        FileWorld::SetMode(inPath, inMark == 1 ? 0640 : 0604);
        FileWorld::SetTimes(inPath, {1'000'000'000 + inMark, 0}, {1'100'000'000 + inMark, 0});
    }
    // A volume of its own that exchanges names, and that nothing was asked of yet. 0 or an errno.
    int MountExchanging(const std::string& inPath) {
        if (mFolder.Memory() == nullptr) return mFolder.MountVolume(inPath);
        return toolbox::os::Calls().mount("none", inPath.c_str(), "tmpfs", 0, nullptr) == 0 ? 0 : errno;
    }
    static std::string ForkOf(const std::string& inPath) {
        const Opened fork(RefOf(inPath), Which::kResource, fsRdPerm);
        return Whole(fork);
    }
    static void WriteForkOf(const std::string& inPath, const std::string& inText) {
        if (inText.empty()) return;
        const Opened fork(RefOf(inPath), Which::kResource);
        EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, inText));
    }
    std::string NamesOf(const std::string& inFolder) const {
        std::string names;
        for (const std::string& name : FileWorld::NamesIn(mFolder / inFolder))
            names += name + ' ';
        return names;
    }
    OSErr Exchange(const FSRef& inItem1, const FSRef& inItem2) {
        return FSExchangeObjectsCompat(&inItem1, &inItem2, &mNew1, &mNew2);
    }
    void ExpectRefused(OSErr inError, const FSRef& inItem1, const FSRef& inItem2) {
        const std::string before = Picture();
        EXPECT_EQ(inError, Exchange(inItem1, inItem2));
        EXPECT_EQ(before, Picture());
        EXPECT_EQ(noErr, FSCompareFSRefs(&inItem1, &mNew1));
    }

    FSRef mNew1 = {};
    FSRef mNew2 = {};

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, ExchangeOnToolbox, support::BothWorlds(), support::NameOfWorld);

TEST_P(ExchangeOnToolbox, IsTheSameByEitherWay) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string forksOf[] = {"", "a", "b", "ab"};
    for (const bool isByNames : {false, true}) {
        const std::string volume = isByNames ? "names" : "system";
        mFolder.MakeFolder(volume);
        ASSERT_EQ(0, MountExchanging(mFolder / volume));
        for (const std::string& forks : forksOf) {
            const testing::ScopedTrace trace(__FILE__, __LINE__, volume + " with forks of " + forks);
            const std::string name = volume + "/of" + forks;
            mFolder.MakeFolder(name + "/sub");
            const std::string a = mFolder.MakeFile(name + "/a", "of a");
            const std::string b = mFolder.MakeFile(name + "/sub/b", "contents of b");
            Distinguish(a, 1);
            Distinguish(b, 2);
            const std::string forkOfA = forks.find('a') != std::string::npos ? "fork of a" : "";
            const std::string forkOfB = forks.find('b') != std::string::npos ? "of b" : "";
            WriteForkOf(a, forkOfA);
            WriteForkOf(b, forkOfB);
            const FSRef refA = RefOf(a);
            const FSRef refB = RefOf(b);
            const UInt32 idA = Info(refA, kFSCatInfoNodeID).nodeID;
            const std::string stays = WhatStays(a) + WhatStays(b);
            const UInt32 changedA = Info(refA, kFSCatInfoContentMod).contentModDate.lowSeconds;
            {
                const Exchanges exchanges(isByNames);
                ASSERT_EQ(noErr, Exchange(refA, refB));
                EXPECT_EQ(isByNames && !forks.empty() ? 0 : 1, exchanges.Count())
                    << "it is asked for first, until it is refused";
            }
            EXPECT_EQ(stays, WhatStays(a) + WhatStays(b));
            EXPECT_EQ(a, PathOf(mNew1));
            EXPECT_EQ(b, PathOf(mNew2));
            EXPECT_EQ("contents of b, " + forkOfB, FileWorld::Contents(a) + ", " + ForkOf(a));
            EXPECT_EQ("of a, " + forkOfA, FileWorld::Contents(b) + ", " + ForkOf(b));
            EXPECT_EQ((isByNames ? b : a), PathOf(refA)) << "references go with the file where it moves";
            EXPECT_EQ(!isByNames, idA == InfoOf(a, kFSCatInfoNodeID).nodeID);
            EXPECT_EQ(isByNames, changedA == InfoOf(a, kFSCatInfoContentMod).contentModDate.lowSeconds)
                << "dates of contents stay where it moves";
            ASSERT_EQ(noErr, Exchange(mNew1, mNew2));
            EXPECT_EQ("of a, " + forkOfA, FileWorld::Contents(a) + ", " + ForkOf(a));
            EXPECT_EQ(stays, WhatStays(a) + WhatStays(b));
            EXPECT_EQ("._a a sub ", NamesOf(name)) << "nothing is left over";
            EXPECT_EQ("._b b ", NamesOf(name + "/sub"));
        }
    }
}

TEST_P(ExchangeOnToolbox, BothForks) {
    mFolder.MakeFolder("sub");
    const std::string a = MakeWithCompanion("", "a");
    const std::string b = MakeWithCompanion("sub/", "b");
    mFolder.MakeFile("plain", "plain");
    const std::string plain = mFolder / "plain";
    ASSERT_EQ(noErr, Exchange(RefOf(a), RefOf(b)));
    EXPECT_EQ("of b, fork of b", FileWorld::Contents(a) + ", " + ForkOf(a));
    EXPECT_EQ("of a, fork of a", FileWorld::Contents(b) + ", " + ForkOf(b));
    ASSERT_EQ(noErr, Exchange(RefOf(a), RefOf(plain)));
    EXPECT_EQ("plain, ", FileWorld::Contents(a) + ", " + ForkOf(a));
    EXPECT_EQ("of b, fork of b", FileWorld::Contents(plain) + ", " + ForkOf(plain));
}

// The other names stay with the contents.
TEST_P(ExchangeOnToolbox, OneNameOfSeveral) {
    const std::string a = mFolder.MakeFile("a", "of a");
    const std::string b = mFolder.MakeFile("b", "of b");
    ASSERT_EQ(0, FileWorld::MakeHardLink(a, mFolder / "c"));
    ASSERT_EQ(noErr, Exchange(RefOf(a), RefOf(b)));
    EXPECT_EQ("of b", FileWorld::Contents(a));
    EXPECT_EQ("of a", FileWorld::Contents(b));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "c"));
    EXPECT_EQ(a, PathOf(mNew1));
    EXPECT_EQ(b, PathOf(mNew2));
    ExpectRefused(sameFileErr, RefOf(b), RefOf(mFolder / "c"));
}

TEST_P(ExchangeOnToolbox, WhatCannotBe) {
    for (const bool isByNames : {false, true}) {
        const std::string name = isByNames ? "names" : "system";
        const FSRef folder = RefOf(mFolder.MakeFolder(name));
        const FSRef file = RefOf(mFolder.MakeFile(name + "/file", "of the file"));
        const FSRef locked = RefOf(mFolder.MakeFile(name + "/locked", "of the locked file"));
        const FSRef link = RefOfItself(mFolder.MakeLink(mFolder / name + "/file", name + "/link"));
        const FSRef pipe = RefOf(mFolder.MakePipe(name + "/pipe"));
        ASSERT_EQ(noErr, SetLock(locked, true));
        const Exchanges exchanges(isByNames);
        for (const FSRef& other : {folder, link, pipe}) {
            EXPECT_EQ(notAFileErr, Exchange(file, other));
            EXPECT_EQ(notAFileErr, Exchange(other, file));
        }
        EXPECT_EQ(fLckdErr, Exchange(file, locked));
        EXPECT_EQ(fLckdErr, Exchange(locked, file));
        EXPECT_EQ(sameFileErr, Exchange(file, file));
        EXPECT_EQ("of the file", FileWorld::Contents(mFolder / name + "/file"));
        EXPECT_EQ("of the locked file", FileWorld::Contents(mFolder / name + "/locked"));
    }
}

// Those that only names could exchange.
TEST_P(ExchangeOnToolbox, WhatNamesCannotExchange) {
    const FSRef forked = RefOf(MakeWithCompanion("", "forked"));
    const FSRef locked = RefOf(MakeWithCompanion("", "locked"));
    ASSERT_EQ(noErr, SetLock(locked, true));
    ExpectRefused(fLckdErr, forked, locked);
    ExpectRefused(fLckdErr, locked, forked);
}

TEST_P(ExchangeOnToolbox, FilesOfTwoVolumes) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const FSRef file = RefOf(MakeWithCompanion("", "file"));
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef other = RefOf(MakeWithCompanion("point/", "other"));
    ExpectRefused(diffVolErr, file, other);
    ExpectRefused(diffVolErr, other, file);
    const Exchanges exchanges(true);
    ExpectRefused(diffVolErr, file, other);
    ASSERT_EQ(0, mFolder.Unmount(point));
}

// The creation dates of the two are the file system's own, so they are in no companion afterwards.
TEST_P(ExchangeOnToolbox, EachCallFailing) {
    for (const bool areDistinguished : {false, true}) {
        if (!areDistinguished && mFolder.Memory() == nullptr) continue;  // which costs more time
        int run = 0;
        const int steps = support::FailEach<FailingCalls>(
            [&](const auto& inUnderFault) {
                const std::string name = (areDistinguished ? "d" : "r") + std::to_string(++run);
                const std::string folder = mFolder.MakeFolder(name);
                mFolder.MakeFolder(name + "/sub");
                const std::string a = areDistinguished ? MakeWithCompanion(name + '/', "a")
                                                       : mFolder.MakeFile(name + "/a", "of a");
                const std::string b = mFolder.MakeFile(name + "/sub/b", "of b");
                if (areDistinguished) {
                    Distinguish(a, 1);
                    Distinguish(b, 2);
                }
                const FSRef refA = RefOf(a);
                const FSRef refB = RefOf(b);
                const std::string before = PictureOf(folder);
                const std::string attributesOfA = Attributes(refA);
                const std::string attributesOfB = Attributes(refB);
                const std::string stays = WhatStays(a) + WhatStays(b);
                const Exchanges exchanges(true);
                OSErr error = noErr;
                const bool isFailing = inUnderFault([&] { error = Exchange(refA, refB); });
                EXPECT_TRUE(isFailing || error == noErr);
                EXPECT_EQ("yy", LookFor({a, b})) << "which takes leftovers away";
                EXPECT_EQ(a, PathOf(mNew1));
                EXPECT_EQ(b, PathOf(mNew2));
                if (error == noErr) {
                    EXPECT_EQ(stays, WhatStays(a) + WhatStays(b));
                    EXPECT_EQ("of b", FileWorld::Contents(a));
                    EXPECT_EQ("of a", FileWorld::Contents(b));
                } else {
                    EXPECT_EQ(attributesOfA, Attributes(mNew1)) << error;
                    EXPECT_EQ(attributesOfB, Attributes(mNew2)) << error;
                    EXPECT_EQ(before, PictureOf(folder)) << error;
                }
                FileWorld::RemoveAll(folder);
            },
            EIO);
        EXPECT_GT(steps, 50);
    }
}

}  // namespace

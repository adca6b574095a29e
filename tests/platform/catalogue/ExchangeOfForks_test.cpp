// Files with resource forks that exchange their contents.
#include "TwoFiles.h"
#include "os/SystemCalls_test_access.h"
#include "platform/forks/ForkTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/Forks.h>

#include <cerrno>
#include <string>

namespace {

using namespace test_files;

class ExchangeOfForks : public TwoFiles {
  protected:
    ExchangeOfForks() {
        mFolder.MakeFile("._a", CompanionBytes("fork of a"));
        mFolder.MakeFile("sub/._b", CompanionBytes("fork of contents of b"));
        SetMarkedInfo(mA, 1);
        SetMarkedInfo(mB, 2);
    }

    static std::string ForksOf(const std::string& inPath) {
        const Opened fork(RefOf(inPath), Which::kResource, fsRdPerm);
        return FileWorld::Contents(inPath) + ", " + Whole(fork);
    }
    std::string ForksOfBoth() const { return ForksOf(mFolder / "a") + "; " + ForksOf(mFolder / "sub/b"); }
    bool HasIntents() const {
        return EntryIn(mFolder / "._a", kForkIntent) != "none" ||
               EntryIn(mFolder / "sub/._b", kForkIntent) != "none";
    }
    void ExpectRefused(OSErr inError) {
        const std::string before = ForksOfBoth() + WhatStays(mA) + WhatStays(mB);
        EXPECT_EQ(inError, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(inError, FSExchangeObjects(&mB, &mA));
        EXPECT_EQ(before, ForksOfBoth() + WhatStays(mA) + WhatStays(mB));
        EXPECT_FALSE(HasIntents());
    }

    static constexpr UInt32 kForkIntent = toolbox::files::AppleDoubleEntry::kForkIntent;
    const std::string mBefore = "of a, fork of a; contents of b, fork of contents of b";
    const std::string mExchanged = "contents of b, fork of contents of b; of a, fork of a";
};
INSTANTIATE_TEST_SUITE_P(Worlds, ExchangeOfForks, support::BothWorlds(), support::NameOfWorld);

TEST_P(ExchangeOfForks, GoWithTheContents) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ(mExchanged, ForksOfBoth());
    EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB));
    EXPECT_EQ(21U, Info(mA, kFSCatInfoRsrcSizes).rsrcLogicalSize);
    EXPECT_FALSE(HasIntents());
    const FSRef c = RefOf(mFolder.MakeFile("c", "of c"));
    ASSERT_EQ(noErr, FSExchangeObjects(&c, &mA));
    EXPECT_EQ("contents of b, fork of contents of b", ForksOf(mFolder / "c"));
    EXPECT_EQ("of c, ", ForksOf(mFolder / "a"));
    EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB));
}

// Under the lock the companion tells what it did not when the files were looked for.
TEST_P(ExchangeOfForks, OneThatComesMeanwhile) {
    static toolbox::os::SystemCalls sReal;
    static const std::string* sCompanion;
    const std::string companion = mFolder / "._a";
    sCompanion = &companion;
    sReal = toolbox::os::Calls();
    FileWorld::Remove(companion);
    mFolder.MakeFile("._a", CompanionBytes(""));
    toolbox::os::CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        toolbox::os::CallsForTesting() = sReal;
        FileWorld::Rename(*sCompanion + "later", *sCompanion);
        return sReal.flock(inDescriptor, inOperation);
    };
    mFolder.MakeFile("._alater", CompanionBytes("fork of a"));
    EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(mExchanged, ForksOfBoth());
}

TEST_P(ExchangeOfForks, WhatIsRefused) {
    {
        const Opened fork(mA, Which::kResource, fsRdPerm);
        EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(paramErr, FSExchangeObjects(&mB, &mA));
    }
    {
        const Opened fork(mA, Which::kData);
        EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    }
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    ExpectRefused(paramErr);
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (inFlags == 2) return errno = EINVAL, -1;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    ExpectRefused(paramErr);
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::CallsForTesting().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t {
        return errno = ENOSPC, -1;
    };
    ExpectRefused(dskFulErr);
    toolbox::os::CallsForTesting() = sReal;
}

// Another writer of one companion is waited for, and is not written over.
TEST_P(ExchangeOfForks, AWriterThatHoldsTheLock) {
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(AT_FDCWD, (mFolder / "sub/._b").c_str(), O_RDONLY, file));
    ASSERT_EQ(0, sReal.flock(file.Number(), LOCK_EX | LOCK_NB));
    toolbox::os::CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
        return 0;
    };
    ExpectRefused(fBsyErr);
    toolbox::os::CallsForTesting() = sReal;
}

// The exchange itself is what counts: what cannot be settled then is told from the intents.
TEST_P(ExchangeOfForks, EachCallFailing) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string forks = ForksOfBoth();
    int intents = 0;
    const int steps = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            OSErr error = noErr;
            const bool isFailing = inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
            EXPECT_TRUE(isFailing || error == noErr);
            const std::string now = ForksOfBoth();
            EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
            EXPECT_EQ(error == noErr, forks != now) << error;
            forks = now;
            EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
            intents += HasIntents();
            EXPECT_TRUE(isFailing || !HasIntents());
        },
        EIO, FailingCalls::kOnce);
    EXPECT_GT(steps, 50);
    EXPECT_GT(intents, 0);
}

// Another process makes a fork where there was no companion while the names are exchanged.
TEST_P(ExchangeOfForks, OneThatComesLast) {
    static toolbox::os::SystemCalls sReal;
    static const FileWorld* sFolder;
    sReal = toolbox::os::Calls();
    sFolder = &mFolder;
    const FSRef c = RefOf(mFolder.MakeFile("c", "of c"));
    const FSRef d = RefOf(mFolder.MakeFile("d", "of d"));
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (!FileWorld::Exists(*sFolder / "._c")) sFolder->MakeFile("._c", CompanionBytes("fork of c"));
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    EXPECT_EQ(fBsyErr, FSExchangeObjects(&c, &d));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("of c, fork of c", ForksOf(mFolder / "c"));
    EXPECT_EQ("of d, ", ForksOf(mFolder / "d"));
}

// Not even the names can be exchanged back, nor the intents be taken away.
TEST_P(ExchangeOfForks, EachCallFailingAndAllBehindIt) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    bool hasFailedBehind = false;
    const int steps = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            const std::string before = ForksOfBoth();
            OSErr error = noErr;
            inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
            // What this process knows of the two is not right after that: only the names count.
            const std::string now = ForksOfBoth();
            EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
            hasFailedBehind = hasFailedBehind || (error != noErr && now != before);
            EXPECT_TRUE(error != noErr || now != before);
            mA = RefOf(mFolder / "a");
            mB = RefOf(mFolder / "sub/b");
        },
        EIO, FailingCalls::kForever);
    EXPECT_GT(steps, 50);
    EXPECT_TRUE(hasFailedBehind);
}

// Then nothing is left of it.
TEST_P(ExchangeOfForks, NamesThatAreExchangedBack) {
    static toolbox::os::SystemCalls sReal;
    static int sExchanges;
    sReal = toolbox::os::Calls();
    sExchanges = 0;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        sExchanges += inFlags == 2;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        return sExchanges % 2 == 1 ? (errno = EIO, -1) : sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    ExpectRefused(ioErr);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(4, sExchanges);
}

// Then it fails with the names exchanged, and the forks are whose they are by then.
TEST_P(ExchangeOfForks, NamesThatCannotBeExchangedBack) {
    static toolbox::os::SystemCalls sReal;
    static int sExchanges;
    sReal = toolbox::os::Calls();
    sExchanges = 0;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (inFlags == 2 && ++sExchanges == 2) return errno = EIO, -1;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        return sExchanges == 1 ? (errno = EIO, -1) : sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    EXPECT_EQ(ioErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(2, sExchanges);
    EXPECT_EQ(mExchanged, ForksOfBoth());
    EXPECT_TRUE(HasIntents());
}

TEST_P(ExchangeOfForks, EachAllocationFailing) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string forks = ForksOfBoth();
    const int steps = support::FailEach<FailingNew>([&](const auto& inUnderFault) {
        OSErr error = noErr;
        inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
        EXPECT_TRUE(error == noErr || error == memFullErr) << error;
        const std::string now = ForksOfBoth();
        EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
        EXPECT_EQ(error == noErr, forks != now);
        forks = now;
        EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
    });
    EXPECT_GT(steps, 50);
}

}  // namespace

#include "os/Rename.h"

#include "os/Descriptor.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using namespace toolbox::os;
using support::FileWorld;
using test_files::FailingCalls;

SystemCalls sReal;

class RenameTest : public support::FileWorldTest {
  protected:
    RenameTest() { sReal = Calls(); }
    ~RenameTest() override { CallsForTesting() = sReal; }

    // What a file system does that knows of no rename but the plain one.
    static void ForgetFlags() {
        CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                         const char* inNewName, unsigned inFlags) {
            if (inFlags != 0) return errno = EINVAL, -1;
            return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, 0);
        };
    }
    static void ForgetHardLinks() {
        CallsForTesting().linkat = [](int, const char*, int, const char*, int) { return errno = EPERM, -1; };
    }
    int Rename(const std::string& inName, const std::string& inNewName) const {
        return RenameToNew(AT_FDCWD, (mFolder / inName).c_str(), AT_FDCWD, (mFolder / inNewName).c_str());
    }
    // The same whatever the file system knows.
    void ExpectOnlyNewNames() {
        mFolder.MakeFile("a", "of a");
        mFolder.MakeFile("b", "of b");
        mFolder.MakeFolder("sub/inner");
        mFolder.MakeFolder("empty");
        mFolder.MakeLink("nowhere", "link");
        EXPECT_EQ(EEXIST, Rename("a", "b"));
        EXPECT_EQ(EEXIST, Rename("a", "empty"));
        EXPECT_EQ(EEXIST, Rename("a", "link"));
        EXPECT_EQ(EEXIST, Rename("sub", "empty"));
        EXPECT_EQ(ENOENT, Rename("none", "c"));
        EXPECT_EQ(ENOENT, Rename("a", "none/c"));
        EXPECT_EQ(EINVAL, Rename("sub", "sub/inner/sub"));
        EXPECT_EQ((std::vector<std::string>{"a", "b", "empty", "link", "sub"}),
                  FileWorld::NamesIn(mFolder.Path()));
        EXPECT_EQ("of b", FileWorld::Contents(mFolder / "b"));
        EXPECT_EQ(0, Rename("a", "c"));
        EXPECT_EQ(0, Rename("c", "sub/c"));
        EXPECT_EQ(0, Rename("sub", "empty/sub"));
        EXPECT_EQ(0, Rename("link", "second"));
        EXPECT_EQ((std::vector<std::string>{"b", "empty", "second"}), FileWorld::NamesIn(mFolder.Path()));
        EXPECT_EQ("of a", FileWorld::Contents(mFolder / "empty/sub/c"));
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, RenameTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(RenameTest, ByTheKernel) {
    ExpectOnlyNewNames();
}

TEST_P(RenameTest, ByLinks) {
    ForgetFlags();
    ExpectOnlyNewNames();
}

TEST_P(RenameTest, OverSomethingEmpty) {
    ForgetFlags();
    ForgetHardLinks();
    ExpectOnlyNewNames();
}

// Between the look and the rename a file is safe where there are links.
TEST_P(RenameTest, ByLinksNothingIsReplacedThatComesMeanwhile) {
    ForgetFlags();
    mFolder.MakeFile("a", "of a");
    static const FileWorld* sFolder;
    sFolder = &mFolder;
    CallsForTesting().linkat = [](int inFolder, const char* inName, int inNewFolder, const char* inNewName,
                                  int inFlags) {
        sFolder->MakeFile("b", "another's");
        return sReal.linkat(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    EXPECT_EQ(EEXIST, Rename("a", "b"));
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "a"));
}

// Without links too: the name is taken by then, and what another makes under it is refused or stays.
TEST_P(RenameTest, OverSomethingEmptyNothingIsReplacedThatComesMeanwhile) {
    ForgetFlags();
    ForgetHardLinks();
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/inner", "of inner");
    static const FileWorld* sFolder;
    static int sFileError;
    sFolder = &mFolder;
    CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder, const char* inNewName,
                                     unsigned inFlags) {
        if (inFlags != 0) return errno = EINVAL, -1;
        Descriptor file;
        sFileError = OpenFile((*sFolder / "b").c_str(), O_WRONLY | O_CREAT | O_EXCL, file, 0600);
        if (FileWorld::Exists(*sFolder / "new")) sFolder->MakeFile("new/anothers", "another's");
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, 0);
    };
    EXPECT_EQ(0, Rename("a", "b"));
    EXPECT_EQ(EEXIST, sFileError);
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ(ENOTEMPTY, Rename("sub", "new"));
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "new/anothers"));
    EXPECT_EQ("of inner", FileWorld::Contents(mFolder / "sub/inner"));
}

// What another put in the place of the empty file stays, when the rename fails.
TEST_P(RenameTest, OnlyTheEmptyFileIsTakenAway) {
    ForgetFlags();
    ForgetHardLinks();
    mFolder.MakeFile("a", "of a");
    static const FileWorld* sFolder;
    sFolder = &mFolder;
    CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned inFlags) {
        if (inFlags == 0) sFolder->MakeFile("b", "another's");
        return errno = inFlags == 0 ? EIO : EINVAL, -1;
    };
    EXPECT_EQ(EIO, Rename("a", "b"));
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "a"));
}

// A call that fails changes nothing, but where taking a name back fails as well.
TEST_P(RenameTest, EveryFailingCall) {
    for (const bool isFolder : {false, true}) {
        isFolder ? mFolder.MakeFolder("a") : mFolder.MakeFile("a", "of a");
        for (int way = 0; way < 3; ++way) {
            CallsForTesting() = sReal;
            if (way >= 1) ForgetFlags();
            if (way == 2) ForgetHardLinks();
            for (int failing = 1;; ++failing) {
                int error = 0;
                bool delivered = false;
                {
                    const FailingCalls failure(failing, EIO);
                    error = Rename("a", "b");
                    delivered = failure.Delivered();
                }
                const std::vector<std::string> names = FileWorld::NamesIn(mFolder.Path());
                EXPECT_EQ((std::vector<std::string>{error == 0 ? "b" : "a"}), names) << way << ' ' << failing;
                if (error == 0) FileWorld::Rename(mFolder / "b", mFolder / "a");
                if (!delivered) break;
                // That an empty file, which is replaced by then, cannot be closed is nobody's trouble.
                if (way < 2 || isFolder || error != 0) {
                    EXPECT_EQ(EIO, error) << way << ' ' << failing;
                }
            }
        }
        FileWorld::RemoveAll(mFolder / "a");
    }
}

TEST_P(RenameTest, NamesExchanged) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/b", "of b");
    const auto exchange = [this](const char* inName1, const char* inName2) {
        return ExchangeNames(AT_FDCWD, (mFolder / inName1).c_str(), AT_FDCWD, (mFolder / inName2).c_str());
    };
    EXPECT_EQ(0, exchange("a", "sub/b"));
    EXPECT_EQ("of b", FileWorld::Contents(mFolder / "a"));
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "sub/b"));
    EXPECT_EQ(ENOENT, exchange("a", "none"));
    EXPECT_EQ(ENOENT, exchange("none", "a"));
    for (const int error : {EINVAL, ENOSYS}) {
        const FailingCalls failing(1, error);
        EXPECT_EQ(ENOTSUP, exchange("a", "sub/b"));
    }
    const FailingCalls failing(1, EIO);
    EXPECT_EQ(EIO, exchange("a", "sub/b"));
    EXPECT_EQ("of b", FileWorld::Contents(mFolder / "a"));
}

}  // namespace

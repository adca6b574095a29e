#include "keys/AccessKeyFile.h"

#include "StateFolder.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/UserDatabase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace toolbox::keys;
using test_files::FailingCalls;
using test_files::OpenDescriptorCount;
using toolbox::os::CallsForTesting;
using toolbox::os::SystemCalls;

const std::string kFirst = "mirtal access keys 1\n";

OSStatus Add(const std::string& inKey) {
    return ChangeSystemKeys(KeyChange::kAdd, {"type", inKey});
}
OSStatus Remove(const std::string& inKey) {
    return ChangeSystemKeys(KeyChange::kRemove, {"type", inKey});
}

unsigned ModeOf(const std::string& inPath) {
    struct stat status = {};
    return stat(inPath.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class AccessKeyFileTest : public testing::Test {
  protected:
    AccessKeyFileTest() : mCalls(CallsForTesting()) {}
    ~AccessKeyFileTest() override {
        CallsForTesting() = mCalls;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }
    // "?" and the status when they cannot be loaded.
    static std::string Loaded() {
        AccessKeyList keys;
        keys.Add({"type", "from before"});
        const OSStatus status = LoadSystemKeys(keys);
        if (status != noErr) return '?' + std::to_string(status);
        std::string text;
        for (const std::string_view key : keys.KeysOf("type"))
            text.append(key) += ' ';
        return text;
    }
    static void RefuseAllCalls() {
        CallsForTesting().mkdirat = [](int, const char*, mode_t) {
            ADD_FAILURE() << "a folder is made";
            errno = EACCES;
            return -1;
        };
        CallsForTesting().flock = [](int, int) {
            ADD_FAILURE() << "a lock is taken";
            errno = EACCES;
            return -1;
        };
    }

    std::size_t mDescriptors = OpenDescriptorCount();
    test_movies::StateFolder mState;
    SystemCalls mCalls;
};

TEST_F(AccessKeyFileTest, HoldsWhatWasAddedAndNotRemoved) {
    EXPECT_EQ("", Loaded());
    EXPECT_EQ(noErr, Add("one"));
    EXPECT_EQ(noErr, Add("two"));
    EXPECT_EQ("one two ", Loaded());
    EXPECT_EQ(noErr, Remove("ONE"));
    EXPECT_EQ(kFirst + "type=two\nend\n", mState.Text());
    EXPECT_EQ(noErr, Remove("two"));
    EXPECT_EQ(kFirst + "end\n", mState.Text());
    EXPECT_EQ("access-keys access-keys.lock ", mState.Names());
    EXPECT_EQ(0700U, ModeOf(mState.KeyFolder()));
    EXPECT_EQ(0600U, ModeOf(mState.KeyFile() + ".lock"));
}

// As who keeps the settings of several machines in one folder has them.
TEST_F(AccessKeyFileTest, ALinkStaysAndWhereItLeadsIsWritten) {
    ASSERT_EQ(noErr, Add("one"));
    const std::string elsewhere = mState.KeyFolder() + "-elsewhere";
    std::filesystem::rename(mState.KeyFile(), elsewhere);
    std::filesystem::create_symlink(elsewhere, mState.KeyFile());
    EXPECT_EQ(noErr, Add("two"));
    EXPECT_TRUE(std::filesystem::is_symlink(mState.KeyFile()));
    EXPECT_EQ("one two ", Loaded());
    std::filesystem::remove(elsewhere);
    EXPECT_EQ(bdNamErr, Add("three")) << "it leads to nothing";
    EXPECT_TRUE(std::filesystem::is_symlink(mState.KeyFile()));
}

TEST_F(AccessKeyFileTest, WhatIsSoAlreadyTouchesNothing) {
    ASSERT_EQ(noErr, Add("one"));
    const auto time = std::filesystem::last_write_time(mState.KeyFile());
    RefuseAllCalls();
    EXPECT_EQ(noErr, Add("One"));
    EXPECT_EQ(noErr, Remove("two"));
    EXPECT_EQ(time, std::filesystem::last_write_time(mState.KeyFile()));
}

TEST_F(AccessKeyFileTest, RemovingMakesNoFolder) {
    RefuseAllCalls();
    EXPECT_EQ(noErr, Remove("one"));
    EXPECT_FALSE(std::filesystem::exists(mState.KeyFolder()));
}

TEST_F(AccessKeyFileTest, KeepsThePermissionsOfTheFile) {
    ASSERT_EQ(noErr, Add("one"));
    ASSERT_EQ(0, chmod(mState.KeyFile().c_str(), 0640));
    ASSERT_EQ(noErr, Add("two"));
    EXPECT_EQ(0640U, ModeOf(mState.KeyFile()));
}

TEST_F(AccessKeyFileTest, FoldersOfTheEnvironment) {
    const test_files::TemporaryFolder home;
    test_movies::Environment environment;
    environment.Set("HOME", home.Path().c_str());
    for (const char* state : {static_cast<const char*>(nullptr), "", "relative/folder"}) {
        environment.Set("XDG_STATE_HOME", state);
        EXPECT_EQ(noErr, Add("one"));
        EXPECT_EQ("one ", Loaded());
        EXPECT_TRUE(std::filesystem::exists(home / ".local/state/mirtal/access-keys"));
        EXPECT_EQ(0700U, ModeOf(home / ".local"));
        std::filesystem::remove_all(home / ".local");
    }
    for (const char* none : {static_cast<const char*>(nullptr), "", "relative"}) {
        environment.Set("HOME", none);
        const std::string other = home / "of database";
        {
            const test_files::UserDatabase database(other.c_str());
            EXPECT_EQ(noErr, Add("one"));
            EXPECT_TRUE(std::filesystem::exists(other + "/.local/state/mirtal/access-keys"));
        }
        std::filesystem::remove_all(other);
        const test_files::UserDatabase unknown(nullptr);
        EXPECT_EQ("", Loaded());
        EXPECT_EQ(fnfErr, Add("one"));
        EXPECT_EQ(fnfErr, Remove("one"));
    }
    {
        const test_files::UserDatabase broken(home.Path().c_str(), EMFILE);
        EXPECT_EQ('?' + std::to_string(tmfoErr), Loaded())
            << "who cannot ask does not know that there are none";
        EXPECT_EQ(tmfoErr, Add("one"));
        EXPECT_EQ(tmfoErr, Remove("one"));
    }
    environment.Set("XDG_STATE_HOME", (home / "a//b/").c_str());
    EXPECT_EQ(noErr, Add("one"));
    EXPECT_EQ("one ", Loaded());
    environment.Set("XDG_STATE_HOME", home.MakeFile("file").c_str());
    EXPECT_EQ('?' + std::to_string(dirNFErr), Loaded());
    EXPECT_EQ(dirNFErr, Add("one"));
    environment.Set("XDG_STATE_HOME", ('/' + std::string(5000, 'x')).c_str());
    EXPECT_EQ('?' + std::to_string(bdNamErr), Loaded());
    EXPECT_EQ(bdNamErr, Add("one"));
}

TEST_F(AccessKeyFileTest, DamagedFileIsToldAndLeft) {
    const std::string damaged[] = {"",
                                   "end\n",
                                   kFirst,
                                   kFirst + "type=one\n",
                                   kFirst + "type=one\nen",
                                   std::string("\0\0\0\0", 4),
                                   kFirst + "end\ntrailing"};
    for (const std::string& text : damaged) {
        mState.PutText(text);
        EXPECT_EQ('?' + std::to_string(badFileFormat), Loaded()) << text;
        EXPECT_EQ(badFileFormat, Add("one"));
        EXPECT_EQ(badFileFormat, Remove("one"));
        EXPECT_EQ(text, mState.Text());
    }
}

TEST_F(AccessKeyFileTest, DamagedWhileWaitingForTheLock) {
    ASSERT_EQ(noErr, Add("one"));
    static const test_movies::StateFolder* sState;
    sState = &mState;
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        sState->PutText("damaged");
        return flock(inDescriptor, inOperation);
    };
    EXPECT_EQ(badFileFormat, Add("two"));
    EXPECT_EQ("damaged", mState.Text());
}

TEST_F(AccessKeyFileTest, SomethingElseInItsPlace) {
    std::filesystem::create_directories(mState.KeyFile());
    EXPECT_EQ('?' + std::to_string(badFileFormat), Loaded());
    EXPECT_EQ(badFileFormat, Add("one"));
    std::filesystem::remove(mState.KeyFile());
    ASSERT_EQ(0, mkfifo(mState.KeyFile().c_str(), 0600));
    EXPECT_EQ('?' + std::to_string(badFileFormat), Loaded()) << "without waiting for a writer";
    EXPECT_EQ(badFileFormat, Add("one"));
    EXPECT_TRUE(std::filesystem::is_fifo(mState.KeyFile()));
}

TEST_F(AccessKeyFileTest, LargestFile) {
    const std::size_t room = kMaxKeyFileBytes - kFirst.size() - std::string("type=\nend\n").size();
    EXPECT_EQ(dskFulErr, Add(std::string(room + 1, 'x')));
    EXPECT_EQ("-", mState.Text());
    EXPECT_EQ(noErr, Add(std::string(room, 'x')));
    EXPECT_EQ(kMaxKeyFileBytes, mState.Text().size());
    EXPECT_EQ(std::string(room, 'x') + ' ', Loaded());
    EXPECT_EQ(dskFulErr, Add(""));
    EXPECT_EQ(noErr, Remove(std::string(room, 'X')));
    mState.PutText(kFirst + "type=" + std::string(room + 1, 'x') + "\nend\n");
    EXPECT_EQ('?' + std::to_string(badFileFormat), Loaded());
}

TEST_F(AccessKeyFileTest, MostKeys) {
    std::string text = kFirst;
    for (std::size_t i = 0; i < AccessKeyList::kMaxKeys; ++i)
        text += "type=" + std::to_string(i) + '\n';
    mState.PutText(text + "end\n");
    EXPECT_EQ(dskFulErr, Add("one more"));
    EXPECT_EQ(text + "end\n", mState.Text());
    EXPECT_EQ(noErr, Remove("17"));
    EXPECT_EQ(noErr, Add("one more"));
}

TEST_F(AccessKeyFileTest, EveryCallOfTheFileManagerFails) {
    const std::string before = kFirst + "type=old\nend\n";
    const std::string after = kFirst + "type=old\ntype=new\nend\n";
    ASSERT_EQ(noErr, Add("old"));
    int refusals = 0;
    for (int failing = 1;; ++failing) {
        mState.PutText(before);
        OSStatus status = noErr;
        bool wasDelivered = false;
        {
            FailingCalls fault(failing, EIO);
            status = Add("new");
            wasDelivered = fault.Delivered();
        }
        // A descriptor that was only read or locked may fail to close: nothing depends on it.
        EXPECT_EQ(status == noErr ? after : before, mState.Text()) << failing;
        EXPECT_EQ("access-keys access-keys.lock ", mState.Names()) << "nothing is left behind at " << failing;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount()) << failing;
        if (!wasDelivered) {
            EXPECT_EQ(noErr, status);
            break;
        }
        EXPECT_TRUE(status == noErr || status == ioErr) << status << " at " << failing;
        refusals += status == ioErr;
    }
    // Two loads, the lock, and the new file, of several calls each; closing what was only read may fail.
    EXPECT_GE(refusals, 12);
}

TEST_F(AccessKeyFileTest, InterruptedReadsGoOn) {
    ASSERT_EQ(noErr, Add("one"));
    FailingCalls fault(4, EINTR);  // the variable, opened, asked for its status, read
    EXPECT_EQ("one ", Loaded());
    EXPECT_TRUE(fault.Delivered());
}

TEST_F(AccessKeyFileTest, FolderCannotBeMade) {
    CallsForTesting().mkdirat = [](int, const char*, mode_t) {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(afpAccessDenied, Add("one"));
    CallsForTesting().mkdirat = [](int, const char*, mode_t) {
        errno = ENOENT;
        return -1;
    };
    EXPECT_EQ(fnfErr, Add("one")) << "up to the root";
    EXPECT_FALSE(std::filesystem::exists(mState.KeyFolder()));
}

TEST_F(AccessKeyFileTest, SomebodyElseMakesTheFolder) {
    test_movies::Environment environment;
    environment.Set("XDG_STATE_HOME", (mState.Path() + "/deep").c_str());
    CallsForTesting().mkdirat = [](int, const char* inPath, mode_t inMode) {
        const int result = mkdir(inPath, inMode);
        if (result == 0) errno = EEXIST;
        return -1;
    };
    EXPECT_EQ(noErr, Add("one"));
    EXPECT_EQ("one ", Loaded());
}

TEST_F(AccessKeyFileTest, LockIsTakenAgainOrRefused) {
    static int sCalls;
    sCalls = 0;
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        EXPECT_EQ(LOCK_EX, inOperation);
        if (++sCalls < 3) {
            errno = EINTR;
            return -1;
        }
        return flock(inDescriptor, inOperation);
    };
    EXPECT_EQ(noErr, Add("one"));
    EXPECT_EQ(3, sCalls);
    CallsForTesting().flock = [](int, int) {
        errno = ENOLCK;
        return -1;
    };
    EXPECT_EQ(ioErr, Add("two"));
    EXPECT_EQ("one ", Loaded());
}

TEST_F(AccessKeyFileTest, LockOfAKilledProgramIsNoObstacle) {
    int isLocked[2];
    ASSERT_EQ(0, pipe(isLocked));
    static int sTell;
    sTell = isLocked[1];
    const pid_t child = fork();
    if (child == 0) {
        CallsForTesting().flock = [](int inDescriptor, int inOperation) {
            const int result = flock(inDescriptor, inOperation);
            if (write(sTell, "", 1) == 1) pause();
            return result;
        };
        Add("child");
        _exit(1);
    }
    char byte;
    ASSERT_EQ(1, read(isLocked[0], &byte, 1));
    close(isLocked[0]);
    close(isLocked[1]);
    const int lock = open((mState.KeyFile() + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(-1, flock(lock, LOCK_EX | LOCK_NB)) << "the child holds it";
    close(lock);
    EXPECT_EQ(0, kill(child, SIGKILL));
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(noErr, Add("parent"));
    EXPECT_EQ("parent ", Loaded());
}

TEST_F(AccessKeyFileTest, ThreadsTakeTurns) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 25; ++n) {
                EXPECT_EQ(noErr, Add(std::to_string(100 * i + n)));
                if (n % 2 == 0) continue;
                EXPECT_EQ(noErr, Remove(std::to_string(100 * i + n)));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    AccessKeyList keys;
    ASSERT_EQ(noErr, LoadSystemKeys(keys));
    EXPECT_EQ(4U * 13U, keys.Count());
    for (int i = 0; i < 4; ++i)
        for (int n = 0; n < 25; n += 2)
            EXPECT_TRUE(keys.Contains({"type", std::to_string(100 * i + n)}));
}

}  // namespace

// Changes that the system tells of: over the real file system alone.
#include "Told.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <thread>
#include <utility>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::os::Calls;
using toolbox::os::CallsForTesting;

class FolderWatches : public testing::Test {
  protected:
    ~FolderWatches() override { EXPECT_EQ(mDescriptors, mFolder.OpenDescriptorCount()); }

    FileWorld mFolder{FileWorld::kReal};
    const std::string mOne = mFolder.MakeFolder("one");
    const std::string mOther = mFolder.MakeFolder("other");
    const std::size_t mDescriptors = mFolder.OpenDescriptorCount();
};

// The last descriptor that was asked to watch.
int sInstance = -1;

TEST_F(FolderWatches, TellOfEachKindOfChange) {
    Told told(mOne);
    Told other(mOther);
    mFolder.MakeFile("one/file");
    EXPECT_EQ(1U, told.Ask()) << "made and written";
    std::ofstream(mOne + "/file", std::ios::app) << "more";
    EXPECT_EQ(1U, told.Ask()) << "written";
    FileWorld::SetMode(mOne + "/file", 0600);
    EXPECT_EQ(1U, told.Ask()) << "permissions";
    FileWorld::SetTimes(mOne + "/file", {1, 0}, {1, 0});
    EXPECT_EQ(1U, told.Ask()) << "dates";
    FileWorld::Rename(mOne + "/file", mOne + "/renamed");
    EXPECT_EQ(1U, told.Ask()) << "renamed";
    mFolder.MakeFolder("one/folder");
    EXPECT_EQ(1U, told.Ask()) << "a folder";
    EXPECT_EQ(0U, other.Flags().size());
    FileWorld::Rename(mOne + "/renamed", mOther + "/moved");
    AskForEvents();
    EXPECT_EQ(1U, told.Flags().size()) << "moved away";
    EXPECT_EQ(1U, other.Flags().size()) << "and here";
    FileWorld::Remove(mOther + "/moved");
    EXPECT_EQ(1U, other.Ask()) << "deleted";
    FileWorld::SetTimes(mOther, {1, 0}, {1, 0});
    EXPECT_EQ(1U, other.Ask()) << "the folder's own dates";
    mFolder.MakeFile("one/folder/deeper");
    EXPECT_EQ(0U, told.Ask()) << "not in a folder below";
    EXPECT_EQ("contents", FileWorld::Contents(mOne + "/folder/deeper"));
    EXPECT_EQ(std::vector<std::string>{"folder"}, FileWorld::NamesIn(mOne));
    EXPECT_EQ(0U, told.Ask()) << "reading is no change";
}

TEST_F(FolderWatches, ManyChangesAreOne) {
    Told told(mOne);
    for (int i = 0; i < 1000; ++i)
        mFolder.MakeFile("one/" + std::to_string(i));
    EXPECT_EQ(noErr, Notify(mOne, 4));
    AskForEvents();
    EXPECT_EQ(std::vector<OptionBits>{4}, told.Flags());
    EXPECT_EQ(0U, told.Ask());
}

TEST_F(FolderWatches, MoreChangesThanTheSystemKeeps) {
    Told told(mOne);
    Told other(mOther);
    mFolder.MakeFile("one/a");
    mFolder.MakeFile("one/b");
    (void)told.Ask();
    int kept = 0;
    ASSERT_TRUE(std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> kept);
    for (int i = 0; i < kept; ++i)
        FileWorld::SetMode(mOne + (i % 2 == 0 ? "/a" : "/b"), 0600);
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(0U, other.Flags().size()) << "all were kept";
    for (int i = 0; i <= kept; ++i)
        FileWorld::SetMode(mOne + (i % 2 == 0 ? "/a" : "/b"), 0600);
    mFolder.MakeFile("other/lost");
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(1U, other.Flags().size()) << "nobody knows what was lost";
    EXPECT_EQ(0U, told.Ask());
}

TEST_F(FolderWatches, ByAnotherProcess) {
    Told told(mOne);
    const pid_t child = fork();
    if (child == 0) _exit(close(open((mOne + "/by child").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600)));
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(1U, told.Ask());
}

TEST_F(FolderWatches, FollowAFolderThatIsRenamed) {
    Told told(mOne);
    FileWorld::Rename(mOne, mOther + "/renamed");
    (void)told.Ask();
    mFolder.MakeFolder("one");
    mFolder.MakeFile("one/file");
    EXPECT_EQ(0U, told.Ask()) << "another of its name";
    mFolder.MakeFile("other/renamed/file");
    EXPECT_EQ(1U, told.Ask());
}

TEST_F(FolderWatches, EndWithAFolderThatIsDeleted) {
    Told told(mOne);
    Told second(mOne);
    FSRef folder = {};
    ASSERT_EQ(noErr, MakeRef(mOne, &folder));
    FileWorld::Remove(mOne, true);
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(1U, second.Flags().size());
    EXPECT_EQ(noErr, FNNotify(&folder, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(noErr, FNNotifyAll(kFNDirectoryModifiedMessage, 0));
    mFolder.MakeFolder("one");
    mFolder.MakeFile("one/file");
    EXPECT_EQ(0U, told.Ask());
    Told anew(mOne);
    mFolder.MakeFile("one/other");
    EXPECT_EQ(1U, anew.Ask());
    EXPECT_EQ(0U, told.Flags().size());
    EXPECT_EQ(noErr, FNGetDirectoryForSubscription(told.Subscription(), &folder));
    EXPECT_EQ("status -43", PathOf(folder));
}

TEST_F(FolderWatches, EndWithAVolumeThatIsUnmounted) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "volumes cannot be mounted here";
    ASSERT_EQ(0, mFolder.MountVolume(mOne));
    Told told(mOne);
    EXPECT_EQ(0, mFolder.Unmount(mOne)) << "watching keeps no volume busy";
    EXPECT_EQ(1U, told.Ask());
    mFolder.MakeFile("one/file");
    EXPECT_EQ(0U, told.Ask());
}

TEST_F(FolderWatches, ShareOneInstance) {
    const auto real = Calls().inotify_add_watch;
    static auto sReal = real;
    CallsForTesting().inotify_add_watch = [](int inInstance, const char* inPath, std::uint32_t inMask) {
        sInstance = inInstance;
        return sReal(inInstance, inPath, inMask);
    };
    std::optional<Told> first(mOne);
    std::optional<Told> second(mOne);
    std::optional<Told> other(mOther);
    CallsForTesting().inotify_add_watch = real;
    EXPECT_EQ(mDescriptors + 1, mFolder.OpenDescriptorCount());
    EXPECT_EQ(FD_CLOEXEC, fcntl(sInstance, F_GETFD));
    first.reset();
    EXPECT_EQ(0U, second->Ask());
    mFolder.MakeFile("one/file");
    EXPECT_EQ(1U, second->Ask()) << "they share a watch as well";
    second.reset();
    EXPECT_EQ(mDescriptors + 1, mFolder.OpenDescriptorCount());
    EXPECT_EQ(-1, inotify_rm_watch(sInstance, 1)) << "nobody is told of that folder";
    other.reset();
    EXPECT_EQ(mDescriptors, mFolder.OpenDescriptorCount());
}

TEST_F(FolderWatches, CannotBeHad) {
    const toolbox::os::SystemCalls real = Calls();
    for (const int error : {EMFILE, ENOSYS}) {
        static int sError = 0;
        sError = error;
        CallsForTesting().inotify_init1 = [](int) {
            errno = sError;
            return -1;
        };
        Told told(mOne);
        CallsForTesting() = real;
        mFolder.MakeFile("one/file");
        EXPECT_EQ(0U, told.Ask());
        EXPECT_EQ(noErr, Notify(mOne));
        EXPECT_EQ(1U, told.Ask());
        Told later(mOne);
        mFolder.MakeFile("one/file");
        EXPECT_EQ(1U, later.Ask()) << "the next one tries again";
    }
    CallsForTesting().inotify_add_watch = [](int, const char*, std::uint32_t) {
        errno = ENOSPC;
        return -1;
    };
    Told told(mOne);
    CallsForTesting() = real;
    EXPECT_EQ(mDescriptors, mFolder.OpenDescriptorCount()) << "an instance that watches nothing is closed";
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(1U, told.Ask());
}

TEST_F(FolderWatches, OfAFolderThatMayNotBeListed) {
    const FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("closed");
    FileWorld::SetMode(mFolder / "closed", 0300);
    Told told(mFolder / "closed");
    EXPECT_EQ(noErr, Notify(mFolder / "closed"));
    EXPECT_EQ(1U, told.Ask());
}

// What the child reads of the parent's watches would be lost to it.
TEST_F(FolderWatches, StayTheParentsInAChild) {
    Told told(mOne);
    const pid_t child = fork();
    if (child == 0) {
        mFolder.MakeFile("one/by child");
        const bool isQuiet = told.Ask() == 0;
        const bool isToldByItself = Notify(mOne) == noErr && told.Ask() == 1;
        Told own(mOther);
        mFolder.MakeFile("other/by child");
        const bool isToldOfItsOwn = own.Ask() == 1;
        const bool isEnded = told.End() == noErr && own.End() == noErr;
        _exit((isQuiet ? 0 : 1) + (isToldByItself ? 0 : 2) + (isToldOfItsOwn ? 0 : 4) + (isEnded ? 0 : 8));
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, WEXITSTATUS(status));
    EXPECT_EQ(1U, told.Ask()) << "the child has taken nothing";
    mFolder.MakeFile("one/by parent");
    EXPECT_EQ(1U, told.Ask()) << "and has ended nothing";
}

TEST_F(FolderWatches, CloseWithTheThreadThatHadThem) {
    std::thread([this] {
        FNSubscriptionRef subscription = nullptr;
        EXPECT_EQ(noErr,
                  FNSubscribeByPath(
                      reinterpret_cast<const UInt8*>(mOne.c_str()),
                      [](FNMessage, OptionBits, void*, FNSubscriptionRef) {}, nullptr, 0, &subscription));
        EXPECT_EQ(mDescriptors + 1, mFolder.OpenDescriptorCount());
    }).join();
    EXPECT_EQ(mDescriptors, mFolder.OpenDescriptorCount());
}

using toolbox::os::SystemCalls;

// Stands in for the system's call while it lives.
class Watching {
  public:
    explicit Watching(std::function<int(int, const char*, std::uint32_t)> inAdd) {
        sReal = Calls();
        sAdd = std::move(inAdd);
        CallsForTesting().inotify_add_watch = [](int inInstance, const char* inPath, std::uint32_t inMask) {
            return sAdd(inInstance, inPath, inMask);
        };
    }
    ~Watching() { CallsForTesting() = sReal; }
    Watching(const Watching&) = delete;
    Watching& operator=(const Watching&) = delete;

    static inline SystemCalls sReal;
    static inline std::function<int(int, const char*, std::uint32_t)> sAdd;
};

// As of a folder whose server does not answer.
TEST_F(FolderWatches, NobodyWaitsForAnothersFolder) {
    Told told(mOne);
    bool isServed = false;
    std::optional<Told> slow;
    {
        const Watching watching([&](int inInstance, const char* inPath, std::uint32_t inMask) {
            auto others = std::async(std::launch::async, [&] {
                EXPECT_EQ(noErr, Notify(mOne));
                FSRef folder = {};
                EXPECT_EQ(noErr, FNGetDirectoryForSubscription(told.Subscription(), &folder));
            });
            isServed = others.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
            if (!isServed) std::quick_exit(97);  // nothing would come to an end
            return Watching::sReal.inotify_add_watch(inInstance, inPath, inMask);
        });
        slow.emplace(mOther);
    }
    EXPECT_TRUE(isServed);
    EXPECT_EQ(1U, told.Ask());
    mFolder.MakeFile("other/file");
    EXPECT_EQ(1U, slow->Ask());
}

TEST_F(FolderWatches, AWatchThatEndsWhileItIsSharedIsAddedAnew) {
    std::optional<Told> first(mOne);
    std::optional<Told> second;
    int calls = 0;
    {
        const Watching watching([&](int inInstance, const char* inPath, std::uint32_t inMask) {
            const int watch = Watching::sReal.inotify_add_watch(inInstance, inPath, inMask);
            if (++calls == 1) first.reset();
            return watch;
        });
        second.emplace(mOne);
    }
    EXPECT_EQ(2, calls);
    mFolder.MakeFile("one/file");
    EXPECT_EQ(1U, second->Ask());
}

// Of threads that the child does not have nobody is left to be called.
TEST_F(FolderWatches, WhatOtherThreadsSubscribedIsNotInAChild) {
    Told told(mOne);
    std::promise<FNSubscriptionRef> subscribed;
    std::promise<void> mayEnd;
    std::thread other([&] {
        FNSubscriptionRef subscription = nullptr;
        EXPECT_EQ(noErr,
                  FNSubscribeByPath(
                      reinterpret_cast<const UInt8*>(mOne.c_str()),
                      [](FNMessage, OptionBits, void*, FNSubscriptionRef) {}, nullptr, 0, &subscription));
        subscribed.set_value(subscription);
        mayEnd.get_future().wait();
    });
    const FNSubscriptionRef others = subscribed.get_future().get();
    const pid_t child = fork();
    if (child == 0) {
        FSRef folder = {};
        const bool isGone = FNGetDirectoryForSubscription(others, &folder) == paramErr;
        const bool isOwnThere = Notify(mOne) == noErr && told.Ask() == 1 && told.End() == noErr;
        _exit((isGone ? 0 : 1) + (isOwnThere ? 0 : 2));
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, WEXITSTATUS(status));
    FSRef folder = {};
    EXPECT_EQ(noErr, FNGetDirectoryForSubscription(others, &folder)) << "the parent has it still";
    mayEnd.set_value();
    other.join();
}

}  // namespace

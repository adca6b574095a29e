// Subscribing, telling, changing, asking and ending on several threads at once. Run under the thread
// sanitizer too.
#include "Told.h"
#include "support/FileWorld.h"
#include "support/Rounds.h"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr int kThreads = 8;

TEST(NotificationThreads, EachIsToldOnItsOwn) {
    FileWorld folder(FileWorld::kReal);
    const std::string shared = folder.MakeFolder("shared");
    const std::size_t descriptors = folder.OpenDescriptorCount();
    std::atomic<FNSubscriptionRef> passing{nullptr};
    const auto work = [&](int inThread) {
        const auto here = std::this_thread::get_id();
        const std::string own = "own" + std::to_string(inThread);
        folder.MakeFolder(own);
        Told told(folder / own);
        for (int round = 0; round < support::Rounds(40); ++round) {
            Told passer(shared);
            passer.then = [&] { EXPECT_EQ(here, std::this_thread::get_id()); };
            folder.MakeFile(own + "/file");
            EXPECT_EQ(noErr, Notify(shared));
            AskForEvents();
            EXPECT_EQ(1U, told.Flags().size());
            EXPECT_LE(1U, passer.Flags().size());
            // Somebody's, ended by somebody.
            FNSubscriptionRef subscription = nullptr;
            EXPECT_EQ(noErr,
                      FNSubscribeByPath(
                          reinterpret_cast<const UInt8*>(shared.c_str()),
                          [](FNMessage, OptionBits, void*, FNSubscriptionRef) {}, nullptr, 0, &subscription));
            subscription = passing.exchange(subscription);
            if (subscription == nullptr) continue;
            const OSStatus status = FNUnsubscribe(subscription);
            EXPECT_TRUE(status == noErr || status == paramErr) << "its thread may have ended";
        }
        FNSubscriptionRef left = nullptr;
        EXPECT_EQ(noErr, FNSubscribeByPath(
                             reinterpret_cast<const UInt8*>(shared.c_str()),
                             [](FNMessage, OptionBits, void*, FNSubscriptionRef) {}, nullptr, 0, &left));
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back(work, thread);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(paramErr, FNUnsubscribe(passing));
    EXPECT_EQ(descriptors, folder.OpenDescriptorCount()) << "nothing is watched any more";
}

// Whatever the other threads are about while a process forks, its child goes on.
TEST(NotificationThreads, AChildIsHeldByNobody) {
    FileWorld folder(FileWorld::kReal);
    const std::string shared = folder.MakeFolder("shared");
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&] {
            Told told(shared);
            while (!isOver)
                EXPECT_EQ(noErr, FNNotifyAll(kFNDirectoryModifiedMessage, 0));
        });
    Told told(shared);
    for (int round = 0; round < support::Rounds(200); ++round) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            _exit(FNNotifyAll(kFNDirectoryModifiedMessage, 0) == noErr && told.End() == noErr ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        ASSERT_EQ(0, status);
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace

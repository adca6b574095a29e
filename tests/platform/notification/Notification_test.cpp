// What this process tells of changes in folders, to whom and when: over both file systems.
#include "Told.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using namespace test_files;
using support::FailEach;
using support::FileWorld;
using Flags = std::vector<OptionBits>;

void Nothing(FNMessage, OptionBits, void*, FNSubscriptionRef) {}

OSStatus Subscribe(const std::string& inFolder, FNSubscriptionRef* outSubscription) {
    return FNSubscribeByPath(reinterpret_cast<const UInt8*>(inFolder.c_str()), Nothing, nullptr, 0,
                             outSubscription);
}

class Notification : public support::FileWorldTest {
  protected:
    ~Notification() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    static FSRef RefOf(const std::string& inPath) {
        FSRef ref = {};
        EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
        return ref;
    }

    const std::string mOne = mFolder.MakeFolder("one");
    const std::string mOther = mFolder.MakeFolder("other");
    const std::size_t mDescriptors = OpenDescriptorCount();
};

TEST_P(Notification, IsDueWhenTheThreadAsksForEvents) {
    Told told(mOne);
    EXPECT_EQ(noErr, Notify(mOne, 4));
    EXPECT_EQ(Flags(), told.Flags()) << "not before";
    AskForEvents();
    EXPECT_EQ(Flags({4}), told.Flags());
    EXPECT_EQ(0U, told.Ask()) << "once";
    EXPECT_EQ(noErr, Notify(mOne));
    EventRecord event;
    EXPECT_FALSE(GetNextEvent(everyEvent, &event));
    EXPECT_EQ(Flags({0}), told.Flags()) << "flags are those of this notice";
}

TEST_P(Notification, SeveralAreOne) {
    Told told(mOne);
    const FSRef folder = RefOf(mOne);
    EXPECT_EQ(noErr, Notify(mOne, 1));
    EXPECT_EQ(noErr, FNNotify(&folder, kFNDirectoryModifiedMessage, 4));
    EXPECT_EQ(noErr, Notify(mOther, 8));
    AskForEvents();
    EXPECT_EQ(Flags({5}), told.Flags());
}

TEST_P(Notification, EachSubscriberOfAFolderIsTold) {
    Told first(mOne);
    Told second(mOne);
    Told other(mOther);
    EXPECT_NE(first.Subscription(), second.Subscription());
    EXPECT_EQ(noErr, Notify(mOne));
    AskForEvents();
    EXPECT_EQ(1U, first.Flags().size());
    EXPECT_EQ(1U, second.Flags().size());
    EXPECT_EQ(0U, other.Flags().size());
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(noErr, first.End());
    AskForEvents();
    EXPECT_EQ(0U, first.Flags().size()) << "what was due is dropped";
    EXPECT_EQ(1U, second.Flags().size());
}

TEST_P(Notification, OfAllFolders) {
    Told told(mOne, kFNNotifyInBackground);
    Told apart(mOne, kFNNoImplicitAllSubscription);
    Told other(mOther);
    EXPECT_EQ(noErr, FNNotifyAll(kFNDirectoryModifiedMessage, 2));
    AskForEvents();
    EXPECT_EQ(Flags({2}), told.Flags());
    EXPECT_EQ(Flags(), apart.Flags());
    EXPECT_EQ(Flags({2}), other.Flags());
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(1U, apart.Ask());
}

TEST_P(Notification, ComesOnTheThreadThatSubscribed) {
    Told told(mOne);
    std::thread([this] {
        EXPECT_EQ(noErr, Notify(mOne));
        Told others(mOne);
        AskForEvents();
        EXPECT_EQ(0U, others.Flags().size());
    }).join();
    EXPECT_EQ(Flags(), told.Flags());
    EXPECT_EQ(1U, told.Ask());
}

TEST_P(Notification, EndsWithItsThread) {
    const auto told = std::make_unique<Told>(mOther);
    FNSubscriptionRef subscription = nullptr;
    std::thread([&] {
        EXPECT_EQ(noErr, Subscribe(mOne, &subscription));
        EXPECT_EQ(noErr, Notify(mOne));
    }).join();
    EXPECT_EQ(paramErr, FNUnsubscribe(subscription));
    EXPECT_EQ(noErr, Notify(mOther));
    EXPECT_EQ(1U, told->Ask()) << "another's stays";
}

// Destroyed behind what ends the thread's subscriptions, as it was made before.
struct LateSubscriber {
    ~LateSubscriber() { *status = Subscribe(folder, &subscription); }
    OSStatus* status = nullptr;
    std::string folder;
    FNSubscriptionRef subscription = nullptr;
};
TEST_P(Notification, IsNotToBeHadOnceTheThreadHasEndedIts) {
    OSStatus status = noErr;
    std::thread([&] {
        static thread_local LateSubscriber sLate;
        sLate.status = &status;
        sLate.folder = mOne;
        FNSubscriptionRef subscription = nullptr;
        EXPECT_EQ(noErr, Subscribe(mOne, &subscription));
    }).join();
    EXPECT_EQ(paramErr, status);
}

// Another program's doing between finding the folder and opening it.
std::string sFolder;
toolbox::os::SystemCalls sReal;
TEST_P(Notification, AnotherFolderTakesThePlaceMeanwhile) {
    sFolder = mOne;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        if (sFolder == inPath) {
            EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, inPath, AT_FDCWD, (sFolder + "/../other").c_str(),
                                         RENAME_EXCHANGE));
        }
        return sReal.openat(inFolder, inPath, inFlags, inMode);
    };
    FNSubscriptionRef subscription = nullptr;
    const OSStatus status = Subscribe(mOne, &subscription);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fnfErr, status);
    EXPECT_EQ(nullptr, subscription);
}

TEST_P(Notification, AnotherThreadMayEndIt) {
    FNSubscriptionRef subscription = nullptr;
    ASSERT_EQ(noErr, Subscribe(mOne, &subscription));
    std::thread([&] { EXPECT_EQ(noErr, FNUnsubscribe(subscription)); }).join();
    EXPECT_EQ(paramErr, FNUnsubscribe(subscription));
}

TEST_P(Notification, WhoIsToldMayEndItself) {
    Told told(mOne);
    Told second(mOne);
    told.then = [&] { EXPECT_EQ(noErr, told.End()); };
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(1U, second.Flags().size());
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(0U, told.Ask());
}

TEST_P(Notification, WhoIsToldMayEndAnotherThatWasDue) {
    Told told(mOne);
    Told second(mOne);
    told.then = [&] { EXPECT_EQ(noErr, second.End()); };
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(0U, second.Flags().size());
}

TEST_P(Notification, WhoIsToldMaySubscribeTellAndAsk) {
    Told told(mOne);
    Told second(mOne);
    std::unique_ptr<Told> made;
    told.then = [&] {
        if (made == nullptr) made = std::make_unique<Told>(mOne);
        EXPECT_EQ(noErr, Notify(mOne));
        AskForEvents();
        EXPECT_EQ(0U, second.Flags().size()) << "no other while it runs";
    };
    EXPECT_EQ(noErr, Notify(mOne));
    EXPECT_EQ(1U, told.Ask()) << "what it tells is for the next time";
    EXPECT_EQ(1U, second.Flags().size());
    EXPECT_EQ(0U, made->Flags().size());
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(1U, made->Flags().size());
}

TEST_P(Notification, WhatIsThrownPassesAndTheOthersAreToldNextTime) {
    Told told(mOne);
    Told second(mOne);
    told.then = [] { throw std::runtime_error("told"); };
    EXPECT_EQ(noErr, Notify(mOne, 4));
    EXPECT_THROW(AskForEvents(), std::runtime_error);
    EXPECT_EQ(Flags({4}), told.Flags());
    EXPECT_EQ(Flags(), second.Flags());
    told.then = nullptr;
    EXPECT_EQ(noErr, Notify(mOne, 8));
    AskForEvents();
    EXPECT_EQ(Flags({8}), told.Flags());
    EXPECT_EQ(Flags({12}), second.Flags());
}

TEST_P(Notification, ComesBeforeTheEventThatItPosts) {
    Told told(mOne);
    told.then = [] { EXPECT_EQ(noErr, PostEvent(keyDown, 7)); };
    EXPECT_EQ(noErr, Notify(mOne));
    EventRecord event;
    EXPECT_TRUE(GetNextEvent(everyEvent, &event));
    EXPECT_EQ(7U, event.message);
}

TEST_P(Notification, FolderThatIsRenamed) {
    Told told(mOne);
    FileWorld::Rename(mOne, mFolder / "renamed");
    AskForEvents();
    (void)told.Flags();
    FSRef folder = {};
    EXPECT_EQ(noErr, FNGetDirectoryForSubscription(told.Subscription(), &folder));
    EXPECT_EQ(mFolder / "renamed", PathOf(folder));
    EXPECT_EQ(noErr, Notify(mFolder / "renamed"));
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(fnfErr, Notify(mOne));
}

TEST_P(Notification, FolderOfALink) {
    Told told(mFolder.MakeLink("one", "link"));
    const FSRef folder = RefOf(mOne);
    EXPECT_EQ(noErr, FNNotify(&folder, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(1U, told.Ask());
    EXPECT_EQ(noErr, Notify(mFolder / "link"));
    EXPECT_EQ(1U, told.Ask());
}

TEST_P(Notification, WhatIsRefused) {
    const FSRef folder = RefOf(mOne);
    const FSRef file = RefOf(mFolder.MakeFile("file"));
    const FSRef nothing = {};
    FSRef out = {};
    FNSubscriptionRef subscription = nullptr;
    EXPECT_EQ(paramErr, FNSubscribe(nullptr, Nothing, nullptr, 0, &subscription));
    EXPECT_EQ(paramErr, FNSubscribe(&folder, nullptr, nullptr, 0, &subscription));
    EXPECT_EQ(paramErr, FNSubscribe(&folder, Nothing, nullptr, 4, &subscription));
    EXPECT_EQ(paramErr, FNSubscribe(&folder, Nothing, nullptr, 0, nullptr));
    EXPECT_EQ(paramErr, FNSubscribeByPath(nullptr, Nothing, nullptr, 0, &subscription));
    EXPECT_EQ(errFSNotAFolder, FNSubscribe(&file, Nothing, nullptr, 0, &subscription));
    EXPECT_EQ(errFSBadFSRef, FNSubscribe(&nothing, Nothing, nullptr, 0, &subscription));
    EXPECT_EQ(fnfErr, Subscribe(mFolder / "none", &subscription));
    EXPECT_EQ(nullptr, subscription);
    EXPECT_EQ(paramErr, FNUnsubscribe(nullptr));
    EXPECT_EQ(paramErr, FNGetDirectoryForSubscription(nullptr, &out));

    EXPECT_EQ(paramErr, FNNotify(nullptr, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(paramErr, FNNotify(&folder, 2, 0));
    EXPECT_EQ(errFSBadFSRef, FNNotify(&nothing, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(noErr, FNNotify(&file, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(paramErr, FNNotifyByPath(nullptr, kFNDirectoryModifiedMessage, 0));
    EXPECT_EQ(paramErr, FNNotifyByPath(reinterpret_cast<const UInt8*>("/"), 0, 0));
    EXPECT_EQ(errFSNotAFolder, Notify(mFolder / "file"));
    EXPECT_EQ(fnfErr, Notify(mFolder / "none"));
    EXPECT_EQ(paramErr, FNNotifyAll(0, 0));

    ASSERT_EQ(noErr, Subscribe(mOne, &subscription));
    EXPECT_EQ(paramErr, FNGetDirectoryForSubscription(subscription, nullptr));
    EXPECT_EQ(noErr, FNUnsubscribe(subscription));
    EXPECT_EQ(paramErr, FNGetDirectoryForSubscription(subscription, &out));
}

TEST_P(Notification, FunctionsAsCallbacks) {
    const FNSubscriptionUPP callback =
        NewFNSubscriptionUPP([](FNMessage, OptionBits inFlags, void* inRefcon, FNSubscriptionRef) {
            *static_cast<OptionBits*>(inRefcon) = inFlags;
        });
    OptionBits told = 0;
    InvokeFNSubscriptionUPP(kFNDirectoryModifiedMessage, 9, &told, nullptr, callback);
    DisposeFNSubscriptionUPP(callback);
    EXPECT_EQ(9U, told);
}

// Where the system cannot be asked to tell, what this process tells is told all the same.
TEST_P(Notification, EachCallOfSubscribingFails) {
    for (const int error : {EIO, EMFILE, ENOSPC, EACCES}) {
        const int count = FailEach<FailingCalls>(
            [&](const auto& inUnderFault) {
                FNSubscriptionRef subscription = nullptr;
                OSStatus status = noErr;
                bool wasTold = false;
                inUnderFault([&] {
                    status = FNSubscribeByPath(
                        reinterpret_cast<const UInt8*>(mOne.c_str()),
                        [](FNMessage, OptionBits, void* inRefcon, FNSubscriptionRef) {
                            *static_cast<bool*>(inRefcon) = true;
                        },
                        &wasTold, 0, &subscription);
                });
                EXPECT_EQ(status == noErr, subscription != nullptr);
                if (status != noErr) {
                    EXPECT_TRUE(status == ioErr || status == tmfoErr || status == dskFulErr ||
                                status == afpAccessDenied || status == fnfErr)
                        << status;
                    return;
                }
                EXPECT_EQ(noErr, Notify(mOne));
                AskForEvents();
                EXPECT_TRUE(wasTold);
                EXPECT_EQ(noErr, FNUnsubscribe(subscription));
                EXPECT_EQ(mDescriptors, OpenDescriptorCount());
            },
            error);
        EXPECT_GT(count, 3);
    }
}

TEST_P(Notification, EachCallOfAskingAndEndingFails) {
    FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            Told told(mOne);
            EXPECT_EQ(noErr, Notify(mOne));
            inUnderFault([&] {
                EXPECT_EQ(1U, told.Ask());
                EXPECT_EQ(noErr, told.End());
            });
            EXPECT_EQ(mDescriptors, OpenDescriptorCount());
        },
        EIO);
}

TEST_P(Notification, EachAllocationFails) {
    AskForEvents();
    const int count = FailEach<FailingNew>([&](const auto& inUnderFault) {
        FNSubscriptionRef subscription = nullptr;
        OSStatus status = noErr;
        const bool isFailed = inUnderFault([&] { status = Subscribe(mOne, &subscription); });
        EXPECT_EQ(isFailed ? memFullErr : noErr, status);
        EXPECT_EQ(isFailed, subscription == nullptr);
        EXPECT_EQ(isFailed ? paramErr : noErr, FNUnsubscribe(subscription));
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    });
    EXPECT_GT(count, 2);
    FailEach<FailingNew>([&](const auto& inUnderFault) {
        OSStatus status = noErr;
        const bool isFailed = inUnderFault([&] { status = Notify(mOne); });
        EXPECT_EQ(isFailed ? memFullErr : noErr, status);
    });
    FNSubscriptionRef subscription = nullptr;
    ASSERT_EQ(noErr, Subscribe(mOne, &subscription));
    const FSRef folder = RefOf(mOne);
    const FailingNew failing(1);
    EXPECT_EQ(noErr, FNNotify(&folder, kFNDirectoryModifiedMessage, 0));
    AskForEvents();
    EXPECT_EQ(noErr, FNUnsubscribe(subscription));
    EXPECT_FALSE(failing.Delivered()) << "telling takes no memory";
}

INSTANTIATE_TEST_SUITE_P(Worlds, Notification, support::BothWorlds(), support::NameOfWorld);

}  // namespace

// What a subscriber was told.
#pragma once

#include "platform/catalogue/Refs.h"

#include <gtest/gtest.h>
#include <toolbox/Events.h>
#include <toolbox/Notification.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace test_files {

inline void AskForEvents() {
    EventRecord event;
    (void)EventAvail(everyEvent, &event);
}

// A subscriber for as long as it lives.
class Told {
  public:
    explicit Told(const std::string& inFolder, OptionBits inOptions = 0) {
        EXPECT_EQ(noErr, FNSubscribeByPath(reinterpret_cast<const UInt8*>(inFolder.c_str()), Hear, this,
                                           inOptions, &mSubscription))
            << inFolder;
    }
    ~Told() {
        const OSStatus expected = mSubscription == nullptr ? paramErr : noErr;
        EXPECT_EQ(expected, End());
    }
    Told(const Told&) = delete;
    Told& operator=(const Told&) = delete;

    FNSubscriptionRef Subscription() const { return mSubscription; }
    OSStatus End() { return FNUnsubscribe(std::exchange(mSubscription, nullptr)); }
    // The flags of what it was told since.
    std::vector<OptionBits> Flags() { return std::exchange(mFlags, {}); }
    // How many notices this thread asks for and gets.
    std::size_t Ask() {
        AskForEvents();
        return Flags().size();
    }

    std::function<void()> then;  // it does, each time

  private:
    static void Hear(FNMessage inMessage, OptionBits inFlags, void* inRefcon,
                     FNSubscriptionRef inSubscription) {
        Told& told = *static_cast<Told*>(inRefcon);
        EXPECT_EQ(FNMessage{kFNDirectoryModifiedMessage}, inMessage);
        EXPECT_EQ(told.mSubscription, inSubscription);
        told.mFlags.push_back(inFlags);
        if (told.then) told.then();
    }

    FNSubscriptionRef mSubscription = nullptr;
    std::vector<OptionBits> mFlags;
};

inline OSStatus Notify(const std::string& inFolder, OptionBits inFlags = 0) {
    return FNNotifyByPath(reinterpret_cast<const UInt8*>(inFolder.c_str()), kFNDirectoryModifiedMessage,
                          inFlags);
}

}  // namespace test_files

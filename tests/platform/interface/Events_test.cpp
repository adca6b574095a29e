#include <gtest/gtest.h>
#include <toolbox/Events.h>
#include <toolbox/Timer.h>

#include <thread>
#include <vector>

namespace {

constexpr EventMask MaskOf(EventKind inKind) {
    return static_cast<EventMask>(1 << inKind);
}

class EventsTest : public testing::Test {
  protected:
    ~EventsTest() override {
        EventRecord event;
        while (GetNextEvent(everyEvent, &event)) {
        }
    }
};

TEST_F(EventsTest, NoEvent) {
    const UInt32 before = TickCount();
    EventRecord event = {mouseDown, 1, 0, {1, 1}, 1};
    EXPECT_FALSE(EventAvail(everyEvent, &event));
    EXPECT_EQ(nullEvent, event.what);
    EXPECT_EQ(0U, event.message);
    EXPECT_LE(before, event.when);
    EXPECT_GE(TickCount(), event.when);
    EXPECT_EQ(0, event.where.h);
    EXPECT_EQ(0, event.modifiers);
}

TEST_F(EventsTest, FirstInFirstOut) {
    EXPECT_EQ(noErr, PostEvent(keyDown, 'a'));
    EXPECT_EQ(noErr, PostEvent(mouseDown, 7));
    EXPECT_EQ(noErr, PostEvent(keyDown, 'b'));
    EventRecord event;
    EXPECT_TRUE(EventAvail(everyEvent, &event));
    EXPECT_EQ(U'a', event.message);
    EXPECT_TRUE(EventAvail(everyEvent, &event)) << "it stays";
    EXPECT_EQ(U'a', event.message);
    EXPECT_TRUE(GetNextEvent(everyEvent, &event));
    EXPECT_EQ(U'a', event.message);
    EXPECT_TRUE(GetNextEvent(MaskOf(keyDown), &event));
    EXPECT_EQ(U'b', event.message);
    EXPECT_FALSE(EventAvail(MaskOf(keyDown), &event));
    EXPECT_EQ(nullEvent, event.what);
    EXPECT_TRUE(GetNextEvent(everyEvent, &event));
    EXPECT_EQ(mouseDown, event.what);
    EXPECT_EQ(7U, event.message);
}

TEST_F(EventsTest, WhatIsNotQueued) {
    EXPECT_EQ(evtNotEnb, PostEvent(nullEvent, 0));
    EXPECT_EQ(evtNotEnb, PostEvent(16, 0));
    EXPECT_EQ(noErr, PostEvent(15, 0));
    EventRecord event;
    EXPECT_FALSE(EventAvail(0x7FFF, &event));
    EXPECT_TRUE(EventAvail(0x8000, &event));
}

TEST_F(EventsTest, TheOldestIsLost) {
    for (UInt32 message = 1; message <= 22; ++message)
        EXPECT_EQ(noErr, PostEvent(keyDown, message));
    EventRecord event;
    for (UInt32 message = 3; message <= 22; ++message) {
        EXPECT_TRUE(GetNextEvent(everyEvent, &event));
        EXPECT_EQ(message, event.message);
    }
    EXPECT_FALSE(EventAvail(everyEvent, &event));
}

TEST_F(EventsTest, SeveralThreads) {
    std::vector<std::thread> threads;
    std::atomic<int> taken{0};
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&taken] {
            for (int round = 0; round < 5; ++round) {
                EXPECT_EQ(noErr, PostEvent(keyDown, 1));
                EventRecord event;
                EventAvail(everyEvent, &event);
                taken += GetNextEvent(everyEvent, &event);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(20, taken) << "each thread posts one before it takes one";
}

}  // namespace

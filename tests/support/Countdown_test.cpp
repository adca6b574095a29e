#include "support/Countdown.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using support::Countdown;

// A dot for each of six steps that went well, an x for each that failed.
std::string Steps(Countdown& ioCountdown) {
    std::string steps;
    for (int step = 0; step < 6; ++step)
        steps += ioCountdown.IsDue() ? 'x' : '.';
    return steps;
}

TEST(Countdown, NoStep) {
    Countdown countdown;
    EXPECT_EQ("......", Steps(countdown));
    EXPECT_FALSE(countdown.Delivered());
    Countdown zeroth(0, Countdown::kForever);
    EXPECT_EQ("......", Steps(zeroth));
}

TEST(Countdown, Once) {
    Countdown first(1);
    EXPECT_EQ("x.....", Steps(first));
    EXPECT_EQ("......", Steps(first));
    Countdown third(3);
    EXPECT_EQ("..x...", Steps(third));
    EXPECT_EQ(1, third.DeliveredCount());
}

TEST(Countdown, Forever) {
    Countdown third(3, Countdown::kForever);
    EXPECT_EQ("..xxxx", Steps(third));
    EXPECT_EQ("xxxxxx", Steps(third));
    EXPECT_EQ(10, third.DeliveredCount());
}

TEST(Countdown, NotReached) {
    Countdown seventh(7);
    EXPECT_EQ("......", Steps(seventh));
    EXPECT_FALSE(seventh.Delivered());
    EXPECT_EQ("x.....", Steps(seventh));
    EXPECT_TRUE(seventh.Delivered());
}

}  // namespace

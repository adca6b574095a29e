#include "support/FailEach.h"

#include "support/Countdown.h"

#include <gtest/gtest-spi.h>

#include <string>
#include <vector>

namespace {

support::Countdown sCountdown;

class Fault {
  public:
    explicit Fault(int inFailing, support::Countdown::Extent inExtent = support::Countdown::kOnce) {
        sCountdown = support::Countdown(inFailing, inExtent);
    }
    ~Fault() { sCountdown = {}; }
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;
    bool Delivered() const { return sCountdown.Delivered(); }
};

// A dot for a step that went well, an x for one that failed.
char Step() {
    return sCountdown.IsDue() ? 'x' : '.';
}

TEST(FailEach, EveryStepInTurnAndThenNone) {
    std::vector<std::string> runs;
    std::vector<bool> delivered;
    const auto body = [&](const auto& inUnderFault) {
        std::string run{Step()};
        delivered.push_back(inUnderFault([&] {
            for (int step = 0; step < 3; ++step)
                run += Step();
        }));
        runs.push_back(run + Step());
    };
    EXPECT_EQ(3, support::FailEach<Fault>(body));
    EXPECT_EQ((std::vector<std::string>{".x...", "..x..", "...x.", "....."}), runs);
    EXPECT_EQ((std::vector<bool>{true, true, true, false}), delivered);
    runs.clear();
    EXPECT_EQ(3, support::FailEach<Fault>(body, support::Countdown::kForever));
    EXPECT_EQ((std::vector<std::string>{".xxx.", "..xx.", "...x.", "....."}), runs);
}

TEST(FailEach, SeveralStretchesInARun) {
    int runCount = 0;
    EXPECT_EQ(2, support::FailEach<Fault>([&](const auto& inUnderFault) {
                  ++runCount;
                  inUnderFault([] { Step(); });
                  inUnderFault([] {
                      Step();
                      Step();
                  });
              }));
    EXPECT_EQ(3, runCount);
}

TEST(FailEach, WithoutAnythingToFail) {
    EXPECT_EQ(0, support::FailEach<Fault>([](const auto& inUnderFault) { inUnderFault([] {}); }));
}

TEST(FailEach, AScenarioWithoutAnEndIsAFailure) {
    struct Endless {
        explicit Endless(int) {}
        bool Delivered() const { return true; }
    };
    EXPECT_NONFATAL_FAILURE(support::FailEach<Endless>([](const auto& inUnderFault) { inUnderFault([] {}); }),
                            "no end of steps");
}

}  // namespace

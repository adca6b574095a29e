// Which of many steps fails: the one idea of a fault that all the kit's faults share.
#pragma once

namespace support {

// A loop over n from 1 until none is delivered reaches each step of a scenario. It allocates nothing and
// needs no construction at run time, so that it serves beneath operator new, too.
class Countdown {
  public:
    enum Extent { kOnce, kForever };

    constexpr Countdown() = default;  // no step fails
    // The n-th step from now on fails, from 1: it alone, or it and all after it.
    constexpr explicit Countdown(int inFailingStep, Extent inExtent = kOnce)
        : mStepsUntilFault(inFailingStep), mExtent(inExtent) {}

    // Counts a step; true when it is one that fails.
    constexpr bool IsDue() {
        if (mStepsUntilFault <= 0 || --mStepsUntilFault > 0) return false;
        if (mExtent == kForever) mStepsUntilFault = 1;
        ++mDeliveredCount;
        return true;
    }

    constexpr bool Delivered() const { return mDeliveredCount > 0; }
    constexpr int DeliveredCount() const { return mDeliveredCount; }

  private:
    int mStepsUntilFault = 0;  // 0: none fails, or none any more
    Extent mExtent = kOnce;
    int mDeliveredCount = 0;
};

}  // namespace support

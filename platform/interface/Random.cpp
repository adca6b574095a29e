#include <toolbox/QuickDraw.h>

#include <atomic>

namespace toolbox::interface {

namespace {

constexpr UInt64 kMultiplier = 16'807;
constexpr UInt64 kModulus = 0x7FFF'FFFF;
constexpr UInt16 kOutOfRange = 0x8000;

std::atomic<UInt32> sSeed{1};

}  // namespace

}  // namespace toolbox::interface

using namespace toolbox::interface;

SInt16 Random() {
    UInt32 seed = sSeed.load(std::memory_order_relaxed);
    UInt32 next = 0;
    do
        next = static_cast<UInt32>(seed * kMultiplier % kModulus);
    while (!sSeed.compare_exchange_weak(seed, next, std::memory_order_relaxed));
    const auto number = static_cast<UInt16>(next);
    return number == kOutOfRange ? SInt16{0} : static_cast<SInt16>(number);
}

SInt32 GetQDGlobalsRandomSeed() {
    return static_cast<SInt32>(sSeed.load(std::memory_order_relaxed));
}

void SetQDGlobalsRandomSeed(SInt32 inSeed) {
    sSeed.store(static_cast<UInt32>(inSeed), std::memory_order_relaxed);
}

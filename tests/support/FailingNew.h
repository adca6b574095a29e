// Memory of C++ objects, failing at an allocation of the test's choice. Link FailingNew.cpp, which replaces
// the operators new and delete of the executable.
#pragma once

#include "support/Countdown.h"

#include <cstdint>

namespace test_files {

// While it lives, the n-th allocation of this thread throws std::bad_alloc, and all after it unless it is to
// be one alone.
class FailingNew {
  public:
    using Extent = support::Countdown::Extent;
    static constexpr Extent kOnce = Extent::kOnce;
    static constexpr Extent kForever = Extent::kForever;

    explicit FailingNew(int inFailingAllocation, Extent inExtent = kForever);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    bool Delivered() const;

    // Counts a step of another kind that is to fail in its turn; true when it is to.
    static bool IsDue();
};

// Allocations of this thread since it started, failing ones among them.
std::uint64_t NewCount();
// Bytes that this thread has got by operator new and not given back yet, as the allocator rounds them up.
std::int64_t LiveNewBytes();

}  // namespace test_files

// Memory failing at an allocation of the test's choice: every operator new, and every call of libavcodec,
// libavutil and libswresample that allocates and that our code makes. Link FailingMemory.cpp, which replaces
// these in the executable.
//
// What those libraries allocate within a call does not fail: the AAC decoder of some releases does not look
// whether it got its tables, and would crash later whatever we do.
#pragma once

#include <cstdint>

namespace test_movies {

// While it lives, the n-th allocation of this thread fails (n from 1), and with kForever all after it.
class FailingMemory {
  public:
    enum class Mode { kOnce, kForever };
    FailingMemory(int inFailingAllocation, Mode inMode);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    bool Delivered() const;
};

// Allocations of this thread since it started: of operator new, and of libavutil and others through
// posix_memalign.
std::uint64_t NewCount();
std::uint64_t AlignedCount();

}  // namespace test_movies

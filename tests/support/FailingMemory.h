// What FailingNew makes fail, with every call of libavcodec, libavutil and libswresample that allocates and
// that our code makes. Link FailingMemory.cpp, which replaces these in the executable, and FailingNew.cpp.
//
// What those libraries allocate within a call does not fail: the AAC decoder of some releases does not look
// whether it got its tables, and would crash later whatever we do.
#pragma once

#include "support/FailingNew.h"

#include <cstdint>

namespace test_movies {

// Allocations of this thread since it started that libavutil and others made through posix_memalign.
std::uint64_t AlignedCount();

}  // namespace test_movies

// For tests only: a switch that makes blocks move.
#pragma once

#include "Heap.h"

namespace toolbox::memory {

// While on, every resize of a block that is not locked moves it, even one that it could stay in place for,
// and the memory it leaves is overwritten: a pointer kept across the call then shows.
inline void SetMovesAtEveryResize(bool inMoves) {
    sMovesAtEveryResize.store(inMoves);
}

}  // namespace toolbox::memory

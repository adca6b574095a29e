// Master pointers: what a handle is the address of. They never move and are recycled, never given back to the
// system, so that a handle that was disposed of can still be recognised for what it is.
#pragma once

#include "Accounts.h"

#include <toolbox/MacTypes.h>

#include <atomic>
#include <cassert>
#include <type_traits>

namespace toolbox::memory {

struct MasterPointer {
    static constexpr UInt32 kLive = FourChars("hndl");
    static constexpr UInt32 kFree = FourChars("free");

    Ptr block;  // first: a Handle is the address of it; null when emptied or free
    MasterPointer* nextFree;
    Size sizeBytes;
    Size capacityBytes;  // >= sizeBytes: what the block may grow to without moving
    UInt32 tag;          // kLive or kFree
    UInt8 state;         // kHandle...Bit
};
static_assert(std::is_standard_layout_v<MasterPointer>);

// A thread has at most so many free ones at hand, and takes and returns half as many at a time.
constexpr UInt32 kMaxFreeMasters = 64;

// Takes free ones into an account that has none. False when memory is short.
bool FetchFreeMasters(Account& ioAccount) noexcept;
// Returns free ones until the account has inKeptCount (or fewer, if it had fewer).
void ReturnFreeMasters(Account& ioAccount, UInt32 inKeptCount) noexcept;
// Sees to it that at least inCount are free beside those that threads have at hand. False when memory is
// short.
bool ReserveMasterPointers(UInt32 inCount);
// The master pointer of the block at inBlock, or null. Looks at them all.
MasterPointer* FindMasterPointer(Ptr inBlock);

// Other threads may be looking for a block while its owner moves it.
inline void SetBlock(MasterPointer& ioMaster, Ptr inBlock) {
    std::atomic_ref(ioMaster.block).store(inBlock, std::memory_order_relaxed);
}

// A live, empty master pointer, or null when memory is short.
[[nodiscard]] inline MasterPointer* NewMasterPointer(Account& ioAccount) {
    if (ioAccount.freeMasters == nullptr && !FetchFreeMasters(ioAccount)) return nullptr;
    MasterPointer* master = ioAccount.freeMasters;
    ioAccount.freeMasters = master->nextFree;
    --ioAccount.freeMasterCount;
    Enter(ioAccount.handleCount, 1);
    master->tag = MasterPointer::kLive;
    return master;
}

// Takes one that has no block any more.
inline void DisposeMasterPointer(Account& ioAccount, MasterPointer* inMaster) {
    assert(inMaster->tag == MasterPointer::kLive && inMaster->block == nullptr);
    inMaster->tag = MasterPointer::kFree;
    inMaster->state = 0;
    inMaster->nextFree = ioAccount.freeMasters;
    ioAccount.freeMasters = inMaster;
    ++ioAccount.freeMasterCount;
    Enter(ioAccount.handleCount, -1);
    if (ioAccount.freeMasterCount > kMaxFreeMasters) [[unlikely]]
        ReturnFreeMasters(ioAccount, kMaxFreeMasters / 2);
}

}  // namespace toolbox::memory

// Master pointers: what a handle is the address of. They never move and are recycled, never given back to the
// system, so that a handle that was disposed of can still be recognised for what it is.
#pragma once

#include <toolbox/MacTypes.h>

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

// A live, empty master pointer, or null when memory is short.
MasterPointer* NewMasterPointer();
void DisposeMasterPointer(MasterPointer* inMaster);
UInt64 CountLiveMasterPointers();
// Sees to it that at least inCount are at hand. False when memory is short.
bool ReserveMasterPointers(UInt32 inCount);
// The master pointer of the block at inBlock, or null. Looks at them all.
MasterPointer* FindMasterPointer(Ptr inBlock);
// Other threads may be looking for a block while its owner moves it.
void SetBlock(MasterPointer& ioMaster, Ptr inBlock);

}  // namespace toolbox::memory

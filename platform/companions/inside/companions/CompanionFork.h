// The resource fork of an item, read and written where it lies in the companion.
//
// What leaves the entries as they are is written in place. A fork that grows has its bytes written and synced
// before its entry tells of them; one that shrinks is cut when the entry tells of less. So the companion can
// be read at every moment, also after the machine has failed. A fork that is not the last in the file, or
// that is not there yet, is laid out anew first: the companion is replaced by one that has it at the end.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc.
#pragma once

#include "os/FileRange.h"
#include "places/Place.h"

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <memory>
#include <span>

namespace toolbox::files {

struct Companion;

// A companion held open for its resource fork. One thread at a time.
class CompanionFork {
  public:
    CompanionFork();
    ~CompanionFork();

    // Holds the companion that the item has now, whatever was held before. ENOENT where nothing has its name,
    // also because the item was moved meanwhile; the one before is held then. Other errors are those of
    // OpenEntry.
    //   inAccess  O_RDONLY or O_RDWR
    [[nodiscard]] int Look(const Place& inItem, int inAccess);
    void Drop() noexcept;
    // Looks at what is held again, if anything is: the item has gone.
    [[nodiscard]] int LookAgain();

    // As it was when it was looked at last. Without a companion, or an entry, it has no bytes.
    UInt64 SizeBytes() const;
    UInt64 AllocatedBytes() const;  // of the companion
    // Until inByteCount bytes are there or the fork ends; outCount: how many there were, also on failure.
    [[nodiscard]] int Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount,
                           std::size_t& outCount) const;
    [[nodiscard]] int Sync() const;
    // Room for bytes of it, which is not made longer. EOPNOTSUPP where none can be had.
    [[nodiscard]] int Allocate(UInt64 inOffsetBytes, UInt64 inByteCount) const;

    // Of what is held while the item has gone, as it is by now. ENOENT for what cannot be done in place.
    [[nodiscard]] int Write(UInt64 inOffsetBytes, std::span<const UInt8> inBytes, std::size_t& outCount);
    [[nodiscard]] int SetSize(UInt64 inByteCount);

  private:
    [[nodiscard]] bool IsOf(const Place& inItem) const;
    template <typename Change>
    int ChangeHeld(Change inChange);

    std::unique_ptr<Companion> mCompanion;
};

// Writes to the fork of an item, which is made when it is not there and becomes longer where it ends before;
// what lies between is zero. outCount: how many bytes were written, also on failure. Errors are those of
// ReplaceEntry, and ENOENT or ESTALE when the item is there no more, ENOSPC when the format has no room,
// EBUSY when others write for too long.
[[nodiscard]] int WriteCompanionFork(const Place& inItem, const os::ItemIdentity& inIdentity,
                                     UInt64 inOffsetBytes, std::span<const UInt8> inBytes,
                                     std::size_t& outCount);
// What is added is zero. One of no bytes goes, and so does the companion when it tells nothing else.
[[nodiscard]] int SetCompanionForkSize(const Place& inItem, const os::ItemIdentity& inIdentity,
                                       UInt64 inByteCount);

}  // namespace toolbox::files

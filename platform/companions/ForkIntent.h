// The intent to exchange the resource forks of two files, which a companion holds while the files' names are
// exchanged: the other's fork, and by whom to tell whose contents the item beside it has.
//
// So each of the two companions has both forks, and tells by itself, at every moment and to who may only
// read, which of them is the item's: its own where that is the file that it was, the other's where it is the
// other file. An item that is neither has what other programs see, and the intent stays. Who writes the
// companion settles it first.
//
//   offset  bytes  (every number is big-endian)
//        0      8  inode of the file that was beside the companion
//        8      8  when it was made, in nanoseconds since 1970
//       16     16  the same of the other
//       32      4  permissions of the companion once it is settled
//                  then the other's resource fork
#pragma once

#include "CompanionFile.h"
#include "places/Place.h"

#include <sys/stat.h>

#include <string>
#include <vector>

namespace toolbox::files {

struct ForkIntent {
    // Of which the devices do not count: they are others when the machine starts anew.
    os::ItemIdentity own;
    os::ItemIdentity other;
    mode_t mode = 0;
};

// The part that tells it.
AppleDoublePart PartOf(const ForkIntent& inIntent, const std::vector<UInt8>& inOtherFork);

using CompanionParts = std::vector<AppleDoublePart>;
std::vector<UInt8> ForkIn(const CompanionParts& inParts);
// With that fork; one of no bytes is none.
CompanionParts WithFork(const CompanionParts& inParts, const std::vector<UInt8>& inFork);

// These answer 0 or an errno, and may throw std::bad_alloc.
//
// Gives the entries of a companion that was just read the sense that its intent has, by who has the name of
// its item.
//   inItemName  or path; empty for none
[[nodiscard]] int ReadIntentOf(int inFolder, const std::string& inItemName, Companion& ioCompanion);
// The same of one whose entries were just read again, by what it was told to be before.
void KeepIntent(Companion& ioCompanion);

// Makes of a companion as it lies on disk, which is locked, one without the intent, or none where it would
// tell nothing.
//   outIsSettled  false where there is no intent, or it tells nothing of the item
[[nodiscard]] int SettleIntent(const Place& inItem, const Companion& inCompanion, bool& outIsSettled);

}  // namespace toolbox::files

// The parts of an item's companion, all at once.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc, with nothing left open.
#pragma once

#include "formats/AppleDouble.h"
#include "places/Place.h"

#include <vector>

namespace toolbox::files {

constexpr std::size_t kFinderInfoBytes = 32;

// All parts but the one of an id, which may be 0; none, and false, where the item has no companion. Finder
// information that is longer than its 32 bytes has its place, because it tells offsets in the file. EBADMSG,
// ENODATA or EISDIR when what has the companion's name is none.
[[nodiscard]] int ReadParts(const Place& inItem, UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts,
                            bool& outExists);

// Makes these the parts of the companion, which is replaced or made. ENAMETOOLONG for a name that has no room
// for the prefix, ENOSPC when the format has no room for it all.
[[nodiscard]] int WriteParts(const Place& inItem, const std::vector<AppleDoublePart>& inParts);

}  // namespace toolbox::files

// Companions: what a file has beside its data, as entries of an AppleDouble file.
//
// The companion of an item lies beside it, under the item's name with "._" before it. Only a file that is
// AppleDouble is one, and only while its item is there; anything else of such a name is an ordinary item.
// Here, and nowhere else, companions are found, told from other items, and written. Functions answer 0 or an
// errno, and may throw std::bad_alloc, with nothing left open.
#pragma once

#include "os/FileRange.h"
#include "places/Place.h"

#include <toolbox/MacTypes.h>

#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

// What its name has before the item's.
inline constexpr std::string_view kCompanionPrefix = "._";
std::string CompanionName(const std::string& inItemName);
bool HasRoomForCompanion(const std::string& inItemName);

// The bytes of an entry of the item's companion. ENOENT when it has no companion or that has no such entry; a
// name that has no room for the prefix has none. EBADMSG or ENODATA when a file of the companion's name is no
// AppleDouble file, EISDIR when it is a folder, link, pipe or the like. outEntry is unspecified on failure.
[[nodiscard]] int OpenEntry(const Place& inItem, UInt32 inID, os::FileRange& outEntry);

// Makes inBytes the entry of the item's companion, which is replaced, with all else that it holds, or made.
// Errors as above for what has its name, which stays as it is; ENAMETOOLONG for a name that has no room for
// the prefix; ENOSPC when the format has no room for it all.
[[nodiscard]] int ReplaceEntry(const Place& inItem, UInt32 inID, const std::vector<UInt8>& inBytes);

// Whether what is at a place is a companion; false also where that cannot be told.
bool IsCompanion(const Place& inPlace);
// The same; outItem is the item whose companion it is.
bool IsCompanion(const Place& inPlace, os::ItemStatus& outItem);
// Whether the file at a place would be one at another, of an item that is there; the same.
bool WouldBeCompanion(const Place& inPlace, const os::ItemIdentity& inFile, const Place& inNewPlace);

}  // namespace toolbox::files

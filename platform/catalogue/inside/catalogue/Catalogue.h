// Finding items: from a path to the item, and from the item to the path where it is now.
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "os/ItemStatus.h"
#include "places/NodeTable.h"
#include "places/Place.h"

#include <toolbox/Files.h>

#include <string>
#include <string_view>

namespace toolbox::files {

struct FoundItem {
    os::ItemStatus status;
    NodeFacts facts;   // its ids, and the folder that it was found in
    std::string path;  // absolute; true at the moment of finding
};

// The path of what has a name in a folder.
std::string PathInFolder(const std::string& inFolderPath, std::string_view inName);

// The item at inPath, links followed, recorded in the node table. A relative path starts at the current
// folder. A path at which nothing is may be Java's modified UTF-8 and is tried again as such. outItem is
// unspecified on failure.
[[nodiscard]] OSStatus FindByPath(const char* inPath, FoundItem& outItem);

// The same, but a link that is the path's last name is the item itself; not where a slash is behind it.
[[nodiscard]] OSStatus FindItselfByPath(const char* inPath, FoundItem& outItem);

// The item of a folder, which is another record, was just found and holds the place open: what has the name
// itself, recorded from the folder alone. A descriptor's path alone is followed. fnfErr when there is none of
// that name; outItem is unspecified on failure.
[[nodiscard]] OSStatus FindAtPlace(const FoundItem& inFolder, const Place& inPlace, FoundItem& outItem);

// The item itself, which must be known to the node table, wherever it is now: at a path where it was seen, or
// renamed within its folder, or with a folder above it renamed. fnfErr when it is gone.
[[nodiscard]] OSStatus FindByIdentity(const os::ItemIdentity& inItem, FoundItem& outItem);

// Looks for an item among those of a folder; only status and path are told. fnfErr when it is not there.
[[nodiscard]] OSStatus FindInFolder(const std::string& inFolderPath, const os::ItemIdentity& inItem,
                                    FoundItem& outItem);

// Opens the place of an item that was just found; fnfErr when it is there no more.
[[nodiscard]] OSStatus OpenPlace(const FoundItem& inItem, Place& outPlace);

// A reference tells who the item is; of what is no folder also the folder and, as a number, the name by which
// it was found. So it holds whatever the table forgets, and of several names of an item it means the one.
[[nodiscard]] FSRef MakeRef(const FoundItem& inItem);
// Who it is in the catalogue. False when the bytes are no reference.
bool ReadRef(const FSRef& inRef, os::ItemIdentity& outItem);
// The item of a reference, wherever it is now: by the name that the reference means, else, while it has no
// more than one, by that. fnfErr when it is gone, errFSBadFSRef when the bytes are no reference.
[[nodiscard]] OSStatus FindByRef(const FSRef& inRef, FoundItem& outItem);

}  // namespace toolbox::files

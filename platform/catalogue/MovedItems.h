// Items that are deleted, moved and renamed, from finding them to telling where they are then.
//
// Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <toolbox/Files.h>

#include <string>

namespace toolbox::files {

// Opens the place of an item that was just found and is to lose it. paramErr for a volume's root, fnfErr for
// what has no name.
[[nodiscard]] OSStatus OpenItem(const FoundItem& inItem, Place& outPlace);

// The item, at its place, to a place with a name in a folder of that path.
//   outRef  the item; may be null; untouched on failure
[[nodiscard]] OSStatus MoveTo(FoundItem& ioItem, const Place& inPlace, const std::string& inFolderPath,
                              Place& ioNewPlace, FSRef* outRef);

}  // namespace toolbox::files

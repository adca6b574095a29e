// Items whose names change: the places that they leave and the folders that they go to, and where they are
// then.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <string>

namespace toolbox::files {

// The place of an item that was just found and may be deleted, moved, renamed and exchanged. fnfErr for one
// that has no name, paramErr for the root folder of a volume, fLckdErr for one that is locked.
//   inLockCheck  kByCaller: the caller looks whether the item is locked; here it is only looked whether it is
//                the companion of one that is
enum class LockCheck { kHere, kByCaller };
[[nodiscard]] OSStatus OpenItem(const FoundItem& inItem, Place& outPlace,
                                LockCheck inLockCheck = LockCheck::kHere);
[[nodiscard]] OSStatus OpenItemOfRef(const FSRef& inRef, FoundItem& outItem, Place& outPlace,
                                     LockCheck inLockCheck = LockCheck::kHere);

// A folder as a place without a name. dirNFErr when it is gone, errFSNotAFolder when it is none.
[[nodiscard]] OSStatus OpenFolderOfRef(const FSRef& inRef, FoundItem& outFolder, Place& outPlace);

// The item, at its place, to a place with a name in a folder of that path.
//   outRef  the item; may be null; untouched on failure
[[nodiscard]] OSStatus MoveTo(FoundItem& ioItem, const Place& inPlace, const std::string& inFolderPath,
                              Place& ioNewPlace, FSRef* outRef);

}  // namespace toolbox::files

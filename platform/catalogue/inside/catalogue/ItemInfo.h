// What the catalogue knows of an item that was just found, and what is set of it.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <toolbox/CatalogInfo.h>

namespace toolbox::files {

// Where each part goes; null: nowhere.
struct InfoOutputs {
    FSCatalogInfo* info = nullptr;  // not null where bits of it are asked for
    HFSUniStr255* name = nullptr;
    FSSpec* spec = nullptr;
    FSRef* parent = nullptr;
};

// What whoever found the item knows of it by then, and is not asked of the system again.
struct InfoKnownBefore {
    SInt16 volume = 0;  // its number; 0: not known
    bool hasNoCompanion = false;
    // Where it lies. What is asked of it beside its status is asked there, so that nobody can come between;
    // its path is not used then, but for the root of a volume.
    const Place* place = nullptr;
};

// As FSGetCatalogInfo, of bits that are gettable. What is not asked for costs no call of the system; all that
// one look tells was told when the item was found. On failure the outputs are untouched.
[[nodiscard]] OSStatus GetInfoOf(const FoundItem& inItem, FSCatalogInfoBitmap inWhich,
                                 const InfoOutputs& inOutputs, const InfoKnownBefore& inKnownBefore = {});

// Whether a companion has to be read for any of those bits, if there is one.
bool NeedsCompanion(FSCatalogInfoBitmap inWhich);

// Whether those bits can be set out of a record, which may be null; what FSSetCatalogInfo answers where not.
[[nodiscard]] OSStatus CheckSettable(FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo);
// As FSSetCatalogInfo, of bits that are settable: all of it is set, or none. A companion that is made for it
// outlasts a failure of the machine, but that of a new item only as the item itself does.
enum class ItemAge { kOld, kNew };
[[nodiscard]] OSStatus SetInfoOf(const FoundItem& inItem, FSCatalogInfoBitmap inWhich,
                                 const FSCatalogInfo& inInfo, ItemAge inAge = ItemAge::kOld);

}  // namespace toolbox::files

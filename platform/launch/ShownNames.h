// The names under which people see items. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"
#include "corefoundation/Owned.h"

#include <toolbox/CFString.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FinderInfo.h>

#include <string>
#include <string_view>

namespace toolbox::launch {

// What is known of an item that was just found.
struct ItemFacts {
    files::FoundItem item;
    std::u16string name;  // in the catalogue
    FSCatalogInfo info = {};
    FileInfo finder = {};  // flags are a folder's as well; all 0 where its companion may not be read

    bool IsFolder() const { return item.status.kind == os::ItemKind::kFolder; }
    bool IsVolume() const { return IsFolder() && info.parentDirID == 1; }
    // Whether it has an extension, and is to be shown without it.
    bool HidesExtension() const;
};
[[nodiscard]] OSStatus GetFacts(const FSRef& inItem, ItemFacts& outFacts);

// Null when memory is short.
corefoundation::Owned<CFStringRef> ShownName(const ItemFacts& inFacts);

// A name of the catalogue for people: bytes that are no text become U+FFFD.
corefoundation::Owned<CFStringRef> ReadableName(std::u16string_view inName);

}  // namespace toolbox::launch

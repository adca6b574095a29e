// Folders that are shown as one item. Functions may throw std::bad_alloc.
#pragma once

#include "Languages.h"
#include "catalogue/Catalogue.h"

#include <toolbox/FinderInfo.h>

#include <string>
#include <vector>

namespace toolbox::launch {

// The name's extension without its dot, which is neither first nor last; empty when it has none. The views
// are into inName.
std::u16string_view ExtensionOf(std::u16string_view inName);

// See kLSItemInfoIsPackage.
//   inName         in the catalogue
bool IsPackage(const files::FoundItem& inFolder, std::u16string_view inName, UInt16 inFinderFlags);

// Type and creator by the package's information. False when it is no bundle.
bool GetPackageCodes(const files::FoundItem& inPackage, UInt32& outType, UInt32& outCreator);

// What it is called in the best of the languages for which it has a name, as UTF-8; empty when there is none,
// or when its own name is another than its information's.
std::string LocalizedName(const files::FoundItem& inPackage, std::u16string_view inName,
                          const std::vector<Language>& inLanguages);

}  // namespace toolbox::launch

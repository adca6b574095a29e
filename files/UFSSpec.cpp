#include <files/UFSSpec.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/LaunchServices.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <iterator>

bool UFSSpec::IsBundle(FSRef& inItem) {
    FSCatalogInfo info;
    HFSUniStr255 itemName;
    if (FSGetCatalogInfo(&inItem, kFSCatInfoFinderInfo | kFSCatInfoNodeFlags, &info, &itemName, nullptr,
                         nullptr) != noErr ||
        (info.nodeFlags & kFSNodeIsDirectoryMask) == 0)
        return false;
    FolderInfo finder;
    std::memcpy(&finder, info.finderInfo, sizeof finder);
    if ((finder.finderFlags & kHasBundle) != 0) return true;
    static const TCFString sSuffixes[] = {CFSTR(".nib"), CFSTR(".app"), CFSTR(".bundle"),
                                          CFSTR(".framework")};
    const TCFString name(itemName);
    if (std::any_of(std::begin(sSuffixes), std::end(sSuffixes),
                    [&name](const TCFString& inSuffix) { return name.HasSuffix(inSuffix); }))
        return true;
    LSItemInfoRecord item;
    return LSCopyItemInfoForRef(&inItem, kLSRequestBasicFlagsOnly, &item) == noErr &&
           (item.flags & kLSItemInfoIsPackage) != 0;
}

// Folders by what is in them, and lists of items.
#include "ItemNames.h"

#include <files/UFSSpec.h>
#include <foundation/LException.h>
#include <toolbox/Folders.h>
#include <toolbox/Iterators.h>
#include <toolbox/MacErrors.h>
#include <toolbox/VolumeInfo.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

using Items = std::vector<TFSSpec>;

// Closed whatever is thrown.
class FolderList {
  public:
    explicit FolderList(FSIterator inIterator) : mIterator(inIterator) {}
    ~FolderList() {
        if (mIterator != nullptr) (void)FSCloseIterator(mIterator);
    }
    FolderList(const FolderList&) = delete;
    FolderList& operator=(const FolderList&) = delete;

    void AppendTo(Items& ioItems, bool inFilesOnly) {
        OSErr error = noErr;
        while (error == noErr || error == afpAccessDenied) {
            ItemCount count = 0;
            FSCatalogInfo info;
            HFSUniStr255 name;
            constexpr FSCatalogInfoBitmap kInfo =
                kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;
            error =
                FSGetCatalogInfoBulk(mIterator, 1, &count, nullptr, kInfo, &info, nullptr, nullptr, &name);
            if (error != noErr || count != 1) continue;
            if (!inFilesOnly || (info.nodeFlags & kFSNodeIsDirectoryMask) == 0)
                ioItems.push_back(TFSSpec(info, name));
        }
    }
    OSErr Close() { return FSCloseIterator(std::exchange(mIterator, nullptr)); }

  private:
    FSIterator mIterator;
};

void AppendVisible(Items& ioItems, const TFSSpec& inItem, bool inIncludeInvisible) {
    if (inIncludeInvisible || !inItem.IsInvisible()) ioItems.push_back(inItem);
}

// What is listed is no folder, so that none is gone into.
void AddSubFolderContents(Items& ioItems, long inDepth, bool inIncludeInvisible, const TFSSpec& inFolder) {
    Items items;
    (void)UFSSpec::GetFolderContents(inFolder, items, true);
    for (const TFSSpec& item : items) {
        if (inDepth > 0 && item.IsFolder())
            AddSubFolderContents(ioItems, inDepth - 1, inIncludeInvisible, item);
        else
            AppendVisible(ioItems, item, inIncludeInvisible);
    }
}

void CleanTempItemsOn(FSVolumeRefNum inVolume, const TCFString& inPrefix) {
    SInt16 volume = 0;
    UInt32 folder = 0;
    if (FindFolder(inVolume, kTemporaryFolderType, kDontCreateFolder, &volume, &folder) != noErr) return;
    Items items;
    (void)UFSSpec::GetFolderContents(TFSSpec(volume, folder, TCFString::Empty), items, false);
    for (const TFSSpec& item : items)
        if (item.GetName().HasPrefix(inPrefix, false)) UFSSpec::Delete(item, false, true);
}

bool ComesBefore(const TCFString& inLeft, const TCFString& inRight) {
    return inLeft.FinderCompareTo(inRight, true) < 0;
}

}  // namespace

OSErr UFSSpec::GetFolderContents(const TFSSpec& inFolder, std::vector<TFSSpec>& ioItems, bool inFilesOnly) {
    FSRef folder;
    if (!inFolder.GetFSRef(folder)) return noErr;
    FSIterator iterator = nullptr;
    const OSErr error = FSOpenIterator(&folder, kFSIterateFlat, &iterator);
    if (error != noErr) return error;
    FolderList list(iterator);
    list.AppendTo(ioItems, inFilesOnly);
    return list.Close();
}

void UFSSpec::ExpandFolderContents(std::vector<TFSSpec>& ioItems, long inDepth, bool inIncludeInvisible) {
    Items items;
    for (const TFSSpec& item : ioItems) {
        if (item.IsFolder())
            AddSubFolderContents(items, inDepth, inIncludeInvisible, item);
        else
            AppendVisible(items, item, inIncludeInvisible);
    }
    ioItems.swap(items);
}

// The names stay what they are while they are sorted, whatever becomes of the folders meanwhile.
void UFSSpec::SortTFSSpecs(std::vector<TFSSpec>& ioItems) {
    std::vector<TCFString> names;
    names.reserve(ioItems.size());
    for (const TFSSpec& item : ioItems)
        names.push_back(item.GetName());
    std::vector<std::size_t> order(ioItems.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&names](std::size_t inLeft, std::size_t inRight) {
        return ComesBefore(names[inLeft], names[inRight]);
    });
    Items sorted;
    sorted.reserve(ioItems.size());
    for (const std::size_t index : order)
        sorted.push_back(ioItems[index]);
    ioItems.swap(sorted);
}

void UFSSpec::CleanTempItems(const unsigned char* inPrefix) {
    if (inPrefix == nullptr || inPrefix[0] == 0) LException::Throw(paramErr);
    const TCFString prefix(inPrefix, TCFString::DefaultEncoding());
    RefuseEmptyName(prefix, false, paramErr);
    FSVolumeRefNum volume = 0;
    for (ItemCount index = 1; FSGetVolumeInfo(kFSInvalidVolumeRefNum, index, &volume, kFSVolInfoNone, nullptr,
                                              nullptr, nullptr) == noErr;
         ++index) {
        try {
            CleanTempItemsOn(volume, prefix);
        } catch (...) {  // the other volumes are looked at all the same
        }
    }
}

bool FinderCompareNames::operator()(const TFSSpec& inLeft, const TFSSpec& inRight) const {
    return ComesBefore(inLeft.GetName(), inRight.GetName());
}

#include "companions/Companions.h"

#include "CompanionFile.h"
#include "CompanionParts.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::string_view kPrefix = kCompanionPrefix;

int OpenCompanion(const Place& inItem, Companion& outCompanion) {
    return OpenNamed(inItem.folder.Number(), CompanionName(inItem.name), outCompanion);
}

// Whether what has the name in a folder can have a companion there: the folder itself does where it is a
// volume's root.
bool CanHaveCompanion(const Place& inPlace, const std::string& inName) {
    if (inName == "..") return false;
    if (inName != ".") return true;
    os::ItemStatus above;
    if (os::GetStatusAt(inPlace.folder.Number(), "..", above) != 0) return false;
    return above.Volume() != inPlace.folderStatus.Volume() ||
           above.identity.IsSameItem(inPlace.folderStatus.identity);
}

// Whether there is the item whose companion would have the place's name.
bool HasItem(const Place& inPlace, os::ItemStatus& outItem) {
    if (!inPlace.name.starts_with(kPrefix)) return false;
    const std::string itemName = inPlace.name.substr(kPrefix.size());
    return os::GetStatusAt(inPlace.folder.Number(), itemName.c_str(), outItem) == 0 &&
           CanHaveCompanion(inPlace, itemName);
}

bool IsAppleDouble(const Place& inPlace) {
    Companion companion;
    return OpenNamed(inPlace.folder.Number(), inPlace.name, companion) == 0;
}

}  // namespace

int OpenNamed(int inFolder, const std::string& inName, Companion& outCompanion) {
    os::Descriptor file;
    int error = os::OpenFile(inFolder, inName.c_str(), O_RDONLY | os::kItemItself, file);
    if (error == ENAMETOOLONG) return ENOENT;
    if (error == ELOOP) return EISDIR;
    if (error == 0) error = outCompanion.file.Adopt(std::move(file));
    if (error == EINVAL) return EISDIR;
    return error != 0 ? error : ReadAppleDouble(outCompanion.file, outCompanion.entries);
}

std::string CompanionName(const std::string& inItemName) {
    return std::string(kPrefix) + inItemName;
}

int OpenEntry(const Place& inItem, UInt32 inID, os::FileRange& outEntry) {
    Companion companion;
    const int error = OpenCompanion(inItem, companion);
    if (error != 0) return error;
    const auto found = std::find_if(companion.entries.begin(), companion.entries.end(),
                                    [inID](const AppleDoubleEntry& inEntry) { return inEntry.id == inID; });
    if (found == companion.entries.end()) return ENOENT;
    outEntry = std::move(companion.file);
    outEntry.Narrow(found->offsetBytes, found->lengthBytes);
    return 0;
}

int ReplaceEntry(const Place& inItem, UInt32 inID, const std::vector<UInt8>& inBytes) {
    std::vector<AppleDoublePart> parts;
    bool exists = false;
    const int error = ReadParts(inItem, inID, parts, exists);
    if (error != 0) return error;
    // As others write it: there are readers that look for it in the first place.
    if (!exists && inID != AppleDoubleEntry::kFinderInfo)
        parts.push_back({AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes)});
    parts.push_back({inID, inBytes});
    return WriteParts(inItem, parts);
}

bool IsCompanion(const Place& inPlace) {
    os::ItemStatus item;
    return HasItem(inPlace, item) && IsAppleDouble(inPlace);
}

bool WouldBeCompanion(const Place& inPlace, const os::ItemIdentity& inFile, const Place& inNewPlace) {
    os::ItemStatus item;
    return HasItem(inNewPlace, item) && !item.identity.IsSameItem(inFile) && IsAppleDouble(inPlace);
}

}  // namespace toolbox::files

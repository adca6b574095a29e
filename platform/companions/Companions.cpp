#include "companions/Companions.h"

#include "CompanionFile.h"
#include "os/Replace.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::string_view kPrefix = "._";
constexpr std::size_t kFinderInfoBytes = 32;

int OpenCompanion(const Place& inItem, Companion& outCompanion) {
    return OpenNamed(inItem.folder.Number(), CompanionName(inItem.name), outCompanion);
}

// 0 or an errno. All parts but the one of that id.
int ReadOtherParts(const Companion& inCompanion, UInt32 inID, std::vector<AppleDoublePart>& outParts) {
    for (const AppleDoubleEntry& entry : inCompanion.entries) {
        if (entry.id == inID) continue;
        AppleDoublePart part = {entry.id, std::vector<UInt8>(entry.lengthBytes)};
        const int error = inCompanion.file.Read(entry.offsetBytes, part.bytes.data(), part.bytes.size());
        if (error != 0) return error;
        outParts.push_back(std::move(part));
    }
    return 0;
}

// Whether there is the item whose companion would have the place's name.
bool HasItem(const Place& inPlace, os::ItemStatus& outItem) {
    if (!inPlace.name.starts_with(kPrefix)) return false;
    const std::string itemName = inPlace.name.substr(kPrefix.size());
    return os::GetStatusAt(inPlace.folder.Number(), itemName.c_str(), outItem) == 0;
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
    Companion companion;
    int error = OpenCompanion(inItem, companion);
    if (error == 0) {
        error = ReadOtherParts(companion, inID, parts);
    } else if (error == ENOENT) {
        // As others write it: there are readers that look for it in the first place.
        if (inID != AppleDoubleEntry::kFinderInfo)
            parts.push_back({AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes)});
        error = 0;
    }
    if (error != 0) return error;
    parts.push_back({inID, inBytes});
    std::vector<UInt8> file;
    if (!EncodeAppleDouble(parts, file)) return ENOSPC;
    return os::ReplaceFile(inItem.folder.Number(), CompanionName(inItem.name), file);
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

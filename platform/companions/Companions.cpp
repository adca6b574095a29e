#include "companions/Companions.h"

#include "CompanionFile.h"
#include "CompanionParts.h"
#include "CompanionWriter.h"
#include "ForkIntent.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::string_view kPrefix = kCompanionPrefix;
constexpr std::size_t kMaxNameBytes = 255;
// How often entries are read again because the file changes meanwhile.
constexpr int kRounds = 5;

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

// Of a companion's name or path; empty where it is the name of none.
std::string ItemNameOf(const std::string& inName) {
    const std::size_t nameStart = inName.rfind('/') + 1;
    if (inName.compare(nameStart, kPrefix.size(), kPrefix) != 0) return {};
    return inName.substr(0, nameStart) + inName.substr(nameStart + kPrefix.size());
}

int ReadHead(Companion& ioCompanion) {
    ioCompanion.headByteCount =
        static_cast<std::size_t>(std::min<UInt64>(ioCompanion.SizeBytes(), Companion::kHeadBytes));
    return ioCompanion.file.Read(0, ioCompanion.head.data(), ioCompanion.headByteCount);
}

}  // namespace

int Companion::Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const {
    if (inOffsetBytes > headByteCount || inByteCount > headByteCount - inOffsetBytes)
        return file.Read(inOffsetBytes, outBytes, inByteCount);
    std::copy_n(head.data() + inOffsetBytes, inByteCount, static_cast<UInt8*>(outBytes));
    return 0;
}

bool IsNoCompanion(int inError) {
    return inError == ENOENT || inError == EBADMSG || inError == ENODATA || inError == EISDIR;
}

int OpenNamedFile(int inFolder, const std::string& inName, int inAccess, os::Descriptor& outFile) {
    const int error = os::OpenFile(inFolder, inName.c_str(), inAccess | os::kItemItself, outFile);
    if (error == ENAMETOOLONG) return ENOENT;
    return error == ELOOP || error == ENXIO ? EISDIR : error;
}

int AdoptCompanion(os::Descriptor inFile, Companion& outCompanion) {
    const int error = outCompanion.file.Adopt(std::move(inFile));
    if (error == EINVAL) return EISDIR;
    return error != 0 ? error : ReadEntries(outCompanion);
}

int ReadEntries(Companion& ioCompanion) {
    for (int round = 0;; ++round) {
        const UInt64 sizeBytes = ioCompanion.file.SizeBytes();
        int error = ReadHead(ioCompanion);
        if (error == 0) error = ReadAppleDouble(ioCompanion, ioCompanion.entries);
        const bool isNone = error == EBADMSG || error == ENODATA;
        if (!isNone || round == kRounds) return error;
        // Entries that are not in the file may be those of one that was another length by then.
        const int noneError = error;
        error = ioCompanion.file.Refresh();
        if (error != 0) return error;
        if (ioCompanion.file.SizeBytes() == sizeBytes) return noneError;
    }
}

int OpenNamed(int inFolder, const std::string& inName, Companion& outCompanion) {
    os::Descriptor file;
    int error = OpenNamedFile(inFolder, inName, O_RDONLY, file);
    if (error == 0) error = AdoptCompanion(std::move(file), outCompanion);
    return error == 0 ? ReadIntentOf(inFolder, ItemNameOf(inName), outCompanion) : error;
}

std::string CompanionName(const std::string& inItemName) {
    return std::string(kPrefix) + inItemName;
}

bool HasRoomForCompanion(const std::string& inItemName) {
    return CompanionName(inItemName).size() <= kMaxNameBytes;
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
    return ChangeCompanion({inItem}, O_RDONLY, [&](CompanionWriter& ioWriter) {
        std::vector<AppleDoublePart> parts;
        const int error = ioWriter.ReadParts(inID, parts);
        if (error != 0) return error;
        // As others write it: there are readers that look for it in the first place.
        if (!ioWriter.Exists() && inID != AppleDoubleEntry::kFinderInfo)
            parts.push_back({AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes)});
        parts.push_back({inID, inBytes});
        return ioWriter.Replace(parts);
    });
}

bool IsCompanion(const Place& inPlace, os::ItemStatus& outItem) {
    return HasItem(inPlace, outItem) && IsAppleDouble(inPlace);
}

bool IsCompanion(const Place& inPlace) {
    os::ItemStatus item;
    return IsCompanion(inPlace, item);
}

bool WouldBeCompanion(const Place& inPlace, const os::ItemIdentity& inFile, const Place& inNewPlace) {
    os::ItemStatus item;
    return HasItem(inNewPlace, item) && !item.identity.IsSameItem(inFile) && IsAppleDouble(inPlace);
}

}  // namespace toolbox::files

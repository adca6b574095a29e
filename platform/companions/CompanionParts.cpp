#include "CompanionParts.h"

#include "CompanionFile.h"
#include "companions/Companions.h"
#include "os/Replace.h"

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

bool HasItsPlace(const AppleDoubleEntry& inEntry) {
    return inEntry.id == AppleDoubleEntry::kFinderInfo && inEntry.lengthBytes > kFinderInfoBytes;
}

}  // namespace

int ReadParts(const Place& inItem, UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts,
              bool& outExists) {
    outParts.clear();
    Companion companion;
    const int openError = OpenNamed(inItem.folder.Number(), CompanionName(inItem.name), companion);
    outExists = openError == 0;
    if (openError != 0) return openError == ENOENT ? 0 : openError;
    for (const AppleDoubleEntry& entry : companion.entries) {
        if (entry.id == inOtherThan) continue;
        AppleDoublePart part = {entry.id, std::vector<UInt8>(entry.lengthBytes),
                                HasItsPlace(entry) ? entry.offsetBytes : 0};
        const int error = companion.file.Read(entry.offsetBytes, part.bytes.data(), part.bytes.size());
        if (error != 0) return error;
        outParts.push_back(std::move(part));
    }
    return 0;
}

int WriteParts(const Place& inItem, const std::vector<AppleDoublePart>& inParts) {
    std::vector<UInt8> file;
    if (!EncodeAppleDouble(inParts, file)) return ENOSPC;
    return os::ReplaceFile(inItem.folder.Number(), CompanionName(inItem.name), file);
}

}  // namespace toolbox::files

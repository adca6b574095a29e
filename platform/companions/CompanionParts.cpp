#include "CompanionParts.h"

#include <algorithm>
#include <utility>

namespace toolbox::files {

namespace {

bool HasItsPlace(const AppleDoubleEntry& inEntry) {
    return inEntry.id == AppleDoubleEntry::kFinderInfo && inEntry.lengthBytes > kFinderInfoBytes;
}

bool IsDefault(const AppleDoublePart& inPart) {
    if (inPart.id == AppleDoubleEntry::kResourceFork) return inPart.bytes.empty();
    return inPart.id == AppleDoubleEntry::kFinderInfo && inPart.bytes.size() == kFinderInfoBytes &&
           AreZero(inPart.bytes);
}

}  // namespace

int ReadParts(const Companion& inCompanion, UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts) {
    outParts.clear();
    for (const AppleDoubleEntry& entry : inCompanion.entries) {
        if (entry.id == inOtherThan) continue;
        AppleDoublePart part = {entry.id, std::vector<UInt8>(entry.lengthBytes),
                                HasItsPlace(entry) ? entry.offsetBytes : 0};
        const int error = inCompanion.Read(entry.offsetBytes, part.bytes.data(), part.bytes.size());
        if (error != 0) return error;
        outParts.push_back(std::move(part));
    }
    return 0;
}

bool AreZero(const std::vector<UInt8>& inBytes) {
    return std::all_of(inBytes.begin(), inBytes.end(), [](UInt8 inByte) { return inByte == 0; });
}

bool AreDefault(const std::vector<AppleDoublePart>& inParts) {
    return std::all_of(inParts.begin(), inParts.end(), IsDefault);
}

}  // namespace toolbox::files

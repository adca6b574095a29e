#include "companions/CompanionInfo.h"

#include "CompanionFile.h"
#include "CompanionParts.h"
#include "CompanionWriter.h"
#include "companions/Companions.h"
#include "os/BigEndian.h"

#include <algorithm>
#include <vector>

namespace toolbox::files {

namespace {

using Parts = std::vector<AppleDoublePart>;

// The dates: creation, change, backup, access.
constexpr std::size_t kFileDatesBytes = 16;
constexpr std::size_t kCreationOffset = 0;
constexpr std::size_t kBackupOffset = 8;
constexpr UInt32 kUnknownDate = 0x80000000;
// Attributes as in a catalogue of old, in the last of four bytes.
constexpr std::size_t kMacFileInfoBytes = 4;
constexpr std::size_t kAttributesOffset = 3;
constexpr UInt8 kLockedAttribute = 1;
constexpr std::size_t kEncodingHintBytes = 4;
constexpr std::size_t kExtendedOffset = 16;

static_assert(static_cast<SInt32>(kUnknownDate) == CompanionInfo::kNoDate);
static_assert(kFinderInfoBytes == sizeof CompanionInfo::finderInfo);

// What an entry of some bytes tells; those that it does not have tell nothing.
void Take(UInt32 inID, const UInt8* inBytes, std::size_t inByteCount, CompanionInfo& ioInfo) {
    switch (inID) {
        case AppleDoubleEntry::kFinderInfo:
            std::copy_n(inBytes, std::min(inByteCount, kFinderInfoBytes), ioInfo.finderInfo.begin());
            break;
        case AppleDoubleEntry::kFileDates:
            if (inByteCount < kFileDatesBytes) break;
            ioInfo.creationSeconds = static_cast<SInt32>(os::Load32(inBytes + kCreationOffset));
            ioInfo.backupSeconds = static_cast<SInt32>(os::Load32(inBytes + kBackupOffset));
            break;
        case AppleDoubleEntry::kMacFileInfo:
            if (inByteCount < kMacFileInfoBytes) break;
            ioInfo.isLocked = (inBytes[kAttributesOffset] & kLockedAttribute) != 0;
            break;
        case AppleDoubleEntry::kEncodingHint:
            if (inByteCount >= kEncodingHintBytes) ioInfo.encodingHint = os::Load32(inBytes);
            break;
        default:
            break;
    }
}

// The bytes of the part of that id, as many as it must have, of which new ones are like inNewBytes.
std::vector<UInt8>& BytesOf(UInt32 inID, const std::vector<UInt8>& inNewBytes, Parts& ioParts) {
    auto part = std::find_if(ioParts.begin(), ioParts.end(),
                             [inID](const AppleDoublePart& inPart) { return inPart.id == inID; });
    if (part == ioParts.end()) part = ioParts.insert(part, {inID, {}});
    std::vector<UInt8>& bytes = part->bytes;
    if (bytes.size() < inNewBytes.size())
        bytes.insert(bytes.end(), inNewBytes.begin() + static_cast<std::ptrdiff_t>(bytes.size()),
                     inNewBytes.end());
    return bytes;
}

}  // namespace

bool IsInfo(UInt32 inID) {
    return inID == AppleDoubleEntry::kFinderInfo || inID == AppleDoubleEntry::kFileDates ||
           inID == AppleDoubleEntry::kMacFileInfo || inID == AppleDoubleEntry::kEncodingHint;
}

int ReadInfoOf(const Companion& inCompanion, CompanionInfo& outInfo, CompanionSizes& outSizes) {
    outSizes.allocatedBytes = inCompanion.file.AllocatedBytes();
    for (const AppleDoubleEntry& entry : inCompanion.entries) {
        if (entry.id == AppleDoubleEntry::kResourceFork) outSizes.forkBytes = entry.lengthBytes;
        if (!IsInfo(entry.id)) continue;
        UInt8 bytes[kFinderInfoBytes];
        const std::size_t byteCount = std::min<std::size_t>(entry.lengthBytes, sizeof bytes);
        const int error = inCompanion.Read(entry.offsetBytes, bytes, byteCount);
        if (error != 0) return error;
        Take(entry.id, bytes, byteCount, outInfo);
    }
    return 0;
}

void PutInfo(const CompanionInfo& inInfo, Parts& ioParts) {
    std::vector<UInt8>& finderInfo =
        BytesOf(AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes), ioParts);
    std::copy(inInfo.finderInfo.begin(), inInfo.finderInfo.end(), finderInfo.begin());

    std::vector<UInt8> noDates(kFileDatesBytes);
    for (std::size_t at = 0; at < kFileDatesBytes; at += sizeof kUnknownDate)
        os::Store32(noDates.data() + at, kUnknownDate);
    std::vector<UInt8>& dates = BytesOf(AppleDoubleEntry::kFileDates, noDates, ioParts);
    os::Store32(dates.data() + kCreationOffset, static_cast<UInt32>(inInfo.creationSeconds));
    os::Store32(dates.data() + kBackupOffset, static_cast<UInt32>(inInfo.backupSeconds));
    const bool hasDates = dates != noDates;

    std::vector<UInt8>& fileInfo =
        BytesOf(AppleDoubleEntry::kMacFileInfo, std::vector<UInt8>(kMacFileInfoBytes), ioParts);
    UInt8& attributes = fileInfo[kAttributesOffset];
    attributes =
        static_cast<UInt8>((attributes & ~kLockedAttribute) | (inInfo.isLocked ? kLockedAttribute : 0));

    std::vector<UInt8>& hint =
        BytesOf(AppleDoubleEntry::kEncodingHint, std::vector<UInt8>(kEncodingHintBytes), ioParts);
    os::Store32(hint.data(), inInfo.encodingHint);

    std::erase_if(ioParts, [hasDates](const AppleDoublePart& inPart) {
        if (inPart.id == AppleDoubleEntry::kFileDates) return !hasDates;
        const bool isByBits =
            inPart.id == AppleDoubleEntry::kMacFileInfo || inPart.id == AppleDoubleEntry::kEncodingHint;
        return isByBits && AreZero(inPart.bytes);
    });
}

namespace {

int AddFork(const Companion& inCompanion, Parts& ioParts) {
    for (const AppleDoubleEntry& entry : inCompanion.entries) {
        if (entry.id != AppleDoubleEntry::kResourceFork) continue;
        ioParts.push_back({entry.id, std::vector<UInt8>(entry.lengthBytes)});
        return inCompanion.Read(entry.offsetBytes, ioParts.back().bytes.data(), entry.lengthBytes);
    }
    return 0;
}

// Another user's, or one that may only be read, can still be replaced, or be as it is to be.
bool MayNotBeWritten(int inError) {
    return inError == EACCES || inError == EPERM || inError == EROFS || inError == ETXTBSY;
}

template <typename Change>
int ChangeInfoOf(const ItemAt& inItem, int inAccess, Change inChange) {
    return ChangeCompanion(inItem, inAccess, [&](CompanionWriter& ioWriter) {
        CompanionInfo info;
        CompanionSizes sizes;
        Parts parts;
        int error = ReadInfoOf(ioWriter.Get(), info, sizes);
        if (error == 0) error = ioWriter.ReadParts(AppleDoubleEntry::kResourceFork, parts);
        if (error != 0) return error;
        const CompanionInfo before = info;
        inChange(info);
        PutInfo(info, parts);
        if (sizes.forkBytes == 0 && AreDefault(parts)) return ioWriter.Exists() ? ioWriter.Remove() : 0;
        if (info == before) return 0;
        // Who reads a fork takes a file that was written for one whose fork was.
        const bool mayBeInPlace = inAccess == O_RDWR && sizes.forkBytes == 0;
        if (mayBeInPlace && ioWriter.CanWriteInPlace(parts)) return ioWriter.WriteInPlace(parts);
        error = AddFork(ioWriter.Get(), parts);
        return error == 0 ? ioWriter.Replace(parts) : error;
    });
}

template <typename Change>
int ChangeInfoOf(const ItemAt& inItem, Change inChange) {
    const int error = ChangeInfoOf(inItem, O_RDWR, inChange);
    return MayNotBeWritten(error) ? ChangeInfoOf(inItem, O_RDONLY, inChange) : error;
}

}  // namespace

int ReadInfo(int inFolder, const std::string& inCompanionName, CompanionInfo& outInfo,
             CompanionSizes& outSizes) {
    outInfo = {};
    outSizes = {};
    Companion companion;
    int error = OpenNamed(inFolder, inCompanionName, companion);
    if (error == 0) error = ReadInfoOf(companion, outInfo, outSizes);
    if (error != 0) {
        outInfo = {};
        outSizes = {};
    }
    return IsNoCompanion(error) ? 0 : error;
}

void CopyParts(InfoParts inWhich, const CompanionInfo& inFrom, CompanionInfo& ioTo) {
    const auto middle = static_cast<std::ptrdiff_t>(kExtendedOffset);
    const auto& from = inFrom.finderInfo;
    if ((inWhich & kFinderPart) != 0) std::copy(from.begin(), from.begin() + middle, ioTo.finderInfo.begin());
    if ((inWhich & kExtendedPart) != 0)
        std::copy(from.begin() + middle, from.end(), ioTo.finderInfo.begin() + middle);
    if ((inWhich & kCreationPart) != 0) ioTo.creationSeconds = inFrom.creationSeconds;
    if ((inWhich & kBackupPart) != 0) ioTo.backupSeconds = inFrom.backupSeconds;
    if ((inWhich & kLockPart) != 0) ioTo.isLocked = inFrom.isLocked;
    if ((inWhich & kHintPart) != 0) ioTo.encodingHint = inFrom.encodingHint;
}

InfoParts CommonParts(const CompanionInfo& inLeft, const CompanionInfo& inRight) {
    InfoParts common = 0;
    for (InfoParts part = 1; part < kAllInfoParts; part <<= 1) {
        CompanionInfo copy = inLeft;
        CopyParts(part, inRight, copy);
        if (copy == inLeft) common |= part;
    }
    return common;
}

int WriteInfo(const Place& inItem, const CompanionInfo& inInfo) {
    return ChangeInfoOf({inItem}, [&inInfo](CompanionInfo& ioInfo) { ioInfo = inInfo; });
}

int ChangeInfo(const Place& inItem, const os::ItemIdentity& inIdentity,
               const std::function<void(CompanionInfo&)>& inChange, os::NameLasts inNameLasts) {
    return ChangeInfoOf({inItem, &inIdentity, inNameLasts}, inChange);
}

int IsLocked(const Place& inItem, const os::ItemStatus& inStatus, bool& outIsLocked) {
    CompanionInfo info;
    CompanionSizes sizes;
    const int error = ReadInfo(inItem.folder.Number(), CompanionName(inItem.name), info, sizes);
    outIsLocked = inStatus.isImmutable || info.isLocked;
    return error;
}

}  // namespace toolbox::files

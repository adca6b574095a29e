#include "ItemCompanions.h"

#include "FolderItems.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/Volumes.h"
#include "companions/Companions.h"
#include "os/BigEndian.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/FinderInfo.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <string>

namespace toolbox::files {

namespace {

static_assert(sizeof(FileInfo) == 16 && offsetof(FileInfo, finderFlags) == 8);
static_assert(sizeof(FolderInfo) == 16 && offsetof(FolderInfo, finderFlags) == 8);
static_assert(sizeof(FInfo) == 16 && offsetof(FInfo, fdFldr) == 14);
static_assert(sizeof(ExtendedFileInfo) == 16 && offsetof(ExtendedFileInfo, putAwayFolderID) == 12);
static_assert(sizeof(ExtendedFolderInfo) == 16 && offsetof(ExtendedFolderInfo, reserved1) == 4);

constexpr std::size_t kExtendedOffset = sizeof(FileInfo);  // in a companion
constexpr mode_t kPermissionBits = 07777;

// The records' numbers, by their widths.
constexpr std::size_t kFileInfo[] = {4, 4, 2, 2, 2, 2};
constexpr std::size_t kFolderInfo[] = {2, 2, 2, 2, 2, 2, 2, 2};
constexpr std::size_t kExtendedFileInfo[] = {2, 2, 2, 2, 2, 2, 4};
constexpr std::size_t kExtendedFolderInfo[] = {2, 2, 4, 2, 2, 4};
using Widths = std::span<const std::size_t>;

Widths InfoOf(os::ItemKind inKind) {
    return inKind == os::ItemKind::kFolder ? Widths(kFolderInfo) : Widths(kFileInfo);
}

Widths ExtendedInfoOf(os::ItemKind inKind) {
    return inKind == os::ItemKind::kFolder ? Widths(kExtendedFolderInfo) : Widths(kExtendedFileInfo);
}

void ToHostOrder(Widths inWidths, const UInt8* inBytes, UInt8* outBytes) {
    for (const std::size_t width : inWidths) {
        const UInt32 number = width == 4 ? os::Load32(inBytes) : os::Load16(inBytes);
        const auto half = static_cast<UInt16>(number);
        std::memcpy(outBytes, width == 4 ? static_cast<const void*>(&number) : &half, width);
        inBytes += width;
        outBytes += width;
    }
}

void FromHostOrder(Widths inWidths, const UInt8* inBytes, UInt8* outBytes) {
    for (const std::size_t width : inWidths) {
        UInt32 number = 0;
        UInt16 half = 0;
        std::memcpy(width == 4 ? static_cast<void*>(&number) : &half, inBytes, width);
        if (width == 4)
            os::Store32(outBytes, number);
        else
            os::Store16(outBytes, half);
        inBytes += width;
        outBytes += width;
    }
}

// Puts what every link has in the place of what is kept of it.
void MakeLinks(FileInfo& ioInfo) {
    ioInfo.fileType = kSymLinkFileType;
    ioInfo.fileCreator = kSymLinkCreator;
    ioInfo.finderFlags |= kIsAlias;
}

void ForgetLinks(FileInfo& ioInfo) {
    ioInfo.fileType = 0;
    ioInfo.fileCreator = 0;
    ioInfo.finderFlags &= static_cast<UInt16>(~kIsAlias);
}

std::string CompanionPathOf(const FoundItem& inItem) {
    const std::size_t nameStart = inItem.path.rfind('/') + 1;
    if (!IsVolumeRoot(inItem))
        return inItem.path.substr(0, nameStart) + CompanionName(inItem.path.substr(nameStart));
    return inItem.path + (inItem.path == "/" ? "" : "/") + CompanionName(".");
}

}  // namespace

bool IsVolumeRoot(const FoundItem& inItem) {
    return inItem.facts.nodeID == kRootID;
}

int ReadCompanionInfo(const FoundItem& inItem, CompanionInfo& outInfo, CompanionSizes& outSizes) {
    outInfo = {};
    outSizes = {};
    // What only a descriptor holds has nothing beside it.
    if (IsDescriptorPath(inItem.path)) return 0;
    return ReadInfo(AT_FDCWD, CompanionPathOf(inItem), outInfo, outSizes);
}

OSStatus OpenItsPlace(const FoundItem& inItem, Place& outPlace) {
    if (!IsVolumeRoot(inItem)) return OpenPlace(inItem, outPlace);
    outPlace.name = ".";
    const OSStatus status = OpenFoundFolder(inItem, outPlace);
    return status == dirNFErr ? static_cast<OSStatus>(fnfErr) : status;
}

void GetFinderInfo(os::ItemKind inKind, const CompanionInfo& inInfo, UInt8* outBytes) {
    ToHostOrder(InfoOf(inKind), inInfo.finderInfo.data(), outBytes);
    if (inKind != os::ItemKind::kLink) return;
    FileInfo info;
    std::memcpy(&info, outBytes, sizeof info);
    MakeLinks(info);
    std::memcpy(outBytes, &info, sizeof info);
}

void SetFinderInfo(os::ItemKind inKind, const UInt8* inBytes, CompanionInfo& ioInfo) {
    FileInfo info;
    std::memcpy(&info, inBytes, sizeof info);
    const bool isOfLink = info.fileType == kSymLinkFileType && info.fileCreator == kSymLinkCreator;
    if (inKind == os::ItemKind::kLink || (inKind != os::ItemKind::kFolder && isOfLink)) ForgetLinks(info);
    UInt8 bytes[sizeof info];
    std::memcpy(bytes, &info, sizeof info);
    FromHostOrder(InfoOf(inKind), bytes, ioInfo.finderInfo.data());
}

void GetExtendedInfo(os::ItemKind inKind, const CompanionInfo& inInfo, UInt8* outBytes) {
    ToHostOrder(ExtendedInfoOf(inKind), inInfo.finderInfo.data() + kExtendedOffset, outBytes);
}

void SetExtendedInfo(os::ItemKind inKind, const UInt8* inBytes, CompanionInfo& ioInfo) {
    FromHostOrder(ExtendedInfoOf(inKind), inBytes, ioInfo.finderInfo.data() + kExtendedOffset);
}

OSStatus StatusOfCompanionError(int inErrno, const FoundItem& inItem) {
    return inErrno == EISDIR ? static_cast<OSStatus>(ioErr) : StatusOfChange(inErrno, inItem);
}

OSStatus CheckUnlocked(const Place& inPlace, const os::ItemStatus& inItem) {
    bool isLocked = false;
    const int error = IsLocked(inPlace, inItem, isLocked);
    if (isLocked) return fLckdErr;
    return error == EACCES ? OSStatus{noErr} : StatusOfErrno(error);
}

OSStatus CheckOwnerUnlocked(const Place& inCompanion) {
    os::ItemStatus owner;
    if (!IsCompanion(inCompanion, owner)) return noErr;
    CompanionInfo info;
    CompanionSizes sizes;
    const int error = ReadInfo(inCompanion.folder.Number(), inCompanion.name, info, sizes);
    return info.isLocked || owner.isImmutable ? OSStatus{fLckdErr} : StatusOfErrno(error);
}

int ChangedInfo::Set(const Place& inPlace, const os::ItemIdentity& inItem, InfoParts inWhich,
                     const CompanionInfo& inInfo, os::NameLasts inNameLasts) {
    mItem = inItem;
    mWhich = inWhich;
    mInfo = inInfo;
    const auto change = [this](CompanionInfo& ioInfo) {
        mBefore = ioInfo;
        CopyParts(mWhich, mInfo, ioInfo);
    };
    const int error = ChangeInfo(inPlace, inItem, change, inNameLasts);
    if (error == 0) mPlace = &inPlace;
    return error;
}

ChangedInfo::~ChangedInfo() {
    if (mPlace == nullptr) return;
    try {
        (void)ChangeInfo(*mPlace, mItem, [this](CompanionInfo& ioInfo) {
            CopyParts(mWhich & CommonParts(ioInfo, mInfo), mBefore, ioInfo);
        });
    } catch (const std::bad_alloc&) {
        return;
    }
}

int ChangedMode::Follow(mode_t inMode, std::optional<mode_t>* outBefore) const {
    return mPlace == nullptr ? 0 : SetCompanionMode(*mPlace, mIdentity, ModeOfCompanion(inMode), outBefore);
}

int ChangedMode::Set(const HeldItem& inItem, const os::ItemStatus& inStatus, const Place* inPlace,
                     mode_t inMode) {
    mItem = &inItem;
    mPlace = inPlace;
    mIdentity = inStatus.identity;
    // A companion that is made or moved here meanwhile is met by the second look.
    int error = Follow(inStatus.mode & inMode, &mCompanionBefore);
    if (error == 0) error = inItem.SetMode(inMode);
    if (error != 0) return error;
    mBefore = inStatus.mode & kPermissionBits;
    return Follow(inMode, nullptr);
}

ChangedMode::~ChangedMode() {
    if (mIsToStay) return;
    if (mBefore) (void)mItem->SetMode(*mBefore);
    try {
        if (mCompanionBefore) (void)SetCompanionMode(*mPlace, mIdentity, *mCompanionBefore);
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace toolbox::files

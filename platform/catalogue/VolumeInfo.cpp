#include "CatalogDates.h"
#include "FolderItems.h"
#include "MountTable.h"
#include "MountedVolumes.h"
#include "VolumeFeatures.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "places/ForkUses.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/VolumeInfo.h>
#include <toolbox/Volumes.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <new>
#include <string>

namespace toolbox::files {

namespace {

static_assert(sizeof(FSVolumeInfo) == 126);
static_assert(offsetof(FSVolumeInfo, totalBytes) == 40 && offsetof(FSVolumeInfo, finderInfo) == 84);
static_assert(offsetof(FSVolumeInfo, flags) == 116 && offsetof(FSVolumeInfo, driverRefNum) == 124);
static_assert(int{kFSVolFlagHardwareLockedMask} == kHFSVolumeHardwareLockMask);
static_assert(int{kFSVolFlagSoftwareLockedMask} == kHFSVolumeSoftwareLockMask);

constexpr UInt64 kMaxNumber = std::numeric_limits<UInt32>::max();

// What was found out of a volume, where it is asked for.
struct Knowledge {
    SInt16 number = 0;
    Volume volume;
    FoundItem root;
    CompanionInfo companion;  // of the root folder
    VolumeSizes sizes;
    VolumeLocks locks;
    std::uint16_t fileSystemID = 0;
};

// Where a field comes from. Each of these is one question more.
enum class Source { kNothing, kRoot, kCompanion, kSizes, kLocks, kMount };

struct Field {
    FSVolumeInfoBitmap bit;
    Source source;
    void (*fill)(const Knowledge& inKnown, FSVolumeInfo& ioInfo);
};

UTCDateTime CreationOfVolume(const Knowledge& inKnown) {
    if (inKnown.companion.creationSeconds != CompanionInfo::kNoDate)
        return DateOfCompanion(inKnown.companion.creationSeconds);
    return DateOf(CreationOf(inKnown.root.status));
}

UInt32 ClumpOf(const Knowledge& inKnown) {
    return static_cast<UInt32>(SizesInBlocks(inKnown.sizes, kMaxNumber).blockBytes);
}

constexpr Field kFields[] = {
    {kFSVolInfoCreateDate, Source::kCompanion,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) { ioInfo.createDate = CreationOfVolume(inKnown); }},
    {kFSVolInfoModDate, Source::kRoot,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.modifyDate = DateOf(inKnown.root.status.contentDate);
     }},
    {kFSVolInfoBackupDate, Source::kCompanion,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.backupDate = DateOfCompanion(inKnown.companion.backupSeconds);
     }},
    {kFSVolInfoCheckedDate, Source::kNothing,
     [](const Knowledge&, FSVolumeInfo& ioInfo) { ioInfo.checkedDate = {}; }},
    {kFSVolInfoFileCount, Source::kSizes,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.fileCount = static_cast<UInt32>(std::min(inKnown.sizes.itemCount, kMaxNumber));
     }},
    {kFSVolInfoDirCount, Source::kNothing,
     [](const Knowledge&, FSVolumeInfo& ioInfo) { ioInfo.folderCount = 0; }},
    {kFSVolInfoSizes, Source::kSizes,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.totalBytes = inKnown.sizes.blockCount * inKnown.sizes.blockBytes;
         ioInfo.freeBytes = inKnown.sizes.freeBlockCount * inKnown.sizes.blockBytes;
     }},
    {kFSVolInfoBlocks, Source::kSizes,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         const VolumeSizes sizes = SizesInBlocks(inKnown.sizes, kMaxNumber);
         ioInfo.blockSize = static_cast<UInt32>(sizes.blockBytes);
         ioInfo.totalBlocks = static_cast<UInt32>(sizes.blockCount);
         ioInfo.freeBlocks = static_cast<UInt32>(sizes.freeBlockCount);
     }},
    {kFSVolInfoNextAlloc, Source::kNothing,
     [](const Knowledge&, FSVolumeInfo& ioInfo) { ioInfo.nextAllocation = 0; }},
    {kFSVolInfoRsrcClump, Source::kSizes,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) { ioInfo.rsrcClumpSize = ClumpOf(inKnown); }},
    {kFSVolInfoDataClump, Source::kSizes,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) { ioInfo.dataClumpSize = ClumpOf(inKnown); }},
    {kFSVolInfoNextID, Source::kNothing,
     [](const Knowledge&, FSVolumeInfo& ioInfo) { ioInfo.nextCatalogID = 0; }},
    {kFSVolInfoFinderInfo, Source::kNothing,
     [](const Knowledge&, FSVolumeInfo& ioInfo) {
         std::fill(std::begin(ioInfo.finderInfo), std::end(ioInfo.finderInfo), UInt8{0});
     }},
    {kFSVolInfoFlags, Source::kLocks,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         const int flags = (inKnown.number == kBootVolume ? kFSVolFlagDefaultVolumeMask : 0) |
                           (HasForksInUse(inKnown.volume.key.device) ? kFSVolFlagFilesOpenMask : 0) |
                           (inKnown.locks.isDeviceReadOnly ? kFSVolFlagHardwareLockedMask : 0) |
                           (inKnown.locks.isReadOnly ? kFSVolFlagSoftwareLockedMask : 0);
         ioInfo.flags = static_cast<UInt16>(flags);
     }},
    {kFSVolInfoFSInfo, Source::kMount,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.filesystemID = inKnown.fileSystemID;
         ioInfo.signature = kVolumeSignature;
     }},
    {kFSVolInfoDriveInfo, Source::kNothing,
     [](const Knowledge& inKnown, FSVolumeInfo& ioInfo) {
         ioInfo.driveNumber = static_cast<UInt16>(-inKnown.number);
         ioInfo.driverRefNum = 0;
     }},
};

bool Asks(FSVolumeInfoBitmap inWhich, Source inSource) {
    return std::any_of(std::begin(kFields), std::end(kFields), [&](const Field& inField) {
        return inField.source == inSource && (inWhich & inField.bit) != 0;
    });
}

OSStatus ReadRootCompanion(const Volume& inVolume, CompanionInfo& outInfo) {
    CompanionSizes sizes;
    return StatusOfErrno(
        ReadInfo(AT_FDCWD, PathInFolder(inVolume.rootPath, CompanionName(".")), outInfo, sizes));
}

OSStatus FindOut(FSVolumeInfoBitmap inWhich, bool inWantsRoot, Knowledge& ioKnown) {
    const bool asksCompanion = Asks(inWhich, Source::kCompanion);
    OSStatus status = GetVolume(ioKnown.number, ioKnown.volume);
    if (status == noErr && (inWantsRoot || asksCompanion || Asks(inWhich, Source::kRoot)))
        status = FindFolderByID(ioKnown.number, kRootID, ioKnown.root);
    if (status == noErr && asksCompanion) status = ReadRootCompanion(ioKnown.volume, ioKnown.companion);
    if (status == noErr && Asks(inWhich, Source::kSizes))
        status = GetVolumeSizes(ioKnown.volume, ioKnown.sizes);
    if (status == noErr && Asks(inWhich, Source::kLocks))
        status = GetVolumeLocks(ioKnown.volume, ioKnown.locks);
    if (status != noErr || !Asks(inWhich, Source::kMount)) return status;
    MountEntry mount;
    status = FindMount(ioKnown.volume, mount);
    ioKnown.fileSystemID = FileSystemIDOf(mount.type);
    // One that the kernel does not show to this process is of a type that nobody tells.
    return status == nsvErr ? OSStatus{noErr} : status;
}

struct Outputs {
    FSVolumeRefNum* number;
    FSVolumeInfo* info;
    HFSUniStr255* name;
    FSRef* root;
};

OSStatus GetInfo(SInt16 inNumber, std::size_t inIndex, FSVolumeInfoBitmap inWhich, const Outputs& inOutputs) {
    Knowledge known;
    OSStatus status = ChooseVolume(inNumber, inIndex, known.number);
    if (status != noErr) return status;
    status = FindOut(inWhich, inOutputs.root != nullptr, known);
    const bool isOutOfReach = status == nsvErr || status == dirNFErr || status == fnfErr;
    // In the order of all it is there, though nobody reaches it.
    if (isOutOfReach) return inIndex == 0 ? nsvErr : dirNFErr;
    if (status != noErr) return status;
    // Only the path tells the name.
    known.root.path = known.volume.rootPath;
    const std::u16string name = NameInCatalogue(known.root);
    if (inOutputs.root != nullptr) *inOutputs.root = MakeRef(known.root);
    // Nothing fails from here on.
    if (inOutputs.number != nullptr) *inOutputs.number = known.number;
    if (inOutputs.name != nullptr) SetUniStr(name, *inOutputs.name);
    for (const Field& field : kFields)
        if ((inWhich & field.bit) != 0) field.fill(known, *inOutputs.info);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

OSErr FSGetVolumeInfo(FSVolumeRefNum inVolume, ItemCount inIndex, FSVolumeRefNum* outActualVolume,
                      FSVolumeInfoBitmap inWhichInfo, FSVolumeInfo* outInfo, HFSUniStr255* outName,
                      FSRef* outRootDirectory) {
    if ((inWhichInfo & ~FSVolumeInfoBitmap{kFSVolInfoGettable}) != 0) return paramErr;
    if (inWhichInfo != kFSVolInfoNone && outInfo == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(toolbox::files::GetInfo(
            inVolume, inIndex, inWhichInfo, {outActualVolume, outInfo, outName, outRootDirectory}));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

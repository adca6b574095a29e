#include "FolderItems.h"
#include "catalogue/Volumes.h"
#include "os/SystemCalls.h"
#include "places/CatalogueNames.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/CatalogInfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <new>

namespace toolbox::files {

namespace {

static_assert(sizeof(FSCatalogInfo) == 144);
static_assert(offsetof(FSCatalogInfo, permissions) == 56 && offsetof(FSCatalogInfo, dataLogicalSize) == 104);

constexpr FSCatalogInfoBitmap kKnownInfo = kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID |
                                           kFSCatInfoNodeID | kFSCatInfoContentMod | kFSCatInfoAttrMod |
                                           kFSCatInfoAccessDate | kFSCatInfoPermissions | kFSCatInfoDataSizes;
constexpr FSCatalogInfoBitmap kSettableInfo = kFSCatInfoPermissions;
constexpr mode_t kPermissionBits = 07777;
constexpr std::size_t kMaxNameUnits = 255;
constexpr std::uint64_t kBytesPerBlock = 512;  // of what the system counts as blocks

// From the start of 1904 to that of 1970.
constexpr std::int64_t kSecondsBefore1970 = 2'082'844'800;

UTCDateTime DateOf(const struct statx_timestamp& inTime) {
    const std::int64_t seconds = std::max<std::int64_t>(inTime.tv_sec + kSecondsBefore1970, 0);
    const auto fraction =
        static_cast<UInt16>((static_cast<std::uint64_t>(inTime.tv_nsec) << 16) / 1'000'000'000);
    return {static_cast<UInt16>(seconds >> 32), static_cast<UInt32>(seconds), fraction};
}

UInt8 AccessOf(const std::string& inPath) {
    constexpr int kAccesses[] = {R_OK, W_OK, X_OK};  // 4, 2, 1, as they are counted here too
    static_assert(R_OK == 4 && W_OK == 2 && X_OK == 1);
    int access = 0;
    for (const int one : kAccesses)
        if (os::Calls().faccessat(AT_FDCWD, inPath.c_str(), one, AT_EACCESS) == 0) access |= one;
    return static_cast<UInt8>(access);
}

struct Knowledge {
    FoundItem item;
    NodeFacts facts;
    struct statx status = {};
    SInt16 volume = 0;
};

OSStatus FindOut(const FSRef& inRef, Knowledge& outKnowledge) {
    OSStatus status = FindByRef(inRef, outKnowledge.item);
    if (status != noErr) return status;
    const FoundItem& item = outKnowledge.item;
    if (!NodeTable::Shared().GetFacts(item.status.identity, outKnowledge.facts)) return fnfErr;
    status = GetVolumeNumber(item, outKnowledge.volume);
    if (status != noErr) return status;
    if (os::Calls().statx(AT_FDCWD, item.path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS,
                          &outKnowledge.status) != 0)
        return StatusOfErrno(errno);
    return noErr;
}

void FillWhere(const Knowledge& inKnowledge, FSCatalogInfoBitmap inWhich, FSCatalogInfo& ioInfo) {
    const bool isFolder = inKnowledge.item.status.kind == os::ItemKind::kFolder;
    if ((inWhich & kFSCatInfoNodeFlags) != 0) ioInfo.nodeFlags = isFolder ? kFSNodeIsDirectoryMask : 0;
    if ((inWhich & kFSCatInfoVolume) != 0) ioInfo.volume = inKnowledge.volume;
    if ((inWhich & kFSCatInfoParentDirID) != 0) ioInfo.parentDirID = inKnowledge.facts.parentID;
    if ((inWhich & kFSCatInfoNodeID) != 0) ioInfo.nodeID = inKnowledge.facts.nodeID;
}

void FillStatus(const Knowledge& inKnowledge, FSCatalogInfoBitmap inWhich, FSCatalogInfo& ioInfo) {
    const struct statx& status = inKnowledge.status;
    if ((inWhich & kFSCatInfoContentMod) != 0) ioInfo.contentModDate = DateOf(status.stx_mtime);
    if ((inWhich & kFSCatInfoAttrMod) != 0) ioInfo.attributeModDate = DateOf(status.stx_ctime);
    if ((inWhich & kFSCatInfoAccessDate) != 0) ioInfo.accessDate = DateOf(status.stx_atime);
    if ((inWhich & kFSCatInfoPermissions) != 0)
        ioInfo.permissions = {
            status.stx_uid, status.stx_gid, 0, AccessOf(inKnowledge.item.path), status.stx_mode, 0};
    if ((inWhich & kFSCatInfoDataSizes) != 0) {
        const bool isFile = inKnowledge.item.status.kind == os::ItemKind::kFile;
        ioInfo.dataLogicalSize = isFile ? status.stx_size : 0;
        ioInfo.dataPhysicalSize = isFile ? status.stx_blocks * kBytesPerBlock : 0;
    }
}

OSStatus MakeParentRef(const Knowledge& inKnowledge, FSRef& outRef) {
    outRef = {};
    if (inKnowledge.facts.parentID == kRootParentID) return noErr;
    FoundItem parent;
    const OSStatus status = FindByIdentity(inKnowledge.facts.parent, parent);
    if (status == noErr) outRef = MakeRef(parent);
    return status;
}

HFSUniStr255 UniStrOf(std::u16string_view inName) {
    HFSUniStr255 name = {};
    name.length = static_cast<UInt16>(std::min(inName.size(), kMaxNameUnits));
    std::copy_n(inName.begin(), name.length, name.unicode);
    return name;
}

struct Outputs {
    FSCatalogInfo* info;
    HFSUniStr255* name;
    FSSpec* spec;
    FSRef* parent;
};

OSStatus GetInfo(const FSRef& inRef, FSCatalogInfoBitmap inWhich, const Outputs& inOutputs) {
    Knowledge knowledge;
    OSStatus status = FindOut(inRef, knowledge);
    FSSpec spec = {};
    FSRef parent = {};
    if (status == noErr && inOutputs.spec != nullptr) status = MakeSpec(knowledge.item, spec);
    if (status == noErr && inOutputs.parent != nullptr) status = MakeParentRef(knowledge, parent);
    if (status != noErr) return status;
    // Nothing fails from here on.
    const HFSUniStr255 name = UniStrOf(NameInCatalogue(knowledge.item));
    if (inOutputs.info != nullptr) {
        FillWhere(knowledge, inWhich, *inOutputs.info);
        FillStatus(knowledge, inWhich, *inOutputs.info);
    }
    if (inOutputs.name != nullptr) *inOutputs.name = name;
    if (inOutputs.spec != nullptr) *inOutputs.spec = spec;
    if (inOutputs.parent != nullptr) *inOutputs.parent = parent;
    return noErr;
}

OSStatus SetInfo(const FSRef& inRef, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
    FoundItem item;
    const OSStatus status = FindByRef(inRef, item);
    if (status != noErr || inWhich == kFSCatInfoNone) return status;
    const mode_t mode = inInfo.permissions.mode & kPermissionBits;
    return os::Calls().fchmodat(AT_FDCWD, item.path.c_str(), mode, 0) == 0 ? noErr : StatusOfErrno(errno);
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo,
                       HFSUniStr255* outName, FSSpec* outSpec, FSRef* outParentRef) {
    if (inRef == nullptr || (inWhichInfo & ~kKnownInfo) != 0) return paramErr;
    if (inWhichInfo != kFSCatInfoNone && outInfo == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(GetInfo(*inRef, inWhichInfo, {outInfo, outName, outSpec, outParentRef}));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo) {
    if (inRef == nullptr || inInfo == nullptr || (inWhichInfo & ~kSettableInfo) != 0) return paramErr;
    try {
        return static_cast<OSErr>(SetInfo(*inRef, inWhichInfo, *inInfo));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

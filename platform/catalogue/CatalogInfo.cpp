#include "CatalogDates.h"
#include "Finding.h"
#include "FolderItems.h"
#include "ItemCompanions.h"
#include "catalogue/ItemInfo.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "os/ShortPath.h"
#include "os/SystemCalls.h"
#include "places/ForkUses.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/CatalogInfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

namespace toolbox::files {

namespace {

static_assert(sizeof(FSCatalogInfo) == 144 && offsetof(FSCatalogInfo, parentDirID) == 4);
static_assert(offsetof(FSCatalogInfo, sharingFlags) == 12 && offsetof(FSCatalogInfo, createDate) == 16);
static_assert(offsetof(FSCatalogInfo, contentModDate) == 24 && offsetof(FSCatalogInfo, backupDate) == 48);
static_assert(offsetof(FSCatalogInfo, permissions) == 56 && offsetof(FSCatalogInfo, finderInfo) == 72);
static_assert(offsetof(FSCatalogInfo, extFinderInfo) == 88 &&
              offsetof(FSCatalogInfo, dataLogicalSize) == 104);
static_assert(offsetof(FSCatalogInfo, rsrcLogicalSize) == 120 && offsetof(FSCatalogInfo, valence) == 136);
static_assert(offsetof(FSCatalogInfo, textEncodingHint) == 140);

constexpr int kMayRead = R_OK;
constexpr int kMayWrite = W_OK;
constexpr int kMaySearch = X_OK;
static_assert(kMayRead == 4 && kMayWrite == 2 && kMaySearch == 1, "as userAccess counts them");

bool IsRefusal(int inErrno) {
    return inErrno == EACCES || inErrno == EPERM || inErrno == EROFS;
}

OSStatus GetAccess(const FoundItem& inItem, const Place* inPlace, UInt8& outAccess) {
    const int folder = inPlace == nullptr ? AT_FDCWD : inPlace->folder.Number();
    os::ShortPath path;
    const int error = path.Set(folder, (inPlace == nullptr ? inItem.path : inPlace->name).c_str());
    if (error != 0) return StatusOfErrno(error);
    const int flags = AT_EACCESS | (inItem.status.kind == os::ItemKind::kLink ? AT_SYMLINK_NOFOLLOW : 0);
    int access = 0;
    for (const int one : {kMayRead, kMayWrite, kMaySearch}) {
        if (os::Calls().faccessat(path.Folder(), path.Path(), one, flags) == 0)
            access |= one;
        else if (!IsRefusal(errno))
            return StatusOfErrno(errno);
    }
    outAccess = static_cast<UInt8>(access);
    return noErr;
}

// Whether a name is what an interrupted move left of a companion, or what another call is just moving.
bool HasLeftover(const Place& inPlace) {
    os::ItemStatus status;
    return inPlace.name.starts_with(kCompanionPrefix) && GetStatus(inPlace, status) == 0 && IsMarked(status);
}

// The items in a folder, without what they have beside them.
OSStatus CountItems(const FoundItem& inFolder, const Place* inPlace, UInt32& outCount) {
    Place place;
    const OSStatus status =
        inPlace == nullptr ? OpenFoundFolder(inFolder, place) : StatusOfErrno(OpenFolderAt(*inPlace, place));
    if (status != noErr) return status;
    const int error = FindName(place, [&](const struct dirent&) {
        if (!IsCompanion(place) && !HasLeftover(place)) ++outCount;
        return ENOENT;
    });
    return error == ENOENT ? OSStatus{noErr} : StatusOfErrno(error);
}

// What was found out of an item: the item always, the rest where it is asked for.
struct Knowledge {
    const FoundItem& item;
    SInt16 volume = 0;
    UInt8 access = 0;
    CompanionInfo companion;
    CompanionSizes companionSizes;
    UInt32 itemCount = 0;

    const os::ItemStatus& Status() const { return item.status; }
    bool IsOfKind(os::ItemKind inKind) const { return item.status.kind == inKind; }
    bool MayAll(int inAccess) const { return (access & inAccess) == inAccess; }
};

UInt16 NodeFlagsOf(const Knowledge& inKnown) {
    const bool isFolder = inKnown.IsOfKind(os::ItemKind::kFolder);
    unsigned flags = isFolder ? kFSNodeIsDirectoryMask : 0;
    if (inKnown.companion.isLocked || inKnown.Status().isImmutable) flags |= kFSNodeLockedMask;
    if (!isFolder && inKnown.Status().linkCount > 1) flags |= kFSNodeHardLinkMask;
    const ForksInUse open = FindForksInUse(inKnown.Status().identity);
    if (open.isResourceOpen) flags |= kFSNodeResOpenMask | kFSNodeForkOpenMask;
    if (open.isDataOpen) flags |= kFSNodeDataOpenMask | kFSNodeForkOpenMask;
    return static_cast<UInt16>(flags);
}

UTCDateTime CreationDateOf(const Knowledge& inKnown) {
    const SInt32 seconds = inKnown.companion.creationSeconds;
    return seconds == CompanionInfo::kNoDate ? DateOf(CreationOf(inKnown.Status()))
                                             : DateOfCompanion(seconds);
}

UInt8 PrivilegesOf(const Knowledge& inKnown) {
    const bool isFolder = inKnown.IsOfKind(os::ItemKind::kFolder);
    unsigned privileges = 0;
    if (isFolder && !inKnown.MayAll(kMayRead | kMaySearch))
        privileges |= kioACUserNoSeeFolderMask | kioACUserNoSeeFilesMask;
    if (!isFolder && !inKnown.MayAll(kMayRead)) privileges |= kioACUserNoSeeFilesMask;
    if (!inKnown.MayAll(isFolder ? kMayWrite | kMaySearch : kMayWrite))
        privileges |= kioACUserNoMakeChangesMask;
    if (inKnown.Status().owner != os::Calls().geteuid()) privileges |= kioACUserNotOwnerMask;
    return static_cast<UInt8>(privileges);
}

// Where a field comes from, beside the one look that finds the item.
enum class Source {
    kFinding,        // nowhere else
    kVolume,         // one more look, at the volume's root
    kAccess,         // three questions
    kCompanion,      // the item's companion
    kOpenCompanion,  // the same, as far as it may be read
    kFolder          // what is in it
};

struct Field {
    FSCatalogInfoBitmap bit;
    Source source;
    void (*fill)(const Knowledge& inKnown, FSCatalogInfo& ioInfo);
};

constexpr Field kFields[] = {
    {kFSCatInfoTextEncoding, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.textEncodingHint = inKnown.companion.encodingHint;
     }},
    {kFSCatInfoNodeFlags, Source::kOpenCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.nodeFlags = NodeFlagsOf(inKnown); }},
    {kFSCatInfoVolume, Source::kVolume,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.volume = inKnown.volume; }},
    {kFSCatInfoParentDirID, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.parentDirID = inKnown.item.facts.parentID;
     }},
    {kFSCatInfoNodeID, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.nodeID = inKnown.item.facts.nodeID; }},
    {kFSCatInfoCreateDate, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.createDate = CreationDateOf(inKnown); }},
    {kFSCatInfoContentMod, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.contentModDate = DateOf(inKnown.Status().contentDate);
     }},
    {kFSCatInfoAttrMod, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.attributeModDate = DateOf(inKnown.Status().attributeDate);
     }},
    {kFSCatInfoAccessDate, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.accessDate = DateOf(inKnown.Status().accessDate);
     }},
    {kFSCatInfoBackupDate, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.backupDate = DateOfCompanion(inKnown.companion.backupSeconds);
     }},
    {kFSCatInfoPermissions, Source::kAccess,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         const os::ItemStatus& status = inKnown.Status();
         ioInfo.permissions = {status.owner, status.group, 0, inKnown.access, status.mode, 0};
     }},
    {kFSCatInfoFinderInfo, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         GetFinderInfo(inKnown.Status().kind, inKnown.companion, ioInfo.finderInfo);
     }},
    {kFSCatInfoFinderXInfo, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         GetExtendedInfo(inKnown.Status().kind, inKnown.companion, ioInfo.extFinderInfo);
     }},
    {kFSCatInfoValence, Source::kFolder,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.valence = inKnown.itemCount; }},
    {kFSCatInfoDataSizes, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         const bool isFile = inKnown.IsOfKind(os::ItemKind::kFile);
         ioInfo.dataLogicalSize = isFile ? static_cast<UInt64>(inKnown.Status().sizeBytes) : 0;
         ioInfo.dataPhysicalSize = isFile ? inKnown.Status().allocatedBytes : 0;
     }},
    {kFSCatInfoRsrcSizes, Source::kCompanion,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         const bool isFile = inKnown.IsOfKind(os::ItemKind::kFile);
         ioInfo.rsrcLogicalSize = isFile ? inKnown.companionSizes.forkBytes : 0;
         ioInfo.rsrcPhysicalSize = ioInfo.rsrcLogicalSize == 0 ? 0 : inKnown.companionSizes.allocatedBytes;
     }},
    {kFSCatInfoSharingFlags, Source::kFinding,
     [](const Knowledge&, FSCatalogInfo& ioInfo) { ioInfo.sharingFlags = 0; }},
    {kFSCatInfoUserPrivs, Source::kAccess,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.userPrivileges = PrivilegesOf(inKnown); }},
};

constexpr FSCatalogInfoBitmap BitsOfFields() {
    FSCatalogInfoBitmap bits = 0;
    for (const Field& field : kFields)
        bits |= field.bit;
    return bits;
}
static_assert(BitsOfFields() == kFSCatInfoGettableInfo);

bool Asks(FSCatalogInfoBitmap inWhich, Source inSource) {
    return std::any_of(std::begin(kFields), std::end(kFields), [&](const Field& inField) {
        return inField.source == inSource && (inWhich & inField.bit) != 0;
    });
}

int ReadCompanion(const Place* inPlace, Knowledge& ioKnowledge) {
    if (inPlace == nullptr || IsVolumeRoot(ioKnowledge.item))
        return ReadCompanionInfo(ioKnowledge.item, ioKnowledge.companion, ioKnowledge.companionSizes);
    return ReadInfo(inPlace->folder.Number(), CompanionName(inPlace->name), ioKnowledge.companion,
                    ioKnowledge.companionSizes);
}

OSStatus FindOutOfCompanion(FSCatalogInfoBitmap inWhich, const Place* inPlace, Knowledge& ioKnowledge) {
    if (!NeedsCompanion(inWhich)) return noErr;
    const bool mustBeRead = Asks(inWhich, Source::kCompanion);
    const int error = ReadCompanion(inPlace, ioKnowledge);
    return error == EACCES && !mustBeRead ? OSStatus{noErr} : StatusOfErrno(error);
}

OSStatus FindOut(FSCatalogInfoBitmap inWhich, bool inAsksVolume, const InfoKnownBefore& inKnownBefore,
                 Knowledge& ioKnowledge) {
    const FoundItem& item = ioKnowledge.item;
    const Place* const place = inKnownBefore.place;
    OSStatus status = noErr;
    ioKnowledge.volume = inKnownBefore.volume;
    if (ioKnowledge.volume == 0 && (inAsksVolume || Asks(inWhich, Source::kVolume)))
        status = GetVolumeNumber(item, ioKnowledge.volume);
    if (status == noErr && !inKnownBefore.hasNoCompanion)
        status = FindOutOfCompanion(inWhich, place, ioKnowledge);
    if (status == noErr && Asks(inWhich, Source::kAccess))
        status = GetAccess(item, place, ioKnowledge.access);
    if (status == noErr && Asks(inWhich, Source::kFolder) && ioKnowledge.IsOfKind(os::ItemKind::kFolder))
        status = CountItems(item, place, ioKnowledge.itemCount);
    return status;
}

void Fill(const Knowledge& inKnowledge, FSCatalogInfoBitmap inWhich, FSCatalogInfo& ioInfo) {
    for (const Field& field : kFields) {
        if ((inWhich & field.bit) != 0) field.fill(inKnowledge, ioInfo);
        inWhich &= ~field.bit;
        if (inWhich == 0) return;
    }
}

OSStatus MakeParentRef(const FoundItem& inItem, FSRef& outRef) {
    outRef = {};
    if (inItem.facts.parentID == kRootParentID) return noErr;
    FoundItem parent;
    const OSStatus status = FindByIdentity(inItem.facts.parent, parent);
    if (status == noErr) outRef = MakeRef(parent);
    return status;
}

}  // namespace

bool NeedsCompanion(FSCatalogInfoBitmap inWhich) {
    return Asks(inWhich, Source::kCompanion) || Asks(inWhich, Source::kOpenCompanion);
}

OSStatus GetInfoOf(const FoundItem& inItem, FSCatalogInfoBitmap inWhich, const InfoOutputs& inOutputs,
                   const InfoKnownBefore& inKnownBefore) {
    const bool wantsSpec = inOutputs.spec != nullptr;
    const std::string_view diskName = NameInPath(inItem.path);
    const bool isASCII = IsASCIIName(diskName);
    Knowledge knowledge = {inItem};
    OSStatus status = FindOut(inWhich, wantsSpec, inKnownBefore, knowledge);
    std::u16string name;
    FSSpec spec = {};
    FSRef parent = {};
    if (status == noErr && inOutputs.name != nullptr && !isASCII) name = NameInCatalogue(inItem);
    if (status == noErr && wantsSpec) spec = SpecOf(inItem, knowledge.volume);
    if (status == noErr && inOutputs.parent != nullptr) status = MakeParentRef(inItem, parent);
    if (status != noErr) return status;
    // Nothing fails from here on.
    if (inOutputs.info != nullptr) Fill(knowledge, inWhich, *inOutputs.info);
    if (inOutputs.name != nullptr && isASCII) SetASCIIName(diskName, *inOutputs.name);
    if (inOutputs.name != nullptr && !isASCII) SetUniStr(name, *inOutputs.name);
    if (inOutputs.spec != nullptr) *inOutputs.spec = spec;
    if (inOutputs.parent != nullptr) *inOutputs.parent = parent;
    return noErr;
}

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo,
                       HFSUniStr255* outName, FSSpec* outSpec, FSRef* outParentRef) {
    constexpr FSCatalogInfoBitmap kGettable = kFSCatInfoGettableInfo;
    if (inRef == nullptr) return paramErr;
    if ((inWhichInfo & ~kGettable) != 0) return errFSBadInfoBitmap;
    if (inWhichInfo != kFSCatInfoNone && outInfo == nullptr) return errFSMissingCatInfo;
    try {
        FoundItem item;
        OSStatus status = FindByRef(*inRef, item);
        if (status == noErr) status = GetInfoOf(item, inWhichInfo, {outInfo, outName, outSpec, outParentRef});
        return static_cast<OSErr>(status);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

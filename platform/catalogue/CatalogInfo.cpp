#include "FolderItems.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"
#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"
#include "os/SystemCalls.h"
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

namespace toolbox::files {

namespace {

static_assert(sizeof(FSCatalogInfo) == 144);
static_assert(offsetof(FSCatalogInfo, permissions) == 56 && offsetof(FSCatalogInfo, dataLogicalSize) == 104);

constexpr FSCatalogInfoBitmap kSettableInfo = kFSCatInfoPermissions;
constexpr mode_t kPermissionBits = 07777;
constexpr std::size_t kMaxNameUnits = 255;

// From the start of 1904 to that of 1970.
constexpr std::int64_t kSecondsBefore1970 = 2'082'844'800;

UTCDateTime DateOf(const os::Moment& inMoment) {
    const std::int64_t seconds = std::max<std::int64_t>(inMoment.seconds + kSecondsBefore1970, 0);
    const auto fraction = static_cast<UInt16>((std::uint64_t{inMoment.nanos} << 16) / 1'000'000'000);
    return {static_cast<UInt16>(seconds >> 32), static_cast<UInt32>(seconds), fraction};
}

bool IsRefusal(int inErrno) {
    return inErrno == EACCES || inErrno == EPERM || inErrno == EROFS;
}

OSStatus GetAccess(const FoundItem& inItem, UInt8& outAccess) {
    constexpr int kAccesses[] = {R_OK, W_OK, X_OK};  // 4, 2, 1, as they are counted here too
    static_assert(R_OK == 4 && W_OK == 2 && X_OK == 1);
    const int flags = AT_EACCESS | (inItem.status.kind == os::ItemKind::kLink ? AT_SYMLINK_NOFOLLOW : 0);
    int access = 0;
    for (const int one : kAccesses) {
        if (os::Calls().faccessat(AT_FDCWD, inItem.path.c_str(), one, flags) == 0)
            access |= one;
        else if (!IsRefusal(errno))
            return StatusOfErrno(errno);
    }
    outAccess = static_cast<UInt8>(access);
    return noErr;
}

// What was found out of an item: the item always, the rest where it is asked for.
struct Knowledge {
    FoundItem item;
    SInt16 volume = 0;
    UInt8 access = 0;

    const os::ItemStatus& Status() const { return item.status; }
    bool IsOfKind(os::ItemKind inKind) const { return item.status.kind == inKind; }
};

// Where a field comes from, beside the one look that finds the item.
enum class Source {
    kFinding,  // nowhere else
    kVolume,   // one more look, at the volume's root
    kAccess    // three questions
};

struct Field {
    FSCatalogInfoBitmap bit;
    Source source;
    void (*fill)(const Knowledge& inKnown, FSCatalogInfo& ioInfo);
};

constexpr Field kFields[] = {
    {kFSCatInfoNodeFlags, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.nodeFlags = inKnown.IsOfKind(os::ItemKind::kFolder) ? kFSNodeIsDirectoryMask : 0;
     }},
    {kFSCatInfoVolume, Source::kVolume,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.volume = inKnown.volume; }},
    {kFSCatInfoParentDirID, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         ioInfo.parentDirID = inKnown.item.facts.parentID;
     }},
    {kFSCatInfoNodeID, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) { ioInfo.nodeID = inKnown.item.facts.nodeID; }},
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
    {kFSCatInfoPermissions, Source::kAccess,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         const os::ItemStatus& status = inKnown.Status();
         ioInfo.permissions = {status.owner, status.group, 0, inKnown.access, status.mode, 0};
     }},
    {kFSCatInfoDataSizes, Source::kFinding,
     [](const Knowledge& inKnown, FSCatalogInfo& ioInfo) {
         const bool isFile = inKnown.IsOfKind(os::ItemKind::kFile);
         ioInfo.dataLogicalSize = isFile ? static_cast<UInt64>(inKnown.Status().sizeBytes) : 0;
         ioInfo.dataPhysicalSize = isFile ? inKnown.Status().allocatedBytes : 0;
     }},
};

constexpr FSCatalogInfoBitmap BitsOfFields() {
    FSCatalogInfoBitmap bits = 0;
    for (const Field& field : kFields)
        bits |= field.bit;
    return bits;
}
constexpr FSCatalogInfoBitmap kKnownInfo = BitsOfFields();

bool Asks(FSCatalogInfoBitmap inWhich, Source inSource) {
    return std::any_of(std::begin(kFields), std::end(kFields), [&](const Field& inField) {
        return inField.source == inSource && (inWhich & inField.bit) != 0;
    });
}

OSStatus FindOut(const FSRef& inRef, FSCatalogInfoBitmap inWhich, bool inAsksVolume,
                 Knowledge& outKnowledge) {
    const FoundItem& item = outKnowledge.item;
    OSStatus status = FindByRef(inRef, outKnowledge.item);
    if (status != noErr) return status;
    if (inAsksVolume || Asks(inWhich, Source::kVolume)) status = GetVolumeNumber(item, outKnowledge.volume);
    if (status == noErr && Asks(inWhich, Source::kAccess)) status = GetAccess(item, outKnowledge.access);
    return status;
}

void Fill(const Knowledge& inKnowledge, FSCatalogInfoBitmap inWhich, FSCatalogInfo& ioInfo) {
    for (const Field& field : kFields)
        if ((inWhich & field.bit) != 0) field.fill(inKnowledge, ioInfo);
}

OSStatus MakeParentRef(const Knowledge& inKnowledge, FSRef& outRef) {
    outRef = {};
    if (inKnowledge.item.facts.parentID == kRootParentID) return noErr;
    FoundItem parent;
    const OSStatus status = FindByIdentity(inKnowledge.item.facts.parent, parent);
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
    const bool wantsSpec = inOutputs.spec != nullptr;
    Knowledge knowledge;
    OSStatus status = FindOut(inRef, inWhich, wantsSpec, knowledge);
    FSSpec spec = {};
    FSRef parent = {};
    if (status == noErr && wantsSpec) spec = SpecOf(knowledge.item, knowledge.volume);
    if (status == noErr && inOutputs.parent != nullptr) status = MakeParentRef(knowledge, parent);
    if (status != noErr) return status;
    // Nothing fails from here on.
    const HFSUniStr255 name = UniStrOf(NameInCatalogue(knowledge.item));
    if (inOutputs.info != nullptr) Fill(knowledge, inWhich, *inOutputs.info);
    if (inOutputs.name != nullptr) *inOutputs.name = name;
    if (inOutputs.spec != nullptr) *inOutputs.spec = spec;
    if (inOutputs.parent != nullptr) *inOutputs.parent = parent;
    return noErr;
}

OSStatus SetInfo(const FSRef& inRef, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
    FoundItem item;
    os::Descriptor file;
    OSStatus status = FindByRef(inRef, item);
    if (status != noErr || inWhich == kFSCatInfoNone) return status;
    const mode_t mode = inInfo.permissions.mode & kPermissionBits;
    // Those of a link are its own and cannot be changed; the system would change its target's.
    if (item.status.kind == os::ItemKind::kLink)
        return (item.status.mode & kPermissionBits) == mode ? noErr : OSStatus{permErr};
    status = OpenFound(item, O_PATH, file);
    if (status != noErr) return status;
    // By what is held, which cannot become a link to something else; fchmod refuses what is held by O_PATH.
    const std::string path = PathOfDescriptor(file.Number());
    return os::Calls().fchmodat(AT_FDCWD, path.c_str(), mode, 0) == 0 ? noErr : StatusOfErrno(errno);
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

#include "HeldItem.h"
#include "ItemCompanions.h"
#include "ParamBlocks.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/Volumes.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <toolbox/CatalogInfo.h>
#include <toolbox/DirAccess.h>

namespace toolbox::files {

namespace {

// Search, read and write are the bits 0, 1 and 2 of one who is told of, and 2 bits each of a mode.
constexpr UInt32 kSearch = 1;
constexpr UInt32 kRead = 2;
constexpr UInt32 kWrite = 4;
constexpr int kOwnerShift = 0;
constexpr int kGroupShift = 8;
constexpr int kEveryoneShift = 16;
constexpr int kUserShift = 24;
constexpr mode_t kRightsMask = 0777;
constexpr mode_t kModeMask = 07777;
constexpr uid_t kNobody = static_cast<uid_t>(-1);

// Of three bits of a mode, which count write as 2 and read as 4.
UInt32 RightsOfMode(unsigned inMode) {
    return ((inMode & 1) != 0 ? kSearch : 0) | ((inMode & 2) != 0 ? kWrite : 0) |
           ((inMode & 4) != 0 ? kRead : 0);
}

unsigned ModeOfRights(UInt32 inRights) {
    return ((inRights & kSearch) != 0 ? 1U : 0U) | ((inRights & kWrite) != 0 ? 2U : 0U) |
           ((inRights & kRead) != 0 ? 4U : 0U);
}

OSStatus FindFolder(const AccessParam& inBlock, FoundItem& outFolder) {
    const OSStatus status = FindNamed(inBlock.ioVRefNum, inBlock.ioDirID, inBlock.ioNamePtr, outFolder);
    if (status != noErr) return status;
    return outFolder.status.kind == os::ItemKind::kFolder ? OSStatus{noErr} : OSStatus{afpObjectTypeErr};
}

OSStatus GetAccess(AccessParam& ioBlock) {
    FoundItem folder;
    FSCatalogInfo info = {};
    OSStatus status = FindFolder(ioBlock, folder);
    if (status != noErr) return status;
    const FSRef ref = MakeRef(folder);
    status = FSGetCatalogInfo(&ref, kFSCatInfoPermissions, &info, nullptr, nullptr, nullptr);
    if (status != noErr) return status;
    const FSPermissionInfo& permissions = info.permissions;
    const bool isOwner = os::Calls().geteuid() == permissions.userID;
    const UInt32 access = RightsOfMode(permissions.mode >> 6) << kOwnerShift |
                          RightsOfMode(permissions.mode >> 3) << kGroupShift |
                          RightsOfMode(permissions.mode) << kEveryoneShift |
                          RightsOfMode(permissions.userAccess) << kUserShift |
                          (isOwner ? static_cast<UInt32>(kioACAccessUserOwnerMask) : 0);
    ioBlock.ioACOwnerID = static_cast<SInt32>(permissions.userID);
    ioBlock.ioACGroupID = static_cast<SInt32>(permissions.groupID);
    ioBlock.ioACAccess = static_cast<SInt32>(access);
    return noErr;
}

struct ChangedFolder {
    HeldItem held;
    Place place;  // its companion's
    bool hasPlace = false;
    os::ItemStatus before;

    const Place* PlaceOrNull() const { return hasPlace ? &place : nullptr; }
};

OSStatus Open(const FoundItem& inFolder, ChangedFolder& outFolder) {
    OSStatus status = outFolder.held.Open(inFolder);
    outFolder.hasPlace = !IsDescriptorPath(inFolder.path);
    if (status == noErr && outFolder.hasPlace) status = OpenItsPlace(inFolder, outFolder.place);
    return status == noErr ? StatusOfErrno(outFolder.held.GetStatus(outFolder.before)) : status;
}

int SetMode(const ChangedFolder& inFolder, const os::ItemStatus& inStatus, mode_t inMode,
            ChangedMode& outMode) {
    const bool isSo = (inStatus.mode & kModeMask) == inMode;
    return isSo ? 0 : outMode.Set(inFolder.held, inStatus, inFolder.PlaceOrNull(), inMode);
}

// While the folder changes hands nobody has rights that he had not before or is not to have: those that the
// new owner or group is to have, the old one must not get, nor the other way round.
int GiveAway(const ChangedFolder& inFolder, uid_t inOwner, gid_t inGroup, mode_t inMode) {
    const os::ItemStatus& before = inFolder.before;
    os::ItemStatus narrow = before;
    narrow.mode &= static_cast<std::uint16_t>(inMode | ~kModeMask);
    ChangedMode narrowed;
    int error = SetMode(inFolder, before, narrow.mode & kModeMask, narrowed);
    if (error == 0) error = inFolder.held.SetOwner(inOwner, inGroup);
    if (error != 0) return error;
    {
        ChangedMode mode;
        error = SetMode(inFolder, narrow, inMode, mode);
        if (error == 0) mode.Stay();
    }
    // Where it cannot be taken back, the old rights are not the new owner's.
    const bool isBack = error != 0 && inFolder.held.SetOwner(before.owner, before.group) == 0;
    if (!isBack) narrowed.Stay();
    return error;
}

OSStatus SetAccess(const AccessParam& inBlock) {
    const auto owner = static_cast<uid_t>(inBlock.ioACOwnerID);
    const auto group = static_cast<gid_t>(inBlock.ioACGroupID);
    // To the system it means that there is nothing to be changed.
    if (owner == kNobody || group == kNobody) return paramErr;
    FoundItem found;
    ChangedFolder folder;
    OSStatus status = FindFolder(inBlock, found);
    if (status == noErr) status = Open(found, folder);
    if (status != noErr) return status;
    const os::ItemStatus& before = folder.before;
    const auto access = static_cast<UInt32>(inBlock.ioACAccess);
    const unsigned rights = ModeOfRights(access >> kOwnerShift) << 6 |
                            ModeOfRights(access >> kGroupShift) << 3 | ModeOfRights(access >> kEveryoneShift);
    const mode_t mode = (before.mode & kModeMask & ~kRightsMask) | rights;
    if (owner != before.owner || group != before.group)
        return StatusOfChange(GiveAway(folder, owner, group, mode), found);
    ChangedMode changed;
    const int error = SetMode(folder, before, mode, changed);
    if (error == 0) changed.Stay();
    return StatusOfChange(error, found);
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBHGetDirAccessSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::accessParam, GetAccess);
}

OSErr PBHSetDirAccessSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::accessParam, SetAccess);
}

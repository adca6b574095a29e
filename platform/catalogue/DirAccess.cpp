#include "ParamBlocks.h"
#include "catalogue/FileAccess.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/DirAccess.h>

#include <cerrno>

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
constexpr UInt32 kRightsMask = 0777;

// Of three bits of a mode, which count write as 2 and read as 4.
UInt32 RightsOfMode(unsigned inMode) {
    return ((inMode & 1) != 0 ? kSearch : 0) | ((inMode & 2) != 0 ? kWrite : 0) |
           ((inMode & 4) != 0 ? kRead : 0);
}

unsigned ModeOfRights(UInt32 inRights) {
    return ((inRights & kSearch) != 0 ? 1U : 0U) | ((inRights & kWrite) != 0 ? 2U : 0U) |
           ((inRights & kRead) != 0 ? 4U : 0U);
}

OSStatus FindFolder(const AccessParam& inBlock, FoundItem& outFolder, FSCatalogInfo& outInfo) {
    OSStatus status = FindNamed(inBlock.ioVRefNum, inBlock.ioDirID, inBlock.ioNamePtr, outFolder);
    if (status == noErr && outFolder.status.kind != os::ItemKind::kFolder) status = afpObjectTypeErr;
    if (status != noErr) return status;
    const FSRef ref = MakeRef(outFolder);
    return FSGetCatalogInfo(&ref, kFSCatInfoPermissions, &outInfo, nullptr, nullptr, nullptr);
}

OSStatus GetAccess(AccessParam& ioBlock) {
    FoundItem folder;
    FSCatalogInfo info = {};
    const OSStatus status = FindFolder(ioBlock, folder, info);
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

OSStatus SetOwner(const FoundItem& inFolder, UInt32 inOwner, UInt32 inGroup) {
    os::Descriptor folder;
    const OSStatus status = OpenFound(inFolder, O_PATH, folder);
    if (status != noErr) return status;
    return os::Calls().fchownat(folder.Number(), "", inOwner, inGroup, AT_EMPTY_PATH) == 0
               ? noErr
               : StatusOfErrno(errno);
}

// The mode first: it cannot be set by who has given the folder away.
OSStatus SetAccess(const AccessParam& inBlock) {
    FoundItem folder;
    FSCatalogInfo before = {};
    OSStatus status = FindFolder(inBlock, folder, before);
    if (status != noErr) return status;
    const auto access = static_cast<UInt32>(inBlock.ioACAccess);
    const unsigned rights = ModeOfRights(access >> kOwnerShift) << 6 |
                            ModeOfRights(access >> kGroupShift) << 3 | ModeOfRights(access >> kEveryoneShift);
    const FSRef ref = MakeRef(folder);
    FSCatalogInfo info = before;
    info.permissions.mode = static_cast<UInt16>((before.permissions.mode & ~kRightsMask) | rights);
    const bool changesMode = info.permissions.mode != before.permissions.mode;
    if (changesMode) status = FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    const auto owner = static_cast<UInt32>(inBlock.ioACOwnerID);
    const auto group = static_cast<UInt32>(inBlock.ioACGroupID);
    if (status != noErr || (owner == before.permissions.userID && group == before.permissions.groupID))
        return status;
    status = SetOwner(folder, owner, group);
    if (status != noErr && changesMode) (void)FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &before);
    return status;
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

#include <foundation/ClassicPermissions.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Gestalt.h>
#include <toolbox/MacErrors.h>

namespace {

constexpr UInt16 kPermissionBits = 07777;

struct Permissions {
    bool areKept = false;  // by this system's files
    FSRef ref = {};
    FSCatalogInfo info = {};
};

// Reads them where there are any.
OSErr Read(const FSSpec* inItem, Permissions& outPermissions) {
    SInt32 response = 0;
    OSErr error = Gestalt(gestaltFSAttr, &response);
    if (error != noErr) return error;
    outPermissions.areKept = (response >> gestaltHasHFSPlusAPIs & 1) != 0;
    if (!outPermissions.areKept) return noErr;
    error = FSpMakeFSRef(inItem, &outPermissions.ref);
    if (error != noErr) return error;
    return FSGetCatalogInfo(&outPermissions.ref, kFSCatInfoPermissions, &outPermissions.info, nullptr,
                            nullptr, nullptr);
}

}  // namespace

OSErr GetClassicPermissions(const FSSpec* inItem, UInt16* outMode) {
    if (inItem == nullptr || outMode == nullptr) return paramErr;
    Permissions permissions;
    const OSErr error = Read(inItem, permissions);
    if (error == noErr && permissions.areKept) *outMode = permissions.info.permissions.mode;
    return error;
}

OSErr SetClassicPermissions(const FSSpec* inItem, UInt16 inMode) {
    if (inItem == nullptr) return paramErr;
    Permissions permissions;
    const OSErr error = Read(inItem, permissions);
    if (error != noErr || !permissions.areKept) return error;
    UInt16& mode = permissions.info.permissions.mode;
    if ((mode & kPermissionBits) == inMode) return noErr;
    mode = inMode;
    return FSSetCatalogInfo(&permissions.ref, kFSCatInfoPermissions, &permissions.info);
}

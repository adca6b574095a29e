#include <foundation/ClassicPermissions.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Gestalt.h>
#include <toolbox/MacErrors.h>

namespace {

constexpr UInt16 kPermissionBits = 07777;

OSErr HasExtendedInterfaces(bool& outHas) {
    SInt32 response = 0;
    const OSErr error = Gestalt(gestaltFSAttr, &response);
    outHas = error == noErr && (response >> gestaltHasHFSPlusAPIs & 1) != 0;
    return error;
}

OSErr ReadPermissions(const FSSpec* inItem, FSRef& outRef, FSCatalogInfo& outInfo) {
    const OSErr error = FSpMakeFSRef(inItem, &outRef);
    if (error != noErr) return error;
    return FSGetCatalogInfo(&outRef, kFSCatInfoPermissions, &outInfo, nullptr, nullptr, nullptr);
}

}  // namespace

OSErr GetClassicPermissions(const FSSpec* inItem, UInt16* outMode) {
    if (inItem == nullptr || outMode == nullptr) return paramErr;
    bool has = false;
    OSErr error = HasExtendedInterfaces(has);
    if (error != noErr || !has) return error;
    FSRef ref = {};
    FSCatalogInfo info = {};
    error = ReadPermissions(inItem, ref, info);
    if (error == noErr) *outMode = info.permissions.mode;
    return error;
}

OSErr SetClassicPermissions(const FSSpec* inItem, UInt16 inMode) {
    if (inItem == nullptr) return paramErr;
    bool has = false;
    OSErr error = HasExtendedInterfaces(has);
    if (error != noErr || !has) return error;
    FSRef ref = {};
    FSCatalogInfo info = {};
    error = ReadPermissions(inItem, ref, info);
    if (error != noErr) return error;
    if ((info.permissions.mode & kPermissionBits) == inMode) return noErr;
    info.permissions.mode = inMode;
    return FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
}

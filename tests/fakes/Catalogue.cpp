#include "Catalogue.h"

#include "Calls.h"

namespace fakes {

namespace {

struct Script {
    FSPermissionInfo permissions = {};
    OSErr specError = noErr;
    OSErr getError = noErr;
    OSErr setError = noErr;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

constexpr UInt8 kRefMark = 0x5A;

}  // namespace

void SetPermissions(const FSPermissionInfo& inPermissions) {
    TheScript().permissions = inPermissions;
}

const FSPermissionInfo& Permissions() {
    return TheScript().permissions;
}

void RefuseSpecs(OSErr inError) {
    TheScript().specError = inError;
}

void RefuseCatalogInfo(OSErr inError) {
    TheScript().getError = inError;
}

void RefuseSettingCatalogInfo(OSErr inError) {
    TheScript().setError = inError;
}

void ForgetCatalogue() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

OSErr FSpMakeFSRef(const FSSpec* inSpec, FSRef* outRef) {
    Log(CallText("FSpMakeFSRef", inSpec->vRefNum, static_cast<int>(inSpec->parID)));
    if (TheScript().specError == noErr) outRef->hidden[0] = kRefMark;
    return TheScript().specError;
}

OSErr FSGetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo* outInfo,
                       HFSUniStr255* outName, FSSpec* outSpec, FSRef* outParentRef) {
    Log(CallText("FSGetCatalogInfo", inWhichInfo));
    if (inRef->hidden[0] != kRefMark) ReportMisuse("FSGetCatalogInfo of a reference that was not made");
    if (outName != nullptr || outSpec != nullptr || outParentRef != nullptr)
        ReportMisuse("FSGetCatalogInfo for more than this catalogue has");
    if (TheScript().getError == noErr) outInfo->permissions = TheScript().permissions;
    return TheScript().getError;
}

OSErr FSSetCatalogInfo(const FSRef* inRef, FSCatalogInfoBitmap inWhichInfo, const FSCatalogInfo* inInfo) {
    Log(CallText("FSSetCatalogInfo", inWhichInfo));
    if (inRef->hidden[0] != kRefMark) ReportMisuse("FSSetCatalogInfo of a reference that was not made");
    if (TheScript().setError == noErr) TheScript().permissions = inInfo->permissions;
    return TheScript().setError;
}

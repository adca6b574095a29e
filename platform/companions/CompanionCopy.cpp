#include "companions/CompanionCopy.h"

#include "CompanionFile.h"
#include "companions/Companions.h"
#include "os/Replace.h"
#include "os/SystemCalls.h"

#include <cerrno>

namespace toolbox::files {

namespace {

bool IsNone(int inError) {
    return inError == ENOENT || inError == EBADMSG || inError == ENODATA || inError == EISDIR ||
           inError == ENXIO;
}

}  // namespace

CompanionCopy::~CompanionCopy() {
    if (mFolder >= 0) (void)os::Calls().unlinkat(mFolder, mName.c_str(), 0);
}

int CompanionCopy::Make(const Place& inItem, const Place& inNewItem, SInt32 inCreationSeconds) {
    const int newFolder = inNewItem.folder.Number();
    mName = CompanionName(inNewItem.name);
    Companion companion;
    int error = OpenNamed(inItem.folder.Number(), CompanionName(inItem.name), companion);
    const bool hasOne = error == 0;
    if (!hasOne && !IsNone(error)) return error;
    if (!hasOne && inCreationSeconds == CompanionInfo::kNoDate) return 0;

    os::ItemStatus status;
    error = os::GetStatusAt(newFolder, mName.c_str(), status);
    if (error == 0) return EEXIST;
    if (error != ENOENT) return error;
    if (hasOne) {
        error = os::CopyToNew(companion.file.DescriptorNumber(), newFolder, mName);
        if (error != 0) return error;
    }
    mFolder = newFolder;
    CompanionInfo info;
    CompanionSizes sizes;
    error = ReadInfo(newFolder, mName, info, sizes);
    info.isLocked = false;
    if (inCreationSeconds != CompanionInfo::kNoDate) info.creationSeconds = inCreationSeconds;
    return error == 0 ? WriteInfo(inNewItem, info) : error;
}

}  // namespace toolbox::files

#include "HeldItem.h"

#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"
#include "os/SystemCalls.h"

#include <fcntl.h>

#include <cerrno>

namespace toolbox::files {

OSStatus HeldItem::Open(const FoundItem& inItem) {
    const OSStatus status = OpenFound(inItem, O_PATH, mFile);
    if (status == noErr) mPath = PathOfDescriptor(mFile.Number());
    return status;
}

// By what the system shows of it: fchmod and futimens refuse what is only held as a place.
int HeldItem::SetMode(mode_t inMode) const {
    return os::Calls().fchmodat(AT_FDCWD, mPath.c_str(), inMode, 0) == 0 ? 0 : errno;
}

int HeldItem::GetStatus(os::ItemStatus& outStatus) const {
    return os::GetDescriptorStatus(mFile.Number(), outStatus);
}

int HeldItem::SetOwner(uid_t inOwner, gid_t inGroup) const {
    return os::Calls().fchownat(mFile.Number(), "", inOwner, inGroup, AT_EMPTY_PATH) == 0 ? 0 : errno;
}

int HeldItem::SetDates(const os::Moment* inAccess, const os::Moment* inContent) const {
    return os::SetDatesAt(AT_FDCWD, mPath.c_str(), os::LastLink::kFollowed, inAccess, inContent);
}

}  // namespace toolbox::files

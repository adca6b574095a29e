#include "FileAccess.h"

#include "Catalogue.h"
#include "FileCalls.h"

#include <fcntl.h>
#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

// How often opening starts again because another item took the path between finding and opening.
constexpr int kRounds = 3;

OSStatus StatusOfKind(ItemKind inKind) {
    if (inKind == ItemKind::kFile) return noErr;
    return inKind == ItemKind::kFolder ? notAFileErr : errFSForkNotFound;
}

// Opens the item where it was found; fnfErr when something else is there meanwhile.
OSStatus OpenFound(const std::string& inPath, const ItemIdentity& inItem, int& outDescriptor) {
    // Without O_NONBLOCK a pipe that took the path just now would hold us until somebody writes to it.
    const int descriptor =
        Calls().openFile(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW);
    if (descriptor < 0) return errno == ELOOP ? static_cast<OSStatus>(fnfErr) : StatusOfErrno(errno);
    ItemStatus opened;
    const int error = GetDescriptorStatus(descriptor, opened);
    if (error == 0 && opened.identity.IsSameItem(inItem)) {
        outDescriptor = descriptor;
        return noErr;
    }
    Calls().closeFile(descriptor);
    return error != 0 ? StatusOfErrno(error) : static_cast<OSStatus>(fnfErr);
}

}  // namespace

OSStatus OpenForReading(const FSRef& inItem, int& outDescriptor, std::string& outPath) {
    outDescriptor = -1;
    OSStatus status = fnfErr;
    for (int round = 0; round < kRounds && status == fnfErr; ++round) {
        outPath.clear();
        FoundItem found;
        status = FindByRef(inItem, found);
        if (status != noErr) return status;
        outPath = std::move(found.path);
        status = StatusOfKind(found.status.kind);
        if (status == noErr) status = OpenFound(outPath, found.status.identity, outDescriptor);
    }
    return status;
}

}  // namespace toolbox::files

#include "catalogue/FileAccess.h"

#include "catalogue/Catalogue.h"
#include "catalogue/DescriptorPaths.h"
#include "status/StatusOfErrno.h"

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

// How often opening starts again because another item took the path between finding and opening.
constexpr int kRounds = 100;

OSStatus StatusOfKind(os::ItemKind inKind) {
    if (inKind == os::ItemKind::kFile) return noErr;
    return inKind == os::ItemKind::kFolder ? notAFileErr : errFSForkNotFound;
}

}  // namespace

OSStatus OpenFound(const FoundItem& inItem, int inFlags, os::Descriptor& outFile) {
    // The path of a descriptor is itself a link, to what is open there.
    const int itemFlags = IsDescriptorPath(inItem.path) ? os::kItemItself & ~O_NOFOLLOW : os::kItemItself;
    outFile = os::Descriptor();
    os::Descriptor file;
    int error = os::OpenFile(inItem.path.c_str(), inFlags | itemFlags, file);
    if (error != 0) return error == ELOOP ? static_cast<OSStatus>(fnfErr) : StatusOfErrno(error);
    os::ItemStatus opened;
    error = os::GetDescriptorStatus(file.Number(), opened);
    if (error != 0) return StatusOfErrno(error);
    if (!opened.identity.IsSameItem(inItem.status.identity)) return fnfErr;
    outFile = std::move(file);
    return noErr;
}

OSStatus OpenForReading(const FSRef& inItem, os::Descriptor& outFile, std::string& outPath) {
    outFile = os::Descriptor();
    OSStatus status = fnfErr;
    for (int round = 0; round < kRounds && status == fnfErr; ++round) {
        outPath.clear();
        FoundItem found;
        status = FindByRef(inItem, found);
        if (status != noErr) return status;
        status = StatusOfKind(found.status.kind);
        if (status == noErr) status = OpenFound(found, O_RDONLY, outFile);
        outPath = std::move(found.path);
    }
    return status;
}

OSStatus ReadSmallFile(const FSRef& inItem, std::size_t inMaxByteCount, std::string& outContents) {
    os::Descriptor file;
    std::string path;
    const OSStatus status = OpenForReading(inItem, file, path);
    if (status != noErr) return status;
    const int error = os::ReadFromStart(file.Number(), inMaxByteCount + 1, outContents);
    if (error != 0) return StatusOfErrno(error);
    return outContents.size() > inMaxByteCount ? static_cast<OSStatus>(fileBoundsErr) : OSStatus{noErr};
}

}  // namespace toolbox::files

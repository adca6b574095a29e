#include "forks/Forks.h"

#include "ForkFile.h"
#include "ForkOpening.h"
#include "catalogue/Catalogue.h"
#include "catalogue/FileAccess.h"
#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/ItemStatus.h"
#include "status/StatusOfErrno.h"

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

OSStatus OpenResourceFork(const FSRef& inFile, OpenFork& outFork) {
    FoundItem item;
    Place place;
    OSStatus status = FindByRef(inFile, item);
    if (status == noErr && item.status.kind == os::ItemKind::kLink) status = errFSForkNotFound;
    if (status == noErr) status = OpenPlace(item, place);
    if (status != noErr) return status;
    os::FileRange bytes;
    const int error = OpenEntry(place, AppleDoubleEntry::kResourceFork, bytes);
    if (error == 0) outFork = OpenFork(std::move(bytes));
    return error == ENOENT || error == EISDIR ? OSStatus{errFSForkNotFound} : StatusOfErrno(error);
}

OSStatus OpenDataFork(const FSRef& inFile, OpenFork& outFork) {
    os::Descriptor file;
    std::string path;
    const OSStatus status = OpenForReading(inFile, file, path);
    return status == noErr ? outFork.Adopt(std::move(file)) : status;
}

OSStatus WriteResourceFork(const FoundItem& inItem, const std::vector<UInt8>& inBytes) {
    Place place;
    os::Descriptor locked;
    OSStatus status = OpenPlace(inItem, place);
    if (status == noErr) status = LockResourceFork(inItem, ForkAccess::kWriteAlone, locked);
    // Who may not write the data may write the companion; others who do the same are not known then.
    if (status == opWrErr) status = fBsyErr;
    if (status != noErr && status != afpAccessDenied) return status;
    const int error = ReplaceEntry(place, AppleDoubleEntry::kResourceFork, inBytes);
    return error == EISDIR ? OSStatus{errFSForkNotFound} : StatusOfErrno(error);
}

OSStatus WriteDataFork(const FoundItem& inItem, const std::vector<UInt8>& inBytes,
                       const os::MovableHead& inHead) {
    os::Descriptor file;
    OSStatus status = OpenFound(inItem, O_RDWR, file);
    if (status == afpAccessDenied) status = OpenFound(inItem, O_WRONLY, file);
    if (status != noErr) return status;
    const int error = os::OverwriteFile(file.Number(), inBytes, inHead);
    const int closeError = file.Close();
    return StatusOfErrno(error != 0 ? error : closeError);
}

}  // namespace

OSStatus OpenFork::Adopt(os::Descriptor inFile) {
    const int error = mBytes.Adopt(std::move(inFile));
    return error == EINVAL ? OSStatus{errFSForkNotFound} : StatusOfErrno(error);
}

OSStatus OpenFork::Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const {
    const int error = mBytes.Read(inOffsetBytes, outBytes, inByteCount);
    return error == ENODATA ? OSStatus{eofErr} : StatusOfErrno(error);
}

OSStatus Open(const FSRef& inFile, Fork inFork, OpenFork& outFork) {
    OpenFork fork;
    const OSStatus status =
        inFork == Fork::kData ? OpenDataFork(inFile, fork) : OpenResourceFork(inFile, fork);
    if (status == noErr) outFork = std::move(fork);
    return status;
}

OSStatus WriteFork(const FSRef& inFile, Fork inFork, const std::vector<UInt8>& inBytes,
                   const os::MovableHead& inHead) {
    FoundItem item;
    OSStatus status = FindFile(inFile, item);
    if (status != noErr) return status;
    status = CheckIsUnlocked(item);
    if (status != noErr) return status;
    ForkUse use;
    if (use.Begin(item.status.identity, inFork == Fork::kResource, ForkAccess::kWriteAlone) != 0)
        return fBsyErr;
    return inFork == Fork::kData ? WriteDataFork(item, inBytes, inHead) : WriteResourceFork(item, inBytes);
}

}  // namespace toolbox::files

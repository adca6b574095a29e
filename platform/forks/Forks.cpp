#include "forks/Forks.h"

#include "catalogue/Catalogue.h"
#include "catalogue/FileAccess.h"
#include "formats/AppleDouble.h"
#include "os/ItemStatus.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::size_t kFinderInfoBytes = 32;

// fnfErr when the item has none.
OSStatus OpenCompanion(const std::string& inItemPath, OpenFork& outCompanion) {
    os::Descriptor file;
    const int error = os::OpenFile(CompanionPath(inItemPath).c_str(), O_RDONLY | os::kItemItself, file);
    if (error == 0) return outCompanion.Adopt(std::move(file));
    // A name that has no room for the prefix has no companion either.
    return error == ELOOP || error == ENAMETOOLONG ? OSStatus{fnfErr} : StatusOfErrno(error);
}

OSStatus OpenResourceFork(const FSRef& inFile, OpenFork& outFork) {
    FoundItem item;
    OSStatus status = FindByRef(inFile, item);
    if (status != noErr) return status;
    status = OpenCompanion(item.path, outFork);
    if (status == fnfErr) return errFSForkNotFound;
    std::vector<AppleDoubleEntry> entries;
    if (status == noErr) status = StatusOfErrno(ReadAppleDouble(outFork.Bytes(), entries));
    if (status != noErr) return status;
    for (const AppleDoubleEntry& entry : entries) {
        if (entry.id != AppleDoubleEntry::kResourceFork) continue;
        outFork.Narrow(entry.offsetBytes, entry.lengthBytes);
        return noErr;
    }
    return errFSForkNotFound;
}

OSStatus OpenDataFork(const FSRef& inFile, OpenFork& outFork) {
    os::Descriptor file;
    std::string path;
    const OSStatus status = OpenForReading(inFile, file, path);
    return status == noErr ? outFork.Adopt(std::move(file)) : status;
}

// The parts of a companion but for the resource fork.
OSStatus ReadOtherParts(const OpenFork& inCompanion, std::vector<AppleDoublePart>& outParts) {
    std::vector<AppleDoubleEntry> entries;
    OSStatus status = StatusOfErrno(ReadAppleDouble(inCompanion.Bytes(), entries));
    for (const AppleDoubleEntry& entry : entries) {
        if (entry.id == AppleDoubleEntry::kResourceFork) continue;
        AppleDoublePart part = {entry.id, std::vector<UInt8>(entry.lengthBytes)};
        status = inCompanion.Read(entry.offsetBytes, part.bytes.data(), part.bytes.size());
        if (status != noErr) break;
        outParts.push_back(std::move(part));
    }
    return status;
}

OSStatus WriteResourceFork(const std::string& inItemPath, const std::vector<UInt8>& inBytes) {
    std::vector<AppleDoublePart> parts;
    OpenFork companion;
    OSStatus status = OpenCompanion(inItemPath, companion);
    if (status == noErr) {
        status = ReadOtherParts(companion, parts);
    } else if (status == fnfErr) {
        parts.push_back({AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes)});
        status = noErr;
    }
    if (status != noErr) return status;
    parts.push_back({AppleDoubleEntry::kResourceFork, inBytes});
    std::vector<UInt8> file;
    if (!EncodeAppleDouble(parts, file)) return dskFulErr;
    return StatusOfErrno(os::ReplaceFile(CompanionPath(inItemPath), file));
}

OSStatus WriteDataFork(const FoundItem& inItem, const std::vector<UInt8>& inBytes,
                       const os::MovableHead& inHead) {
    os::Descriptor file;
    int error = os::OpenFile(inItem.path.c_str(), O_WRONLY | os::kItemItself, file);
    if (error != 0) return StatusOfErrno(error);
    os::ItemStatus opened;
    error = os::GetDescriptorStatus(file.Number(), opened);
    if (error == 0 && !opened.identity.IsSameItem(inItem.status.identity)) return fnfErr;
    if (error == 0) error = os::OverwriteFile(file.Number(), inBytes, inHead);
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
    const OSStatus status = FindByRef(inFile, item);
    if (status != noErr) return status;
    if (item.status.kind == os::ItemKind::kFolder) return notAFileErr;
    if (item.status.kind != os::ItemKind::kFile) return errFSForkNotFound;
    return inFork == Fork::kData ? WriteDataFork(item, inBytes, inHead)
                                 : WriteResourceFork(item.path, inBytes);
}

}  // namespace toolbox::files

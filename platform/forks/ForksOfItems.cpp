// Forks made, deleted and told of by their files.
#include "ForkNames.h"
#include "ForkOpening.h"
#include "catalogue/FileAccess.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>

#include <new>

namespace toolbox::files {

namespace {

// Where an iteration is.
enum : SInt32 { kAtStart, kAfterData, kAtEnd };

OSStatus GetResourceSizes(const FoundItem& inItem, ForkSizes& outSizes) {
    Place place;
    const OSStatus status = OpenPlace(inItem, place);
    if (status != noErr) return status;
    CompanionInfo info;
    CompanionSizes sizes;
    const int error = ReadInfo(place.folder.Number(), CompanionName(place.name), info, sizes);
    outSizes = {sizes.forkBytes, sizes.allocatedBytes};
    return StatusOfErrno(error);
}

OSStatus Create(const FSRef& inFile, UniCharCount inNameLength, const UniChar* inName) {
    bool isResource = false;
    FoundItem item;
    ForkSizes sizes;
    OSStatus status = IsResourceForkName(inNameLength, inName, isResource);
    if (status == noErr) status = FindFile(inFile, item);
    if (status == noErr && isResource) status = GetResourceSizes(item, sizes);
    if (status != noErr) return status;
    if (!isResource || sizes.byteCount > 0) return errFSForkExists;
    os::Descriptor file;
    status = CheckIsUnlocked(item);
    if (status == noErr) status = OpenFound(item, O_RDWR, file);
    return status == wPrErr ? StatusOfChange(EROFS, item) : status;
}

OSStatus Delete(const FSRef& inFile, UniCharCount inNameLength, const UniChar* inName) {
    bool isResource = false;
    FoundItem item;
    OSStatus status = IsResourceForkName(inNameLength, inName, isResource);
    if (status == noErr) status = FindFile(inFile, item);
    if (status != noErr) return status;
    const ForksInUse inUse = FindForksInUse(item.status.identity);
    if (isResource ? inUse.isResourceOpen : inUse.isDataOpen) return fBsyErr;
    ForkOpening opening;
    ForkSizes sizes;
    status = opening.Open(inFile, isResource, fsRdWrPerm);
    if (status == noErr) status = opening.GetSizes(sizes);
    if (status != noErr) return status;
    if (isResource && sizes.byteCount == 0) return errFSForkNotFound;
    status = opening.SetSize(fsFromStart, 0);
    const OSStatus closeStatus = opening.Close();
    return status == noErr ? closeStatus : status;
}

OSStatus Iterate(const FSRef& inFile, CatPositionRec& ioIterator, bool& outIsResource, ForkSizes& outSizes) {
    FoundItem item;
    OSStatus status = FindFile(inFile, item);
    if (status != noErr) return status;
    if (ioIterator.initialize == kAtStart) {
        ioIterator = {kAfterData, {}};
        outIsResource = false;
        outSizes = {static_cast<UInt64>(item.status.sizeBytes), item.status.allocatedBytes};
        return noErr;
    }
    if (ioIterator.initialize != kAfterData) return errFSNoMoreItems;
    status = GetResourceSizes(item, outSizes);
    if (status != noErr) return status;
    ioIterator.initialize = kAtEnd;
    outIsResource = true;
    return outSizes.byteCount > 0 ? noErr : errFSNoMoreItems;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSCreateFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName) {
    if (inFile == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Create(*inFile, inNameLength, inName));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSDeleteFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName) {
    if (inFile == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(Delete(*inFile, inNameLength, inName));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSIterateForks(const FSRef* inFile, CatPositionRec* ioIterator, HFSUniStr255* outName,
                     SInt64* outByteCount, UInt64* outPhysicalByteCount) {
    if (inFile == nullptr || ioIterator == nullptr) return paramErr;
    try {
        bool isResource = false;
        ForkSizes sizes;
        const OSStatus status = Iterate(*inFile, *ioIterator, isResource, sizes);
        if (status != noErr) return static_cast<OSErr>(status);
        if (outName != nullptr) SetForkName(isResource, *outName);
        if (outByteCount != nullptr) *outByteCount = static_cast<SInt64>(sizes.byteCount);
        if (outPhysicalByteCount != nullptr) *outPhysicalByteCount = sizes.allocatedByteCount;
        return noErr;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

#include "AliasRecord.h"
#include "catalogue/Catalogue.h"

#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>

#include <cstring>
#include <new>

using namespace toolbox::files;

namespace {

OSStatus MakeAlias(const FSRef& inTarget, AliasHandle* outAlias) {
    FoundItem item;
    OSStatus status = FindByRef(inTarget, item);
    if (status != noErr) return status;
    std::vector<UInt8> record;
    status = EncodeAlias({0, item.status.kind, item.status.identity, item.path}, record);
    if (status != noErr) return status;
    Handle handle = nullptr;
    status = PtrToHand(record.data(), &handle, static_cast<Size>(record.size()));
    if (status == noErr) *outAlias = reinterpret_cast<AliasHandle>(handle);
    return status;
}

// What a path leads to; a link itself, where the alias is of one.
OSStatus FindAlike(toolbox::os::ItemKind inKind, const std::string& inPath, FoundItem& outItem) {
    const bool isOfLink = inKind == toolbox::os::ItemKind::kLink;
    return isOfLink ? FindItselfByPath(inPath.c_str(), outItem) : FindByPath(inPath.c_str(), outItem);
}

// The item under another name in the folder where it was.
OSStatus FindRenamed(const AliasContents& inAlias, FoundItem& outItem) {
    FoundItem renamed;
    const std::string folderPath = inAlias.path.substr(0, inAlias.path.rfind('/') + 1);
    OSStatus status = FindInFolder(folderPath, inAlias.identity, renamed);
    if (status == noErr) status = FindAlike(inAlias.kind, renamed.path, outItem);
    if (status != noErr) return status;
    return outItem.status.identity.IsSameItem(inAlias.identity) ? noErr : fnfErr;
}

// Looks where the item was, then for something like it there, then for the item in other places.
OSStatus FindTarget(const AliasContents& inAlias, FoundItem& outItem) {
    const OSStatus pathStatus = FindAlike(inAlias.kind, inAlias.path, outItem);
    if (pathStatus == noErr && outItem.status.kind == inAlias.kind) return noErr;

    const OSStatus nodeStatus = FindByIdentity(inAlias.identity, outItem);
    if (nodeStatus == noErr) return noErr;
    const OSStatus folderStatus = FindRenamed(inAlias, outItem);
    if (folderStatus == noErr) return noErr;
    for (const OSStatus status : {pathStatus, nodeStatus, folderStatus}) {
        if (status != noErr && status != fnfErr && status != dirNFErr) return status;
    }
    return fnfErr;
}

// Puts a new record in the place of the first inOldBytes of the handle.
bool ReplaceRecord(Handle ioAlias, std::size_t inOldBytes, const std::vector<UInt8>& inRecord) {
    const std::size_t oldSize = static_cast<std::size_t>(GetHandleSize(ioAlias));
    const std::size_t newSize = oldSize - inOldBytes + inRecord.size();
    if (newSize > oldSize) {
        SetHandleSize(ioAlias, static_cast<Size>(newSize));
        if (MemError() != noErr) return false;
    }
    std::memmove(*ioAlias + inRecord.size(), *ioAlias + inOldBytes, oldSize - inOldBytes);
    std::memcpy(*ioAlias, inRecord.data(), inRecord.size());
    if (newSize < oldSize) SetHandleSize(ioAlias, static_cast<Size>(newSize));
    return true;
}

OSStatus ResolveAlias(Handle ioAlias, FSRef* outTarget, Boolean* outWasChanged) {
    AliasContents alias;
    std::size_t recordBytes = 0;
    const Size handleBytes = GetHandleSize(ioAlias);
    if (handleBytes <= 0) return paramErr;
    OSStatus status = DecodeAlias(reinterpret_cast<const UInt8*>(*ioAlias),
                                  static_cast<std::size_t>(handleBytes), alias, recordBytes);
    if (status != noErr) return status;
    FoundItem item;
    status = FindTarget(alias, item);
    if (status != noErr) return status;

    if (item.path != alias.path || !item.status.identity.IsSameItem(alias.identity)) {
        std::vector<UInt8> record;
        *outWasChanged = EncodeAlias({alias.userType, item.status.kind, item.status.identity, item.path},
                                     record) == noErr &&
                         ReplaceRecord(ioAlias, recordBytes, record);
    }
    *outTarget = MakeRef(item);
    return noErr;
}

}  // namespace

OSErr FSNewAliasMinimal(const FSRef* inTarget, AliasHandle* outAlias) {
    if (outAlias == nullptr) return paramErr;
    *outAlias = nullptr;
    if (inTarget == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(MakeAlias(*inTarget, outAlias));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSResolveAlias(const FSRef*, AliasHandle inAlias, FSRef* outTarget, Boolean* outWasChanged) {
    if (inAlias == nullptr || outTarget == nullptr || outWasChanged == nullptr) return paramErr;
    *outWasChanged = 0;
    try {
        return static_cast<OSErr>(ResolveAlias(reinterpret_cast<Handle>(inAlias), outTarget, outWasChanged));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

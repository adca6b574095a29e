#include "catalogue/Catalogue.h"

#include <toolbox/Files.h>

#include <cstring>
#include <new>

using namespace toolbox::files;

namespace {

OSStatus MakeRefOfPath(const UInt8* inPath, OptionBits inOptions, FSRef* outRef, Boolean* outIsDirectory) {
    FoundItem item;
    const auto* path = reinterpret_cast<const char*>(inPath);
    const bool isFollowed = (inOptions & kFSPathMakeRefDoNotFollowLeafSymlink) == 0;
    const OSStatus status = isFollowed ? FindByPath(path, item) : FindItselfByPath(path, item);
    if (status != noErr) return status;
    *outRef = MakeRef(item);
    if (outIsDirectory != nullptr) *outIsDirectory = item.status.kind == toolbox::os::ItemKind::kFolder;
    return noErr;
}

OSStatus MakePathOfRef(const FSRef& inRef, UInt8* outPath, UInt32 inMaxPathSize) {
    FoundItem item;
    const OSStatus status = FindByRef(inRef, item);
    if (status != noErr) return status;
    if (item.path.size() >= inMaxPathSize) return pathTooLongErr;
    std::memcpy(outPath, item.path.c_str(), item.path.size() + 1);
    return noErr;
}

}  // namespace

OSStatus FSPathMakeRef(const UInt8* inPath, FSRef* outRef, Boolean* outIsDirectory) {
    return FSPathMakeRefWithOptions(inPath, kFSPathMakeRefDefaultOptions, outRef, outIsDirectory);
}

OSStatus FSPathMakeRefWithOptions(const UInt8* inPath, OptionBits inOptions, FSRef* outRef,
                                  Boolean* outIsDirectory) {
    if (inPath == nullptr || outRef == nullptr) return paramErr;
    if ((inOptions & ~OptionBits{kFSPathMakeRefDoNotFollowLeafSymlink}) != 0) return paramErr;
    try {
        return MakeRefOfPath(inPath, inOptions, outRef, outIsDirectory);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSCompareFSRefs(const FSRef* inRef1, const FSRef* inRef2) {
    if (inRef1 == nullptr || inRef2 == nullptr) return paramErr;
    toolbox::os::ItemIdentity item1, item2;
    if (!ReadRef(*inRef1, item1) || !ReadRef(*inRef2, item2)) return errFSBadFSRef;
    return item1.IsSameItem(item2) ? noErr : errFSRefsDifferent;
}

OSStatus FSRefMakePath(const FSRef* inRef, UInt8* outPath, UInt32 inMaxPathSize) {
    if (inRef == nullptr || outPath == nullptr) return paramErr;
    try {
        return MakePathOfRef(*inRef, outPath, inMaxPathSize);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

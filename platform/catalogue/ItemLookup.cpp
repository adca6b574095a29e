#include "Finding.h"
#include "FolderItems.h"
#include "names/CatalogueNames.h"

#include <toolbox/ItemLookup.h>

#include <algorithm>
#include <new>
#include <string>

namespace toolbox::files {

namespace {

OSStatus MakeRefByName(const FSRef& inFolder, std::u16string_view inName, FSRef& outRef) {
    FoundItem folder;
    Place place;
    FoundItem item;
    OSStatus status =
        OpenKnownFolder(inFolder, folder, place) ? OSStatus{noErr} : FindByRef(inFolder, folder);
    if (status == noErr && folder.status.kind != os::ItemKind::kFolder) status = errFSNotAFolder;
    if (status == noErr) status = FindByName(folder, place, inName, item);
    if (status == noErr) outRef = MakeRef(item);
    return status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSMakeFSRefUnicode(const FSRef* inFolder, UniCharCount inLength, const UniChar* inName, TextEncoding,
                         FSRef* outRef) {
    if (inFolder == nullptr || outRef == nullptr) return paramErr;
    if (inName == nullptr || inLength == 0) return errFSMissingName;
    if (inLength > kMaxNameUnits) return bdNamErr;
    try {
        const std::u16string name(inName, inName + inLength);
        return static_cast<OSErr>(MakeRefByName(*inFolder, name, *outRef));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr PBMakeFSRefUnicodeSync(FSRefParamPtr ioBlock) {
    if (ioBlock == nullptr) return paramErr;
    return ioBlock->ioResult = FSMakeFSRefUnicode(ioBlock->ref, ioBlock->nameLength, ioBlock->name,
                                                  ioBlock->textEncodingHint, ioBlock->newRef);
}

OSErr PBMakeFSRefSync(FSRefParamPtr ioBlock) {
    if (ioBlock == nullptr) return paramErr;
    FSSpec spec = {ioBlock->ioVRefNum, ioBlock->ioDirID, {}};
    const ConstStr255Param name = ioBlock->ioNamePtr;
    if (name != nullptr && name[0] >= sizeof spec.name) return ioBlock->ioResult = bdNamErr;
    if (name != nullptr) std::copy_n(name, name[0] + 1, spec.name);
    return ioBlock->ioResult = FSpMakeFSRef(&spec, ioBlock->newRef);
}

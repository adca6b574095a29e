// Resources added, changed and removed.
#include "resources/Chain.h"

#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>

using namespace toolbox::resources;

namespace {

bool Has(const Resource& inResource, UInt8 inAttribute) {
    return (inResource.reference.attributes & inAttribute) != 0;
}

void MarkChanged(Resource& ioResource) {
    ioResource.reference.attributes |= resChanged;
    ioResource.file->MarkMapChanged();
}

void SetName(Reference& ioReference, ConstStr255Param inName) {
    ioReference.hasName = inName[0] > 0;
    ioReference.name.assign(reinterpret_cast<const char*>(inName + 1), inName[0]);
}

// The new resource takes its place beside those of its type.
ResourceFile::List::iterator PlaceOf(ResourceFile::List& ioList, ResType inType) {
    const auto last = std::find_if(ioList.rbegin(), ioList.rend(),
                                   [inType](const auto& inOne) { return inOne->reference.type == inType; });
    return last == ioList.rend() ? ioList.end() : last.base();
}

OSStatus Add(Chain& ioChain, Handle inData, ResType inType, SInt16 inID, ConstStr255Param inName) {
    ResourceFile* const file = ioChain.Current();
    if (file == nullptr || inData == nullptr || ioChain.Find(inData) != nullptr) return addResFailed;
    GetHandleSize(inData);
    if (MemError() != noErr) return addResFailed;
    if (file->IsReadOnly()) return wPrErr;
    auto resource = std::make_unique<Resource>();
    resource->reference.type = inType;
    resource->reference.id = inID;
    if (inName != nullptr) SetName(resource->reference, inName);
    resource->file = file;
    Resource& added = *resource;
    file->Resources().reserve(file->Resources().size() + 1);
    ioChain.Adopt(added, inData);
    file->Resources().insert(PlaceOf(file->Resources(), inType), std::move(resource));
    ioChain.Added(added);
    HSetRBit(inData);
    MarkChanged(added);
    return noErr;
}

OSStatus Remove(Chain& ioChain, Resource& ioResource) {
    ResourceFile& file = *ioResource.file;
    if (&file != ioChain.Current() || Has(ioResource, resProtected) || file.IsReadOnly()) return rmvResFailed;
    ioChain.LetGo(ioResource);
    file.MarkMapChanged();
    ioChain.Removed(ioResource);
    std::erase_if(file.Resources(), [&](const auto& inOne) { return inOne.get() == &ioResource; });
    return noErr;
}

}  // namespace

void SetResInfo(Handle inResource, SInt16 inID, ConstStr255Param inName) {
    RunOn(inResource, [&](Chain&, Resource& ioResource) -> OSStatus {
        if (Has(ioResource, resProtected)) return resAttrErr;
        if (ioResource.file->IsReadOnly()) return wPrErr;
        if (inName != nullptr) SetName(ioResource.reference, inName);
        ioResource.reference.id = inID;
        ioResource.file->MarkMapChanged();
        return noErr;
    });
}

void SetResAttrs(Handle inResource, SInt16 inAttributes) {
    RunOn(inResource, [&](Chain&, Resource& ioResource) -> OSStatus {
        UInt8& attributes = ioResource.reference.attributes;
        attributes = static_cast<UInt8>((attributes & resChanged) | (inAttributes & ~resChanged));
        if (!ioResource.file->IsReadOnly()) ioResource.file->MarkMapChanged();
        return noErr;
    });
}

void AddResource(Handle inData, ResType inType, SInt16 inID, ConstStr255Param inName) {
    Run([&](Chain& ioChain) { return Add(ioChain, inData, inType, inID, inName); });
}

void ChangedResource(Handle inResource) {
    RunOn(inResource, [](Chain&, Resource& ioResource) -> OSStatus {
        if (Has(ioResource, resProtected)) return resAttrErr;
        if (ioResource.file->IsReadOnly()) return wPrErr;
        MarkChanged(ioResource);
        return noErr;
    });
}

void RemoveResource(Handle inResource) {
    RunOn(inResource, [](Chain& ioChain, Resource& ioResource) { return Remove(ioChain, ioResource); });
}

void WriteResource(Handle inResource) {
    RunOn(inResource, [](Chain& ioChain, Resource& ioResource) {
        ioChain.TakeOffLostHandles(*ioResource.file);
        return ioResource.file->Write(&ioResource);
    });
}

// Resources found, counted and read.
#include "resources/Chain.h"

#include <toolbox/Resources.h>

#include <algorithm>
#include <limits>
#include <string_view>

using namespace toolbox::resources;

namespace {

constexpr SInt16 kFirstUniqueID = 128;

std::string_view TextOf(ConstStr255Param inPascalText) {
    return {reinterpret_cast<const char*>(inPascalText + 1), inPascalText[0]};
}

char Folded(char inByte) {
    return inByte >= 'a' && inByte <= 'z' ? static_cast<char>(inByte - 'a' + 'A') : inByte;
}

bool IsSameName(std::string_view inLeft, std::string_view inRight) {
    return std::equal(inLeft.begin(), inLeft.end(), inRight.begin(), inRight.end(),
                      [](char inOne, char inOther) { return Folded(inOne) == Folded(inOther); });
}

template <typename Predicate>
Handle FindFirst(ResType inType, Depth inDepth, Predicate inIsMeant) {
    Handle handle = nullptr;
    Run([&](Chain& ioChain) { return ioChain.FindFirst(inType, inDepth, inIsMeant, handle); });
    return handle;
}

Handle FindByID(ResType inType, SInt16 inID, Depth inDepth) {
    return FindFirst(inType, inDepth,
                     [inID](const Reference& inReference) { return inReference.id == inID; });
}

Handle FindByName(ResType inType, ConstStr255Param inName, Depth inDepth) {
    const std::string_view name = inName == nullptr ? std::string_view() : TextOf(inName);
    return FindFirst(inType, inDepth, [name](const Reference& inReference) {
        return inReference.hasName && IsSameName(inReference.name, name);
    });
}

Handle FindByIndex(ResType inType, SInt16 inIndex, Depth inDepth) {
    Handle handle = nullptr;
    Run([&](Chain& ioChain) -> OSStatus {
        if (inIndex < 1) return resNotFound;
        auto left = static_cast<std::size_t>(inIndex) - 1;
        for (ResourceFile* file : ioChain.Counted(inDepth)) {
            const std::vector<Resource*>& resources = ioChain.TypesOf(*file).OfType(inType);
            if (left < resources.size()) return ioChain.Provide(*resources[left], ioChain.Loads(), handle);
            left -= resources.size();
        }
        return resNotFound;
    });
    return handle;
}

// A count beyond what a result can tell is the greatest that it can.
SInt16 Counted(std::size_t inCount) {
    return static_cast<SInt16>(std::min<std::size_t>(inCount, std::numeric_limits<SInt16>::max()));
}

SInt16 CountOfType(ResType inType, Depth inDepth) {
    std::size_t count = 0;
    Run([&](Chain& ioChain) -> OSStatus {
        for (ResourceFile* file : ioChain.Counted(inDepth))
            count += ioChain.TypesOf(*file).OfType(inType).size();
        return noErr;
    });
    return Counted(count);
}

SInt16 TypeCount(Depth inDepth) {
    std::size_t count = 0;
    Run([&](Chain& ioChain) -> OSStatus {
        count = ioChain.Types(inDepth).size();
        return noErr;
    });
    return Counted(count);
}

void TypeAt(ResType* outType, SInt16 inIndex, Depth inDepth) {
    Run([&](Chain& ioChain) -> OSStatus {
        if (outType == nullptr) return paramErr;
        *outType = 0;
        const std::vector<ResType>& types = ioChain.Types(inDepth);
        if (inIndex < 1 || static_cast<std::size_t>(inIndex) > types.size()) return resNotFound;
        *outType = types[static_cast<std::size_t>(inIndex) - 1];
        return noErr;
    });
}

SInt16 FreeID(ResType inType, Depth inDepth) {
    SInt16 freeID = 0;
    Run([&](Chain& inChain) -> OSStatus {
        std::vector<bool> isTaken(std::numeric_limits<SInt16>::max() + std::size_t{1});
        for (ResourceFile* file : inChain.Counted(inDepth))
            for (const auto& resource : file->Resources())
                if (resource->reference.type == inType && resource->reference.id >= 0)
                    isTaken[static_cast<std::size_t>(resource->reference.id)] = true;
        const auto found = std::find(isTaken.begin() + kFirstUniqueID, isTaken.end(), false);
        if (found != isTaken.end()) freeID = static_cast<SInt16>(found - isTaken.begin());
        return noErr;
    });
    return freeID;
}

}  // namespace

Handle GetResource(ResType inType, SInt16 inID) {
    return FindByID(inType, inID, Depth::kAll);
}
Handle Get1Resource(ResType inType, SInt16 inID) {
    return FindByID(inType, inID, Depth::kOneDeep);
}
Handle GetNamedResource(ResType inType, ConstStr255Param inName) {
    return FindByName(inType, inName, Depth::kAll);
}
Handle Get1NamedResource(ResType inType, ConstStr255Param inName) {
    return FindByName(inType, inName, Depth::kOneDeep);
}
Handle GetIndResource(ResType inType, SInt16 inIndex) {
    return FindByIndex(inType, inIndex, Depth::kAll);
}
Handle Get1IndResource(ResType inType, SInt16 inIndex) {
    return FindByIndex(inType, inIndex, Depth::kOneDeep);
}
SInt16 CountResources(ResType inType) {
    return CountOfType(inType, Depth::kAll);
}
SInt16 Count1Resources(ResType inType) {
    return CountOfType(inType, Depth::kOneDeep);
}
SInt16 CountTypes() {
    return TypeCount(Depth::kAll);
}
SInt16 Count1Types() {
    return TypeCount(Depth::kOneDeep);
}
void GetIndType(ResType* outType, SInt16 inIndex) {
    TypeAt(outType, inIndex, Depth::kAll);
}
void Get1IndType(ResType* outType, SInt16 inIndex) {
    TypeAt(outType, inIndex, Depth::kOneDeep);
}
SInt16 UniqueID(ResType inType) {
    return FreeID(inType, Depth::kAll);
}
SInt16 Unique1ID(ResType inType) {
    return FreeID(inType, Depth::kOneDeep);
}

void SetResLoad(Boolean inLoad) {
    Run([inLoad](Chain& ioChain) -> OSStatus {
        ioChain.SetLoads(inLoad != 0);
        return noErr;
    });
}

void LoadResource(Handle inResource) {
    RunOn(inResource, [](Chain& ioChain, Resource& ioResource) -> OSStatus {
        Handle handle = nullptr;
        return ioChain.Provide(ioResource, true, handle);
    });
}

void GetResInfo(Handle inResource, SInt16* outID, ResType* outType, unsigned char* outName) {
    RunOn(inResource, [&](Chain&, Resource& inOne) -> OSStatus {
        const Reference& reference = inOne.reference;
        if (outID != nullptr) *outID = reference.id;
        if (outType != nullptr) *outType = reference.type;
        if (outName == nullptr) return noErr;
        outName[0] = static_cast<unsigned char>(reference.name.size());
        std::copy(reference.name.begin(), reference.name.end(), outName + 1);
        return noErr;
    });
}

SInt16 GetResAttrs(Handle inResource) {
    SInt16 attributes = 0;
    RunOn(inResource, [&](Chain&, Resource& inOne) -> OSStatus {
        attributes = inOne.reference.attributes;
        return noErr;
    });
    return attributes;
}

SInt32 GetResourceSizeOnDisk(Handle inResource) {
    UInt32 byteCount = 0;
    const OSStatus status = RunOn(inResource, [&](Chain&, Resource& inOne) -> OSStatus {
        if (inOne.isStored) return inOne.file->ReadSize(inOne, byteCount);
        byteCount = static_cast<UInt32>(GetHandleSize(inOne.handle));
        return noErr;
    });
    return status == noErr ? static_cast<SInt32>(byteCount) : -1;
}

void ReleaseResource(Handle inResource) {
    RunOn(inResource, [](Chain& ioChain, Resource& ioResource) -> OSStatus {
        if ((ioResource.reference.attributes & resChanged) == 0) ioChain.Release(ioResource);
        return noErr;
    });
}

void DetachResource(Handle inResource) {
    RunOn(inResource, [](Chain& ioChain, Resource& ioResource) -> OSStatus {
        if ((ioResource.reference.attributes & resChanged) != 0) return resAttrErr;
        ioChain.LetGo(ioResource);
        return noErr;
    });
}

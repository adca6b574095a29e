// The open resource files, which of their resources are in memory, and the result of each thread's last call.
#pragma once

#include "os/Mutex.h"
#include "resources/ChainTypes.h"
#include "resources/ResourceFile.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <unordered_map>
#include <vector>

namespace toolbox::resources {

enum class Depth { kOneDeep, kAll };

os::Mutex& ChainMutex();

// Every function is called with the lock held, by way of Run; which is what the members are guarded by, and
// what every function asserts, since Clang does not see through Run.
class Chain {
  public:
    static Chain& Shared() NEEDS_LOCK(ChainMutex());

    // Opens the application's own file, unless that was done or there is none. For want of memory or
    // descriptors it stays out of the chain until a later call finds some.
    void OpenApplicationFile();
    // Makes the file the current one. tmfoErr when all reference numbers are in use.
    [[nodiscard]] OSStatus Add(std::unique_ptr<ResourceFile> inFile, SInt16& outRefNum);
    // Updates and closes; returns what updating answered.
    [[nodiscard]] OSStatus Close(SInt16 inRefNum);
    [[nodiscard]] OSStatus CloseAll();

    // Null, or 0, when there is none.
    ResourceFile* File(SInt16 inRefNum) const;
    SInt16 RefNumOf(const ResourceFile* inFile) const;
    SInt16 RefNumOfFork(const FSRef& inFile, files::Fork inFork) const;

    SInt16 CurrentRefNum() const {
        ChainMutex().AssertHeld();
        return mCurrent;
    }
    ResourceFile* Current() const { return File(CurrentRefNum()); }
    void SetCurrent(SInt16 inRefNum) {
        ChainMutex().AssertHeld();
        mCurrent = inRefNum;
    }

    // Newest first: from the current file on, or all that are open.
    std::vector<ResourceFile*> Searched(Depth inDepth) const;
    std::vector<ResourceFile*> Counted(Depth inDepth) const;

    // Of a file of the chain, which is told of what is added to it and removed from it.
    FileTypes& TypesOf(ResourceFile& inFile);
    // Each type once, in the order of its first resource in the files counted. Good until one changes.
    const std::vector<ResType>& Types(Depth inDepth);
    // The resource is in its file's list, behind those of its type.
    void Added(Resource& ioResource) noexcept;
    // It is about to leave the list.
    void Removed(const Resource& inResource) noexcept;

    bool Loads() const {
        ChainMutex().AssertHeld();
        return mLoads;
    }
    void SetLoads(bool inLoads) {
        ChainMutex().AssertHeld();
        mLoads = inLoads;
    }
    // The handle of the first resource of a type that passes; with the type nowhere in the files, noErr and
    // null.
    template <typename Predicate>
    [[nodiscard]] OSStatus FindFirst(ResType inType, Depth inDepth, Predicate inIsMeant, Handle& outHandle);
    // Reads the data, where that is asked for, and gives the resource its handle.
    [[nodiscard]] OSStatus Provide(Resource& ioResource, bool inLoads, Handle& outHandle);
    // The resource of a handle; null when it is none's, also when a block of ours was disposed of by others.
    Resource* Find(Handle inHandle);
    void Adopt(Resource& ioResource, Handle inHandle);
    // The handle becomes a plain one.
    void LetGo(Resource& ioResource);
    // The handle is disposed of.
    void Release(Resource& ioResource);
    // Takes handles that were disposed of by others off the file's resources: to be called before it is
    // written, as such a handle may be another block's by then. What was changed in them is lost.
    void TakeOffLostHandles(ResourceFile& ioFile);

  private:
    struct Link {
        SInt16 refNum;
        std::unique_ptr<ResourceFile> file;
    };
    SInt16 FreeRefNum() NEEDS_LOCK(ChainMutex());
    void Preload(ResourceFile& ioFile) NEEDS_LOCK(ChainMutex());
    [[nodiscard]] OSStatus CloseLink(std::size_t inIndex) NEEDS_LOCK(ChainMutex());
    std::vector<ResourceFile*> From(std::size_t inEnd, Depth inDepth) const NEEDS_LOCK(ChainMutex());

    std::vector<Link> mLinks GUARDED_BY(ChainMutex());  // oldest first
    std::unordered_map<Handle, Resource*> mByHandle GUARDED_BY(ChainMutex());
    std::unordered_map<const ResourceFile*, FileTypes> mTypes GUARDED_BY(ChainMutex());
    std::optional<std::vector<ResType>> mAllTypes GUARDED_BY(ChainMutex());
    SInt16 mCurrent GUARDED_BY(ChainMutex()) = 0;
    SInt16 mLastRefNum GUARDED_BY(ChainMutex()) = 1;
    bool mLoads GUARDED_BY(ChainMutex()) = true;
    bool mHasLookedForApplication GUARDED_BY(ChainMutex()) = false;
};

template <typename Predicate>
OSStatus Chain::FindFirst(ResType inType, Depth inDepth, Predicate inIsMeant, Handle& outHandle) {
    OSStatus missing = noErr;
    for (ResourceFile* file : Searched(inDepth)) {
        for (const auto& resource : file->Resources()) {
            if (resource->reference.type != inType) continue;
            if (inIsMeant(resource->reference)) return Provide(*resource, Loads(), outHandle);
            missing = resNotFound;
        }
    }
    return missing;
}

void SetResError(OSStatus inStatus);

// Runs a call on the chain under its lock, and keeps its status.
template <typename Function>
OSStatus Run(Function inFunction) {
    OSStatus status;
    try {
        const os::MutexLock lock(ChainMutex());
        Chain& chain = Chain::Shared();
        chain.OpenApplicationFile();
        status = inFunction(chain);
    } catch (const std::bad_alloc&) {
        status = memFullErr;
    }
    SetResError(status);
    return status;
}

// The same for a call on a resource.
template <typename Function>
OSStatus RunOn(Handle inHandle, Function inFunction) {
    return Run([&](Chain& ioChain) -> OSStatus {
        Resource* resource = ioChain.Find(inHandle);
        return resource == nullptr ? OSStatus{resNotFound} : inFunction(ioChain, *resource);
    });
}

// Calls inFunction with the data of the resource that GetResource would answer, and its length in bytes, if
// there is one and it has data. Under the lock, so that no other thread can release it meanwhile; the result
// is that of GetResource.
template <typename Function>
void WithData(ResType inType, SInt16 inID, Function inFunction) {
    Run([&](Chain& ioChain) -> OSStatus {
        Handle handle = nullptr;
        const auto isMeant = [inID](const Reference& inReference) { return inReference.id == inID; };
        const OSStatus status = ioChain.FindFirst(inType, Depth::kAll, isMeant, handle);
        if (status == noErr && handle != nullptr && *handle != nullptr)
            inFunction(reinterpret_cast<const UInt8*>(*handle),
                       static_cast<std::size_t>(GetHandleSize(handle)));
        return status;
    });
}

// Updates and closes every file, for a process that ends.
void CloseAllFiles();

}  // namespace toolbox::resources

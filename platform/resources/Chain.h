// The open resource files, which of their resources are in memory, and the result of each thread's last call.
#pragma once

#include "ResourceFile.h"

#include <toolbox/MacTypes.h>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace toolbox::resources {

enum class Depth { kOneDeep, kAll };

// Every function is called with the lock held, by way of Run.
class Chain {
  public:
    static Chain& Shared();

    void OpenApplicationFile();
    // Makes the file the current one. tmfoErr when all reference numbers are in use.
    OSStatus Add(std::unique_ptr<ResourceFile> inFile, SInt16& outRefNum);
    // Updates and closes; returns what updating answered.
    OSStatus Close(SInt16 inRefNum);
    OSStatus CloseAll();

    // Null, or 0, when there is none.
    ResourceFile* File(SInt16 inRefNum) const;
    SInt16 RefNumOf(const ResourceFile* inFile) const;
    SInt16 RefNumOfFork(const FSRef& inFile, files::Fork inFork) const;

    SInt16 CurrentRefNum() const { return mCurrent; }
    ResourceFile* Current() const { return File(mCurrent); }
    void SetCurrent(SInt16 inRefNum) { mCurrent = inRefNum; }

    // Newest first: from the current file on, or all that are open.
    std::vector<ResourceFile*> Searched(Depth inDepth) const;
    std::vector<ResourceFile*> Counted(Depth inDepth) const;

    bool Loads() const { return mLoads; }
    void SetLoads(bool inLoads) { mLoads = inLoads; }
    // Reads the data, where that is asked for, and gives the resource its handle.
    OSStatus Provide(Resource& ioResource, bool inLoads, Handle& outHandle);
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
    SInt16 FreeRefNum();
    void Preload(ResourceFile& ioFile);
    OSStatus CloseLink(std::size_t inIndex);
    std::vector<ResourceFile*> From(std::size_t inEnd, Depth inDepth) const;

    std::vector<Link> mLinks;  // oldest first
    std::unordered_map<Handle, Resource*> mByHandle;
    SInt16 mCurrent = 0;
    SInt16 mLastRefNum = 1;
    bool mLoads = true;
    bool mHasLookedForApplication = false;
};

std::mutex& ChainMutex();
void SetResError(OSStatus inStatus);

// Runs a call on the chain under its lock, and keeps its status.
template <typename Function>
OSStatus Run(Function inFunction) {
    OSStatus status;
    try {
        const std::lock_guard lock(ChainMutex());
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

// Updates and closes every file, for a process that ends.
void CloseAllFiles();

}  // namespace toolbox::resources

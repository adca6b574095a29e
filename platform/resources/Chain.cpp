#include "resources/Chain.h"

#include "resources/Application.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>
#include <limits>
#include <new>
#include <unordered_set>

namespace toolbox::resources {

namespace {

constexpr SInt16 kFirstRefNum = 2;

thread_local OSErr sResError = noErr;

// Whether a block that was a resource's still is one. An emptied block tells no state.
bool IsStillResource(Handle inHandle) {
    const SInt8 state = HGetState(inHandle);
    if (MemError() == nilHandleErr) return true;
    return MemError() == noErr && (state & kHandleResourceBit) != 0;
}

}  // namespace

os::Mutex& ChainMutex() {
    static constinit os::Mutex sMutex;
    return sMutex;
}

void SetResError(OSStatus inStatus) {
    sResError = static_cast<OSErr>(inStatus);
}

// Never destroyed: resources may be asked for while the program ends.
Chain& Chain::Shared() {
    ChainMutex().AssertHeld();
    static Chain& sChain = *new Chain;
    return sChain;
}

void Chain::OpenApplicationFile() {
    ChainMutex().AssertHeld();
    if (mHasLookedForApplication) return;
    std::unique_ptr<ResourceFile> file;
    if (OpenResourcesOfApplication(file) != noErr) return;
    if (file != nullptr) {
        const SInt16 refNum = FreeRefNum();
        if (refNum == 0) return;
        ResourceFile& added = *file;
        const bool isFirst = mLinks.empty();
        // Behind what was opened while it could not be.
        mLinks.insert(mLinks.begin(), Link{refNum, std::move(file)});
        mAllTypes.reset();
        if (isFirst) mCurrent = refNum;
        if (mLoads) Preload(added);
    }
    mHasLookedForApplication = true;
}

SInt16 Chain::FreeRefNum() {
    for (SInt32 tries = std::numeric_limits<SInt16>::max(); tries > 0; --tries) {
        mLastRefNum = mLastRefNum == std::numeric_limits<SInt16>::max()
                          ? kFirstRefNum
                          : static_cast<SInt16>(mLastRefNum + 1);
        if (File(mLastRefNum) == nullptr) return mLastRefNum;
    }
    return 0;
}

OSStatus Chain::Add(std::unique_ptr<ResourceFile> inFile, SInt16& outRefNum) {
    ChainMutex().AssertHeld();
    const SInt16 refNum = FreeRefNum();
    if (refNum == 0) return tmfoErr;
    ResourceFile& file = *inFile;
    mLinks.push_back({refNum, std::move(inFile)});
    mAllTypes.reset();
    mCurrent = outRefNum = refNum;
    if (mLoads) Preload(file);
    return noErr;
}

// What cannot be read now is met with its status when it is asked for. References to the same data could ask
// for many times the file's size: data that lie apart take no more bytes than there are up to the end of the
// last of them, and what goes beyond that waits until it is asked for.
void Chain::Preload(ResourceFile& ioFile) {
    UInt64 endBytes = 0;
    UInt64 readBytes = 0;
    for (const auto& resource : ioFile.Resources()) {
        UInt32 byteCount = 0;
        if ((resource->reference.attributes & resPreload) == 0) continue;
        if (ioFile.ReadSize(*resource, byteCount) != noErr) continue;
        const UInt64 storedBytes = UInt64{kLengthBytes} + byteCount;
        endBytes = std::max(endBytes, resource->reference.dataOffset + storedBytes);
        if (storedBytes > endBytes - readBytes) continue;
        readBytes += storedBytes;
        try {
            Handle handle = nullptr;
            // What cannot be read ahead is told when it is asked for.
            static_cast<void>(Provide(*resource, true, handle));
        } catch (const std::bad_alloc&) {
            // As above: the file is in the chain already.
        }
    }
}

OSStatus Chain::CloseLink(std::size_t inIndex) {
    ResourceFile& file = *mLinks[inIndex].file;
    TakeOffLostHandles(file);
    OSStatus status = memFullErr;
    try {
        status = file.Write(nullptr);
    } catch (const std::bad_alloc&) {
        // Closed all the same: whoever closes a file cannot try again.
    }
    for (const auto& resource : file.Resources())
        if (resource->handle != nullptr) Release(*resource);
    const bool wasCurrent = mLinks[inIndex].refNum == mCurrent;
    mTypes.erase(&file);
    mAllTypes.reset();
    mLinks.erase(mLinks.begin() + static_cast<std::ptrdiff_t>(inIndex));
    if (!wasCurrent) return status;
    // The file opened before it, or else what is left.
    const std::size_t next = inIndex > 0 ? inIndex - 1 : 0;
    mCurrent = mLinks.empty() ? SInt16{0} : mLinks[next].refNum;
    return status;
}

OSStatus Chain::Close(SInt16 inRefNum) {
    ChainMutex().AssertHeld();
    for (std::size_t i = 0; i < mLinks.size(); ++i)
        if (mLinks[i].refNum == inRefNum) return CloseLink(i);
    return resFNotFound;
}

OSStatus Chain::CloseAll() {
    ChainMutex().AssertHeld();
    OSStatus first = noErr;
    while (!mLinks.empty()) {
        const OSStatus status = CloseLink(mLinks.size() - 1);
        if (first == noErr) first = status;
    }
    return first;
}

ResourceFile* Chain::File(SInt16 inRefNum) const {
    ChainMutex().AssertHeld();
    for (const Link& link : mLinks)
        if (link.refNum == inRefNum) return link.file.get();
    return nullptr;
}

SInt16 Chain::RefNumOf(const ResourceFile* inFile) const {
    ChainMutex().AssertHeld();
    for (const Link& link : mLinks)
        if (link.file.get() == inFile) return link.refNum;
    return 0;
}

SInt16 Chain::RefNumOfFork(const FSRef& inFile, files::Fork inFork) const {
    ChainMutex().AssertHeld();
    for (const Link& link : mLinks)
        if (!link.file->IsReadOnly() && link.file->IsFork(inFile, inFork)) return link.refNum;
    return 0;
}

std::vector<ResourceFile*> Chain::From(std::size_t inEnd, Depth inDepth) const {
    std::vector<ResourceFile*> files;
    for (std::size_t i = inEnd; i > 0; --i) {
        files.push_back(mLinks[i - 1].file.get());
        if (inDepth == Depth::kOneDeep) break;
    }
    return files;
}

std::vector<ResourceFile*> Chain::Searched(Depth inDepth) const {
    ChainMutex().AssertHeld();
    std::size_t end = mLinks.size();
    while (end > 0 && mLinks[end - 1].refNum != mCurrent)
        --end;
    return From(end, inDepth);
}

std::vector<ResourceFile*> Chain::Counted(Depth inDepth) const {
    ChainMutex().AssertHeld();
    return inDepth == Depth::kOneDeep ? Searched(inDepth) : From(mLinks.size(), inDepth);
}

FileTypes& Chain::TypesOf(ResourceFile& inFile) {
    ChainMutex().AssertHeld();
    return mTypes.try_emplace(&inFile, inFile).first->second;
}

const std::vector<ResType>& Chain::Types(Depth inDepth) {
    ChainMutex().AssertHeld();
    static const std::vector<ResType>& sNone = *new std::vector<ResType>;
    if (inDepth == Depth::kOneDeep) return Current() == nullptr ? sNone : TypesOf(*Current()).Order();
    if (!mAllTypes) {
        std::vector<ResType> types;
        std::unordered_set<ResType> seen;
        for (ResourceFile* file : Counted(inDepth))
            for (const ResType type : TypesOf(*file).Order())
                if (seen.insert(type).second) types.push_back(type);
        mAllTypes = std::move(types);
    }
    return *mAllTypes;
}

void Chain::Added(Resource& ioResource) noexcept {
    ChainMutex().AssertHeld();
    mAllTypes.reset();
    const auto found = mTypes.find(ioResource.file);
    if (found != mTypes.end()) found->second.Added(ioResource);
}

void Chain::Removed(const Resource& inResource) noexcept {
    ChainMutex().AssertHeld();
    mAllTypes.reset();
    const auto found = mTypes.find(inResource.file);
    if (found != mTypes.end()) found->second.Removed(inResource.reference.type, inResource);
}

Resource* Chain::Find(Handle inHandle) {
    ChainMutex().AssertHeld();
    const auto found = inHandle == nullptr ? mByHandle.end() : mByHandle.find(inHandle);
    if (found == mByHandle.end()) return nullptr;
    Resource* resource = found->second;
    if (IsStillResource(inHandle)) return resource;
    mByHandle.erase(found);
    resource->handle = nullptr;
    return nullptr;
}

void Chain::Adopt(Resource& ioResource, Handle inHandle) {
    ChainMutex().AssertHeld();
    const auto [found, isNew] = mByHandle.try_emplace(inHandle, &ioResource);
    // The handle of another resource, disposed of behind our back and handed out again.
    if (!isNew && found->second != &ioResource) found->second->handle = nullptr;
    found->second = &ioResource;
    ioResource.handle = inHandle;
}

OSStatus Chain::Provide(Resource& ioResource, bool inLoads, Handle& outHandle) {
    ChainMutex().AssertHeld();
    if (ioResource.handle != nullptr && Find(ioResource.handle) != &ioResource) ioResource.handle = nullptr;
    const bool isNew = ioResource.handle == nullptr;
    if (isNew) {
        Handle handle = NewEmptyHandle();
        if (handle == nullptr) return MemError();
        try {
            Adopt(ioResource, handle);
        } catch (const std::bad_alloc&) {
            DisposeHandle(handle);
            throw;
        }
    }
    if (inLoads && *ioResource.handle == nullptr) {
        const OSStatus status = ioResource.file->Load(ioResource);
        if (status != noErr) {
            if (isNew) Release(ioResource);
            return status;
        }
    }
    outHandle = ioResource.handle;
    return noErr;
}

void Chain::LetGo(Resource& ioResource) {
    ChainMutex().AssertHeld();
    HClrRBit(ioResource.handle);
    mByHandle.erase(ioResource.handle);
    ioResource.handle = nullptr;
}

void Chain::Release(Resource& ioResource) {
    ChainMutex().AssertHeld();
    Handle handle = ioResource.handle;
    if (Find(handle) != &ioResource) return;
    mByHandle.erase(handle);
    ioResource.handle = nullptr;
    DisposeHandle(handle);
}

void Chain::TakeOffLostHandles(ResourceFile& ioFile) {
    ChainMutex().AssertHeld();
    for (const auto& resource : ioFile.Resources())
        if (resource->handle != nullptr && Find(resource->handle) != resource.get())
            resource->handle = nullptr;
}

void CloseAllFiles() {
    try {
        const os::MutexLock lock(ChainMutex());
        SetResError(Chain::Shared().CloseAll());
    } catch (const std::bad_alloc&) {
        SetResError(memFullErr);
    }
}

}  // namespace toolbox::resources

OSErr ResError() {
    return toolbox::resources::sResError;
}

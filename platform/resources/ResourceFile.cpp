#include "resources/ResourceFile.h"

#include "status/StatusOfErrno.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace toolbox::resources {

namespace {

// Attributes of a map that lie in the file; the others tell its state in memory.
constexpr UInt16 kStoredFileAttributes = static_cast<UInt16>(~(mapReadOnly | mapChanged));

constexpr UInt32 kMaxPathBytes = 8192;  // with the byte that ends it

bool HasChanged(const Resource& inResource) {
    return (inResource.reference.attributes & resChanged) != 0;
}

// Bits of the handle as the attributes ask for them.
void SetHandleState(const Resource& inResource) {
    HSetRBit(inResource.handle);
    if ((inResource.reference.attributes & resPurgeable) != 0) HPurge(inResource.handle);
    if ((inResource.reference.attributes & resLocked) != 0) HLock(inResource.handle);
}

// A fork that ends before what its header tells of makes no sense either.
OSStatus StatusOfRead(int inErrno) {
    return inErrno == ENODATA || inErrno == EBADMSG ? OSStatus{mapReadErr} : StatusOfErrno(inErrno);
}

}  // namespace

OSStatus ResourceFile::Open(const FSRef& inFile, files::Fork inFork, bool inIsReadOnly,
                            std::unique_ptr<ResourceFile>& outFile) {
    std::unique_ptr<ResourceFile> file(new ResourceFile(inFile, inFork, inIsReadOnly));
    OSStatus status = files::Open(inFile, inFork, file->mFork);
    if (status == errFSForkNotFound) status = eofErr;
    if (status == noErr && file->mFork.SizeBytes() == 0) status = eofErr;
    if (status == noErr) status = file->Read();
    if (status == noErr) outFile = std::move(file);
    return status;
}

OSStatus ResourceFile::Read() {
    std::vector<Reference> references;
    const int error = ReadForkMap(mFork.Bytes(), mHeader, mAttributes, references);
    if (error != 0) return StatusOfRead(error);
    mAttributes &= kStoredFileAttributes;
    mResources.reserve(references.size());
    for (Reference& reference : references) {
        reference.attributes &= static_cast<UInt8>(~resChanged);
        mResources.push_back(std::make_unique<Resource>(Resource{std::move(reference), true, nullptr, this}));
    }
    return noErr;
}

bool ResourceFile::IsFork(const FSRef& inFile, files::Fork inFork) const {
    if (mKind != inFork || FSCompareFSRefs(&mFile, &inFile) != noErr) return false;
    // Each name of a file has a resource fork of its own.
    std::vector<UInt8> ours(kMaxPathBytes);
    std::vector<UInt8> theirs(kMaxPathBytes);
    return inFork == files::Fork::kData || FSRefMakePath(&mFile, ours.data(), kMaxPathBytes) != noErr ||
           FSRefMakePath(&inFile, theirs.data(), kMaxPathBytes) != noErr || ours == theirs;
}

UInt16 ResourceFile::Attributes() const {
    return static_cast<UInt16>(mAttributes | (mIsReadOnly ? mapReadOnly : 0) |
                               (mIsMapChanged ? mapChanged : 0));
}

void ResourceFile::SetAttributes(UInt16 inAttributes) {
    mAttributes = static_cast<UInt16>((mAttributes & ~mapCompact) | (inAttributes & mapCompact));
    mIsMapChanged = (inAttributes & mapChanged) != 0;
}

OSStatus ResourceFile::ReadSize(const Resource& inResource, UInt32& outBytes) const {
    if (mFork.HasChanged()) return mapReadErr;
    UInt64 offset = 0;
    const int error = FindForkData(mFork.Bytes(), mHeader, inResource.reference, offset, outBytes);
    if (error != 0) return StatusOfRead(error);
    return outBytes <= std::numeric_limits<Size>::max() ? noErr : mapReadErr;
}

OSStatus ResourceFile::ReadData(const Resource& inResource, void* outBytes, UInt32 inByteCount) const {
    const UInt64 offset = UInt64{mHeader.dataOffset} + inResource.reference.dataOffset + kLengthBytes;
    return StatusOfRead(mFork.Bytes().Read(offset, outBytes, inByteCount));
}

OSStatus ResourceFile::Load(Resource& ioResource) {
    UInt32 byteCount = 0;
    OSStatus status = ioResource.isStored ? ReadSize(ioResource, byteCount) : OSStatus{noErr};
    if (status != noErr) return status;
    ReallocateHandle(ioResource.handle, static_cast<Size>(byteCount));
    if (MemError() != noErr) return MemError();
    if (ioResource.isStored) status = ReadData(ioResource, *ioResource.handle, byteCount);
    if (status != noErr) {
        EmptyHandle(ioResource.handle);
        return status;
    }
    SetHandleState(ioResource);
    return noErr;
}

bool ResourceFile::IsChanged() const {
    return mIsMapChanged || std::any_of(mResources.begin(), mResources.end(),
                                        [](const auto& inResource) { return HasChanged(*inResource); });
}

OSStatus ResourceFile::CollectData(const Resource& inResource, bool inIsFromHandle,
                                   std::vector<UInt8>& outBytes) const {
    if (inIsFromHandle) {
        outBytes.assign(*inResource.handle, *inResource.handle + GetHandleSize(inResource.handle));
        return noErr;
    }
    UInt32 byteCount = 0;
    const OSStatus status = ReadSize(inResource, byteCount);
    if (status != noErr) return status;
    outBytes.resize(byteCount);
    return ReadData(inResource, outBytes.data(), byteCount);
}

OSStatus ResourceFile::Collect(const Resource* inOnly, std::vector<Image>& outImages,
                               std::vector<Resource*>& outWritten) const {
    for (const auto& resource : mResources) {
        const bool isMeant = inOnly == nullptr || inOnly == resource.get();
        const bool hasData = resource->handle != nullptr && *resource->handle != nullptr;
        // What was changed and then emptied is lost; the file's own data, or none, is what there is.
        const bool isFromHandle = isMeant && HasChanged(*resource) && hasData;
        if (!isFromHandle && !resource->isStored && !isMeant) continue;
        Image image = {resource->reference, {}};
        image.reference.attributes &= static_cast<UInt8>(~resChanged);
        if (isFromHandle || resource->isStored) {
            const OSStatus status = CollectData(*resource, isFromHandle, image.bytes);
            if (status != noErr) return status;
        }
        outImages.push_back(std::move(image));
        outWritten.push_back(resource.get());
    }
    return noErr;
}

OSStatus ResourceFile::Write(const Resource* inOnly) {
    if (inOnly == nullptr ? !IsChanged() : !HasChanged(*inOnly)) return noErr;
    if (mIsReadOnly) return wPrErr;
    // What lies at the offsets may be others' bytes now.
    if (mFork.HasChanged()) return fBsyErr;
    std::vector<Image> images;
    std::vector<Resource*> written;
    OSStatus status = Collect(inOnly, images, written);
    if (status != noErr) return status;
    std::vector<UInt8> bytes;
    if (!EncodeFork(images, mAttributes, bytes)) return dskFulErr;
    status = files::WriteFork(mFile, mKind, bytes, HeadOfFork());
    if (status != noErr) return status;
    // The bytes that the offsets meant are gone; should the new ones not open, there are none to read.
    mFork = files::OpenFork();
    for (std::size_t i = 0; i < written.size(); ++i) {
        written[i]->reference.dataOffset = images[i].reference.dataOffset;
        written[i]->isStored = true;
        if (inOnly == nullptr || inOnly == written[i])
            written[i]->reference.attributes &= static_cast<UInt8>(~resChanged);
    }
    // Others' changes of data alone are not the map's.
    if (inOnly == nullptr) mIsMapChanged = false;
    status = files::Open(mFile, mKind, mFork);
    return status == noErr ? StatusOfRead(ReadForkHeader(mFork.Bytes(), mHeader)) : status;
}

}  // namespace toolbox::resources

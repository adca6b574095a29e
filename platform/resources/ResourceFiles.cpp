// Resource files: made, opened, made current, updated, closed.
#include "catalogue/Catalogue.h"
#include "resources/Chain.h"

#include <toolbox/Resources.h>

#include <optional>
#include <string_view>

using namespace toolbox::resources;
using toolbox::files::Fork;

namespace {

constexpr std::u16string_view kResourceForkName = u"RESOURCE_FORK";

std::optional<Fork> ForkOfName(size_t inLength, const UniChar* inName) {
    if (inLength == 0) return Fork::kData;
    if (inName == nullptr || inLength != kResourceForkName.size()) return std::nullopt;
    for (size_t i = 0; i < inLength; ++i)
        if (inName[i] != kResourceForkName[i]) return std::nullopt;
    return Fork::kResource;
}

OSStatus CreateFork(const FSRef& inFile, Fork inFork) {
    toolbox::files::OpenFork old;
    const OSStatus status = toolbox::files::Open(inFile, inFork, old);
    if (status == noErr && old.SizeBytes() > 0) return dupFNErr;
    // A missing companion is errFSForkNotFound; what is no file at all answers that again when it is written.
    if (status != noErr && status != errFSForkNotFound) return status;
    std::vector<Image> none;
    std::vector<UInt8> bytes;
    if (!EncodeFork(none, 0, bytes)) return paramErr;
    return toolbox::files::WriteFork(inFile, inFork, bytes, HeadOfFork());
}

OSStatus OpenFile(Chain& ioChain, const FSRef& inFile, Fork inFork, SInt8 inPermission, SInt16& outRefNum) {
    if (inPermission < fsCurPerm || inPermission > fsRdWrPerm) return paramErr;
    const bool isReadOnly = inPermission == fsRdPerm;
    const SInt16 open = isReadOnly ? SInt16{0} : ioChain.RefNumOfFork(inFile, inFork);
    if (open != 0) {
        outRefNum = open;
        return noErr;
    }
    std::unique_ptr<ResourceFile> file;
    const OSStatus status = ResourceFile::Open(inFile, inFork, isReadOnly, file);
    return status == noErr ? ioChain.Add(std::move(file), outRefNum) : status;
}

OSStatus OpenFork(const FSRef* inFile, std::optional<Fork> inFork, SInt8 inPermission, SInt16& outRefNum) {
    outRefNum = -1;
    return Run([&](Chain& ioChain) -> OSStatus {
        if (inFile == nullptr) return paramErr;
        if (!inFork) return errFSForkNotFound;
        return OpenFile(ioChain, *inFile, *inFork, inPermission, outRefNum);
    });
}

template <typename Function>
OSStatus RunOnFile(SInt16 inRefNum, Function inFunction) {
    return Run([&](Chain& ioChain) -> OSStatus {
        ResourceFile* file = ioChain.File(inRefNum);
        return file == nullptr ? OSStatus{resFNotFound} : inFunction(ioChain, *file);
    });
}

}  // namespace

OSErr FSCreateResourceFork(const FSRef* inFile, size_t inForkNameLength, const UniChar* inForkName,
                           UInt32 inFlags) {
    const OSStatus status = Run([&](Chain&) -> OSStatus {
        if (inFile == nullptr || inFlags != 0) return paramErr;
        const std::optional<Fork> fork = ForkOfName(inForkNameLength, inForkName);
        return fork ? CreateFork(*inFile, *fork) : OSStatus{errFSForkNotFound};
    });
    return static_cast<OSErr>(status);
}

OSErr FSOpenResourceFile(const FSRef* inFile, size_t inForkNameLength, const UniChar* inForkName,
                         SInt8 inPermission, SInt16* outRefNum) {
    SInt16 refNum = -1;
    const OSStatus status = OpenFork(inFile, ForkOfName(inForkNameLength, inForkName), inPermission, refNum);
    if (outRefNum != nullptr) *outRefNum = refNum;
    return static_cast<OSErr>(status);
}

SInt16 FSOpenResFile(const FSRef* inFile, SInt8 inPermission) {
    SInt16 refNum = -1;
    OpenFork(inFile, Fork::kResource, inPermission, refNum);
    return refNum;
}

void CloseResFile(SInt16 inRefNum) {
    Run([&](Chain& ioChain) { return ioChain.Close(inRefNum); });
}

SInt16 CurResFile() {
    SInt16 refNum = 0;
    Run([&](Chain& ioChain) -> OSStatus {
        refNum = ioChain.CurrentRefNum();
        return noErr;
    });
    return refNum;
}

void UseResFile(SInt16 inRefNum) {
    Run([&](Chain& ioChain) -> OSStatus {
        if (inRefNum != 0 && ioChain.File(inRefNum) == nullptr) return resFNotFound;
        ioChain.SetCurrent(inRefNum);
        return noErr;
    });
}

SInt16 HomeResFile(Handle inResource) {
    SInt16 refNum = -1;
    RunOn(inResource, [&](Chain& ioChain, Resource& inOne) -> OSStatus {
        refNum = ioChain.RefNumOf(inOne.file);
        return noErr;
    });
    return refNum;
}

SInt16 GetResFileAttrs(SInt16 inRefNum) {
    SInt16 attributes = 0;
    RunOnFile(inRefNum, [&](Chain&, ResourceFile& inFile) -> OSStatus {
        attributes = static_cast<SInt16>(inFile.Attributes());
        return noErr;
    });
    return attributes;
}

void SetResFileAttrs(SInt16 inRefNum, SInt16 inAttributes) {
    RunOnFile(inRefNum, [&](Chain&, ResourceFile& ioFile) -> OSStatus {
        ioFile.SetAttributes(static_cast<UInt16>(inAttributes));
        return noErr;
    });
}

void UpdateResFile(SInt16 inRefNum) {
    RunOnFile(inRefNum, [](Chain& ioChain, ResourceFile& ioFile) {
        ioChain.TakeOffLostHandles(ioFile);
        return ioFile.Write(nullptr);
    });
}

// The calls on open forks.
#include "ForkNames.h"
#include "ForkOpening.h"
#include "os/SystemCalls.h"

#include <new>

namespace toolbox::files {

namespace {

constexpr UInt32 kResourceForkID = 0xFF;

// Whether it may be open to read where it cannot be open to write.
bool MayBeReadInstead(OSStatus inStatus) {
    return inStatus == opWrErr || inStatus == fLckdErr || inStatus == wPrErr || inStatus == vLckdErr ||
           inStatus == fBsyErr || inStatus == afpAccessDenied || inStatus == permErr;
}

OSStatus OpenNumbered(const FSRef& inFile, bool inIsResource, SInt8 inPermission, SInt16& outNumber) {
    const auto opening = std::make_shared<ForkOpening>();
    const OSStatus status = opening->Open(inFile, inIsResource, inPermission);
    return status == noErr ? AddOpening(opening, outNumber) : status;
}

OSStatus OpenByName(const FSRef& inFile, UniCharCount inNameLength, const UniChar* inName, SInt8 inPermission,
                    SInt16& outNumber) {
    bool isResource = false;
    OSStatus status = IsResourceForkName(inNameLength, inName, isResource);
    if (status != noErr) return status;
    if (inPermission != fsCurPerm) return OpenNumbered(inFile, isResource, inPermission, outNumber);
    status = OpenNumbered(inFile, isResource, fsRdWrPerm, outNumber);
    return MayBeReadInstead(status) ? OpenNumbered(inFile, isResource, fsRdPerm, outNumber) : status;
}

// inCall on the opening of that number.
template <typename Call>
OSErr OnOpening(SInt16 inNumber, Call inCall) {
    try {
        std::shared_ptr<ForkOpening> opening;
        const OSStatus status = FindOpening(inNumber, opening);
        return static_cast<OSErr>(status == noErr ? inCall(*opening) : status);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

SInt8 FlagsOf(const ForkFacts& inFacts) {
    int flags = 0;
    if (inFacts.IsWritable()) flags |= kFSForkIsWritableMask;
    if (inFacts.isResource) flags |= kFSForkIsResourceMask;
    if (inFacts.permission == fsRdWrShPerm) flags |= kFSForkIsSharedMask;
    return static_cast<SInt8>(flags);
}

OSStatus GetInfo(ForkOpening& ioOpening, FSForkInfo& outInfo) {
    const ForkFacts& facts = ioOpening.Facts();
    ForkSizes sizes;
    SInt64 position = 0;
    OSStatus status = ioOpening.GetSizes(sizes);
    if (status == noErr) status = ioOpening.GetPosition(position);
    if (status != noErr) return status;
    outInfo = {};
    outInfo.flags = FlagsOf(facts);
    outInfo.permissions = facts.permission;
    outInfo.volume = facts.volume;
    outInfo.nodeID = facts.nodeID;
    outInfo.forkID = facts.isResource ? kResourceForkID : 0;
    outInfo.currentPosition = static_cast<UInt64>(position);
    outInfo.logicalEOF = sizes.byteCount;
    outInfo.physicalEOF = sizes.allocatedByteCount;
    outInfo.process = static_cast<UInt64>(os::Calls().getpid());
    return noErr;
}

struct InfoOutputs {
    SInt16* number;
    FSForkInfo* info;
    FSRef* file;
    HFSUniStr255* name;
};

OSStatus GetControlBlock(SInt16 inNumber, SInt16 inVolume, SInt16* ioIterator, const InfoOutputs& inOutputs) {
    std::shared_ptr<ForkOpening> opening;
    SInt16 number = inNumber != 0 ? inNumber : *ioIterator;
    OSStatus status = noErr;
    do {  // past one that is closed meanwhile
        status = inNumber != 0 ? FindOpening(inNumber, opening)
                               : FindOpeningAfter(number, inVolume, number, opening);
        if (status != noErr) return status;
        if (inNumber == 0) *ioIterator = number;
        if (inOutputs.info != nullptr) status = GetInfo(*opening, *inOutputs.info);
    } while (inNumber == 0 && status == rfNumErr);
    if (status != noErr) return status;
    if (inOutputs.number != nullptr) *inOutputs.number = number;
    if (inOutputs.file != nullptr) *inOutputs.file = opening->Facts().file;
    if (inOutputs.name != nullptr) SetForkName(opening->Facts().isResource, *inOutputs.name);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSOpenFork(const FSRef* inFile, UniCharCount inNameLength, const UniChar* inName, SInt8 inPermission,
                 SInt16* outNumber) {
    if (inFile == nullptr || outNumber == nullptr) return paramErr;
    if (inPermission < fsCurPerm || inPermission > fsRdWrShPerm) return paramErr;
    try {
        return static_cast<OSErr>(OpenByName(*inFile, inNameLength, inName, inPermission, *outNumber));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSCloseFork(SInt16 inNumber) {
    std::shared_ptr<ForkOpening> opening;
    const OSStatus status = TakeOpening(inNumber, opening);
    return static_cast<OSErr>(status == noErr ? opening->Close() : status);
}

OSErr FSReadFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset, ByteCount inRequestCount,
                 void* outBytes, ByteCount* outActualCount) {
    ByteCount count = 0;
    const OSErr error = OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        if (outBytes == nullptr && inRequestCount > 0) return OSStatus{errFSBadBuffer};
        return ioOpening.Read(inPositionMode, inPositionOffset, inRequestCount, outBytes, count);
    });
    if (outActualCount != nullptr) *outActualCount = count;
    return error;
}

OSErr FSWriteFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset, ByteCount inRequestCount,
                  const void* inBytes, ByteCount* outActualCount) {
    ByteCount count = 0;
    const OSErr error = OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        if (inBytes == nullptr && inRequestCount > 0) return OSStatus{errFSBadBuffer};
        return ioOpening.Write(inPositionMode, inPositionOffset, inRequestCount, inBytes, count);
    });
    if (outActualCount != nullptr) *outActualCount = count;
    return error;
}

OSErr FSGetForkPosition(SInt16 inNumber, SInt64* outPosition) {
    if (outPosition == nullptr) return paramErr;
    return OnOpening(inNumber, [&](ForkOpening& ioOpening) { return ioOpening.GetPosition(*outPosition); });
}

OSErr FSSetForkPosition(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset) {
    return OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        return ioOpening.SetPosition(inPositionMode, inPositionOffset);
    });
}

OSErr FSGetForkSize(SInt16 inNumber, SInt64* outByteCount) {
    if (outByteCount == nullptr) return paramErr;
    return OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        ForkSizes sizes;
        const OSStatus status = ioOpening.GetSizes(sizes);
        if (status == noErr) *outByteCount = static_cast<SInt64>(sizes.byteCount);
        return status;
    });
}

OSErr FSSetForkSize(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset) {
    return OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        return ioOpening.SetSize(inPositionMode, inPositionOffset);
    });
}

OSErr FSAllocateFork(SInt16 inNumber, FSAllocationFlags inFlags, UInt16 inPositionMode,
                     SInt64 inPositionOffset, UInt64 inRequestCount, UInt64* outActualCount) {
    UInt64 count = 0;
    const OSErr error = OnOpening(inNumber, [&](ForkOpening& ioOpening) {
        return ioOpening.Allocate(inFlags, inPositionMode, inPositionOffset, inRequestCount, count);
    });
    if (outActualCount != nullptr) *outActualCount = count;
    return error;
}

OSErr FSFlushFork(SInt16 inNumber) {
    return OnOpening(inNumber, [](ForkOpening& ioOpening) { return ioOpening.Flush(); });
}

OSErr FSGetForkCBInfo(SInt16 inNumber, SInt16 inVolume, SInt16* ioIterator, SInt16* outNumber,
                      FSForkInfo* outInfo, FSRef* outFile, HFSUniStr255* outName) {
    if (inNumber == 0 && ioIterator == nullptr) return paramErr;
    try {
        return static_cast<OSErr>(
            GetControlBlock(inNumber, inVolume, ioIterator, {outNumber, outInfo, outFile, outName}));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

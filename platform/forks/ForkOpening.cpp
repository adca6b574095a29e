#include "ForkOpening.h"

#include "catalogue/Volumes.h"
#include "companions/CompanionInfo.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

namespace toolbox::files {

namespace {

constexpr UInt16 kBaseMask = 0x0003;
constexpr UInt16 kKnownModeBits =
    kBaseMask | pleaseCacheMask | noCacheMask | rdVerifyMask | newLineMask | newLineCharMask;
constexpr int kNewLineShift = 8;
constexpr FSAllocationFlags kKnownAllocFlags =
    kFSAllocAllOrNothingMask | kFSAllocContiguousMask | kFSAllocNoRoundUpMask;
constexpr std::size_t kLineBlockBytes = 4096;
constexpr std::size_t kCompareBlockBytes = 16384;
// How often opening starts again because another item took the path between finding and opening.
constexpr int kRounds = 100;

ForkAccess AccessOf(SInt8 inPermission) {
    if (inPermission == fsRdPerm) return ForkAccess::kRead;
    return inPermission == fsRdWrShPerm ? ForkAccess::kWriteShared : ForkAccess::kWriteAlone;
}

}  // namespace

OSStatus FindFile(const FSRef& inRef, FoundItem& outItem) {
    const OSStatus status = FindByRef(inRef, outItem);
    if (status != noErr) return status;
    if (outItem.status.kind == os::ItemKind::kFolder) return notAFileErr;
    return outItem.status.kind == os::ItemKind::kFile ? noErr : errFSForkNotFound;
}

OSStatus CheckIsUnlocked(const FoundItem& inItem) {
    Place place;
    const OSStatus status = OpenPlace(inItem, place);
    if (status != noErr) return status;
    bool isLocked = false;
    const int error = IsLocked(place, inItem.status, isLocked);
    return isLocked ? OSStatus{fLckdErr} : StatusOfErrno(error);
}

OSStatus ForkOpening::OpenFile(const FoundItem& inItem) {
    const ForkAccess access = AccessOf(mFacts.permission);
    if (mFacts.IsWritable()) {
        const OSStatus status = CheckIsUnlocked(inItem);
        if (status != noErr) return status;
    }
    const os::MutexLock lock(mMutex);
    if (mUse.Begin(inItem.status.identity, mFacts.isResource, access) != 0) return opWrErr;
    const MayRead mayRead = mFacts.permission == fsWrPerm ? MayRead::kNeedNot : MayRead::kMust;
    const OSStatus status = mFacts.isResource ? OpenResourceFork(inItem, mFacts.file, access, mBytes)
                                              : OpenDataFork(inItem, access, mayRead, mBytes);
    if (status != noErr) mUse.End();
    return status == wPrErr ? StatusOfChange(EROFS, inItem) : status;
}

OSStatus ForkOpening::Open(const FSRef& inFile, bool inIsResource, SInt8 inPermission) {
    mFacts.file = inFile;
    mFacts.isResource = inIsResource;
    mFacts.permission = inPermission;
    OSStatus status = fnfErr;
    for (int round = 0; round < kRounds && status == fnfErr; ++round) {
        FoundItem item;
        status = FindFile(inFile, item);
        if (status != noErr) return status;
        mFacts.nodeID = item.facts.nodeID;
        status = GetVolumeNumber(item, mFacts.volume);
        if (status == noErr) status = OpenFile(item);
    }
    return status;
}

template <typename Call>
OSStatus ForkOpening::WhileOpen(Call inCall) {
    const os::MutexLock lock(mMutex);
    return mBytes == nullptr ? OSStatus{rfNumErr} : inCall();
}

OSStatus ForkOpening::FindPosition(UInt16 inMode, SInt64 inOffset, UInt64& outPosition) {
    mMutex.AssertHeld();
    if ((inMode & ~kKnownModeBits) != 0) return errFSBadPosMode;
    const int base = inMode & kBaseMask;
    UInt64 from = base == fsFromStart ? 0 : mMark;
    if (base == fsFromLEOF) {
        ForkSizes sizes;
        const OSStatus status = mBytes->GetSizes(sizes);
        if (status != noErr) return status;
        from = sizes.byteCount;
    }
    const SInt64 offset = base == fsAtMark ? 0 : inOffset;
    if (offset < 0 && from < UInt64{0} - static_cast<UInt64>(offset)) return posErr;
    outPosition = from + static_cast<UInt64>(offset);
    return outPosition > static_cast<UInt64>(std::numeric_limits<SInt64>::max()) ? OSStatus{paramErr}
                                                                                 : OSStatus{noErr};
}

// Behind what was read or written; where that is nothing, the position may be behind the end.
void ForkOpening::SetMark(UInt64 inPosition, UInt64 inByteCount) {
    mMutex.AssertHeld();
    ForkSizes sizes;
    if (inByteCount == 0 && mBytes->GetSizes(sizes) == noErr)
        inPosition = std::min(inPosition, sizes.byteCount);
    mMark = inPosition + inByteCount;
}

// In blocks, of which the last is read behind the end of the line.
OSStatus ForkOpening::ReadLine(UInt64 inPosition, UInt8 inEnd, ByteCount inByteCount, UInt8* outBytes,
                               ByteCount& outCount) {
    mMutex.AssertHeld();
    for (outCount = 0; outCount < inByteCount;) {
        const std::size_t byteCount = std::min<std::size_t>(inByteCount - outCount, kLineBlockBytes);
        std::size_t count = 0;
        const OSStatus status = mBytes->Read(inPosition + outCount, outBytes + outCount, byteCount, count);
        const auto* const end = static_cast<const UInt8*>(std::memchr(outBytes + outCount, inEnd, count));
        if (end != nullptr) {
            outCount = static_cast<ByteCount>(end - outBytes) + 1;
            return noErr;
        }
        outCount += count;
        if (status != noErr) return status;
        if (count < byteCount) return eofErr;
    }
    return noErr;
}

// outCount: the bytes that agree, in blocks.
OSStatus ForkOpening::Compare(UInt64 inPosition, ByteCount inByteCount, const UInt8* inBytes,
                              ByteCount& outCount) {
    mMutex.AssertHeld();
    std::array<UInt8, kCompareBlockBytes> block;
    for (outCount = 0; outCount < inByteCount;) {
        const std::size_t byteCount = std::min<std::size_t>(inByteCount - outCount, block.size());
        std::size_t count = 0;
        const OSStatus status = mBytes->Read(inPosition + outCount, block.data(), byteCount, count);
        if (std::memcmp(block.data(), inBytes + outCount, count) != 0) return StatusOfErrno(EBADMSG);
        outCount += count;
        if (status != noErr) return status;
        if (count < byteCount) return eofErr;
    }
    return noErr;
}

OSStatus ForkOpening::Read(UInt16 inMode, SInt64 inOffset, ByteCount inByteCount, void* outBytes,
                           ByteCount& outCount) {
    outCount = 0;
    return WhileOpen([&] {
        mMutex.AssertHeld();
        UInt64 position = 0;
        OSStatus status = FindPosition(inMode, inOffset, position);
        if (status != noErr) return status;
        auto* const bytes = static_cast<UInt8*>(outBytes);
        if ((inMode & rdVerifyMask) != 0) {
            status = Compare(position, inByteCount, bytes, outCount);
        } else if ((inMode & newLineMask) != 0) {
            status =
                ReadLine(position, static_cast<UInt8>(inMode >> kNewLineShift), inByteCount, bytes, outCount);
        } else {
            std::size_t count = 0;
            status = mBytes->Read(position, bytes, inByteCount, count);
            outCount = count;
            if (status == noErr && count < inByteCount) status = eofErr;
        }
        SetMark(position, outCount);
        return status;
    });
}

OSStatus ForkOpening::Write(UInt16 inMode, SInt64 inOffset, ByteCount inByteCount, const void* inBytes,
                            ByteCount& outCount) {
    outCount = 0;
    return WhileOpen([&] {
        mMutex.AssertHeld();
        if (!mFacts.IsWritable()) return OSStatus{wrPermErr};
        UInt64 position = 0;
        OSStatus status = FindPosition(inMode, inOffset, position);
        if (status != noErr) return status;
        if (inByteCount > static_cast<UInt64>(std::numeric_limits<SInt64>::max()) - position)
            return OSStatus{dskFulErr};
        std::size_t count = 0;
        status = mBytes->Write(position, {static_cast<const UInt8*>(inBytes), inByteCount}, count);
        outCount = count;
        SetMark(position, count);
        return status;
    });
}

OSStatus ForkOpening::GetPosition(SInt64& outPosition) {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        outPosition = static_cast<SInt64>(mMark);
        return OSStatus{noErr};
    });
}

OSStatus ForkOpening::SetPosition(UInt16 inMode, SInt64 inOffset) {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        UInt64 position = 0;
        ForkSizes sizes;
        OSStatus status = FindPosition(inMode, inOffset, position);
        if (status == noErr) status = mBytes->GetSizes(sizes);
        if (status != noErr) return status;
        mMark = std::min(position, sizes.byteCount);
        return position > sizes.byteCount ? OSStatus{eofErr} : OSStatus{noErr};
    });
}

OSStatus ForkOpening::GetSizes(ForkSizes& outSizes) {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        return mBytes->GetSizes(outSizes);
    });
}

OSStatus ForkOpening::SetSize(UInt16 inMode, SInt64 inOffset) {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        if (!mFacts.IsWritable()) return OSStatus{wrPermErr};
        UInt64 byteCount = 0;
        OSStatus status = FindPosition(inMode, inOffset, byteCount);
        if (status == noErr) status = mBytes->SetSize(byteCount);
        if (status == noErr) mMark = std::min(mMark, byteCount);
        return status;
    });
}

OSStatus ForkOpening::Allocate(FSAllocationFlags inFlags, UInt16 inMode, SInt64 inOffset, UInt64 inByteCount,
                               UInt64& outCount) {
    outCount = 0;
    return WhileOpen([&] {
        mMutex.AssertHeld();
        if ((inFlags & ~kKnownAllocFlags) != 0) return OSStatus{errFSBadAllocFlags};
        if (!mFacts.IsWritable()) return OSStatus{wrPermErr};
        UInt64 position = 0;
        OSStatus status = FindPosition(inMode, inOffset, position);
        if (status != noErr || inByteCount == 0) return status;
        if (inByteCount > static_cast<UInt64>(std::numeric_limits<SInt64>::max()) - position)
            return OSStatus{dskFulErr};
        bool isReserved = false;
        status = mBytes->Allocate(position, inByteCount, isReserved);
        if (status != noErr) return status;
        if (isReserved) outCount = inByteCount;
        const bool mustBeAll = (inFlags & kFSAllocAllOrNothingMask) != 0;
        return mustBeAll && !isReserved ? OSStatus{dskFulErr} : OSStatus{noErr};
    });
}

OSStatus ForkOpening::Flush() {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        return mBytes->Flush();
    });
}

OSStatus ForkOpening::Close() {
    return WhileOpen([&] {
        mMutex.AssertHeld();
        const OSStatus status = mBytes->Close();
        mBytes.reset();
        mUse.End();
        return status;
    });
}

}  // namespace toolbox::files

#include <files/Forks.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Forks.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>

#include <algorithm>

namespace {

constexpr Size kPage = 4096;
constexpr Size kReserve = 32'768;

Size RoundedDown(Size inSize) {
    return inSize > 0 ? inSize / kPage * kPage : 0;
}

OSErr MakeReady(SInt16 inSource, SInt16 inDestination) {
    SInt64 size = 0;
    OSErr error = FSGetForkSize(inSource, &size);
    if (error == noErr) error = FSSetForkSize(inDestination, fsFromStart, size);
    if (error == noErr) error = FSSetForkPosition(inSource, fsFromStart, 0);
    if (error == noErr) error = FSSetForkPosition(inDestination, fsFromStart, 0);
    return error;
}

}  // namespace

OSErr FSCopyFork(SInt16 inSource, SInt16 inDestination, void* ioBuffer, ByteCount inBufferSize) {
    constexpr auto kPageBytes = ByteCount{kPage};
    if (ioBuffer == nullptr || inBufferSize == 0) return paramErr;
    const OSErr error = MakeReady(inSource, inDestination);
    if (error != noErr) return error;
    const ByteCount size = inBufferSize < kPageBytes ? inBufferSize : inBufferSize / kPageBytes * kPageBytes;
    for (;;) {
        ByteCount actual = 0;
        const OSErr readError = FSReadFork(inSource, fsAtMark + noCacheMask, 0, size, ioBuffer, &actual);
        const OSErr writeError = actual == 0
                                     ? OSErr{noErr}
                                     : FSWriteFork(inDestination, noCacheMask, 0, actual, ioBuffer, nullptr);
        if (writeError != noErr) return writeError;
        if (readError != noErr) return readError == eofErr ? OSErr{noErr} : readError;
    }
}

OSErr FileRefNumGetFSRef(SInt16 inFork, FSRef* outRef) {
    if (outRef == nullptr) return paramErr;
    return FSGetForkCBInfo(inFork, 0, nullptr, nullptr, nullptr, outRef, nullptr);
}

OSErr FSGetTotalForkSizes(const FSRef* inRef, UInt64* outLogicalSize, UInt64* outPhysicalSize) {
    if (inRef == nullptr) return paramErr;
    CatPositionRec position = {};
    UInt64 logicalTotal = 0;
    UInt64 physicalTotal = 0;
    for (;;) {
        SInt64 logical = 0;
        UInt64 physical = 0;
        const OSErr error = FSIterateForks(inRef, &position, nullptr, &logical, &physical);
        if (error == errFSNoMoreItems) break;
        if (error != noErr) return error;
        logicalTotal += static_cast<UInt64>(logical);
        physicalTotal += physical;
    }
    if (outLogicalSize != nullptr) *outLogicalSize = logicalTotal;
    if (outPhysicalSize != nullptr) *outPhysicalSize = physicalTotal;
    return noErr;
}

OSErr FSGetForkSizes(const FSRef* inRef, UInt64* outDataSize, UInt64* outResourceSize) {
    if (inRef == nullptr) return paramErr;
    FSCatalogInfoBitmap which = kFSCatInfoNodeFlags;
    if (outDataSize != nullptr) which |= kFSCatInfoDataSizes;
    if (outResourceSize != nullptr) which |= kFSCatInfoRsrcSizes;
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(inRef, which, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if ((info.nodeFlags & kFSNodeIsDirectoryMask) != 0) return notAFileErr;
    if (outDataSize != nullptr) *outDataSize = info.dataLogicalSize;
    if (outResourceSize != nullptr) *outResourceSize = info.rsrcLogicalSize;
    return noErr;
}

Ptr GetTempBuffer(Size inRequestedSize, Size* outActualSize) {
    if (outActualSize == nullptr) return nullptr;
    Size size = std::max(inRequestedSize, kPage);
    Ptr buffer = NewPtr(size);
    if (buffer == nullptr && size > kPage) {
        const Size block = RoundedDown(MaxBlock());
        size = std::max(std::min(block, RoundedDown(FreeMem() - kReserve)), kPage);
        buffer = NewPtr(size);
    }
    *outActualSize = buffer != nullptr ? size : 0;
    return buffer;
}

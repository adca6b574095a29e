#include <files/Forks.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>

#include <algorithm>

namespace {

constexpr Size kPage = 4096;
constexpr Size kReserve = 32'768;

Size RoundedDown(Size inSize) {
    return inSize > 0 ? inSize / kPage * kPage : 0;
}

}  // namespace

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

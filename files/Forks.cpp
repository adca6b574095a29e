#include <files/Forks.h>
#include <toolbox/MacMemory.h>

#include <algorithm>

namespace {

constexpr Size kPage = 4096;
constexpr Size kReserve = 32'768;

Size RoundedDown(Size inSize) {
    return inSize > 0 ? inSize / kPage * kPage : 0;
}

}  // namespace

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

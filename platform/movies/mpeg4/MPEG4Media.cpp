#include "MPEG4Media.h"

namespace toolbox::movies {

bool MPEG4Media::AppendTimes(std::uint32_t inFirstPacket, std::uint32_t inPacketCount,
                             std::uint32_t inDeltaUnits) {
    if (inPacketCount == 0) return true;
    // Both factors fit 32 bits, so that the product fits 64.
    const std::uint64_t lengthUnits = std::uint64_t{inPacketCount} * inDeltaUnits;
    if (lengthUnits > static_cast<std::uint64_t>(kMaxMediaLength - endUnits)) return false;
    const bool continues = !times.empty() && times.back().deltaUnits == inDeltaUnits &&
                           times.back().startUnits + std::int64_t{inFirstPacket - times.back().firstPacket} *
                                                         std::int64_t{inDeltaUnits} ==
                               endUnits;
    if (!continues) times.push_back({inFirstPacket, inDeltaUnits, endUnits});
    endUnits += static_cast<std::int64_t>(lengthUnits);
    return true;
}

void MPEG4Media::BeginFormat(std::uint32_t inFirstPacket, std::uint32_t inDescription) {
    if (!formats.empty() && formats.back().description == inDescription) return;
    if (!formats.empty() && formats.back().firstPacket == inFirstPacket) formats.pop_back();
    if (!formats.empty() && formats.back().description == inDescription) return;
    formats.push_back({inFirstPacket, inDescription});
}

bool MPEG4Media::TakeUnlisted(std::uint32_t inPacketCount) {
    if (inPacketCount > unlistedPacketsLeft) return false;
    unlistedPacketsLeft -= inPacketCount;
    return true;
}

}  // namespace toolbox::movies

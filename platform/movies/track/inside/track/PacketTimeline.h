// Which packet of a span presents which of its frames.
#pragma once

#include "track/SoundTrack.h"

#include <cstdint>

namespace toolbox::movies {

// Looks at a span that outlives it. All frames are span frames.
class PacketTimeline {
  public:
    explicit PacketTimeline(const PacketSpan& inSpan) : mSpan(inSpan) {}

    // The packet that presents inFrame (>= 0); one past the span's last packet from the span's end on.
    std::uint32_t PacketAt(std::int64_t inFrame) const;
    // The first frame of inPacket; of the packet past the last one, the span's length.
    std::int64_t StartOf(std::uint32_t inPacket) const;
    std::uint32_t FramesOf(std::uint32_t inPacket) const;
    std::uint32_t EndPacket() const { return mSpan.firstPacket + mSpan.packetCount; }
    std::int64_t FrameCount() const { return StartOf(EndPacket()); }

  private:
    const DurationRun* RunOf(std::uint32_t inPacket) const;

    const PacketSpan& mSpan;
};

}  // namespace toolbox::movies

// The packets of one track as an MPEG-4 file times them, in units of the media's own time scale: what sample
// tables and fragments are read into, and what spans in frames are made from.
#pragma once

#include "track/FilePackets.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies {

// No sound is this long, and sums of lengths below it do not overflow.
constexpr std::int64_t kMaxMediaLength = std::int64_t{1} << 53;

struct MPEG4Media {
    // From this packet on (until the next run) each takes deltaUnits, the first at startUnits: later than the
    // end of the packet before where the file leaves a gap.
    struct TimeRun {
        std::uint32_t firstPacket = 0;
        std::uint32_t deltaUnits = 0;
        std::int64_t startUnits = 0;
    };
    // From this packet on (until the next run) this sample description holds, counted from 0.
    struct FormatRun {
        std::uint32_t firstPacket = 0;
        std::uint32_t description = 0;
    };

    std::uint32_t timeScale = 0;
    PacketTable packets;
    std::vector<TimeRun> times;      // of all packets, or empty
    std::vector<FormatRun> formats;  // of all packets, or empty
    std::int64_t startUnits = 0;     // of the first packet
    std::int64_t endUnits = 0;       // of the last packet
    // How many packets of a size told once for all may still be added: a few bytes can claim any number of
    // those.
    std::int64_t unlistedPacketsLeft = 0;

    // Says how long the next packets take. False when the media becomes longer than any can be.
    bool AppendTimes(std::uint32_t inFirstPacket, std::uint32_t inPacketCount, std::uint32_t inDeltaUnits);
    // Says what the packets from inFirstPacket on are.
    void BeginFormat(std::uint32_t inFirstPacket, std::uint32_t inDescription);
    // Whether that many packets of one size may be added; if so they count as added.
    bool TakeUnlisted(std::uint32_t inPacketCount);
};

// What is told of edits in a track.
struct MPEG4Edit {
    static constexpr std::int64_t kEmpty = -1;
    std::uint64_t lengthUnits = 0;  // of the movie's time scale
    std::int64_t mediaTime = 0;     // units of the media's time scale, or kEmpty
};

}  // namespace toolbox::movies

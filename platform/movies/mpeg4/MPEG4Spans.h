// Media time becomes frames: the spans of a sound track.
#pragma once

#include "MPEG4Media.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies {

// The time scale that the media's durations really are in. It is the one the file names, except for AAC with
// band replication whose writer counted core frames in the output rate's scale or the reverse: a packet is
// one packet.
std::uint32_t EffectiveTimeScale(const MPEG4Media& inMedia, const SoundFormat& inFormat,
                                 std::uint32_t inCoreRateHz);

// Makes spans of all packets.
//   inPacketCount  how many there are; the media's own table is not looked at
//   inTimeScale  > 0, see above
//   inFormats    not empty; the description numbers of the media are indices, those past the end mean the
//   last
// The first packet starts at frame 0 whatever its media time. Durations count exactly, with two exceptions:
// one that is within a tick of the packet's nominal length, where the time scale cannot express that, means
// it; and a media without durations has nominal ones. False when a packet has no duration at all or the sound
// is longer than any can be.
[[nodiscard]] bool MakeSpans(const MPEG4Media& inMedia, std::uint32_t inPacketCount,
                             std::uint32_t inTimeScale, const std::vector<SoundFormat>& inFormats,
                             std::vector<PacketSpan>& outSpans);

}  // namespace toolbox::movies

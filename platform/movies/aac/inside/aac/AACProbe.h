// Decodes a packet where nothing else can tell what AAC sound decodes to: a core rate of 24 kHz or less and
// no word on spectral band replication, which would double it.
#pragma once

#include "aac/AACConfig.h"
#include "track/SoundTrack.h"

#include <cstdint>

namespace toolbox::movies {

struct ProbedSound {
    std::uint32_t sampleRateHz = 0;
    std::uint16_t channelCount = 0;
    std::uint32_t frameCount = 0;  // that the packet decoded to
};

// True when the format is AAC that may carry band replication without saying so, at a rate where that is
// done.
bool NeedsImplicitSBRProbe(const SoundFormat& inFormat);

// Decodes one packet with a fresh decoder. False when it does not decode: outSound is then untouched. Throws
// std::bad_alloc.
bool ProbeImplicitSBR(const SoundFormat& inFormat, const PacketBytes& inPacket, ProbedSound& outSound);

// Completes a format whose band replication is not signalled: probes when that is needed, up to a few packets
// from inFirstPacket on until one decodes, and then either takes over what came out, or writes into the
// decoder's configuration that there is no band replication. Formats that signal, or are not AAC, stay as
// they are. ioErr when the file cannot be read, memFullErr; throws std::bad_alloc.
[[nodiscard]] OSStatus SettleImplicitSBR(PacketReader& inReader, std::uint32_t inFirstPacket,
                                         std::uint32_t inPacketCount, SoundFormat& ioFormat);

}  // namespace toolbox::movies

// Sound tracks whose packets are in memory, and what a bare decoder makes of them.
#pragma once

#include "AACEncoder.h"

#include <track/SoundTrack.h>

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

namespace mirtal::fakes {

using Packets = std::vector<std::vector<std::uint8_t>>;

// A store of packets that can be told to fail, and that counts what is read.
class MemoryPackets final : public toolbox::movies::PacketStore {
  public:
    explicit MemoryPackets(Packets inPackets) : packets(std::move(inPackets)) {}

    std::uint32_t PacketCount() const override { return static_cast<std::uint32_t>(packets.size()); }
    std::unique_ptr<toolbox::movies::PacketReader> NewReader() const override;

    Packets packets;
    std::set<std::uint32_t> missing;  // answered with eofErr
    std::set<std::uint32_t> broken;   // answered with ioErr
    mutable std::uint64_t readCount = 0;
    mutable std::int64_t liveReaderCount = 0;
};

struct MemorySound {
    std::shared_ptr<MemoryPackets> store;
    std::unique_ptr<toolbox::movies::SoundTrack> track;
};

// AAC LC as one span, presented whole.
MemorySound NewSound(const SoundToEncode& inSound);
MemorySound NewSound(const EncodedSound& inEncoded);
// One span of packets in a format of libavcodec's, so many frames each.
MemorySound NewSound(toolbox::movies::SoundFormat inFormat, Packets inPackets,
                     std::uint32_t inFramesPerPacket);
// Presents so many frames from a place in the media.
void SetEdits(toolbox::movies::SoundTrack& ioTrack, std::vector<toolbox::movies::Edit> inEdits);

enum class Trimming { kNone, kDecoders };

// The packets through one decoder, by default without its own trimming, as native 16-bit stereo: left and
// right alternating. The conversion is libswresample's; mono goes to both channels at full level.
std::vector<std::int16_t> DecodeBarely(const toolbox::movies::SoundFormat& inFormat, const Packets& inPackets,
                                       Trimming inTrimming = Trimming::kNone);

// A sound resource's samples as native numbers.
std::vector<std::int16_t> FromBigEndian(const std::uint8_t* inBytes, std::size_t inSampleCount);

}  // namespace mirtal::fakes

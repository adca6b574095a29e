// Packets that lie in a file at known places: a table small enough for a day of sound, and a reader that takes the
// file in large blocks.
#pragma once

#include "MediaFile.h"
#include "SoundTrack.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace toolbox::movies {

// Offsets and sizes of packets. Sizes take two bytes each while they fit; offsets are kept once for every run of
// packets that follow each other in the file.
class PacketTable {
  public:
    // inGapBytes: what lies between a packet and the next of the same run, a frame header that is not part of the
    // packet, say.
    explicit PacketTable(std::uint32_t inGapBytes = 0) : mGapBytes(inGapBytes) {}

    void Reserve(std::uint32_t inPacketCount);
    void Append(std::int64_t inOffsetBytes, std::uint32_t inSizeBytes);
    std::uint32_t Count() const { return mCount; }

    struct Place {
        std::int64_t offsetBytes = 0;
        std::uint32_t sizeBytes = 0;
    };
    // Walks the table; cheap from one packet to the next, a sum over the run otherwise.
    class Cursor {
      public:
        explicit Cursor(const PacketTable& inTable) : mTable(inTable) {}
        Place At(std::uint32_t inPacket);

      private:
        const PacketTable& mTable;
        std::uint32_t mPacket = 0;
        std::size_t mRun = 0;
        std::int64_t mOffsetBytes = 0;
        bool mIsPlaced = false;
    };

  private:
    friend class Cursor;
    struct Run {
        std::uint32_t firstPacket;
        std::int64_t offsetBytes;
    };
    std::uint32_t SizeOf(std::uint32_t inPacket) const;

    std::vector<Run> mRuns;
    std::vector<std::uint16_t> mSmallSizes;   // while every size fits
    std::vector<std::uint32_t> mLargeSizes;   // all of them, from the first that does not
    std::uint32_t mGapBytes;
    std::uint32_t mCount = 0;
    std::int64_t mEndBytes = 0;
};

std::shared_ptr<const PacketStore> NewFilePackets(std::shared_ptr<const MediaFile> inFile, PacketTable inTable);

}  // namespace toolbox::movies

// Packets that lie in a file at known places: a table small enough for a day of sound, and a reader that
// takes the file in large blocks.
//
// A table is filled by one thread and then only read, by any number of them. A cursor and a reader belong to
// one thread each.
#pragma once

#include "track/MediaFile.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace toolbox::movies {

// Offsets and sizes of packets. Sizes take two bytes each while they fit; offsets are kept once for every run
// of packets that follow each other in the file.
class PacketTable {
  public:
    // inGapBytes: what lies between a packet and the next of the same run, a frame header that is not part of
    // the packet, say.
    explicit PacketTable(std::uint32_t inGapBytes = 0) : mGapBytes(inGapBytes) {}

    // Between a packet and the next of a run.
    std::uint32_t GapBytes() const { return mGapBytes; }

    void Reserve(std::uint32_t inPacketCount);

    // Adds a packet. Any offset and size are taken, negative and impossible ones too: whether the packet is
    // there is found out when it is read. At most 2^32 - 1 packets; further ones are not added.
    void Append(std::int64_t inOffsetBytes, std::uint32_t inSizeBytes);
    // Adds packets that follow each other from an offset on: the same as so many calls of Append, but
    // quicker.
    void AppendRun(std::int64_t inOffsetBytes, const std::uint32_t* inSizesBytes,
                   std::uint32_t inPacketCount);

    std::uint32_t Count() const { return mCount; }
    // Where the last packet ends; 0 in an empty table.
    std::int64_t EndBytes() const { return mEndBytes; }
    std::size_t RunCount() const { return mRuns.size(); }

    struct Place {
        std::int64_t offsetBytes = 0;
        std::uint32_t sizeBytes = 0;
    };
    // Walks the table; cheap from one packet to the next, a sum over the run otherwise. The table must
    // outlive it and not grow meanwhile.
    class Cursor {
      public:
        explicit Cursor(const PacketTable& inTable) : mTable(&inTable) {}
        // inPacket < Count()
        Place At(std::uint32_t inPacket);

      private:
        void MoveTo(std::uint32_t inPacket);

        const PacketTable* mTable;
        std::uint32_t mPacket = 0;
        std::size_t mRun = 0;
        std::int64_t mOffsetBytes = 0;
        bool mIsPlaced = false;
    };

  private:
    struct Run {
        std::uint32_t firstPacket;
        std::int64_t offsetBytes;
    };
    std::uint32_t SizeOf(std::uint32_t inPacket) const {
        return mLargeSizes.empty() ? mSmallSizes[inPacket] : mLargeSizes[inPacket];
    }
    // Bytes from the start of a packet to that of a later one of the same run.
    std::int64_t Distance(std::uint32_t inFrom, std::uint32_t inTo) const;
    void BeginRunAt(std::int64_t inOffsetBytes);
    void Widen();

    std::vector<Run> mRuns;
    std::vector<std::uint16_t> mSmallSizes;  // while every size fits
    std::vector<std::uint32_t> mLargeSizes;  // all of them, from the first that does not
    std::uint32_t mGapBytes;
    std::uint32_t mCount = 0;
    std::int64_t mEndBytes = 0;
};

// Readers of the packets of a table. A reader answers, beside what PacketReader says, paramErr for a packet
// of more than 16 MB, which no codec makes, and memFullErr. A packet number past the table's end is eofErr.
//
// A reader takes the file in blocks and hands packets out in place. Nothing is allocated for a packet: a
// block is used again once nobody else holds it, and a third one is made only while a decoder keeps two. What
// is read ahead ends where the next packets lie too far away to be worth reading what is between.
[[nodiscard]] std::shared_ptr<const PacketStore> NewFilePackets(std::shared_ptr<const MediaFile> inFile,
                                                                PacketTable inTable);

}  // namespace toolbox::movies

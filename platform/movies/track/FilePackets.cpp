#include "track/FilePackets.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

extern "C" {
#include <libavutil/buffer.h>
}

namespace toolbox::movies {
namespace {

constexpr std::int64_t kBlockBytes = 128 * 1024;
constexpr std::int64_t kTailBytes = 64;        // readable behind every packet
constexpr std::int64_t kFarBytes = 16 * 1024;  // a gap worth a read of its own
constexpr std::uint32_t kMaxPacketBytes = 16 * 1024 * 1024;

// Sums and differences of what a file claims wrap instead of overflowing: such a packet is found missing when
// read.
std::int64_t Sum(std::int64_t inA, std::int64_t inB) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(inA) + static_cast<std::uint64_t>(inB));
}

std::int64_t Difference(std::int64_t inA, std::int64_t inB) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(inA) - static_cast<std::uint64_t>(inB));
}

// A part of the file, shared with decoders by reference counts.
class Block {
  public:
    Block() = default;
    ~Block() { av_buffer_unref(&mBuffer); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    bool IsFree() const { return mBuffer == nullptr || av_buffer_is_writable(mBuffer) != 0; }

    // Whether the packet and its tail are here; the tail past the file's end counts as being so.
    bool Holds(const PacketTable::Place& inPlace) const {
        if (inPlace.offsetBytes < mStart) return false;
        const std::int64_t from = inPlace.offsetBytes - mStart;
        const std::int64_t needed = std::int64_t{inPlace.sizeBytes} + (mReachesEnd ? 0 : kTailBytes);
        return from <= mHeldBytes && needed <= mHeldBytes - from;
    }

    OSStatus Fill(const MediaFile& inFile, std::int64_t inStart, std::int64_t inByteCount) {
        mHeldBytes = 0;
        mReachesEnd = false;
        mStart = inStart;
        if (!Provide(inFile, inByteCount)) return memFullErr;
        std::size_t read = 0;
        const OSStatus status =
            inFile.ReadAt(inStart, mBuffer->data, static_cast<std::size_t>(inByteCount), &read);
        if (status != noErr) return status;
        std::memset(mBuffer->data + read, 0, kTailBytes);
        mHeldBytes = static_cast<std::int64_t>(read);
        mReachesEnd = mHeldBytes < inByteCount || inFile.SizeBytes() - inStart <= inByteCount;
        return noErr;
    }

    void HandOut(const PacketTable::Place& inPlace, PacketBytes& outBytes) const {
        outBytes.data = mBuffer->data + (inPlace.offsetBytes - mStart);
        outBytes.sizeBytes = inPlace.sizeBytes;
        outBytes.owner = mBuffer;
    }

  private:
    // Room for so many bytes and a tail, in a buffer that nobody else holds. All blocks but those of giant
    // packets have the same room, so that one serves after the other; and a giant's room is not kept for the
    // rest of the file.
    bool Provide(const MediaFile& inFile, std::int64_t inByteCount) {
        const std::int64_t usualBytes = std::min(kBlockBytes + kTailBytes, inFile.SizeBytes());
        const auto roomBytes = static_cast<std::size_t>(std::max(inByteCount, usualBytes) + kTailBytes);
        if (mBuffer != nullptr && IsFree() && mBuffer->size == roomBytes) return true;
        av_buffer_unref(&mBuffer);
        mBuffer = av_buffer_alloc(roomBytes);
        return mBuffer != nullptr;
    }

    AVBufferRef* mBuffer = nullptr;
    std::int64_t mStart = 0;
    std::int64_t mHeldBytes = 0;
    bool mReachesEnd = false;
};

class FilePacketReader final : public PacketReader {
  public:
    FilePacketReader(std::shared_ptr<const MediaFile> inFile, std::shared_ptr<const PacketTable> inTable)
        : mFile(std::move(inFile)), mTable(std::move(inTable)), mCursor(*mTable) {}

    OSStatus Read(std::uint32_t inPacket, PacketBytes& outBytes) override {
        outBytes = PacketBytes();
        if (inPacket >= mTable->Count()) return eofErr;
        const PacketTable::Place place = mCursor.At(inPacket);
        if (!mBlocks[mCurrent].Holds(place)) {
            const OSStatus status = Load(inPacket, place);
            if (status != noErr) return status;
        }
        mBlocks[mCurrent].HandOut(place, outBytes);
        return noErr;
    }

  private:
    OSStatus Load(std::uint32_t inPacket, const PacketTable::Place& inPlace) {
        if (inPlace.sizeBytes > kMaxPacketBytes) return paramErr;
        const std::int64_t fileBytes = mFile->SizeBytes();
        if (inPlace.offsetBytes < 0 || inPlace.offsetBytes > fileBytes ||
            inPlace.sizeBytes > fileBytes - inPlace.offsetBytes)
            return eofErr;
        if (!mBlocks[mCurrent].IsFree() && mBlocks[1 - mCurrent].IsFree()) mCurrent = 1 - mCurrent;
        const std::int64_t byteCount =
            std::min(BytesWorthReading(inPacket, inPlace) + kTailBytes, fileBytes - inPlace.offsetBytes);
        const OSStatus status = mBlocks[mCurrent].Fill(*mFile, inPlace.offsetBytes, byteCount);
        if (status != noErr) return status;
        // The file may have become shorter since it was opened.
        return mBlocks[mCurrent].Holds(inPlace) ? noErr : eofErr;
    }

    // From the packet on: to the last that ends within a block's length without a long gap before it.
    std::int64_t BytesWorthReading(std::uint32_t inPacket, const PacketTable::Place& inPlace) const {
        PacketTable::Cursor cursor = mCursor;
        std::int64_t endBytes = inPlace.sizeBytes;
        for (std::uint32_t packet = inPacket + 1; packet < mTable->Count(); ++packet) {
            const PacketTable::Place next = cursor.At(packet);
            const std::int64_t fromBytes = Difference(next.offsetBytes, inPlace.offsetBytes);
            if (fromBytes < 0 || fromBytes > kBlockBytes || fromBytes - endBytes > kFarBytes) break;
            if (next.sizeBytes > kBlockBytes - fromBytes) break;
            endBytes = std::max(endBytes, fromBytes + next.sizeBytes);
        }
        return endBytes;
    }

    std::shared_ptr<const MediaFile> mFile;
    std::shared_ptr<const PacketTable> mTable;
    PacketTable::Cursor mCursor;
    std::array<Block, 2> mBlocks;
    std::size_t mCurrent = 0;
};

class FilePackets final : public PacketStore {
  public:
    FilePackets(std::shared_ptr<const MediaFile> inFile, PacketTable inTable)
        : mFile(std::move(inFile)), mTable(std::make_shared<const PacketTable>(std::move(inTable))) {}

    std::uint32_t PacketCount() const override { return mTable->Count(); }
    std::unique_ptr<PacketReader> NewReader() const override {
        return std::make_unique<FilePacketReader>(mFile, mTable);
    }

  private:
    std::shared_ptr<const MediaFile> mFile;
    std::shared_ptr<const PacketTable> mTable;
};

}  // namespace

void PacketTable::Reserve(std::uint32_t inPacketCount) {
    if (mLargeSizes.empty())
        mSmallSizes.reserve(inPacketCount);
    else
        mLargeSizes.reserve(inPacketCount);
}

void PacketTable::Widen() {
    mLargeSizes.reserve(std::max<std::size_t>(mSmallSizes.capacity(), 16));
    mLargeSizes.assign(mSmallSizes.begin(), mSmallSizes.end());
    std::vector<std::uint16_t>().swap(mSmallSizes);
}

void PacketTable::BeginRunAt(std::int64_t inOffsetBytes) {
    const bool follows = !mRuns.empty() && inOffsetBytes == Sum(mEndBytes, mGapBytes);
    if (!follows) mRuns.push_back({mCount, inOffsetBytes});
}

void PacketTable::Append(std::int64_t inOffsetBytes, std::uint32_t inSizeBytes) {
    AppendRun(inOffsetBytes, &inSizeBytes, 1);
}

void PacketTable::AppendRun(std::int64_t inOffsetBytes, const std::uint32_t* inSizesBytes,
                            std::uint32_t inPacketCount) {
    const std::uint32_t count = std::min(inPacketCount, std::numeric_limits<std::uint32_t>::max() - mCount);
    if (count == 0) return;
    BeginRunAt(inOffsetBytes);
    std::uint64_t sumBytes = 0;
    std::uint32_t anyBits = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        sumBytes += inSizesBytes[i];
        anyBits |= inSizesBytes[i];
    }
    if (mLargeSizes.empty() && anyBits > std::numeric_limits<std::uint16_t>::max()) Widen();
    if (mLargeSizes.empty() && anyBits <= std::numeric_limits<std::uint16_t>::max()) {
        const std::size_t first = mSmallSizes.size();
        mSmallSizes.resize(first + count);
        std::uint16_t* const sizes = mSmallSizes.data() + first;
        for (std::uint32_t i = 0; i < count; ++i)
            sizes[i] = static_cast<std::uint16_t>(inSizesBytes[i]);
    } else {
        mLargeSizes.insert(mLargeSizes.end(), inSizesBytes, inSizesBytes + count);
    }
    mCount += count;
    mEndBytes =
        Sum(inOffsetBytes, static_cast<std::int64_t>(sumBytes + std::uint64_t{mGapBytes} * (count - 1)));
}

std::int64_t PacketTable::Distance(std::uint32_t inFrom, std::uint32_t inTo) const {
    std::uint64_t sumBytes = std::uint64_t{mGapBytes} * (inTo - inFrom);
    for (std::uint32_t packet = inFrom; packet < inTo; ++packet)
        sumBytes += SizeOf(packet);
    return static_cast<std::int64_t>(sumBytes);
}

void PacketTable::Cursor::MoveTo(std::uint32_t inPacket) {
    const auto& runs = mTable->mRuns;
    const bool isNextRun = mIsPlaced && mRun + 1 < runs.size() && inPacket >= runs[mRun].firstPacket &&
                           inPacket < runs[mRun + 1].firstPacket;
    const bool isLastRun = mIsPlaced && mRun + 1 == runs.size() && inPacket >= runs[mRun].firstPacket;
    if ((isNextRun || isLastRun) && inPacket >= mPacket) {
        mOffsetBytes = Sum(mOffsetBytes, mTable->Distance(mPacket, inPacket));
    } else {
        const auto after = std::upper_bound(
            runs.begin(), runs.end(), inPacket,
            [](std::uint32_t inNumber, const Run& inRun) { return inNumber < inRun.firstPacket; });
        mRun = static_cast<std::size_t>(after - runs.begin()) - 1;
        mOffsetBytes = Sum(runs[mRun].offsetBytes, mTable->Distance(runs[mRun].firstPacket, inPacket));
    }
    mPacket = inPacket;
    mIsPlaced = true;
}

PacketTable::Place PacketTable::Cursor::At(std::uint32_t inPacket) {
    if (!mIsPlaced || inPacket != mPacket) MoveTo(inPacket);
    return {mOffsetBytes, mTable->SizeOf(inPacket)};
}

std::shared_ptr<const PacketStore> NewFilePackets(std::shared_ptr<const MediaFile> inFile,
                                                  PacketTable inTable) {
    return std::make_shared<const FilePackets>(std::move(inFile), std::move(inTable));
}

}  // namespace toolbox::movies

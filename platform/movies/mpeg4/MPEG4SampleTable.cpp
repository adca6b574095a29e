#include "MPEG4SampleTable.h"

#include "MPEG4Fields.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kBufferedSizes = 4096;
constexpr std::uint32_t kBufferedOffsets = 512;

// Packet sizes in order, told one by one ("stsz", "stz2") or once for all.
class PacketSizes {
  public:
    PacketSizes(BoxFile& ioFile, const Box& inParent) {
        if (const Box box = FindBox(ioFile, inParent, BoxType("stsz")); box.Exists())
            OpenSizes(ioFile, box);
        else if (const Box compact = FindBox(ioFile, inParent, BoxType("stz2")); compact.Exists())
            OpenCompactSizes(ioFile, compact);
    }

    bool IsThere() const { return mIsThere; }
    bool AreListed() const { return mConstantBytes == 0; }
    std::uint32_t ConstantBytes() const { return mConstantBytes; }
    // The packets that are claimed, as far as their sizes are told.
    std::uint32_t Count() const { return mCount; }

    // The next sizes, at least one and at most inLargestCount. Null at the end, or when the file cannot be
    // read.
    const std::uint32_t* Next(std::uint32_t inLargestCount, std::uint32_t* outCount) {
        if (mNext == mBuffered && !Refill()) return nullptr;
        *outCount = std::min(inLargestCount, mBuffered - mNext);
        const std::uint32_t* const sizes = mBuffer.data() + mNext;
        mNext += *outCount;
        return sizes;
    }

  private:
    void OpenSizes(BoxFile& ioFile, const Box& inBox) {
        const std::uint8_t* const head = inBox.ContentSizeBytes() < fields::kSizesHeadBytes
                                             ? nullptr
                                             : ioFile.At(inBox.contentBytes, fields::kSizesHeadBytes);
        if (head == nullptr) return;
        mIsThere = true;
        mConstantBytes = os::Load32(head + fields::kSampleSize);
        mCount = os::Load32(head + fields::kSampleCount);
        mBits = 32;
        if (mConstantBytes == 0) OpenListed(ioFile, inBox, inBox.contentBytes + fields::kSizesHeadBytes);
    }

    void OpenCompactSizes(BoxFile& ioFile, const Box& inBox) {
        const std::uint8_t* const head = inBox.ContentSizeBytes() < fields::kSizesHeadBytes
                                             ? nullptr
                                             : ioFile.At(inBox.contentBytes, fields::kSizesHeadBytes);
        if (head == nullptr) return;
        mBits = head[fields::kFieldSize];
        mCount = os::Load32(head + fields::kSampleCount);
        mIsThere = mBits == 4 || mBits == 8 || mBits == 16;
        if (mIsThere) OpenListed(ioFile, inBox, inBox.contentBytes + fields::kSizesHeadBytes);
    }

    void OpenListed(BoxFile& ioFile, const Box& inBox, std::int64_t inFirstBytes) {
        const bool isHalfByte = mBits == 4;
        const std::uint32_t entryCount = isHalfByte ? mCount / 2 + mCount % 2 : mCount;
        mTable = TableReader(ioFile, inBox, inFirstBytes, entryCount, isHalfByte ? 1 : mBits / 8);
        const std::uint64_t told = std::uint64_t{mTable.CountLeft()} * (isHalfByte ? 2 : 1);
        mCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(mCount, told));
        mBuffer.resize(std::min(mCount, kBufferedSizes - 1) + 1);  // one more: half bytes come in pairs
    }

    bool Refill() {
        mNext = mBuffered = 0;
        const auto room = static_cast<std::uint32_t>(mBuffer.size()) / (mBits == 4 ? 2 : 1);
        std::uint32_t count = 0;
        const std::uint8_t* const entries = mTable.NextEntries(room, &count);
        if (entries == nullptr) return false;
        for (std::uint32_t i = 0; i < count; ++i)
            Decode(entries, i);
        mBuffered = mBits == 4 ? count * 2 : count;
        return true;
    }

    void Decode(const std::uint8_t* inEntries, std::uint32_t inIndex) {
        switch (mBits) {
            case 4:
                mBuffer[inIndex * 2] = inEntries[inIndex] >> 4;
                mBuffer[inIndex * 2 + 1] = inEntries[inIndex] & 15;
                break;
            case 8:
                mBuffer[inIndex] = inEntries[inIndex];
                break;
            case 16:
                mBuffer[inIndex] = os::Load16(inEntries + std::size_t{2} * inIndex);
                break;
            default:
                mBuffer[inIndex] = os::Load32(inEntries + std::size_t{4} * inIndex);
        }
    }

    TableReader mTable;
    std::vector<std::uint32_t> mBuffer;
    std::uint32_t mNext = 0;
    std::uint32_t mBuffered = 0;
    std::uint32_t mBits = 32;
    std::uint32_t mConstantBytes = 0;
    std::uint32_t mCount = 0;
    bool mIsThere = false;
};

// Where the chunks are ("stco", "co64").
class ChunkOffsets {
  public:
    ChunkOffsets(BoxFile& ioFile, const Box& inParent) {
        if (const Box box = FindBox(ioFile, inParent, BoxType("stco")); box.Exists()) {
            mTable = OpenTable(ioFile, box, fields::kChunkOffsetBytes);
        } else if (const Box large = FindBox(ioFile, inParent, BoxType("co64")); large.Exists()) {
            mTable = OpenTable(ioFile, large, fields::kLargeChunkOffsetBytes);
            mIsLarge = true;
        }
    }

    bool Next(std::int64_t& outOffsetBytes) {
        if (mNext == mBuffered && !Refill()) return false;
        outOffsetBytes = mBuffer[mNext++];
        return true;
    }

  private:
    bool Refill() {
        mNext = mBuffered = 0;
        const std::uint8_t* const entries = mTable.NextEntries(kBufferedOffsets, &mBuffered);
        if (entries == nullptr) return false;
        for (std::uint32_t i = 0; i < mBuffered; ++i)
            mBuffer[i] = mIsLarge
                             ? static_cast<std::int64_t>(
                                   os::Load64(entries + std::size_t{fields::kLargeChunkOffsetBytes} * i))
                             : std::int64_t{os::Load32(entries + std::size_t{fields::kChunkOffsetBytes} * i)};
        return true;
    }

    TableReader mTable;
    std::array<std::int64_t, kBufferedOffsets> mBuffer;  // the first mBuffered are set
    std::uint32_t mNext = 0;
    std::uint32_t mBuffered = 0;
    bool mIsLarge = false;
};

struct ChunkRun {
    std::uint32_t firstChunk = 0;  // counted from 0
    std::uint32_t packetsPerChunk = 0;
    std::uint32_t description = 0;  // counted from 0
};

std::vector<ChunkRun> ReadChunkRuns(BoxFile& ioFile, const Box& inParent) {
    std::vector<ChunkRun> runs;
    TableReader table = OpenTable(ioFile, FindBox(ioFile, inParent, BoxType("stsc")), fields::kChunkRunBytes);
    std::uint32_t count = 0;
    while (const std::uint8_t* entries = table.NextEntries(table.CountLeft(), &count)) {
        for (std::uint32_t i = 0; i < count; ++i, entries += fields::kChunkRunBytes) {
            const std::uint32_t chunk = os::Load32(entries + fields::kFirstChunk);
            const std::uint32_t description = os::Load32(entries + fields::kDescriptionIndex);
            // What does not come later than the run before has no chunks of its own.
            if (chunk == 0 || (!runs.empty() && chunk - 1 <= runs.back().firstChunk)) continue;
            const ChunkRun run = {chunk - 1, os::Load32(entries + fields::kSamplesPerChunk),
                                  description == 0 ? 0 : description - 1};
            // Some writers give every chunk an entry, though it says what the one before said.
            const bool isNews = runs.empty() || run.packetsPerChunk != runs.back().packetsPerChunk ||
                                run.description != runs.back().description;
            if (isNews) runs.push_back(run);
        }
    }
    return runs;
}

class SampleTableReader {
  public:
    SampleTableReader(BoxFile& ioFile, const Box& inParent, MPEG4Media& ioMedia)
        : mFile(ioFile), mParent(inParent), mMedia(ioMedia), mSizes(ioFile, inParent) {}

    OSStatus Read(std::string& outProblem) {
        if (!mSizes.IsThere()) return Fail("the sound's table of packet sizes is missing", outProblem);
        if (mSizes.Count() == 0) return mFile.Status();
        mMedia.packets.Reserve(mSizes.AreListed() ? mSizes.Count() : 0);
        if (!PlacePackets())
            return Fail("the sound's tables claim more packets than the file can hold", outProblem);
        if (!TimePackets()) return Fail("the sound's tables claim a length beyond reason", outProblem);
        return mFile.Status();
    }

  private:
    OSStatus Fail(const char* inText, std::string& outProblem) const {
        if (mFile.Status() != noErr) return mFile.Status();
        outProblem = inText;
        return invalidMovie;
    }

    bool PlacePackets() {
        const std::vector<ChunkRun> runs = ReadChunkRuns(mFile, mParent);
        if (runs.empty()) return true;
        ChunkOffsets offsets(mFile, mParent);
        std::uint32_t left = mSizes.Count();
        std::size_t run = 0;
        std::int64_t offsetBytes = 0;
        for (std::uint32_t chunk = 0; left > 0 && offsets.Next(offsetBytes); ++chunk) {
            while (run + 1 < runs.size() && runs[run + 1].firstChunk <= chunk)
                ++run;
            if (runs[run].firstChunk > chunk) continue;
            const std::uint32_t count = std::min(runs[run].packetsPerChunk, left);
            if (count == 0) continue;
            mMedia.BeginFormat(mMedia.packets.Count(), runs[run].description);
            if (!PlaceChunk(offsetBytes, count)) return false;
            left -= count;
        }
        return true;
    }

    bool PlaceChunk(std::int64_t inOffsetBytes, std::uint32_t inCount) {
        if (!mSizes.AreListed()) return PlaceConstantChunk(inOffsetBytes, inCount);
        std::int64_t offsetBytes = inOffsetBytes;
        for (std::uint32_t left = inCount; left > 0;) {
            std::uint32_t count = 0;
            const std::uint32_t* const sizes = mSizes.Next(left, &count);
            if (sizes == nullptr) return mFile.Status() == noErr;
            mMedia.packets.AppendRun(offsetBytes, sizes, count);
            offsetBytes = mMedia.packets.EndBytes();
            left -= count;
        }
        return true;
    }

    bool PlaceConstantChunk(std::int64_t inOffsetBytes, std::uint32_t inCount) {
        if (!mMedia.TakeUnlisted(inCount)) return false;
        mConstantSizes.assign(std::min(inCount, kBufferedSizes), mSizes.ConstantBytes());
        std::int64_t offsetBytes = inOffsetBytes;
        for (std::uint32_t left = inCount; left > 0;) {
            const std::uint32_t count = std::min(left, kBufferedSizes);
            mMedia.packets.AppendRun(offsetBytes, mConstantSizes.data(), count);
            offsetBytes = mMedia.packets.EndBytes();
            left -= count;
        }
        return true;
    }

    bool TimePackets() {
        const std::uint32_t packetCount = mMedia.packets.Count();
        TableReader table = OpenTable(mFile, FindBox(mFile, mParent, BoxType("stts")), fields::kTimeBytes);
        std::uint32_t packet = 0;
        while (packet < packetCount) {
            const std::uint8_t* const entry = table.NextEntry();
            if (entry == nullptr) break;
            const std::uint32_t count =
                std::min(os::Load32(entry + fields::kTimeCount), packetCount - packet);
            if (!mMedia.AppendTimes(packet, count, os::Load32(entry + fields::kTimeDelta))) return false;
            packet += count;
        }
        // A table that ends early goes on as it was; one that is missing leaves it to the packets' nominal
        // length.
        if (packet == packetCount || mMedia.times.empty()) return true;
        return mMedia.AppendTimes(packet, packetCount - packet, mMedia.times.back().deltaUnits);
    }

    BoxFile& mFile;
    const Box& mParent;
    MPEG4Media& mMedia;
    PacketSizes mSizes;
    std::vector<std::uint32_t> mConstantSizes;
};

}  // namespace

OSStatus ReadSampleTable(BoxFile& ioFile, const Box& inSampleTable, MPEG4Media& ioMedia,
                         std::string& outProblem) {
    return SampleTableReader(ioFile, inSampleTable, ioMedia).Read(outProblem);
}

std::int64_t SumOfDurations(BoxFile& ioFile, const Box& inSampleTable) {
    TableReader table =
        OpenTable(ioFile, FindBox(ioFile, inSampleTable, BoxType("stts")), fields::kTimeBytes);
    std::uint64_t sumUnits = 0;
    while (const std::uint8_t* const entry = table.NextEntry()) {
        const std::uint64_t units =
            std::uint64_t{os::Load32(entry + fields::kTimeCount)} * os::Load32(entry + fields::kTimeDelta);
        if (units > static_cast<std::uint64_t>(kMaxMediaLength) - sumUnits) return kMaxMediaLength;
        sumUnits += units;
    }
    return static_cast<std::int64_t>(sumUnits);
}

std::uint32_t ClaimedPacketCount(BoxFile& ioFile, const Box& inSampleTable) {
    return PacketSizes(ioFile, inSampleTable).Count();
}

}  // namespace toolbox::movies

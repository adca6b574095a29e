#include "DemuxedPackets.h"

#include "Demuxer.h"
#include "Log.h"
#include "OwnedPacket.h"

#include <toolbox/MacErrors.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <new>
#include <utility>

namespace toolbox::movies::general {

namespace {

class DemuxedReader final : public PacketReader {
  public:
    DemuxedReader(std::shared_ptr<const ByteSource> inSource, const ImportOptions& inOptions,
                  std::uint32_t inPacketCount)
        : mSource(std::move(inSource)), mOptions(inOptions), mPacketCount(inPacketCount) {}

    OSStatus Read(std::uint32_t inPacket, PacketBytes& outBytes) override {
        outBytes = PacketBytes();
        if (inPacket >= mPacketCount) return eofErr;
        const LogScope quiet;
        try {
            return ReadOn(inPacket, outBytes);
        } catch (const std::bad_alloc&) {
            return memFullErr;
        }
    }

  private:
    OSStatus ReadOn(std::uint32_t inPacket, PacketBytes& outBytes) {
        const bool isHeld = mHasPacket && inPacket + 1 == mNext;
        if (!isHeld && (mDemuxer == nullptr || inPacket < mNext)) {
            const OSStatus status = Restart();
            if (status != noErr) return status;
        }
        std::string problem;
        while (mNext <= inPacket) {
            mPacket.Clear();
            mHasPacket = false;
            const OSStatus status = mDemuxer->Next(*mPacket, problem);
            if (status != noErr) return status;
            if (mDemuxer->Sound() != nullptr && mPacket->stream_index == mDemuxer->Sound()->index) {
                ++mNext;
                mHasPacket = true;
            }
        }
        // Decoders keep packets by reference; a packet without a count of its own would be copied each time.
        if (mPacket->buf == nullptr && av_packet_make_refcounted(&*mPacket) < 0) return memFullErr;
        outBytes = {mPacket->data, static_cast<std::size_t>(mPacket->size), mPacket->buf};
        return noErr;
    }

    OSStatus Restart() {
        mPacket.Clear();
        mHasPacket = false;
        mDemuxer.reset();
        mNext = 0;
        std::string problem;
        const OSStatus status = Demuxer::Open(mSource, mOptions, mDemuxer, problem);
        if (status != noErr) {
            return status == memFullErr ? memFullErr : ioErr;  // it was readable when it was imported
        }
        mDemuxer->DiscardPictures();
        return noErr;
    }

    std::shared_ptr<const ByteSource> mSource;
    ImportOptions mOptions;
    std::uint32_t mPacketCount;
    std::unique_ptr<Demuxer> mDemuxer;
    OwnedPacket mPacket;
    std::uint32_t mNext = 0;  // one past the last packet read
    bool mHasPacket = false;  // that one is in mPacket
};

class DemuxedPackets final : public PacketStore {
  public:
    DemuxedPackets(std::shared_ptr<const ByteSource> inSource, const ImportOptions& inOptions,
                   std::uint32_t inPacketCount)
        : mSource(std::move(inSource)), mOptions(inOptions), mPacketCount(inPacketCount) {}
    std::uint32_t PacketCount() const override { return mPacketCount; }
    std::unique_ptr<PacketReader> NewReader() const override {
        return std::make_unique<DemuxedReader>(mSource, mOptions, mPacketCount);
    }

  private:
    std::shared_ptr<const ByteSource> mSource;
    ImportOptions mOptions;
    std::uint32_t mPacketCount;
};

}  // namespace

std::shared_ptr<const PacketStore> NewDemuxedPackets(std::shared_ptr<const ByteSource> inSource,
                                                     const ImportOptions& inOptions,
                                                     std::uint32_t inPacketCount) {
    return std::make_shared<const DemuxedPackets>(std::move(inSource), inOptions, inPacketCount);
}

}  // namespace toolbox::movies::general

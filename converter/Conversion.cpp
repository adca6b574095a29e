#include "LittleEndianWriter.h"
#include "StreamFormat.h"

#include <converter/Conversion.h>

#include <algorithm>

namespace {

static_assert(sizeof(WAVHeader) == kStreamHeaderByteCount);

SInt32 WrappingSum(SInt32 inLeft, SInt32 inRight) {
    return static_cast<SInt32>(static_cast<UInt32>(inLeft) + static_cast<UInt32>(inRight));
}

SInt32 Low32(const Int64& inValue) {
    return static_cast<SInt32>(inValue.Lo32());
}

SInt32 WrappingDifference(SInt32 inLeft, SInt32 inRight) {
    return static_cast<SInt32>(static_cast<UInt32>(inLeft) - static_cast<UInt32>(inRight));
}

// One conversion under way: where it is in the stream, and where the stream ends.
class StreamDelivery {
  public:
    StreamDelivery(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback, SInt32 inFrameCount,
                   const Int64& inPosition)
        : mExporter(ioExporter),
          mContext(inContext),
          mCallback(inCallback),
          mFrameCount(inFrameCount),
          mTotal(static_cast<unsigned long>(StreamByteCount(inFrameCount))),
          mPosition(inPosition) {}

    bool IsBeforeEnd(const Int64& inPosition) const { return inPosition < mTotal; }

    void Deliver(void* inData, SInt32 inByteCount) {
        mCallback(mContext, inData, inByteCount);
        mPosition += Int64(static_cast<int>(inByteCount));
    }

    void DeliverSound(SInt32 inFirstFrame) {
        SInt32 nextFrame = inFirstFrame;
        while (nextFrame < mFrameCount) {
            const SInt32 askedFrames =
                std::min(mExporter.SegmentFrames(), WrappingDifference(mFrameCount, nextFrame));
            const SegmentExporter::Segment segment = mExporter.Export(nextFrame, askedFrames);
            if (segment.frameCount == 0) break;
            Deliver(segment.data, CutAtEnd(segment.byteCount));
            nextFrame = WrappingSum(nextFrame, segment.frameCount);
        }
    }

    // The stream has the length it announced, whatever was rendered.
    void DeliverPadding() {
        const SInt32 silenceByteCount = mExporter.SilenceByteCount();
        // A rate of 0 has no silence to pad with.
        while (silenceByteCount > 0 && mPosition < mTotal)
            Deliver(mExporter.Silence(), CutAtEnd(silenceByteCount));
    }

  private:
    // Negative where the position is past the end already.
    SInt32 CutAtEnd(SInt32 inByteCount) const {
        return mPosition + Int64(static_cast<int>(inByteCount)) > mTotal ? Low32(mTotal - mPosition)
                                                                         : inByteCount;
    }

    SegmentExporter& mExporter;
    void* const mContext;
    const DataCallback mCallback;
    const SInt32 mFrameCount;
    const Int64 mTotal;
    Int64 mPosition;
};

// Frames that a window of inDuration > 0 announces. The 11 is taken from the duration as it stands, not from
// a quarter of it: callers know the window by this rule.
SInt32 WindowFrameCount(const Int64& inDuration, SInt32 inMovieFrameCount) {
    const SInt32 frameCount = std::max<SInt32>(Low32(inDuration - Int64(11)), 0);
    return std::min(frameCount, inMovieFrameCount);
}

}  // namespace

WAVHeader MakeWAVHeader(SInt32 inSampleRateHz, UInt32 inFrameCount) {
    WAVHeader header;
    LittleEndianWriter writer(header.bytes);
    const UInt32 dataByteCount = inFrameCount * kFrameByteCount;
    writer.Tag("RIFF");
    writer.Put32(dataByteCount + kStreamHeaderByteCount - 8);
    writer.Tag("WAVE");
    PutFormatChunk(writer, inSampleRateHz);
    writer.Tag("data");
    writer.Put32(dataByteCount);
    return header;
}

RF64Header MakeRF64Header(SInt32 inSampleRateHz, UInt64 inFrameCount) {
    constexpr UInt32 kSeeDs64 = 0xFFFFFFFF;
    RF64Header header;
    const UInt64 dataByteCount = inFrameCount * kFrameByteCount;
    LittleEndianWriter writer(header.bytes);
    writer.Tag("RF64");
    writer.Put32(kSeeDs64);
    writer.Tag("WAVE");
    writer.Tag("ds64");
    writer.Put32(28);
    writer.Put64(dataByteCount + sizeof header.bytes - 8);
    writer.Put64(dataByteCount);
    writer.Put64(inFrameCount);
    writer.Put32(0);  // no table of other chunks' sizes
    PutFormatChunk(writer, inSampleRateHz);
    writer.Tag("data");
    writer.Put32(kSeeDs64);
    return header;
}

void ConvertWhole(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback) {
    const SInt32 frameCount = GetMovieDuration(ioExporter.GetMovie());
    ioExporter.MakeExportHandle();
    StreamDelivery delivery(ioExporter, inContext, inCallback, frameCount, Int64(0));
    WAVHeader header = MakeWAVHeader(ioExporter.SampleRate(), static_cast<UInt32>(frameCount));
    delivery.Deliver(header.bytes, kStreamHeaderByteCount);
    delivery.DeliverSound(0);
    delivery.DeliverPadding();
}

void ConvertWindow(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback, Int64 inStart,
                   Int64 inDuration) {
    SInt32 frameCount = GetMovieDuration(ioExporter.GetMovie());
    if (inDuration > Int64(0))
        frameCount = WindowFrameCount(inDuration, frameCount);
    else
        // Frames plus header, not bytes: it only bounds what is delivered of the header.
        inDuration = Int64(static_cast<int>(WrappingSum(frameCount, kStreamHeaderByteCount)));
    ioExporter.MakeExportHandle();

    if (inStart < Int64(0)) inStart = Int64(0);
    StreamDelivery delivery(ioExporter, inContext, inCallback, frameCount, inStart);
    SInt32 firstFrame = 0;
    if (inStart < Int64(kStreamHeaderByteCount)) {
        WAVHeader header = MakeWAVHeader(ioExporter.SampleRate(), static_cast<UInt32>(frameCount));
        const SInt32 headerOffset = Low32(inStart);
        SInt32 headerByteCount = Low32(inDuration - inStart);
        if (inStart + Int64(headerByteCount) > Int64(kStreamHeaderByteCount))
            headerByteCount = kStreamHeaderByteCount - headerOffset;
        delivery.Deliver(header.bytes + headerOffset, headerByteCount);
    } else if (delivery.IsBeforeEnd(inStart)) {
        const auto soundOffset = static_cast<UInt32>(inStart.ULo32()) - kStreamHeaderByteCount;
        firstFrame = static_cast<SInt32>(soundOffset / kFrameByteCount);
    } else {
        return;
    }
    delivery.DeliverSound(firstFrame);
    delivery.DeliverPadding();
}

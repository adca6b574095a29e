#include "StreamFormat.h"

#include <converter/Conversion.h>
#include <converter/WAVReader.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace {

// So many that the stream's length still fits 64 bits.
constexpr SInt64 kMaxFrameCount =
    (std::numeric_limits<SInt64>::max() - static_cast<SInt64>(sizeof(RF64Header))) / kFrameByteCount;

}  // namespace

class WAVReader::Stream {
  public:
    Stream(std::unique_ptr<SegmentExporter> inExporter, Header inHeader, FrameRange inRange);

    SInt64 ByteCount() const { return mHeaderByteCount + mFrameCount * kFrameByteCount; }
    SInt64 FrameCount() const { return mFrameCount; }
    SegmentExporter& Exporter() { return *mExporter; }
    std::size_t Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount);

  private:
    void TakeRange(FrameRange inRange);
    void MakeHeader(Header inHeader);
    template <std::size_t kByteCount>
    void SetHeader(const unsigned char (&inBytes)[kByteCount]);
    std::size_t ReadHeader(SInt64 inPosition, unsigned char* outBytes, std::size_t inByteCount) const;
    std::size_t ReadSound(SInt64 inSoundOffset, unsigned char* outBytes, std::size_t inByteCount);
    void RenderFrom(SInt64 inFrame);
    bool Holds(SInt64 inFrame) const;

    std::unique_ptr<SegmentExporter> mExporter;
    SInt64 mFirstFrame = 0;  // of the movie; all other frames count from it
    SInt64 mFrameCount = 0;
    SInt32 mHeaderByteCount = 0;
    unsigned char mHeader[sizeof(RF64Header)];
    // The segment in hand: frames [mSegmentFirst, mSegmentFirst + mSegmentFrames).
    SInt64 mSegmentFirst = 0;
    SInt32 mSegmentFrames = 0;
    const unsigned char* mSegmentData = nullptr;
};

WAVReader::Stream::Stream(std::unique_ptr<SegmentExporter> inExporter, Header inHeader, FrameRange inRange)
    : mExporter(std::move(inExporter)) {
    TakeRange(inRange);
    mExporter->MakeExportHandle();
    MakeHeader(inHeader);
}

void WAVReader::Stream::TakeRange(FrameRange inRange) {
    if (inRange.first < 0 || inRange.end < inRange.first) LException::Throw(paramErr);
    const auto rate = static_cast<UInt32>(mExporter->SampleRate());
    const SInt64 movieFrames =
        std::clamp<SInt64>(GetMovieDuration64(mExporter->GetMovie(), rate), 0, kMaxFrameCount);
    mFirstFrame = std::min(inRange.first, movieFrames);
    mFrameCount = std::min(inRange.end, movieFrames) - mFirstFrame;
}

void WAVReader::Stream::MakeHeader(Header inHeader) {
    const SInt32 rate = mExporter->SampleRate();
    if (inHeader == Header::kRF64)
        SetHeader(MakeRF64Header(rate, static_cast<UInt64>(mFrameCount)).bytes);
    else
        SetHeader(MakeWAVHeader(rate, static_cast<UInt32>(mFrameCount)).bytes);
}

template <std::size_t kByteCount>
void WAVReader::Stream::SetHeader(const unsigned char (&inBytes)[kByteCount]) {
    static_assert(kByteCount <= sizeof mHeader);
    mHeaderByteCount = kByteCount;
    std::memcpy(mHeader, inBytes, kByteCount);
}

std::size_t WAVReader::Stream::Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount) {
    if (inPosition < 0 || inPosition >= ByteCount() || inByteCount == 0) return 0;
    auto* const bytes = static_cast<unsigned char*>(outBytes);
    const auto left = static_cast<UInt64>(ByteCount() - inPosition);
    const auto wanted = static_cast<std::size_t>(std::min<UInt64>(inByteCount, left));

    std::size_t copied = ReadHeader(inPosition, bytes, wanted);
    while (copied < wanted) {
        const SInt64 soundOffset = inPosition + static_cast<SInt64>(copied) - mHeaderByteCount;
        copied += ReadSound(soundOffset, bytes + copied, wanted - copied);
    }
    return wanted;
}

std::size_t WAVReader::Stream::ReadHeader(SInt64 inPosition, unsigned char* outBytes,
                                          std::size_t inByteCount) const {
    if (inPosition >= mHeaderByteCount) return 0;
    const auto byteCount = std::min(inByteCount, static_cast<std::size_t>(mHeaderByteCount - inPosition));
    std::memcpy(outBytes, mHeader + inPosition, byteCount);
    return byteCount;
}

std::size_t WAVReader::Stream::ReadSound(SInt64 inSoundOffset, unsigned char* outBytes,
                                         std::size_t inByteCount) {
    const SInt64 frame = inSoundOffset / kFrameByteCount;
    if (!Holds(frame)) RenderFrom(frame);
    const auto offset = static_cast<std::size_t>(inSoundOffset - mSegmentFirst * kFrameByteCount);
    const auto segmentByteCount = static_cast<std::size_t>(mSegmentFrames) * kFrameByteCount;
    const auto byteCount = std::min(inByteCount, segmentByteCount - offset);
    std::memcpy(outBytes, mSegmentData + offset, byteCount);
    return byteCount;
}

bool WAVReader::Stream::Holds(SInt64 inFrame) const {
    return inFrame >= mSegmentFirst && inFrame - mSegmentFirst < mSegmentFrames;
}

void WAVReader::Stream::RenderFrom(SInt64 inFrame) {
    mSegmentFrames = 0;
    const auto askedFrames =
        static_cast<SInt32>(std::min<SInt64>(mExporter->SegmentFrames(), mFrameCount - inFrame));
    const SegmentExporter::Segment segment = mExporter->Export(mFirstFrame + inFrame, askedFrames);
    // A stream position is a frame, so each frame must have its four bytes; and none would never get there.
    if (segment.frameCount <= 0 ||
        static_cast<SInt64>(segment.frameCount) * kFrameByteCount != segment.byteCount)
        LException::Throw(paramErr);
    mSegmentFirst = inFrame;
    mSegmentFrames = segment.frameCount;
    mSegmentData = static_cast<const unsigned char*>(segment.data);
}

WAVReader::WAVReader(const char* inPath, Header inHeader)
    : WAVReader(std::make_unique<SegmentExporter>(inPath), inHeader) {}

WAVReader::WAVReader(std::unique_ptr<SegmentExporter> inExporter, Header inHeader, FrameRange inRange)
    : mStream(std::make_unique<Stream>(std::move(inExporter), inHeader, inRange)) {}

WAVReader::~WAVReader() = default;

SInt64 WAVReader::ByteCount() const {
    return mStream->ByteCount();
}

SInt64 WAVReader::FrameCount() const {
    return mStream->FrameCount();
}

SegmentExporter& WAVReader::Exporter() {
    return mStream->Exporter();
}

std::size_t WAVReader::Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount) {
    return mStream->Read(inPosition, outBytes, inByteCount);
}

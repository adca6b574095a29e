// The WAV stream as a file-like thing to read from: any byte range, pulled when wanted, the same bytes however asked for.
// Lengths are 64-bit and exact. Belongs to one thread at a time.
#pragma once

#include <converter/SegmentExporter.h>
#include <foundation/MirtalExport.h>

#include <cstddef>

class MIRTAL_EXPORT WAVReader {
  public:
    enum class Header { kRIFF, kRF64 };

    // Throws as SegmentExporter's constructor does. kRF64 gives the 64-bit header; kRIFF's size fields wrap above 4 GiB.
    explicit WAVReader(char const* inPath, Header inHeader = Header::kRIFF);

    SInt64 ByteCount() const { return mHeaderByteCount + mFrameCount * 4; }
    SInt64 FrameCount() const { return mFrameCount; }
    SegmentExporter& Exporter() { return mExporter; }

    // Copies bytes from stream position inPosition (>= 0) on. Returns how many: inByteCount, fewer only at the end, 0
    // beyond it. Throws LException when the sound cannot be rendered; reading may go on elsewhere.
    std::size_t Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount);

  private:
    SegmentExporter mExporter;
    SInt64 mFrameCount;
    SInt32 mHeaderByteCount;
    unsigned char mHeader[80];
    // The segment in hand: frames [mSegmentFirst, mSegmentFirst + mSegmentFrames).
    SInt64 mSegmentFirst = 0;
    SInt32 mSegmentFrames = 0;
    const unsigned char* mSegmentData = nullptr;
};

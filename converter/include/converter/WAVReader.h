// The WAV stream as a file-like thing to read from: any byte range, pulled when wanted, the same bytes
// however asked for.
//
// Lengths are 64-bit and exact. Frame n of the stream is frame n of the movie; what the exporter does not
// render is silence. So the bytes are those of the whole-file conversion wherever that one's 32-bit lengths
// hold, as long as frames have the same bytes however they are asked for and only the end of the sound
// renders empty. Reading allocates nothing once the first segments are rendered.
// Belongs to one thread at a time.
#pragma once

#include <converter/SegmentExporter.h>
#include <foundation/MirtalExport.h>

#include <cstddef>

class MIRTAL_EXPORT WAVReader {
  public:
    enum class Header {
        kRIFF,  // 44 bytes; the size fields hold the low 32 bits above 4 GiB
        kRF64   // 80 bytes: 64-bit sizes in a "ds64" chunk (EBU Tech 3306)
    };

    // Throws as SegmentExporter's constructor does.
    explicit WAVReader(char const* inPath, Header inHeader = Header::kRIFF);

    SInt64 ByteCount() const { return mHeaderByteCount + mFrameCount * 4; }
    SInt64 FrameCount() const { return mFrameCount; }
    // For its movie and rate: an Export by anyone else spoils what the reader holds.
    SegmentExporter& Exporter() { return mExporter; }

    // Copies bytes from stream position inPosition (>= 0) on. Returns how many: inByteCount, fewer only at
    // the end, 0 beyond it and for a negative position. Reading on decodes each segment once; reading
    // elsewhere renders from the frame asked for. Throws LException as SegmentExporter::Export does, -50 also
    // for a block that is not 16-bit stereo; outBytes is then unspecified, and reading may go on elsewhere.
    std::size_t Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount);

  private:
    static constexpr std::size_t kRF64HeaderByteCount = 80;

    void MakeHeader(Header inHeader);
    std::size_t ReadHeader(SInt64 inPosition, unsigned char* outBytes, std::size_t inByteCount) const;
    std::size_t ReadSound(SInt64 inSoundOffset, unsigned char* outBytes, std::size_t inByteCount);
    void RenderFrom(SInt64 inFrame);
    bool Holds(SInt64 inFrame) const;

    SegmentExporter mExporter;
    SInt64 mFrameCount = 0;
    SInt32 mHeaderByteCount = 0;
    unsigned char mHeader[kRF64HeaderByteCount];
    // The segment in hand: frames [mSegmentFirst, mSegmentFirst + mSegmentFrames).
    SInt64 mSegmentFirst = 0;
    SInt32 mSegmentFrames = 0;
    unsigned char const* mSegmentData = nullptr;
};

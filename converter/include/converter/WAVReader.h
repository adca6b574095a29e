// The WAV stream as a file-like thing to read from: any byte range, pulled when wanted, the same bytes
// however asked for.
//
// Lengths are 64-bit and exact. Frame n of the stream is frame n of the movie, or of the range of it that was
// chosen; what the exporter does not render is silence. So the bytes are those of the whole-file conversion
// wherever that one's 32-bit lengths hold, as long as frames have the same bytes however they are asked for
// and only the end of the sound renders empty. Reading allocates nothing once the first segments are
// rendered. Belongs to one thread at a time.
#pragma once

#include <converter/SegmentExporter.h>
#include <foundation/MirtalExport.h>

#include <cstddef>
#include <limits>
#include <memory>

// Frames [first, end) of a movie.
struct FrameRange {
    static constexpr SInt64 kToTheEnd = std::numeric_limits<SInt64>::max();

    SInt64 first = 0;
    SInt64 end = kToTheEnd;
};

class MIRTAL_EXPORT WAVReader {
  public:
    enum class Header {
        kRIFF,  // 44 bytes; beyond kMaxRIFFBytes the size fields hold the low 32 bits
        kRF64   // 80 bytes: 64-bit sizes in a "ds64" chunk (EBU Tech 3306)
    };
    // The longest stream of which kRIFF tells the truth: its first size field counts what follows it.
    static constexpr SInt64 kMaxRIFFBytes = 0xFFFFFFFF + SInt64{8};

    // The whole movie at a path. Throws as SegmentExporter's constructor does.
    explicit WAVReader(const char* inPath, Header inHeader = Header::kRIFF);
    // Frames of an opened movie as a stream with a header of its own: its bytes behind that are those of the
    // same frames of the whole.
    //   inExporter  must not be null, and is the reader's from here on
    //   inRange     cut to the movie's frames, so that one behind the end is an empty sound
    // Throws LException: paramErr unless 0 <= first <= end.
    WAVReader(std::unique_ptr<SegmentExporter> inExporter, Header inHeader, FrameRange inRange = {});
    ~WAVReader();
    WAVReader(const WAVReader&) = delete;
    WAVReader& operator=(const WAVReader&) = delete;

    SInt64 ByteCount() const;   // of the whole stream, header included
    SInt64 FrameCount() const;  // of the sound behind the header
    // For its movie and rate: an Export by anyone else spoils what the reader holds.
    SegmentExporter& Exporter();

    // Copies bytes from stream position inPosition (>= 0) on. Returns how many: inByteCount, fewer only at
    // the end, 0 beyond it and for a negative position. Reading on decodes each segment once; reading
    // elsewhere renders from the frame asked for. Throws LException as SegmentExporter::Export does, -50 also
    // for a block that is not 16-bit stereo; outBytes is then unspecified, and reading may go on elsewhere.
    std::size_t Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount);

  private:
    class Stream;
    std::unique_ptr<Stream> mStream;
};

// The engine one level below its swallowing entries: the same conversions, over a movie that the caller
// holds, with every failure thrown. For callers that tell their users what went wrong, and what damage was
// met on the way (GetMovieSoundReport on the exporter's movie).
#pragma once

#include <converter/AACToWAV.h>
#include <converter/SegmentExporter.h>

// The WAV header of a stream of inFrameCount frames (32-bit arithmetic; sizes wrap above 4 GiB).
struct WAVHeader {
    unsigned char bytes[44];
};
[[nodiscard]] MIRTAL_EXPORT WAVHeader MakeWAVHeader(SInt32 inSampleRateHz, UInt32 inFrameCount);

// The header with 64-bit sizes (EBU Tech 3306).
struct RF64Header {
    unsigned char bytes[80];
};
[[nodiscard]] MIRTAL_EXPORT RF64Header MakeRF64Header(SInt32 inSampleRateHz, UInt64 inFrameCount);

// The whole stream, header first. Throws LException as SegmentExporter::Export does; whatever inCallback
// throws passes through.
MIRTAL_EXPORT void ConvertWhole(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback);

// A window of the stream.
//   inStart     byte of the stream to begin at; below 0 counts as 0. Inside the samples it is rounded down to
//               a frame; at the end or beyond, nothing is delivered.
//   inDuration  <= 0: to the end. Else the window announces and renders min(inDuration - 11, the movie's
//               length) frames (not bytes), or none where that is negative, and inDuration - inStart bounds
//               what is delivered of the header.
// All frame and length arithmetic is 32-bit and wraps.
MIRTAL_EXPORT void ConvertWindow(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback,
                                 Int64 inStart, Int64 inDuration);
